#include "qflink.h"

namespace {
const QString kInternal = QStringLiteral("internal");
const QString kURL = QStringLiteral("url");
const QString kPageID = QStringLiteral("pageID");
const QString kSubPageID = QStringLiteral("subPageID");
}

QFLink QFLink::externalLink(const QString &url)
{
    QFLink l;
    l.m_url = url;
    return l;
}

QFLink QFLink::internalLink(const QString &pageID, const QString &subPageID)
{
    QFLink l;
    l.m_internal = true;
    l.m_pageID = pageID;
    l.m_subPageID = subPageID;
    return l;
}

QVariantMap QFLink::toVariantMap() const
{
    QVariantMap m;
    m.insert(kInternal, m_internal);
    if (!m_url.isEmpty())
        m.insert(kURL, m_url);
    if (!m_pageID.isEmpty())
        m.insert(kPageID, m_pageID);
    if (!m_subPageID.isEmpty())
        m.insert(kSubPageID, m_subPageID);
    return m;
}

QFLink QFLink::fromVariantMap(const QVariantMap &map)
{
    QFLink l;
    l.m_internal = map.value(kInternal).toBool();
    l.m_url = map.value(kURL).toString();
    l.m_pageID = map.value(kPageID).toString();
    l.m_subPageID = map.value(kSubPageID).toString();
    if (l.m_internal && l.m_pageID.isEmpty())
        return QFLink();
    return l;
}

#pragma once

#include <QMetaType>
#include <QString>
#include <QVariantMap>
#include <optional>

// A link in styled text or a link picked by the user: either external (a URL
// written as it is) or internal (a page of the site, by its unique ID, and
// optionally a sub-page of it that the page's plugin knows by a string such as
// "permalink:12" or "podcast:3"). Internal links are turned into file names at
// export time by a QFLinkResolver, so they survive renaming and moving pages.
class QFLink
{
public:
    QFLink() = default;

    static QFLink externalLink(const QString &url);
    static QFLink internalLink(const QString &pageID, const QString &subPageID = QString());

    bool isNull() const { return !m_internal && m_url.isEmpty(); }
    bool isInternal() const { return m_internal; }
    const QString &url() const { return m_url; }
    const QString &pageID() const { return m_pageID; }
    const QString &subPageID() const { return m_subPageID; }

    // The form stored in styled text attributes and archives:
    // {"internal": bool, "url": string, "pageID": string, "subPageID": string}.
    // fromVariantMap gives a null link for a map that is not a link.
    QVariantMap toVariantMap() const;
    static QFLink fromVariantMap(const QVariantMap &map);

    friend bool operator==(const QFLink &a, const QFLink &b)
    {
        return a.m_internal == b.m_internal && a.m_url == b.m_url && a.m_pageID == b.m_pageID
            && a.m_subPageID == b.m_subPageID;
    }

private:
    bool m_internal = false;
    QString m_url;
    QString m_pageID;
    QString m_subPageID;
};

Q_DECLARE_METATYPE(QFLink)

// Turns internal links into hrefs. The site (or a test) supplies one; each
// page plugin answers for its own sub-pages.
class QFLinkResolver
{
public:
    virtual ~QFLinkResolver() = default;

    // The href of an internal link as written into a page of the given depth
    // correction (0: the page itself, 1: a page inside its files folder).
    // nullopt when the target page or sub-page does not exist; the exporter
    // then writes the link text without a link.
    virtual std::optional<QString> hrefForInternalLink(const QFLink &link, int depthCorrection) const = 0;
};

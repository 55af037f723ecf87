#include "qfcommandcontext.h"

#include "qfpluginregistry.h"
#include "qfsitedocument.h"
#include "qfkit/support/qfexception.h"

#include <QDir>

QFCommandContext::QFCommandContext(QTextStream &out, QTextStream &err, const QFPluginRegistry &registry,
                                   QFCommandLineAlertPresenter *alertPresenter)
    : m_out(out)
    , m_err(err)
    , m_registry(registry)
    , m_alertPresenter(alertPresenter)
{
}

QTextStream &QFCommandContext::out() const
{
    return m_out;
}

QTextStream &QFCommandContext::err() const
{
    return m_err;
}

const QFPluginRegistry &QFCommandContext::registry() const
{
    return m_registry;
}

QFCommandLineAlertPresenter *QFCommandContext::alertPresenter() const
{
    return m_alertPresenter;
}

std::unique_ptr<QFSiteDocument> QFCommandContext::openDocument(const QString &path) const
{
    return QFSiteDocument::open(path, m_registry);
}

void QFCommandContext::saveDocument(QFSiteDocument &document) const
{
    document.save();
}

QFPage QFCommandContext::pickPage(const QFSiteDocument &document, const QString &pluginName, const QString &page)
{
    QList<QFPage> candidates;
    for (const QFPage &candidate : document.pages()) {
        if (candidate.pluginName == pluginName)
            candidates.append(candidate);
    }
    const QString file = QDir::toNativeSeparators(document.filePath());
    if (candidates.isEmpty()) {
        throw QFException(QStringLiteral("No Such Page"),
                          QStringLiteral("The site \u201c%1\u201d has no %2 page.").arg(file, pluginName));
    }
    if (page.isEmpty())
        return candidates.constFirst();
    // A unique ID is the surest name, then the file name, then the title.
    for (auto matches : {+[](const QFPage &p, const QString &n) { return p.uniqueID == n; },
                         +[](const QFPage &p, const QString &n) { return p.fileName == n; },
                         +[](const QFPage &p, const QString &n) { return p.title == n; }}) {
        for (const QFPage &candidate : std::as_const(candidates)) {
            if (matches(candidate, page))
                return candidate;
        }
    }
    throw QFException(QStringLiteral("No Such Page"),
                      QStringLiteral("The site \u201c%1\u201d has no %2 page \u201c%3\u201d.").arg(file, pluginName, page));
}

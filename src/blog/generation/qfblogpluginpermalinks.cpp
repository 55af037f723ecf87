#include "blog/generation/qfblogpluginpermalinks.h"

#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/model/qfblogfilenames.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfplaceholdertemplate.h"
#include "qfkit/text/qfstrings.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <memory>

namespace {

const QString kContentOnlySubpages = QStringLiteral("contentonlysubpages");

std::optional<QString> filenameExtension(const QVariantMap &params)
{
    const auto it = params.constFind(QStringLiteral("FilenameExt"));
    if (it == params.cend())
        return std::nullopt;
    return it->toString();
}

// A path component appended the way file paths are joined: no doubled "/",
// and nothing in front of the name when the folder is empty.
QString joinedPath(const QString &folder, const QString &name)
{
    if (folder.isEmpty())
        return name;
    QString path = folder;
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    if (!path.endsWith(QLatin1Char('/')))
        path.append(QLatin1Char('/'));
    return path + name;
}

} // namespace

QFBlogPluginPermalinks::QFBlogPluginPermalinks(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

void QFBlogPluginPermalinks::beginExport()
{
    m_templates.clear();
    m_inExport = true;
}

void QFBlogPluginPermalinks::endExport()
{
    m_inExport = false;
    m_templates.clear();
}

QString QFBlogPluginPermalinks::permalinkFilename(const QFBlogEntryPtr &entry,
                                                  const std::optional<QString> &preferredExtension) const
{
    // A stored name that is no usable file name (from an older document)
    // gives way to the blog's own, so the page and its links agree.
    const QString &override = entry->overridePermalinkNameText();
    if (QFBlogFileNames::isUsable(override)) {
        if (!QFileInfo(override).suffix().isEmpty() || !preferredExtension || preferredExtension->isEmpty())
            return override;
        return override + QLatin1Char('.') + *preferredExtension;
    }
    QString name = entry->GUID();
    name.append(QLatin1Char('-')).append(QString::number(entry->ID()));
    // A GUID read from a package may be anything; the page still gets a
    // plain file name.
    if (!QFBlogFileNames::isUsable(name))
        name = QStringLiteral("post-%1").arg(entry->ID());
    // Only a missing extension leaves the dot out; an empty one keeps it.
    if (preferredExtension)
        name.append(QLatin1Char('.')).append(*preferredExtension);
    return name;
}

std::optional<QString> QFBlogPluginPermalinks::permalinkLink(const QFBlogEntryPtr &entry, const QVariantMap &params,
                                                             int depth) const
{
    if (!entry)
        return std::nullopt;
    const QString fileName = permalinkFilename(entry, filenameExtension(params));
    if (depth != 0 || QFStrings::boolValue(params.value(QStringLiteral("subpage")).toString()))
        return fileName;
    return joinedPath(params.value(QStringLiteral("filesfoldername")).toString(), fileName);
}

std::optional<QString> QFBlogPluginPermalinks::permalinkPageTitle(const QFBlogEntryPtr &entry) const
{
    QString title = entry->title();
    if (title.isNull())
        title = QString(QLatin1String(""));
    bool first = true;
    const QList<QFBlogCategoryPtr> &categories = m_plugin.categories();
    for (const int id : entry->categoryIDs()) {
        const auto it = std::find_if(categories.cbegin(), categories.cend(),
                                     [id](const QFBlogCategoryPtr &c) { return c && c->categoryID() == id; });
        if (it == categories.cend() || (*it)->categoryName().isEmpty())
            continue;
        if (first) {
            if (!title.isEmpty())
                title.append(QStringLiteral(" | "));
            first = false;
        } else {
            title.append(QStringLiteral(", "));
        }
        title.append((*it)->categoryName());
    }
    if (const QFSiteDocument *document = QFDocumentForPlugin(&m_plugin)) {
        const QString siteTitle = document->siteTitle();
        if (!siteTitle.isNull()) {
            if (!title.isEmpty())
                title.append(QStringLiteral(" | "));
            title.append(siteTitle);
        }
    }
    if (title.isEmpty())
        return std::nullopt;
    return title;
}

QString QFBlogPluginPermalinks::preparedTemplate(const QVariantMap &params, const QString &resource,
                                                 const QString &contentOnlyResource, const char *sourceFile,
                                                 const char *missingText, const char *contentOnlyMissingText) const
{
    const bool contentOnly = params.contains(kContentOnlySubpages);
    const QString &name = contentOnly ? contentOnlyResource : resource;
    if (m_inExport) {
        const auto it = m_templates.constFind(name);
        if (it != m_templates.cend() && it->params == params)
            return it->text;
    }

    QString text = QFBlogPlugin::pluginBundle().stringResource(name, QStringLiteral("html"));
    if (text.isEmpty())
        throw QFAssertionFailure(QString::fromUtf8(sourceFile),
                                 QString::fromUtf8(contentOnly ? contentOnlyMissingText : missingText));
    if (!contentOnly) {
        text = m_plugin.updatePageTemplate(text, params, 1);
        const QVariant charset = params.value(QStringLiteral("pagecharset"));
        text.replace(QStringLiteral("%charset%"),
                     charset.isNull() ? QStringLiteral("iso-8859-1") : charset.toString(), Qt::CaseInsensitive);
    }
    if (m_inExport)
        m_templates.insert(name, PreparedTemplate{params, text});
    return text;
}

QString QFBlogPluginPermalinks::permalinkTemplate(const QVariantMap &params) const
{
    return preparedTemplate(params, QStringLiteral("BlogPermalinkTemplate"),
                            QStringLiteral("BlogPermalinkTemplateContentOnly"), __FILE__,
                            "Blog permalink template is missing", "Blog permalink content-only template is missing");
}

QList<QFExportItem> QFBlogPluginPermalinks::emitPermalinkEntriesWithFilesDirectory(const QString &filesDirectory,
                                                                                   const QVariantMap &params)
{
    QFBlogPluginCodeGeneration &generation = m_plugin.codeGeneration();
    const bool contentOnly = params.contains(kContentOnlySubpages);
    const std::optional<QString> extension = filenameExtension(params);
    const QString scratch = contentOnly ? QString() : m_plugin.temporaryFilesDirectory();
    const QString emptyText(QLatin1String(""));

    // The comment loaders are the same on every page of this export.
    QString haloScan = emptyText;
    QString jskit = emptyText;
    switch (m_plugin.commentsSelectedProviderTag()) {
    case 1:
        generation.appendHaloScanLoadCommand(haloScan);
        break;
    case 2:
        generation.appendJSKitLoadCommand(jskit);
        break;
    default:
        break;
    }

    // Tens of thousands of pages share one template of some 30 KB (the
    // sidebar is in it): it is searched for its placeholders and its text
    // encoded once, and each page is put together on the writing thread.
    const auto pageTemplate = std::make_shared<const QFPlaceholderTemplate>(
        permalinkTemplate(params),
        QStringList{QStringLiteral("%blog_permalink_haloscan%"), QStringLiteral("%blog_permalink_jskit%"),
                    QStringLiteral("%blog_permalink_title%"), QStringLiteral("%blog_permalink_entries%")});

    QList<QFExportItem> result;
    QHash<QString, QFBlogEntryPtr> claims;
    const QList<QFBlogEntryPtr> posts = m_plugin.posts();
    for (const QFBlogEntryPtr &entry : posts) {
        if (m_plugin.exportCancelled())
            break;
        if (!entry || entry->isDraft())
            continue;

        const QString fileName = permalinkFilename(entry, extension);
        if (const std::optional<QString> problem = QFBlogFileNames::problem(
                entry->overridePermalinkNameText(),
                QStringLiteral("The permalink name of the post \u201c%1\u201d").arg(entry->titleOrNoTitle()))) {
            m_plugin.addExportError(QStringLiteral("%1; the page was written as \u201c%2\u201d.\n").arg(*problem, fileName));
        }
        // Two posts of one name would overwrite each other's page (on a
        // server that ignores case, too): the first in stored order keeps it.
        const QString claim = fileName.toCaseFolded();
        const auto claimed = claims.constFind(claim);
        if (claimed != claims.constEnd()) {
            m_plugin.addExportError(QFBlogPlugin::localizedString(QStringLiteral("PermalinkNameCollisionMessage"))
                                        .arg(fileName, (*claimed)->titleOrNoTitle(), QString::number((*claimed)->ID()),
                                             entry->titleOrNoTitle(), QString::number(entry->ID())));
            m_plugin.exportUnitDone();
            continue;
        }
        claims.insert(claim, entry);
        // The name may also be one of the blog's own pages or the feed's,
        // which were claimed first.
        if (!m_plugin.claimExportFileName(fileName, QStringLiteral("the page of the post \u201c%1\u201d (ID %2)")
                                                        .arg(entry->titleOrNoTitle())
                                                        .arg(entry->ID()))) {
            m_plugin.exportUnitDone();
            continue;
        }

        const QStringList values{
            haloScan, jskit, entry->title().isEmpty() ? emptyText : QFStrings::convertToEntities(entry->title()),
            generation.emitBlogEntryHTML(entry, filesDirectory, 1, false, QFBlogPluginCodeGeneration::PermalinkPage,
                                         params)};
        if (contentOnly) {
            QFExportItem item = QFTextViewPluginClient::contentOnlySubpageWithHTML(pageTemplate->filled(values), fileName);
            if (const std::optional<QString> title = permalinkPageTitle(entry))
                item.setSubstitution(QStringLiteral("title"), *title);
            result.append(item);
        } else {
            // The name is one plain file name (see permalinkFilename), so
            // the page stays in the scratch folder.
            if (!scratch.isEmpty()) {
                m_plugin.writeExportFile(
                    scratch + QLatin1Char('/') + fileName, [pageTemplate, values] { return pageTemplate->filledUtf8(values); },
                    values.constLast().size() * 2 + 65536);
            }
        }
        m_plugin.exportUnitDone();
    }
    return result;
}

QString QFBlogPluginPermalinks::rssBaseURL(const QVariantMap &params) const
{
    const QString base = params.value(QStringLiteral("base")).toString();
    if (base.isEmpty())
        throw QFException(QStringLiteral("Base URL Required"),
                          QFBlogPlugin::localizedString(QStringLiteral("BlogURLRequired")));
    return QFStrings::appendForwardSlash(base);
}

QString QFBlogPluginPermalinks::absoluteURLToFilesDirectory(const QVariantMap &params) const
{
    QString url = rssBaseURL(params);

    const QFSiteDocument *document = QFDocumentForPlugin(&m_plugin);
    if (document && document->commonFileConsolidationMode() == 1) {
        // The base's path, as a URL path reads without its trailing "/", is
        // cut out of the address, which leaves the site root.
        QString path = QUrl(url).path(QUrl::FullyEncoded);
        while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
            path.chop(1);
        if (!path.isEmpty() && path != QLatin1String("/")) {
            const qsizetype scheme = url.indexOf(QLatin1String("://"));
            const qsizetype start = url.indexOf(QLatin1Char('/'), scheme < 0 ? 0 : scheme + 3);
            if (start >= 0 && QStringView(url).mid(start).startsWith(path))
                url.remove(start, path.size());
        }
    }

    const QString location = params.value(QStringLiteral("location")).toString();
    if (location.startsWith(QLatin1String("http://")) || location.startsWith(QLatin1String("https://"))) {
        url = location;
    } else {
        qsizetype from = 0;
        qsizetype to = location.size();
        while (from < to && location.at(from) == QLatin1Char('/'))
            ++from;
        while (to > from && location.at(to - 1) == QLatin1Char('/'))
            --to;
        url.append(QStringView(location).mid(from, to - from));
    }

    url = QFStrings::appendForwardSlash(url);
    url.append(params.value(QStringLiteral("filesfoldername")).toString());
    return QFStrings::appendForwardSlash(url);
}

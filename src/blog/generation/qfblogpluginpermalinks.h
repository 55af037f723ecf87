#pragma once

#include "blog/model/qfblogentry.h"
#include "qfkit/document/qfexportitem.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QVariantMap>
#include <optional>

class QFBlogPlugin;

// The permalinks group of the blog plugin: where each generated file lives,
// how pages link to one another, and the permanent page of each post. The
// plugin owns one and outlives it.
//
// Threads: used by the export, which may run off the main thread; one export
// at a time per plugin.
class QFBlogPluginPermalinks final
{
public:
    explicit QFBlogPluginPermalinks(QFBlogPlugin &plugin);
    Q_DISABLE_COPY_MOVE(QFBlogPluginPermalinks)

    // Between these two calls prepared page templates are kept and reused
    // for the same resource and parameters (the site's theme does not change
    // during an export). The code generation group's beginExport()/endExport()
    // call them; output never depends on it.
    void beginExport();
    void endExport();

    // The file name of the post's permalink page: the post's permalink name
    // override as typed (with ".<extension>" added when it has no extension
    // of its own and one is given), else "<GUID>-<ID>" followed by
    // ".<extension>" whenever an extension is given, even an empty one
    // ("<GUID>-<ID>." — kept that way). nullopt: no extension at all. An
    // override that QFBlogFileNames does not accept counts as none, and a
    // GUID that makes no plain file name gives "post-<ID>", so the name is
    // always one file in the files folder.
    QString permalinkFilename(const QFBlogEntryPtr &entry, const std::optional<QString> &preferredExtension) const;
    // The relative link to the post's permalink page: the bare file name on
    // a page inside the files folder (depth non-zero, or params "subpage"
    // true), else "<filesfoldername>/<file name>". The extension is params
    // "FilenameExt" (none when the key is absent). nullopt for a null post.
    std::optional<QString> permalinkLink(const QFBlogEntryPtr &entry, const QVariantMap &params, int depth) const;
    // "Title | Category, Category | Site title" (each part only when there
    // is one); nullopt when all are empty.
    std::optional<QString> permalinkPageTitle(const QFBlogEntryPtr &entry) const;

    // A page template prepared for substitution, shared by every page kind
    // (permalink, archive, category, tag): with params "contentonlysubpages"
    // present, the bundle's HTML resource contentOnlyResource as it is;
    // otherwise resource placed in the site theme at depth 1
    // (updatePageTemplate) with every "%charset%" (any letter case) replaced
    // by params "pagecharset", or "iso-8859-1" without one.
    // An empty or missing resource raises QFAssertionFailure with sourceFile
    // and missingText (or contentOnlyMissingText for the content-only one).
    QString preparedTemplate(const QVariantMap &params, const QString &resource,
                             const QString &contentOnlyResource, const char *sourceFile,
                             const char *missingText, const char *contentOnlyMissingText) const;
    // preparedTemplate() of "BlogPermalinkTemplate" / "BlogPermalinkTemplateContentOnly".
    QString permalinkTemplate(const QVariantMap &params) const;

    // One page per published post, in stored order, each counted with the
    // plugin's exportUnitDone(); stops between posts when the export is
    // cancelled. With params "contentonlysubpages" present the pages come
    // back as content-only sub-pages (with the page title as substitution
    // "title" when there is one); otherwise they are written as UTF-8 into
    // the plugin's scratch folder (a failed write leaves the page out) and
    // the list is empty. A stored override the name rule refuses, and a
    // post whose page name another post (earlier in stored order, ignoring
    // case) already has, are export errors of the plugin naming the posts;
    // the latter post gets no page, so neither page overwrites the other.
    // Raises what the fragment raises (QFException "Base URL Required").
    QList<QFExportItem> emitPermalinkEntriesWithFilesDirectory(const QString &filesDirectory,
                                                               const QVariantMap &params);

    // The absolute URL of the page's files folder, ending in "/": the base
    // URL (reduced to the site root when the document's common-file
    // consolidation mode is 1), then params "location" (which replaces
    // everything when it begins with "http://" or "https://"), then "filesfoldername".
    // rssBaseURL(): params "base" ending in "/".
    // Both raise QFException "Base URL Required" (reason: localised
    // "BlogURLRequired") when params "base" is absent or empty.
    QString absoluteURLToFilesDirectory(const QVariantMap &params) const;
    QString rssBaseURL(const QVariantMap &params) const;

private:
    struct PreparedTemplate
    {
        QVariantMap params;
        QString text;
    };

    QFBlogPlugin &m_plugin;
    bool m_inExport = false;
    // Resource name -> the last template prepared for it in this export.
    mutable QHash<QString, PreparedTemplate> m_templates;
};

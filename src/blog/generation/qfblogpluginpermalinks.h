#pragma once

#include "blog/model/qfblogentry.h"
#include "qfkit/document/qfexportitem.h"

#include <QList>
#include <QString>
#include <QVariantMap>
#include <optional>

class QFBlogPlugin;

// The permalinks group of the blog plugin: where each generated file lives,
// how pages link to one another, and the permanent page of each post. The
// plugin owns one and outlives it.
class QFBlogPluginPermalinks final
{
public:
    explicit QFBlogPluginPermalinks(QFBlogPlugin &plugin);
    Q_DISABLE_COPY_MOVE(QFBlogPluginPermalinks)

    // The file name of the post's permalink page; extension empty = nil.
    QString permalinkFilename(const QFBlogEntryPtr &entry, const std::optional<QString> &preferredExtension) const;
    // The relative link to the post's permalink page; nullopt for a null post.
    std::optional<QString> permalinkLink(const QFBlogEntryPtr &entry, const QVariantMap &params, int depth) const;
    // "Title | Category, Category | Site title"; nullopt when empty.
    std::optional<QString> permalinkPageTitle(const QFBlogEntryPtr &entry) const;

    // A page template prepared for substitution: the content-only resource
    // as it is, or the full one placed in the site theme at depth 1 with
    // "%charset%" replaced. An empty or missing resource fails a QF_ASSERT
    // with the given text in the given source file name.
    QString preparedTemplate(const QVariantMap &params, const QString &resource,
                             const QString &contentOnlyResource, const char *sourceFile,
                             const char *missingText, const char *contentOnlyMissingText) const;
    QString permalinkTemplate(const QVariantMap &params) const;

    // One page per published post; the content-only sub-pages when the
    // host asked for them, else an empty list (the pages are in the scratch
    // folder).
    QList<QFExportItem> emitPermalinkEntriesWithFilesDirectory(const QString &filesDirectory,
                                                               const QVariantMap &params);

    // The absolute URL of the page's files folder, ending in "/"; the base
    // URL ending in "/". QFException "Base URL Required" without a base.
    QString absoluteURLToFilesDirectory(const QVariantMap &params) const;
    QString rssBaseURL(const QVariantMap &params) const;

private:
    QFBlogPlugin &m_plugin;
};

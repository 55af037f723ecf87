#pragma once

#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogentry.h"
#include "qfkit/document/qfexportitem.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QString>
#include <QVariantMap>
#include <optional>

class QFBlogPlugin;

// The categories group of the blog plugin: one page per category holding
// published posts, the category links of posts and of the sidebar. The
// plugin owns one and outlives it.
//
// The None category and categories without a name never get a page, a
// sidebar line or a place in the table.
//
// Threads: the export's; one export at a time per plugin.
class QFBlogPluginCategories final
{
public:
    explicit QFBlogPluginCategories(QFBlogPlugin &plugin);
    Q_DISABLE_COPY_MOVE(QFBlogPluginCategories)

    // The relative link to the category's page: the bare file name from a
    // page in the files folder ("subpage" true or depth 1 and more), else
    // "<filesfoldername>/<file name>". nullopt for a null category.
    std::optional<QString> categoryLink(const QFBlogCategoryPtr &category, const QVariantMap &params,
                                        int depthCorrection) const;
    // "category-<name as a file name word>.<FilenameExt>"
    QString categoryPageFileName(const QFBlogCategoryPtr &category, const QVariantMap &params) const;
    // One sidebar line: a link, with "(count)" when post counts are shown,
    // or a disabled line for a category no post (draft or not) is filed
    // under. The name is written as it is.
    QString categoryLink2(const QFBlogCategoryPtr &category, const QVariantMap &params) const;
    // The plugin's categories in their order, or sorted by name ignoring
    // case when the blog exports them alphabetically (equal names keep
    // their order).
    QList<QFBlogCategoryPtr> categoriesForExport() const;
    // The ID of the first None category; 2147483647 when there is none.
    int categoryNoneIndex() const;
    // Rebuilds the category ID -> published posts (newest first) table.
    // Categories without published posts have no entry.
    void calculateCategories();
    const QHash<int, QList<QFBlogEntryPtr>> &calculatedCategories() const;
    // The number of category pages an export writes (after calculateCategories()).
    qsizetype categoryPageCount() const;
    // The sidebar lines of every category for export.
    QString emitCategoryLinks(const QVariantMap &params) const;
    // The link back to the blog's main page, one folder up.
    QString categoryNavigationLinksHTML(const QFBlogCategoryPtr &category) const;
    // The category page template (content-only, or placed in the site
    // theme); QFAssertionFailure when the bundle lacks it.
    QString categoryTemplate(const QVariantMap &params) const;
    // One page per category with published posts, in the plugin's category
    // order, each counted as a unit of export progress. With
    // "contentonlysubpages" present the pages come back as sub-pages; else
    // they are written into the scratch folder and the list is empty. Stops
    // early (a partial list) when the export is cancelled.
    QList<QFExportItem> emitCategoryEntriesWithFilesDirectory(const QString &filesDirectory,
                                                              const QVariantMap &params);

    // Shared by the archive, category and tag pages: the page-level loader of
    // the comment service in use goes in place of its placeholder, and both
    // placeholders vanish otherwise.
    void replaceCommentsPlaceholders(QString &page, const QString &haloScanPlaceholder,
                                     const QString &jskitPlaceholder) const;
    // Writes a generated page into the scratch folder as UTF-8 (queued during
    // a site export). A page that cannot be written is left out silently, as
    // every generated page is.
    void writePageIntoScratchFolder(const QString &fileName, const QString &html) const;

private:
    // Published posts newest first under each category ID they carry.
    QHash<int, QList<QFBlogEntryPtr>> publishedPostsByCategoryID() const;
    QString categoryLine(const QFBlogCategoryPtr &category, qsizetype count, const QVariantMap &params) const;

    QFBlogPlugin &m_plugin;
    QHash<int, QList<QFBlogEntryPtr>> m_calculatedCategories;
    // Category name -> page base name: every post fragment links its
    // categories, and making a file name word of a name is not cheap.
    mutable QMutex m_baseNamesMutex;
    mutable QHash<QString, QString> m_baseNames;
};

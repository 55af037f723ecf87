#pragma once

#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogentry.h"
#include "qfkit/document/qfexportitem.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QVariantMap>
#include <optional>

class QFBlogPlugin;

// The categories group of the blog plugin: one page per category holding
// published posts, the category links of posts and of the sidebar. The
// plugin owns one and outlives it.
class QFBlogPluginCategories final
{
public:
    explicit QFBlogPluginCategories(QFBlogPlugin &plugin);
    Q_DISABLE_COPY_MOVE(QFBlogPluginCategories)

    // The relative link to the category's page; nullopt for a null category.
    std::optional<QString> categoryLink(const QFBlogCategoryPtr &category, const QVariantMap &params,
                                        int depthCorrection) const;
    // One sidebar line.
    QString categoryLink2(const QFBlogCategoryPtr &category, const QVariantMap &params) const;
    QList<QFBlogCategoryPtr> categoriesForExport() const;
    int categoryNoneIndex() const;
    // Rebuilds the category ID -> published posts (newest first) table.
    void calculateCategories();
    const QHash<int, QList<QFBlogEntryPtr>> &calculatedCategories() const;
    QString emitCategoryLinks(const QVariantMap &params) const;
    QString categoryNavigationLinksHTML(const QFBlogCategoryPtr &category) const;
    QString categoryTemplate(const QVariantMap &params) const;
    QList<QFExportItem> emitCategoryEntriesWithFilesDirectory(const QString &filesDirectory,
                                                              const QVariantMap &params);

private:
    QFBlogPlugin &m_plugin;
    QHash<int, QList<QFBlogEntryPtr>> m_calculatedCategories;
};

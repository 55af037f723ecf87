#include "blog/generation/qfblogplugincategories.h"

#include "blog/plugin/qfblogplugin.h"

QFBlogPluginCategories::QFBlogPluginCategories(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

std::optional<QString> QFBlogPluginCategories::categoryLink(const QFBlogCategoryPtr &category,
                                                            const QVariantMap &, int) const
{
    // Placeholder until the categories group is built.
    if (!category)
        return std::nullopt;
    return category->categoryFilenameBasename() + QStringLiteral(".html");
}

QString QFBlogPluginCategories::categoryLink2(const QFBlogCategoryPtr &, const QVariantMap &) const { return {}; }
QList<QFBlogCategoryPtr> QFBlogPluginCategories::categoriesForExport() const { return m_plugin.categories(); }
int QFBlogPluginCategories::categoryNoneIndex() const { return 2147483647; }
void QFBlogPluginCategories::calculateCategories() { m_calculatedCategories.clear(); }
const QHash<int, QList<QFBlogEntryPtr>> &QFBlogPluginCategories::calculatedCategories() const { return m_calculatedCategories; }
QString QFBlogPluginCategories::emitCategoryLinks(const QVariantMap &) const { return {}; }
QString QFBlogPluginCategories::categoryNavigationLinksHTML(const QFBlogCategoryPtr &) const { return {}; }
QString QFBlogPluginCategories::categoryTemplate(const QVariantMap &) const { return {}; }
QList<QFExportItem> QFBlogPluginCategories::emitCategoryEntriesWithFilesDirectory(const QString &, const QVariantMap &) { return {}; }

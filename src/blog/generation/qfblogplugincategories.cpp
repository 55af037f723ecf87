#include "blog/generation/qfblogplugincategories.h"

#include "blog/generation/qfblogpluginarchives.h"
#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/text/qfstrings.h"

#include <QFile>

#include <algorithm>

namespace {

bool exported(const QFBlogCategoryPtr &category)
{
    return category && !category->isNone() && category->isValid();
}

} // namespace

QFBlogPluginCategories::QFBlogPluginCategories(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

QString QFBlogPluginCategories::categoryPageFileName(const QFBlogCategoryPtr &category,
                                                     const QVariantMap &params) const
{
    QString baseName;
    {
        const QMutexLocker locker(&m_baseNamesMutex);
        auto known = m_baseNames.constFind(category->categoryName());
        if (known == m_baseNames.cend())
            known = m_baseNames.insert(category->categoryName(), category->categoryFilenameBasename());
        baseName = known.value();
    }
    return baseName + QLatin1Char('.') + params.value(QStringLiteral("FilenameExt")).toString();
}

std::optional<QString> QFBlogPluginCategories::categoryLink(const QFBlogCategoryPtr &category,
                                                            const QVariantMap &params, int depthCorrection) const
{
    if (!category)
        return std::nullopt;
    const QString fileName = categoryPageFileName(category, params);
    if (QFStrings::boolValue(params.value(QStringLiteral("subpage")).toString()) || depthCorrection >= 1)
        return fileName;
    return params.value(QStringLiteral("filesfoldername")).toString() + QLatin1Char('/') + fileName;
}

QString QFBlogPluginCategories::categoryLine(const QFBlogCategoryPtr &category, qsizetype count,
                                             const QVariantMap &params) const
{
    const QString &name = category->categoryName();
    if (count < 1)
        return QStringLiteral("<div class=\"blog-category-link-disabled\">%1</div>").arg(name);
    const QString text = m_plugin.showCategoryPostCounts() ? QStringLiteral("%1 (%2)").arg(name, QString::number(count)) : name;
    return QStringLiteral("<a href=\"%1\" class=\"blog-category-link-enabled\">%2</a><br />")
        .arg(categoryLink(category, params, 0).value_or(QString()), text);
}

QString QFBlogPluginCategories::categoryLink2(const QFBlogCategoryPtr &category, const QVariantMap &params) const
{
    if (!category)
        return QString(QLatin1String(""));
    return categoryLine(category, category->posts().size(), params);
}

QList<QFBlogCategoryPtr> QFBlogPluginCategories::categoriesForExport() const
{
    QList<QFBlogCategoryPtr> categories = m_plugin.categories();
    if (m_plugin.exportCategoriesAlphabetically()) {
        std::stable_sort(categories.begin(), categories.end(),
                         [](const QFBlogCategoryPtr &a, const QFBlogCategoryPtr &b) {
                             return QString::compare(a->categoryName(), b->categoryName(), Qt::CaseInsensitive) < 0;
                         });
    }
    return categories;
}

int QFBlogPluginCategories::categoryNoneIndex() const
{
    for (const QFBlogCategoryPtr &category : m_plugin.categories()) {
        if (category && category->isNone())
            return category->categoryID();
    }
    return 2147483647;
}

QHash<int, QList<QFBlogEntryPtr>> QFBlogPluginCategories::publishedPostsByCategoryID() const
{
    QHash<int, QList<QFBlogEntryPtr>> posts;
    QHash<int, bool> wanted;
    for (const QFBlogCategoryPtr &category : m_plugin.categories()) {
        if (exported(category))
            wanted.insert(category->categoryID(), true);
    }
    if (wanted.isEmpty())
        return posts;
    // One pass over the posts: a post is filed under a category exactly when
    // its IDs hold the category's ID (the entry's own membership rule).
    for (const QFBlogEntryPtr &entry : m_plugin.archives().postsNewestFirst()) {
        if (entry->isDraft())
            continue;
        for (int categoryID : entry->categoryIDs()) {
            if (wanted.contains(categoryID))
                posts[categoryID].append(entry);
        }
    }
    return posts;
}

void QFBlogPluginCategories::calculateCategories()
{
    m_calculatedCategories = publishedPostsByCategoryID();
    // Two categories sharing an ID (a damaged blog) each add their posts under
    // that ID, as walking category by category would.
    QHash<int, int> sharing;
    for (const QFBlogCategoryPtr &category : m_plugin.categories()) {
        if (exported(category))
            ++sharing[category->categoryID()];
    }
    for (auto it = m_calculatedCategories.begin(); it != m_calculatedCategories.end(); ++it) {
        const QList<QFBlogEntryPtr> once = it.value();
        for (int i = 1; i < sharing.value(it.key()); ++i)
            it.value().append(once);
    }
}

const QHash<int, QList<QFBlogEntryPtr>> &QFBlogPluginCategories::calculatedCategories() const
{
    return m_calculatedCategories;
}

qsizetype QFBlogPluginCategories::categoryPageCount() const
{
    qsizetype count = 0;
    for (const QFBlogCategoryPtr &category : m_plugin.categories()) {
        if (exported(category) && m_calculatedCategories.contains(category->categoryID()))
            ++count;
    }
    return count;
}

QString QFBlogPluginCategories::emitCategoryLinks(const QVariantMap &params) const
{
    // Every post counts here, drafts included: the line shows what the
    // category holds, as the editor does.
    QHash<int, qsizetype> counts;
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        for (int categoryID : entry->categoryIDs())
            ++counts[categoryID];
    }
    QString links;
    for (const QFBlogCategoryPtr &category : categoriesForExport()) {
        if (exported(category))
            links += categoryLine(category, counts.value(category->categoryID()), params);
    }
    return links;
}

QString QFBlogPluginCategories::categoryNavigationLinksHTML(const QFBlogCategoryPtr &) const
{
    return QStringLiteral("<a href=\"../%1\">%2</a>")
        .arg(m_plugin.designatedFilename(), QFStrings::convertToEntities(m_plugin.designatedTitle()));
}

QString QFBlogPluginCategories::categoryTemplate(const QVariantMap &params) const
{
    return m_plugin.permalinks().preparedTemplate(params, QStringLiteral("BlogCategoryTemplate"),
                                                  QStringLiteral("BlogCategoryTemplateContentOnly"),
                                                  "QFBlogPluginCategories", "Blog category template is missing",
                                                  "Blog category content-only template is missing");
}

QList<QFExportItem> QFBlogPluginCategories::emitCategoryEntriesWithFilesDirectory(const QString &filesDirectory,
                                                                                  const QVariantMap &params)
{
    QList<QFExportItem> subpages;
    const bool contentOnly = params.contains(QStringLiteral("contentonlysubpages"));
    QFBlogPluginCodeGeneration &codeGeneration = m_plugin.codeGeneration();
    const QHash<int, QList<QFBlogEntryPtr>> postsByCategory = publishedPostsByCategoryID();
    std::optional<QString> pageTemplate;

    for (const QFBlogCategoryPtr &category : m_plugin.categories()) {
        if (m_plugin.exportCancelled())
            break;
        if (!exported(category))
            continue;
        const auto posts = postsByCategory.constFind(category->categoryID());
        if (posts == postsByCategory.cend())
            continue;
        QString body;
        for (const QFBlogEntryPtr &entry : posts.value())
            body += codeGeneration.emitBlogEntryHTML(entry, filesDirectory, 1, false,
                                                     QFBlogPluginCodeGeneration::CategoryPage, params);
        if (body.isEmpty())
            continue;

        if (!pageTemplate)
            pageTemplate = categoryTemplate(params);
        QString page = *pageTemplate;
        replaceCommentsPlaceholders(page, QStringLiteral("%blog_category_haloscan%"),
                                    QStringLiteral("%blog_category_jskit%"));
        const QString name = QFStrings::convertToEntities(category->categoryName());
        page.replace(QStringLiteral("%blog_category_title%"), name);
        page.replace(QStringLiteral("%blog_category_name%"), name);
        page.replace(QStringLiteral("%blog_category_links%"), categoryNavigationLinksHTML(category));
        page.replace(QStringLiteral("%blog_category_entries%"), body);
        if (codeGeneration.useDisqusComments())
            page += codeGeneration.disqusCommentCountingJavascript();

        const QString fileName = categoryPageFileName(category, params);
        const bool claimed = m_plugin.claimExportFileName(
            fileName, QStringLiteral("the page of the category \u201c%1\u201d").arg(category->categoryName()));
        if (claimed && contentOnly)
            subpages.append(QFBlogPlugin::contentOnlySubpageWithHTML(page, fileName));
        else if (claimed)
            writePageIntoScratchFolder(fileName, page);
        m_plugin.exportUnitDone();
    }
    return subpages;
}

void QFBlogPluginCategories::replaceCommentsPlaceholders(QString &page, const QString &haloScanPlaceholder,
                                                         const QString &jskitPlaceholder) const
{
    const QFBlogPluginCodeGeneration &codeGeneration = m_plugin.codeGeneration();
    QString haloScan;
    QString jskit;
    if (codeGeneration.useHaloScanComments())
        haloScan = codeGeneration.haloScanLoadCommand();
    else if (codeGeneration.useJSKitComments())
        jskit = codeGeneration.jskitLoadCommand();
    page.replace(jskitPlaceholder, jskit);
    page.replace(haloScanPlaceholder, haloScan);
}

void QFBlogPluginCategories::writePageIntoScratchFolder(const QString &fileName, const QString &html) const
{
    m_plugin.writeExportFile(m_plugin.temporaryFilesDirectory() + QLatin1Char('/') + fileName, html);
}

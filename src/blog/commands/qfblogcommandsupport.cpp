#include "qfblogcommandsupport.h"

#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfpropertytext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfstyledtext.h"

#include <QDir>
#include <QJsonArray>

namespace QFBlogCommandSupport {

QFCommandArguments::Option pageOption()
{
    return {QStringLiteral("page"), true};
}

QStringList hiddenSettingKeys()
{
    return {QStringLiteral("pluginIsInitialising"), QStringLiteral("shouldUpdateSearchIndexes"),
            QStringLiteral("localizeCheckBoxState")};
}

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

namespace {

// Where a page sits in the site: its folder and file name.
QString placeOf(const QFPage &page)
{
    return page.folder.isEmpty() ? page.fileName : page.folder + QLatin1Char('/') + page.fileName;
}

// The pages --page NAME names: those whose unique ID is NAME, else whose
// place is, else whose file name is, else whose title is.
QList<QFPage> pagesNamed(const QString &name, const QList<QFPage> &pages)
{
    for (auto matches : {+[](const QFPage &p, const QString &n) { return p.uniqueID == n; },
                         +[](const QFPage &p, const QString &n) { return placeOf(p) == n; },
                         +[](const QFPage &p, const QString &n) { return p.fileName == n; },
                         +[](const QFPage &p, const QString &n) { return p.title == n; }}) {
        QList<QFPage> found;
        for (const QFPage &candidate : pages) {
            if (matches(candidate, name))
                found.append(candidate);
        }
        if (!found.isEmpty())
            return found;
    }
    return {};
}

// The most readable name --page takes that picks this page alone: its
// title, else its place, else its unique ID.
QString nameFor(const QFPage &page, const QList<QFPage> &pages)
{
    for (const QString &name : {page.title, placeOf(page)}) {
        const QList<QFPage> found = pagesNamed(name, pages);
        if (!name.isEmpty() && found.size() == 1 && found.constFirst().uniqueID == page.uniqueID)
            return name;
    }
    return page.uniqueID;
}

// One line per page: the name to give --page, then what else tells it apart.
QString pageList(const QList<QFPage> &pages, const QList<QFPage> &all)
{
    QStringList names;
    qsizetype width = 0;
    for (const QFPage &page : pages) {
        QString name = nameFor(page, all);
        if (name.contains(QLatin1Char(' ')) || name.contains(QLatin1Char('\t')))
            name = QLatin1Char('\'') + name + QLatin1Char('\'');
        width = std::max(width, name.size());
        names.append(name);
    }
    QString list;
    for (qsizetype i = 0; i < pages.size(); ++i) {
        const QFPage &page = pages.at(i);
        list += QStringLiteral("\n  --page %1   (file %2, title \u201c%3\u201d, ID %4)")
                    .arg(names.at(i).leftJustified(width), placeOf(page), page.title, page.uniqueID);
    }
    return list;
}

} // namespace

QFBlogSite openBlog(QFCommandContext &context, const QString &path, const QString &page)
{
    QFBlogSite site;
    site.path = path;
    site.document = context.openDocument(path);
    QList<QFPage> blogs;
    for (const QFPage &candidate : site.document->pages()) {
        if (candidate.pluginName == QFBlogPlugin::pluginIdentifier())
            blogs.append(candidate);
    }
    // Acting on some blog of several would change a page the user did not
    // mean; so would a name that fits several.
    if (page.isEmpty() && blogs.size() > 1) {
        QFCommandArguments::usageError(
            QStringLiteral("the site %1 has %2 blog pages; name one with --page:%3")
                .arg(quoted(path), QString::number(blogs.size()), pageList(blogs, blogs)));
    }
    QFPage chosen;
    if (!page.isEmpty()) {
        const QList<QFPage> found = pagesNamed(page, blogs);
        if (found.size() > 1) {
            QFCommandArguments::usageError(
                QStringLiteral("%1 blog pages of %2 are called \u201c%3\u201d; name one with --page:%4")
                    .arg(QString::number(found.size()), quoted(path), page, pageList(found, blogs)));
        }
        if (!found.isEmpty())
            chosen = found.constFirst();
    }
    if (!chosen.plugin)
        chosen = QFCommandContext::pickPage(*site.document, QFBlogPlugin::pluginIdentifier(), page);
    site.blog = qobject_cast<QFBlogPlugin *>(chosen.plugin);
    if (!site.blog) {
        throw QFException(QStringLiteral("No Such Page"),
                          QStringLiteral("The page \u201c%1\u201d of %2 is not a blog made by this plugin.")
                              .arg(chosen.uniqueID, quoted(path)));
    }
    return site;
}

QJsonObject postJson(const QFBlogEntry &entry, bool full)
{
    QJsonObject post;
    post.insert(QStringLiteral("id"), entry.ID());
    post.insert(QStringLiteral("guid"), entry.GUID());
    post.insert(QStringLiteral("title"), entry.title());
    const QDateTime date = entry.date();
    post.insert(QStringLiteral("date"), date.isValid()
                    ? QJsonValue(QFPropertyText::format(date))
                    : QJsonValue(QJsonValue::Null));
    post.insert(QStringLiteral("draft"), entry.isDraft());
    QJsonArray categories;
    for (const QFBlogCategoryPtr &category : entry.categoriesWithoutNone().value_or(QList<QFBlogCategoryPtr>())) {
        if (category)
            categories.append(category->categoryName());
    }
    post.insert(QStringLiteral("categories"), categories);
    QJsonArray tags;
    for (const QFBlogTag &tag : entry.tags().value_or(QFBlogTagList()))
        tags.append(tag.tagName());
    post.insert(QStringLiteral("tags"), tags);
    post.insert(QStringLiteral("podcast"),
                entry.podcast().isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(entry.podcast()));
    if (full) {
        const std::optional<QFStyledText> summary = entry.entrySummary();
        const std::optional<QFStyledText> body = entry.entry();
        post.insert(QStringLiteral("summary"), summary ? summary->plainString() : QString());
        post.insert(QStringLiteral("body"), body ? body->plainString() : QString());
        post.insert(QStringLiteral("permalinkName"), entry.overridePermalinkNameText().isEmpty()
                        ? QJsonValue(QJsonValue::Null)
                        : QJsonValue(entry.overridePermalinkNameText()));
    }
    return post;
}

QJsonObject categoryJson(const QFBlogCategory &category)
{
    QJsonObject object;
    object.insert(QStringLiteral("id"), category.categoryID());
    object.insert(QStringLiteral("name"), category.categoryName());
    object.insert(QStringLiteral("none"), category.isNone());
    return object;
}

QFBlogCategoryPtr categoryNamed(const QFBlogPlugin &blog, const QString &name)
{
    for (const QFBlogCategoryPtr &category : blog.categories()) {
        if (category && category->isNamed(name))
            return category;
    }
    return nullptr;
}

QList<int> categoryIDsForNames(QFBlogPlugin &blog, const QStringList &names)
{
    QList<int> ids;
    QFBlogCategoryPtr none;
    for (const QString &name : names) {
        QFBlogCategoryPtr category = categoryNamed(blog, name);
        if (!category)
            category = blog.addNewCategory(name);
        if (category->isNone())
            none = category;
        else if (!ids.contains(category->categoryID()))
            ids.append(category->categoryID());
    }
    if (ids.isEmpty() && none)
        ids.append(none->categoryID());
    return ids;
}

QString checkedName(const QString &name, const QString &what)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        QFCommandArguments::usageError(QStringLiteral("a %1 needs a name").arg(what));
    return trimmed;
}

int parsePostID(const QString &text)
{
    bool ok = false;
    const int postID = text.toInt(&ok);
    if (!ok)
        QFCommandArguments::usageError(QStringLiteral("'%1' is not a post ID (a whole number)").arg(text));
    return postID;
}

QFBlogEntryPtr postWithID(const QFBlogSite &site, int postID)
{
    const QFBlogEntryPtr entry = site.blog->postForPostID(postID);
    if (!entry) {
        throw QFException(QStringLiteral("No Such Post"),
                          QStringLiteral("The blog in %1 has no post with the ID %2.").arg(quoted(site.path)).arg(postID));
    }
    return entry;
}

} // namespace QFBlogCommandSupport

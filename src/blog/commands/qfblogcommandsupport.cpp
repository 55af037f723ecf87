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

QFBlogSite openBlog(QFCommandContext &context, const QString &path, const QString &page)
{
    QFBlogSite site;
    site.path = path;
    site.document = context.openDocument(path);
    const QFPage chosen = QFCommandContext::pickPage(*site.document, QFBlogPlugin::pluginIdentifier(), page);
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
        if (category && category->categoryName().compare(name, Qt::CaseInsensitive) == 0)
            return category;
    }
    return nullptr;
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

#pragma once

#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogentry.h"
#include "qfkit/document/qfcommandarguments.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <memory>

class QFBlogPlugin;
class QFCommandContext;
class QFSiteDocument;

// A site opened by a blog command, with the blog page the command works on.
// The document owns the blog.
struct QFBlogSite
{
    std::unique_ptr<QFSiteDocument> document;
    QFBlogPlugin *blog = nullptr;
    QString path;
};

// What the blog's commands share: opening the site and choosing its blog
// page (--page), the stable JSON forms of posts and categories, and lookups
// by the names a user types.
namespace QFBlogCommandSupport {

// The --page option every blog command takes.
QFCommandArguments::Option pageOption();

// Opens the site at path and picks the blog page named by page (unique ID,
// file name or title; the first blog page when empty). The context's
// QFExceptions name the file.
QFBlogSite openBlog(QFCommandContext &context, const QString &path, const QString &page);

// The blog's properties that are state rather than settings, which get and
// set do not offer.
QStringList hiddenSettingKeys();

// The file name as messages quote it.
QString quoted(const QString &path);

// {id, guid, title, date (ISO 8601 with offset), draft, categories (names,
// without the None category), tags (names), podcast (path or null)}; with
// full, also summary and body (their plain text).
QJsonObject postJson(const QFBlogEntry &entry, bool full = false);
// {id, name, none}.
QJsonObject categoryJson(const QFBlogCategory &category);

// The category whose name matches ignoring case; null when none.
QFBlogCategoryPtr categoryNamed(const QFBlogPlugin &blog, const QString &name);

// A post's ID as typed; a usage error for anything but a whole number.
int parsePostID(const QString &text);
// The post with that ID; QFException("No Such Post") naming the file.
QFBlogEntryPtr postWithID(const QFBlogSite &site, int postID);

} // namespace QFBlogCommandSupport

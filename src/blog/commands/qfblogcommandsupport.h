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

// Opens the site at path and picks the blog page named by page: its unique
// ID, else its folder and file name ("notes/blog"), else its file name, else
// its title; the only blog page when empty. A usage error listing the pages
// with the names --page takes when page is empty on a site with several blog
// pages, or names several. The context's QFExceptions name the file.
QFBlogSite openBlog(QFCommandContext &context, const QString &path, const QString &page);

// The blog's properties that are state rather than settings, which get and
// set do not offer.
QStringList hiddenSettingKeys();

// The file name as messages quote it.
QString quoted(const QString &path);

// {id, guid, title, date (ISO 8601 with offset), draft, categories (names,
// without the None category), tags (names), podcast (path or null)}; with
// full, also summary and body (their plain text) and permalinkName (the
// override of the page's file name, or null).
QJsonObject postJson(const QFBlogEntry &entry, bool full = false);
// {id, name, none}.
QJsonObject categoryJson(const QFBlogCategory &category);

// The category whose name matches ignoring case; null when none. "None"
// names the None category, whatever its stored name.
QFBlogCategoryPtr categoryNamed(const QFBlogPlugin &blog, const QString &name);
// The category IDs a post filed under these categories gets: each name's
// category (made when missing, names being unique ignoring case), once
// each; the None category only when no other is named.
QList<int> categoryIDsForNames(QFBlogPlugin &blog, const QStringList &names);
// A category or tag name as typed, trimmed; a usage error for a blank one.
QString checkedName(const QString &name, const QString &what);

// A post's ID as typed; a usage error for anything but a whole number.
int parsePostID(const QString &text);
// The post with that ID; QFException("No Such Post") naming the file.
QFBlogEntryPtr postWithID(const QFBlogSite &site, int postID);

} // namespace QFBlogCommandSupport

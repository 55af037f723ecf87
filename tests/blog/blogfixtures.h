#pragma once

#include "blog/model/qfblogcustomtag.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"

#include <QByteArray>
#include <QDateTime>
#include <QSet>
#include <QVariant>

class QFExportItem;

// "A blog with every setting changed", shared by the tests that write a blog
// one way and read it back another (the record, the page package).

// The blog's clock during these tests, and the build date set on the blog.
extern const QDateTime kFixtureNow;
extern const QDateTime kFixtureBuilt;

QByteArray pngBytes(Qt::GlobalColor colour);
QFBlogCustomTagPtr customTag(const QString &tag, const QString &value, const QString &attributes);

// Makes the blog bundle's strings and the model's coding classes available.
void initializeBlogClassForFixtures();

// Sets every setting of the blog not in `skipped` or `derived` to a value other
// than its default, and adds a published post and a draft that use every field.
// `carried` receives every setting not skipped (derived ones included). Fails
// the running test when a setting is one it does not know how to change.
void changeEverything(QFBlogPlugin &blog, const QSet<QByteArray> &skipped, const QSet<QByteArray> &derived,
                      QList<QByteArray> &carried);

// The value changeEverything gives the setting whose default is `before`;
// a null QVariant for a setting it does not know.
QVariant changedValue(const QByteArray &key, const QVariant &before);

// A value compared by what it holds, not by which object holds it (the None
// category's ID is left out: a read blog gives it its own).
QVariant comparable(const QVariant &value);

// The first field in which the posts of the two blogs differ, as a message;
// empty when they hold the same posts. Fields named in `ignored` (ones a
// reader does not carry) are not compared.
QString postDifferences(const QFBlogPlugin &expected, const QFBlogPlugin &actual, const QSet<QString> &ignored = {});

// Small values shared by the tests of the generators.

// Export parameters of the blog page "blog.html" titled "My Blog", its own
// pages in the folder "files"; `extra` adds or replaces some.
QVariantMap pageParams(const QVariantMap &extra = {});

// A post added to the blog: ID `id`, GUID "post-<id>", title "Post <id>",
// body "Text of post <id>.", published unless `draft`.
QFBlogEntryPtr addPost(QFBlogPlugin &blog, int id, const QDateTime &date, bool draft = false);
QFBlogTagList tagList(const QStringList &names);
// The ID of the blog's category of that name; -1 when there is none.
int categoryID(const QFBlogPlugin &blog, const QString &name);

// The IDs of the posts on a page, in page order.
QStringList entryIDs(const QString &html);
// The file name of each exported file, the name of each other item.
QStringList itemNames(const QList<QFExportItem> &items);
QString readFile(const QString &path);
// A file under tests/data.
QString goldenFile(const QString &path);

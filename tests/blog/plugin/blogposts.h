#pragma once

#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfbundle.h"

// Small helpers for the tests of the plugin's post list.

inline void initializeBlogPluginClass()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

// Ten o'clock, `n` days into 2023.
inline QDateTime day(int n)
{
    return QDateTime(QDate(2023, 1, 1).addDays(n), QTime(10, 0));
}

// A published post (or a draft) put into the blog, with the blog's last ID past its own.
inline QFBlogEntryPtr addPost(QFBlogPlugin &plugin, int id, const QDateTime &date, const QString &title = {},
                              const QString &body = {}, bool draft = false)
{
    const QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    entry->setID(id);
    entry->setDate(date);
    entry->setStatus(draft ? 0 : 1);
    if (!title.isNull())
        entry->setTitle(title);
    if (!body.isNull())
        entry->setEntryString(body);
    plugin.insertBlogEntry(entry);
    if (plugin.lastID() <= id)
        plugin.setLastID(id + 1);
    return entry;
}

inline QList<int> postIDs(const QList<QFBlogEntryPtr> &entries)
{
    QList<int> ids;
    for (const QFBlogEntryPtr &entry : entries)
        ids.append(entry->ID());
    return ids;
}

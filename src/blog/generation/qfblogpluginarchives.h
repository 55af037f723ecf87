#pragma once

#include "blog/generation/qfblogarchiver.h"

#include "blog/model/qfblogentry.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>

class QFBlogPlugin;

// The archives group of the blog plugin: which period the blog archives by
// and where each post falls. The plugin owns one and outlives it; the period
// settings themselves (archivePostsPeriod, archivePostsEnabled …) are the
// plugin's properties.
class QFBlogPluginArchives final
{
public:
    explicit QFBlogPluginArchives(QFBlogPlugin &plugin);
    Q_DISABLE_COPY_MOVE(QFBlogPluginArchives)

    // A fresh archiver for the plugin's period: weekly for 0, yearly for 2,
    // monthly for 1 and for any other value. Never null.
    std::unique_ptr<QFBlogArchiver> currentArchiver() const;

    // The earliest and latest date among the non-draft posts that have a
    // valid date; empty when there is none. The argument of latestPost has
    // no effect (callers pass whether they want drafts; they never get them).
    std::optional<QDateTime> earliestPost() const;
    std::optional<QDateTime> latestPost(bool includeDrafts = false) const;

    // The start of the period of the latest post, or of the plugin's "now"
    // when there is no such post.
    QDateTime mostRecentPostBucket() const;

    // One period of the archive table.
    struct Period
    {
        QDateTime date;                 // the period start (the key)
        int index = 0;                  // 0 for the earliest period
        QString bucketLinkFormat;       // the archiver's calendar format
        QList<QFBlogEntryPtr> entries;  // newest first
    };

    // Rebuilds the archive table from the posts (every period from the
    // earliest to the latest post, gaps included).
    void calculateArchives();
    // The table, keyed (and so ordered) by period start.
    const QMap<QDateTime, Period> &archives() const;
    // Period keys ascending; newest first; newest first with entries only.
    QList<QDateTime> archiveKeys() const;
    QList<QDateTime> continuousArchiveKeys() const;
    // The period holding the post, skipping the most recent period; null
    // when none holds it.
    const Period *archiveForEntry(const QFBlogEntryPtr &entry) const;
    QString archiveFilenameBasename(const Period &period) const;
    QString archiveFileNameWithBase(const QString &base, const QString &extension) const;
    // The sidebar's archive links.
    QString emitArchiveLinks(const QVariantMap &params) const;
    QString archiveNavigationLinksHTML(const QDateTime &periodKey, const QVariantMap &params) const;
    QString archiveTemplate(const QVariantMap &params) const;
    // The page of one period: its HTML with content-only sub-pages, else
    // written into the scratch folder (nullopt); nullopt for a period
    // without entries.
    std::optional<QString> emitArchiveEntries(const QDateTime &periodKey, const QString &filesDirectory,
                                              const QVariantMap &params);

private:
    QFBlogPlugin &m_plugin;
    QMap<QDateTime, Period> m_archives;
};

#pragma once

#include "blog/generation/qfblogarchiver.h"

#include "blog/model/qfblogentry.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>

class QFBlogPlugin;

// The archives group of the blog plugin: which period the blog archives by
// and where each post falls, the archive pages and the sidebar's archive
// links. The plugin owns one and outlives it; the period settings themselves
// (archivePostsPeriod, archivePostsEnabled …) are the plugin's properties.
//
// The table (calculateArchives()) is what the links and pages describe: they
// show the blog as it was when the table was last built.
//
// Threads: the export's; one export at a time per plugin.
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

    // Every post, drafts included, newest first; posts with equal dates keep
    // their stored order. Sorted afresh on each call, except while an
    // ExportPostOrder is alive: then every call answers the order it took.
    QList<QFBlogEntryPtr> postsNewestFirst() const;

    // Holds one newest-first order of the posts for as long as it lives, so
    // an export sorts once however many generators need the order. The posts
    // must not be added, removed or re-dated meanwhile. A holder made while
    // another lives shares that one's order and releases nothing.
    class ExportPostOrder final
    {
    public:
        explicit ExportPostOrder(QFBlogPluginArchives &archives);
        ~ExportPostOrder();
        Q_DISABLE_COPY_MOVE(ExportPostOrder)

    private:
        QFBlogPluginArchives &m_archives;
        bool m_holds = false;
    };

    // Rebuilds the archive table from the posts: every period from the
    // earliest to the latest published post, gaps (periods without posts)
    // included. With the show-at-least rule on, the newest showPostLimit
    // published posts (those of the main page) are left out of every period.
    void calculateArchives();
    // The table, keyed (and so ordered) by period start.
    const QMap<QDateTime, Period> &archives() const;
    // Period keys ascending; newest first; newest first with entries only.
    QList<QDateTime> archiveKeys() const;
    QList<QDateTime> archiveKeyEnumerator() const;
    QList<QDateTime> continuousArchiveKeys() const;
    // A sorted copy of the posts, newest first.
    static QList<QFBlogEntryPtr> archiveEntriesKeyEnumerator(const QList<QFBlogEntryPtr> &entries);
    // The period holding the post, skipping the most recent period; null
    // when none holds it. The pointer lives until the next calculateArchives().
    const Period *archiveForEntry(const QFBlogEntryPtr &entry) const;
    // "mar-2024": the period start in its calendar format (C locale), made
    // a file name word.
    QString archiveFilenameBasename(const Period &period) const;
    // "archive-<base>.<extension>"; no dot for an empty extension.
    QString archiveFileNameWithBase(const QString &base, const QString &extension) const;
    // The number of archive pages the export writes: periods with posts,
    // less the most recent one unless the show-at-least rule is on.
    qsizetype archivePageCount() const;

    // The sidebar's archive links, newest period first: a link for a period
    // with posts, a disabled line for a gap when gaps are shown. The most
    // recent period is left out unless the show-at-least rule is on (its
    // posts are on the main page). "" for an empty table.
    QString emitArchiveLinks(const QVariantMap &params) const;
    // The line at the top of an archive page: back to the blog, then to the
    // newer and the older period with posts (never to the most recent
    // period). "" for a period without posts or not in the table.
    QString archiveNavigationLinksHTML(const QDateTime &periodKey, const QVariantMap &params) const;
    // The archive page template (content-only, or placed in the site
    // theme); QFAssertionFailure when the bundle lacks it.
    QString archiveTemplate(const QVariantMap &params) const;
    // The page of one period: its HTML when the host wants content-only
    // sub-pages ("contentonlysubpages" present), else written into the
    // scratch folder as UTF-8 (nullopt; write errors are ignored); nullopt
    // for a period without entries or not in the table.
    std::optional<QString> emitArchiveEntries(const QDateTime &periodKey, const QString &filesDirectory,
                                              const QVariantMap &params);

private:
    // The period's title: its start in its format, localised as post dates are.
    QString periodText(const Period &period) const;

    QFBlogPlugin &m_plugin;
    QMap<QDateTime, Period> m_archives;
    // Kept with the table: the most recent period and the periods with
    // posts, newest first, with each one's position in that list.
    QDateTime m_mostRecentBucket;
    QList<QDateTime> m_continuousKeys;
    QHash<qint64, qsizetype> m_continuousPositions;
    // The order held by an ExportPostOrder.
    std::optional<QList<QFBlogEntryPtr>> m_heldPostOrder;
};

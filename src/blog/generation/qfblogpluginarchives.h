#pragma once

#include "blog/generation/qfblogarchiver.h"

#include <QDateTime>
#include <QString>
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

private:
    QFBlogPlugin &m_plugin;
};

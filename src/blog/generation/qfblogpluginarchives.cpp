#include "qfblogpluginarchives.h"

#include "blog/generation/qfmonthlyblogarchiver.h"
#include "blog/generation/qfweeklyblogarchiver.h"
#include "blog/generation/qfyearlyblogarchiver.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"

QFBlogPluginArchives::QFBlogPluginArchives(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

std::unique_ptr<QFBlogArchiver> QFBlogPluginArchives::currentArchiver() const
{
    switch (m_plugin.archivePostsPeriod()) {
    case 0:
        return std::make_unique<QFWeeklyBlogArchiver>();
    case 2:
        return std::make_unique<QFYearlyBlogArchiver>();
    default:
        return std::make_unique<QFMonthlyBlogArchiver>();
    }
}

std::optional<QDateTime> QFBlogPluginArchives::earliestPost() const
{
    std::optional<QDateTime> earliest;
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        if (entry->isDraft() || !entry->date().isValid())
            continue;
        if (!earliest || entry->date() < *earliest)
            earliest = entry->date();
    }
    return earliest;
}

std::optional<QDateTime> QFBlogPluginArchives::latestPost(bool includeDrafts) const
{
    std::optional<QDateTime> latest;
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        if (entry->isDraft() || !entry->date().isValid())
            continue;
        if (!latest || entry->date() > *latest)
            latest = entry->date();
    }
    return latest;
}

QDateTime QFBlogPluginArchives::mostRecentPostBucket() const
{
    const std::optional<QDateTime> latest = latestPost(false);
    return currentArchiver()->bucketFromDate(latest ? *latest : m_plugin.now());
}

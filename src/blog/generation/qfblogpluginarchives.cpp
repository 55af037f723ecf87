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

// ---- archive pages (placeholders until the archive pages are built)

void QFBlogPluginArchives::calculateArchives() { m_archives.clear(); }
const QMap<QDateTime, QFBlogPluginArchives::Period> &QFBlogPluginArchives::archives() const { return m_archives; }
QList<QDateTime> QFBlogPluginArchives::archiveKeys() const { return m_archives.keys(); }
QList<QDateTime> QFBlogPluginArchives::continuousArchiveKeys() const { return {}; }
const QFBlogPluginArchives::Period *QFBlogPluginArchives::archiveForEntry(const QFBlogEntryPtr &) const { return nullptr; }
QString QFBlogPluginArchives::archiveFilenameBasename(const Period &) const { return {}; }
QString QFBlogPluginArchives::archiveFileNameWithBase(const QString &, const QString &) const { return {}; }
QString QFBlogPluginArchives::emitArchiveLinks(const QVariantMap &) const { return {}; }
QString QFBlogPluginArchives::archiveNavigationLinksHTML(const QDateTime &, const QVariantMap &) const { return {}; }
QString QFBlogPluginArchives::archiveTemplate(const QVariantMap &) const { return {}; }
std::optional<QString> QFBlogPluginArchives::emitArchiveEntries(const QDateTime &, const QString &, const QVariantMap &) { return std::nullopt; }

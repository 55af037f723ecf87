#include "qfblogpluginarchives.h"

#include "blog/generation/qfmonthlyblogarchiver.h"
#include "blog/generation/qfweeklyblogarchiver.h"
#include "blog/generation/qfyearlyblogarchiver.h"
#include "blog/model/qfblogentry.h"
#include "blog/generation/qfblogplugincategories.h"
#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfcalendarformat.h"
#include "qfkit/text/qfstrings.h"

#include <algorithm>
#include <limits>
#include <vector>

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
    // A held order answers from its end; dates compare slowly (each side is
    // converted from local time), which matters for large blogs.
    if (m_heldPostOrder) {
        for (auto it = m_heldPostOrder->crbegin(); it != m_heldPostOrder->crend(); ++it) {
            if (!(*it)->isDraft() && (*it)->date().isValid())
                return (*it)->date();
        }
        return std::nullopt;
    }
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
    Q_UNUSED(includeDrafts)
    if (m_heldPostOrder) {
        for (const QFBlogEntryPtr &entry : std::as_const(*m_heldPostOrder)) {
            if (!entry->isDraft() && entry->date().isValid())
                return entry->date();
        }
        return std::nullopt;
    }
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

// ---- posts in export order

QList<QFBlogEntryPtr> QFBlogPluginArchives::postsNewestFirst() const
{
    if (m_heldPostOrder)
        return *m_heldPostOrder;
    return archiveEntriesKeyEnumerator(m_plugin.posts());
}

QFBlogPluginArchives::ExportPostOrder::ExportPostOrder(QFBlogPluginArchives &archives)
    : m_archives(archives)
{
    if (m_archives.m_heldPostOrder)
        return;
    m_archives.m_heldPostOrder = m_archives.postsNewestFirst();
    m_holds = true;
}

QFBlogPluginArchives::ExportPostOrder::~ExportPostOrder()
{
    if (m_holds)
        m_archives.m_heldPostOrder.reset();
}

QList<QFBlogEntryPtr> QFBlogPluginArchives::archiveEntriesKeyEnumerator(const QList<QFBlogEntryPtr> &entries)
{
    // The same order as a stable sort with QFBlogEntry::newerFirst, with each
    // date converted once instead of at every comparison. Dates that are not
    // valid count as the oldest.
    struct Key
    {
        qint64 msecs;
        qsizetype index;
    };
    std::vector<Key> keys;
    keys.reserve(size_t(entries.size()));
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const QDateTime &date = entries.at(i)->date();
        keys.push_back({date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min(), i});
    }
    std::stable_sort(keys.begin(), keys.end(), [](const Key &a, const Key &b) { return a.msecs > b.msecs; });
    QList<QFBlogEntryPtr> sorted;
    sorted.reserve(entries.size());
    for (const Key &key : keys)
        sorted.append(entries.at(key.index));
    return sorted;
}

// ---- the archive table

void QFBlogPluginArchives::calculateArchives()
{
    m_archives.clear();
    m_continuousKeys.clear();
    m_continuousPositions.clear();
    const std::unique_ptr<QFBlogArchiver> archiver = currentArchiver();
    const QString format = archiver->bucketLinkFormat();

    const std::optional<QDateTime> earliest = earliestPost();
    const std::optional<QDateTime> latest = latestPost(false);
    m_mostRecentBucket = archiver->bucketFromDate(latest ? *latest : m_plugin.now());
    if (earliest && latest) {
        const QDateTime last = archiver->bucketFromDate(*latest);
        int index = 0;
        for (QDateTime start = archiver->bucketFromDate(*earliest); start.isValid() && start <= last;
             start = archiver->nextDateFromDate(start)) {
            m_archives.insert(start, Period{start, index++, format, {}});
        }
    }
    if (m_archives.isEmpty())
        return;

    // The newest `limit` published posts stand on the main page and on no
    // archive page.
    const int limit = m_plugin.showAtLeastPosts() ? m_plugin.showPostLimit() : 0;
    int skipped = 0;
    // Posts of one day share their period; the archiver is asked once a day.
    QHash<qint64, QMap<QDateTime, Period>::iterator> periodOfDay;
    for (const QFBlogEntryPtr &entry : postsNewestFirst()) {
        if (entry->isDraft())
            continue;
        if (limit > 0 && skipped < limit) {
            ++skipped;
            continue;
        }
        const QDateTime &date = entry->date();
        if (!date.isValid())
            continue;
        const qint64 day = date.toLocalTime().date().toJulianDay();
        auto known = periodOfDay.constFind(day);
        if (known == periodOfDay.cend())
            known = periodOfDay.insert(day, m_archives.find(archiver->bucketFromDate(date)));
        if (known.value() != m_archives.end())
            known.value()->entries.append(entry);
    }

    for (auto it = m_archives.cend(); it != m_archives.cbegin();) {
        --it;
        if (it->entries.isEmpty())
            continue;
        m_continuousPositions.insert(it.key().toMSecsSinceEpoch(), m_continuousKeys.size());
        m_continuousKeys.append(it.key());
    }
}

const QMap<QDateTime, QFBlogPluginArchives::Period> &QFBlogPluginArchives::archives() const
{
    return m_archives;
}

QList<QDateTime> QFBlogPluginArchives::archiveKeys() const
{
    return m_archives.keys();
}

QList<QDateTime> QFBlogPluginArchives::archiveKeyEnumerator() const
{
    QList<QDateTime> keys = m_archives.keys();
    std::reverse(keys.begin(), keys.end());
    return keys;
}

QList<QDateTime> QFBlogPluginArchives::continuousArchiveKeys() const
{
    return m_continuousKeys;
}

const QFBlogPluginArchives::Period *QFBlogPluginArchives::archiveForEntry(const QFBlogEntryPtr &entry) const
{
    if (!entry)
        return nullptr;
    const QDateTime bucket = currentArchiver()->bucketFromDate(entry->date());
    if (!bucket.isValid() || bucket == m_mostRecentBucket)
        return nullptr;
    const auto it = m_archives.constFind(bucket);
    if (it == m_archives.cend() || !it->entries.contains(entry))
        return nullptr;
    return &it.value();
}

QString QFBlogPluginArchives::archiveFilenameBasename(const Period &period) const
{
    // File names never follow the user's locale, so they stay the same
    // whatever the localise-date check box says.
    return QFStrings::stringEscapedForLowercaseFilename(QFCalendarFormat::format(period.date, period.bucketLinkFormat));
}

QString QFBlogPluginArchives::archiveFileNameWithBase(const QString &base, const QString &extension) const
{
    QString name = QStringLiteral("archive-") + base;
    if (!extension.isEmpty())
        name += QLatin1Char('.') + extension;
    return name;
}

qsizetype QFBlogPluginArchives::archivePageCount() const
{
    qsizetype count = m_continuousKeys.size();
    if (!m_plugin.showAtLeastPosts() && m_continuousPositions.contains(m_mostRecentBucket.toMSecsSinceEpoch()))
        --count;
    return count;
}

QString QFBlogPluginArchives::periodText(const Period &period) const
{
    return m_plugin.codeGeneration().localisedDescription(period.date, period.bucketLinkFormat);
}

// ---- the sidebar's links and the archive pages

QString QFBlogPluginArchives::emitArchiveLinks(const QVariantMap &params) const
{
    const QString extension = params.value(QStringLiteral("FilenameExt")).toString();
    const bool subpage = QFStrings::boolValue(params.value(QStringLiteral("subpage")).toString());
    const QString filesFolder = params.value(QStringLiteral("filesfoldername")).toString();
    const bool showGaps = m_plugin.archivePostsShowGaps();

    QString links;
    for (auto it = m_archives.cend(); it != m_archives.cbegin();) {
        --it;
        const Period &period = it.value();
        if (!m_plugin.showAtLeastPosts() && period.date == m_mostRecentBucket)
            continue;
        if (!period.entries.isEmpty()) {
            QString link = archiveFileNameWithBase(archiveFilenameBasename(period), extension);
            if (!subpage)
                link = filesFolder + QLatin1Char('/') + link;
            links += QStringLiteral("<a class=\"blog-archive-link-enabled\" href=\"%1\">%2</a><br />")
                         .arg(link, periodText(period));
        } else if (showGaps) {
            links += QStringLiteral("<div class=\"blog-archive-link-disabled\">%1</div>").arg(periodText(period));
        }
    }
    return links;
}

QString QFBlogPluginArchives::archiveNavigationLinksHTML(const QDateTime &periodKey, const QVariantMap &params) const
{
    const auto found = m_continuousPositions.constFind(periodKey.toMSecsSinceEpoch());
    if (!periodKey.isValid() || found == m_continuousPositions.cend())
        return QString(QLatin1String(""));
    const qsizetype position = found.value();
    const QString extension = params.value(QStringLiteral("FilenameExt")).toString();

    QString line = QStringLiteral("<a href=\"../%1\">%2</a>")
                       .arg(m_plugin.designatedFilename(), QFStrings::convertToEntities(m_plugin.designatedTitle()));
    // The most recent period is the main page itself, so no period links to it.
    const auto appendLink = [&](qsizetype neighbour) {
        if (neighbour < 0 || neighbour >= m_continuousKeys.size())
            return;
        const QDateTime &key = m_continuousKeys.at(neighbour);
        if (key == m_mostRecentBucket)
            return;
        const Period &period = m_archives.find(key).value();
        line += QStringLiteral(" | <a href=\"%1\">%2</a>")
                    .arg(archiveFileNameWithBase(archiveFilenameBasename(period), extension), periodText(period));
    };
    appendLink(position - 1);
    appendLink(position + 1);
    return line;
}

QString QFBlogPluginArchives::archiveTemplate(const QVariantMap &params) const
{
    return m_plugin.permalinks().preparedTemplate(params, QStringLiteral("BlogArchiveTemplate"),
                                                  QStringLiteral("BlogArchiveTemplateContentOnly"),
                                                  "QFBlogPluginArchives", "Blog archive template is missing",
                                                  "Blog archive content-only template is missing");
}

namespace {

// Markup stays as it is; every character outside ASCII becomes its entity,
// so month names of any language survive any page encoding while the links
// of the line keep working.
QString entitiesOutsideASCII(const QString &html)
{
    QString result;
    result.reserve(html.size());
    qsizetype i = 0;
    while (i < html.size()) {
        qsizetype j = i;
        while (j < html.size() && html.at(j).unicode() < 0x80)
            ++j;
        result += QStringView(html).mid(i, j - i);
        i = j;
        while (j < html.size() && html.at(j).unicode() >= 0x80)
            ++j;
        if (j > i)
            result += QFStrings::convertToEntities(html.mid(i, j - i));
        i = j;
    }
    return result;
}

} // namespace

std::optional<QString> QFBlogPluginArchives::emitArchiveEntries(const QDateTime &periodKey,
                                                               const QString &filesDirectory,
                                                               const QVariantMap &params)
{
    const auto found = m_archives.constFind(periodKey);
    if (found == m_archives.cend() || found->entries.isEmpty())
        return std::nullopt;
    const Period &period = found.value();
    QFBlogPluginCodeGeneration &codeGeneration = m_plugin.codeGeneration();

    QString body;
    for (const QFBlogEntryPtr &entry : period.entries)
        body += codeGeneration.emitBlogEntryHTML(entry, filesDirectory, 1, false,
                                                 QFBlogPluginCodeGeneration::ArchivePage, params);

    QString page = archiveTemplate(params);
    m_plugin.categoriesGroup().replaceCommentsPlaceholders(page, QStringLiteral("%blog_archive_haloscan%"),
                                                           QStringLiteral("%blog_archive_jskit%"));
    const QString title = QFStrings::convertToEntities(periodText(period));
    page.replace(QStringLiteral("%blog_archive_title%"), title);
    page.replace(QStringLiteral("%blog_archive_date%"), title);
    page.replace(QStringLiteral("%blog_archive_links%"),
                 entitiesOutsideASCII(archiveNavigationLinksHTML(periodKey, params)));
    page.replace(QStringLiteral("%blog_archive_entries%"), body);
    if (codeGeneration.useDisqusComments())
        page += codeGeneration.disqusCommentCountingJavascript();

    if (params.contains(QStringLiteral("contentonlysubpages")))
        return page;
    const QString fileName =
        archiveFileNameWithBase(archiveFilenameBasename(period), params.value(QStringLiteral("FilenameExt")).toString());
    m_plugin.categoriesGroup().writePageIntoScratchFolder(fileName, page);
    return std::nullopt;
}

#include "blog/generation/qfblogplugininternallinks.h"

#include "blog/generation/qfblogplugincategories.h"
#include "blog/generation/qfblogpluginarchives.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/generation/qfblogpluginrss.h"
#include "blog/model/qfcountedset.h"
#include "blog/plugin/qfblogplugin.h"

#include <QMutexLocker>
#include <limits>

namespace {

const QLatin1String kPermalinkPrefix("permalink:");
const QLatin1String kPodcastPrefix("podcast:");
const QLatin1String kCategoryPrefix("category:");
const QLatin1String kTagPrefix("tag:");

// What follows the prefix; nullopt unless the ID starts with it and has more.
std::optional<QString> afterPrefix(const QString &subpageID, QLatin1String prefix)
{
    if (subpageID.size() <= prefix.size() || !subpageID.startsWith(prefix))
        return std::nullopt;
    return subpageID.mid(prefix.size());
}

// Leading white space, a sign and the digits that follow; 0 when there are
// none, clamped to the int range. IDs typed into links by hand read the way
// they always have.
int leadingInteger(const QString &text)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    bool negative = false;
    if (i < text.size() && (text.at(i) == QLatin1Char('+') || text.at(i) == QLatin1Char('-'))) {
        negative = text.at(i) == QLatin1Char('-');
        ++i;
    }
    qint64 value = 0;
    for (; i < text.size() && text.at(i) >= QLatin1Char('0') && text.at(i) <= QLatin1Char('9'); ++i) {
        value = value * 10 + (text.at(i).unicode() - '0');
        if (value > qint64(std::numeric_limits<int>::max()) + 1)
            break;
    }
    if (negative)
        return value > qint64(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::min() : int(-value);
    return value > qint64(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::max() : int(value);
}

bool isPublished(const QFBlogEntryPtr &entry)
{
    // The tags a blog shows are those of enabled posts (status 1).
    return entry->status() == 1;
}

QVariantMap target(const QString &title, const QString &pageID, const QString &subpageID, const QString &anchorID)
{
    return QVariantMap{{QStringLiteral("title"), title},
                       {QStringLiteral("pageID"), pageID},
                       {QStringLiteral("subpageID"), subpageID},
                       {QStringLiteral("anchorID"), anchorID}};
}

} // namespace

struct QFBlogPluginInternalLinks::Index
{
    QHash<int, QFBlogEntryPtr> posts;
    QHash<int, QFBlogCategoryPtr> categories;
    QSet<QString> publishedTags;
};

QFBlogPluginInternalLinks::QFBlogPluginInternalLinks(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

QFBlogPluginInternalLinks::~QFBlogPluginInternalLinks() = default;

// ---------------------------------------------------------------- targets

std::optional<QVariantList> QFBlogPluginInternalLinks::internalPageLinks() const
{
    if (!m_plugin.generatePermalinkPages())
        return std::nullopt;
    const QString pageID = m_plugin.uniqueID();
    QVariantList links;

    for (const QFBlogEntryPtr &entry : m_plugin.archives().postsNewestFirst()) {
        if (entry->isDraft())
            continue;
        const QString id = QString::number(entry->ID());
        const QString anchor = QStringLiteral("postid:") + id;
        QVariantMap link = target(entry->title(), pageID, kPermalinkPrefix + id, anchor);
        if (entry->podcastExists()) {
            link.insert(QStringLiteral("children"),
                        QVariantList{target(podcastLinkName(entry), pageID, kPodcastPrefix + id, anchor)});
        }
        links.append(link);
    }

    QSet<int> filed;
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        for (int categoryID : entry->categoryIDs())
            filed.insert(categoryID);
    }
    const QString categoryFormat = QFBlogPlugin::localizedString(QStringLiteral("CategoryLinkMenuItemFormatString"));
    for (const QFBlogCategoryPtr &category : m_plugin.categories()) {
        if (!category || !filed.contains(category->categoryID()))
            continue;
        const QString id = kCategoryPrefix + QString::number(category->categoryID());
        links.append(target(categoryFormat.arg(category->categoryName()), pageID, id, id));
    }

    const QString tagFormat = QFBlogPlugin::localizedString(QStringLiteral("TagLinkMenuItemFormatString"));
    const QFCountedSet tags = m_plugin.tagsForEnabledBlogEntries();
    for (const QVariant &value : tags.objects()) {
        const QString name = value.value<QFBlogTag>().tagName();
        const QString id = kTagPrefix + name;
        links.append(target(tagFormat.arg(name), pageID, id, id));
    }
    return links;
}

// ---------------------------------------------------------------- parsing

QFBlogEntryPtr QFBlogPluginInternalLinks::postFromPermalinkLink(const QString &subpageID) const
{
    const std::optional<QString> rest = afterPrefix(subpageID, kPermalinkPrefix);
    return rest ? postForID(leadingInteger(*rest)) : nullptr;
}

QFBlogEntryPtr QFBlogPluginInternalLinks::postFromPodcastLink(const QString &subpageID) const
{
    const std::optional<QString> rest = afterPrefix(subpageID, kPodcastPrefix);
    return rest ? postForID(leadingInteger(*rest)) : nullptr;
}

QFBlogCategoryPtr QFBlogPluginInternalLinks::categoryFromCategoryLink(const QString &subpageID) const
{
    const std::optional<QString> rest = afterPrefix(subpageID, kCategoryPrefix);
    return rest ? categoryForID(leadingInteger(*rest)) : nullptr;
}

std::optional<QFBlogTag> QFBlogPluginInternalLinks::tagFromTagLink(const QString &subpageID) const
{
    const std::optional<QString> rest = afterPrefix(subpageID, kTagPrefix);
    if (!rest || !publishedTagExists(*rest))
        return std::nullopt;
    return QFBlogTag(*rest);
}

QString QFBlogPluginInternalLinks::podcastLinkName(const QFBlogEntryPtr &entry)
{
    return QStringLiteral("Podcast '%1'").arg(entry ? entry->podcastName() : QString());
}

// ---------------------------------------------------------------- mappers

std::optional<QString> QFBlogPluginInternalLinks::internalPageLinkFileMapper(const QString &subpageID) const
{
    if (const QFBlogEntryPtr entry = postFromPermalinkLink(subpageID))
        return m_plugin.permalinks().permalinkFilename(entry, std::nullopt);
    if (const QFBlogEntryPtr entry = postFromPodcastLink(subpageID))
        return m_plugin.rss().enclosureFileName(entry);
    if (const QFBlogCategoryPtr category = categoryFromCategoryLink(subpageID))
        return category->categoryFilenameBasename();
    if (const std::optional<QFBlogTag> tag = tagFromTagLink(subpageID))
        return tag->hrefFilenameBasename();
    return std::nullopt;
}

std::optional<QString> QFBlogPluginInternalLinks::internalPageLinkNameMapper(const QString &subpageID) const
{
    if (const QFBlogEntryPtr entry = postFromPermalinkLink(subpageID))
        return entry->titleOrNoTitle();
    if (const QFBlogEntryPtr entry = postFromPodcastLink(subpageID))
        return podcastLinkName(entry);
    if (const QFBlogCategoryPtr category = categoryFromCategoryLink(subpageID))
        return category->categoryName();
    if (const std::optional<QFBlogTag> tag = tagFromTagLink(subpageID))
        return tag->tagName();
    return std::nullopt;
}

std::optional<QString> QFBlogPluginInternalLinks::hrefForSubpage(const QString &subpageID, int depthCorrection,
                                                                 const QFSiteLayout::Page &page) const
{
    // The parameters the blog's own pages are generated with, so a link
    // typed into any page reaches the very file the export writes.
    const QVariantMap params{{QStringLiteral("FilenameExt"), page.extension},
                             {QStringLiteral("filesfoldername"), page.filesFolderName}};
    const auto inFilesFolder = [&](const QString &fileName) {
        return depthCorrection == 0 ? page.filesFolderName + QLatin1Char('/') + fileName : fileName;
    };
    if (const QFBlogEntryPtr entry = postFromPermalinkLink(subpageID))
        return m_plugin.permalinks().permalinkLink(entry, params, depthCorrection);
    if (const QFBlogEntryPtr entry = postFromPodcastLink(subpageID))
        return inFilesFolder(m_plugin.rss().enclosureFileName(entry));
    if (const QFBlogCategoryPtr category = categoryFromCategoryLink(subpageID))
        return m_plugin.categoriesGroup().categoryLink(category, params, depthCorrection);
    if (const std::optional<QFBlogTag> tag = tagFromTagLink(subpageID))
        return tag->hrefWithParams(params, depthCorrection);
    return std::nullopt;
}

// ---------------------------------------------------------------- lookups

void QFBlogPluginInternalLinks::beginLookups()
{
    const QMutexLocker locker(&m_mutex);
    ++m_lookupDepth;
}

void QFBlogPluginInternalLinks::endLookups()
{
    const QMutexLocker locker(&m_mutex);
    if (m_lookupDepth > 0 && --m_lookupDepth == 0)
        m_index.reset();
}

std::shared_ptr<const QFBlogPluginInternalLinks::Index> QFBlogPluginInternalLinks::index() const
{
    const QMutexLocker locker(&m_mutex);
    if (m_lookupDepth == 0)
        return nullptr;
    if (m_index)
        return m_index;

    auto index = std::make_shared<Index>();
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        // Of posts sharing an ID the newest counts; of those dated alike,
        // the first stored.
        auto found = index->posts.find(entry->ID());
        if (found == index->posts.end())
            index->posts.insert(entry->ID(), entry);
        else if (QFBlogEntry::newerFirst(entry, found.value()))
            found.value() = entry;
        if (isPublished(entry) && entry->tags()) {
            for (const QFBlogTag &tag : *entry->tags())
                index->publishedTags.insert(tag.tagName());
        }
    }
    for (const QFBlogCategoryPtr &category : m_plugin.categories()) {
        if (category && !index->categories.contains(category->categoryID()))
            index->categories.insert(category->categoryID(), category);
    }
    m_index = index;
    return m_index;
}

QFBlogEntryPtr QFBlogPluginInternalLinks::postForID(int postID) const
{
    if (const std::shared_ptr<const Index> lookup = index())
        return lookup->posts.value(postID);
    QFBlogEntryPtr newest;
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        if (entry->ID() == postID && (!newest || QFBlogEntry::newerFirst(entry, newest)))
            newest = entry;
    }
    return newest;
}

QFBlogCategoryPtr QFBlogPluginInternalLinks::categoryForID(int categoryID) const
{
    if (const std::shared_ptr<const Index> lookup = index())
        return lookup->categories.value(categoryID);
    for (const QFBlogCategoryPtr &category : m_plugin.categories()) {
        if (category && category->categoryID() == categoryID)
            return category;
    }
    return nullptr;
}

bool QFBlogPluginInternalLinks::publishedTagExists(const QString &name) const
{
    if (const std::shared_ptr<const Index> lookup = index())
        return lookup->publishedTags.contains(name);
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        if (!isPublished(entry) || !entry->tags())
            continue;
        for (const QFBlogTag &tag : *entry->tags()) {
            if (tag.tagName() == name)
                return true;
        }
    }
    return false;
}

#pragma once

#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogtag.h"
#include "qfkit/document/qfsitelayout.h"

#include <QHash>
#include <QMutex>
#include <QSet>
#include <QString>
#include <QVariantList>
#include <memory>
#include <optional>

class QFBlogPlugin;

// The internal links group of the blog plugin: the places of a blog page that
// any page of the site may link to (each published post's permalink page, a
// post's podcast file, each category page and each tag page), named by
// sub-page IDs "permalink:<post ID>", "podcast:<post ID>",
// "category:<category ID>" and "tag:<tag name>", and how such an ID becomes a
// file name, a display name and an href. The plugin owns one and outlives it.
//
// Lookups: a post is found by ID (the newest of posts sharing one), a
// category by ID (the first in the plugin's list), a tag by its exact name
// among the tags of published posts. Between beginLookups() and endLookups()
// (the plugin brackets a site export with them) these come from an index
// built at the first lookup, so resolving the links of a large blog costs
// one pass over its posts; the posts, categories and tags must not change
// meanwhile. Outside that, every lookup reads the blog as it is (one pass
// over the posts at most, never a sort). Either way the answers are the same.
//
// Threads: lookups are safe from the export's thread while nothing edits the
// blog; internalPageLinks() belongs to the main thread.
class QFBlogPluginInternalLinks final
{
public:
    explicit QFBlogPluginInternalLinks(QFBlogPlugin &plugin);
    ~QFBlogPluginInternalLinks();
    Q_DISABLE_COPY_MOVE(QFBlogPluginInternalLinks)

    // The link targets, for the host's link chooser: the published posts,
    // newest first (a post whose podcast file exists has that file as its
    // one child), then the categories in the plugin's order that any post,
    // draft or not, is filed under, then the tags of the published posts in
    // first-use order. See QFTextViewPluginClient::internalPageLinks() for
    // the keys. nullopt while permalink pages are off: without them the
    // blog offers no targets at all.
    std::optional<QVariantList> internalPageLinks() const;

    // The target's file name without the page's extension: the permalink
    // page's name (the override as typed, or "<GUID>-<ID>"), the podcast's
    // "podcast_<ID>.<extension>", "category-<name>" or "tag-<name>".
    // nullopt for an ID that names nothing.
    std::optional<QString> internalPageLinkFileMapper(const QString &subpageID) const;
    // The target's display name: the post's title (or the localised
    // "NoTitle"), podcastLinkName(), the category's or the tag's name.
    // nullopt for an ID that names nothing.
    std::optional<QString> internalPageLinkNameMapper(const QString &subpageID) const;

    // One kind of sub-page ID each; null (or nullopt) for an ID of another
    // kind, one with nothing after its prefix, or one that names nothing.
    // The number after "permalink:", "podcast:" and "category:" is read as
    // leading digits (with sign), so "permalink:12abc" names post 12.
    QFBlogEntryPtr postFromPermalinkLink(const QString &subpageID) const;
    QFBlogEntryPtr postFromPodcastLink(const QString &subpageID) const;
    QFBlogCategoryPtr categoryFromCategoryLink(const QString &subpageID) const;
    // Letter case counts: "tag:Travel" does not find a tag named "travel".
    std::optional<QFBlogTag> tagFromTagLink(const QString &subpageID) const;

    // "Podcast '<file name of the post's podcast>'"
    static QString podcastLinkName(const QFBlogEntryPtr &entry);

    // The href of a target as the blog's own pages link to it, in a file at
    // that depth correction of the blog page placed as `page` (its extension
    // and files folder): the bare file name inside the files folder (depth
    // 1), "<files folder>/<file name>" from the main file (depth 0). A
    // podcast keeps its own extension. nullopt for an ID that names nothing.
    std::optional<QString> hrefForSubpage(const QString &subpageID, int depthCorrection,
                                          const QFSiteLayout::Page &page) const;

    // The span in which lookups may use the index (see the class comment).
    // Calls nest; the index goes with the last endLookups().
    void beginLookups();
    void endLookups();

private:
    struct Index;

    // The index while lookups are bracketed (built on first use), else null.
    std::shared_ptr<const Index> index() const;
    QFBlogEntryPtr postForID(int postID) const;
    QFBlogCategoryPtr categoryForID(int categoryID) const;
    bool publishedTagExists(const QString &name) const;

    QFBlogPlugin &m_plugin;
    mutable QMutex m_mutex;
    int m_lookupDepth = 0;
    mutable std::shared_ptr<const Index> m_index;
};

#pragma once

#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogtag.h"
#include "qfkit/document/qfexportitem.h"

#include <QList>
#include <QString>
#include <QVariantMap>

class QFBlogPlugin;

// The tags group of the blog plugin: one page per tag in use and the tag
// cloud. The plugin owns one and outlives it.
//
// Threads: the export's; one export at a time per plugin.
class QFBlogPluginTagsEmission final
{
public:
    explicit QFBlogPluginTagsEmission(QFBlogPlugin &plugin);
    Q_DISABLE_COPY_MOVE(QFBlogPluginTagsEmission)

    // One tag and the posts carrying it, in the posts' stored order (a post
    // carrying the tag twice is listed twice).
    struct TaggedPosts
    {
        QFBlogTag tag;
        QList<QFBlogEntryPtr> entries;
    };
    // Every tag of every post, drafts included, in the order the tags are
    // first met walking the posts in stored order and each post's tags in
    // order; so the same blog always gives the same order.
    QList<TaggedPosts> postsByTag() const;
    // The number of tag pages an export writes: the distinct tags of all posts.
    qsizetype tagPageCount() const;

    // The link back to the blog's main page, one folder up.
    QString tagNavigationLinksHTML(const QFBlogTag &tag) const;
    // The tag page template (content-only, or placed in the site theme);
    // QFAssertionFailure when the bundle lacks it.
    QString tagTemplate(const QVariantMap &params) const;
    // One page per tag of postsByTag(), each counted as a unit of export
    // progress. A tag used only by drafts still gets a page, without posts.
    // With "contentonlysubpages" present the pages come back as sub-pages;
    // else they are written into the scratch folder and the list is empty.
    // Stops early (a partial list) when the export is cancelled.
    QList<QFExportItem> emitTagsArchivesWithFileDirectory(const QString &filesDirectory,
                                                          const QVariantMap &params);
    // The sidebar's tag cloud of the published posts' tags, by name, each
    // sized by how often it is used (blog-tag-size-11 for the most used).
    // "" when no tag is known.
    QString stringForTagCloudHTML(const QVariantMap &params) const;

private:
    QFBlogPlugin &m_plugin;
};

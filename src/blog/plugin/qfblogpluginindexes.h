#pragma once

#include "blog/plugin/qfblogsearchindexes.h"

#include <QList>
#include <QObject>
#include <QString>
#include <memory>

class QFBlogPlugin;
class QFBlogEntry;
using QFBlogEntryPtr = std::shared_ptr<QFBlogEntry>;

// The indexes group of the blog plugin: the editor's search over post titles
// and bodies (QFBlogSearchIndexes, owned here) and the text of the search
// field, which narrows the plugin's entry list.
//
// The indexes are made empty with the plugin and filled by the first search
// (onSearch); from then on shouldUpdateSearchIndexes() is on and the plugin
// mirrors every change of its posts into them. Removals are mirrored whether
// or not indexing has started, which is harmless on empty indexes.
//
// After releaseSearchIndexes() the calls that change or search the indexes
// do nothing and find nothing; the search text still works.
//
// The plugin owns the group and outlives it. Main thread only.
class QFBlogPluginIndexes final : public QObject
{
    Q_OBJECT

public:
    explicit QFBlogPluginIndexes(QFBlogPlugin &plugin);
    ~QFBlogPluginIndexes() override;
    Q_DISABLE_COPY_MOVE(QFBlogPluginIndexes)

    // Makes both indexes, empty (again, when they existed).
    void initialiseSearchIndexes();
    void releaseSearchIndexes();
    // Null after releaseSearchIndexes().
    QFBlogSearchIndexes *searchIndexes() const;

    void indexBlogEntry(const QFBlogEntryPtr &entry);
    void unindexBlogEntry(const QFBlogEntryPtr &entry);
    // Each post in order, then one flush unless the list is empty.
    void indexBlogEntries(const QList<QFBlogEntryPtr> &entries);
    void unindexBlogEntries(const QList<QFBlogEntryPtr> &entries);
    // Unindex, index, flush.
    void reindexBlogEntry(const QFBlogEntryPtr &entry);
    void flushIndexes();

    // The post IDs whose title (or body) contains query; see
    // QFBlogSearchIndexes for the matching rules.
    QList<int> searchIndex(QFBlogSearchIndexes::Index index, const QString &query) const;
    // Either index, ascending, each ID once.
    QList<int> searchAllIndexesWithQuery(const QString &query) const;

    // The search field's text; empty when no search is active.
    QString searchString() const;
    // The search field's action: indexes every post first when that has not
    // happened yet, then searchWithString(text), then asks the editor to show
    // the current post's text again (QFBlogPlugin::currentEntryNeedsDisplay).
    void onSearch(const QString &text);
    // Takes text as the field's text and narrows the entry list to the posts
    // it finds; an empty text removes the filter instead of searching.
    void searchWithString(const QString &text);
    // Empties the field and removes the filter.
    void clearSearch();

    // Off until the first search indexed every post. Plain flag, kept by the
    // indexes themselves: setting it indexes nothing and reports nothing.
    // Off (and not settable) while the indexes are released.
    bool shouldUpdateSearchIndexes() const;
    void setShouldUpdateSearchIndexes(bool value);

signals:
    // The text the search field shows changed (the editor updates the field).
    void searchStringChanged(const QString &text);

private:
    void setSearchString(const QString &text);

    QFBlogPlugin &m_plugin;
    std::unique_ptr<QFBlogSearchIndexes> m_indexes;
    QString m_searchString;
};

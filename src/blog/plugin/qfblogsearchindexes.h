#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <memory>

struct sqlite3;
class QFBlogEntry;
class QFBlogSearchIndex;
using QFBlogEntryPtr = std::shared_ptr<QFBlogEntry>;

// The editor's search over post titles and bodies: two full-text indexes in a
// private in-memory SQLite database, one of titles ("QF Blog Plugin Title
// Index") and one of plain body text ("QF Blog Plugin Content Index"), keyed
// by post ID. They live as long as this object and are never saved; the
// plugin fills them lazily on the first search (ensureIndexed) and mirrors
// post changes into them from then on.
//
// Queries are the user's typed text, matched as a substring ignoring case,
// with no query syntax; see QFBlogSearchIndex for the details. Results are
// post IDs in ascending order without duplicates.
//
// Changes are searchable at once. They collect in one open transaction that
// flushIndexes() ends; the batch forms flush once at their end, single-post
// changes leave flushing to the caller (as reindexBlogEntry() does).
//
// Errors: a text that cannot be stored logs "SKIndexAddDocumentWithText
// failed for blog title" (or "... for blog content") and the post is then not
// found through that index; nothing throws. When the database cannot be
// opened the object still works as an index that finds nothing.
//
// Cost: memory of about three times the UTF-8 size of the indexed text
// (trigram positions); indexing is linear in the text, and so is a search of
// one or two characters, which scans instead of using the index.
//
// Main thread only; holds no reference to posts or to the plugin.
class QFBlogSearchIndexes final
{
public:
    enum class Index { Title, Content };

    // One post as the indexes see it.
    struct Post
    {
        int ID = 0;
        QString title;
        QString contentPlainText;
    };

    static constexpr QLatin1String titleIndexName{"QF Blog Plugin Title Index"};
    static constexpr QLatin1String contentIndexName{"QF Blog Plugin Content Index"};

    // Creates both indexes, empty.
    QFBlogSearchIndexes();
    ~QFBlogSearchIndexes();
    Q_DISABLE_COPY_MOVE(QFBlogSearchIndexes)

    // What a post contributes: its title and the plain string of its body
    // (empty without a body). A null post gives a default Post.
    static Post postFromBlogEntry(const QFBlogEntry *entry);

    // Stores the post's title and body text, replacing earlier text of the ID.
    void indexBlogEntry(int ID, const QString &title, const QString &contentPlainText);
    void indexBlogEntry(const Post &post);
    void indexBlogEntry(const QFBlogEntryPtr &entry);
    // Forgets the ID in both indexes; an unknown ID is ignored.
    void unindexBlogEntry(int ID);
    void unindexBlogEntry(const QFBlogEntryPtr &entry);
    // The single forms for each post in order, then one flush unless the list
    // is empty. Null posts are skipped.
    void indexBlogEntries(const QList<Post> &posts);
    void indexBlogEntries(const QList<QFBlogEntryPtr> &entries);
    void unindexBlogEntries(const QList<int> &IDs);
    void unindexBlogEntries(const QList<QFBlogEntryPtr> &entries);
    // Index again and flush: what an edit of the current post needs.
    void reindexBlogEntry(const Post &post);
    void reindexBlogEntry(const QFBlogEntryPtr &entry);
    // Ends the transaction that collects changes; harmless when none is open.
    void flushIndexes();

    // The IDs found in one index. An empty query finds nothing.
    QList<int> searchIndex(Index index, const QString &query) const;
    // The IDs found in either index, ascending, each once.
    QList<int> searchAllIndexesWithQuery(const QString &query) const;

    // Off until everything was indexed once; the plugin mirrors post changes
    // only while it is on. Plain flag, no side effects.
    bool shouldUpdateSearchIndexes() const { return m_shouldUpdateSearchIndexes; }
    void setShouldUpdateSearchIndexes(bool value) { m_shouldUpdateSearchIndexes = value; }

    // The lazy first indexing of a search: while the flag is off, indexes
    // every post allPosts() gives in one batch and turns the flag on. Answers
    // whether it indexed now; allPosts is not called otherwise.
    bool ensureIndexed(const std::function<QList<QFBlogEntryPtr>()> &allPosts);

private:
    void beginChanges();
    const QFBlogSearchIndex &index(Index which) const;

    sqlite3 *m_db = nullptr;
    std::unique_ptr<QFBlogSearchIndex> m_titleIndex;
    std::unique_ptr<QFBlogSearchIndex> m_contentIndex;
    bool m_shouldUpdateSearchIndexes = false;
};

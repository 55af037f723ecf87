#include "blog/plugin/qfblogsearchindexes.h"

#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogsearchindex.h"
#include "qfkit/support/qflog.h"

#include <algorithm>
#include <iterator>

#include <sqlite3.h>

QFBlogSearchIndexes::QFBlogSearchIndexes()
{
    if (sqlite3_open_v2(":memory:", &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK
        || !QFBlogSearchIndex::registerContainsFunction(m_db)) {
        qfLog(QStringLiteral("Could not open the search indexes: %1")
                  .arg(QString::fromUtf8(m_db ? sqlite3_errmsg(m_db) : "out of memory")));
        sqlite3_close(m_db);
        m_db = nullptr;
    }
    // With no database the indexes are made invalid: they find nothing.
    m_titleIndex = std::make_unique<QFBlogSearchIndex>(m_db, titleIndexName);
    m_contentIndex = std::make_unique<QFBlogSearchIndex>(m_db, contentIndexName);
}

QFBlogSearchIndexes::~QFBlogSearchIndexes()
{
    // The statements go before the connection they belong to.
    m_titleIndex.reset();
    m_contentIndex.reset();
    sqlite3_close(m_db);
}

QFBlogSearchIndexes::Post QFBlogSearchIndexes::postFromBlogEntry(const QFBlogEntry *entry)
{
    if (!entry)
        return {};
    const std::optional<QFStyledText> body = entry->entry();
    return {entry->ID(), entry->title(), body ? body->plainString() : QString()};
}

void QFBlogSearchIndexes::beginChanges()
{
    if (m_db && sqlite3_get_autocommit(m_db))
        sqlite3_exec(m_db, "BEGIN", nullptr, nullptr, nullptr);
}

void QFBlogSearchIndexes::flushIndexes()
{
    if (m_db && !sqlite3_get_autocommit(m_db))
        sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr);
}

void QFBlogSearchIndexes::indexBlogEntry(int ID, const QString &title, const QString &contentPlainText)
{
    beginChanges();
    if (!m_titleIndex->add(ID, title))
        qfLog(QStringLiteral("SKIndexAddDocumentWithText failed for blog title"));
    if (!m_contentIndex->add(ID, contentPlainText))
        qfLog(QStringLiteral("SKIndexAddDocumentWithText failed for blog content"));
}

void QFBlogSearchIndexes::indexBlogEntry(const Post &post)
{
    indexBlogEntry(post.ID, post.title, post.contentPlainText);
}

void QFBlogSearchIndexes::indexBlogEntry(const QFBlogEntryPtr &entry)
{
    if (entry)
        indexBlogEntry(postFromBlogEntry(entry.get()));
}

void QFBlogSearchIndexes::unindexBlogEntry(int ID)
{
    beginChanges();
    m_titleIndex->remove(ID);
    m_contentIndex->remove(ID);
}

void QFBlogSearchIndexes::unindexBlogEntry(const QFBlogEntryPtr &entry)
{
    if (entry)
        unindexBlogEntry(entry->ID());
}

void QFBlogSearchIndexes::indexBlogEntries(const QList<Post> &posts)
{
    for (const Post &post : posts)
        indexBlogEntry(post);
    if (!posts.isEmpty())
        flushIndexes();
}

void QFBlogSearchIndexes::indexBlogEntries(const QList<QFBlogEntryPtr> &entries)
{
    // One post at a time, so a large blog never has all its bodies unpacked
    // at once.
    for (const QFBlogEntryPtr &entry : entries)
        indexBlogEntry(entry);
    if (!entries.isEmpty())
        flushIndexes();
}

void QFBlogSearchIndexes::unindexBlogEntries(const QList<int> &IDs)
{
    for (const int ID : IDs)
        unindexBlogEntry(ID);
    if (!IDs.isEmpty())
        flushIndexes();
}

void QFBlogSearchIndexes::unindexBlogEntries(const QList<QFBlogEntryPtr> &entries)
{
    for (const QFBlogEntryPtr &entry : entries)
        unindexBlogEntry(entry);
    if (!entries.isEmpty())
        flushIndexes();
}

void QFBlogSearchIndexes::reindexBlogEntry(const Post &post)
{
    indexBlogEntry(post);
    flushIndexes();
}

void QFBlogSearchIndexes::reindexBlogEntry(const QFBlogEntryPtr &entry)
{
    if (!entry)
        return;
    indexBlogEntry(entry);
    flushIndexes();
}

const QFBlogSearchIndex &QFBlogSearchIndexes::index(Index which) const
{
    return which == Index::Title ? *m_titleIndex : *m_contentIndex;
}

QList<int> QFBlogSearchIndexes::searchIndex(Index which, const QString &query) const
{
    return index(which).search(query);
}

QList<int> QFBlogSearchIndexes::searchAllIndexesWithQuery(const QString &query) const
{
    const QList<int> inTitles = m_titleIndex->search(query);
    const QList<int> inContents = m_contentIndex->search(query);
    QList<int> all;
    all.reserve(inTitles.size() + inContents.size());
    std::set_union(inTitles.cbegin(), inTitles.cend(), inContents.cbegin(), inContents.cend(),
                   std::back_inserter(all));
    return all;
}

bool QFBlogSearchIndexes::ensureIndexed(const std::function<QList<QFBlogEntryPtr>()> &allPosts)
{
    if (m_shouldUpdateSearchIndexes)
        return false;
    if (allPosts)
        indexBlogEntries(allPosts());
    m_shouldUpdateSearchIndexes = true;
    return true;
}

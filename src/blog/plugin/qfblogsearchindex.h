#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

struct sqlite3;
struct sqlite3_stmt;

// One full-text index of the editor's post search: an FTS5 table with the
// trigram tokenizer inside a database connection that QFBlogSearchIndexes
// owns. Each post is one row whose rowid is the post ID, so adding a post
// again replaces its earlier text.
//
// Matching: a query is the user's text, found as a substring anywhere in the
// stored text, ignoring letter case (simple Unicode case folding; accents are
// not folded away, so "e" does not find "é"). There is no query syntax: quotes,
// "*", "-", "AND", "NEAR(" and the like are ordinary characters. Trigrams need
// three characters (code points); shorter queries scan the stored text
// instead of the index.
//
// Ownership and lifetime: the connection is borrowed and must outlive the
// index. The table is made by the constructor; when that fails isValid() is
// false, add() reports failure and the other calls do nothing or find nothing.
// Not thread-safe: the editor uses it on the main thread only.
class QFBlogSearchIndex final
{
public:
    // Makes the table `name` (quoted, so any text will do) in db. The
    // connection must have the function registered by
    // registerContainsFunction().
    QFBlogSearchIndex(sqlite3 *db, const QString &name);
    ~QFBlogSearchIndex();
    Q_DISABLE_COPY_MOVE(QFBlogSearchIndex)

    // Registers the SQL function that the short-query scan uses, once per
    // connection. False (with the connection's error) when SQLite refused it.
    static bool registerContainsFunction(sqlite3 *db);

    bool isValid() const { return m_valid; }
    const QString &name() const { return m_name; }

    // Stores text under the ID, replacing what the ID had. False when SQLite
    // failed; the ID then has no text in this index (its old text is gone).
    bool add(int ID, const QString &text);
    // Forgets the ID's text; an unknown ID is ignored.
    void remove(int ID);
    // The IDs whose text contains query, ascending, each once. An empty query
    // finds nothing (an empty search field means "no filter" to the caller,
    // not "match everything").
    QList<int> search(const QString &query) const;

    // The FTS5 query that matches text literally: the text in double quotes,
    // inner double quotes doubled.
    static QString quotedQuery(const QString &text);
    // Whether the trigram index can answer the query: three characters or
    // more, and no NUL character.
    static bool canUseIndex(const QString &query);

private:
    sqlite3_stmt *prepare(const QString &sql);
    bool stepToDone(sqlite3_stmt *statement) const;
    QList<int> collectIDs(sqlite3_stmt *statement, const QByteArray &parameter) const;

    sqlite3 *m_db = nullptr;
    QString m_name;
    bool m_valid = false;
    sqlite3_stmt *m_insert = nullptr;
    sqlite3_stmt *m_delete = nullptr;
    sqlite3_stmt *m_match = nullptr;
    sqlite3_stmt *m_scan = nullptr;
};

#include "blog/plugin/qfblogsearchindex.h"

#include "qfkit/support/qflog.h"

#include <QVarLengthArray>

#include <algorithm>
#include <string_view>

#include <sqlite3.h>

namespace {

// The name under which the short-query scan finds its SQL function.
constexpr const char *kContainsFunction = "qf_contains_ignoring_case";

char asciiLower(char c)
{
    return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
}

bool isAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return uchar(c) < 0x80; });
}

// In UTF-8 an ASCII byte only ever stands for itself, so an ASCII needle can
// be looked for byte by byte, unless the text holds one of the two characters
// whose case folding is ASCII: U+017F (long s, folds to "s") and U+212A
// (Kelvin sign, folds to "k").
bool asciiNeedleNeedsUnicode(std::string_view text)
{
    return text.find("\xC5\xBF") != std::string_view::npos || text.find("\xE2\x84\xAA") != std::string_view::npos;
}

bool asciiContainsIgnoringCase(std::string_view text, std::string_view needle)
{
    QVarLengthArray<char, 16> lowered;
    for (const char c : needle)
        lowered.append(asciiLower(c));
    if (lowered.size() > qsizetype(text.size()))
        return false;
    const std::size_t last = text.size() - std::size_t(lowered.size());
    for (std::size_t i = 0; i <= last; ++i) {
        qsizetype j = 0;
        while (j < lowered.size() && asciiLower(text[i + std::size_t(j)]) == lowered[j])
            ++j;
        if (j == lowered.size())
            return true;
    }
    return false;
}

// contains(haystack, needle): 1 when needle occurs in haystack ignoring case.
// Qt folds case the same simple way the trigram tokenizer does, so a short
// query and a long one agree on what "ignoring case" means.
void containsIgnoringCase(sqlite3_context *context, int, sqlite3_value **arguments)
{
    const auto *haystack8 = reinterpret_cast<const char *>(sqlite3_value_text(arguments[0]));
    const auto *needle8 = reinterpret_cast<const char *>(sqlite3_value_text(arguments[1]));
    if (!haystack8 || !needle8) {
        sqlite3_result_int(context, 0);
        return;
    }
    const std::string_view haystackBytes(haystack8, std::size_t(sqlite3_value_bytes(arguments[0])));
    const std::string_view needleBytes(needle8, std::size_t(sqlite3_value_bytes(arguments[1])));
    if (isAscii(needleBytes) && !asciiNeedleNeedsUnicode(haystackBytes)) {
        sqlite3_result_int(context, asciiContainsIgnoringCase(haystackBytes, needleBytes) ? 1 : 0);
        return;
    }
    const QString haystack = QString::fromUtf8(haystackBytes.data(), qsizetype(haystackBytes.size()));
    const QString needle = QString::fromUtf8(needleBytes.data(), qsizetype(needleBytes.size()));
    sqlite3_result_int(context, haystack.contains(needle, Qt::CaseInsensitive) ? 1 : 0);
}

// SQL identifiers and FTS5 strings quote alike: inner quotes doubled.
QString doubleQuoted(const QString &text)
{
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

} // namespace

QFBlogSearchIndex::QFBlogSearchIndex(sqlite3 *db, const QString &name)
    : m_db(db)
    , m_name(name)
{
    if (!m_db)
        return;
    const QString table = doubleQuoted(name);
    const QByteArray create = QStringLiteral("CREATE VIRTUAL TABLE %1 USING fts5(text, tokenize = 'trigram')")
                                  .arg(table)
                                  .toUtf8();
    char *error = nullptr;
    if (sqlite3_exec(m_db, create.constData(), nullptr, nullptr, &error) != SQLITE_OK) {
        qfLog(QStringLiteral("Could not create the search index %1: %2")
                  .arg(name, QString::fromUtf8(error ? error : "unknown error")));
        sqlite3_free(error);
        return;
    }
    m_insert = prepare(QStringLiteral("INSERT INTO %1(rowid, text) VALUES (?1, ?2)").arg(table));
    m_delete = prepare(QStringLiteral("DELETE FROM %1 WHERE rowid = ?1").arg(table));
    m_match = prepare(QStringLiteral("SELECT rowid FROM %1 WHERE %1 MATCH ?1 ORDER BY rowid").arg(table));
    m_scan = prepare(QStringLiteral("SELECT rowid FROM %1 WHERE %2(text, ?1) ORDER BY rowid")
                         .arg(table, QLatin1String(kContainsFunction)));
    m_valid = m_insert && m_delete && m_match && m_scan;
}

QFBlogSearchIndex::~QFBlogSearchIndex()
{
    // Finalising a null statement is a harmless no-op.
    sqlite3_finalize(m_insert);
    sqlite3_finalize(m_delete);
    sqlite3_finalize(m_match);
    sqlite3_finalize(m_scan);
}

bool QFBlogSearchIndex::registerContainsFunction(sqlite3 *db)
{
    return sqlite3_create_function_v2(db, kContainsFunction, 2,
                                      SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, nullptr,
                                      containsIgnoringCase, nullptr, nullptr, nullptr)
        == SQLITE_OK;
}

sqlite3_stmt *QFBlogSearchIndex::prepare(const QString &sql)
{
    const QByteArray utf8 = sql.toUtf8();
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v3(m_db, utf8.constData(), int(utf8.size()), SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr)
        != SQLITE_OK) {
        qfLog(QStringLiteral("Could not prepare a statement of the search index %1: %2")
                  .arg(m_name, QString::fromUtf8(sqlite3_errmsg(m_db))));
        sqlite3_finalize(statement);
        return nullptr;
    }
    return statement;
}

bool QFBlogSearchIndex::stepToDone(sqlite3_stmt *statement) const
{
    const bool done = sqlite3_step(statement) == SQLITE_DONE;
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return done;
}

bool QFBlogSearchIndex::add(int ID, const QString &text)
{
    if (!m_valid)
        return false;
    remove(ID);
    const QByteArray utf8 = text.toUtf8();
    sqlite3_bind_int64(m_insert, 1, ID);
    sqlite3_bind_text(m_insert, 2, utf8.constData(), int(utf8.size()), SQLITE_STATIC);
    return stepToDone(m_insert);
}

void QFBlogSearchIndex::remove(int ID)
{
    if (!m_valid)
        return;
    sqlite3_bind_int64(m_delete, 1, ID);
    stepToDone(m_delete);
}

QList<int> QFBlogSearchIndex::search(const QString &query) const
{
    if (!m_valid || query.isEmpty())
        return {};
    if (canUseIndex(query))
        return collectIDs(m_match, quotedQuery(query).toUtf8());
    return collectIDs(m_scan, query.toUtf8());
}

QList<int> QFBlogSearchIndex::collectIDs(sqlite3_stmt *statement, const QByteArray &parameter) const
{
    QList<int> IDs;
    sqlite3_bind_text(statement, 1, parameter.constData(), int(parameter.size()), SQLITE_STATIC);
    int result;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW)
        IDs.append(int(sqlite3_column_int64(statement, 0)));
    if (result != SQLITE_DONE)
        qfLog(QStringLiteral("Search in %1 failed: %2").arg(m_name, QString::fromUtf8(sqlite3_errmsg(m_db))));
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return IDs;
}

QString QFBlogSearchIndex::quotedQuery(const QString &text)
{
    return doubleQuoted(text);
}

bool QFBlogSearchIndex::canUseIndex(const QString &query)
{
    // FTS5 reads a query only up to a NUL character; the scan sees all of it.
    if (query.contains(QChar(0)))
        return false;
    // The tokenizer counts code points, so a surrogate pair is one character.
    qsizetype characters = 0;
    for (const QChar c : query) {
        if (!c.isLowSurrogate())
            ++characters;
    }
    return characters >= 3;
}

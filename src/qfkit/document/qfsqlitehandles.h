#pragma once

#include <sqlite3.h>

#include <memory>

// Owning handles for SQLite connections and statements, so every early
// return and exception closes what it opened. Internal to the site document's
// reader and writer (SQLite is a private dependency of qfkit).
namespace QFSQLite {

struct DatabaseCloser
{
    void operator()(sqlite3 *db) const { sqlite3_close_v2(db); }
};

struct StatementFinalizer
{
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

using Database = std::unique_ptr<sqlite3, DatabaseCloser>;
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

} // namespace QFSQLite

#include "qfsitedocumentreader.h"

#include "qfsitedocumentformat.h"
#include "qfsqlitehandles.h"

#include "qfkit/support/qfboundedread.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QtEndian>

#include <memory>

using namespace QFSiteDocumentFormat;

namespace {

const QString CannotOpen = QStringLiteral("Cannot Open Document");

// The fixed start of every SQLite 3 database file, and the size of its header.
constexpr char SQLiteMagic[] = "SQLite format 3";
constexpr qsizetype SQLiteHeaderSize = 100;

using QFSQLite::Database;
using QFSQLite::Statement;

QString displayed(const QString &path)
{
    return QStringLiteral("“%1”").arg(QDir::toNativeSeparators(path));
}

// Reasons are whole sentences that start with the file.
[[noreturn]] void refuse(const QString &path, const QString &what)
{
    throw QFException(CannotOpen, QStringLiteral("The file %1 %2.").arg(displayed(path), what));
}

[[noreturn]] void damaged(const QString &path, const QString &what)
{
    refuse(path, QStringLiteral("is damaged: %1").arg(what));
}

[[noreturn]] void refuseForSQLite(const QString &path, sqlite3 *db, int rc)
{
    const QString detail = db ? QString::fromUtf8(sqlite3_errmsg(db)) : QString::fromUtf8(sqlite3_errstr(rc));
    switch (rc & 0xff) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
    case SQLITE_SCHEMA:
        refuse(path, QStringLiteral("is damaged and cannot be read (SQLite reports: %1)").arg(detail));
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        refuse(path, QStringLiteral("is being written by another program; try again when it is done (%1)").arg(detail));
    case SQLITE_IOERR:
        refuse(path, QStringLiteral("could not be read from the disk (%1)").arg(detail));
    case SQLITE_NOMEM:
    case SQLITE_TOOBIG:
        refuse(path, QStringLiteral("holds more data than can be opened (%1)").arg(detail));
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
        refuse(path, QStringLiteral("cannot be opened (%1)").arg(detail));
    default:
        refuse(path, QStringLiteral("cannot be read (SQLite reports: %1)").arg(detail));
    }
}

// What the SQLite header says, checked before SQLite is given the file, so
// the common mistakes (another kind of file, an incomplete copy, another
// program's database) get their own words.
void checkHeader(const QString &path, qint64 maxDocumentBytes)
{
    const QFileInfo info(path);
    if (!info.exists())
        refuse(path, QStringLiteral("does not exist"));
    if (info.isDir())
        refuse(path, QStringLiteral("is a folder, not a site document"));
    // A pipe or a device would block the read below or never end.
    if (!info.isFile())
        refuse(path, QStringLiteral("is not a regular file"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        refuse(path, QStringLiteral("cannot be read (%1)").arg(file.errorString()));
    const qint64 size = file.size();
    if (size == 0)
        refuse(path, QStringLiteral("is empty; it is not a site document"));
    if (size > maxDocumentBytes)
        refuse(path, QStringLiteral("is larger than %1 (%2 bytes), the most Quillfen opens")
                         .arg(QFBoundedRead::sizeText(maxDocumentBytes)).arg(size));
    const QByteArray header = file.read(SQLiteHeaderSize);
    if (!header.startsWith(QByteArrayView(SQLiteMagic, sizeof SQLiteMagic)))
        refuse(path, QStringLiteral("is not a site document"));
    if (header.size() < SQLiteHeaderSize)
        refuse(path, QStringLiteral("is incomplete: it ends after %1 bytes, inside its header").arg(header.size()));

    const auto *bytes = reinterpret_cast<const uchar *>(header.constData());
    const qint32 applicationID = qFromBigEndian<qint32>(bytes + 68);
    if (applicationID != ApplicationID)
        refuse(path, QStringLiteral("is a database of another application, not a site document"));
    const qint32 version = qFromBigEndian<qint32>(bytes + 60);
    if (version > SchemaVersion)
        refuse(path, QStringLiteral("was saved by a newer version of Quillfen (document format %1); "
                                    "this version opens format %2 and older")
                         .arg(version).arg(SchemaVersion));
    if (version < 1)
        damaged(path, QStringLiteral("its document format (%1) is unknown").arg(version));
    // Our writer never leaves a file in write-ahead-log mode; reading one
    // read-only would need files beside it that a copy rarely brings along.
    if (bytes[18] != 1 || bytes[19] != 1)
        damaged(path, QStringLiteral("it is in a journal mode that Quillfen does not write"));

    qint64 pageSize = qFromBigEndian<quint16>(bytes + 16);
    if (pageSize == 1)
        pageSize = 65536;
    if (pageSize < 512 || (pageSize & (pageSize - 1)) != 0)
        damaged(path, QStringLiteral("its header names an impossible page size (%1)").arg(pageSize));
    // The page count in the header is trustworthy only while the counter
    // beside it matches the "valid for" counter, as SQLite itself decides.
    const quint32 changeCounter = qFromBigEndian<quint32>(bytes + 24);
    const quint32 validFor = qFromBigEndian<quint32>(bytes + 92);
    const qint64 pageCount = qFromBigEndian<quint32>(bytes + 28);
    if (changeCounter == validFor && pageCount > 0 && pageCount * pageSize > size) {
        refuse(path, QStringLiteral("is incomplete: it ends after %1 bytes but should be %2 bytes long; "
                                    "it may have been copied or downloaded only in part")
                         .arg(size).arg(pageCount * pageSize));
    }
}

class DocumentReading final
{
public:
    DocumentReading(const QString &path, qsizetype maxValueBytes) : m_path(path), m_maxValueBytes(maxValueBytes) { }
    Q_DISABLE_COPY_MOVE(DocumentReading)

    void openDatabase()
    {
        sqlite3 *handle = nullptr;
        const int rc = sqlite3_open_v2(QFile::encodeName(m_path).constData(), &handle,
                                       SQLITE_OPEN_READONLY, nullptr);
        m_db.reset(handle);
        if (rc != SQLITE_OK)
            refuseForSQLite(m_path, handle, rc);
        sqlite3_extended_result_codes(db(), 1);
        // The file is outside input: its schema runs nothing of its own.
        sqlite3_db_config(db(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_db_config(db(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        sqlite3_db_config(db(), SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
        sqlite3_db_config(db(), SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
        // SQLite refuses a longer value before it allocates room for it.
        sqlite3_limit(db(), SQLITE_LIMIT_LENGTH, int(m_maxValueBytes));
        sqlite3_limit(db(), SQLITE_LIMIT_ATTACHED, 0);
    }

    void checkIntegrity()
    {
        Statement check = prepare(QStringLiteral("PRAGMA quick_check(1)"));
        const int rc = sqlite3_step(check.get());
        if (rc != SQLITE_ROW)
            refuseForSQLite(m_path, db(), rc);
        QString verdict = text(check.get(), 0);
        if (verdict != QLatin1StringView("ok")) {
            // SQLite's report starts with a line naming the schema ("*** in
            // database main ***"); what follows names the problem.
            verdict.remove(QStringLiteral("*** in database main ***"));
            verdict = verdict.simplified().left(200);
            refuse(m_path, QStringLiteral("is damaged and cannot be read (SQLite reports: %1)").arg(verdict));
        }
    }

    void checkTable(const char *table, const QString &description, std::initializer_list<const char *> columns)
    {
        {
            Statement find = prepare(QStringLiteral("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = ?1"));
            sqlite3_bind_text(find.get(), 1, table, -1, SQLITE_STATIC);
            step(find.get());
            if (sqlite3_column_int64(find.get(), 0) != 1)
                damaged(m_path, QStringLiteral("its %1 is missing").arg(description));
        }
        Statement info = prepare(QStringLiteral("SELECT name, hidden FROM pragma_table_xinfo(?1)"));
        sqlite3_bind_text(info.get(), 1, table, -1, SQLITE_STATIC);
        QSet<QString> present;
        while (step(info.get())) {
            // Generated or hidden columns are not ours and would run
            // expressions from the file on every read.
            if (sqlite3_column_int64(info.get(), 1) != 0)
                damaged(m_path, QStringLiteral("its %1 has columns Quillfen does not write").arg(description));
            present.insert(text(info.get(), 0));
        }
        for (const char *column : columns) {
            if (!present.contains(QLatin1StringView(column)))
                damaged(m_path, QStringLiteral("its %1 lacks the column “%2”").arg(description, QLatin1StringView(column)));
        }
    }

    QVariantMap readProperties()
    {
        QVariantMap properties;
        Statement select = prepare(QStringLiteral("SELECT %1, %2 FROM %3")
                                       .arg(QLatin1StringView(PropertyKeyColumn), QLatin1StringView(PropertyValueColumn),
                                            QLatin1StringView(PropertiesTable)));
        while (step(select.get())) {
            if (properties.size() >= MaxProperties)
                damaged(m_path, QStringLiteral("it has more than %1 site properties").arg(MaxProperties));
            const QString position = QStringLiteral("site property %1").arg(properties.size() + 1);
            const QString key = requiredText(select.get(), 0, QStringLiteral("the name of %1").arg(position));
            if (key.isEmpty())
                damaged(m_path, QStringLiteral("%1 has no name").arg(position));
            if (properties.contains(key))
                damaged(m_path, QStringLiteral("it holds the site property “%1” twice").arg(key));
            properties.insert(key, value(select.get(), 1, QStringLiteral("the site property “%1”").arg(key)));
        }
        return properties;
    }

    QList<QFStoredPage> readPages()
    {
        QList<QFStoredPage> pages;
        QSet<QString> uniqueIDs;
        Statement select = prepare(
            QStringLiteral("SELECT %1, %2, %3, %4, %5, %6, %7, %8 FROM %9 ORDER BY %2")
                .arg(QLatin1StringView(UniqueIDColumn), QLatin1StringView(OrderColumn),
                     QLatin1StringView(FileNameColumn), QLatin1StringView(FolderColumn),
                     QLatin1StringView(TitleColumn), QLatin1StringView(PluginNameColumn),
                     QLatin1StringView(ArchiveColumn), QLatin1StringView(ArchiveChecksumColumn),
                     QLatin1StringView(PagesTable)));
        while (step(select.get())) {
            if (pages.size() >= MaxPages)
                damaged(m_path, QStringLiteral("it has more than %1 pages").arg(MaxPages));
            const QString position = QStringLiteral("page %1").arg(pages.size() + 1);
            QFStoredPage page;
            page.uniqueID = requiredText(select.get(), 0, QStringLiteral("the unique ID of %1").arg(position));
            if (page.uniqueID.isEmpty())
                damaged(m_path, QStringLiteral("%1 has no unique ID").arg(position));
            if (uniqueIDs.contains(page.uniqueID))
                damaged(m_path, QStringLiteral("two pages have the unique ID “%1”").arg(page.uniqueID));
            uniqueIDs.insert(page.uniqueID);

            const QString named = QStringLiteral("page “%1”").arg(page.uniqueID.left(80));
            if (sqlite3_column_type(select.get(), 1) != SQLITE_INTEGER)
                wrongKind(select.get(), 1, QStringLiteral("the position of %1").arg(named), QStringLiteral("a whole number"));
            page.order = sqlite3_column_int64(select.get(), 1);
            if (!pages.isEmpty() && pages.constLast().order == page.order)
                damaged(m_path, QStringLiteral("two pages share the position %1").arg(page.order));
            page.fileName = requiredText(select.get(), 2, QStringLiteral("the file name of %1").arg(named));
            page.folder = optionalText(select.get(), 3, QStringLiteral("the folder of %1").arg(named));
            page.title = optionalText(select.get(), 4, QStringLiteral("the title of %1").arg(named));
            page.pluginName = requiredText(select.get(), 5, QStringLiteral("the plugin name of %1").arg(named));
            if (page.pluginName.isEmpty())
                damaged(m_path, QStringLiteral("%1 names no plugin").arg(named));
            page.archive = blob(select.get(), 6, QStringLiteral("the plugin record of %1").arg(named));
            const QByteArray checksum = blob(select.get(), 7, QStringLiteral("the checksum of %1").arg(named));
            if (checksum != recordChecksum(page.archive))
                damaged(m_path, QStringLiteral("the plugin record of %1 was changed or overwritten after it was saved").arg(named));
            pages.append(std::move(page));
        }
        return pages;
    }

private:
    sqlite3 *db() const { return m_db.get(); }

    Statement prepare(const QString &sql) const
    {
        sqlite3_stmt *statement = nullptr;
        const int rc = sqlite3_prepare_v2(db(), sql.toUtf8().constData(), -1, &statement, nullptr);
        Statement owned(statement);
        if (rc != SQLITE_OK)
            refuseForSQLite(m_path, db(), rc);
        return owned;
    }

    // True for a row, false at the end; anything else is refused.
    bool step(sqlite3_stmt *statement) const
    {
        const int rc = sqlite3_step(statement);
        if (rc == SQLITE_ROW)
            return true;
        if (rc == SQLITE_DONE)
            return false;
        refuseForSQLite(m_path, db(), rc);
    }

    static QString kindOf(int type)
    {
        switch (type) {
        case SQLITE_INTEGER:
            return QStringLiteral("a whole number");
        case SQLITE_FLOAT:
            return QStringLiteral("a number");
        case SQLITE_TEXT:
            return QStringLiteral("text");
        case SQLITE_BLOB:
            return QStringLiteral("binary data");
        default:
            return QStringLiteral("empty");
        }
    }

    [[noreturn]] void wrongKind(sqlite3_stmt *statement, int column, const QString &what, const QString &expected) const
    {
        damaged(m_path, QStringLiteral("%1 is %2 where %3 belongs")
                            .arg(what, kindOf(sqlite3_column_type(statement, column)), expected));
    }

    QString text(sqlite3_stmt *statement, int column) const
    {
        const auto *characters = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
        const int length = sqlite3_column_bytes(statement, column);
        if (length == 0)
            return characters ? QStringLiteral("") : QString();
        return QString::fromUtf8(characters, length);
    }

    QString requiredText(sqlite3_stmt *statement, int column, const QString &what) const
    {
        if (sqlite3_column_type(statement, column) != SQLITE_TEXT)
            wrongKind(statement, column, what, QStringLiteral("text"));
        if (sqlite3_column_bytes(statement, column) > MaxTextBytes)
            damaged(m_path, QStringLiteral("%1 is longer than %2 bytes").arg(what).arg(MaxTextBytes));
        return text(statement, column);
    }

    // Null for NULL.
    QString optionalText(sqlite3_stmt *statement, int column, const QString &what) const
    {
        if (sqlite3_column_type(statement, column) == SQLITE_NULL)
            return QString();
        return requiredText(statement, column, what);
    }

    QByteArray blob(sqlite3_stmt *statement, int column, const QString &what) const
    {
        if (sqlite3_column_type(statement, column) != SQLITE_BLOB)
            wrongKind(statement, column, what, QStringLiteral("binary data"));
        const void *bytes = sqlite3_column_blob(statement, column);
        const int length = sqlite3_column_bytes(statement, column);
        if (length > m_maxValueBytes)
            damaged(m_path, QStringLiteral("%1 exceeds %2 bytes").arg(what).arg(m_maxValueBytes));
        if (length == 0)
            return QByteArray("");
        return QByteArray(static_cast<const char *>(bytes), length);
    }

    QVariant value(sqlite3_stmt *statement, int column, const QString &what) const
    {
        switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            return qint64(sqlite3_column_int64(statement, column));
        case SQLITE_FLOAT:
            return sqlite3_column_double(statement, column);
        case SQLITE_TEXT:
            if (sqlite3_column_bytes(statement, column) > m_maxValueBytes)
                damaged(m_path, QStringLiteral("%1 exceeds %2 bytes").arg(what).arg(m_maxValueBytes));
            return text(statement, column);
        case SQLITE_BLOB:
            return blob(statement, column, what);
        default:
            return QVariant();
        }
    }

    QString m_path;
    qsizetype m_maxValueBytes;
    Database m_db;
};

} // namespace

QFSiteDocumentData QFSiteDocumentReader::open(const QString &path) const
{
    if (path.isEmpty())
        throw QFException(CannotOpen, QStringLiteral("No file was given to open."));
    checkHeader(path, m_limits.maxDocumentBytes);

    DocumentReading reading(path, m_limits.maxValueBytes);
    reading.openDatabase();
    reading.checkIntegrity();
    reading.checkTable(PropertiesTable, QStringLiteral("table of site properties"),
                       {PropertyKeyColumn, PropertyValueColumn});
    reading.checkTable(PagesTable, QStringLiteral("list of pages"),
                       {UniqueIDColumn, OrderColumn, FileNameColumn, FolderColumn, TitleColumn,
                        PluginNameColumn, ArchiveColumn, ArchiveChecksumColumn});

    QFSiteDocumentData data;
    data.properties = reading.readProperties();
    data.pages = reading.readPages();
    return data;
}

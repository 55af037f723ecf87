#include "qfsitedocumentwriter.h"

#include "qfsitedocumentformat.h"
#include "qfsqlitehandles.h"

#include "qfkit/support/qfboundedread.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <unistd.h>

using namespace QFSiteDocumentFormat;

namespace {

const QString SaveFailed = QStringLiteral("Save Failed");

using QFSQLite::Database;
using QFSQLite::Statement;

QString displayed(const QString &path)
{
    return QStringLiteral("“%1”").arg(QDir::toNativeSeparators(path));
}

[[noreturn]] void fail(const QString &path, const QString &what)
{
    throw QFException(SaveFailed, QStringLiteral("Could not save %1: %2.").arg(displayed(path), what));
}

QString sqliteError(sqlite3 *db)
{
    return QString::fromUtf8(sqlite3_errmsg(db));
}

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

void removeTemporary(const QString &temporaryPath)
{
    QFile::remove(temporaryPath);
    QFile::remove(temporaryPath + QLatin1StringView(JournalSuffix));
}

// Removes the temporary file and its journal unless the save went through.
// Declared after the database handle it outlives, so the file is closed first.
class TemporaryFileGuard final
{
public:
    explicit TemporaryFileGuard(QString path) : m_path(std::move(path)) { }
    ~TemporaryFileGuard()
    {
        if (!m_kept)
            removeTemporary(m_path);
    }
    Q_DISABLE_COPY_MOVE(TemporaryFileGuard)
    void keep() { m_kept = true; }

private:
    QString m_path;
    bool m_kept = false;
};

bool isStorable(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return true;
    switch (value.typeId()) {
    case QMetaType::QString:
    case QMetaType::QByteArray:
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return value.toULongLong() <= quint64(std::numeric_limits<qint64>::max());
    default:
        return false;
    }
}

qsizetype storedSize(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString)
        return value.toString().toUtf8().size();
    if (value.typeId() == QMetaType::QByteArray)
        return value.toByteArray().size();
    return 0;
}

bool textTooLong(const QString &text)
{
    // UTF-8 takes at most three bytes per UTF-16 unit; only count when it may matter.
    return text.size() * 3 > MaxTextBytes && text.toUtf8().size() > MaxTextBytes;
}

[[noreturn]] void tooLarge(const QString &path, qint64 size)
{
    fail(path, QStringLiteral("the site would take %1 bytes, more than the %2 a document can hold and be opened again")
                   .arg(size).arg(QFBoundedRead::sizeText(MaxDocumentBytes)));
}

// Everything the reader would refuse is refused before any file is touched.
void validate(const QFSiteDocumentData &data, const QString &path)
{
    if (data.properties.size() > MaxProperties)
        fail(path, QStringLiteral("the site has %1 properties, more than the %2 a document can hold")
                       .arg(data.properties.size()).arg(MaxProperties));
    for (auto it = data.properties.cbegin(); it != data.properties.cend(); ++it) {
        if (it.key().isEmpty() || textTooLong(it.key()))
            fail(path, QStringLiteral("a site property has an empty or overlong name"));
        if (!isStorable(it.value()))
            fail(path, QStringLiteral("the site property “%1” holds a value of type %2, which a document cannot store")
                           .arg(it.key(), QString::fromLatin1(it.value().typeName())));
        if (storedSize(it.value()) > MaxValueBytes)
            fail(path, QStringLiteral("the site property “%1” is larger than %2 bytes")
                           .arg(it.key()).arg(MaxValueBytes));
    }
    if (data.pages.size() > MaxPages)
        fail(path, QStringLiteral("the site has %1 pages, more than the %2 a document can hold")
                       .arg(data.pages.size()).arg(MaxPages));
    // The records alone; the file adds its tables and pages, checked once
    // it is written.
    qint64 total = 0;
    for (auto it = data.properties.cbegin(); it != data.properties.cend(); ++it)
        total += storedSize(it.value());
    for (const QFStoredPage &page : data.pages)
        total += page.archive.size();
    if (total > MaxDocumentBytes)
        tooLarge(path, total);
    for (const QFStoredPage &page : data.pages) {
        if (page.uniqueID.isEmpty())
            fail(path, QStringLiteral("a page has no unique ID"));
        if (page.pluginName.isEmpty())
            fail(path, QStringLiteral("the page “%1” names no plugin").arg(page.uniqueID));
        for (const QString *text : {&page.uniqueID, &page.fileName, &page.folder, &page.title, &page.pluginName}) {
            if (textTooLong(*text))
                fail(path, QStringLiteral("the page “%1” has a name, folder or title longer than %2 bytes")
                               .arg(page.uniqueID.left(80)).arg(MaxTextBytes));
        }
        if (page.archive.size() > MaxValueBytes)
            fail(path, QStringLiteral("the contents of the page “%1” are larger than %2 bytes")
                           .arg(page.uniqueID).arg(MaxValueBytes));
    }
}

class Transaction final
{
public:
    Transaction(sqlite3 *db, const QString &path) : m_db(db), m_path(path) { }
    Q_DISABLE_COPY_MOVE(Transaction)

    void exec(const QString &sql, const QString &step) const
    {
        if (sqlite3_exec(m_db, sql.toUtf8().constData(), nullptr, nullptr, nullptr) != SQLITE_OK)
            fail(m_path, QStringLiteral("%1 failed: %2").arg(step, sqliteError(m_db)));
    }

    Statement prepare(const QString &sql) const
    {
        sqlite3_stmt *statement = nullptr;
        if (sqlite3_prepare_v2(m_db, sql.toUtf8().constData(), -1, &statement, nullptr) != SQLITE_OK)
            fail(m_path, QStringLiteral("preparing the document failed: %1").arg(sqliteError(m_db)));
        return Statement(statement);
    }

    // Binds a null string as NULL and any other (even empty) as text.
    void bindText(sqlite3_stmt *statement, int index, const QString &text) const
    {
        int rc;
        if (text.isNull()) {
            rc = sqlite3_bind_null(statement, index);
        } else {
            const QByteArray utf8 = text.toUtf8();
            rc = sqlite3_bind_text64(statement, index, utf8.isEmpty() ? "" : utf8.constData(),
                                     sqlite3_uint64(utf8.size()), SQLITE_TRANSIENT, SQLITE_UTF8);
        }
        check(rc);
    }

    // Binds bytes as a blob, an empty one included (a null pointer would bind NULL).
    void bindBlob(sqlite3_stmt *statement, int index, const QByteArray &bytes) const
    {
        check(bytes.isEmpty() ? sqlite3_bind_zeroblob(statement, index, 0)
                              : sqlite3_bind_blob64(statement, index, bytes.constData(),
                                                    sqlite3_uint64(bytes.size()), SQLITE_STATIC));
    }

    void bindValue(sqlite3_stmt *statement, int index, const QVariant &value) const
    {
        if (!value.isValid() || value.isNull()) {
            check(sqlite3_bind_null(statement, index));
            return;
        }
        switch (value.typeId()) {
        case QMetaType::QString:
            bindText(statement, index, value.toString());
            return;
        case QMetaType::QByteArray:
            bindBlob(statement, index, value.toByteArray());
            return;
        case QMetaType::Double:
        case QMetaType::Float:
            check(sqlite3_bind_double(statement, index, value.toDouble()));
            return;
        default:
            check(sqlite3_bind_int64(statement, index, value.toLongLong()));
            return;
        }
    }

    void step(sqlite3_stmt *statement, const QString &what) const
    {
        if (sqlite3_step(statement) != SQLITE_DONE)
            fail(m_path, QStringLiteral("writing %1 failed: %2").arg(what, sqliteError(m_db)));
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
    }

private:
    void check(int rc) const
    {
        if (rc != SQLITE_OK)
            fail(m_path, QStringLiteral("writing a value failed: %1").arg(sqliteError(m_db)));
    }

    sqlite3 *m_db;
    QString m_path;
};

QString schema()
{
    return QStringLiteral(
               "CREATE TABLE %1 (%2 TEXT PRIMARY KEY NOT NULL, %3);"
               "CREATE TABLE %4 (%5 TEXT PRIMARY KEY NOT NULL, %6 INTEGER NOT NULL UNIQUE, "
               "%7 TEXT NOT NULL, %8 TEXT, %9 TEXT, %10 TEXT NOT NULL, %11 BLOB NOT NULL, %12 BLOB NOT NULL);")
        .arg(QLatin1StringView(PropertiesTable), QLatin1StringView(PropertyKeyColumn),
             QLatin1StringView(PropertyValueColumn), QLatin1StringView(PagesTable),
             QLatin1StringView(UniqueIDColumn), QLatin1StringView(OrderColumn),
             QLatin1StringView(FileNameColumn), QLatin1StringView(FolderColumn),
             QLatin1StringView(TitleColumn))
        .arg(QLatin1StringView(PluginNameColumn), QLatin1StringView(ArchiveColumn),
             QLatin1StringView(ArchiveChecksumColumn));
}

// fsync on a descriptor of its own: SQLite has synced its writes at commit,
// but the rename must not reach the disk before the data it names.
void syncFile(const QString &path, int flags)
{
    const int fd = ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

// The file a save replaces: the end of a chain of symbolic links, so the link
// stays a link.
QString resolvedTarget(const QString &path)
{
    const QFileInfo info(path);
    if (info.isSymLink()) {
        const QString canonical = info.canonicalFilePath();
        if (!canonical.isEmpty())
            return canonical;
        return info.symLinkTarget();
    }
    return path;
}

} // namespace

void QFSiteDocumentWriter::setProgressHandler(ProgressHandler handler)
{
    m_progressHandler = std::move(handler);
}

QString QFSiteDocumentWriter::temporaryPathFor(const QString &path)
{
    return path + QLatin1StringView(TemporarySuffix);
}

void QFSiteDocumentWriter::save(const QFSiteDocumentData &data, const QString &path) const
{
    if (path.isEmpty())
        fail(path, QStringLiteral("no file name was given"));
    validate(data, path);

    const QString target = resolvedTarget(path);
    const QString temporary = temporaryPathFor(target);
    // A crash during an earlier save may have left these; they are never a
    // document anyone opened.
    removeTemporary(temporary);

    TemporaryFileGuard guard(temporary);
    Database db;
    {
        sqlite3 *handle = nullptr;
        const int rc = sqlite3_open_v2(QFile::encodeName(temporary).constData(), &handle,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
        db.reset(handle);
        if (rc != SQLITE_OK) {
            fail(path, QStringLiteral("the file %1 cannot be created (%2)")
                           .arg(displayed(temporary), handle ? sqliteError(handle) : QString::fromUtf8(sqlite3_errstr(rc))));
        }
    }
    sqlite3_extended_result_codes(db.get(), 1);

    Transaction transaction(db.get(), path);
    transaction.exec(QStringLiteral("PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL;"),
                     QStringLiteral("setting up the file"));
    transaction.exec(QStringLiteral("BEGIN EXCLUSIVE"), QStringLiteral("starting the transaction"));
    transaction.exec(schema(), QStringLiteral("creating the tables"));
    transaction.exec(QStringLiteral("PRAGMA application_id=%1; PRAGMA user_version=%2;")
                         .arg(ApplicationID).arg(SchemaVersion),
                     QStringLiteral("marking the file"));

    {
        Statement insert = transaction.prepare(QStringLiteral("INSERT INTO %1 (%2, %3) VALUES (?, ?)")
                                                   .arg(QLatin1StringView(PropertiesTable),
                                                        QLatin1StringView(PropertyKeyColumn),
                                                        QLatin1StringView(PropertyValueColumn)));
        for (auto it = data.properties.cbegin(); it != data.properties.cend(); ++it) {
            transaction.bindText(insert.get(), 1, it.key());
            transaction.bindValue(insert.get(), 2, it.value());
            transaction.step(insert.get(), QStringLiteral("the site property “%1”").arg(it.key()));
        }
    }
    {
        Statement insert = transaction.prepare(
            QStringLiteral("INSERT INTO %1 (%2, %3, %4, %5, %6, %7, %8, %9) VALUES (?, ?, ?, ?, ?, ?, ?, ?)")
                .arg(QLatin1StringView(PagesTable), QLatin1StringView(UniqueIDColumn),
                     QLatin1StringView(OrderColumn), QLatin1StringView(FileNameColumn),
                     QLatin1StringView(FolderColumn), QLatin1StringView(TitleColumn),
                     QLatin1StringView(PluginNameColumn), QLatin1StringView(ArchiveColumn),
                     QLatin1StringView(ArchiveChecksumColumn)));
        qsizetype written = 0;
        for (const QFStoredPage &page : data.pages) {
            const QByteArray checksum = recordChecksum(page.archive);
            transaction.bindText(insert.get(), 1, page.uniqueID);
            if (sqlite3_bind_int64(insert.get(), 2, page.order) != SQLITE_OK)
                fail(path, sqliteError(db.get()));
            // A file name is required by the table; a null one is stored as "".
            transaction.bindText(insert.get(), 3, page.fileName.isNull() ? QStringLiteral("") : page.fileName);
            transaction.bindText(insert.get(), 4, page.folder);
            transaction.bindText(insert.get(), 5, page.title);
            transaction.bindText(insert.get(), 6, page.pluginName);
            transaction.bindBlob(insert.get(), 7, page.archive);
            transaction.bindBlob(insert.get(), 8, checksum);
            transaction.step(insert.get(), QStringLiteral("the page “%1”").arg(page.uniqueID));
            ++written;
            if (m_progressHandler)
                m_progressHandler(written, data.pages.size());
        }
    }
    transaction.exec(QStringLiteral("COMMIT"), QStringLiteral("finishing the transaction"));

    const int closed = sqlite3_close(db.get());
    if (closed != SQLITE_OK)
        fail(path, QStringLiteral("closing the file failed: %1").arg(QString::fromUtf8(sqlite3_errstr(closed))));
    (void)db.release();

    // What the reader would refuse never replaces a document it can open.
    if (const qint64 size = QFileInfo(temporary).size(); size > MaxDocumentBytes)
        tooLarge(path, size);
    syncFile(temporary, O_RDWR);
    if (const QFileInfo old(target); old.exists() && old.isFile())
        QFile::setPermissions(temporary, QFile::permissions(target));
    if (::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(target).constData()) != 0) {
        const int error = errno;
        fail(path, QStringLiteral("the new file could not replace the old one (%1)").arg(systemError(error)));
    }
    guard.keep();
    // Makes the rename itself durable.
    syncFile(QFileInfo(target).absolutePath(), O_RDONLY | O_DIRECTORY);
}

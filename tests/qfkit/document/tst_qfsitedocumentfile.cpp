#include "qfsitecrashdocument.h"

#include "qfkit/document/qfsitedocumentreader.h"
#include "qfkit/document/qfsitedocumentwriter.h"
#include "qfkit/support/qfexception.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <sqlite3.h>

#include <functional>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Damage = std::function<void(const QString &path)>;

const QByteArray ArchiveMarker = QByteArrayLiteral("<<archive of the news page>>");

QFStoredPage page(const QString &uniqueID, qint64 order, const QByteArray &archive)
{
    return QFStoredPage{uniqueID, order, uniqueID + QStringLiteral(".html"), {}, QStringLiteral("Title of ") + uniqueID,
                        QStringLiteral("Blog"), archive};
}

QFSiteDocumentData sampleData()
{
    QFSiteDocumentData data;
    data.properties.insert(QStringLiteral("siteTitle"), QStringLiteral("Kitchen Garden"));
    data.properties.insert(QStringLiteral("siteBaseURL"), QStringLiteral("https://garden.example/"));
    data.properties.insert(QStringLiteral("commonFileConsolidationMode"), 0);
    data.pages.append(page(QStringLiteral("home"), 0, QByteArrayLiteral("QFAR\x01\xf6")));
    data.pages.append(page(QStringLiteral("news"), 1, ArchiveMarker + QByteArray(256 * 1024, 'n')));
    return data;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void overwrite(const QString &path, qint64 offset, const QByteArray &bytes, bool replace = false)
{
    if (replace)
        QFile::remove(path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.seek(offset));
    file.write(bytes);
}

// Damage done with SQL, to the saved document or to a new database in its place.
Damage sql(const char *statements, bool fresh = false)
{
    return [statements, fresh](const QString &p) {
        if (fresh)
            QFile::remove(p);
        sqlite3 *db = nullptr;
        QCOMPARE(sqlite3_open(QFile::encodeName(p).constData(), &db), SQLITE_OK);
        char *error = nullptr;
        const int rc = sqlite3_exec(db, statements, nullptr, nullptr, &error);
        const QString message = QString::fromUtf8(error ? error : "");
        sqlite3_free(error);
        sqlite3_close(db);
        QVERIFY2(rc == SQLITE_OK, qPrintable(message));
    };
}

QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::System | QDir::Hidden);
}

QByteArray waitForLine(QProcess &process, const QByteArray &prefix)
{
    QDeadlineTimer deadline(60000);
    for (;;) {
        while (process.canReadLine()) {
            const QByteArray line = process.readLine().trimmed();
            if (line.startsWith(prefix))
                return line;
        }
        if (deadline.hasExpired() || !process.waitForReadyRead(int(deadline.remainingTime())))
            return {};
    }
}

} // namespace

Q_DECLARE_METATYPE(Damage)
Q_DECLARE_METATYPE(QFSiteDocumentData)
Q_DECLARE_METATYPE(QFSiteDocumentReader::Limits)

class tst_QFSiteDocumentFile : public QObject
{
    Q_OBJECT

private slots:
    void documentRoundTrips();
    void savingAgainReplacesTheDocument_data();
    void savingAgainReplacesTheDocument();
    void badFileIsRefused_data();
    void badFileIsRefused();
    void documentBeyondTheLimitsIsRefused_data();
    void documentBeyondTheLimitsIsRefused();
    void failedSaveKeepsTheOldDocument_data();
    void failedSaveKeepsTheOldDocument();
    void killedSaveLeavesAWholeDocument_data();
    void killedSaveLeavesAWholeDocument();

private:
    QString documentPath(const QTemporaryDir &dir) const { return dir.filePath(QStringLiteral("site.qfsite")); }
};

void tst_QFSiteDocumentFile::documentRoundTrips()
{
    QTemporaryDir dir;
    QByteArray large(10 * 1024 * 1024, Qt::Uninitialized);
    for (qsizetype i = 0; i < large.size(); ++i)
        large[i] = char((i * 7 + i / 251) & 0xff);

    QFSiteDocumentData data;
    QFStoredPage about = page(QStringLiteral("about"), 7, QByteArray("\0\0QF\0", 5));
    about.title = QString();
    about.folder = QStringLiteral("");
    QFStoredPage blog = page(QStringLiteral("blog"), -3, large);
    blog.title = QStringLiteral("");
    blog.folder = QString::fromUtf8("Tagebuch \xc3\xbc");
    const QFStoredPage empty = page(QStringLiteral("empty"), 2, QByteArray());
    data.pages = {about, blog, empty};
    // Each property as stored, and as it must come back.
    const QVariant text(QString::fromUtf8("G\xc3\xa4rten \xe2\x98\x95 \xf0\x9f\x8c\xb1"));
    const QVariant bytes(QByteArray("\x00\x01\x00\xff", 4));
    const QVariant largest(std::numeric_limits<qint64>::max());
    const QList<std::tuple<QString, QVariant, QVariant>> properties = {
        {QStringLiteral("text beyond Latin-1"), text, text},
        {QStringLiteral("empty text stays text"), QVariant(QStringLiteral("")), QVariant(QStringLiteral(""))},
        {QStringLiteral("null text is nil"), QVariant(QString()), QVariant()},
        {QStringLiteral("largest integer"), largest, largest},
        {QStringLiteral("floating point"), QVariant(0.1), QVariant(0.1)},
        {QStringLiteral("bool as integer"), QVariant(true), QVariant(qint64(1))},
        {QStringLiteral("bytes with zero bytes"), bytes, bytes}};
    for (const auto &[key, value, expected] : properties)
        data.properties.insert(key, value);
    QFSiteDocumentWriter().save(data, documentPath(dir));

    const QFSiteDocumentData read = QFSiteDocumentReader().open(documentPath(dir));
    QCOMPARE(read.properties.size(), properties.size());
    for (const auto &[key, value, expected] : properties) {
        const QVariant stored = read.properties.value(key);
        QVERIFY2(stored.typeId() == expected.typeId() && stored == expected, qPrintable(key));
    }
    QCOMPARE(read.pages, (QList<QFStoredPage>{blog, empty, about}));
    QVERIFY(read.pages[2].title.isNull());
    QVERIFY(!read.pages[2].folder.isNull());
    QVERIFY(read.pages[1].folder.isNull());
}

void tst_QFSiteDocumentFile::savingAgainReplacesTheDocument_data()
{
    QTest::addColumn<QString>("before");

    QTest::newRow("plain") << "";
    QTest::newRow("stale temporary files of a crashed save") << "stale";
    QTest::newRow("saved through a symbolic link") << "link";
}

void tst_QFSiteDocumentFile::savingAgainReplacesTheDocument()
{
    QFETCH(QString, before);

    QTemporaryDir dir;
    const QString real = documentPath(dir);
    QString path = real;
    QStringList files{QStringLiteral("site.qfsite")};
    QFSiteDocumentWriter().save(sampleData(), real);
    QVERIFY(QFile::setPermissions(real, QFile::ReadOwner | QFile::WriteOwner));
    if (before == QLatin1String("stale")) {
        const QString temporary = QFSiteDocumentWriter::temporaryPathFor(real);
        overwrite(temporary, 0, QByteArrayLiteral("SQLite format 3\0half of an earlier save"), true);
        overwrite(temporary + QStringLiteral("-journal"), 0, QByteArray(512, '\x7f'), true);
        QCOMPARE(QFSiteDocumentReader().open(real).pages, sampleData().pages);
    } else if (before == QLatin1String("link")) {
        path = dir.filePath(QStringLiteral("link.qfsite"));
        QVERIFY(QFile::link(real, path));
        files.prepend(QStringLiteral("link.qfsite"));
    }

    QFSiteDocumentData second;
    second.properties.insert(QStringLiteral("siteTitle"), QStringLiteral("Orchard"));
    second.pages.append(page(QStringLiteral("orchard"), 0, QByteArrayLiteral("apples")));
    QFSiteDocumentWriter().save(second, path);

    const QFSiteDocumentData read = QFSiteDocumentReader().open(real);
    QCOMPARE(read.properties, second.properties);
    QCOMPARE(read.pages, second.pages);
    QCOMPARE(filesIn(dir.path()), files);
    QCOMPARE(QFileInfo(path).isSymLink(), path != real);
    const QFile::Permissions mask = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
                                    | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther
                                    | QFile::ExeOther;
    QCOMPARE(QFile::permissions(real) & mask, QFile::ReadOwner | QFile::WriteOwner);
}

void tst_QFSiteDocumentFile::badFileIsRefused_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::addColumn<QString>("expected");

    const auto replace = [](const QByteArray &bytes) {
        return Damage([bytes](const QString &p) { overwrite(p, 0, bytes, true); });
    };
    const auto cut = [](qint64 size) { // below zero: counted from the end
        return Damage([size](const QString &p) { QVERIFY(QFile::resize(p, size < 0 ? QFileInfo(p).size() + size : size)); });
    };
    QTest::newRow("missing file") << Damage([](const QString &p) { QFile::remove(p); }) << "does not exist";
    QTest::newRow("folder") << Damage([](const QString &p) { QFile::remove(p); QDir().mkdir(p); }) << "is a folder";
    QTest::newRow("named pipe") << Damage([](const QString &p) {
        QFile::remove(p);
        QCOMPARE(::mkfifo(QFile::encodeName(p).constData(), 0600), 0);
    }) << "is not a regular file";
    QTest::newRow("empty file") << replace({}) << "is empty";
    QTest::newRow("text file") << replace("siteTitle = Kitchen Garden\n") << "is not a site document";
    QTest::newRow("cut inside the header") << cut(60) << "is incomplete";
    QTest::newRow("last byte missing") << cut(-1) << "is incomplete";
    QTest::newRow("database of another application")
        << sql("CREATE TABLE notes (body TEXT); INSERT INTO notes VALUES ('milk');", true)
        << "database of another application";
    QTest::newRow("our mark without tables")
        << sql("PRAGMA application_id=1363563332; PRAGMA user_version=1; CREATE TABLE notes (body TEXT);", true)
        << "table of site properties is missing";
    QTest::newRow("page list without titles") << sql("ALTER TABLE pages DROP COLUMN title;")
                                              << "lacks the column “title”";
    QTest::newRow("newer format") << sql("PRAGMA user_version=2;")
                                  << "newer version of Quillfen (document format 2)";
    QTest::newRow("garbage in a page's contents") << Damage([](const QString &p) {
        const qint64 at = contents(p).indexOf(ArchiveMarker);
        QVERIFY(at > 0);
        overwrite(p, at, QByteArray("garbage"));
    }) << "plugin record of page “news” was changed or overwritten";
    QTest::newRow("garbage over the middle page") << Damage([](const QString &p) {
        overwrite(p, QFileInfo(p).size() / 2 / 4096 * 4096, QByteArray(4096, '\x55'));
    }) << "is damaged";
    QTest::newRow("title that is binary data") << sql("UPDATE pages SET title = x'00ff' WHERE unique_id = 'news';")
                                               << "the title of page “news” is binary data where text belongs";
    QTest::newRow("position that is text")
        << sql("UPDATE pages SET page_order = 'first' WHERE unique_id = 'home';")
        << "the position of page “home” is text where a whole number belongs";
    QTest::newRow("page without a unique ID") << sql("UPDATE pages SET unique_id = '' WHERE unique_id = 'news';")
                                              << "page 2 has no unique ID";
    QTest::newRow("property name that is binary data") << sql("INSERT INTO site_properties VALUES (x'0001', 'x');")
                                                       << "is binary data where text belongs";
}

void tst_QFSiteDocumentFile::badFileIsRefused()
{
    QFETCH(Damage, damage);
    QFETCH(QString, expected);

    QTemporaryDir dir;
    const QString path = documentPath(dir);
    QFSiteDocumentWriter().save(sampleData(), path);
    damage(path);
    if (QTest::currentTestFailed())
        return;
    const QStringList beforeOpening = filesIn(dir.path());

    try {
        QFSiteDocumentReader().open(path);
        QFAIL("the damaged file was opened");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Cannot Open Document"));
        QVERIFY2(e.reason().contains(path), qPrintable(e.reason()));
        QVERIFY2(e.reason().contains(expected), qPrintable(e.reason()));
    }
    QCOMPARE(filesIn(dir.path()), beforeOpening);
}

void tst_QFSiteDocumentFile::documentBeyondTheLimitsIsRefused_data()
{
    QTest::addColumn<QFSiteDocumentData>("data");
    QTest::addColumn<qint64>("fileSize"); // grown sparsely to this size; 0: as saved
    QTest::addColumn<QFSiteDocumentReader::Limits>("limits");
    QTest::addColumn<QString>("expected");

    using Limits = QFSiteDocumentReader::Limits;
    const Limits standard;
    QFSiteDocumentData bigPage = sampleData();
    bigPage.pages.append(page(QStringLiteral("extra"), 5, QByteArray(64 * 1024, 'x')));
    QFSiteDocumentData bigProperty = sampleData();
    bigProperty.properties.insert(QStringLiteral("banner"), QByteArray(64 * 1024, 'b'));

    // The file's size is checked before SQLite reads it, so the sparse
    // gigabytes beyond the database are never read.
    QTest::newRow("file beyond 2 GiB") << sampleData() << (qint64(3) << 30) << standard << "is larger than 2 GiB";
    QTest::newRow("file beyond a lower limit") << bigPage << qint64(0) << Limits{32 * 1024, standard.maxValueBytes}
                                               << "is larger than 32 KiB";
    QTest::newRow("page record beyond the limit") << bigPage << qint64(0) << Limits{standard.maxDocumentBytes, 1024}
                                                  << "holds more data than can be opened";
    QTest::newRow("property beyond the limit") << bigProperty << qint64(0) << Limits{standard.maxDocumentBytes, 1024}
                                               << "holds more data than can be opened";
}

void tst_QFSiteDocumentFile::documentBeyondTheLimitsIsRefused()
{
    QFETCH(QFSiteDocumentData, data);
    QFETCH(qint64, fileSize);
    QFETCH(QFSiteDocumentReader::Limits, limits);
    QFETCH(QString, expected);

    QTemporaryDir dir;
    const QString path = documentPath(dir);
    QFSiteDocumentWriter().save(data, path);
    // Within the format's own limits it opens: what refuses it is the limit.
    QCOMPARE(QFSiteDocumentReader().open(path).pages.size(), data.pages.size());
    if (fileSize > 0)
        QVERIFY(QFile::resize(path, fileSize));
    try {
        QFSiteDocumentReader(limits).open(path);
        QFAIL("a document beyond the limits was opened");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Cannot Open Document"));
        QVERIFY2(e.reason().contains(path), qPrintable(e.reason()));
        QVERIFY2(e.reason().contains(expected), qPrintable(e.reason()));
    }
}

void tst_QFSiteDocumentFile::failedSaveKeepsTheOldDocument_data()
{
    QTest::addColumn<QFSiteDocumentData>("data");
    QTest::addColumn<bool>("readOnlyFolder");
    QTest::addColumn<int>("abandonAtPage");
    QTest::addColumn<QString>("expected");

    QFSiteDocumentData next = sampleData();
    next.properties.insert(QStringLiteral("siteTitle"), QStringLiteral("Never saved"));
    next.pages.append(page(QStringLiteral("extra"), 5, QByteArray(64 * 1024, 'x')));
    QFSiteDocumentData sameID = next;
    sameID.pages.append(page(QStringLiteral("home"), 9, QByteArrayLiteral("second home")));
    QFSiteDocumentData date = next;
    date.properties.insert(QStringLiteral("lastBuildDate"), QDateTime::currentDateTime());
    QFSiteDocumentData noPlugin = next;
    noPlugin.pages[1].pluginName.clear();

    QTest::newRow("read-only folder") << next << true << 0 << "cannot be created";
    QTest::newRow("two pages with one unique ID")
        << sameID << false << 0 << "UNIQUE constraint failed: pages.unique_id";
    QTest::newRow("property of a kind the file cannot hold")
        << date << false << 0 << "“lastBuildDate” holds a value of type QDateTime";
    QTest::newRow("page without a plugin") << noPlugin << false << 0 << "names no plugin";
    QTest::newRow("abandoned by the progress handler") << next << false << 2 << "by the user";
}

void tst_QFSiteDocumentFile::failedSaveKeepsTheOldDocument()
{
    QFETCH(QFSiteDocumentData, data);
    QFETCH(bool, readOnlyFolder);
    QFETCH(int, abandonAtPage);
    QFETCH(QString, expected);

    if (readOnlyFolder && ::geteuid() == 0)
        QSKIP("folder permissions do not hold back the superuser");

    QTemporaryDir dir;
    const QString path = documentPath(dir);
    QFSiteDocumentWriter().save(sampleData(), path);
    const QByteArray before = contents(path);

    QFSiteDocumentWriter writer;
    writer.setProgressHandler([abandonAtPage](qsizetype written, qsizetype) {
        if (written == abandonAtPage)
            throw QFException(QStringLiteral("Cancelled"), QStringLiteral("Saving was stopped by the user."));
    });
    if (readOnlyFolder)
        QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner));
    QString name;
    QString reason;
    try {
        writer.save(data, path);
    } catch (const QFException &e) {
        name = e.name();
        reason = e.reason();
    }
    QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    // The handler's own exception comes through as it was thrown.
    QCOMPARE(name, abandonAtPage ? QStringLiteral("Cancelled") : QStringLiteral("Save Failed"));
    QVERIFY2(abandonAtPage || reason.contains(path), qPrintable(reason));
    QVERIFY2(reason.contains(expected), qPrintable(reason));

    QCOMPARE(contents(path), before);
    QCOMPARE(QFSiteDocumentReader().open(path).pages, sampleData().pages);
    QCOMPARE(filesIn(dir.path()), QStringList{QStringLiteral("site.qfsite")});
}

void tst_QFSiteDocumentFile::killedSaveLeavesAWholeDocument_data()
{
    QTest::addColumn<QByteArray>("pauseAt");
    QTest::addColumn<int>("afterSaves");
    QTest::addColumn<int>("afterMilliseconds");

    QTest::newRow("inside the first save, first page") << QByteArray("1:1") << 0 << 0;
    QTest::newRow("inside the third save") << QByteArray("3:2") << 0 << 0;
    QTest::newRow("right after a save") << QByteArray() << 1 << 0;
    QTest::newRow("saving in a loop, soon") << QByteArray() << 0 << 30;
    QTest::newRow("saving in a loop, much later") << QByteArray() << 0 << 450;
}

void tst_QFSiteDocumentFile::killedSaveLeavesAWholeDocument()
{
    QFETCH(QByteArray, pauseAt);
    QFETCH(int, afterSaves);
    QFETCH(int, afterMilliseconds);

    QTemporaryDir dir;
    const QString path = documentPath(dir);
    QFSiteDocumentWriter().save(QFSiteCrashDocument::generation(0), path);

    QProcess helper;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!pauseAt.isEmpty())
        environment.insert(QStringLiteral("QFSITE_HELPER_PAUSE"), QString::fromLatin1(pauseAt));
    helper.setProcessEnvironment(environment);
    helper.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    helper.start(QCoreApplication::applicationDirPath() + QStringLiteral("/qfsite_crash_helper"),
                 {path, QStringLiteral("1"), QStringLiteral("1000")});
    QVERIFY2(helper.waitForStarted(), qPrintable(helper.errorString()));
    QCOMPARE(waitForLine(helper, "started"), QByteArray("started"));

    // The generations the document may hold once the helper is killed.
    QList<int> acceptable;
    if (!pauseAt.isEmpty()) {
        QCOMPARE(waitForLine(helper, "paused"), QByteArray("paused"));
        acceptable = {pauseAt.split(':').first().toInt() - 1};
    } else if (afterSaves > 0) {
        const QByteArray saved = "saved " + QByteArray::number(afterSaves);
        QCOMPARE(waitForLine(helper, saved), saved);
        acceptable = {afterSaves, afterSaves + 1};
    } else {
        QThread::msleep(afterMilliseconds);
    }
    helper.kill();
    QVERIFY(helper.waitForFinished());
    QCOMPARE(helper.exitStatus(), QProcess::CrashExit);
    if (acceptable.isEmpty()) {
        int lastSaved = 0;
        for (const QByteArray &line : helper.readAllStandardOutput().split('\n')) {
            if (line.startsWith("saved "))
                lastSaved = line.mid(6).toInt();
        }
        acceptable = {lastSaved, lastSaved + 1};
    }

    std::optional<int> found;
    try {
        found = QFSiteCrashDocument::generationOf(QFSiteDocumentReader().open(path));
    } catch (const QFException &e) {
        QFAIL(qPrintable(e.reason()));
    }
    QVERIFY2(found.has_value(), "the document does not hold one whole save");
    QVERIFY2(acceptable.contains(*found), qPrintable(QStringLiteral("generation %1").arg(*found)));
    if (!pauseAt.isEmpty())
        QVERIFY2(QFile::exists(QFSiteDocumentWriter::temporaryPathFor(path)), "the helper was not inside a save");

    QFSiteDocumentWriter().save(QFSiteCrashDocument::generation(99), path);
    QCOMPARE(QFSiteCrashDocument::generationOf(QFSiteDocumentReader().open(path)), std::optional<int>(99));
    QCOMPARE(filesIn(dir.path()), QStringList{QStringLiteral("site.qfsite")});
}

QTEST_GUILESS_MAIN(tst_QFSiteDocumentFile)
#include "tst_qfsitedocumentfile.moc"

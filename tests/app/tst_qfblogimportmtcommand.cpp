#include "quillfenrun.h"

// quillfen import-mt, run as a user runs it.
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;

class tst_QFBlogImportMTCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void entriesLandWithMappedCategories();
    void filesTheReaderCannotTakeNeedConvert_data();
    void filesTheReaderCannotTakeNeedConvert();
    void refusedBeforeAnythingChanges_data();
    void refusedBeforeAnythingChanges();

private:
    Run quillfen(const QStringList &arguments) const;
    QString writeFile(const QString &name, const QByteArray &bytes) const;
    QJsonArray posts() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_site;
};

namespace {

const QByteArray kTwoEntries = "TITLE: Ferries\nSTATUS: Publish\nDATE: 03/14/2026 09:30:00 AM\nCATEGORY: Trips\n"
                               "CATEGORY: Misc\n-----\nBODY:\nFog.\n-----\n--------\n"
                               "TITLE: Stew\nSTATUS: Draft\nDATE: 03/15/2026 20:00:00\nCATEGORY: Cooking\n-----\n"
                               "BODY:\nHot.\n-----\nEXTENDED BODY:\nVery hot.\n-----\n--------\n";

} // namespace

Run tst_QFBlogImportMTCommand::quillfen(const QStringList &arguments) const
{
    return runQuillfen(arguments, m_dir->path());
}

QString tst_QFBlogImportMTCommand::writeFile(const QString &name, const QByteArray &bytes) const
{
    QFile file(m_dir->filePath(name));
    if (!file.open(QIODevice::WriteOnly))
        return QString();
    file.write(bytes);
    return file.fileName();
}

QJsonArray tst_QFBlogImportMTCommand::posts() const
{
    const Run run = quillfen({"post", "list", m_site, "--json"});
    return QJsonDocument::fromJson(run.out.toUtf8()).array();
}

void tst_QFBlogImportMTCommand::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_site = m_dir->filePath(QStringLiteral("site.qfsite"));
    const Run made = quillfen({"new", m_site});
    QVERIFY2(made.code == 0, qPrintable(made.err));
    const Run added = quillfen({"category", "add", m_site, "Food"});
    QVERIFY2(added.code == 0, qPrintable(added.err));
}

void tst_QFBlogImportMTCommand::entriesLandWithMappedCategories()
{
    const QString file = writeFile(QStringLiteral("export.txt"), kTwoEntries);
    const Run run = quillfen({"import-mt", m_site, file, "--map", "Cooking=food"});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    QVERIFY2(run.out.contains(QStringLiteral("Found 2 entries")), qPrintable(run.out));
    QVERIFY2(run.out.contains(QStringLiteral("  Trips -> None\n  Misc -> None\n  Cooking -> Food\n")), qPrintable(run.out));
    QVERIFY(run.err.isEmpty());

    const QJsonArray list = posts(); // newest first
    QCOMPARE(list.size(), 2);
    const QJsonObject stew = list.at(0).toObject();
    const QJsonObject ferries = list.at(1).toObject();
    QCOMPARE(ferries.value("title").toString(), QStringLiteral("Ferries"));
    QCOMPARE(ferries.value("date").toString(), QStringLiteral("2026-03-14T09:30:00+01:00"));
    QCOMPARE(ferries.value("draft").toBool(), false);
    QCOMPARE(ferries.value("categories").toArray(), QJsonArray()); // None is not listed
    QCOMPARE(stew.value("date").toString(), QStringLiteral("2026-03-15T20:00:00+01:00"));
    QCOMPARE(stew.value("draft").toBool(), true);
    QCOMPARE(stew.value("categories").toArray(), QJsonArray({QStringLiteral("Food")}));

    const Run shown = quillfen({"post", "show", m_site, QString::number(stew.value("id").toInt()), "--json"});
    const QJsonObject full = QJsonDocument::fromJson(shown.out.toUtf8()).object();
    QCOMPARE(full.value("summary").toString(), QStringLiteral("Hot."));
    QCOMPARE(full.value("body").toString(), QStringLiteral("Very hot."));
}

void tst_QFBlogImportMTCommand::filesTheReaderCannotTakeNeedConvert_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("refusal");
    QTest::addColumn<QString>("title");

    QByteArray windows = kTwoEntries;
    windows.replace("Ferries", "F\xE4hren");
    QByteArray crlf = kTwoEntries;
    crlf.replace("\n", "\r\n");
    QTest::newRow("Windows-1252") << windows << "is not UTF-8 text" << QStringLiteral("F\u00e4hren");
    QTest::newRow("CR LF") << crlf << "CR LF (or CR) line ends" << QStringLiteral("Ferries");
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF") + kTwoEntries << "byte order mark"
                                     << QStringLiteral("Ferries");
}

void tst_QFBlogImportMTCommand::filesTheReaderCannotTakeNeedConvert()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, refusal);
    QFETCH(QString, title);

    const QString file = writeFile(QStringLiteral("export.txt"), bytes);
    const Run refused = quillfen({"import-mt", m_site, file});
    QCOMPARE(refused.code, 1);
    QVERIFY2(refused.err.contains(refusal), qPrintable(refused.err));
    QVERIFY2(refused.err.contains(QStringLiteral("--convert")), qPrintable(refused.err));
    QVERIFY2(refused.err.contains(QStringLiteral("export.txt")), qPrintable(refused.err));
    QCOMPARE(posts().size(), 0);

    const Run converted = quillfen({"import-mt", m_site, file, "--convert"});
    QVERIFY2(converted.code == 0, qPrintable(converted.err));
    const QJsonArray list = posts();
    QCOMPARE(list.size(), 2);
    QCOMPARE(list.at(1).toObject().value("title").toString(), title);
    QCOMPARE(list.at(1).toObject().value("date").toString(), QStringLiteral("2026-03-14T09:30:00+01:00"));
}

void tst_QFBlogImportMTCommand::refusedBeforeAnythingChanges_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");

    QTest::newRow("unknown blog category") << kTwoEntries << QStringList{"--map", "Trips=Voyages"} << 2
                                           << "the blog category \u201cVoyages\u201d";
    QTest::newRow("category not in the file") << kTwoEntries << QStringList{"--map", "Trip=Food"} << 2
                                              << "the Movable Type category \u201cTrip\u201d";
    QTest::newRow("map without =") << kTwoEntries << QStringList{"--map", "Trips"} << 2 << "is not of the form";
    QTest::newRow("no entries") << QByteArray("Dear diary,\nnothing here.\n") << QStringList() << 1
                                << "No entry could be read from";
}

void tst_QFBlogImportMTCommand::refusedBeforeAnythingChanges()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, options);
    QFETCH(int, code);
    QFETCH(QString, message);

    const QString file = writeFile(QStringLiteral("export.txt"), bytes);
    const Run run = quillfen(QStringList{"import-mt", m_site, file} + options);
    QCOMPARE(run.code, code);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QCOMPARE(posts().size(), 0);
}

QTEST_GUILESS_MAIN(tst_QFBlogImportMTCommand)
#include "tst_qfblogimportmtcommand.moc"

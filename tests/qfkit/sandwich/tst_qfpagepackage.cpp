#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/plist/qfpropertylist.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/cvsandwichmaking.h"
#include "qfkit/sandwich/qfpagepackagereader.h"
#include "qfkit/sandwich/qfpagepackagewriter.h"
#include "../coding/qftestsupport.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <zip.h>

// Page exchange: .qfpage packages written and read back, the packages a
// reader must refuse, and the registry that rebuilds a page from a package.
namespace {
using Entries = QList<QPair<QByteArray, QByteArray>>;
using Limits = QFPagePackageReader::Limits;
} // namespace
Q_DECLARE_METATYPE(Limits)
namespace {

using QFTest::raised;

using QFTest::readFile;
using QFTest::writeFile;

QByteArray manifest(const QString &key = {}, const QVariant &value = {})
{
    QVariantMap m{{QStringLiteral("Format"), QStringLiteral("Quillfen Page Package")},
                  {QStringLiteral("FormatVersion"), 1},
                  {QStringLiteral("Type"), QStringLiteral("Test Page Data")},
                  {QStringLiteral("Versions"), QVariantList{0}}};
    if (!key.isEmpty())
        m.insert(key, value);
    return QFPropertyList::toData(m);
}

// A package as the writer lays it out, with entries added, replaced or (an
// empty name) removed.
Entries entries(const Entries &changes = {})
{
    Entries result{{"manifest.plist", manifest()},
                   {"fillings/0/filling.plist", QFPropertyList::toData(QVariantMap{{QStringLiteral("Title"), QStringLiteral("A")}})},
                   {"fillings/0/files/01-Body.as", "body"}};
    for (const auto &change : changes) {
        const auto &[name, data] = change;
        const auto it = std::find_if(result.begin(), result.end(), [&](const auto &e) { return e.first == change.first; });
        if (it == result.end())
            result.append({name, data});
        else if (data.isNull())
            result.erase(it);
        else
            it->second = data;
    }
    return result;
}

// The entries zipped as they are, whatever their names: libzip itself lets
// any name through.
QByteArray zipped(const Entries &entries)
{
    QTemporaryDir dir;
    const QByteArray path = QFile::encodeName(dir.filePath(QStringLiteral("p.zip")));
    int error = 0;
    zip_t *zip = zip_open(path.constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    for (const auto &[name, data] : entries)
        zip_file_add(zip, name.constData(), zip_source_buffer(zip, data.constData(), zip_uint64_t(data.size()), 0), ZIP_FL_ENC_RAW);
    zip_close(zip);
    return readFile(QFile::decodeName(path));
}

QStringList entriesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
}

} // namespace

class tst_QFPagePackage : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void writtenPackageReadsBackWhole();
    void unknownEntriesAreIgnoredAndFilesLiveWithThePackage();
    void readerRefuses_data();
    void readerRefuses();
    void unreachablePathsAreReported();
    void writerRefusesWhatAReaderWould_data();
    void writerRefusesWhatAReaderWould();
    void factoryIsFoundByType();
    void fillingRemovesOnlyItsTemporaryFiles();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    QString m_tempBefore;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QTemporaryDir> m_temp;
};

void tst_QFPagePackage::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    // Extraction folders go to a temporary folder of the test's own, so a
    // refusal that leaves one behind shows.
    m_temp = std::make_unique<QTemporaryDir>();
    m_tempBefore = qEnvironmentVariable("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(m_temp->path()));
}

void tst_QFPagePackage::cleanup()
{
    if (m_tempBefore.isEmpty())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", QFile::encodeName(m_tempBefore));
}

void tst_QFPagePackage::writtenPackageReadsBackWhole()
{
    const QVariantMap dictionary{
        {QStringLiteral("Entries"), QVariantList{QVariantMap{{QStringLiteral("Title"), QStringLiteral("Grüße, \u65e5\u672c")},
                                                            {QStringLiteral("Posted"), QDateTime(QDate(2021, 3, 4), QTime(5, 6, 7))},
                                                            {QStringLiteral("ID"), qint64(7)}}}},
        {QStringLiteral("EnableRSS"), true},
        {QStringLiteral("Image"), QByteArray("\x00\x01\xff", 3)},
        {QStringLiteral("Ratio"), 0.25},
    };
    QByteArray binary;
    for (int i = 0; i < 70000; ++i)
        binary.append(char(i * 7));
    QVERIFY(writeFile(path(QStringLiteral("body")), binary));
    QVERIFY(writeFile(path(QStringLiteral("empty")), QByteArray()));
    {
        CVSandwich sandwich(QStringLiteral("Test Page Data"));
        auto filling = std::make_shared<CVSandwichFilling>(dictionary);
        filling->addFile(QStringLiteral("01-Body.as"), path(QStringLiteral("body")));
        filling->addFile(QStringLiteral("Körper.data"), path(QStringLiteral("empty")));
        sandwich.setFilling(filling, 0);
        sandwich.setFilling(std::make_shared<CVSandwichFilling>(QVariantMap{{QStringLiteral("Newer"), 1}}), 3);
        QFPagePackageWriter().write(sandwich, path(QStringLiteral("a.qfpage")));
        QFPagePackageWriter().write(sandwich, path(QStringLiteral("b.qfpage")));
    }
    QCOMPARE(readFile(path(QStringLiteral("a.qfpage"))), readFile(path(QStringLiteral("b.qfpage"))));

    const std::unique_ptr<CVSandwich> read = QFPagePackageReader().read(path(QStringLiteral("a.qfpage")));
    QCOMPARE(read->type(), QStringLiteral("Test Page Data"));
    QCOMPARE(read->versions(), (QList<int>{0, 3}));
    const auto filling = read->fillingForVersion(0);
    QCOMPARE(filling->dictionary(), dictionary);
    QCOMPARE(filling->files().keys(), (QStringList{QStringLiteral("01-Body.as"), QStringLiteral("Körper.data")}));
    QCOMPARE(readFile(*filling->pathForFile(QStringLiteral("01-Body.as"))), binary);
    const QFileInfo empty(*filling->pathForFile(QStringLiteral("Körper.data")));
    QVERIFY(empty.isFile());
    QCOMPARE(empty.size(), 0);
    QCOMPARE(read->fillingForVersion(3)->dictionary(), (QVariantMap{{QStringLiteral("Newer"), qint64(1)}}));
    QVERIFY(read->fillingForVersion(3)->files().isEmpty());
    QVERIFY(!read->fillingForVersion(1));
}

void tst_QFPagePackage::unknownEntriesAreIgnoredAndFilesLiveWithThePackage()
{
    // Entries a newer writer might add beside the known ones, and fillings of
    // versions the manifest does not list, are not extracted.
    QVERIFY(writeFile(path(QStringLiteral("p.qfpage")),
                      zipped(entries({{"fillings/", ""}, {"fillings/0/files/", ""}, {"README.txt", "hello"},
                                      {"fillings/4/files/x", "unlisted"}, {"fillings/0/preview.png", "png"}}))));
    QString extracted;
    {
        const std::unique_ptr<CVSandwich> read = QFPagePackageReader().read(path(QStringLiteral("p.qfpage")));
        QCOMPARE(read->versions(), QList<int>{0});
        QCOMPARE(read->fillingForVersion(0)->files().keys(), QStringList{QStringLiteral("01-Body.as")});
        extracted = *read->fillingForVersion(0)->pathForFile(QStringLiteral("01-Body.as"));
        QVERIFY(extracted.startsWith(m_temp->path()));
        QCOMPARE(readFile(extracted), QByteArray("body"));
    }
    QVERIFY(!QFileInfo::exists(extracted));
    QCOMPARE(entriesIn(m_temp->path()), QStringList());
}

void tst_QFPagePackage::readerRefuses_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Limits>("limits");
    QTest::addColumn<QString>("why");

    const Limits standard;
    const QByteArray big(5000, 'x');
    const auto row = [&](const char *name, const Entries &changes, const char *why) {
        QTest::newRow(name) << zipped(entries(changes)) << standard << why;
    };
    row("no manifest", {{"manifest.plist", QByteArray()}}, "has no manifest");
    row("manifest is not a plist", {{"manifest.plist", "<plist><dict><key>Type"}}, "manifest is not a property-list");
    row("manifest is a list", {{"manifest.plist", QFPropertyList::toData(QVariantList{1, 2})}}, "manifest is not a property-list");
    row("manifest of another format", {{"manifest.plist", manifest(QStringLiteral("Format"), QStringLiteral("Other"))}},
        "does not describe a page package");
    row("newer format", {{"manifest.plist", manifest(QStringLiteral("FormatVersion"), 2)}}, "newer version");
    row("format version as text", {{"manifest.plist", manifest(QStringLiteral("FormatVersion"), QStringLiteral("1"))}},
        "no valid format version");
    row("empty type", {{"manifest.plist", manifest(QStringLiteral("Type"), QStringLiteral(""))}}, "names no package type");
    row("versions not a list", {{"manifest.plist", manifest(QStringLiteral("Versions"), 0)}}, "lists no versions");
    row("negative version", {{"manifest.plist", manifest(QStringLiteral("Versions"), QVariantList{-1})}},
        "not a whole number from 0");
    row("version twice", {{"manifest.plist", manifest(QStringLiteral("Versions"), QVariantList{0, 0})}}, "version 0 twice");
    row("version without filling", {{"manifest.plist", manifest(QStringLiteral("Versions"), QVariantList{0, 1})}},
        "version 1 has no filling dictionary");
    row("filling is not a dictionary", {{"fillings/0/filling.plist", QFPropertyList::toData(QStringLiteral("text"))}},
        "filling dictionary of version 0 is not a property-list dictionary");
    row("absolute name", {{"/etc/evil", "x"}}, "absolute");
    row("parent folder", {{"fillings/0/files/../../../evil", "x"}}, "leads out of its folder");
    row("backslashes", {{"fillings\\0\\files\\..\\evil", "x"}}, "backslash");
    row("drive letter", {{"C:/evil", "x"}}, "drive letter");
    row("control character", {{"fillings/0/files/a\x01z", "x"}}, "control character");
    row("empty part", {{"fillings//evil", "x"}}, "empty part");
    row("file in a sub-folder", {{"fillings/0/files/sub/evil", "x"}}, "holds a folder");
    QTest::newRow("entry too large") << zipped(entries({{"fillings/0/files/02-Body.as", big}}))
                                     << Limits{4096, standard.maxTotalSize, standard.maxEntries}
                                     << "\u201cfillings/0/files/02-Body.as\u201d is larger than the 4096 bytes allowed";
    QTest::newRow("all entries too large")
        << zipped(entries({{"fillings/0/files/02-Body.as", big}, {"fillings/0/files/03-Body.as", big}}))
        << Limits{standard.maxEntrySize, 8000, standard.maxEntries} << "together are larger than the 8000 bytes";
    QTest::newRow("too many entries") << zipped(entries()) << Limits{standard.maxEntrySize, standard.maxTotalSize, 2}
                                      << "holds 3 entries, more than the 2 allowed";
    // A megabyte of blanks deflates to a kilobyte; a dictionary is parsed in
    // memory, so its own, lower limit holds.
    QTest::newRow("filling dictionary bomb")
        << zipped(entries({{"fillings/0/filling.plist", QByteArray(1 << 20, ' ')}}))
        << Limits{standard.maxEntrySize, standard.maxTotalSize, standard.maxEntries, 65536}
        << "filling dictionary of version 0 is larger than the 65536 bytes allowed";
    QTest::newRow("not a zip") << QByteArray("This is a letter, not a package.\n") << standard << "not a zip archive";
    // Damage libzip will not write itself: both the local header and the
    // central directory name the file twice.
    QTest::newRow("two entries of one name")
        << zipped(entries({{"fillings/0/files/02-Body.as", "second"}})).replace("fillings/0/files/02-Body.as", "fillings/0/files/01-Body.as")
        << standard << "two entries";
}

void tst_QFPagePackage::readerRefuses()
{
    QFETCH(QByteArray, bytes);
    QFETCH(Limits, limits);
    QFETCH(QString, why);

    const QString package = path(QStringLiteral("bad.qfpage"));
    QVERIFY(writeFile(package, bytes));
    const QFException e = raised([&] { QFPagePackageReader(limits).read(package); });
    QCOMPARE(e.name(), QStringLiteral("Malformed Package"));
    QVERIFY2(e.reason().contains(QDir::toNativeSeparators(package)), qPrintable(e.reason()));
    QVERIFY2(e.reason().contains(why), qPrintable(e.reason()));
    QCOMPARE(entriesIn(m_temp->path()), QStringList());
    QCOMPARE(entriesIn(m_dir->path()), QStringList{QStringLiteral("bad.qfpage")});
}

void tst_QFPagePackage::unreachablePathsAreReported()
{
    for (const QString &package : {path(QStringLiteral("missing.qfpage")), m_dir->path()}) {
        const QFException e = raised([&] { QFPagePackageReader().read(package); });
        QCOMPARE(e.name(), QStringLiteral("Cannot Open Package"));
        QVERIFY2(e.reason().contains(QDir::toNativeSeparators(package)), qPrintable(e.reason()));
    }
    CVSandwich sandwich(QStringLiteral("T"));
    sandwich.setFilling(std::make_shared<CVSandwichFilling>(), 0);
    const QString package = path(QStringLiteral("no/such/folder/p.qfpage"));
    QCOMPARE(raised([&] { QFPagePackageWriter().write(sandwich, package); }).name(), QStringLiteral("Package Error"));
    QVERIFY(!QFileInfo::exists(package));
}

void tst_QFPagePackage::writerRefusesWhatAReaderWould_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("filePath");
    QTest::addColumn<QVariantMap>("dictionary");
    QTest::addColumn<QString>("why");

    const QString body = QStringLiteral("body");
    const QVariantMap plain{{QStringLiteral("A"), 1}};
    QTest::newRow("no type") << QString() << "x" << body << plain << "has no type";
    QTest::newRow("file name leaving the folder") << "T" << "../x" << body << plain << "leads out of its folder";
    QTest::newRow("file name with a folder") << "T" << "a/b" << body << plain << "holds a folder";
    QTest::newRow("empty file name") << "T" << "" << body << plain << "has no name";
    QTest::newRow("file name with a drive") << "T" << "C:x" << body << plain << "drive letter";
    QTest::newRow("file name too long") << "T" << QString(256, QLatin1Char('n')) << body << plain << "longer than 255 bytes";
    QTest::newRow("missing file") << "T" << "x" << "nowhere" << plain << "is missing or cannot be read";
    QTest::newRow("folder for a file") << "T" << "x" << "." << plain << "is missing or cannot be read";
    QTest::newRow("value without a plist form")
        << "T" << "x" << body << QVariantMap{{QStringLiteral("Entries"), QVariantList{QVariant()}}} << "Entries[0]";
}

void tst_QFPagePackage::writerRefusesWhatAReaderWould()
{
    QFETCH(QString, type);
    QFETCH(QString, fileName);
    QFETCH(QString, filePath);
    QFETCH(QVariantMap, dictionary);
    QFETCH(QString, why);

    // An earlier package at the path stays as it was.
    QVERIFY(writeFile(path(QStringLiteral("body")), "body bytes"));
    const QString package = path(QStringLiteral("old.qfpage"));
    QVERIFY(writeFile(package, "the earlier package"));

    CVSandwich sandwich(type);
    auto filling = std::make_shared<CVSandwichFilling>(dictionary);
    filling->addFile(fileName, path(filePath));
    sandwich.setFilling(filling, 0);
    const QFException e = raised([&] { QFPagePackageWriter().write(sandwich, package); });
    QCOMPARE(e.name(), QStringLiteral("Package Error"));
    QVERIFY2(e.reason().contains(QDir::toNativeSeparators(package)), qPrintable(e.reason()));
    QVERIFY2(e.reason().contains(why), qPrintable(e.reason()));
    QCOMPARE(readFile(package), QByteArray("the earlier package"));
    QCOMPARE(entriesIn(m_dir->path()).size(), 2);
}

void tst_QFPagePackage::factoryIsFoundByType()
{
    QString seenTitle;
    const auto note = [&seenTitle](const CVSandwich &sandwich) {
        seenTitle = sandwich.fillingForVersion(0)->dictionary().value(QStringLiteral("Title")).toString();
        return std::make_unique<QFTextViewPluginClient>();
    };
    CVSandwichMaking::setFactoryClass({QStringLiteral("Note"), note}, QStringLiteral("Note Page Data"));
    CVSandwichMaking::setFactoryClass({QStringLiteral("Old"), note}, QStringLiteral("Old Page Data"));
    CVSandwichMaking::setFactoryClass({QStringLiteral("Old"), {}}, QStringLiteral("Old Page Data"));
    CVSandwichMaking::setFactoryClass(
        {QStringLiteral("Empty"), [](const CVSandwich &) { return std::unique_ptr<QFTextViewPluginClient>(); }},
        QStringLiteral("Empty Page Data"));
    const auto sandwich = [](const QString &type) {
        auto made = std::make_unique<CVSandwich>(type);
        made->setFilling(std::make_shared<CVSandwichFilling>(QVariantMap{{QStringLiteral("Title"), QStringLiteral("Hi")}}), 0);
        return made;
    };

    QVERIFY(CVSandwichMaking::createWithSandwich(*sandwich(QStringLiteral("Note Page Data"))));
    QCOMPARE(seenTitle, QStringLiteral("Hi"));
    QCOMPARE(CVSandwichMaking::factoryForType(QStringLiteral("Note Page Data"))->pluginIdentifier, QStringLiteral("Note"));
    QVERIFY(!CVSandwichMaking::types().contains(QStringLiteral("Old Page Data")));
    // Unknown, removed, and a factory that makes nothing.
    for (const QString type : {"Gallery Page Data", "Old Page Data", "Empty Page Data"}) {
        const QFException e = raised([&] { CVSandwichMaking::createWithSandwich(*sandwich(type)); });
        QCOMPARE(e.name(), QStringLiteral("Unknown Page Type"));
        QVERIFY2(e.reason().contains(type), qPrintable(e.reason()));
    }
}

void tst_QFPagePackage::fillingRemovesOnlyItsTemporaryFiles()
{
    const QString kept = path(QStringLiteral("kept"));
    const QString owned = path(QStringLiteral("owned"));
    const QString replaced = path(QStringLiteral("replaced"));
    for (const QString &file : {kept, owned, replaced})
        QVERIFY(writeFile(file, "x"));
    {
        CVSandwich sandwich(QStringLiteral("T"));
        auto filling = std::make_shared<CVSandwichFilling>();
        filling->addFile(QStringLiteral("a"), kept);
        filling->addTemporaryFile(QStringLiteral("b"), replaced);
        filling->addTemporaryFile(QStringLiteral("b"), owned);
        sandwich.setFilling(filling, 0);
        QVERIFY(!QFile::exists(replaced));
        QVERIFY(QFile::exists(owned));
    }
    QVERIFY(QFile::exists(kept));
    QVERIFY(!QFile::exists(owned));
}

QTEST_GUILESS_MAIN(tst_QFPagePackage)
#include "tst_qfpagepackage.moc"

#include "qfkit/plist/qfpropertylist.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/qfpagepackagereader.h"
#include "qfkit/sandwich/qfpagepackagewriter.h"
#include "qfkit/support/qfexception.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <zip.h>

namespace {

using Entries = QList<QPair<QByteArray, QByteArray>>;
using Limits = QFPagePackageReader::Limits;
} // namespace
Q_DECLARE_METATYPE(Limits)
namespace {

QByteArray plist(const QVariant &value)
{
    return QFPropertyList::toData(value);
}

QVariantMap manifest(const QVariantList &versions = {0}, const QString &type = QStringLiteral("Test Page Data"))
{
    return {{QStringLiteral("Format"), QStringLiteral("Quillfen Page Package")},
            {QStringLiteral("FormatVersion"), 1},
            {QStringLiteral("Type"), type},
            {QStringLiteral("Versions"), versions}};
}

QVariantMap manifestWith(const QString &key, const QVariant &value)
{
    QVariantMap m = manifest();
    m.insert(key, value);
    return m;
}

// A package as the writer lays it out, with entries added or replaced.
Entries goodEntries(const Entries &extra = {})
{
    Entries entries{{"manifest.plist", plist(manifest())},
                    {"fillings/0/filling.plist", plist(QVariantMap{{QStringLiteral("Title"), QStringLiteral("A")}})},
                    {"fillings/0/files/01-Body.as", "body"}};
    for (const auto &entry : extra) {
        auto it = std::find_if(entries.begin(), entries.end(), [&](const auto &e) { return e.first == entry.first; });
        if (it != entries.end())
            it->second = entry.second;
        else
            entries.append(entry);
    }
    return entries;
}

Entries without(Entries entries, const QByteArray &name)
{
    entries.removeIf([&](const auto &e) { return e.first == name; });
    return entries;
}

// Writes the entries as they are, whatever their names: libzip itself lets
// any name through.
void writeZip(const QString &path, const Entries &entries)
{
    int error = 0;
    zip_t *zip = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    QVERIFY(zip);
    for (const auto &[name, data] : entries) {
        zip_source_t *source = zip_source_buffer(zip, data.constData(), zip_uint64_t(data.size()), 0);
        QVERIFY(source);
        QVERIFY2(zip_file_add(zip, name.constData(), source, ZIP_FL_ENC_RAW) >= 0, zip_strerror(zip));
    }
    QVERIFY2(zip_close(zip) == 0, zip_strerror(zip));
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

} // namespace

class tst_QFPagePackageReader : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void writtenPackageReadsBackWhole();
    void filesLiveAsLongAsThePackage();
    void unknownEntriesAreIgnored();
    void refusesBadPackages_data();
    void refusesBadPackages();
    void refusesDamagedBytes_data();
    void refusesDamagedBytes();
    void missingFileCannotBeOpened();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    QString m_tempBefore;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QTemporaryDir> m_temp;
};

void tst_QFPagePackageReader::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    // Extraction folders go to a temporary folder of the test's own, so a
    // refusal that leaves one behind shows.
    m_temp = std::make_unique<QTemporaryDir>();
    m_tempBefore = qEnvironmentVariable("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(m_temp->path()));
}

void tst_QFPagePackageReader::cleanup()
{
    if (m_tempBefore.isEmpty())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", QFile::encodeName(m_tempBefore));
}

void tst_QFPagePackageReader::writtenPackageReadsBackWhole()
{
    const QDateTime when(QDate(2021, 3, 4), QTime(5, 6, 7));
    const QVariantMap dictionary{
        {QStringLiteral("Entries"), QVariantList{QVariantMap{{QStringLiteral("Title"), QStringLiteral("Grüße, \u65e5\u672c")},
                                                            {QStringLiteral("Posted"), when},
                                                            {QStringLiteral("ID"), qint64(7)}}}},
        {QStringLiteral("EnableRSS"), true},
        {QStringLiteral("Image"), QByteArray("\x00\x01\xff", 3)},
        {QStringLiteral("Ratio"), 0.25},
    };
    QByteArray binary;
    for (int i = 0; i < 70000; ++i)
        binary.append(char(i * 7));
    writeAll(path(QStringLiteral("body")), binary);
    writeAll(path(QStringLiteral("empty")), QByteArray());

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
    QCOMPARE(readAll(path(QStringLiteral("a.qfpage"))), readAll(path(QStringLiteral("b.qfpage"))));

    const std::unique_ptr<CVSandwich> read = QFPagePackageReader().read(path(QStringLiteral("a.qfpage")));
    QCOMPARE(read->type(), QStringLiteral("Test Page Data"));
    QCOMPARE(read->versions(), (QList<int>{0, 3}));
    const auto filling = read->fillingForVersion(0);
    QCOMPARE(filling->dictionary(), dictionary);
    QCOMPARE(filling->files().keys(), (QStringList{QStringLiteral("01-Body.as"), QStringLiteral("Körper.data")}));
    QCOMPARE(readAll(*filling->pathForFile(QStringLiteral("01-Body.as"))), binary);
    const QString empty = *filling->pathForFile(QStringLiteral("Körper.data"));
    QVERIFY(QFileInfo(empty).isFile());
    QCOMPARE(QFileInfo(empty).size(), 0);
    QCOMPARE(read->fillingForVersion(3)->dictionary(), (QVariantMap{{QStringLiteral("Newer"), qint64(1)}}));
    QVERIFY(read->fillingForVersion(3)->files().isEmpty());
    QVERIFY(!read->fillingForVersion(1));
}

void tst_QFPagePackageReader::filesLiveAsLongAsThePackage()
{
    writeZip(path(QStringLiteral("p.qfpage")), goodEntries());
    QString extracted;
    {
        const std::unique_ptr<CVSandwich> read = QFPagePackageReader().read(path(QStringLiteral("p.qfpage")));
        extracted = *read->fillingForVersion(0)->pathForFile(QStringLiteral("01-Body.as"));
        QVERIFY(extracted.startsWith(m_temp->path()));
        QCOMPARE(readAll(extracted), QByteArray("body"));
    }
    QVERIFY(!QFileInfo::exists(extracted));
    QCOMPARE(QDir(m_temp->path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
}

void tst_QFPagePackageReader::unknownEntriesAreIgnored()
{
    // Entries a newer writer might add beside the known ones, and fillings of
    // versions the manifest does not list, are not extracted.
    writeZip(path(QStringLiteral("p.qfpage")),
             goodEntries({{"fillings/", ""}, {"fillings/0/files/", ""}, {"README.txt", "hello"},
                          {"fillings/4/files/x", "unlisted"}, {"fillings/0/preview.png", "png"}}));
    const std::unique_ptr<CVSandwich> read = QFPagePackageReader().read(path(QStringLiteral("p.qfpage")));
    QCOMPARE(read->versions(), QList<int>{0});
    QCOMPARE(read->fillingForVersion(0)->files().keys(), QStringList{QStringLiteral("01-Body.as")});
}

void tst_QFPagePackageReader::refusesBadPackages_data()
{
    QTest::addColumn<Entries>("entries");
    QTest::addColumn<Limits>("limits");
    QTest::addColumn<QString>("why");

    const Limits standard;
    const QByteArray big(5000, 'x');
    QTest::newRow("no manifest") << without(goodEntries(), "manifest.plist") << standard << "has no manifest";
    QTest::newRow("manifest is not a plist")
        << goodEntries({{"manifest.plist", "<plist><dict><key>Type"}}) << standard << "manifest is not a property-list";
    QTest::newRow("manifest is a list")
        << goodEntries({{"manifest.plist", plist(QVariantList{1, 2})}}) << standard << "manifest is not a property-list";
    QTest::newRow("manifest of another format")
        << goodEntries({{"manifest.plist", plist(manifestWith(QStringLiteral("Format"), QStringLiteral("Other")))}})
        << standard << "does not describe a page package";
    QTest::newRow("newer format")
        << goodEntries({{"manifest.plist", plist(manifestWith(QStringLiteral("FormatVersion"), 2))}}) << standard
        << "newer version";
    QTest::newRow("format version as text")
        << goodEntries({{"manifest.plist", plist(manifestWith(QStringLiteral("FormatVersion"), QStringLiteral("1")))}})
        << standard << "no valid format version";
    QTest::newRow("empty type")
        << goodEntries({{"manifest.plist", plist(manifestWith(QStringLiteral("Type"), QString(QLatin1String(""))))}})
        << standard << "names no package type";
    QTest::newRow("versions not a list")
        << goodEntries({{"manifest.plist", plist(manifestWith(QStringLiteral("Versions"), 0))}}) << standard
        << "lists no versions";
    QTest::newRow("negative version") << goodEntries({{"manifest.plist", plist(manifest({-1}))}}) << standard
                                      << "not a whole number from 0";
    QTest::newRow("version twice") << goodEntries({{"manifest.plist", plist(manifest({0, 0}))}}) << standard
                                   << "version 0 twice";
    QTest::newRow("version without filling")
        << goodEntries({{"manifest.plist", plist(manifest({0, 1}))}}) << standard << "version 1 has no filling dictionary";
    QTest::newRow("filling is not a dictionary")
        << goodEntries({{"fillings/0/filling.plist", plist(QStringLiteral("text"))}}) << standard
        << "filling dictionary of version 0 is not a property-list dictionary";
    QTest::newRow("absolute name") << goodEntries({{"/etc/evil", "x"}}) << standard << "absolute";
    QTest::newRow("parent folder") << goodEntries({{"fillings/0/files/../../../evil", "x"}}) << standard
                                   << "leads out of its folder";
    QTest::newRow("backslashes") << goodEntries({{"fillings\\0\\files\\..\\evil", "x"}}) << standard << "backslash";
    QTest::newRow("drive letter") << goodEntries({{"C:/evil", "x"}}) << standard << "drive letter";
    QTest::newRow("control character") << goodEntries({{"fillings/0/files/a\x01z", "x"}}) << standard
                                       << "control character";
    QTest::newRow("empty part") << goodEntries({{"fillings//evil", "x"}}) << standard << "empty part";
    QTest::newRow("file in a sub-folder") << goodEntries({{"fillings/0/files/sub/evil", "x"}}) << standard
                                          << "holds a folder";
    QTest::newRow("entry too large") << goodEntries({{"fillings/0/files/02-Body.as", big}})
                                     << Limits{4096, standard.maxTotalSize, standard.maxEntries}
                                     << "\u201cfillings/0/files/02-Body.as\u201d is larger than the 4096 bytes allowed";
    QTest::newRow("all entries too large")
        << goodEntries({{"fillings/0/files/02-Body.as", big}, {"fillings/0/files/03-Body.as", big}})
        << Limits{standard.maxEntrySize, 8000, standard.maxEntries} << "together are larger than the 8000 bytes";
    QTest::newRow("too many entries") << goodEntries() << Limits{standard.maxEntrySize, standard.maxTotalSize, 2}
                                      << "holds 3 entries, more than the 2 allowed";
}

void tst_QFPagePackageReader::refusesBadPackages()
{
    QFETCH(Entries, entries);
    QFETCH(Limits, limits);
    QFETCH(QString, why);

    const QString package = path(QStringLiteral("bad.qfpage"));
    writeZip(package, entries);
    try {
        QFPagePackageReader(limits).read(package);
        QFAIL("the package was read");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Malformed Package"));
        QVERIFY2(e.reason().contains(QDir::toNativeSeparators(package)), qPrintable(e.reason()));
        QVERIFY2(e.reason().contains(why), qPrintable(e.reason()));
    }
    QCOMPARE(QDir(m_temp->path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList{QStringLiteral("bad.qfpage")});
}

void tst_QFPagePackageReader::refusesDamagedBytes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("why");

    const QString good = QDir::temp().filePath(QStringLiteral("good.qfpage"));
    writeZip(good, goodEntries({{"fillings/0/files/02-Body.as", "second"}}));
    QByteArray bytes = readAll(good);
    QFile::remove(good);
    QVERIFY(!bytes.isEmpty());

    QTest::newRow("not a zip") << QByteArray("This is a letter, not a package.\n") << "not a zip archive";
    // Damage libzip will not write itself: both the local header and the
    // central directory name the file twice.
    QTest::newRow("two entries of one name")
        << bytes.replace("fillings/0/files/02-Body.as", "fillings/0/files/01-Body.as") << "two entries";
}

void tst_QFPagePackageReader::refusesDamagedBytes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, why);

    const QString package = path(QStringLiteral("damaged.qfpage"));
    writeAll(package, bytes);
    try {
        QFPagePackageReader().read(package);
        QFAIL("the package was read");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Malformed Package"));
        QVERIFY2(e.reason().contains(QDir::toNativeSeparators(package)), qPrintable(e.reason()));
        QVERIFY2(e.reason().contains(why), qPrintable(e.reason()));
    }
    QCOMPARE(QDir(m_temp->path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
}

void tst_QFPagePackageReader::missingFileCannotBeOpened()
{
    for (const QString &name : {QStringLiteral("missing.qfpage"), QString()}) {
        const QString package = path(name);
        try {
            QFPagePackageReader().read(package);
            QFAIL("a package was read");
        } catch (const QFException &e) {
            QCOMPARE(e.name(), QStringLiteral("Cannot Open Package"));
            QVERIFY2(e.reason().contains(QDir::toNativeSeparators(package)), qPrintable(e.reason()));
        }
    }
}

QTEST_GUILESS_MAIN(tst_QFPagePackageReader)
#include "tst_qfpagepackagereader.moc"

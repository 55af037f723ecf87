#include "qfkit/plist/qfpropertylist.h"
#include "../coding/qftestsupport.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QtEndian>

#include <limits>

using QFPropertyList::Format;

Q_DECLARE_METATYPE(QFPropertyList::Format)

namespace {

using QFTest::dump;
using QFTest::raised;

QDateTime utc(int y, int mo, int d, int h, int mi, int s, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), QTimeZone::utc());
}

QByteArray bigEndian32(quint32 v)
{
    v = qToBigEndian(v);
    return QByteArray(reinterpret_cast<const char *>(&v), 4);
}

// A binary list of raw objects; references are 4-byte object indexes.
QByteArray binaryList(const QList<QByteArray> &objects)
{
    QByteArray out("bplist00");
    QByteArray table;
    for (const QByteArray &object : objects) {
        table += bigEndian32(quint32(out.size()));
        out += object;
    }
    const quint32 tableOffset = quint32(out.size());
    out += table;
    QByteArray trailer(32, '\0');
    trailer[6] = 4; // offset size
    trailer[7] = 4; // reference size
    trailer.replace(12, 4, bigEndian32(quint32(objects.size())));
    trailer.replace(28, 4, bigEndian32(tableOffset));
    return out + trailer;
}

QByteArray arrayObject(const QList<quint32> &refs)
{
    QByteArray object(1, char(0xA0 | refs.size()));
    for (quint32 ref : refs)
        object += bigEndian32(ref);
    return object;
}

} // namespace

class tst_QFPropertyList : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip_data();
    void roundTrip();
    void keysAreWrittenSorted();
    void handWrittenXml();
    void malformed_data();
    void malformed();
    void unwritable_data();
    void unwritable();
    void fileErrors();
};

void tst_QFPropertyList::roundTrip_data()
{
    QTest::addColumn<Format>("format");
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QVariant>("read");

    QByteArray allBytes;
    for (int i = 0; i < 256; ++i)
        allBytes.append(char(i));
    const QVariantMap inner{{"flag", false}, {"names", QVariantList{"a", QString()}}, {"emptyDict", QVariantMap()}, {"emptyList", QVariantList()}};
    const QVariantMap every{
        {"title", "Grüße aus Köln — 日本語 😀 <&>\""},
        {"empty", QString()},
        {"clé 🔑", "non-ASCII key"},
        {"bytes", allBytes},
        {"when", utc(2013, 5, 6, 7, 8, 9).toLocalTime()},
        {"count", qint64(42)},
        {"ratio", 0.1},
        {"yes", true},
        {"list", QVariantList{qint64(1), "two", QVariantList{3.5}, inner}},
        {"inner", inner},
    };
    // Integers read as qint64, string lists as lists, dates in local time.
    const struct
    {
        const char *name;
        QVariant written;
        QVariant read;
    } both[] = {
        {"every type nested", every, every},
        {"int", 42, qint64(42)},
        {"uint above INT_MAX", 3000000000u, qint64(3000000000)},
        {"small quint64", quint64(5), qint64(5)},
        {"INT64_MIN", std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::min()},
        {"UINT64_MAX", std::numeric_limits<quint64>::max(), std::numeric_limits<quint64>::max()},
        {"string list", QStringList{"a", QString()}, QVariantList{"a", QString()}},
        {"date before 2001", utc(1999, 12, 31, 23, 59, 59), utc(1999, 12, 31, 23, 59, 59).toLocalTime()},
        {"date in 1900", utc(1900, 1, 1, 0, 0, 0), utc(1900, 1, 1, 0, 0, 0).toLocalTime()},
        {"date in 2150", utc(2150, 6, 30, 12, 34, 56), utc(2150, 6, 30, 12, 34, 56).toLocalTime()},
        {"date in year 1", utc(1, 1, 1, 0, 0, 1), utc(1, 1, 1, 0, 0, 1).toLocalTime()},
        {"date in year 9999", utc(9999, 12, 31, 23, 59, 59), utc(9999, 12, 31, 23, 59, 59).toLocalTime()},
    };
    for (const auto &row : both) {
        QTest::addRow("%s, XML", row.name) << Format::XML << row.written << row.read;
        QTest::addRow("%s, binary", row.name) << Format::Binary << row.written << row.read;
    }
    const QDateTime withMsecs = utc(2020, 2, 29, 12, 0, 1, 345);
    const QDateTime beforeWithMsecs = utc(1990, 1, 1, 0, 0, 0, 250);
    QTest::newRow("milliseconds kept, binary") << Format::Binary << QVariant(withMsecs) << QVariant(withMsecs.toLocalTime());
    QTest::newRow("milliseconds dropped, XML") << Format::XML << QVariant(withMsecs)
                                               << QVariant(withMsecs.addMSecs(-345).toLocalTime());
    QTest::newRow("before 2001 with milliseconds, binary")
        << Format::Binary << QVariant(beforeWithMsecs) << QVariant(beforeWithMsecs.toLocalTime());
    const QDateTime farFuture = utc(123456, 7, 8, 9, 10, 11, 12);
    const QDateTime farPast = QDateTime(QDate(-4713, 1, 2), QTime(3, 4, 5), QTimeZone::utc());
    QTest::newRow("year 123456, binary") << Format::Binary << QVariant(farFuture) << QVariant(farFuture.toLocalTime());
    QTest::newRow("4713 BC, binary") << Format::Binary << QVariant(farPast) << QVariant(farPast.toLocalTime());
}

void tst_QFPropertyList::roundTrip()
{
    QFETCH(Format, format);
    QFETCH(QVariant, written);
    QFETCH(QVariant, read);
    QCOMPARE(dump(QFPropertyList::fromData(QFPropertyList::toData(QVariantList{written}, format))), dump(QVariantList{read}));
}

void tst_QFPropertyList::keysAreWrittenSorted()
{
    QVariantHash hash;
    QVariantMap map;
    for (const char *key : {"zeta", "alpha", "mu", "beta", "omega", "gamma"}) {
        hash.insert(QString::fromLatin1(key), QString::fromLatin1(key).toUpper());
        map.insert(QString::fromLatin1(key), QString::fromLatin1(key).toUpper());
    }
    for (Format format : {Format::XML, Format::Binary})
        QCOMPARE(QFPropertyList::toData(hash, format), QFPropertyList::toData(map, format));
}

void tst_QFPropertyList::handWrittenXml()
{
    const QByteArray text = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist SYSTEM "PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
    <!-- edited by hand -->
    <key>Enabled</key> <true/>   <key>Hidden</key> <false/>
    <key>Count</key> <integer>-12</integer>   <key>Scale</key> <real>2.5</real>
    <key>Created</key> <date>2006-03-04T05:06:07Z</date>   <key>Founded</key> <date>1850-05-06T07:08:09Z</date>
    <key>Icon</key>
    <data>
    SGVsbG8s
    IHdvcmxk
    </data>
    <key>Title</key> <string>Caf&#233; &amp; more</string>
    <key>Languages</key>
    <array>
        <string>English</string>
        <string>Français</string>
    </array>
</dict>
</plist>
)";
    const QVariantMap expected{{"Enabled", true},
                               {"Hidden", false},
                               {"Count", qint64(-12)},
                               {"Scale", 2.5},
                               {"Created", utc(2006, 3, 4, 5, 6, 7).toLocalTime()},
                               {"Founded", utc(1850, 5, 6, 7, 8, 9).toLocalTime()},
                               {"Icon", QByteArray("Hello, world")},
                               {"Title", "Café & more"},
                               {"Languages", QVariantList{"English", "Français"}}};
    QCOMPARE(dump(QFPropertyList::mapFromData(text)), dump(expected));
    QCOMPARE(dump(QFPropertyList::mapFromData("\xEF\xBB\xBF" + text)), dump(expected));
}

void tst_QFPropertyList::malformed_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("reasonFragment");

    const QVariantMap sample{{QStringLiteral("a"), QVariantList{1, 2, QStringLiteral("three")}},
                             {QStringLiteral("b"), QStringLiteral("text")}};
    const QByteArray binary = QFPropertyList::toData(sample, Format::Binary);
    QByteArray garbledTable = binary;
    garbledTable.replace(garbledTable.size() - 40, 6, QByteArray(6, '\xff'));
    QList<QByteArray> deep;
    for (quint32 i = 1; i < 100000; ++i)
        deep << arrayObject({i});
    deep << arrayObject({});
    // Every level refers twice to the next: 2^40 values once expanded.
    QList<QByteArray> expanding;
    for (quint32 i = 1; i <= 40; ++i)
        expanding << arrayObject({i, i});
    expanding << QByteArray("\x51x");

    QTest::newRow("empty") << QByteArray() << "empty";
    QTest::newRow("truncated binary") << binary.left(binary.size() / 2) << "truncated";
    QTest::newRow("garbled binary offsets") << garbledTable << "corrupt";
    QTest::newRow("dict with missing value")
        << QByteArray("<plist><dict><key>a</key><string>x</string><key>b</key></dict></plist>") << "\"b\"";
    QTest::newRow("date with a five-digit year") << QByteArray("<plist><date>12345-01-01T00:00:00Z</date></plist>") << "form";
    QTest::newRow("binary date beyond any calendar")
        << binaryList({QByteArray::fromHex("337fefffffffffffff")}) << "years";
    QTest::newRow("binary date not a number") << binaryList({QByteArray::fromHex("337ff8000000000000")}) << "years";
    QTest::newRow("data not base64") << QByteArray("<plist><data>!!!</data></plist>") << "base64";
    QTest::newRow("XML nested very deep")
        << "<plist>" + QByteArray("<array>").repeated(100000) + QByteArray("</array>").repeated(100000) + "</plist>" << "deeper";
    QTest::newRow("binary nested very deep") << binaryList(deep) << "deeper";
    QTest::newRow("binary refers to itself") << binaryList({arrayObject({0})}) << "itself";
    QTest::newRow("binary expands exponentially") << binaryList(expanding) << "more than";
    QTest::newRow("entity expansion bomb") << QByteArray(R"(<?xml version="1.0"?>
<!DOCTYPE plist [
 <!ENTITY a "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa">
 <!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;">
 <!ENTITY c "&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;">
 <!ENTITY d "&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;">
 <!ENTITY e "&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;">
]>
<plist><string>&e;&e;&e;&e;&e;&e;&e;&e;</string></plist>)")
                                           << "entities";
}

void tst_QFPropertyList::malformed()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, reasonFragment);
    const QFException e = raised([&] { QFPropertyList::fromData(data); });
    QCOMPARE(e.name(), QStringLiteral("Malformed Property List"));
    QVERIFY2(e.reason().contains(reasonFragment), qPrintable(e.reason()));
}

void tst_QFPropertyList::unwritable_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<Format>("format");
    QTest::addColumn<QString>("reasonFragment");

    const auto inCategories = [](const QVariant &leaf) {
        return QVariant(QVariantMap{
            {QStringLiteral("Categories"), QVariantList{QVariantMap(), QVariantMap{{QStringLiteral("name"), leaf}}}}});
    };
    QVariantList tooDeep;
    for (int i = 0; i < QFPropertyList::MaxNestingDepth; ++i)
        tooDeep = QVariantList{QVariant(tooDeep)};

    QTest::newRow("null at the top") << QVariant() << Format::XML << "null value at the top level";
    QTest::newRow("null inside") << inCategories(QVariant()) << Format::Binary << "\"Categories[1].name\"";
    QTest::newRow("XML date in year 10000") << inCategories(utc(10000, 1, 1, 0, 0, 0)) << Format::XML << "\"Categories[1].name\"";
    QTest::newRow("control character in XML") << inCategories(QStringLiteral("bell\a")) << Format::XML << "control character";
    QTest::newRow("too deep") << QVariant(tooDeep) << Format::Binary << "deeper";
}

void tst_QFPropertyList::unwritable()
{
    QFETCH(QVariant, value);
    QFETCH(Format, format);
    QFETCH(QString, reasonFragment);
    const QFException e = raised([&] { QFPropertyList::toData(value, format); });
    QCOMPARE(e.name(), QStringLiteral("Property List Error"));
    QVERIFY2(e.reason().contains(reasonFragment), qPrintable(e.reason()));
}

// Every refusal to read or write a file names the file; a failed write
// changes nothing.
void tst_QFPropertyList::fileErrors()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString garbage = dir.filePath(QStringLiteral("garbage.plist"));
    QVERIFY(QFTest::writeFile(garbage, "<plist><dict><key>a</key></dict></plist>"));
    const QString array = dir.filePath(QStringLiteral("categories.plist"));
    QFPropertyList::toFile(QStringList{QStringLiteral("News")}, array, Format::Binary);
    QCOMPARE(QFPropertyList::fromFile(array).toStringList(), QStringList{QStringLiteral("News")});

    const QString error = QStringLiteral("Property List Error");
    const QString malformed = QStringLiteral("Malformed Property List");
    const QString missing = dir.filePath(QStringLiteral("missing.plist"));
    const QString noFolder = dir.filePath(QStringLiteral("no/such/folder/out.plist"));
    const QList<std::tuple<QString, QString, std::function<void()>>> cases{
        {missing, error, [&] { QFPropertyList::fromFile(missing); }},
        {dir.path(), error, [&] { QFPropertyList::fromFile(dir.path()); }},
        {garbage, malformed, [&] { QFPropertyList::fromFile(garbage); }},
        {array, malformed, [&] { QFPropertyList::mapFromFile(array); }},
        {noFolder, error, [&] { QFPropertyList::toFile(QVariantMap(), noFolder); }},
    };
    for (const auto &[path, name, call] : cases) {
        const QFException e = raised(call);
        QCOMPARE(e.name(), name);
        QVERIFY2(e.reason().contains(path), qPrintable(e.reason()));
    }

    // A write that fails leaves the file as it was, and no temporary file beside it.
    QVERIFY_THROWS_EXCEPTION(QFException, QFPropertyList::toFile(QVariantList{"Sport", QVariant()}, array, Format::Binary));
    QCOMPARE(QFPropertyList::fromFile(array).toStringList(), QStringList{QStringLiteral("News")});
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), (QStringList{QStringLiteral("categories.plist"), QStringLiteral("garbage.plist")}));
}

QTEST_GUILESS_MAIN(tst_QFPropertyList)
#include "tst_qfpropertylist.moc"

#include "qfkit/plist/qfpropertylist.h"
#include "qfkit/support/qfexception.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QUrl>

#include <limits>

using QFPropertyList::Format;

Q_DECLARE_METATYPE(QFPropertyList::Format)

namespace {

// Type and value, recursively, so that wrong signedness or time zone shows.
QString dump(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::QVariantMap: {
        QStringList parts;
        const QVariantMap map = v.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            parts << it.key() + QLatin1Char('=') + dump(it.value());
        return QLatin1Char('{') + parts.join(QStringLiteral(", ")) + QLatin1Char('}');
    }
    case QMetaType::QVariantList: {
        QStringList parts;
        for (const QVariant &item : v.toList())
            parts << dump(item);
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    case QMetaType::QDateTime: {
        const QDateTime d = v.toDateTime();
        return QStringLiteral("date(%1, spec %2)").arg(d.toMSecsSinceEpoch()).arg(int(d.timeSpec()));
    }
    case QMetaType::QByteArray:
        return QStringLiteral("data(%1)").arg(QString::fromLatin1(v.toByteArray().toHex()));
    case QMetaType::Double:
        return QStringLiteral("real(%1)").arg(v.toDouble(), 0, 'g', 17);
    default:
        return QStringLiteral("%1(%2)").arg(QString::fromLatin1(v.typeName()), v.toString());
    }
}

QDateTime utc(int y, int mo, int d, int h, int mi, int s, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), QTimeZone::utc());
}

QByteArray bigEndian32(quint32 v)
{
    QByteArray out(4, '\0');
    for (int i = 3; i >= 0; --i, v >>= 8)
        out[i] = char(v & 0xff);
    return out;
}

// A binary list from raw objects whose references are 4-byte object indexes.
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

QByteArray deepBinary(int levels)
{
    QList<QByteArray> objects;
    for (int i = 0; i + 1 < levels; ++i)
        objects << arrayObject({quint32(i + 1)});
    objects << arrayObject({});
    return binaryList(objects);
}

// Every level refers twice to the next: 2^levels values once expanded.
QByteArray expandingBinary(int levels)
{
    QList<QByteArray> objects;
    for (int i = 0; i < levels; ++i)
        objects << arrayObject({quint32(i + 1), quint32(i + 1)});
    objects << QByteArray("\x51x", 2);
    return binaryList(objects);
}

QByteArray deepXml(int levels)
{
    return "<plist>" + QByteArray("<array>").repeated(levels) + QByteArray("</array>").repeated(levels)
           + "</plist>";
}

void addFormatRows(const char *name)
{
    QTest::addRow("%s, XML", name) << Format::XML;
    QTest::addRow("%s, binary", name) << Format::Binary;
}

} // namespace

class tst_QFPropertyList : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip_data();
    void roundTrip();
    void scalars_data();
    void scalars();
    void keysAreWrittenSorted();
    void handWrittenXml();
    void malformed_data();
    void malformed();
    void unwritable_data();
    void unwritable();
    void fileErrors();
    void failedWriteKeepsOldFile();
};

void tst_QFPropertyList::roundTrip_data()
{
    QTest::addColumn<Format>("format");
    addFormatRows("every type nested");
}

void tst_QFPropertyList::roundTrip()
{
    QFETCH(Format, format);
    QByteArray allBytes;
    for (int i = 0; i < 256; ++i)
        allBytes.append(char(i));

    QVariantMap inner{{QStringLiteral("flag"), false},
                      {QStringLiteral("names"), QStringList{QStringLiteral("a"), QString()}},
                      {QStringLiteral("emptyDict"), QVariantMap()},
                      {QStringLiteral("emptyList"), QVariantList()}};
    const QVariantMap value{
        {QStringLiteral("title"), QStringLiteral("Grüße aus Köln — 日本語 😀 <&>\"")},
        {QStringLiteral("empty"), QString()},
        {QStringLiteral("clé 🔑"), QStringLiteral("non-ASCII key")},
        {QStringLiteral("bytes"), allBytes},
        {QStringLiteral("when"), utc(2013, 5, 6, 7, 8, 9)},
        {QStringLiteral("count"), 42},
        {QStringLiteral("unsigned"), 3000000000u},
        {QStringLiteral("ratio"), 0.1},
        {QStringLiteral("yes"), true},
        {QStringLiteral("list"), QVariantList{1, QStringLiteral("two"), QVariantList{3.5}, inner}},
        {QStringLiteral("inner"), inner},
    };

    // Integers read as qint64, string lists as lists, dates in local time.
    QVariantMap expectedInner = inner;
    expectedInner[QStringLiteral("names")] = QVariantList{QStringLiteral("a"), QString()};
    QVariantMap expected = value;
    expected[QStringLiteral("when")] = utc(2013, 5, 6, 7, 8, 9).toLocalTime();
    expected[QStringLiteral("count")] = qint64(42);
    expected[QStringLiteral("unsigned")] = qint64(3000000000);
    expected[QStringLiteral("list")] = QVariantList{qint64(1), QStringLiteral("two"), QVariantList{3.5}, expectedInner};
    expected[QStringLiteral("inner")] = expectedInner;

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("round.plist"));
    QFPropertyList::toFile(value, path, format);

    QCOMPARE(dump(QFPropertyList::fromFile(path)), dump(expected));
    QCOMPARE(dump(QFPropertyList::fromData(QFPropertyList::toData(value, format))), dump(expected));
}

void tst_QFPropertyList::scalars_data()
{
    QTest::addColumn<Format>("format");
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QVariant>("read");

    const QDateTime withMsecs = utc(2020, 2, 29, 12, 0, 1, 345);
    const QDateTime beforeWithMsecs = utc(1990, 1, 1, 0, 0, 0, 250);
    const struct
    {
        const char *name;
        QVariant written;
        QVariant read;
    } both[] = {
        {"INT64_MIN", std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::min()},
        {"UINT64_MAX", std::numeric_limits<quint64>::max(), std::numeric_limits<quint64>::max()},
        {"small quint64", quint64(5), qint64(5)},
        {"date before 2001", utc(1999, 12, 31, 23, 59, 59), utc(1999, 12, 31, 23, 59, 59).toLocalTime()},
    };
    for (const auto &row : both) {
        QTest::addRow("%s, XML", row.name) << Format::XML << row.written << row.read;
        QTest::addRow("%s, binary", row.name) << Format::Binary << row.written << row.read;
    }
    QTest::newRow("milliseconds kept, binary") << Format::Binary << QVariant(withMsecs) << QVariant(withMsecs.toLocalTime());
    QTest::newRow("milliseconds dropped, XML")
        << Format::XML << QVariant(withMsecs) << QVariant(utc(2020, 2, 29, 12, 0, 1).toLocalTime());
    QTest::newRow("before 2001 with milliseconds, binary")
        << Format::Binary << QVariant(beforeWithMsecs) << QVariant(beforeWithMsecs.toLocalTime());
}

void tst_QFPropertyList::scalars()
{
    QFETCH(Format, format);
    QFETCH(QVariant, written);
    QFETCH(QVariant, read);
    QCOMPARE(dump(QFPropertyList::fromData(QFPropertyList::toData(QVariantList{written}, format))),
             dump(QVariantList{read}));
}

void tst_QFPropertyList::keysAreWrittenSorted()
{
    QVariantHash hash;
    for (const char *key : {"zeta", "alpha", "mu", "beta", "omega", "gamma"})
        hash.insert(QString::fromLatin1(key), QString::fromLatin1(key).toUpper());
    QVariantMap map;
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        map.insert(it.key(), it.value());

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
    <key>Enabled</key>
    <true/>
    <key>Hidden</key>
    <false/>
    <key>Count</key>
    <integer>-12</integer>
    <key>Scale</key>
    <real>2.5</real>
    <key>Created</key>
    <date>2006-03-04T05:06:07Z</date>
    <key>Icon</key>
    <data>
    SGVsbG8s
    IHdvcmxk
    </data>
    <key>Title</key>
    <string>Caf&#233; &amp; more</string>
    <key>Languages</key>
    <array>
        <string>English</string>
        <string>Français</string>
    </array>
</dict>
</plist>
)";
    const QVariantMap map = QFPropertyList::mapFromData(text);
    QCOMPARE(map.value(QStringLiteral("Enabled")), QVariant(true));
    QCOMPARE(map.value(QStringLiteral("Hidden")), QVariant(false));
    QCOMPARE(map.value(QStringLiteral("Count")), QVariant(qint64(-12)));
    QCOMPARE(map.value(QStringLiteral("Scale")), QVariant(2.5));
    QCOMPARE(map.value(QStringLiteral("Created")).toDateTime(), utc(2006, 3, 4, 5, 6, 7));
    QCOMPARE(map.value(QStringLiteral("Icon")).toByteArray(), QByteArray("Hello, world"));
    QCOMPARE(map.value(QStringLiteral("Title")).toString(), QStringLiteral("Café & more"));
    QCOMPARE(map.value(QStringLiteral("Languages")).toList(),
             (QVariantList{QStringLiteral("English"), QStringLiteral("Français")}));
    QCOMPARE(QFPropertyList::mapFromData("\xEF\xBB\xBF" + text), map);
}

void tst_QFPropertyList::malformed_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("reasonFragment");

    const QVariantMap sample{{QStringLiteral("a"), QVariantList{1, 2, QStringLiteral("three")}},
                             {QStringLiteral("b"), QStringLiteral("text")}};
    const QByteArray binary = QFPropertyList::toData(sample, Format::Binary);
    const QByteArray xml = QFPropertyList::toData(sample, Format::XML);
    QByteArray garbledTable = binary;
    garbledTable.replace(garbledTable.size() - 40, 6, QByteArray(6, '\xff'));

    QTest::newRow("empty") << QByteArray() << "empty";
    QTest::newRow("truncated binary") << binary.left(binary.size() / 2) << "truncated";
    QTest::newRow("garbled binary offsets") << garbledTable << "corrupt";
    QTest::newRow("dict with missing value")
        << QByteArray("<plist><dict><key>a</key><string>x</string><key>b</key></dict></plist>") << "\"b\"";
    QTest::newRow("date beyond 2069") << QByteArray("<plist><date>2100-01-01T00:00:00Z</date></plist>") << "years";
    QTest::newRow("data not base64") << QByteArray("<plist><data>!!!</data></plist>") << "base64";
    QTest::newRow("XML nested very deep") << deepXml(100000) << "deeper";
    QTest::newRow("binary nested very deep") << deepBinary(100000) << "deeper";
    QTest::newRow("binary refers to itself") << binaryList({arrayObject({0})}) << "itself";
    QTest::newRow("binary expands exponentially") << expandingBinary(40) << "more than";
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
    try {
        const QVariant v = QFPropertyList::fromData(data);
        QFAIL(qPrintable(QStringLiteral("read without error: ") + v.toString()));
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Malformed Property List"));
        QVERIFY2(e.reason().contains(reasonFragment), qPrintable(e.reason()));
    }
}

void tst_QFPropertyList::unwritable_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<Format>("format");
    QTest::addColumn<QString>("reasonFragment");

    const auto inCategories = [](const QVariant &leaf) {
        return QVariant(QVariantMap{
            {QStringLiteral("Categories"),
             QVariantList{QVariantMap(), QVariantMap{{QStringLiteral("name"), leaf}}}}});
    };
    QVariantList tooDeep;
    for (int i = 0; i < QFPropertyList::MaxNestingDepth; ++i)
        tooDeep = QVariantList{QVariant(tooDeep)};

    QTest::newRow("null at the top") << QVariant() << Format::XML << "null value at the top level";
    QTest::newRow("null inside") << inCategories(QVariant()) << Format::Binary << "\"Categories[1].name\"";
    QTest::newRow("date in 1900") << QVariant(utc(1900, 1, 1, 0, 0, 0)) << Format::Binary << "1900";
    QTest::newRow("control character in XML") << inCategories(QStringLiteral("bell\a")) << Format::XML
                                              << "control character";
    QTest::newRow("too deep") << QVariant(tooDeep) << Format::Binary << "deeper";
}

void tst_QFPropertyList::unwritable()
{
    QFETCH(QVariant, value);
    QFETCH(Format, format);
    QFETCH(QString, reasonFragment);
    try {
        QFPropertyList::toData(value, format);
        QFAIL("written without error");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Property List Error"));
        QVERIFY2(e.reason().contains(reasonFragment), qPrintable(e.reason()));
    }
}

void tst_QFPropertyList::fileErrors()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString garbage = dir.filePath(QStringLiteral("garbage.plist"));
    QFile file(garbage);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<plist><dict><key>a</key></dict></plist>");
    file.close();
    const QString array = dir.filePath(QStringLiteral("categories.plist"));
    QFPropertyList::toFile(QStringList{QStringLiteral("News")}, array);
    QCOMPARE(QFPropertyList::fromFile(array).toStringList(), QStringList{QStringLiteral("News")});

    enum Mode { Read, Write, ReadMap };
    const struct
    {
        QString path;
        Mode mode;
        QString name;
    } cases[] = {
        {dir.filePath(QStringLiteral("missing.plist")), Read, QStringLiteral("Property List Error")},
        {dir.path(), Read, QStringLiteral("Property List Error")},
        {garbage, Read, QStringLiteral("Malformed Property List")},
        {array, ReadMap, QStringLiteral("Malformed Property List")},
        {dir.filePath(QStringLiteral("no/such/folder/out.plist")), Write, QStringLiteral("Property List Error")},
    };
    for (const auto &c : cases) {
        try {
            if (c.mode == Write)
                QFPropertyList::toFile(QVariantMap(), c.path);
            else if (c.mode == ReadMap)
                QFPropertyList::mapFromFile(c.path);
            else
                QFPropertyList::fromFile(c.path);
            QFAIL(qPrintable(c.path + QStringLiteral(" did not raise")));
        } catch (const QFException &e) {
            QCOMPARE(e.name(), c.name);
            QVERIFY2(e.reason().contains(c.path), qPrintable(e.reason()));
        }
    }
}

void tst_QFPropertyList::failedWriteKeepsOldFile()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("settings.plist"));
    const QVariantMap good{{QStringLiteral("kept"), true}};
    QFPropertyList::toFile(good, path);

    const QVariantMap bad{{QStringLiteral("kept"), false}, {QStringLiteral("broken"), QVariant()}};
    QVERIFY_THROWS_EXCEPTION(QFException, QFPropertyList::toFile(bad, path, Format::Binary));
    QCOMPARE(QFPropertyList::mapFromFile(path), good);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("settings.plist")});
}

QTEST_GUILESS_MAIN(tst_QFPropertyList)
#include "tst_qfpropertylist.moc"

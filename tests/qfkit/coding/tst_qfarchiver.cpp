#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qftestsupport.h"

#include <QDateTime>
#include <QPoint>
#include <QTest>
#include <QTimeZone>

#include <limits>

// Both archive forms, sequential and keyed: they share the value reader and
// writer, so most value checks run through both.
namespace {

// Named values in either form. Its sequential factory passes over the values,
// reads the names stored after them, then goes back to the values (the
// reading a record does when a value refers to one stored after it), and
// reads one value more, which must be nil. Its keyed factory also reads the
// key "value" every way there is.
class Bag final : public QFCoding
{
public:
    QVariantMap values;
    QVariant pastOwnValues;
    bool asBool = true;
    qint64 asInt = -1;
    double asDouble = -1.0;
    bool contains = false;

    QString codingClassName() const override { return QStringLiteral("TestBag"); }
    void encodeWithCoder(QFArchiver &coder) const override
    {
        coder.encodeObject(values.values());
        coder.encodeObject(values.keys());
    }
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override
    {
        coder.encodeObject(values.keys(), QStringLiteral("keys"));
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            coder.encodeObject(it.value(), it.key());
    }
    static QFCodingPtr decode(QFUnarchiver &coder)
    {
        auto bag = std::make_shared<Bag>();
        const QFUnarchiver::SkippedValue skipped = coder.skipObject();
        const QStringList keys = coder.decodeObject().toStringList();
        coder.decodeArrayElements(skipped, [&](QVariant &&value) { bag->values.insert(keys.value(bag->values.size()), value); });
        bag->pastOwnValues = coder.decodeObject();
        return bag;
    }
    static QFCodingPtr decodeKeyed(QFKeyedUnarchiver &coder)
    {
        auto bag = std::make_shared<Bag>();
        for (const QString &key : coder.decodeObject(QStringLiteral("keys")).toStringList())
            bag->values.insert(key, coder.decodeObject(key));
        const QString key = QStringLiteral("value");
        bag->asBool = coder.decodeBool(key);
        bag->asInt = coder.decodeInt(key);
        bag->asDouble = coder.decodeDouble(key);
        bag->contains = coder.containsValue(key);
        return bag;
    }
};

QVariant object(const QVariantMap &values)
{
    auto bag = std::make_shared<Bag>();
    bag->values = values;
    return QVariant::fromValue(QFCodingPtr(bag));
}

// As QFTest::dump, into objects too, so that an object that read a value not
// its own shows.
QString dump(const QVariant &v)
{
    return QFTest::dump(v, [](const QVariant &value) {
        const auto bag = QFCodingSupport::objectOfClass<Bag>(value);
        return !bag ? QString() : "Bag" + dump(bag->values) + (bag->pastOwnValues.isNull() ? "" : "+" + dump(bag->pastOwnValues));
    });
}

using QFTest::raised;

QByteArray header(const char *magic = "QFAR")
{
    return QByteArray(magic) + '\x01';
}

QByteArray archiveOf(const QVariantList &values)
{
    QFArchiver archiver;
    for (const QVariant &value : values)
        archiver.encodeObject(value);
    return archiver.data();
}

QVariant keyedRoundTrip(const QVariant &value)
{
    return QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(value));
}

void decodeAll(const QByteArray &data)
{
    QFUnarchiver unarchiver(data);
    for (int i = 0; i < 1000 && !unarchiver.atEnd(); ++i)
        unarchiver.decodeObject();
}

// Passed over first, read later.
void decodeDeferred(const QByteArray &data)
{
    QFUnarchiver unarchiver(data);
    unarchiver.decodeArrayElements(unarchiver.skipObject(), [](QVariant &&) {});
}

QDateTime berlin(int y, int mo, int d, int h, int mi, int s, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), QTimeZone("Europe/Berlin"));
}

// A shelf of posts: objects in a list in an object, every kind of value, in
// the types they read back as.
QVariant sampleShelf()
{
    const QVariant snow = object({{"title", "Snow"}, {"ID", qint64(12)}, {"tags", QVariantList{"cold", "white"}},
                                  {"posted", berlin(2011, 5, 4, 10, 0, 0).toLocalTime()}});
    const QVariant wine = object({{"title", "Glühwein ☕"}, {"draft", true}, {"ratio", 0.25}, {"none", QVariant()}});
    return object({{"name", "Winter posts"}, {"items", QVariantList{snow, wine}}});
}

const QString kMalformed = QStringLiteral("Malformed Archive");

} // namespace

class tst_QFArchiver : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void roundTripsValue_data();
    void roundTripsValue();
    void readsKeyDefensively_data();
    void readsKeyDefensively();
    void refusesUnwritableValue_data();
    void refusesUnwritableValue();
    void rejectsMalformedData_data();
    void rejectsMalformedData();
    void rejectsEveryCut();
    void skipPassesOverEveryKindOfItem_data();
    void skipPassesOverEveryKindOfItem();
};

void tst_QFArchiver::initTestCase()
{
    QFClassRegistry::instance().registerSequential(QStringLiteral("TestBag"), &Bag::decode);
    QFClassRegistry::instance().registerKeyed(QStringLiteral("TestBag"), &Bag::decodeKeyed);
}

void tst_QFArchiver::roundTripsValue_data()
{
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QVariant>("expected");

    constexpr qint64 min = std::numeric_limits<qint64>::min();
    constexpr quint64 max = std::numeric_limits<quint64>::max();
    const QString nonAscii = QString::fromUtf8("caf\xc3\xa9 \xf0\x9f\x8d\xb0");
    const QByteArray bytes("\x00\x01\xff", 3);
    const QDateTime beforeEpoch(QDate(1969, 12, 31), QTime(23, 59, 59, 500), QTimeZone::utc());

    QTest::newRow("nil") << QVariant() << QVariant();
    QTest::newRow("numbers: integers read as qint64, a whole double stays double")
        << QVariant(QVariantList{true, 42, min, max, 2.0}) << QVariant(QVariantList{true, qint64(42), min, max, 2.0});
    QTest::newRow("texts: a null one is nil") << QVariant(QVariantList{QStringLiteral(""), QString(), nonAscii, bytes})
                                              << QVariant(QVariantList{QStringLiteral(""), QVariant(), nonAscii, bytes});
    // Not a byte order mark inside a text: the character stays, at the start too.
    const QString zeroWidth = QString(QChar(0xFEFF)) + QStringLiteral("<p>\n\uFEFF");
    QTest::newRow("texts: U+FEFF kept wherever it stands") << QVariant(QVariantList{zeroWidth, QString(QChar(0xFEFF))})
                                                          << QVariant(QVariantList{zeroWidth, QString(QChar(0xFEFF))});
    QTest::newRow("dates: local time, whole seconds rounded down, invalid is nil")
        << QVariant(QVariantList{berlin(2008, 3, 30, 14, 5, 59), berlin(2010, 7, 1, 9, 0, 1, 999), beforeEpoch, QDateTime()})
        << QVariant(QVariantList{berlin(2008, 3, 30, 14, 5, 59).toLocalTime(), berlin(2010, 7, 1, 9, 0, 1).toLocalTime(),
                                 beforeEpoch.addMSecs(-500).toLocalTime(), QVariant()});
    const QVariantMap map{{"categoryName", "None"}, {"isNone", true}, {"nothing", QVariant()},
                          {"nested", QVariantList{QVariantList{"a", QVariant()}, QVariantMap(), QVariantList()}}};
    QTest::newRow("containers, empty and nested") << QVariant(map) << QVariant(map);
    // A plain map whose key looks like the object marker stays a map.
    const QVariantMap marker{{"$class", "TestBag"}};
    QTest::newRow("map with the object marker as a key") << QVariant(marker) << QVariant(marker);
    QTest::newRow("empty list") << QVariant(QVariantList()) << QVariant(QVariantList());
    // A blog of 100,000 posts is one list of dictionaries.
    QVariantList posts;
    const QDateTime date = berlin(2011, 5, 4, 10, 0, 0).toLocalTime();
    for (int i = 0; i < 100000; ++i)
        posts.append(QVariantMap{{"title", QStringLiteral("Post %1").arg(i)}, {"date", date.addSecs(i)}});
    QTest::newRow("100,000 posts") << QVariant(posts) << QVariant(posts);
    QTest::newRow("objects in a list in an object") << sampleShelf() << sampleShelf();
    QTest::newRow("object in a list") << QVariant(QVariantList{sampleShelf(), "tail"}) << QVariant(QVariantList{sampleShelf(), "tail"});
}

void tst_QFArchiver::roundTripsValue()
{
    QFETCH(QVariant, written);
    QFETCH(QVariant, expected);

    const QVariantList values{QStringLiteral("before"), written, QStringLiteral("after")};
    const QString want = dump(QVariantList{values.first(), expected, values.last()});
    const QByteArray data = archiveOf(values);
    QFUnarchiver unarchiver(data);
    QVariantList read;
    for (int i = 0; i < 3; ++i)
        read << unarchiver.decodeObject();
    QCOMPARE(dump(read), want);
    // Past the end: nil, as often as asked.
    QVERIFY(unarchiver.atEnd());
    QVERIFY(unarchiver.decodeObject().isNull() && unarchiver.decodeObject().isNull());
    QCOMPARE(dump(keyedRoundTrip(values)), want);

    // Passed over and read after the value behind it: a list element by
    // element, anything else in full but handed to nobody.
    QFUnarchiver later(data);
    later.decodeObject();
    const QFUnarchiver::SkippedValue skipped = later.skipObject();
    QCOMPARE(later.decodeObject(), values.last());
    const bool isList = expected.typeId() == QMetaType::QVariantList;
    QVariantList elements;
    QCOMPARE(later.decodeArrayElements(skipped, [&elements](QVariant &&element) { elements.append(element); }), isList);
    QCOMPARE(dump(elements), dump(isList ? expected : QVariantList()));
    // Past the end there is nothing to skip, and nothing to read from it.
    QVERIFY(!later.decodeArrayElements(later.skipObject(), [](QVariant &&) { QFAIL("nil has no elements"); }));

    // A list made element by element as it is written is the list written whole.
    if (written.typeId() == QMetaType::QVariantList) {
        const QVariantList list = written.toList();
        QFArchiver archiver;
        archiver.encodeList(list.size(), [&list](qsizetype i) { return list.at(i); });
        QCOMPARE(archiver.data(), archiveOf({written}));
    }

    // An object written as itself is the object written as a value.
    if (const auto bag = QFCodingSupport::objectOfClass<Bag>(written)) {
        QFArchiver archiver;
        archiver.encodeObject(*bag);
        QCOMPARE(archiver.data(), archiveOf({written}));
        QCOMPARE(QFKeyedArchiver::archivedDataWithRootObject(*bag), QFKeyedArchiver::archivedDataWithRootObject(written));
    }
}

void tst_QFArchiver::readsKeyDefensively_data()
{
    QTest::addColumn<QVariantMap>("written");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<qint64>("asInt");
    QTest::addColumn<double>("asDouble");
    QTest::addColumn<bool>("contains");

    const QString key = QStringLiteral("value");
    QTest::newRow("missing key") << QVariantMap{{"other", 5}} << false << qint64(0) << 0.0 << false;
    QTest::newRow("stored nil") << QVariantMap{{key, QVariant()}} << false << qint64(0) << 0.0 << true;
    QTest::newRow("true") << QVariantMap{{key, true}} << true << qint64(1) << 1.0 << true;
    QTest::newRow("integer") << QVariantMap{{key, 7}} << true << qint64(7) << 7.0 << true;
    QTest::newRow("double truncates") << QVariantMap{{key, -2.75}} << true << qint64(-2) << -2.75 << true;
    QTest::newRow("list") << QVariantMap{{key, QVariantList{1}}} << false << qint64(0) << 0.0 << true;
}

void tst_QFArchiver::readsKeyDefensively()
{
    QFETCH(QVariantMap, written);
    QFETCH(bool, asBool);
    QFETCH(qint64, asInt);
    QFETCH(double, asDouble);
    QFETCH(bool, contains);

    const auto read = QFCodingSupport::objectOfClass<Bag>(keyedRoundTrip(object(written)));
    QVERIFY(read);
    QCOMPARE(read->asBool, asBool);
    QCOMPARE(read->asInt, asInt);
    QCOMPARE(read->asDouble, asDouble);
    QCOMPARE(read->contains, contains);
}

void tst_QFArchiver::refusesUnwritableValue_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("sequentialToo");
    QTest::addColumn<QString>("keyedReason");

    const QVariant self = object({});
    QFCodingSupport::objectOfClass<Bag>(self)->values.insert(QStringLiteral("self"), self);
    QTest::newRow("unsupported type") << QVariant(QPoint(1, 2)) << true << "type";
    QTest::newRow("unsupported type deep in a map")
        << QVariant(QVariantMap{{QStringLiteral("a"), QVariantList{1, QPoint(1, 2)}}}) << true << "type";
    QTest::newRow("object that contains itself") << self << true << "512";
    QTest::newRow("reserved key") << object({{QStringLiteral("$class"), QStringLiteral("Forged")}}) << false << "$class";
}

void tst_QFArchiver::refusesUnwritableValue()
{
    QFETCH(QVariant, value);
    QFETCH(bool, sequentialToo);
    QFETCH(QString, keyedReason);

    const QFException keyed = raised([&] { QFKeyedArchiver::archivedDataWithRootObject(value); });
    QCOMPARE(keyed.name(), QStringLiteral("Archive Error"));
    QVERIFY2(keyed.reason().contains(keyedReason), qPrintable(keyed.reason()));

    // The sequential archiver refuses the value and stays as it was before.
    QFArchiver archiver;
    archiver.encodeObject(QStringLiteral("kept"));
    const QByteArray before = archiver.data();
    if (sequentialToo) {
        const QFException sequential = raised([&] { archiver.encodeObject(value); });
        QCOMPARE(sequential.name(), QStringLiteral("Archive Error"));
        QVERIFY(!sequential.reason().isEmpty());
        QCOMPARE(archiver.data(), before);
        // So does a list made as it is written, its first element already out.
        const QFException listed = raised([&] {
            archiver.encodeList(2, [&value](qsizetype i) { return i == 0 ? QVariant(QStringLiteral("first")) : value; });
        });
        QCOMPARE(listed.name(), QStringLiteral("Archive Error"));
        QCOMPARE(archiver.data(), before);
    }
    archiver.encodeObject(QStringLiteral("still writable"));
    QCOMPARE(archiver.data(), archiveOf({QStringLiteral("kept"), QStringLiteral("still writable")}));
    if (const auto bag = QFCodingSupport::objectOfClass<Bag>(value))
        bag->values.clear(); // ends the cycle
}

void tst_QFArchiver::rejectsMalformedData_data()
{
    QTest::addColumn<bool>("keyed");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reasonContains");

    const QByteArray mystery("\xd9\x51\x46\xa2\x66$class\x67Mystery\x67$values\x80", 28);
    const QByteArray keyed = QFKeyedArchiver::archivedDataWithRootObject(sampleShelf());
    const QByteArray tooDeep = QByteArray(600, '\x81') + '\xf6';
    QTest::newRow("empty") << false << QByteArray() << kMalformed << "byte 0";
    QTest::newRow("keyed archive read as sequential") << false << header("QFKA") + '\xf6' << kMalformed << "keyed";
    QTest::newRow("sequential archive read as keyed") << true << header() + '\xf6' << kMalformed << "sequential";
    QTest::newRow("newer format version") << false << QByteArray("QFAR\x02\xf6") << kMalformed << "byte 4";
    QTest::newRow("date holding a string") << false << header() + QByteArray("\x81\xc1\x61x") << kMalformed << "date";
    QTest::newRow("absurd text length") << false << header() + QByteArray("\x7a\xff\xff\xff\xf0" "abc") << kMalformed
                                        << "longer than the data";
    QTest::newRow("absurd length of a chunk of a text")
        << false << header() + QByteArray("\x7f\x61" "a" "\x7a\x7f\xff\xff\xf0" "abc\xff") << kMalformed
        << "longer than the data";
    QTest::newRow("list longer than the data") << false << header() + QByteArray("\x9a\xff\xff\xff\xf0\xf6") << kMalformed
                                               << "byte";
    QTest::newRow("map key that is not a text") << false << header() + QByteArray("\xa1\x01\x02") << kMalformed << "key";
    QTest::newRow("nesting too deep") << false << header() + '\x81' + tooDeep << kMalformed << "nested";
    QTest::newRow("nesting too deep, keyed") << true << header("QFKA") + tooDeep << kMalformed << "byte";
    QTest::newRow("unknown class") << false << header() + QByteArray("\x82\xf6") + mystery << "Unknown Class" << "\"Mystery\"";
    QTest::newRow("unknown class, keyed") << true
                                          << header("QFKA") + QByteArray("\xd9\x51\x46\xa2\x66$class\x66Gadget\x64size\x02", 24)
                                          << "Unknown Class" << "\"Gadget\"";
    QTest::newRow("trailing bytes, keyed") << true << keyed + '\0' << kMalformed << QStringLiteral("byte %1").arg(keyed.size());
}

void tst_QFArchiver::rejectsMalformedData()
{
    QFETCH(bool, keyed);
    QFETCH(QByteArray, data);
    QFETCH(QString, name);
    QFETCH(QString, reasonContains);

    const QFException eager = raised([&] { keyed ? void(QFKeyedUnarchiver::unarchiveObjectWithData(data)) : decodeAll(data); });
    QCOMPARE(eager.name(), name);
    QVERIFY2(eager.reason().contains(reasonContains), qPrintable(eager.reason()));
    if (keyed)
        return;
    // Passed over and read later it is refused too; when passing over does
    // not find the fault, reading later gives the same reason, offset included.
    bool skipped = false;
    const QFException deferred = raised([&] {
        QFUnarchiver unarchiver(data);
        const QFUnarchiver::SkippedValue value = unarchiver.skipObject();
        skipped = true;
        unarchiver.decodeArrayElements(value, [](QVariant &&) {});
    });
    QCOMPARE(deferred.name(), name);
    if (skipped)
        QCOMPARE(deferred.reason(), eager.reason());
}

void tst_QFArchiver::rejectsEveryCut()
{
    const QVariant shelf = sampleShelf();
    const QByteArray sequential = archiveOf({QVariant(QVariantList{shelf, QStringLiteral("tail")})});
    const QByteArray keyed = QFKeyedArchiver::archivedDataWithRootObject(shelf);
    const auto check = [](const QByteArray &data, qsizetype size, const QFException &e) {
        QVERIFY2(e.name() == kMalformed, qPrintable(QStringLiteral("cut at %1 of %2 bytes: %3").arg(size).arg(data.size()).arg(e.name())));
    };
    for (qsizetype size = 0; size < sequential.size(); ++size) {
        const QByteArray cut = sequential.left(size);
        if (size == 5) { // a whole header and no value: an empty archive
            QVERIFY(QFUnarchiver(cut).atEnd());
            QVERIFY(QFUnarchiver(cut).decodeObject().isNull());
            continue;
        }
        check(sequential, size, raised([&] { decodeAll(cut); }));
        check(sequential, size, raised([&] { decodeDeferred(cut); }));
    }
    for (qsizetype size = 0; size < keyed.size(); ++size)
        check(keyed, size, raised([&] { QFKeyedUnarchiver::unarchiveObjectWithData(keyed.left(size)); }));
}

// Skipping must land exactly after the item, whatever encoding another
// writer chose for it: the value behind it is read next.
void tst_QFArchiver::skipPassesOverEveryKindOfItem_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::newRow("indefinite text in chunks") << QByteArray("\x7f\x62" "ab\x61" "c\xff", 7);
    QTest::newRow("indefinite array of arrays") << QByteArray("\x9f\x82\x01\x02\x9f\xff\x80\xff", 8);
    QTest::newRow("indefinite map") << QByteArray("\xbf\x61k\x9f\x01\xff\x61v\xf6\xff", 10);
    QTest::newRow("tag on a tag on a date") << QByteArray("\xd9\x51\x46\xc1\x1a\x00\x01\x00\x00", 9);
    QTest::newRow("floats of every width")
        << QByteArray("\x83\xf9\x3c\x00\xfa\x3f\x80\x00\x00\xfb\x3f\xf0\x00\x00\x00\x00\x00\x00", 18);
    QTest::newRow("eight-byte integers and a simple value")
        << QByteArray("\x83\x1b\xff\xff\xff\xff\xff\xff\xff\xff\x3b\x00\x00\x00\x00\x00\x00\x00\x01\xf8\x20", 21);
    QTest::newRow("text with a four-byte length") << QByteArray("\x7a\x00\x00\x00\x03xyz", 8);
}

void tst_QFArchiver::skipPassesOverEveryKindOfItem()
{
    QFETCH(QByteArray, item);
    QFUnarchiver unarchiver(header() + item + '\x07');
    QCOMPARE(unarchiver.skipObject().size, item.size());
    QCOMPARE(unarchiver.decodeObject(), QVariant(qint64(7)));
}

QTEST_GUILESS_MAIN(tst_QFArchiver)
#include "tst_qfarchiver.moc"

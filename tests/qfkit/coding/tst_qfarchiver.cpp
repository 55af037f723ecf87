#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/support/qfexception.h"

#include <QDateTime>
#include <QPoint>
#include <QTest>
#include <QTimeZone>

namespace {

// Its factory reads one value more than it wrote, which must be nil.
class TestItem final : public QFCoding
{
public:
    QString title;
    QVariantMap attributes;
    QVariant readPastOwnValues;

    QString codingClassName() const override { return QStringLiteral("TestSeqItem"); }
    void encodeWithCoder(QFArchiver &coder) const override
    {
        coder.encodeObject(title);
        coder.encodeObject(attributes);
    }
    static QFCodingPtr decode(QFUnarchiver &coder)
    {
        auto item = std::make_shared<TestItem>();
        item->title = coder.decodeObject().toString();
        item->attributes = coder.decodeObject().toMap();
        item->readPastOwnValues = coder.decodeObject();
        return item;
    }
};

class TestShelf final : public QFCoding
{
public:
    QString name;
    QList<std::shared_ptr<TestItem>> items;

    QString codingClassName() const override { return QStringLiteral("TestSeqShelf"); }
    void encodeWithCoder(QFArchiver &coder) const override
    {
        coder.encodeObject(name);
        QVariantList list;
        for (const auto &item : items)
            list.append(QFCodingSupport::variantFromObject(item));
        coder.encodeObject(list);
    }
    static QFCodingPtr decode(QFUnarchiver &coder)
    {
        auto shelf = std::make_shared<TestShelf>();
        shelf->name = coder.decodeObject().toString();
        const QVariantList list = coder.decodeObject().toList();
        for (const QVariant &value : list)
            shelf->items.append(QFCodingSupport::objectOfClass<TestItem>(value));
        return shelf;
    }
};

class TestSelfContaining final : public QFCoding, public std::enable_shared_from_this<TestSelfContaining>
{
public:
    QString codingClassName() const override { return QStringLiteral("TestSeqSelf"); }
    void encodeWithCoder(QFArchiver &coder) const override
    {
        coder.encodeObject(QStringLiteral("before the cycle"));
        coder.encodeObject(QVariant::fromValue(QFCodingPtr(std::const_pointer_cast<TestSelfContaining>(shared_from_this()))));
    }
};

// Passes over its first value (a list), reads the second, then the list's
// elements one by one: the reading a record does when a value refers to one
// stored after it.
class TestDeferring final : public QFCoding
{
public:
    QVariantList list;
    QString after;
    QVariant readPastOwnValues;

    QString codingClassName() const override { return QStringLiteral("TestSeqDeferring"); }
    void encodeWithCoder(QFArchiver &coder) const override
    {
        coder.encodeObject(list);
        coder.encodeObject(after);
    }
    static QFCodingPtr decode(QFUnarchiver &coder)
    {
        auto item = std::make_shared<TestDeferring>();
        const QFUnarchiver::SkippedValue skipped = coder.skipObject();
        item->after = coder.decodeObject().toString();
        coder.decodeArrayElements(skipped, [&item](QVariant &&element) { item->list.append(element); });
        item->readPastOwnValues = coder.decodeObject();
        return item;
    }
};

QByteArray header()
{
    return QByteArray("QFAR\x01", 5);
}

QByteArray archiveOf(const QVariantList &values)
{
    QFArchiver archiver;
    for (const QVariant &value : values)
        archiver.encodeObject(value);
    return archiver.data();
}

std::shared_ptr<TestShelf> sampleShelf()
{
    auto shelf = std::make_shared<TestShelf>();
    shelf->name = QStringLiteral("Winter posts");
    auto first = std::make_shared<TestItem>();
    first->title = QStringLiteral("Snow");
    first->attributes = {{QStringLiteral("categoryName"), QStringLiteral("Weather")},
                         {QStringLiteral("ID"), 12},
                         {QStringLiteral("tags"), QStringList {QStringLiteral("cold"), QStringLiteral("white")}}};
    auto second = std::make_shared<TestItem>();
    second->title = QString::fromUtf8("Gl\xc3\xbchwein \xe2\x98\x95");
    second->attributes = {{QStringLiteral("status"), 0}, {QStringLiteral("draft"), true}};
    shelf->items = {first, second};
    return shelf;
}

void decodeAll(const QByteArray &data)
{
    QFUnarchiver unarchiver(data);
    for (int i = 0; i < 1000 && !unarchiver.atEnd(); ++i)
        unarchiver.decodeObject();
}

QDateTime berlin(int y, int mo, int d, int h, int mi, int s, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), QTimeZone("Europe/Berlin"));
}

} // namespace

class tst_QFArchiver : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void roundTripsValue_data();
    void roundTripsValue();
    void nilPastTheEnd();
    void nestedObjectsRoundTrip();
    void unwritableValueLeavesArchiveUntouched_data();
    void unwritableValueLeavesArchiveUntouched();
    void rejectsMalformedData_data();
    void rejectsMalformedData();
    void rejectsEveryCutInsideAValue();
    void largeArchiveRoundTrips();
    void skippedValueReadsLater_data();
    void skippedValueReadsLater();
    void skipPassesOverEveryKindOfItem_data();
    void skipPassesOverEveryKindOfItem();
    void deferredReadingRejectsMalformedData_data();
    void deferredReadingRejectsMalformedData();
};

void tst_QFArchiver::initTestCase()
{
    auto &registry = QFClassRegistry::instance();
    registry.registerSequential(QStringLiteral("TestSeqItem"), &TestItem::decode);
    registry.registerSequential(QStringLiteral("TestSeqShelf"), &TestShelf::decode);
    registry.registerSequential(QStringLiteral("TestSeqDeferring"), &TestDeferring::decode);
}

void tst_QFArchiver::roundTripsValue_data()
{
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("nil") << QVariant() << QVariant();
    QTest::newRow("true stays bool") << QVariant(true) << QVariant(true);
    QTest::newRow("int reads as qint64") << QVariant(42) << QVariant(qint64(42));
    QTest::newRow("qint64 minimum") << QVariant(std::numeric_limits<qint64>::min())
                                    << QVariant(std::numeric_limits<qint64>::min());
    QTest::newRow("quint64 above qint64") << QVariant(std::numeric_limits<quint64>::max())
                                          << QVariant(std::numeric_limits<quint64>::max());
    QTest::newRow("whole double stays double") << QVariant(2.0) << QVariant(2.0);
    QTest::newRow("empty string") << QVariant(QStringLiteral("")) << QVariant(QStringLiteral(""));
    QTest::newRow("null string is nil") << QVariant(QString()) << QVariant();
    QTest::newRow("non-ASCII string") << QVariant(QString::fromUtf8("caf\xc3\xa9 \xf0\x9f\x8d\xb0"))
                                      << QVariant(QString::fromUtf8("caf\xc3\xa9 \xf0\x9f\x8d\xb0"));
    QTest::newRow("bytes with zeros") << QVariant(QByteArray("\x00\x01\xff", 3))
                                      << QVariant(QByteArray("\x00\x01\xff", 3));
    QTest::newRow("date") << QVariant(berlin(2008, 3, 30, 14, 5, 59)) << QVariant(berlin(2008, 3, 30, 14, 5, 59));
    QTest::newRow("date drops milliseconds") << QVariant(berlin(2010, 7, 1, 9, 0, 1, 999))
                                             << QVariant(berlin(2010, 7, 1, 9, 0, 1));
    QTest::newRow("date before 1970 rounds down")
        << QVariant(QDateTime(QDate(1969, 12, 31), QTime(23, 59, 59, 500), Qt::UTC))
        << QVariant(QDateTime(QDate(1969, 12, 31), QTime(23, 59, 59), Qt::UTC));
    QTest::newRow("invalid date is nil") << QVariant(QDateTime()) << QVariant();
    QTest::newRow("empty list") << QVariant(QVariantList()) << QVariant(QVariantList());
    QTest::newRow("empty map") << QVariant(QVariantMap()) << QVariant(QVariantMap());
    QTest::newRow("nested list") << QVariant(QVariantList {1, QVariantList {QStringLiteral("a"), QVariant()}, true})
                                 << QVariant(QVariantList {qint64(1), QVariantList {QStringLiteral("a"), QVariant()}, true});
    QTest::newRow("map of mixed values")
        << QVariant(QVariantMap {{QStringLiteral("categoryName"), QStringLiteral("None")},
                                 {QStringLiteral("categoryID"), 0},
                                 {QStringLiteral("isNone"), true},
                                 {QStringLiteral("nothing"), QVariant()}})
        << QVariant(QVariantMap {{QStringLiteral("categoryName"), QStringLiteral("None")},
                                 {QStringLiteral("categoryID"), qint64(0)},
                                 {QStringLiteral("isNone"), true},
                                 {QStringLiteral("nothing"), QVariant()}});
}

void tst_QFArchiver::roundTripsValue()
{
    QFETCH(QVariant, written);
    QFETCH(QVariant, expected);

    QFUnarchiver unarchiver(archiveOf({QStringLiteral("before"), written, QStringLiteral("after")}));
    QCOMPARE(unarchiver.decodeObject(), QVariant(QStringLiteral("before")));
    const QVariant read = unarchiver.decodeObject();
    QCOMPARE(read.metaType(), expected.metaType());
    QCOMPARE(read, expected);
    if (expected.metaType().id() == QMetaType::QDateTime)
        QCOMPARE(read.toDateTime().timeSpec(), Qt::LocalTime);
    QCOMPARE(unarchiver.decodeObject(), QVariant(QStringLiteral("after")));
    QVERIFY(unarchiver.atEnd());
}

void tst_QFArchiver::nilPastTheEnd()
{
    QFUnarchiver unarchiver(archiveOf({1, 2}));
    QCOMPARE(unarchiver.decodeObject(), QVariant(qint64(1)));
    QVERIFY(!unarchiver.atEnd());
    QCOMPARE(unarchiver.decodeObject(), QVariant(qint64(2)));
    for (int i = 0; i < 3; ++i) {
        QVERIFY(unarchiver.atEnd());
        QVERIFY(unarchiver.decodeObject().isNull());
    }

    QFUnarchiver empty(QFArchiver().data());
    QVERIFY(empty.atEnd());
    QVERIFY(empty.decodeObject().isNull());
}

void tst_QFArchiver::nestedObjectsRoundTrip()
{
    const auto shelf = sampleShelf();
    QFArchiver archiver;
    archiver.encodeObject(*shelf);
    archiver.encodeObject(QVariantList {QFCodingSupport::variantFromObject(shelf), QStringLiteral("tail")});
    // An object whose factory skips its first value and reads it after the second.
    TestDeferring deferring;
    deferring.list = {QStringLiteral("one"), 2, QVariantMap {{QStringLiteral("three"), 3}}};
    deferring.after = QStringLiteral("after the list");
    archiver.encodeObject(deferring);
    archiver.encodeObject(QStringLiteral("next value"));

    QFUnarchiver unarchiver(archiver.data());
    const QVariant direct = unarchiver.decodeObject();
    const QVariantList inList = unarchiver.decodeObject().toList();
    const auto deferred = QFCodingSupport::objectOfClass<TestDeferring>(unarchiver.decodeObject());
    QCOMPARE(unarchiver.decodeObject(), QVariant(QStringLiteral("next value")));
    QVERIFY(unarchiver.atEnd());

    QVERIFY(deferred);
    QCOMPARE(deferred->after, deferring.after);
    QCOMPARE(deferred->list, deferring.list);
    QVERIFY(deferred->readPastOwnValues.isNull());

    QCOMPARE(inList.value(1), QVariant(QStringLiteral("tail")));
    for (const QVariant &value : {direct, inList.value(0)}) {
        const auto read = QFCodingSupport::objectOfClass<TestShelf>(value);
        QVERIFY(read);
        QCOMPARE(read->name, shelf->name);
        QCOMPARE(read->items.size(), 2);
        for (int i = 0; i < 2; ++i) {
            QVERIFY(read->items.at(i));
            QCOMPARE(read->items.at(i)->title, shelf->items.at(i)->title);
            QCOMPARE(read->items.at(i)->attributes.keys(), shelf->items.at(i)->attributes.keys());
            QVERIFY2(read->items.at(i)->readPastOwnValues.isNull(), "an object read a value that was not its own");
        }
        QCOMPARE(read->items.at(0)->attributes.value(QStringLiteral("tags")).toStringList(),
                 QStringList({QStringLiteral("cold"), QStringLiteral("white")}));
    }
}

void tst_QFArchiver::unwritableValueLeavesArchiveUntouched_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("unsupported type") << QVariant(QPoint(1, 2));
    QTest::newRow("unsupported type deep in a map")
        << QVariant(QVariantMap {{QStringLiteral("a"), QVariantList {1, QPoint(1, 2)}}});
    QTest::newRow("object that contains itself")
        << QVariant::fromValue(QFCodingPtr(std::make_shared<TestSelfContaining>()));
}

void tst_QFArchiver::unwritableValueLeavesArchiveUntouched()
{
    QFETCH(QVariant, value);

    QFArchiver archiver;
    archiver.encodeObject(QStringLiteral("kept"));
    const QByteArray before = archiver.data();
    try {
        archiver.encodeObject(value);
        QFAIL("the value was written");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Archive Error"));
        QVERIFY(!e.reason().isEmpty());
    }
    QCOMPARE(archiver.data(), before);

    archiver.encodeObject(QStringLiteral("still writable"));
    QFUnarchiver unarchiver(archiver.data());
    QCOMPARE(unarchiver.decodeObject(), QVariant(QStringLiteral("kept")));
    QCOMPARE(unarchiver.decodeObject(), QVariant(QStringLiteral("still writable")));
    QVERIFY(unarchiver.atEnd());
}

void tst_QFArchiver::rejectsMalformedData_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reasonContains");

    const QString malformed = QStringLiteral("Malformed Archive");

    QTest::newRow("empty") << QByteArray() << malformed << QStringLiteral("byte 0");
    QTest::newRow("keyed archive") << QByteArray("QFKA\x01\xf6", 6) << malformed << QStringLiteral("keyed");
    QTest::newRow("newer format version") << QByteArray("QFAR\x02\xf6", 6) << malformed << QStringLiteral("byte 4");
    QTest::newRow("date holding a string") << header() + QByteArray("\xc1\x61" "x", 3) << malformed
                                           << QStringLiteral("date");
    QTest::newRow("absurd text length") << header() + QByteArray("\x7a\xff\xff\xff\xf0" "abc", 8) << malformed
                                        << QStringLiteral("longer than the data");
    QTest::newRow("map key that is not a text") << header() + QByteArray("\xa1\x01\x02", 3) << malformed
                                                << QStringLiteral("key");
    QTest::newRow("nesting too deep") << header() + QByteArray(600, '\x81') + QByteArray("\xf6", 1) << malformed
                                      << QStringLiteral("nested");
    QTest::newRow("unknown class")
        << header() + QByteArray("\xd9\x51\x46\xa2\x66$class\x67Mystery\x67$values\x80", 28)
        << QStringLiteral("Unknown Class") << QStringLiteral("\"Mystery\"");
}

void tst_QFArchiver::rejectsMalformedData()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, name);
    QFETCH(QString, reasonContains);

    try {
        decodeAll(data);
        QFAIL("malformed data was accepted");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), name);
        QVERIFY2(e.reason().contains(reasonContains), qPrintable(e.reason()));
    }
}

void tst_QFArchiver::rejectsEveryCutInsideAValue()
{
    QFArchiver archiver;
    archiver.encodeObject(*sampleShelf());
    const QByteArray data = archiver.data();

    for (qsizetype size = 0; size < data.size(); ++size) {
        if (size == 5)
            continue; // a complete header with no values is an empty archive
        bool rejected = false;
        try {
            decodeAll(data.left(size));
        } catch (const QFException &e) {
            rejected = e.name() == QStringLiteral("Malformed Archive");
        }
        QVERIFY2(rejected, qPrintable(QStringLiteral("cut at %1 of %2 bytes").arg(size).arg(data.size())));
    }
}

void tst_QFArchiver::largeArchiveRoundTrips()
{
    // A blog of 100,000 posts is one array of dictionaries.
    QVariantList posts;
    const QDateTime date = berlin(2011, 5, 4, 10, 0, 0);
    for (int i = 0; i < 100000; ++i)
        posts.append(QVariantMap {{QStringLiteral("title"), QStringLiteral("Post %1").arg(i)}, {QStringLiteral("date"), date.addSecs(i)}});
    QFArchiver archiver;
    archiver.encodeObject(posts);
    archiver.encodeObject(QStringLiteral("after the posts"));
    QFUnarchiver unarchiver(archiver.data());
    const QVariantList read = unarchiver.decodeObject().toList();
    QCOMPARE(unarchiver.decodeObject(), QVariant(QStringLiteral("after the posts")));

    QCOMPARE(read.size(), posts.size());
    QCOMPARE(read.last().toMap().value(QStringLiteral("title")), QVariant(QStringLiteral("Post 99999")));
    QCOMPARE(read.last().toMap().value(QStringLiteral("date")).toDateTime(), date.addSecs(99999));
}

void tst_QFArchiver::skippedValueReadsLater_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("isArray");

    const QVariant shelf = QVariant::fromValue(QFCodingPtr(sampleShelf()));
    QTest::newRow("array of dictionaries and objects")
        << QVariant(QVariantList {QVariantMap {{QStringLiteral("title"), QStringLiteral("First")}}, shelf,
                                  QVariantList {1, 2}, QVariant()})
        << true;
    QTest::newRow("empty array") << QVariant(QVariantList()) << true;
    QTest::newRow("map") << QVariant(QVariantMap {{QStringLiteral("k"), shelf}}) << false;
    QTest::newRow("nil") << QVariant() << false;
}

void tst_QFArchiver::skippedValueReadsLater()
{
    QFETCH(QVariant, value);
    QFETCH(bool, isArray);

    const QByteArray data = archiveOf({QStringLiteral("before"), value, QStringLiteral("after")});
    QFUnarchiver eager(data);
    eager.decodeObject();
    const QVariant expected = eager.decodeObject();

    QFUnarchiver unarchiver(data);
    QCOMPARE(unarchiver.decodeObject(), QVariant(QStringLiteral("before")));
    const QFUnarchiver::SkippedValue skipped = unarchiver.skipObject();
    QCOMPARE(unarchiver.decodeObject(), QVariant(QStringLiteral("after")));
    QVERIFY(unarchiver.atEnd());

    QVariantList elements;
    const bool answered = unarchiver.decodeArrayElements(skipped, [&elements](QVariant &&element) {
        elements.append(element);
    });
    QCOMPARE(answered, isArray);
    if (!isArray) {
        QVERIFY(elements.isEmpty());
        return;
    }
    const QVariantList expectedElements = expected.toList();
    QCOMPARE(elements.size(), expectedElements.size());
    for (qsizetype i = 0; i < elements.size(); ++i) {
        const QFCodingPtr object = QFCodingSupport::objectFromVariant(elements.at(i));
        if (object) {
            const auto shelf = std::dynamic_pointer_cast<TestShelf>(object);
            QVERIFY(shelf);
            QCOMPARE(shelf->name, sampleShelf()->name);
            QCOMPARE(shelf->items.size(), 2);
            QCOMPARE(shelf->items.at(1)->title, sampleShelf()->items.at(1)->title);
        } else {
            QCOMPARE(elements.at(i), expectedElements.at(i));
        }
    }

    // Past the end there is nothing to skip, and nothing to read from it.
    const QFUnarchiver::SkippedValue nothing = unarchiver.skipObject();
    QVERIFY(!unarchiver.decodeArrayElements(nothing, [](QVariant &&) { QFAIL("nil has no elements"); }));
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
    QFUnarchiver unarchiver(header() + item + QByteArray("\x07", 1));
    const QFUnarchiver::SkippedValue skipped = unarchiver.skipObject();
    QCOMPARE(skipped.size, item.size());
    QCOMPARE(unarchiver.decodeObject(), QVariant(qint64(7)));
}

void tst_QFArchiver::deferredReadingRejectsMalformedData_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<bool>("failsOnSkipping");
    QTest::addColumn<QString>("name");

    const QString malformed = QStringLiteral("Malformed Archive");
    const QByteArray mystery("\xd9\x51\x46\xa2\x66$class\x67Mystery\x67$values\x80", 28);
    const QByteArray list = archiveOf({QVariant(QVariantList {QStringLiteral("a"), QStringLiteral("b")})});
    QTest::newRow("array cut short") << list.left(list.size() - 1) << true << malformed;
    QTest::newRow("array longer than the data") << header() + QByteArray("\x9a\xff\xff\xff\xf0\xf6", 6) << true
                                                << malformed;
    QTest::newRow("unknown class in an element") << header() + QByteArray("\x82\xf6", 2) + mystery << false
                                                 << QStringLiteral("Unknown Class");
    QTest::newRow("date holding a string in an element") << header() + QByteArray("\x81\xc1\x61x", 4) << false
                                                         << malformed;
    QTest::newRow("nesting too deep in an element")
        << header() + QByteArray("\x81", 1) + QByteArray(600, '\x81') + QByteArray("\xf6", 1) << true << malformed;
}

void tst_QFArchiver::deferredReadingRejectsMalformedData()
{
    QFETCH(QByteArray, data);
    QFETCH(bool, failsOnSkipping);
    QFETCH(QString, name);

    // The reason reading it at once gives, offset included, is the one
    // reading it later gives.
    QString eagerReason;
    try {
        decodeAll(data);
        QFAIL("malformed data was accepted");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), name);
        eagerReason = e.reason();
    }

    QFUnarchiver unarchiver(data);
    bool skipped = false;
    try {
        const QFUnarchiver::SkippedValue value = unarchiver.skipObject();
        skipped = true;
        unarchiver.decodeArrayElements(value, [](QVariant &&) {});
        QFAIL("malformed data was accepted");
    } catch (const QFException &e) {
        QCOMPARE(skipped, !failsOnSkipping);
        QCOMPARE(e.name(), name);
        if (!failsOnSkipping)
            QCOMPARE(e.reason(), eagerReason);
    }
}

QTEST_GUILESS_MAIN(tst_QFArchiver)
#include "tst_qfarchiver.moc"

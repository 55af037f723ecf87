#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/support/qfexception.h"

#include <QDateTime>
#include <QPoint>
#include <QTest>

#include <cmath>
#include <limits>

namespace {

class TestRun final : public QFCoding
{
public:
    QString text;
    QVariantMap attributes;

    QString codingClassName() const override { return QStringLiteral("TestKeyedRun"); }
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override
    {
        coder.encodeObject(text, QStringLiteral("text"));
        coder.encodeObject(attributes, QStringLiteral("attributes"));
    }
    static QFCodingPtr decode(QFKeyedUnarchiver &coder)
    {
        auto run = std::make_shared<TestRun>();
        run->text = coder.decodeObject(QStringLiteral("text")).toString();
        run->attributes = coder.decodeObject(QStringLiteral("attributes")).toMap();
        return run;
    }
};

class TestDocument final : public QFCoding
{
public:
    QString title;
    bool published = false;
    qint64 identifier = 0;
    double rating = 0.0;
    QDateTime date;
    QList<std::shared_ptr<TestRun>> runs;

    QString codingClassName() const override { return QStringLiteral("TestKeyedDocument"); }
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override
    {
        coder.encodeObject(title, QStringLiteral("title"));
        coder.encodeBool(published, QStringLiteral("published"));
        coder.encodeInt(identifier, QStringLiteral("ID"));
        coder.encodeDouble(rating, QStringLiteral("rating"));
        coder.encodeObject(date, QStringLiteral("date"));
        QVariantList list;
        for (const auto &run : runs)
            list.append(QFCodingSupport::variantFromObject(run));
        coder.encodeObject(list, QStringLiteral("runs"));
    }
    static QFCodingPtr decode(QFKeyedUnarchiver &coder)
    {
        auto document = std::make_shared<TestDocument>();
        document->title = coder.decodeObject(QStringLiteral("title")).toString();
        document->published = coder.decodeBool(QStringLiteral("published"));
        document->identifier = coder.decodeInt(QStringLiteral("ID"));
        document->rating = coder.decodeDouble(QStringLiteral("rating"));
        document->date = coder.decodeObject(QStringLiteral("date")).toDateTime();
        const QVariantList list = coder.decodeObject(QStringLiteral("runs")).toList();
        for (const QVariant &value : list)
            document->runs.append(QFCodingSupport::objectOfClass<TestRun>(value));
        return document;
    }
};

// Writes whatever keys it is given; its factory reads the key "value" every way there is.
class TestProbe final : public QFCoding
{
public:
    QVariantMap written;
    QVariant asObject;
    bool asBool = true;
    qint64 asInt = -1;
    double asDouble = -1.0;
    bool contained = false;

    QString codingClassName() const override { return QStringLiteral("TestKeyedProbe"); }
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override
    {
        for (auto it = written.cbegin(); it != written.cend(); ++it)
            coder.encodeObject(it.value(), it.key());
    }
    static QFCodingPtr decode(QFKeyedUnarchiver &coder)
    {
        auto probe = std::make_shared<TestProbe>();
        const QString key = QStringLiteral("value");
        probe->asObject = coder.decodeObject(key);
        probe->asBool = coder.decodeBool(key);
        probe->asInt = coder.decodeInt(key);
        probe->asDouble = coder.decodeDouble(key);
        probe->contained = coder.containsValue(key);
        return probe;
    }
};

QByteArray header()
{
    return QByteArray("QFKA\x01", 5);
}

std::shared_ptr<TestDocument> sampleDocument()
{
    auto document = std::make_shared<TestDocument>();
    document->title = QStringLiteral("Hello");
    document->published = true;
    document->identifier = 1234567890123;
    document->rating = 4.5;
    document->date = QDateTime(QDate(2007, 11, 5), QTime(21, 14, 3));
    auto plain = std::make_shared<TestRun>();
    plain->text = QStringLiteral("Plain ");
    auto link = std::make_shared<TestRun>();
    link->text = QStringLiteral("linked");
    link->attributes = {{QStringLiteral("bold"), true},
                        {QStringLiteral("link"), QVariantMap {{QStringLiteral("url"), QStringLiteral("https://example.org/")}}}};
    document->runs = {plain, link};
    return document;
}

} // namespace

class tst_QFKeyedArchiver : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void nestedObjectsRoundTrip();
    void readsKeyDefensively_data();
    void readsKeyDefensively();
    void refusesUnwritableObject_data();
    void refusesUnwritableObject();
    void rejectsMalformedData_data();
    void rejectsMalformedData();
    void rejectsEveryCut();
};

void tst_QFKeyedArchiver::initTestCase()
{
    auto &registry = QFClassRegistry::instance();
    registry.registerKeyed(QStringLiteral("TestKeyedRun"), &TestRun::decode);
    registry.registerKeyed(QStringLiteral("TestKeyedDocument"), &TestDocument::decode);
    registry.registerKeyed(QStringLiteral("TestKeyedProbe"), &TestProbe::decode);
}

void tst_QFKeyedArchiver::nestedObjectsRoundTrip()
{
    const auto document = sampleDocument();
    const QVariantList roots {QVariant::fromValue(QFCodingPtr(document)),
                              QVariantList {QVariant::fromValue(QFCodingPtr(document)), QVariant()}};
    QList<QByteArray> archives {QFKeyedArchiver::archivedDataWithRootObject(*document)};
    for (const QVariant &root : roots)
        archives.append(QFKeyedArchiver::archivedDataWithRootObject(root));
    QCOMPARE(archives.at(0), archives.at(1));

    for (const QByteArray &archive : std::as_const(archives)) {
        QVariant root = QFKeyedUnarchiver::unarchiveObjectWithData(archive);
        if (root.metaType().id() == QMetaType::QVariantList) {
            QCOMPARE(root.toList().size(), 2);
            QVERIFY(root.toList().at(1).isNull());
            root = root.toList().at(0);
        }
        const auto read = QFCodingSupport::objectOfClass<TestDocument>(root);
        QVERIFY(read);
        QCOMPARE(read->title, document->title);
        QCOMPARE(read->published, true);
        QCOMPARE(read->identifier, document->identifier);
        QCOMPARE(read->rating, document->rating);
        QCOMPARE(read->date, document->date);
        QCOMPARE(read->runs.size(), 2);
        QVERIFY(read->runs.at(0) && read->runs.at(1));
        QCOMPARE(read->runs.at(0)->text, QStringLiteral("Plain "));
        QVERIFY(read->runs.at(0)->attributes.isEmpty());
        QCOMPARE(read->runs.at(1)->attributes, document->runs.at(1)->attributes);
    }

    // A plain map whose key looks like the object marker stays a map.
    const QVariant plain(QVariantList {QVariant(), QVariantMap {{QStringLiteral("$class"), QStringLiteral("TestKeyedRun")}}});
    QCOMPARE(QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(plain)), plain);
}

void tst_QFKeyedArchiver::readsKeyDefensively_data()
{
    QTest::addColumn<QVariantMap>("written");
    QTest::addColumn<bool>("expectBool");
    QTest::addColumn<qint64>("expectInt");
    QTest::addColumn<double>("expectDouble");
    QTest::addColumn<bool>("expectContained");

    const QString key = QStringLiteral("value");
    QTest::newRow("missing key") << QVariantMap {{QStringLiteral("other"), 5}} << false << qint64(0) << 0.0 << false;
    QTest::newRow("stored nil") << QVariantMap {{key, QVariant()}} << false << qint64(0) << 0.0 << true;
    QTest::newRow("true") << QVariantMap {{key, true}} << true << qint64(1) << 1.0 << true;
    QTest::newRow("integer") << QVariantMap {{key, 7}} << true << qint64(7) << 7.0 << true;
    QTest::newRow("double truncates") << QVariantMap {{key, -2.75}} << true << qint64(-2) << -2.75 << true;
    QTest::newRow("list") << QVariantMap {{key, QVariantList {1}}} << false << qint64(0) << 0.0 << true;
}

void tst_QFKeyedArchiver::readsKeyDefensively()
{
    QFETCH(QVariantMap, written);
    QFETCH(bool, expectBool);
    QFETCH(qint64, expectInt);
    QFETCH(double, expectDouble);
    QFETCH(bool, expectContained);

    TestProbe probe;
    probe.written = written;
    const auto read = QFCodingSupport::objectOfClass<TestProbe>(
        QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(probe)));
    QVERIFY(read);
    QCOMPARE(read->asBool, expectBool);
    QCOMPARE(read->asInt, expectInt);
    QCOMPARE(read->asDouble, expectDouble);
    QCOMPARE(read->contained, expectContained);
    QCOMPARE(read->asObject.isNull(), !written.contains(QStringLiteral("value"))
                                          || written.value(QStringLiteral("value")).isNull());
}

void tst_QFKeyedArchiver::refusesUnwritableObject_data()
{
    QTest::addColumn<QVariant>("root");
    QTest::addColumn<QString>("reasonContains");

    auto reserved = std::make_shared<TestProbe>();
    reserved->written = {{QStringLiteral("$class"), QStringLiteral("Forged")}};
    auto unsupported = std::make_shared<TestProbe>();
    unsupported->written = {{QStringLiteral("value"), QVariant(QPoint(3, 4))}};
    auto cycle = std::make_shared<TestProbe>();
    cycle->written = {{QStringLiteral("self"), QVariant::fromValue(QFCodingPtr(cycle))}};

    QTest::newRow("reserved key") << QVariant::fromValue(QFCodingPtr(reserved)) << QStringLiteral("$class");
    QTest::newRow("value of an unknown type") << QVariant::fromValue(QFCodingPtr(unsupported)) << QStringLiteral("type");
    QTest::newRow("object that contains itself") << QVariant::fromValue(QFCodingPtr(cycle)) << QStringLiteral("512");
}

void tst_QFKeyedArchiver::refusesUnwritableObject()
{
    QFETCH(QVariant, root);
    QFETCH(QString, reasonContains);

    try {
        QFKeyedArchiver::archivedDataWithRootObject(root);
        QFAIL("the value was written");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Archive Error"));
        QVERIFY2(e.reason().contains(reasonContains), qPrintable(e.reason()));
    }
    if (const auto probe = QFCodingSupport::objectOfClass<TestProbe>(root))
        probe->written.clear();
}

void tst_QFKeyedArchiver::rejectsMalformedData_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reasonContains");

    const QString malformed = QStringLiteral("Malformed Archive");
    const QByteArray good = QFKeyedArchiver::archivedDataWithRootObject(*sampleDocument());

    QTest::newRow("empty") << QByteArray() << malformed << QStringLiteral("byte 0");
    QTest::newRow("sequential archive") << QByteArray("QFAR\x01\xf6", 6) << malformed << QStringLiteral("sequential");
    QTest::newRow("cut before the last byte") << good.left(good.size() - 1) << malformed << QStringLiteral("byte");
    QTest::newRow("trailing bytes") << good + QByteArray("\x00", 1) << malformed
                                    << QStringLiteral("byte %1").arg(good.size());
    QTest::newRow("date holding a string") << header() + QByteArray("\xc1\x64" "2008", 6) << malformed
                                           << QStringLiteral("date");
    QTest::newRow("nesting too deep") << header() + QByteArray(600, '\x81') + QByteArray("\xf6", 1)
                                      << malformed << QStringLiteral("byte");
    QTest::newRow("unknown class")
        << header() + QByteArray("\xd9\x51\x46\xa2\x66$class\x66Gadget\x64size\x02", 24)
        << QStringLiteral("Unknown Class") << QStringLiteral("\"Gadget\"");
}

void tst_QFKeyedArchiver::rejectsMalformedData()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, name);
    QFETCH(QString, reasonContains);

    try {
        QFKeyedUnarchiver::unarchiveObjectWithData(data);
        QFAIL("malformed data was accepted");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), name);
        QVERIFY2(e.reason().contains(reasonContains), qPrintable(e.reason()));
    }
}

void tst_QFKeyedArchiver::rejectsEveryCut()
{
    const QByteArray data = QFKeyedArchiver::archivedDataWithRootObject(*sampleDocument());
    for (qsizetype size = 0; size < data.size(); ++size) {
        bool rejected = false;
        try {
            QFKeyedUnarchiver::unarchiveObjectWithData(data.left(size));
        } catch (const QFException &e) {
            rejected = e.name() == QStringLiteral("Malformed Archive");
        }
        QVERIFY2(rejected, qPrintable(QStringLiteral("cut at %1 of %2 bytes").arg(size).arg(data.size())));
    }
}

QTEST_GUILESS_MAIN(tst_QFKeyedArchiver)
#include "tst_qfkeyedarchiver.moc"

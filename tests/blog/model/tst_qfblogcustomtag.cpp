#include "blog/model/qfblogcustomtag.h"
#include "blog/model/qfblogmodel.h"
#include "blog/model/qfblognotifier.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <QSignalSpy>
#include <QtTest>

class tst_QFBlogCustomTag : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void settersPostOnlyForAnotherString_data();
    void settersPostOnlyForAnotherString();
    void archiveRoundTrips();
    void propertyList_data();
    void propertyList();
};

void tst_QFBlogCustomTag::initTestCase()
{
    QFBlogModel::registerCodingClasses();
}

void tst_QFBlogCustomTag::settersPostOnlyForAnotherString_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<bool>("sameObject");
    QTest::addColumn<int>("posts");

    QTest::newRow("tag: the very string held") << QByteArray("tag") << true << 0;
    QTest::newRow("tag: an equal but distinct string") << QByteArray("tag") << false << 1;
    QTest::newRow("attributes: an equal but distinct string") << QByteArray("attributes") << false << 1;
}

void tst_QFBlogCustomTag::settersPostOnlyForAnotherString()
{
    QFETCH(QByteArray, key);
    QFETCH(bool, sameObject);
    QFETCH(int, posts);

    const auto tag = QFBlogCustomTag::create();
    tag->setProperty(key.constData(), QStringLiteral("type=\"text\""));
    QSignalSpy spy(QFBlogNotifier::instance(), &QFBlogNotifier::customTagDidChange);
    QSignalSpy named(QFBlogNotifier::instance(), &QFBlogNotifier::notificationPosted);

    const QString held = tag->property(key.constData()).toString();
    const QString given = sameObject ? held : QString(held.constData(), held.size()); // a deep copy
    tag->setProperty(key.constData(), given);

    QCOMPARE(spy.size(), posts);
    if (posts) {
        QCOMPARE(spy.at(0).at(0).value<QObject *>(), tag.get());
        QCOMPARE(named.at(0).at(0).toString(), QStringLiteral("QFBlogCustomTagDidChange"));
    }
}

void tst_QFBlogCustomTag::archiveRoundTrips()
{
    const auto tag = QFBlogCustomTag::create();
    tag->setTag(QStringLiteral("media:credit"));
    tag->setValue(QStringLiteral("Ann & Bo"));
    tag->setAttributes(QStringLiteral("role=\"author\""));

    const auto keyed = QFCodingSupport::objectOfClass<QFBlogCustomTag>(
        QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(*tag)));
    QVERIFY(keyed && keyed->isEqual(*tag));

    // Inside a record, among other values.
    QFArchiver archiver;
    archiver.encodeObject(QVariant(QVariantList{QFCodingSupport::variantFromObject(tag)}));
    archiver.encodeObject(QStringLiteral("after"));
    QFUnarchiver unarchiver(archiver.data());
    const auto sequential = QFCodingSupport::objectOfClass<QFBlogCustomTag>(unarchiver.decodeObject().toList().value(0));
    QVERIFY(sequential && sequential->isEqual(*tag));
    QCOMPARE(unarchiver.decodeObject().toString(), QStringLiteral("after"));
}

void tst_QFBlogCustomTag::propertyList_data()
{
    QTest::addColumn<QVariant>("list");
    QTest::addColumn<QStringList>("expected"); // tag, value, attributes

    QTest::newRow("all three")
        << QVariant(QVariantMap{{QStringLiteral("Tag"), QStringLiteral("t")},
                                {QStringLiteral("Value"), QStringLiteral("v")},
                                {QStringLiteral("Attributes"), QStringLiteral("a=\"1\"")}})
        << QStringList{QStringLiteral("t"), QStringLiteral("v"), QStringLiteral("a=\"1\"")};
    QTest::newRow("missing keys read empty")
        << QVariant(QVariantMap{{QStringLiteral("Tag"), QStringLiteral("t")}})
        << QStringList{QStringLiteral("t"), QString(), QString()};
    QTest::newRow("not a dictionary: a fresh tag's defaults")
        << QVariant(QStringLiteral("junk")) << QStringList{QStringLiteral("tag"), QStringLiteral("value"), QString()};
}

void tst_QFBlogCustomTag::propertyList()
{
    QFETCH(QVariant, list);
    QFETCH(QStringList, expected);
    const auto tag = QFBlogCustomTag::customTagWithPropertyList(list);
    QCOMPARE(QStringList({tag->tag(), tag->value(), tag->attributes()}), expected);
    QVERIFY(QFBlogCustomTag::customTagWithPropertyList(tag->propertyList())->isEqual(*tag));
}

QTEST_GUILESS_MAIN(tst_QFBlogCustomTag)
#include "tst_qfblogcustomtag.moc"

#include "blog/model/qfblogtag.h"
#include "blog/model/qforderedset.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "blog/model/qfblogmodel.h"

#include <QtTest>

class tst_QFOrderedSet : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void hashAgreesWithEquality_data();
    void hashAgreesWithEquality();
    void archivedSetReadsBackEmpty();
};

void tst_QFOrderedSet::initTestCase()
{
    QFBlogModel::registerCodingClasses();
}

void tst_QFOrderedSet::hashAgreesWithEquality_data()
{
    QTest::addColumn<QVariant>("first");
    QTest::addColumn<QVariant>("second");
    QTest::addColumn<bool>("equal");

    QTest::newRow("int and archived integer") << QVariant(7) << QVariant(qint64(7)) << true;
    QTest::newRow("int and integral double") << QVariant(7) << QVariant(7.0) << true;
    QTest::newRow("different numbers") << QVariant(7) << QVariant(8) << false;
    QTest::newRow("same tag name") << QVariant::fromValue(QFBlogTag(QStringLiteral("a")))
                                   << QVariant::fromValue(QFBlogTag(QStringLiteral("a"))) << true;
    QTest::newRow("tag names differing in case") << QVariant::fromValue(QFBlogTag(QStringLiteral("A")))
                                                 << QVariant::fromValue(QFBlogTag(QStringLiteral("a"))) << false;
    QTest::newRow("strings") << QVariant(QStringLiteral("x")) << QVariant(QStringLiteral("x")) << true;
}

void tst_QFOrderedSet::hashAgreesWithEquality()
{
    QFETCH(QVariant, first);
    QFETCH(QVariant, second);
    QFETCH(bool, equal);

    // An ordered set keeps one of two members exactly when they are equal.
    QFOrderedSet set;
    set.addObject(first);
    set.addObject(second);
    QCOMPARE(set.count(), equal ? 1 : 2);
    QCOMPARE(set.containsObject(second), true);
    if (equal) {
        QCOMPARE(set.member(second), first);
        QCOMPARE(set.array().constFirst().typeId(), first.typeId());
    }
}

void tst_QFOrderedSet::archivedSetReadsBackEmpty()
{
    QFOrderedSet set;
    set.addObject(QStringLiteral("a"));
    set.addObject(QStringLiteral("b"));

    // Both forms store the members, and both deliberately read none back.
    QFArchiver archiver;
    archiver.encodeObject(set);
    QFUnarchiver unarchiver(archiver.data());
    const auto sequential = QFCodingSupport::objectOfClass<QFOrderedSet>(unarchiver.decodeObject());
    QVERIFY(sequential);
    QCOMPARE(sequential->count(), 0);

    const QByteArray keyedData = QFKeyedArchiver::archivedDataWithRootObject(set);
    QVERIFY(keyedData.contains("array"));
    const auto keyed =
        QFCodingSupport::objectOfClass<QFOrderedSet>(QFKeyedUnarchiver::unarchiveObjectWithData(keyedData));
    QVERIFY(keyed);
    QCOMPARE(keyed->count(), 0);
    QVERIFY(keyed->array().isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFOrderedSet)
#include "tst_qforderedset.moc"

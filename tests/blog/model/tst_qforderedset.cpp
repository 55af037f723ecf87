#include "blog/model/qfblogmodel.h"
#include "blog/model/qfblogtag.h"
#include "blog/model/qforderedset.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <QtTest>

class tst_QFOrderedSet : public QObject
{
    Q_OBJECT

private slots:
    void keepsOneOfEqualMembers_data();
    void keepsOneOfEqualMembers();
    void archivedSetReadsBackEmpty();
};

void tst_QFOrderedSet::keepsOneOfEqualMembers_data()
{
    QTest::addColumn<QVariant>("first");
    QTest::addColumn<QVariant>("second");
    QTest::addColumn<bool>("equal");

    QTest::newRow("int and archived integer") << QVariant(7) << QVariant(qint64(7)) << true;
    QTest::newRow("int and integral double") << QVariant(7) << QVariant(7.0) << true;
    QTest::newRow("same tag name") << QVariant::fromValue(QFBlogTag(QStringLiteral("a")))
                                   << QVariant::fromValue(QFBlogTag(QStringLiteral("a"))) << true;
    QTest::newRow("tag names differing in case") << QVariant::fromValue(QFBlogTag(QStringLiteral("A")))
                                                 << QVariant::fromValue(QFBlogTag(QStringLiteral("a"))) << false;
}

void tst_QFOrderedSet::keepsOneOfEqualMembers()
{
    QFETCH(QVariant, first);
    QFETCH(QVariant, second);
    QFETCH(bool, equal);

    QFOrderedSet set;
    set.addObject(first);
    set.addObject(second);
    QCOMPARE(set.count(), equal ? 1 : 2);
    if (equal)
        QCOMPARE(set.array().constFirst().typeId(), first.typeId());
}

void tst_QFOrderedSet::archivedSetReadsBackEmpty()
{
    QFBlogModel::registerCodingClasses();
    QFOrderedSet set;
    set.addObject(QStringLiteral("a"));

    // Both forms store the members, and both deliberately read none back.
    QFArchiver archiver;
    archiver.encodeObject(set);
    QFUnarchiver unarchiver(archiver.data());
    const auto sequential = QFCodingSupport::objectOfClass<QFOrderedSet>(unarchiver.decodeObject());
    const auto keyed = QFCodingSupport::objectOfClass<QFOrderedSet>(
        QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(set)));
    QVERIFY(sequential && keyed);
    QCOMPARE(sequential->count(), 0);
    QCOMPARE(keyed->count(), 0);
}

QTEST_GUILESS_MAIN(tst_QFOrderedSet)
#include "tst_qforderedset.moc"

#include "blog/model/qfblogtag.h"
#include "blog/model/qfblogtagextensions.h"
#include "blog/model/qfcountedset.h"

#include <QtTest>
#include <algorithm>

class tst_QFBlogTagExtensions : public QObject
{
    Q_OBJECT

private slots:
    void groupNumbers_data();
    void groupNumbers();
    void sortByCountThenName_data();
    void sortByCountThenName();
    void countsFollowTheSetsOrder();
};

namespace {
QVariant tag(const QString &name)
{
    return QVariant::fromValue(QFBlogTag(name));
}

QFTuple pair(const QString &name, quint64 count)
{
    return QFTuple(tag(name), QVariant::fromValue(count));
}
} // namespace

void tst_QFBlogTagExtensions::groupNumbers_data()
{
    QTest::addColumn<int>("objects");
    QTest::addColumn<int>("groups");
    QTest::addColumn<QList<int>>("numbers");

    QTest::newRow("3 in 10 groups: numbered from 0") << 3 << 10 << QList<int>{0, 1, 2};
    QTest::newRow("20 in 10 groups: two each")
        << 20 << 10 << QList<int>{1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10};
    QTest::newRow("10 in 3 groups: step 3.33") << 10 << 3 << QList<int>{1, 1, 1, 1, 2, 2, 2, 3, 3, 3};
    QTest::newRow("none") << 0 << 10 << QList<int>{};
}

void tst_QFBlogTagExtensions::groupNumbers()
{
    QFETCH(int, objects);
    QFETCH(int, groups);
    QFETCH(QList<int>, numbers);

    QVariantList tags;
    for (int i = 0; i < objects; ++i)
        tags.append(tag(QStringLiteral("t%1").arg(i)));
    const QList<QFTuple> pairs = QFBlogTagExtensions::arrayOfObjectsAndGroupNumbers(tags, groups);
    QList<int> got;
    for (qsizetype i = 0; i < pairs.size(); ++i) {
        QCOMPARE(pairs.at(i).first(), tags.at(i)); // order kept
        got.append(pairs.at(i).second().toInt());
    }
    QCOMPARE(got, numbers);
}

void tst_QFBlogTagExtensions::sortByCountThenName_data()
{
    QTest::addColumn<QList<QFTuple>>("pairs");
    QTest::addColumn<QStringList>("order");

    QTest::newRow("count first, then name ignoring case")
        << QList<QFTuple>{pair(QStringLiteral("b"), 5), pair(QStringLiteral("A"), 5), pair(QStringLiteral("c"), 9)}
        << QStringList{QStringLiteral("c"), QStringLiteral("A"), QStringLiteral("b")};
    QTest::newRow("digit runs by value")
        << QList<QFTuple>{pair(QStringLiteral("tag10"), 1), pair(QStringLiteral("tag9"), 1), pair(QStringLiteral("tag1"), 1)}
        << QStringList{QStringLiteral("tag1"), QStringLiteral("tag9"), QStringLiteral("tag10")};
}

void tst_QFBlogTagExtensions::sortByCountThenName()
{
    QFETCH(QList<QFTuple>, pairs);
    QFETCH(QStringList, order);
    std::sort(pairs.begin(), pairs.end(), QFBlogTagExtensions::tagNameAndCountLessThan);
    QStringList names;
    for (const QFTuple &p : pairs)
        names.append(p.first().value<QFBlogTag>().tagName());
    QCOMPARE(names, order);
}

void tst_QFBlogTagExtensions::countsFollowTheSetsOrder()
{
    const QVariant zeta = tag(QStringLiteral("zeta")), alpha = tag(QStringLiteral("alpha")), mu = tag(QStringLiteral("mu"));
    QFCountedSet set;
    for (const QVariant &t : {zeta, alpha, zeta, mu, mu})
        set.addObject(t);
    set.removeObject(mu);
    set.removeObject(alpha);
    set.removeObject(alpha); // not a member any more: nothing happens
    set.addObject(alpha);    // back again, at the end

    const QList<QFTuple> pairs = QFBlogTagExtensions::arrayOfObjectsAndCountsFromCountedSet(set);
    QCOMPARE(pairs.size(), 3);
    QCOMPARE(pairs.at(0), pair(QStringLiteral("zeta"), 2));
    QCOMPARE(pairs.at(1), pair(QStringLiteral("mu"), 1));
    QCOMPARE(pairs.at(2), pair(QStringLiteral("alpha"), 1));
    QVERIFY(QFBlogTagExtensions::arrayOfObjectsAndCountsFromCountedSet(QFCountedSet()).isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFBlogTagExtensions)
#include "tst_qfblogtagextensions.moc"

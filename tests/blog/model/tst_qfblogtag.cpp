// Tags, and the sets and lists the tag cloud and tag pages are made from.

#include "archivedcopy.h"

#include "blog/model/qfblogmodel.h"
#include "blog/model/qfblogtag.h"
#include "blog/model/qfblogtagextensions.h"
#include "blog/model/qfcountedset.h"
#include "blog/model/qforderedset.h"

#include <QSet>
#include <QtTest>
#include <algorithm>

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

class tst_QFBlogTag : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QFBlogModel::registerCodingClasses(); }
    void tagsDifferingInCaseAreDifferent();
    void dictionaryForm_data();
    void dictionaryForm();
    void hrefWithParams_data();
    void hrefWithParams();
    void archiveRoundTrips();
    void groupNumbers_data();
    void groupNumbers();
    void sortByCountThenName_data();
    void sortByCountThenName();
    void countsFollowTheSetsOrder();
    void orderedSetKeepsOneOfEqualMembers_data();
    void orderedSetKeepsOneOfEqualMembers();
    void archivedOrderedSetReadsBackEmpty();
};

void tst_QFBlogTag::tagsDifferingInCaseAreDifferent()
{
    const QFBlogTag upper(QStringLiteral("News"));
    const QFBlogTag lower(QStringLiteral("news"));
    QVERIFY(!(upper == lower));
    QCOMPARE((QSet<QFBlogTag>{upper, lower, QFBlogTag(QStringLiteral("News"))}).size(), 2);
    // Different tags, but their pages would share a file name.
    QCOMPARE(upper.hrefFilenameBasename(), lower.hrefFilenameBasename());
}

void tst_QFBlogTag::dictionaryForm_data()
{
    QTest::addColumn<QVariantMap>("dictionary");
    QTest::addColumn<QString>("name");

    QTest::newRow("name") << QVariantMap{{"tagName", "Travel"}} << QStringLiteral("Travel");
    QTest::newRow("no tagName: no name") << QVariantMap{} << QString();
    QTest::newRow("tagName not a string: no name") << QVariantMap{{"tagName", 12}} << QString();
}

void tst_QFBlogTag::dictionaryForm()
{
    QFETCH(QVariantMap, dictionary);
    QFETCH(QString, name);
    const QFBlogTag tag = QFBlogTag::tagWithDictionary(dictionary);
    QCOMPARE(tag.tagName(), name);
    QCOMPARE(QFBlogTag::tagWithDictionary(tag.dictionaryForEncoding()), tag);
}

void tst_QFBlogTag::hrefWithParams_data()
{
    QTest::addColumn<QString>("subpage");
    QTest::addColumn<int>("depthCorrection");
    QTest::addColumn<QString>("href");

    QTest::newRow("main page: into the files folder") << QString() << 0 << "blog_files/tag-caf-creme.html";
    QTest::newRow("inside the files folder: sibling") << QString() << 1 << "tag-caf-creme.html";
    QTest::newRow("sub-page forces the bare name") << "YES" << 0 << "tag-caf-creme.html";
}

void tst_QFBlogTag::hrefWithParams()
{
    QFETCH(QString, subpage);
    QFETCH(int, depthCorrection);
    QFETCH(QString, href);

    QVariantMap params{{"FilenameExt", "html"}, {"filesfoldername", "blog_files"}};
    if (!subpage.isNull())
        params.insert(QStringLiteral("subpage"), subpage);
    // Accents are folded and the blank becomes one "-" in the file name.
    QCOMPARE(QFBlogTag(QStringLiteral("Caf Crème")).hrefWithParams(params, depthCorrection), href);
}

void tst_QFBlogTag::archiveRoundTrips()
{
    const QFBlogTag tag(QStringLiteral("Podcasts"));
    for (bool keyed : {true, false}) {
        const auto copy = archivedCopy<QFBlogTag>(tag, keyed);
        QVERIFY(copy);
        QCOMPARE(*copy, tag);
    }
}

void tst_QFBlogTag::groupNumbers_data()
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

void tst_QFBlogTag::groupNumbers()
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

void tst_QFBlogTag::sortByCountThenName_data()
{
    QTest::addColumn<QList<QFTuple>>("pairs");
    QTest::addColumn<QStringList>("order");

    QTest::newRow("count first, then name ignoring case")
        << QList<QFTuple>{pair(QStringLiteral("b"), 5), pair(QStringLiteral("A"), 5), pair(QStringLiteral("c"), 9)}
        << QStringList{"c", "A", "b"};
    QTest::newRow("digit runs by value")
        << QList<QFTuple>{pair(QStringLiteral("tag10"), 1), pair(QStringLiteral("tag9"), 1), pair(QStringLiteral("tag1"), 1)}
        << QStringList{"tag1", "tag9", "tag10"};
}

void tst_QFBlogTag::sortByCountThenName()
{
    QFETCH(QList<QFTuple>, pairs);
    QFETCH(QStringList, order);
    std::sort(pairs.begin(), pairs.end(), QFBlogTagExtensions::tagNameAndCountLessThan);
    QStringList names;
    for (const QFTuple &p : pairs)
        names.append(p.first().value<QFBlogTag>().tagName());
    QCOMPARE(names, order);
}

void tst_QFBlogTag::countsFollowTheSetsOrder()
{
    const QVariant zeta = tag(QStringLiteral("zeta")), alpha = tag(QStringLiteral("alpha")), mu = tag(QStringLiteral("mu"));
    QFCountedSet set;
    for (const QVariant &t : {zeta, alpha, zeta, mu, mu})
        set.addObject(t);
    set.removeObject(mu);
    set.removeObject(alpha);
    set.removeObject(alpha); // not a member any more: nothing happens
    set.addObject(alpha);    // back again, at the end

    QCOMPARE(QFBlogTagExtensions::arrayOfObjectsAndCountsFromCountedSet(set),
             (QList<QFTuple>{pair(QStringLiteral("zeta"), 2), pair(QStringLiteral("mu"), 1), pair(QStringLiteral("alpha"), 1)}));
    QVERIFY(QFBlogTagExtensions::arrayOfObjectsAndCountsFromCountedSet(QFCountedSet()).isEmpty());
}

void tst_QFBlogTag::orderedSetKeepsOneOfEqualMembers_data()
{
    QTest::addColumn<QVariant>("first");
    QTest::addColumn<QVariant>("second");
    QTest::addColumn<bool>("equal");

    QTest::newRow("int and archived integer") << QVariant(7) << QVariant(qint64(7)) << true;
    QTest::newRow("int and integral double") << QVariant(7) << QVariant(7.0) << true;
    QTest::newRow("same tag name") << tag(QStringLiteral("a")) << tag(QStringLiteral("a")) << true;
    QTest::newRow("tag names differing in case") << tag(QStringLiteral("A")) << tag(QStringLiteral("a")) << false;
}

void tst_QFBlogTag::orderedSetKeepsOneOfEqualMembers()
{
    QFETCH(QVariant, first);
    QFETCH(QVariant, second);
    QFETCH(bool, equal);

    QFOrderedSet set;
    set.addObject(first);
    set.addObject(second);
    QCOMPARE(set.count(), equal ? 1 : 2);
    QCOMPARE(set.array().constFirst().typeId(), first.typeId());
}

void tst_QFBlogTag::archivedOrderedSetReadsBackEmpty()
{
    QFOrderedSet set;
    set.addObject(QStringLiteral("a"));
    // Both forms store the members, and both deliberately read none back.
    for (bool keyed : {true, false}) {
        const auto copy = archivedCopy<QFOrderedSet>(set, keyed);
        QVERIFY(copy);
        QCOMPARE(copy->count(), 0);
    }
}

QTEST_GUILESS_MAIN(tst_QFBlogTag)
#include "tst_qfblogtag.moc"

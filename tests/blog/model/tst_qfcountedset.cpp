#include "blog/model/qfblogtag.h"
#include "blog/model/qfcountedset.h"

#include <QtTest>

class tst_QFCountedSet : public QObject
{
    Q_OBJECT

private slots:
    void countsInInsertionOrder();
};

void tst_QFCountedSet::countsInInsertionOrder()
{
    const QVariant news = QVariant::fromValue(QFBlogTag(QStringLiteral("news")));
    const QVariant misc = QVariant::fromValue(QFBlogTag(QStringLiteral("misc")));
    const QVariant art = QVariant::fromValue(QFBlogTag(QStringLiteral("art")));

    QFCountedSet set;
    set.addObject(news);
    set.addObject(misc);
    set.addObject(news);
    set.addObject(art);
    QCOMPARE(set.objects(), (QVariantList{news, misc, art}));
    QCOMPARE(set.countForObject(news), quint64(2));

    set.removeObject(news);
    QCOMPARE(set.countForObject(news), quint64(1));
    set.removeObject(misc);
    QVERIFY(!set.containsObject(misc));
    QCOMPARE(set.objects(), (QVariantList{news, art}));
    QCOMPARE(set.countForObject(art), quint64(1)); // the index still finds later members

    set.removeObject(misc); // not a member: nothing happens
    set.addObject(misc);    // back again, at the end
    QCOMPARE(set.objects(), (QVariantList{news, art, misc}));
}

QTEST_GUILESS_MAIN(tst_QFCountedSet)
#include "tst_qfcountedset.moc"

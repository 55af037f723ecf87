#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogentrybelongstocategoryindex.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfbundle.h"

#include <QtTest>

// The check-box state the editor shows for a multiple selection.
class tst_QFBlogEntryBelongsToCategoryIndex : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void selectionState_data();
    void selectionState();
};

void tst_QFBlogEntryBelongsToCategoryIndex::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogEntryBelongsToCategoryIndex::selectionState_data()
{
    QTest::addColumn<QList<bool>>("members"); // per selected post: in category 1 and tagged "x"
    QTest::addColumn<int>("state");

    QTest::newRow("empty selection: off") << QList<bool>{} << 0;
    QTest::newRow("one of two: mixed") << QList<bool>{false, true} << -1;
    QTest::newRow("all: on") << QList<bool>{true, true, true} << 1;
}

void tst_QFBlogEntryBelongsToCategoryIndex::selectionState()
{
    QFETCH(QList<bool>, members);
    QFETCH(int, state);

    QFBlogPlugin plugin;
    auto category = QFBlogCategory::categoryWithName(QStringLiteral("Abroad"), nullptr);
    category->setCategoryID(10);
    plugin.setCategories(QList<QFBlogCategoryPtr>(plugin.categories()) << category);

    const QFBlogTag x(QStringLiteral("x"));
    QList<QFBlogEntryPtr> selection;
    for (bool member : members) {
        auto entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
        if (member) {
            entry->setCategoryIndex(1);
            entry->setTags(QFBlogTagList{QFBlogTag(QStringLiteral("y")), x});
        } else {
            entry->setCategoryIndex(0);
            entry->setTags(QFBlogTagList{QFBlogTag(QStringLiteral("X"))}); // another tag
        }
        selection.append(entry);
    }
    QCOMPARE(QFBlogEntryBelongsToCategoryIndex::belongsToCategoryIndex(selection, 1), state);
    QCOMPARE(QFBlogEntryBelongsToCategoryIndex::hasTag(selection, x), state);
    // An index past the list is never a category of anyone.
    QCOMPARE(QFBlogEntryBelongsToCategoryIndex::belongsToCategoryIndex(selection, 7), 0);
}

QTEST_GUILESS_MAIN(tst_QFBlogEntryBelongsToCategoryIndex)
#include "tst_qfblogentrybelongstocategoryindex.moc"

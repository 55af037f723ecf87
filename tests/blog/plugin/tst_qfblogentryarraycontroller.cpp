#include "blogposts.h"

#include "blog/plugin/qfblogentryarraycontroller.h"

#include <QSignalSpy>
#include <QtTest>

using IDList = QList<int>;
using OptionalIDs = std::optional<QList<int>>;
Q_DECLARE_METATYPE(OptionalIDs)

class tst_QFBlogEntryArrayController : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initializeBlogPluginClass(); }

    void arrangedNewestFirstNarrowedBySearch_data();
    void arrangedNewestFirstNarrowedBySearch();
    void selectionFollowsAPostWhoseDateMoves();
    void hiddenPostLeavesTheSelection();
    void removingTheSelectionSelectsTheNextPost_data();
    void removingTheSelectionSelectsTheNextPost();
    void addedPostsJoinThePluginAndAreSelected();
    void modelRowsFollowTheArrangement();

private:
    // Posts 1 to 5, a day apart: arranged 5, 4, 3, 2, 1.
    static void addFivePosts(QFBlogPlugin &plugin)
    {
        for (int id = 1; id <= 5; ++id)
            addPost(plugin, id, day(id), QStringLiteral("Post %1").arg(id));
    }
    static IDList arrangedIDs(const QFBlogEntryArrayController &controller) { return postIDs(controller.arrangedObjects()); }
};

void tst_QFBlogEntryArrayController::arrangedNewestFirstNarrowedBySearch_data()
{
    QTest::addColumn<OptionalIDs>("searchResults");
    QTest::addColumn<IDList>("expected");

    QTest::newRow("no filter after a search: every post, newest first") << OptionalIDs() << IDList{5, 4, 3, 2, 1};
    QTest::newRow("results in any order still sort by date") << OptionalIDs(IDList{1, 4, 2}) << IDList{4, 2, 1};
    QTest::newRow("unknown IDs are ignored") << OptionalIDs(IDList{2, 99}) << IDList{2};
    QTest::newRow("an empty result hides every post") << OptionalIDs(IDList{}) << IDList{};
}

void tst_QFBlogEntryArrayController::arrangedNewestFirstNarrowedBySearch()
{
    QFETCH(OptionalIDs, searchResults);
    QFETCH(IDList, expected);

    QFBlogPlugin plugin;
    addFivePosts(plugin);
    QFBlogEntryArrayController &controller = plugin.blogEntryArrayController();
    controller.updateSearchResults(IDList{3});
    controller.updateSearchResults(searchResults);
    QCOMPARE(arrangedIDs(controller), expected);
    QCOMPARE(controller.rowCount(), expected.size());
}

void tst_QFBlogEntryArrayController::selectionFollowsAPostWhoseDateMoves()
{
    QFBlogPlugin plugin;
    addFivePosts(plugin);
    QFBlogEntryArrayController &controller = plugin.blogEntryArrayController();
    controller.setSelectionIndex(4); // post 1, the oldest
    const QFBlogEntryPtr oldest = controller.selectedObjects().value(0);
    QCOMPARE(oldest->ID(), 1);

    oldest->setDate(QDateTime(QDate(2024, 1, 1), QTime(9, 0)));

    QCOMPARE(arrangedIDs(controller), (IDList{1, 5, 4, 3, 2}));
    QCOMPARE(controller.selectedObjects(), QList<QFBlogEntryPtr>{oldest});
    QCOMPARE(controller.selectionIndex(), 0);
}

void tst_QFBlogEntryArrayController::hiddenPostLeavesTheSelection()
{
    QFBlogPlugin plugin;
    addFivePosts(plugin);
    QFBlogEntryArrayController &controller = plugin.blogEntryArrayController();
    controller.setSelectionIndexes({0, 1}); // posts 5 and 4
    QSignalSpy spy(&controller, &QFBlogEntryArrayController::selectionChanged);

    controller.updateSearchResults(IDList{4, 2});

    QCOMPARE(controller.selectedObjects().size(), 1);
    QCOMPARE(controller.selectedObjects().first()->ID(), 4);
    QCOMPARE(controller.selectionIndexes(), QList<int>{0});
    QCOMPARE(spy.count(), 1);
}

void tst_QFBlogEntryArrayController::removingTheSelectionSelectsTheNextPost_data()
{
    QTest::addColumn<QList<int>>("selectedRows");
    QTest::addColumn<IDList>("remainingIDs");
    QTest::addColumn<int>("selectedIDAfter");

    QTest::newRow("first row") << QList<int>{0} << IDList{4, 3, 2, 1} << 4;
    QTest::newRow("middle rows") << QList<int>{1, 2} << IDList{5, 2, 1} << 2;
    QTest::newRow("last row: the new last one") << QList<int>{4} << IDList{5, 4, 3, 2} << 2;
    QTest::newRow("every row: nothing left to select") << QList<int>{0, 1, 2, 3, 4} << IDList{} << -1;
}

void tst_QFBlogEntryArrayController::removingTheSelectionSelectsTheNextPost()
{
    QFETCH(QList<int>, selectedRows);
    QFETCH(IDList, remainingIDs);
    QFETCH(int, selectedIDAfter);

    QFBlogPlugin plugin;
    addFivePosts(plugin);
    QFBlogEntryArrayController &controller = plugin.blogEntryArrayController();
    controller.setSelectionIndexes(selectedRows);
    controller.removeObjects(controller.selectedObjects());

    QCOMPARE(arrangedIDs(controller), remainingIDs);
    QCOMPARE(plugin.posts().size(), remainingIDs.size());
    const QList<QFBlogEntryPtr> selected = controller.selectedObjects();
    QCOMPARE(selected.isEmpty() ? -1 : selected.first()->ID(), selectedIDAfter);
}

void tst_QFBlogEntryArrayController::addedPostsJoinThePluginAndAreSelected()
{
    QFBlogPlugin plugin;
    addFivePosts(plugin);
    QFBlogEntryArrayController &controller = plugin.blogEntryArrayController();
    const QFBlogEntryPtr newer = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    newer->setID(7);
    newer->setDate(day(20));
    const QFBlogEntryPtr older = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    older->setID(6);
    older->setDate(day(-20));

    controller.addObjects({older, newer, older});

    QCOMPARE(plugin.posts().size(), 7); // the repeated post is added once
    QCOMPARE(arrangedIDs(controller), (IDList{7, 5, 4, 3, 2, 1, 6}));
    QCOMPARE(controller.selectionIndexes(), (QList<int>{0, 6}));
}

void tst_QFBlogEntryArrayController::modelRowsFollowTheArrangement()
{
    QFBlogPlugin plugin;
    addFivePosts(plugin);
    QFBlogEntryArrayController &controller = plugin.blogEntryArrayController();
    const QFBlogEntryPtr untitled = controller.arrangedObjects().at(2);
    untitled->setTitle(QString(QLatin1String("")));

    QCOMPARE(controller.rowCount(), 5);
    const QModelIndex title = controller.index(2, QFBlogEntryArrayController::TitleColumn);
    QCOMPARE(title.data().toString(), QFBlogPlugin::localizedString(QStringLiteral("NoTitle")));
    QCOMPARE(title.data(QFBlogEntryArrayController::EntryRole).value<QFBlogEntryPtr>(), untitled);
    QCOMPARE(controller.index(0, QFBlogEntryArrayController::DateColumn).data().toDateTime(), day(5));

    controller.updateSearchResults(IDList{1});
    QCOMPARE(controller.rowCount(), 1);
    QCOMPARE(controller.index(0, 0).data(QFBlogEntryArrayController::IDRole).toInt(), 1);
}

QTEST_GUILESS_MAIN(tst_QFBlogEntryArrayController)
#include "tst_qfblogentryarraycontroller.moc"

#include "blogposts.h"

#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogpluginindexes.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"
#include "qfkit/support/qfrecordingalertpresenter.h"
#include "qfkit/text/qfstyledtext.h"

#include <limits>
#include <QSignalSpy>
#include <QUndoStack>
#include <QtTest>

using IDList = QList<int>;

class tst_QFBlogPluginEntries : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { QFAlert::setPresenter(m_previousPresenter); }
    void init() { m_alerts.clear(); }

    void firstPostOfANewBlogHasIDZero();
    void postIDsNeverWrapAround();
    void newPostsAreNeverHiddenByASearch_data();
    void newPostsAreNeverHiddenByASearch();
    void currentEntry_data();
    void currentEntry();

    void removingPosts_data();
    void removingPosts();
    void undoOfRemovalBringsThePostsBackRenumbered();
    void undoOfAddingRemovesThePosts();

    void nullSeparatorGivesNoTextBetweenDateParts_data();
    void nullSeparatorGivesNoTextBetweenDateParts();
    void feedSummaryOfTheCurrentPost_data();
    void feedSummaryOfTheCurrentPost();

    void addCategoryFindsAFreeName_data();
    void addCategoryFindsAFreeName();
    void removeCategory_data();
    void removeCategory();

    void podcastGoesOnlyToASingleSelectedPost_data();
    void podcastGoesOnlyToASingleSelectedPost();

    void search_data();
    void search();
    void editedPostIsFoundByItsNewTextOnceSearchIsLive();

private:
    // Three posts, newest first: IDs 3, 2, 1.
    static void addThreePosts(QFBlogPlugin &plugin);

    QFRecordingAlertPresenter m_alerts;
    QFAlertPresenter *m_previousPresenter = nullptr;
};

void tst_QFBlogPluginEntries::initTestCase()
{
    initializeBlogPluginClass();
    m_previousPresenter = QFAlert::setPresenter(&m_alerts);
}

void tst_QFBlogPluginEntries::addThreePosts(QFBlogPlugin &plugin)
{
    for (int id = 1; id <= 3; ++id)
        addPost(plugin, id, day(id), QStringLiteral("Post %1").arg(id));
}

void tst_QFBlogPluginEntries::firstPostOfANewBlogHasIDZero()
{
    QFBlogPlugin plugin;
    QSignalSpy changed(&plugin, &QFTextViewPluginClient::pluginChanged);
    const QFBlogEntryPtr entry = plugin.addEntry();
    QVERIFY(entry);
    QCOMPARE(entry->ID(), 0);
    QCOMPARE(plugin.lastID(), 1);
    QCOMPARE(entry->GUID().size(), 32);
    QCOMPARE(plugin.selectedEntries(), QList<QFBlogEntryPtr>{entry});
    QVERIFY(changed.count() > 0);
}

void tst_QFBlogPluginEntries::postIDsNeverWrapAround()
{
    QFBlogPlugin plugin;
    plugin.setLastID(std::numeric_limits<int>::max() - 1);
    QCOMPARE(plugin.addEntry()->ID(), std::numeric_limits<int>::max() - 1);
    QVERIFY_THROWS_EXCEPTION(QFException, plugin.addEntry());
    QFBlogPlugin other;
    const QList<QFBlogEntryPtr> pasted{other.addEntry(), other.addEntry()};
    plugin.setLastID(std::numeric_limits<int>::max() - 1);
    QVERIFY_THROWS_EXCEPTION(QFException, plugin.addEntries(pasted));
    QCOMPARE(plugin.posts().size(), 1);
    QCOMPARE(plugin.lastID(), std::numeric_limits<int>::max() - 1);
}

void tst_QFBlogPluginEntries::newPostsAreNeverHiddenByASearch_data()
{
    QTest::addColumn<bool>("pasted");
    QTest::newRow("new empty post") << false;
    QTest::newRow("pasted post") << true;
}

void tst_QFBlogPluginEntries::newPostsAreNeverHiddenByASearch()
{
    QFETCH(bool, pasted);
    QFBlogPlugin plugin;
    addPost(plugin, 0, day(1), QStringLiteral("Apples"));
    plugin.indexes().onSearch(QStringLiteral("nothing like this"));
    QVERIFY(plugin.blogs().isEmpty());

    QFBlogEntryPtr added;
    if (pasted) {
        const QFBlogEntryPtr post = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
        post->setTitle(QStringLiteral("Pears"));
        post->setDate(QDateTime(QDate(2023, 5, 1), QTime(9, 0)));
        added = plugin.addEntries({post}).value(0);
    } else {
        added = plugin.addEntry();
    }

    QVERIFY(plugin.blogs().contains(added));
    QCOMPARE(plugin.blogs().size(), 2);
    QCOMPARE(plugin.indexes().searchString(), QString());
    QVERIFY(!plugin.blogEntryArrayController().searchResults());
}

void tst_QFBlogPluginEntries::currentEntry_data()
{
    QTest::addColumn<int>("postCount");
    QTest::addColumn<int>("selectedRow");
    QTest::addColumn<int>("expectedID"); // -1: none

    QTest::newRow("no selection: the first post shown") << 3 << -1 << 3;
    QTest::newRow("row 2") << 3 << 2 << 1;
    QTest::newRow("empty list") << 0 << -1 << -1;
}

void tst_QFBlogPluginEntries::currentEntry()
{
    QFETCH(int, postCount);
    QFETCH(int, selectedRow);
    QFETCH(int, expectedID);

    QFBlogPlugin plugin;
    for (int id = 1; id <= postCount; ++id)
        addPost(plugin, id, day(id));
    plugin.blogEntryArrayController().setSelectionIndex(selectedRow);
    const QFBlogEntryPtr entry = plugin.currentEntry();
    QCOMPARE(entry ? entry->ID() : -1, expectedID);
}

void tst_QFBlogPluginEntries::removingPosts_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<IDList>("remainingIDs");
    QTest::addColumn<int>("tagCountAfter"); // uses of "shared"

    QTest::newRow("sheet, Remove: tags stop counting") << "sheet-remove" << IDList{1} << 1;
    QTest::newRow("sheet, Cancel: nothing changes") << "sheet-cancel" << IDList{3, 2, 1} << 3;
    QTest::newRow("removeEntries: tags keep counting") << "removeEntries" << IDList{1} << 3;
}

void tst_QFBlogPluginEntries::removingPosts()
{
    QFETCH(QString, how);
    QFETCH(IDList, remainingIDs);
    QFETCH(int, tagCountAfter);

    QFBlogPlugin plugin;
    const QFBlogTag shared(QStringLiteral("shared"));
    for (int id = 1; id <= 3; ++id)
        addPost(plugin, id, day(id))->setTags(QFBlogTagList{shared});
    QCOMPARE(plugin.knownTags().countForObject(QVariant::fromValue(shared)), 3);
    plugin.blogEntryArrayController().setSelectionIndexes({0, 1}); // posts 3 and 2

    if (how == QLatin1String("removeEntries")) {
        plugin.removeEntries(plugin.selectedEntries());
        QVERIFY(m_alerts.requests().isEmpty());
    } else {
        m_alerts.queueAnswer(how == QLatin1String("sheet-remove") ? 0 : 1);
        plugin.removeEntry();
        QCOMPARE(m_alerts.requests().size(), 1);
        const QFAlertRequest request = m_alerts.requests().first();
        QCOMPARE(request.messageText, QFBlogPlugin::localizedString(QStringLiteral("RemoveEntries")));
        QCOMPARE(request.informativeText, QFBlogPlugin::localizedString(QStringLiteral("CannotBeUndone")));
        QCOMPARE(request.buttons, (QStringList{QFBlogPlugin::localizedString(QStringLiteral("Remove")),
                                               QFBlogPlugin::localizedString(QStringLiteral("Cancel"))}));
    }

    QCOMPARE(postIDs(plugin.blogs()), remainingIDs);
    QCOMPARE(plugin.knownTags().countForObject(QVariant::fromValue(shared)), tagCountAfter);
}

void tst_QFBlogPluginEntries::undoOfRemovalBringsThePostsBackRenumbered()
{
    QFSiteDocument document;
    QFBlogPlugin *plugin = new QFBlogPlugin;
    document.addPage(std::unique_ptr<QFTextViewPluginClient>(plugin), QStringLiteral("blog"), QStringLiteral("Blog"));
    addThreePosts(*plugin);
    const QFBlogEntryPtr removed = plugin->postForPostID(2);

    QFLogCapture log;
    plugin->removeEntries({removed});
    QCOMPARE(postIDs(plugin->blogs()), (IDList{3, 1}));
    QUndoStack *stack = document.undoStack();
    QCOMPARE(stack->count(), 1);

    stack->undo();
    QCOMPARE(plugin->blogs().size(), 3);
    QVERIFY(plugin->posts().contains(removed));
    QCOMPARE(removed->ID(), 4); // a fresh ID, never the old one
    QVERIFY(log.contains(QStringLiteral("[[self documentWindow] delegate] is QFSiteDocument")));

    stack->redo();
    QCOMPARE(postIDs(plugin->blogs()), (IDList{3, 1}));
    stack->undo();
    QCOMPARE(removed->ID(), 5);
}

void tst_QFBlogPluginEntries::undoOfAddingRemovesThePosts()
{
    QFSiteDocument document;
    QFBlogPlugin *plugin = new QFBlogPlugin;
    document.addPage(std::unique_ptr<QFTextViewPluginClient>(plugin), QStringLiteral("blog"), QStringLiteral("Blog"));
    addPost(*plugin, 0, day(1), QStringLiteral("Kept"));
    const QFBlogEntryPtr pasted = QFBlogEntry::blogEntryWithBlogPlugin(plugin);
    pasted->setID(0); // a clash with the post already there
    pasted->setGUID(QStringLiteral("copied-guid"));

    plugin->addEntries({pasted});
    QCOMPARE(pasted->ID(), 1);
    QVERIFY(pasted->GUID() != QLatin1String("copied-guid"));
    QCOMPARE(plugin->posts().size(), 2);

    document.undoStack()->undo();
    QCOMPARE(plugin->posts().size(), 1);
    QCOMPARE(plugin->posts().first()->title(), QStringLiteral("Kept"));
}

void tst_QFBlogPluginEntries::nullSeparatorGivesNoTextBetweenDateParts_data()
{
    QTest::addColumn<int>("nullSeparator"); // 0: none
    QTest::addColumn<QString>("expectedFormat");

    QTest::newRow("all separators set") << 0 << "%m/%d/%Y %I:%M %p ";
    QTest::newRow("null first separator") << 1 << "%m%d/%Y %I:%M %p ";
    QTest::newRow("null last separator") << 4 << "%m/%d/%Y %I:%M %p";
}

void tst_QFBlogPluginEntries::nullSeparatorGivesNoTextBetweenDateParts()
{
    QFETCH(int, nullSeparator);
    QFETCH(QString, expectedFormat);
    QFBlogPlugin plugin;
    if (nullSeparator > 0)
        plugin.setProperty(qPrintable(QStringLiteral("dateSeperator%1").arg(nullSeparator)), QString());
    QSignalSpy changed(&plugin, &QFTextViewPluginClient::pluginChanged);

    QCOMPARE(plugin.userConfiguredDate(), expectedFormat);
    QCOMPARE(changed.count(), 0);
}

void tst_QFBlogPluginEntries::feedSummaryOfTheCurrentPost_data()
{
    QTest::addColumn<int>("checkBox");
    QTest::addColumn<int>("slider");
    QTest::addColumn<bool>("shown");
    QTest::addColumn<int>("storedCount");

    QTest::newRow("on, two sentences") << 1 << 2 << true << 2;
    QTest::newRow("on, more sentences than the body has") << 1 << 9 << true << 3;
    QTest::newRow("off: nothing shown, count kept") << 0 << 2 << false << 5;
}

void tst_QFBlogPluginEntries::feedSummaryOfTheCurrentPost()
{
    QFETCH(int, checkBox);
    QFETCH(int, slider);
    QFETCH(bool, shown);
    QFETCH(int, storedCount);

    QFBlogPlugin plugin;
    const QFBlogEntryPtr entry = addPost(plugin, 1, day(1), {}, QStringLiteral("First one. Second one. Third one."));
    entry->setSummarizeRSSSentenceCount(5);

    const std::optional<QString> text = plugin.onSummarizeCheckbox(checkBox, slider);
    QCOMPARE(entry->summarizeRSSEntry(), checkBox != 0);
    QCOMPARE(text.has_value(), shown);
    QCOMPARE(entry->summarizeRSSSentenceCount(), storedCount);
    if (shown) {
        QVERIFY(text->startsWith(QStringLiteral("First one.")));
        QCOMPARE(text->contains(QStringLiteral("Third")), storedCount == 3);
    }
}

void tst_QFBlogPluginEntries::addCategoryFindsAFreeName_data()
{
    QTest::addColumn<QList<int>>("existing"); // 1: the plain name, n: its n variant
    QTest::addColumn<int>("expected");

    QTest::newRow("free") << QList<int>{} << 1;
    QTest::newRow("plain name and 2 taken") << QList<int>{1, 2} << 3;
    QTest::newRow("gap at 2 is used") << QList<int>{1, 3} << 2;
}

void tst_QFBlogPluginEntries::addCategoryFindsAFreeName()
{
    QFETCH(QList<int>, existing);
    QFETCH(int, expected);
    const auto nameFor = [](int n) {
        return n == 1 ? QFBlogPlugin::localizedString(QStringLiteral("NewCategoryName"))
                      : QFBlogPlugin::localizedString(QStringLiteral("NewCategoryNameFormatString")).arg(n);
    };
    QFBlogPlugin plugin;
    for (int n : existing)
        plugin.addNewCategory(nameFor(n));
    const qsizetype before = plugin.categories().size();

    const QFBlogCategoryPtr category = plugin.addCategory();
    QCOMPARE(category->categoryName(), nameFor(expected));
    QCOMPARE(plugin.categories().size(), before + 1);
}

void tst_QFBlogPluginEntries::removeCategory_data()
{
    QTest::addColumn<QString>("which");
    QTest::addColumn<bool>("removed");
    QTest::addColumn<int>("handedOffPosts");

    QTest::newRow("unused category is removed") << "unused" << true << 0;
    QTest::newRow("used category goes to merging") << "used" << false << 2;
    QTest::newRow("None category stays") << "none" << false << 0;
}

void tst_QFBlogPluginEntries::removeCategory()
{
    QFETCH(QString, which);
    QFETCH(bool, removed);
    QFETCH(int, handedOffPosts);

    QFBlogPlugin plugin;
    const QFBlogCategoryPtr used = plugin.addNewCategory(QStringLiteral("Used"));
    const QFBlogCategoryPtr unused = plugin.addNewCategory(QStringLiteral("Unused"));
    for (int id = 1; id <= 3; ++id) {
        const QFBlogEntryPtr entry = addPost(plugin, id, day(1));
        if (id != 2)
            entry->setCategoryIDs({used->categoryID()});
    }
    const QFBlogCategoryPtr target =
        which == QLatin1String("used") ? used : which == QLatin1String("unused") ? unused : plugin.categories().first();
    QList<QFBlogEntryPtr> handedOff;
    QFBlogCategoryPtr handedCategory;
    connect(&plugin, &QFBlogPlugin::mergeCategoriesRequested, this,
            [&](const QList<QFBlogEntryPtr> &entries, const QFBlogCategoryPtr &category) {
                handedOff = entries;
                handedCategory = category;
            });

    plugin.removeCategory(target);

    QCOMPARE(!plugin.categories().contains(target), removed);
    QCOMPARE(handedOff.size(), handedOffPosts);
    if (handedOffPosts > 0)
        QCOMPARE(handedCategory, target);
}

void tst_QFBlogPluginEntries::podcastGoesOnlyToASingleSelectedPost_data()
{
    QTest::addColumn<QList<int>>("selectedRows");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("taken");

    QTest::newRow("one post selected") << QList<int>{1} << "/media/show.mp3" << true;
    QTest::newRow("two posts selected") << QList<int>{0, 1} << "/media/show.mp3" << false;
    QTest::newRow("no file chosen") << QList<int>{1} << QString() << false;
}

void tst_QFBlogPluginEntries::podcastGoesOnlyToASingleSelectedPost()
{
    QFETCH(QList<int>, selectedRows);
    QFETCH(QString, path);
    QFETCH(bool, taken);

    QFBlogPlugin plugin;
    addPost(plugin, 1, day(1));
    addPost(plugin, 2, day(2));
    plugin.blogEntryArrayController().setSelectionIndexes(selectedRows);

    QCOMPARE(plugin.choosePodcast(path), taken);
    QCOMPARE(plugin.postForPostID(1)->podcast(), taken ? path : QString());
    QCOMPARE(plugin.postForPostID(2)->podcast(), QString());
    if (taken) {
        plugin.clearPodcast();
        QCOMPARE(plugin.postForPostID(1)->podcast(), QString(QLatin1String("")));
    }
}

void tst_QFBlogPluginEntries::search_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<IDList>("shownIDs");

    // How the text is matched is the index's test; here, what the list shows.
    QTest::newRow("title of one, body of another, newest first") << "PEAR" << IDList{3, 2};
    QTest::newRow("title and body of the same post: once") << "plum" << IDList{3};
    QTest::newRow("no match hides every post") << "quince" << IDList{};
    QTest::newRow("empty text shows every post") << QString() << IDList{3, 2, 1};
}

void tst_QFBlogPluginEntries::search()
{
    QFETCH(QString, text);
    QFETCH(IDList, shownIDs);

    QFBlogPlugin plugin;
    addPost(plugin, 1, day(1), QStringLiteral("Apples"), QStringLiteral("Crisp and red."));
    addPost(plugin, 2, day(2), QStringLiteral("Pears"), QStringLiteral("Soft."));
    addPost(plugin, 3, day(3), QStringLiteral("Plums"), QStringLiteral("Better than a pear; a plum."));
    QSignalSpy refreshed(&plugin, &QFBlogPlugin::currentEntryNeedsDisplay);

    plugin.indexes().onSearch(text);
    QCOMPARE(postIDs(plugin.blogs()), shownIDs);
    QCOMPARE(plugin.indexes().searchString(), text.isNull() ? QString(QLatin1String("")) : text);
    QCOMPARE(refreshed.count(), 1);

    plugin.indexes().clearSearch();
    QCOMPARE(postIDs(plugin.blogs()), (IDList{3, 2, 1}));
}

void tst_QFBlogPluginEntries::editedPostIsFoundByItsNewTextOnceSearchIsLive()
{
    QFBlogPlugin plugin;
    const QFBlogEntryPtr entry = addPost(plugin, 1, day(1), QStringLiteral("Original title"));
    plugin.indexes().onSearch(QStringLiteral("title"));

    entry->setEntryString(QStringLiteral("Now about walnuts."));
    plugin.reindexBlogEntry(entry);
    plugin.indexes().onSearch(QStringLiteral("walnut"));
    QCOMPARE(postIDs(plugin.blogs()), IDList{1});

    plugin.removeEntries({entry});
    plugin.indexes().onSearch(QStringLiteral("walnut"));
    QVERIFY(plugin.blogs().isEmpty());
    plugin.addEntries({entry});
    plugin.indexes().onSearch(QStringLiteral("walnut"));
    QCOMPARE(postIDs(plugin.blogs()), IDList{entry->ID()});
    QVERIFY(entry->ID() != 1);
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginEntries)
#include "tst_qfblogpluginentries.moc"

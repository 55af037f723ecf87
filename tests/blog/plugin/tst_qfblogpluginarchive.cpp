#include "blogfixtures.h"

#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"

#include <QSignalSpy>
#include <QThread>
#include <QtTest>

namespace {

// Positions of the values in the blog's record (1-based, as they are written).
enum Position {
    PostsPosition = 1,
    HomepagePosition = 2,
    LastIDPosition = 7,
    DateSeparator3Position = 10,
    DateModifier1Position = 12,
    DateModifier2Position = 13,
    DateModifier3Position = 14,
    DateModifier4Position = 15,
    CommentsSwitchPosition = 17,
    HaloscanAccountPosition = 18,
    PeriodTextPosition = 21,
    FeedSwitchPosition = 22,
    PodcastingPosition = 24,
    CategoriesPosition = 31,
    ChannelITunesSwitchPosition = 36,
    ChannelITunesTagsPosition = 37,
    SmileysPosition = 46,
    PeriodPosition = 47,
    BuildDatePosition = 55,
    RecordLength = 59,
};

using Overrides = QMap<int, QVariant>;

const QDateTime &kNow = kFixtureNow;
const QDateTime &kBuilt = kFixtureBuilt;

QString L(const char *key)
{
    return QFBlogPlugin::localizedString(QString::fromLatin1(key));
}

QByteArray recordOf(const QFBlogPlugin &plugin)
{
    QFArchiver coder;
    plugin.encodeWithCoder(coder);
    return coder.data();
}

QVariantList valuesOf(const QByteArray &record)
{
    QFUnarchiver coder(record);
    QVariantList values;
    while (!coder.atEnd())
        values.append(coder.decodeObject());
    return values;
}

QByteArray recordFromValues(const QVariantList &values)
{
    QFArchiver coder;
    for (const QVariant &value : values)
        coder.encodeObject(value);
    return coder.data();
}

QByteArray legacyRecord(const Overrides &overrides, int keep = RecordLength)
{
    const QFBlogPlugin fresh;
    QVariantList values = valuesOf(recordOf(fresh));
    for (auto it = overrides.cbegin(); it != overrides.cend(); ++it)
        values[it.key() - 1] = it.value();
    return recordFromValues(values.mid(0, keep));
}

std::unique_ptr<QFBlogPlugin> readRecord(const QByteArray &record)
{
    auto plugin = std::make_unique<QFBlogPlugin>();
    plugin->setClock([] { return kNow; });
    QFUnarchiver coder(record);
    plugin->initWithCoder(coder);
    return plugin;
}

QVariantMap postDictionary(int id, std::optional<int> categoryIndex = 1, bool withGUID = true, bool withITunes = true)
{
    QVariantMap post{{QStringLiteral("title"), QStringLiteral("Post %1").arg(id)},
                     {QStringLiteral("id"), id},
                     {QStringLiteral("date"), QDateTime(QDate(2022, 1, 1 + id % 28), QTime(9, 0))}};
    if (categoryIndex)
        post.insert(QStringLiteral("categoryIndex"), *categoryIndex);
    if (withGUID)
        post.insert(QStringLiteral("guid"), QStringLiteral("guid-%1").arg(id));
    if (withITunes)
        post.insert(QStringLiteral("itunesTags"), QFCodingSupport::variantFromObject(QFBlogCustomiTunesTags::tags()));
    return post;
}

QVariantMap categoryDictionary(const QString &name, int id, bool none = false)
{
    return {{QStringLiteral("categoryName"), name},
            {QStringLiteral("categoryID"), id},
            {QStringLiteral("categoryNone"), none}};
}

QList<int> postIDs(const QFBlogPlugin &plugin)
{
    QList<int> ids;
    for (const QFBlogEntryPtr &entry : plugin.posts())
        ids.append(entry->ID());
    return ids;
}

// An object of a class no reader knows.
class StrangeObject final : public QFCoding
{
public:
    QString codingClassName() const override { return QStringLiteral("QFNoSuchClass"); }
    void encodeWithCoder(QFArchiver &coder) const override { coder.encodeObject(QStringLiteral("?")); }
};

} // namespace

class tst_QFBlogPluginArchive : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void everySettingSurvivesWriteAndRead();
    void eachSettingKeepsItsPlaceInTheRecord_data();
    void eachSettingKeepsItsPlaceInTheRecord();
    void olderRecordsReadByTheirRules_data();
    void olderRecordsReadByTheirRules();
    void recordWithoutCategoriesKeepsTheDefaults();
    void duplicateIDIsReplacedAndLogged();
    void repairsAfterReading_data();
    void repairsAfterReading();
    void malformedRecordReachesTheCaller_data();
    void malformedRecordReachesTheCaller();
    void readingFromAnotherThreadHappensOnTheMainThread();
};

void tst_QFBlogPluginArchive::initTestCase()
{
    initializeBlogClassForFixtures();
}

void tst_QFBlogPluginArchive::everySettingSurvivesWriteAndRead()
{
    const QSet<QByteArray> notCarried = {"commentsUserIdentifiers", "commentsSelectedProviderTag", "sidebarControl",
                                         "sidebarSeparator", "exportCategoriesAlphabetically", "languages", "dates",
                                         "shouldUpdateSearchIndexes", "pluginIsInitialising", "localizeCheckBoxState",
                                         "objectName"};
    // Follow from other values rather than being set.
    const QSet<QByteArray> derived = {"archivePostsPeriodString", "knownTagsArray"};

    const QFBlogPlugin fresh;
    QFBlogPlugin blog;
    blog.setClock([] { return kNow; });
    QList<QByteArray> carried;
    changeEverything(blog, notCarried, derived, carried);
    if (QTest::currentTestFailed())
        return;

    const QByteArray record = recordOf(blog);
    QCOMPARE(valuesOf(record).size(), int(RecordLength));

    auto loaded = std::make_unique<QFBlogPlugin>();
    loaded->setClock([] { return kNow; });
    QSignalSpy reports(loaded.get(), &QFTextViewPluginClient::pluginChanged);
    QFUnarchiver coder(record);
    QCOMPARE(loaded->initWithCoder(coder), loaded.get());

    for (const QByteArray &key : std::as_const(carried)) {
        QVariant expected = comparable(blog.property(key));
        if (key == "lastSavedBuildDate")
            expected = kBuilt;
        else if (key == "enableComments")
            expected = true;
        QVERIFY2(expected != comparable(fresh.property(key)), "not changed from its default: " + key);
        const QVariant actual = comparable(loaded->property(key));
        QVERIFY2(actual == expected, key + ": " + QDebug::toString(actual).toUtf8() + " != "
                                         + QDebug::toString(expected).toUtf8());
    }

    const QString differences = postDifferences(blog, *loaded);
    QVERIFY2(differences.isEmpty(), qPrintable(differences));
    QVERIFY(!loaded->postIDWasChanged());
    QCOMPARE(reports.count(), 0);
    QVERIFY(!loaded->pluginIsInitialising());
    QCOMPARE(loaded->blogEntryArrayController().selectionIndex(), 0);

    QCOMPARE(recordOf(*loaded), record);
}

void tst_QFBlogPluginArchive::eachSettingKeepsItsPlaceInTheRecord_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QList<int>>("positions");

    const QList<QPair<const char *, QList<int>>> places{
        {"rssHomepage", {2}}, {"rssDescription", {3}}, {"rssCreator", {4}}, {"rssCopyright", {5}},
        {"rssLanguage", {6}}, {"lastID", {7}}, {"dateSeperator1", {8}}, {"dateSeperator2", {9}},
        {"dateSeperator3", {10}}, {"dateSeperator4", {11}}, {"dateModifier1", {12}}, {"dateModifier2", {13}},
        {"dateModifier3", {14}}, {"dateModifier4", {15}}, {"localizeDate", {16}}, {"enableComments", {17}},
        {"archivePostsEnabled", {19}}, {"archivePostsShowGaps", {20}}, {"enableRSS", {22}}, {"rssTitle", {23}},
        {"enablePodcasting", {24}}, {"rssFeedLinkName", {25}}, {"rssCommentsLinkName", {26}},
        {"showAtLeastPosts", {27}}, {"showPostLimit", {28}}, {"rssCustomFeedFilename", {29}},
        {"channelCustomTags", {30}}, {"categories", {31}}, {"categorySeparator", {32}},
        {"summarizeEntryRSS", {33}}, {"summarizeEntryRSSCount", {34}}, {"categoryPostsEnabled", {35}},
        {"enableCustomiTunesTags", {36}}, {"channelCustomiTunesTags", {37}}, {"generatePermalinkPages", {38}},
        {"generateRssEntriesForMainPageOnly", {39}}, {"enablePing", {40}}, {"pingSettings", {41}},
        {"permalinkLinkName", {42}}, {"showCategoryPostCounts", {43}}, {"readMoreLinkName", {44}},
        {"prependSummaryToPost", {45}}, {"enableSmileys", {46}}, {"archivePostsPeriod", {21, 47}},
        {"tagsEnabled", {48}}, {"tagCloudEnabled", {49}}, {"showPostCountsForTags", {50}}, {"tagsTitle", {51}},
        {"tagsSeparator", {52}}, {"categoryTitle", {53}}, {"enableCommentsInline", {54}},
        {"lastBuildDate", {55}}, {"rssCustomFeedURL", {56}}, {"enableCustomRSSURL", {57}},
        {"usePHPForSidebarContent", {58}}, {"commentSeparator", {59}}};
    for (const auto &[key, positions] : places)
        QTest::newRow(key) << QByteArray(key) << positions;
}

void tst_QFBlogPluginArchive::eachSettingKeepsItsPlaceInTheRecord()
{
    QFETCH(QByteArray, key);
    QFETCH(QList<int>, positions);

    QFBlogPlugin fresh;
    QFBlogPlugin blog;
    for (QFBlogPlugin *plugin : {&fresh, &blog}) {
        plugin->setClock([] { return kNow; });
        plugin->setLastBuildDate(kNow);
    }
    const QVariant changed = changedValue(key, blog.property(key));
    QVERIFY(blog.setProperty(key, changed));

    const QVariantList before = valuesOf(recordOf(fresh));
    const QVariantList after = valuesOf(recordOf(blog));
    QCOMPARE(after.size(), before.size());
    QList<int> differing;
    for (int i = 0; i < after.size(); ++i) {
        // Objects are new on every reading; compare what they hold.
        const QVariant a = QFCodingSupport::objectFromVariant(after.at(i)) ? QVariant() : after.at(i);
        const QVariant b = QFCodingSupport::objectFromVariant(before.at(i)) ? QVariant() : before.at(i);
        if (a != b || (key == "channelCustomTags" && i + 1 == 30) || (key == "channelCustomiTunesTags" && i + 1 == 37))
            differing.append(i + 1);
    }
    QCOMPARE(differing, positions);
}

void tst_QFBlogPluginArchive::olderRecordsReadByTheirRules_data()
{
    QTest::addColumn<Overrides>("overrides");
    QTest::addColumn<int>("keep");
    QTest::addColumn<QVariantMap>("expected");

    const auto row = [](const char *name, const Overrides &overrides, const QVariantMap &expected, int keep = RecordLength) {
        QTest::newRow(name) << overrides << keep << expected;
    };
    const QVariant nil;
    const QVariantMap haloscanAda{{"haloscan", "ada"}};

    row("comments on without an account: JS-Kit", {{CommentsSwitchPosition, true}, {HaloscanAccountPosition, nil}},
        {{"commentsSelectedProviderTag", 2}, {"commentsUserIdentifiers", QVariantMap()}, {"enableComments", true}});
    row("comments on with an account: Haloscan with it", {{CommentsSwitchPosition, true}, {HaloscanAccountPosition, "ada"}},
        {{"commentsSelectedProviderTag", 1}, {"commentsUserIdentifiers", haloscanAda}});
    row("comments switch missing counts as off", {{CommentsSwitchPosition, nil}, {HaloscanAccountPosition, "ada"}},
        {{"commentsSelectedProviderTag", 0}, {"commentsUserIdentifiers", haloscanAda}});
    row("comments switch as the text 1 is on", {{CommentsSwitchPosition, "1"}}, {{"commentsSelectedProviderTag", 2}});
    row("comments switch as any other text is off", {{CommentsSwitchPosition, "YES"}}, {{"commentsSelectedProviderTag", 0}});
    row("feed switch as the text true is off", {{FeedSwitchPosition, "true"}}, {{"enableRSS", false}});
    row("podcasting stored off comes back on", {{PodcastingPosition, false}}, {{"enablePodcasting", true}});
    row("period text alone selects months", {{PeriodTextPosition, "Year"}, {PeriodPosition, nil}}, {{"archivePostsPeriod", 1}});
    row("period number wins over its text", {{PeriodTextPosition, "Week"}, {PeriodPosition, 2}}, {{"archivePostsPeriod", 2}});
    row("channel iTunes switch of another kind is off", {{ChannelITunesSwitchPosition, QVariantList{true}}},
        {{"enableCustomiTunesTags", false}});
    row("missing smileys setting is on", {{SmileysPosition, nil}}, {{"enableSmileys", true}});
    row("build date is read as both dates", {{BuildDatePosition, kBuilt}},
        {{"lastBuildDate", kBuilt}, {"lastSavedBuildDate", kBuilt}});
    row("unknown date modifier resets all four",
        {{DateModifier1Position, "Fortnight"}, {DateModifier2Position, "Weekday Name"},
         {DateModifier3Position, "Month Name"}, {DateModifier4Position, "Minute"}},
        {{"dateModifier1", L("datemod1")}, {"dateModifier2", L("datemod2")}, {"dateModifier3", L("datemod3")},
         {"dateModifier4", L("datemod4")}});
    row("empty record gives the fallbacks", {},
        {{"rssTitle", L("MyRSSFeed")}, {"rssFeedLinkName", L("RSSFeedLinkName")},
         {"commentSeparator", L("DefaultCommentSeparator")}, {"enableSmileys", true}, {"enablePodcasting", true},
         {"categoryPostsEnabled", true}, {"summarizeEntryRSSCount", 1}, {"showAtLeastPosts", false},
         {"lastBuildDate", kNow}, {"lastSavedBuildDate", kNow}, {"commentsSelectedProviderTag", 0}},
        0);
    row("record ending after the date separators",
        {{HomepagePosition, "http://old.example.org/"}, {DateSeparator3Position, "-"}, {SmileysPosition, false}},
        {{"rssHomepage", "http://old.example.org/"}, {"dateSeperator3", "-"}, {"dateSeperator4", " "},
         {"enableSmileys", true}, {"archivePostsEnabled", true}, {"lastBuildDate", kNow}},
        10);
}

void tst_QFBlogPluginArchive::olderRecordsReadByTheirRules()
{
    QFETCH(Overrides, overrides);
    QFETCH(int, keep);
    QFETCH(QVariantMap, expected);

    auto plugin = std::make_unique<QFBlogPlugin>();
    plugin->setClock([] { return kNow; });
    QSignalSpy reports(plugin.get(), &QFTextViewPluginClient::pluginChanged);
    QFUnarchiver coder(legacyRecord(overrides, keep));
    plugin->initWithCoder(coder);

    for (auto it = expected.cbegin(); it != expected.cend(); ++it)
        QCOMPARE(plugin->property(it.key().toLatin1()), it.value());
    QCOMPARE(reports.count(), 0);
    QVERIFY(!plugin->pluginIsInitialising());
}

void tst_QFBlogPluginArchive::recordWithoutCategoriesKeepsTheDefaults()
{
    const QFBlogPlugin fresh;
    QCOMPARE_GE(fresh.categories().size(), 3);
    const auto plugin = readRecord(legacyRecord(
        {{PostsPosition, QVariantList{postDictionary(1, 2)}}, {CategoriesPosition, QVariant()}}));

    QCOMPARE(comparable(QVariant::fromValue(plugin->categories())), comparable(QVariant::fromValue(fresh.categories())));
    QCOMPARE(plugin->posts().size(), 1);
    const QList<QFBlogCategoryPtr> categories = plugin->posts().first()->categories();
    QCOMPARE(categories.size(), 1);
    QCOMPARE(categories.first(), plugin->categories().at(2));
}

void tst_QFBlogPluginArchive::duplicateIDIsReplacedAndLogged()
{
    QFLogCapture capture;
    const auto plugin = readRecord(
        legacyRecord({{PostsPosition, QVariantList{postDictionary(7), postDictionary(7)}}, {LastIDPosition, 7}}));

    // The second 7 skips the taken 7 and gets 8.
    QCOMPARE(postIDs(*plugin), (QList<int>{7, 8}));
    QCOMPARE(plugin->lastID(), 9);
    QVERIFY(plugin->postIDWasChanged());
    QVERIFY2(capture.contains(QStringLiteral("Blog Plugin: Replaced duplicate ID '7' with '8'")),
             qPrintable(capture.lines().join(u'\n')));
}

void tst_QFBlogPluginArchive::repairsAfterReading_data()
{
    QTest::addColumn<QVariantList>("posts");
    QTest::addColumn<QVariant>("categories");
    QTest::addColumn<bool>("changed");
    QTest::addColumn<QVariantMap>("firstPost");
    QTest::addColumn<QList<int>>("categoryIDs");

    const QVariantList categories{categoryDictionary(QStringLiteral("None"), 1, true),
                                  categoryDictionary(QStringLiteral("Travel"), 4),
                                  categoryDictionary(QStringLiteral("Food"), 6)};
    const QList<int> storedIDs{1, 4, 6};

    QTest::newRow("filed post: nothing to repair")
        << QVariantList{postDictionary(1, 1)} << QVariant(categories) << false
        << QVariantMap{{"categoryIDs", QVariant::fromValue(QList<int>{4})}} << storedIDs;
    QTest::newRow("post without a category goes under None")
        << QVariantList{postDictionary(1, std::nullopt)} << QVariant(categories) << true
        << QVariantMap{{"categoryIDs", QVariant::fromValue(QList<int>{1})}} << storedIDs;
    QTest::newRow("post without a GUID gets one")
        << QVariantList{postDictionary(1, 1, false)} << QVariant(categories) << true
        << QVariantMap{{"GUID length", 32}} << storedIDs;
    QTest::newRow("post without iTunes tags gets a set")
        << QVariantList{postDictionary(1, 1, true, false)} << QVariant(categories) << true
        << QVariantMap{{"has iTunes tags", true}} << storedIDs;
    QTest::newRow("categories without IDs get the next ones in turn")
        << QVariantList{postDictionary(1, 1)}
        << QVariant(QVariantList{categoryDictionary(QStringLiteral("None"), 1, true),
                                 categoryDictionary(QStringLiteral("A"), 0), categoryDictionary(QStringLiteral("B"), 4),
                                 categoryDictionary(QStringLiteral("C"), 0)})
        << true << QVariantMap() << QList<int>{1, 5, 4, 6};
    QTest::newRow("post that cannot be read is left out")
        << QVariantList{QVariantMap{{QStringLiteral("title"), 42}}, postDictionary(2, 1)} << QVariant(categories) << false
        << QVariantMap{{"ID", 2}} << storedIDs;
}

void tst_QFBlogPluginArchive::repairsAfterReading()
{
    QFETCH(QVariantList, posts);
    QFETCH(QVariant, categories);
    QFETCH(bool, changed);
    QFETCH(QVariantMap, firstPost);
    QFETCH(QList<int>, categoryIDs);

    QFLogCapture capture;
    const auto plugin = readRecord(legacyRecord({{PostsPosition, posts}, {CategoriesPosition, categories}}));

    QCOMPARE(plugin->postIDWasChanged(), changed);
    QVERIFY(!plugin->posts().isEmpty());
    const QFBlogEntryPtr post = plugin->posts().first();
    for (auto it = firstPost.cbegin(); it != firstPost.cend(); ++it) {
        if (it.key() == QLatin1String("GUID length"))
            QCOMPARE(post->GUID().size(), it.value().toInt());
        else if (it.key() == QLatin1String("has iTunes tags"))
            QCOMPARE(bool(post->itunesTags()), it.value().toBool());
        else
            QCOMPARE(post->property(it.key().toLatin1()), it.value());
    }
    QList<int> ids;
    for (const QFBlogCategoryPtr &category : plugin->categories())
        ids.append(category->categoryID());
    QCOMPARE(ids, categoryIDs);
}

void tst_QFBlogPluginArchive::malformedRecordReachesTheCaller_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<QString>("name");

    QFBlogPlugin blog;
    QFBlogEntryPtr post = QFBlogEntry::blogEntryWithBlogPlugin(&blog);
    post->setTitle(QStringLiteral("A post long enough to be cut in the middle of its title"));
    blog.insertBlogEntry(post);
    const QByteArray good = recordOf(blog);

    QVariantList values = valuesOf(good);
    values[ChannelITunesTagsPosition - 1] = QFCodingSupport::variantFromObject(std::make_shared<StrangeObject>());

    QTest::newRow("cut inside the posts") << good.left(40) << QStringLiteral("Malformed Archive");
    QTest::newRow("cut inside the last value") << good.chopped(2) << QStringLiteral("Malformed Archive");
    QTest::newRow("object of an unknown class") << recordFromValues(values) << QStringLiteral("Unknown Class");
}

void tst_QFBlogPluginArchive::malformedRecordReachesTheCaller()
{
    QFETCH(QByteArray, record);
    QFETCH(QString, name);

    QFBlogPlugin plugin;
    QFUnarchiver coder(record);
    try {
        plugin.initWithCoder(coder);
        QFAIL("the record was read");
    } catch (const QFException &error) {
        QCOMPARE(error.name(), name);
    }
    QVERIFY(!plugin.pluginIsInitialising());
}

void tst_QFBlogPluginArchive::readingFromAnotherThreadHappensOnTheMainThread()
{
    const QByteArray good = legacyRecord({{PostsPosition, QVariantList{postDictionary(1), postDictionary(2)}}});
    const QByteArray bad = good.chopped(2);

    std::unique_ptr<QFBlogPlugin> plugin;
    std::unique_ptr<QFBlogPlugin> other;
    QString failure;
    QThread *worker = QThread::create([&] {
        plugin = std::make_unique<QFBlogPlugin>();
        QFUnarchiver coder(good);
        plugin->initWithCoder(coder);
        other = std::make_unique<QFBlogPlugin>();
        QFUnarchiver badCoder(bad);
        try {
            other->initWithCoder(badCoder);
        } catch (const QFException &error) {
            failure = error.name();
        }
    });
    worker->start();
    QTRY_VERIFY_WITH_TIMEOUT(worker->isFinished(), 60000);
    delete worker;

    QVERIFY(plugin);
    QCOMPARE(plugin->thread(), QThread::currentThread());
    QCOMPARE(postIDs(*plugin), (QList<int>{1, 2}));
    QCOMPARE(plugin->blogEntryArrayController().arrangedObjects().size(), 2);
    QCOMPARE(plugin->blogEntryArrayController().selectionIndex(), 0);
    QCOMPARE(other->thread(), QThread::currentThread());
    QCOMPARE(failure, QStringLiteral("Malformed Archive"));
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginArchive)
#include "tst_qfblogpluginarchive.moc"

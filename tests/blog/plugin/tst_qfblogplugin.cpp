#include "blogposts.h"

#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/generation/qfblogpluginrss.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qffilereference.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qfrecordingalertpresenter.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QMetaProperty>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

using ExportStage = QFBlogPlugin::ExportStage;

struct PostFixture
{
    QDateTime date;
    bool draft = false;
};
using PostFixtures = QList<PostFixture>;
Q_DECLARE_METATYPE(PostFixtures)

class tst_QFBlogPlugin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase()
    {
        QFAlert::setPresenter(m_previousPresenter);
        QFBlogPlugin::setUserIdentityProvider({});
    }

    void creatorComesFromTheUser_data();
    void creatorComesFromTheUser();

    void settingByKeyBroadcastsAsItsRuleSays_data();
    void settingByKeyBroadcastsAsItsRuleSays();
    void everyWritableKeyHasABroadcastRule();

    void mainPagePosts_data();
    void mainPagePosts();

    void guidIs32LowerCaseHexAndFresh();

    void blogWithoutPostsExportsNothingAndMakesNoFolder();
    void exportWritesTheFilesOfItsMode_data();
    void exportWritesTheFilesOfItsMode();
    void cancelExportStopsTheDriver_data();
    void cancelExportStopsTheDriver();

    void commentsAccountFields_data();
    void commentsAccountFields();
    void commentsAccountTextIsStoredPerService_data();
    void commentsAccountTextIsStoredPerService();

    void podcastImageIsWrittenAsPNG_data();
    void podcastImageIsWrittenAsPNG();
    void exportErrorsAreReportedOnce_data();
    void exportErrorsAreReportedOnce();

    void tagCountsFollowAddAndRemove();
    void documentWasLoadedFindsMovedPodcastsSilently();

private:
    static QString scratchPath(const QFBlogPlugin &plugin);

    QFRecordingAlertPresenter m_alerts;
    QFAlertPresenter *m_previousPresenter = nullptr;
};

namespace {

const QDateTime kT1(QDate(2021, 6, 1), QTime(10, 0));
const QDateTime kT2(QDate(2022, 7, 2), QTime(11, 30));

QByteArray imageBytes(const char *format)
{
    QImage image(7, 5, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QStringList fileNames(const QList<QFExportItem> &items)
{
    QStringList names;
    for (const QFExportItem &item : items)
        names.append(item.isFile() ? QFileInfo(item.filePath()).fileName() : QStringLiteral("subpage:") + item.name());
    return names;
}

} // namespace

void tst_QFBlogPlugin::initTestCase()
{
    QFBlogPlugin::setUserIdentityProvider([] { return QFBlogUserIdentity{QStringLiteral("Ada Lovelace"), QString()}; });
    initializeBlogPluginClass();
    m_previousPresenter = QFAlert::setPresenter(&m_alerts);
}

QString tst_QFBlogPlugin::scratchPath(const QFBlogPlugin &plugin)
{
    return QDir::tempPath() + QStringLiteral("/quillfen-") + QString::number(QCoreApplication::applicationPid())
        + QLatin1Char('/') + plugin.uniqueID() + QStringLiteral("/QFBlogPlugin");
}

void tst_QFBlogPlugin::creatorComesFromTheUser_data()
{
    QTest::addColumn<QString>("email");
    QTest::addColumn<QString>("creator");

    QTest::newRow("user with an address") << "ada@analytical.example" << "ada@analytical.example";
    QTest::newRow("user without one gets the placeholder") << "" << "you@example.com";
}

// A new blog's feed names its author; the copyright names the user and the year.

void tst_QFBlogPlugin::creatorComesFromTheUser()
{
    QFETCH(QString, email);
    QFETCH(QString, creator);

    QFBlogPlugin::setUserIdentityProvider([email] { return QFBlogUserIdentity{QStringLiteral("Ada Lovelace"), email}; });
    QFBlogPlugin plugin;
    QFBlogPlugin::setUserIdentityProvider([] { return QFBlogUserIdentity{QStringLiteral("Ada Lovelace"), QString()}; });
    QCOMPARE(plugin.rssCreator(), creator);
    QCOMPARE(plugin.rssCopyright(), QStringLiteral("%1 %2 Ada Lovelace")
                                        .arg(QFBlogPlugin::localizedString(QStringLiteral("Copyright")))
                                        .arg(QDate::currentDate().year()));
}

namespace {

// How setting a key by key-value coding reaches the host.
struct BroadcastRule
{
    QByteArray key;
    QVariant value;       // differs from the new blog's value
    bool onChange;        // setting that value
    bool onSameValue;     // giving the value just set again
};

QList<BroadcastRule> broadcastRules()
{
    QList<BroadcastRule> rules;
    const auto add = [&rules](const char *key, const QVariant &value, bool onChange = true, bool onSame = false) {
        rules.append({QByteArray(key), value, onChange, onSame});
    };
    const QVariant text(QStringLiteral("changed text"));
    // Compared, reported on a real change.
    for (const char *key : {"rssLanguage", "rssHomepage", "rssDescription", "rssCreator", "rssCopyright", "rssTitle",
                            "dateSeperator1", "dateSeperator2", "dateSeperator3", "dateSeperator4", "permalinkLinkName",
                            "readMoreLinkName", "sidebarSeparator", "categorySeparator", "commentSeparator",
                            "categoryTitle", "tagsTitle", "tagsSeparator", "dateModifier1", "dateModifier2",
                            "dateModifier3", "dateModifier4", "localizeDate"})
        add(key, text);
    for (const char *key : {"enableRSS", "enableCustomRSSURL", "generateRssEntriesForMainPageOnly", "summarizeEntryRSS",
                            "enableCustomiTunesTags", "enableComments", "enableCommentsInline", "showAtLeastPosts",
                            "prependSummaryToPost", "enableSmileys", "usePHPForSidebarContent", "showCategoryPostCounts",
                            "enablePing"})
        add(key, true);
    for (const char *key : {"archivePostsEnabled", "archivePostsShowGaps", "generatePermalinkPages",
                            "categoryPostsEnabled", "exportCategoriesAlphabetically", "tagsEnabled", "tagCloudEnabled"})
        add(key, false);
    for (const char *key : {"summarizeEntryRSSCount", "lastID", "archivePostsPeriod", "showPostLimit"})
        add(key, 2);
    add("archivePostsPeriodString", QStringLiteral("Year"));
    add("commentsUserIdentifiers", QVariantMap{{QStringLiteral("disqus"), QStringLiteral("site")}});
    // Stored without comparing: every set reports.
    for (const char *key : {"rssFeedLinkName", "rssCommentsLinkName", "rssCustomFeedFilename", "rssCustomFeedURL"})
        add(key, text, true, true);
    add("categories",
        QVariant::fromValue(QList<QFBlogCategoryPtr>{QFBlogCategory::categoryWithName(QStringLiteral("Only"), nullptr)}));
    add("sidebarControl", QVariantList{QVariantMap{{QStringLiteral("name"), QStringLiteral("Tags")}}});
    add("channelCustomTags", QVariant::fromValue(QList<QFBlogCustomTagPtr>{QFBlogCustomTag::create()}));
    add("channelCustomiTunesTags", QVariant::fromValue(QFBlogCustomiTunesTags::tags()));
    // Never reported.
    add("pingSettings", QVariantList{}, false);
    add("lastBuildDate", QDateTime(QDate(2001, 1, 1), QTime(0, 0)), false);
    add("lastSavedBuildDate", QDateTime(QDate(2001, 1, 1), QTime(0, 0)), false);
    for (const char *key : {"enablePodcasting", "showPostCountsForTags", "shouldUpdateSearchIndexes",
                            "localizeCheckBoxState", "pluginIsInitialising"})
        add(key, true, false);
    add("commentsSelectedProviderTag", 3, false);
    return rules;
}

} // namespace

void tst_QFBlogPlugin::settingByKeyBroadcastsAsItsRuleSays_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("onChange");
    QTest::addColumn<bool>("onSameValue");

    for (const BroadcastRule &rule : broadcastRules())
        QTest::newRow(rule.key.constData()) << rule.key << rule.value << rule.onChange << rule.onSameValue;
}

void tst_QFBlogPlugin::settingByKeyBroadcastsAsItsRuleSays()
{
    QFETCH(QByteArray, key);
    QFETCH(QVariant, value);
    QFETCH(bool, onChange);
    QFETCH(bool, onSameValue);
    const char *name = key.constData();
    const bool stampsBuildDate = key != "lastBuildDate"; // that row sets the stamp itself

    // Reading a record sets these with nothing reported: the record tests check that.
    QFBlogPlugin plugin;
    QDateTime clock = kT1;
    plugin.setClock([&clock] { return clock; });
    const QDateTime built = plugin.lastBuildDate();
    QSignalSpy spy(&plugin, &QFTextViewPluginClient::pluginChanged);
    QVERIFY(plugin.property(name) != value || key == "enableComments");

    QVERIFY(plugin.setProperty(name, value));
    QVERIFY2(spy.count() == (onChange ? 1 : 0), "a different value");
    if (stampsBuildDate)
        QCOMPARE(plugin.lastBuildDate(), onChange ? kT1 : built);

    clock = kT2;
    spy.clear();
    QVERIFY(plugin.setProperty(name, value));
    QVERIFY2(spy.count() == (onSameValue ? 1 : 0), "the same value again");
    if (stampsBuildDate)
        QCOMPARE(plugin.lastBuildDate(), onSameValue ? kT2 : (onChange ? kT1 : built));
}

void tst_QFBlogPlugin::everyWritableKeyHasABroadcastRule()
{
    QSet<QByteArray> covered;
    for (const BroadcastRule &rule : broadcastRules())
        covered.insert(rule.key);
    const QMetaObject &meta = QFBlogPlugin::staticMetaObject;
    QStringList missing;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        if (meta.property(i).isWritable() && !covered.contains(meta.property(i).name()))
            missing.append(QString::fromLatin1(meta.property(i).name()));
    }
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QStringLiteral(", "))));
}

void tst_QFBlogPlugin::mainPagePosts_data()
{
    QTest::addColumn<bool>("archives");
    QTest::addColumn<int>("period");
    QTest::addColumn<bool>("showAtLeast");
    QTest::addColumn<int>("limit");
    QTest::addColumn<PostFixtures>("posts"); // IDs are the list positions
    QTest::addColumn<QList<int>>("expected");

    const auto at = [](int month, int d) { return QDateTime(QDate(2024, month, d), QTime(9, 0)); };
    // Seven newest posts with three drafts among them, then older ones.
    const PostFixtures mixed = {{at(3, 20), false}, {at(3, 19), true},  {at(3, 18), false},
                                {at(3, 17), true},  {at(3, 16), false}, {at(3, 15), true},
                                {at(2, 14), false}, {at(2, 10), false}, {at(1, 5), false}};
    const QList<int> published{0, 2, 4, 6, 7, 8};

    QTest::newRow("show-at-least off: the latest month only") << true << 1 << false << 5 << mixed << QList<int>{0, 2, 4};
    QTest::newRow("limit 5 with 3 drafts among the 7 newest") << true << 1 << true << 5 << mixed << QList<int>{0, 2, 4, 6, 7};
    QTest::newRow("show-at-least with limit 0: the latest period") << true << 1 << true << 0 << mixed << QList<int>{0, 2, 4};
    QTest::newRow("limit above the published count") << true << 1 << true << 50 << mixed << published;
    QTest::newRow("archives off: every published post whatever the limit") << false << 1 << true << 2 << mixed << published;
    QTest::newRow("yearly archives: the whole latest year") << true << 2 << false << 0 << mixed << published;
    QTest::newRow("weekly archives: the week from Sunday 17 March") << true << 0 << false << 0 << mixed << QList<int>{0, 2};
    QTest::newRow("a newer draft does not move the latest period")
        << true << 1 << false << 0 << PostFixtures{{at(4, 2), true}, {at(3, 3), false}, {at(2, 3), false}}
        << QList<int>{1};
    QTest::newRow("drafts only") << true << 1 << false << 0 << PostFixtures{{at(3, 1), true}} << QList<int>{};
    QTest::newRow("no posts") << true << 1 << false << 0 << PostFixtures{} << QList<int>{};
}

void tst_QFBlogPlugin::mainPagePosts()
{
    QFETCH(bool, archives);
    QFETCH(int, period);
    QFETCH(bool, showAtLeast);
    QFETCH(int, limit);
    QFETCH(PostFixtures, posts);
    QFETCH(QList<int>, expected);

    QFBlogPlugin plugin;
    plugin.setArchivePostsEnabled(archives);
    plugin.setArchivePostsPeriod(period);
    plugin.setShowAtLeastPosts(showAtLeast);
    plugin.setShowPostLimit(limit);
    for (qsizetype i = 0; i < posts.size(); ++i)
        addPost(plugin, int(i), posts.at(i).date, {}, {}, posts.at(i).draft);
    QCOMPARE(postIDs(plugin.mainPagePosts()), expected);
}

// Feeds and permalink pages need GUIDs no two posts share.
void tst_QFBlogPlugin::guidIs32LowerCaseHexAndFresh()
{
    QFBlogPlugin plugin;
    QSet<QString> seen;
    for (int i = 0; i < 200; ++i) {
        const QString guid = plugin.guid().value_or(QString());
        QVERIFY2(QRegularExpression(QStringLiteral("^[0-9a-f]{32}$")).match(guid).hasMatch(), qPrintable(guid));
        seen.insert(guid);
    }
    QCOMPARE(seen.size(), 200);
}

void tst_QFBlogPlugin::blogWithoutPostsExportsNothingAndMakesNoFolder()
{
    QFBlogPlugin plugin;
    plugin.setUsePHPForSidebarContent(true);
    plugin.setEnableRSS(true);
    const QVariantMap params{{QStringLiteral("name"), QStringLiteral("blog.html")}};
    const QString html = plugin.contentHTML(params);
    QVERIFY(!html.isNull() && html.isEmpty());
    QVERIFY(plugin.extraFilesNeededInExportFolder(params).isEmpty());
    QVERIFY(!QFileInfo::exists(scratchPath(plugin)));
}

// The export parameters of a blog page at the site root.
static QVariantMap driverParameters()
{
    return {{QStringLiteral("name"), QStringLiteral("blog.html")},
            {QStringLiteral("title"), QStringLiteral("My Blog")},
            {QStringLiteral("base"), QStringLiteral("http://example.org/")},
            {QStringLiteral("index"), QStringLiteral("blog.html")},
            {QStringLiteral("FilenameExt"), QStringLiteral("html")}};
}

// The expected file names, "FEED" standing for the blog's feed file, sorted
// like the driver's results.
static QStringList expectedFiles(const QFBlogPlugin &plugin, QStringList files)
{
    for (QString &name : files) {
        if (name == QLatin1String("FEED"))
            name = plugin.rss().rssFeedFilename();
    }
    files.sort();
    return files;
}

void tst_QFBlogPlugin::exportWritesTheFilesOfItsMode_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("phpSidebar");
    QTest::addColumn<bool>("podcastImages");
    QTest::addColumn<QStringList>("files");

    QTest::newRow("preview with the PHP sidebar: only the sidebar file")
        << "preview" << true << true << QStringList{"sidebar-content.html"};
    QTest::newRow("preview without it: nothing") << "preview" << false << true << QStringList{};
    QTest::newRow("publish with podcast images and the PHP sidebar")
        << "" << true << true
        << QStringList{"podcast_channel.png", "podcast_image_1.png", "sidebar-content.html", "FEED"};
    QTest::newRow("publish without custom iTunes tags: no images") << "" << false << false << QStringList{"FEED"};
}

void tst_QFBlogPlugin::exportWritesTheFilesOfItsMode()
{
    QFETCH(QString, mode);
    QFETCH(bool, phpSidebar);
    QFETCH(bool, podcastImages);
    QFETCH(QStringList, files);

    QFBlogPlugin plugin;
    plugin.setGeneratePermalinkPages(false);
    plugin.setUsePHPForSidebarContent(phpSidebar);
    plugin.setEnableRSS(true);
    plugin.setEnableCustomiTunesTags(podcastImages);
    plugin.channelCustomiTunesTags()->setImageData(imageBytes("PNG"));
    QFBlogEntryPtr published = addPost(plugin, 1, kT1);
    published->setItunesTags(QFBlogCustomiTunesTags::tags());
    published->itunesTags()->setImageData(imageBytes("JPG"));
    QFBlogEntryPtr draft = addPost(plugin, 2, kT2, {}, {}, true);
    draft->setItunesTags(QFBlogCustomiTunesTags::tags());
    draft->itunesTags()->setImageData(imageBytes("PNG"));

    QVariantMap params = driverParameters();
    if (!mode.isEmpty())
        params.insert(QStringLiteral("mode"), mode);

    const QList<QFExportItem> result = plugin.extraFilesNeededInExportFolder(params);
    QCOMPARE(fileNames(result), expectedFiles(plugin, files));
    for (const QFExportItem &item : result)
        QVERIFY(item.filePath().startsWith(scratchPath(plugin) + QLatin1Char('/')));
    QCOMPARE(plugin.designatedFilename(), QStringLiteral("blog.html"));
    QCOMPARE(plugin.designatedTitle(), QStringLiteral("My Blog"));

    // The main page empties the scratch folder of an earlier export.
    plugin.contentHTML(params);
    QVERIFY(QDir(scratchPath(plugin)).isEmpty());
}

void tst_QFBlogPlugin::cancelExportStopsTheDriver_data()
{
    QTest::addColumn<ExportStage>("cancelAt");
    QTest::newRow("during archives") << ExportStage::Archives;
    QTest::newRow("during permalinks") << ExportStage::Permalinks;
    QTest::newRow("during the feed") << ExportStage::Feed;
}

void tst_QFBlogPlugin::cancelExportStopsTheDriver()
{
    QFETCH(ExportStage, cancelAt);

    QFBlogPlugin plugin;
    plugin.setUsePHPForSidebarContent(true);
    plugin.setEnableRSS(true);
    plugin.setEnableCustomiTunesTags(true);
    plugin.channelCustomiTunesTags()->setImageData(imageBytes("PNG"));
    const QFBlogEntryPtr post = addPost(plugin, 1, kT1);

    QList<ExportStage> stages;
    connect(&plugin, &QFBlogPlugin::exportStageStarted, &plugin, [&](ExportStage stage) {
        stages.append(stage);
        if (stage == cancelAt)
            plugin.cancelExport();
    });
    QVERIFY(plugin.extraFilesNeededInExportFolder(driverParameters()).isEmpty());
    QVERIFY(plugin.exportCancelled());
    QCOMPARE(stages.last(), cancelAt);

    // The next export starts afresh.
    stages.clear();
    disconnect(&plugin, &QFBlogPlugin::exportStageStarted, &plugin, nullptr);
    QCOMPARE(fileNames(plugin.extraFilesNeededInExportFolder(driverParameters())),
             expectedFiles(plugin, {QStringLiteral("podcast_channel.png"), QStringLiteral("sidebar-content.html"),
                                    QStringLiteral("FEED"), plugin.permalinks().permalinkFilename(post, QStringLiteral("html"))}));
    QVERIFY(!plugin.exportCancelled());
}

void tst_QFBlogPlugin::commentsAccountFields_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QVariantMap>("accounts");
    QTest::addColumn<QString>("labelKey");
    QTest::addColumn<bool>("visible");
    QTest::addColumn<QString>("fieldText");

    const QVariantMap accounts{{"haloscan", "halo-user"}, {"disqus", "my-site"}, {"js-kit", "unused"}};
    QTest::newRow("none: hidden") << 0 << accounts << "ProviderLabelNone" << false << "";
    QTest::newRow("HaloScan: its account") << 1 << accounts << "ProviderLabelHaloscan" << true << "halo-user";
    QTest::newRow("JS-Kit: hidden, needs no account") << 2 << accounts << "ProviderLabelJSKit" << false << "unused";
    QTest::newRow("Disqus: its site name") << 3 << accounts << "ProviderLabelDisqus" << true << "my-site";
    QTest::newRow("Disqus without an account") << 3 << QVariantMap{} << "ProviderLabelDisqus" << true << "";
}

void tst_QFBlogPlugin::commentsAccountFields()
{
    QFETCH(int, provider);
    QFETCH(QVariantMap, accounts);
    QFETCH(QString, labelKey);
    QFETCH(bool, visible);
    QFETCH(QString, fieldText);

    QFBlogPlugin plugin;
    plugin.setCommentsUserIdentifiers(accounts);
    QSignalSpy spy(&plugin, &QFTextViewPluginClient::pluginChanged);
    plugin.actionSelectCommentProvider(provider);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(plugin.enableComments(), provider != 0);

    const QFBlogCommentsAccountFields fields = plugin.commentsAccountFields();
    QCOMPARE(fields.labelText, QFBlogPlugin::localizedString(labelKey) + QLatin1Char(':'));
    QCOMPARE(fields.visible, visible);
    QCOMPARE(fields.fieldText, fieldText);
}

void tst_QFBlogPlugin::commentsAccountTextIsStoredPerService_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariantMap>("accounts");

    const QVariantMap before{{"haloscan", "old"}, {"disqus", "site"}};
    QTest::newRow("new HaloScan name replaces the old") << 1 << "new" << QVariantMap{{"haloscan", "new"}, {"disqus", "site"}};
    QTest::newRow("empty text removes the entry") << 3 << "" << QVariantMap{{"haloscan", "old"}};
    QTest::newRow("JS-Kit text is kept under its own name")
        << 2 << "x" << QVariantMap{{"haloscan", "old"}, {"disqus", "site"}, {"js-kit", "x"}};
    QTest::newRow("unknown provider stores nothing") << 9 << "x" << before;
}

void tst_QFBlogPlugin::commentsAccountTextIsStoredPerService()
{
    QFETCH(int, provider);
    QFETCH(QString, text);
    QFETCH(QVariantMap, accounts);

    QFBlogPlugin plugin;
    plugin.setCommentsUserIdentifiers({{"haloscan", "old"}, {"disqus", "site"}});
    plugin.setCommentsSelectedProviderTag(provider);
    QSignalSpy spy(&plugin, &QFTextViewPluginClient::pluginChanged);
    plugin.commentsAccountTextDidChange(text);
    QCOMPARE(plugin.commentsUserIdentifiers(), accounts);
    QCOMPARE(spy.count(), 1);
}

void tst_QFBlogPlugin::podcastImageIsWrittenAsPNG_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("written"); // empty: nothing is written
    QTest::addColumn<bool>("raises");

    QTest::newRow("JPEG becomes PNG") << imageBytes("JPG") << "podcast_image_3.png" << "podcast_image_3.png" << false;
    QTest::newRow("a name climbing out stays inside") << imageBytes("PNG") << "../../evil.png" << "evil.png" << false;
    QTest::newRow("no data writes nothing") << QByteArray() << "podcast_channel.png" << "" << false;
    QTest::newRow("undecodable data") << QByteArray("not an image at all") << "podcast_channel.png" << "" << true;
}

void tst_QFBlogPlugin::podcastImageIsWrittenAsPNG()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, fileName);
    QFETCH(QString, written);
    QFETCH(bool, raises);

    QFBlogPlugin plugin;
    const QString directory = plugin.temporaryFilesDirectory();
    try {
        plugin.exportPodcastImageData(data, fileName);
        QVERIFY(!raises);
    } catch (const QFException &e) {
        QVERIFY(raises);
        QCOMPARE(e.name(), QStringLiteral("Failed to write podcast image"));
        QCOMPARE(e.reason(), QFBlogPlugin::localizedString(QStringLiteral("CouldNotWritePodcastImage")));
    }
    const QStringList files = QDir(directory).entryList(QDir::Files);
    if (written.isEmpty()) {
        QVERIFY(files.isEmpty());
        return;
    }
    QCOMPARE(files, QStringList{written});
    QImageReader reader(directory + QLatin1Char('/') + written);
    QCOMPARE(reader.format(), QByteArray("png"));
    QCOMPARE(reader.size(), QSize(7, 5));
}

void tst_QFBlogPlugin::exportErrorsAreReportedOnce_data()
{
    QTest::addColumn<QStringList>("errors");
    QTest::addColumn<bool>("fromWorkerThread");

    QTest::newRow("one error") << QStringList{"Podcast a.mp3 is missing.\n"} << false;
    QTest::newRow("two errors") << QStringList{"First.\n", "Second.\n"} << false;
    QTest::newRow("one error from the export thread") << QStringList{"Late.\n"} << true;
}

void tst_QFBlogPlugin::exportErrorsAreReportedOnce()
{
    QFETCH(QStringList, errors);
    QFETCH(bool, fromWorkerThread);

    m_alerts.clear();
    QFBlogPlugin plugin;
    for (const QString &error : errors)
        plugin.addExportError(error);

    if (fromWorkerThread) {
        std::unique_ptr<QThread> worker(QThread::create([&plugin] { plugin.reportExportErrorsOnMainThread(); }));
        worker->start();
        QVERIFY(worker->wait(30000));
        QCOMPARE(m_alerts.requests().size(), 0); // queued, not shown on the worker
        QTRY_COMPARE(m_alerts.requests().size(), 1);
    } else {
        plugin.reportExportErrorsOnMainThread();
        QCOMPARE(m_alerts.requests().size(), 1);
    }

    const QFAlertRequest alert = m_alerts.requests().first();
    const auto L = &QFBlogPlugin::localizedString;
    QCOMPARE(alert.messageText, L(QStringLiteral("BlogExportErrorsAlertTitle")));
    const QString joined = errors.join(QString());
    const QString expected = errors.size() == 1
        ? L(QStringLiteral("BlogExportErrorsAlertOneErrorMessageFormatString")).arg(joined)
        : L(QStringLiteral("BlogExportErrorsAlertMultipleErrorsMessageFormatString")).arg(QString::number(errors.size()), joined);
    QCOMPARE(alert.informativeText, expected.trimmed());
    QVERIFY(alert.informativeText.contains(errors.first().trimmed()));
}

void tst_QFBlogPlugin::tagCountsFollowAddAndRemove()
{
    QFBlogPlugin plugin;
    QSignalSpy changed(&plugin, &QFBlogPlugin::knownTagsChanged);
    const QFBlogTag news(QStringLiteral("News")), travel(QStringLiteral("travel"));
    plugin.addTag(news);
    plugin.addTag(travel);
    plugin.addTag(news);
    plugin.removeTag(travel);
    plugin.addTag(QFBlogTag(QStringLiteral("news"))); // letter case makes another tag
    QCOMPARE(changed.count(), 5);

    QCOMPARE(plugin.knownTagsArray(),
             (QVariantList{QVariantMap{{"name", "News"}, {"count", 2u}}, QVariantMap{{"name", "news"}, {"count", 1u}}}));

    // Only enabled posts count for the tag pages.
    addPost(plugin, 1, kT1)->setTags(QFBlogTagList{news, travel});
    addPost(plugin, 2, kT2, {}, {}, true)->setTags(QFBlogTagList{news});
    addPost(plugin, 3, kT2)->setTags(QFBlogTagList{news});
    const QFCountedSet enabled = plugin.tagsForEnabledBlogEntries();
    QCOMPARE(enabled.countForObject(QVariant::fromValue(news)), 2u);
    QCOMPARE(enabled.countForObject(QVariant::fromValue(travel)), 1u);
}

void tst_QFBlogPlugin::documentWasLoadedFindsMovedPodcastsSilently()
{
    QTemporaryDir moved;
    QVERIFY(QDir(moved.path()).mkpath(QStringLiteral("media")));
    const QString document = moved.filePath(QStringLiteral("site.qfsite"));
    const QString podcast = moved.filePath(QStringLiteral("media/show.mp3"));
    QFile file(podcast);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("ID3") == 3);
    file.close();

    QFBlogPlugin plugin;
    QFBlogEntryPtr entry = addPost(plugin, 1, kT1);
    entry->setPodcast(QStringLiteral("/old/place/media/show.mp3"));
    QFFileReference original(QStringLiteral("/old/place/media/show.mp3"), QStringLiteral("/old/place/site.qfsite"));
    entry->setPodcastReference(std::make_shared<QFFileReference>(original));
    QFBlogEntryPtr untouched = addPost(plugin, 2, kT2);
    untouched->setPodcast(podcast);

    QFSiteDocument site;
    site.setFilePath(document);
    plugin.setDocument(&site);
    const QDateTime built = plugin.lastBuildDate();
    plugin.setClock([] { return kT2; });
    QSignalSpy changed(&plugin, &QFTextViewPluginClient::pluginChanged);
    QSignalSpy reloaded(&plugin, &QFBlogPlugin::blogEntriesChanged);

    plugin.documentWasLoaded();
    QCOMPARE(entry->podcast(), podcast);
    QCOMPARE(untouched->podcast(), podcast);
    QVERIFY(plugin.postIDWasChanged());
    QCOMPARE(changed.count(), 0);
    QCOMPARE(plugin.lastBuildDate(), built);
    QCOMPARE(reloaded.count(), 1);
    QVERIFY(!plugin.pluginIsInitialising());
    plugin.setDocument(nullptr);
}

QTEST_GUILESS_MAIN(tst_QFBlogPlugin)
#include "tst_qfblogplugin.moc"

#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/generation/qfblogpluginrss.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qffilereference.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qfrecordingalertpresenter.h"
#include "qfkit/support/qfuserdefaults.h"

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
    void cleanupTestCase();

    void initializeClassTwiceKeepsTheFirstBundle();
    void newBlogDefaults_data();
    void newBlogDefaults();
    void creatorComesFromTheUser_data();
    void creatorComesFromTheUser();

    void settingByKeyBroadcastsAsItsRuleSays_data();
    void settingByKeyBroadcastsAsItsRuleSays();
    void everyWritableKeyHasABroadcastRule();
    void periodStringOnlySelectsMonths_data();
    void periodStringOnlySelectsMonths();

    void mainPagePosts_data();
    void mainPagePosts();

    void subpageParameterReadsBoolStrings_data();
    void subpageParameterReadsBoolStrings();
    void guidIs32LowerCaseHexAndFresh();
    void nextIDStartsAtZeroAndGrows();

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
    static QFBlogEntryPtr addPost(QFBlogPlugin &plugin, const QDateTime &date, bool draft, int id);

    QString m_bundlePath;
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

QVariant equalCopy(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString) {
        const QString s = value.toString();
        return QString(s.constData(), s.size());
    }
    if (value.typeId() == QMetaType::QVariantList) {
        QVariantList list = value.toList();
        list.detach();
        return list;
    }
    if (value.canConvert<QList<QFBlogCategoryPtr>>()) {
        QList<QFBlogCategoryPtr> list = value.value<QList<QFBlogCategoryPtr>>();
        list.detach();
        return QVariant::fromValue(list);
    }
    if (value.canConvert<QList<QFBlogCustomTagPtr>>()) {
        QList<QFBlogCustomTagPtr> list = value.value<QList<QFBlogCustomTagPtr>>();
        list.detach();
        return QVariant::fromValue(list);
    }
    if (value.canConvert<QFBlogCustomiTunesTagsPtr>())
        return QVariant::fromValue(QFBlogCustomiTunesTags::tags());
    return value;
}

} // namespace

void tst_QFBlogPlugin::initTestCase()
{
    m_bundlePath = QStringLiteral(QF_BLOG_BUNDLE_PATH);
    QVERIFY2(QFileInfo::exists(m_bundlePath + QStringLiteral("/Resources/en.lproj/Localizable.plist")),
             "the blog bundle is built with the tests (target blog_bundle)");
    QFBlogPlugin::setUserIdentityProvider([] {
        return QFBlogUserIdentity{QStringLiteral("Ada Lovelace"), QString()};
    });
    QVERIFY(QFBlogPlugin::initializeClass(QFBundle(m_bundlePath)));
    m_previousPresenter = QFAlert::setPresenter(&m_alerts);
}

void tst_QFBlogPlugin::cleanupTestCase()
{
    QFAlert::setPresenter(m_previousPresenter);
    QFBlogPlugin::setUserIdentityProvider({});
}

QString tst_QFBlogPlugin::scratchPath(const QFBlogPlugin &plugin)
{
    return QDir::tempPath() + QStringLiteral("/quillfen-") + QString::number(QCoreApplication::applicationPid())
        + QLatin1Char('/') + plugin.uniqueID() + QStringLiteral("/QFBlogPlugin");
}

QFBlogEntryPtr tst_QFBlogPlugin::addPost(QFBlogPlugin &plugin, const QDateTime &date, bool draft, int id)
{
    QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    entry->setDate(date);
    entry->setStatus(draft ? 0 : 1);
    entry->setID(id);
    plugin.insertBlogEntry(entry);
    return entry;
}

void tst_QFBlogPlugin::initializeClassTwiceKeepsTheFirstBundle()
{
    QTemporaryDir other;
    QVERIFY(!QFBlogPlugin::initializeClass(QFBundle(other.path())));
    QCOMPARE(QFBlogPlugin::pluginBundle().bundlePath(), QDir::cleanPath(m_bundlePath));
    QVERIFY(!QFBlogPlugin::rssStringDictionary().isEmpty());

    const QStringList extra = QFBlogPlugin::extraFilesNeededInExportFolder();
    QCOMPARE(extra.size(), 9);
    QCOMPARE(extra.first(), QFBlogPlugin::pluginBundle().resourcePath() + QStringLiteral("/rss.gif"));
}

void tst_QFBlogPlugin::newBlogDefaults_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QVariant>("expected");

    const auto L = &QFBlogPlugin::localizedString;
    QTest::newRow("feed title") << QByteArray("rssTitle") << QVariant(L(QStringLiteral("MyRSSFeed")));
    QTest::newRow("feed home page") << QByteArray("rssHomepage") << QVariant(QStringLiteral("http://www.example.com/"));
    QTest::newRow("copyright names the user and the year")
        << QByteArray("rssCopyright")
        << QVariant(QStringLiteral("%1 %2 Ada Lovelace").arg(L(QStringLiteral("Copyright"))).arg(QDate::currentDate().year()));
    QTest::newRow("date separator 1") << QByteArray("dateSeperator1") << QVariant(QStringLiteral("/"));
    QTest::newRow("tags title") << QByteArray("tagsTitle") << QVariant(L(QStringLiteral("DefaultTagsTitle")));
    QTest::newRow("archives on") << QByteArray("archivePostsEnabled") << QVariant(true);
    QTest::newRow("permalink pages on") << QByteArray("generatePermalinkPages") << QVariant(true);
    QTest::newRow("feed off") << QByteArray("enableRSS") << QVariant(false);
    QTest::newRow("podcasting off") << QByteArray("enablePodcasting") << QVariant(false);
    QTest::newRow("no comments") << QByteArray("enableComments") << QVariant(false);
}

void tst_QFBlogPlugin::newBlogDefaults()
{
    QFETCH(QByteArray, key);
    QFETCH(QVariant, expected);

    QFBlogPlugin plugin;
    QCOMPARE(plugin.property(key.constData()), expected);
}

void tst_QFBlogPlugin::creatorComesFromTheUser_data()
{
    QTest::addColumn<QString>("email");
    QTest::addColumn<QString>("creator");

    QTest::newRow("user with an address") << "ada@analytical.example" << "ada@analytical.example";
    QTest::newRow("user without one gets the placeholder") << "" << "you@example.com";
}

void tst_QFBlogPlugin::creatorComesFromTheUser()
{
    QFETCH(QString, email);
    QFETCH(QString, creator);

    QFBlogPlugin::setUserIdentityProvider([email] { return QFBlogUserIdentity{QStringLiteral("Ada Lovelace"), email}; });
    QFBlogPlugin plugin;
    QFBlogPlugin::setUserIdentityProvider([] { return QFBlogUserIdentity{QStringLiteral("Ada Lovelace"), QString()}; });
    QCOMPARE(plugin.rssCreator(), creator);
}

namespace {

// How setting a key by key-value coding reaches the host.
struct BroadcastRule
{
    QByteArray key;
    QVariant value;       // differs from the new blog's value
    bool onChange;        // setting that value
    bool onSameValue;     // giving the value just set again
    bool onEqualCopy;     // an equal value that is another object
};

QList<BroadcastRule> broadcastRules()
{
    QList<BroadcastRule> rules;
    const auto add = [&rules](const char *key, const QVariant &value, bool onChange, bool onSame, bool onCopy) {
        rules.append({QByteArray(key), value, onChange, onSame, onCopy});
    };
    const QVariant text(QStringLiteral("changed text"));
    // Compared, reported on a real change.
    for (const char *key : {"rssLanguage", "rssHomepage", "rssDescription", "rssCreator", "rssCopyright", "rssTitle",
                            "dateSeperator1", "dateSeperator2", "dateSeperator3", "dateSeperator4", "permalinkLinkName",
                            "readMoreLinkName", "sidebarSeparator", "categorySeparator", "commentSeparator",
                            "categoryTitle", "tagsTitle", "tagsSeparator", "dateModifier1", "dateModifier2",
                            "dateModifier3", "dateModifier4", "localizeDate"})
        add(key, text, true, false, false);
    for (const char *key : {"enableRSS", "enableCustomRSSURL", "generateRssEntriesForMainPageOnly", "summarizeEntryRSS",
                            "enableCustomiTunesTags", "enableComments", "enableCommentsInline", "showAtLeastPosts",
                            "prependSummaryToPost", "enableSmileys", "usePHPForSidebarContent", "showCategoryPostCounts",
                            "enablePing"})
        add(key, true, true, false, false);
    for (const char *key : {"archivePostsEnabled", "archivePostsShowGaps", "generatePermalinkPages",
                            "categoryPostsEnabled", "exportCategoriesAlphabetically", "tagsEnabled", "tagCloudEnabled"})
        add(key, false, true, false, false);
    for (const char *key : {"summarizeEntryRSSCount", "lastID", "archivePostsPeriod", "showPostLimit"})
        add(key, 2, true, false, false);
    add("archivePostsPeriodString", QStringLiteral("Year"), true, false, false);
    add("commentsUserIdentifiers", QVariantMap{{QStringLiteral("disqus"), QStringLiteral("site")}}, true, false, false);
    // Stored without comparing: every set reports.
    for (const char *key : {"rssFeedLinkName", "rssCommentsLinkName", "rssCustomFeedFilename", "rssCustomFeedURL"})
        add(key, text, true, true, true);
    // Compared by identity: another object reports even when equal.
    add("categories",
        QVariant::fromValue(QList<QFBlogCategoryPtr>{QFBlogCategory::categoryWithName(QStringLiteral("Only"), nullptr)}),
        true, false, true);
    add("sidebarControl", QVariantList{QVariantMap{{QStringLiteral("name"), QStringLiteral("Tags")}}}, true, false, true);
    add("channelCustomTags", QVariant::fromValue(QList<QFBlogCustomTagPtr>{QFBlogCustomTag::create()}), true, false, true);
    add("channelCustomiTunesTags", QVariant::fromValue(QFBlogCustomiTunesTags::tags()), true, false, true);
    // Never reported.
    add("pingSettings", QVariantList{}, false, false, false);
    add("lastBuildDate", QDateTime(QDate(2001, 1, 1), QTime(0, 0)), false, false, false);
    add("lastSavedBuildDate", QDateTime(QDate(2001, 1, 1), QTime(0, 0)), false, false, false);
    for (const char *key : {"enablePodcasting", "showPostCountsForTags", "shouldUpdateSearchIndexes",
                            "localizeCheckBoxState", "pluginIsInitialising"})
        add(key, true, false, false, false);
    add("commentsSelectedProviderTag", 3, false, false, false);
    return rules;
}

} // namespace

void tst_QFBlogPlugin::settingByKeyBroadcastsAsItsRuleSays_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("onChange");
    QTest::addColumn<bool>("onSameValue");
    QTest::addColumn<bool>("onEqualCopy");

    for (const BroadcastRule &rule : broadcastRules())
        QTest::newRow(rule.key.constData()) << rule.key << rule.value << rule.onChange << rule.onSameValue
                                            << rule.onEqualCopy;
}

void tst_QFBlogPlugin::settingByKeyBroadcastsAsItsRuleSays()
{
    QFETCH(QByteArray, key);
    QFETCH(QVariant, value);
    QFETCH(bool, onChange);
    QFETCH(bool, onSameValue);
    QFETCH(bool, onEqualCopy);
    const char *name = key.constData();
    const bool stampsBuildDate = key != "lastBuildDate"; // that row sets the stamp itself

    // While initialising nothing reaches the host and lastBuildDate stays.
    {
        QFBlogPlugin plugin;
        plugin.setClock([] { return kT1; });
        const QDateTime built = plugin.lastBuildDate();
        QSignalSpy spy(&plugin, &QFTextViewPluginClient::pluginChanged);
        plugin.setPluginIsInitialising(true);
        QVERIFY(plugin.setProperty(name, value));
        QCOMPARE(spy.count(), 0);
        if (stampsBuildDate)
            QCOMPARE(plugin.lastBuildDate(), built);
    }

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

    spy.clear();
    QVERIFY(plugin.setProperty(name, equalCopy(value)));
    QVERIFY2(spy.count() == (onEqualCopy ? 1 : 0), "an equal copy");
}

void tst_QFBlogPlugin::everyWritableKeyHasABroadcastRule()
{
    QSet<QByteArray> covered;
    for (const BroadcastRule &rule : broadcastRules())
        covered.insert(rule.key);
    const QMetaObject &meta = QFBlogPlugin::staticMetaObject;
    QStringList missing;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        if (property.isWritable() && !covered.contains(property.name()))
            missing.append(QString::fromLatin1(property.name()));
    }
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QStringLiteral(", "))));
}

void tst_QFBlogPlugin::periodStringOnlySelectsMonths_data()
{
    QTest::addColumn<int>("period");
    QTest::addColumn<QString>("text");

    QTest::newRow("week to Year") << 0 << "Year";
    QTest::newRow("year to nonsense") << 2 << "Fortnight";
}

void tst_QFBlogPlugin::periodStringOnlySelectsMonths()
{
    QFETCH(int, period);
    QFETCH(QString, text);

    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(period);
    plugin.setProperty("archivePostsPeriodString", text);
    QCOMPARE(plugin.archivePostsPeriod(), 1);
    QCOMPARE(plugin.archivePostsPeriodString(), QStringLiteral("Month"));
}

void tst_QFBlogPlugin::mainPagePosts_data()
{
    QTest::addColumn<bool>("archives");
    QTest::addColumn<int>("period");
    QTest::addColumn<bool>("showAtLeast");
    QTest::addColumn<int>("limit");
    QTest::addColumn<PostFixtures>("posts"); // IDs are the list positions
    QTest::addColumn<QList<int>>("expected");

    const auto day = [](int month, int d) { return QDateTime(QDate(2024, month, d), QTime(9, 0)); };
    // Seven newest posts with three drafts among them, then older ones.
    const PostFixtures mixed = {
        {day(3, 20), false}, {day(3, 19), true}, {day(3, 18), false}, {day(3, 17), true},
        {day(3, 16), false}, {day(3, 15), true}, {day(2, 14), false}, {day(2, 10), false},
        {day(1, 5), false},
    };

    QTest::newRow("archives on, show-at-least off: the latest month only")
        << true << 1 << false << 5 << mixed << QList<int>{0, 2, 4};
    QTest::newRow("archives on, limit 5 with 3 drafts among the 7 newest")
        << true << 1 << true << 5 << mixed << QList<int>{0, 2, 4, 6, 7};
    QTest::newRow("archives on, show-at-least with limit 0: the latest period")
        << true << 1 << true << 0 << mixed << QList<int>{0, 2, 4};
    QTest::newRow("archives on, limit above the published count")
        << true << 1 << true << 50 << mixed << QList<int>{0, 2, 4, 6, 7, 8};
    QTest::newRow("archives off: every published post whatever the limit")
        << false << 1 << true << 2 << mixed << QList<int>{0, 2, 4, 6, 7, 8};
    QTest::newRow("yearly archives: the whole latest year")
        << true << 2 << false << 0 << mixed << QList<int>{0, 2, 4, 6, 7, 8};
    QTest::newRow("weekly archives: the week from Sunday 17 March")
        << true << 0 << false << 0 << mixed << QList<int>{0, 2};
    QTest::newRow("a newer draft does not move the latest period")
        << true << 1 << false << 0 << PostFixtures{{day(4, 2), true}, {day(3, 3), false}, {day(2, 3), false}}
        << QList<int>{1};
    QTest::newRow("drafts only") << true << 1 << false << 0 << PostFixtures{{day(3, 1), true}} << QList<int>{};
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
        addPost(plugin, posts.at(i).date, posts.at(i).draft, int(i));

    QList<int> ids;
    for (const QFBlogEntryPtr &entry : plugin.mainPagePosts())
        ids.append(entry->ID());
    QCOMPARE(ids, expected);
}

void tst_QFBlogPlugin::subpageParameterReadsBoolStrings_data()
{
    QTest::addColumn<QVariant>("subpage");
    QTest::addColumn<bool>("isTrue");

    QTest::newRow("yes") << QVariant(QStringLiteral("yes")) << true;
    QTest::newRow("tRuE") << QVariant(QStringLiteral("tRuE")) << true;
    QTest::newRow("1") << QVariant(QStringLiteral("1")) << true;
    QTest::newRow("2") << QVariant(QStringLiteral("2")) << false;
    QTest::newRow("yes with a space") << QVariant(QStringLiteral(" yes")) << false;
    QTest::newRow("absent") << QVariant() << false;
}

void tst_QFBlogPlugin::subpageParameterReadsBoolStrings()
{
    QFETCH(QVariant, subpage);
    QFETCH(bool, isTrue);

    QFBlogPlugin plugin;
    plugin.setUsePHPForSidebarContent(true);
    QVariantMap params;
    if (subpage.isValid())
        params.insert(QStringLiteral("subpage"), subpage);
    const QString include = QStringLiteral("<?php include(\"sidebar-content.html\"); ?>");
    QCOMPARE(plugin.sidebarHTML(params) == include, isTrue);
}

void tst_QFBlogPlugin::guidIs32LowerCaseHexAndFresh()
{
    QFBlogPlugin plugin;
    const QRegularExpression form(QStringLiteral("^[0-9a-f]{32}$"));
    QSet<QString> seen;
    for (int i = 0; i < 200; ++i) {
        const std::optional<QString> guid = plugin.guid();
        QVERIFY(guid);
        QVERIFY2(form.match(*guid).hasMatch(), qPrintable(*guid));
        seen.insert(*guid);
    }
    QCOMPARE(seen.size(), 200);
}

void tst_QFBlogPlugin::nextIDStartsAtZeroAndGrows()
{
    QFBlogPlugin plugin;
    QSignalSpy spy(&plugin, &QFTextViewPluginClient::pluginChanged);
    QCOMPARE(plugin.nextID(), 0);
    QCOMPARE(plugin.lastID(), 1);
    QCOMPARE(plugin.nextID(), 1);
    QCOMPARE(plugin.lastID(), 2);
    QCOMPARE(spy.count(), 2); // a handed-out ID is part of the document
}

void tst_QFBlogPlugin::blogWithoutPostsExportsNothingAndMakesNoFolder()
{
    QFBlogPlugin plugin;
    plugin.setUsePHPForSidebarContent(true);
    plugin.setEnableRSS(true);
    const QVariantMap params{{QStringLiteral("name"), QStringLiteral("blog.html")}};

    const QString html = plugin.contentHTML(params);
    QVERIFY(!html.isNull());
    QVERIFY(html.isEmpty());
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

    const QStringList images = {QStringLiteral("podcast_channel.png"), QStringLiteral("podcast_image_1.png")};
    QTest::newRow("preview with the PHP sidebar: only the sidebar file")
        << "preview" << true << true << QStringList{QStringLiteral("sidebar-content.html")};
    QTest::newRow("preview without it: nothing") << "preview" << false << true << QStringList{};
    QTest::newRow("publish with podcast images and the PHP sidebar")
        << "" << true << true << (images + QStringList{QStringLiteral("sidebar-content.html"), QStringLiteral("FEED")});
    QTest::newRow("publish without custom iTunes tags: no images")
        << "" << false << false << QStringList{QStringLiteral("FEED")};
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
    QFBlogEntryPtr published = addPost(plugin, kT1, false, 1);
    published->setItunesTags(QFBlogCustomiTunesTags::tags());
    published->itunesTags()->setImageData(imageBytes("JPG"));
    QFBlogEntryPtr draft = addPost(plugin, kT2, true, 2);
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
    QTest::addColumn<QStringList>("files");

    QTest::newRow("during archives") << ExportStage::Archives << QStringList{};
    QTest::newRow("during permalinks") << ExportStage::Permalinks << QStringList{};
    QTest::newRow("during the feed") << ExportStage::Feed << QStringList{};
}

void tst_QFBlogPlugin::cancelExportStopsTheDriver()
{
    QFETCH(ExportStage, cancelAt);
    QFETCH(QStringList, files);

    QFBlogPlugin plugin;
    plugin.setUsePHPForSidebarContent(true);
    plugin.setEnableRSS(true);
    plugin.setEnableCustomiTunesTags(true);
    plugin.channelCustomiTunesTags()->setImageData(imageBytes("PNG"));
    const QFBlogEntryPtr post = addPost(plugin, kT1, false, 1);

    QList<ExportStage> stages;
    connect(&plugin, &QFBlogPlugin::exportStageStarted, &plugin, [&](ExportStage stage) {
        stages.append(stage);
        if (stage == cancelAt)
            plugin.cancelExport();
    });
    QCOMPARE(fileNames(plugin.extraFilesNeededInExportFolder(driverParameters())), files);
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

    const QVariantMap accounts{{QStringLiteral("haloscan"), QStringLiteral("halo-user")},
                               {QStringLiteral("disqus"), QStringLiteral("my-site")},
                               {QStringLiteral("js-kit"), QStringLiteral("unused")}};
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

    const QVariantMap before{{QStringLiteral("haloscan"), QStringLiteral("old")},
                             {QStringLiteral("disqus"), QStringLiteral("site")}};
    QTest::newRow("new HaloScan name replaces the old")
        << 1 << "new" << QVariantMap{{QStringLiteral("haloscan"), QStringLiteral("new")}, {QStringLiteral("disqus"), QStringLiteral("site")}};
    QTest::newRow("empty text removes the entry") << 3 << "" << QVariantMap{{QStringLiteral("haloscan"), QStringLiteral("old")}};
    QTest::newRow("JS-Kit text is kept under its own name")
        << 2 << "x"
        << QVariantMap{{QStringLiteral("haloscan"), QStringLiteral("old")}, {QStringLiteral("disqus"), QStringLiteral("site")},
                       {QStringLiteral("js-kit"), QStringLiteral("x")}};
    QTest::newRow("unknown provider stores nothing") << 9 << "x" << before;
}

void tst_QFBlogPlugin::commentsAccountTextIsStoredPerService()
{
    QFETCH(int, provider);
    QFETCH(QString, text);
    QFETCH(QVariantMap, accounts);

    QFBlogPlugin plugin;
    plugin.setCommentsUserIdentifiers({{QStringLiteral("haloscan"), QStringLiteral("old")},
                                       {QStringLiteral("disqus"), QStringLiteral("site")}});
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

    QTest::newRow("one error") << QStringList{QStringLiteral("Podcast a.mp3 is missing.\n")} << false;
    QTest::newRow("two errors") << QStringList{QStringLiteral("First.\n"), QStringLiteral("Second.\n")} << false;
    QTest::newRow("one error from the export thread") << QStringList{QStringLiteral("Late.\n")} << true;
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

    const QVariantList expected = {
        QVariantMap{{QStringLiteral("name"), QStringLiteral("News")}, {QStringLiteral("count"), 2u}},
        QVariantMap{{QStringLiteral("name"), QStringLiteral("news")}, {QStringLiteral("count"), 1u}},
    };
    QCOMPARE(plugin.knownTagsArray(), expected);

    // Only enabled posts count for the tag pages.
    QFBlogEntryPtr published = addPost(plugin, kT1, false, 1);
    published->setTags(QFBlogTagList{news, travel});
    QFBlogEntryPtr draft = addPost(plugin, kT2, true, 2);
    draft->setTags(QFBlogTagList{news});
    QFBlogEntryPtr another = addPost(plugin, kT2, false, 3);
    another->setTags(QFBlogTagList{news});
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
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("ID3");
    file.close();

    QFBlogPlugin plugin;
    QFBlogEntryPtr entry = addPost(plugin, kT1, false, 1);
    entry->setPodcast(QStringLiteral("/old/place/media/show.mp3"));
    QFFileReference original(QStringLiteral("/old/place/media/show.mp3"), QStringLiteral("/old/place/site.qfsite"));
    entry->setPodcastReference(std::make_shared<QFFileReference>(original));
    QFBlogEntryPtr untouched = addPost(plugin, kT2, false, 2);
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

#include "blog/generation/qfblogpluginarchives.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfbundle.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTimeZone>
#include <QtTest>

struct PostFixture
{
    QDateTime date;
    bool draft = false;
};
using PostFixtures = QList<PostFixture>;
Q_DECLARE_METATYPE(PostFixtures)

class tst_QFBlogPluginArchives : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void bucketsAndNextPeriods_data();
    void bucketsAndNextPeriods();
    void mostRecentPostBucket_data();
    void mostRecentPostBucket();

    void periodsAndTheirPosts_data();
    void periodsAndTheirPosts();
    void sidebarLinks_data();
    void sidebarLinks();
    void pagesAndTheirNavigationLines_data();
    void pagesAndTheirNavigationLines();
    void archivePageMatchesTheGoldenFile();
    void exportWritesOrHandsBackEveryPage_data();
    void exportWritesOrHandsBackEveryPage();
    void cancellingStopsBetweenPages();
};

namespace {

QDateTime local(int y, int m, int d, int h = 0, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min));
}

PostFixture post(int y, int m, int d, int h = 12)
{
    return PostFixture{local(y, m, d, h), false};
}

PostFixture draft(int y, int m, int d, int h = 12)
{
    return PostFixture{local(y, m, d, h), true};
}

// Posts numbered 1, 2, … in the order given, with fixed GUIDs so page
// names and links are the same on every run.
void addPosts(QFBlogPlugin &plugin, const PostFixtures &posts)
{
    int id = 0;
    for (const PostFixture &fixture : posts) {
        QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
        entry->setID(++id);
        entry->setGUID(QStringLiteral("post-%1").arg(id));
        entry->setTitle(QStringLiteral("Post %1").arg(id));
        entry->setEntryString(QStringLiteral("Text of post %1.").arg(id));
        entry->setDate(fixture.date);
        entry->setStatus(fixture.draft ? 0 : 1);
        plugin.insertBlogEntry(entry);
    }
}

const QVariantMap kParams{{"FilenameExt", "html"}, {"filesfoldername", "files"}, {"name", "blog.html"}, {"title", "My Blog"}};

QVariantMap contentOnly(QVariantMap params = kParams)
{
    params.insert(QStringLiteral("contentonlysubpages"), QStringLiteral("YES"));
    return params;
}

// "2024-03-01: 7,5" per period, oldest period first, posts as the period lists them.
QStringList describeTable(const QFBlogPluginArchives &archives)
{
    QStringList lines;
    for (const QFBlogPluginArchives::Period &period : archives.archives()) {
        QStringList ids;
        for (const QFBlogEntryPtr &entry : period.entries)
            ids.append(QString::number(entry->ID()));
        lines.append(period.date.toString(QStringLiteral("yyyy-MM-dd: ")) + ids.join(QLatin1Char(',')));
    }
    return lines;
}

QStringList names(const QList<QFExportItem> &items)
{
    QStringList result;
    for (const QFExportItem &item : items)
        result.append(item.isFile() ? QFileInfo(item.filePath()).fileName() : item.name());
    return result;
}

QString navigationLine(const QString &page)
{
    static const QRegularExpression line(QStringLiteral("<p class=\"blog-archive-links\">(.*)</p>"));
    return line.match(page).captured(1);
}

QStringList entryIDs(const QString &page)
{
    static const QRegularExpression id(QStringLiteral("id=\"unique-entry-id-(\\d+)\""));
    QStringList ids;
    for (auto it = id.globalMatch(page); it.hasNext();)
        ids.append(it.next().captured(1));
    return ids;
}

} // namespace

void tst_QFBlogPluginArchives::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogPluginArchives::bucketsAndNextPeriods_data()
{
    QTest::addColumn<int>("period");
    QTest::addColumn<QDateTime>("date");
    QTest::addColumn<QDateTime>("bucket");
    QTest::addColumn<QDateTime>("next");

    // Weeks start on Sunday, also when that Sunday lies in an earlier month or year.
    QTest::newRow("week: Wednesday goes back to Sunday")
        << 0 << local(2024, 3, 13, 18, 5) << local(2024, 3, 10) << local(2024, 3, 17);
    QTest::newRow("week: Sunday starts its own week")
        << 0 << local(2024, 3, 17, 23, 59) << local(2024, 3, 17) << local(2024, 3, 24);
    QTest::newRow("week crossing a year start")
        << 0 << local(2026, 1, 1, 9) << local(2025, 12, 28) << local(2026, 1, 4);
    // The clocks go forward on Sunday 31 March 2024.
    QTest::newRow("week after the clocks go forward")
        << 0 << local(2024, 3, 27, 12) << local(2024, 3, 24) << local(2024, 3, 31);
    // 23:30 UTC on Saturday is already Sunday in the system time zone.
    QTest::newRow("week of a date given in UTC")
        << 0 << QDateTime(QDate(2024, 3, 2), QTime(23, 30), QTimeZone::utc()) << local(2024, 3, 3)
        << local(2024, 3, 10);

    QTest::newRow("month: last minute of January")
        << 1 << local(2024, 1, 31, 23, 59) << local(2024, 1, 1) << local(2024, 2, 1);
    QTest::newRow("month: December rolls into the next year")
        << 1 << local(2023, 12, 15) << local(2023, 12, 1) << local(2024, 1, 1);

    QTest::newRow("year: leap day") << 2 << local(2024, 2, 29, 12) << local(2024, 1, 1) << local(2025, 1, 1);

    QTest::newRow("unknown period: months") << 7 << local(2024, 2, 29, 12) << local(2024, 2, 1) << local(2024, 3, 1);
    QTest::newRow("no date") << 1 << QDateTime() << QDateTime() << QDateTime();
}

void tst_QFBlogPluginArchives::bucketsAndNextPeriods()
{
    QFETCH(int, period);
    QFETCH(QDateTime, date);
    QFETCH(QDateTime, bucket);
    QFETCH(QDateTime, next);

    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(period);
    const std::unique_ptr<QFBlogArchiver> archiver = plugin.archives().currentArchiver();
    const char *formats[] = {"%d %B %Y", "%b %Y", "%Y"};
    QCOMPARE(archiver->bucketLinkFormat(), QString::fromLatin1(formats[period >= 0 && period <= 2 ? period : 1]));
    const QDateTime start = archiver->bucketFromDate(date);
    QCOMPARE(start, bucket);
    QCOMPARE(archiver->nextDateFromDate(start), next);
    if (start.isValid()) {
        QCOMPARE(start.time(), QTime(0, 0));
        // Every date of the period has the same start.
        QCOMPARE(archiver->bucketFromDate(next.addSecs(-1)), bucket);
    }
}

void tst_QFBlogPluginArchives::mostRecentPostBucket_data()
{
    QTest::addColumn<PostFixtures>("posts");
    QTest::addColumn<QDateTime>("bucket");

    // The plugin's clock says 9 May 2030.
    QTest::newRow("latest published post")
        << PostFixtures{post(2024, 1, 5), post(2024, 3, 7), post(2024, 2, 1)} << local(2024, 3, 1);
    QTest::newRow("a newer draft does not count") << PostFixtures{post(2024, 1, 5), draft(2024, 6, 1)} << local(2024, 1, 1);
    QTest::newRow("only drafts: today's period") << PostFixtures{draft(2024, 6, 1)} << local(2030, 5, 1);
}

void tst_QFBlogPluginArchives::mostRecentPostBucket()
{
    QFETCH(PostFixtures, posts);
    QFETCH(QDateTime, bucket);

    QFBlogPlugin plugin;
    plugin.setClock([] { return local(2030, 5, 9, 14); });
    plugin.setArchivePostsPeriod(1);
    addPosts(plugin, posts);
    QCOMPARE(plugin.archives().mostRecentPostBucket(), bucket);
    QCOMPARE(plugin.archives().latestPost().has_value(),
             std::any_of(posts.cbegin(), posts.cend(), [](const PostFixture &p) { return !p.draft; }));
}

void tst_QFBlogPluginArchives::periodsAndTheirPosts_data()
{
    QTest::addColumn<int>("period");
    QTest::addColumn<bool>("showAtLeastPosts");
    QTest::addColumn<PostFixtures>("posts");
    QTest::addColumn<QStringList>("table");

    // 1 May 2024 is a Wednesday; its week began on Sunday 28 April.
    QTest::newRow("weeks: a Wednesday joins the Sunday of the month before")
        << 0 << false << PostFixtures{post(2024, 5, 1), post(2024, 5, 5, 9), post(2024, 5, 4)}
        << QStringList{"2024-04-28: 3,1", "2024-05-05: 2"};
    QTest::newRow("months: every month between the first and last post, gaps included")
        << 1 << false << PostFixtures{post(2024, 1, 10), post(2024, 3, 3), post(2024, 3, 20), draft(2024, 2, 5)}
        << QStringList{"2024-01-01: 1", "2024-02-01: ", "2024-03-01: 3,2"};
    QTest::newRow("years") << 2 << false << PostFixtures{post(2022, 7, 1), post(2024, 1, 1, 0)}
                           << QStringList{"2022-01-01: 1", "2023-01-01: ", "2024-01-01: 2"};
    QTest::newRow("drafts only: no periods") << 1 << false << PostFixtures{draft(2024, 1, 1)} << QStringList{};
    // Ids 3-7 are the five newest published posts: the main page's.
    QTest::newRow("limit 5: the five newest published posts are on no archive page")
        << 1 << true
        << PostFixtures{post(2024, 1, 5), post(2024, 3, 1), post(2024, 3, 2), post(2024, 3, 3), post(2024, 3, 4),
                     post(2024, 3, 5), post(2024, 3, 6), draft(2024, 3, 10)}
        << QStringList{"2024-01-01: 1", "2024-02-01: ", "2024-03-01: 2"};
    QTest::newRow("limit 5 with the rule off: no post left out")
        << 1 << false
        << PostFixtures{post(2024, 1, 5), post(2024, 3, 1), post(2024, 3, 2), post(2024, 3, 3), post(2024, 3, 4),
                     post(2024, 3, 5), post(2024, 3, 6)}
        << QStringList{"2024-01-01: 1", "2024-02-01: ", "2024-03-01: 7,6,5,4,3,2"};
}

void tst_QFBlogPluginArchives::periodsAndTheirPosts()
{
    QFETCH(int, period);
    QFETCH(bool, showAtLeastPosts);
    QFETCH(PostFixtures, posts);
    QFETCH(QStringList, table);

    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(period);
    plugin.setShowAtLeastPosts(showAtLeastPosts);
    plugin.setShowPostLimit(5);
    addPosts(plugin, posts);
    plugin.archives().calculateArchives();
    QCOMPARE(describeTable(plugin.archives()), table);
}

void tst_QFBlogPluginArchives::sidebarLinks_data()
{
    QTest::addColumn<PostFixtures>("posts");
    QTest::addColumn<bool>("showGaps");
    QTest::addColumn<bool>("showAtLeastPosts");
    QTest::addColumn<bool>("subpage");
    QTest::addColumn<QString>("links");

    const PostFixtures januaryAndMarch{post(2024, 1, 10), post(2024, 3, 3)};
    const QString march = QStringLiteral(
        "<a class=\"blog-archive-link-enabled\" href=\"files/archive-mar-2024.html\">Mar 2024</a><br />");
    const QString february = QStringLiteral("<div class=\"blog-archive-link-disabled\">Feb 2024</div>");
    const QString january = QStringLiteral(
        "<a class=\"blog-archive-link-enabled\" href=\"files/archive-jan-2024.html\">Jan 2024</a><br />");

    QTest::newRow("gaps shown, most recent month kept by the show-at-least rule")
        << januaryAndMarch << true << true << false << march + february + january;
    QTest::newRow("gaps hidden") << januaryAndMarch << false << true << false << march + january;
    QTest::newRow("rule off: the most recent month is the main page")
        << januaryAndMarch << true << false << false << february + january;
    QTest::newRow("from a sub-page the links are bare file names")
        << januaryAndMarch << false << true << true
        << QStringLiteral("<a class=\"blog-archive-link-enabled\" href=\"archive-mar-2024.html\">Mar 2024</a><br />"
                          "<a class=\"blog-archive-link-enabled\" href=\"archive-jan-2024.html\">Jan 2024</a><br />");
    // With a limit of 5 the newest month keeps its oldest post, or nothing.
    QTest::newRow("limit 5: the most recent month still holds an older post")
        << PostFixtures{post(2024, 1, 5), post(2024, 3, 1), post(2024, 3, 2), post(2024, 3, 3), post(2024, 3, 4),
                     post(2024, 3, 5), post(2024, 3, 6)}
        << true << true << false << march + february + january;
    QTest::newRow("limit 5: the most recent month emptied by the main page")
        << PostFixtures{post(2024, 1, 5), post(2024, 3, 2), post(2024, 3, 3), post(2024, 3, 4), post(2024, 3, 5),
                     post(2024, 3, 6)}
        << true << true << false
        << QStringLiteral("<div class=\"blog-archive-link-disabled\">Mar 2024</div>") + february + january;
    QTest::newRow("no published posts: no links") << PostFixtures{draft(2024, 1, 5)} << true << true << false << "";
}

void tst_QFBlogPluginArchives::sidebarLinks()
{
    QFETCH(PostFixtures, posts);
    QFETCH(bool, showGaps);
    QFETCH(bool, showAtLeastPosts);
    QFETCH(bool, subpage);
    QFETCH(QString, links);

    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(1);
    plugin.setArchivePostsShowGaps(showGaps);
    plugin.setShowAtLeastPosts(showAtLeastPosts);
    plugin.setShowPostLimit(posts.size() > 5 ? 5 : 0);
    addPosts(plugin, posts);
    plugin.archives().calculateArchives();
    QVariantMap params = kParams;
    if (subpage)
        params.insert(QStringLiteral("subpage"), QStringLiteral("yes"));
    QCOMPARE(plugin.archives().emitArchiveLinks(params), links);
}

void tst_QFBlogPluginArchives::pagesAndTheirNavigationLines_data()
{
    QTest::addColumn<bool>("showAtLeastPosts");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("pages");
    QTest::addColumn<QStringList>("lines");

    const QString jan = QStringLiteral("<a href=\"archive-jan-2024.html\">Jan 2024</a>");
    const QString mar = QStringLiteral("<a href=\"archive-mar-2024.html\">Mar 2024</a>");
    const QString apr = QStringLiteral("<a href=\"archive-apr-2024.html\">Apr 2024</a>");
    const QString jun = QStringLiteral("<a href=\"archive-jun-2024.html\">Jun 2024</a>");
    const QString back = QStringLiteral("<a href=\"../blog.html\">My Blog</a>");

    // Posts in January, March, April and June: June is the most recent
    // month, which no navigation line links to.
    QTest::newRow("rule off: no page for June, April does not link to it")
        << false << "My Blog"
        << QStringList{"archive-jan-2024.html", "archive-mar-2024.html", "archive-apr-2024.html"}
        << QStringList{back + " | " + mar, back + " | " + apr + " | " + jan, back + " | " + mar};
    QTest::newRow("rule on: June has a page, still no link to it")
        << true << "My Blog"
        << QStringList{"archive-jan-2024.html", "archive-mar-2024.html", "archive-apr-2024.html",
                       "archive-jun-2024.html"}
        << QStringList{back + " | " + mar, back + " | " + apr + " | " + jan, back + " | " + mar, back + " | " + apr};
    // Characters outside ASCII become entities; the links stay links.
    QTest::newRow("a blog title with an umlaut")
        << false << QStringLiteral("Mein Blög & mehr")
        << QStringList{"archive-jan-2024.html", "archive-mar-2024.html", "archive-apr-2024.html"}
        << QStringList{QStringLiteral("<a href=\"../blog.html\">Mein Bl&ouml;g &amp; mehr</a> | ") + mar,
                       QStringLiteral("<a href=\"../blog.html\">Mein Bl&ouml;g &amp; mehr</a> | ") + apr + " | " + jan,
                       QStringLiteral("<a href=\"../blog.html\">Mein Bl&ouml;g &amp; mehr</a> | ") + mar};
}

void tst_QFBlogPluginArchives::pagesAndTheirNavigationLines()
{
    QFETCH(bool, showAtLeastPosts);
    QFETCH(QString, title);
    QFETCH(QStringList, pages);
    QFETCH(QStringList, lines);

    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(1);
    plugin.setShowAtLeastPosts(showAtLeastPosts);
    plugin.setCategoryPostsEnabled(false);
    plugin.setGeneratePermalinkPages(false);
    addPosts(plugin, {post(2024, 1, 10), post(2024, 3, 3), post(2024, 4, 1), post(2024, 4, 2), post(2024, 6, 9)});

    QVariantMap params = contentOnly();
    params.insert(QStringLiteral("title"), title);
    const QList<QFExportItem> result = plugin.extraFilesNeededInExportFolder(params);
    QCOMPARE(names(result), pages);
    for (qsizetype i = 0; i < result.size(); ++i)
        QCOMPARE(navigationLine(result.at(i).html()), lines.at(i));
    // Each page lists its month's posts, newest first.
    QCOMPARE(entryIDs(result.at(2).html()), (QStringList{"4", "3"}));
}

void tst_QFBlogPluginArchives::archivePageMatchesTheGoldenFile()
{
    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(1);
    plugin.setCategoryPostsEnabled(false);
    plugin.setTagsEnabled(false);
    addPosts(plugin, {post(2024, 2, 28), post(2024, 3, 1, 9), post(2024, 3, 14, 18), post(2024, 4, 2)});

    QVariantMap params = contentOnly();
    params.insert(QStringLiteral("title"), QStringLiteral("Café Notes"));
    plugin.setGeneratePermalinkPages(false);
    const QList<QFExportItem> result = plugin.extraFilesNeededInExportFolder(params);
    QCOMPARE(names(result), (QStringList{"archive-feb-2024.html", "archive-mar-2024.html"}));

    QFile golden(QFINDTESTDATA("../../data/blog-archives/archive-mar-2024.html"));
    QVERIFY(golden.open(QIODevice::ReadOnly));
    QCOMPARE(result.at(1).html(), QString::fromUtf8(golden.readAll()));
}

void tst_QFBlogPluginArchives::exportWritesOrHandsBackEveryPage_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QStringList>("subpages");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<qint64>("pages");

    QTest::newRow("export: pages written into the files folder")
        << "export" << QStringList{}
        << QStringList{"archive-jan-2024.html", "archive-mar-2024.html", "category-travel.html", "tag-alps.html",
                       "tag-sea.html"}
        << qint64(5);
    QTest::newRow("content-only: pages handed back, archive pages first")
        << "content-only"
        << QStringList{"archive-jan-2024.html", "archive-mar-2024.html", "category-travel.html", "tag-sea.html",
                       "tag-alps.html"}
        << QStringList{} << qint64(5);
    QTest::newRow("preview: no pages at all") << "preview" << QStringList{} << QStringList{} << qint64(0);
}

void tst_QFBlogPluginArchives::exportWritesOrHandsBackEveryPage()
{
    QFETCH(QString, mode);
    QFETCH(QStringList, subpages);
    QFETCH(QStringList, files);
    QFETCH(qint64, pages);

    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(1);
    plugin.setGeneratePermalinkPages(false);
    addPosts(plugin, {post(2024, 1, 10), post(2024, 3, 3), post(2024, 4, 1)});
    // A new blog's categories include Travel.
    const QFBlogCategoryPtr travel = plugin.categoryForCategoryName(QStringLiteral("Travel"));
    QVERIFY(travel);
    plugin.posts().at(0)->setCategoryIDs({travel->categoryID()});
    plugin.posts().at(0)->setTags(QFBlogTagList{QFBlogTag(QStringLiteral("sea")), QFBlogTag(QStringLiteral("alps"))});

    QVariantMap params = mode == QLatin1String("content-only") ? contentOnly() : kParams;
    if (mode == QLatin1String("preview"))
        params.insert(QStringLiteral("mode"), QStringLiteral("preview"));
    QSignalSpy progress(&plugin, &QFTextViewPluginClient::exportProgress);
    const QList<QFExportItem> result = plugin.extraFilesNeededInExportFolder(params);

    QStringList handedBack;
    QStringList written;
    for (const QFExportItem &item : result)
        (item.isContentOnlySubpage() ? handedBack : written).append(names({item}));
    QCOMPARE(handedBack, subpages);
    QCOMPARE(written, files);
    // Progress counts pages, announced once and then one by one.
    QVERIFY(!progress.isEmpty());
    QCOMPARE(progress.first(), (QVariantList{qint64(0), pages}));
    QCOMPARE(progress.last(), (QVariantList{pages, pages}));
    QCOMPARE(progress.size(), pages + 1);
}

void tst_QFBlogPluginArchives::cancellingStopsBetweenPages()
{
    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(1);
    plugin.setGeneratePermalinkPages(false);
    addPosts(plugin, {post(2024, 1, 10), post(2024, 2, 3), post(2024, 3, 1), post(2024, 4, 1)});
    connect(&plugin, &QFTextViewPluginClient::exportProgress, &plugin, [&](qint64 done, qint64) {
        if (done == 1)
            plugin.cancelExport();
    });

    QVERIFY(plugin.extraFilesNeededInExportFolder(kParams).isEmpty());
    const QString scratch = plugin.temporaryFilesDirectory();
    QCOMPARE(QDir(scratch).entryList(QDir::Files), QStringList{"archive-jan-2024.html"});
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginArchives)
#include "tst_qfblogpluginarchives.moc"

#include "blogfixtures.h"

#include "blog/generation/qfblogpluginarchives.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfexportitem.h"

#include <QDir>
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

namespace {

QDateTime local(int y, int m, int d, int h = 0, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min));
}

PostFixture post(int y, int m, int d, int h = 12)
{
    return {local(y, m, d, h), false};
}

PostFixture draft(int y, int m, int d)
{
    return {local(y, m, d, 12), true};
}

// Posts numbered 1, 2, … in the order given.
void addPosts(QFBlogPlugin &blog, const PostFixtures &posts)
{
    for (int id = 1; id <= posts.size(); ++id)
        addPost(blog, id, posts.at(id - 1).date, posts.at(id - 1).draft);
}

// Published posts on 5 January and 1 to 6 March 2024; the last five are the main page's.
const PostFixtures kSevenPosts{post(2024, 1, 5), post(2024, 3, 1), post(2024, 3, 2), post(2024, 3, 3),
                               post(2024, 3, 4), post(2024, 3, 5), post(2024, 3, 6)};

} // namespace

class tst_QFBlogPluginArchives : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initializeBlogClassForFixtures(); }

    void bucketsAndNextPeriods_data()
    {
        QTest::addColumn<int>("period");
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QDateTime>("bucket");
        QTest::addColumn<QDateTime>("next");

        // Weeks start on Sunday, also when that Sunday lies in an earlier month or year.
        QTest::newRow("week: Wednesday goes back to Sunday") << 0 << local(2024, 3, 13, 18, 5) << local(2024, 3, 10) << local(2024, 3, 17);
        QTest::newRow("week: Sunday starts its own week") << 0 << local(2024, 3, 17, 23, 59) << local(2024, 3, 17) << local(2024, 3, 24);
        QTest::newRow("week crossing a year start") << 0 << local(2026, 1, 1, 9) << local(2025, 12, 28) << local(2026, 1, 4);
        // The clocks go forward on Sunday 31 March 2024.
        QTest::newRow("week after the clocks go forward") << 0 << local(2024, 3, 27, 12) << local(2024, 3, 24) << local(2024, 3, 31);
        // 23:30 UTC on Saturday is already Sunday in the system time zone.
        QTest::newRow("week of a date given in UTC")
            << 0 << QDateTime(QDate(2024, 3, 2), QTime(23, 30), QTimeZone::utc()) << local(2024, 3, 3) << local(2024, 3, 10);
        QTest::newRow("month: last minute of January") << 1 << local(2024, 1, 31, 23, 59) << local(2024, 1, 1) << local(2024, 2, 1);
        QTest::newRow("month: December rolls into the next year") << 1 << local(2023, 12, 15) << local(2023, 12, 1) << local(2024, 1, 1);
        QTest::newRow("year: leap day") << 2 << local(2024, 2, 29, 12) << local(2024, 1, 1) << local(2025, 1, 1);
        QTest::newRow("unknown period: months") << 7 << local(2024, 2, 29, 12) << local(2024, 2, 1) << local(2024, 3, 1);
        QTest::newRow("no date") << 1 << QDateTime() << QDateTime() << QDateTime();
    }

    void bucketsAndNextPeriods()
    {
        QFETCH(int, period);
        QFETCH(QDateTime, date);
        QFETCH(QDateTime, bucket);
        QFETCH(QDateTime, next);

        QFBlogPlugin blog;
        blog.setArchivePostsPeriod(period);
        const std::unique_ptr<QFBlogArchiver> archiver = blog.archives().currentArchiver();
        const QDateTime start = archiver->bucketFromDate(date);
        QCOMPARE(start, bucket);
        QCOMPARE(archiver->nextDateFromDate(start), next);
        if (start.isValid()) // every moment of the period has the same start
            QCOMPARE(archiver->bucketFromDate(next.addSecs(-1)), bucket);
    }

    void periodsAndTheirPosts_data()
    {
        QTest::addColumn<int>("period");
        QTest::addColumn<bool>("showAtLeastPosts");
        QTest::addColumn<PostFixtures>("posts");
        QTest::addColumn<QStringList>("table"); // "start: posts" per period, oldest first

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
        QTest::newRow("limit 5: the five newest published posts are on no archive page")
            << 1 << true << (PostFixtures(kSevenPosts) << draft(2024, 3, 10))
            << QStringList{"2024-01-01: 1", "2024-02-01: ", "2024-03-01: 2"};
        QTest::newRow("limit 5 with the rule off: no post left out")
            << 1 << false << kSevenPosts << QStringList{"2024-01-01: 1", "2024-02-01: ", "2024-03-01: 7,6,5,4,3,2"};
    }

    void periodsAndTheirPosts()
    {
        QFETCH(int, period);
        QFETCH(bool, showAtLeastPosts);
        QFETCH(PostFixtures, posts);
        QFETCH(QStringList, table);

        QFBlogPlugin blog;
        blog.setArchivePostsPeriod(period);
        blog.setShowAtLeastPosts(showAtLeastPosts);
        blog.setShowPostLimit(5);
        addPosts(blog, posts);
        blog.archives().calculateArchives();
        QStringList lines;
        for (const QFBlogPluginArchives::Period &each : blog.archives().archives()) {
            QStringList ids;
            for (const QFBlogEntryPtr &entry : each.entries)
                ids.append(QString::number(entry->ID()));
            lines.append(each.date.toString("yyyy-MM-dd: ") + ids.join(','));
        }
        QCOMPARE(lines, table);
    }

    void sidebarLinks_data()
    {
        QTest::addColumn<PostFixtures>("posts");
        QTest::addColumn<bool>("showGaps");
        QTest::addColumn<bool>("showAtLeastPosts");
        QTest::addColumn<bool>("subpage");
        QTest::addColumn<QString>("links");

        const auto on = [](const char *file, const char *text, const char *folder = "files/") {
            return QStringLiteral("<a class=\"blog-archive-link-enabled\" href=\"%1archive-%2.html\">%3</a><br />")
                .arg(QLatin1String(folder), QLatin1String(file), QLatin1String(text));
        };
        const auto off = [](const char *text) { return QStringLiteral("<div class=\"blog-archive-link-disabled\">%1</div>").arg(text); };
        const PostFixtures janAndMar{post(2024, 1, 10), post(2024, 3, 3)};
        const QString mar = on("mar-2024", "Mar 2024"), feb = off("Feb 2024"), jan = on("jan-2024", "Jan 2024");

        QTest::newRow("gaps shown, most recent month kept by the show-at-least rule") << janAndMar << true << true << false << mar + feb + jan;
        QTest::newRow("gaps hidden") << janAndMar << false << true << false << mar + jan;
        QTest::newRow("rule off: the most recent month is the main page, a newer draft aside")
            << (PostFixtures(janAndMar) << draft(2024, 4, 5)) << true << false << false << feb + jan;
        QTest::newRow("from a sub-page the links are bare file names")
            << janAndMar << false << true << true << on("mar-2024", "Mar 2024", "") + on("jan-2024", "Jan 2024", "");
        // With a limit of 5 the newest month keeps its oldest post, or nothing.
        QTest::newRow("limit 5: the most recent month still holds an older post") << kSevenPosts << true << true << false << mar + feb + jan;
        QTest::newRow("limit 5: the most recent month emptied by the main page")
            << kSevenPosts.mid(0, 1) + kSevenPosts.mid(2) << true << true << false << off("Mar 2024") + feb + jan;
        QTest::newRow("no published posts: no links") << PostFixtures{draft(2024, 1, 5)} << true << true << false << "";
    }

    void sidebarLinks()
    {
        QFETCH(PostFixtures, posts);
        QFETCH(bool, showGaps);
        QFETCH(bool, showAtLeastPosts);
        QFETCH(bool, subpage);
        QFETCH(QString, links);

        QFBlogPlugin blog;
        blog.setArchivePostsPeriod(1);
        blog.setArchivePostsShowGaps(showGaps);
        blog.setShowAtLeastPosts(showAtLeastPosts);
        blog.setShowPostLimit(posts.size() > 5 ? 5 : 0);
        addPosts(blog, posts);
        blog.archives().calculateArchives();
        QCOMPARE(blog.archives().emitArchiveLinks(subpage ? pageParams({{"subpage", "yes"}}) : pageParams()), links);
    }

    void pagesAndTheirNavigationLines_data()
    {
        QTest::addColumn<bool>("showAtLeastPosts");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("months"); // the pages made
        QTest::addColumn<QStringList>("lines");

        const auto a = [](const char *month) {
            return QStringLiteral("<a href=\"archive-%1-2024.html\">%2 2024</a>").arg(QString::fromLatin1(month).toLower(), month);
        };
        const QString back = "<a href=\"../blog.html\">My Blog</a> | ";
        // Posts in January, March, April and June: June is the most recent
        // month, which no navigation line links to.
        QTest::newRow("rule off: no page for June, April does not link to it")
            << false << "My Blog" << QStringList{"jan", "mar", "apr"}
            << QStringList{back + a("Mar"), back + a("Apr") + " | " + a("Jan"), back + a("Mar")};
        QTest::newRow("rule on: June has a page, still no link to it")
            << true << "My Blog" << QStringList{"jan", "mar", "apr", "jun"}
            << QStringList{back + a("Mar"), back + a("Apr") + " | " + a("Jan"), back + a("Mar"), back + a("Apr")};
        const QString umlaut = "<a href=\"../blog.html\">Mein Bl&ouml;g &amp; mehr</a> | ";
        QTest::newRow("characters outside ASCII become entities")
            << false << "Mein Blög & mehr" << QStringList{"jan", "mar", "apr"}
            << QStringList{umlaut + a("Mar"), umlaut + a("Apr") + " | " + a("Jan"), umlaut + a("Mar")};
    }

    void pagesAndTheirNavigationLines()
    {
        QFETCH(bool, showAtLeastPosts);
        QFETCH(QString, title);
        QFETCH(QStringList, months);
        QFETCH(QStringList, lines);

        QFBlogPlugin blog;
        blog.setArchivePostsPeriod(1);
        blog.setShowAtLeastPosts(showAtLeastPosts);
        blog.setCategoryPostsEnabled(false);
        blog.setGeneratePermalinkPages(false);
        addPosts(blog, {post(2024, 1, 10), post(2024, 3, 3), post(2024, 4, 1), post(2024, 4, 2), post(2024, 6, 9)});
        const QList<QFExportItem> result = blog.extraFilesNeededInExportFolder(pageParams({{"contentonlysubpages", "YES"}, {"title", title}}));
        QStringList pages;
        for (const QString &month : months)
            pages.append("archive-" + month + "-2024.html");
        QCOMPARE(itemNames(result), pages);
        static const QRegularExpression line("<p class=\"blog-archive-links\">(.*)</p>");
        for (qsizetype i = 0; i < result.size(); ++i)
            QCOMPARE(line.match(result.at(i).html()).captured(1), lines.at(i));
        // Each page lists its month's posts, newest first.
        QCOMPARE(entryIDs(result.at(2).html()), (QStringList{"4", "3"}));
    }

    void archivePageMatchesTheGoldenFile()
    {
        QFBlogPlugin blog;
        blog.setArchivePostsPeriod(1);
        blog.setCategoryPostsEnabled(false);
        blog.setTagsEnabled(false);
        blog.setGeneratePermalinkPages(false);
        addPosts(blog, {post(2024, 2, 28), post(2024, 3, 1, 9), post(2024, 3, 14, 18), post(2024, 4, 2)});
        const QList<QFExportItem> result =
            blog.extraFilesNeededInExportFolder(pageParams({{"contentonlysubpages", "YES"}, {"title", "Café Notes"}}));
        QCOMPARE(itemNames(result), (QStringList{"archive-feb-2024.html", "archive-mar-2024.html"}));
        QCOMPARE(result.at(1).html(), goldenFile("blog-archives/archive-mar-2024.html"));
    }

    void exportWritesOrHandsBackEveryPage_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QStringList>("subpages");
        QTest::addColumn<QStringList>("files");

        const QStringList archives{"archive-jan-2024.html", "archive-mar-2024.html", "category-travel.html"};
        QTest::newRow("export: pages written into the files folder")
            << "export" << QStringList{} << archives + QStringList{"tag-alps.html", "tag-sea.html"};
        QTest::newRow("content-only: pages handed back, archive pages first")
            << "content-only" << archives + QStringList{"tag-sea.html", "tag-alps.html"} << QStringList{};
        QTest::newRow("preview: no pages at all") << "preview" << QStringList{} << QStringList{};
    }

    void exportWritesOrHandsBackEveryPage()
    {
        QFETCH(QString, mode);
        QFETCH(QStringList, subpages);
        QFETCH(QStringList, files);

        QFBlogPlugin blog;
        blog.setArchivePostsPeriod(1);
        blog.setGeneratePermalinkPages(false);
        addPosts(blog, {post(2024, 1, 10), post(2024, 3, 3), post(2024, 4, 1)});
        blog.posts().at(0)->setCategoryIDs({categoryID(blog, "Travel")});
        blog.posts().at(0)->setTags(tagList({"sea", "alps"}));

        QVariantMap params = pageParams();
        if (mode == "content-only")
            params.insert("contentonlysubpages", "YES");
        if (mode == "preview")
            params.insert("mode", "preview");
        QSignalSpy progress(&blog, &QFTextViewPluginClient::exportProgress);
        QList<QFExportItem> handedBack, written;
        for (const QFExportItem &item : blog.extraFilesNeededInExportFolder(params))
            (item.isContentOnlySubpage() ? handedBack : written).append(item);
        QCOMPARE(itemNames(handedBack), subpages);
        QCOMPARE(itemNames(written), files);
        // Progress counts pages, announced once and then one by one.
        const qint64 pages = subpages.size() + files.size();
        QCOMPARE(progress.size(), pages + 1);
        QCOMPARE(progress.first(), (QVariantList{qint64(0), pages}));
        QCOMPARE(progress.last(), (QVariantList{pages, pages}));
    }

    void cancellingStopsBetweenPages()
    {
        QFBlogPlugin blog;
        blog.setArchivePostsPeriod(1);
        blog.setGeneratePermalinkPages(false);
        addPosts(blog, {post(2024, 1, 10), post(2024, 2, 3), post(2024, 3, 1), post(2024, 4, 1)});
        connect(&blog, &QFTextViewPluginClient::exportProgress, &blog, [&](qint64 done, qint64) {
            if (done == 1)
                blog.cancelExport();
        });
        QVERIFY(blog.extraFilesNeededInExportFolder(pageParams()).isEmpty());
        QCOMPARE(QDir(blog.temporaryFilesDirectory()).entryList(QDir::Files), QStringList{"archive-jan-2024.html"});
    }
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginArchives)
#include "tst_qfblogpluginarchives.moc"

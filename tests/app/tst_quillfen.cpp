#include "quillfenrun.h"

#include <QtTest>

// The quillfen command line and the blog's commands, run as a user runs them.
class tst_Quillfen : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void commandLines_data();
    void commandLines();
    void settingRoundTrip_data();
    void settingRoundTrip();
    void refusedValues_data();
    void refusedValues();
    void namesKeepTheModelsRules();
    void namesChosenByTheUserNeverReplaceAPage();
    void severalBlogPagesNeedPage();
    void postsSurviveReopening();
    void categoryRemovalMergesOrDrops_data();
    void categoryRemovalMergesOrDrops();
    void removalNeedsConfirmation();
    void postsFromJsonLines();
    void movableTypeEntriesLandWithMappedCategories();
    void movableTypeFilesNeedConvert_data();
    void movableTypeFilesNeedConvert();

private:
    std::unique_ptr<QuillfenFolder> m_f;
};

namespace {

const QByteArray kTwoEntries = "TITLE: Ferries\nSTATUS: Publish\nDATE: 03/14/2026 09:30:00 AM\nCATEGORY: Trips\n"
                               "CATEGORY: Misc\n-----\nBODY:\nFog.\n-----\n--------\n"
                               "TITLE: Stew\nSTATUS: Draft\nDATE: 03/15/2026 20:00:00\nCATEGORY: Cooking\n-----\n"
                               "BODY:\nHot.\n-----\nEXTENDED BODY:\nVery hot.\n-----\n--------\n";

} // namespace

void tst_Quillfen::init()
{
    m_f = std::make_unique<QuillfenFolder>();
    QVERIFY(m_f->dir.isValid());
    QF_VERIFY_RUN(m_f->run("new|SITE|--title|Notes"));
    QVERIFY(!m_f->write("foreign.qfsite", "<html><body>not a site</body></html>\n").isEmpty());
    QVERIFY(!m_f->write("export.txt", kTwoEntries).isEmpty());
    QVERIFY(QDir().mkpath(m_f->path("notes")) && !m_f->write("notes/todo.txt", "mine").isEmpty());
    // Posts files whose second line is bad: the first is not added either.
    const QByteArray fine = R"({"title": "Fine", "categories": ["New"]})" "\n";
    QVERIFY(!m_f->write("bad.jsonl", fine + R"({"title": "b",)" "\n").isEmpty());
    QVERIFY(!m_f->write("gone.jsonl", fine + R"({"title": "b", "podcast": "gone.mp3"})" "\n").isEmpty());
    // Files beyond the size limits, sparse: nothing on disk.
    QVERIFY(QFile::resize(m_f->write("huge.txt", kTwoEntries), qint64(600) << 20));
    QVERIFY(QFile::resize(m_f->write("huge.qfsite", m_f->read(m_f->site)), qint64(3) << 30));
}

// Whatever a command is told, it exits 0, 1 having failed (one line naming
// the command and what failed) or 2 for wrong usage (pointing to the help).
// Nothing but the help and the queries writes anything, and the folder and the
// site are left as they were.
void tst_Quillfen::commandLines_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message"); // in the output on success, else in the errors

    QTest::newRow("help lists plugin commands") << "--help" << 0 << "post add";
    QTest::newRow("command help") << "post --help" << 0 << "--body-file";
    QTest::newRow("info names the pages") << "info SITE" << 0 << "(Blog)";
    QTest::newRow("page chosen by file name") << "get SITE enableRSS --page blog" << 0 << "";
    QTest::newRow("no command") << "" << 2 << "Usage:";
    QTest::newRow("unknown command") << "frobnicate SITE" << 2 << "unknown command 'frobnicate'";
    QTest::newRow("unknown option") << "info SITE --colour" << 2 << "unknown option '--colour'";
    QTest::newRow("missing argument") << "get" << 2 << "missing arguments";
    QTest::newRow("extra argument") << "info SITE more" << 2 << "unexpected argument 'more'";
    QTest::newRow("option without its value") << "post add SITE --title" << 2 << "needs a value";
    QTest::newRow("post without title") << "post add SITE" << 2 << "--title";
    QTest::newRow("date not ISO 8601") << "post add SITE --title T --date 5/1/2024" << 2 << "ISO 8601";
    QTest::newRow("post ID not a number") << "post show SITE first" << 2 << "not a post ID";
    QTest::newRow("missing file") << "info nowhere.qfsite" << 1 << "nowhere.qfsite";
    QTest::newRow("foreign file") << "post list foreign.qfsite" << 1 << "foreign.qfsite";
    QTest::newRow("new never overwrites") << "new SITE" << 1 << "already exists";
    QTest::newRow("unknown key") << "get SITE enableTelepathy" << 1 << "enableTelepathy";
    QTest::newRow("state is no setting") << "set SITE pluginIsInitialising true" << 1 << "Unknown Key";
    QTest::newRow("bool of wrong type") << "set SITE enableRSS maybe" << 2 << "not true or false";
    QTest::newRow("list given an object") << "set SITE pingSettings {}" << 2 << "JSON array";
    QTest::newRow("broken JSON") << "set SITE sidebarControl [1," << 2 << "JSON";
    QTest::newRow("site key of wrong type") << "site SITE commonFileConsolidationMode all" << 2 << "whole number";
    QTest::newRow("unknown page") << "get SITE enableRSS --page Diary" << 1 << "Diary";
    QTest::newRow("unknown post") << "post show SITE 99" << 1 << "no post with the ID 99";
    QTest::newRow("unknown category") << "category rename SITE Poetry Verse" << 1 << "Poetry";
    QTest::newRow("none category stays") << "category remove SITE None" << 1 << "cannot be removed";
    QTest::newRow("none category keeps its name") << "category rename SITE none Nothing" << 1 << "cannot be renamed";
    QTest::newRow("rename onto another ignoring case") << "category rename SITE General work" << 1
                                                       << "already has a category";
    QTest::newRow("add a name in use ignoring case") << "category add SITE TRAVEL" << 1 << "Travel";
    QTest::newRow("post --jsonl with other options") << "post add SITE --jsonl DIR/export.txt --draft" << 2 << "--draft";
    QTest::newRow("post --jsonl, missing file") << "post add SITE --jsonl DIR/none.jsonl" << 1 << "none.jsonl";
    QTest::newRow("post --jsonl, bad line") << "post add SITE --jsonl DIR/bad.jsonl" << 1 << "bad.jsonl:2: not valid JSON";
    QTest::newRow("post --jsonl, missing podcast") << "post add SITE --jsonl DIR/gone.jsonl" << 1
                                                   << "gone.jsonl:2: the podcast file 'gone.mp3' does not exist";
    QTest::newRow("post --jsonl, file over the limit") << "post add SITE --jsonl DIR/huge.txt" << 1
                                                       << "huge.txt\u201d is larger than 512 MiB";
    QTest::newRow("post --body-file over the limit") << "post add SITE --title T --body-file DIR/huge.txt" << 1
                                                     << "huge.txt\u201d is larger than 512 MiB";
    QTest::newRow("import-mt, file over the limit") << "import-mt SITE DIR/huge.txt" << 1
                                                    << "huge.txt\u201d is larger than 512 MiB";
    QTest::newRow("import-mt, a device without end") << "import-mt SITE /dev/zero" << 1
                                                     << "The export file \u201c/dev/zero\u201d is larger than 512 MiB";
    QTest::newRow("site over the limit") << "info DIR/huge.qfsite" << 1 << "huge.qfsite\u201d is larger than 2 GiB";
    QTest::newRow("site a device") << "info /dev/zero" << 1 << "is not a regular file";
    QTest::newRow("page import, a device") << "page import SITE /dev/zero" << 1 << "it is not a file";
    QTest::newRow("import-mt, one argument") << "import-mt SITE" << 2 << "missing arguments";
    QTest::newRow("import-mt, missing file") << "import-mt SITE DIR/none.txt" << 1 << "none.txt";
    QTest::newRow("import-mt, no entries") << "import-mt SITE DIR/foreign.qfsite" << 1 << "No entry could be read from";
    QTest::newRow("map to an unknown blog category") << "import-mt SITE DIR/export.txt --map Trips=Voyages" << 2
                                                     << "the blog category \u201cVoyages\u201d";
    QTest::newRow("map a category not in the file") << "import-mt SITE DIR/export.txt --map Trip=General" << 2
                                                    << "the Movable Type category \u201cTrip\u201d";
    QTest::newRow("map without =") << "import-mt SITE DIR/export.txt --map Trips" << 2 << "is not of the form";
    QTest::newRow("export, unknown option") << "export SITE DIR/www --zip" << 2 << "unknown option '--zip'";
    QTest::newRow("export, missing site") << "export DIR/nowhere.qfsite DIR/www" << 1 << "nowhere.qfsite";
    QTest::newRow("export, output below a file") << "export SITE DIR/site.qfsite/www" << 1 << "Export Failed";
    QTest::newRow("export, output is a file") << "export SITE SITE" << 1 << "is a file, not a folder";
    QTest::newRow("export, output holds the site") << "export SITE DIR" << 1 << "holds the site document";
    QTest::newRow("export, output holds someone else's files") << "export SITE DIR/notes" << 1
                                                               << "notes\u201d is not empty and holds no earlier Quillfen export";
    QTest::newRow("links, unknown option") << "links SITE --xml" << 2 << "unknown option '--xml'";
    QTest::newRow("links, missing site") << "links DIR/nowhere.qfsite" << 1 << "nowhere.qfsite";
    QTest::newRow("page, no action") << "page" << 2 << "say export or import";
    QTest::newRow("page, unknown action") << "page copy SITE" << 2 << "unknown action";
    QTest::newRow("page export without output") << "page export SITE blog" << 2 << "";
    QTest::newRow("page export with import's option") << "page export SITE blog DIR/x.qfpage --name x" << 2
                                                      << "belong to import";
    QTest::newRow("page export, no such page") << "page export SITE journal DIR/x.qfpage" << 1
                                               << "has no page \u201cjournal\u201d";
    QTest::newRow("page export over the site") << "page export SITE blog SITE" << 1 << "written over the site";
    QTest::newRow("page export, missing site") << "page export DIR/none.qfsite blog DIR/x.qfpage" << 1 << "none.qfsite";
    QTest::newRow("page import, missing package") << "page import SITE DIR/none.qfpage" << 1 << "none.qfpage";
    QTest::newRow("publish, one argument") << "publish SITE" << 2 << "missing arguments";
    QTest::newRow("publish, missing site") << "publish DIR/none.qfsite DIR/www" << 1 << "none.qfsite";
    QTest::newRow("ping, no site") << "ping" << 2 << "missing arguments";
    QTest::newRow("ping, missing site") << "ping DIR/none.qfsite" << 1 << "none.qfsite";
    QTest::newRow("serve, port no number") << "serve SITE --port many" << 2 << "--port needs a port number";
    QTest::newRow("serve, missing site") << "serve DIR/none.qfsite --port 0" << 1 << "none.qfsite";
}

void tst_Quillfen::commandLines()
{
    QFETCH(QString, line);
    QFETCH(int, code);
    QFETCH(QString, message);

    const QByteArray site = m_f->read(m_f->site);
    const QStringList names = m_f->names();
    const QuillfenRun run = m_f->run(line);
    QVERIFY2(run.code == code, qPrintable(QStringLiteral("exit %1\n%2").arg(run.code).arg(run.err)));
    QVERIFY2((code ? run.err : run.out).contains(message), qPrintable(run.out + run.err));
    if (code == 0)
        QVERIFY2(run.err.isEmpty(), qPrintable(run.err));
    else
        QVERIFY2(run.out.isEmpty(), qPrintable(run.out));
    if (code == 1) {
        const QString command = line.section(u' ', 0, 0);
        QVERIFY2(run.err.startsWith(QStringLiteral("quillfen %1: ").arg(command)), qPrintable(run.err));
        QCOMPARE(run.err.count(u'\n'), 1);
    }
    if (code == 2)
        QVERIFY2(run.err.contains(QLatin1String("--help")), qPrintable(run.err));
    QCOMPARE(m_f->read(m_f->site), site);
    QCOMPARE(m_f->names(), names);
    QCOMPARE(QDir(m_f->path("notes")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{"todo.txt"});
}

void tst_Quillfen::settingRoundTrip_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("shown");

    QTest::newRow("bool") << "get" << "enableRSS" << "yes" << "true";
    QTest::newRow("whole number") << "get" << "summarizeEntryRSSCount" << "3" << "3";
    QTest::newRow("lastID grows") << "get" << "lastID" << "40" << "40";
    QTest::newRow("language from the table") << "get" << "rssLanguage" << "German (Austria)" << "German (Austria)";
    QTest::newRow("plain feed file name") << "get" << "rssCustomFeedFilename" << "main.rss" << "main.rss";
    QTest::newRow("feed address") << "get" << "rssCustomFeedURL" << "https://feeds.example.net/notes" << "https://feeds.example.net/notes";
    QTest::newRow("podcasting stays on") << "get" << "enablePodcasting" << "true" << "true";
    QTest::newRow("string with spaces") << "get" << "rssTitle" << "Evening Notes" << "Evening Notes";
    QTest::newRow("list as JSON") << "get" << "pingSettings"
                                  << R"([{"name":"example","rpc":true,"url":"http://ping.example/"}])"
                                  << R"([{"name":"example","rpc":true,"url":"http://ping.example/"}])";
    QTest::newRow("comment accounts") << "get" << "commentsUserIdentifiers" << R"({"disqus":"evening"})"
                                      << R"({"disqus":"evening"})";
    QTest::newRow("site title") << "site" << "siteTitle" << "Field Notes" << "Field Notes";
    QTest::newRow("site base URL") << "site" << "siteBaseURL" << "https://example.org/blog/" << "https://example.org/blog/";
}

void tst_Quillfen::settingRoundTrip()
{
    QFETCH(QString, command);
    QFETCH(QString, key);
    QFETCH(QString, value);
    QFETCH(QString, shown);

    QF_VERIFY_RUN(m_f->run({command == QLatin1String("get") ? QStringLiteral("set") : command, "SITE", key, value}));
    const QuillfenRun read = m_f->run({command, "SITE", key});
    QCOMPARE(read.code, 0);
    QCOMPARE(read.out, shown + u'\n');
}

// Values of the right type that would break the blog or its links: each is
// wrong usage (exit 2) naming the setting and what it takes, and the site
// file stays byte for byte as it was.
void tst_Quillfen::refusedValues_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("message");

    QTest::newRow("lastID going back") << "set SITE lastID 0" << "\u201clastID\u201d only grows";
    QTest::newRow("archive period beyond years") << "set SITE archivePostsPeriod 3"
                                                 << "\u201carchivePostsPeriod\u201d takes 0 (weeks), 1 (months) or 2 (years)";
    QTest::newRow("negative post limit") << "set SITE showPostLimit -1" << "\u201cshowPostLimit\u201d takes a whole number of 0 or more";
    QTest::newRow("negative sentence count") << "set SITE summarizeEntryRSSCount -1" << "0 or more";
    QTest::newRow("unknown comment service") << "set SITE commentsSelectedProviderTag 4" << "3 (Disqus)";
    QTest::newRow("language not in the table") << "set SITE rssLanguage Klingon" << "\u201crssLanguage\u201d takes one of Afrikaans";
    QTest::newRow("date part not in the table") << "set SITE dateModifier1 %Y" << "\u201cdateModifier1\u201d takes one of";
    QTest::newRow("feed name with a folder") << "set SITE rssCustomFeedFilename feeds/main" << "may hold any letters";
    QTest::newRow("hidden feed name") << "set SITE rssCustomFeedFilename .hidden.xml" << "may not begin with \u201c.\u201d";
    QTest::newRow("feed name of two dots") << "set SITE rssCustomFeedFilename .." << "\u201crssCustomFeedFilename\u201d";
    QTest::newRow("feed address not absolute") << "set SITE rssCustomFeedURL feed.xml" << "absolute http or https";
    QTest::newRow("comments follow the service") << "set SITE enableComments true" << "commentsSelectedProviderTag";
    QTest::newRow("podcasting is always on") << "set SITE enablePodcasting false" << "always true";
    QTest::newRow("site base URL without scheme") << "site SITE siteBaseURL example.org/blog/" << "absolute http or https";
    QTest::newRow("site base URL with a space") << "site|SITE|siteBaseURL|http://exa mple.org/" << "siteBaseURL";
    QTest::newRow("site base URL of another scheme") << "site SITE siteBaseURL ftp://example.org/" << "siteBaseURL";
    QTest::newRow("new site with a relative base URL") << "new DIR/other.qfsite --base-url /blog/" << "--base-url";
    QTest::newRow("permalink name with a folder") << "post edit SITE 0 --permalink-name notes/about" << "except \u201c/\u201d";
    QTest::newRow("permalink name leading out") << "post edit SITE 0 --permalink-name ../about" << "The permalink name";
    QTest::newRow("hidden permalink name") << "post add SITE --title Hidden --permalink-name .about" << "may not begin";
    QTest::newRow("blank category name") << "category|add|SITE|  " << "a category needs a name";
    QTest::newRow("blank tag name") << "post|add|SITE|--title|T|--tag| " << "a tag needs a name";
}

void tst_Quillfen::refusedValues()
{
    QFETCH(QString, line);
    QFETCH(QString, message);

    QF_VERIFY_RUN(m_f->run("post add SITE --title First"));
    const QByteArray site = m_f->read(m_f->site);
    const QStringList names = m_f->names();
    const QuillfenRun run = m_f->run(line);
    QVERIFY2(run.code == 2, qPrintable(QStringLiteral("exit %1\n%2").arg(run.code).arg(run.err)));
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QVERIFY2(run.err.contains(QLatin1String("--help")), qPrintable(run.err));
    QCOMPARE(m_f->read(m_f->site), site);
    QCOMPARE(m_f->names(), names);
}

// "None" means the None category, names are one ignoring case (the first
// spelling wins), and no command leaves a category without a name.
void tst_Quillfen::namesKeepTheModelsRules()
{
    m_f->write("none.jsonl", R"({"title": "A", "date": "2024-01-01T10:00:00", "categories": ["None", "Travel", "travel"]})"
                             "\n"
                             R"({"title": "B", "date": "2024-01-02T10:00:00", "categories": ["none"], "tags": ["Leaves", "leaves"]})"
                             "\n");
    QF_VERIFY_RUN(m_f->run("post add SITE --jsonl DIR/none.jsonl"));
    QF_VERIFY_RUN(m_f->run("post add SITE --title C --date 2024-01-03T10:00:00 --category None --category work "
                           "--tag Leaves --tag leaves --tag LEAVES"));
    QF_VERIFY_RUN(m_f->run("post|add|SITE|--title|D|--date|2024-01-04T10:00:00|--category|  Ideas |--tag| Rain "));
    QF_VERIFY_RUN(m_f->run("category|rename|SITE|General|new category"));
    const QuillfenRun added = m_f->run("category add SITE");
    QCOMPARE(added.code, 0);
    QVERIFY2(added.out.endsWith(QLatin1String("\tNew Category 2\n")), qPrintable(added.out));

    QCOMPARE(m_f->listedPosts(),
             QStringList({R"({"categories":["Ideas"],"date":"2024-01-04T10:00:00+01:00","draft":false,"tags":["Rain"],"title":"D"})",
                          R"({"categories":["Work"],"date":"2024-01-03T10:00:00+01:00","draft":false,"tags":["Leaves"],"title":"C"})",
                          R"({"categories":[],"date":"2024-01-02T10:00:00+01:00","draft":false,"tags":["Leaves"],"title":"B"})",
                          R"({"categories":["Travel"],"date":"2024-01-01T10:00:00+01:00","draft":false,"tags":[],"title":"A"})"}));
    QStringList categories;
    for (const QJsonValue &category : m_f->run("category list SITE --json").json().array())
        categories.append(category.toObject().value("name").toString());
    QCOMPARE(categories, (QStringList{"None", "new category", "Personal", "Work", "Travel", "Ideas", "New Category 2"}));
}

// A permalink or feed name may equal a page the blog makes: the first written
// keeps the file and the export names both, instead of one silently replacing
// the other.
void tst_Quillfen::namesChosenByTheUserNeverReplaceAPage()
{
    QF_VERIFY_RUN(m_f->run("site SITE siteBaseURL https://example.org/"));
    QF_VERIFY_RUN(m_f->run("set SITE enableRSS true"));
    QF_VERIFY_RUN(m_f->run("set SITE rssCustomFeedFilename tag-x.html"));
    QF_VERIFY_RUN(m_f->run("post add SITE --title One --category Travel --permalink-name category-travel.html"));
    QF_VERIFY_RUN(m_f->run("post add SITE --title Two --tag x"));
    QF_VERIFY_RUN(m_f->run("post add SITE --title Three --permalink-name TAG-X"));
    const QuillfenRun run = m_f->run("export SITE DIR/www");
    QVERIFY2(run.out.startsWith(QLatin1String("Exported")), qPrintable(run.err));
    QVERIFY(m_f->read("www/files/tag-x.html").startsWith("<?xml"));
    QVERIFY(m_f->read("www/files/category-travel.html").contains("class=\"blog-category-heading\""));
    for (const QString &part : {QStringLiteral("\u201ctag-x.html\u201d would be written twice, for the feed and for the page of the tag \u201cx\u201d"),
                                QStringLiteral("for the feed and for the page of the post \u201cThree\u201d"),
                                QStringLiteral("for the page of the category \u201cTravel\u201d and for the page of the post \u201cOne\u201d")})
        QVERIFY2(run.err.contains(part), qPrintable(run.err));
}

// A blog command on a site with several blog pages names the page it works
// on; pages of one title are told apart by file name.
void tst_Quillfen::severalBlogPagesNeedPage()
{
    QF_VERIFY_RUN(m_f->run("page export SITE blog DIR/blog.qfpage"));
    QF_VERIFY_RUN(m_f->run("page import SITE DIR/blog.qfpage --name diary --title Blog"));
    const QByteArray site = m_f->read(m_f->site);

    for (const QString &line : {QStringLiteral("set SITE rssTitle Diary"), QStringLiteral("set SITE rssTitle Diary --page Blog")}) {
        const QuillfenRun refused = m_f->run(line);
        QCOMPARE(refused.code, 2);
        for (const QString &part : {QStringLiteral("--page blog "), QStringLiteral("--page diary "), QStringLiteral("site.qfsite")})
            QVERIFY2(refused.err.contains(part), qPrintable(refused.err));
        QCOMPARE(m_f->read(m_f->site), site);
    }
    QF_VERIFY_RUN(m_f->run("set SITE rssTitle Diary --page diary"));
    QCOMPARE(m_f->run("get SITE rssTitle --page diary").out, QStringLiteral("Diary\n"));
    QVERIFY(m_f->run("get SITE rssTitle --page blog").out != QStringLiteral("Diary\n"));
}

void tst_Quillfen::postsSurviveReopening()
{
    m_f->write("body.md", "# Walking\n\nThe *long* way round.\n");
    QF_VERIFY_RUN(m_f->run("post|add|SITE|--title|Autumn walk|--date|2024-10-05T14:30:00|--category|Travel|"
                           "--category|Hiking|--tag|leaves|--markdown|--body-file|DIR/body.md"));
    QF_VERIFY_RUN(m_f->run("post add SITE --title Thoughts --draft --tag LEAVES --date 2024-11-01T08:00:00Z"));
    QCOMPARE(m_f->listedPosts(),
             QStringList({R"({"categories":[],"date":"2024-11-01T09:00:00+01:00","draft":true,"tags":["leaves"],"title":"Thoughts"})",
                          R"({"categories":["Travel","Hiking"],"date":"2024-10-05T14:30:00+02:00","draft":false,"tags":["leaves"],"title":"Autumn walk"})"}));
    const QJsonObject walk = m_f->posts().at(1).toObject();
    QCOMPARE(walk.value("guid").toString().size(), 32);
    const QString walkID = QString::number(walk.value("id").toInt());
    QCOMPARE(m_f->run({"post", "show", "SITE", walkID, "--json"}).json().object().value("body").toString(),
             QStringLiteral("# Walking\n\nThe *long* way round.\n"));

    QF_VERIFY_RUN(m_f->run({"post", "edit", "SITE", walkID, "--title", "Autumn walk, revised", "--draft"}));
    const QJsonArray found = m_f->run("search SITE REVISED --json").json().array();
    QCOMPARE(found.size(), 1);
    QCOMPARE(QString::number(found.at(0).toObject().value("id").toInt()), walkID);
    QCOMPARE(found.at(0).toObject().value("draft").toBool(), true);
    QCOMPARE(m_f->run("category list SITE").out.count(QLatin1String("\tHiking\n")), 1);
}

void tst_Quillfen::categoryRemovalMergesOrDrops_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("categoriesAfter");

    QTest::newRow("used category needs a decision") << "" << 1 << R"(["Ideas"])";
    QTest::newRow("merge into another") << "--merge-into=work" << 0 << R"(["Work"])";
    QTest::newRow("drop from its posts") << "--drop" << 0 << "[]";
}

void tst_Quillfen::categoryRemovalMergesOrDrops()
{
    QFETCH(QString, option);
    QFETCH(int, code);
    QFETCH(QString, categoriesAfter);

    QF_VERIFY_RUN(m_f->run("post add SITE --title Plan --category Ideas"));
    QCOMPARE(m_f->run((QStringLiteral("category remove SITE ideas ") + option).trimmed()).code, code);
    QCOMPARE(QJsonDocument(m_f->posts().at(0).toObject().value("categories").toArray()).toJson(QJsonDocument::Compact),
             categoriesAfter.toUtf8());
    QCOMPARE(m_f->run("category list SITE").out.contains(QLatin1String("\tIdeas\n")), code != 0);
}

void tst_Quillfen::removalNeedsConfirmation()
{
    const QString id = m_f->run("post add SITE --title Brief").out.trimmed();
    const QuillfenRun refused = m_f->run({"post", "remove", "SITE", id});
    QCOMPARE(refused.code, 1);
    QVERIFY2(refused.err.contains(QLatin1String("--yes")), qPrintable(refused.err));
    QCOMPARE(m_f->posts().size(), 1);
    QF_VERIFY_RUN(m_f->run({"post", "remove", "SITE", id, "--yes"}));
    QCOMPARE(m_f->posts().size(), 0);
}

void tst_Quillfen::postsFromJsonLines()
{
    QVERIFY(QDir(m_f->dir.path()).mkdir(QStringLiteral("media")));
    m_f->write("media/episode.mp3", "ID3");
    m_f->write("media/posts.jsonl",
               R"({"title": "Harbour days", "date": "2026-03-14T09:30:00", "categories": ["Travel", "Food"], "tags": ["sea"], "podcast": "episode.mp3"})"
               "\n"
               R"({"title": "Stew", "date": "2026-03-15T08:00:00Z", "draft": true, "categories": ["food"], "tags": ["SEA", "winter"], "format": "markdown", "body": "# Stew\n\n*hot*"})"
               "\n");
    const QuillfenRun run = m_f->run("post add SITE --jsonl DIR/media/posts.jsonl");
    QVERIFY2(run.code == 0, qPrintable(run.err));
    const QStringList ids = run.out.split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(ids.size(), 2);
    // The podcast is found beside the file; names match the blog's ignoring case.
    QCOMPARE(m_f->listedPosts(),
             QStringList({R"({"categories":["Food"],"date":"2026-03-15T09:00:00+01:00","draft":true,"tags":["sea","winter"],"title":"Stew"})",
                          QStringLiteral(R"({"categories":["Travel","Food"],"date":"2026-03-14T09:30:00+01:00","draft":false,"podcast":"%1","tags":["sea"],"title":"Harbour days"})")
                              .arg(m_f->path("media/episode.mp3"))}));
    QCOMPARE(m_f->posts().at(1).toObject().value("id").toInt(), ids.at(0).toInt());
    QCOMPARE(m_f->run({"post", "show", "SITE", ids.at(1), "--json"}).json().object().value("body").toString(),
             QStringLiteral("# Stew\n\n*hot*"));

    QF_VERIFY_RUN(m_f->run("post add SITE --jsonl -", R"({"title": "Piped"})" "\n"));
    QCOMPARE(m_f->posts().at(0).toObject().value("title").toString(), QStringLiteral("Piped"));
}

void tst_Quillfen::movableTypeEntriesLandWithMappedCategories()
{
    QF_VERIFY_RUN(m_f->run("category add SITE Food"));
    const QuillfenRun run = m_f->run("import-mt SITE DIR/export.txt --map Cooking=food");
    QVERIFY2(run.code == 0, qPrintable(run.err));
    QVERIFY2(run.out.contains(QStringLiteral("Found 2 entries")), qPrintable(run.out));
    QVERIFY2(run.out.contains(QStringLiteral("  Trips -> None\n  Misc -> None\n  Cooking -> Food\n")), qPrintable(run.out));
    QVERIFY(run.err.isEmpty());
    QCOMPARE(m_f->listedPosts(),
             QStringList({R"({"categories":["Food"],"date":"2026-03-15T20:00:00+01:00","draft":true,"tags":[],"title":"Stew"})",
                          R"({"categories":[],"date":"2026-03-14T09:30:00+01:00","draft":false,"tags":[],"title":"Ferries"})"}));
    const QString stew = QString::number(m_f->posts().at(0).toObject().value("id").toInt());
    const QJsonObject full = m_f->run({"post", "show", "SITE", stew, "--json"}).json().object();
    QCOMPARE(full.value("summary").toString(), QStringLiteral("Hot."));
    QCOMPARE(full.value("body").toString(), QStringLiteral("Very hot."));
}

void tst_Quillfen::movableTypeFilesNeedConvert_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("refusal");
    QTest::addColumn<QString>("title");

    QByteArray windows = kTwoEntries;
    windows.replace("Ferries", "F\xE4hren");
    QByteArray crlf = kTwoEntries;
    crlf.replace("\n", "\r\n");
    QTest::newRow("Windows-1252") << windows << "is not UTF-8 text" << QStringLiteral("F\u00e4hren");
    QTest::newRow("CR LF") << crlf << "CR LF (or CR) line ends" << QStringLiteral("Ferries");
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF") + kTwoEntries << "byte order mark" << "Ferries";
}

void tst_Quillfen::movableTypeFilesNeedConvert()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, refusal);
    QFETCH(QString, title);

    m_f->write("export.txt", bytes);
    const QByteArray before = m_f->read(m_f->site);
    const QuillfenRun refused = m_f->run("import-mt SITE DIR/export.txt");
    QCOMPARE(refused.code, 1);
    for (const QString &part : {refusal, QStringLiteral("--convert"), QStringLiteral("export.txt")})
        QVERIFY2(refused.err.contains(part), qPrintable(refused.err));
    QCOMPARE(m_f->read(m_f->site), before);

    QF_VERIFY_RUN(m_f->run("import-mt SITE DIR/export.txt --convert"));
    const QJsonObject first = m_f->posts().at(1).toObject();
    QCOMPARE(first.value("title").toString(), title);
    QCOMPARE(first.value("date").toString(), QStringLiteral("2026-03-14T09:30:00+01:00"));
}

QTEST_GUILESS_MAIN(tst_Quillfen)
#include "tst_quillfen.moc"

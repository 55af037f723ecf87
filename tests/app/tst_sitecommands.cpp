#include "quillfenrun.h"

#include "qfkit/document/qfsitedocument.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/qfpagepackagewriter.h"
#include "qfkit/text/qfstyledtext.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QTimeZone>
#include <QtTest>

// `quillfen export`, `links` and `page`, the commands that take a site as a
// whole, run as a user runs them. Their wrong usage is in tst_quillfen.
class tst_SiteCommands : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void exportsTheSiteWithTheme();
    void blogFaultsEndTheExport_data();
    void blogFaultsEndTheExport();
    void listsTheTargets_data();
    void listsTheTargets();
    void importedPageExportsAsTheOriginal();
    void importNamesThePageUniquely_data();
    void importNamesThePageUniquely();
    void refusedPackagesLeaveTheSiteAlone_data();
    void refusedPackagesLeaveTheSiteAlone();
    void packagesCarryEveryYearAndNoPrivateFile();
    void hostilePackagesAreToldApart_data();
    void hostilePackagesAreToldApart();

private:
    QStringList pageNames(const QString &site) const;
    // The posts of a blog page of the site, as compact JSON without IDs.
    QStringList postsOf(const QString &page) const;
    // Every file below the folder, by relative path.
    QMap<QString, QByteArray> tree(const QString &folder) const;

    std::unique_ptr<QuillfenFolder> m_f;
};

void tst_SiteCommands::init()
{
    m_f = std::make_unique<QuillfenFolder>();
    QVERIFY(m_f->dir.isValid());
    for (const char *line : {"new|SITE|--title|Field Notes|--base-url|http://example.org/",
                             "post|add|SITE|--title|First light|--date|2024-05-01T09:00:00|--category|Travel|--tag|Sea",
                             "post|add|SITE|--title|Not yet|--date|2024-05-02T09:00:00|--draft|--category|Ideas|--tag|Secret",
                             "post|add|SITE|--title|Second wind|--date|2024-05-03T09:00:00|--tag|Sea|--tag|Hills",
                             "category|add|SITE|Empty shelf"})
        QF_VERIFY_RUN(m_f->run(line));
}

QStringList tst_SiteCommands::pageNames(const QString &site) const
{
    QStringList names;
    for (const QJsonValue &page : m_f->run({"info", site, "--json"}).json().object().value("pages").toArray())
        names.append(page.toObject().value("name").toString() + u'|' + page.toObject().value("title").toString());
    return names;
}

QStringList tst_SiteCommands::postsOf(const QString &page) const
{
    QStringList posts;
    for (const QJsonValue &value : m_f->run({"post", "list", "SITE", "--page", page, "--json"}).json().array()) {
        QJsonObject post = value.toObject();
        post.remove(QStringLiteral("id"));
        post.remove(QStringLiteral("guid"));
        posts.append(QString::fromUtf8(QJsonDocument(post).toJson(QJsonDocument::Compact)));
    }
    return posts;
}

QMap<QString, QByteArray> tst_SiteCommands::tree(const QString &folder) const
{
    QMap<QString, QByteArray> files;
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(QDir(folder).relativeFilePath(path), m_f->read(path));
    }
    return files;
}

void tst_SiteCommands::exportsTheSiteWithTheme()
{
    const QuillfenRun run = m_f->run("export SITE DIR/www");
    QVERIFY2(run.code == 0, qPrintable(run.err));
    const QString out = m_f->path("www");
    QVERIFY2(run.out.startsWith(QStringLiteral("Exported 1 page, ")) && run.out.contains(out), qPrintable(run.out));
    QCOMPARE(run.out.count(u'\n'), 1);
    QVERIFY(run.err.isEmpty()); // no progress bar when stderr is not a terminal

    const QString html = QString::fromUtf8(m_f->read("www/blog.html"));
    QVERIFY(html.startsWith(QStringLiteral("<!DOCTYPE html>")));
    QVERIFY(html.contains(QStringLiteral("Field Notes")));
    QVERIFY(html.contains(QStringLiteral("href=\"quillfen.css\"")));
    QVERIFY(!m_f->read("www/quillfen.css").isEmpty());
    // The blog's shared images go to the site-wide folder.
    QVERIFY(QFileInfo::exists(out + QStringLiteral("/common/rss.gif")));

    // Exporting again replaces what the export wrote and keeps what the user added.
    QVERIFY(!m_f->write("www/stray.txt", "stray").isEmpty());
    QVERIFY(!m_f->write("www/blog.html", "edited").isEmpty());
    QF_VERIFY_RUN(m_f->run("export SITE DIR/www"));
    QCOMPARE(m_f->read("www/stray.txt"), QByteArray("stray"));
    QCOMPARE(QString::fromUtf8(m_f->read("www/blog.html")), html);
}

void tst_SiteCommands::blogFaultsEndTheExport_data()
{
    QTest::addColumn<QString>("baseURL"); // with the feed on
    QTest::addColumn<QString>("err");

    QTest::newRow("no base URL") << "" << "Base URL Required: The blog needs the address of the site";
}

void tst_SiteCommands::blogFaultsEndTheExport()
{
    QFETCH(QString, baseURL);
    QFETCH(QString, err);

    QF_VERIFY_RUN(m_f->run({"site", "SITE", "siteBaseURL", baseURL}));
    QF_VERIFY_RUN(m_f->run("set SITE enableRSS true"));
    const QStringList names = m_f->names();
    const QuillfenRun run = m_f->run("export SITE DIR/www");
    QCOMPARE(run.code, 1);
    QVERIFY2(run.err.startsWith(QStringLiteral("quillfen export: ") + err), qPrintable(run.err));
    QCOMPARE(run.err.count(u'\n'), 1);
    QVERIFY(run.out.isEmpty());
    QCOMPARE(m_f->names(), names);
}

void tst_SiteCommands::listsTheTargets_data()
{
    QTest::addColumn<QString>("setting"); // set first, when given
    QTest::addColumn<QString>("tree");    // below the page's line
    QTest::addColumn<int>("links");       // in JSON; -1 for null

    // Posts newest first without the draft; then the categories posts are
    // filed under in the blog's order (a draft's counts, the None category
    // of an unfiled post too); then the published posts' tags.
    QTest::newRow("every target") << "" << "  \"Second wind\"  permalink:2  #postid:2\n"
                                           "  \"First light\"  permalink:0  #postid:0\n"
                                           "  \"Category: None\"  category:N  #category:N\n"
                                           "  \"Category: Travel\"  category:N  #category:N\n"
                                           "  \"Category: Ideas\"  category:N  #category:N\n"
                                           "  \"Tag: Sea\"  tag:Sea  #tag:Sea\n"
                                           "  \"Tag: Hills\"  tag:Hills  #tag:Hills\n"
                                  << 7;
    QTest::newRow("permalink pages off") << "generatePermalinkPages false" << "  (no link targets)\n" << -1;
}

void tst_SiteCommands::listsTheTargets()
{
    QFETCH(QString, setting);
    QFETCH(QString, tree);
    QFETCH(int, links);

    if (!setting.isEmpty())
        QF_VERIFY_RUN(m_f->run("set SITE " + setting));
    const QuillfenRun text = m_f->run("links SITE");
    QVERIFY2(text.code == 0 && text.err.isEmpty(), qPrintable(text.err));
    const QString id = m_f->run("info SITE --json").json().object().value("pages").toArray().at(0)["id"].toString();
    // Category IDs come from the bundle's category list; they do not matter here.
    QCOMPARE(QString(text.out).replace(QRegularExpression(QStringLiteral("category:\\d+")), "category:N"),
             id + QStringLiteral("  blog  \"Blog\"  (Blog)\n") + tree);

    const QuillfenRun json = m_f->run("links SITE --json");
    QVERIFY2(json.code == 0, qPrintable(json.err));
    const QJsonArray pages = json.json().object().value("pages").toArray();
    QCOMPARE(pages.size(), 1);
    const QJsonObject page = pages.at(0).toObject();
    QCOMPARE(page.value("plugin").toString(), QStringLiteral("Blog"));
    QCOMPARE(page.value("id").toString(), id);
    QVERIFY(page.contains(QStringLiteral("links")));
    QCOMPARE(page.value("links").isNull() ? -1 : page.value("links").toArray().size(), links);
    if (links < 0)
        return;
    QCOMPARE(QJsonDocument(page.value("links")[0].toObject()).toJson(QJsonDocument::Compact),
             R"({"anchorID":"postid:2","pageID":")" + id.toUtf8() + R"(","subpageID":"permalink:2","title":"Second wind"})");
    QCOMPARE(page.value("links")[6]["subpageID"].toString(), QStringLiteral("tag:Hills"));
}

void tst_SiteCommands::importedPageExportsAsTheOriginal()
{
    const QuillfenRun exported = m_f->run("page export SITE Blog DIR/blog.qfpage");
    QVERIFY2(exported.code == 0, qPrintable(exported.err));
    QCOMPARE(exported.out, QStringLiteral("Exported page \u201cblog\u201d (3 entries) to \u201c%1\u201d.\n")
                               .arg(m_f->path("blog.qfpage")));

    // A site with the same settings and no page at all.
    QFSiteDocument document;
    document.setSiteTitle(QStringLiteral("Field Notes"));
    document.setSiteBaseURL(QStringLiteral("http://example.org/"));
    const QString other = m_f->path("other.qfsite");
    document.save(other);
    const QuillfenRun imported = m_f->run({"page", "import", other, "DIR/blog.qfpage"});
    QVERIFY2(imported.code == 0, qPrintable(imported.err));
    QCOMPARE(imported.out, QStringLiteral("Imported page \u201cblog\u201d (3 entries) into \u201c%1\u201d.\n").arg(other));
    QCOMPARE(pageNames(other), QStringList{"blog|Blog"});

    // Both sites exported: the same pages, byte for byte.
    for (const QString &site : {m_f->site, other})
        QF_VERIFY_RUN(m_f->run({"export", site, site + ".out"}));
    const QMap<QString, QByteArray> original = tree(m_f->site + QStringLiteral(".out"));
    const QMap<QString, QByteArray> copy = tree(other + QStringLiteral(".out"));
    QCOMPARE(copy.keys(), original.keys());
    QVERIFY(original.keys().filter(QStringLiteral("files/")).size() >= 4);
    for (auto it = original.cbegin(); it != original.cend(); ++it)
        QVERIFY2(copy.value(it.key()) == it.value(), qPrintable(it.key()));
    const QStringList posts = original.keys().filter(QRegularExpression(QStringLiteral("-2\\.html$")));
    QCOMPARE(posts.size(), 1);
    QVERIFY(original.value(posts.first()).contains("Second wind"));
}

void tst_SiteCommands::importNamesThePageUniquely_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QStringList>("pages");

    QTest::newRow("default name beside the original") << "" << QStringList{"blog|Blog", "blog-2|Blog", "blog-3|Blog"};
    QTest::newRow("own name and title") << "|--name|travel|--title|Travel log"
                                        << QStringList{"blog|Blog", "travel|Travel log", "travel-2|Travel log"};
    QTest::newRow("own name taken") << "|--name|blog" << QStringList{"blog|Blog", "blog-2|Blog", "blog-3|Blog"};
}

void tst_SiteCommands::importNamesThePageUniquely()
{
    QFETCH(QString, options);
    QFETCH(QStringList, pages);

    QF_VERIFY_RUN(m_f->run("page export SITE blog DIR/blog.qfpage"));
    for (int i = 0; i < 2; ++i)
        QF_VERIFY_RUN(m_f->run("page|import|SITE|DIR/blog.qfpage" + options));
    QCOMPARE(pageNames(m_f->site), pages);
    // The imported blog is a blog of its own: its posts are listed.
    const QuillfenRun list = m_f->run({"post", "list", "SITE", "--page", pages.at(2).section(u'|', 0, 0)});
    QVERIFY2(list.code == 0, qPrintable(list.err));
    QVERIFY(list.out.contains(QStringLiteral("Second wind")));
}

void tst_SiteCommands::refusedPackagesLeaveTheSiteAlone_data()
{
    QTest::addColumn<QByteArray>("bytes"); // empty: a package of a page no plugin knows
    QTest::addColumn<QString>("why");

    QTest::newRow("not a zip") << QByteArray("Dear reader,\nthis is no package.\n") << "Malformed Package";
    QTest::newRow("unknown kind of page") << QByteArray() << "Unknown Page Type";
}

void tst_SiteCommands::refusedPackagesLeaveTheSiteAlone()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, why);

    const QString package = m_f->path("bad.qfpage");
    if (bytes.isEmpty()) {
        CVSandwich sandwich(QStringLiteral("Gallery Page Data"));
        sandwich.setFilling(std::make_shared<CVSandwichFilling>(QVariantMap{{QStringLiteral("Entries"), QVariantList()}}), 0);
        QFPagePackageWriter().write(sandwich, package);
    } else {
        m_f->write("bad.qfpage", bytes);
    }
    const QByteArray before = m_f->read(m_f->site);
    const QStringList names = m_f->names();
    const QuillfenRun run = m_f->run("page import SITE DIR/bad.qfpage");
    QCOMPARE(run.code, 1);
    QVERIFY2(run.err.contains(why) && run.err.contains(QStringLiteral("bad.qfpage")), qPrintable(run.err));
    QVERIFY(run.out.isEmpty());
    QCOMPARE(m_f->read(m_f->site), before);
    QCOMPARE(m_f->names(), names);
}

// Posts of any year travel to the second; a podcast path, which names a file
// of this computer, travels only when the importer says so.
void tst_SiteCommands::packagesCarryEveryYearAndNoPrivateFile()
{
    const QString talk = m_f->write("talk.mp3", "sound");
    QF_VERIFY_RUN(m_f->run("post|add|SITE|--title|Founding|--date|1900-01-01T00:00:00Z"));
    QF_VERIFY_RUN(m_f->run("post|add|SITE|--title|Far ahead|--date|2150-06-30T12:34:56Z|--podcast|DIR/talk.mp3"));
    const QuillfenRun exported = m_f->run("page export SITE blog DIR/blog.qfpage");
    QVERIFY2(exported.code == 0, qPrintable(exported.err));

    const QuillfenRun dropped = m_f->run("page import SITE DIR/blog.qfpage");
    QVERIFY2(dropped.code == 0, qPrintable(dropped.err));
    QVERIFY2(dropped.out.contains(QStringLiteral("(5 entries)")), qPrintable(dropped.out));
    QVERIFY2(dropped.err.contains(QStringLiteral("post \u201cFar ahead\u201d: \u201c%1\u201d").arg(talk))
                 && dropped.err.contains(QStringLiteral("dropped")),
             qPrintable(dropped.err));
    const QuillfenRun kept = m_f->run("page import SITE DIR/blog.qfpage --keep-podcast-paths");
    QVERIFY2(kept.code == 0 && kept.err.contains(QStringLiteral("kept")), qPrintable(kept.err));

    const QStringList original = postsOf("blog");
    QCOMPARE(original.size(), 5);
    QVERIFY(original.join(u'\n').contains(talk));
    // Dates are listed in the local zone, so they are compared as instants.
    QMap<QString, QDateTime> dates;
    for (const QString &post : original) {
        const QJsonObject object = QJsonDocument::fromJson(post.toUtf8()).object();
        dates.insert(object.value("title").toString(), QDateTime::fromString(object.value("date").toString(), Qt::ISODate));
    }
    QCOMPARE(dates.value("Founding"), QDateTime(QDate(1900, 1, 1), QTime(0, 0), QTimeZone::utc()));
    QCOMPARE(dates.value("Far ahead"), QDateTime(QDate(2150, 6, 30), QTime(12, 34, 56), QTimeZone::utc()));
    QCOMPARE(postsOf("blog-3"), original);
    QStringList withoutPodcast = original;
    withoutPodcast.replaceInStrings(QStringLiteral("\"%1\"").arg(talk), QStringLiteral("null"));
    QCOMPARE(postsOf("blog-2"), withoutPodcast);
}

void tst_SiteCommands::hostilePackagesAreToldApart_data()
{
    QTest::addColumn<QVariantMap>("blog");     // the package's data
    QTest::addColumn<QStringList>("files");    // the post files it holds
    QTest::addColumn<QString>("options");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("out");          // part of the output
    QTest::addColumn<QStringList>("err");      // parts of the error output
    QTest::addColumn<QStringList>("podcasts"); // of the imported posts

    using L = QVariantList;
    using M = QVariantMap;
    const auto post = [](const QString &title, int id, const M &more = {}) {
        M made{{"Title", title}, {"ID", id}, {"PublishStatus", 1}};
        made.insert(more);
        return made;
    };
    const M evil = post("Evil", 1, {{"PodcastFilename", "/etc/passwd"},
                                    {"PodcastOverride", M{{"override", true}, {"type", "audio/mpeg"}, {"size", 10}}}});
    const M referenced = post("Linked", 1, {{"PodcastReference", M{{"absolutePath", "/home/someone/.ssh/id_rsa"},
                                                                     {"relativePath", "../.ssh/id_rsa"}}}});
    const QStringList both{"1-Body.as", "1-Summary.as", "2-Body.as", "2-Summary.as"};
    const QString refused = "The package";

    QTest::newRow("podcast path naming a private file")
        << M{{"Entries", L{evil}}} << both << "" << 0 << "(1 entry)"
        << QStringList{"post \u201cEvil\u201d: \u201c/etc/passwd\u201d", "dropped", "--keep-podcast-paths"} << QStringList{""};
    QTest::newRow("podcast path kept when asked")
        << M{{"Entries", L{evil}}} << both << "|--keep-podcast-paths" << 0 << "(1 entry)"
        << QStringList{"post \u201cEvil\u201d: \u201c/etc/passwd\u201d", "kept"} << QStringList{"/etc/passwd"};
    QTest::newRow("file reference leading elsewhere")
        << M{{"Entries", L{referenced}}} << both << "" << 0 << "(1 entry)"
        << QStringList{"\u201c/home/someone/.ssh/id_rsa\u201d", "\u201c../.ssh/id_rsa\u201d", "dropped"} << QStringList{""};
    QTest::newRow("body file missing")
        << M{{"Entries", L{post("Whole", 1), post("Bodiless", 2)}}} << QStringList{"1-Body.as", "1-Summary.as", "2-Summary.as"}
        << "" << 0 << "(2 entries)" << QStringList{"could not be read completely", "\"Bodiless\""} << QStringList{"", ""};
    QTest::newRow("summary file missing")
        << M{{"Entries", L{post("Whole", 1), post("Summaryless", 2)}}} << QStringList{"1-Body.as", "1-Summary.as", "2-Body.as"}
        << "" << 0 << "(2 entries)" << QStringList{"\"Summaryless\""} << QStringList{"", ""};
    QTest::newRow("wrongly typed post left out")
        << M{{"Entries", L{post("Whole", 1), post("Typed", 2, {{"ID", "seven"}})}}} << both << "" << 0 << "(1 entry)"
        << QStringList{"\"Typed\"", "left out"} << QStringList{""};
    QTest::newRow("no post at all left out")
        << M{{"Entries", L{post("Whole", 1), "a post, honestly"}}} << both << "" << 0 << "(1 entry)"
        << QStringList{"left out"} << QStringList{""};
    L junk{post("Whole", 1)};
    for (int i = 0; i < 5000; ++i)
        junk.append(i);
    QTest::newRow("thousands left out, told in a few alerts")
        << M{{"Entries", junk}} << both << "" << 0 << "(1 entry)"
        << QStringList{"left out", "4990 more posts could not be read"} << QStringList{""};
    QTest::newRow("LastID that would overflow")
        << M{{"Entries", L{post("Whole", 1)}}, {"LastID", 2147483647}} << both << "" << 1 << ""
        << QStringList{refused, "LastID", "2147483647"} << QStringList{};
    QTest::newRow("LastID beyond any int")
        << M{{"Entries", L{post("Whole", 1)}}, {"LastID", qint64(1) << 40}} << both << "" << 1 << ""
        << QStringList{refused, "LastID"} << QStringList{};
    QTest::newRow("dates of any year")
        << M{{"Entries", L{post("Old", 1, {{"Posted", QDateTime(QDate(1900, 1, 1), QTime(0, 0), QTimeZone::utc())}}),
                           post("New", 2, {{"Posted", QDateTime(QDate(2150, 6, 30), QTime(12, 34, 56), QTimeZone::utc())}})}}}
        << both << "" << 0 << "(2 entries)" << QStringList{} << QStringList{"", ""};
}

void tst_SiteCommands::hostilePackagesAreToldApart()
{
    QFETCH(QVariantMap, blog);
    QFETCH(QStringList, files);
    QFETCH(QString, options);
    QFETCH(int, code);
    QFETCH(QString, out);
    QFETCH(QStringList, err);
    QFETCH(QStringList, podcasts);

    CVSandwich sandwich(QStringLiteral("Quillfen Blog Page Data"));
    auto filling = std::make_shared<CVSandwichFilling>(blog);
    for (const QString &name : files)
        filling->addFile(name, m_f->write(name, QFStyledText(QStringLiteral("Words")).toKeyedArchive()));
    sandwich.setFilling(filling, 0);
    QFPagePackageWriter().write(sandwich, m_f->path("hostile.qfpage"));
    const QByteArray before = m_f->read(m_f->site);

    const QuillfenRun run = m_f->run("page|import|SITE|DIR/hostile.qfpage" + options);
    QVERIFY2(run.code == code, qPrintable(QStringLiteral("exit %1: %2").arg(run.code).arg(run.err)));
    QVERIFY2(run.out.contains(out), qPrintable(run.out));
    for (const QString &part : std::as_const(err))
        QVERIFY2(run.err.contains(part), qPrintable(part + QStringLiteral(" not in: ") + run.err));
    if (code != 0) {
        QCOMPARE(m_f->read(m_f->site), before);
        return;
    }
    QStringList imported;
    for (const QJsonValue &value : m_f->run("post list SITE --page blog-2 --json").json().array())
        imported.append(value[QStringLiteral("podcast")].toString());
    QCOMPARE(imported, podcasts);
}

QTEST_GUILESS_MAIN(tst_SiteCommands)
#include "tst_sitecommands.moc"

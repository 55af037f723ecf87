#include "blogfixtures.h"

#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfexportitem.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QtTest>

using OptionalString = std::optional<QString>;
Q_DECLARE_METATYPE(OptionalString)

namespace {

const QString kGUID = QStringLiteral("0123456789abcdef0123456789abcdef");

// The posts of the golden pages: GUIDs of 32 characters ending in the ID.
QFBlogEntryPtr add(QFBlogPlugin &blog, int id, const QString &title, bool draft = false)
{
    QFBlogEntryPtr entry = addPost(blog, id, QDateTime(QDate(2024, 3, 5), QTime(14, 7)), draft);
    entry->setGUID(kGUID.left(30) + QStringLiteral("%1").arg(id, 2, 10, QLatin1Char('0')));
    entry->setTitle(title);
    entry->setEntryString("The body of " + title + ".");
    return entry;
}

} // namespace

class tst_QFBlogPluginPermalinks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initializeBlogClassForFixtures(); }

    void permalinkFilename_data()
    {
        QTest::addColumn<QString>("override");
        QTest::addColumn<OptionalString>("extension");
        QTest::addColumn<QString>("fileName");

        const OptionalString none, html("html"), empty("");
        QTest::newRow("override gets the extension") << "about-me" << html << "about-me.html";
        QTest::newRow("override keeps its own extension") << "about-me.php" << html << "about-me.php";
        QTest::newRow("override without extension given") << "about-me" << none << "about-me";
        QTest::newRow("override with an empty extension") << "about-me" << empty << "about-me";
        QTest::newRow("GUID and ID") << "" << html << kGUID + "-12.html";
        QTest::newRow("GUID and ID without extension") << "" << none << kGUID + "-12";
        QTest::newRow("GUID and ID with an empty extension keeps the dot") << "" << empty << kGUID + "-12.";
    }

    void permalinkFilename()
    {
        QFETCH(QString, override);
        QFETCH(OptionalString, extension);
        QFETCH(QString, fileName);

        QFBlogPlugin blog;
        QFBlogEntryPtr entry = add(blog, 12, "A title never in the name");
        entry->setGUID(kGUID);
        entry->setOverridePermalinkNameText(override);
        QCOMPARE(blog.permalinks().permalinkFilename(entry, extension), fileName);
    }

    void permalinkLink_data()
    {
        QTest::addColumn<bool>("nullPost");
        QTest::addColumn<QVariantMap>("params");
        QTest::addColumn<int>("depth");
        QTest::addColumn<OptionalString>("link");

        const QVariantMap params{{"FilenameExt", "html"}, {"filesfoldername", "files"}};
        const QVariantMap subpage{{"FilenameExt", "html"}, {"filesfoldername", "files"}, {"subpage", "Yes"}};
        QTest::newRow("main page links into the files folder") << false << params << 0 << OptionalString("files/about.html");
        QTest::newRow("a page inside the folder links its sibling") << false << params << 1 << OptionalString("about.html");
        QTest::newRow("a sub-page links its sibling at depth 0") << false << subpage << 0 << OptionalString("about.html");
        QTest::newRow("no extension parameter") << false << QVariantMap{{"filesfoldername", "files"}} << 0
                                                << OptionalString("files/about");
        QTest::newRow("no post") << true << params << 0 << OptionalString();
    }

    void permalinkLink()
    {
        QFETCH(bool, nullPost);
        QFETCH(QVariantMap, params);
        QFETCH(int, depth);
        QFETCH(OptionalString, link);

        QFBlogPlugin blog;
        QFBlogEntryPtr entry = add(blog, 3, "About");
        entry->setOverridePermalinkNameText("about");
        QCOMPARE(blog.permalinks().permalinkLink(nullPost ? nullptr : entry, params, depth), link);
    }

    void permalinkPageTitle_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("categories");
        QTest::addColumn<QString>("siteTitle");
        QTest::addColumn<OptionalString>("pageTitle");

        QTest::newRow("title, categories and site")
            << "My trip" << QStringList{"Travel", "Ideas"} << "My Site" << OptionalString("My trip | Travel, Ideas | My Site");
        QTest::newRow("no title") << "" << QStringList{"Travel"} << "My Site" << OptionalString("Travel | My Site");
        QTest::newRow("unknown category skipped, no site") << "My trip" << QStringList{"(unknown)", "Work"} << ""
                                                           << OptionalString("My trip | Work");
        QTest::newRow("nothing at all") << "" << QStringList{} << "" << OptionalString();
    }

    void permalinkPageTitle()
    {
        QFETCH(QString, title);
        QFETCH(QStringList, categories);
        QFETCH(QString, siteTitle);
        QFETCH(OptionalString, pageTitle);

        QFSiteDocument site;
        if (!siteTitle.isEmpty())
            site.setSiteTitle(siteTitle);
        QFBlogPlugin blog;
        blog.setDocument(&site);
        QFBlogEntryPtr entry = add(blog, 1, title);
        QList<int> ids;
        for (const QString &name : categories)
            ids.append(categoryID(blog, name) < 0 ? 9999 : categoryID(blog, name));
        entry->setCategoryIDs(ids);
        QCOMPARE(blog.permalinks().permalinkPageTitle(entry), pageTitle);
    }

    void absoluteURLToFilesDirectory_data()
    {
        QTest::addColumn<QVariantMap>("params");
        QTest::addColumn<int>("consolidationMode");
        QTest::addColumn<QString>("url"); // empty: the base URL is required

        const auto at = [](const QString &base, const QString &location) {
            return QVariantMap{{"base", base}, {"location", location}, {"filesfoldername", "files"}};
        };
        QTest::newRow("base without slash, folder location") << at("http://example.com", "/blog/") << 0 << "http://example.com/blog/files/";
        QTest::newRow("base with a path") << at("http://example.com/site/", "blog") << 0 << "http://example.com/site/blog/files/";
        QTest::newRow("empty location") << at("http://example.com/", "") << 0 << "http://example.com/files/";
        QTest::newRow("complete location replaces the base")
            << at("http://example.com/site/", "http://other.org/weblog") << 0 << "http://other.org/weblog/files/";
        QTest::newRow("complete https location replaces the base")
            << at("http://example.com/site/", "https://other.org/weblog") << 0 << "https://other.org/weblog/files/";
        QTest::newRow("consolidation mode 1 reduces the base to the site root")
            << at("http://blog.example.com/site/", "blog") << 1 << "http://blog.example.com/blog/files/";
        QTest::newRow("consolidation mode 1 with a root base") << at("http://example.com/", "blog") << 1 << "http://example.com/blog/files/";
        QTest::newRow("no base") << QVariantMap{{"location", "blog"}} << 0 << "";
        QTest::newRow("empty base") << at("", "blog") << 0 << "";
    }

    void absoluteURLToFilesDirectory()
    {
        QFETCH(QVariantMap, params);
        QFETCH(int, consolidationMode);
        QFETCH(QString, url);

        QFSiteDocument site;
        site.setCommonFileConsolidationMode(consolidationMode);
        QFBlogPlugin blog;
        blog.setDocument(&site);
        try {
            QCOMPARE(blog.permalinks().absoluteURLToFilesDirectory(params), url);
            QVERIFY(!url.isEmpty());
        } catch (const QFException &e) {
            QVERIFY(url.isEmpty());
            QCOMPARE(e.name(), QStringLiteral("Base URL Required"));
            QCOMPARE(e.reason(), QFBlogPlugin::localizedString("BlogURLRequired"));
            QVERIFY(e.reason() != QStringLiteral("BlogURLRequired"));
        }
    }

    void contentOnlyPagesMatchTheGoldenFiles()
    {
        QFSiteDocument site;
        site.setSiteTitle("My Site");
        QFBlogPlugin blog;
        blog.setDocument(&site);
        blog.setUniqueID("blogpage");
        blog.setCategoryPostsEnabled(false);
        blog.setPrependSummaryToPost(true);
        blog.setCommentsSelectedProviderTag(1);
        blog.setCommentsUserIdentifiers({{"haloscan", "acct"}});
        blog.setEnableCommentsInline(true);

        QFBlogEntryPtr trip = add(blog, 1, "Trip to Zürich & back");
        trip->setCategoryIDs({categoryID(blog, "Travel")});
        trip->setTags(tagList({"alps", "rail & road"}));
        trip->setEntrySummaryString("Short version.");
        add(blog, 2, "Unfinished", true);
        QFBlogEntryPtr about = add(blog, 3, QString());
        about->setOverridePermalinkNameText("about");
        about->setEntrySummaryString(QString());

        const QVariantMap params{{"contentonlysubpages", "YES"}, {"FilenameExt", "html"}, {"filesfoldername", "files"}};
        const QList<QFExportItem> pages = blog.permalinks().emitPermalinkEntriesWithFilesDirectory("../files", params);
        QCOMPARE(itemNames(pages), (QStringList{trip->GUID() + "-1.html", "about.html"}));
        for (const QFExportItem &page : pages) {
            QVERIFY(page.isContentOnlySubpage());
            QCOMPARE(page.html(), goldenFile("blog-permalinks/content-only/" + page.name()));
        }
        QCOMPARE(pages.at(0).substitutions().value("title").toString(), QStringLiteral("Trip to Zürich & back | Travel | My Site"));
        QCOMPARE(pages.at(1).substitutions().value("title").toString(), QStringLiteral("My Site"));
    }

    void pagesAreWrittenIntoTheScratchFolder()
    {
        QFBlogPlugin blog;
        blog.setCommentsSelectedProviderTag(2);
        QFBlogEntryPtr first = add(blog, 1, "First");
        add(blog, 2, "Draft", true);
        add(blog, 3, "Escaping")->setOverridePermalinkNameText("../../outside.html");

        const QString scratch = blog.temporaryFilesDirectory();
        blog.createFolder(scratch, true);
        const QVariantMap params{{"FilenameExt", "html"}, {"filesfoldername", "files"}, {"pagecharset", "utf-8"}};
        QVERIFY(blog.permalinks().emitPermalinkEntriesWithFilesDirectory("../files", params).isEmpty());

        const QStringList files = QDir(scratch).entryList(QDir::Files, QDir::Name);
        QCOMPARE(files, (QStringList{first->GUID() + "-1.html", "outside.html"}));
        QVERIFY(!QFileInfo::exists(scratch + "/../../outside.html"));

        const QString page = readFile(scratch + '/' + files.at(0));
        QVERIFY(!page.contains("%blog_permalink_"));
        QVERIFY(!page.contains("%charset%", Qt::CaseInsensitive));
        QVERIFY(page.contains("utf-8"));
        // The JS-Kit loader stands on the page, the post's fragment inside it.
        QVERIFY(page.contains(blog.codeGeneration().jskitLoadCommand()));
        QVERIFY(page.contains(blog.codeGeneration().emitBlogEntryHTML(first, "../files", 1, false,
                                                                       QFBlogPluginCodeGeneration::PermalinkPage, params)));
    }
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginPermalinks)
#include "tst_qfblogpluginpermalinks.moc"

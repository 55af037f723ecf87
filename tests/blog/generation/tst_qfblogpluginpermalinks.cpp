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
        QTest::addColumn<QString>("guid");
        QTest::addColumn<QString>("fileName");

        const OptionalString none, html("html"), empty("");
        QTest::newRow("override gets the extension") << "about-me" << html << kGUID << "about-me.html";
        QTest::newRow("override keeps its own extension") << "about-me.php" << html << kGUID << "about-me.php";
        QTest::newRow("override without extension given") << "about-me" << none << kGUID << "about-me";
        QTest::newRow("override with an empty extension") << "about-me" << empty << kGUID << "about-me";
        QTest::newRow("GUID and ID") << "" << html << kGUID << kGUID + "-12.html";
        QTest::newRow("GUID and ID without extension") << "" << none << kGUID << kGUID + "-12";
        QTest::newRow("GUID and ID with an empty extension keeps the dot") << "" << empty << kGUID << kGUID + "-12.";
        // Stored names from before names were checked when set: the page
        // takes its own name, and its links the same one.
        QTest::newRow("override with a folder") << "notes/about" << html << kGUID << kGUID + "-12.html";
        QTest::newRow("override leading out") << "../../outside.html" << html << kGUID << kGUID + "-12.html";
        QTest::newRow("override of two dots") << ".." << html << kGUID << kGUID + "-12.html";
        QTest::newRow("hidden override") << ".about" << html << kGUID << kGUID + "-12.html";
        QTest::newRow("override with a fragment mark") << "about#me" << html << kGUID << kGUID + "-12.html";
        QTest::newRow("override with a space at its end") << "about " << html << kGUID << kGUID + "-12.html";
        QTest::newRow("override of another script with a space") << "z\u00fcrich trip" << html << kGUID << "z\u00fcrich trip.html";
        QTest::newRow("GUID from a package that is no file name") << "" << html << "../x" << "post-12.html";
    }

    void permalinkFilename()
    {
        QFETCH(QString, override);
        QFETCH(OptionalString, extension);
        QFETCH(QString, guid);
        QFETCH(QString, fileName);

        QFBlogPlugin blog;
        QFBlogEntryPtr entry = add(blog, 12, "A title never in the name");
        entry->setGUID(guid);
        entry->setOverridePermalinkNameText(override);
        QCOMPARE(blog.permalinks().permalinkFilename(entry, extension), fileName);
        QVariantMap params{{"filesfoldername", "files"}};
        if (extension)
            params.insert("FilenameExt", *extension);
        QCOMPARE(blog.permalinks().permalinkLink(entry, params, 0), OptionalString("files/" + fileName));
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
        QFBlogEntryPtr escaping = add(blog, 3, "Escaping");
        escaping->setOverridePermalinkNameText("../../outside.html");

        const QString scratch = blog.temporaryFilesDirectory();
        blog.createFolder(scratch, true);
        const QVariantMap params{{"FilenameExt", "html"}, {"filesfoldername", "files"}, {"pagecharset", "utf-8"}};
        QVERIFY(blog.permalinks().emitPermalinkEntriesWithFilesDirectory("../files", params).isEmpty());

        const QStringList files = QDir(scratch).entryList(QDir::Files, QDir::Name);
        QCOMPARE(files, (QStringList{first->GUID() + "-1.html", escaping->GUID() + "-3.html"}));
        QVERIFY(!QFileInfo::exists(scratch + "/../../outside.html"));
        QCOMPARE(blog.numberOfExportErrors(), 1u);
        QVERIFY(blog.exportErrorsString().contains("../../outside.html"));
        QVERIFY(blog.exportErrorsString().contains("Escaping"));

        const QString page = readFile(scratch + '/' + files.at(0));
        QVERIFY(!page.contains("%blog_permalink_"));
        QVERIFY(!page.contains("%charset%", Qt::CaseInsensitive));
        QVERIFY(page.contains("utf-8"));
        // The JS-Kit loader stands on the page, the post's fragment inside it.
        QVERIFY(page.contains(blog.codeGeneration().jskitLoadCommand()));
        QVERIFY(page.contains(blog.codeGeneration().emitBlogEntryHTML(first, "../files", 1, false,
                                                                       QFBlogPluginCodeGeneration::PermalinkPage, params)));
    }

    void collidingNamesAreReportedNotOverwritten_data()
    {
        QTest::addColumn<bool>("contentOnly");
        QTest::newRow("pages written") << false;
        QTest::newRow("content-only pages") << true;
    }

    void collidingNamesAreReportedNotOverwritten()
    {
        QFETCH(bool, contentOnly);

        QFBlogPlugin blog;
        QFBlogEntryPtr first = add(blog, 1, "First");
        first->setOverridePermalinkNameText("About");
        add(blog, 2, "Second")->setOverridePermalinkNameText("about.html");
        QFBlogEntryPtr third = add(blog, 3, "Third");

        const QString scratch = blog.temporaryFilesDirectory();
        blog.createFolder(scratch, true);
        QVariantMap params{{"FilenameExt", "html"}, {"filesfoldername", "files"}, {"pagecharset", "utf-8"}};
        if (contentOnly)
            params.insert("contentonlysubpages", "YES");
        const QList<QFExportItem> pages = blog.permalinks().emitPermalinkEntriesWithFilesDirectory("../files", params);

        QStringList written = contentOnly ? itemNames(pages) : QDir(scratch).entryList(QDir::Files);
        written.sort();
        QCOMPARE(written, (QStringList{third->GUID() + "-3.html", "About.html"}));
        if (contentOnly)
            QVERIFY(pages.at(0).html().contains("The body of First."));
        else
            QVERIFY(readFile(scratch + "/About.html").contains("The body of First."));
        QCOMPARE(blog.numberOfExportErrors(), 1u);
        for (const QString &part : {"\"First\" (ID 1)", "\"Second\" (ID 2)", "about.html"})
            QVERIFY2(blog.exportErrorsString().contains(part), qPrintable(blog.exportErrorsString()));
    }
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginPermalinks)
#include "tst_qfblogpluginpermalinks.moc"

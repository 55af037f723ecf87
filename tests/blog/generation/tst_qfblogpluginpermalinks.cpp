#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QFile>
#include <QtTest>

using OptionalString = std::optional<QString>;
Q_DECLARE_METATYPE(OptionalString)

class tst_QFBlogPluginPermalinks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void permalinkFilename_data();
    void permalinkFilename();
    void permalinkLink_data();
    void permalinkLink();
    void permalinkPageTitle_data();
    void permalinkPageTitle();
    void absoluteURLToFilesDirectory_data();
    void absoluteURLToFilesDirectory();
    void missingBaseURLIsAnError();
    void linkNamesFallBackToTheStringTable();
    void missingTemplateIsAnAssertionFailure();
    void contentOnlyPagesMatchTheGoldenFiles();
    void pagesAreWrittenIntoTheScratchFolder();
};

namespace {

const QString kGUID = QStringLiteral("0123456789abcdef0123456789abcdef");

QFBlogEntryPtr addPost(QFBlogPlugin &plugin, int id, const QString &title, bool draft = false)
{
    QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    entry->setID(id);
    entry->setGUID(QStringLiteral("%1%2").arg(kGUID.left(30)).arg(id, 2, 10, QLatin1Char('0')));
    entry->setTitle(title);
    entry->setStatus(draft ? 0 : 1);
    entry->setDate(QDateTime(QDate(2024, 3, 5), QTime(14, 7)));
    entry->setEntryString(QStringLiteral("The body of %1.").arg(title));
    plugin.insertBlogEntry(entry);
    return entry;
}

int categoryID(const QFBlogPlugin &plugin, const QString &name)
{
    return plugin.categoryForCategoryName(name)->categoryID();
}

QString readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll());
}

} // namespace

void tst_QFBlogPluginPermalinks::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogPluginPermalinks::permalinkFilename_data()
{
    QTest::addColumn<QString>("override");
    QTest::addColumn<OptionalString>("extension");
    QTest::addColumn<QString>("fileName");

    const OptionalString none;
    QTest::newRow("override gets the extension") << "about-me" << OptionalString("html") << "about-me.html";
    QTest::newRow("override keeps its own extension") << "about-me.php" << OptionalString("html") << "about-me.php";
    QTest::newRow("override without extension given") << "about-me" << none << "about-me";
    QTest::newRow("override with an empty extension") << "about-me" << OptionalString("") << "about-me";
    QTest::newRow("GUID and ID") << "" << OptionalString("html") << kGUID + "-12.html";
    QTest::newRow("GUID and ID without extension") << "" << none << kGUID + "-12";
    QTest::newRow("GUID and ID with an empty extension keeps the dot") << "" << OptionalString("") << kGUID + "-12.";
}

void tst_QFBlogPluginPermalinks::permalinkFilename()
{
    QFETCH(QString, override);
    QFETCH(OptionalString, extension);
    QFETCH(QString, fileName);

    QFBlogPlugin plugin;
    QFBlogEntryPtr entry = addPost(plugin, 12, QStringLiteral("A title never in the name"));
    entry->setGUID(kGUID);
    entry->setOverridePermalinkNameText(override);
    QCOMPARE(plugin.permalinks().permalinkFilename(entry, extension), fileName);
}

void tst_QFBlogPluginPermalinks::permalinkLink_data()
{
    QTest::addColumn<bool>("nullPost");
    QTest::addColumn<QVariantMap>("params");
    QTest::addColumn<int>("depth");
    QTest::addColumn<OptionalString>("link");

    const QVariantMap params{{"FilenameExt", "html"}, {"filesfoldername", "files"}};
    QVariantMap subpage = params;
    subpage.insert("subpage", "Yes");
    QVariantMap noExtension = params;
    noExtension.remove("FilenameExt");

    QTest::newRow("main page links into the files folder") << false << params << 0 << OptionalString("files/about.html");
    QTest::newRow("a page inside the folder links its sibling") << false << params << 1 << OptionalString("about.html");
    QTest::newRow("a sub-page links its sibling at depth 0") << false << subpage << 0 << OptionalString("about.html");
    QTest::newRow("no extension parameter") << false << noExtension << 0 << OptionalString("files/about");
    QTest::newRow("no post") << true << params << 0 << OptionalString();
}

void tst_QFBlogPluginPermalinks::permalinkLink()
{
    QFETCH(bool, nullPost);
    QFETCH(QVariantMap, params);
    QFETCH(int, depth);
    QFETCH(OptionalString, link);

    QFBlogPlugin plugin;
    QFBlogEntryPtr entry = addPost(plugin, 3, QStringLiteral("About"));
    entry->setOverridePermalinkNameText(QStringLiteral("about"));
    QCOMPARE(plugin.permalinks().permalinkLink(nullPost ? nullptr : entry, params, depth), link);
}

void tst_QFBlogPluginPermalinks::permalinkPageTitle_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("categories");
    QTest::addColumn<QString>("siteTitle");
    QTest::addColumn<OptionalString>("pageTitle");

    QTest::newRow("title, categories and site")
        << "My trip" << QStringList{"Travel", "Ideas"} << "My Site" << OptionalString("My trip | Travel, Ideas | My Site");
    QTest::newRow("no title") << "" << QStringList{"Travel"} << "My Site" << OptionalString("Travel | My Site");
    QTest::newRow("unknown category skipped")
        << "My trip" << QStringList{"(unknown)", "Work"} << "" << OptionalString("My trip | Work");
    QTest::newRow("only the site") << "" << QStringList{} << "My Site" << OptionalString("My Site");
    QTest::newRow("nothing at all") << "" << QStringList{} << "" << OptionalString();
}

void tst_QFBlogPluginPermalinks::permalinkPageTitle()
{
    QFETCH(QString, title);
    QFETCH(QStringList, categories);
    QFETCH(QString, siteTitle);
    QFETCH(OptionalString, pageTitle);

    QFSiteDocument site;
    if (!siteTitle.isEmpty())
        site.setSiteTitle(siteTitle);
    QFBlogPlugin plugin;
    plugin.setDocument(&site);
    QFBlogEntryPtr entry = addPost(plugin, 1, title);
    QList<int> ids;
    for (const QString &name : categories)
        ids.append(plugin.categoryForCategoryName(name) ? categoryID(plugin, name) : 9999);
    entry->setCategoryIDs(ids);
    QCOMPARE(plugin.permalinks().permalinkPageTitle(entry), pageTitle);
}

void tst_QFBlogPluginPermalinks::absoluteURLToFilesDirectory_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("location");
    QTest::addColumn<int>("consolidationMode");
    QTest::addColumn<QString>("url");

    QTest::newRow("base without slash, folder location")
        << "http://example.com" << "/blog/" << 0 << "http://example.com/blog/files/";
    QTest::newRow("base with a path") << "http://example.com/site/" << "blog" << 0 << "http://example.com/site/blog/files/";
    QTest::newRow("empty location") << "http://example.com/" << "" << 0 << "http://example.com/files/";
    QTest::newRow("complete location replaces the base")
        << "http://example.com/site/" << "http://other.org/weblog" << 0 << "http://other.org/weblog/files/";
    QTest::newRow("consolidation mode 1 reduces the base to the site root")
        << "http://blog.example.com/site/" << "blog" << 1 << "http://blog.example.com/blog/files/";
    QTest::newRow("consolidation mode 1 with a root base")
        << "http://example.com/" << "blog" << 1 << "http://example.com/blog/files/";
}

void tst_QFBlogPluginPermalinks::absoluteURLToFilesDirectory()
{
    QFETCH(QString, base);
    QFETCH(QString, location);
    QFETCH(int, consolidationMode);
    QFETCH(QString, url);

    QFSiteDocument site;
    site.setCommonFileConsolidationMode(consolidationMode);
    QFBlogPlugin plugin;
    plugin.setDocument(&site);
    const QVariantMap params{{"base", base}, {"location", location}, {"filesfoldername", "files"}};
    QCOMPARE(plugin.permalinks().absoluteURLToFilesDirectory(params), url);
}

void tst_QFBlogPluginPermalinks::missingBaseURLIsAnError()
{
    QFBlogPlugin plugin;
    for (const QVariantMap &params : {QVariantMap{{"location", "blog"}}, QVariantMap{{"base", ""}}}) {
        try {
            plugin.permalinks().absoluteURLToFilesDirectory(params);
            QFAIL("no exception");
        } catch (const QFException &e) {
            QCOMPARE(e.name(), QStringLiteral("Base URL Required"));
            QCOMPARE(e.reason(), QFBlogPlugin::localizedString(QStringLiteral("BlogURLRequired")));
            QVERIFY(e.reason() != QStringLiteral("BlogURLRequired"));
        }
    }
}

void tst_QFBlogPluginPermalinks::linkNamesFallBackToTheStringTable()
{
    QFBlogPlugin plugin;
    QCOMPARE(plugin.permalinkLinkName(), QFBlogPlugin::localizedString("PermalinkName"));
    QCOMPARE(plugin.readMoreLinkName(), QFBlogPlugin::localizedString("ReadMoreName"));
    QVERIFY(plugin.readMoreLinkName() != QStringLiteral("ReadMoreName"));
    plugin.setPermalinkLinkName(QStringLiteral("Link"));
    plugin.setReadMoreLinkName(QStringLiteral("More"));
    QCOMPARE(plugin.property("permalinkLinkName").toString(), QStringLiteral("Link"));
    QCOMPARE(plugin.property("readMoreLinkName").toString(), QStringLiteral("More"));
}

void tst_QFBlogPluginPermalinks::missingTemplateIsAnAssertionFailure()
{
    QFBlogPlugin plugin;
    for (const bool contentOnly : {false, true}) {
        QVariantMap params;
        if (contentOnly)
            params.insert("contentonlysubpages", "YES");
        try {
            plugin.permalinks().preparedTemplate(params, "NoSuchTemplate", "NoSuchTemplateContentOnly", "QFBlogPluginPermalinks",
                                                 "Blog permalink template is missing",
                                                 "Blog permalink content-only template is missing");
            QFAIL("no assertion failure");
        } catch (const QFAssertionFailure &failure) {
            QCOMPARE(failure.sourceFile(), QStringLiteral("QFBlogPluginPermalinks"));
            QCOMPARE(failure.text(), contentOnly ? QStringLiteral("Blog permalink content-only template is missing")
                                                 : QStringLiteral("Blog permalink template is missing"));
        }
    }
}

void tst_QFBlogPluginPermalinks::contentOnlyPagesMatchTheGoldenFiles()
{
    QFSiteDocument site;
    site.setSiteTitle(QStringLiteral("My Site"));
    QFBlogPlugin plugin;
    plugin.setDocument(&site);
    plugin.setUniqueID(QStringLiteral("blogpage"));
    plugin.setCategoryPostsEnabled(false);
    plugin.setPrependSummaryToPost(true);
    plugin.setCommentsSelectedProviderTag(1);
    plugin.setCommentsUserIdentifiers({{"haloscan", "acct"}});
    plugin.setEnableCommentsInline(true);

    QFBlogEntryPtr trip = addPost(plugin, 1, QStringLiteral("Trip to Zürich & back"));
    trip->setCategoryIDs({categoryID(plugin, "Travel")});
    trip->setTags(QFBlogTagList{QFBlogTag(QStringLiteral("alps")), QFBlogTag(QStringLiteral("rail & road"))});
    trip->setEntrySummaryString(QStringLiteral("Short version."));
    addPost(plugin, 2, QStringLiteral("Unfinished"), true);
    QFBlogEntryPtr about = addPost(plugin, 3, QString());
    about->setOverridePermalinkNameText(QStringLiteral("about"));
    about->setEntrySummaryString(QString());

    const QVariantMap params{{"contentonlysubpages", "YES"}, {"FilenameExt", "html"}, {"filesfoldername", "files"}};
    const QList<QFExportItem> pages = plugin.permalinks().emitPermalinkEntriesWithFilesDirectory("../files", params);

    QStringList names;
    for (const QFExportItem &page : pages) {
        QVERIFY(page.isContentOnlySubpage());
        names.append(page.name());
        const QString goldenPath = QFINDTESTDATA("../../data/blog-permalinks/content-only/" + page.name());
        const QString golden = readFile(goldenPath);
        if (page.html() != golden) {
            QFile actual(QDir::temp().filePath(page.name() + ".actual"));
            if (actual.open(QIODevice::WriteOnly))
                actual.write(page.html().toUtf8());
        }
        QCOMPARE(page.html(), golden);
    }
    QCOMPARE(names, (QStringList{trip->GUID() + "-1.html", "about.html"}));
    QCOMPARE(pages.at(0).substitutions().value("title").toString(),
             QStringLiteral("Trip to Zürich & back | Travel | My Site"));
    QCOMPARE(pages.at(1).substitutions().value("title").toString(), QStringLiteral("My Site"));
}

void tst_QFBlogPluginPermalinks::pagesAreWrittenIntoTheScratchFolder()
{
    QFBlogPlugin plugin;
    plugin.setCommentsSelectedProviderTag(2);
    QFBlogEntryPtr first = addPost(plugin, 1, QStringLiteral("First"));
    addPost(plugin, 2, QStringLiteral("Draft"), true);
    QFBlogEntryPtr escaping = addPost(plugin, 3, QStringLiteral("Escaping"));
    escaping->setOverridePermalinkNameText(QStringLiteral("../../outside.html"));

    const QString scratch = plugin.temporaryFilesDirectory();
    plugin.createFolder(scratch, true);
    const QVariantMap params{{"FilenameExt", "html"}, {"filesfoldername", "files"}, {"pagecharset", "utf-8"}};
    QVERIFY(plugin.permalinks().emitPermalinkEntriesWithFilesDirectory("../files", params).isEmpty());

    const QStringList files = QDir(scratch).entryList(QDir::Files, QDir::Name);
    QCOMPARE(files, (QStringList{first->GUID() + "-1.html", "outside.html"}));
    QVERIFY(!QFileInfo::exists(scratch + "/../../outside.html"));

    const QString page = readFile(scratch + '/' + files.at(0));
    QVERIFY(!page.contains("%blog_permalink_"));
    QVERIFY(!page.contains("%charset%", Qt::CaseInsensitive));
    QVERIFY(page.contains("utf-8"));
    // The JS-Kit loader stands on the page, the post's fragment inside it.
    QVERIFY(page.contains(plugin.codeGeneration().jskitLoadCommand()));
    QVERIFY(page.contains(plugin.codeGeneration().emitBlogEntryHTML(first, "../files", 1, false,
                                                                     QFBlogPluginCodeGeneration::PermalinkPage, params)));
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginPermalinks)
#include "tst_qfblogpluginpermalinks.moc"

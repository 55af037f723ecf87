#include "blogfixtures.h"

#include "blog/generation/qfblogplugincategories.h"
#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfuserdefaults.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

using PageType = QFBlogPluginCodeGeneration::PageType;

class tst_QFBlogPluginCodeGeneration : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void draftsGiveNothing();
    void wholeFragmentOnTheMainPage();
    void fragmentPerPageType_data();
    void fragmentPerPageType();
    void categoriesRestOnThePrimaryCategory_data();
    void categoriesRestOnThePrimaryCategory();
    void commentSnippets_data();
    void commentSnippets();
    void commentCountsFollowTheUserDefault();
    void mainPageIsFramedByTheLoaders_data();
    void mainPageIsFramedByTheLoaders();
    void feedLinkForThePageHead_data();
    void feedLinkForThePageHead();
    void smileys_data();
    void smileys();
    void exportMemoChangesNoByte();
    void unsupportedCacheStoresTheExportAsTheBody();

private:
    std::unique_ptr<QTemporaryDir> m_settingsDir;
    std::unique_ptr<QFUserDefaults> m_defaults;
};

namespace {

const QDateTime kDate(QDate(2024, 3, 5), QTime(14, 7));

QFBlogEntryPtr addPost(QFBlogPlugin &plugin, int id, const QString &body, bool draft = false)
{
    QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    entry->setID(id);
    entry->setGUID(QStringLiteral("G%1").arg(id));
    entry->setTitle(QStringLiteral("T"));
    entry->setStatus(draft ? 0 : 1);
    entry->setDate(kDate);
    entry->setEntryString(body);
    plugin.insertBlogEntry(entry);
    return entry;
}

int categoryID(const QFBlogPlugin &plugin, const QString &name)
{
    return plugin.categoryForCategoryName(name)->categoryID();
}

QVariantMap pageParams()
{
    return {{"FilenameExt", "html"}, {"filesfoldername", "files"}, {"location", "blog"}, {"base", "http://example.com/"}};
}

// The part of a fragment after the body text "<p>B</p>\n" and before the
// closing "</div></div>": read-more link, tags and comments.
QString afterBody(const QString &fragment)
{
    const QString body = QStringLiteral("<p>B</p>\n");
    const qsizetype start = fragment.indexOf(body);
    if (start < 0 || !fragment.endsWith(QLatin1String("</div></div>")))
        return QStringLiteral("(unexpected fragment) ") + fragment;
    const qsizetype from = start + body.size();
    return fragment.mid(from, fragment.size() - from - 12);
}

} // namespace

void tst_QFBlogPluginCodeGeneration::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
    m_settingsDir = std::make_unique<QTemporaryDir>();
    m_defaults = std::make_unique<QFUserDefaults>(m_settingsDir->filePath("defaults.ini"));
    QFBlogPlugin::load(*m_defaults);
    QFBlogPlugin::initialize(*m_defaults);
}

void tst_QFBlogPluginCodeGeneration::init()
{
    for (const char *key : {"QFBlogDisplayCommentCounts", "EnableUnsupportedBlogEntryCaching", "QFBlogHaloScanEndpoint"})
        m_defaults->removeObject(QString::fromLatin1(key));
}

void tst_QFBlogPluginCodeGeneration::draftsGiveNothing()
{
    QFBlogPlugin plugin;
    QFBlogEntryPtr draft = addPost(plugin, 1, QStringLiteral("B"), true);
    draft->setEntrySummaryString(QStringLiteral("S"));
    for (const int type : {0, 1, 2, 3, 4}) {
        QCOMPARE(plugin.codeGeneration().emitBlogEntryHTML(draft, "", type == 0 ? 0 : 1, type == 0, type, pageParams()),
                 QString());
    }
}

void tst_QFBlogPluginCodeGeneration::wholeFragmentOnTheMainPage()
{
    QFBlogPlugin plugin;
    plugin.setCategoryTitle(QStringLiteral("Filed under: "));
    plugin.setCategorySeparator(QStringLiteral(" & "));
    plugin.setTagsTitle(QStringLiteral("Tags: "));
    plugin.setTagsSeparator(QStringLiteral(", "));
    QFBlogEntryPtr entry = addPost(plugin, 7, QStringLiteral("B"));
    entry->setTitle(QStringLiteral("Café & more"));
    entry->setCategoryIDs({categoryID(plugin, "Travel"), categoryID(plugin, "Work")});
    entry->setTags(QFBlogTagList{QFBlogTag(QStringLiteral("alps")), QFBlogTag(QStringLiteral("a<b"))});

    const QVariantMap params = pageParams();
    const QString travel = *plugin.categoriesGroup().categoryLink(plugin.categoryForCategoryName("Travel"), params, 0);
    const QString work = *plugin.categoriesGroup().categoryLink(plugin.categoryForCategoryName("Work"), params, 0);
    const QString expected =
        QStringLiteral("<div id=\"unique-entry-id-7\" class=\"blog-entry\">"
                       "<h1 class=\"blog-entry-title\"><a href=\"files/G7-7.html\" class=\"blog-permalink\">Caf&eacute; &amp; more</a></h1>"
                       "<div class=\"blog-entry-date\">03/05/2024 02:07 PM Filed under: "
                       "<span class=\"blog-entry-category\"><a href=\"%1\">Travel</a></span>"
                       "<span class=\"blog-entry-category\"> &amp; <a href=\"%2\">Work</a></span></div>"
                       "<div class=\"blog-entry-body\"><p>B</p>\n"
                       "<p class=\"blog-entry-tags\">Tags: <a href=\"files/tag-alps.html\" title=\"alps\" rel=\"tag\">alps</a>, "
                       "<a href=\"files/tag-a-b.html\" title=\"a&lt;b\" rel=\"tag\">a&lt;b</a></p>"
                       "</div></div>")
            .arg(travel, work);
    QCOMPARE(plugin.codeGeneration().emitBlogEntryHTML(entry, "", 0, true, PageType::MainPage, params), expected);
}

void tst_QFBlogPluginCodeGeneration::fragmentPerPageType_data()
{
    QTest::addColumn<int>("pageType");
    QTest::addColumn<bool>("permalinks");
    QTest::addColumn<QString>("summary"); // null: no summary
    QTest::addColumn<bool>("prepend");
    QTest::addColumn<bool>("titleLinked");
    QTest::addColumn<QString>("shown");   // "B" body, "S" summary
    QTest::addColumn<bool>("readMore");
    QTest::addColumn<QString>("summaryBlock"); // null: none

    const QString none;
    QTest::newRow("main page with a summary reads more") << 0 << true << "S" << false << true << "S" << true << none;
    QTest::newRow("tag page reads more too") << 4 << true << "S" << false << true << "S" << true << none;
    QTest::newRow("permalink page: full text, title no link") << 2 << true << "S" << false << false << "B" << false << none;
    QTest::newRow("permalink page prepends the summary")
        << 2 << true << "S" << true << false << "B" << false << "<div class=\"blog-entry-summary\"><p>S</p>\n</div>";
    QTest::newRow("permalink page prepends an empty summary")
        << 2 << true << "" << true << false << "B" << false << "<div class=\"blog-entry-summary\"></div>";
    QTest::newRow("permalink page without summary: no block") << 2 << true << none << true << false << "B" << false << none;
    QTest::newRow("empty summary: full text on the main page") << 0 << true << "" << false << true << "B" << false << none;
    QTest::newRow("no summary: full text") << 1 << true << none << false << true << "B" << false << none;
    QTest::newRow("permalinks off: full text, no links") << 1 << false << "S" << false << false << "B" << false << none;
}

void tst_QFBlogPluginCodeGeneration::fragmentPerPageType()
{
    QFETCH(int, pageType);
    QFETCH(bool, permalinks);
    QFETCH(QString, summary);
    QFETCH(bool, prepend);
    QFETCH(bool, titleLinked);
    QFETCH(QString, shown);
    QFETCH(bool, readMore);
    QFETCH(QString, summaryBlock);

    QFBlogPlugin plugin;
    plugin.setGeneratePermalinkPages(permalinks);
    plugin.setPrependSummaryToPost(prepend);
    plugin.setTagsEnabled(false);
    QFBlogEntryPtr entry = addPost(plugin, 1, QStringLiteral("B"));
    if (!summary.isNull())
        entry->setEntrySummaryString(summary);

    const int depth = pageType == 0 ? 0 : 1;
    const QString link = depth == 0 ? QStringLiteral("files/G1-1.html") : QStringLiteral("G1-1.html");
    const QString html =
        plugin.codeGeneration().emitBlogEntryHTML(entry, "", depth, pageType == 0, pageType, pageParams());

    QVERIFY(html.contains(titleLinked ? QStringLiteral("<h1 class=\"blog-entry-title\"><a href=\"%1\" class=\"blog-permalink\">T</a></h1>").arg(link)
                                      : QStringLiteral("<h1 class=\"blog-entry-title\">T</h1>")));
    QVERIFY2(html.contains(QStringLiteral("<div class=\"blog-entry-body\"><p>%1</p>\n").arg(shown)), qPrintable(html));
    const QString readMoreLink =
        QStringLiteral("<span class=\"blog-read-more\"><a href=\"%1\">%2</a></span>").arg(link, plugin.readMoreLinkName());
    QCOMPARE(html.contains(readMoreLink), readMore);
    QCOMPARE(html.contains("blog-read-more"), readMore);
    QCOMPARE(html.contains("blog-entry-summary"), !summaryBlock.isNull());
    if (!summaryBlock.isNull())
        QVERIFY(html.contains(summaryBlock));
}

void tst_QFBlogPluginCodeGeneration::categoriesRestOnThePrimaryCategory_data()
{
    QTest::addColumn<QStringList>("categories");
    QTest::addColumn<int>("pageType");
    QTest::addColumn<bool>("categoryPages");
    QTest::addColumn<QStringList>("shown");

    QTest::newRow("primary category: all are listed") << QStringList{"Travel", "Work"} << 1 << true
                                                      << QStringList{"Travel", "Work"};
    QTest::newRow("None first: no category at all") << QStringList{"None", "Work"} << 1 << true << QStringList{};
    QTest::newRow("not on a category page") << QStringList{"Travel"} << 3 << true << QStringList{};
    QTest::newRow("category pages off") << QStringList{"Travel"} << 1 << false << QStringList{};
}

void tst_QFBlogPluginCodeGeneration::categoriesRestOnThePrimaryCategory()
{
    QFETCH(QStringList, categories);
    QFETCH(int, pageType);
    QFETCH(bool, categoryPages);
    QFETCH(QStringList, shown);

    QFBlogPlugin plugin;
    plugin.setCategoryPostsEnabled(categoryPages);
    QFBlogEntryPtr entry = addPost(plugin, 1, QStringLiteral("B"));
    QList<int> ids;
    for (const QString &name : categories)
        ids.append(name == "None" ? plugin.categories().first()->categoryID() : categoryID(plugin, name));
    entry->setCategoryIDs(ids);

    const QString html = plugin.codeGeneration().emitBlogEntryHTML(entry, "", 1, false, pageType, pageParams());
    QCOMPARE(html.count(QStringLiteral("<span class=\"blog-entry-category\">")), shown.size());
    QCOMPARE(html.contains(plugin.categoryTitle()), !shown.isEmpty());
    for (const QString &name : shown) {
        const QString link = *plugin.categoriesGroup().categoryLink(plugin.categoryForCategoryName(name), pageParams(), 1);
        QVERIFY(html.contains(QStringLiteral("<a href=\"%1\">%2</a></span>").arg(link, name)));
    }
}

void tst_QFBlogPluginCodeGeneration::commentSnippets_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QVariantMap>("accounts");
    QTest::addColumn<bool>("inlineComments");
    QTest::addColumn<int>("pageType");
    QTest::addColumn<bool>("permalinks");
    QTest::addColumn<QString>("location");
    QTest::addColumn<QString>("comments");

    const QVariantMap haloscan{{"haloscan", "acct"}};
    const QVariantMap disqus{{"disqus", "site"}};
    QTest::newRow("HaloScan link and trackback")
        << 1 << haloscan << false << 0 << true << "blog"
        << "<div class=\"blog-entry-comments\"><a class=\"blog-comment-link\" href=\"javascript:HaloScan('qf_unique_entry_id_7_page1');\">"
           "<script type=\"text/javascript\">postCount('qf_unique_entry_id_7_page1');</script></a> | "
           "<a class=\"blog-trackback-link\" href=\"javascript:HaloScanTB('qf_unique_entry_id_7=page1');\">"
           "<script type=\"text/javascript\">postCountTB('qf_unique_entry_id_7_page1'); </script></a></div>";
    QTest::newRow("HaloScan inline on the permalink page")
        << 1 << haloscan << true << 2 << true << "blog"
        << "<div class=\"blog-entry-comments-inline\"><script type=\"text/javascript\" "
           "src=\"http://www.haloscan.com/comments/acct/qf_unique_entry_id_7_page1/?m=1\"></script></div>";
    QTest::newRow("HaloScan without account") << 1 << QVariantMap{} << false << 0 << true << "blog" << "";
    QTest::newRow("JS-Kit without account")
        << 2 << QVariantMap{} << false << 1 << true << "blog"
        << "<div class=\"blog-entry-comments\"><a class=\"blog-comment-link\" href=\"#\" onclick=\"toggle('qf_unique_entry_id_7_page1');return false;\">"
           "<span class=\"js-kit-comments-count\" path=\"/blog/files/G7-7.html\" permalink=\"http://example.com/blog/files/G7-7.html\">0</span> Comments</a>"
           "<div id=\"qf_unique_entry_id_7_page1\" style=\"display:none\"><div class=\"js-kit-comments\" path=\"/blog/files/G7-7.html\" "
           "permalink=\"http://example.com/blog/files/G7-7.html\" label=\"Leave a Comment\" title=\"T\"></div></div></div>";
    QTest::newRow("JS-Kit inline on the permalink page")
        << 2 << QVariantMap{} << true << 2 << true << "blog"
        << "<div class=\"blog-entry-comments-inline\"><div class=\"js-kit-comments\" path=\"/blog/files/G7-7.html\" "
           "permalink=\"http://example.com/blog/files/G7-7.html\" label=\"Leave Comment\" title=\"T\"></div></div>";
    QTest::newRow("JS-Kit location already in the base URL")
        << 2 << QVariantMap{} << true << 2 << true << "http://example.com/blog/"
        << "<div class=\"blog-entry-comments-inline\"><div class=\"js-kit-comments\" path=\"/blog/files/G7-7.html\" "
           "permalink=\"http://example.com/blog/files/G7-7.html\" label=\"Leave Comment\" title=\"T\"></div></div>";
    QTest::newRow("Disqus counts beside the permalink")
        << 3 << disqus << false << 0 << true << "blog"
        << "<div class=\"blog-entry-comments\"><a class=\"blog-comment-link\" href=\"files/G7-7.html#disqus_thread\">Comments</a></div>";
    const QString embed = "<div class=\"blog-entry-comments\"><div id=\"disqus_thread\">\n"
                          "<script type=\"text/javascript\">var disqus_identifier = \"G7\";</script>\n"
                          "<script type=\"text/javascript\" src=\"http://disqus.com/forums/site/embed.js\"></script>\n"
                          "<noscript><p><a href=\"http://disqus.com/forums/site/?url=ref\">View the discussion thread.</a></p></noscript>\n"
                          "</div></div>";
    QTest::newRow("Disqus embeds on the permalink page") << 3 << disqus << false << 2 << true << "blog" << embed;
    QTest::newRow("Disqus embeds when permalinks are off") << 3 << disqus << false << 0 << false << "blog" << embed;
    QTest::newRow("Disqus without site name") << 3 << QVariantMap{} << false << 2 << true << "blog" << "";
    QTest::newRow("no comment service") << 0 << haloscan << true << 2 << true << "blog" << "";
}

void tst_QFBlogPluginCodeGeneration::commentSnippets()
{
    QFETCH(int, provider);
    QFETCH(QVariantMap, accounts);
    QFETCH(bool, inlineComments);
    QFETCH(int, pageType);
    QFETCH(bool, permalinks);
    QFETCH(QString, location);
    QFETCH(QString, comments);

    QFSiteDocument site;
    site.setSiteBaseURL(location.startsWith("http://") ? location : QStringLiteral("http://example.com/"));
    QFBlogPlugin plugin;
    plugin.setDocument(&site);
    plugin.setUniqueID(QStringLiteral("page1"));
    plugin.setTagsEnabled(false);
    plugin.setCommentSeparator(QStringLiteral(" | "));
    plugin.setGeneratePermalinkPages(permalinks);
    plugin.setCommentsSelectedProviderTag(provider);
    plugin.setCommentsUserIdentifiers(accounts);
    plugin.setEnableCommentsInline(inlineComments);
    QFBlogEntryPtr entry = addPost(plugin, 7, QStringLiteral("B"));

    QVariantMap params = pageParams();
    params.insert("location", location);
    const int depth = pageType == 0 ? 0 : 1;
    QCOMPARE(afterBody(plugin.codeGeneration().emitBlogEntryHTML(entry, "", depth, pageType == 0, pageType, params)),
             comments);
}

void tst_QFBlogPluginCodeGeneration::commentCountsFollowTheUserDefault()
{
    QFBlogPlugin plugin;
    plugin.setCommentsSelectedProviderTag(3);
    plugin.setCommentsUserIdentifiers({{"disqus", "site"}});
    QFBlogEntryPtr entry = addPost(plugin, 7, QStringLiteral("B"));
    const QVariantMap params = pageParams();
    QFBlogPluginCodeGeneration &generation = plugin.codeGeneration();

    QVERIFY(generation.disqusCommentCountingJavascript().contains(
        "src=\"http://disqus.com/forums/site/get_num_replies.js' + query + '\""));
    QVERIFY(generation.disqusCommentCountingJavascript().contains("links[i].href.indexOf('#disqus_thread')"));

    m_defaults->setBool("QFBlogDisplayCommentCounts", false);
    QCOMPARE(generation.disqusCommentCountingJavascript(), QString());
    QCOMPARE(afterBody(generation.emitBlogEntryHTML(entry, "", 0, true, PageType::MainPage, params)),
             QStringLiteral("<div class=\"blog-entry-comments\"></div>"));
    // The embed code does not depend on counting.
    QVERIFY(generation.emitBlogEntryHTML(entry, "", 1, false, PageType::PermalinkPage, params).contains("embed.js"));
}

void tst_QFBlogPluginCodeGeneration::mainPageIsFramedByTheLoaders_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QVariantMap>("accounts");
    QTest::addColumn<QString>("haloScanEndpoint");
    QTest::addColumn<QString>("head"); // before the first entry
    QTest::addColumn<QString>("tail"); // what the page ends with

    const QString toggle =
        "<script type=\"text/javascript\">function toggle(id) { var state = document.getElementById(id).style.display;  "
        "if (state == 'inline') {  \tdocument.getElementById(id).style.display = 'none';  } else {  "
        "\tdocument.getElementById(id).style.display = 'inline';  } return false; } </script>"
        "<div style=\"display:none\"><div class=\"js-kit-comments\" path=\"/null\"></div>"
        "<script type=\"text/javascript\" src=\"http://js-kit.com/comments.js\"></script>"
        "<script type=\"text/javascript\" src=\"http://js-kit.com/comments-count.js\"></script></div>";
    const QVariantMap haloscan{{"haloscan", "acct"}};
    QTest::newRow("HaloScan loader first")
        << 1 << haloscan << "" << "<script type=\"text/javascript\" src=\"http://www.haloscan.com/load/acct\"></script>"
        << "</div></div>";
    QTest::newRow("HaloScan at a configured address")
        << 1 << haloscan << "https://comments.example.net"
        << "<script type=\"text/javascript\" src=\"https://comments.example.net/load/acct\"></script>" << "</div></div>";
    QTest::newRow("JS-Kit loader last") << 2 << QVariantMap{} << "" << "" << toggle;
    QTest::newRow("Disqus counter last") << 3 << QVariantMap{{"disqus", "site"}} << "" << "" << "//]]>\n</script>";
    QTest::newRow("no service, no loader") << 0 << haloscan << "" << "" << "</div></div>";
}

void tst_QFBlogPluginCodeGeneration::mainPageIsFramedByTheLoaders()
{
    QFETCH(int, provider);
    QFETCH(QVariantMap, accounts);
    QFETCH(QString, haloScanEndpoint);
    QFETCH(QString, head);
    QFETCH(QString, tail);

    if (!haloScanEndpoint.isEmpty())
        m_defaults->setValue("QFBlogHaloScanEndpoint", haloScanEndpoint);
    QFBlogPlugin plugin;
    plugin.setArchivePostsEnabled(false);
    plugin.setCommentsSelectedProviderTag(provider);
    plugin.setCommentsUserIdentifiers(accounts);
    addPost(plugin, 1, QStringLiteral("First"));
    addPost(plugin, 2, QStringLiteral("Second"));
    addPost(plugin, 3, QStringLiteral("Draft"), true);

    const QString html = plugin.contentHTML(pageParams());
    QVERIFY2(html.startsWith(head + "<div id=\"unique-entry-id-"), qPrintable(html.left(200)));
    QCOMPARE(html.count(QStringLiteral("class=\"blog-entry\"")), 2);
    QVERIFY(html.contains("<p>First</p>") && html.contains("<p>Second</p>") && !html.contains("Draft"));
    QVERIFY2(html.endsWith(tail), qPrintable(html.right(200)));
}

void tst_QFBlogPluginCodeGeneration::feedLinkForThePageHead_data()
{
    QTest::addColumn<bool>("rss");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("customURL"); // null: off
    QTest::addColumn<QString>("href");      // null: no link

    const QString none;
    QTest::newRow("feed off") << false << "" << none << none;
    QTest::newRow("page ID as file name") << true << "" << none << "http://example.com/blog/files/page1.xml";
    QTest::newRow("custom name gets .xml") << true << "news" << none << "http://example.com/blog/files/news.xml";
    QTest::newRow("custom name keeps its extension") << true << "news.rss" << none << "http://example.com/blog/files/news.rss";
    QTest::newRow("custom URL as stored") << true << "" << "http://feeds.example.net/x" << "http://feeds.example.net/x";
}

void tst_QFBlogPluginCodeGeneration::feedLinkForThePageHead()
{
    QFETCH(bool, rss);
    QFETCH(QString, fileName);
    QFETCH(QString, customURL);
    QFETCH(QString, href);

    QFBlogPlugin plugin;
    plugin.setUniqueID(QStringLiteral("page1"));
    plugin.setEnableRSS(rss);
    plugin.setRssTitle(QStringLiteral("News & Views"));
    plugin.setRssCustomFeedFilename(fileName);
    if (!customURL.isNull()) {
        plugin.setEnableCustomRSSURL(true);
        plugin.setRssCustomFeedURL(customURL);
    }
    const QString expected = href.isNull()
        ? QString()
        : QStringLiteral("<link rel=\"alternate\" type=\"application/rss+xml\" title=\"News &amp; Views\" href=\"%1\" />").arg(href);
    QCOMPARE(plugin.pageContentHeaders(pageParams()), expected);
}

void tst_QFBlogPluginCodeGeneration::smileys_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QString>("filesDirectory");
    QTest::addColumn<int>("depth");
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("expected");

    const QString smile = "<img class=\"blog-image-smiley\" src=\"%1smiley_smile.png\" width=\"21\" height=\"21\" alt=\"smile\" border=\"0\" />";
    QTest::newRow("off") << false << "" << 0 << "Hi :-)" << "Hi :-)";
    QTest::newRow("main page without files directory")
        << true << "" << 0 << "Hi :-)" << "Hi " + smile.arg("files/");
    QTest::newRow("sub-page with files directory") << true << "../files" << 1 << ":-):-)"
                                                    << smile.arg("../files/") + smile.arg("../files/");
    QTest::newRow("inside an address too")
        << true << "" << 1 << "<a href=\"x:-)y.html\">" << "<a href=\"x" + smile.arg("") + "y.html\">";
    QTest::newRow("angry before sad")
        << true << "" << 1 << "&gt;:-( :-("
        << "<img class=\"blog-image-smiley\" src=\"smiley_angry.png\" width=\"21\" height=\"21\" alt=\"angry\" border=\"0\" /> "
           "<img class=\"blog-image-smiley\" src=\"smiley_sad.png\" width=\"21\" height=\"21\" alt=\"sad\" border=\"0\" />";
}

void tst_QFBlogPluginCodeGeneration::smileys()
{
    QFETCH(bool, enabled);
    QFETCH(QString, filesDirectory);
    QFETCH(int, depth);
    QFETCH(QString, html);
    QFETCH(QString, expected);

    QFBlogPlugin plugin;
    plugin.setEnableSmileys(enabled);
    QCOMPARE(plugin.codeGeneration().substituteSmileys(html, filesDirectory, depth), expected);
    QCOMPARE(html, expected);
}

namespace {

struct ExportResult
{
    QString mainPage;
    QList<QFExportItem> items;
    QMap<QString, QByteArray> files;
};

ExportResult exportBlog(QFBlogPlugin &plugin, const QVariantMap &params)
{
    ExportResult result;
    result.mainPage = plugin.contentHTML(params);
    result.items = plugin.extraFilesNeededInExportFolder(params);
    for (QFExportItem &item : result.items) {
        if (!item.isFile())
            continue;
        QFile file(item.filePath());
        if (file.open(QIODevice::ReadOnly))
            result.files.insert(QFileInfo(item.filePath()).fileName(), file.readAll());
        item = QFExportItem::file(QFileInfo(item.filePath()).fileName());
    }
    return result;
}

} // namespace

void tst_QFBlogPluginCodeGeneration::exportMemoChangesNoByte()
{
    QFBlogPlugin plugin;
    plugin.setUniqueID(QStringLiteral("page1"));
    plugin.setEnableSmileys(true);
    plugin.setPrependSummaryToPost(true);
    plugin.setShowAtLeastPosts(true);
    plugin.setShowPostLimit(8);
    plugin.setCommentsSelectedProviderTag(1);
    plugin.setCommentsUserIdentifiers({{"haloscan", "acct"}});
    const QList<int> categories{categoryID(plugin, "Travel"), categoryID(plugin, "Work"), categoryID(plugin, "Ideas")};
    for (int i = 0; i < 24; ++i) {
        QFBlogEntryPtr entry = addPost(plugin, i, QStringLiteral("Body %1 :-)").arg(i), i % 7 == 6);
        entry->setDate(kDate.addDays(-9 * i));
        entry->setCategoryIDs({categories.at(i % 3), categories.at((i + 1) % 3)});
        entry->setTags(QFBlogTagList{QFBlogTag(QStringLiteral("t%1").arg(i % 4)), QFBlogTag(QStringLiteral("all"))});
        if (i % 2 == 0)
            entry->setEntrySummaryString(i % 4 == 0 ? QStringLiteral("Summary %1").arg(i) : QString());
        if (i % 5 == 0) {
            QFStyledText body(QStringLiteral("Picture: "));
            body.insertAttachment(body.length(), pngBytes(Qt::darkRed), QStringLiteral("photo.png"));
            entry->setEntry(body);
            QFStyledText summary(QStringLiteral("Thumb: "));
            summary.insertAttachment(summary.length(), pngBytes(Qt::darkRed), QStringLiteral("thumb.png"));
            entry->setEntrySummary(summary);
        }
    }

    for (const bool contentOnly : {false, true}) {
        QVariantMap params = pageParams();
        params.insert("plugincommonpath", "common");
        if (contentOnly)
            params.insert("contentonlysubpages", "YES");
        plugin.codeGeneration().setExportMemoEnabled(true);
        const ExportResult withMemo = exportBlog(plugin, params);
        plugin.codeGeneration().setExportMemoEnabled(false);
        const ExportResult withoutMemo = exportBlog(plugin, params);
        plugin.codeGeneration().setExportMemoEnabled(true);

        QVERIFY(withMemo.mainPage.contains("blog-image-smiley"));
        QVERIFY(withMemo.files.contains("page1_blog_entry0_1.png"));
        QCOMPARE(withMemo.mainPage, withoutMemo.mainPage);
        QCOMPARE(withMemo.items.size(), withoutMemo.items.size());
        for (qsizetype i = 0; i < withMemo.items.size(); ++i)
            QVERIFY2(withMemo.items.at(i) == withoutMemo.items.at(i), qPrintable(withMemo.items.at(i).name()));
        QCOMPARE(withMemo.files, withoutMemo.files);
    }
}

void tst_QFBlogPluginCodeGeneration::unsupportedCacheStoresTheExportAsTheBody()
{
    m_defaults->setBool("EnableUnsupportedBlogEntryCaching", true);
    QFBlogPlugin plugin;
    plugin.setTagsEnabled(false);
    QFBlogEntryPtr entry = addPost(plugin, 1, QStringLiteral("The body."));
    entry->setEntrySummaryString(QStringLiteral("The summary."));

    const QString archive = plugin.codeGeneration().emitBlogEntryHTML(entry, "", 1, false, PageType::ArchivePage, pageParams());
    QVERIFY(archive.contains("<p>The summary.</p>"));
    // Kept as this unsupported switch has always behaved: the exported
    // summary became the body, without its cache (the body never keeps it).
    QCOMPARE(entry->entry()->plainString(), QStringLiteral("The summary."));
    QVERIFY(entry->entry()->attribute("QFBlogEntryCacheData", 0).isNull());

    m_defaults->setBool("EnableUnsupportedBlogEntryCaching", false);
    entry->setEntryString(QStringLiteral("The body."));
    QFStyledText summary(QStringLiteral("Stale"));
    const QVariantMap key{{"ImageFolder", ""}, {"ImagePrefix", plugin.uniqueID() + "_blog_entry1_summary"},
                          {"HTMLTemplate", "%blog_entry1%"}, {"ContentTag", "blog_entry1"},
                          {"PageID", plugin.uniqueID()}, {"DepthCorrection", 1}};
    summary.addAttribute("QFBlogEntryCacheData", QVariantList{QVariant(QVariantList{key, "<p>Cached</p>"})}, 0, 5);
    entry->setEntrySummary(summary);
    // A cached export is used instead of exporting, also with the switch off.
    QVERIFY(plugin.codeGeneration().emitBlogEntryHTML(entry, "", 1, false, PageType::ArchivePage, pageParams())
                .contains("<div class=\"blog-entry-body\"><p>Cached</p><span class=\"blog-read-more\">"));
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginCodeGeneration)
#include "tst_qfblogplugincodegeneration.moc"

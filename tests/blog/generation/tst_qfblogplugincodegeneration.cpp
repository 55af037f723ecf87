#include "blogfixtures.h"

#include "blog/generation/qfblogplugincategories.h"
#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfexportitem.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfuserdefaults.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

using PageType = QFBlogPluginCodeGeneration::PageType;

namespace {

const QDateTime kDate(QDate(2024, 3, 5), QTime(14, 7));

QFBlogEntryPtr add(QFBlogPlugin &blog, int id, const QString &body = "B", bool draft = false)
{
    QFBlogEntryPtr entry = addPost(blog, id, kDate, draft);
    entry->setEntryString(body);
    return entry;
}

QString fragment(QFBlogPlugin &blog, const QFBlogEntryPtr &entry, int pageType, const QVariantMap &params = pageParams())
{
    const int depth = pageType == PageType::MainPage ? 0 : 1;
    return blog.codeGeneration().emitBlogEntryHTML(entry, "", depth, depth == 0, pageType, params);
}

// The part of a fragment after the body "<p>B</p>\n" and before the closing
// "</div></div>": read-more link, tags and comments.
QString afterBody(const QString &fragment)
{
    const qsizetype start = fragment.indexOf("<p>B</p>\n");
    if (start < 0 || !fragment.endsWith("</div></div>"))
        return "(unexpected fragment) " + fragment;
    return fragment.mid(start + 9, fragment.size() - start - 9 - 12);
}

} // namespace

class tst_QFBlogPluginCodeGeneration : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        initializeBlogClassForFixtures();
        QFBlogPlugin::load(*m_defaults);
        QFBlogPlugin::initialize(*m_defaults);
    }

    void init()
    {
        for (const char *key : {"QFBlogDisplayCommentCounts", "QFBlogHaloScanEndpoint"})
            m_defaults->removeObject(QString::fromLatin1(key));
    }

    void draftsGiveNothing()
    {
        QFBlogPlugin blog;
        QFBlogEntryPtr draft = add(blog, 1, "B", true);
        draft->setEntrySummaryString("S");
        for (const int type : {0, 1, 2, 3, 4})
            QCOMPARE(fragment(blog, draft, type), QString());
    }

    void wholeFragmentOnTheMainPage()
    {
        QFBlogPlugin blog;
        blog.setCategoryTitle("Filed under: ");
        blog.setCategorySeparator(" & ");
        blog.setTagsTitle("Tags: ");
        blog.setTagsSeparator(", ");
        QFBlogEntryPtr entry = add(blog, 7);
        entry->setTitle("Café & more");
        entry->setCategoryIDs({categoryID(blog, "Travel"), categoryID(blog, "Work")});
        entry->setTags(tagList({"alps", "a<b"}));

        const auto link = [&](const char *name) { return *blog.categoriesGroup().categoryLink(blog.categoryForCategoryName(name), pageParams(), 0); };
        QCOMPARE(fragment(blog, entry, PageType::MainPage),
                 QStringLiteral("<div id=\"unique-entry-id-7\" class=\"blog-entry\">"
                                "<h1 class=\"blog-entry-title\"><a href=\"files/post-7-7.html\" class=\"blog-permalink\">Caf&eacute; &amp; more</a></h1>"
                                "<div class=\"blog-entry-date\">03/05/2024 02:07 PM Filed under: "
                                "<span class=\"blog-entry-category\"><a href=\"%1\">Travel</a></span>"
                                "<span class=\"blog-entry-category\"> &amp; <a href=\"%2\">Work</a></span></div>"
                                "<div class=\"blog-entry-body\"><p>B</p>\n"
                                "<p class=\"blog-entry-tags\">Tags: <a href=\"files/tag-alps.html\" title=\"alps\" rel=\"tag\">alps</a>, "
                                "<a href=\"files/tag-a-b.html\" title=\"a&lt;b\" rel=\"tag\">a&lt;b</a></p>"
                                "</div></div>")
                     .arg(link("Travel"), link("Work")));
    }

    void fragmentPerPageType_data()
    {
        QTest::addColumn<int>("pageType");
        QTest::addColumn<bool>("permalinks");
        QTest::addColumn<QString>("summary"); // null: no summary
        QTest::addColumn<bool>("prepend");
        QTest::addColumn<bool>("titleLinked");
        QTest::addColumn<QString>("shown"); // "B" body, "S" summary
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

    void fragmentPerPageType()
    {
        QFETCH(int, pageType);
        QFETCH(bool, permalinks);
        QFETCH(QString, summary);
        QFETCH(bool, prepend);
        QFETCH(bool, titleLinked);
        QFETCH(QString, shown);
        QFETCH(bool, readMore);
        QFETCH(QString, summaryBlock);

        QFBlogPlugin blog;
        blog.setGeneratePermalinkPages(permalinks);
        blog.setPrependSummaryToPost(prepend);
        blog.setTagsEnabled(false);
        QFBlogEntryPtr entry = add(blog, 1);
        if (!summary.isNull())
            entry->setEntrySummaryString(summary);
        const QString link = pageType == 0 ? "files/post-1-1.html" : "post-1-1.html";
        const QString html = fragment(blog, entry, pageType);

        QVERIFY(html.contains(titleLinked ? QStringLiteral("<h1 class=\"blog-entry-title\"><a href=\"%1\" class=\"blog-permalink\">Post 1</a></h1>").arg(link)
                                          : QStringLiteral("<h1 class=\"blog-entry-title\">Post 1</h1>")));
        QVERIFY2(html.contains(QStringLiteral("<div class=\"blog-entry-body\"><p>%1</p>\n").arg(shown)), qPrintable(html));
        QCOMPARE(html.contains(QStringLiteral("<span class=\"blog-read-more\"><a href=\"%1\">%2</a></span>").arg(link, blog.readMoreLinkName())),
                 readMore);
        QCOMPARE(html.contains("blog-read-more"), readMore);
        QCOMPARE(html.contains("blog-entry-summary"), !summaryBlock.isNull());
        QVERIFY(summaryBlock.isNull() || html.contains(summaryBlock));
    }

    void categoriesRestOnThePrimaryCategory_data()
    {
        QTest::addColumn<QStringList>("categories");
        QTest::addColumn<int>("pageType");
        QTest::addColumn<bool>("categoryPages");
        QTest::addColumn<QStringList>("shown");

        QTest::newRow("primary category: all are listed") << QStringList{"Travel", "Work"} << 1 << true << QStringList{"Travel", "Work"};
        QTest::newRow("None first: no category at all") << QStringList{"None", "Work"} << 1 << true << QStringList{};
        QTest::newRow("not on a category page") << QStringList{"Travel"} << 3 << true << QStringList{};
        QTest::newRow("category pages off") << QStringList{"Travel"} << 1 << false << QStringList{};
    }

    void categoriesRestOnThePrimaryCategory()
    {
        QFETCH(QStringList, categories);
        QFETCH(int, pageType);
        QFETCH(bool, categoryPages);
        QFETCH(QStringList, shown);

        QFBlogPlugin blog;
        blog.setCategoryPostsEnabled(categoryPages);
        QFBlogEntryPtr entry = add(blog, 1);
        QList<int> ids;
        for (const QString &name : categories)
            ids.append(name == "None" ? blog.categories().first()->categoryID() : categoryID(blog, name));
        entry->setCategoryIDs(ids);

        const QString html = fragment(blog, entry, pageType);
        QCOMPARE(html.count("<span class=\"blog-entry-category\">"), shown.size());
        QCOMPARE(html.contains(blog.categoryTitle()), !shown.isEmpty());
        for (const QString &name : shown) {
            const QString link = *blog.categoriesGroup().categoryLink(blog.categoryForCategoryName(name), pageParams(), 1);
            QVERIFY(html.contains(QStringLiteral("<a href=\"%1\">%2</a></span>").arg(link, name)));
        }
    }

    void commentSnippets_data()
    {
        QTest::addColumn<int>("provider");
        QTest::addColumn<QVariantMap>("accounts");
        QTest::addColumn<bool>("inlineComments");
        QTest::addColumn<int>("pageType");
        QTest::addColumn<bool>("permalinks");
        QTest::addColumn<bool>("counts"); // the user's choice to show comment counts
        QTest::addColumn<QString>("location");
        QTest::addColumn<QString>("comments");

        const QVariantMap haloscan{{"haloscan", "acct"}}, disqus{{"disqus", "site"}}, none;
        QTest::newRow("HaloScan link and trackback")
            << 1 << haloscan << false << 0 << true << true << "blog"
            << "<div class=\"blog-entry-comments\"><a class=\"blog-comment-link\" href=\"javascript:HaloScan('qf_unique_entry_id_7_page1');\">"
               "<script type=\"text/javascript\">postCount('qf_unique_entry_id_7_page1');</script></a> | "
               "<a class=\"blog-trackback-link\" href=\"javascript:HaloScanTB('qf_unique_entry_id_7=page1');\">"
               "<script type=\"text/javascript\">postCountTB('qf_unique_entry_id_7_page1'); </script></a></div>";
        QTest::newRow("HaloScan inline on the permalink page")
            << 1 << haloscan << true << 2 << true << true << "blog"
            << "<div class=\"blog-entry-comments-inline\"><script type=\"text/javascript\" "
               "src=\"http://www.haloscan.com/comments/acct/qf_unique_entry_id_7_page1/?m=1\"></script></div>";
        QTest::newRow("HaloScan without account") << 1 << none << false << 0 << true << true << "blog" << "";
        const QString jskit = "<div class=\"js-kit-comments\" path=\"/blog/files/post-7-7.html\" "
                              "permalink=\"http://example.com/blog/files/post-7-7.html\" label=\"Leave %1\" title=\"Post 7\"></div>";
        QTest::newRow("JS-Kit without account")
            << 2 << none << false << 1 << true << true << "blog"
            << "<div class=\"blog-entry-comments\"><a class=\"blog-comment-link\" href=\"#\" onclick=\"toggle('qf_unique_entry_id_7_page1');return false;\">"
               "<span class=\"js-kit-comments-count\" path=\"/blog/files/post-7-7.html\" permalink=\"http://example.com/blog/files/post-7-7.html\">0</span> Comments</a>"
               "<div id=\"qf_unique_entry_id_7_page1\" style=\"display:none\">" + jskit.arg("a Comment") + "</div></div>";
        QTest::newRow("JS-Kit inline on the permalink page")
            << 2 << none << true << 2 << true << true << "blog" << "<div class=\"blog-entry-comments-inline\">" + jskit.arg("Comment") + "</div>";
        QTest::newRow("JS-Kit location already in the base URL")
            << 2 << none << true << 2 << true << true << "http://example.com/blog/"
            << "<div class=\"blog-entry-comments-inline\">" + jskit.arg("Comment") + "</div>";
        QTest::newRow("Disqus counts beside the permalink")
            << 3 << disqus << false << 0 << true << true << "blog"
            << "<div class=\"blog-entry-comments\"><a class=\"blog-comment-link\" href=\"files/post-7-7.html#disqus_thread\">Comments</a></div>";
        QTest::newRow("Disqus counts off: no link")
            << 3 << disqus << false << 0 << true << false << "blog" << "<div class=\"blog-entry-comments\"></div>";
        const QString embed = "<div class=\"blog-entry-comments\"><div id=\"disqus_thread\">\n"
                              "<script type=\"text/javascript\">var disqus_identifier = \"post-7\";</script>\n"
                              "<script type=\"text/javascript\" src=\"http://disqus.com/forums/site/embed.js\"></script>\n"
                              "<noscript><p><a href=\"http://disqus.com/forums/site/?url=ref\">View the discussion thread.</a></p></noscript>\n"
                              "</div></div>";
        QTest::newRow("Disqus embeds on the permalink page") << 3 << disqus << false << 2 << true << true << "blog" << embed;
        QTest::newRow("Disqus embeds with counts off") << 3 << disqus << false << 2 << true << false << "blog" << embed;
        QTest::newRow("Disqus embeds when permalinks are off") << 3 << disqus << false << 0 << false << true << "blog" << embed;
        QTest::newRow("Disqus without site name") << 3 << none << false << 2 << true << true << "blog" << "";
        QTest::newRow("no comment service") << 0 << haloscan << true << 2 << true << true << "blog" << "";
    }

    void commentSnippets()
    {
        QFETCH(int, provider);
        QFETCH(QVariantMap, accounts);
        QFETCH(bool, inlineComments);
        QFETCH(int, pageType);
        QFETCH(bool, permalinks);
        QFETCH(bool, counts);
        QFETCH(QString, location);
        QFETCH(QString, comments);

        m_defaults->setBool("QFBlogDisplayCommentCounts", counts);
        QFSiteDocument site;
        site.setSiteBaseURL(location.startsWith("http://") ? location : "http://example.com/");
        QFBlogPlugin blog;
        blog.setDocument(&site);
        blog.setUniqueID("page1");
        blog.setTagsEnabled(false);
        blog.setCommentSeparator(" | ");
        blog.setGeneratePermalinkPages(permalinks);
        blog.setCommentsSelectedProviderTag(provider);
        blog.setCommentsUserIdentifiers(accounts);
        blog.setEnableCommentsInline(inlineComments);
        const QVariantMap params = pageParams({{"location", location}, {"base", "http://example.com/"}});
        QCOMPARE(afterBody(fragment(blog, add(blog, 7), pageType, params)), comments);
    }

    void mainPageIsFramedByTheLoaders_data()
    {
        QTest::addColumn<int>("provider");
        QTest::addColumn<QVariantMap>("accounts");
        QTest::addColumn<QString>("haloScanEndpoint");
        QTest::addColumn<bool>("counts");
        QTest::addColumn<QString>("head"); // before the first entry
        QTest::addColumn<QString>("tail"); // what the page ends with

        const QString toggle =
            "<script type=\"text/javascript\">function toggle(id) { var state = document.getElementById(id).style.display;  "
            "if (state == 'inline') {  \tdocument.getElementById(id).style.display = 'none';  } else {  "
            "\tdocument.getElementById(id).style.display = 'inline';  } return false; } </script>"
            "<div style=\"display:none\"><div class=\"js-kit-comments\" path=\"/null\"></div>"
            "<script type=\"text/javascript\" src=\"http://js-kit.com/comments.js\"></script>"
            "<script type=\"text/javascript\" src=\"http://js-kit.com/comments-count.js\"></script></div>";
        const QVariantMap haloscan{{"haloscan", "acct"}}, disqus{{"disqus", "site"}};
        QTest::newRow("HaloScan loader first") << 1 << haloscan << "" << true
                                               << "<script type=\"text/javascript\" src=\"http://www.haloscan.com/load/acct\"></script>"
                                               << "</div></div>";
        QTest::newRow("HaloScan at a configured address")
            << 1 << haloscan << "https://comments.example.net" << true
            << "<script type=\"text/javascript\" src=\"https://comments.example.net/load/acct\"></script>" << "</div></div>";
        QTest::newRow("JS-Kit loader last") << 2 << QVariantMap{} << "" << true << "" << toggle;
        QTest::newRow("Disqus counter last")
            << 3 << disqus << "" << true << ""
            << "src=\"http://disqus.com/forums/site/get_num_replies.js' + query + '\"></' + 'script>');\n})();\n//]]>\n</script>";
        QTest::newRow("Disqus counts off: no counter") << 3 << disqus << "" << false << "" << "</div></div>";
        QTest::newRow("no service, no loader") << 0 << haloscan << "" << true << "" << "</div></div>";
    }

    void mainPageIsFramedByTheLoaders()
    {
        QFETCH(int, provider);
        QFETCH(QVariantMap, accounts);
        QFETCH(QString, haloScanEndpoint);
        QFETCH(bool, counts);
        QFETCH(QString, head);
        QFETCH(QString, tail);

        if (!haloScanEndpoint.isEmpty())
            m_defaults->setValue("QFBlogHaloScanEndpoint", haloScanEndpoint);
        m_defaults->setBool("QFBlogDisplayCommentCounts", counts);
        QFBlogPlugin blog;
        blog.setArchivePostsEnabled(false);
        blog.setCommentsSelectedProviderTag(provider);
        blog.setCommentsUserIdentifiers(accounts);
        add(blog, 1, "First");
        add(blog, 2, "Second");
        add(blog, 3, "Draft", true);

        const QString html = blog.contentHTML(pageParams());
        QVERIFY2(html.startsWith(head + "<div id=\"unique-entry-id-"), qPrintable(html.left(200)));
        QCOMPARE(html.count("class=\"blog-entry\""), 2);
        QVERIFY(html.contains("<p>First</p>") && html.contains("<p>Second</p>") && !html.contains("Draft"));
        QVERIFY2(html.endsWith(tail), qPrintable(html.right(200)));
    }

    void feedLinkForThePageHead_data()
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
        // The file is written under the same name (tst_QFBlogPluginRSS), so no link dangles.
        QTest::newRow("custom name with a folder gives way") << true << "feeds/main" << none << "http://example.com/blog/files/page1.xml";
        QTest::newRow("hidden custom name gives way") << true << ".hidden.xml" << none << "http://example.com/blog/files/page1.xml";
        QTest::newRow("custom name of dots gives way") << true << ".." << none << "http://example.com/blog/files/page1.xml";
        QTest::newRow("custom URL as stored") << true << "" << "http://feeds.example.net/x" << "http://feeds.example.net/x";
    }

    void feedLinkForThePageHead()
    {
        QFETCH(bool, rss);
        QFETCH(QString, fileName);
        QFETCH(QString, customURL);
        QFETCH(QString, href);

        QFBlogPlugin blog;
        blog.setUniqueID("page1");
        blog.setEnableRSS(rss);
        blog.setRssTitle("News & Views");
        blog.setRssCustomFeedFilename(fileName);
        blog.setEnableCustomRSSURL(!customURL.isNull());
        blog.setRssCustomFeedURL(customURL);
        const QString expected =
            href.isNull() ? QString()
                          : QStringLiteral("<link rel=\"alternate\" type=\"application/rss+xml\" title=\"News &amp; Views\" href=\"%1\" />").arg(href);
        QCOMPARE(blog.pageContentHeaders(pageParams({{"location", "blog"}, {"base", "http://example.com/"}})), expected);
    }

    void smileys_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QString>("filesDirectory");
        QTest::addColumn<int>("depth");
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("expected");

        const QString img = "<img class=\"blog-image-smiley\" src=\"%1smiley_%2.png\" width=\"21\" height=\"21\" alt=\"%2\" border=\"0\" />";
        QTest::newRow("off") << false << "" << 0 << "Hi :-)" << "Hi :-)";
        QTest::newRow("main page without files directory") << true << "" << 0 << "Hi :-)" << "Hi " + img.arg("files/", "smile");
        QTest::newRow("sub-page with files directory")
            << true << "../files" << 1 << ":-):-)" << img.arg("../files/", "smile") + img.arg("../files/", "smile");
        QTest::newRow("inside an address too")
            << true << "" << 1 << "<a href=\"x:-)y.html\">" << "<a href=\"x" + img.arg("", "smile") + "y.html\">";
        QTest::newRow("angry before sad") << true << "" << 1 << "&gt;:-( :-(" << img.arg("", "angry") + " " + img.arg("", "sad");
    }

    void smileys()
    {
        QFETCH(bool, enabled);
        QFETCH(QString, filesDirectory);
        QFETCH(int, depth);
        QFETCH(QString, html);
        QFETCH(QString, expected);

        QFBlogPlugin blog;
        blog.setEnableSmileys(enabled);
        QCOMPARE(blog.codeGeneration().substituteSmileys(html, filesDirectory, depth), expected);
        QCOMPARE(html, expected);
    }

    // The per-export memo of exported text must not change a byte of the export.
    void exportMemoChangesNoByte()
    {
        QFBlogPlugin blog;
        blog.setUniqueID("page1");
        blog.setEnableSmileys(true);
        blog.setPrependSummaryToPost(true);
        blog.setShowAtLeastPosts(true);
        blog.setShowPostLimit(8);
        blog.setCommentsSelectedProviderTag(1);
        blog.setCommentsUserIdentifiers({{"haloscan", "acct"}});
        const QList<int> categories{categoryID(blog, "Travel"), categoryID(blog, "Work"), categoryID(blog, "Ideas")};
        for (int i = 0; i < 24; ++i) {
            QFBlogEntryPtr entry = add(blog, i, QStringLiteral("Body %1 :-)").arg(i), i % 7 == 6);
            entry->setDate(kDate.addDays(-9 * i));
            entry->setCategoryIDs({categories.at(i % 3), categories.at((i + 1) % 3)});
            entry->setTags(tagList({QStringLiteral("t%1").arg(i % 4), "all"}));
            if (i % 2 == 0)
                entry->setEntrySummaryString(i % 4 == 0 ? QStringLiteral("Summary %1").arg(i) : QString());
            if (i % 5 == 0) {
                QFStyledText body("Picture: "), summary("Thumb: ");
                body.insertAttachment(body.length(), pngBytes(Qt::darkRed), "photo.png");
                summary.insertAttachment(summary.length(), pngBytes(Qt::darkRed), "thumb.png");
                entry->setEntry(body);
                entry->setEntrySummary(summary);
            }
        }
        // The main page, then each exported item: its name, substitutions and bytes.
        const auto exported = [&blog](const QVariantMap &params, bool memo) {
            blog.codeGeneration().setExportMemoEnabled(memo);
            QStringList result{blog.contentHTML(params)};
            for (const QFExportItem &item : blog.extraFilesNeededInExportFolder(params)) {
                QFile file(item.filePath());
                result << itemNames({item}) << QDebug::toString(item.substitutions())
                       << (item.isFile() && file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : item.html());
            }
            return result;
        };
        for (const bool contentOnly : {false, true}) {
            const QVariantMap params = contentOnly ? pageParams({{"plugincommonpath", "common"}, {"contentonlysubpages", "YES"}})
                                                   : pageParams({{"plugincommonpath", "common"}});
            const QStringList withMemo = exported(params, true);
            QVERIFY(withMemo.first().contains("blog-image-smiley"));
            QVERIFY(withMemo.contains("page1_blog_entry0_1.png"));
            QCOMPARE(exported(params, false), withMemo);
        }
        blog.codeGeneration().setExportMemoEnabled(true);
    }

    // A cached export stored with the summary is used instead of exporting it.
    void cachedExportStandsForTheText()
    {
        QFBlogPlugin blog;
        blog.setTagsEnabled(false);
        QFBlogEntryPtr entry = add(blog, 1, "The body.");
        QFStyledText summary("Stale");
        const QVariantMap key{{"ImageFolder", ""}, {"ImagePrefix", blog.uniqueID() + "_blog_entry1_summary"},
                              {"HTMLTemplate", "%blog_entry1%"}, {"ContentTag", "blog_entry1"},
                              {"PageID", blog.uniqueID()}, {"DepthCorrection", 1}};
        summary.addAttribute("QFBlogEntryCacheData", QVariantList{QVariant(QVariantList{key, "<p>Cached</p>"})}, 0, 5);
        entry->setEntrySummary(summary);
        QVERIFY(fragment(blog, entry, PageType::ArchivePage).contains("<div class=\"blog-entry-body\"><p>Cached</p><span class=\"blog-read-more\">"));
    }

private:
    QTemporaryDir m_settingsDir;
    std::unique_ptr<QFUserDefaults> m_defaults = std::make_unique<QFUserDefaults>(m_settingsDir.filePath("defaults.ini"));
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginCodeGeneration)
#include "tst_qfblogplugincodegeneration.moc"

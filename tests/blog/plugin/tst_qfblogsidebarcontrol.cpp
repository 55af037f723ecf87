#include "blog/generation/qfblogpluginarchives.h"
#include "blog/generation/qfblogplugincategories.h"
#include "blog/generation/qfblogplugintagsemission.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qfsiteexporter.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfuserdefaults.h"

#include <QTemporaryDir>
#include <QtTest>

// The blog's sidebar as the sections, separator and settings shape it.
class tst_QFBlogSidebarControl : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void sidebar_data();
    void sidebar();
    void commentFeedHostsComeFromTheUserDefaults();
    void phpSidebarIsAnIncludeForSubpagesOnly_data();
    void phpSidebarIsAnIncludeForSubpagesOnly();
    void exportedPhpSiteIncludesOneSidebarFile();

private:
    std::unique_ptr<QTemporaryDir> m_settingsDir;
    std::unique_ptr<QFUserDefaults> m_defaults;
};

namespace {

const QVariantMap kParams{{QStringLiteral("FilenameExt"), QStringLiteral("html")},
                          {QStringLiteral("filesfoldername"), QStringLiteral("files")},
                          {QStringLiteral("name"), QStringLiteral("blog.html")},
                          {QStringLiteral("title"), QStringLiteral("Blog")}};

QVariantMap section(const char *name, bool enabled = true)
{
    return QVariantMap{{QStringLiteral("name"), QString::fromLatin1(name)}, {QStringLiteral("enabled"), enabled}};
}

QVariant sections(std::initializer_list<const char *> names)
{
    QVariantList list;
    for (const char *name : names)
        list.append(section(name));
    return list;
}

// A blog with two published posts a month apart, tagged, so every section
// has something to show, and with the feed and comment link texts set.
struct Blog
{
    QFSiteDocument site;
    QFBlogPlugin plugin;

    Blog()
    {
        site.setSiteBaseURL(QStringLiteral("http://example.org/blog/"));
        plugin.setDocument(&site);
        plugin.setArchivePostsPeriod(1);
        int id = 0;
        for (const QDate &day : {QDate(2024, 1, 10), QDate(2024, 3, 5)}) {
            QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
            entry->setID(++id);
            entry->setTitle(QStringLiteral("Post %1").arg(id));
            entry->setDate(QDateTime(day, QTime(12, 0)));
            entry->setStatus(1);
            entry->setCategoryIDs({plugin.categories().at(1)->categoryID()});
            entry->setTags(QFBlogTagList{QFBlogTag(QStringLiteral("Travel"))});
            plugin.insertBlogEntry(entry);
        }
        plugin.setRssTitle(QStringLiteral("Tom & Jerry"));
        plugin.setRssFeedLinkName(QStringLiteral("Feed"));
        plugin.setRssCommentsLinkName(QStringLiteral("Comments"));
        plugin.setRssCustomFeedFilename(QStringLiteral("feed"));
    }

    // The sidebar with the generators' own sections replaced by [C], [A]
    // and [T]: what is left is the sidebar's own framing.
    QString framing(const QVariantMap &params)
    {
        QString html = plugin.staticSidebarHTML(params);
        plugin.archives().calculateArchives();
        const QString categories = plugin.categoriesGroup().emitCategoryLinks(params);
        const QString archives = plugin.archives().emitArchiveLinks(params);
        const QString tags = plugin.tagsEmission().stringForTagCloudHTML(params);
        if (categories.isEmpty() || archives.isEmpty() || tags.isEmpty())
            return QStringLiteral("fixture has an empty section");
        html.replace(categories, QStringLiteral("[C]"));
        html.replace(archives, QStringLiteral("[A]"));
        html.replace(tags, QStringLiteral("[T]"));
        return html;
    }
};

const QString kFeed = QStringLiteral("<div id=\"blog-rss-feeds\"><a class=\"blog-rss-link\" href=\"files/feed.xml\" "
                                     "rel=\"alternate\" type=\"application/rss+xml\" title=\"Tom &amp; Jerry\">Feed</a><br />");
const QString kJSKit =
    QStringLiteral("<a class=\"blog-comments-rss-link\" href=\"http://js-kit.com/rss/example.org/blog/\">Comments</a>");

} // namespace

void tst_QFBlogSidebarControl::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
    m_settingsDir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_settingsDir->isValid());
    m_defaults = std::make_unique<QFUserDefaults>(m_settingsDir->filePath(QStringLiteral("defaults.ini")));
    QFBlogPlugin::initialize(*m_defaults);
}

void tst_QFBlogSidebarControl::cleanupTestCase()
{
    // The plugin class keeps a pointer to the defaults; leave it valid.
    m_defaults.release();
}

void tst_QFBlogSidebarControl::sidebar_data()
{
    QTest::addColumn<QVariant>("control"); // invalid: none stored
    QTest::addColumn<QVariantMap>("settings");
    QTest::addColumn<bool>("subpage");
    QTest::addColumn<QString>("separator"); // null: none stored
    QTest::addColumn<QString>("expected");

    const QVariantMap feedAndJSKit{{"enableRSS", true}, {"commentsSelectedProviderTag", 2}};
    const QVariantMap jsKit{{"commentsSelectedProviderTag", 2}};
    const QVariantMap feed{{"enableRSS", true}};
    const QString bar = "|";
    const QVariant rss = sections({"RSS Link"}), comments = sections({"Comments Link"});

    QTest::newRow("nothing stored: the five sections in the default order")
        << QVariant() << feedAndJSKit << false << bar
        << "<div id=\"blog-categories\">[C]</div>|<div id=\"blog-archives\">[A]</div>|[T]|" + kFeed + "|" + kJSKit
               + "</div>|";
    QTest::newRow("an empty list stored: no sidebar") << sections({}) << feedAndJSKit << false << bar << "";
    QTest::newRow("no separator stored: sections run together")
        << sections({"Categories", "Archives"}) << QVariantMap() << false << QString()
        << "<div id=\"blog-categories\">[C]</div><div id=\"blog-archives\">[A]</div>";
    QTest::newRow("categories listed but category pages off")
        << sections({"Categories"}) << QVariantMap{{"categoryPostsEnabled", false}} << false << bar << "";
    QTest::newRow("tag cloud off while tags are on")
        << sections({"Tags"}) << QVariantMap{{"tagCloudEnabled", false}} << false << bar << "";
    QTest::newRow("archives off") << sections({"Archives"}) << QVariantMap{{"archivePostsEnabled", false}} << false
                                  << bar << "";
    QTest::newRow("unknown and switched-off sections write nothing")
        << QVariant(QVariantList{section("Weather"), section("Tags", false), "Tags"}) << feedAndJSKit << false << bar
        << "";
    QTest::newRow("feed without a comments section stays open") << rss << feed << false << bar << kFeed + "|";
    QTest::newRow("feed with the comments section switched off stays open")
        << QVariant(QVariantList{section("RSS Link"), section("Comments Link", false)}) << feedAndJSKit << false << bar
        << kFeed + "|";
    QTest::newRow("feed closed by the comments section without a comment service")
        << sections({"RSS Link", "Comments Link"}) << feed << false << bar << kFeed + "|</div>|";
    QTest::newRow("comments section closes an element even when it comes first")
        << sections({"Comments Link", "RSS Link"}) << feed << false << bar << "</div>|" + kFeed + "|";
    QTest::newRow("feed off, JS-Kit with a link text") << comments << jsKit << false << bar << kJSKit + "|";
    QTest::newRow("feed off, JS-Kit without a link text: the separator alone")
        << comments << QVariantMap{{"commentsSelectedProviderTag", 2}, {"rssCommentsLinkName", QString()}} << false
        << bar << "|";
    QTest::newRow("feed off, no comment service: nothing") << comments << QVariantMap() << false << bar << "";
    QTest::newRow("HaloScan member feed with the account escaped")
        << comments
        << QVariantMap{{"commentsSelectedProviderTag", 1}, {"commentsUserIdentifiers", QVariantMap{{"haloscan", "tom & co"}}}}
        << false << bar
        << "<a class=\"blog-comments-rss-link\" href=\"http://www.haloscan.com/members/rss.php?user=tom%20%26%20co\">"
           "Comments</a>|";
    QTest::newRow("Disqus offers no comments feed")
        << comments
        << QVariantMap{{"commentsSelectedProviderTag", 3}, {"commentsUserIdentifiers", QVariantMap{{"disqus", "site"}}}}
        << false << bar << "|";
    QTest::newRow("feed link from a page in the files folder")
        << rss << feed << true << bar << QString(kFeed).replace("files/feed.xml", "feed.xml") + "|";
    QTest::newRow("custom feed address as stored")
        << rss
        << QVariantMap{{"enableRSS", true}, {"enableCustomRSSURL", true}, {"rssCustomFeedURL", "http://feeds.example.net/tom"}}
        << true << bar << QString(kFeed).replace("files/feed.xml", "http://feeds.example.net/tom") + "|";
}

void tst_QFBlogSidebarControl::sidebar()
{
    QFETCH(QVariant, control);
    QFETCH(QVariantMap, settings);
    QFETCH(bool, subpage);
    QFETCH(QString, separator);
    QFETCH(QString, expected);

    Blog blog;
    if (control.isValid())
        blog.plugin.setSidebarControl(control.toList());
    if (!separator.isNull())
        blog.plugin.setSidebarSeparator(separator);
    for (auto it = settings.cbegin(); it != settings.cend(); ++it)
        QVERIFY2(blog.plugin.setProperty(it.key().toLatin1().constData(), it.value()), qPrintable(it.key()));
    QVariantMap params = kParams;
    if (subpage)
        params.insert(QStringLiteral("subpage"), QStringLiteral("YES"));

    QCOMPARE(blog.framing(params), expected);
}

void tst_QFBlogSidebarControl::commentFeedHostsComeFromTheUserDefaults()
{
    Blog blog;
    blog.plugin.setSidebarControl({section("Comments Link")});
    blog.plugin.setCommentsSelectedProviderTag(2);
    m_defaults->setValue(QStringLiteral("QFBlogJSKitCommentFeedEndpoint"), QStringLiteral("https://comments.example.net"));
    const QString html = blog.plugin.staticSidebarHTML(kParams);
    m_defaults->removeObject(QStringLiteral("QFBlogJSKitCommentFeedEndpoint"));
    QCOMPARE(html, QStringLiteral("<a class=\"blog-comments-rss-link\" "
                                  "href=\"https://comments.example.net/rss/example.org/blog/\">Comments</a>"));
}

void tst_QFBlogSidebarControl::phpSidebarIsAnIncludeForSubpagesOnly_data()
{
    QTest::addColumn<QVariant>("subpage"); // the page parameter, read as a yes/no text
    QTest::addColumn<bool>("include");

    QTest::newRow("yes") << QVariant("yes") << true;
    QTest::newRow("tRuE") << QVariant("tRuE") << true;
    QTest::newRow("1") << QVariant("1") << true;
    QTest::newRow("2") << QVariant("2") << false;
    QTest::newRow("yes with a space") << QVariant(" yes") << false;
    QTest::newRow("absent: the main page") << QVariant() << false;
}

void tst_QFBlogSidebarControl::phpSidebarIsAnIncludeForSubpagesOnly()
{
    QFETCH(QVariant, subpage);
    QFETCH(bool, include);

    Blog blog;
    blog.plugin.setSidebarControl({section("Categories")});
    blog.plugin.setUsePHPForSidebarContent(true);
    QVariantMap params = kParams;
    if (subpage.isValid())
        params.insert(QStringLiteral("subpage"), subpage);
    const QString html = blog.plugin.sidebarHTML(params);
    if (include)
        QCOMPARE(html, QStringLiteral("<?php include(\"sidebar-content.html\"); ?>"));
    else
        QVERIFY2(html.startsWith(QStringLiteral("<div id=\"blog-categories\">")), qPrintable(html));
    QCOMPARE(blog.plugin.overrideFileExtension(), std::optional<QString>(QStringLiteral("php")));
}

void tst_QFBlogSidebarControl::exportedPhpSiteIncludesOneSidebarFile()
{
    QFSiteDocument site;
    site.setSiteBaseURL(QStringLiteral("http://example.org/"));
    auto owned = std::make_unique<QFBlogPlugin>();
    QFBlogPlugin &plugin = *owned;
    site.addPage(std::move(owned), QStringLiteral("blog"), QStringLiteral("Blog"));
    QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    entry->setID(1);
    entry->setGUID(QStringLiteral("guid"));
    entry->setTitle(QStringLiteral("Only post"));
    entry->setDate(QDateTime(QDate(2024, 5, 1), QTime(9, 0)));
    entry->setStatus(1);
    plugin.insertBlogEntry(entry);
    plugin.setSidebarControl({section("Categories")});
    plugin.setUsePHPForSidebarContent(true);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString out = dir.filePath(QStringLiteral("www"));
    QFSiteExporter(site).exportTo(out);

    const auto read = [&](const QString &name) {
        QFile file(out + QLatin1Char('/') + name);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    };
    // Every page of the blog takes the extension "php"; the main page carries
    // its sidebar, the pages in the files folder include the shared file.
    QVERIFY(read(QStringLiteral("blog.php")).contains(QStringLiteral("<div id=\"blog-categories\">")));
    QVERIFY(read(QStringLiteral("files/sidebar-content.html")).startsWith(QStringLiteral("<div id=\"blog-categories\">")));
    const QString permalinkPage = read(QStringLiteral("files/guid-1.php"));
    QVERIFY(permalinkPage.contains(QStringLiteral("<?php include(\"sidebar-content.html\"); ?>")));
    QVERIFY(!permalinkPage.contains(QStringLiteral("blog-categories")));
}

QTEST_GUILESS_MAIN(tst_QFBlogSidebarControl)
#include "tst_qfblogsidebarcontrol.moc"

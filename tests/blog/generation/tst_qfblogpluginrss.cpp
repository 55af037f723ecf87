#include "blogfixtures.h"

#include "blog/generation/qfblogpluginarchives.h"
#include "blog/generation/qfblogpluginrss.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qfrecordingalertpresenter.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <functional>
#include <memory>

// A change to the blog or the export parameters before the feed is made.
using Setup = std::function<void(QFBlogPlugin &, QVariantMap &, const QString &folder)>;
Q_DECLARE_METATYPE(Setup)

class tst_QFBlogPluginRSS : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void feedMatchesTheGoldenFile();
    void channelAndItemElements_data();
    void channelAndItemElements();
    void iTunesAndCustomElements();
    void errorsEndTheFeed_data();
    void errorsEndTheFeed();
    void unreadablePodcastIsCountedAndReportedOnce();
    void largeFeedIsWrittenAsItsWholeText();
};

namespace {

// A parsed feed; XPath with the feed's prefixes registered.
class Feed
{
public:
    explicit Feed(const QByteArray &xml)
        : m_doc(xmlReadMemory(xml.constData(), int(xml.size()), "feed.xml", "UTF-8", XML_PARSE_NONET))
    {
    }
    ~Feed() { xmlFreeDoc(m_doc); }
    Q_DISABLE_COPY_MOVE(Feed)

    bool isWellFormed() const { return m_doc != nullptr; }

    // Prefixes declared on the root element.
    QStringList declaredPrefixes() const
    {
        QStringList prefixes;
        for (xmlNsPtr ns = xmlDocGetRootElement(m_doc)->nsDef; ns; ns = ns->next)
            prefixes.append(QString::fromUtf8(reinterpret_cast<const char *>(ns->prefix)));
        prefixes.sort();
        return prefixes;
    }

    // The string value of every node the expression selects.
    QStringList values(const QString &expression) const
    {
        QStringList result;
        xmlXPathContextPtr context = xmlXPathNewContext(m_doc);
        for (xmlNsPtr ns = xmlDocGetRootElement(m_doc)->nsDef; ns; ns = ns->next)
            xmlXPathRegisterNs(context, ns->prefix, ns->href);
        xmlXPathObjectPtr object =
            xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(expression.toUtf8().constData()), context);
        if (object && object->nodesetval) {
            for (int i = 0; i < object->nodesetval->nodeNr; ++i) {
                xmlChar *text = xmlNodeGetContent(object->nodesetval->nodeTab[i]);
                result.append(QString::fromUtf8(reinterpret_cast<const char *>(text)));
                xmlFree(text);
            }
        }
        xmlXPathFreeObject(object);
        xmlXPathFreeContext(context);
        return result;
    }

private:
    xmlDocPtr m_doc;
};

const QString kGUID = QStringLiteral("0123456789abcdef0123456789abcd");

QVariantMap defaultParams()
{
    return {{"base", "http://example.com/"},     {"location", "blog"},          {"index", "blog/index.html"},
            {"name", "index.html"},               {"title", "My Blog"},          {"filesfoldername", "files"},
            {"FilenameExt", "html"},              {"pagecharset", "utf-8"}};
}

QFBlogEntryPtr addPost(QFBlogPlugin &plugin, int id, const QString &title, const QDateTime &date,
                       const QString &body, bool draft = false)
{
    QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    entry->setID(id);
    entry->setGUID(kGUID + QStringLiteral("%1").arg(id, 2, 10, QLatin1Char('0')));
    entry->setTitle(title);
    entry->setStatus(draft ? 0 : 1);
    entry->setDate(date);
    entry->setEntryString(body);
    entry->setCategoryIDs({});
    plugin.insertBlogEntry(entry);
    return entry;
}

QDateTime at(int year, int month, int day)
{
    return QDateTime(QDate(year, month, day), QTime(14, 7));
}

// A site whose first page is the blog "My Blog"; the blog has a fixed clock
// and unique ID, the feed on, and three posts: a categorised one in March,
// a draft, an uncategorised one in July.
struct Site
{
    QFSiteDocument document;
    QFBlogPlugin *plugin = nullptr;
    QFBlogEntryPtr march;
    QFBlogEntryPtr draft;
    QFBlogEntryPtr july;

    Site()
    {
        auto owned = std::make_unique<QFBlogPlugin>();
        plugin = owned.get();
        document.addPage(std::move(owned), QStringLiteral("index.html"), QStringLiteral("My Blog"));
        plugin->setUniqueID(QStringLiteral("blogpage"));
        plugin->setClock([] { return QDateTime(QDate(2024, 8, 1), QTime(10, 0)); });
        plugin->setEnableRSS(true);
        plugin->setRssTitle(QStringLiteral("Notes & News"));
        plugin->setRssDescription(QStringLiteral("Café talk"));
        plugin->setRssCreator(QStringLiteral("joe@example.com"));
        plugin->setRssCopyright(QStringLiteral("© 2024 Joe"));
        march = addPost(*plugin, 1, QStringLiteral("Trip to Zürich & back"), at(2024, 3, 5),
                        QStringLiteral("First sentence. Second sentence. Third one."));
        march->setCategoryIDs({category("Travel"), category("Ideas")});
        draft = addPost(*plugin, 2, QStringLiteral("Unfinished"), at(2024, 5, 1), QStringLiteral("Not yet."), true);
        july = addPost(*plugin, 3, QStringLiteral("Summer"), at(2024, 7, 1), QStringLiteral("Hot days."));
    }

    int category(const char *name) const
    {
        return plugin->categoryForCategoryName(QString::fromLatin1(name))->categoryID();
    }

    // The feed the export writes, read back from the scratch folder.
    QByteArray exportedFeed(const QVariantMap &params)
    {
        plugin->extraFilesNeededInExportFolder(params);
        QFile file(plugin->temporaryFilesDirectory() + QLatin1Char('/') + plugin->rss().rssFeedFilename());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

QString writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
    return path;
}

QVariantMap overrideWith(const QVariantMap &values)
{
    QVariantMap map = values;
    map.insert(QStringLiteral("override"), true);
    return map;
}

} // namespace

void tst_QFBlogPluginRSS::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogPluginRSS::feedMatchesTheGoldenFile()
{
    Site site;
    site.plugin->setChannelCustomTags({customTag("webMaster", "joe@example.com (Joe)", "")});
    site.plugin->setEnableCustomiTunesTags(true);
    site.plugin->channelCustomiTunesTags()->setAuthor(QStringLiteral("Joe Müller"));
    site.plugin->channelCustomiTunesTags()->setCategory(QStringLiteral("Arts,Design"));

    const QByteArray feed = site.exportedFeed(defaultParams());
    const QString goldenPath = QFINDTESTDATA("../../data/blog-feed/feed.xml");
    QFile golden(goldenPath);
    QVERIFY2(golden.open(QIODevice::ReadOnly), qPrintable(goldenPath));
    const QByteArray expected = golden.readAll();
    if (feed != expected)
        writeFile(QDir::temp().filePath(QStringLiteral("blog-feed.xml.actual")), feed);
    QCOMPARE(feed, expected);

    const Feed parsed(feed);
    QVERIFY(parsed.isWellFormed());
    QCOMPARE(parsed.declaredPrefixes(), (QStringList{"admin", "content", "dc", "itunes", "rdf", "sy"}));
}

void tst_QFBlogPluginRSS::channelAndItemElements_data()
{
    QTest::addColumn<Setup>("setup");
    QTest::addColumn<QString>("xpath");
    QTest::addColumn<QStringList>("values");

    // The unchanged feed is the golden file.
    QTest::newRow("summary instead of the body when permalink pages exist")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.posts().at(2)->setEntrySummaryString(QStringLiteral("Short."));
           })
        << "//item[2]/content:encoded" << QStringList{"<p>Short.</p>\n"};
    QTest::newRow("summarised to the feed's sentence count")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.setSummarizeEntryRSS(true);
               plugin.setSummarizeEntryRSSCount(2);
           })
        << "//item[1]/content:encoded" << QStringList{"First sentence. Second sentence."};
    QTest::newRow("summarised to no sentences writes the missing object")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.setSummarizeEntryRSS(true);
               plugin.setSummarizeEntryRSSCount(0);
           })
        << "//item/content:encoded" << QStringList{"(null)", "(null)"};
    QTest::newRow("main-page-only leaves out posts of older periods")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.setArchivePostsPeriod(1);
               plugin.setGenerateRssEntriesForMainPageOnly(true);
           })
        << "//item/title" << QStringList{"Summer"};
    QTest::newRow("permalink pages off: archive page, or the main page for the latest period")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.setArchivePostsPeriod(1);
               plugin.setGeneratePermalinkPages(false);
           })
        << "//item/link"
        << QStringList{"http://example.com/blog/files/mar-2024#unique-entry-id-1",
                       "http://example.com/blog/index.html#unique-entry-id-3"};
    QTest::newRow("a full https location replaces the base")
        << Setup([](QFBlogPlugin &, QVariantMap &params, const QString &) {
               params.insert("location", "https://other.org/news");
           })
        << "//item[1]/link" << QStringList{"https://other.org/news/files/" + kGUID + "01-1.html#unique-entry-id-1"};
    QTest::newRow("an empty location links below the base")
        << Setup([](QFBlogPlugin &, QVariantMap &params, const QString &) {
               params.insert("location", "");
               params.insert("index", "index.html");
           })
        << "//item[1]/link" << QStringList{"http://example.com/files/" + kGUID + "01-1.html#unique-entry-id-1"};
    QTest::newRow("non-ASCII in a permalink name is percent-escaped")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.posts().at(0)->setOverridePermalinkNameText(QStringLiteral("zürich trip"));
           })
        << "//item[1]/link" << QStringList{"http://example.com/blog/files/z%C3%BCrich%20trip.html#unique-entry-id-1"};

    // Enclosures: url, length and type.
    QTest::newRow("override needs no file")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.posts().at(0)->setPodcastOverride(overrideWith(
                   {{"url", "http://cdn.example.com/ep1.mp3?a=1&b=2"}, {"size", 1234}, {"type", "audio/mpeg"}}));
           })
        << "//item/enclosure/@*" << QStringList{"http://cdn.example.com/ep1.mp3?a=1&b=2", "1234", "audio/mpeg"};
    QTest::newRow("a file: the address of its copy, its size, its type")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &folder) {
               plugin.posts().at(0)->setPodcast(writeFile(folder + "/Talk.MP3", QByteArray(5000, 'x')));
           })
        << "//item/enclosure/@*" << QStringList{"http://example.com/blog/files/podcast_1.MP3", "5000", "audio/mpeg"};
    QTest::newRow("override size with the file's type")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &folder) {
               plugin.posts().at(0)->setPodcast(writeFile(folder + "/talk.ogg", QByteArray(10, 'x')));
               plugin.posts().at(0)->setPodcastOverride(overrideWith({{"size", 99}}));
           })
        << "//item/enclosure/@*" << QStringList{"http://example.com/blog/files/podcast_1.ogg", "99", "audio/ogg"};
    QTest::newRow("a location named like the base's last folder, with slashes, is not repeated")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &params, const QString &folder) {
               params.insert("base", "http://example.com/blog/");
               params.insert("location", "/blog/");
               plugin.posts().at(0)->setPodcast(writeFile(folder + "/talk.mp3", QByteArray(7, 'x')));
           })
        << "//item/enclosure/@url" << QStringList{"http://example.com/blog/files/podcast_1.mp3"};
}

void tst_QFBlogPluginRSS::channelAndItemElements()
{
    QFETCH(Setup, setup);
    QFETCH(QString, xpath);
    QFETCH(QStringList, values);

    Site site;
    QTemporaryDir folder;
    QVariantMap params = defaultParams();
    setup(*site.plugin, params, folder.path());
    const Feed feed(site.exportedFeed(params));
    QVERIFY(feed.isWellFormed());
    QCOMPARE(feed.values(xpath), values);
}

void tst_QFBlogPluginRSS::iTunesAndCustomElements()
{
    Site site;
    site.plugin->setEnableCustomiTunesTags(true);
    const QFBlogEntryPtr post = site.march;
    post->setPodcastOverride(overrideWith({{"url", "http://cdn.example.com/1.mp3"}, {"size", 1}, {"type", "audio/mpeg"}}));
    post->setCustomTags({customTag("link", "y", "href=\"x\""), customTag("", "skipped", ""), customTag("empty", "", "")});
    QFBlogCustomiTunesTagsPtr tags = QFBlogCustomiTunesTags::tags();
    tags->setCategory(QStringLiteral("Arts, Design"));
    tags->setKeywords(QStringLiteral("pod-cast,news"));
    tags->setExplicit(true);
    tags->setOwnerName(QStringLiteral("Jörg"));
    tags->setOwnerEmail(QStringLiteral("joe@example.com"));
    tags->setImageData(pngBytes(Qt::red));
    post->setItunesTags(tags);

    const QByteArray bytes = site.exportedFeed(defaultParams());
    const Feed feed(bytes);
    QVERIFY2(feed.isWellFormed(), bytes.constData());
    // Two categories nest, the second keeping its blank.
    QCOMPARE(feed.values("//item/itunes:category/@text"), QStringList{"Arts"});
    QCOMPARE(feed.values("//item/itunes:category/itunes:category/@text"), QStringList{" Design"});
    QCOMPARE(feed.values("//item/itunes:keywords"), QStringList{"pod-cast,news"});
    // Only the explicit post says so; the channel, not explicit, says nothing.
    QCOMPARE(feed.values("//itunes:explicit"), QStringList{"yes"});
    QCOMPARE(feed.values("//item/link[@href='x']"), QStringList{"y"});
    QCOMPARE(feed.values("//item/itunes:image/@href"), QStringList{"http://example.com/blog/files/podcast_image_1.png"});
    QCOMPARE(feed.values("//item/itunes:owner/*"), (QStringList{"Jörg", "joe@example.com"}));
    QVERIFY(!bytes.contains("skipped"));
    QVERIFY(!bytes.contains("<empty"));
    QVERIFY(QFile::exists(site.plugin->temporaryFilesDirectory() + "/podcast_image_1.png"));
}

void tst_QFBlogPluginRSS::errorsEndTheFeed_data()
{
    QTest::addColumn<Setup>("setup");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");

    const auto itunes = [](QFBlogPlugin &plugin) {
        plugin.setEnableCustomiTunesTags(true);
        QFBlogCustomiTunesTagsPtr tags = QFBlogCustomiTunesTags::tags();
        plugin.posts().at(0)->setItunesTags(tags);
        plugin.posts().at(0)->setPodcastOverride(
            overrideWith({{"url", "http://cdn.example.com/1.mp3"}, {"size", 1}, {"type", "audio/mpeg"}}));
        return tags;
    };

    QTest::newRow("no page path")
        << Setup([](QFBlogPlugin &, QVariantMap &params, const QString &) { params.remove("index"); })
        << "Base URL Required" << QFBlogPlugin::localizedString("BaseURLRequired");
    QTest::newRow("a base whose port is no number")
        << Setup([](QFBlogPlugin &, QVariantMap &params, const QString &) {
               params.insert("base", "http://example.com:port/");
           })
        << "Invalid Page Link" << "The RSS Feed URL 'blog/index.html' contains invalid characters.";
    QTest::newRow("a location whose host has a blank")
        << Setup([](QFBlogPlugin &, QVariantMap &params, const QString &) {
               params.insert("location", "http://bad host/news");
           })
        << "Invalid Post URL"
        << "It was not possible to make a valid RSS post url from 'http://bad host/news/files/" + kGUID + "01-1.html'";
    QTest::newRow("an override without size and no file")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.posts().at(0)->setPodcastOverride(overrideWith({{"type", "audio/mpeg"}}));
           })
        << "Invalid Enclosure"
        << "You need to provide a podcast file or a size in the Advanced... panel for entry 'Trip to Zürich & back'";
    QTest::newRow("an override without type and no file")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.posts().at(0)->setPodcastOverride(overrideWith({{"size", 5}}));
           })
        << "Invalid Enclosure"
        << "You need to provide a podcast file or a mime type in the Advanced... panel for entry 'Trip to Zürich & back'";
    QTest::newRow("a podcast of unknown type")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &folder) {
               plugin.posts().at(0)->setPodcast(writeFile(folder + "/talk.xyz", "abc"));
           })
        << "Invalid Enclosure"
        << "Could not determine the mime type of the podcast at '%1/talk.xyz' for entry 'Trip to Zürich & back'";
    QTest::newRow("an override URL whose host has a blank")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.posts().at(0)->setPodcastOverride(
                   overrideWith({{"url", "http://cdn example.com/1.mp3"}, {"size", 1}, {"type", "audio/mpeg"}}));
           })
        << "Invalid Podcast URL"
        << "It was not possible to make a valid podcast url from 'http://cdn example.com/1.mp3' in entry 'Trip to Zürich & back'";
    QTest::newRow("three iTunes categories")
        << Setup([itunes](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               itunes(plugin)->setCategory(QStringLiteral("Arts,Design,Food"));
           })
        << "Invalid Category"
        << "The category listing 'Arts,Design,Food' cannot contain more than two items separated by a ','";
    QTest::newRow("a keyword with an accented letter")
        << Setup([itunes](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               itunes(plugin)->setKeywords(QStringLiteral("news,café"));
           })
        << "Invalid Keyword" << "The keyword 'café' cannot contain any international or non-alphanumeric characters";
    QTest::newRow("a channel tag that is no text")
        << Setup([](QFBlogPlugin &plugin, QVariantMap &, const QString &) {
               plugin.setChannelCustomTags({customTag("x", QString(QChar(0xD800)), "")});
           })
        << "Invalid RSS" << "It wasn't possible to encode the RSS Feed as UTF-8";
}

void tst_QFBlogPluginRSS::errorsEndTheFeed()
{
    QFETCH(Setup, setup);
    QFETCH(QString, name);
    QFETCH(QString, reason);

    Site site;
    QTemporaryDir folder;
    QVariantMap params = defaultParams();
    setup(*site.plugin, params, folder.path());
    try {
        site.plugin->extraFilesNeededInExportFolder(params);
        QFAIL("no exception");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), name);
        QCOMPARE(e.reason(), reason.contains("%1") ? reason.arg(folder.path()) : reason);
    }
    QVERIFY(!QFile::exists(site.plugin->temporaryFilesDirectory() + "/" + site.plugin->rss().rssFeedFilename()));
}

void tst_QFBlogPluginRSS::unreadablePodcastIsCountedAndReportedOnce()
{
    QFRecordingAlertPresenter presenter;
    QFAlertPresenter *previous = QFAlert::setPresenter(&presenter);

    Site site;
    QTemporaryDir folder;
    site.march->setPodcast(writeFile(folder.path() + "/empty.mp3", QByteArray()));
    site.july->setPodcast(writeFile(folder.path() + "/talk.mp3", "sound"));

    const Feed feed(site.exportedFeed(defaultParams()));
    QVERIFY(feed.isWellFormed());
    QCOMPARE(feed.values("//item/title"), (QStringList{"Trip to Zürich & back", "Summer"}));
    QCOMPARE(feed.values("//item/enclosure/@url"), QStringList{"http://example.com/blog/files/podcast_3.mp3"});
    // The podcast is copied beside the feed.
    QFile copy(site.plugin->temporaryFilesDirectory() + "/podcast_3.mp3");
    QVERIFY(copy.open(QIODevice::ReadOnly));
    QCOMPARE(copy.readAll(), QByteArray("sound"));
    QCOMPARE(site.plugin->numberOfExportErrors(), 1u);
    QVERIFY(site.plugin->exportErrorsString().contains(folder.path() + "/empty.mp3"));
    QVERIFY(site.plugin->exportErrorsString().contains("Trip to Zürich & back"));

    // The alert comes once the export has returned, on the main thread.
    QVERIFY(presenter.requests().isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(presenter.requests().size(), 1);
    QFAlert::setPresenter(previous);
}

void tst_QFBlogPluginRSS::largeFeedIsWrittenAsItsWholeText()
{
    // Several megabytes, so the export writes the feed in many parts; an
    // empty location leaves "http:///" to mend in every item.
    Site site;
    site.plugin->setGeneratePermalinkPages(false);
    site.plugin->setArchivePostsEnabled(false);
    site.plugin->setCategoryPostsEnabled(false);
    site.plugin->setTagsEnabled(false);
    const QString body = QStringLiteral("Ünïcode text with a link to http:///somewhere. ").repeated(250);
    for (int id = 10; id < 400; ++id)
        addPost(*site.plugin, id, QStringLiteral("Post %1").arg(id), at(2023, 1 + id % 12, 1 + id % 28), body);
    QVariantMap params = defaultParams();
    params.insert("location", "");

    const QByteArray written = site.exportedFeed(params);
    QVERIFY(written.size() > 3 * 1024 * 1024);
    QVERIFY(!written.contains("http:///"));
    const QString whole = site.plugin->rss().feedsForEntries(site.plugin->posts(), params,
                                                             site.plugin->temporaryFilesDirectory());
    QCOMPARE(written, whole.toUtf8());
    const Feed feed(written);
    QVERIFY(feed.isWellFormed());
    QCOMPARE(feed.values("//item").size(), 392);
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginRSS)
#include "tst_qfblogpluginrss.moc"

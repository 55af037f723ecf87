#include "blogfixtures.h"

#include "blog/generation/qfblogpluginrss.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qfrecordingalertpresenter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <functional>
#include <memory>

#include <sys/stat.h>

// A change to the blog or the export parameters before the feed is made;
// `folder` is an empty folder for files the change needs.
using Setup = std::function<void(QFBlogPlugin &, QVariantMap &params, const QString &folder)>;
Q_DECLARE_METATYPE(Setup)
Q_DECLARE_METATYPE(std::function<QString(const QString &)>)

namespace {

// A feed read back as a feed reader would: parsed, then queried with XPath
// using the prefixes the feed declares.
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
        xmlXPathObjectPtr object = xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(expression.toUtf8().constData()), context);
        for (int i = 0; object && object->nodesetval && i < object->nodesetval->nodeNr; ++i) {
            xmlChar *text = xmlNodeGetContent(object->nodesetval->nodeTab[i]);
            result.append(QString::fromUtf8(reinterpret_cast<const char *>(text)));
            xmlFree(text);
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
    return {{"base", "http://example.com/"}, {"location", "blog"}, {"index", "blog/index.html"}, {"name", "index.html"},
            {"title", "My Blog"}, {"filesfoldername", "files"}, {"FilenameExt", "html"}, {"pagecharset", "utf-8"}};
}

QFBlogEntryPtr add(QFBlogPlugin &blog, int id, const QString &title, const QDateTime &date, const QString &body, bool draft = false)
{
    QFBlogEntryPtr entry = addPost(blog, id, date, draft);
    entry->setGUID(kGUID + QStringLiteral("%1").arg(id, 2, 10, QLatin1Char('0')));
    entry->setTitle(title);
    entry->setEntryString(body);
    entry->setCategoryIDs({});
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
    QFBlogEntryPtr july;

    Site()
    {
        auto owned = std::make_unique<QFBlogPlugin>();
        plugin = owned.get();
        document.addPage(std::move(owned), "index.html", "My Blog");
        plugin->setUniqueID("blogpage");
        plugin->setClock([] { return QDateTime(QDate(2024, 8, 1), QTime(10, 0)); });
        plugin->setEnableRSS(true);
        plugin->setRssTitle("Notes & News");
        plugin->setRssDescription("Café talk");
        plugin->setRssCreator("joe@example.com");
        plugin->setRssCopyright("© 2024 Joe");
        march = add(*plugin, 1, "Trip to Zürich & back", at(2024, 3, 5), "First sentence. Second sentence. Third one.");
        march->setCategoryIDs({categoryID(*plugin, "Travel"), categoryID(*plugin, "Ideas")});
        add(*plugin, 2, "Unfinished", at(2024, 5, 1), "Not yet.", true);
        july = add(*plugin, 3, "Summer", at(2024, 7, 1), "Hot days.");
    }

    // The feed the export writes, read back from the scratch folder.
    QByteArray exportedFeed(const QVariantMap &params)
    {
        plugin->extraFilesNeededInExportFolder(params);
        QFile file(plugin->temporaryFilesDirectory() + '/' + plugin->rss().rssFeedFilename());
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

QVariantMap overrideWith(QVariantMap values)
{
    values.insert("override", true);
    return values;
}

} // namespace

class tst_QFBlogPluginRSS : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initializeBlogClassForFixtures(); }

    void feedMatchesTheGoldenFile()
    {
        Site site;
        site.plugin->setChannelCustomTags({customTag("webMaster", "joe@example.com (Joe)", "")});
        site.plugin->setEnableCustomiTunesTags(true);
        site.plugin->channelCustomiTunesTags()->setAuthor("Joe Müller");
        site.plugin->channelCustomiTunesTags()->setCategory("Arts,Design");

        const QByteArray feed = site.exportedFeed(defaultParams());
        QCOMPARE(QString::fromUtf8(feed), goldenFile("blog-feed/feed.xml"));
        const Feed parsed(feed);
        QVERIFY(parsed.isWellFormed());
        QCOMPARE(parsed.declaredPrefixes(), (QStringList{"admin", "content", "dc", "itunes", "rdf", "sy"}));
    }

    // Each row changes the golden file's blog.
    void channelAndItemElements_data()
    {
        QTest::addColumn<Setup>("setup");
        QTest::addColumn<QString>("xpath");
        QTest::addColumn<QStringList>("values");

        QTest::newRow("summary instead of the body when permalink pages exist")
            << Setup([](auto &blog, auto &, auto &) { blog.posts().at(2)->setEntrySummaryString("Short."); })
            << "//item[2]/content:encoded" << QStringList{"<p>Short.</p>\n"};
        QTest::newRow("summarised to the feed's sentence count")
            << Setup([](auto &blog, auto &, auto &) { blog.setSummarizeEntryRSS(true); blog.setSummarizeEntryRSSCount(2); })
            << "//item[1]/content:encoded" << QStringList{"First sentence. Second sentence."};
        QTest::newRow("summarised to no sentences writes the missing object")
            << Setup([](auto &blog, auto &, auto &) { blog.setSummarizeEntryRSS(true); blog.setSummarizeEntryRSSCount(0); })
            << "//item/content:encoded" << QStringList{"(null)", "(null)"};
        QTest::newRow("main-page-only leaves out posts of older periods")
            << Setup([](auto &blog, auto &, auto &) { blog.setArchivePostsPeriod(1); blog.setGenerateRssEntriesForMainPageOnly(true); })
            << "//item/title" << QStringList{"Summer"};
        QTest::newRow("permalink pages off: archive page, or the main page for the latest period")
            << Setup([](auto &blog, auto &, auto &) { blog.setArchivePostsPeriod(1); blog.setGeneratePermalinkPages(false); })
            << "//item/link"
            << QStringList{"http://example.com/blog/files/mar-2024#unique-entry-id-1", "http://example.com/blog/index.html#unique-entry-id-3"};
        QTest::newRow("a full https location replaces the base")
            << Setup([](auto &, auto &params, auto &) { params.insert("location", "https://other.org/news"); })
            << "//item[1]/link" << QStringList{"https://other.org/news/files/" + kGUID + "01-1.html#unique-entry-id-1"};
        QTest::newRow("an empty location links below the base")
            << Setup([](auto &, auto &params, auto &) { params.insert("location", ""); params.insert("index", "index.html"); })
            << "//item[1]/link" << QStringList{"http://example.com/files/" + kGUID + "01-1.html#unique-entry-id-1"};
        QTest::newRow("non-ASCII in a permalink name is percent-escaped")
            << Setup([](auto &blog, auto &, auto &) { blog.posts().at(0)->setOverridePermalinkNameText("zürich trip"); })
            << "//item[1]/link" << QStringList{"http://example.com/blog/files/z%C3%BCrich%20trip.html#unique-entry-id-1"};

        // Enclosures: url, length and type.
        QTest::newRow("override needs no file") << Setup([](auto &blog, auto &, auto &) {
            blog.posts().at(0)->setPodcastOverride(
                overrideWith({{"url", "http://cdn.example.com/ep1.mp3?a=1&b=2"}, {"size", 1234}, {"type", "audio/mpeg"}}));
        }) << "//item/enclosure/@*" << QStringList{"http://cdn.example.com/ep1.mp3?a=1&b=2", "1234", "audio/mpeg"};
        QTest::newRow("a file: the address of its copy, its size, its type")
            << Setup([](auto &blog, auto &, auto &folder) { blog.posts().at(0)->setPodcast(writeFile(folder + "/Talk.MP3", QByteArray(5000, 'x'))); })
            << "//item/enclosure/@*" << QStringList{"http://example.com/blog/files/podcast_1.MP3", "5000", "audio/mpeg"};
        QTest::newRow("override size with the file's type") << Setup([](auto &blog, auto &, auto &folder) {
            blog.posts().at(0)->setPodcast(writeFile(folder + "/talk.ogg", QByteArray(10, 'x')));
            blog.posts().at(0)->setPodcastOverride(overrideWith({{"size", 99}}));
        }) << "//item/enclosure/@*" << QStringList{"http://example.com/blog/files/podcast_1.ogg", "99", "audio/ogg"};
        QTest::newRow("a location named like the base's last folder, with slashes, is not repeated")
            << Setup([](auto &blog, auto &params, auto &folder) {
                   params.insert("base", "http://example.com/blog/");
                   params.insert("location", "/blog/");
                   blog.posts().at(0)->setPodcast(writeFile(folder + "/talk.mp3", QByteArray(7, 'x')));
               })
            << "//item/enclosure/@url" << QStringList{"http://example.com/blog/files/podcast_1.mp3"};
        // Doubled slashes are mended behind the scheme's "//" only, whatever its length.
        QTest::newRow("https base keeps its scheme's slashes")
            << Setup([](auto &blog, auto &params, auto &folder) {
                   params.insert("base", "https://example.org/blog/");
                   params.insert("location", "");
                   params.insert("index", "index.html");
                   blog.posts().at(0)->setPodcast(writeFile(folder + "/talk.mp3", QByteArray(7, 'x')));
               })
            << "//item/enclosure/@url" << QStringList{"https://example.org/blog/files/podcast_1.mp3"};
        QTest::newRow("long scheme, location with a leading slash")
            << Setup([](auto &blog, auto &params, auto &folder) {
                   params.insert("base", "webdavs://example.org/");
                   params.insert("location", "/cast");
                   blog.posts().at(0)->setPodcast(writeFile(folder + "/talk.mp3", QByteArray(7, 'x')));
               })
            << "//item/enclosure/@url" << QStringList{"webdavs://example.org/cast/files/podcast_1.mp3"};
        QTest::newRow("item image on https, location with a leading slash")
            << Setup([](auto &blog, auto &params, auto &) {
                   params.insert("base", "https://example.org/");
                   params.insert("location", "/blog");
                   blog.setEnableCustomiTunesTags(true);
                   blog.posts().at(0)->setPodcastOverride(
                       overrideWith({{"url", "https://cdn.example.org/1.mp3"}, {"size", 1}, {"type", "audio/mpeg"}}));
                   QFBlogCustomiTunesTagsPtr tags = QFBlogCustomiTunesTags::tags();
                   tags->setImageData(pngBytes(Qt::red));
                   blog.posts().at(0)->setItunesTags(tags);
               })
            << "//item/itunes:image/@href" << QStringList{"https://example.org/blog/files/podcast_image_1.png"};
        QTest::newRow("channel image, location with a leading slash")
            << Setup([](auto &blog, auto &params, auto &) {
                   params.insert("location", "/news");
                   blog.setEnableCustomiTunesTags(true);
                   blog.channelCustomiTunesTags()->setImageData(pngBytes(Qt::red));
               })
            << "//channel/itunes:image/@href" << QStringList{"http://example.com/news/files/podcast_channel.png"};
    }

    void channelAndItemElements()
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

    void iTunesAndCustomElements()
    {
        Site site;
        site.plugin->setEnableCustomiTunesTags(true);
        site.march->setPodcastOverride(overrideWith({{"url", "http://cdn.example.com/1.mp3"}, {"size", 1}, {"type", "audio/mpeg"}}));
        site.march->setCustomTags({customTag("link", "y", "href=\"x\""), customTag("", "skipped", ""), customTag("empty", "", "")});
        QFBlogCustomiTunesTagsPtr tags = QFBlogCustomiTunesTags::tags();
        tags->setCategory("Arts, Design");
        tags->setKeywords("pod-cast,news");
        tags->setExplicit(true);
        tags->setOwnerName("Jörg");
        tags->setOwnerEmail("joe@example.com");
        tags->setImageData(pngBytes(Qt::red));
        site.march->setItunesTags(tags);

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

    void errorsEndTheFeed_data()
    {
        QTest::addColumn<Setup>("setup");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason"); // %1: the folder

        const auto itunes = [](QFBlogPlugin &blog) {
            blog.setEnableCustomiTunesTags(true);
            QFBlogCustomiTunesTagsPtr tags = QFBlogCustomiTunesTags::tags();
            blog.posts().at(0)->setItunesTags(tags);
            blog.posts().at(0)->setPodcastOverride(overrideWith({{"url", "http://cdn.example.com/1.mp3"}, {"size", 1}, {"type", "audio/mpeg"}}));
            return tags;
        };
        const auto podcastOverride = [](const QVariantMap &values) {
            return Setup([values](auto &blog, auto &, auto &) { blog.posts().at(0)->setPodcastOverride(overrideWith(values)); });
        };
        const auto param = [](const char *key, const char *value) {
            return Setup([key, value](auto &, auto &params, auto &) { params.insert(key, value); });
        };
        const QString entry = " for entry 'Trip to Zürich & back'";

        QTest::newRow("no page path") << Setup([](auto &, auto &params, auto &) { params.remove("index"); }) << "Base URL Required"
                                      << QFBlogPlugin::localizedString("BaseURLRequired");
        QTest::newRow("a base whose port is no number") << param("base", "http://example.com:port/") << "Invalid Page Link"
                                                        << "The RSS Feed URL 'blog/index.html' contains invalid characters.";
        QTest::newRow("a location whose host has a blank")
            << param("location", "http://bad host/news") << "Invalid Post URL"
            << "It was not possible to make a valid RSS post url from 'http://bad host/news/files/" + kGUID + "01-1.html'";
        QTest::newRow("an override without size and no file")
            << podcastOverride({{"type", "audio/mpeg"}}) << "Invalid Enclosure"
            << "You need to provide a podcast file or a size in the Advanced... panel" + entry;
        QTest::newRow("an override without type and no file")
            << podcastOverride({{"size", 5}}) << "Invalid Enclosure"
            << "You need to provide a podcast file or a mime type in the Advanced... panel" + entry;
        QTest::newRow("a podcast of unknown type")
            << Setup([](auto &blog, auto &, auto &folder) { blog.posts().at(0)->setPodcast(writeFile(folder + "/talk.xyz", "abc")); })
            << "Invalid Enclosure" << "Could not determine the mime type of the podcast at '%1/talk.xyz'" + entry;
        QTest::newRow("an override URL whose host has a blank")
            << podcastOverride({{"url", "http://cdn example.com/1.mp3"}, {"size", 1}, {"type", "audio/mpeg"}}) << "Invalid Podcast URL"
            << "It was not possible to make a valid podcast url from 'http://cdn example.com/1.mp3' in entry 'Trip to Zürich & back'";
        QTest::newRow("three iTunes categories")
            << Setup([itunes](auto &blog, auto &, auto &) { itunes(blog)->setCategory("Arts,Design,Food"); }) << "Invalid Category"
            << "The category listing 'Arts,Design,Food' cannot contain more than two items separated by a ','";
        QTest::newRow("a keyword with an accented letter")
            << Setup([itunes](auto &blog, auto &, auto &) { itunes(blog)->setKeywords("news,café"); }) << "Invalid Keyword"
            << "The keyword 'café' cannot contain any international or non-alphanumeric characters";
        QTest::newRow("a channel tag that is no text")
            << Setup([](auto &blog, auto &, auto &) { blog.setChannelCustomTags({customTag("x", QString(QChar(0xD800)), "")}); })
            << "Invalid RSS" << "It wasn't possible to encode the RSS Feed as UTF-8";
    }

    void errorsEndTheFeed()
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

    void unreadablePodcastIsCountedAndReportedOnce()
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
        QCOMPARE(readFile(site.plugin->temporaryFilesDirectory() + "/podcast_3.mp3"), QStringLiteral("sound"));
        QCOMPARE(site.plugin->numberOfExportErrors(), 1u);
        QVERIFY(site.plugin->exportErrorsString().contains(folder.path() + "/empty.mp3"));
        QVERIFY(site.plugin->exportErrorsString().contains("Trip to Zürich & back"));

        // The alert comes once the export has returned, on the main thread.
        QVERIFY(presenter.requests().isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(presenter.requests().size(), 1);
        QFAlert::setPresenter(previous);
    }

    // Only a regular file is published as a podcast, even when the post's
    // override gives its size and type; a link is followed to its target.
    void podcastThatIsNoRegularFileIsAnExportError_data()
    {
        QTest::addColumn<std::function<QString(const QString &)>>("make"); // the podcast path, in a folder
        QTest::addColumn<bool>("published");

        using Make = std::function<QString(const QString &)>;
        QTest::newRow("folder") << Make([](const QString &folder) {
            QDir(folder).mkdir("talk.mp3");
            return folder + "/talk.mp3";
        }) << false;
        QTest::newRow("device") << Make([](const QString &) { return QStringLiteral("/dev/null"); }) << false;
        QTest::newRow("FIFO") << Make([](const QString &folder) {
            const QString path = folder + "/talk.mp3";
            return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0 ? path : QString();
        }) << false;
        QTest::newRow("link to a folder") << Make([](const QString &folder) {
            QDir(folder).mkdir("sounds");
            QFile::link(folder + "/sounds", folder + "/talk.mp3");
            return folder + "/talk.mp3";
        }) << false;
        QTest::newRow("link to a regular file") << Make([](const QString &folder) {
            QFile::link(writeFile(folder + "/real.mp3", "sound"), folder + "/talk.mp3");
            return folder + "/talk.mp3";
        }) << true;
    }

    void podcastThatIsNoRegularFileIsAnExportError()
    {
        QFETCH(std::function<QString(const QString &)>, make);
        QFETCH(bool, published);

        QFRecordingAlertPresenter presenter;
        QFAlertPresenter *previous = QFAlert::setPresenter(&presenter);
        Site site;
        QTemporaryDir folder;
        const QString path = make(folder.path());
        QVERIFY(!path.isEmpty());
        site.march->setPodcast(path);
        site.march->setPodcastOverride(overrideWith({{"size", 5}, {"type", "audio/mpeg"}}));

        const Feed feed(site.exportedFeed(defaultParams()));
        QVERIFY(feed.isWellFormed());
        const QString copy = site.plugin->temporaryFilesDirectory() + "/podcast_1.mp3";
        if (published) {
            QCOMPARE(feed.values("//item/enclosure/@url"), QStringList{"http://example.com/blog/files/podcast_1.mp3"});
            QCOMPARE(readFile(copy), QStringLiteral("sound"));
            QCOMPARE(site.plugin->numberOfExportErrors(), 0u);
        } else {
            QVERIFY(feed.values("//item/enclosure/@url").isEmpty());
            QVERIFY(!QFileInfo::exists(copy));
            QCOMPARE(site.plugin->numberOfExportErrors(), 1u);
            QVERIFY2(site.plugin->exportErrorsString().contains(path)
                         && site.plugin->exportErrorsString().contains("Trip to Zürich & back"),
                     qPrintable(site.plugin->exportErrorsString()));
        }
        QCoreApplication::processEvents();
        QFAlert::setPresenter(previous);
    }

    void feedFileIsTheOneItsLinksName_data()
    {
        QTest::addColumn<QString>("customName");
        QTest::addColumn<QString>("written");
        QTest::addColumn<unsigned>("errors");

        QTest::newRow("plain name") << "main" << "main.xml" << 0u;
        QTest::newRow("name with a folder") << "feeds/main" << "blogpage.xml" << 1u;
        QTest::newRow("hidden name") << ".hidden.xml" << "blogpage.xml" << 1u;
        QTest::newRow("parent folder") << ".." << "blogpage.xml" << 1u;
    }

    void feedFileIsTheOneItsLinksName()
    {
        QFETCH(QString, customName);
        QFETCH(QString, written);
        QFETCH(unsigned, errors);

        QFRecordingAlertPresenter presenter;
        QFAlertPresenter *previous = QFAlert::setPresenter(&presenter);
        Site site;
        // A stored name from before names were checked when set.
        site.plugin->setRssCustomFeedFilename(customName);
        const QString scratch = site.plugin->temporaryFilesDirectory();
        site.plugin->createFolder(scratch, true);
        QVERIFY(Feed(site.exportedFeed(defaultParams())).isWellFormed());
        QCOMPARE(QDir(scratch).entryList({"*.xml"}, QDir::Files | QDir::Hidden), QStringList{written});
        QVERIFY(site.plugin->staticSidebarHTML(defaultParams()).contains("href=\"files/" + written + "\""));
        QCOMPARE(site.plugin->numberOfExportErrors(), errors);
        if (errors)
            QVERIFY(site.plugin->exportErrorsString().contains(customName));
        QCoreApplication::processEvents();
        QFAlert::setPresenter(previous);
    }

    void largeFeedIsWrittenAsItsWholeText()
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
            add(*site.plugin, id, QStringLiteral("Post %1").arg(id), at(2023, 1 + id % 12, 1 + id % 28), body);
        QVariantMap params = defaultParams();
        params.insert("location", "");

        const QByteArray written = site.exportedFeed(params);
        QVERIFY(written.size() > 3 * 1024 * 1024);
        QVERIFY(!written.contains("http:///"));
        QCOMPARE(written, site.plugin->rss().feedsForEntries(site.plugin->posts(), params, site.plugin->temporaryFilesDirectory()).toUtf8());
        const Feed feed(written);
        QVERIFY(feed.isWellFormed());
        QCOMPARE(feed.values("//item").size(), 392);
    }
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginRSS)
#include "tst_qfblogpluginrss.moc"

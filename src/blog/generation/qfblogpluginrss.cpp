#include "blog/generation/qfblogpluginrss.h"

#include "blog/generation/qfblogpluginarchives.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/model/qfblogfilenames.h"
#include "blog/model/qfblogpodcastoverrideaccessors.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfcalendarformat.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfhtmlexporter.h"
#include "qfkit/text/qfstrings.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>
#include <QStringEncoder>
#include <QUrl>

namespace {

const QString kItemDateFormat = QStringLiteral("%Y-%m-%dT%H:%M:%S%z");
const QString kBuildDateFormat = QStringLiteral("%a, %d %b %Y %H:%M:%S %z");
const QString kChannelImageName = QStringLiteral("podcast_channel.png");
constexpr qsizetype kPartSize = 1 << 20;

QString L(const char *key)
{
    return QFBlogPlugin::localizedString(QString::fromLatin1(key));
}

QString refs(const QString &text)
{
    return QFStrings::convertToNumericalReferences(text);
}

// The bytes URLs may carry as they are: unreserved characters and the
// delimiters of URL syntax.
bool isURLSyntaxByte(char c)
{
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    switch (c) {
    case '-': case '.': case '_': case '~': case ':': case '/': case '?': case '#': case '[': case ']':
    case '@': case '!': case '$': case '&': case '\'': case '(': case ')': case '*': case '+': case ',':
    case ';': case '=':
        return true;
    default:
        return false;
    }
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Escapes what a URL cannot hold (non-ASCII, blanks, quotes …), leaving
// escapes already made alone; nullopt when the result is still no valid URL.
std::optional<QString> percentEscaped(const QString &text)
{
    static const char hex[] = "0123456789ABCDEF";
    const QByteArray utf8 = text.toUtf8();
    QByteArray out;
    out.reserve(utf8.size() + 8);
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        const char c = utf8.at(i);
        if (isURLSyntaxByte(c)
            || (c == '%' && i + 2 < utf8.size() && isHexDigit(utf8.at(i + 1)) && isHexDigit(utf8.at(i + 2)))) {
            out.append(c);
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        out.append('%').append(hex[byte >> 4]).append(hex[byte & 0xF]);
    }
    QString escaped = QString::fromLatin1(out);
    if (!QUrl(escaped, QUrl::StrictMode).isValid())
        return std::nullopt;
    return escaped;
}

// A percent-escaped URL as XML text or attribute value: "&" is the one
// character escaping leaves that XML does not take as it is.
QString xmlURL(const QString &url)
{
    if (!url.contains(QLatin1Char('&')))
        return url;
    QString text = url;
    return text.replace(QLatin1Char('&'), QLatin1String("&amp;"));
}

QString itemDate(const QDateTime &date)
{
    // "+0100" -> "+01:00", as feed readers expect of W3C dates.
    QString text = QFCalendarFormat::format(date, kItemDateFormat);
    if (text.size() >= 2)
        text.insert(text.size() - 2, QLatin1Char(':'));
    return text;
}

QString trimmedOfSlashes(const QString &text)
{
    qsizetype from = 0;
    qsizetype to = text.size();
    while (from < to && text.at(from) == QLatin1Char('/'))
        ++from;
    while (to > from && text.at(to - 1) == QLatin1Char('/'))
        --to;
    return text.mid(from, to - from);
}

// The last component of a path or URL, trailing "/" ignored: "blog" for
// "http://example.com/blog/", "" for "".
QString lastPathComponent(const QString &path)
{
    QString text = path;
    while (text.size() > 1 && text.endsWith(QLatin1Char('/')))
        text.chop(1);
    if (text == QLatin1String("/"))
        return text;
    const qsizetype slash = text.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? text : text.mid(slash + 1);
}

// "folder/name", or the name alone for an empty folder.
QString joinedPath(const QString &folder, const QString &name)
{
    if (folder.isEmpty())
        return name;
    return QFStrings::appendForwardSlash(folder) + name;
}

// Every "//" behind the scheme's "://" (from the start when there is none)
// becomes "/", in one pass from left to right ("///" gives "//"). Counting
// from a fixed index, as "http://" would suggest, cuts the scheme's own
// slashes of every longer scheme ("https:/host").
QString collapsingDoubleSlashes(const QString &text)
{
    // A scheme is a letter, then letters, digits, "+", "-" or ".".
    const auto schemeCharacter = [](QChar c, bool first) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z')
            || (!first && ((c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || c == u'.'));
    };
    const qsizetype scheme = text.indexOf(QLatin1String("://"));
    bool hasScheme = scheme > 0;
    for (qsizetype i = 0; hasScheme && i < scheme; ++i)
        hasScheme = schemeCharacter(text.at(i), i == 0);
    const qsizetype from = hasScheme ? scheme + 3 : 0;
    if (text.size() <= from)
        return text;
    QString result = text.left(from);
    result.reserve(text.size());
    for (qsizetype i = from; i < text.size(); ++i) {
        result.append(text.at(i));
        if (text.at(i) == QLatin1Char('/') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('/'))
            ++i;
    }
    return result;
}

// A CDATA section cannot hold "]]>": the text is split around it.
void appendCData(QString &feed, const QString &content)
{
    feed.append(QLatin1String("<content:encoded><![CDATA["));
    if (content.contains(QLatin1String("]]>")))
        feed.append(QString(content).replace(QLatin1String("]]>"), QLatin1String("]]]]><![CDATA[>")));
    else
        feed.append(content);
    feed.append(QLatin1String("]]></content:encoded>\n"));
}

} // namespace

// What every item of one feed shares, worked out once.
struct QFBlogPluginRSS::Context
{
    const QVariantMap &params;
    QString directory;
    QString baseURL;
    QString filesFolderName;
    QString location;
    QString uniqueID;

    bool summarize = false;
    int summaryCount = 0;
    bool permalinks = false;
    QString imagesFolder;
    QFHTMLExporter exporter;
    const QFLinkResolver *page = nullptr;
};

QFBlogPluginRSS::QFBlogPluginRSS(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

// ---------------------------------------------------------------- the feed

QString QFBlogPluginRSS::feedsForEntries(const QList<QFBlogEntryPtr> &entries, const QVariantMap &params,
                                         const QString &directory)
{
    QString feed;
    buildFeed(entries, params, directory, [&feed](const QString &part) { feed.append(part); });
    return feed;
}

bool QFBlogPluginRSS::exportFeed(const QList<QFBlogEntryPtr> &entries, const QVariantMap &params,
                                 const QString &directory, const QString &path)
{
    QFile file(path);
    // Like every generated page, written as it comes; a file that cannot be
    // written leaves the feed out of this export.
    const bool writable = file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    QStringEncoder encoder(QStringEncoder::Utf8);
    bool encoded = true;
    bool complete = false;
    try {
        complete = buildFeed(entries, params, directory, [&](const QString &part) {
            const QByteArray bytes = encoder.encode(part);
            if (encoder.hasError())
                encoded = false;
            if (writable && encoded)
                file.write(bytes);
        });
    } catch (...) {
        file.remove();
        throw;
    }
    if (!encoded || !complete)
        file.remove();
    if (!encoded)
        throw QFException(QStringLiteral("Invalid RSS"),
                          QStringLiteral("It wasn't possible to encode the RSS Feed as UTF-8"));
    return complete;
}

bool QFBlogPluginRSS::buildFeed(const QList<QFBlogEntryPtr> &entries, const QVariantMap &params,
                                const QString &directory, const std::function<void(const QString &)> &sink)
{
    QFBlogPlugin &plugin = m_plugin;
    const QString baseURL = plugin.permalinks().rssBaseURL(params);
    const QVariant index = params.value(QStringLiteral("index"));
    if (index.typeId() != QMetaType::QString || index.toString().isEmpty())
        throw QFException(QStringLiteral("Base URL Required"), L("BaseURLRequired"));

    Context context{params};
    context.directory = directory;
    context.baseURL = baseURL;
    context.filesFolderName = params.value(QStringLiteral("filesfoldername")).toString();
    context.location = params.value(QStringLiteral("location")).toString();
    context.uniqueID = plugin.uniqueID();
    context.summarize = plugin.summarizeEntryRSS();
    context.summaryCount = plugin.summarizeEntryRSSCount();
    context.permalinks = plugin.generatePermalinkPages();
    if (!context.summarize) {
        context.imagesFolder = plugin.permalinks().absoluteURLToFilesDirectory(params);
        context.exporter = plugin.exporterWithParams(params);
        context.page = plugin.pageFromPageID(context.uniqueID);
    }

    const QVariantMap strings = QFBlogPlugin::rssStringDictionary();
    // The feed goes to the sink in parts of about kPartSize characters, cut
    // between items, so a large blog is never held whole in memory.
    QString feed;
    feed.reserve(kPartSize + kPartSize / 4);
    const auto flush = [&feed, &sink] {
        // An empty location leaves "http:///" behind; the text never spans
        // two parts.
        feed.replace(QLatin1String("http:///"), QLatin1String("http://"));
        sink(feed);
        feed.clear();
    };
    feed.append(strings.value(QStringLiteral("header")).toString());

    QString pageTitle;
    if (const std::optional<QFPage> page = currentPage()) {
        pageTitle = page->title;
    } else if (const QFSiteDocument *document = QFDocumentForPlugin(&plugin)) {
        const QList<QFPage> pages = document->pages();
        if (!pages.isEmpty())
            pageTitle = pages.first().title;
    }

    // ---- channel
    const QString creator = plugin.rssCreator();
    feed.append(QStringLiteral("<title>%1</title>\n").arg(refs(plugin.rssTitle())));

    const QUrl base(baseURL);
    const QUrl pagePath(index.toString());
    const QString pageURL = base.resolved(pagePath).toString(QUrl::FullyEncoded);
    const std::optional<QString> link =
        base.isValid() && pagePath.isValid() ? percentEscaped(pageURL) : std::nullopt;
    if (!link)
        throw QFException(QStringLiteral("Invalid Page Link"),
                          QStringLiteral("The RSS Feed URL '%1' contains invalid characters.").arg(index.toString()));
    feed.append(QStringLiteral("<link>%1</link>\n").arg(xmlURL(*link)));

    feed.append(QStringLiteral("<description>%1</description>\n").arg(refs(plugin.rssDescription())));
    // A language the table does not know is written as stored (a code typed
    // by hand).
    QString language = plugin.languages().value(plugin.rssLanguage()).toString();
    if (language.isEmpty())
        language = plugin.rssLanguage();
    feed.append(QStringLiteral("<dc:language>%1</dc:language>\n").arg(refs(language)));
    feed.append(QStringLiteral("<dc:creator>%1</dc:creator>\n").arg(creator));
    feed.append(QStringLiteral("<dc:rights>%1</dc:rights>\n").arg(refs(plugin.rssCopyright())));
    feed.append(QStringLiteral("<dc:date>%1</dc:date>\n")
                    .arg(entries.isEmpty() || !entries.first() ? QString() : itemDate(entries.first()->date())));
    feed.append(strings.value(QStringLiteral("generator")).toString());
    feed.append(QStringLiteral("<admin:errorReportsTo rdf:resource=\"mailto:%1\" />\n").arg(creator));
    feed.append(strings.value(QStringLiteral("updating")).toString());
    feed.append(QStringLiteral("<lastBuildDate>%1</lastBuildDate>\n")
                    .arg(QFCalendarFormat::format(plugin.lastBuildDate(), kBuildDateFormat)));
    appendCustomTags(plugin.channelCustomTags(), feed);
    if (plugin.enableCustomiTunesTags())
        appendiTunesCustomTags(plugin.channelCustomiTunesTags(), feed, params, kChannelImageName);

    // ---- what the items need, looked up once
    QSet<const QFBlogEntry *> mainPage;
    const bool mainPageOnly = plugin.generateRssEntriesForMainPageOnly();
    if (mainPageOnly) {
        const QList<QFBlogEntryPtr> posts = plugin.mainPagePosts();
        mainPage.reserve(posts.size());
        for (const QFBlogEntryPtr &post : posts)
            mainPage.insert(post.get());
    }

    QHash<int, QString> categoryNames;
    for (const QFBlogCategoryPtr &category : plugin.categories()) {
        if (category && !categoryNames.contains(category->categoryID()))
            categoryNames.insert(category->categoryID(), refs(category->categoryName()));
    }
    const QString subject = QStringLiteral("<dc:subject>%1</dc:subject>\n").arg(refs(pageTitle));

    // Permalink pages off: a post links to its archive page. The archive
    // table is read once into post -> page, skipping the most recent period
    // (its posts are on the main page), as archiveForEntry() answers.
    QHash<const QFBlogEntry *, QString> archiveTargets;
    if (!context.permalinks && plugin.archivePostsEnabled()) {
        const QFBlogPluginArchives &archives = plugin.archives();
        const QDateTime mostRecent = archives.mostRecentPostBucket();
        const QMap<QDateTime, QFBlogPluginArchives::Period> &periods = archives.archives();
        for (auto it = periods.cbegin(); it != periods.cend(); ++it) {
            if (it.key() == mostRecent || it->entries.isEmpty())
                continue;
            const QString target = QStringLiteral("%1/%2").arg(context.filesFolderName,
                                                                archives.archiveFilenameBasename(*it));
            for (const QFBlogEntryPtr &entry : it->entries)
                archiveTargets.insert(entry.get(), target);
        }
    }
    const QString mainPageTarget =
        plugin.designatedFilename().isEmpty() ? QStringLiteral("index") : plugin.designatedFilename();
    const std::optional<QString> extension = params.contains(QStringLiteral("FilenameExt"))
        ? std::optional<QString>(params.value(QStringLiteral("FilenameExt")).toString())
        : std::nullopt;

    const bool fullLocation = context.location.startsWith(QLatin1String("http://"))
        || context.location.startsWith(QLatin1String("https://"));
    QString itemURLPrefix = fullLocation ? QString() : QFStrings::appendForwardSlash(baseURL);
    itemURLPrefix = QFStrings::appendForwardSlash(itemURLPrefix + trimmedOfSlashes(context.location));

    // ---- items
    bool cancelled = false;
    for (const QFBlogEntryPtr &entry : entries) {
        if (plugin.exportCancelled()) {
            cancelled = true;
            break;
        }
        // Drafts are left out before their text is exported, so none of
        // their images is published.
        if (!entry || entry->isDraft())
            continue;
        if (mainPageOnly && !mainPage.contains(entry.get()))
            continue;
        const QString content = itemContent(context, entry);

        feed.append(QLatin1String("<item>\n"));
        feed.append(QStringLiteral("<title>%1</title>\n").arg(refs(entry->title())));
        feed.append(QStringLiteral("<dc:creator>%1</dc:creator>\n").arg(creator));
        bool categorised = false;
        for (int id : entry->categoryIDs()) {
            const auto name = categoryNames.constFind(id);
            if (name == categoryNames.cend())
                continue;
            feed.append(QLatin1String("<category>")).append(*name).append(QLatin1String("</category>\n"));
            categorised = true;
        }
        if (!categorised)
            feed.append(subject);
        feed.append(QStringLiteral("<dc:date>%1</dc:date>\n").arg(itemDate(entry->date())));

        QString target;
        if (context.permalinks) {
            target = joinedPath(context.filesFolderName, plugin.permalinks().permalinkFilename(entry, extension));
        } else {
            const auto archive = archiveTargets.constFind(entry.get());
            target = archive != archiveTargets.cend() ? *archive : mainPageTarget;
        }
        const QString itemURL = itemURLPrefix + target;
        const std::optional<QString> url = percentEscaped(itemURL);
        if (!url)
            throw QFException(QStringLiteral("Invalid Post URL"),
                              QStringLiteral("It was not possible to make a valid RSS post url from '%1'")
                                  .arg(itemURL));
        const QString itemLink = xmlURL(*url) + QStringLiteral("#unique-entry-id-") + QString::number(entry->ID());
        feed.append(QLatin1String("<link>")).append(itemLink).append(QLatin1String("</link>\n"));
        feed.append(QLatin1String("<guid isPermaLink=\"true\">")).append(itemLink).append(QLatin1String("</guid>\n"));
        appendCData(feed, content);
        if (containsPotentialPodcast(entry))
            feed.append(podcastRss(context, entry));
        feed.append(QLatin1String("</item>\n"));
        if (feed.size() >= kPartSize)
            flush();
    }

    feed.append(strings.value(QStringLiteral("footer")).toString());
    flush();
    return !cancelled;
}

QString QFBlogPluginRSS::itemContent(const Context &context, const QFBlogEntryPtr &entry) const
{
    if (context.summarize) {
        // The feed's own sentence count, whatever the post's summary setting.
        if (context.summaryCount == 0)
            return QStringLiteral("(null)");
        const std::optional<QFStyledText> body = entry->entry();
        QString text = body ? body->plainString() : QString();
        text.remove(QChar(0xFFFC));
        int count = context.summaryCount;
        return QFStrings::convertToEntities(QFStrings::summarizeToSentences(text, count));
    }

    std::optional<QFStyledText> text;
    bool summary = false;
    if (context.permalinks && !entry->entrySummaryData().isNull()) {
        text = entry->entrySummary();
        summary = text && text->length() > 0;
    }
    if (!summary)
        text = entry->entry();
    const QString contentTag = QStringLiteral("blog_entry") + QString::number(entry->ID());
    // The same image names as the post's pages use, so the feed rewrites
    // the very files they link (with the same bytes) instead of clobbering
    // a body image with a summary image.
    QString imagePrefix = context.uniqueID + QLatin1Char('_') + contentTag;
    if (summary)
        imagePrefix.append(QStringLiteral("_summary"));
    return context.exporter.exportAttributedString(text ? *text : QFStyledText(), context.directory,
                                                   context.imagesFolder, imagePrefix,
                                                   QLatin1Char('%') + contentTag + QLatin1Char('%'), contentTag,
                                                   context.page, 0, QFHTMLExporter::Publish,
                                                   int(QFLinkStyle::Absolute));
}

// ---------------------------------------------------------------- podcasts

QString QFBlogPluginRSS::podcastRss(const QFBlogEntryPtr &entry, const QVariantMap &params, const QString &directory)
{
    if (!entry)
        return QString();
    Context context{params};
    context.directory = directory;
    context.baseURL = m_plugin.permalinks().rssBaseURL(params);
    context.filesFolderName = params.value(QStringLiteral("filesfoldername")).toString();
    context.location = params.value(QStringLiteral("location")).toString();
    return podcastRss(context, entry);
}

QString QFBlogPluginRSS::podcastRss(const Context &context, const QFBlogEntryPtr &entry)
{
    namespace Override = QFBlogPodcastOverrideAccessors;
    const QVariantMap none;
    const QVariantMap &podcastOverride = Override::override(entry->podcastOverride()) ? entry->podcastOverride() : none;
    const QString path = entry->podcast();
    const QString title = entry->titleOrNoTitle();

    quint64 length = Override::size(podcastOverride);
    if (length == 0) {
        if (path.isEmpty())
            throw QFException(QStringLiteral("Invalid Enclosure"),
                              QStringLiteral("You need to provide a podcast file or a size in the Advanced... panel "
                                             "for entry '%1'").arg(title));
        const QFileInfo file(path); // size() follows symbolic links
        if (!file.isFile() || !file.isReadable() || file.size() <= 0) {
            m_plugin.addExportError(L("CouldNotReadPodcastAlertMessage").arg(path, title));
            return QString();
        }
        length = quint64(file.size());
    }

    QString mimeType = Override::mimetype(podcastOverride).value_or(QString());
    if (mimeType.isEmpty()) {
        if (path.isEmpty())
            throw QFException(QStringLiteral("Invalid Enclosure"),
                              QStringLiteral("You need to provide a podcast file or a mime type in the Advanced... "
                                             "panel for entry '%1'").arg(title));
        const std::optional<QString> type = enclosureMimeType(QFileInfo(path).suffix());
        if (!type)
            throw QFException(QStringLiteral("Invalid Enclosure"),
                              QStringLiteral("Could not determine the mime type of the podcast at '%1' for entry '%2'")
                                  .arg(path, title));
        mimeType = *type;
    }

    QString url = Override::url(podcastOverride).value_or(QString());
    if (url.isEmpty()) {
        // Only a regular file is published: a device or a FIFO would never
        // end copying (or hand out whatever it streams), a folder is no
        // podcast. A symbolic link is followed, as when the size is taken.
        if (!QFileInfo(path).isFile()) {
            m_plugin.addExportError(L("PodcastIsNoRegularFileMessage").arg(path, title));
            return QString();
        }
        const QString fileName = enclosureFileName(entry);
        const QString copy = context.directory + QLatin1Char('/') + fileName;
        if (context.directory.isEmpty() || (QFileInfo::exists(copy) && !QFile::remove(copy))
            || !QFile::copy(path, copy))
            throw QFException(QStringLiteral("Invalid Enclosure"),
                              QStringLiteral("The podcast at '%1' for entry '%2' could not be copied")
                                  .arg(path, title));
        url = QFStrings::appendForwardSlash(context.baseURL);
        // A page at the site's root names the base's own last component as
        // its location; it is not repeated.
        if (!context.location.startsWith(QLatin1String("http"))
            && lastPathComponent(context.location) != lastPathComponent(context.baseURL))
            url.append(context.location);
        url = QFStrings::appendForwardSlash(url);
        url.append(context.filesFolderName).append(QLatin1Char('/')).append(fileName);
        url = collapsingDoubleSlashes(url);
    }
    const std::optional<QString> escaped = percentEscaped(url);
    if (!escaped)
        throw QFException(QStringLiteral("Invalid Podcast URL"),
                          QStringLiteral("It was not possible to make a valid podcast url from '%1' in entry '%2'")
                              .arg(url, title));

    QString rss = QStringLiteral("<enclosure url=\"%1\" length=\"%2\" type=\"%3\"/>\n")
                      .arg(xmlURL(*escaped), QString::number(length), mimeType);
    appendCustomTags(entry->customTags(), rss);
    if (m_plugin.enableCustomiTunesTags())
        appendiTunesCustomTags(entry->itunesTags(), rss, context.params, entry->podcastImageName());
    return rss;
}

bool QFBlogPluginRSS::containsPotentialPodcast(const QFBlogEntryPtr &entry) const
{
    namespace Override = QFBlogPodcastOverrideAccessors;
    if (!entry)
        return false;
    if (!entry->podcast().isEmpty())
        return true;
    const QVariantMap &podcastOverride = entry->podcastOverride();
    return Override::override(podcastOverride)
        && (Override::size(podcastOverride) != 0 || !Override::mimetype(podcastOverride).value_or(QString()).isEmpty()
            || !Override::url(podcastOverride).value_or(QString()).isEmpty());
}

QString QFBlogPluginRSS::enclosureFileName(const QFBlogEntryPtr &entry) const
{
    return QStringLiteral("podcast_%1.%2").arg(QString::number(entry->ID()), QFileInfo(entry->podcast()).suffix());
}

QVariantMap QFBlogPluginRSS::enclosureMimeTypeMap()
{
    static QMutex mutex;
    static QVariantMap table;
    static bool loaded = false;
    QMutexLocker locker(&mutex);
    if (!loaded) {
        const QFBundle bundle = QFBlogPlugin::pluginBundle();
        if (!bundle.isNull()) {
            table = bundle.propertyListResource(QStringLiteral("enclosures")).toMap();
            loaded = true;
        }
    }
    return table;
}

std::optional<QString> QFBlogPluginRSS::enclosureMimeType(const QString &extension)
{
    const QVariant type = enclosureMimeTypeMap().value(extension.toLower());
    if (type.typeId() != QMetaType::QString)
        return std::nullopt;
    return type.toString();
}

// ---------------------------------------------------------------- names and pages

QString QFBlogPluginRSS::rssFeedFilename() const
{
    // A stored name that is no usable file name (from an older document)
    // gives way to the page's own, so the feed file and its links agree.
    QString name = m_plugin.rssCustomFeedFilename();
    if (!QFBlogFileNames::isUsable(name))
        name = m_plugin.uniqueID();
    if (!QFBlogFileNames::isUsable(name))
        name = QStringLiteral("feed");
    if (QFileInfo(name).suffix().isEmpty())
        name.append(QStringLiteral(".xml"));
    return name;
}

QString QFBlogPluginRSS::rssFeedURL() const
{
    return m_plugin.rssCustomFeedURL();
}

void QFBlogPluginRSS::setRssFeedURL(const QString &url)
{
    m_plugin.setRssCustomFeedURL(url);
}

std::optional<QFPage> QFBlogPluginRSS::currentPage() const
{
    const QFSiteDocument *document = QFDocumentForPlugin(&m_plugin);
    if (!document)
        return std::nullopt;
    const QList<QFPage> pages = document->pages();
    for (qsizetype i = 1; i < pages.size(); ++i) {
        if (pages.at(i).plugin == &m_plugin)
            return pages.at(i);
    }
    return std::nullopt;
}

// ---------------------------------------------------------------- custom and iTunes tags

void QFBlogPluginRSS::appendCustomTags(const QList<QFBlogCustomTagPtr> &tags, QString &string) const
{
    for (const QFBlogCustomTagPtr &tag : tags) {
        if (!tag)
            continue;
        const QString name = tag->tag();
        const QString value = tag->value();
        if (name.isEmpty() || value.isEmpty())
            continue;
        const QString attributes = tag->attributes();
        if (attributes.isEmpty())
            string.append(QStringLiteral("<%1>%2</%1>\n").arg(name, value));
        else
            string.append(QStringLiteral("<%1 %2>%3</%1>\n").arg(name, attributes, value));
    }
}

void QFBlogPluginRSS::appendiTunesCustomTags(const QFBlogCustomiTunesTagsPtr &tags, QString &string,
                                            const QVariantMap &params, const QString &imageName) const
{
    if (!tags)
        return;

    const QString author = tags->author();
    if (!author.isEmpty())
        string.append(QStringLiteral("<itunes:author>%1</itunes:author>\n").arg(refs(author)));

    const QString ownerName = tags->ownerName();
    const QString ownerEmail = tags->ownerEmail();
    if (!ownerName.isEmpty() || !ownerEmail.isEmpty()) {
        string.append(QLatin1String("<itunes:owner>\n"));
        if (!ownerName.isEmpty())
            string.append(QStringLiteral("<itunes:name>%1</itunes:name>\n").arg(refs(ownerName)));
        if (!ownerEmail.isEmpty()) {
            const std::optional<QString> email = percentEscaped(ownerEmail);
            if (!email)
                throw QFException(QStringLiteral("Invalid Owner Email"),
                                  QStringLiteral("The podcast owner email '%1' contains invalid characters. It should "
                                                 "be a valid email address.").arg(ownerEmail));
            string.append(QStringLiteral("<itunes:email>%1</itunes:email>\n").arg(xmlURL(*email)));
        }
        string.append(QLatin1String("</itunes:owner>\n"));
    }

    const QString category = tags->category();
    if (!category.isEmpty()) {
        // The parts are taken as typed: "Arts, Design" nests " Design".
        const QStringList names = category.split(QLatin1Char(','));
        if (names.size() > 2)
            throw QFException(QStringLiteral("Invalid Category"),
                              QStringLiteral("The category listing '%1' cannot contain more than two items separated "
                                             "by a ','").arg(category));
        appendiTunesCategoryTags(names, &string);
    }

    const QString keywords = tags->keywords();
    if (!keywords.isEmpty()) {
        const QStringList list = keywords.split(QLatin1Char(','));
        for (const QString &keyword : list) {
            if (refs(keyword) != keyword)
                throw QFException(QStringLiteral("Invalid Keyword"),
                                  QStringLiteral("The keyword '%1' cannot contain any international or "
                                                 "non-alphanumeric characters").arg(keyword));
        }
        string.append(QStringLiteral("<itunes:keywords>%1</itunes:keywords>\n").arg(keywords));
    }

    const QString subtitle = tags->subtitle();
    if (!subtitle.isEmpty())
        string.append(QStringLiteral("<itunes:subtitle>%1</itunes:subtitle>\n").arg(refs(subtitle)));
    const QString summary = tags->summary();
    if (!summary.isEmpty())
        string.append(QStringLiteral("<itunes:summary>%1</itunes:summary>\n").arg(refs(summary)));

    if (!tags->imageData().isEmpty()) {
        const QString baseURL = m_plugin.permalinks().rssBaseURL(params);
        const QString folder = params.value(QStringLiteral("filesfoldername")).toString();
        const QString location = params.value(QStringLiteral("location")).toString();
        // A location beginning with "/" doubles the base's last slash.
        const QString url = collapsingDoubleSlashes(location.isEmpty()
            ? QStringLiteral("%1%2/%3").arg(baseURL, folder, imageName)
            : QStringLiteral("%1%2/%3/%4").arg(baseURL, location, folder, imageName));
        const std::optional<QString> href = percentEscaped(url);
        if (!href)
            throw QFException(QStringLiteral("Invalid Image Link"),
                              QStringLiteral("The podcast channel image URL contains invalid characters."));
        string.append(QStringLiteral("<itunes:image href=\"%1\" />\n").arg(xmlURL(*href)));
    }

    if (tags->isExplicit())
        string.append(QLatin1String("<itunes:explicit>yes</itunes:explicit>\n"));
    if (tags->block())
        string.append(QLatin1String("<itunes:block/>\n"));
}

QString QFBlogPluginRSS::appendiTunesCategoryTags(const QStringList &names, QString *string) const
{
    QString element;
    if (names.size() == 1) {
        if (!names.first().isEmpty())
            element = QStringLiteral("<itunes:category text=\"%1\"/>").arg(refs(names.first()));
    } else if (names.size() >= 2) {
        element = QStringLiteral("<itunes:category text=\"%1\">%2</itunes:category>")
                      .arg(refs(names.first()), appendiTunesCategoryTags(names.mid(1), nullptr));
    }
    if (string && !element.isEmpty())
        string->append(element).append(QLatin1Char('\n'));
    return element;
}

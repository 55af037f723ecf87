#include "blog/generation/qfblogplugincodegeneration.h"

#include "blog/generation/qfblogplugincategories.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/generation/qfblogpluginrss.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfcalendarformat.h"
#include "qfkit/support/qflog.h"
#include "qfkit/support/qfuserdefaults.h"
#include "qfkit/text/qfhtmlexporter.h"
#include "qfkit/text/qfstrings.h"

#include <QMutex>
#include <QMutexLocker>
#include <QUrl>
#include <vector>

namespace {

const QString kHaloScanEndpointKey = QStringLiteral("QFBlogHaloScanEndpoint");
const QString kJSKitEndpointKey = QStringLiteral("QFBlogJSKitEndpoint");
const QString kDisqusEndpointKey = QStringLiteral("QFBlogDisqusEndpoint");
const QString kDisplayCommentCountsKey = QStringLiteral("QFBlogDisplayCommentCounts");
const QString kUnsupportedCachingKey = QStringLiteral("EnableUnsupportedBlogEntryCaching");
const QString kCacheDataAttribute = QStringLiteral("QFBlogEntryCacheData");

const QString kHaloScanEndpoint = QStringLiteral("http://www.haloscan.com/");
const QString kJSKitEndpoint = QStringLiteral("http://js-kit.com/");
const QString kDisqusEndpoint = QStringLiteral("http://disqus.com/");

struct Smiley
{
    QString code;
    QString image;
    QString alt;
};

// The bundle's smiley table, read once per process (a process without a
// bundle yet reads it again once there is one). Codes keep the table's own
// (sorted) order, which the resource relies on.
const std::vector<Smiley> &smileyTable()
{
    static QMutex mutex;
    static std::vector<Smiley> table;
    static bool loaded = false;
    QMutexLocker locker(&mutex);
    if (!loaded) {
        const QFBundle bundle = QFBlogPlugin::pluginBundle();
        if (!bundle.isNull()) {
            loaded = true;
            const QVariantMap smileys = bundle.propertyListResource(QStringLiteral("smileys")).toMap();
            for (auto it = smileys.cbegin(); it != smileys.cend(); ++it) {
                const QVariantMap entry = it.value().toMap();
                if (it.key().isEmpty())
                    continue;
                table.push_back({it.key(), entry.value(QStringLiteral("image")).toString(),
                                 entry.value(QStringLiteral("alttag")).toString()});
            }
        }
    }
    return table;
}

// Whether any smiley code occurs in the text: one pass over it, looking
// closer only where a code's first character stands. Most fragments have
// no smiley, and the substitution proper scans once per code.
bool containsSmiley(const QString &html, const std::vector<Smiley> &table)
{
    QString starts;
    for (const Smiley &smiley : table) {
        if (!starts.contains(smiley.code.front()))
            starts.append(smiley.code.front());
    }
    const QStringView text(html);
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!starts.contains(text[i]))
            continue;
        const QStringView rest = text.mid(i);
        for (const Smiley &smiley : table) {
            if (rest.startsWith(smiley.code))
                return true;
        }
    }
    return false;
}

QString entities(const QString &text)
{
    return text.isEmpty() ? QString(QLatin1String("")) : QFStrings::convertToEntities(text);
}

QString endpoint(const QFUserDefaults *defaults, const QString &key, const QString &fallback)
{
    const QString value = defaults ? defaults->stringForKey(key) : QString();
    return QFStrings::appendForwardSlash(value.isEmpty() ? fallback : value);
}

QString accountFor(const QFBlogPlugin &plugin, const QString &identifier)
{
    const QVariant account = plugin.commentsUserIdentifiers().value(identifier);
    return account.typeId() == QMetaType::QString ? account.toString() : QString(QLatin1String(""));
}

} // namespace

size_t qHash(const QFBlogPluginCodeGeneration::ExportKey &key, size_t seed)
{
    return qHashMulti(seed, key.entry, key.summary, key.imagesFolder, key.depthCorrection);
}

QFBlogPluginCodeGeneration::QFBlogPluginCodeGeneration(QFBlogPlugin &plugin)
    : m_plugin(plugin)
    // Exports made without it must be byte for byte the same; the benchmark
    // checks that by turning it off.
    , m_memoEnabled(qEnvironmentVariableIsEmpty("QUILLFEN_NO_CACHE"))
{
}

QFBlogPluginCodeGeneration::~QFBlogPluginCodeGeneration() = default;

void QFBlogPluginCodeGeneration::registerDefaults(QFUserDefaults &defaults)
{
    defaults.registerDefaults({{kHaloScanEndpointKey, kHaloScanEndpoint},
                               {kJSKitEndpointKey, kJSKitEndpoint},
                               {kDisqusEndpointKey, kDisqusEndpoint}});
}

// ---------------------------------------------------------------- export scope

QFBlogPluginCodeGeneration::Settings QFBlogPluginCodeGeneration::readSettings()
{
    const QFUserDefaults *defaults = QFBlogPlugin::userDefaults();
    Settings settings;
    settings.haloScanEndpoint = endpoint(defaults, kHaloScanEndpointKey, kHaloScanEndpoint);
    settings.jskitEndpoint = endpoint(defaults, kJSKitEndpointKey, kJSKitEndpoint);
    settings.disqusEndpoint = endpoint(defaults, kDisqusEndpointKey, kDisqusEndpoint);
    // Registered as YES; without a defaults object the registered value holds.
    settings.displayCommentCounts = defaults ? defaults->boolForKey(kDisplayCommentCountsKey) : true;
    settings.unsupportedCaching = defaults && defaults->boolForKey(kUnsupportedCachingKey);
    return settings;
}

void QFBlogPluginCodeGeneration::beginExport()
{
    m_exportedTexts.clear();
    m_summaryLengths.clear();
    m_exportSettings = readSettings();
    m_exportDateFormat = m_plugin.userConfiguredDate();
    m_exportScratchFolder = m_plugin.temporaryFilesDirectory();
    m_linkMemos.clear();
    m_dates.clear();
    m_inExport = true;
    m_plugin.permalinks().beginExport();
}

void QFBlogPluginCodeGeneration::endExport()
{
    m_inExport = false;
    m_exportedTexts.clear();
    m_exportedTexts.squeeze();
    m_summaryLengths.clear();
    m_summaryLengths.squeeze();
    m_linkMemos.clear();
    m_dates.clear();
    m_dates.squeeze();
    m_exportScratchFolder.clear();
    m_plugin.permalinks().endExport();
}

QFBlogPluginCodeGeneration::ExportScope::ExportScope(QFBlogPluginCodeGeneration &generation)
    : m_generation(generation)
{
    m_generation.beginExport();
}

QFBlogPluginCodeGeneration::ExportScope::~ExportScope()
{
    m_generation.endExport();
}

QFBlogPluginCodeGeneration::Settings QFBlogPluginCodeGeneration::settings() const
{
    return m_inExport ? m_exportSettings : readSettings();
}

QString QFBlogPluginCodeGeneration::scratchFolder() const
{
    return m_inExport ? m_exportScratchFolder : m_plugin.temporaryFilesDirectory();
}

bool QFBlogPluginCodeGeneration::memoActive() const
{
    // The unsupported cache writes exported text back into the post, so
    // what a later page exports may differ from what was kept.
    return m_inExport && m_memoEnabled && !m_exportSettings.unsupportedCaching;
}

// ---------------------------------------------------------------- the fragment

qsizetype QFBlogPluginCodeGeneration::summaryLength(const QFBlogEntryPtr &entry, std::optional<QFStyledText> *loaded)
{
    if (entry->entrySummaryData().isNull())
        return -1;
    const bool memo = memoActive();
    if (memo) {
        const auto it = m_summaryLengths.constFind(entry.get());
        if (it != m_summaryLengths.cend())
            return *it;
    }
    *loaded = entry->entrySummary();
    const qsizetype length = *loaded ? (*loaded)->length() : -1;
    if (memo)
        m_summaryLengths.insert(entry.get(), length);
    return length;
}

QString QFBlogPluginCodeGeneration::exportedText(const QFBlogEntryPtr &entry, bool summary,
                                                 std::optional<QFStyledText> preloaded,
                                                 const QFHTMLExporter &exporter, int depthCorrection,
                                                 const QVariantMap &params)
{
    // The scratch folder's files end up in the files folder, so a page above
    // that folder names it; pages inside it use bare file names.
    const QString imagesFolder = depthCorrection == 1
        ? QString(QLatin1String(""))
        : params.value(QStringLiteral("filesfoldername")).toString();

    const bool memo = memoActive();
    ExportKey memoKey;
    if (memo) {
        memoKey = ExportKey{entry.get(), summary, imagesFolder, depthCorrection};
        const auto it = m_exportedTexts.constFind(memoKey);
        if (it != m_exportedTexts.cend())
            return *it;
    }

    const QString contentTag = QStringLiteral("blog_entry") + QString::number(entry->ID());
    QString imagePrefix = m_plugin.uniqueID() + QLatin1Char('_') + contentTag;
    if (summary)
        imagePrefix.append(QStringLiteral("_summary"));

    if (!preloaded)
        preloaded = summary ? entry->entrySummary() : entry->entry();
    const QFStyledText text = preloaded ? *preloaded : QFStyledText();
    const QString htmlTemplate = QLatin1Char('%') + contentTag + QLatin1Char('%');
    const QString pageID = m_plugin.uniqueID();

    // The unsupported cache: a list of [key dictionary, HTML] pairs kept in
    // the text's "QFBlogEntryCacheData" attribute.
    const QVariantMap cacheKey{{QStringLiteral("ImageFolder"), imagesFolder},
                               {QStringLiteral("ImagePrefix"), imagePrefix},
                               {QStringLiteral("HTMLTemplate"), htmlTemplate},
                               {QStringLiteral("ContentTag"), contentTag},
                               {QStringLiteral("PageID"), pageID},
                               {QStringLiteral("DepthCorrection"), depthCorrection}};
    QVariantList cache;
    if (!text.isEmpty()) {
        cache = text.attribute(kCacheDataAttribute, 0).toList();
        for (const QVariant &pair : std::as_const(cache)) {
            const QVariantList entryPair = pair.toList();
            if (entryPair.size() == 2 && entryPair.at(0).toMap() == cacheKey)
                return entryPair.at(1).toString();
        }
    }

    QString html = exporter.exportAttributedString(text, scratchFolder(), imagesFolder, imagePrefix, htmlTemplate,
                                                   contentTag, m_plugin.pageFromPageID(pageID), depthCorrection);

    const Settings current = settings();
    if (current.unsupportedCaching && !text.hasAttachments()) {
        // Stored back as the body even when the summary was exported: that
        // is how this unsupported switch has always behaved.
        cache.append(QVariant(QVariantList{cacheKey, html}));
        QFStyledText cached = text;
        cached.addAttribute(kCacheDataAttribute, cache, 0, cached.length());
        entry->setEntry(cached);
    }

    if (memo)
        m_exportedTexts.insert(memoKey, html);
    return html;
}

QString QFBlogPluginCodeGeneration::emitBlogEntryHTML(const QFBlogEntryPtr &entry, const QString &filesDirectory,
                                                      int depthCorrection, bool frontPage, int pageTypeFlag,
                                                      const QVariantMap &params)
{
    if (!entry || entry->isDraft())
        return QString(QLatin1String(""));

    QFBlogPlugin &plugin = m_plugin;
    const QFHTMLExporter exporter = plugin.exporterWithParams(params);
    const QString title = entities(entry->title());
    const bool memo = memoActive();
    LinkMemo *links = memo ? linkMemo(params, depthCorrection) : nullptr;
    QString date;
    if (memo) {
        auto found = m_dates.constFind(entry.get());
        if (found == m_dates.cend())
            found = m_dates.insert(entry.get(), localisedDescription(entry->date(), m_exportDateFormat));
        date = *found;
    } else {
        date = localisedDescription(entry->date(), plugin.userConfiguredDate());
    }
    const QFBlogCategoryPtr primary = entry->categoryObjectForCategories(plugin.categories());

    std::optional<QString> categoryName;
    std::optional<QString> categoryLink;
    if (plugin.categoryPostsEnabled() && pageTypeFlag != CategoryPage && primary) {
        if (!primary->categoryName().isNull())
            categoryName = entities(primary->categoryName());
        categoryLink = plugin.categoriesGroup().categoryLink(primary, params, depthCorrection);
    }
    std::optional<QString> permalink;
    if (plugin.generatePermalinkPages() && pageTypeFlag != PermalinkPage)
        permalink = plugin.permalinks().permalinkLink(entry, params, depthCorrection);

    QString html;
    html.reserve(2048);
    html.append(QStringLiteral("<div id=\"unique-entry-id-"))
        .append(QString::number(entry->ID()))
        .append(QStringLiteral("\" class=\"blog-entry\">"));

    html.append(QStringLiteral("<h1 class=\"blog-entry-title\">"));
    if (permalink)
        html.append(QStringLiteral("<a href=\"")).append(*permalink).append(QStringLiteral("\" class=\"blog-permalink\">"));
    html.append(title);
    if (permalink)
        html.append(QStringLiteral("</a>"));
    html.append(QStringLiteral("</h1>"));

    html.append(QStringLiteral("<div class=\"blog-entry-date\">")).append(date);
    // Whether categories show rests on the primary category alone, while
    // the list names them all.
    if (categoryLink && categoryName) {
        const QString separator = entities(plugin.categorySeparator());
        html.append(plugin.categoryTitle());
        bool first = true;
        for (const QFBlogCategoryPtr &category : entry->categories()) {
            html.append(QStringLiteral("<span class=\"blog-entry-category\">"));
            if (!first)
                html.append(separator);
            first = false;
            const auto anchor = [&] {
                return QStringLiteral("<a href=\"")
                    + plugin.categoriesGroup().categoryLink(category, params, depthCorrection).value_or(QString())
                    + QStringLiteral("\">") + entities(category->categoryName()) + QStringLiteral("</a>");
            };
            if (links) {
                auto found = links->categories.constFind(category->categoryID());
                if (found == links->categories.cend())
                    found = links->categories.insert(category->categoryID(), anchor());
                html.append(*found);
            } else {
                html.append(anchor());
            }
            html.append(QStringLiteral("</span>"));
        }
    }
    html.append(QStringLiteral("</div>"));

    std::optional<QFStyledText> summary;
    const qsizetype summaryLength = this->summaryLength(entry, &summary);

    if (pageTypeFlag == PermalinkPage && plugin.prependSummaryToPost() && summaryLength >= 0) {
        html.append(QStringLiteral("<div class=\"blog-entry-summary\">"))
            .append(exportedText(entry, true, summary, exporter, depthCorrection, params))
            .append(QStringLiteral("</div>"));
    }

    html.append(QStringLiteral("<div class=\"blog-entry-body\">"));
    const bool readMore = plugin.generatePermalinkPages()
        && (pageTypeFlag == ArchivePage || pageTypeFlag == CategoryPage || pageTypeFlag == TagPage || frontPage)
        && summaryLength > 0;
    if (readMore)
        html.append(exportedText(entry, true, summary, exporter, depthCorrection, params));
    else
        html.append(exportedText(entry, false, std::nullopt, exporter, depthCorrection, params));

    if (readMore) {
        html.append(QStringLiteral("<span class=\"blog-read-more\"><a href=\""))
            .append(permalink.value_or(QString()))
            .append(QStringLiteral("\">"))
            .append(plugin.readMoreLinkName())
            .append(QStringLiteral("</a></span>"));
    }
    if (plugin.tagsEnabled()) {
        if (links) {
            auto found = links->tagLines.constFind(entry.get());
            if (found == links->tagLines.cend())
                found = links->tagLines.insert(entry.get(), tagsText(entry, params, depthCorrection, links));
            html.append(*found);
        } else {
            html.append(tagsText(entry, params, depthCorrection, nullptr));
        }
    }
    appendComments(html, entry, title, permalink, pageTypeFlag, params);
    html.append(QStringLiteral("</div></div>"));

    substituteSmileys(html, filesDirectory, depthCorrection);
    return html;
}

QString QFBlogPluginCodeGeneration::emitTagsTextForBlogEntry(const QFBlogEntryPtr &entry, const QVariantMap &params,
                                                             int depthCorrection) const
{
    return tagsText(entry, params, depthCorrection, nullptr);
}

QString QFBlogPluginCodeGeneration::tagsText(const QFBlogEntryPtr &entry, const QVariantMap &params,
                                             int depthCorrection, LinkMemo *memo) const
{
    if (!entry || !entry->tags() || entry->tags()->isEmpty())
        return QString(QLatin1String(""));
    const QString separator = QFStrings::stringEscapedForHTMLElementText(m_plugin.tagsSeparator());
    QString html;
    html.reserve(256);
    html.append(QStringLiteral("<p class=\"blog-entry-tags\">"))
        .append(QFStrings::stringEscapedForHTMLElementText(m_plugin.tagsTitle()));
    bool first = true;
    for (const QFBlogTag &tag : *entry->tags()) {
        if (!first)
            html.append(separator);
        first = false;
        const auto anchor = [&] {
            return QStringLiteral("<a href=\"") + tag.hrefWithParams(params, depthCorrection)
                + QStringLiteral("\" title=\"") + QFStrings::stringEscapedForHTMLAttribute(tag.tagName())
                + QStringLiteral("\" rel=\"tag\">") + QFStrings::stringEscapedForHTMLElementText(tag.tagName())
                + QStringLiteral("</a>");
        };
        if (memo) {
            auto found = memo->tags.constFind(tag.tagName());
            if (found == memo->tags.cend())
                found = memo->tags.insert(tag.tagName(), anchor());
            html.append(*found);
        } else {
            html.append(anchor());
        }
    }
    html.append(QStringLiteral("</p>"));
    return html;
}

// ---------------------------------------------------------------- comments

void QFBlogPluginCodeGeneration::appendComments(QString &html, const QFBlogEntryPtr &entry, const QString &title,
                                                const std::optional<QString> &permalink, int pageTypeFlag,
                                                const QVariantMap &params) const
{
    const QString id = QString::number(entry->ID());
    const QString uniqueID = m_plugin.uniqueID();
    const bool inlineHere = pageTypeFlag == PermalinkPage && m_plugin.enableCommentsInline();

    if (useHaloScanComments()) {
        if (inlineHere) {
            html.append(QStringLiteral("<div class=\"blog-entry-comments-inline\"><script type=\"text/javascript\" src=\""))
                .append(settings().haloScanEndpoint)
                .append(QStringLiteral("comments/"))
                .append(haloScanUsername())
                .append(QStringLiteral("/qf_unique_entry_id_"))
                .append(id)
                .append(QLatin1Char('_'))
                .append(uniqueID)
                .append(QStringLiteral("/?m=1\"></script></div>"));
        } else if (m_plugin.enableComments()) {
            // The trackback link joins ID and page with "=", its count with
            // "_": the service has always been called that way.
            html.append(QStringLiteral("<div class=\"blog-entry-comments\">"))
                .append(QStringLiteral("<a class=\"blog-comment-link\" href=\"javascript:HaloScan('qf_unique_entry_id_%1_%2');\">"
                                       "<script type=\"text/javascript\">postCount('qf_unique_entry_id_%1_%2');</script></a>")
                            .arg(id, uniqueID))
                .append(m_plugin.commentSeparator())
                .append(QStringLiteral("<a class=\"blog-trackback-link\" href=\"javascript:HaloScanTB('qf_unique_entry_id_%1=%2');\">"
                                       "<script type=\"text/javascript\">postCountTB('qf_unique_entry_id_%1_%2'); </script></a>")
                            .arg(id, uniqueID))
                .append(QStringLiteral("</div>"));
        }
    } else if (useJSKitComments()) {
        if (!inlineHere && !m_plugin.enableComments())
            return;
        QString path = params.value(QStringLiteral("location")).toString();
        if (path.startsWith(QLatin1String("http://")))
            path = QUrl(path).path();
        path = QFStrings::appendForwardSlash(path);
        if (path.startsWith(QLatin1Char('/')))
            path.remove(0, 1);
        const QFSiteDocument *document = QFDocumentForPlugin(&m_plugin);
        const QString siteBaseURL = document ? document->siteBaseURL() : QString();
        if (siteBaseURL.endsWith(path))
            path.clear();
        const QUrl url(siteBaseURL + path + m_plugin.permalinks().permalinkLink(entry, params, 0).value_or(QString()));
        const QString urlPath = url.path();
        const QString absolute = url.toString(QUrl::FullyEncoded);
        const auto comments = [&](const char *label) {
            return QStringLiteral("<div class=\"js-kit-comments\" path=\"%1\" permalink=\"%2\" label=\"%3\" title=\"%4\"></div>")
                .arg(urlPath, absolute, QString::fromLatin1(label), title);
        };
        if (inlineHere) {
            html.append(QStringLiteral("<div class=\"blog-entry-comments-inline\">"))
                .append(comments("Leave Comment"))
                .append(QStringLiteral("</div>"));
        } else {
            html.append(QStringLiteral("<div class=\"blog-entry-comments\">"))
                .append(QStringLiteral("<a class=\"blog-comment-link\" href=\"#\" onclick=\"toggle('qf_unique_entry_id_%1_%2');return false;\">"
                                       "<span class=\"js-kit-comments-count\" path=\"%3\" permalink=\"%4\">0</span> Comments</a>")
                            .arg(id, uniqueID, urlPath, absolute))
                .append(QStringLiteral("<div id=\"qf_unique_entry_id_%1_%2\" style=\"display:none\">").arg(id, uniqueID))
                .append(comments("Leave a Comment"))
                .append(QStringLiteral("</div></div>"));
        }
    } else if (useDisqusComments()) {
        html.append(QStringLiteral("<div class=\"blog-entry-comments\">"))
            .append(permalink ? disqusModifiedPermalinkForLink(*permalink) : disqusEmbedCodeForPost(entry))
            .append(QStringLiteral("</div>"));
    }
}

bool QFBlogPluginCodeGeneration::useHaloScanComments() const
{
    return m_plugin.commentsSelectedProviderTag() == 1 && !haloScanUsername().isEmpty();
}

bool QFBlogPluginCodeGeneration::useJSKitComments() const
{
    return m_plugin.commentsSelectedProviderTag() == 2;
}

bool QFBlogPluginCodeGeneration::useDisqusComments() const
{
    return m_plugin.commentsSelectedProviderTag() == 3 && !disqusSiteName().isEmpty();
}

QString QFBlogPluginCodeGeneration::haloScanUsername() const
{
    return accountFor(m_plugin, QStringLiteral("haloscan"));
}

QString QFBlogPluginCodeGeneration::disqusSiteName() const
{
    return accountFor(m_plugin, QStringLiteral("disqus"));
}

QString QFBlogPluginCodeGeneration::haloScanLoadCommand() const
{
    const QString account = haloScanUsername();
    if (account.isEmpty())
        return QString(QLatin1String(""));
    return QStringLiteral("<script type=\"text/javascript\" src=\"%1load/%2\"></script>")
        .arg(settings().haloScanEndpoint, account);
}

void QFBlogPluginCodeGeneration::appendHaloScanLoadCommand(QString &html) const
{
    html.append(haloScanLoadCommand());
}

QString QFBlogPluginCodeGeneration::jskitLoadCommand() const
{
    if (!m_plugin.enableComments())
        return QString(QLatin1String(""));
    const QString service = settings().jskitEndpoint;
    return QStringLiteral("<script type=\"text/javascript\">function toggle(id) { var state = "
                          "document.getElementById(id).style.display;  if (state == 'inline') {  \t"
                          "document.getElementById(id).style.display = 'none';  } else {  \t"
                          "document.getElementById(id).style.display = 'inline';  } return false; } </script>")
        + QStringLiteral("<div style=\"display:none\"><div class=\"js-kit-comments\" path=\"/null\"></div>"
                         "<script type=\"text/javascript\" src=\"%1comments.js\"></script>"
                         "<script type=\"text/javascript\" src=\"%1comments-count.js\"></script></div>")
              .arg(service);
}

void QFBlogPluginCodeGeneration::appendJSKitLoadCommand(QString &html) const
{
    html.append(jskitLoadCommand());
}

QString QFBlogPluginCodeGeneration::disqusEmbedCodeForPost(const QFBlogEntryPtr &entry) const
{
    const QString site = disqusSiteName();
    if (!entry || site.isEmpty())
        return QString(QLatin1String(""));
    const QString guid = entry->GUID();
    if (guid.isEmpty())
        return QString(QLatin1String(""));
    const QString forum = settings().disqusEndpoint + QStringLiteral("forums/") + site;
    return QStringLiteral("<div id=\"disqus_thread\">\n"
                          "<script type=\"text/javascript\">var disqus_identifier = \"%1\";</script>\n"
                          "<script type=\"text/javascript\" src=\"%2/embed.js\"></script>\n"
                          "<noscript><p><a href=\"%2/?url=ref\">View the discussion thread.</a></p></noscript>\n"
                          "</div>")
        .arg(guid, forum);
}

QString QFBlogPluginCodeGeneration::disqusModifiedPermalinkForLink(const QString &link) const
{
    if (!settings().displayCommentCounts)
        return QString(QLatin1String(""));
    return QStringLiteral("<a class=\"blog-comment-link\" href=\"%1#disqus_thread\">Comments</a>").arg(link);
}

QString QFBlogPluginCodeGeneration::disqusCommentCountingJavascript() const
{
    const Settings current = settings();
    if (!current.displayCommentCounts)
        return QString(QLatin1String(""));
    return QStringLiteral("<script type=\"text/javascript\">\n"
                          "//<![CDATA[\n"
                          "(function() {\n"
                          "\tvar links = document.getElementsByTagName('a');\n"
                          "\tvar query = '?';\n"
                          "\tfor (var i = 0; i < links.length; i++) {\n"
                          "\t\tif (links[i].href.indexOf('#disqus_thread') >= 0) {\n"
                          "\t\t\tquery += 'url' + i + '=' + encodeURIComponent(links[i].href) + '&';\n"
                          "\t\t}\n"
                          "\t}\n"
                          "\tdocument.write('<script charset=\"utf-8\" type=\"text/javascript\" src=\"%1forums/%2/get_num_replies.js' + query + '\"></' + 'script>');\n"
                          "})();\n"
                          "//]]>\n"
                          "</script>")
        .arg(current.disqusEndpoint, disqusSiteName());
}

// ---------------------------------------------------------------- feed link

QString QFBlogPluginCodeGeneration::contentHeaders(const QVariantMap &params) const
{
    if (!m_plugin.enableRSS())
        return QString(QLatin1String(""));
    const QString href = m_plugin.permalinks().absoluteURLToFilesDirectory(params) + m_plugin.rss().rssFeedFilename();
    return QStringLiteral("<link rel=\"alternate\" type=\"application/rss+xml\" title=\"%1\" href=\"%2\" />")
        .arg(entities(m_plugin.rssTitle()), href);
}

QString QFBlogPluginCodeGeneration::pageContentHeaders(const QVariantMap &params) const
{
    if (!m_plugin.enableCustomRSSURL())
        return contentHeaders(params);
    return QStringLiteral("<link rel=\"alternate\" type=\"application/rss+xml\" title=\"%1\" href=\"%2\" />")
        .arg(entities(m_plugin.rssTitle()), m_plugin.rssCustomFeedURL());
}

// ---------------------------------------------------------------- smileys and dates

QString &QFBlogPluginCodeGeneration::substituteSmileys(QString &html, const QString &filesDirectory,
                                                       int depthCorrection) const
{
    if (!m_plugin.enableSmileys())
        return html;
    const std::vector<Smiley> &table = smileyTable();
    if (!containsSmiley(html, table))
        return html;
    for (const Smiley &smiley : table) {
        if (html.contains(smiley.code))
            html.replace(smiley.code, smileyLink(smiley.image, smiley.alt, filesDirectory, depthCorrection));
    }
    return html;
}

QString QFBlogPluginCodeGeneration::smileyLink(const QString &image, const QString &alt,
                                               const QString &filesDirectory, int depthCorrection) const
{
    if (depthCorrection > 1) {
        qfLog(QStringLiteral("Unexpected value of depthCorrection (%1) - using 1").arg(depthCorrection));
        depthCorrection = 1;
    }
    QString folder = filesDirectory;
    if (depthCorrection == 0 && folder.isEmpty())
        folder = QStringLiteral("files");
    if (folder.isEmpty())
        return QStringLiteral("<img class=\"blog-image-smiley\" src=\"%1.png\" width=\"21\" height=\"21\" alt=\"%2\" border=\"0\" />")
            .arg(image, alt);
    return QStringLiteral("<img class=\"blog-image-smiley\" src=\"%1/%2.png\" width=\"21\" height=\"21\" alt=\"%3\" border=\"0\" />")
        .arg(folder, image, alt);
}

QFBlogPluginCodeGeneration::LinkMemo *QFBlogPluginCodeGeneration::linkMemo(const QVariantMap &params,
                                                                          int depthCorrection)
{
    // An export passes the same few parameter maps down to every fragment,
    // so sharing is the usual answer and comparing the rare one.
    for (const std::unique_ptr<LinkMemo> &memo : m_linkMemos) {
        if (memo->depthCorrection == depthCorrection && memo->params.isSharedWith(params))
            return memo.get();
    }
    for (const std::unique_ptr<LinkMemo> &memo : m_linkMemos) {
        if (memo->depthCorrection == depthCorrection && memo->params == params) {
            memo->params = params;
            return memo.get();
        }
    }
    m_linkMemos.push_back(std::make_unique<LinkMemo>(LinkMemo{params, depthCorrection, {}, {}, {}}));
    return m_linkMemos.back().get();
}

QString QFBlogPluginCodeGeneration::localisedDescription(const QDateTime &date, const QString &format) const
{
    return QFCalendarFormat::format(date, format, m_plugin.localizeCheckBoxState() ? QLocale::system() : QLocale::c());
}

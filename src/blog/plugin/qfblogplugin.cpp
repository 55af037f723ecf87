#include "qfblogplugin.h"

#include "blog/generation/qfblogarchiver.h"
#include "blog/generation/qfblogpluginarchives.h"
#include "blog/generation/qfblogplugincategories.h"
#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/generation/qfblogplugininternallinks.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/generation/qfblogpluginping.h"
#include "blog/generation/qfblogpluginrss.h"
#include "blog/generation/qfblogpluginsandwich.h"
#include "blog/generation/qfblogplugintagsemission.h"
#include "blog/model/qfblogfilenames.h"
#include "blog/model/qfblogmodel.h"
#include "blog/model/qfblognotifier.h"
#include "blog/model/qfcollections.h"
#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogpluginindexes.h"
#include "blog/plugin/qfblogsidebarcontrol.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"
#include "qfkit/support/qfuserdefaults.h"
#include "qfkit/text/qfstrings.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>
#include <QUuid>
#include <algorithm>
#include <exception>
#include <limits>
#include <thread>

namespace {

const QString kScratchFolderName = QStringLiteral("QFBlogPlugin");
const QString kSidebarFileName = QStringLiteral("sidebar-content.html");

struct ClassState
{
    QMutex mutex;
    QFBundle bundle;
    bool bundleSet = false;
    QVariantMap rssStrings;
    QFUserDefaults *defaults = nullptr;
    std::function<QFBlogUserIdentity()> identityProvider;
};

ClassState &classState()
{
    static ClassState state;
    return state;
}

// A job on a thread of its own; join() hands back its answer or rethrows
// what it threw. Joined when it goes, however the export ended.
class BackgroundJob final
{
public:
    explicit BackgroundJob(std::function<bool()> job)
        : m_thread([this, job = std::move(job)] {
            try {
                m_answer = job();
            } catch (...) {
                m_error = std::current_exception();
            }
        })
    {
    }
    ~BackgroundJob()
    {
        if (m_thread.joinable())
            m_thread.join();
    }
    Q_DISABLE_COPY_MOVE(BackgroundJob)

    bool join()
    {
        m_thread.join();
        if (m_error)
            std::rethrow_exception(std::exchange(m_error, nullptr));
        return m_answer;
    }

private:
    bool m_answer = false;
    std::exception_ptr m_error;
    std::thread m_thread; // last: starts once the others are made
};

QFBlogUserIdentity currentUserIdentity()
{
    ClassState &state = classState();
    std::function<QFBlogUserIdentity()> provider;
    {
        QMutexLocker locker(&state.mutex);
        provider = state.identityProvider;
    }
    return provider ? provider() : QFBlogUserIdentity::fromSystem();
}

// Null and empty are different values: a setting that was never given is not
// the same as one set to "".
bool sameString(const QString &a, const QString &b)
{
    return a.isNull() == b.isNull() && a == b;
}

bool boolParameter(const QVariantMap &params, const QString &key)
{
    return QFStrings::boolValue(params.value(key).toString());
}

QString L(const char *key)
{
    return QFBlogPlugin::localizedString(QString::fromLatin1(key));
}

} // namespace

// ---------------------------------------------------------------- class level

void QFBlogPlugin::load(QFUserDefaults &defaults)
{
    defaults.registerDefaults({{QStringLiteral("QFBlogSwitchHaloScanToJSKitOnNoUserName"), false}});
    QMutexLocker locker(&classState().mutex);
    classState().defaults = &defaults;
}

void QFBlogPlugin::initialize(QFUserDefaults &defaults)
{
    defaults.registerDefaults({{QStringLiteral("QFBlogDisplayCommentCounts"), true},
                               {QStringLiteral("EnableUnsupportedBlogEntryCaching"), false}});
    QFBlogPluginCodeGeneration::registerDefaults(defaults);
    QFBlogSidebarControl::registerDefaults(defaults);
    QMutexLocker locker(&classState().mutex);
    classState().defaults = &defaults;
}

QFUserDefaults *QFBlogPlugin::userDefaults()
{
    QMutexLocker locker(&classState().mutex);
    return classState().defaults;
}

bool QFBlogPlugin::initializeClass(const QFBundle &bundle)
{
    ClassState &state = classState();
    {
        QMutexLocker locker(&state.mutex);
        if (state.bundleSet)
            return false;
        state.bundle = bundle;
        state.bundleSet = true;
    }
    QFBlogModel::registerCodingClasses();
    QFBlogPluginSandwich::registerSandwichFactory();
    const QVariantMap rss = bundle.propertyListResource(QStringLiteral("rss")).toMap();
    QMutexLocker locker(&state.mutex);
    state.rssStrings = rss;
    return true;
}

QFBundle QFBlogPlugin::pluginBundle()
{
    QMutexLocker locker(&classState().mutex);
    return classState().bundle;
}

QString QFBlogPlugin::localizedString(const QString &key)
{
    return pluginBundle().localizedString(key);
}

QVariantMap QFBlogPlugin::rssStringDictionary()
{
    QMutexLocker locker(&classState().mutex);
    return classState().rssStrings;
}

std::vector<std::unique_ptr<QFBlogPlugin>> QFBlogPlugin::pluginsAvailable()
{
    std::vector<std::unique_ptr<QFBlogPlugin>> plugins;
    plugins.push_back(std::make_unique<QFBlogPlugin>());
    return plugins;
}

QStringList QFBlogPlugin::extraFilesNeededInExportFolder()
{
    static const char *const names[] = {"rss.gif",        "smiley_smile.png",       "smiley_wink.png",
                                        "smiley_embarrassed.png", "smiley_laugh.png", "smiley_gasp.png",
                                        "smiley_footinmouth.png", "smiley_angry.png", "smiley_sad.png"};
    const QString resources = pluginBundle().resourcePath();
    QStringList paths;
    for (const char *name : names)
        paths.append(QStringLiteral("%1/%2").arg(resources, QString::fromLatin1(name)));
    return paths;
}

QString QFBlogPlugin::pluginIdentifier()
{
    return QStringLiteral("Blog");
}

QString QFBlogPlugin::pluginName()
{
    return L("PluginName");
}

QString QFBlogPlugin::pluginDescription()
{
    return L("PluginDescription");
}

QImage QFBlogPlugin::pluginIcon()
{
    const QString path = pluginBundle().pathForResource(QStringLiteral("Icon_Blog_Large"), QStringLiteral("png"));
    return path.isEmpty() ? QImage() : QImage(path);
}

QString QFBlogPlugin::pluginAuthor()
{
    return QStringLiteral("Quillfen");
}

void QFBlogPlugin::setUserIdentityProvider(std::function<QFBlogUserIdentity()> provider)
{
    QMutexLocker locker(&classState().mutex);
    classState().identityProvider = std::move(provider);
}

QString QFBlogPlugin::placeholderEmailAddress()
{
    return QStringLiteral("you@example.com");
}

QString QFBlogPlugin::placeholderSiteURL()
{
    return QStringLiteral("http://www.example.com/");
}

QVariantList QFBlogPlugin::defaultPingSettings()
{
    return QFBlogPluginPing::defaultPingSettings();
}

std::optional<QString> QFBlogPlugin::identifierForCommentsProviderTag(int tag)
{
    switch (tag) {
    case 0:
        return QStringLiteral("none");
    case 1:
        return QStringLiteral("haloscan");
    case 2:
        return QStringLiteral("js-kit");
    case 3:
        return QStringLiteral("disqus");
    default:
        return std::nullopt;
    }
}

QString QFBlogPlugin::shortName()
{
    return QStringLiteral("blog");
}

QStringList QFBlogPlugin::tableKeys()
{
    return {QStringLiteral("Blog Entry Sort Descriptors"), QStringLiteral("Categories Sort Descriptors"),
            QStringLiteral("Tags Sort Descriptors"),       QStringLiteral("RSS Tags Sort Descriptors"),
            QStringLiteral("Ping Directories Sort Descriptors"),
            QStringLiteral("Podcast Tags Sort Descriptors")};
}

// ---------------------------------------------------------------- init

QFBlogPlugin::QFBlogPlugin(QObject *parent)
    : QFTextViewPluginClient(parent)
    , m_archives(std::make_unique<QFBlogPluginArchives>(*this))
    , m_codeGeneration(std::make_unique<QFBlogPluginCodeGeneration>(*this))
    , m_permalinks(std::make_unique<QFBlogPluginPermalinks>(*this))
    , m_internalLinks(std::make_unique<QFBlogPluginInternalLinks>(*this))
    , m_rss(std::make_unique<QFBlogPluginRSS>(*this))
    , m_categories(std::make_unique<QFBlogPluginCategories>(*this))
    , m_tagsEmission(std::make_unique<QFBlogPluginTagsEmission>(*this))
    , m_indexes(std::make_unique<QFBlogPluginIndexes>(*this))
    , m_sandwich(std::make_unique<QFBlogPluginSandwich>(*this))
    , m_ping(std::make_unique<QFBlogPluginPing>(*this))
    , m_blogEntryArrayController(std::make_unique<QFBlogEntryArrayController>(*this))
{
    pluginIsInitialisingFlag = true;

    m_commentsSelectedProviderTag = 0;
    m_commentsUserIdentifiers.clear();
    _archivePostsPeriod = 0;
    _archivePostsEnabled = _archivePostsShowGaps = _categoryPostsEnabled = _exportCategoriesAlphabetically = true;
    _blogEntries.clear();

    const QFBundle bundle = pluginBundle();
    _languages = bundle.propertyListResource(QStringLiteral("languages")).toMap();
    _dates = bundle.propertyListResource(QStringLiteral("dates")).toMap();

    // The editor refreshes its selection-dependent controls itself when it
    // shows the blog; there is no view to refresh here.

    const QFBlogUserIdentity user = currentUserIdentity();
    setRssCreator(user.emailAddress.isEmpty() ? placeholderEmailAddress() : user.emailAddress);

    setRssHomepage(placeholderSiteURL());
    setRssTitle(L("MyRSSFeed"));
    setRssDescription(L("HotNews"));
    setRssFeedLinkName(L("RSSFeedLinkName"));
    setRssCommentsLinkName(L("RSSCommentLinkName"));

    setRssCopyright(QStringLiteral("%1 %2 %3").arg(L("Copyright")).arg(now().date().year()).arg(user.fullName));
    setRssLanguage(L("defaultLanguage"));
    setLastID(0);

    setDateSeperator1(QStringLiteral("/"));
    setDateSeperator2(QStringLiteral("/"));
    setDateSeperator3(QStringLiteral(" "));
    setDateSeperator4(QStringLiteral(" "));
    setDefaultDateModifiers();

    setSummarizeEntryRSSCount(1);
    m_indexes->initialiseSearchIndexes();
    setChannelCustomTags({});
    setChannelCustomiTunesTags(QFBlogCustomiTunesTags::tags());
    setCategoryTitle(L("DefaultCategoryTitle"));
    setCategorySeparator(L("DefaultCategorySeparator"));
    setCommentSeparator(L("DefaultCommentSeparator"));
    setTagsEnabled(true);
    setTagCloudEnabled(true);
    setTagsTitle(L("DefaultTagsTitle"));
    setTagsSeparator(L("DefaultTagsSeparator"));

    QList<QFBlogCategoryPtr> categories;
    categories.append(QFBlogCategory::noneCategoryWithBlogPlugin(this));
    const QVariantList names = bundle.propertyListResource(QStringLiteral("categories")).toList();
    for (const QVariant &name : names) {
        if (name.typeId() == QMetaType::QString)
            categories.append(QFBlogCategory::categoryWithName(name.toString(), this));
    }
    for (const QFBlogCategoryPtr &category : std::as_const(categories))
        attachCategory(category);
    setCategories(categories);
    fixUpCategoryIDs();

    setGeneratePermalinkPages(true);
    setEnablePing(false);
    setPingSettings(defaultPingSettings());
    cachedKnownTags.removeAllObjects();
    const QDateTime built = now();
    setLastBuildDate(built);
    setLastSavedBuildDate(built);
    _usePHPForSidebarContent = false;

    pluginIsInitialisingFlag = false;
    connect(QFBlogNotifier::instance(), &QFBlogNotifier::customTagDidChange, this,
            &QFBlogPlugin::blogCustomTagDidChange);
}

QFBlogPlugin::~QFBlogPlugin()
{
    // Posts and categories may be held elsewhere (an undo command, the
    // clipboard); they must not reach back into a plugin that is gone.
    // Undo commands of the blog hold the plugin weakly and do nothing once it
    // is gone, so the document's undo stack needs no cleaning here.
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries))
        entry->setBlogPlugin(nullptr);
    for (const QFBlogCategoryPtr &category : std::as_const(_categories))
        category->setBlogPlugin(nullptr);
    m_indexes->releaseSearchIndexes();
}

void QFBlogPlugin::attachCategory(const QFBlogCategoryPtr &category)
{
    category->setBlogPlugin(this);
    category->addCategoryObserver(this);
}

// ---------------------------------------------------------------- host

void QFBlogPlugin::setDocument(QFSiteDocument *document)
{
    QFTextViewPluginClient::setDocument(document);
    const QString path = documentPath();
    if (path.isEmpty())
        return;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries))
        entry->updatePodcastReferenceRelativeTo(path);
}

void QFBlogPlugin::documentWasLoaded()
{
    setPluginIsInitialising(true);
    const QString path = documentPath();
    bool changed = false;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries)) {
        const QString before = entry->podcast();
        if (before.isEmpty() || QFileInfo::exists(before) || !entry->podcastReference())
            continue;
        // The media moved with the document: find the file through the
        // reference kept relative to the document.
        const QString resolved = entry->podcastReference()->resolveRelativeTo(path);
        if (!resolved.isEmpty() && resolved != before) {
            entry->setPodcast(resolved);
            changed = true;
        }
    }
    _postIDWasChanged = _postIDWasChanged || changed;
    // Deliberately while still initialising: a load-time repair is not an
    // edit, and lastBuildDate keeps its stored value.
    if (_postIDWasChanged)
        broadcastPluginChanged();
    emit blogEntriesAboutToChange();
    emit blogEntriesChanged();
    setPluginIsInitialising(false);
}

QVariantMap QFBlogPlugin::pageSettings() const
{
    QVariantMap settings{
        {QStringLiteral("commentsUserIdentifiers"), m_commentsUserIdentifiers},
        {QStringLiteral("commentsSelectedProviderTag"), m_commentsSelectedProviderTag},
        {QStringLiteral("exportCategoriesAlphabetically"), _exportCategoriesAlphabetically},
    };
    // An unset sidebar follows the default list, which may change between
    // versions; only a list the user chose is kept.
    if (_sidebarControl)
        settings.insert(QStringLiteral("sidebarControl"), *_sidebarControl);
    if (!_sidebarSeparator.isNull())
        settings.insert(QStringLiteral("sidebarSeparator"), _sidebarSeparator);
    return settings;
}

void QFBlogPlugin::restorePageSettings(const QVariantMap &settings)
{
    const bool wasInitialising = pluginIsInitialising();
    setPluginIsInitialising(true);
    // Each setting is taken only when it has its type, so damaged settings
    // leave the defaults the record gave.
    const QVariant identifiers = settings.value(QStringLiteral("commentsUserIdentifiers"));
    if (identifiers.typeId() == QMetaType::QVariantMap)
        setCommentsUserIdentifiers(identifiers.toMap());
    const QVariant provider = settings.value(QStringLiteral("commentsSelectedProviderTag"));
    if (provider.typeId() == QMetaType::LongLong || provider.typeId() == QMetaType::Int)
        setCommentsSelectedProviderTag(provider.toInt());
    const QVariant alphabetical = settings.value(QStringLiteral("exportCategoriesAlphabetically"));
    if (alphabetical.typeId() == QMetaType::Bool)
        setExportCategoriesAlphabetically(alphabetical.toBool());
    const QVariant sidebar = settings.value(QStringLiteral("sidebarControl"));
    if (sidebar.typeId() == QMetaType::QVariantList)
        setSidebarControl(sidebar.toList());
    const QVariant separator = settings.value(QStringLiteral("sidebarSeparator"));
    if (separator.typeId() == QMetaType::QString)
        setSidebarSeparator(separator.toString());
    setPluginIsInitialising(wasInitialising);
}

std::optional<QString> QFBlogPlugin::overrideFileExtension() const
{
    if (_usePHPForSidebarContent)
        return QStringLiteral("php");
    return std::nullopt;
}

void QFBlogPlugin::broadcastPluginChanged()
{
    if (pluginIsInitialisingFlag)
        return;
    setLastBuildDate(now());
    QFTextViewPluginClient::broadcastPluginChanged();
}

QFBlogPluginArchives &QFBlogPlugin::archives() const
{
    return *m_archives;
}

QFBlogPluginCodeGeneration &QFBlogPlugin::codeGeneration() const
{
    return *m_codeGeneration;
}

QFBlogPluginPermalinks &QFBlogPlugin::permalinks() const
{
    return *m_permalinks;
}

QFBlogPluginInternalLinks &QFBlogPlugin::internalLinks() const
{
    return *m_internalLinks;
}

QFBlogPluginRSS &QFBlogPlugin::rss() const
{
    return *m_rss;
}

QFBlogPluginPing &QFBlogPlugin::ping() const
{
    return *m_ping;
}

bool QFBlogPlugin::postPublishActions()
{
    return m_ping->postPublishActions();
}

QFBlogPluginCategories &QFBlogPlugin::categoriesGroup() const
{
    return *m_categories;
}

QFBlogPluginTagsEmission &QFBlogPlugin::tagsEmission() const
{
    return *m_tagsEmission;
}

QFBlogPluginIndexes &QFBlogPlugin::indexes() const
{
    return *m_indexes;
}

QFBlogPluginSandwich &QFBlogPlugin::sandwichGroup() const
{
    return *m_sandwich;
}

std::unique_ptr<CVSandwich> QFBlogPlugin::sandwich()
{
    return m_sandwich->sandwich();
}

QFBlogEntryArrayController &QFBlogPlugin::blogEntryArrayController() const
{
    return *m_blogEntryArrayController;
}

// ---------------------------------------------------------------- export

QString QFBlogPlugin::temporaryFilesDirectory()
{
    return tempFilesDirectory(kScratchFolderName);
}

QString QFBlogPlugin::contentHTML(const QVariantMap &params)
{
    _exportCancelled = false;
    if (_blogEntries.isEmpty())
        return QString(QLatin1String(""));
    createFolder(temporaryFilesDirectory(), true);
    const QFBlogPluginCodeGeneration::ExportScope exportScope(*m_codeGeneration);

    QString result(QLatin1String(""));
    if (m_codeGeneration->useHaloScanComments())
        m_codeGeneration->appendHaloScanLoadCommand(result);
    const QString filesDirectory = params.value(QStringLiteral("plugincommonpath"), QString(QLatin1String(""))).toString();
    const QList<QFBlogEntryPtr> posts = mainPagePosts();
    for (qsizetype i = 0; i < posts.size() && !_exportCancelled; ++i)
        result.append(m_codeGeneration->emitBlogEntryHTML(posts.at(i), filesDirectory, 0, true,
                                                          QFBlogPluginCodeGeneration::MainPage, params));
    if (m_codeGeneration->useJSKitComments())
        m_codeGeneration->appendJSKitLoadCommand(result);
    else if (m_codeGeneration->useDisqusComments())
        result.append(m_codeGeneration->disqusCommentCountingJavascript());
    return result;
}

QString QFBlogPlugin::sidebarHTML(const QVariantMap &params)
{
    if (_usePHPForSidebarContent && boolParameter(params, QStringLiteral("subpage")))
        return QStringLiteral("<?php include(\"sidebar-content.html\"); ?>");
    return staticSidebarHTML(params);
}

QString QFBlogPlugin::pageContentHeaders(const QVariantMap &params) const
{
    return m_codeGeneration->pageContentHeaders(params);
}

QString QFBlogPlugin::staticSidebarHTML(const QVariantMap &params)
{
    using namespace QFBlogSidebarControl;
    const QString separator = sidebarSeparator();
    const bool subpage = boolParameter(params, QStringLiteral("subpage"));
    // The host asks for the sidebar before the export driver runs, so the
    // archive table is made here, from the export's one post order.
    const QFBlogPluginArchives::ExportPostOrder postOrder(*m_archives);

    QString html(QLatin1String(""));
    for (const QVariant &section : sidebarControl()) {
        if (!isEnabled(section))
            continue;
        if (isCategories(section)) {
            if (!_categoryPostsEnabled)
                continue;
            html.append(QStringLiteral("<div id=\"blog-categories\">"))
                .append(m_categories->emitCategoryLinks(params))
                .append(QStringLiteral("</div>"))
                .append(separator);
        } else if (isTags(section)) {
            if (!_tagsEnabled || !_tagCloudEnabled)
                continue;
            html.append(m_tagsEmission->stringForTagCloudHTML(params)).append(separator);
        } else if (isArchives(section)) {
            if (!_archivePostsEnabled)
                continue;
            ensureArchivesCalculated();
            html.append(QStringLiteral("<div id=\"blog-archives\">"))
                .append(m_archives->emitArchiveLinks(params))
                .append(QStringLiteral("</div>"))
                .append(separator);
        } else if (isFeedLink(section)) {
            if (!_enableRSS)
                continue;
            const QString text = _rssFeedLinkName.isNull() ? QString(QLatin1String("")) : _rssFeedLinkName;
            const QString title = QFStrings::convertToEntities(_rssTitle);
            QString href;
            if (_enableCustomRSSURL)
                href = _rssCustomFeedURL;
            else if (subpage)
                href = m_rss->rssFeedFilename();
            else
                href = params.value(QStringLiteral("filesfoldername")).toString() + QLatin1Char('/')
                    + m_rss->rssFeedFilename();
            // The element stays open: the comments section closes it.
            html.append(QStringLiteral("<div id=\"blog-rss-feeds\">"))
                .append(QStringLiteral("<a class=\"blog-rss-link\" href=\"%1\" rel=\"alternate\" "
                                       "type=\"application/rss+xml\" title=\"%2\">%3</a><br />")
                            .arg(href, title, text))
                .append(separator);
        } else if (isCommentsLink(section)) {
            const bool comments = enableComments();
            if (comments) {
                const QString text = _rssCommentsLinkName;
                if (m_codeGeneration->useHaloScanComments() && !text.isEmpty()) {
                    html.append(QStringLiteral("<a class=\"blog-comments-rss-link\" href=\"%1\">%2</a>")
                                    .arg(QFStrings::stringEscapedForHTMLAttribute(
                                             haloScanCommentsFeedURL(m_codeGeneration->haloScanUsername())),
                                         text));
                } else if (m_codeGeneration->useJSKitComments() && !text.isEmpty()) {
                    const QFSiteDocument *site = QFDocumentForPlugin(this);
                    const QString base = site ? site->siteBaseURL() : QString();
                    html.append(QStringLiteral("<a class=\"blog-comments-rss-link\" href=\"%1\">%2</a>")
                                    .arg(QFStrings::stringEscapedForHTMLAttribute(jsKitCommentsFeedURL(base)), text));
                }
            }
            if (_enableRSS)
                html.append(QStringLiteral("</div>")).append(separator);
            else if (comments)
                html.append(separator);
        }
    }
    return html;
}

std::optional<QVariantList> QFBlogPlugin::internalPageLinks() const
{
    return m_internalLinks->internalPageLinks();
}

std::optional<QString> QFBlogPlugin::hrefForSubpage(const QString &subPageID, int depthCorrection,
                                                    const QFSiteLayout::Page &page) const
{
    return m_internalLinks->hrefForSubpage(subPageID, depthCorrection, page);
}

struct QFBlogPlugin::ExportSession
{
    explicit ExportSession(QFBlogPluginArchives &archives)
        : postOrder(archives)
    {
    }
    QFBlogPluginArchives::ExportPostOrder postOrder;
    bool archivesCalculated = false;
    std::optional<QFCountedSet> enabledTags;
};

void QFBlogPlugin::siteExportWillBegin()
{
    if (!m_exportSession) {
        m_exportSession = std::make_unique<ExportSession>(*m_archives);
        m_internalLinks->beginLookups();
    }
}

void QFBlogPlugin::siteExportDidEnd()
{
    if (m_exportSession) {
        m_internalLinks->endLookups();
        m_exportSession.reset();
    }
}

void QFBlogPlugin::ensureArchivesCalculated()
{
    if (m_exportSession && m_exportSession->archivesCalculated)
        return;
    m_archives->calculateArchives();
    if (m_exportSession)
        m_exportSession->archivesCalculated = true;
}

QList<QFExportItem> QFBlogPlugin::extraFilesNeededInExportFolder(const QVariantMap &params)
{
    _exportCancelled = false;
    if (_blogEntries.isEmpty())
        return {};
    const QFBlogPluginCodeGeneration::ExportScope exportScope(*m_codeGeneration);

    _numberOfExportErrors = 0;
    _exportErrorsString.clear();
    m_exportFileNames.clear();
    QList<QFExportItem> result;

    const bool contentOnly = boolParameter(params, QStringLiteral("contentonlysubpages"));
    const bool preview = params.value(QStringLiteral("mode")).toString() == QLatin1String("preview");
    QString commonPath = QStringLiteral("../files");
    if (params.contains(QStringLiteral("plugincommonpath"))) {
        commonPath = params.value(QStringLiteral("plugincommonpath")).toString();
        if (boolParameter(params, QStringLiteral("commonpathsrelative")))
            commonPath = QStringLiteral("../%1").arg(commonPath);
    }
    _designatedFilename = params.value(QStringLiteral("name")).toString();
    _designatedTitle = params.value(QStringLiteral("title")).toString();
    Q_UNUSED(contentOnly);
    Q_UNUSED(commonPath);

    const QString directory = temporaryFilesDirectory();
    createFolder(directory, false);
    // The posts are sorted newest first once, for every generator of this export.
    const QFBlogPluginArchives::ExportPostOrder postOrder(*m_archives);
    ensureArchivesCalculated();
    m_categories->calculateCategories();
    qint64 exportUnits = 0;
    if (!preview) {
        if (_archivePostsEnabled)
            exportUnits += m_archives->archivePageCount();
        if (_categoryPostsEnabled)
            exportUnits += m_categories->categoryPageCount();
        if (_tagsEnabled)
            exportUnits += m_tagsEmission->tagPageCount();
        if (_generatePermalinkPages)
            exportUnits += std::count_if(_blogEntries.cbegin(), _blogEntries.cend(),
                                         [](const QFBlogEntryPtr &entry) { return !entry->isDraft(); });
        if (_enableRSS)
            exportUnits += 1;
    }
    beginExportUnits(exportUnits);

    // The feed uses nothing the pages make, and the pages nothing of the
    // feed but the images both write with the same bytes, so it is made on
    // a second thread while the pages are: a tenth of a large export. It
    // reads the posts only; their GUIDs are made here first, were any missing.
    std::unique_ptr<BackgroundJob> feed;
    QString feedPath;
    if (!preview && _enableRSS) {
        // The name is one plain file name (see rssFeedFilename), the one
        // every feed link uses, so nothing is written outside the scratch
        // folder; a stored name that had to give way is reported.
        const QString feedName = m_rss->rssFeedFilename();
        if (const std::optional<QString> problem =
                QFBlogFileNames::problem(_rssCustomFeedFilename, QStringLiteral("The feed file name"))) {
            addExportError(QStringLiteral("%1; the feed was written as \u201c%2\u201d.\n").arg(*problem, feedName));
        }
        claimExportFileName(feedName, QStringLiteral("the feed"));
        feedPath = directory + QLatin1Char('/') + feedName;
        for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries))
            entry->GUID();
        // Written as UTF-8 while it is made ("Invalid RSS" when it cannot be).
        feed = std::make_unique<BackgroundJob>([this, entries = _blogEntries, params, directory, feedPath] {
            return m_rss->exportFeed(entries, params, directory, feedPath);
        });
    }

    if (!preview) {
        if (_archivePostsEnabled) {
            emit exportStageStarted(ExportStage::Archives);
            // The most recent period is the main page itself, unless the main
            // page shows a fixed number of posts. Periods go oldest first, so
            // exports are reproducible.
            const QDateTime mostRecentBucket = m_archives->mostRecentPostBucket();
            const QString extension = params.value(QStringLiteral("FilenameExt")).toString();
            const QMap<QDateTime, QFBlogPluginArchives::Period> &periods = m_archives->archives();
            for (auto it = periods.cbegin(); it != periods.cend(); ++it) {
                if (_exportCancelled)
                    return {};
                if (it->entries.isEmpty() || (!_showAtLeastPosts && it.key() == mostRecentBucket))
                    continue;
                const std::optional<QString> page = m_archives->emitArchiveEntries(it.key(), commonPath, params);
                if (page) {
                    const QString name =
                        m_archives->archiveFileNameWithBase(m_archives->archiveFilenameBasename(*it), extension);
                    if (claimExportFileName(name, QStringLiteral("an archive page")))
                        result.append(contentOnlySubpageWithHTML(*page, name));
                }
                exportUnitDone();
            }
        }
        if (_exportCancelled)
            return {};
        if (_categoryPostsEnabled) {
            emit exportStageStarted(ExportStage::Categories);
            result.append(m_categories->emitCategoryEntriesWithFilesDirectory(commonPath, params));
        }
        if (_exportCancelled)
            return {};
        if (_tagsEnabled) {
            emit exportStageStarted(ExportStage::Tags);
            result.append(m_tagsEmission->emitTagsArchivesWithFileDirectory(commonPath, params));
        }
        if (_exportCancelled)
            return {};
        if (_generatePermalinkPages) {
            emit exportStageStarted(ExportStage::Permalinks);
            result.append(m_permalinks->emitPermalinkEntriesWithFilesDirectory(commonPath, params));
        }
        if (_exportCancelled)
            return {};
        if (_enableRSS) {
            emit exportStageStarted(ExportStage::Feed);
            // The feed may have finished before the cancel came, so its
            // answer alone does not tell.
            if (!feed->join() || _exportCancelled)
                return {};
            exportUnitDone();
            if (_enableCustomiTunesTags) {
                if (_channelCustomiTunesTags)
                    exportPodcastImageData(_channelCustomiTunesTags->imageData(),
                                           QStringLiteral("podcast_channel.png"));
                for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries)) {
                    if (!entry->isDraft() && entry->itunesTags())
                        exportPodcastImageData(entry->itunesTags()->imageData(), entry->podcastImageName());
                }
            }
        }
    }

    if (!_exportCancelled && _usePHPForSidebarContent) {
        const QString sidebarPath = directory + QLatin1Char('/') + kSidebarFileName;
        if (!QFileInfo::exists(sidebarPath)) {
            emit exportStageStarted(ExportStage::Sidebar);
            QVariantMap subpageParams = params;
            subpageParams.insert(QStringLiteral("subpage"), QStringLiteral("YES"));
            QFile file(sidebarPath);
            // Like every generated page, written as it comes; a failed write
            // leaves the sidebar out of this export.
            if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
                file.write(QFStrings::dataUsingHTMLEscapes(staticSidebarHTML(subpageParams), QStringLiteral("us-ascii")));
        }
    }

    if (_numberOfExportErrors != 0) {
        const unsigned count = _numberOfExportErrors;
        const QString errors = _exportErrorsString;
        QMetaObject::invokeMethod(this, [this, count, errors] { showExportErrors(count, errors); },
                                  Qt::QueuedConnection);
    }

    result.append(directoryContents(directory));
    return result;
}

void QFBlogPlugin::cancelExport()
{
    _exportCancelled = true;
}

void QFBlogPlugin::beginExportUnits(qint64 total)
{
    m_exportUnitsDone = 0;
    m_exportUnitsTotal = total;
    reportExportProgress(0, total);
}

void QFBlogPlugin::exportUnitDone()
{
    ++m_exportUnitsDone;
    reportExportProgress(m_exportUnitsDone, std::max(m_exportUnitsDone, m_exportUnitsTotal));
}

bool QFBlogPlugin::exportCancelled() const
{
    return _exportCancelled;
}

void QFBlogPlugin::createFolder(const QString &path, bool purge)
{
    if (path.isEmpty())
        return;
    QDir dir(path);
    if (!dir.exists())
        QDir().mkpath(path);
    if (!purge)
        return;
    const QFileInfoList entries =
        dir.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (auto it = entries.crbegin(); it != entries.crend(); ++it) {
        if (it->isDir() && !it->isSymLink())
            QDir(it->absoluteFilePath()).removeRecursively();
        else
            QFile::remove(it->absoluteFilePath());
    }
}

void QFBlogPlugin::exportPodcastImageData(const QByteArray &data, const QString &fileName)
{
    if (data.isEmpty())
        return;
    const auto fail = [] {
        return QFException(QStringLiteral("Failed to write podcast image"), L("CouldNotWritePodcastImage"));
    };
    // Only the last component: a name from a document must not lead out of
    // the export folder.
    const QString name = QFileInfo(fileName).fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        throw fail();
    const QImage image = QImage::fromData(data);
    if (image.isNull())
        throw fail();
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        throw fail();
    const QString directory = temporaryFilesDirectory();
    if (directory.isEmpty())
        throw fail();
    QFile file(directory + QLatin1Char('/') + name);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(png) != png.size())
        throw fail();
}

void QFBlogPlugin::addExportError(const QString &text)
{
    const QMutexLocker locker(&m_exportErrorsMutex);
    ++_numberOfExportErrors;
    _exportErrorsString.append(text);
}

bool QFBlogPlugin::claimExportFileName(const QString &fileName, const QString &what)
{
    const QMutexLocker locker(&m_exportErrorsMutex);
    const QString key = fileName.toCaseFolded();
    const auto claimed = m_exportFileNames.constFind(key);
    if (claimed == m_exportFileNames.constEnd()) {
        m_exportFileNames.insert(key, what);
        return true;
    }
    ++_numberOfExportErrors;
    _exportErrorsString.append(
        QStringLiteral("The file \u201c%1\u201d would be written twice, for %2 and for %3; only the first was "
                       "written. Rename one of them.\n")
            .arg(fileName, claimed.value(), what));
    return false;
}

unsigned QFBlogPlugin::numberOfExportErrors() const
{
    const QMutexLocker locker(&m_exportErrorsMutex);
    return _numberOfExportErrors;
}

QString QFBlogPlugin::exportErrorsString() const
{
    const QMutexLocker locker(&m_exportErrorsMutex);
    return _exportErrorsString;
}

void QFBlogPlugin::reportExportErrorsOnMainThread()
{
    const unsigned count = _numberOfExportErrors;
    const QString errors = _exportErrorsString;
    QCoreApplication *app = QCoreApplication::instance();
    if (app && QThread::currentThread() != app->thread()) {
        QMetaObject::invokeMethod(this, [this, count, errors] { showExportErrors(count, errors); },
                                  Qt::QueuedConnection);
        return;
    }
    showExportErrors(count, errors);
}

void QFBlogPlugin::showExportErrors(unsigned count, const QString &errors)
{
    const QString title = L("BlogExportErrorsAlertTitle");
    const QString message = count == 1 ? L("BlogExportErrorsAlertOneErrorMessageFormatString").arg(errors)
                                       : L("BlogExportErrorsAlertMultipleErrorsMessageFormatString")
                                             .arg(QString::number(count), errors);
    QFAlert::runInfoAlert(title, message.trimmed());
}

QList<QFBlogEntryPtr> QFBlogPlugin::mainPagePosts() const
{
    // Newest first, dates alike in stored order; the export's one order
    // while an export holds it.
    const QList<QFBlogEntryPtr> sorted = m_archives->postsNewestFirst();

    std::unique_ptr<QFBlogArchiver> archiver;
    QDateTime mostRecentBucket;
    int limit = 0;
    if (_archivePostsEnabled) {
        archiver = m_archives->currentArchiver();
        mostRecentBucket = m_archives->mostRecentPostBucket();
        limit = _showAtLeastPosts ? _showPostLimit : 0;
    }
    // With archives off there is no limit: the main page holds every
    // published post, whatever showPostLimit says.

    QList<QFBlogEntryPtr> posts;
    int published = 0;
    for (const QFBlogEntryPtr &entry : std::as_const(sorted)) {
        if (entry->isDraft())
            continue;
        if (limit > 0) {
            if (++published > limit)
                break;
            posts.append(entry);
        } else if (archiver) {
            if (archiver->bucketFromDate(entry->date()) == mostRecentBucket)
                posts.append(entry);
        } else {
            posts.append(entry);
        }
    }
    return posts;
}

std::optional<QString> QFBlogPlugin::guid() const
{
    const QUuid uuid = QUuid::createUuid();
    const QString text = uuid.toString(QUuid::WithoutBraces).toUpper();
    if (uuid.isNull() || text.isEmpty()) {
        qfLog(QStringLiteral("-[guid] returning nil !"));
        return std::nullopt;
    }
    return QString::fromLatin1(QFStrings::md5Checksum(text).toHex());
}

void QFBlogPlugin::requirePostIDs(qsizetype count) const
{
    if (count > 0 && _lastID > std::numeric_limits<int>::max() - count) {
        throw QFException(QStringLiteral("No Post ID Left"),
                          QStringLiteral("The blog has handed out its post IDs up to %1 (\u201clastID\u201d is %2), so %3 "
                                         "more cannot be added.")
                              .arg(std::numeric_limits<int>::max())
                              .arg(_lastID)
                              .arg(count));
    }
}

int QFBlogPlugin::nextID()
{
    requirePostIDs(1);
    const int id = _lastID;
    setLastID(id + 1);
    return id;
}

// ---------------------------------------------------------------- posts, categories, tags

const QList<QFBlogEntryPtr> &QFBlogPlugin::posts() const
{
    return _blogEntries;
}

void QFBlogPlugin::insertBlogEntry(const QFBlogEntryPtr &entry, qsizetype index)
{
    if (!entry)
        return;
    entry->setBlogPlugin(this);
    emit blogEntriesAboutToChange();
    if (index < 0 || index > _blogEntries.size())
        _blogEntries.append(entry);
    else
        _blogEntries.insert(index, entry);
    emit blogEntriesChanged();
}

void QFBlogPlugin::insertBlogEntries(const QList<QFBlogEntryPtr> &entries)
{
    emit blogEntriesAboutToChange();
    _blogEntries.reserve(_blogEntries.size() + entries.size());
    for (const QFBlogEntryPtr &entry : entries) {
        if (!entry)
            continue;
        entry->setBlogPlugin(this);
        _blogEntries.append(entry);
    }
    emit blogEntriesChanged();
}

void QFBlogPlugin::blogEntryChangedDate(QFBlogEntry *entry, const QDateTime &date)
{
    if (pluginIsInitialisingFlag || m_renewingAddedEntries)
        return;
    emit blogEntryDateChanged(entry);
}

const QList<QFBlogCategoryPtr> &QFBlogPlugin::categories() const
{
    return _categories;
}

void QFBlogPlugin::setCategories(const QList<QFBlogCategoryPtr> &categories)
{
    if (categories.isSharedWith(_categories))
        return;
    emit categoriesAboutToChange();
    const QList<QFBlogCategoryPtr> unique = QFCollections::arrayWithoutDuplicateElements(
        categories, [](const QFBlogCategoryPtr &a, const QFBlogCategoryPtr &b) {
            return a == b || (a && b && a->isEqual(*b));
        });
    // Keep the very list given when nothing was dropped, so handing it back
    // is recognised as no change.
    _categories = unique.size() == categories.size() ? categories : unique;
    for (const QFBlogCategoryPtr &category : std::as_const(_categories)) {
        if (category && category->blogPlugin() != this)
            attachCategory(category);
    }
    emit categoriesChanged();
    broadcastPluginChanged();
}

int QFBlogPlugin::nextCategoryID() const
{
    int largest = 0;
    for (const QFBlogCategoryPtr &category : _categories)
        largest = std::max(largest, category->categoryID());
    return largest + 1;
}

bool QFBlogPlugin::fixUpCategoryIDs()
{
    bool changed = false;
    for (const QFBlogCategoryPtr &category : std::as_const(_categories)) {
        if (category->categoryID() == 0) {
            category->setCategoryID(nextCategoryID());
            changed = true;
        }
    }
    return changed;
}

void QFBlogPlugin::addTag(const QFBlogTag &tag)
{
    emit knownTagsAboutToChange();
    cachedKnownTags.addObject(QVariant::fromValue(tag));
    emit knownTagsChanged();
    broadcastPluginChanged();
}

void QFBlogPlugin::removeTag(const QFBlogTag &tag)
{
    emit knownTagsAboutToChange();
    cachedKnownTags.removeObject(QVariant::fromValue(tag));
    emit knownTagsChanged();
    broadcastPluginChanged();
}

const QFCountedSet &QFBlogPlugin::knownTags() const
{
    return cachedKnownTags;
}

QVariantList QFBlogPlugin::knownTagsArray() const
{
    QVariantList array;
    array.reserve(cachedKnownTags.count());
    for (const QVariant &object : cachedKnownTags.objects()) {
        array.append(QVariantMap{{QStringLiteral("name"), object.value<QFBlogTag>().tagName()},
                                 {QStringLiteral("count"), uint(cachedKnownTags.countForObject(object))}});
    }
    return array;
}

QFCountedSet QFBlogPlugin::tagsForEnabledBlogEntries() const
{
    if (m_exportSession && m_exportSession->enabledTags)
        return *m_exportSession->enabledTags;
    QFCountedSet tags;
    for (const QFBlogEntryPtr &entry : _blogEntries) {
        if (entry->status() != 1 || !entry->tags())
            continue;
        for (const QFBlogTag &tag : *entry->tags())
            tags.addObject(QVariant::fromValue(tag));
    }
    if (m_exportSession)
        m_exportSession->enabledTags = tags;
    return tags;
}

void QFBlogPlugin::setDefaultDateModifiers()
{
    setDateModifier1(L("datemod1"));
    setDateModifier2(L("datemod2"));
    setDateModifier3(L("datemod3"));
    setDateModifier4(L("datemod4"));
}

void QFBlogPlugin::blogCustomTagDidChange(QObject *object)
{
    // The editor shows its notice about podcast images itself when it sees
    // the same notification.
    if (!object)
        return;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries)) {
        for (const QFBlogCustomTagPtr &tag : entry->customTags()) {
            if (tag.get() == object) {
                broadcastPluginChanged();
                return;
            }
        }
    }
}

// ---------------------------------------------------------------- comments account

QFBlogCommentsAccountFields QFBlogPlugin::commentsAccountFields() const
{
    static const char *const labels[] = {"ProviderLabelNone", "ProviderLabelHaloscan", "ProviderLabelJSKit",
                                         "ProviderLabelDisqus"};
    QFBlogCommentsAccountFields fields;
    const int tag = m_commentsSelectedProviderTag;
    fields.visible = tag == 1 || tag == 3;
    if (tag >= 0 && tag <= 3)
        fields.labelText = L(labels[tag]) + QLatin1Char(':');
    fields.fieldText = QString(QLatin1String(""));
    if (const std::optional<QString> identifier = identifierForCommentsProviderTag(tag)) {
        const QVariant account = m_commentsUserIdentifiers.value(*identifier);
        if (account.typeId() == QMetaType::QString)
            fields.fieldText = account.toString();
    }
    return fields;
}

void QFBlogPlugin::actionSelectCommentProvider(int tag)
{
    setCommentsSelectedProviderTag(tag);
    broadcastPluginChanged();
}

void QFBlogPlugin::commentsAccountTextDidChange(const QString &text)
{
    if (const std::optional<QString> identifier = identifierForCommentsProviderTag(m_commentsSelectedProviderTag)) {
        if (text.isEmpty())
            m_commentsUserIdentifiers.remove(*identifier);
        else
            m_commentsUserIdentifiers.insert(*identifier, text);
    }
    broadcastPluginChanged();
}

// ---------------------------------------------------------------- setters

void QFBlogPlugin::setStringComparing(QString &field, const QString &value)
{
    if (sameString(field, value))
        return;
    field = value;
    broadcastPluginChanged();
}

void QFBlogPlugin::setBoolComparing(bool &field, bool value)
{
    if (field == value)
        return;
    field = value;
    broadcastPluginChanged();
}

void QFBlogPlugin::setIntComparing(int &field, int value)
{
    if (field == value)
        return;
    field = value;
    broadcastPluginChanged();
}

void QFBlogPlugin::setStringAlways(QString &field, const QString &value)
{
    field = value;
    broadcastPluginChanged();
}

void QFBlogPlugin::setRssLanguage(const QString &value) { setStringComparing(_rssLanguage, value); }
void QFBlogPlugin::setRssHomepage(const QString &value) { setStringComparing(_rssHomepage, value); }
void QFBlogPlugin::setRssDescription(const QString &value) { setStringComparing(_rssDescription, value); }
void QFBlogPlugin::setRssCreator(const QString &value) { setStringComparing(_rssCreator, value); }
void QFBlogPlugin::setRssCopyright(const QString &value) { setStringComparing(_rssCopyright, value); }
void QFBlogPlugin::setRssTitle(const QString &value) { setStringComparing(_rssTitle, value); }
void QFBlogPlugin::setRssFeedLinkName(const QString &value) { setStringAlways(_rssFeedLinkName, value); }
void QFBlogPlugin::setRssCommentsLinkName(const QString &value) { setStringAlways(_rssCommentsLinkName, value); }
void QFBlogPlugin::setRssCustomFeedFilename(const QString &value) { setStringAlways(_rssCustomFeedFilename, value); }
void QFBlogPlugin::setRssCustomFeedURL(const QString &value) { setStringAlways(_rssCustomFeedURL, value); }
void QFBlogPlugin::setEnableRSS(bool value) { setBoolComparing(_enableRSS, value); }
void QFBlogPlugin::setEnableCustomRSSURL(bool value) { setBoolComparing(_enableCustomRSSURL, value); }
void QFBlogPlugin::setGenerateRssEntriesForMainPageOnly(bool value)
{
    setBoolComparing(_generateRssEntriesForMainPageOnly, value);
}
void QFBlogPlugin::setSummarizeEntryRSS(bool value) { setBoolComparing(_summarizeEntryRSS, value); }
void QFBlogPlugin::setSummarizeEntryRSSCount(int value) { setIntComparing(_summarizeEntryRSSCount, value); }
void QFBlogPlugin::setEnablePodcasting(bool value) { _enablePodcasting = value; }
void QFBlogPlugin::setEnableCustomiTunesTags(bool value) { setBoolComparing(_enableCustomiTunesTags, value); }

void QFBlogPlugin::setChannelCustomTags(const QList<QFBlogCustomTagPtr> &value)
{
    if (value.isSharedWith(_channelCustomTags))
        return;
    _channelCustomTags = value;
    broadcastPluginChanged();
}

void QFBlogPlugin::setChannelCustomiTunesTags(const QFBlogCustomiTunesTagsPtr &value)
{
    if (value == _channelCustomiTunesTags)
        return;
    _channelCustomiTunesTags = value;
    broadcastPluginChanged();
}

void QFBlogPlugin::setLastID(int value) { setIntComparing(_lastID, value); }
void QFBlogPlugin::setDateSeperator1(const QString &value) { setStringComparing(_dateSeperator1, value); }
void QFBlogPlugin::setDateSeperator2(const QString &value) { setStringComparing(_dateSeperator2, value); }
void QFBlogPlugin::setDateSeperator3(const QString &value) { setStringComparing(_dateSeperator3, value); }
void QFBlogPlugin::setDateSeperator4(const QString &value) { setStringComparing(_dateSeperator4, value); }
void QFBlogPlugin::setDateModifier1(const QString &value) { setStringComparing(_dateModifier1, value); }
void QFBlogPlugin::setDateModifier2(const QString &value) { setStringComparing(_dateModifier2, value); }
void QFBlogPlugin::setDateModifier3(const QString &value) { setStringComparing(_dateModifier3, value); }
void QFBlogPlugin::setDateModifier4(const QString &value) { setStringComparing(_dateModifier4, value); }
void QFBlogPlugin::setLocalizeDate(const QString &value) { setStringComparing(_localizeDate, value); }

void QFBlogPlugin::setEnableComments(bool value) { setBoolComparing(_enableComments, value); }
void QFBlogPlugin::setEnableCommentsInline(bool value) { setBoolComparing(_enableCommentsInline, value); }
void QFBlogPlugin::setCommentsSelectedProviderTag(int value) { m_commentsSelectedProviderTag = value; }

void QFBlogPlugin::setCommentsUserIdentifiers(const QVariantMap &value)
{
    if (value == m_commentsUserIdentifiers)
        return;
    m_commentsUserIdentifiers = value;
    broadcastPluginChanged();
}

void QFBlogPlugin::setCommentSeparator(const QString &value) { setStringComparing(_commentSeparator, value); }

void QFBlogPlugin::setArchivePostsEnabled(bool value) { setBoolComparing(_archivePostsEnabled, value); }
void QFBlogPlugin::setArchivePostsShowGaps(bool value) { setBoolComparing(_archivePostsShowGaps, value); }
void QFBlogPlugin::setArchivePostsPeriod(int value) { setIntComparing(_archivePostsPeriod, value); }

QString QFBlogPlugin::archivePostsPeriodString() const
{
    switch (_archivePostsPeriod) {
    case 0:
        return QStringLiteral("Week");
    case 1:
        return QStringLiteral("Month");
    case 2:
        return QStringLiteral("Year");
    default:
        return QString(QLatin1String(""));
    }
}

void QFBlogPlugin::setArchivePostsPeriodString(const QString &value)
{
    // Whatever the text names, months are chosen: older documents stored
    // this text, and months are what it always selected.
    setIntComparing(_archivePostsPeriod, 1);
}

void QFBlogPlugin::setShowAtLeastPosts(bool value) { setBoolComparing(_showAtLeastPosts, value); }
void QFBlogPlugin::setShowPostLimit(int value) { setIntComparing(_showPostLimit, value); }
void QFBlogPlugin::setGeneratePermalinkPages(bool value) { setBoolComparing(_generatePermalinkPages, value); }
QString QFBlogPlugin::permalinkLinkName() const
{
    return _permalinkLinkName.isEmpty() ? L("PermalinkName") : _permalinkLinkName;
}

QString QFBlogPlugin::readMoreLinkName() const
{
    return _readMoreLinkName.isEmpty() ? L("ReadMoreName") : _readMoreLinkName;
}

void QFBlogPlugin::setPermalinkLinkName(const QString &value) { setStringComparing(_permalinkLinkName, value); }
void QFBlogPlugin::setReadMoreLinkName(const QString &value) { setStringComparing(_readMoreLinkName, value); }
void QFBlogPlugin::setPrependSummaryToPost(bool value) { setBoolComparing(_prependSummaryToPost, value); }
void QFBlogPlugin::setEnableSmileys(bool value) { setBoolComparing(_enableSmileys, value); }
void QFBlogPlugin::setUsePHPForSidebarContent(bool value) { setBoolComparing(_usePHPForSidebarContent, value); }

QVariantList QFBlogPlugin::sidebarControl() const
{
    return _sidebarControl ? *_sidebarControl : defaultSidebarControl();
}

void QFBlogPlugin::setSidebarControl(const QVariantList &value)
{
    if (_sidebarControl && value.isSharedWith(*_sidebarControl))
        return;
    _sidebarControl = value;
    broadcastPluginChanged();
}

QVariantList QFBlogPlugin::defaultSidebarControl()
{
    QVariantList control;
    for (const char *name : {"Categories", "Archives", "Tags", "RSS Link", "Comments Link"})
        control.append(QVariantMap{{QStringLiteral("name"), QString::fromLatin1(name)},
                                   {QStringLiteral("enabled"), true}});
    return control;
}

QString QFBlogPlugin::sidebarSeparator() const
{
    return _sidebarSeparator.isNull() ? QString(QLatin1String("")) : _sidebarSeparator;
}

void QFBlogPlugin::setSidebarSeparator(const QString &value) { setStringComparing(_sidebarSeparator, value); }

void QFBlogPlugin::setCategoryPostsEnabled(bool value) { setBoolComparing(_categoryPostsEnabled, value); }
void QFBlogPlugin::setExportCategoriesAlphabetically(bool value)
{
    setBoolComparing(_exportCategoriesAlphabetically, value);
}
void QFBlogPlugin::setShowCategoryPostCounts(bool value) { setBoolComparing(_showCategoryPostCounts, value); }
void QFBlogPlugin::setCategoryTitle(const QString &value) { setStringComparing(_categoryTitle, value); }
void QFBlogPlugin::setCategorySeparator(const QString &value) { setStringComparing(_categorySeparator, value); }
void QFBlogPlugin::setTagsEnabled(bool value) { setBoolComparing(_tagsEnabled, value); }
void QFBlogPlugin::setTagCloudEnabled(bool value) { setBoolComparing(_tagCloudEnabled, value); }
void QFBlogPlugin::setShowPostCountsForTags(bool value) { _showPostCountsForTags = value; }
void QFBlogPlugin::setTagsTitle(const QString &value) { setStringComparing(_tagsTitle, value); }
void QFBlogPlugin::setTagsSeparator(const QString &value) { setStringComparing(_tagsSeparator, value); }

void QFBlogPlugin::setEnablePing(bool value) { setBoolComparing(_enablePing, value); }
void QFBlogPlugin::setPingSettings(const QVariantList &value) { _pingSettings = value; }
void QFBlogPlugin::setLastBuildDate(const QDateTime &value) { lastBuildDateValue = value; }
void QFBlogPlugin::setLastSavedBuildDate(const QDateTime &value) { lastSavedBuildDateValue = value; }

bool QFBlogPlugin::shouldUpdateSearchIndexes() const { return m_indexes->shouldUpdateSearchIndexes(); }
void QFBlogPlugin::setShouldUpdateSearchIndexes(bool value) { m_indexes->setShouldUpdateSearchIndexes(value); }
void QFBlogPlugin::setPluginIsInitialising(bool value) { pluginIsInitialisingFlag = value; }
void QFBlogPlugin::setPostIDWasChanged(bool value) { _postIDWasChanged = value; }
void QFBlogPlugin::setLocalizeCheckBoxState(bool value) { _localizeCheckBoxState = value; }

QFBlogPlugin::InitialisingScope::InitialisingScope(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
    m_plugin.setPluginIsInitialising(true);
}

QFBlogPlugin::InitialisingScope::~InitialisingScope()
{
    m_plugin.setPluginIsInitialising(false);
}

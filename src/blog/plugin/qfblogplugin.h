#pragma once

#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogcustomitunestags.h"
#include "blog/model/qfblogcustomtag.h"
#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogtag.h"
#include "blog/model/qfcountedset.h"
#include "blog/plugin/qfblogcommentsaccountfields.h"
#include "blog/plugin/qfbloguseridentity.h"
#include "qfkit/document/qfexportitem.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/sandwich/cvsandwichmaking.h"

#include <QByteArray>
#include <QDateTime>
#include <QImage>
#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QFBundle;
class QFBlogEntryArrayController;
class QFBlogPluginArchives;
class QFBlogPluginCategories;
class QFBlogPluginCodeGeneration;
class QFBlogPluginInternalLinks;
class QFBlogPluginPermalinks;
class QFBlogPluginPing;
class QFBlogPluginRSS;
class QFBlogPluginSandwich;
class QFBlogPluginTagsEmission;
class QFBlogPluginIndexes;
class QFUnarchiver;
class QFUserDefaults;

// The plugin object of one blog page: owner of its posts, categories, tag
// counts and settings, and the host's entry point for the page's HTML, its
// sidebar and the extra files of an export.
//
// Ownership: posts, categories, custom tags and the iTunes tag set are held
// by shared pointers; they point back at the plugin without owning it, and
// the plugin detaches them when it goes away. The plugin owns its method
// groups (archives()).
//
// Settings are Q_PROPERTYs under their keys; setProperty(key, value) runs the
// setter named below, so a change made by key is reported like an edit.
// Reporting (broadcastPluginChanged, which stamps lastBuildDate and tells the
// host): every bool and int setting and the plain strings (feed texts, date
// separators, link names, the sidebar separator) compare first and report a
// real change; categorySeparator, commentSeparator, categoryTitle compare as
// strings and keep the given value; tagsTitle, tagsSeparator, dateModifier1..4
// and localizeDate compare as values and keep a copy (the same, for QString);
// rssFeedLinkName, rssCommentsLinkName, rssCustomFeedFilename and
// rssCustomFeedURL always report; categories, sidebarControl,
// channelCustomTags and channelCustomiTunesTags report only when handed
// another list or object than the one held (a copy of the held list counts as
// the same list until either side changes). pingSettings, lastBuildDate,
// lastSavedBuildDate, enablePodcasting, showPostCountsForTags,
// commentsSelectedProviderTag and shouldUpdateSearchIndexes never report.
// Strings compare null apart from empty. Nothing reports while
// pluginIsInitialising is set.
//
// Threads: made, edited and destroyed on the main thread. contentHTML(),
// sidebarHTML() and extraFilesNeededInExportFolder() may run on one export
// thread while the main thread leaves the blog alone; cancelExport() may be
// called from any thread.
class QFBlogPlugin final : public QFTextViewPluginClient, public CVSandwichMaking
{
    Q_OBJECT

    // Feed
    Q_PROPERTY(QString rssLanguage READ rssLanguage WRITE setRssLanguage)
    Q_PROPERTY(QString rssHomepage READ rssHomepage WRITE setRssHomepage)
    Q_PROPERTY(QString rssDescription READ rssDescription WRITE setRssDescription)
    Q_PROPERTY(QString rssCreator READ rssCreator WRITE setRssCreator)
    Q_PROPERTY(QString rssCopyright READ rssCopyright WRITE setRssCopyright)
    Q_PROPERTY(QString rssTitle READ rssTitle WRITE setRssTitle)
    Q_PROPERTY(QString rssFeedLinkName READ rssFeedLinkName WRITE setRssFeedLinkName)
    Q_PROPERTY(QString rssCommentsLinkName READ rssCommentsLinkName WRITE setRssCommentsLinkName)
    Q_PROPERTY(QString rssCustomFeedFilename READ rssCustomFeedFilename WRITE setRssCustomFeedFilename)
    Q_PROPERTY(QString rssCustomFeedURL READ rssCustomFeedURL WRITE setRssCustomFeedURL)
    Q_PROPERTY(bool enableRSS READ enableRSS WRITE setEnableRSS)
    Q_PROPERTY(bool enableCustomRSSURL READ enableCustomRSSURL WRITE setEnableCustomRSSURL)
    Q_PROPERTY(bool generateRssEntriesForMainPageOnly READ generateRssEntriesForMainPageOnly
                   WRITE setGenerateRssEntriesForMainPageOnly)
    Q_PROPERTY(bool summarizeEntryRSS READ summarizeEntryRSS WRITE setSummarizeEntryRSS)
    Q_PROPERTY(int summarizeEntryRSSCount READ summarizeEntryRSSCount WRITE setSummarizeEntryRSSCount)
    Q_PROPERTY(bool enablePodcasting READ enablePodcasting WRITE setEnablePodcasting)
    Q_PROPERTY(bool enableCustomiTunesTags READ enableCustomiTunesTags WRITE setEnableCustomiTunesTags)
    Q_PROPERTY(QList<QFBlogCustomTagPtr> channelCustomTags READ channelCustomTags WRITE setChannelCustomTags)
    Q_PROPERTY(QFBlogCustomiTunesTagsPtr channelCustomiTunesTags READ channelCustomiTunesTags
                   WRITE setChannelCustomiTunesTags)

    // Posts and dates
    Q_PROPERTY(int lastID READ lastID WRITE setLastID)
    Q_PROPERTY(QString dateSeperator1 READ dateSeperator1 WRITE setDateSeperator1)
    Q_PROPERTY(QString dateSeperator2 READ dateSeperator2 WRITE setDateSeperator2)
    Q_PROPERTY(QString dateSeperator3 READ dateSeperator3 WRITE setDateSeperator3)
    Q_PROPERTY(QString dateSeperator4 READ dateSeperator4 WRITE setDateSeperator4)
    Q_PROPERTY(QString dateModifier1 READ dateModifier1 WRITE setDateModifier1)
    Q_PROPERTY(QString dateModifier2 READ dateModifier2 WRITE setDateModifier2)
    Q_PROPERTY(QString dateModifier3 READ dateModifier3 WRITE setDateModifier3)
    Q_PROPERTY(QString dateModifier4 READ dateModifier4 WRITE setDateModifier4)
    Q_PROPERTY(QString localizeDate READ localizeDate WRITE setLocalizeDate)
    Q_PROPERTY(QVariantMap languages READ languages)
    Q_PROPERTY(QVariantMap dates READ dates)

    // Comments
    Q_PROPERTY(bool enableComments READ enableComments WRITE setEnableComments)
    Q_PROPERTY(bool enableCommentsInline READ enableCommentsInline WRITE setEnableCommentsInline)
    Q_PROPERTY(int commentsSelectedProviderTag READ commentsSelectedProviderTag WRITE setCommentsSelectedProviderTag)
    Q_PROPERTY(QVariantMap commentsUserIdentifiers READ commentsUserIdentifiers WRITE setCommentsUserIdentifiers)
    Q_PROPERTY(QString commentSeparator READ commentSeparator WRITE setCommentSeparator)

    // Pages
    Q_PROPERTY(bool archivePostsEnabled READ archivePostsEnabled WRITE setArchivePostsEnabled)
    Q_PROPERTY(bool archivePostsShowGaps READ archivePostsShowGaps WRITE setArchivePostsShowGaps)
    Q_PROPERTY(int archivePostsPeriod READ archivePostsPeriod WRITE setArchivePostsPeriod)
    Q_PROPERTY(QString archivePostsPeriodString READ archivePostsPeriodString WRITE setArchivePostsPeriodString)
    Q_PROPERTY(bool showAtLeastPosts READ showAtLeastPosts WRITE setShowAtLeastPosts)
    Q_PROPERTY(int showPostLimit READ showPostLimit WRITE setShowPostLimit)
    Q_PROPERTY(bool generatePermalinkPages READ generatePermalinkPages WRITE setGeneratePermalinkPages)
    Q_PROPERTY(QString permalinkLinkName READ permalinkLinkName WRITE setPermalinkLinkName)
    Q_PROPERTY(QString readMoreLinkName READ readMoreLinkName WRITE setReadMoreLinkName)
    Q_PROPERTY(bool prependSummaryToPost READ prependSummaryToPost WRITE setPrependSummaryToPost)
    Q_PROPERTY(bool enableSmileys READ enableSmileys WRITE setEnableSmileys)
    Q_PROPERTY(bool usePHPForSidebarContent READ usePHPForSidebarContent WRITE setUsePHPForSidebarContent)
    Q_PROPERTY(QVariantList sidebarControl READ sidebarControl WRITE setSidebarControl)
    Q_PROPERTY(QString sidebarSeparator READ sidebarSeparator WRITE setSidebarSeparator)

    // Categories and tags
    Q_PROPERTY(QList<QFBlogCategoryPtr> categories READ categories WRITE setCategories NOTIFY categoriesChanged)
    Q_PROPERTY(bool categoryPostsEnabled READ categoryPostsEnabled WRITE setCategoryPostsEnabled)
    Q_PROPERTY(bool exportCategoriesAlphabetically READ exportCategoriesAlphabetically
                   WRITE setExportCategoriesAlphabetically)
    Q_PROPERTY(bool showCategoryPostCounts READ showCategoryPostCounts WRITE setShowCategoryPostCounts)
    Q_PROPERTY(QString categoryTitle READ categoryTitle WRITE setCategoryTitle)
    Q_PROPERTY(QString categorySeparator READ categorySeparator WRITE setCategorySeparator)
    Q_PROPERTY(bool tagsEnabled READ tagsEnabled WRITE setTagsEnabled)
    Q_PROPERTY(bool tagCloudEnabled READ tagCloudEnabled WRITE setTagCloudEnabled)
    Q_PROPERTY(bool showPostCountsForTags READ showPostCountsForTags WRITE setShowPostCountsForTags)
    Q_PROPERTY(QString tagsTitle READ tagsTitle WRITE setTagsTitle)
    Q_PROPERTY(QString tagsSeparator READ tagsSeparator WRITE setTagsSeparator)
    Q_PROPERTY(QVariantList knownTagsArray READ knownTagsArray NOTIFY knownTagsChanged)

    // Publishing
    Q_PROPERTY(bool enablePing READ enablePing WRITE setEnablePing)
    Q_PROPERTY(QVariantList pingSettings READ pingSettings WRITE setPingSettings)
    Q_PROPERTY(QDateTime lastBuildDate READ lastBuildDate WRITE setLastBuildDate)
    Q_PROPERTY(QDateTime lastSavedBuildDate READ lastSavedBuildDate WRITE setLastSavedBuildDate)

    // State that is not a setting
    Q_PROPERTY(bool shouldUpdateSearchIndexes READ shouldUpdateSearchIndexes WRITE setShouldUpdateSearchIndexes)
    Q_PROPERTY(bool pluginIsInitialising READ pluginIsInitialising WRITE setPluginIsInitialising)
    Q_PROPERTY(bool localizeCheckBoxState READ localizeCheckBoxState WRITE setLocalizeCheckBoxState)

public:
    // The stages of the export driver, in the order they run.
    enum class ExportStage { Archives, Categories, Tags, Permalinks, Feed, Sidebar };
    Q_ENUM(ExportStage)

    // A new blog with every default: the localised feed texts, the creator
    // and copyright line of the user (userIdentityProvider()), the bundle's
    // categories after the None category, the default ping list, lastBuildDate
    // now. Reports nothing to the host.
    explicit QFBlogPlugin(QObject *parent = nullptr);
    ~QFBlogPlugin() override;
    Q_DISABLE_COPY_MOVE(QFBlogPlugin)

    // ---- class level (one per process; main thread)

    // Register the user defaults the plugin reads ("QFBlogSwitchHaloScanToJSKitOnNoUserName"
    // by load; "QFBlogDisplayCommentCounts", "EnableUnsupportedBlogEntryCaching" by
    // initialize) and keep the defaults object for later readers. The object is
    // not owned and must outlive every plugin.
    static void load(QFUserDefaults &defaults);
    static void initialize(QFUserDefaults &defaults);
    // The defaults object given to load()/initialize(); null before.
    static QFUserDefaults *userDefaults();

    // Keeps the bundle and reads its feed strings ("rss"). False, changing
    // nothing, when a bundle was set before.
    static bool initializeClass(const QFBundle &bundle);
    // The bundle given to initializeClass(); a null bundle before.
    static QFBundle pluginBundle();
    // The bundle's text for key; the key itself without a bundle or entry.
    static QString localizedString(const QString &key);
    // The bundle's "rss" property list; empty before initializeClass().
    static QVariantMap rssStringDictionary();

    // One new blog, owned by the caller.
    static std::vector<std::unique_ptr<QFBlogPlugin>> pluginsAvailable();
    // The shared files of every blog export: the feed icon and the smileys,
    // as absolute paths into the bundle's resources.
    static QStringList extraFilesNeededInExportFolder();
    // The name site documents store for blog pages; never translated.
    static QString pluginIdentifier();
    static QString pluginName();
    static QString pluginDescription();
    // Read from the bundle on every call; a null image without one.
    static QImage pluginIcon();
    static QString pluginAuthor();

    // Where new blogs take the user's name and e-mail address from; the
    // system (QFBlogUserIdentity::fromSystem) unless set. An empty function
    // restores the system.
    static void setUserIdentityProvider(std::function<QFBlogUserIdentity()> provider);

    // The placeholders of a blog whose user has no e-mail address.
    static QString placeholderEmailAddress();
    static QString placeholderSiteURL();

    // The ping services of a new blog: a list of {"name", "url", "rpc"} maps,
    // made afresh on each call.
    static QVariantList defaultPingSettings();

    // "none", "haloscan", "js-kit", "disqus" for provider tags 0 to 3; empty
    // for any other tag.
    static std::optional<QString> identifierForCommentsProviderTag(int tag);

    // ---- the host's questions

    void setDocument(QFSiteDocument *document) override;
    // After the host opened the document: repairs podcast paths against the
    // document's folder and announces the post list, without reporting a change.
    void documentWasLoaded() override;
    // The settings the record has no place for (the comment accounts and
    // service, the sidebar sections and separator, the category order), so
    // they survive saving and reopening a site.
    QVariantMap pageSettings() const override;
    void restorePageSettings(const QVariantMap &settings) override;

    // The plugin's record in the site document: 59 values in a fixed order,
    // without keys or version (see docs/FORMATS.md, "Blog plugin record").
    // Writes it; any thread. Posts and categories go in their dictionary
    // forms, custom tags and the channel's iTunes tags as objects.
    void encodeWithCoder(QFArchiver &coder) const override;
    // Reads a record into this newly made plugin (its defaults are what
    // missing values leave) and answers this. The reading runs on the main
    // thread: called from another one, the plugin moves to the main thread
    // and the caller waits for the reading there (the main thread must not be
    // waiting for the caller). A QFException of the unarchiver (a malformed
    // record, an unknown class) reaches the caller unchanged; the plugin is
    // then half read and must be thrown away. Nothing is reported to the host.
    QFBlogPlugin *initWithCoder(QFUnarchiver &coder);
    // The reading itself, on the calling thread (the main one).
    void performInitWithCoder(QFUnarchiver &coder);
    // Repairs after reading (the page exchange uses them too); each answers
    // whether it changed anything. fixUpPostIDs files every post without a
    // category (or in None) under the first category, counting that as a
    // change, and gives every repeated ID a fresh one from nextID(), logged.
    bool fixUpPostIDs();
    // Gives every post without iTunes tags an empty set.
    bool fixUpiTunesTags();
    // Gives every post without a GUID a new guid().
    bool fixupPostGUIDs();
    // Makes the images of every post's body and summary fit for the web;
    // answers how many attachments changed.
    unsigned normaliseImages();

    // "php" when the sidebar is a shared PHP include, else empty.
    std::optional<QString> overrideFileExtension() const override;
    static QString shortName();
    // Keys under which the host keeps the sort order of the editor's six tables.
    static QStringList tableKeys();

    // ---- export (see the class comment for threads)

    // The main page: the HTML of mainPagePosts() with the comment services'
    // scripts; "" for a blog without posts.
    QString contentHTML(const QVariantMap &params) override;
    // The shared PHP include line for sub-pages when the sidebar is a PHP
    // file, else staticSidebarHTML().
    QString sidebarHTML(const QVariantMap &params) override;
    // The feed link for the head of the blog's pages; "" while the feed is
    // off. Raises QFException "Base URL Required" without a base URL.
    QString pageContentHeaders(const QVariantMap &params) const override;
    // The sidebar: each enabled section of sidebarControl() in order, each
    // followed by sidebarSeparator() — the category links in
    // <div id="blog-categories"> (only with category pages on), the tag cloud
    // (only with tags and the cloud on), the archive links in
    // <div id="blog-archives"> (only with archives on), the feed link in
    // <div id="blog-rss-feeds"> (only with the feed on) and the comments
    // feed link. The feed section leaves its element open and the comments
    // section closes it whenever the feed is on, so in the default order the
    // two share one element; without a comments section it stays open. The
    // archive table is built for it (calculateArchives(), once per export
    // session). Params "subpage" true: links as seen from the files folder.
    QString staticSidebarHTML(const QVariantMap &params);

    // ---- internal links (QFBlogPluginInternalLinks)
    std::optional<QVariantList> internalPageLinks() const override;
    std::optional<QString> hrefForSubpage(const QString &subPageID, int depthCorrection,
                                          const QFSiteLayout::Page &page) const override;
    // A site export is one session: from siteExportWillBegin() to
    // siteExportDidEnd() the posts are sorted newest first once, the archive
    // table is built once (by the sidebar or the export driver, whichever
    // comes first), the published posts' tags are counted once
    // (tagsForEnabledBlogEntries()) and internal links are looked up in an
    // index (QFBlogPluginInternalLinks::beginLookups()). The blog must not
    // change in between; the output is the same as without a session.
    void siteExportWillBegin() override;
    void siteExportDidEnd() override;
    // After a publish: pings the blog's services when enablePing is on
    // (QFBlogPluginPing::postPublishActions), on the calling thread.
    bool postPublishActions() override;
    // The export driver: the content-only sub-pages of this export followed
    // by every file in the scratch folder. Empty for a blog without posts and
    // when the export was cancelled. Raises QFException "Invalid RSS" or
    // "Failed to write podcast image" and ends the export at that point.
    QList<QFExportItem> extraFilesNeededInExportFolder(const QVariantMap &params) override;
    // Asks a running export to stop at the next post or stage.
    void cancelExport() override;
    // Progress of the export driver, in pages written: the driver announces
    // how many the export will write, every generator counts each page it
    // writes or hands back (reportExportProgress).
    void beginExportUnits(qint64 total);
    void exportUnitDone();
    bool exportCancelled() const;

    // The scratch folder of this blog's exports.
    QString temporaryFilesDirectory();
    // Creates the folder when missing; with purge, empties it (its entries
    // are removed from the last listed to the first).
    void createFolder(const QString &path, bool purge);
    // Writes the image as PNG into the scratch folder under the file name
    // (only its last component). Nothing for empty data; QFException
    // "Failed to write podcast image" when the data is no image or the file
    // cannot be written.
    void exportPodcastImageData(const QByteArray &data, const QString &fileName);

    // Problems of single posts met during an export: counted, collected and
    // reported once, in one alert, at its end. Safe from the feed's thread.
    void addExportError(const QString &text);
    // Every page and the feed of one export share the files folder, and a
    // name a user chose (a permalink, the feed's) may be one the blog makes
    // too: the first to claim a name (ignoring case, as some servers do)
    // writes it. A later claim is an export error naming both, and false.
    // `what` says whose the file is ("the feed", "the tag page “x”" …).
    bool claimExportFileName(const QString &fileName, const QString &what);
    unsigned numberOfExportErrors() const;
    QString exportErrorsString() const;
    // Shows the collected problems through QFAlert; called off the main
    // thread, it is queued to the main thread and returns at once.
    void reportExportErrorsOnMainThread();

    // The posts of the main page, newest first: with archives on, the first
    // showPostLimit published posts when showAtLeastPosts is on, else those
    // of the most recent period; with archives off every published post.
    QList<QFBlogEntryPtr> mainPagePosts() const;

    // A new identifier: 32 lower-case hexadecimal digits. Empty (and logged)
    // when no UUID can be made.
    std::optional<QString> guid() const;
    // The next post ID: lastID, which then grows by one.
    int nextID();
    // Raises QFException "No Post ID Left" when fewer than `count` IDs remain
    // below INT_MAX, so adding posts never wraps to negative IDs.
    void requirePostIDs(qsizetype count) const;

    // ---- posts, categories, tags

    // All posts in insertion order (unsorted).
    const QList<QFBlogEntryPtr> &posts() const;
    // Inserts the post at index (appends for a negative or too large index),
    // attaches it to this plugin and announces the change of the post list.
    // Reports nothing to the host: callers that edit do.
    void insertBlogEntry(const QFBlogEntryPtr &entry, qsizetype index = -1);
    // Appends the posts, attached to this plugin, announcing the change of
    // the post list once.
    void insertBlogEntries(const QList<QFBlogEntryPtr> &entries);
    // A post's date changed: the entry list re-sorts (blogEntryDateChanged),
    // unless the plugin is initialising.
    void blogEntryChangedDate(QFBlogEntry *entry, const QDateTime &date);

    // Element 0 is the None category.
    const QList<QFBlogCategoryPtr> &categories() const;
    // Another list than the one held: keeps it without duplicate categories
    // (the first stays), attaches them and reports the change.
    void setCategories(const QList<QFBlogCategoryPtr> &categories);
    // Gives every category with ID 0 the next free ID; whether any changed.
    bool fixUpCategoryIDs();
    // One more than the largest category ID (1 when all are 0).
    int nextCategoryID() const;

    // Tag use counts: one use more or less, announced and reported.
    void addTag(const QFBlogTag &tag);
    void removeTag(const QFBlogTag &tag);
    const QFCountedSet &knownTags() const;
    // {"name": tag name, "count": uses (uint)} per known tag, in set order.
    QVariantList knownTagsArray() const;
    // The tags of every enabled post (status 1), one count per use. Counted
    // once per site export session.
    QFCountedSet tagsForEnabledBlogEntries() const;

    // The date modifiers return to the localised "datemod1" .. "datemod4".
    void setDefaultDateModifiers();

    // A custom feed tag changed: reports the change once when a post holds it.
    void blogCustomTagDidChange(QObject *object);

    // ---- entry management (the editor's actions, without widgets)
    //
    // Undo: additions and removals of posts are recorded on the document's
    // undo stack. A plugin without a document records no undo.

    // The posts in display order (the entry list's arranged objects).
    QList<QFBlogEntryPtr> blogs() const;
    // A new empty post at the top of the list: no title, dated now, in the
    // None category, empty body and summary, an empty iTunes tag set, the
    // next ID and a new GUID. Clears the search first so it shows, selects
    // it, reports the change. Not indexed until its text is edited. Null
    // only when the post could not be made (logged).
    QFBlogEntryPtr addEntry();
    // Adds the given posts themselves, renumbered with fresh IDs and GUIDs
    // (their earlier identity is given up), clears the search, selects them,
    // indexes them when the search is live, records the undo (removing them
    // again) and reports. Null posts are skipped. Answers the posts added.
    QList<QFBlogEntryPtr> addEntries(const QList<QFBlogEntryPtr> &entries);
    // Removes the posts from the list and the search indexes, records the
    // undo (adding them back, renumbered) and reports. Their tags keep
    // counting: the undo brings them back.
    void removeEntries(const QList<QFBlogEntryPtr> &entries);
    // Asks through QFAlert ("RemoveEntries", buttons "Remove" and "Cancel",
    // "CannotBeUndone") and on "Remove" removes the selected posts for good
    // (reallyRemoveIfTheUserSaidItIsOK). Nothing is asked with no selection.
    // Whether posts were removed.
    bool removeEntry();
    // The end of that question: on returnCode 0 (the default button) the
    // selected posts leave the indexes, lose their tags (so the tag counts
    // drop) and leave the list; no undo. Any other code does nothing.
    bool reallyRemoveIfTheUserSaidItIsOK(int returnCode);
    // Removes the posts from the plugin's list and announces it; posts not in
    // the list are ignored. Reports nothing to the host, records no undo
    // (the entry list's removeObjects() comes here).
    void removeBlogEntries(const QList<QFBlogEntryPtr> &entries);

    // The entry list's selected posts, in display order.
    QList<QFBlogEntryPtr> selectedEntries() const;
    // The post at the entry list's selected row; the first post shown when
    // nothing (or row 0) is selected; null for an empty list.
    QFBlogEntryPtr currentEntry() const;
    // The first post, newest first, whose ID is postID; null when none.
    QFBlogEntryPtr postForPostID(int postID) const;

    // The calendar format of post dates: each date modifier's fragment
    // followed by its separator, four times. A null separator is stored back
    // as "" first (without reporting).
    QString userConfiguredDate();
    // Now in that format, in the user's locale when the localise check box is
    // on, else in the C locale: what the sample field shows.
    QString sampleDate();
    // Dates the current post now; the date given to it (for the date
    // picker), or empty without a current post.
    std::optional<QDateTime> setNow();

    // The feed-summary check box of the current post changed to checkBoxValue
    // (non-zero: summarise). The feed text view is editable exactly when it
    // is 0. When summarising, runs onSummarizeEntry(sliderValue) and answers
    // its text; empty otherwise.
    std::optional<QString> onSummarizeCheckbox(int checkBoxValue, int sliderValue);
    // For a current post that summarises: its body's first sliderValue
    // sentences, which the feed text view shows; the count actually taken is
    // stored in the post. Empty when there is no such post.
    std::optional<QString> onSummarizeEntry(int sliderValue);

    // The first category named exactly name; null when none.
    QFBlogCategoryPtr categoryForCategoryName(const QString &name) const;
    bool categoryNameExists(const QString &name) const;
    // addNewCategory() with the localised "NewCategoryName", or the first of
    // "NewCategoryNameFormatString" with 2, 3, … that no category has in any
    // letter case.
    QFBlogCategoryPtr addCategory();
    // Appends a category of that name with the next free ID and reports.
    // Never null (a name in use ignoring case leaves it without a name).
    QFBlogCategoryPtr addNewCategory(const QString &name);
    // Removes a category no post uses, at once (reporting nothing). A used
    // category is never removed here: mergeCategoriesRequested() hands its
    // posts and it to whoever merges. Null and the None category are ignored.
    void removeCategory(const QFBlogCategoryPtr &category);

    // The current post's text was edited: indexes it again while the search
    // is live.
    void reindexBlogEntry(const QFBlogEntryPtr &entry);

    // The podcast chosen in the open panel (or dropped on the well) for the
    // single selected post: stored, and its reference made relative to the
    // document. Nothing for an empty path or unless exactly one post is
    // selected. Whether the post got it.
    bool choosePodcast(const QString &path);
    bool podcastWasChanged(const QString &file);
    // Every selected post gets an empty podcast path.
    void clearPodcast();

    // A new ping service row {"name": "service name", "url": "http://",
    // "rpc": false} at the end of pingSettings; its index (the row to edit).
    int addPingSettings();
    // A new custom feed tag at the end of the single selected post's tags;
    // null unless exactly one post is selected.
    QFBlogCustomTagPtr addBlogChannelCustomTag();
    // A new custom feed tag at the end of the channel's tags; reported.
    QFBlogCustomTagPtr addChannelTag();

    // ---- comment service account (the options' account label and field)

    QFBlogCommentsAccountFields commentsAccountFields() const;
    // The provider pop-up's action: selects the service and reports.
    void actionSelectCommentProvider(int tag);
    // The account field's text changed: stored under the selected service
    // (an empty text removes it), reported.
    void commentsAccountTextDidChange(const QString &text);

    // ---- reporting

    // Does nothing while initialising; otherwise stamps lastBuildDate with now
    // and tells the host.
    void broadcastPluginChanged() override;

    // ---- method groups
    QFBlogPluginArchives &archives() const;
    QFBlogPluginCodeGeneration &codeGeneration() const;
    QFBlogPluginPermalinks &permalinks() const;
    QFBlogPluginInternalLinks &internalLinks() const;
    QFBlogPluginRSS &rss() const;
    QFBlogPluginCategories &categoriesGroup() const;
    QFBlogPluginTagsEmission &tagsEmission() const;
    QFBlogPluginIndexes &indexes() const;
    // The page exchange; sandwich() is its package of this blog.
    QFBlogPluginSandwich &sandwichGroup() const;
    std::unique_ptr<CVSandwich> sandwich() override;
    // Pings of weblog directories, and the transport they use.
    QFBlogPluginPing &ping() const;
    // The entry list; owned by the plugin.
    QFBlogEntryArrayController &blogEntryArrayController() const;

    // ---- settings (keys and reporting rules in the class comment)
    QString rssLanguage() const { return _rssLanguage; }
    void setRssLanguage(const QString &value);
    QString rssHomepage() const { return _rssHomepage; }
    void setRssHomepage(const QString &value);
    QString rssDescription() const { return _rssDescription; }
    void setRssDescription(const QString &value);
    QString rssCreator() const { return _rssCreator; }
    void setRssCreator(const QString &value);
    QString rssCopyright() const { return _rssCopyright; }
    void setRssCopyright(const QString &value);
    QString rssTitle() const { return _rssTitle; }
    void setRssTitle(const QString &value);
    QString rssFeedLinkName() const { return _rssFeedLinkName; }
    void setRssFeedLinkName(const QString &value);
    QString rssCommentsLinkName() const { return _rssCommentsLinkName; }
    void setRssCommentsLinkName(const QString &value);
    QString rssCustomFeedFilename() const { return _rssCustomFeedFilename; }
    void setRssCustomFeedFilename(const QString &value);
    QString rssCustomFeedURL() const { return _rssCustomFeedURL; }
    void setRssCustomFeedURL(const QString &value);
    bool enableRSS() const { return _enableRSS; }
    void setEnableRSS(bool value);
    bool enableCustomRSSURL() const { return _enableCustomRSSURL; }
    void setEnableCustomRSSURL(bool value);
    bool generateRssEntriesForMainPageOnly() const { return _generateRssEntriesForMainPageOnly; }
    void setGenerateRssEntriesForMainPageOnly(bool value);
    bool summarizeEntryRSS() const { return _summarizeEntryRSS; }
    void setSummarizeEntryRSS(bool value);
    int summarizeEntryRSSCount() const { return _summarizeEntryRSSCount; }
    void setSummarizeEntryRSSCount(int value);
    bool enablePodcasting() const { return _enablePodcasting; }
    void setEnablePodcasting(bool value);
    bool enableCustomiTunesTags() const { return _enableCustomiTunesTags; }
    void setEnableCustomiTunesTags(bool value);
    QList<QFBlogCustomTagPtr> channelCustomTags() const { return _channelCustomTags; }
    void setChannelCustomTags(const QList<QFBlogCustomTagPtr> &value);
    QFBlogCustomiTunesTagsPtr channelCustomiTunesTags() const { return _channelCustomiTunesTags; }
    void setChannelCustomiTunesTags(const QFBlogCustomiTunesTagsPtr &value);

    int lastID() const { return _lastID; }
    void setLastID(int value);
    QString dateSeperator1() const { return _dateSeperator1; }
    void setDateSeperator1(const QString &value);
    QString dateSeperator2() const { return _dateSeperator2; }
    void setDateSeperator2(const QString &value);
    QString dateSeperator3() const { return _dateSeperator3; }
    void setDateSeperator3(const QString &value);
    QString dateSeperator4() const { return _dateSeperator4; }
    void setDateSeperator4(const QString &value);
    QString dateModifier1() const { return _dateModifier1; }
    void setDateModifier1(const QString &value);
    QString dateModifier2() const { return _dateModifier2; }
    void setDateModifier2(const QString &value);
    QString dateModifier3() const { return _dateModifier3; }
    void setDateModifier3(const QString &value);
    QString dateModifier4() const { return _dateModifier4; }
    void setDateModifier4(const QString &value);
    QString localizeDate() const { return _localizeDate; }
    void setLocalizeDate(const QString &value);
    // Date-modifier name -> calendar-format fragment, and language name ->
    // code, from the bundle; empty without one.
    QVariantMap languages() const { return _languages; }
    QVariantMap dates() const { return _dates; }

    // Whether a comment service is selected; the setter sets the legacy
    // switch that older documents carry.
    bool enableComments() const { return m_commentsSelectedProviderTag != 0; }
    void setEnableComments(bool value);
    bool enableCommentsInline() const { return _enableCommentsInline; }
    void setEnableCommentsInline(bool value);
    int commentsSelectedProviderTag() const { return m_commentsSelectedProviderTag; }
    void setCommentsSelectedProviderTag(int value);
    QVariantMap commentsUserIdentifiers() const { return m_commentsUserIdentifiers; }
    void setCommentsUserIdentifiers(const QVariantMap &value);
    QString commentSeparator() const { return _commentSeparator; }
    void setCommentSeparator(const QString &value);

    bool archivePostsEnabled() const { return _archivePostsEnabled; }
    void setArchivePostsEnabled(bool value);
    bool archivePostsShowGaps() const { return _archivePostsShowGaps; }
    void setArchivePostsShowGaps(bool value);
    int archivePostsPeriod() const { return _archivePostsPeriod; }
    void setArchivePostsPeriod(int value);
    // "Week", "Month", "Year" for periods 0 to 2, else "". Setting any text
    // selects months: that is all the stored text ever chose.
    QString archivePostsPeriodString() const;
    void setArchivePostsPeriodString(const QString &value);
    bool showAtLeastPosts() const { return _showAtLeastPosts; }
    void setShowAtLeastPosts(bool value);
    int showPostLimit() const { return _showPostLimit; }
    void setShowPostLimit(int value);
    bool generatePermalinkPages() const { return _generatePermalinkPages; }
    void setGeneratePermalinkPages(bool value);
    // The link texts under posts; the localised "PermalinkName" and
    // "ReadMoreName" while none is set.
    QString permalinkLinkName() const;
    void setPermalinkLinkName(const QString &value);
    QString readMoreLinkName() const;
    void setReadMoreLinkName(const QString &value);
    bool prependSummaryToPost() const { return _prependSummaryToPost; }
    void setPrependSummaryToPost(bool value);
    bool enableSmileys() const { return _enableSmileys; }
    void setEnableSmileys(bool value);
    bool usePHPForSidebarContent() const { return _usePHPForSidebarContent; }
    void setUsePHPForSidebarContent(bool value);
    // The stored list, or (while none is stored) the default sections.
    QVariantList sidebarControl() const;
    void setSidebarControl(const QVariantList &value);
    static QVariantList defaultSidebarControl();
    // "" while none is stored.
    QString sidebarSeparator() const;
    void setSidebarSeparator(const QString &value);

    bool categoryPostsEnabled() const { return _categoryPostsEnabled; }
    void setCategoryPostsEnabled(bool value);
    bool exportCategoriesAlphabetically() const { return _exportCategoriesAlphabetically; }
    void setExportCategoriesAlphabetically(bool value);
    bool showCategoryPostCounts() const { return _showCategoryPostCounts; }
    void setShowCategoryPostCounts(bool value);
    QString categoryTitle() const { return _categoryTitle; }
    void setCategoryTitle(const QString &value);
    QString categorySeparator() const { return _categorySeparator; }
    void setCategorySeparator(const QString &value);
    bool tagsEnabled() const { return _tagsEnabled; }
    void setTagsEnabled(bool value);
    bool tagCloudEnabled() const { return _tagCloudEnabled; }
    void setTagCloudEnabled(bool value);
    bool showPostCountsForTags() const { return _showPostCountsForTags; }
    void setShowPostCountsForTags(bool value);
    QString tagsTitle() const { return _tagsTitle; }
    void setTagsTitle(const QString &value);
    QString tagsSeparator() const { return _tagsSeparator; }
    void setTagsSeparator(const QString &value);

    // Whether pinging is on; the editor makes the ping table editable exactly then.
    bool enablePing() const { return _enablePing; }
    void setEnablePing(bool value);
    QVariantList pingSettings() const { return _pingSettings; }
    void setPingSettings(const QVariantList &value);
    QDateTime lastBuildDate() const { return lastBuildDateValue; }
    void setLastBuildDate(const QDateTime &value);
    QDateTime lastSavedBuildDate() const { return lastSavedBuildDateValue; }
    void setLastSavedBuildDate(const QDateTime &value);

    // Kept by the indexes group (one flag); see QFBlogPluginIndexes.
    bool shouldUpdateSearchIndexes() const;
    void setShouldUpdateSearchIndexes(bool value);
    bool pluginIsInitialising() const { return pluginIsInitialisingFlag; }
    void setPluginIsInitialising(bool value);
    // Sets the initialising flag for its life, so a plugin left by a failed
    // read or rebuild still reports its edits.
    class InitialisingScope final
    {
    public:
        explicit InitialisingScope(QFBlogPlugin &plugin);
        ~InitialisingScope();
        Q_DISABLE_COPY_MOVE(InitialisingScope)

    private:
        QFBlogPlugin &m_plugin;
    };
    // A load-time repair changed the data (the host should offer to save).
    bool postIDWasChanged() const { return _postIDWasChanged; }
    void setPostIDWasChanged(bool value);
    // The editor's "localise date" check box: post dates in the user's
    // locale when on, in the C locale when off. Interface state, not a setting.
    bool localizeCheckBoxState() const { return _localizeCheckBoxState; }
    void setLocalizeCheckBoxState(bool value);

    // The page's file name and title during an export (from "name" and "title").
    QString designatedFilename() const { return _designatedFilename; }
    QString designatedTitle() const { return _designatedTitle; }

signals:
    void blogEntriesAboutToChange();
    void blogEntriesChanged();
    void categoriesAboutToChange();
    void categoriesChanged();
    void knownTagsAboutToChange();
    void knownTagsChanged();
    // A post's date changed outside initialisation; the entry list re-sorts.
    void blogEntryDateChanged(QFBlogEntry *entry);
    // An export stage begins (emitted on the export's thread, only for
    // stages that run), for progress displays; a receiver may cancelExport().
    void exportStageStarted(QFBlogPlugin::ExportStage stage);
    // The editor shows the current post's text again (the selection or the
    // list changed under it).
    void currentEntryNeedsDisplay();
    // A category in use is to be removed: the merge step (editor or command
    // line) decides what becomes of these posts and removes the category.
    void mergeCategoriesRequested(const QList<QFBlogEntryPtr> &entries, const QFBlogCategoryPtr &categoryToRemove);

private:
    void setStringComparing(QString &field, const QString &value);
    void setBoolComparing(bool &field, bool value);
    void setIntComparing(int &field, int value);
    void setStringAlways(QString &field, const QString &value);
    void attachCategory(const QFBlogCategoryPtr &category);
    void showExportErrors(unsigned count, const QString &errors);
    // calculateArchives(), unless this export session already did.
    void ensureArchivesCalculated();

    // Undo commands replay additions and removals without recording again.
    friend class QFBlogEntriesCommand;
    // Packing and rebuilding a blog reads and fills every field at once.
    friend class QFBlogPluginSandwich;
    QList<QFBlogEntryPtr> doAddEntries(const QList<QFBlogEntryPtr> &entries, bool registerUndo);
    void doRemoveEntries(const QList<QFBlogEntryPtr> &entries, bool registerUndo);
    bool hasSingleSelection() const;

    qint64 m_exportUnitsDone = 0;
    qint64 m_exportUnitsTotal = 0;
    std::unique_ptr<QFBlogPluginArchives> m_archives;
    std::unique_ptr<QFBlogPluginCodeGeneration> m_codeGeneration;
    std::unique_ptr<QFBlogPluginPermalinks> m_permalinks;
    std::unique_ptr<QFBlogPluginInternalLinks> m_internalLinks;
    std::unique_ptr<QFBlogPluginRSS> m_rss;
    std::unique_ptr<QFBlogPluginCategories> m_categories;
    std::unique_ptr<QFBlogPluginTagsEmission> m_tagsEmission;
    std::unique_ptr<QFBlogPluginIndexes> m_indexes;
    std::unique_ptr<QFBlogPluginSandwich> m_sandwich;
    std::unique_ptr<QFBlogPluginPing> m_ping;
    std::unique_ptr<QFBlogEntryArrayController> m_blogEntryArrayController;
    // What a site export session keeps (siteExportWillBegin()); null outside
    // one. Declared after the groups it refers to.
    struct ExportSession;
    std::unique_ptr<ExportSession> m_exportSession;

    QList<QFBlogEntryPtr> _blogEntries;
    QString _rssLanguage;
    QString _rssHomepage;
    QString _rssDescription;
    QString _rssCreator;
    QString _rssCopyright;
    QString _rssTitle;
    int _lastID = 0;
    QVariantMap _languages;
    QVariantMap _dates;
    QString _dateSeperator1;
    QString _dateSeperator2;
    QString _dateSeperator3;
    QString _dateSeperator4;
    QString _dateModifier1;
    QString _dateModifier2;
    QString _dateModifier3;
    QString _dateModifier4;
    QString _localizeDate;
    QString _unused1;
    QVariantMap m_commentsUserIdentifiers;
    int m_commentsSelectedProviderTag = 0;
    int _archivePostsPeriod = 0;
    QString _rssFeedLinkName;
    QString _rssCommentsLinkName;
    QString _rssCustomFeedFilename;
    QString _rssCustomFeedURL;
    int _showPostLimit = 0;
    QList<QFBlogCustomTagPtr> _channelCustomTags;
    QList<QFBlogCategoryPtr> _categories;
    QString _categoryTitle;
    QString _categorySeparator;
    QString _commentSeparator;
    int _summarizeEntryRSSCount = 1;
    std::optional<QVariantList> _sidebarControl;
    QString _sidebarSeparator;
    QVariantList _pingSettings;
    QString _permalinkLinkName;
    QString _readMoreLinkName;
    bool _enableSmileys = false;
    bool _enableRSS = false;
    bool _enablePing = false;
    bool _enableComments = false;
    bool _enableCommentsInline = false;
    bool _enablePodcasting = false;
    bool _archivePostsEnabled = true;
    bool _archivePostsShowGaps = true;
    bool _generatePermalinkPages = true;
    bool _enableCustomiTunesTags = false;
    bool _generateRssEntriesForMainPageOnly = false;
    bool _postIDWasChanged = false;
    bool _summarizeEntryRSS = false;
    bool _categoryPostsEnabled = true;
    bool _exportCategoriesAlphabetically = true;
    bool _showAtLeastPosts = false;
    bool _showCategoryPostCounts = false;
    bool _prependSummaryToPost = false;
    bool _enableCustomRSSURL = false;
    QFBlogCustomiTunesTagsPtr _channelCustomiTunesTags;
    bool _tagsEnabled = true;
    bool _tagCloudEnabled = true;
    bool _showPostCountsForTags = false;
    QString _tagsTitle;
    QString _tagsSeparator;
    QDateTime lastSavedBuildDateValue;
    QDateTime lastBuildDateValue;
    bool _usePHPForSidebarContent = false;
    QFCountedSet cachedKnownTags;
    bool pluginIsInitialisingFlag = false;
    // Set while addEntries() renews the posts it is handed: they are not in
    // the list yet, so their dates need no re-sort of it.
    bool m_renewingAddedEntries = false;
    // The feed thread and the page generators both add export errors.
    mutable QMutex m_exportErrorsMutex;
    unsigned _numberOfExportErrors = 0;
    QString _exportErrorsString;
    QHash<QString, QString> m_exportFileNames; // case-folded name -> whose, this export's
    std::atomic<bool> _exportCancelled{false};
    QString _designatedFilename;
    QString _designatedTitle;
    bool _localizeCheckBoxState = false;
};

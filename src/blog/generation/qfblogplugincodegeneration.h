#pragma once

#include "blog/model/qfblogentry.h"
#include "qfkit/text/qfstyledtext.h"

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>
#include <vector>

class QFBlogPlugin;
class QFHTMLExporter;
class QFUserDefaults;
class tst_QFBlogPluginCodeGeneration;

// The code generation group of the blog plugin: the HTML fragment of one
// post as every page type shows it, the comment services' snippets, smileys,
// localised dates and the feed link of the page head. The plugin owns one
// and outlives it.
//
// Configuration read from the user defaults (QFBlogPlugin::userDefaults(); the
// registered values apply without one): "QFBlogDisplayCommentCounts",
// "EnableUnsupportedBlogEntryCaching", and the comment services' addresses
// "QFBlogHaloScanEndpoint", "QFBlogJSKitEndpoint", "QFBlogDisqusEndpoint"
// (scheme and host, to which the services' fixed paths are added).
//
// Threads: used by the export, which may run off the main thread; one export
// at a time per plugin.
class QFBlogPluginCodeGeneration final
{
public:
    // The page a fragment is made for; the values are the page type flags.
    enum PageType { MainPage = 0, ArchivePage = 1, PermalinkPage = 2, CategoryPage = 3, TagPage = 4 };

    explicit QFBlogPluginCodeGeneration(QFBlogPlugin &plugin);
    ~QFBlogPluginCodeGeneration();
    Q_DISABLE_COPY_MOVE(QFBlogPluginCodeGeneration)

    // Registers the defaults named above (the service addresses); called by
    // QFBlogPlugin::initialize().
    static void registerDefaults(QFUserDefaults &defaults);

    // An export of this blog starts or ends. In between, the user defaults
    // and the scratch folder are read once, each distinct export of a post's
    // rich text is made once and reused (the post must not change meanwhile),
    // and the permalinks group keeps its prepared templates. Both calls
    // forget everything kept; output never depends on it.
    void beginExport();
    void endExport();

    // beginExport() for as long as it lives; endExport() also when the
    // export ends with an exception or returns early.
    class ExportScope final
    {
    public:
        explicit ExportScope(QFBlogPluginCodeGeneration &generation);
        ~ExportScope();
        Q_DISABLE_COPY_MOVE(ExportScope)

    private:
        QFBlogPluginCodeGeneration &m_generation;
    };

    // The post's fragment; "" for a null post or a draft. filesDirectory is
    // where the shared files (smiley images) are, seen from the page;
    // pageTypeFlag a PageType. Raises QFException "Base URL Required" only
    // through the links it asks for; rich text that cannot be exported
    // raises the exporter's QFException.
    QString emitBlogEntryHTML(const QFBlogEntryPtr &entry, const QString &filesDirectory, int depthCorrection,
                              bool frontPage, int pageTypeFlag, const QVariantMap &params);
    // The tag paragraph of a post; "" without tags.
    QString emitTagsTextForBlogEntry(const QFBlogEntryPtr &entry, const QVariantMap &params, int depthCorrection) const;
    // Replaces smiley codes in place (when smileys are on and the bundle's
    // "smileys" table could be read) and returns html.
    QString &substituteSmileys(QString &html, const QString &filesDirectory, int depthCorrection) const;
    // One smiley image; a depth correction above 1 is logged and taken as 1.
    QString smileyLink(const QString &image, const QString &alt, const QString &filesDirectory,
                       int depthCorrection) const;
    // The date in a calendar format, in the user's locale when the options'
    // localise check box is on, else in the C locale; "" for an invalid date.
    QString localisedDescription(const QDateTime &date, const QString &format) const;

    // The feed link for the page head; "" when the feed is off. With the
    // custom feed URL on, pageContentHeaders() links that URL as stored.
    // contentHeaders() raises QFException "Base URL Required" without a base.
    QString pageContentHeaders(const QVariantMap &params) const;
    QString contentHeaders(const QVariantMap &params) const;

    // Comment services in use: HaloScan and Disqus with an account name,
    // JS-Kit whenever it is selected.
    bool useHaloScanComments() const;
    bool useJSKitComments() const;
    bool useDisqusComments() const;
    // The account names typed for HaloScan and Disqus; "" when none.
    QString haloScanUsername() const;
    QString disqusSiteName() const;

    // Page-level loaders (placed once per page) and Disqus snippets; each ""
    // when its service has nothing to load.
    QString haloScanLoadCommand() const;
    void appendHaloScanLoadCommand(QString &html) const;
    QString jskitLoadCommand() const;
    void appendJSKitLoadCommand(QString &html) const;
    QString disqusEmbedCodeForPost(const QFBlogEntryPtr &entry) const;
    QString disqusModifiedPermalinkForLink(const QString &link) const;
    QString disqusCommentCountingJavascript() const;

private:
    friend class tst_QFBlogPluginCodeGeneration;

    struct Settings
    {
        QString haloScanEndpoint;
        QString jskitEndpoint;
        QString disqusEndpoint;
        bool displayCommentCounts = true;
        bool unsupportedCaching = false;
    };

    // Which rich text of which post, exported how.
    struct ExportKey
    {
        const QFBlogEntry *entry = nullptr;
        bool summary = false; // the image prefix follows from the post and this
        QString imagesFolder;
        int depthCorrection = 0;
        friend bool operator==(const ExportKey &, const ExportKey &) = default;
    };
    friend size_t qHash(const ExportKey &key, size_t seed);

    Settings settings() const;
    static Settings readSettings();
    QString scratchFolder() const;
    bool memoActive() const;
    // The summary's length, -1 without one; loads the summary into *loaded
    // when it had to be read.
    qsizetype summaryLength(const QFBlogEntryPtr &entry, std::optional<QFStyledText> *loaded);
    // The post's body or summary as HTML, through the export memo and the
    // text's own cache attribute.
    QString exportedText(const QFBlogEntryPtr &entry, bool summary, std::optional<QFStyledText> preloaded,
                         const QFHTMLExporter &exporter, int depthCorrection, const QVariantMap &params);
    // Anchors of tag and category links made for one depth and one set of
    // export parameters, which is all they depend on besides their target,
    // and each post's tag line made of them.
    struct LinkMemo
    {
        QVariantMap params;
        int depthCorrection = 0;
        QHash<QString, QString> tags;
        QHash<int, QString> categories;
        QHash<const QFBlogEntry *, QString> tagLines; // a post's whole tag line
    };
    // The export's memo for these parameters; null when the memo is off.
    LinkMemo *linkMemo(const QVariantMap &params, int depthCorrection);
    // The tag line, its anchors kept in memo unless it is null.
    QString tagsText(const QFBlogEntryPtr &entry, const QVariantMap &params, int depthCorrection,
                     LinkMemo *memo) const;
    void appendComments(QString &html, const QFBlogEntryPtr &entry, const QString &title,
                        const std::optional<QString> &permalink, int pageTypeFlag, const QVariantMap &params) const;

    // Tests compare exports with and without the memo.
    void setExportMemoEnabled(bool enabled) { m_memoEnabled = enabled; }

    QFBlogPlugin &m_plugin;
    bool m_inExport = false;
    bool m_memoEnabled = true;
    Settings m_exportSettings;
    QString m_exportScratchFolder;
    QHash<ExportKey, QString> m_exportedTexts;
    QHash<const QFBlogEntry *, qsizetype> m_summaryLengths;
    // Per export, small and bounded by the blog's tags, categories and posts:
    // anchors of tag and category links, and each post's date line.
    std::vector<std::unique_ptr<LinkMemo>> m_linkMemos;
    QHash<const QFBlogEntry *, QString> m_dates;
    QString m_exportDateFormat;
};

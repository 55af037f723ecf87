#pragma once

#include "blog/model/qfblogentry.h"

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QVariantMap>

class QFBlogPlugin;

// The code generation group of the blog plugin: the HTML fragment of one
// post as every page type shows it, the comment services' snippets, smileys,
// localised dates and the feed link of the page head. The plugin owns one
// and outlives it.
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

    // Forgets what the previous export computed (exported rich text kept
    // for reuse within one export). The export driver calls it when an
    // export starts; output never depends on it.
    void beginExport();
    void endExport();

    // The post's fragment; "" for a draft.
    QString emitBlogEntryHTML(const QFBlogEntryPtr &entry, const QString &filesDirectory, int depthCorrection,
                              bool frontPage, int pageTypeFlag, const QVariantMap &params);
    // The tag paragraph of a post; "" without tags.
    QString emitTagsTextForBlogEntry(const QFBlogEntryPtr &entry, const QVariantMap &params, int depthCorrection) const;
    // Replaces smiley codes in place (when smileys are on) and returns html.
    QString &substituteSmileys(QString &html, const QString &filesDirectory, int depthCorrection) const;
    QString smileyLink(const QString &image, const QString &alt, const QString &filesDirectory,
                       int depthCorrection) const;
    // The date in a calendar format, localised when the options' check box is on.
    QString localisedDescription(const QDateTime &date, const QString &format) const;

    // The feed link for the page head; "" when the feed is off.
    QString pageContentHeaders(const QVariantMap &params) const;
    QString contentHeaders(const QVariantMap &params) const;

    // Comment services in use (provider tag plus what it needs).
    bool useHaloScanComments() const;
    bool useJSKitComments() const;
    bool useDisqusComments() const;
    QString haloScanUsername() const;
    QString disqusSiteName() const;

    // Page-level loaders and Disqus snippets.
    QString haloScanLoadCommand() const;
    void appendHaloScanLoadCommand(QString &html) const;
    QString jskitLoadCommand() const;
    void appendJSKitLoadCommand(QString &html) const;
    QString disqusEmbedCodeForPost(const QFBlogEntryPtr &entry) const;
    QString disqusModifiedPermalinkForLink(const QString &link) const;
    QString disqusCommentCountingJavascript() const;

private:
    QFBlogPlugin &m_plugin;
};

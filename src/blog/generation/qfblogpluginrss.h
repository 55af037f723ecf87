#pragma once

#include "blog/model/qfblogcustomitunestags.h"
#include "blog/model/qfblogcustomtag.h"
#include "blog/model/qfblogentry.h"
#include "qfkit/document/qfpage.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <optional>

class QFBlogPlugin;

// The feed group of the blog plugin: the RSS 2.0 document of an export, with
// Dublin Core, admin, content and iTunes elements, and the podcast enclosures
// (whose files it copies beside the feed). The plugin owns one and outlives it.
//
// URLs written into the feed are percent-escaped: every byte of the UTF-8
// text outside the URL syntax characters (letters, digits, - . _ ~ : / ? # [
// ] @ ! $ & ' ( ) * + , ; =) becomes %XX, except a "%" that already starts
// an escape. Text that is still no valid URL after that (a host with a
// blank, a port that is no number) is an error named after the URL's role.
// An "&" in a URL is written as "&amp;" so the feed stays well-formed XML.
//
// Errors are QFException with the names and reasons of the system: "Base URL
// Required", "Invalid Page Link", "Invalid Post URL", "Invalid Enclosure",
// "Invalid Podcast URL", "Invalid Owner Email", "Invalid Category", "Invalid
// Keyword", "Invalid Image Link"; each ends the export. A podcast file that
// cannot be read is not one of them: it is counted with the plugin's
// addExportError() and the item goes without its enclosure.
//
// Threads: used by the export, which may run off the main thread; one export
// at a time per plugin.
class QFBlogPluginRSS final
{
public:
    explicit QFBlogPluginRSS(QFBlogPlugin &plugin);
    Q_DISABLE_COPY_MOVE(QFBlogPluginRSS)

    // The whole feed: the bundle's "header", the channel elements, one item
    // per published post of entries in the given order (with the
    // main-page-only setting, only posts of mainPagePosts()), the "footer";
    // every "http:///" then becomes "http://". Podcast files are copied into
    // directory. Items start with a link to the post's block on its
    // permalink page, its archive page (permalink pages off) or the main page.
    // Stops between posts when the export is cancelled; what it returns then
    // is incomplete. Raises "Base URL Required" when params "base" or
    // "index" is missing or empty, and every error of the URLs and podcast
    // elements (see the class comment).
    QString feedsForEntries(const QList<QFBlogEntryPtr> &entries, const QVariantMap &params,
                            const QString &directory);
    // The same feed written as UTF-8 to the file at path as it is made, so
    // the export never holds it whole. False (and no file) when the export
    // was cancelled meanwhile. Raises what feedsForEntries() raises, and
    // QFException "Invalid RSS" when the text cannot be encoded as UTF-8 (a
    // lone surrogate in a custom tag); the file is then removed. A file that
    // cannot be written is left out, as every generated page is.
    bool exportFeed(const QList<QFBlogEntryPtr> &entries, const QVariantMap &params, const QString &directory,
                    const QString &path);

    // The podcast part of one item: the enclosure (the override's URL, size
    // and type where given, else the file's, which is then copied into
    // directory as enclosureFileName()), the post's custom tags and, with the
    // channel's iTunes tags on, its iTunes elements. "" (and one export error
    // counted) when the podcast file cannot be read or is empty.
    QString podcastRss(const QFBlogEntryPtr &entry, const QVariantMap &params, const QString &directory);

    // Whether the post has a podcast file, or a switched-on override giving a
    // size, a type or a URL.
    bool containsPotentialPodcast(const QFBlogEntryPtr &entry) const;
    // "podcast_<ID>.<extension of the podcast file>"
    QString enclosureFileName(const QFBlogEntryPtr &entry) const;
    // The MIME type for a file extension (any letter case) from the bundle's
    // "enclosures" table; nullopt when unknown.
    static std::optional<QString> enclosureMimeType(const QString &extension);
    // That table, read once per process; empty without a bundle.
    static QVariantMap enclosureMimeTypeMap();

    // The feed's file name in the files folder: the custom feed file name, or
    // the page's unique ID, with ".xml" added when it has no extension. A
    // custom name that QFBlogFileNames does not accept counts as none (and
    // "feed" stands in for a unique ID that makes no file name), so the name
    // is always one file in the files folder.
    QString rssFeedFilename() const;
    // The external feed address (the plugin's rssCustomFeedURL).
    QString rssFeedURL() const;
    void setRssFeedURL(const QString &url);

    // The document's page made by this plugin, looked for from the second
    // page on (the first page is never matched); nullopt when not found or
    // without a document.
    std::optional<QFPage> currentPage() const;

    // "<tag attributes>value</tag>" (or "<tag>value</tag>") for each tag with
    // a name and a value, written as typed, without escaping.
    void appendCustomTags(const QList<QFBlogCustomTagPtr> &tags, QString &string) const;
    // The iTunes elements of a tag set, each only when its value is set:
    // author, owner (name, e-mail), category, keywords, subtitle, summary,
    // image (imageName in the files folder), explicit, block. Texts are
    // written as numeric character references. Raises "Invalid Owner Email",
    // "Invalid Category" (more than two categories), "Invalid Keyword" (a
    // keyword with a character outside plain ASCII text), "Invalid Image
    // Link". A null tag set appends nothing.
    void appendiTunesCustomTags(const QFBlogCustomiTunesTagsPtr &tags, QString &string, const QVariantMap &params,
                                const QString &imageName) const;
    // The category element of one or two names (the second nested in the
    // first); "" for no names or one empty name. Appended to *string when
    // one is given, and returned.
    QString appendiTunesCategoryTags(const QStringList &names, QString *string) const;

private:
    struct Context;

    // The feed, handed to sink in parts; false when cancelled.
    bool buildFeed(const QList<QFBlogEntryPtr> &entries, const QVariantMap &params, const QString &directory,
                   const std::function<void(const QString &)> &sink);
    QString podcastRss(const Context &context, const QFBlogEntryPtr &entry);
    QString itemContent(const Context &context, const QFBlogEntryPtr &entry) const;

    QFBlogPlugin &m_plugin;
};

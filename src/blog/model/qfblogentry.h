#pragma once

#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogcustomitunestags.h"
#include "blog/model/qfblogcustomtag.h"
#include "blog/model/qfblogtag.h"
#include "qfkit/coding/qfcoding.h"
#include "qfkit/support/qffilereference.h"
#include "qfkit/text/qfstyledtext.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <optional>

class QFBlogPlugin;
class QFKeyedUnarchiver;
class QFUnarchiver;

// One blog post. The plugin owns its posts (QFBlogEntryPtr, in its list); a
// post keeps a plain non-owning pointer back to its plugin (blogPlugin), which
// it uses to resolve category IDs, to keep the blog-wide tag counts and to
// report edits. A post without a plugin works as a plain record.
//
// Every field is a property under its key name whose WRITE is the setter
// below, so edits made by key follow the same reporting rules. Reporting:
// setTitle, setDate, setOverridePermalinkName, setOverridePermalinkNameText,
// setCustomTags (only for a different list) and the three custom-tag list
// edits call the plugin's broadcastPluginChanged(); setDate also tells it
// blogEntryChangedDate() first. Every other setter stores silently, setTags
// included (it only moves the plugin's tag counts).
//
// Missing values: a null QString (title, podcast …), an invalid QDateTime, an
// empty std::optional (body, summary, tags) or a null pointer (iTunes tags,
// podcast reference). A new post has an empty podcastOverride and an empty
// customTags list and nothing else; its date, status and ID are given by the
// plugin.
//
// The body and summary are kept as the keyed archive of their styled text and
// unarchived afresh on every read, so callers own what they get.
//
// Dictionary form (the plugin record, see dictionaryForEncoding()): reading
// checks the type of every object-valued key; a wrong type logs
// "Dictionary has incorrect type for key <key> (type is <found>, should be
// <expected>): <title> (<date>)" and gives no post.
//
// Archived under the class name "QFBlogEntry": the sequential form is the
// dictionary form as one value; the keyed form (the clipboard) keeps it under
// the key "dictionary". Reading either attaches the post to the plugin set
// with setPluginForDecoding() (the plugin of the page being edited).
class QFBlogEntry final : public QObject, public QFCoding
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QVariant entry READ entryValue WRITE setEntryValue)
    Q_PROPERTY(QVariant entrySummary READ entrySummaryValue WRITE setEntrySummaryValue)
    Q_PROPERTY(QDateTime date READ date WRITE setDate NOTIFY dateChanged)
    Q_PROPERTY(int status READ status WRITE setStatus)
    Q_PROPERTY(int ID READ ID WRITE setID)
    Q_PROPERTY(QString GUID READ GUID WRITE setGUID)
    Q_PROPERTY(bool summarizeRSSEntry READ summarizeRSSEntry WRITE setSummarizeRSSEntry)
    Q_PROPERTY(int summarizeRSSSentenceCount READ summarizeRSSSentenceCount WRITE setSummarizeRSSSentenceCount)
    Q_PROPERTY(bool overridePermalinkName READ overridePermalinkName WRITE setOverridePermalinkName)
    Q_PROPERTY(QString overridePermalinkNameText READ overridePermalinkNameText WRITE setOverridePermalinkNameText)
    Q_PROPERTY(QList<int> categoryIDs READ categoryIDs WRITE setCategoryIDs NOTIFY categoriesChanged)
    Q_PROPERTY(QVariant tags READ tagsValue WRITE setTagsValue NOTIFY tagsChanged)
    Q_PROPERTY(QString podcast READ podcast WRITE setPodcast NOTIFY podcastChanged)
    Q_PROPERTY(QList<QFBlogCustomTagPtr> customTags READ customTags WRITE setCustomTags NOTIFY customTagsChanged)
    Q_PROPERTY(QFBlogCustomiTunesTagsPtr itunesTags READ itunesTags WRITE setItunesTags)
    Q_PROPERTY(QFFileReferencePtr podcastReference READ podcastReference WRITE setPodcastReference)
    Q_PROPERTY(QVariantMap podcastOverride READ podcastOverride WRITE setPodcastOverride)
    Q_PROPERTY(QStringList movableTypeCategoryNames READ movableTypeCategoryNames WRITE setMovableTypeCategoryNames)
    // Derived values.
    Q_PROPERTY(bool isDraft READ isDraft)
    Q_PROPERTY(QString titleOrNoTitle READ titleOrNoTitle NOTIFY titleChanged)
    Q_PROPERTY(QList<QFBlogCategoryPtr> categories READ categories WRITE setCategories NOTIFY categoriesChanged)
    Q_PROPERTY(QVariant categoriesWithoutNone READ categoriesWithoutNoneValue WRITE setCategoriesWithoutNoneValue NOTIFY categoriesChanged)
    Q_PROPERTY(QString categoryNames READ categoryNames NOTIFY categoriesChanged)
    Q_PROPERTY(int categoryIndex READ categoryIndex WRITE setCategoryIndex NOTIFY categoriesChanged)
    Q_PROPERTY(QString podcastName READ podcastName NOTIFY podcastChanged)
    Q_PROPERTY(QVariant podcastIcon READ podcastIconValue NOTIFY podcastChanged)

public:
    explicit QFBlogEntry(QFBlogPlugin *blogPlugin = nullptr);
    ~QFBlogEntry() override;

    // A new empty post of the plugin.
    static QFBlogEntryPtr blogEntryWithBlogPlugin(QFBlogPlugin *blogPlugin);
    // A post from its dictionary form, or null when a value has the wrong type
    // (logged). A title given as styled text (older files) is logged and
    // replaced IN the dictionary by its plain string; the const overload works
    // on a copy.
    static QFBlogEntryPtr blogEntryWithDictionary(QVariantMap &dictionary, QFBlogPlugin *blogPlugin);
    static QFBlogEntryPtr blogEntryWithDictionary(const QVariantMap &dictionary, QFBlogPlugin *blogPlugin);

    // Reads this post's own dictionary form back into it, with its own plugin,
    // and answers this same post: no second post is made. The plugin's
    // addEntries() uses it before renumbering the very posts it is handed.
    QFBlogEntry *mutableCopy();

    // The dictionary form: "title", "entry" and "entrySummary" (QFStyledText
    // objects), "date", "podcast", "customTags" (list of QFBlogCustomTag),
    // "itunesTags", "overridePermalinkNameText", "podcastReference",
    // "podcastOverride", "categoryIDs" when present; always "status" (1 for a
    // draft, 0 otherwise: the inverse of the field), "id", "guid" (made if
    // missing), "summarizeRSSEntry", "summarizeRSSSentenceCount",
    // "categoryIndex", "overridePermalinkName" and "tagsDictionary" (the tags'
    // dictionary forms in order, possibly empty). Objects are QFCodingPtr.
    QVariantMap dictionaryForEncoding() const;

    // The plugin given to posts read from an archive (clipboard, plugin
    // record). Main thread only; null by default.
    static void setPluginForDecoding(QFBlogPlugin *blogPlugin);
    static QFBlogPlugin *pluginForDecoding();

    QFBlogPlugin *blogPlugin() const { return m_blogPlugin; }
    void setBlogPlugin(QFBlogPlugin *blogPlugin) { m_blogPlugin = blogPlugin; }

    // --- plain properties
    const QString &title() const { return m_title; }
    void setTitle(const QString &title);

    // The body as a fresh styled text; empty when there is none. setEntry
    // removes the cache attribute "QFBlogEntryCacheData" everywhere when the
    // first character carries it; neither setter reports a change.
    std::optional<QFStyledText> entry() const;
    void setEntry(const std::optional<QFStyledText> &text);
    void setEntryString(const QString &string);
    std::optional<QFStyledText> entrySummary() const;
    void setEntrySummary(const std::optional<QFStyledText> &text);
    void setEntrySummaryString(const QString &string);
    // The stored bytes (keyed archives); null when absent.
    const QByteArray &entryData() const { return m_entryData; }
    const QByteArray &entrySummaryData() const { return m_entrySummaryData; }

    const QDateTime &date() const { return m_date; }
    // An invalid date is ignored (the date stays); otherwise stores it, then
    // tells the plugin blogEntryChangedDate() and broadcastPluginChanged().
    void setDate(const QDateTime &date);
    // The same for a value given by key: a QDateTime, or a QDate taken as
    // midnight in the system time zone; anything else is ignored.
    void setDateValue(const QVariant &date);

    int status() const { return m_status; }
    void setStatus(int status) { m_status = status; }
    int ID() const { return m_ID; }
    void setID(int ID) { m_ID = ID; }

    // Made on first read when there is none (a new upper-case UUID, 36
    // characters), then the same string for ever.
    QString GUID() const;
    void setGUID(const QString &GUID) { m_GUID = GUID; }
    // Whether a GUID is stored, without making one.
    bool hasGUID() const { return !m_GUID.isNull(); }

    bool summarizeRSSEntry() const { return m_summarizeRSSEntry; }
    void setSummarizeRSSEntry(bool value) { m_summarizeRSSEntry = value; }
    int summarizeRSSSentenceCount() const { return m_summarizeRSSSentenceCount; }
    void setSummarizeRSSSentenceCount(int value) { m_summarizeRSSSentenceCount = value; }
    bool overridePermalinkName() const { return m_overridePermalinkName; }
    void setOverridePermalinkName(bool value);
    const QString &overridePermalinkNameText() const { return m_overridePermalinkNameText; }
    void setOverridePermalinkNameText(const QString &text);

    // In the order given, without duplicates.
    const QList<int> &categoryIDs() const { return m_categoryIDs; }
    // Drops duplicates (the first stays) and stores; emits
    // categoriesAboutToChange() and categoriesChanged() around the store.
    void setCategoryIDs(const QList<int> &categoryIDs);

    // Empty when the list was never set (a plain new post).
    const std::optional<QFBlogTagList> &tags() const { return m_tags; }
    // Tells the plugin removeTag() for each tag that leaves and then addTag()
    // for each that arrives (compared as sets), then stores the list as given.
    // Reports no change to the plugin.
    void setTags(const std::optional<QFBlogTagList> &tags);
    // setTags() with the tag appended; a post whose list was never set stays
    // without one (and registers nothing).
    void addTag(const QFBlogTag &tag);

    const QString &podcast() const { return m_podcast; }
    void setPodcast(const QString &path);

    const QList<QFBlogCustomTagPtr> &customTags() const { return m_customTags; }
    void setCustomTags(const QList<QFBlogCustomTagPtr> &customTags);
    void insertObjectInCustomTagsAtIndex(const QFBlogCustomTagPtr &tag, qsizetype index);
    void removeObjectFromCustomTagsAtIndex(qsizetype index);
    void replaceObjectInCustomTagsAtIndex(qsizetype index, const QFBlogCustomTagPtr &tag);

    const QFBlogCustomiTunesTagsPtr &itunesTags() const { return m_itunesTags; }
    void setItunesTags(const QFBlogCustomiTunesTagsPtr &tags) { m_itunesTags = tags; }
    const QFFileReferencePtr &podcastReference() const { return m_podcastReference; }
    void setPodcastReference(const QFFileReferencePtr &reference) { m_podcastReference = reference; }
    // Read with QFBlogPodcastOverrideAccessors.
    const QVariantMap &podcastOverride() const { return m_podcastOverride; }
    void setPodcastOverride(const QVariantMap &podcastOverride) { m_podcastOverride = podcastOverride; }
    // Category names from an imported file, kept until they are mapped; never archived.
    const QStringList &movableTypeCategoryNames() const { return m_movableTypeCategoryNames; }
    void setMovableTypeCategoryNames(const QStringList &names) { m_movableTypeCategoryNames = names; }

    // --- derived values
    bool isDraft() const { return m_status == 0; }
    // The title, or the localised "NoTitle" when it is empty.
    QString titleOrNoTitle() const;

    // The plugin's categories for categoryIDs, in that order; unknown IDs are
    // skipped. Empty without a plugin.
    QList<QFBlogCategoryPtr> categories() const;
    // Keeps the IDs of the given categories; stores only a different list.
    void setCategories(const QList<QFBlogCategoryPtr> &categories);
    // categories() without the None category; empty (not an empty list) when
    // nothing is left.
    std::optional<QList<QFBlogCategoryPtr>> categoriesWithoutNone() const;
    void setCategoriesWithoutNone(const QList<QFBlogCategoryPtr> &categories);
    // The names joined by the localised "CategorySeparator"; "" when there
    // are none or only the None category.
    QString categoryNames() const;

    // 0 when there are no category IDs; else the plugin-list index of the
    // first ID's category, or kQFNotFound when it has none.
    int categoryIndex() const;
    // Makes the category at index the only one; ignored when out of range.
    void setCategoryIndex(int index);
    void addCategoryIndex(int index);
    void deleteCategoryIndex(int index);
    // Whether the category at index (of the plugin's list) is one of this post's.
    bool belongsToCategoryIndex(int index) const;
    // The category at categoryIndex() in the given list, unless out of range
    // or the None category.
    QFBlogCategoryPtr categoryObjectForCategories(const QList<QFBlogCategoryPtr> &categories) const;
    // First index of the category with that ID (or equal to category), else kQFNotFound.
    static int indexOfCategoryID(int categoryID, const QList<QFBlogCategoryPtr> &categories);
    static int indexOfTag(const QFBlogCategoryPtr &category, const QList<QFBlogCategoryPtr> &categories);

    // <0 when the other post is older: sorting by it puts the newest first.
    int compareBlogEntryDates(const QFBlogEntry &other) const;
    // Newest first, for std::sort.
    static bool newerFirst(const QFBlogEntryPtr &a, const QFBlogEntryPtr &b);

    // The file name of the podcast; "" without one.
    QString podcastName() const;
    bool podcastExists() const;
    // The size of the podcast file, symbolic links not followed; 0 when missing.
    quint64 podcastSize() const;
    // "podcast_image_<ID>.png"
    QString podcastImageName() const;
    // The name of the bundle image showing the podcast's state:
    // "ri_rss_green_small" when the file exists, "ri_rss_grey_small" when it
    // does not; empty without a podcast. The editor loads and caches the image.
    std::optional<QString> podcastIcon() const;
    // Given no document path, forgets the podcast reference; otherwise nothing.
    void updatePodcastReferenceRelativeTo(const QString &documentPath);
    void recoverPodcastPathRelativeTo(const QString &documentPath);
    // Makes the images in the body and summary fit for the web; answers how
    // many changed.
    unsigned normaliseAttachments();

    QString codingClassName() const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;
    // Registers both readers of "QFBlogEntry"; idempotent.
    static void registerCodingClass();

    // --- page exchange (qfblogentrysandwich.cpp; keys in docs/FORMATS.md,
    // "Blog page package")

    // The post's page-exchange dictionary ("Title", "Posted", "ID" …).
    // Makes the GUID when there is none yet.
    QVariantMap sandwichDictionary() const;
    // The post's files, each written to a new temporary file: file name
    // ("Body.as", "Summary.as", "ITunesImage.data") -> path. The caller owns
    // the files and removes them. A missing body or summary is logged and
    // written as an empty file; an empty iTunes image is left out. A body or summary that cannot
    // be written raises QFException("Temporary File Error") naming the post
    // and the path, after removing the files already written; an image that
    // cannot be written is shown in an error alert and its path kept.
    QMap<QString, QString> sandwichFiles() const;
    // A new post of the plugin from its page-exchange dictionary and its
    // files (each may be nothing). An empty body or summary file gives no
    // text; one that is missing or cannot be read as styled text is reported
    // in an alert ("CouldNotReadBlogEntryTitle") naming the post and gives an
    // empty text. Null, with the type line logged, when a key holds a value
    // of the wrong type (the caller reports the post).
    static QFBlogEntryPtr createWithSandwichDictionary(const QVariantMap &dictionary,
                                                       const std::optional<QString> &bodyFilename,
                                                       const std::optional<QString> &summaryFilename,
                                                       QFBlogPlugin *blogPlugin,
                                                       const std::optional<QString> &iTunesImageFilename);

signals:
    void titleChanged();
    void dateChanged();
    // Around a change of the category IDs (and with them categories,
    // categoryIndex, categoryNames, categoriesWithoutNone).
    void categoriesAboutToChange();
    void categoriesChanged();
    void tagsChanged();
    void podcastChanged();
    void customTagsChanged();

private:
    bool initWithDictionary(QVariantMap &dictionary);
    void broadcast();
    QVariant entryValue() const;
    void setEntryValue(const QVariant &value);
    QVariant entrySummaryValue() const;
    void setEntrySummaryValue(const QVariant &value);
    QVariant tagsValue() const;
    void setTagsValue(const QVariant &value);
    QVariant categoriesWithoutNoneValue() const;
    void setCategoriesWithoutNoneValue(const QVariant &value);
    QVariant podcastIconValue() const;
    static QFCodingPtr decodeDictionary(const QVariant &dictionary);
    int pluginCategoryCount() const;

    QString m_title;
    QByteArray m_entryData;
    QByteArray m_entrySummaryData;
    QDateTime m_date;
    int m_status = 0;
    int m_ID = 0;
    mutable QString m_GUID;
    bool m_summarizeRSSEntry = false;
    int m_summarizeRSSSentenceCount = 0;
    bool m_overridePermalinkName = false;
    QString m_overridePermalinkNameText;
    QList<int> m_categoryIDs;
    std::optional<QFBlogTagList> m_tags;
    QString m_podcast;
    QList<QFBlogCustomTagPtr> m_customTags;
    QFBlogCustomiTunesTagsPtr m_itunesTags;
    QFFileReferencePtr m_podcastReference;
    QVariantMap m_podcastOverride;
    QStringList m_movableTypeCategoryNames;
    QFBlogPlugin *m_blogPlugin = nullptr;

    Q_DISABLE_COPY_MOVE(QFBlogEntry)
};

Q_DECLARE_METATYPE(QFBlogEntryPtr)

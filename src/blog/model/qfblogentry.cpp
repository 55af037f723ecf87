#include "qfblogentry.h"

#include "blog/model/qfblogvariant.h"
#include "blog/model/qfcollections.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"

#include <QDate>
#include <QFileInfo>
#include <QSet>
#include <QUuid>
#include <mutex>
#include <sys/stat.h>

namespace {
using QFBlogVariant::isNumber;
const QString kClassName = QStringLiteral("QFBlogEntry");
const QString kKeyedDictionaryKey = QStringLiteral("dictionary");
const QString kCacheDataAttribute = QStringLiteral("QFBlogEntryCacheData");

QFBlogPlugin *decodingPlugin = nullptr;

bool isPresent(const QVariant &value)
{
    return value.isValid() && !value.isNull();
}

// A styled text held by a dictionary value: an archived object (how records
// carry it) or a plain QFStyledText value (how code may hand it over).
std::optional<QFStyledText> styledTextIn(const QVariant &value)
{
    if (value.typeId() == qMetaTypeId<QFStyledText>())
        return value.value<QFStyledText>();
    if (const auto text = QFCodingSupport::objectOfClass<QFStyledText>(value))
        return *text;
    return std::nullopt;
}

// The type names shown in the type-mismatch line: an archived object by its
// class name ("QFStyledText", "QFFileReference" …), anything else by its Qt
// type name ("QString", "QDateTime", "QVariantList", "QVariantMap", "qlonglong").
QString typeNameOf(const QVariant &value)
{
    if (const QFCodingPtr object = QFCodingSupport::objectFromVariant(value))
        return object->codingClassName();
    return QString::fromLatin1(value.typeName());
}

// How values appear inside log lines.
QString describe(const QVariant &value)
{
    if (!isPresent(value))
        return QStringLiteral("(null)");
    if (const auto text = styledTextIn(value))
        return text->plainString();
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss t"));
    if (const QFCodingPtr object = QFCodingSupport::objectFromVariant(value))
        return QStringLiteral("<%1>").arg(object->codingClassName());
    const QString text = value.toString();
    return text.isNull() ? typeNameOf(value) : text;
}

enum class Expected { String, StyledText, Date, List, Map, ITunesTags, FileReference };

bool hasType(const QVariant &value, Expected expected)
{
    switch (expected) {
    case Expected::String:
        return value.typeId() == QMetaType::QString;
    case Expected::StyledText:
        return styledTextIn(value).has_value();
    case Expected::Date:
        return value.typeId() == QMetaType::QDateTime;
    case Expected::List:
        return value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList;
    case Expected::Map:
        return value.typeId() == QMetaType::QVariantMap;
    case Expected::ITunesTags:
        return QFCodingSupport::objectOfClass<QFBlogCustomiTunesTags>(value) != nullptr;
    case Expected::FileReference:
        return QFCodingSupport::objectOfClass<QFFileReference>(value) != nullptr;
    }
    return false;
}

const char *expectedName(Expected expected)
{
    switch (expected) {
    case Expected::String:
        return "QString";
    case Expected::StyledText:
        return "QFStyledText";
    case Expected::Date:
        return "QDateTime";
    case Expected::List:
        return "QVariantList";
    case Expected::Map:
        return "QVariantMap";
    case Expected::ITunesTags:
        return "QFBlogCustomiTunesTags";
    case Expected::FileReference:
        return "QFFileReference";
    }
    return "";
}

// The one type check of every dictionary reader: true when the key is absent
// or holds the expected type. Otherwise logs the fixed line (with the
// dictionary's title and date, for finding the post) and answers false, and
// the reader gives up.
bool checkType(const QVariantMap &dictionary, const QString &key, Expected expected)
{
    const QVariant value = dictionary.value(key);
    if (!isPresent(value) || hasType(value, expected))
        return true;
    qfLog(QStringLiteral("Dictionary has incorrect type for key %1 (type is %2, should be %3): %4 (%5)")
              .arg(key, typeNameOf(value), QLatin1String(expectedName(expected)),
                   describe(dictionary.value(QStringLiteral("title"))),
                   describe(dictionary.value(QStringLiteral("date")))));
    return false;
}

std::optional<QFBlogTag> tagIn(const QVariant &value)
{
    if (value.typeId() == qMetaTypeId<QFBlogTag>())
        return value.value<QFBlogTag>();
    if (const auto tag = QFCodingSupport::objectOfClass<QFBlogTag>(value))
        return *tag;
    return std::nullopt;
}

QFBlogTagList tagsIn(const QVariant &value)
{
    if (value.typeId() == qMetaTypeId<QFBlogTagList>())
        return value.value<QFBlogTagList>();
    QFBlogTagList tags;
    for (const QVariant &element : value.toList()) {
        if (const auto tag = tagIn(element))
            tags.append(*tag);
    }
    return tags;
}

// A post has a handful of tags, and opening a large blog sets them on every
// post: short lists are searched in place instead of hashed.
constexpr qsizetype SmallTagList = 16;

QFBlogTagList withoutDuplicates(const QFBlogTagList &tags)
{
    QFBlogTagList result;
    result.reserve(tags.size());
    if (tags.size() <= SmallTagList) {
        for (const QFBlogTag &tag : tags) {
            if (!result.contains(tag))
                result.append(tag);
        }
        return result;
    }
    QSet<QFBlogTag> seen;
    for (const QFBlogTag &tag : tags) {
        if (!seen.contains(tag)) {
            seen.insert(tag);
            result.append(tag);
        }
    }
    return result;
}

// The tags of `tags` that `other` lacks; both without duplicates.
QFBlogTagList tagsMissingFrom(const QFBlogTagList &tags, const QFBlogTagList &other)
{
    QFBlogTagList missing;
    if (other.size() <= SmallTagList) {
        for (const QFBlogTag &tag : tags) {
            if (!other.contains(tag))
                missing.append(tag);
        }
        return missing;
    }
    const QSet<QFBlogTag> set(other.cbegin(), other.cend());
    for (const QFBlogTag &tag : tags) {
        if (!set.contains(tag))
            missing.append(tag);
    }
    return missing;
}
} // namespace

QFBlogEntry::QFBlogEntry(QFBlogPlugin *blogPlugin)
    : m_blogPlugin(blogPlugin)
{
}

QFBlogEntry::~QFBlogEntry() = default;

QFBlogEntryPtr QFBlogEntry::blogEntryWithBlogPlugin(QFBlogPlugin *blogPlugin)
{
    return std::make_shared<QFBlogEntry>(blogPlugin);
}

QFBlogEntryPtr QFBlogEntry::blogEntryWithDictionary(QVariantMap &dictionary, QFBlogPlugin *blogPlugin)
{
    auto entry = std::make_shared<QFBlogEntry>(blogPlugin);
    if (!entry->initWithDictionary(dictionary))
        return nullptr;
    return entry;
}

QFBlogEntryPtr QFBlogEntry::blogEntryWithDictionary(const QVariantMap &dictionary, QFBlogPlugin *blogPlugin)
{
    QVariantMap copy = dictionary;
    return blogEntryWithDictionary(copy, blogPlugin);
}

QFBlogEntry *QFBlogEntry::mutableCopy()
{
    QVariantMap dictionary = dictionaryForEncoding();
    initWithDictionary(dictionary);
    return this;
}

bool QFBlogEntry::initWithDictionary(QVariantMap &dictionary)
{
    m_podcastOverride = QVariantMap();
    m_customTags.clear();

    const QString titleKey = QStringLiteral("title");
    if (const auto styledTitle = styledTextIn(dictionary.value(titleKey))) {
        qfLog(QStringLiteral("Coverting title (%1, %2) from NSAttributedString to NSString: %3")
                  .arg(styledTitle->plainString(), describe(dictionary.value(QStringLiteral("date"))),
                       describe(dictionary.value(QStringLiteral("entry")))));
        dictionary.insert(titleKey, styledTitle->plainString());
    }
    if (!checkType(dictionary, titleKey, Expected::String))
        return false;
    if (dictionary.contains(titleKey) && isPresent(dictionary.value(titleKey)))
        m_title = dictionary.value(titleKey).toString();

    for (const QString &key : {QStringLiteral("entry"), QStringLiteral("entrySummary")}) {
        if (!checkType(dictionary, key, Expected::StyledText))
            return false;
        if (const auto text = styledTextIn(dictionary.value(key))) {
            if (key == QLatin1String("entry"))
                setEntry(text);
            else
                setEntrySummary(text);
        }
    }

    const QString dateKey = QStringLiteral("date");
    if (!checkType(dictionary, dateKey, Expected::Date))
        return false;
    if (isPresent(dictionary.value(dateKey)))
        setDate(dictionary.value(dateKey).toDateTime());

    // Stored inverted: the record keeps "is a draft", so a record without the
    // key reads as published.
    m_status = dictionary.value(QStringLiteral("status")).toLongLong() == 0 ? 1 : 0;

    m_ID = int(dictionary.value(QStringLiteral("id")).toLongLong());
    const QVariant guid = dictionary.value(QStringLiteral("guid"));
    m_GUID = guid.typeId() == QMetaType::QString ? guid.toString() : QString();
    m_summarizeRSSEntry = dictionary.value(QStringLiteral("summarizeRSSEntry")).toBool();
    m_summarizeRSSSentenceCount = int(dictionary.value(QStringLiteral("summarizeRSSSentenceCount")).toLongLong());
    setCategoryIndex(int(dictionary.value(QStringLiteral("categoryIndex")).toLongLong()));
    m_overridePermalinkName = dictionary.value(QStringLiteral("overridePermalinkName")).toBool();

    const QString permalinkTextKey = QStringLiteral("overridePermalinkNameText");
    const QString podcastKey = QStringLiteral("podcast");
    const QString customTagsKey = QStringLiteral("customTags");
    const QString itunesTagsKey = QStringLiteral("itunesTags");
    const QString referenceKey = QStringLiteral("podcastReference");
    const QString overrideKey = QStringLiteral("podcastOverride");
    if (!checkType(dictionary, permalinkTextKey, Expected::String) || !checkType(dictionary, podcastKey, Expected::String)
        || !checkType(dictionary, customTagsKey, Expected::List)
        || !checkType(dictionary, itunesTagsKey, Expected::ITunesTags)
        || !checkType(dictionary, referenceKey, Expected::FileReference)
        || !checkType(dictionary, overrideKey, Expected::Map))
        return false;
    if (isPresent(dictionary.value(permalinkTextKey)))
        setOverridePermalinkNameText(dictionary.value(permalinkTextKey).toString());
    if (isPresent(dictionary.value(podcastKey)))
        setPodcast(dictionary.value(podcastKey).toString());
    if (isPresent(dictionary.value(customTagsKey))) {
        QList<QFBlogCustomTagPtr> customTags;
        for (const QVariant &element : dictionary.value(customTagsKey).toList()) {
            if (auto tag = QFCodingSupport::objectOfClass<QFBlogCustomTag>(element))
                customTags.append(tag);
        }
        setCustomTags(customTags);
    }
    if (isPresent(dictionary.value(itunesTagsKey)))
        setItunesTags(QFCodingSupport::objectOfClass<QFBlogCustomiTunesTags>(dictionary.value(itunesTagsKey)));
    if (isPresent(dictionary.value(referenceKey)))
        setPodcastReference(QFCodingSupport::objectOfClass<QFFileReference>(dictionary.value(referenceKey)));
    if (isPresent(dictionary.value(overrideKey)))
        setPodcastOverride(dictionary.value(overrideKey).toMap());

    // One category travels as "categoryIndex" above; only a longer list
    // replaces it, so a one-element list that disagrees loses to the index.
    const QVariant categoryIDs = dictionary.value(QStringLiteral("categoryIDs"));
    if (categoryIDs.typeId() == QMetaType::QVariantList && categoryIDs.toList().size() >= 2) {
        QList<int> ids;
        for (const QVariant &id : categoryIDs.toList()) {
            if (isNumber(id))
                ids.append(int(id.toLongLong()));
        }
        setCategoryIDs(ids);
    }

    const QString tagsKey = QStringLiteral("tags");
    if (!checkType(dictionary, tagsKey, Expected::List))
        return false;
    if (isPresent(dictionary.value(tagsKey)))
        setTags(tagsIn(dictionary.value(tagsKey)));

    const QVariant tagDictionaries = dictionary.value(QStringLiteral("tagsDictionary"));
    if (isPresent(tagDictionaries)) {
        // Set once: adding them one by one counts each tag the same way.
        QFBlogTagList tags;
        for (const QVariant &element : tagDictionaries.toList()) {
            if (element.typeId() == QMetaType::QVariantMap)
                tags.append(QFBlogTag::tagWithDictionary(element.toMap()));
        }
        setTags(tags);
    }
    return true;
}

QVariantMap QFBlogEntry::dictionaryForEncoding() const
{
    QVariantMap dictionary;
    if (!m_title.isNull())
        dictionary.insert(QStringLiteral("title"), m_title);
    if (const auto body = entry())
        dictionary.insert(QStringLiteral("entry"), QFCodingSupport::variantFromObject(std::make_shared<QFStyledText>(*body)));
    if (const auto summary = entrySummary())
        dictionary.insert(QStringLiteral("entrySummary"),
                          QFCodingSupport::variantFromObject(std::make_shared<QFStyledText>(*summary)));
    if (m_date.isValid())
        dictionary.insert(QStringLiteral("date"), m_date);
    dictionary.insert(QStringLiteral("status"), isDraft() ? 1 : 0);
    dictionary.insert(QStringLiteral("id"), m_ID);
    dictionary.insert(QStringLiteral("guid"), GUID());
    if (!m_podcast.isNull())
        dictionary.insert(QStringLiteral("podcast"), m_podcast);
    QVariantList customTags;
    customTags.reserve(m_customTags.size());
    for (const QFBlogCustomTagPtr &tag : m_customTags)
        customTags.append(QFCodingSupport::variantFromObject(tag));
    dictionary.insert(QStringLiteral("customTags"), customTags);
    dictionary.insert(QStringLiteral("summarizeRSSEntry"), m_summarizeRSSEntry);
    dictionary.insert(QStringLiteral("summarizeRSSSentenceCount"), m_summarizeRSSSentenceCount);
    dictionary.insert(QStringLiteral("categoryIndex"), categoryIndex());
    if (m_itunesTags)
        dictionary.insert(QStringLiteral("itunesTags"), QFCodingSupport::variantFromObject(m_itunesTags));
    dictionary.insert(QStringLiteral("overridePermalinkName"), m_overridePermalinkName);
    if (!m_overridePermalinkNameText.isNull())
        dictionary.insert(QStringLiteral("overridePermalinkNameText"), m_overridePermalinkNameText);
    if (m_podcastReference)
        dictionary.insert(QStringLiteral("podcastReference"), QFCodingSupport::variantFromObject(m_podcastReference));
    dictionary.insert(QStringLiteral("podcastOverride"), m_podcastOverride);
    if (!m_categoryIDs.isEmpty()) {
        QVariantList ids;
        for (int id : m_categoryIDs)
            ids.append(id);
        dictionary.insert(QStringLiteral("categoryIDs"), ids);
    }
    QVariantList tagDictionaries;
    if (m_tags) {
        for (const QFBlogTag &tag : *m_tags)
            tagDictionaries.append(tag.dictionaryForEncoding());
    }
    dictionary.insert(QStringLiteral("tagsDictionary"), tagDictionaries);
    return dictionary;
}

void QFBlogEntry::setPluginForDecoding(QFBlogPlugin *blogPlugin)
{
    decodingPlugin = blogPlugin;
}

QFBlogPlugin *QFBlogEntry::pluginForDecoding()
{
    return decodingPlugin;
}

void QFBlogEntry::broadcast()
{
    if (m_blogPlugin)
        m_blogPlugin->broadcastPluginChanged();
}

void QFBlogEntry::setTitle(const QString &title)
{
    m_title = title;
    emit titleChanged();
    broadcast();
}

std::optional<QFStyledText> QFBlogEntry::entry() const
{
    if (m_entryData.isNull())
        return std::nullopt;
    try {
        return QFStyledText::fromKeyedArchive(m_entryData);
    } catch (const QFException &) {
        // The bytes are our own archive; failing here means memory went bad.
        return std::nullopt;
    }
}

void QFBlogEntry::setEntry(const std::optional<QFStyledText> &text)
{
    if (!text) {
        m_entryData = QByteArray();
        return;
    }
    if (!text->isEmpty() && text->attributesAt(0).contains(kCacheDataAttribute)) {
        QFStyledText cleaned = *text;
        cleaned.removeAttribute(kCacheDataAttribute, 0, cleaned.length());
        m_entryData = cleaned.toKeyedArchive();
        return;
    }
    m_entryData = text->toKeyedArchive();
}

void QFBlogEntry::setEntryString(const QString &string)
{
    setEntry(QFStyledText(string));
}

std::optional<QFStyledText> QFBlogEntry::entrySummary() const
{
    if (m_entrySummaryData.isNull())
        return std::nullopt;
    try {
        return QFStyledText::fromKeyedArchive(m_entrySummaryData);
    } catch (const QFException &) {
        return std::nullopt;
    }
}

void QFBlogEntry::setEntrySummary(const std::optional<QFStyledText> &text)
{
    m_entrySummaryData = text ? text->toKeyedArchive() : QByteArray();
}

void QFBlogEntry::setEntrySummaryString(const QString &string)
{
    setEntrySummary(QFStyledText(string));
}

void QFBlogEntry::setDate(const QDateTime &date)
{
    if (!date.isValid())
        return;
    // Whole seconds in the system time zone, as every archive keeps them.
    QDateTime stored = date.toLocalTime();
    stored.setTime(QTime(stored.time().hour(), stored.time().minute(), stored.time().second()));
    m_date = stored;
    emit dateChanged();
    if (m_blogPlugin) {
        m_blogPlugin->blogEntryChangedDate(this, m_date);
        m_blogPlugin->broadcastPluginChanged();
    }
}

void QFBlogEntry::setDateValue(const QVariant &date)
{
    if (date.typeId() == QMetaType::QDateTime)
        setDate(date.toDateTime());
    else if (date.typeId() == QMetaType::QDate)
        setDate(date.toDate().startOfDay());
}

QString QFBlogEntry::GUID() const
{
    if (m_GUID.isNull())
        m_GUID = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    return m_GUID;
}

void QFBlogEntry::setOverridePermalinkName(bool value)
{
    m_overridePermalinkName = value;
    broadcast();
}

void QFBlogEntry::setOverridePermalinkNameText(const QString &text)
{
    m_overridePermalinkNameText = text;
    broadcast();
}

void QFBlogEntry::setCategoryIDs(const QList<int> &categoryIDs)
{
    emit categoriesAboutToChange();
    m_categoryIDs = QFCollections::arrayWithoutDuplicateElements(categoryIDs);
    emit categoriesChanged();
}

void QFBlogEntry::setTags(const std::optional<QFBlogTagList> &tags)
{
    if (m_blogPlugin) {
        const QFBlogTagList oldTags = withoutDuplicates(m_tags.value_or(QFBlogTagList()));
        const QFBlogTagList newTags = withoutDuplicates(tags.value_or(QFBlogTagList()));
        for (const QFBlogTag &tag : tagsMissingFrom(oldTags, newTags))
            m_blogPlugin->removeTag(tag);
        for (const QFBlogTag &tag : tagsMissingFrom(newTags, oldTags))
            m_blogPlugin->addTag(tag);
    }
    m_tags = tags;
    emit tagsChanged();
}

void QFBlogEntry::addTag(const QFBlogTag &tag)
{
    // Appending to a list that was never set gives no list, as it always has.
    if (!m_tags) {
        setTags(std::nullopt);
        return;
    }
    QFBlogTagList tags = *m_tags;
    tags.append(tag);
    setTags(tags);
}

void QFBlogEntry::setPodcast(const QString &path)
{
    m_podcast = path;
    emit podcastChanged();
}

void QFBlogEntry::setCustomTags(const QList<QFBlogCustomTagPtr> &customTags)
{
    const bool changed = customTags != m_customTags;
    m_customTags = customTags;
    emit customTagsChanged();
    if (changed)
        broadcast();
}

void QFBlogEntry::insertObjectInCustomTagsAtIndex(const QFBlogCustomTagPtr &tag, qsizetype index)
{
    m_customTags.insert(qBound<qsizetype>(0, index, m_customTags.size()), tag);
    emit customTagsChanged();
    broadcast();
}

void QFBlogEntry::removeObjectFromCustomTagsAtIndex(qsizetype index)
{
    if (index < 0 || index >= m_customTags.size())
        return;
    m_customTags.removeAt(index);
    emit customTagsChanged();
    broadcast();
}

void QFBlogEntry::replaceObjectInCustomTagsAtIndex(qsizetype index, const QFBlogCustomTagPtr &tag)
{
    if (index < 0 || index >= m_customTags.size())
        return;
    m_customTags.replace(index, tag);
    emit customTagsChanged();
    broadcast();
}

QString QFBlogEntry::titleOrNoTitle() const
{
    if (!m_title.isEmpty())
        return m_title;
    return QFBlogPlugin::localizedString(QStringLiteral("NoTitle"));
}

int QFBlogEntry::pluginCategoryCount() const
{
    return m_blogPlugin ? int(m_blogPlugin->categories().size()) : 0;
}

QList<QFBlogCategoryPtr> QFBlogEntry::categories() const
{
    QList<QFBlogCategoryPtr> result;
    if (!m_blogPlugin)
        return result;
    const QList<QFBlogCategoryPtr> &all = m_blogPlugin->categories();
    for (int id : m_categoryIDs) {
        const int index = indexOfCategoryID(id, all);
        if (index != kQFNotFound)
            result.append(all.at(index));
    }
    return result;
}

void QFBlogEntry::setCategories(const QList<QFBlogCategoryPtr> &categories)
{
    QList<int> ids;
    for (const QFBlogCategoryPtr &category : categories) {
        if (category)
            ids.append(category->categoryID());
    }
    if (ids != m_categoryIDs)
        setCategoryIDs(ids);
}

std::optional<QList<QFBlogCategoryPtr>> QFBlogEntry::categoriesWithoutNone() const
{
    QList<QFBlogCategoryPtr> result;
    for (const QFBlogCategoryPtr &category : categories()) {
        if (!category->isNone())
            result.append(category);
    }
    if (result.isEmpty())
        return std::nullopt;
    return result;
}

void QFBlogEntry::setCategoriesWithoutNone(const QList<QFBlogCategoryPtr> &categories)
{
    setCategories(categories);
}

QString QFBlogEntry::categoryNames() const
{
    const QList<QFBlogCategoryPtr> all = categories();
    if (all.isEmpty() || (all.size() == 1 && all.constFirst()->isNone()))
        return QLatin1String("");
    QStringList names;
    names.reserve(all.size());
    for (const QFBlogCategoryPtr &category : all)
        names.append(category->categoryName());
    return names.join(QFBlogPlugin::localizedString(QStringLiteral("CategorySeparator")));
}

int QFBlogEntry::categoryIndex() const
{
    if (m_categoryIDs.isEmpty())
        return 0;
    if (!m_blogPlugin)
        return kQFNotFound;
    return indexOfCategoryID(m_categoryIDs.constFirst(), m_blogPlugin->categories());
}

void QFBlogEntry::setCategoryIndex(int index)
{
    if (index < 0 || index >= pluginCategoryCount())
        return;
    setCategoryIDs({m_blogPlugin->categories().at(index)->categoryID()});
}

void QFBlogEntry::addCategoryIndex(int index)
{
    if (index < 0 || index >= pluginCategoryCount())
        return;
    QList<int> ids = m_categoryIDs;
    ids.append(m_blogPlugin->categories().at(index)->categoryID());
    setCategoryIDs(ids);
}

void QFBlogEntry::deleteCategoryIndex(int index)
{
    if (index < 0 || index >= pluginCategoryCount())
        return;
    QList<int> ids = m_categoryIDs;
    ids.removeAll(m_blogPlugin->categories().at(index)->categoryID());
    setCategoryIDs(ids);
}

bool QFBlogEntry::belongsToCategoryIndex(int index) const
{
    if (index < 0 || index >= pluginCategoryCount())
        return false;
    return m_categoryIDs.contains(m_blogPlugin->categories().at(index)->categoryID());
}

QFBlogCategoryPtr QFBlogEntry::categoryObjectForCategories(const QList<QFBlogCategoryPtr> &categories) const
{
    const int index = categoryIndex();
    if (index < 0 || index >= categories.size())
        return nullptr;
    const QFBlogCategoryPtr &category = categories.at(index);
    if (!category || category->isNone())
        return nullptr;
    return category;
}

int QFBlogEntry::indexOfCategoryID(int categoryID, const QList<QFBlogCategoryPtr> &categories)
{
    for (qsizetype i = 0; i < categories.size(); ++i) {
        if (categories.at(i) && categories.at(i)->categoryID() == categoryID)
            return int(i);
    }
    return kQFNotFound;
}

int QFBlogEntry::indexOfTag(const QFBlogCategoryPtr &category, const QList<QFBlogCategoryPtr> &categories)
{
    if (!category)
        return kQFNotFound;
    for (qsizetype i = 0; i < categories.size(); ++i) {
        if (categories.at(i) && categories.at(i)->isEqual(*category))
            return int(i);
    }
    return kQFNotFound;
}

int QFBlogEntry::compareBlogEntryDates(const QFBlogEntry &other) const
{
    if (other.m_date < m_date)
        return -1;
    if (m_date < other.m_date)
        return 1;
    return 0;
}

bool QFBlogEntry::newerFirst(const QFBlogEntryPtr &a, const QFBlogEntryPtr &b)
{
    return a->compareBlogEntryDates(*b) < 0;
}

QString QFBlogEntry::podcastName() const
{
    if (m_podcast.isEmpty())
        return QLatin1String("");
    QString path = m_podcast;
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path.section(QLatin1Char('/'), -1);
}

bool QFBlogEntry::podcastExists() const
{
    return !m_podcast.isEmpty() && QFileInfo::exists(m_podcast);
}

quint64 QFBlogEntry::podcastSize() const
{
    if (m_podcast.isEmpty())
        return 0;
    struct stat info;
    if (::lstat(QFile::encodeName(m_podcast).constData(), &info) != 0)
        return 0;
    return quint64(info.st_size);
}

QString QFBlogEntry::podcastImageName() const
{
    return QStringLiteral("podcast_image_%1.png").arg(m_ID);
}

std::optional<QString> QFBlogEntry::podcastIcon() const
{
    if (m_podcast.isEmpty())
        return std::nullopt;
    return podcastExists() ? QStringLiteral("ri_rss_green_small") : QStringLiteral("ri_rss_grey_small");
}

void QFBlogEntry::updatePodcastReferenceRelativeTo(const QString &documentPath)
{
    if (documentPath.isEmpty())
        m_podcastReference.reset();
}

void QFBlogEntry::recoverPodcastPathRelativeTo(const QString &documentPath)
{
    Q_UNUSED(documentPath);
}

unsigned QFBlogEntry::normaliseAttachments()
{
    unsigned changed = 0;
    if (auto body = entry()) {
        changed += body->normaliseImageAttachments();
        setEntry(body);
    }
    if (auto summary = entrySummary()) {
        changed += summary->normaliseImageAttachments();
        setEntrySummary(summary);
    }
    return changed;
}

QVariant QFBlogEntry::entryValue() const
{
    const auto text = entry();
    return text ? QVariant::fromValue(*text) : QVariant();
}

void QFBlogEntry::setEntryValue(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString)
        setEntryString(value.toString());
    else
        setEntry(styledTextIn(value));
}

QVariant QFBlogEntry::entrySummaryValue() const
{
    const auto text = entrySummary();
    return text ? QVariant::fromValue(*text) : QVariant();
}

void QFBlogEntry::setEntrySummaryValue(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString)
        setEntrySummaryString(value.toString());
    else
        setEntrySummary(styledTextIn(value));
}

QVariant QFBlogEntry::tagsValue() const
{
    return m_tags ? QVariant::fromValue(*m_tags) : QVariant();
}

void QFBlogEntry::setTagsValue(const QVariant &value)
{
    if (!isPresent(value))
        setTags(std::nullopt);
    else
        setTags(tagsIn(value));
}

QVariant QFBlogEntry::categoriesWithoutNoneValue() const
{
    const auto categories = categoriesWithoutNone();
    return categories ? QVariant::fromValue(*categories) : QVariant();
}

void QFBlogEntry::setCategoriesWithoutNoneValue(const QVariant &value)
{
    setCategoriesWithoutNone(value.value<QList<QFBlogCategoryPtr>>());
}

QVariant QFBlogEntry::podcastIconValue() const
{
    const auto icon = podcastIcon();
    return icon ? QVariant(*icon) : QVariant();
}

QString QFBlogEntry::codingClassName() const
{
    return kClassName;
}

void QFBlogEntry::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(QVariant(dictionaryForEncoding()));
}

void QFBlogEntry::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    coder.encodeObject(QVariant(dictionaryForEncoding()), kKeyedDictionaryKey);
}

QFCodingPtr QFBlogEntry::decodeDictionary(const QVariant &dictionary)
{
    if (dictionary.typeId() != QMetaType::QVariantMap)
        return nullptr;
    QVariantMap map = dictionary.toMap();
    return blogEntryWithDictionary(map, decodingPlugin);
}

void QFBlogEntry::registerCodingClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        QFClassRegistry::instance().registerSequential(
            kClassName, [](QFUnarchiver &coder) { return decodeDictionary(coder.decodeObject()); });
        QFClassRegistry::instance().registerKeyed(kClassName, [](QFKeyedUnarchiver &coder) {
            return decodeDictionary(coder.decodeObject(kKeyedDictionaryKey));
        });
    });
}

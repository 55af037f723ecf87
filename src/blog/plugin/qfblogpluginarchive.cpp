// The blog's record inside the site document: writing, reading and the
// repairs made after reading.

#include "qfblogplugin.h"

#include "blog/model/qfblogmodel.h"
#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogpluginindexes.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/support/qflog.h"

#include <QCoreApplication>
#include <QSet>
#include <QThread>
#include <exception>
#include <limits>

namespace {

QString L(const char *key)
{
    return QFBlogPlugin::localizedString(QString::fromLatin1(key));
}

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

// A string read as a flag the way older documents meant it: white space, a
// sign and leading zeros skipped, then true for Y, y, T, t or a digit 1-9.
bool stringFlag(const QString &text)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    if (i < text.size() && (text.at(i) == QLatin1Char('+') || text.at(i) == QLatin1Char('-')))
        ++i;
    while (i < text.size() && text.at(i) == QLatin1Char('0'))
        ++i;
    if (i == text.size())
        return false;
    const QChar c = text.at(i);
    return c == QLatin1Char('Y') || c == QLatin1Char('y') || c == QLatin1Char('T') || c == QLatin1Char('t')
        || (c >= QLatin1Char('1') && c <= QLatin1Char('9'));
}

// A stored flag: a bool, a number (non-zero) or a string (stringFlag). Empty
// for nil and for values that are no flag at all (lists, dates, objects).
std::optional<bool> archivedBool(const QVariant &value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (isNumber(value))
        return value.toDouble() != 0.0;
    if (value.typeId() == QMetaType::QString)
        return stringFlag(value.toString());
    return std::nullopt;
}

// The two oldest switches (comments, feed) were sometimes stored as strings,
// and then only "1" meant on.
std::optional<bool> archivedSwitch(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString)
        return value.toString() == QLatin1String("1");
    return archivedBool(value);
}

// A stored number: an integer, a float (truncated), a flag (0 or 1) or a
// string's leading integer. Empty for nil and for anything else.
std::optional<int> archivedInt(const QVariant &value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? 1 : 0;
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float)
        return int(value.toDouble());
    if (isNumber(value))
        return int(value.toLongLong());
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString().trimmed();
        qsizetype end = 0;
        if (end < text.size() && (text.at(end) == QLatin1Char('+') || text.at(end) == QLatin1Char('-')))
            ++end;
        while (end < text.size() && text.at(end).isDigit())
            ++end;
        return text.left(end).toInt();
    }
    return std::nullopt;
}

// Only strings count; any other value stands for nothing.
std::optional<QString> archivedString(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString)
        return value.toString();
    return std::nullopt;
}

// A string or, for nil and anything else, a null QString.
QString archivedStringOrNull(const QVariant &value)
{
    return archivedString(value).value_or(QString());
}

std::optional<QVariantList> archivedList(const QVariant &value)
{
    if (value.typeId() == QMetaType::QVariantList)
        return value.toList();
    return std::nullopt;
}

} // namespace

// ---------------------------------------------------------------- writing

void QFBlogPlugin::encodeWithCoder(QFArchiver &coder) const
{
    const auto flag = [&coder](bool value) { coder.encodeObject(QVariant(value)); };
    const auto number = [&coder](int value) { coder.encodeObject(QVariant(value)); };
    const auto text = [&coder](const QString &value) { coder.encodeObject(QVariant(value)); };

    // Each post's texts are decoded for the archive; one post at a time, so
    // that saving a large blog does not hold all of them twice.
    coder.encodeList(_blogEntries.size(),
                     [this](qsizetype i) -> QVariant { return _blogEntries.at(i)->dictionaryForEncoding(); });

    text(_rssHomepage);
    text(_rssDescription);
    text(_rssCreator);
    text(_rssCopyright);
    text(_rssLanguage);
    number(_lastID);
    text(_dateSeperator1);
    text(_dateSeperator2);
    text(_dateSeperator3);
    text(_dateSeperator4);
    text(_dateModifier1);
    text(_dateModifier2);
    text(_dateModifier3);
    text(_dateModifier4);
    text(_localizeDate);
    flag(_enableComments);
    text(_unused1);
    flag(_archivePostsEnabled);
    flag(_archivePostsShowGaps);
    text(archivePostsPeriodString());
    flag(_enableRSS);
    text(_rssTitle);
    flag(_enablePodcasting);
    text(_rssFeedLinkName);
    text(_rssCommentsLinkName);
    flag(_showAtLeastPosts);
    number(_showPostLimit);
    text(_rssCustomFeedFilename);

    QVariantList channelTags;
    channelTags.reserve(_channelCustomTags.size());
    for (const QFBlogCustomTagPtr &tag : _channelCustomTags)
        channelTags.append(QFCodingSupport::variantFromObject(tag));
    coder.encodeObject(channelTags);

    QVariantList categories;
    categories.reserve(_categories.size());
    for (const QFBlogCategoryPtr &category : _categories)
        categories.append(category->dictionaryForEncoding());
    coder.encodeObject(categories);

    text(_categorySeparator);
    flag(_summarizeEntryRSS);
    number(_summarizeEntryRSSCount);
    flag(_categoryPostsEnabled);
    flag(_enableCustomiTunesTags);
    coder.encodeObject(QFCodingSupport::variantFromObject(_channelCustomiTunesTags));
    flag(_generatePermalinkPages);
    flag(_generateRssEntriesForMainPageOnly);
    flag(_enablePing);
    coder.encodeObject(_pingSettings);
    text(_permalinkLinkName);
    flag(_showCategoryPostCounts);
    text(_readMoreLinkName);
    flag(_prependSummaryToPost);
    flag(_enableSmileys);
    number(_archivePostsPeriod);
    flag(_tagsEnabled);
    flag(_tagCloudEnabled);
    flag(_showPostCountsForTags);
    text(_tagsTitle);
    text(_tagsSeparator);
    text(_categoryTitle);
    flag(_enableCommentsInline);
    coder.encodeObject(lastBuildDateValue);
    text(_rssCustomFeedURL);
    flag(_enableCustomRSSURL);
    flag(_usePHPForSidebarContent);
    text(_commentSeparator);
}

// ---------------------------------------------------------------- reading

QFBlogPlugin *QFBlogPlugin::initWithCoder(QFUnarchiver &coder)
{
    QCoreApplication *app = QCoreApplication::instance();
    if (!app || QThread::currentThread() == app->thread()) {
        performInitWithCoder(coder);
        return this;
    }
    // Reading makes the posts and categories and wires them to the plugin;
    // the editor and the document use all of them from the main thread, so
    // they must be made there, and the plugin must live there too. The caller
    // blocks until the main thread is done, so the coder outlives the reading.
    // The QObjects the plugin owns (not its children) must follow it, or the
    // plugin's signals would queue to a thread that may never run them.
    if (thread() == QThread::currentThread()) {
        moveToThread(app->thread());
        m_blogEntryArrayController->moveToThread(app->thread());
        m_indexes->moveToThread(app->thread());
    }
    std::exception_ptr failure;
    QMetaObject::invokeMethod(
        app,
        [this, &coder, &failure] {
            try {
                performInitWithCoder(coder);
            } catch (...) {
                failure = std::current_exception();
            }
        },
        Qt::BlockingQueuedConnection);
    if (failure)
        std::rethrow_exception(failure);
    return this;
}

void QFBlogPlugin::performInitWithCoder(QFUnarchiver &coder)
{
    // The record holds styled text, custom tags, iTunes tag sets and file
    // references, which only registered classes can be read back as.
    QFBlogModel::registerCodingClasses();

    // The defaults of a new blog are already in place (the constructor); what
    // the record lacks or gives as nil keeps them unless a rule says otherwise.
    const QFBlogPlugin::InitialisingScope initialising(*this);

    const auto read = [&coder] { return coder.decodeObject(); };
    const auto readString = [&read] { return archivedString(read()); };
    const auto readBool = [&read] { return archivedBool(read()); };
    const auto readInt = [&read] { return archivedInt(read()); };
    const auto ifPresent = [](const auto &value, auto &&set) {
        if (value)
            set(*value);
    };

    // The posts come first but refer to categories stored after them, so
    // they are passed over now and made one by one once those are in place:
    // a large blog never holds every post's dictionary at once.
    const QFUnarchiver::SkippedValue postDictionaries = coder.skipObject();

    ifPresent(readString(), [this](const QString &v) { setRssHomepage(v); });
    ifPresent(readString(), [this](const QString &v) { setRssDescription(v); });
    ifPresent(readString(), [this](const QString &v) { setRssCreator(v); });
    ifPresent(readString(), [this](const QString &v) { setRssCopyright(v); });
    ifPresent(readString(), [this](const QString &v) { setRssLanguage(v); });
    ifPresent(readInt(), [this](int v) { setLastID(v); });
    ifPresent(readString(), [this](const QString &v) { setDateSeperator1(v); });
    ifPresent(readString(), [this](const QString &v) { setDateSeperator2(v); });
    ifPresent(readString(), [this](const QString &v) { setDateSeperator3(v); });
    ifPresent(readString(), [this](const QString &v) { setDateSeperator4(v); });
    ifPresent(readString(), [this](const QString &v) { setDateModifier1(v); });
    ifPresent(readString(), [this](const QString &v) { setDateModifier2(v); });
    ifPresent(readString(), [this](const QString &v) { setDateModifier3(v); });
    ifPresent(readString(), [this](const QString &v) { setDateModifier4(v); });
    ifPresent(readString(), [this](const QString &v) { setLocalizeDate(v); });

    // The comment service of older documents: a switch, and the Haloscan
    // account in a slot that has no other use. A switched-on blog without an
    // account was using JS-Kit.
    const std::optional<bool> commentsOn = archivedSwitch(read());
    if (commentsOn)
        setEnableComments(*commentsOn);
    _unused1 = archivedStringOrNull(read());
    if (!_unused1.isNull()) {
        QVariantMap identifiers = m_commentsUserIdentifiers;
        identifiers.insert(QStringLiteral("haloscan"), _unused1);
        setCommentsUserIdentifiers(identifiers);
    }
    if (commentsOn.value_or(false))
        setCommentsSelectedProviderTag(_unused1.isNull() ? 2 : 1);

    ifPresent(readBool(), [this](bool v) { setProperty("archivePostsEnabled", v); });
    ifPresent(readBool(), [this](bool v) { setProperty("archivePostsShowGaps", v); });
    ifPresent(readString(), [this](const QString &v) { setProperty("archivePostsPeriodString", v); });
    ifPresent(archivedSwitch(read()), [this](bool v) { setEnableRSS(v); });
    ifPresent(readString(), [this](const QString &v) { setRssTitle(v); });
    // Whatever was stored, every loaded blog podcasts.
    read();
    setEnablePodcasting(true);
    setRssFeedLinkName(readString().value_or(L("RSSFeedLinkName")));
    setRssCommentsLinkName(readString().value_or(L("RSSCommentLinkName")));
    setShowAtLeastPosts(readBool().value_or(false));
    setShowPostLimit(readInt().value_or(0));
    setRssCustomFeedFilename(archivedStringOrNull(read()));
    ifPresent(archivedList(read()), [this](const QVariantList &list) {
        QList<QFBlogCustomTagPtr> tags;
        for (const QVariant &element : list) {
            if (QFBlogCustomTagPtr tag = QFCodingSupport::objectOfClass<QFBlogCustomTag>(element))
                tags.append(tag);
        }
        setChannelCustomTags(tags);
    });

    // A record with categories replaces the defaults wholesale, in the
    // stored order (None first, as written), without dropping anything.
    if (const std::optional<QVariantList> categories = archivedList(read())) {
        emit categoriesAboutToChange();
        for (const QFBlogCategoryPtr &category : std::as_const(_categories))
            category->setBlogPlugin(nullptr);
        _categories.clear();
        _categories.reserve(categories->size());
        for (const QVariant &dictionary : *categories) {
            const QFBlogCategoryPtr category = QFBlogCategory::categoryWithDictionary(dictionary.toMap(), this);
            attachCategory(category);
            _categories.append(category);
        }
        emit categoriesChanged();
    }

    // Posts, now that their categories are in place. One that cannot be read
    // is left out; the dictionary reader has logged why.
    emit blogEntriesAboutToChange();
    coder.decodeArrayElements(postDictionaries, [this](QVariant &&dictionary) {
        if (dictionary.typeId() != QMetaType::QVariantMap)
            return;
        QVariantMap fields = dictionary.toMap();
        dictionary = QVariant();
        if (QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithDictionary(fields, this)) {
            entry->setBlogPlugin(this);
            _blogEntries.append(entry);
        }
    });
    emit blogEntriesChanged();

    ifPresent(readString(), [this](const QString &v) { setCategorySeparator(v); });
    setSummarizeEntryRSS(readBool().value_or(false));
    setSummarizeEntryRSSCount(readInt().value_or(1));
    setCategoryPostsEnabled(readBool().value_or(true));
    setEnableCustomiTunesTags(readBool().value_or(false));
    if (QFBlogCustomiTunesTagsPtr tags = QFCodingSupport::objectOfClass<QFBlogCustomiTunesTags>(read()))
        setChannelCustomiTunesTags(tags);

    // Every repair runs, whatever the one before it found.
    const bool idsChanged = fixUpPostIDs();
    const bool itunesChanged = fixUpiTunesTags();
    const bool categoryIDsChanged = fixUpCategoryIDs();
    const bool guidsChanged = fixupPostGUIDs();
    _postIDWasChanged = _postIDWasChanged || idsChanged || itunesChanged || categoryIDsChanged || guidsChanged;

    if (!_blogEntries.isEmpty())
        blogEntryArrayController().setSelectionIndex(0);

    ifPresent(readBool(), [this](bool v) { setGeneratePermalinkPages(v); });
    ifPresent(readBool(), [this](bool v) { setGenerateRssEntriesForMainPageOnly(v); });
    ifPresent(readBool(), [this](bool v) { setEnablePing(v); });
    ifPresent(archivedList(read()), [this](const QVariantList &v) { setPingSettings(v); });
    ifPresent(readString(), [this](const QString &v) { setPermalinkLinkName(v); });
    ifPresent(readBool(), [this](bool v) { setShowCategoryPostCounts(v); });
    ifPresent(readString(), [this](const QString &v) { setReadMoreLinkName(v); });
    ifPresent(readBool(), [this](bool v) { setPrependSummaryToPost(v); });
    setEnableSmileys(readBool().value_or(true));
    ifPresent(readInt(), [this](int v) { setArchivePostsPeriod(v); });
    ifPresent(readBool(), [this](bool v) { setTagsEnabled(v); });
    ifPresent(readBool(), [this](bool v) { setTagCloudEnabled(v); });
    ifPresent(readBool(), [this](bool v) { setShowPostCountsForTags(v); });
    ifPresent(readString(), [this](const QString &v) { setTagsTitle(v); });
    ifPresent(readString(), [this](const QString &v) { setTagsSeparator(v); });
    ifPresent(readString(), [this](const QString &v) { setCategoryTitle(v); });
    ifPresent(readBool(), [this](bool v) { setEnableCommentsInline(v); });

    // The date format is made of all four modifiers together: one that the
    // bundle does not know spoils the whole format, so all four go back.
    for (const QString &modifier : {_dateModifier1, _dateModifier2, _dateModifier3, _dateModifier4}) {
        if (!_dates.contains(modifier)) {
            setDefaultDateModifiers();
            break;
        }
    }

    const QVariant built = read();
    const QDateTime buildDate = built.typeId() == QMetaType::QDateTime ? built.toDateTime() : now();
    setLastSavedBuildDate(buildDate);
    setLastBuildDate(buildDate);
    setRssCustomFeedURL(archivedStringOrNull(read()));
    setEnableCustomRSSURL(readBool().value_or(false));
    setProperty("usePHPForSidebarContent", readBool().value_or(false));
    setCommentSeparator(readString().value_or(L("DefaultCommentSeparator")));
}

// ---------------------------------------------------------------- repairs

bool QFBlogPlugin::fixUpPostIDs()
{
    bool changed = false;
    QSet<int> seen;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries)) {
        // Every post without a real category is filed under the first one
        // again, and that counts as a change on every load; kept so.
        if (entry->categoryIndex() == 0) {
            entry->setCategoryIndex(0);
            changed = true;
        }
        const int id = entry->ID();
        if (!seen.contains(id)) {
            seen.insert(id);
            continue;
        }
        int replacement = nextID();
        while (seen.contains(replacement))
            replacement = nextID();
        // The replacement is deliberately not added to the set.
        entry->setID(replacement);
        qfLog(QStringLiteral("Blog Plugin: Replaced duplicate ID '%1' with '%2'").arg(id).arg(replacement));
        changed = true;
    }
    // A document or package whose lastID lags behind its posts would hand a
    // taken ID to the next new post. Raising it changes no post, so it is no
    // change to save.
    int highest = -1;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries))
        highest = std::max(highest, entry->ID());
    if (highest >= _lastID && highest < std::numeric_limits<int>::max()) {
        qfLog(QStringLiteral("Blog Plugin: Raised lastID from '%1' to '%2', past every post").arg(_lastID).arg(highest + 1));
        setLastID(highest + 1);
    }
    return changed;
}

bool QFBlogPlugin::fixUpiTunesTags()
{
    bool changed = false;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries)) {
        if (!entry->itunesTags()) {
            entry->setItunesTags(QFBlogCustomiTunesTags::tags());
            changed = true;
        }
    }
    return changed;
}

bool QFBlogPlugin::fixupPostGUIDs()
{
    bool changed = false;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries)) {
        if (entry->hasGUID())
            continue;
        if (const std::optional<QString> identifier = guid()) {
            entry->setGUID(*identifier);
            changed = true;
        }
    }
    return changed;
}

unsigned QFBlogPlugin::normaliseImages()
{
    unsigned count = 0;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries))
        count += entry->normaliseAttachments();
    return count;
}

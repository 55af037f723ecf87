// The plugin's entry management: creating, adding, removing and finding
// posts, the post date format, feed summaries, categories, podcasts and the
// rows the editor's buttons add.

#include "blog/model/qfblogcustomitunestags.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogentriescommand.h"
#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogplugin.h"
#include "blog/plugin/qfblogpluginindexes.h"
#include "qfkit/coding/qfcoding.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfcalendarformat.h"
#include "qfkit/support/qflog.h"
#include "qfkit/text/qfstrings.h"
#include "qfkit/text/qfstyledtext.h"

#include <QLocale>
#include <QSet>
#include <QUndoStack>
#include <algorithm>

namespace {

QString L(const char *key)
{
    return QFBlogPlugin::localizedString(QString::fromLatin1(key));
}

// Without a document there is nowhere to record undo: the edit simply
// cannot be undone.
QUndoStack *undoStackOf(const QFBlogPlugin &plugin)
{
    QFSiteDocument *document = plugin.document();
    return document ? document->undoStack() : nullptr;
}

} // namespace

// ---------------------------------------------------------------- posts

QList<QFBlogEntryPtr> QFBlogPlugin::blogs() const
{
    return m_blogEntryArrayController->arrangedObjects();
}

QFBlogEntryPtr QFBlogPlugin::addEntry()
{
    requirePostIDs(1);
    m_indexes->clearSearch();

    QVariantMap dictionary;
    dictionary.insert(QStringLiteral("title"), QString(QLatin1String("")));
    dictionary.insert(QStringLiteral("date"), now());
    dictionary.insert(QStringLiteral("categoryIndex"), 0);
    dictionary.insert(QStringLiteral("entry"), QFCodingSupport::variantFromObject(std::make_shared<QFStyledText>()));
    dictionary.insert(QStringLiteral("entrySummary"),
                      QFCodingSupport::variantFromObject(std::make_shared<QFStyledText>()));
    dictionary.insert(QStringLiteral("itunesTags"), QFCodingSupport::variantFromObject(QFBlogCustomiTunesTags::tags()));
    dictionary.insert(QStringLiteral("id"), nextID());
    if (const std::optional<QString> identifier = guid())
        dictionary.insert(QStringLiteral("guid"), *identifier);
    const QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithDictionary(dictionary, this);
    if (!entry)
        return nullptr;
    insertBlogEntry(entry, 0);

    m_blogEntryArrayController->rearrangeObjects();
    m_blogEntryArrayController->setSelectedObjects({entry});
    broadcastPluginChanged();
    return entry;
}

QList<QFBlogEntryPtr> QFBlogPlugin::addEntries(const QList<QFBlogEntryPtr> &entries)
{
    return doAddEntries(entries, true);
}

QList<QFBlogEntryPtr> QFBlogPlugin::doAddEntries(const QList<QFBlogEntryPtr> &entries, bool registerUndo)
{
    // Checked before the first post changes, so a refusal adds none.
    requirePostIDs(entries.size());
    QList<QFBlogEntryPtr> copies;
    copies.reserve(entries.size());
    const bool renewing = std::exchange(m_renewingAddedEntries, true);
    for (const QFBlogEntryPtr &entry : entries) {
        if (!entry)
            continue;
        // The "copy" is the post itself read afresh from its own dictionary;
        // it then takes a new identity, so the post given is what is added.
        entry->mutableCopy();
        entry->setProperty("ID", nextID());
        if (const std::optional<QString> identifier = guid())
            entry->setProperty("GUID", *identifier);
        copies.append(entry);
    }
    m_renewingAddedEntries = renewing;

    m_indexes->clearSearch();
    m_blogEntryArrayController->addObjects(copies);
    m_blogEntryArrayController->rearrangeObjects();
    if (shouldUpdateSearchIndexes())
        m_indexes->indexBlogEntries(copies);

    if (registerUndo) {
        if (QUndoStack *stack = undoStackOf(*this))
            stack->push(new QFBlogEntriesCommand(QFBlogEntriesCommand::Edit::Added, this, copies));
    }

    const QFSiteDocument *delegate = document();
    qfLog(QStringLiteral("[[self documentWindow] delegate] is %1")
              .arg(delegate ? QString::fromLatin1(delegate->metaObject()->className()) : QStringLiteral("(null)")));
    broadcastPluginChanged();
    return copies;
}

void QFBlogPlugin::removeEntries(const QList<QFBlogEntryPtr> &entries)
{
    doRemoveEntries(entries, true);
}

void QFBlogPlugin::doRemoveEntries(const QList<QFBlogEntryPtr> &entries, bool registerUndo)
{
    m_blogEntryArrayController->removeObjects(entries);
    m_blogEntryArrayController->rearrangeObjects();
    if (registerUndo) {
        if (QUndoStack *stack = undoStackOf(*this))
            stack->push(new QFBlogEntriesCommand(QFBlogEntriesCommand::Edit::Removed, this, entries));
    }
    m_indexes->unindexBlogEntries(entries);
    broadcastPluginChanged();
}

bool QFBlogPlugin::removeEntry()
{
    if (selectedEntries().isEmpty())
        return false;
    QFAlertRequest request;
    request.style = QFAlertRequest::Style::Warning;
    request.messageText = L("RemoveEntries");
    request.informativeText = L("CannotBeUndone");
    request.buttons = QStringList{L("Remove"), L("Cancel")};
    return reallyRemoveIfTheUserSaidItIsOK(QFAlert::runAlert(request));
}

bool QFBlogPlugin::reallyRemoveIfTheUserSaidItIsOK(int returnCode)
{
    if (returnCode != 0)
        return false;
    const QList<QFBlogEntryPtr> selected = selectedEntries();
    if (selected.isEmpty())
        return false;
    m_indexes->unindexBlogEntries(selected);
    // Gone for good, so their tags stop counting.
    for (const QFBlogEntryPtr &entry : selected)
        entry->setTags(std::nullopt);
    m_blogEntryArrayController->removeObjects(selected);
    emit currentEntryNeedsDisplay();
    broadcastPluginChanged();
    return true;
}

void QFBlogPlugin::removeBlogEntries(const QList<QFBlogEntryPtr> &entries)
{
    QSet<const QFBlogEntry *> leaving;
    for (const QFBlogEntryPtr &entry : entries)
        leaving.insert(entry.get());
    emit blogEntriesAboutToChange();
    _blogEntries.removeIf([&leaving](const QFBlogEntryPtr &entry) { return leaving.contains(entry.get()); });
    emit blogEntriesChanged();
}

QList<QFBlogEntryPtr> QFBlogPlugin::selectedEntries() const
{
    return m_blogEntryArrayController->selectedObjects();
}

QFBlogEntryPtr QFBlogPlugin::currentEntry() const
{
    const QList<QFBlogEntryPtr> &arranged = m_blogEntryArrayController->arrangedObjects();
    if (arranged.isEmpty())
        return nullptr;
    const int row = m_blogEntryArrayController->selectionIndex();
    if (row <= 0)
        return arranged.first();
    return row < arranged.size() ? arranged.at(row) : nullptr;
}

QFBlogEntryPtr QFBlogPlugin::postForPostID(int postID) const
{
    QList<QFBlogEntryPtr> sorted = _blogEntries;
    std::stable_sort(sorted.begin(), sorted.end(), &QFBlogEntry::newerFirst);
    for (const QFBlogEntryPtr &entry : std::as_const(sorted)) {
        if (entry->ID() == postID)
            return entry;
    }
    return nullptr;
}

// ---------------------------------------------------------------- dates

QString QFBlogPlugin::userConfiguredDate()
{
    // Older documents may hold no separator at all; it means no text.
    for (QString *separator : {&_dateSeperator1, &_dateSeperator2, &_dateSeperator3, &_dateSeperator4}) {
        if (separator->isNull())
            *separator = QString(QLatin1String(""));
    }
    const auto fragment = [this](const QString &modifier) { return _dates.value(modifier).toString(); };
    return fragment(_dateModifier1) + _dateSeperator1 + fragment(_dateModifier2) + _dateSeperator2
        + fragment(_dateModifier3) + _dateSeperator3 + fragment(_dateModifier4) + _dateSeperator4;
}

QString QFBlogPlugin::sampleDate()
{
    return QFCalendarFormat::format(now(), userConfiguredDate(),
                                    _localizeCheckBoxState ? QLocale::system() : QLocale::c());
}

std::optional<QDateTime> QFBlogPlugin::setNow()
{
    const QFBlogEntryPtr entry = currentEntry();
    if (!entry)
        return std::nullopt;
    const QDateTime date = now();
    entry->setDate(date);
    return date;
}

// ---------------------------------------------------------------- feed summary

std::optional<QString> QFBlogPlugin::onSummarizeCheckbox(int checkBoxValue, int sliderValue)
{
    const QFBlogEntryPtr entry = currentEntry();
    if (!entry)
        return std::nullopt;
    entry->setSummarizeRSSEntry(checkBoxValue != 0);
    if (checkBoxValue == 0)
        return std::nullopt;
    return onSummarizeEntry(sliderValue);
}

std::optional<QString> QFBlogPlugin::onSummarizeEntry(int sliderValue)
{
    const QFBlogEntryPtr entry = currentEntry();
    if (!entry || !entry->summarizeRSSEntry())
        return std::nullopt;
    const std::optional<QFStyledText> body = entry->entry();
    int count = sliderValue;
    const QString summary = QFStrings::summarizeToSentences(body ? body->plainString() : QString(), count);
    entry->setSummarizeRSSSentenceCount(count);
    return summary;
}

// ---------------------------------------------------------------- categories

QFBlogCategoryPtr QFBlogPlugin::categoryForCategoryName(const QString &name) const
{
    for (const QFBlogCategoryPtr &category : _categories) {
        if (category && category->categoryName() == name)
            return category;
    }
    return nullptr;
}

bool QFBlogPlugin::categoryNameExists(const QString &name) const
{
    return categoryForCategoryName(name) != nullptr;
}

QFBlogCategoryPtr QFBlogPlugin::addCategory()
{
    // Names are unique ignoring case: a name taken in another letter case
    // would leave the new category without a name.
    const auto taken = [this](const QString &name) {
        return std::any_of(_categories.cbegin(), _categories.cend(), [&name](const QFBlogCategoryPtr &category) {
            return category && category->categoryName().compare(name, Qt::CaseInsensitive) == 0;
        });
    };
    QString name = L("NewCategoryName");
    for (int number = 2; taken(name); ++number)
        name = L("NewCategoryNameFormatString").arg(number);
    return addNewCategory(name);
}

QFBlogCategoryPtr QFBlogPlugin::addNewCategory(const QString &name)
{
    emit categoriesAboutToChange();
    const QFBlogCategoryPtr category = QFBlogCategory::categoryWithName(name, this);
    attachCategory(category);
    QList<QFBlogCategoryPtr> categories = _categories;
    categories.append(category);
    setCategories(categories);
    fixUpCategoryIDs();
    emit categoriesChanged();
    return category;
}

void QFBlogPlugin::removeCategory(const QFBlogCategoryPtr &category)
{
    if (!category || category->isNone())
        return;
    const qsizetype index = _categories.indexOf(category);
    if (index < 0)
        return;
    QList<QFBlogEntryPtr> users;
    for (const QFBlogEntryPtr &entry : std::as_const(_blogEntries)) {
        if (entry->categoryIDs().contains(category->categoryID()))
            users.append(entry);
    }
    if (!users.isEmpty()) {
        emit mergeCategoriesRequested(users, category);
        return;
    }
    // Removed in place: no report, as the category list's own removal makes
    // none.
    emit categoriesAboutToChange();
    _categories.removeAt(index);
    emit categoriesChanged();
}

// ---------------------------------------------------------------- search

void QFBlogPlugin::reindexBlogEntry(const QFBlogEntryPtr &entry)
{
    if (entry && shouldUpdateSearchIndexes())
        m_indexes->reindexBlogEntry(entry);
}

// ---------------------------------------------------------------- podcasts

bool QFBlogPlugin::hasSingleSelection() const
{
    return m_blogEntryArrayController->selectedObjects().size() == 1;
}

bool QFBlogPlugin::choosePodcast(const QString &path)
{
    if (path.isEmpty() || !hasSingleSelection())
        return false;
    const QFBlogEntryPtr entry = currentEntry();
    if (!entry)
        return false;
    entry->setPodcast(path);
    entry->updatePodcastReferenceRelativeTo(documentPath());
    return true;
}

bool QFBlogPlugin::podcastWasChanged(const QString &file)
{
    return choosePodcast(QString(file));
}

void QFBlogPlugin::clearPodcast()
{
    m_blogEntryArrayController->setValueForSelection("podcast", QString(QLatin1String("")));
}

// ---------------------------------------------------------------- rows added by buttons

int QFBlogPlugin::addPingSettings()
{
    QVariantList settings = _pingSettings;
    settings.append(QVariantMap{{QStringLiteral("name"), QStringLiteral("service name")},
                                {QStringLiteral("url"), QStringLiteral("http://")},
                                {QStringLiteral("rpc"), false}});
    setPingSettings(settings);
    return int(settings.size()) - 1;
}

QFBlogCustomTagPtr QFBlogPlugin::addBlogChannelCustomTag()
{
    if (!hasSingleSelection())
        return nullptr;
    const QFBlogEntryPtr entry = selectedEntries().first();
    const QFBlogCustomTagPtr tag = QFBlogCustomTag::create();
    entry->insertObjectInCustomTagsAtIndex(tag, entry->customTags().size());
    return tag;
}

QFBlogCustomTagPtr QFBlogPlugin::addChannelTag()
{
    const QFBlogCustomTagPtr tag = QFBlogCustomTag::create();
    QList<QFBlogCustomTagPtr> tags = _channelCustomTags;
    tags.append(tag);
    setChannelCustomTags(tags);
    return tag;
}

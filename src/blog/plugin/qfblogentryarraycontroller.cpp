#include "qfblogentryarraycontroller.h"

#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"

#include <QSet>
#include <algorithm>
#include <limits>
#include <vector>

QFBlogEntryArrayController::QFBlogEntryArrayController(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
    connect(&m_plugin, &QFBlogPlugin::blogEntriesChanged, this, &QFBlogEntryArrayController::rearrangeObjects);
    connect(&m_plugin, &QFBlogPlugin::blogEntryDateChanged, this, &QFBlogEntryArrayController::rearrangeObjects);
    // The plugin makes its controller before its post list exists: nothing
    // is arranged until the list first changes.
}

QFBlogEntryArrayController::~QFBlogEntryArrayController()
{
    for (const QMetaObject::Connection &connection : std::as_const(m_postConnections))
        disconnect(connection);
}

const QList<QFBlogEntryPtr> &QFBlogEntryArrayController::content() const
{
    return m_plugin.posts();
}

const QList<QFBlogEntryPtr> &QFBlogEntryArrayController::arrangedObjects() const
{
    return m_arranged;
}

QList<QFBlogEntryPtr> QFBlogEntryArrayController::arrangeObjects(const QList<QFBlogEntryPtr> &objects) const
{
    QList<QFBlogEntryPtr> arranged;
    if (m_searchResults) {
        const QSet<int> found(m_searchResults->cbegin(), m_searchResults->cend());
        arranged.reserve(m_searchResults->size());
        for (const QFBlogEntryPtr &entry : objects) {
            if (entry && found.contains(entry->ID()))
                arranged.append(entry);
        }
    } else {
        arranged = objects;
        arranged.removeAll(QFBlogEntryPtr());
    }
    // The order of a stable sort with QFBlogEntry::newerFirst, each date
    // converted once rather than at every comparison (a local date's
    // conversion asks the C library for the time zone each time). Dates that
    // are not valid count as the oldest.
    struct Key
    {
        qint64 msecs;
        qsizetype index;
    };
    std::vector<Key> keys;
    keys.reserve(size_t(arranged.size()));
    for (qsizetype i = 0; i < arranged.size(); ++i) {
        const QDateTime &date = arranged.at(i)->date();
        keys.push_back({date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min(), i});
    }
    std::stable_sort(keys.begin(), keys.end(), [](const Key &a, const Key &b) { return a.msecs > b.msecs; });
    QList<QFBlogEntryPtr> sorted;
    sorted.reserve(arranged.size());
    for (const Key &key : keys)
        sorted.append(arranged.at(key.index));
    return sorted;
}

void QFBlogEntryArrayController::rearrangeObjects()
{
    const QList<QFBlogEntryPtr> selectedBefore = m_selection;
    beginResetModel();
    m_arranged = arrangeObjects(content());
    watchArrangedPosts();
    endResetModel();
    setSelectionKeepingOrder(selectedBefore);
}

void QFBlogEntryArrayController::addObjects(const QList<QFBlogEntryPtr> &objects)
{
    QSet<const QFBlogEntry *> present;
    present.reserve(content().size() + objects.size());
    for (const QFBlogEntryPtr &entry : content())
        present.insert(entry.get());
    QList<QFBlogEntryPtr> added;
    for (const QFBlogEntryPtr &entry : objects) {
        if (!entry || present.contains(entry.get()))
            continue;
        present.insert(entry.get());
        added.append(entry);
    }
    if (added.isEmpty())
        return;
    m_plugin.insertBlogEntries(added); // its change re-arranges once
    setSelectedObjects(added);
}

void QFBlogEntryArrayController::removeObjects(const QList<QFBlogEntryPtr> &objects)
{
    // Where the first removed selected post stood: its successor takes the
    // selection when nothing selected is left.
    int firstRemovedSelected = -1;
    for (int i = 0; i < m_arranged.size(); ++i) {
        if (m_selection.contains(m_arranged.at(i)) && objects.contains(m_arranged.at(i))) {
            firstRemovedSelected = i;
            break;
        }
    }
    m_plugin.removeBlogEntries(objects);
    rearrangeObjects();
    if (m_selection.isEmpty() && firstRemovedSelected >= 0 && !m_arranged.isEmpty())
        setSelectionIndex(std::min(firstRemovedSelected, int(m_arranged.size()) - 1));
}

const std::optional<QList<int>> &QFBlogEntryArrayController::searchResults() const
{
    return m_searchResults;
}

void QFBlogEntryArrayController::setSearchResults(const std::optional<QList<int>> &IDs)
{
    m_searchResults = IDs;
}

void QFBlogEntryArrayController::updateSearchResults(const std::optional<QList<int>> &IDs)
{
    setSearchResults(IDs);
    rearrangeObjects();
}

QList<int> QFBlogEntryArrayController::selectionIndexes() const
{
    QSet<const QFBlogEntry *> selected;
    for (const QFBlogEntryPtr &entry : m_selection)
        selected.insert(entry.get());
    QList<int> indexes;
    for (int i = 0; i < m_arranged.size(); ++i) {
        if (selected.contains(m_arranged.at(i).get()))
            indexes.append(i);
    }
    return indexes;
}

int QFBlogEntryArrayController::selectionIndex() const
{
    const QList<int> indexes = selectionIndexes();
    return indexes.isEmpty() ? -1 : indexes.first();
}

void QFBlogEntryArrayController::setSelectionIndex(int index)
{
    setSelectionIndexes(index >= 0 ? QList<int>{index} : QList<int>{});
}

void QFBlogEntryArrayController::setSelectionIndexes(const QList<int> &indexes)
{
    QList<QFBlogEntryPtr> objects;
    for (int index : indexes) {
        if (index >= 0 && index < m_arranged.size())
            objects.append(m_arranged.at(index));
    }
    setSelectedObjects(objects);
}

QList<QFBlogEntryPtr> QFBlogEntryArrayController::selectedObjects() const
{
    return m_selection;
}

void QFBlogEntryArrayController::setSelectedObjects(const QList<QFBlogEntryPtr> &objects)
{
    setSelectionKeepingOrder(objects);
}

void QFBlogEntryArrayController::setSelectionKeepingOrder(const QList<QFBlogEntryPtr> &objects)
{
    // Kept in display order so selectedObjects() reads like the table.
    QSet<const QFBlogEntry *> wanted;
    for (const QFBlogEntryPtr &entry : objects)
        wanted.insert(entry.get());
    QList<QFBlogEntryPtr> selection;
    for (const QFBlogEntryPtr &entry : std::as_const(m_arranged)) {
        if (wanted.contains(entry.get()))
            selection.append(entry);
    }
    if (selection == m_selection)
        return;
    m_selection = selection;
    emit selectionChanged();
}

bool QFBlogEntryArrayController::setValueForSelection(const char *key, const QVariant &value)
{
    bool changed = false;
    for (const QFBlogEntryPtr &entry : std::as_const(m_selection)) {
        if (entry->property(key) == value)
            continue;
        entry->setProperty(key, value);
        changed = true;
    }
    return changed;
}

// ---------------------------------------------------------------- item model

int QFBlogEntryArrayController::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_arranged.size());
}

int QFBlogEntryArrayController::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant QFBlogEntryArrayController::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_arranged.size())
        return {};
    const QFBlogEntryPtr &entry = m_arranged.at(index.row());
    if (role == EntryRole)
        return QVariant::fromValue(entry);
    if (role == IDRole)
        return entry->ID();
    switch (index.column()) {
    case TitleColumn:
        if (role == Qt::DisplayRole)
            return entry->titleOrNoTitle();
        if (role == Qt::EditRole)
            return entry->title();
        break;
    case DateColumn:
        if (role == Qt::DisplayRole || role == Qt::EditRole)
            return entry->date();
        break;
    case StatusColumn:
        if (role == Qt::CheckStateRole)
            return entry->status() == 1 ? Qt::Checked : Qt::Unchecked;
        if (role == Qt::EditRole)
            return entry->status();
        break;
    case CategoriesColumn:
        if (role == Qt::DisplayRole || role == Qt::EditRole)
            return entry->categoryNames();
        break;
    default:
        break;
    }
    return {};
}

QVariant QFBlogEntryArrayController::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case TitleColumn:
        return QFBlogPlugin::localizedString(QStringLiteral("Title"));
    case DateColumn:
        return QFBlogPlugin::localizedString(QStringLiteral("Date"));
    case StatusColumn:
        return QFBlogPlugin::localizedString(QStringLiteral("Status"));
    case CategoriesColumn:
        return QFBlogPlugin::localizedString(QStringLiteral("Categories"));
    default:
        return {};
    }
}

QHash<int, QByteArray> QFBlogEntryArrayController::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractTableModel::roleNames();
    names.insert(EntryRole, "entry");
    names.insert(IDRole, "ID");
    return names;
}

void QFBlogEntryArrayController::watchArrangedPosts()
{
    for (const QMetaObject::Connection &connection : std::as_const(m_postConnections))
        disconnect(connection);
    m_postConnections.clear();
    for (const QFBlogEntryPtr &entry : std::as_const(m_arranged)) {
        QFBlogEntry *post = entry.get();
        m_postConnections.append(
            connect(post, &QFBlogEntry::titleChanged, this, [this, post] { postDidChange(post, TitleColumn); }));
        m_postConnections.append(connect(post, &QFBlogEntry::categoriesChanged, this,
                                         [this, post] { postDidChange(post, CategoriesColumn); }));
    }
}

void QFBlogEntryArrayController::postDidChange(QFBlogEntry *entry, int column)
{
    for (int row = 0; row < m_arranged.size(); ++row) {
        if (m_arranged.at(row).get() == entry) {
            const QModelIndex cell = index(row, column);
            emit dataChanged(cell, cell);
            return;
        }
    }
}

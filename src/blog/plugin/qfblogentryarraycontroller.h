#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QMetaObject>
#include <QVariant>
#include <memory>
#include <optional>

class QFBlogEntry;
class QFBlogPlugin;
using QFBlogEntryPtr = std::shared_ptr<QFBlogEntry>;

// The blog's entry list as the editor shows it: the plugin's posts (the
// content) arranged for display, newest first (QFBlogEntry::newerFirst; posts
// of the same date keep their content order), optionally narrowed by the
// search results, together with the list's selection.
//
// Content edits go to the plugin: addObjects() and removeObjects() change the
// plugin's post list, which this controller then arranges again. It also
// re-arranges by itself whenever the plugin announces a changed post list or
// a changed post date, so arrangedObjects() never holds a post the plugin
// has let go of.
//
// The selection is a set of posts: it follows them through re-arranging,
// and a post that is no longer arranged (removed, or hidden by the search)
// leaves the selection. Removing the selected posts selects the post that
// takes the place of the first of them, so a non-empty list keeps a
// selection after a removal.
//
// As a Qt item model: one row per arranged post, columns Title, Date, Status
// and Categories; EntryRole gives the post (QFBlogEntryPtr) in every column.
// Read-only; editing happens on the posts.
//
// The plugin owns its controller and outlives it. Main thread only.
class QFBlogEntryArrayController final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { TitleColumn, DateColumn, StatusColumn, CategoriesColumn, ColumnCount };
    enum Role { EntryRole = Qt::UserRole + 1, IDRole };

    // Starts empty, without reading the plugin (which may still be under
    // construction); the plugin's first change of its post list fills it.
    explicit QFBlogEntryArrayController(QFBlogPlugin &plugin);
    ~QFBlogEntryArrayController() override;
    Q_DISABLE_COPY_MOVE(QFBlogEntryArrayController)

    // The plugin's posts in insertion order.
    const QList<QFBlogEntryPtr> &content() const;
    // The posts as shown, in display order.
    const QList<QFBlogEntryPtr> &arrangedObjects() const;
    // Filters objects by the search results (when there are any), keeping
    // their order, then sorts them newest first.
    QList<QFBlogEntryPtr> arrangeObjects(const QList<QFBlogEntryPtr> &objects) const;
    // Arranges the content again; the model resets and the selection follows
    // its posts.
    void rearrangeObjects();

    // Appends the posts to the plugin's list (null posts and posts already
    // there are skipped), re-arranges and selects them.
    void addObjects(const QList<QFBlogEntryPtr> &objects);
    // Removes the posts from the plugin's list (unknown ones are ignored) and
    // re-arranges.
    void removeObjects(const QList<QFBlogEntryPtr> &objects);

    // The post IDs the list is narrowed to; empty for no filter (every post
    // shown). An empty list is a filter that hides every post.
    const std::optional<QList<int>> &searchResults() const;
    void setSearchResults(const std::optional<QList<int>> &IDs);
    // Sets the search results and re-arranges.
    void updateSearchResults(const std::optional<QList<int>> &IDs);

    // Indexes into arrangedObjects(), ascending.
    QList<int> selectionIndexes() const;
    // The first selected index; -1 with no selection.
    int selectionIndex() const;
    // Selects the arranged post at index alone; an index out of range (-1
    // included) clears the selection.
    void setSelectionIndex(int index);
    // Indexes out of range are ignored.
    void setSelectionIndexes(const QList<int> &indexes);
    // The selected posts in display order.
    QList<QFBlogEntryPtr> selectedObjects() const;
    // Posts that are not arranged are ignored.
    void setSelectedObjects(const QList<QFBlogEntryPtr> &objects);

    // Sets the property key of every selected post to value, skipping posts
    // whose current value is already equal (so they report nothing). Whether
    // any post was changed.
    bool setValueForSelection(const char *key, const QVariant &value);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void selectionChanged();

private:
    void setSelectionKeepingOrder(const QList<QFBlogEntryPtr> &objects);
    void watchArrangedPosts();
    void postDidChange(QFBlogEntry *entry, int column);

    QFBlogPlugin &m_plugin;
    QList<QFBlogEntryPtr> m_arranged;
    QList<QFBlogEntryPtr> m_selection;
    std::optional<QList<int>> m_searchResults;
    QList<QMetaObject::Connection> m_postConnections;
};

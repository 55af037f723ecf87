#pragma once

#include <QList>
#include <QPointer>
#include <QUndoCommand>
#include <memory>

class QFBlogEntry;
class QFBlogPlugin;
using QFBlogEntryPtr = std::shared_ptr<QFBlogEntry>;

// The undo record of posts added to or removed from a blog
// (QFBlogPlugin::addEntries / removeEntries). Undoing an addition removes the
// posts; undoing a removal adds them back; redo repeats the edit. Every
// addition renumbers the posts with fresh IDs and GUIDs, on purpose: that is
// what adding does, so restored posts get new permalinks and feed identifiers.
// Pushed after the edit was made, so its first redo() (the one
// QUndoStack::push makes) does nothing.
//
// Holds the posts and, weakly, the plugin: once the plugin is gone, undo and
// redo do nothing.
class QFBlogEntriesCommand final : public QUndoCommand
{
public:
    enum class Edit { Added, Removed };

    QFBlogEntriesCommand(Edit edit, QFBlogPlugin *plugin, const QList<QFBlogEntryPtr> &entries,
                         QUndoCommand *parent = nullptr);
    Q_DISABLE_COPY_MOVE(QFBlogEntriesCommand)

    void undo() override;
    void redo() override;

private:
    void apply(bool add);

    Edit m_edit;
    QPointer<QFBlogPlugin> m_plugin;
    QList<QFBlogEntryPtr> m_entries;
    bool m_alreadyDone = true;
};

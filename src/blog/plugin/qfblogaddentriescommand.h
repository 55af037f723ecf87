#pragma once

#include <QList>
#include <QPointer>
#include <QUndoCommand>
#include <memory>

class QFBlogEntry;
class QFBlogPlugin;
using QFBlogEntryPtr = std::shared_ptr<QFBlogEntry>;

// The undo record of posts added to a blog (QFBlogPlugin::addEntries): undo
// removes them again, redo adds them once more, each time with fresh IDs and
// GUIDs, as adding always does. Pushed after the posts were added, so its
// first redo() (the one QUndoStack::push makes) does nothing.
//
// Holds the posts and, weakly, the plugin: once the plugin is gone, undo and
// redo do nothing.
class QFBlogAddEntriesCommand final : public QUndoCommand
{
public:
    QFBlogAddEntriesCommand(QFBlogPlugin *plugin, const QList<QFBlogEntryPtr> &entries,
                            QUndoCommand *parent = nullptr);
    Q_DISABLE_COPY_MOVE(QFBlogAddEntriesCommand)

    void undo() override;
    void redo() override;

private:
    QPointer<QFBlogPlugin> m_plugin;
    QList<QFBlogEntryPtr> m_entries;
    bool m_alreadyDone = true;
};

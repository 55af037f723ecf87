#pragma once

#include <QList>
#include <QPointer>
#include <QUndoCommand>
#include <memory>

class QFBlogEntry;
class QFBlogPlugin;
using QFBlogEntryPtr = std::shared_ptr<QFBlogEntry>;

// The undo record of posts removed from a blog (QFBlogPlugin::removeEntries):
// undo adds the same posts back, renumbered with fresh IDs and GUIDs (their
// permalinks and feed identifiers change, on purpose: that is what adding
// does); redo removes them again. Pushed after the removal, so its first
// redo() (the one QUndoStack::push makes) does nothing.
//
// Holds the posts and, weakly, the plugin: once the plugin is gone, undo and
// redo do nothing.
class QFBlogRemoveEntriesCommand final : public QUndoCommand
{
public:
    QFBlogRemoveEntriesCommand(QFBlogPlugin *plugin, const QList<QFBlogEntryPtr> &entries,
                               QUndoCommand *parent = nullptr);
    Q_DISABLE_COPY_MOVE(QFBlogRemoveEntriesCommand)

    void undo() override;
    void redo() override;

private:
    QPointer<QFBlogPlugin> m_plugin;
    QList<QFBlogEntryPtr> m_entries;
    bool m_alreadyDone = true;
};

#include "qfblogentriescommand.h"

#include "blog/plugin/qfblogplugin.h"

QFBlogEntriesCommand::QFBlogEntriesCommand(Edit edit, QFBlogPlugin *plugin, const QList<QFBlogEntryPtr> &entries,
                                           QUndoCommand *parent)
    : QUndoCommand(edit == Edit::Added ? QStringLiteral("Add Posts") : QStringLiteral("Remove Posts"), parent)
    , m_edit(edit)
    , m_plugin(plugin)
    , m_entries(entries)
{
}

void QFBlogEntriesCommand::undo()
{
    apply(m_edit == Edit::Removed);
}

void QFBlogEntriesCommand::redo()
{
    if (m_alreadyDone) {
        m_alreadyDone = false;
        return;
    }
    apply(m_edit == Edit::Added);
}

void QFBlogEntriesCommand::apply(bool add)
{
    if (!m_plugin)
        return;
    if (add)
        m_plugin->doAddEntries(m_entries, false);
    else
        m_plugin->doRemoveEntries(m_entries, false);
}

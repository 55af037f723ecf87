#include "qfblogaddentriescommand.h"

#include "blog/plugin/qfblogplugin.h"

QFBlogAddEntriesCommand::QFBlogAddEntriesCommand(QFBlogPlugin *plugin, const QList<QFBlogEntryPtr> &entries,
                                                 QUndoCommand *parent)
    : QUndoCommand(QStringLiteral("Add Posts"), parent)
    , m_plugin(plugin)
    , m_entries(entries)
{
}

void QFBlogAddEntriesCommand::undo()
{
    if (m_plugin)
        m_plugin->doRemoveEntries(m_entries, false);
}

void QFBlogAddEntriesCommand::redo()
{
    if (m_alreadyDone) {
        m_alreadyDone = false;
        return;
    }
    if (m_plugin)
        m_plugin->doAddEntries(m_entries, false);
}

#include "qfblogremoveentriescommand.h"

#include "blog/plugin/qfblogplugin.h"

QFBlogRemoveEntriesCommand::QFBlogRemoveEntriesCommand(QFBlogPlugin *plugin, const QList<QFBlogEntryPtr> &entries,
                                                       QUndoCommand *parent)
    : QUndoCommand(QStringLiteral("Remove Posts"), parent)
    , m_plugin(plugin)
    , m_entries(entries)
{
}

void QFBlogRemoveEntriesCommand::undo()
{
    if (m_plugin)
        m_plugin->doAddEntries(m_entries, false);
}

void QFBlogRemoveEntriesCommand::redo()
{
    if (m_alreadyDone) {
        m_alreadyDone = false;
        return;
    }
    if (m_plugin)
        m_plugin->doRemoveEntries(m_entries, false);
}

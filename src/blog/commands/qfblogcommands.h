#pragma once

#include <QList>

class QFPluginCommand;

// The blog's commands of the command line, as the plugin's factory offers
// them to the host.
namespace QFBlogCommands {

// Made on first use and kept until the process ends; never null entries.
QList<QFPluginCommand *> all();

} // namespace QFBlogCommands

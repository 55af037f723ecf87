#pragma once

#include <QString>
#include <QStringList>

class QFCommandContext;

// A command of the `quillfen` command line that a page plugin offers
// (QFPagePluginFactory::commands()), such as the blog's "post": the host
// lists it in its help and runs it when the user names it.
//
// run() gets the arguments after the command's name and answers the exit
// code: 0 done, 1 failed (with a message on the context's error stream
// naming the file and the problem), 2 used wrongly. It may instead raise
// QFException: the host prints the reason and exits with 1, or with 2 when
// the name is QFCommandArguments::usageErrorName(). A command that changes a
// site saves it once, through the context.
//
// Ownership: the factory owns its commands for as long as it lives.
class QFPluginCommand
{
public:
    virtual ~QFPluginCommand() = default;

    // The word that selects the command ("post").
    virtual QString name() const = 0;
    // One line for the host's command list: the usage after "quillfen".
    virtual QString synopsis() const = 0;
    virtual QString summary() const = 0;
    // The full text "quillfen NAME --help" prints.
    virtual QString help() const = 0;

    virtual int run(const QStringList &arguments, QFCommandContext &context) = 0;
};

#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

// One run of the built quillfen, as a user runs it: exit code (-1 when it
// crashed or hung), standard output and standard error.
struct QuillfenRun
{
    int code = -1;
    QString out;
    QString err;
};

// The environment of a run inside the test folder: the build tree's plugins,
// and user defaults kept in the folder.
QProcessEnvironment quillfenEnvironment(const QString &folder);

// Runs quillfen with the arguments in the folder, feeding input to its
// standard input.
QuillfenRun runQuillfen(const QStringList &arguments, const QString &folder, const QByteArray &input = {});

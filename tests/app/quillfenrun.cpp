#include "quillfenrun.h"

#include <QDir>
#include <QProcess>

QProcessEnvironment quillfenEnvironment(const QString &folder)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUILLFEN_PLUGIN_PATH"), QStringLiteral(QF_PLUGINS_PATH));
    environment.insert(QStringLiteral("HOME"), folder);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), QDir(folder).filePath(QStringLiteral("config")));
    return environment;
}

QuillfenRun runQuillfen(const QStringList &arguments, const QString &folder, const QByteArray &input)
{
    QProcess process;
    process.setProcessEnvironment(quillfenEnvironment(folder));
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral(QF_QUILLFEN_PATH), arguments);
    process.write(input);
    process.closeWriteChannel();
    QuillfenRun run;
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
        return run;
    run.code = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

#include "quillfenrun.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

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

QuillfenRun QuillfenFolder::run(const QString &line, const QByteArray &input) const
{
    if (line.isEmpty())
        return run(QStringList(), input);
    return run(line.split(line.contains(u'|') ? u'|' : u' '), input);
}

QuillfenRun QuillfenFolder::run(QStringList arguments, const QByteArray &input) const
{
    // In one pass, so that no path is read again for words.
    QMap<QString, QString> values = words;
    values.insert(QStringLiteral("SITE"), site);
    values.insert(QStringLiteral("DIR"), dir.path());
    const QRegularExpression word(values.keys().join(u'|'));
    for (QString &argument : arguments) {
        QString replaced;
        qsizetype from = 0;
        for (const QRegularExpressionMatch &match : word.globalMatch(argument)) {
            replaced += argument.mid(from, match.capturedStart() - from) + values.value(match.captured());
            from = match.capturedEnd();
        }
        argument = replaced + argument.mid(from);
    }
    return runQuillfen(arguments, dir.path(), input);
}

QString QuillfenFolder::write(const QString &name, const QByteArray &bytes) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return QString();
    return file.fileName();
}

QByteArray QuillfenFolder::read(const QString &path) const
{
    QFile file(QDir(dir.path()).filePath(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList QuillfenFolder::names() const
{
    return QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

QStringList QuillfenFolder::listedPosts() const
{
    QStringList listed;
    for (const QJsonValue &value : posts()) {
        QJsonObject post = value.toObject();
        post.remove(QStringLiteral("id"));
        post.remove(QStringLiteral("guid"));
        if (post.value(QStringLiteral("podcast")).isNull())
            post.remove(QStringLiteral("podcast"));
        listed.append(QString::fromUtf8(QJsonDocument(post).toJson(QJsonDocument::Compact)));
    }
    return listed;
}

#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// One run of the built quillfen, as a user runs it: exit code (-1 when it
// crashed or hung), standard output and standard error.
struct QuillfenRun
{
    int code = -1;
    QString out;
    QString err;
    QJsonDocument json() const { return QJsonDocument::fromJson(out.toUtf8()); }
};

// The environment of a run inside the test folder: the build tree's plugins,
// and user defaults kept in the folder.
QProcessEnvironment quillfenEnvironment(const QString &folder);

// Runs quillfen with the arguments in the folder, feeding input to its
// standard input.
QuillfenRun runQuillfen(const QStringList &arguments, const QString &folder, const QByteArray &input = {});

// A fresh folder for the site a test works on. A command line is written as
// one string, split at "|" when it has one (for values with spaces), else at
// spaces; in it SITE stands for the site's path, DIR for the folder's, and
// each key of `words` for its value.
struct QuillfenFolder
{
    QTemporaryDir dir;
    QString site = dir.filePath(QStringLiteral("site.qfsite"));
    QMap<QString, QString> words;

    QuillfenRun run(const QString &line, const QByteArray &input = {}) const;
    QuillfenRun run(QStringList arguments, const QByteArray &input = {}) const;
    QString path(const QString &name) const { return dir.filePath(name); }
    QString write(const QString &name, const QByteArray &bytes) const;
    QByteArray read(const QString &path) const;
    // Every name in the folder, to show that a refused command left it alone.
    QStringList names() const;
    QJsonArray posts() const { return run(QStringLiteral("post list SITE --json")).json().array(); }
    // The listed posts, newest first, each as compact JSON without the IDs the
    // blog chose and without an empty podcast.
    QStringList listedPosts() const;
};

// A run that must succeed, its error output shown when it does not.
#define QF_VERIFY_RUN(expression)                                                                                    \
    do {                                                                                                             \
        const QuillfenRun run_ = (expression);                                                                       \
        QVERIFY2(run_.code == 0, qPrintable(QStringLiteral("exit %1: %2").arg(run_.code).arg(run_.err)));            \
    } while (false)

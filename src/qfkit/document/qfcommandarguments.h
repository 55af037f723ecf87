#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

// The arguments of one command of the `quillfen` command line, split into
// options and positional arguments.
//
// Options are long only: "--name", "--name VALUE" or "--name=VALUE" for those
// that take a value. An option may be repeated; value() gives the last,
// values() all of them in order. Everything else is positional, including
// "-1" and "-" (so negative numbers need no quoting); after "--" every
// argument is positional. "--help" and "-h" are always known.
//
// Errors: an unknown option, a missing value, or a value given to an option
// that takes none raise QFException(QFCommandArguments::usageErrorName()),
// which the command line reports as wrong usage (exit code 2).
class QFCommandArguments final
{
public:
    struct Option
    {
        QString name; // without the leading "--"
        bool takesValue = false;
    };

    QFCommandArguments(const QStringList &arguments, const QList<Option> &options);

    bool helpRequested() const;
    bool isSet(const QString &name) const;
    // The last value given; a null string when the option was not given.
    QString value(const QString &name) const;
    QStringList values(const QString &name) const;
    // Every option given, in the order given, by name (for options whose
    // relative order matters to a command).
    QStringList optionNamesInOrder() const;
    const QStringList &positional() const;

    // Raises a usage error unless there are between min and max positional
    // arguments (max < 0: no upper limit).
    void requirePositional(qsizetype min, qsizetype max) const;

    // The exception name of wrong usage: "Usage Error".
    static QString usageErrorName();
    // Raises QFException(usageErrorName(), reason).
    [[noreturn]] static void usageError(const QString &reason);

private:
    bool m_help = false;
    QMap<QString, QStringList> m_values;
    QStringList m_order;
    QStringList m_positional;
};

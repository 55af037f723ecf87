#pragma once

#include <QString>
#include <QByteArray>
#include <exception>

// The one exception type of the system. Export-time configuration faults
// ("Base URL Required", "Invalid Enclosure" …) and malformed outside input
// (archives, property lists, packages) are raised as a QFException with a
// fixed name and a reason written for the user. The outermost operation (a
// command, a menu action) catches it and shows the reason; nothing below that
// decides to end the process.
class QFException : public std::exception
{
public:
    QFException(QString name, QString reason);

    const QString &name() const noexcept { return m_name; }
    const QString &reason() const noexcept { return m_reason; }

    // "name: reason", UTF-8.
    const char *what() const noexcept override;

private:
    QString m_name;
    QString m_reason;
    QByteArray m_what;
};

// A broken promise inside the program itself, such as a page template missing
// from the plugin's bundle. Carries the source file that noticed it and a
// fixed text ("Blog permalink template is missing").
class QFAssertionFailure : public std::exception
{
public:
    QFAssertionFailure(QString sourceFile, QString text);

    const QString &sourceFile() const noexcept { return m_sourceFile; }
    const QString &text() const noexcept { return m_text; }

    // "text (sourceFile)", UTF-8.
    const char *what() const noexcept override;

private:
    QString m_sourceFile;
    QString m_text;
    QByteArray m_what;
};

// Raises QFAssertionFailure naming this source file when the condition fails.
#define QF_ASSERT(condition, text)                                                          \
    do {                                                                                    \
        if (!(condition))                                                                   \
            throw QFAssertionFailure(QStringLiteral(__FILE__), QStringLiteral(text));      \
    } while (false)

#pragma once

#include <QLoggingCategory>
#include <QString>
#include <QStringList>

// The system log: diagnostics as fixed texts with their values filled in, one
// line each, no levels, never shown to the user unless asked (the command
// line's --verbose). Lines go through Qt's message handler under the category
// "quillfen", so a host can route them wherever it likes.
Q_DECLARE_LOGGING_CATEGORY(lcQuillfen)

void qfLog(const QString &line);

// Collects the log lines written while it lives (tests use it to check that a
// diagnostic was or was not written). Messages of other categories are passed
// on to the handler that was installed before. Not thread-safe to nest across
// threads; meant for one test at a time.
class QFLogCapture final
{
public:
    QFLogCapture();
    ~QFLogCapture();
    Q_DISABLE_COPY_MOVE(QFLogCapture)

    QStringList lines() const;
    bool contains(const QString &text) const;

private:
    static void handler(QtMsgType type, const QMessageLogContext &context, const QString &message);
    QtMessageHandler m_previous = nullptr;
    QFLogCapture *m_outer = nullptr;
    QStringList m_lines;
};

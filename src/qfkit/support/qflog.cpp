#include "qflog.h"

#include <QMutex>
#include <QMutexLocker>
#include <cstdio>
#include <cstring>

Q_LOGGING_CATEGORY(lcQuillfen, "quillfen")

namespace {
QMutex captureMutex;
QFLogCapture *currentCapture = nullptr;
}

void qfLog(const QString &line)
{
    qCInfo(lcQuillfen).noquote() << line;
}

QFLogCapture::QFLogCapture()
{
    QMutexLocker lock(&captureMutex);
    m_outer = currentCapture;
    currentCapture = this;
    m_previous = qInstallMessageHandler(&QFLogCapture::handler);
}

QFLogCapture::~QFLogCapture()
{
    QMutexLocker lock(&captureMutex);
    qInstallMessageHandler(m_previous);
    currentCapture = m_outer;
}

QStringList QFLogCapture::lines() const
{
    QMutexLocker lock(&captureMutex);
    return m_lines;
}

bool QFLogCapture::contains(const QString &text) const
{
    const QStringList all = lines();
    for (const QString &l : all) {
        if (l.contains(text))
            return true;
    }
    return false;
}

void QFLogCapture::handler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    QtMessageHandler forward = nullptr;
    {
        QMutexLocker lock(&captureMutex);
        if (currentCapture && context.category && std::strcmp(context.category, "quillfen") == 0) {
            // Every capture alive sees the line, so a helper capturing for
            // itself does not hide lines from the test around it.
            for (QFLogCapture *c = currentCapture; c; c = c->m_outer)
                c->m_lines.append(message);
            return;
        }
        // Inner captures remember the outer one's handler (this function);
        // other categories go to the handler that was there before any capture.
        for (QFLogCapture *c = currentCapture; c; c = c->m_outer) {
            if (c->m_previous != &QFLogCapture::handler)
                forward = c->m_previous;
        }
    }
    if (forward)
        forward(type, context, message);
    else
        std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
}

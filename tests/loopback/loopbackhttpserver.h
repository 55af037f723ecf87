#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QString>
#include <QThread>

class QTcpSocket;

// A tiny HTTP/1.1 server on 127.0.0.1 for tests of code that sends requests
// synchronously: it runs on a thread of its own, so the test's thread may
// block in a request while the server answers. Each path answers with the
// reply set for it (404 for others); every request is recorded.
class LoopbackHttpServer final
{
public:
    struct Request
    {
        QByteArray method;
        QByteArray target; // path and query as sent
        QByteArray path;   // without the query
        QHash<QByteArray, QByteArray> headers; // names in lower case
        QByteArray body;
    };

    struct Reply
    {
        int status = 200;
        QByteArray contentType = "text/xml";
        QByteArray body;
        // Waits this long before answering (for time-outs).
        int delayMilliseconds = 0;
    };

    LoopbackHttpServer();
    ~LoopbackHttpServer();
    Q_DISABLE_COPY_MOVE(LoopbackHttpServer)

    void setReply(const QByteArray &path, const Reply &reply);
    // "http://127.0.0.1:<port><path>"
    QString url(const QByteArray &path) const;
    QList<Request> requests() const;
    int requestCount(const QByteArray &path) const;

private:
    // Answers what has arrived on a connection once the whole request is in.
    void serve(QTcpSocket *socket, QByteArray &buffer);

    mutable QMutex m_mutex;
    QHash<QByteArray, Reply> m_replies;
    QList<Request> m_requests;
    QThread m_thread;
    QObject *m_context = nullptr; // lives on m_thread, owns the listener and the connections
    quint16 m_port = 0;
};

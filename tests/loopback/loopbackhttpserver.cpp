#include "loopbackhttpserver.h"

#include <QHostAddress>
#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

LoopbackHttpServer::LoopbackHttpServer()
{
    m_context = new QObject;
    m_context->moveToThread(&m_thread);
    m_thread.start();
    QMetaObject::invokeMethod(
        m_context,
        [this] {
            auto *server = new QTcpServer(m_context);
            QObject::connect(server, &QTcpServer::newConnection, m_context, [this, server] {
                while (QTcpSocket *socket = server->nextPendingConnection()) {
                    auto buffer = std::make_shared<QByteArray>();
                    QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, buffer] {
                        buffer->append(socket->readAll());
                        serve(socket, *buffer);
                    });
                    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
                }
            });
            server->listen(QHostAddress::LocalHost, 0);
            m_port = server->serverPort();
        },
        Qt::BlockingQueuedConnection);
}

LoopbackHttpServer::~LoopbackHttpServer()
{
    // The listener and the open connections go on their own thread.
    QMetaObject::invokeMethod(m_context, [this] { delete m_context; }, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

void LoopbackHttpServer::serve(QTcpSocket *socket, QByteArray &buffer)
{
    const qsizetype end = buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return;
    Request request;
    const QList<QByteArray> lines = buffer.left(end).split('\n');
    const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
    request.method = first.value(0);
    request.target = first.value(1);
    request.path = request.target.split('?').constFirst();
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines.at(i).indexOf(':');
        if (colon > 0)
            request.headers.insert(lines.at(i).left(colon).trimmed().toLower(), lines.at(i).mid(colon + 1).trimmed());
    }
    const qsizetype length = request.headers.value("content-length", "0").toLongLong();
    if (buffer.size() < end + 4 + length)
        return;
    request.body = buffer.mid(end + 4, length);
    buffer.clear();

    QMutexLocker locker(&m_mutex);
    m_requests.append(request);
    const Reply reply = m_replies.value(request.path, Reply{404, "text/plain", "not found", 0});
    locker.unlock();
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(reply.status) + " Reply\r\n";
    if (!reply.contentType.isEmpty())
        bytes += "Content-Type: " + reply.contentType + "\r\n";
    bytes += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\nConnection: close\r\n\r\n" + reply.body;
    QTimer::singleShot(reply.delayMilliseconds, socket, [socket, bytes] {
        socket->write(bytes);
        socket->disconnectFromHost();
    });
}

void LoopbackHttpServer::setReply(const QByteArray &path, const Reply &reply)
{
    QMutexLocker locker(&m_mutex);
    m_replies.insert(path, reply);
}

QString LoopbackHttpServer::url(const QByteArray &path) const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port) + QString::fromLatin1(path);
}

QList<LoopbackHttpServer::Request> LoopbackHttpServer::requests() const
{
    QMutexLocker locker(&m_mutex);
    return m_requests;
}

int LoopbackHttpServer::requestCount(const QByteArray &path) const
{
    QMutexLocker locker(&m_mutex);
    return int(std::count_if(m_requests.cbegin(), m_requests.cend(),
                             [&path](const Request &request) { return request.path == path; }));
}

#include "loopbackhttpserver.h"

#include <QHostAddress>
#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

class LoopbackHttpWorker final : public QObject
{
    Q_OBJECT

public:
    explicit LoopbackHttpWorker(LoopbackHttpServer &owner)
        : m_owner(owner)
    {
    }

public slots:
    quint16 listen()
    {
        m_server = new QTcpServer(this);
        connect(m_server, &QTcpServer::newConnection, this, &LoopbackHttpWorker::accept);
        m_server->listen(QHostAddress::LocalHost, 0);
        return m_server->serverPort();
    }

    void shutDown()
    {
        delete m_server;
        m_server = nullptr;
        const QList<QTcpSocket *> sockets = findChildren<QTcpSocket *>();
        qDeleteAll(sockets);
    }

private:
    void accept()
    {
        while (QTcpSocket *socket = m_server->nextPendingConnection()) {
            socket->setParent(this);
            auto buffer = std::make_shared<QByteArray>();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
                buffer->append(socket->readAll());
                serve(socket, *buffer);
            });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    }

    void serve(QTcpSocket *socket, QByteArray &buffer)
    {
        const qsizetype end = buffer.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        LoopbackHttpServer::Request request;
        const QList<QByteArray> lines = buffer.left(end).split('\n');
        const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
        request.method = first.value(0);
        request.target = first.value(1);
        request.path = request.target.left(request.target.indexOf('?') < 0 ? request.target.size()
                                                                            : request.target.indexOf('?'));
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
        m_owner.record(request);

        const LoopbackHttpServer::Reply reply = m_owner.replyFor(request.path);
        QByteArray bytes = "HTTP/1.1 " + QByteArray::number(reply.status) + " Reply\r\n";
        if (!reply.contentType.isEmpty())
            bytes += "Content-Type: " + reply.contentType + "\r\n";
        bytes += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\nConnection: close\r\n\r\n"
            + reply.body;
        QTimer::singleShot(reply.delayMilliseconds, socket, [socket, bytes] {
            socket->write(bytes);
            socket->disconnectFromHost();
        });
    }

    LoopbackHttpServer &m_owner;
    QTcpServer *m_server = nullptr;
};

LoopbackHttpServer::LoopbackHttpServer()
{
    m_worker = new LoopbackHttpWorker(*this);
    m_worker->moveToThread(&m_thread);
    m_thread.start();
    QMetaObject::invokeMethod(m_worker, &LoopbackHttpWorker::listen, Qt::BlockingQueuedConnection, &m_port);
}

LoopbackHttpServer::~LoopbackHttpServer()
{
    QMetaObject::invokeMethod(m_worker, &LoopbackHttpWorker::shutDown, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
    delete m_worker;
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

void LoopbackHttpServer::record(const Request &request)
{
    QMutexLocker locker(&m_mutex);
    m_requests.append(request);
}

LoopbackHttpServer::Reply LoopbackHttpServer::replyFor(const QByteArray &path) const
{
    QMutexLocker locker(&m_mutex);
    return m_replies.value(path, Reply{404, "text/plain", "not found", 0});
}

#include "loopbackhttpserver.moc"

#include "qfpreviewserver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QMimeDatabase>

namespace {

using Status = QHttpServerResponder::StatusCode;

void answer(QHttpServerResponder &responder, Status status, const QByteArray &text, bool withBody = true)
{
    responder.write(withBody ? text : QByteArray(), {{"Content-Type", "text/plain; charset=utf-8"}}, status);
}

} // namespace

QFPreviewServer::QFPreviewServer(const QString &rootFolder, QObject *parent)
    : QAbstractHttpServer(parent)
    , m_root(QDir::cleanPath(QFileInfo(rootFolder).absoluteFilePath()))
{
}

void QFPreviewServer::setHomePath(const QString &path)
{
    m_homePath = path;
}

QByteArray QFPreviewServer::contentType(const QString &fileName)
{
    static const QHash<QString, QByteArray> types = {
        {QStringLiteral("html"), "text/html; charset=utf-8"},
        {QStringLiteral("htm"), "text/html; charset=utf-8"},
        // A PHP page is shown as the HTML it is, its includes unresolved.
        {QStringLiteral("php"), "text/html; charset=utf-8"},
        {QStringLiteral("css"), "text/css; charset=utf-8"},
        {QStringLiteral("js"), "text/javascript; charset=utf-8"},
        {QStringLiteral("xml"), "application/xml; charset=utf-8"},
        {QStringLiteral("rss"), "application/rss+xml; charset=utf-8"},
        {QStringLiteral("json"), "application/json"},
        {QStringLiteral("txt"), "text/plain; charset=utf-8"},
        {QStringLiteral("png"), "image/png"},
        {QStringLiteral("gif"), "image/gif"},
        {QStringLiteral("jpg"), "image/jpeg"},
        {QStringLiteral("jpeg"), "image/jpeg"},
        {QStringLiteral("webp"), "image/webp"},
        {QStringLiteral("svg"), "image/svg+xml"},
        {QStringLiteral("ico"), "image/x-icon"},
        {QStringLiteral("mp3"), "audio/mpeg"},
        {QStringLiteral("m4a"), "audio/mp4"},
        {QStringLiteral("mp4"), "video/mp4"},
        {QStringLiteral("m4v"), "video/x-m4v"},
        {QStringLiteral("mov"), "video/quicktime"},
        {QStringLiteral("pdf"), "application/pdf"},
    };
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    const auto it = types.constFind(suffix);
    if (it != types.constEnd())
        return *it;
    const QMimeType type = QMimeDatabase().mimeTypeForFile(fileName, QMimeDatabase::MatchExtension);
    return type.isValid() && !type.isDefault() ? type.name().toLatin1() : QByteArray("application/octet-stream");
}

bool QFPreviewServer::handleRequest(const QHttpServerRequest &request, QTcpSocket *socket)
{
    QHttpServerResponder responder = makeResponder(request, socket);
    const bool head = request.method() == QHttpServerRequest::Method::Head;
    if (request.method() != QHttpServerRequest::Method::Get && !head) {
        answer(responder, Status::MethodNotAllowed, "Only GET and HEAD are served.\n");
        return true;
    }

    const QString path = request.url().path(QUrl::FullyDecoded);
    const QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        if (part == QLatin1String("..") || part.contains(QLatin1Char('\\')) || part.contains(QChar(0))) {
            answer(responder, Status::Forbidden, "Forbidden\n", !head);
            return true;
        }
    }

    QString local = m_root;
    for (const QString &part : parts)
        local += QLatin1Char('/') + part;
    QFileInfo info(local);
    if (info.isDir()) {
        if (!path.endsWith(QLatin1Char('/'))) {
            responder.write({{"Location", (path + QLatin1Char('/')).toUtf8()}}, Status::MovedPermanently);
            return true;
        }
        info = QFileInfo(local + QStringLiteral("/index.html"));
        if (!info.exists() && parts.isEmpty() && !m_homePath.isEmpty()) {
            responder.write({{"Location", QByteArray("/") + QUrl::toPercentEncoding(m_homePath, "/")}},
                            Status::Found);
            return true;
        }
    }
    if (!info.isFile()) {
        answer(responder, Status::NotFound, "Not Found\n", !head);
        return true;
    }
    // A link inside the folder may point anywhere; only what really lies
    // inside is served.
    const QString canonicalRoot = QFileInfo(m_root).canonicalFilePath();
    const QString canonical = info.canonicalFilePath();
    if (canonicalRoot.isEmpty() || !canonical.startsWith(canonicalRoot + QLatin1Char('/'))) {
        answer(responder, Status::Forbidden, "Forbidden\n", !head);
        return true;
    }
    QFile file(canonical);
    if (!file.open(QIODevice::ReadOnly)) {
        answer(responder, Status::NotFound, "Not Found\n", !head);
        return true;
    }
    const QByteArray type = contentType(canonical);
    if (head) {
        responder.write({{"Content-Type", type}}, Status::Ok);
        return true;
    }
    responder.write(file.readAll(), {{"Content-Type", type}, {"Cache-Control", "no-store"}}, Status::Ok);
    return true;
}

void QFPreviewServer::missingHandler(const QHttpServerRequest &request, QTcpSocket *socket)
{
    QHttpServerResponder responder = makeResponder(request, socket);
    answer(responder, Status::NotFound, "Not Found\n");
}

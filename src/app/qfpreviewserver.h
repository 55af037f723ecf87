#pragma once

#include <QAbstractHttpServer>
#include <QString>

// Serves the files of one folder over HTTP, for previewing an exported site:
// GET and HEAD only, the content type from the file's extension, "/" and
// folder paths answered by their index.html (the site root, without one, by
// a redirect to the home page set with setHomePath()). Paths that lead out of
// the folder (".." parts, links pointing elsewhere) are refused with 403;
// anything else not there is 404.
//
// Main thread. The folder may be replaced while serving (a new export is
// renamed into place); each request looks at what is there now.
class QFPreviewServer final : public QAbstractHttpServer
{
    Q_OBJECT

public:
    explicit QFPreviewServer(const QString &rootFolder, QObject *parent = nullptr);
    Q_DISABLE_COPY_MOVE(QFPreviewServer)

    // The site's first page, a path from the root ("blog.html").
    void setHomePath(const QString &path);

    // The content type of a file name, by its extension.
    static QByteArray contentType(const QString &fileName);

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    QString m_root;
    QString m_homePath;
};

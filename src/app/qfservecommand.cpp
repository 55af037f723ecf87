#include "qfservecommand.h"

#include "qfpreviewserver.h"
#include "qfkit/document/qfcommandarguments.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qfsiteexporter.h"
#include "qfkit/document/qfsitelayout.h"
#include "qfkit/support/qfexception.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QHostAddress>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int stopPipe[2] = {-1, -1};

extern "C" void stopServing(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(stopPipe[1], &byte, 1);
}

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

// What tells a changed site file: a save writes a new file and renames it
// over the old one, so the watched path may point at a new file.
QString fileSignature(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QString();
    return QString::number(info.lastModified().toMSecsSinceEpoch()) + QLatin1Char('/')
        + QString::number(info.size()) + QLatin1Char('/') + QString::number(info.birthTime().toMSecsSinceEpoch())
        + QLatin1Char('/') + QString::number(info.metadataChangeTime().toMSecsSinceEpoch());
}

// Exports a preview of the site at `site` into `output`; the server's home
// page follows the site's first page.
void exportPreview(QFCommandContext &context, const QString &site, const QString &output, const QString &url,
                   QFPreviewServer &server)
{
    const std::unique_ptr<QFSiteDocument> document = context.openDocument(site);
    QFSiteExporter exporter(*document, &context.registry());
    QFSiteExporter::Options options;
    options.preview = true;
    options.baseURL = url;
    exporter.setOptions(options);
    exporter.exportTo(output);
    const QFSiteLayout layout = QFSiteLayout::forDocument(*document);
    server.setHomePath(layout.pages().isEmpty() ? QString() : layout.pages().constFirst().path());
}

} // namespace

const char *QFServeCommand::help()
{
    return "Usage: quillfen serve SITE [--port N]\n"
           "\n"
           "Exports a preview of the site into a temporary folder and serves it at\n"
           "http://127.0.0.1:N/ until interrupted (Ctrl-C). Whenever the site file\n"
           "changes, the preview is exported again.\n"
           "\n"
           "  --port N   the port to listen on (default 8642; 0 takes any free port)\n";
}

int QFServeCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFCommandArguments::Option{QStringLiteral("port"), true}});
    parsed.requirePositional(1, 1);
    quint16 port = defaultPort;
    if (parsed.isSet(QStringLiteral("port"))) {
        bool ok = false;
        const uint value = parsed.value(QStringLiteral("port")).toUInt(&ok);
        if (!ok || value > 65535)
            QFCommandArguments::usageError(QStringLiteral("--port needs a port number from 0 to 65535, not '%1'")
                                               .arg(parsed.value(QStringLiteral("port"))));
        port = quint16(value);
    }
    const QString site = QFileInfo(parsed.positional().constFirst()).absoluteFilePath();
    // Refuse a site that cannot be opened before anything listens.
    context.openDocument(site);

    QTemporaryDir temporary(QDir::tempPath() + QStringLiteral("/quillfen-serve-XXXXXX"));
    if (!temporary.isValid()) {
        throw QFException(QStringLiteral("Cannot Serve"),
                          QStringLiteral("No temporary folder for the preview: %1.").arg(temporary.errorString()));
    }
    // A folder no one else writes: each export replaces only the one before.
    const QString output = temporary.filePath(QStringLiteral("site"));

    QFPreviewServer server(output);
    const quint16 listening = server.listen(QHostAddress::LocalHost, port);
    if (listening == 0) {
        throw QFException(QStringLiteral("Cannot Serve"),
                          QStringLiteral("Nothing can listen on 127.0.0.1 port %1: it is in use or not allowed.").arg(port));
    }
    const QString url = QStringLiteral("http://127.0.0.1:%1/").arg(listening);
    exportPreview(context, site, output, url, server);

    context.out() << "Serving " << quoted(site) << " at " << url << '\n'
                  << "The preview is exported again whenever the site changes. Press Ctrl-C to stop.\n";
    context.out().flush();

    if (::pipe2(stopPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw QFException(QStringLiteral("Cannot Serve"), QStringLiteral("Cannot set up the interrupt handler."));
    QSocketNotifier stop(stopPipe[0], QSocketNotifier::Read);
    QObject::connect(&stop, &QSocketNotifier::activated, qApp, [] { QCoreApplication::quit(); });
    const auto previousInt = std::signal(SIGINT, stopServing);
    const auto previousTerm = std::signal(SIGTERM, stopServing);

    QFileSystemWatcher watcher;
    watcher.addPath(QFileInfo(site).absolutePath());
    watcher.addPath(site);
    QString signature = fileSignature(site);
    QTimer settle;
    settle.setSingleShot(true);
    settle.setInterval(250);
    const auto changed = [&] {
        // A rename replaces the watched file; watch the new one.
        if (QFileInfo::exists(site) && !watcher.files().contains(site))
            watcher.addPath(site);
        if (fileSignature(site) != signature)
            settle.start();
    };
    QObject::connect(&watcher, &QFileSystemWatcher::fileChanged, &settle, changed);
    QObject::connect(&watcher, &QFileSystemWatcher::directoryChanged, &settle, changed);
    QObject::connect(&settle, &QTimer::timeout, &server, [&] {
        const QString now = fileSignature(site);
        if (now.isEmpty() || now == signature)
            return;
        signature = now;
        try {
            exportPreview(context, site, output, url, server);
            context.out() << "Exported again at " << QTime::currentTime().toString(QStringLiteral("HH:mm:ss")) << ".\n";
            context.out().flush();
        } catch (const QFException &e) {
            context.err() << "quillfen serve: " << e.name() << ": " << e.reason() << '\n';
            context.err().flush();
        } catch (const QFAssertionFailure &e) {
            context.err() << "quillfen serve: internal error: " << e.text() << " (" << e.sourceFile() << ")\n";
            context.err().flush();
        }
    });

    const int code = QCoreApplication::exec();
    std::signal(SIGINT, previousInt);
    std::signal(SIGTERM, previousTerm);
    ::close(stopPipe[0]);
    ::close(stopPipe[1]);
    stopPipe[0] = stopPipe[1] = -1;
    return code;
}

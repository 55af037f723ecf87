#include "qfexportcommand.h"

#include "qfexportprogressbar.h"
#include "qfkit/document/qfcommandarguments.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qfsiteexporter.h"
#include "qfkit/support/qfexception.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>
#include <csignal>

namespace {

QFSiteExporter *interruptible = nullptr;

extern "C" void interrupted(int)
{
    // cancel() only stores to atomics and sets the plugin's flag.
    if (interruptible)
        interruptible->cancel();
}

// Ctrl-C during an export cancels it, so no staging folder is left behind.
class InterruptGuard final
{
public:
    explicit InterruptGuard(QFSiteExporter &exporter)
    {
        interruptible = &exporter;
        m_int = std::signal(SIGINT, interrupted);
        m_term = std::signal(SIGTERM, interrupted);
    }
    ~InterruptGuard()
    {
        std::signal(SIGINT, m_int);
        std::signal(SIGTERM, m_term);
        interruptible = nullptr;
    }
    Q_DISABLE_COPY_MOVE(InterruptGuard)

private:
    void (*m_int)(int);
    void (*m_term)(int);
};

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

} // namespace

const char *QFExportCommand::help()
{
    return "Usage: quillfen export SITE OUTDIR [--preview] [--content-only]\n"
           "\n"
           "Writes the site as static files into OUTDIR: each page's main file in the\n"
           "site theme, its generated pages and files in its files folder, the shared\n"
           "files and the theme's style sheet (quillfen.css). OUTDIR is replaced only\n"
           "when the whole export succeeded; a failed or interrupted export leaves it\n"
           "as it was. OUTDIR must be missing, empty or an earlier export (it lists\n"
           "its files in OUTDIR/.quillfen-export); any other folder is refused and\n"
           "left untouched. Files you added to an earlier export are kept.\n"
           "\n"
           "  --preview        export as a preview (no archive, category, tag,\n"
           "                   permalink or feed files)\n"
           "  --content-only   pages hand their sub-pages to the site theme as content\n";
}

int QFExportCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFCommandArguments::Option{QStringLiteral("preview"), false},
                                                QFCommandArguments::Option{QStringLiteral("content-only"), false}});
    parsed.requirePositional(2, 2);
    const QString site = parsed.positional().at(0);
    const QString output = parsed.positional().at(1);
    const std::unique_ptr<QFSiteDocument> document = context.openDocument(site);

    QFSiteExporter::Options options;
    options.preview = parsed.isSet(QStringLiteral("preview"));
    options.contentOnlySubpages = parsed.isSet(QStringLiteral("content-only"));
    exportDocument(*document, output, options, context);
    return 0;
}

QFSiteExporter::Summary QFExportCommand::exportDocument(QFSiteDocument &document, const QString &output,
                                                        const QFSiteExporter::Options &options,
                                                        QFCommandContext &context)
{
    QFSiteExporter exporter(document, &context.registry());
    exporter.setOptions(options);

    QFSiteExporter::Summary summary;
    {
        QFExportProgressBar bar(stderr);
        if (bar.isActive())
            exporter.setProgressCallback([&bar](const QFSiteExporter::Progress &progress) { bar.update(progress); });
        InterruptGuard interrupt(exporter);
        summary = exporter.exportTo(output);
    }
    // Problems of single posts (an unreadable podcast file) are reported in
    // one alert that the page queues for the main thread; deliver it while
    // the document and its pages are still alive.
    QCoreApplication::sendPostedEvents();
    if (summary.cancelled) {
        throw QFException(QStringLiteral("Export Cancelled"),
                          QStringLiteral("The export was interrupted; %1 was left as it was.").arg(quoted(output)));
    }
    context.out() << "Exported " << summary.pages << (summary.pages == 1 ? " page, " : " pages, ") << summary.files
                  << (summary.files == 1 ? " file, " : " files, ") << summary.bytes << " bytes in "
                  << QString::number(summary.seconds, 'f', 2) << " s to "
                  << quoted(QDir::cleanPath(QDir(output).absolutePath())) << ".\n";
    return summary;
}

#pragma once

#include "qfkit/document/qfsiteexporter.h"

#include <QStringList>

class QFCommandContext;
class QFSiteDocument;

// `quillfen export SITE OUTDIR [--preview] [--content-only]`: exports the
// site into OUTDIR with QFSiteExporter, a progress bar on stderr when it is a
// terminal, and one summary line on stdout. Failures raise QFException for
// the command table to report (exit 1); OUTDIR is then left as it was. An
// interrupt (SIGINT, SIGTERM) cancels the export the same way.
class QFExportCommand final
{
public:
    static constexpr const char *name = "export";
    static constexpr const char *synopsis = "export SITE OUTDIR [--preview] [--content-only]";
    static constexpr const char *summary = "write the site as static files into a folder";
    static const char *help();

    static int run(const QStringList &arguments, QFCommandContext &context);

    // The export itself, shared with `quillfen publish`: exports the opened
    // document into output with the options, with the progress bar, the
    // interrupt handling, the delivery of the pages' queued alerts and the
    // summary line. Raises QFException "Export Cancelled" when interrupted
    // and what the exporter raises; output is then left as it was.
    static QFSiteExporter::Summary exportDocument(QFSiteDocument &document, const QString &output,
                                                  const QFSiteExporter::Options &options,
                                                  QFCommandContext &context);
};

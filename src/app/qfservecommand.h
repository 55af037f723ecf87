#pragma once

#include <QStringList>

class QFCommandContext;

// `quillfen serve SITE [--port N]`: exports a preview of the site into a
// temporary folder, serves it on 127.0.0.1 (QFPreviewServer) and prints the
// address; exports again whenever the site file changes on disk (saves that
// replace the file by renaming included). Runs until interrupted (SIGINT,
// SIGTERM), then removes the temporary folder and answers 0. --port 0 takes
// any free port. A failed re-export is reported on stderr and the previous
// preview stays served.
class QFServeCommand final
{
public:
    static constexpr const char *name = "serve";
    static constexpr const char *synopsis = "serve SITE [--port N]";
    static constexpr const char *summary = "preview the site on a local web server";
    static const char *help();

    // The port used without --port.
    static constexpr quint16 defaultPort = 8642;

    static int run(const QStringList &arguments, QFCommandContext &context);
};

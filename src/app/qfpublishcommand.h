#pragma once

#include <QStringList>

class QFCommandContext;

// `quillfen publish SITE OUTDIR [--ping]`: exports the site into OUTDIR
// exactly as `quillfen export` does (same summary line), then gives every
// page, in document order, its post-publish actions
// (QFTextViewPluginClient::postPublishActions): a blog pings its weblog
// directories when its "enablePing" switch is on. --ping turns that switch on
// for this run (pages with such a key; the site file is not changed), so the
// blog pings whatever it is set to. Failures of the export raise QFException
// (exit 1) and then no page's actions run; a failed ping is reported by its
// own alert on stderr, the other pages' actions still run, and the command
// answers 1, as `quillfen ping` does.
class QFPublishCommand final
{
public:
    static constexpr const char *name = "publish";
    static constexpr const char *synopsis = "publish SITE OUTDIR [--ping]";
    static constexpr const char *summary = "export the site, then ping weblog directories";
    static const char *help();

    static int run(const QStringList &arguments, QFCommandContext &context);
};

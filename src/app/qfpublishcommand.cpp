#include "qfpublishcommand.h"

#include "qfexportcommand.h"
#include "qfkit/document/qfcommandarguments.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qftextviewpluginclient.h"

#include <QVariant>

namespace {

// The key under which a page keeps its switch for pinging after a publish.
const char *const pingSwitchKey = "enablePing";

} // namespace

const char *QFPublishCommand::help()
{
    return "Usage: quillfen publish SITE OUTDIR [--ping]\n"
           "\n"
           "Exports the site into OUTDIR as 'quillfen export' does, then runs each\n"
           "page's after-publish actions: a blog whose enablePing setting is on pings\n"
           "its weblog directories (see 'quillfen ping'), reporting the outcome on\n"
           "stderr. Nothing is pinged when the export fails. Exits with 1 when the\n"
           "export or one of those actions failed (every page's actions still run).\n"
           "\n"
           "  --ping   ping even where enablePing is off (for this run only; the\n"
           "           site is not changed)\n";
}

int QFPublishCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFCommandArguments::Option{QStringLiteral("ping"), false}});
    parsed.requirePositional(2, 2);
    const std::unique_ptr<QFSiteDocument> document = context.openDocument(parsed.positional().at(0));

    QFExportCommand::exportDocument(*document, parsed.positional().at(1), QFSiteExporter::Options(), context);

    const bool forcePing = parsed.isSet(QStringLiteral("ping"));
    bool failed = false;
    for (const QFPage &page : document->pages()) {
        QFTextViewPluginClient *plugin = page.plugin;
        if (!plugin)
            continue;
        // After the export, so the switch's change stamp never reaches the
        // published files; the document is not saved.
        if (forcePing && plugin->property(pingSwitchKey).isValid())
            plugin->setProperty(pingSwitchKey, true);
        if (!plugin->postPublishActions())
            failed = true;
    }
    return failed ? 1 : 0;
}

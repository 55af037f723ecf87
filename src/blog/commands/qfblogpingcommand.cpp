#include "qfblogpingcommand.h"

#include "blog/commands/qfblogcommandsupport.h"
#include "blog/generation/qfblogpluginping.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"

#include <QTextStream>

QString QFBlogPingCommand::name() const
{
    return QStringLiteral("ping");
}

QString QFBlogPingCommand::synopsis() const
{
    return QStringLiteral("ping SITE [--page NAME]");
}

QString QFBlogPingCommand::summary() const
{
    return QStringLiteral("tell the blog's weblog directories that it changed");
}

QString QFBlogPingCommand::help() const
{
    return QStringLiteral(
        "Usage: quillfen ping SITE [--page NAME]\n"
        "\n"
        "Pings the blog's weblog directories (the pingSettings list) now, in\n"
        "order, and stops at the first that fails. Prints one line per service:\n"
        "\"NAME: ok\", \"NAME: failed: REASON\", or \"NAME: not pinged\" for those\n"
        "after a failure. The site's title and address (siteTitle, siteBaseURL)\n"
        "are what XML-RPC directories are sent. Exits with 1 when one failed.\n"
        "\n"
        "  --page NAME   the blog page (unique ID, file name or title)\n");
}

int QFBlogPingCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFBlogCommandSupport::pageOption()});
    parsed.requirePositional(1, 1);
    const QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().constFirst(),
                                                           parsed.value(QStringLiteral("page")));
    const QVariantList services = site.blog->pingSettings();
    const QList<QFBlogPluginPing::Outcome> outcomes = site.blog->ping().pingNow();
    bool failed = false;
    for (const QFBlogPluginPing::Outcome &outcome : outcomes) {
        if (outcome.failure) {
            failed = true;
            context.out() << outcome.name << ": failed: " << *outcome.failure << '\n';
        } else {
            context.out() << outcome.name << ": ok\n";
        }
    }
    for (qsizetype i = outcomes.size(); i < services.size(); ++i)
        context.out() << QFBlogPluginPing::printableServerText(services.at(i).toMap().value(QStringLiteral("name")).toString())
                      << ": not pinged\n";
    return failed ? 1 : 0;
}

#include "qfbloggetcommand.h"

#include "blog/commands/qfblogcommandsupport.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfpropertytext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfexception.h"

#include <QTextStream>

QString QFBlogGetCommand::name() const
{
    return QStringLiteral("get");
}

QString QFBlogGetCommand::synopsis() const
{
    return QStringLiteral("get SITE [KEY]");
}

QString QFBlogGetCommand::summary() const
{
    return QStringLiteral("show a blog setting (all of them without KEY)");
}

QString QFBlogGetCommand::help() const
{
    return QStringLiteral(
        "Usage: quillfen get SITE [KEY] [--page NAME]\n"
        "\n"
        "Shows the blog setting KEY (its key-value-coding key, such as enableRSS or\n"
        "rssTitle), or every setting without KEY. Booleans print as true or false,\n"
        "numbers and strings as they are, dates in ISO 8601, lists and dictionaries\n"
        "(pingSettings, sidebarControl, commentsUserIdentifiers) as JSON.\n"
        "\n"
        "  --page NAME   the blog page (unique ID, file name or title)\n");
}

int QFBlogGetCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFBlogCommandSupport::pageOption()});
    parsed.requirePositional(1, 2);
    const QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().constFirst(),
                                                           parsed.value(QStringLiteral("page")));
    const QStringList hidden = QFBlogCommandSupport::hiddenSettingKeys();
    const QString where = QFBlogCommandSupport::quoted(site.path);
    if (parsed.positional().size() == 2) {
        context.out() << QFPropertyText::valueText(*site.blog, parsed.positional().at(1), where, hidden) << '\n';
        return 0;
    }
    for (const QString &key : QFPropertyText::keys(*site.blog, hidden)) {
        try {
            const QString text = QFPropertyText::valueText(*site.blog, key, where, hidden);
            context.out() << key << ": " << text << '\n';
        } catch (const QFException &) {
            // Objects such as the category list have commands of their own.
        }
    }
    return 0;
}

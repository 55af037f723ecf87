#include "qfblogsetcommand.h"

#include "blog/commands/qfblogcommandsupport.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfpropertytext.h"
#include "qfkit/document/qfsitedocument.h"

#include <QTextStream>

QString QFBlogSetCommand::name() const
{
    return QStringLiteral("set");
}

QString QFBlogSetCommand::synopsis() const
{
    return QStringLiteral("set SITE KEY VALUE");
}

QString QFBlogSetCommand::summary() const
{
    return QStringLiteral("change a blog setting");
}

QString QFBlogSetCommand::help() const
{
    return QStringLiteral(
        "Usage: quillfen set SITE KEY VALUE [--page NAME]\n"
        "\n"
        "Changes the blog setting KEY and saves the site. VALUE must be of the\n"
        "setting's type: true or false, a whole number, text, an ISO 8601 date, or\n"
        "JSON for lists and dictionaries (pingSettings, sidebarControl,\n"
        "commentsUserIdentifiers). An unknown key or a value of the wrong type\n"
        "changes nothing.\n"
        "\n"
        "  --page NAME   the blog page (unique ID, file name or title)\n");
}

int QFBlogSetCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFBlogCommandSupport::pageOption()});
    parsed.requirePositional(3, 3);
    const QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().constFirst(),
                                                           parsed.value(QStringLiteral("page")));
    QFPropertyText::setValueText(*site.blog, parsed.positional().at(1), parsed.positional().at(2),
                                 QFBlogCommandSupport::quoted(site.path), QFBlogCommandSupport::hiddenSettingKeys());
    context.saveDocument(*site.document);
    return 0;
}

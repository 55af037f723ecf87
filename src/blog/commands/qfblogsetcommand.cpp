#include "qfblogsetcommand.h"

#include "blog/commands/qfblogcommandsupport.h"
#include "blog/plugin/qfblogplugin.h"
#include "blog/plugin/qfblogsettingrules.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfpropertytext.h"
#include "qfkit/document/qfsitedocument.h"

#include <QMetaProperty>
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
        "changes nothing (exit 1). A value the setting does not take is refused\n"
        "with the values it takes (exit 2): lastID only grows; archivePostsPeriod\n"
        "is 0 to 2, commentsSelectedProviderTag 0 to 3, limits and counts 0 or\n"
        "more; rssLanguage and dateModifier1-4 are names of their tables (see\n"
        "languages and dates); addresses are absolute http or https URLs; the\n"
        "feed file name is a plain file name. enableComments, enablePodcasting and\n"
        "archivePostsPeriodString follow other settings and are not set.\n"
        "\n"
        "  --page NAME   the blog page (unique ID, file name or title)\n");
}

int QFBlogSetCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFBlogCommandSupport::pageOption()});
    parsed.requirePositional(3, 3);
    const QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().constFirst(),
                                                           parsed.value(QStringLiteral("page")));
    const QString key = parsed.positional().at(1);
    const QString text = parsed.positional().at(2);
    const QString where = QFBlogCommandSupport::quoted(site.path);
    const QStringList hidden = QFBlogCommandSupport::hiddenSettingKeys();
    // A value of the right type may still break the blog: checked before
    // the setter runs, so a refused value leaves the site file as it was.
    const int index = hidden.contains(key) ? -1 : site.blog->metaObject()->indexOfProperty(key.toUtf8().constData());
    if (index >= 0 && site.blog->metaObject()->property(index).isWritable()) {
        const QVariant value = QFPropertyText::parse(text, site.blog->metaObject()->property(index).metaType(), key, where);
        if (const std::optional<QString> refusal = QFBlogSettingRules::refusal(*site.blog, key, value))
            QFCommandArguments::usageError(QStringLiteral("%1 (%2).").arg(*refusal, where));
    }
    QFPropertyText::setValueText(*site.blog, key, text, where, hidden);
    context.saveDocument(*site.document);
    return 0;
}

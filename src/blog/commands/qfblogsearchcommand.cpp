#include "qfblogsearchcommand.h"

#include "blog/commands/qfblogcommandsupport.h"
#include "blog/plugin/qfblogplugin.h"
#include "blog/plugin/qfblogpluginindexes.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

QString QFBlogSearchCommand::name() const
{
    return QStringLiteral("search");
}

QString QFBlogSearchCommand::synopsis() const
{
    return QStringLiteral("search SITE TEXT [--json]");
}

QString QFBlogSearchCommand::summary() const
{
    return QStringLiteral("find posts whose title or text contains TEXT");
}

QString QFBlogSearchCommand::help() const
{
    return QStringLiteral(
        "Usage: quillfen search SITE TEXT [--json] [--page NAME]\n"
        "\n"
        "Lists the posts whose title or body contains TEXT, ignoring case, as the\n"
        "editor's search field finds them, newest first.\n"
        "\n"
        "  --json        as a JSON array of posts (id, guid, title, date, draft,\n"
        "                categories, tags, podcast)\n"
        "  --page NAME   the blog page (unique ID, file name or title)\n");
}

int QFBlogSearchCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFBlogCommandSupport::pageOption(), {QStringLiteral("json"), false}});
    parsed.requirePositional(2, 2);
    const QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().constFirst(),
                                                           parsed.value(QStringLiteral("page")));
    // The search field's own action: it indexes every post first, then
    // narrows the entry list to the matches.
    site.blog->indexes().onSearch(parsed.positional().at(1));
    const QList<QFBlogEntryPtr> found = site.blog->blogs();
    if (parsed.isSet(QStringLiteral("json"))) {
        QJsonArray posts;
        for (const QFBlogEntryPtr &entry : found)
            posts.append(QFBlogCommandSupport::postJson(*entry));
        context.out() << QJsonDocument(posts).toJson(QJsonDocument::Indented);
        return 0;
    }
    for (const QFBlogEntryPtr &entry : found)
        context.out() << entry->ID() << '\t' << entry->titleOrNoTitle() << '\n';
    return 0;
}

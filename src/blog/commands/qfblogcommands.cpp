#include "qfblogcommands.h"

#include "blog/commands/qfblogcategorycommand.h"
#include "blog/commands/qfbloggetcommand.h"
#include "blog/commands/qfblogimportmtcommand.h"
#include "blog/commands/qfblogpingcommand.h"
#include "blog/commands/qfblogpostcommand.h"
#include "blog/commands/qfblogsearchcommand.h"
#include "blog/commands/qfblogsetcommand.h"

QList<QFPluginCommand *> QFBlogCommands::all()
{
    static QFBlogGetCommand get;
    static QFBlogSetCommand set;
    static QFBlogPostCommand post;
    static QFBlogCategoryCommand category;
    static QFBlogSearchCommand search;
    static QFBlogImportMTCommand importMT;
    static QFBlogPingCommand ping;
    return {&get, &set, &post, &category, &search, &importMT, &ping};
}

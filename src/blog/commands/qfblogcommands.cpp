#include "qfblogcommands.h"

#include "blog/commands/qfblogcategorycommand.h"
#include "blog/commands/qfbloggetcommand.h"
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
    return {&get, &set, &post, &category, &search};
}

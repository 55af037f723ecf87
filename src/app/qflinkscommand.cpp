#include "qflinkscommand.h"

#include "qfkit/document/qfcommandarguments.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qftextviewpluginclient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace {

QJsonValue jsonString(const QString &text)
{
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QString text(const QVariantMap &target, const char *key)
{
    return target.value(QString::fromLatin1(key)).toString();
}

void writeTargets(QTextStream &out, const QVariantList &targets, const QString &pageID, int level)
{
    const QString indent(2 * level, QLatin1Char(' '));
    for (const QVariant &value : targets) {
        const QVariantMap target = value.toMap();
        out << indent << '"' << text(target, "title") << "\"  ";
        // A target on another page than the one listing it says so.
        const QString targetPage = text(target, "pageID");
        if (!targetPage.isEmpty() && targetPage != pageID)
            out << targetPage << ' ';
        out << text(target, "subpageID");
        const QString anchor = text(target, "anchorID");
        if (!anchor.isEmpty())
            out << "  #" << anchor;
        out << '\n';
        writeTargets(out, target.value(QStringLiteral("children")).toList(), pageID, level + 1);
    }
}

} // namespace

const char *QFLinksCommand::help()
{
    return "Usage: quillfen links SITE [--json]\n"
           "\n"
           "Lists, page by page, the places that links inside the site can point at:\n"
           "for a blog, every published post's page (with its podcast beneath it), the\n"
           "categories posts are filed under and the tags of published posts. Each\n"
           "line gives the target's title, its sub-page ID (what a link stores, as in\n"
           "permalink:12) and its anchor.\n"
           "\n"
           "  --json   as a JSON object: pages (each id, name, folder, title, plugin,\n"
           "           links: the targets with title, pageID, subpageID, anchorID and\n"
           "           children, or null when the page offers none)\n";
}

int QFLinksCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFCommandArguments::Option{QStringLiteral("json"), false}});
    parsed.requirePositional(1, 1);
    const std::unique_ptr<QFSiteDocument> document = context.openDocument(parsed.positional().constFirst());

    if (parsed.isSet(QStringLiteral("json"))) {
        QJsonArray pages;
        for (const QFPage &page : document->pages()) {
            QJsonObject item;
            item.insert(QStringLiteral("id"), page.uniqueID);
            item.insert(QStringLiteral("name"), page.fileName);
            item.insert(QStringLiteral("folder"), jsonString(page.folder));
            item.insert(QStringLiteral("title"), jsonString(page.title));
            item.insert(QStringLiteral("plugin"), page.pluginName);
            const std::optional<QVariantList> links = page.plugin ? page.plugin->internalPageLinks() : std::nullopt;
            item.insert(QStringLiteral("links"),
                        links ? QJsonValue(QJsonArray::fromVariantList(*links)) : QJsonValue(QJsonValue::Null));
            pages.append(item);
        }
        context.out() << QJsonDocument(QJsonObject{{QStringLiteral("pages"), pages}}).toJson(QJsonDocument::Indented);
        return 0;
    }

    QTextStream &out = context.out();
    for (const QFPage &page : document->pages()) {
        const QString place = page.folder.isEmpty() ? page.fileName : page.folder + QLatin1Char('/') + page.fileName;
        out << page.uniqueID << "  " << place << "  \"" << page.title << "\"  (" << page.pluginName << ")\n";
        const std::optional<QVariantList> links = page.plugin ? page.plugin->internalPageLinks() : std::nullopt;
        if (!links || links->isEmpty())
            out << "  (no link targets)\n";
        else
            writeTargets(out, *links, page.uniqueID, 1);
    }
    return 0;
}

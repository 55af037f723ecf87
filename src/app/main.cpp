// quillfen: the command line of the Quillfen blog engine.
//
// Exit codes: 0 ok, 1 the command failed, 2 the command was used wrongly.
// Errors go to stderr and name the file or service and the problem.
//
// The host's own commands (new, info, site, export, serve, links, publish,
// page) are in the table below, export, serve, links, publish and page in files
// of their own; the commands of page plugins (the blog's post, category,
// search, get, set, ping) come from the plugins folder: "../plugins" beside
// this executable, or the folder named by QUILLFEN_PLUGIN_PATH.
#include "qfexportcommand.h"
#include "qflinkscommand.h"
#include "qfpagecommand.h"
#include "qfpublishcommand.h"
#include "qfservecommand.h"
#include "qfkit/document/qfcommandarguments.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfpagepluginfactory.h"
#include "qfkit/document/qfpluginbundleloader.h"
#include "qfkit/document/qfplugincommand.h"
#include "qfkit/document/qfpluginregistry.h"
#include "qfkit/document/qfpropertytext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfcommandlinealertpresenter.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfstrings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QStringList>
#include <QTextStream>

namespace {

enum ExitCode { ExitOk = 0, ExitFailed = 1, ExitUsage = 2 };

using Option = QFCommandArguments::Option;

struct Command
{
    const char *name;
    const char *synopsis;
    const char *summary;
    const char *help;
    int (*run)(const QStringList &args, QFCommandContext &context);
};

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

QJsonValue jsonString(const QString &text)
{
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

// The plugin a new site's first page is made by: the blog when it is
// installed, else the first plugin found.
QFPagePluginFactory *defaultFactory(const QFPluginRegistry &registry)
{
    if (QFPagePluginFactory *blog = registry.factory(QStringLiteral("Blog")))
        return blog;
    const QList<QFPagePluginFactory *> factories = registry.factories();
    return factories.isEmpty() ? nullptr : factories.constFirst();
}

// The blog makes every absolute link and its feed from the base URL: one
// that is not an absolute web address breaks them all, so it is refused as
// wrong usage before anything is written. None at all is a site not yet
// published anywhere; its export says what is missing.
void checkSiteBaseURL(const QString &url, const QString &name)
{
    if (!url.isEmpty() && !QFStrings::isAbsoluteWebAddress(url)) {
        QFCommandArguments::usageError(QStringLiteral("\u201c%1\u201d takes an absolute http or https address, such as "
                                                      "https://example.org/blog/, or nothing; \u201c%2\u201d is none")
                                           .arg(name, url));
    }
}

int runNew(const QStringList &args, QFCommandContext &context)
{
    const QFCommandArguments parsed(args, {Option{QStringLiteral("title"), true}, Option{QStringLiteral("base-url"), true}});
    parsed.requirePositional(1, 1);
    if (parsed.isSet(QStringLiteral("base-url")))
        checkSiteBaseURL(parsed.value(QStringLiteral("base-url")), QStringLiteral("--base-url"));
    const QString path = parsed.positional().constFirst();
    if (QFileInfo::exists(path)) {
        throw QFException(QStringLiteral("File Exists"),
                          QStringLiteral("The file %1 already exists; a new site is never written over it.").arg(quoted(path)));
    }
    QFPagePluginFactory *factory = defaultFactory(context.registry());
    if (!factory) {
        throw QFException(QStringLiteral("No Plugins"),
                          QStringLiteral("No page plugins were found, so %1 cannot get its first page.").arg(quoted(path)));
    }
    std::unique_ptr<QFTextViewPluginClient> plugin(factory->createPlugin());
    if (!plugin) {
        throw QFException(QStringLiteral("No Plugins"),
                          QStringLiteral("The plugin \u201c%1\u201d could not make a page for %2.")
                              .arg(factory->pluginName(), quoted(path)));
    }
    QFSiteDocument document;
    if (parsed.isSet(QStringLiteral("title")))
        document.setSiteTitle(parsed.value(QStringLiteral("title")));
    if (parsed.isSet(QStringLiteral("base-url")))
        document.setSiteBaseURL(parsed.value(QStringLiteral("base-url")));
    const QString pageName = factory->pluginName().toLower();
    document.addPage(std::move(plugin), pageName, factory->pluginName(), QString(), factory->pluginIdentifier());
    document.save(path);
    context.out() << "Created " << quoted(path) << " with a " << factory->pluginName() << " page.\n";
    return ExitOk;
}

QJsonObject siteJson(const QFSiteDocument &document)
{
    QJsonObject site;
    site.insert(QStringLiteral("siteTitle"), jsonString(document.siteTitle()));
    site.insert(QStringLiteral("siteBaseURL"), jsonString(document.siteBaseURL()));
    site.insert(QStringLiteral("commonFileConsolidationMode"), document.commonFileConsolidationMode());
    QJsonArray pages;
    for (const QFPage &page : document.pages()) {
        QJsonObject item;
        item.insert(QStringLiteral("id"), page.uniqueID);
        item.insert(QStringLiteral("name"), page.fileName);
        item.insert(QStringLiteral("folder"), jsonString(page.folder));
        item.insert(QStringLiteral("title"), jsonString(page.title));
        item.insert(QStringLiteral("plugin"), page.pluginName);
        pages.append(item);
    }
    site.insert(QStringLiteral("pages"), pages);
    return site;
}

int runInfo(const QStringList &args, QFCommandContext &context)
{
    const QFCommandArguments parsed(args, {Option{QStringLiteral("json"), false}});
    parsed.requirePositional(1, 1);
    const std::unique_ptr<QFSiteDocument> document = context.openDocument(parsed.positional().constFirst());
    if (parsed.isSet(QStringLiteral("json"))) {
        context.out() << QJsonDocument(siteJson(*document)).toJson(QJsonDocument::Indented);
        return ExitOk;
    }
    QTextStream &out = context.out();
    out << "siteTitle: " << document->siteTitle() << '\n'
        << "siteBaseURL: " << document->siteBaseURL() << '\n'
        << "commonFileConsolidationMode: " << document->commonFileConsolidationMode() << '\n'
        << "pages:\n";
    for (const QFPage &page : document->pages()) {
        const QString place = page.folder.isEmpty() ? page.fileName : page.folder + QLatin1Char('/') + page.fileName;
        out << "  " << page.uniqueID << "  " << place << "  \"" << page.title << "\"  (" << page.pluginName << ")\n";
    }
    return ExitOk;
}

const QStringList siteKeys = {QStringLiteral("siteTitle"), QStringLiteral("siteBaseURL"),
                              QStringLiteral("commonFileConsolidationMode")};

int runSite(const QStringList &args, QFCommandContext &context)
{
    const QFCommandArguments parsed(args, {});
    parsed.requirePositional(1, 3);
    const QString path = parsed.positional().constFirst();
    const std::unique_ptr<QFSiteDocument> document = context.openDocument(path);
    // Only the site's own settings, not the document's state (such as "edited").
    const QStringList hidden = {QStringLiteral("edited")};
    if (parsed.positional().size() == 1) {
        for (const QString &key : siteKeys)
            context.out() << key << ": " << QFPropertyText::valueText(*document, key, quoted(path), hidden) << '\n';
        return ExitOk;
    }
    const QString key = parsed.positional().at(1);
    if (parsed.positional().size() == 2) {
        context.out() << QFPropertyText::valueText(*document, key, quoted(path), hidden) << '\n';
        return ExitOk;
    }
    if (key == QLatin1String("siteBaseURL"))
        checkSiteBaseURL(parsed.positional().at(2), key);
    QFPropertyText::setValueText(*document, key, parsed.positional().at(2), quoted(path), hidden);
    context.saveDocument(*document);
    return ExitOk;
}

const Command hostCommands[] = {
    {"new", "new SITE.qfsite [--title T] [--base-url URL]", "make a new site with one blog page",
     "Usage: quillfen new SITE.qfsite [--title T] [--base-url URL]\n"
     "\n"
     "Makes a new site document with one blog page. An existing file is never\n"
     "written over.\n"
     "\n"
     "  --title T        the site's title\n"
     "  --base-url URL   the address the site is published at (absolute http\n"
     "                   or https)\n",
     runNew},
    {"info", "info SITE [--json]", "show the site's properties and pages",
     "Usage: quillfen info SITE [--json]\n"
     "\n"
     "Shows the site's title, base URL, common file mode and its pages (unique\n"
     "ID, file name, title and plugin).\n"
     "\n"
     "  --json   as a JSON object: siteTitle, siteBaseURL, commonFileConsolidationMode,\n"
     "           pages (each id, name, folder, title, plugin)\n",
     runInfo},
    {"site", "site SITE [KEY [VALUE]]", "show or change a site property",
     "Usage: quillfen site SITE [KEY [VALUE]]\n"
     "\n"
     "Without KEY shows the site's properties; with KEY shows one; with VALUE\n"
     "changes it and saves the site. Keys: siteTitle, siteBaseURL (an absolute\n"
     "http or https address), commonFileConsolidationMode (a whole number).\n",
     runSite},
    {QFExportCommand::name, QFExportCommand::synopsis, QFExportCommand::summary, QFExportCommand::help(),
     QFExportCommand::run},
    {QFServeCommand::name, QFServeCommand::synopsis, QFServeCommand::summary, QFServeCommand::help(),
     QFServeCommand::run},
    {QFLinksCommand::name, QFLinksCommand::synopsis, QFLinksCommand::summary, QFLinksCommand::help(),
     QFLinksCommand::run},
    {QFPageCommand::name, QFPageCommand::synopsis, QFPageCommand::summary, QFPageCommand::help(),
     QFPageCommand::run},
    {QFPublishCommand::name, QFPublishCommand::synopsis, QFPublishCommand::summary, QFPublishCommand::help(),
     QFPublishCommand::run},
};

// A synopsis too long for its column gets its summary on the next line.
void printCommandLine(QTextStream &s, const QString &synopsis, const QString &summary)
{
    constexpr int column = 44;
    s << "  " << synopsis;
    if (synopsis.size() >= column)
        s << '\n' << QString(column + 2, QLatin1Char(' '));
    else
        s << QString(column - synopsis.size(), QLatin1Char(' '));
    s << ' ' << summary << '\n';
}

void printUsage(QTextStream &s, const QList<QFPluginCommand *> &pluginCommands)
{
    s << "Usage: quillfen [--help] [--version] [--verbose] COMMAND [ARGS...]\n"
         "\n"
         "Quillfen writes and publishes blogs: dated posts with categories, tags and\n"
         "podcasts, exported as a static site with archives and an RSS feed.\n"
         "\nCommands:\n";
    for (const Command &c : hostCommands)
        printCommandLine(s, QString::fromLatin1(c.synopsis), QString::fromLatin1(c.summary));
    for (const QFPluginCommand *c : pluginCommands)
        printCommandLine(s, c->synopsis(), c->summary());
    s << "\nBlog commands take --page NAME to pick a blog page by unique ID, file name\n"
         "or title; a site with several blog pages needs it.\n"
         "Exit codes: 0 done, 1 failed, 2 wrong usage.\n"
         "Run 'quillfen COMMAND --help' for a command's options.\n";
    s.flush();
}

QString pluginsFolder()
{
    const QString overridden = qEnvironmentVariable("QUILLFEN_PLUGIN_PATH");
    if (!overridden.isEmpty())
        return overridden;
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("../plugins"));
}

// A reason as one line of the error stream, however it was written.
QString oneLine(const QString &text)
{
    static const QRegularExpression breaks(QStringLiteral("\\s*[\\r\\n]+\\s*"));
    return QString(text).replace(breaks, QStringLiteral(" ")).trimmed();
}

// The outermost catch of a command: every failure becomes a message naming
// the command and an exit code.
template <typename Run>
int guarded(const QString &name, QTextStream &err, Run run)
{
    try {
        return run();
    } catch (const QFException &e) {
        if (e.name() == QFCommandArguments::usageErrorName()) {
            err << "quillfen " << name << ": " << e.reason() << "\n"
                << "Run 'quillfen " << name << " --help' for its usage.\n";
            return ExitUsage;
        }
        err << "quillfen " << name << ": " << e.name() << ": " << oneLine(e.reason()) << '\n';
        return ExitFailed;
    } catch (const QFAssertionFailure &e) {
        err << "quillfen " << name << ": internal error: " << e.text() << " (" << e.sourceFile() << ")\n";
        return ExitFailed;
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillfen"));
    QCoreApplication::setApplicationName(QStringLiteral("quillfen"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLFEN_VERSION));

    QTextStream out(stdout);
    QTextStream err(stderr);

    QStringList args = app.arguments().mid(1);
    const bool verbose = args.removeAll(QStringLiteral("--verbose")) > 0;
    if (!verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("quillfen=false"));

    QFCommandLineAlertPresenter alerts(&err);
    QFAlert::setPresenter(&alerts);

    QFPluginBundleLoader loader(pluginsFolder());
    QFPluginRegistry registry;
    registry.addPlugins(loader.loadAll());
    QList<QFPluginCommand *> pluginCommands;
    for (QFPagePluginFactory *factory : registry.factories())
        pluginCommands.append(factory->commands());
    QFCommandContext context(out, err, registry, &alerts);

    int code = ExitUsage;
    if (args.isEmpty()) {
        printUsage(err, pluginCommands);
    } else if (const QString first = args.takeFirst();
               first == QLatin1String("--help") || first == QLatin1String("-h") || first == QLatin1String("help")) {
        printUsage(out, pluginCommands);
        code = ExitOk;
    } else if (first == QLatin1String("--version")) {
        out << "quillfen " << QUILLFEN_VERSION << '\n';
        code = ExitOk;
    } else {
        bool found = false;
        for (const Command &c : hostCommands) {
            if (first != QLatin1String(c.name))
                continue;
            found = true;
            if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
                out << c.help;
                code = ExitOk;
            } else {
                code = guarded(first, err, [&] { return c.run(args, context); });
            }
        }
        for (QFPluginCommand *c : std::as_const(pluginCommands)) {
            if (found || first != c->name())
                continue;
            found = true;
            if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
                out << c->help();
                code = ExitOk;
            } else {
                code = guarded(first, err, [&] { return c->run(args, context); });
            }
        }
        if (!found) {
            err << "quillfen: unknown command '" << first << "'\n";
            if (!loader.errors().isEmpty())
                err << "Some plugins could not be loaded: " << loader.errors().join(QStringLiteral("; ")) << '\n';
            err << "Run 'quillfen --help' for the list of commands.\n";
        }
    }
    out.flush();
    err.flush();
    QFAlert::setPresenter(nullptr);
    return code;
}

#include "qfpagecommand.h"

#include "qfkit/document/qfcommandarguments.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfpagepluginfactory.h"
#include "qfkit/document/qfpluginregistry.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/cvsandwichmaking.h"
#include "qfkit/sandwich/qfpagepackagereader.h"
#include "qfkit/sandwich/qfpagepackagewriter.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QTextStream>

namespace {

using Option = QFCommandArguments::Option;

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

QString countText(qsizetype count)
{
    return count == 1 ? QStringLiteral("1 entry") : QStringLiteral("%1 entries").arg(count);
}

// What the package says about its size, for the summary line: the number of
// entries of its lowest version's data, when that has an "Entries" list.
QString entriesText(const CVSandwich &sandwich)
{
    const QList<int> versions = sandwich.versions();
    if (versions.isEmpty())
        return QStringLiteral("no entries");
    const QVariant entries = sandwich.fillingForVersion(versions.constFirst())->dictionary().value(QStringLiteral("Entries"));
    return countText(entries.typeId() == QMetaType::QVariantList ? entries.toList().size() : 0);
}

// The page PAGE names, among the pages of every plugin in the site, in the
// order the site lists them.
QFPage pickAnyPage(const QFSiteDocument &document, const QString &page)
{
    QStringList pluginNames;
    for (const QFPage &candidate : document.pages()) {
        if (!pluginNames.contains(candidate.pluginName))
            pluginNames.append(candidate.pluginName);
    }
    for (const QString &pluginName : std::as_const(pluginNames)) {
        try {
            return QFCommandContext::pickPage(document, pluginName, page);
        } catch (const QFException &) {
            // Not a page of this plugin; the next may have it.
        }
    }
    throw QFException(QStringLiteral("No Such Page"),
                      QStringLiteral("The site %1 has no page \u201c%2\u201d.").arg(quoted(document.filePath()), page));
}

QString uniqueFileName(const QFSiteDocument &document, const QString &base)
{
    QSet<QString> taken;
    for (const QFPage &page : document.pages()) {
        if (page.folder.isEmpty())
            taken.insert(page.fileName);
    }
    QString name = base;
    for (int n = 2; taken.contains(name); ++n)
        name = QStringLiteral("%1-%2").arg(base).arg(n);
    return name;
}

int runExport(const QFCommandArguments &parsed, QFCommandContext &context)
{
    parsed.requirePositional(4, 4);
    const QString sitePath = parsed.positional().at(1);
    const QString out = parsed.positional().at(3);
    const QFileInfo siteInfo(sitePath);
    if (siteInfo.exists() && siteInfo.canonicalFilePath() == QFileInfo(out).canonicalFilePath()) {
        throw QFException(QStringLiteral("Cannot Export Page"),
                          QStringLiteral("The package would be written over the site %1 itself.").arg(quoted(sitePath)));
    }
    const std::unique_ptr<QFSiteDocument> document = context.openDocument(sitePath);
    const QFPage page = pickAnyPage(*document, parsed.positional().at(2));
    const std::unique_ptr<CVSandwich> sandwich = page.plugin->sandwich();
    if (!sandwich) {
        throw QFException(QStringLiteral("Cannot Export Page"),
                          QStringLiteral("The page \u201c%1\u201d of %2 is a %3 page, which cannot be exported as a package.")
                              .arg(page.fileName, quoted(sitePath), page.pluginName));
    }
    QFPagePackageWriter().write(*sandwich, out);
    context.out() << "Exported page \u201c" << page.fileName << "\u201d (" << entriesText(*sandwich) << ") to "
                  << quoted(out) << ".\n";
    return 0;
}

int runImport(const QFCommandArguments &parsed, QFCommandContext &context)
{
    parsed.requirePositional(3, 3);
    const QString sitePath = parsed.positional().at(1);
    const QString in = parsed.positional().at(2);

    // The whole package is read and the page rebuilt before the site is
    // opened, so nothing about a bad package can reach the site file.
    const std::unique_ptr<CVSandwich> sandwich = QFPagePackageReader().read(in);
    const std::optional<CVSandwichMaking::Factory> factory = CVSandwichMaking::factoryForType(sandwich->type());
    if (!factory) {
        throw QFException(QStringLiteral("Unknown Page Type"),
                          QStringLiteral("The package %1 holds a page of type \u201c%2\u201d, which no installed plugin reads.")
                              .arg(quoted(in), sandwich->type()));
    }
    // Files the package names on this computer are listed, and kept only
    // when the user said so beforehand.
    CVSandwichImport import;
    const bool keepPaths = parsed.isSet(QStringLiteral("keep-podcast-paths"));
    import.keepLocalPaths = [keepPaths](const QList<CVSandwichImport::LocalPath> &) { return keepPaths; };
    std::unique_ptr<QFTextViewPluginClient> plugin;
    try {
        plugin = CVSandwichMaking::createWithSandwich(*sandwich, import);
    } catch (const QFException &e) {
        throw QFException(e.name(), QStringLiteral("The package %1 cannot be used: %2").arg(quoted(in), e.reason()));
    }
    if (!import.localPaths.isEmpty()) {
        context.err() << "The package names files on this computer as podcasts:\n";
        for (const CVSandwichImport::LocalPath &local : std::as_const(import.localPaths))
            context.err() << "  " << local.owner << ": " << quoted(local.path) << '\n';
        if (import.localPathsKept)
            context.err() << "They were kept (--keep-podcast-paths); an export publishes these files.\n";
        else
            context.err() << "They were dropped from their posts. Import again with --keep-podcast-paths to keep them.\n";
    }

    const std::unique_ptr<QFSiteDocument> document = context.openDocument(sitePath);
    const QFPagePluginFactory *pageFactory = context.registry().factory(factory->pluginIdentifier);
    const QString pluginName = pageFactory ? pageFactory->pluginName() : factory->pluginIdentifier;
    const QString base = parsed.isSet(QStringLiteral("name")) ? parsed.value(QStringLiteral("name")) : pluginName.toLower();
    if (base.trimmed().isEmpty())
        QFCommandArguments::usageError(QStringLiteral("--name needs a file name"));
    const QString fileName = uniqueFileName(*document, base);
    const QString title = parsed.isSet(QStringLiteral("title")) ? parsed.value(QStringLiteral("title")) : pluginName;
    const QFPage page = document->addPage(std::move(plugin), fileName, title, QString(), factory->pluginIdentifier);
    context.saveDocument(*document);
    context.out() << "Imported page \u201c" << page.fileName << "\u201d ("
                  << (import.itemCount ? countText(*import.itemCount) : entriesText(*sandwich)) << ") into "
                  << quoted(sitePath) << ".\n";
    return 0;
}

} // namespace

const char *QFPageCommand::help()
{
    return "Usage: quillfen page export SITE PAGE OUT.qfpage\n"
           "       quillfen page import SITE IN.qfpage [--name NAME] [--title TITLE]\n"
           "                                [--keep-podcast-paths]\n"
           "\n"
           "Moves a whole page (a blog with its posts, categories and settings) from\n"
           "one site to another as a page package.\n"
           "\n"
           "export   writes the page PAGE (its unique ID, file name or title) of SITE\n"
           "         to OUT.qfpage, replacing that file. SITE is not changed.\n"
           "import   adds the page in IN.qfpage to SITE, after its pages, and saves\n"
           "         SITE. A package that cannot be read leaves SITE as it was.\n"
           "\n"
           "  --name NAME     the new page's file name (default: the plugin's name);\n"
           "                  \"-2\", \"-3\" … is added when a page has it already\n"
           "  --title TITLE   the new page's title (default: the plugin's name)\n"
           "  --keep-podcast-paths\n"
           "                  keep the podcast files the package names by their path\n"
           "                  on this computer; without it they are listed and dropped,\n"
           "                  since an export would publish whatever file they name\n";
}

int QFPageCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {Option{QStringLiteral("name"), true}, Option{QStringLiteral("title"), true},
                                                Option{QStringLiteral("keep-podcast-paths"), false}});
    if (parsed.positional().isEmpty())
        QFCommandArguments::usageError(QStringLiteral("say export or import"));
    const QString action = parsed.positional().constFirst();
    if (action == QLatin1String("export")) {
        if (parsed.isSet(QStringLiteral("name")) || parsed.isSet(QStringLiteral("title"))
            || parsed.isSet(QStringLiteral("keep-podcast-paths")))
            QFCommandArguments::usageError(QStringLiteral("--name, --title and --keep-podcast-paths belong to import"));
        return runExport(parsed, context);
    }
    if (action == QLatin1String("import"))
        return runImport(parsed, context);
    QFCommandArguments::usageError(QStringLiteral("unknown action \u201c%1\u201d (export or import)").arg(action));
}

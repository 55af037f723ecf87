#include "qfblogimportmtcommand.h"

#include "blog/commands/qfblogcommandsupport.h"
#include "blog/import/qfblogmovabletypeimporter.h"
#include "blog/import/qfmovabletypeexporttext.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfboundedread.h"
#include "qfkit/support/qfexception.h"

#include <QFile>
#include <QTextStream>

using QFBlogCommandSupport::quoted;
using Option = QFCommandArguments::Option;

namespace {

struct CategoryMap
{
    QString movableType;
    QString blog;
};

// "MT category=Blog category", split at the first "=".
QList<CategoryMap> parseMaps(const QStringList &values)
{
    QList<CategoryMap> maps;
    for (const QString &value : values) {
        const qsizetype equals = value.indexOf(u'=');
        if (equals <= 0 || equals == value.size() - 1) {
            QFCommandArguments::usageError(
                QStringLiteral("--map '%1' is not of the form \"Movable Type category=Blog category\"").arg(value));
        }
        maps.append({value.left(equals), value.mid(equals + 1)});
    }
    return maps;
}

// The reader takes strict UTF-8 with "\n" line ends; anything else would be
// read as nothing, or with the first entry or every line end wrong. Such a
// file is refused before the site is opened, so nothing is half imported.
void refuseUnlessReadable(const QFMovableTypeExportText::Inspection &inspection, const QString &path)
{
    const QString file = quoted(path);
    if (!inspection.validUtf8) {
        throw QFException(QStringLiteral("Not UTF-8"),
                          QStringLiteral("The export file %1 is not UTF-8 text, so no entry could be read from it "
                                         "(older exports are often Windows-1252). Run again with --convert to read "
                                         "it as Windows-1252.")
                              .arg(file));
    }
    if (inspection.carriageReturns) {
        throw QFException(QStringLiteral("Carriage Returns"),
                          QStringLiteral("The export file %1 has CR LF (or CR) line ends; the reader takes only LF, "
                                         "so its entries would not be found or would keep the CRs. Run again with "
                                         "--convert to change them to LF.")
                              .arg(file));
    }
    if (inspection.byteOrderMark) {
        throw QFException(QStringLiteral("Byte Order Mark"),
                          QStringLiteral("The export file %1 starts with a byte order mark, which would cost its first "
                                         "entry. Run again with --convert to drop it.")
                              .arg(file));
    }
}

QString plural(qsizetype count, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}

} // namespace

QString QFBlogImportMTCommand::name() const
{
    return QStringLiteral("import-mt");
}

QString QFBlogImportMTCommand::synopsis() const
{
    return QStringLiteral("import-mt SITE FILE [--map \"MT=BLOG\"]... [--convert]");
}

QString QFBlogImportMTCommand::summary() const
{
    return QStringLiteral("add the entries of a Movable Type export file to the blog");
}

QString QFBlogImportMTCommand::help() const
{
    return QStringLiteral(
        "Usage: quillfen import-mt SITE FILE [--map \"MT category=Blog category\"]...\n"
        "                          [--convert] [--page NAME]\n"
        "\n"
        "Reads FILE, a Movable Type export, prints the Movable Type categories it\n"
        "found with the blog category each goes to and the number of entries, adds\n"
        "every entry to the blog as a new post (one undo takes them all back) and\n"
        "saves the site. Comments and pings in the file are not imported; entries\n"
        "written in Markdown come without their text.\n"
        "\n"
        "  --map \"A=B\"   file entries of the Movable Type category A under the blog\n"
        "                category B (by name, ignoring case; it must exist). Split\n"
        "                at the first \"=\". Categories not mapped go to the blog's\n"
        "                first category, None. Repeatable.\n"
        "  --convert     read a file that is not UTF-8 as Windows-1252, drop a\n"
        "                leading byte order mark and change CR LF and CR line ends\n"
        "                to LF. Without it such files are refused.\n"
        "  --page NAME   the blog page (unique ID, file name or title)\n"
        "\n"
        "Run with --verbose to see why an entry could not be read completely.\n");
}

int QFBlogImportMTCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFBlogCommandSupport::pageOption(),
                                                {QStringLiteral("map"), true},
                                                {QStringLiteral("convert"), false}});
    parsed.requirePositional(2, 2);
    const QString sitePath = parsed.positional().at(0);
    const QString filePath = parsed.positional().at(1);
    const QList<CategoryMap> maps = parseMaps(parsed.values(QStringLiteral("map")));

    // The file is held once, as bytes; each entry is decoded on its own.
    QByteArray bytes =
        QFBoundedRead::readFile(filePath, QFMovableTypeExportText::MaxFileSize, QStringLiteral("export file"));
    bool windows1252 = false;
    if (parsed.isSet(QStringLiteral("convert"))) {
        const QFMovableTypeExportText::Conversion conversion = QFMovableTypeExportText::convertInPlace(bytes);
        if (conversion.fromWindows1252)
            context.out() << "Read " << filePath << " as Windows-1252 (it is not UTF-8).\n";
        if (conversion.byteOrderMarkRemoved)
            context.out() << "Dropped the byte order mark.\n";
        if (conversion.lineEndsNormalised)
            context.out() << "Changed CR LF and CR line ends to LF.\n";
        windows1252 = conversion.fromWindows1252;
    } else {
        refuseUnlessReadable(QFMovableTypeExportText::inspect(bytes), filePath);
    }

    QFBlogSite site = QFBlogCommandSupport::openBlog(context, sitePath, parsed.value(QStringLiteral("page")));
    QFBlogPlugin &blog = *site.blog;

    const std::unique_ptr<QFBlogMovableTypeImporter> importer =
        QFBlogMovableTypeImporter::initWithExportedBytes(bytes, windows1252, &blog);
    bytes = QByteArray();
    if (!importer) {
        throw QFException(QStringLiteral("No Entries"),
                          QStringLiteral("No entry could be read from %1. It is probably not a Movable Type export: "
                                         "each entry starts with lines such as \"TITLE: …\", then a line \"-----\", "
                                         "and entries are separated by a line \"--------\". Nothing was imported.")
                              .arg(quoted(filePath)));
    }

    // Every name is checked before anything changes.
    const QStringList found = importer->movableTypeCategories();
    QVariantMap mapping;
    for (const QString &name : found)
        mapping.insert(name, 0); // the first category, None, until mapped
    for (const CategoryMap &map : maps) {
        if (!found.contains(map.movableType)) {
            QFCommandArguments::usageError(
                QStringLiteral("--map names the Movable Type category \u201c%1\u201d, which no entry of %2 carries")
                    .arg(map.movableType, quoted(filePath)));
        }
        const QFBlogCategoryPtr category = QFBlogCommandSupport::categoryNamed(blog, map.blog);
        if (!category) {
            QFCommandArguments::usageError(
                QStringLiteral("--map names the blog category \u201c%1\u201d, which the blog in %2 does not have "
                               "(add it with 'quillfen category add')")
                    .arg(map.blog, quoted(site.path)));
        }
        mapping.insert(map.movableType, int(blog.categories().indexOf(category)));
    }

    QTextStream &out = context.out();
    out << "Found " << plural(importer->entries().size(), "entry", "entries") << " in " << filePath << ".\n";
    out << "Movable Type categories: " << found.size() << '\n';
    for (const QString &name : found) {
        const QFBlogCategoryPtr category = blog.categories().value(mapping.value(name).toInt());
        out << "  " << name << " -> " << (category ? category->categoryName() : QString()) << '\n';
    }

    importer->applyCategoryMapping(mapping);
    const QList<QFBlogEntryPtr> added = importer->importToBlogEntryController();
    context.saveDocument(*site.document);

    out << "Imported " << plural(added.size(), "entry", "entries") << " into " << sitePath << ".\n";
    const auto undated = std::count_if(added.cbegin(), added.cend(),
                                       [](const QFBlogEntryPtr &entry) { return !entry->date().isValid(); });
    if (undated > 0) {
        context.err() << plural(undated, "entry has", "entries have")
                      << " no date in either of the forms 01/31/2008 03:04:05 PM and 01/31/2008 15:04:05, "
                         "and came in undated.\n";
    }
    if (const int failures = importer->scanFailureCount()) {
        context.err() << plural(failures, "entry", "entries")
                      << " could not be read completely and came in partly or not at all; run with --verbose "
                         "to see why.\n";
    }
    return 0;
}

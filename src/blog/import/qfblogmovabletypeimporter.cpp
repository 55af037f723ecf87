#include "qfblogmovabletypeimporter.h"

#include "blog/import/qfmovabletypeexporttext.h"
#include "blog/import/qfmovabletypescanner.h"
#include "blog/import/qfwhitespacechecker.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfboundedread.h"
#include "qfkit/support/qfcalendarformat.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"
#include "qfkit/support/qfuserdefaults.h"
#include "qfkit/text/qfstyledtext.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QFile>
#include <QSet>

namespace {

constexpr QStringView kEntrySeparator = u"\n--------\n";

// Movable Type's own date forms: 12-hour with AM/PM, else 24-hour.
const QString kDateFormat12 = QStringLiteral("%m/%d/%Y %I:%M:%S %p");
const QString kDateFormat24 = QStringLiteral("%m/%d/%Y %H:%M:%S");

std::optional<QDateTime> parseDate(const QString &text)
{
    if (std::optional<QDateTime> date = QFCalendarFormat::parse(text, kDateFormat12))
        return date;
    return QFCalendarFormat::parse(text, kDateFormat24);
}

// A map from a flat list of value, key, value, key …, as attribute sets
// have always been written here. A value left without its key is refused,
// as such a list always was.
QVariantMap mapFromValuesAndKeys(const QVariantList &valuesAndKeys)
{
    QVariantMap map;
    for (qsizetype i = 0; i < valuesAndKeys.size(); i += 2) {
        if (i + 1 >= valuesAndKeys.size()) {
            throw QFException(QStringLiteral("Invalid Argument"),
                              QStringLiteral("the value %1 has no key").arg(valuesAndKeys.at(i).toString()));
        }
        map.insert(valuesAndKeys.at(i + 1).toString(), valuesAndKeys.at(i));
    }
    return map;
}

QVariantMap monaco10()
{
    return QVariantMap{{kQFFontFamilyKey, QStringLiteral("Monaco")}, {kQFFontSizeKey, 10.0}};
}

// The attributes the body and extended body get for the entry's text
// filter ("CONVERT BREAKS"). Raises for Markdown: see below.
QVariantMap textAttributes(const std::optional<QString> &convertBreaks)
{
    if (!convertBreaks)
        return {{kQFTextViewIgnoreFormattingAttributeName, true}};
    if (*convertBreaks == QLatin1String("markdown_with_smartypants")) {
        const QFUserDefaults *defaults = QFBlogPlugin::userDefaults();
        const bool multi = defaults && defaults->boolForKey(QFBlogMovableTypeImporter::markdownAsMultiMarkdownKey());
        // The directive list ends with a "style" that has no value. That has
        // always failed here, so Markdown entries come in with their fields
        // but without their texts; existing imports depend on it staying so.
        const QVariantMap directive = mapFromValuesAndKeys(
            {QString(kQFMarkupDirectiveFilterName), QString(kQFMarkupDirectiveNameKey),
             multi ? QStringLiteral("MultiMarkdown") : QStringLiteral("Markdown"),
             QString(kQFMarkupDirectiveMarkdownKey), QString(kQFMarkupDirectiveStyleKey)});
        return {{kQFTextViewMarkupDirectivesAttributeName, directive}, {kQFFontAttributeName, monaco10()}};
    }
    if (*convertBreaks == QLatin1String("textile_1")) {
        const QVariantMap directive{{kQFMarkupDirectiveNameKey, QString(kQFMarkupDirectiveFilterName)},
                                    {kQFMarkupDirectiveStyleKey, QStringLiteral("Textile")}};
        return {{kQFTextViewMarkupDirectivesAttributeName, directive}, {kQFFontAttributeName, monaco10()}};
    }
    return {};
}

} // namespace

QFBlogMovableTypeImporter::QFBlogMovableTypeImporter(QFBlogPlugin *blogPlugin)
    : m_blogPlugin(blogPlugin)
{
    if (QFUserDefaults *defaults = QFBlogPlugin::userDefaults())
        registerDefaults(*defaults);
}

QFBlogMovableTypeImporter::~QFBlogMovableTypeImporter() = default;

QString QFBlogMovableTypeImporter::markdownAsMultiMarkdownKey()
{
    return QStringLiteral("BlogMovableTypeImportMarkdownAsMultiMarkdown");
}

void QFBlogMovableTypeImporter::registerDefaults(QFUserDefaults &defaults)
{
    defaults.registerDefaults({{markdownAsMultiMarkdownKey(), false}});
}

std::unique_ptr<QFBlogMovableTypeImporter> QFBlogMovableTypeImporter::initWithExportedTextURL(const QString &path,
                                                                                            QFBlogPlugin *blogPlugin)
{
    QByteArray bytes;
    try {
        bytes = QFBoundedRead::readFile(path, QFMovableTypeExportText::MaxFileSize, QStringLiteral("export file"));
    } catch (const QFException &e) {
        if (e.name() != QLatin1String("Cannot Read File"))
            throw;
    }
    if (!QFMovableTypeExportText::isUtf8(bytes))
        bytes.clear();
    return initWithExportedBytes(bytes, false, blogPlugin);
}

std::unique_ptr<QFBlogMovableTypeImporter> QFBlogMovableTypeImporter::initWithExportedBytes(QByteArrayView bytes,
                                                                                          bool windows1252,
                                                                                          QFBlogPlugin *blogPlugin)
{
    std::unique_ptr<QFBlogMovableTypeImporter> importer(new QFBlogMovableTypeImporter(blogPlugin));
    if (!importer->prepareImportWithExportedBytes(bytes, windows1252))
        return nullptr;
    return importer;
}

std::unique_ptr<QFBlogMovableTypeImporter> QFBlogMovableTypeImporter::initWithExportedTextString(const QString &text,
                                                                                               QFBlogPlugin *blogPlugin)
{
    std::unique_ptr<QFBlogMovableTypeImporter> importer(new QFBlogMovableTypeImporter(blogPlugin));
    if (!importer->prepareImportWithExportedTextString(text))
        return nullptr;
    return importer;
}

void QFBlogMovableTypeImporter::setImporting(bool importing)
{
    if (m_importing == importing)
        return;
    m_importing = importing;
    emit importingChanged(importing);
}

bool QFBlogMovableTypeImporter::prepareImportWithExportedTextString(const QString &text)
{
    QList<QFBlogEntryPtr> entries;
    for (const QStringView piece : QStringView(text).tokenize(kEntrySeparator, Qt::SkipEmptyParts)) {
        if (QFBlogEntryPtr entry = parseEntry(piece.toString()))
            entries.append(std::move(entry));
    }
    return finishPreparing(entries);
}

bool QFBlogMovableTypeImporter::prepareImportWithExportedBytes(QByteArrayView bytes, bool windows1252)
{
    // The separator is ASCII, so splitting the bytes gives the same pieces
    // as splitting the decoded text.
    static const QByteArray separator = kEntrySeparator.toUtf8();
    QList<QFBlogEntryPtr> entries;
    while (!bytes.isEmpty()) {
        const qsizetype end = bytes.indexOf(separator);
        const QByteArrayView piece = end < 0 ? bytes : bytes.first(end);
        bytes = end < 0 ? QByteArrayView() : bytes.sliced(end + separator.size());
        if (piece.isEmpty())
            continue;
        const QString text = windows1252 ? QFMovableTypeExportText::decodeWindows1252(piece)
                                         : QFMovableTypeExportText::decodeUtf8(piece).value_or(QString());
        if (QFBlogEntryPtr entry = parseEntry(text))
            entries.append(std::move(entry));
    }
    return finishPreparing(entries);
}

bool QFBlogMovableTypeImporter::finishPreparing(const QList<QFBlogEntryPtr> &entries)
{
    if (entries.isEmpty())
        return false;
    m_importedBlogEntries += entries;

    emit movableTypeCategoriesAboutToChange();
    m_movableTypeCategories = movableTypeCategoriesForBlogEntries(m_importedBlogEntries);
    emit movableTypeCategoriesChanged();
    return true;
}

QFBlogEntryPtr QFBlogMovableTypeImporter::parseEntry(const QString &entryText)
{
    setProperty("importing", true);
    QFMovableTypeScanner scanner(entryText);
    QFBlogEntryPtr entry;
    QString title; // null until a TITLE is read
    try {
        scanner.scanMaybeNewLine();

        std::optional<QString> status;
        std::optional<QString> convertBreaks;
        std::optional<QString> date;
        std::optional<QString> primaryCategory;
        QStringList categories;
        while (const std::optional<QFTuple> field = scanner.scanShortMovableTypeField()) {
            const QString key = field->first().toString();
            const QString value = field->second().toString();
            if (key == QLatin1String("TITLE"))
                title = value;
            else if (key == QLatin1String("STATUS"))
                status = value;
            else if (key == QLatin1String("CONVERT BREAKS"))
                convertBreaks = value;
            else if (key == QLatin1String("DATE"))
                date = value;
            else if (key == QLatin1String("PRIMARY CATEGORY"))
                primaryCategory = value;
            else if (key == QLatin1String("CATEGORY"))
                categories.append(value);
            while (scanner.scanMaybeNewLine()) {
            }
        }
        if (!primaryCategory && !categories.isEmpty())
            primaryCategory = categories.constFirst();

        scanner.scanShortMovableTypeSeparator();
        const std::optional<QString> body = scanner.scanLongMovableTypeField(u"BODY:");
        const std::optional<QString> extendedBody = scanner.scanLongMovableTypeField(u"EXTENDED BODY:");
        scanner.scanLongMovableTypeField(u"EXCERPT:");
        scanner.scanLongMovableTypeField(u"KEYWORDS:");

        // Comments are not imported: the expected "COMMENT:" lacks the blank
        // every key read is given, so this loop never runs and the rest of
        // the entry is left unread.
        while (scanner.scanShortMovableTypeField(u"COMMENT:")) {
            for (const QStringView field : {u"AUTHOR: ", u"EMAIL: ", u"IP: ", u"URL: ", u"DATE: "})
                scanner.scanShortMovableTypeField(field);
            scanner.scanUpToString(u"\n-----\n");
            scanner.scanNewLine();
            scanner.scanShortMovableTypeSeparator();
        }
        scanner.scanMaybeNewLine();

        // An entry without a STATUS line is published.
        const bool published = !status || status->compare(QLatin1String("publish"), Qt::CaseInsensitive) == 0;
        const std::optional<QDateTime> parsedDate = date ? parseDate(*date) : std::nullopt;

        // Filled before it meets the blog, so no edit is reported to it.
        entry = QFBlogEntry::blogEntryWithBlogPlugin(nullptr);
        entry->setTitle(title);
        entry->setStatus(published ? 1 : 0);
        if (parsedDate)
            entry->setDate(*parsedDate);
        entry->setBlogPlugin(m_blogPlugin);

        if (!categories.isEmpty())
            entry->setMovableTypeCategoryNames(categories);
        else if (primaryCategory)
            entry->setMovableTypeCategoryNames({*primaryCategory});

        const QVariantMap attributes = textAttributes(convertBreaks);
        const QFStyledText bodyText(body.value_or(QString()), attributes);
        if (extendedBody) {
            entry->setEntrySummary(bodyText);
            entry->setEntry(QFStyledText(*extendedBody, attributes));
        } else {
            entry->setEntry(bodyText);
        }
    } catch (const QFException &exception) {
        // Blank lines after the last separator are no entry worth a warning.
        if (!QStringView(entryText).trimmed().isEmpty())
            ++m_scanFailureCount;
        qfLog(QStringLiteral("Couldn't scan: %1 (%2)").arg(exception.name(), exception.reason()));
        qfLog(QStringLiteral("Rest of string (%1): %2")
                  .arg(title.isNull() ? QStringLiteral("(null)") : title, scanner.remainingString()));
    }
    setProperty("importing", false);
    return entry;
}

QStringList QFBlogMovableTypeImporter::scanCategories(QFMovableTypeScanner &scanner)
{
    QStringList categories;
    while (const std::optional<QString> category = scanner.scanShortMovableTypeField(u"CATEGORY: "))
        categories.append(*category);
    scanner.scanMaybeNewLine();
    return categories;
}

QStringList QFBlogMovableTypeImporter::movableTypeCategoriesForBlogEntries(const QList<QFBlogEntryPtr> &entries)
{
    QStringList names;
    QSet<QString> seen;
    for (const QFBlogEntryPtr &entry : entries) {
        if (!entry)
            continue;
        for (const QString &name : entry->movableTypeCategoryNames()) {
            if (name.isNull() || seen.contains(name) || QFWhitespaceChecker::isTotallyWhitespace(name))
                continue;
            seen.insert(name);
            names.append(name);
        }
    }
    return names;
}

void QFBlogMovableTypeImporter::applyCategoryMapping(const QVariantMap &mapping)
{
    const qsizetype count = m_blogPlugin ? m_blogPlugin->categories().size() : 0;
    QHash<QString, int> positions;
    for (auto it = mapping.constBegin(); it != mapping.constEnd(); ++it) {
        bool isNumber = false;
        const int position = it.value().toInt(&isNumber);
        if (!isNumber || position < 0 || position >= count) {
            const QString where = count == 0
                ? QStringLiteral("the blog has no categories")
                : QStringLiteral("the blog's categories are at positions 0 to %1").arg(count - 1);
            throw QFException(QStringLiteral("Invalid Category Mapping"),
                              QStringLiteral("The Movable Type category \u201c%1\u201d is mapped to position %2, but %3.")
                                  .arg(it.key(), it.value().toString(), where));
        }
        positions.insert(it.key(), position);
    }
    for (const QFBlogEntryPtr &entry : std::as_const(m_importedBlogEntries)) {
        for (const QString &name : entry->movableTypeCategoryNames()) {
            const auto found = positions.constFind(name);
            if (found != positions.constEnd())
                entry->addCategoryIndex(*found);
        }
    }
}

QList<QFBlogEntryPtr> QFBlogMovableTypeImporter::importToBlogEntryController()
{
    if (!m_blogPlugin || m_imported || m_importedBlogEntries.isEmpty())
        return {};
    m_imported = true;
    return m_blogPlugin->addEntries(m_importedBlogEntries);
}

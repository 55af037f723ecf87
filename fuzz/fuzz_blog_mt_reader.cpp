// Movable Type export files come from old blogs of every make and age: any
// bytes must give either no reader or a reader whose posts are whole (texts
// that archive and read back, category names that can be offered for
// mapping), and never leave the reader busy. The --convert path must always
// hand the reader text without carriage returns. Reading the bytes an entry at
// a time gives the same posts as reading the decoded text.
#include "blog/import/qfblogmovabletypeimporter.h"
#include "blog/import/qfmovabletypeexporttext.h"
#include "blog/import/qfwhitespacechecker.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfstyledtext.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <QSet>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void check(const QString &text, const QByteArray &bytes, bool windows1252)
{
    const std::unique_ptr<QFBlogMovableTypeImporter> importer =
        QFBlogMovableTypeImporter::initWithExportedTextString(text, nullptr);
    const std::unique_ptr<QFBlogMovableTypeImporter> fromBytes =
        QFBlogMovableTypeImporter::initWithExportedBytes(bytes, windows1252, nullptr);
    if (!importer != !fromBytes)
        std::abort();
    if (!importer)
        return;
    if (importer->entries().size() != fromBytes->entries().size()
        || importer->movableTypeCategories() != fromBytes->movableTypeCategories())
        std::abort();
    for (qsizetype i = 0; i < importer->entries().size(); ++i) {
        const QFBlogEntry &a = *importer->entries().at(i);
        const QFBlogEntry &b = *fromBytes->entries().at(i);
        if (a.title() != b.title() || a.entry().has_value() != b.entry().has_value()
            || (a.entry() && a.entry()->plainString() != b.entry()->plainString()))
            std::abort();
    }
    if (importer->importing() || importer->entries().isEmpty())
        std::abort();

    QSet<QString> names;
    for (const QString &name : importer->movableTypeCategories()) {
        if (names.contains(name) || QFWhitespaceChecker::isTotallyWhitespace(name))
            std::abort();
        names.insert(name);
    }
    for (const QFBlogEntryPtr &entry : importer->entries()) {
        if (!entry || entry->blogPlugin() != nullptr)
            std::abort();
        for (const QString &name : entry->movableTypeCategoryNames()) {
            if (!QFWhitespaceChecker::isTotallyWhitespace(name) && !names.contains(name))
                std::abort();
        }
        for (const std::optional<QFStyledText> &body : {entry->entry(), entry->entrySummary()}) {
            if (body && QFStyledText::fromKeyedArchive(body->toKeyedArchive()).plainString() != body->plainString())
                std::abort();
        }
    }

    // Without a blog there is no category to map to: refused, never applied.
    if (!names.isEmpty()) {
        try {
            importer->applyCategoryMapping({{*names.cbegin(), 0}});
            std::abort();
        } catch (const QFException &) {
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool quiet = [] {
        QLoggingCategory::setFilterRules(QStringLiteral("quillfen=false"));
        return true;
    }();
    Q_UNUSED(quiet);

    const QByteArrayView bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QFMovableTypeExportText::Inspection inspection = QFMovableTypeExportText::inspect(bytes);
    if (const std::optional<QString> text = QFMovableTypeExportText::decodeUtf8(bytes)) {
        if (!inspection.validUtf8)
            std::abort();
        check(*text, bytes.toByteArray(), false);
    }

    const QFMovableTypeExportText::Conversion conversion = QFMovableTypeExportText::convert(bytes);
    if (conversion.text.contains(u'\r') || conversion.fromWindows1252 == inspection.validUtf8)
        std::abort();
    QByteArray converted = bytes.toByteArray();
    const QFMovableTypeExportText::Conversion inPlace = QFMovableTypeExportText::convertInPlace(converted);
    if (inPlace.fromWindows1252 != conversion.fromWindows1252 || inPlace.lineEndsNormalised != conversion.lineEndsNormalised
        || inPlace.byteOrderMarkRemoved != conversion.byteOrderMarkRemoved || !inPlace.text.isNull())
        std::abort();
    check(conversion.text, converted, conversion.fromWindows1252);
    return 0;
}

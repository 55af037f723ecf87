// Movable Type export files come from old blogs of every make and age: any
// bytes must give either no reader or a reader whose posts are whole (texts
// that archive and read back, category names that can be offered for
// mapping), and never leave the reader busy. The --convert path must always
// hand the reader text without carriage returns.
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

void check(const QString &text)
{
    const std::unique_ptr<QFBlogMovableTypeImporter> importer =
        QFBlogMovableTypeImporter::initWithExportedTextString(text, nullptr);
    if (!importer)
        return;
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
        check(*text);
    }

    const QFMovableTypeExportText::Conversion conversion = QFMovableTypeExportText::convert(bytes);
    if (conversion.text.contains(u'\r') || conversion.fromWindows1252 == inspection.validUtf8)
        std::abort();
    check(conversion.text);
    return 0;
}

// Sequential archives come from site documents and user defaults: any bytes.
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/support/qfexception.h"

#include <QByteArray>
#include <QDateTime>
#include <cstddef>
#include <cstdint>

namespace {

// Reads its values the way model objects do: by position, converting each.
class FuzzRecord final : public QFCoding
{
public:
    QString codingClassName() const override { return QStringLiteral("FuzzRecord"); }
    void encodeWithCoder(QFArchiver &coder) const override
    {
        coder.encodeObject(title);
        coder.encodeObject(count);
        coder.encodeObject(children);
    }

    QString title;
    qint64 count = 0;
    QVariantList children;
};

QFCodingPtr decodeRecord(QFUnarchiver &coder)
{
    auto record = std::make_shared<FuzzRecord>();
    record->title = coder.decodeObject().toString();
    record->count = coder.decodeObject().toLongLong();
    record->children = coder.decodeObject().toList();
    coder.decodeObject().toDateTime();
    coder.decodeObject().toMap();
    return record;
}

const bool registered = [] {
    QFClassRegistry::instance().registerSequential(QStringLiteral("FuzzRecord"), &decodeRecord);
    return true;
}();

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Q_UNUSED(registered);
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    try {
        QFUnarchiver unarchiver(bytes);
        for (int i = 0; i < 10000 && !unarchiver.atEnd(); ++i)
            unarchiver.decodeObject();
        unarchiver.decodeObject();
    } catch (const QFException &) {
        // The expected outcome for bad input.
    }
    // The other way in: the first value passed over, read after the rest,
    // element by element (how a blog reads its posts).
    try {
        QFUnarchiver unarchiver(bytes);
        const QFUnarchiver::SkippedValue first = unarchiver.skipObject();
        for (int i = 0; i < 10000 && !unarchiver.atEnd(); ++i)
            unarchiver.decodeObject();
        qsizetype elements = 0;
        unarchiver.decodeArrayElements(first, [&elements](QVariant &&) { ++elements; });
    } catch (const QFException &) {
    }
    return 0;
}

// Keyed archives come from site documents (rich text bodies), the clipboard
// and page-exchange packages: any bytes.
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/support/qfexception.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>

namespace {

// Reads its keys every way model objects do.
class FuzzRecord final : public QFCoding
{
public:
    QString codingClassName() const override { return QStringLiteral("FuzzRecord"); }
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override
    {
        coder.encodeObject(title, QStringLiteral("title"));
        coder.encodeInt(count, QStringLiteral("count"));
        coder.encodeBool(flag, QStringLiteral("flag"));
        coder.encodeDouble(ratio, QStringLiteral("ratio"));
        coder.encodeObject(children, QStringLiteral("children"));
    }

    QString title;
    qint64 count = 0;
    bool flag = false;
    double ratio = 0.0;
    QVariantList children;
};

QFCodingPtr decodeRecord(QFKeyedUnarchiver &coder)
{
    auto record = std::make_shared<FuzzRecord>();
    record->title = coder.decodeObject(QStringLiteral("title")).toString();
    record->count = coder.decodeInt(QStringLiteral("count"));
    record->flag = coder.decodeBool(QStringLiteral("flag"));
    record->ratio = coder.decodeDouble(QStringLiteral("ratio"));
    record->children = coder.decodeObject(QStringLiteral("children")).toList();
    // The same keys read as the wrong kinds.
    coder.decodeInt(QStringLiteral("title"));
    coder.decodeBool(QStringLiteral("children"));
    coder.decodeDouble(QStringLiteral("flag"));
    coder.containsValue(QStringLiteral("missing"));
    return record;
}

const bool registered = [] {
    QFClassRegistry::instance().registerKeyed(QStringLiteral("FuzzRecord"), &decodeRecord);
    return true;
}();

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Q_UNUSED(registered);
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    try {
        QFKeyedUnarchiver::unarchiveObjectWithData(bytes);
    } catch (const QFException &) {
        // The expected outcome for bad input.
    }
    return 0;
}

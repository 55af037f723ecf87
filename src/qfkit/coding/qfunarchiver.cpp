#include "qfunarchiver.h"

#include "qfarchiveformat.h"
#include "qfarchivevaluereader.h"

#include <QCborStreamReader>

#include <optional>
#include <vector>

namespace {

// The size in bytes of the one CBOR data item at the start of data, found
// by reading only the heads of items and jumping over string contents:
// passing over a large blog's posts this way is several times faster than
// the stream reader's walk. Nothing (malformed, truncated or nested deeper
// than maxDepth) leaves the judgement to the stream reader.
std::optional<qsizetype> cborItemSize(const uchar *data, qsizetype size, int maxDepth)
{
    struct Level
    {
        quint64 remaining;
        bool indefinite;
    };
    std::vector<Level> open{{1, false}};
    qsizetype pos = 0;
    const auto readArgument = [&](uchar info, quint64 &argument) {
        if (info < 24) {
            argument = info;
            return true;
        }
        if (info > 27)
            return false;
        const qsizetype bytes = qsizetype(1) << (info - 24);
        if (bytes > size - pos)
            return false;
        argument = 0;
        for (qsizetype i = 0; i < bytes; ++i)
            argument = (argument << 8) | data[pos++];
        return true;
    };
    while (!open.empty()) {
        if (!open.back().indefinite && open.back().remaining == 0) {
            open.pop_back();
            continue;
        }
        if (pos >= size)
            return std::nullopt;
        const uchar head = data[pos++];
        if (open.back().indefinite && head == 0xFF) {
            open.pop_back();
            continue;
        }
        if (!open.back().indefinite)
            --open.back().remaining;
        const int major = head >> 5;
        const uchar info = head & 0x1F;
        if (info == 31) {
            if (major == 2 || major == 3) {
                // Chunks of the same kind, each of known length, up to a break.
                for (;;) {
                    if (pos >= size)
                        return std::nullopt;
                    const uchar chunk = data[pos++];
                    if (chunk == 0xFF)
                        break;
                    quint64 length = 0;
                    if ((chunk >> 5) != major || !readArgument(chunk & 0x1F, length)
                        || length > quint64(size - pos))
                        return std::nullopt;
                    pos += qsizetype(length);
                }
                continue;
            }
            if ((major == 4 || major == 5) && int(open.size()) < maxDepth) {
                open.push_back({0, true});
                continue;
            }
            return std::nullopt;
        }
        quint64 argument = 0;
        if (!readArgument(info, argument))
            return std::nullopt;
        switch (major) {
        case 2:
        case 3:
            if (argument > quint64(size - pos))
                return std::nullopt;
            pos += qsizetype(argument);
            break;
        case 4:
        case 5:
        case 6: {
            // Every item takes at least one byte, which bounds the count.
            const quint64 items = major == 6 ? 1 : argument;
            if (items > quint64(size - pos) || (major == 5 && items * 2 > quint64(size - pos)))
                return std::nullopt;
            if (items > 0) {
                if (int(open.size()) >= maxDepth)
                    return std::nullopt;
                open.push_back({major == 5 ? items * 2 : items, false});
            }
            break;
        }
        default:
            break;
        }
    }
    return pos;
}

} // namespace

QFUnarchiver::QFUnarchiver(const QByteArray &data)
    : m_data(data)
    , m_offset(QFArchiveFormat::HeaderSize)
{
    QFArchiveValueReader::checkHeader(m_data, QFArchiveValueReader::Form::Sequential);
}

QFUnarchiver::QFUnarchiver(QVariantList values, ObjectValues)
    : m_values(std::move(values))
    , m_overValues(true)
{
}

QFUnarchiver::~QFUnarchiver() = default;

bool QFUnarchiver::atEnd() const
{
    if (m_overValues)
        return m_nextValue >= m_values.size();
    return m_offset >= m_data.size();
}

QVariant QFUnarchiver::decodeObject()
{
    if (atEnd())
        return QVariant();
    if (m_overValues)
        return m_values.at(m_nextValue++);

    // The stream reader stops after one top-level item, so each value gets a
    // reader of its own over the rest of the data (not a copy of it).
    const qsizetype available = m_data.size() - m_offset;
    QCborStreamReader reader(QByteArray::fromRawData(m_data.constData() + m_offset, available));
    QFArchiveValueReader values(reader, m_offset, available, QFArchiveValueReader::Form::Sequential);
    QVariant value = values.read();
    m_offset += qsizetype(reader.currentOffset());
    return value;
}

QFUnarchiver::SkippedValue QFUnarchiver::skipObject()
{
    SkippedValue skipped;
    if (atEnd())
        return skipped;
    if (m_overValues) {
        skipped.decoded = m_values.at(m_nextValue++);
        return skipped;
    }
    const qsizetype available = m_data.size() - m_offset;
    if (const std::optional<qsizetype> size = cborItemSize(
            reinterpret_cast<const uchar *>(m_data.constData()) + m_offset, available, QFArchiveFormat::MaxDepth)) {
        skipped.offset = m_offset;
        skipped.size = *size;
        m_offset += *size;
        return skipped;
    }
    QCborStreamReader reader(QByteArray::fromRawData(m_data.constData() + m_offset, available));
    QFArchiveValueReader values(reader, m_offset, available, QFArchiveValueReader::Form::Sequential);
    values.skip();
    skipped.offset = m_offset;
    skipped.size = qsizetype(reader.currentOffset());
    m_offset += skipped.size;
    return skipped;
}

bool QFUnarchiver::decodeArrayElements(const SkippedValue &value,
                                       const std::function<void(QVariant &&)> &element) const
{
    if (value.offset < 0) {
        if (value.decoded.typeId() != QMetaType::QVariantList)
            return false;
        const QVariantList list = value.decoded.toList();
        for (const QVariant &item : list)
            element(QVariant(item));
        return true;
    }
    QCborStreamReader reader(QByteArray::fromRawData(m_data.constData() + value.offset, value.size));
    QFArchiveValueReader values(reader, value.offset, value.size, QFArchiveValueReader::Form::Sequential);
    return values.readArrayElements(element);
}

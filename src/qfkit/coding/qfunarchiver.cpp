#include "qfunarchiver.h"

#include "qfarchiveformat.h"
#include "qfarchivevaluereader.h"

#include <QCborStreamReader>

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

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

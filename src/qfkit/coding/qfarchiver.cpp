#include "qfarchiver.h"

#include "qfarchiveformat.h"
#include "qfarchivevaluewriter.h"

#include <QBuffer>
#include <QCborStreamWriter>

QFArchiver::QFArchiver()
{
    m_data.append(QFArchiveFormat::SequentialMagic, QFArchiveFormat::HeaderSize - 1);
    m_data.append(char(QFArchiveFormat::FormatVersion));
    openWriter();
}

QFArchiver::~QFArchiver() = default;

void QFArchiver::openWriter()
{
    m_values.reset();
    m_writer.reset();
    m_buffer.reset();
    // The stream writer would write from the start of a byte array; a buffer
    // opened for appending keeps the header in front.
    m_buffer = std::make_unique<QBuffer>(&m_data);
    m_buffer->open(QIODevice::WriteOnly | QIODevice::Append);
    m_writer = std::make_unique<QCborStreamWriter>(m_buffer.get());
    m_values = std::make_unique<QFArchiveValueWriter>(
        *m_writer, [this](QFArchiveValueWriter &writer, const QFCoding &object) {
            writeObject(writer, object);
        });
}

template<typename Write>
void QFArchiver::encodeAtomically(Write &&write)
{
    // Objects call back into encodeObject() while they are written; only the
    // outermost call can undo a half-written value.
    if (m_nesting > 0) {
        ++m_nesting;
        try {
            write();
        } catch (...) {
            --m_nesting;
            throw;
        }
        --m_nesting;
        return;
    }
    const qsizetype before = m_data.size();
    m_nesting = 1;
    try {
        write();
    } catch (...) {
        m_nesting = 0;
        m_values.reset();
        m_writer.reset();
        m_buffer.reset();
        m_data.truncate(before);
        openWriter();
        throw;
    }
    m_nesting = 0;
}

void QFArchiver::encodeObject(const QVariant &value)
{
    encodeAtomically([&] { m_values->write(value); });
}

void QFArchiver::encodeObject(const QFCoding &object)
{
    encodeAtomically([&] { m_values->writeObject(object); });
}

void QFArchiver::encodeList(qsizetype count, const std::function<QVariant(qsizetype)> &element)
{
    encodeAtomically([&] { m_values->writeList(count, element); });
}

void QFArchiver::writeObject(QFArchiveValueWriter &writer, const QFCoding &object)
{
    QCborStreamWriter &cbor = writer.cbor();
    cbor.append(QCborTag(QFArchiveFormat::ObjectTag));
    cbor.startMap(2);
    cbor.append(QFArchiveFormat::ClassKey);
    cbor.append(QStringView(object.codingClassName()));
    cbor.append(QFArchiveFormat::ValuesKey);
    // The object writes its values into this archiver, one encodeObject()
    // call each, so their number is known only at the end.
    cbor.startArray();
    object.encodeWithCoder(*this);
    cbor.endArray();
    cbor.endMap();
}

QByteArray QFArchiver::data() const
{
    return m_data;
}

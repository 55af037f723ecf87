#include "qfkeyedarchiver.h"

#include "qfarchiveformat.h"
#include "qfarchivevaluewriter.h"
#include "qfkit/support/qfexception.h"

#include <QBuffer>
#include <QCborStreamWriter>

namespace {

void writeKeyedObject(QFArchiveValueWriter &writer, const QFCoding &object)
{
    QFKeyedArchiver coder;
    object.encodeWithKeyedCoder(coder);
    const QVariantMap &values = coder.values();
    if (values.contains(QFArchiveFormat::ClassKey)) {
        throw QFException(QStringLiteral("Archive Error"),
                          QStringLiteral("%1 uses the reserved key \"%2\".")
                              .arg(object.codingClassName(), QFArchiveFormat::ClassKey));
    }

    QCborStreamWriter &cbor = writer.cbor();
    cbor.append(QCborTag(QFArchiveFormat::ObjectTag));
    cbor.startMap(quint64(values.size()) + 1);
    cbor.append(QFArchiveFormat::ClassKey);
    cbor.append(QStringView(object.codingClassName()));
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        cbor.append(QStringView(it.key()));
        writer.write(it.value());
    }
    cbor.endMap();
}

template<typename Write>
QByteArray archive(Write &&write)
{
    QByteArray data;
    data.append(QFArchiveFormat::KeyedMagic, QFArchiveFormat::HeaderSize - 1);
    data.append(char(QFArchiveFormat::FormatVersion));
    {
        QBuffer buffer(&data);
        buffer.open(QIODevice::WriteOnly | QIODevice::Append);
        QCborStreamWriter cbor(&buffer);
        QFArchiveValueWriter writer(cbor, &writeKeyedObject);
        write(writer);
    }
    // The buffer grows its array by doubling; an archive is often kept for
    // the life of a document (a post's text), so it keeps only its bytes.
    data.squeeze();
    return data;
}

} // namespace

QByteArray QFKeyedArchiver::archivedDataWithRootObject(const QVariant &root)
{
    return archive([&](QFArchiveValueWriter &writer) { writer.write(root); });
}

QByteArray QFKeyedArchiver::archivedDataWithRootObject(const QFCoding &root)
{
    return archive([&](QFArchiveValueWriter &writer) { writer.writeObject(root); });
}

void QFKeyedArchiver::encodeObject(const QVariant &value, const QString &key)
{
    m_values.insert(key, value);
}

void QFKeyedArchiver::encodeBool(bool value, const QString &key)
{
    m_values.insert(key, value);
}

void QFKeyedArchiver::encodeInt(qint64 value, const QString &key)
{
    m_values.insert(key, value);
}

void QFKeyedArchiver::encodeDouble(double value, const QString &key)
{
    m_values.insert(key, value);
}

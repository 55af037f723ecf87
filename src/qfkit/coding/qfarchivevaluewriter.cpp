#include "qfarchivevaluewriter.h"

#include "qfarchiveformat.h"
#include "qfkit/support/qfexception.h"

#include <QCborStreamWriter>
#include <QDateTime>
#include <algorithm>

class QFArchiveValueWriter::DepthGuard
{
public:
    explicit DepthGuard(int &depth)
        : m_depth(depth)
    {
        if (m_depth >= QFArchiveFormat::MaxDepth) {
            throw QFException(QStringLiteral("Archive Error"),
                              QStringLiteral("Values are nested more than %1 levels deep; "
                                             "an object may contain itself.")
                                  .arg(QFArchiveFormat::MaxDepth));
        }
        ++m_depth;
    }
    ~DepthGuard() { --m_depth; }
    Q_DISABLE_COPY_MOVE(DepthGuard)

private:
    int &m_depth;
};

QFArchiveValueWriter::QFArchiveValueWriter(QCborStreamWriter &cbor, ObjectWriter objectWriter)
    : m_cbor(cbor)
    , m_objectWriter(std::move(objectWriter))
{
}

void QFArchiveValueWriter::writeObject(const QFCoding &object)
{
    DepthGuard guard(m_depth);
    if (object.codingClassName().isEmpty()) {
        throw QFException(QStringLiteral("Archive Error"),
                          QStringLiteral("An object without a class name cannot be archived."));
    }
    m_objectWriter(*this, object);
}

void QFArchiveValueWriter::write(const QVariant &value)
{
    const QMetaType type = value.metaType();
    if (type == QMetaType::fromType<QFCodingPtr>()) {
        const QFCodingPtr object = value.value<QFCodingPtr>();
        if (object)
            writeObject(*object);
        else
            m_cbor.appendNull();
        return;
    }

    const void *data = value.constData();
    switch (type.id()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        m_cbor.appendNull();
        return;
    case QMetaType::Bool:
        m_cbor.append(value.toBool());
        return;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        m_cbor.append(qint64(value.toLongLong()));
        return;
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        m_cbor.append(quint64(value.toULongLong()));
        return;
    case QMetaType::Float:
    case QMetaType::Double:
        m_cbor.append(value.toDouble());
        return;
    case QMetaType::QString:
        writeString(*static_cast<const QString *>(data));
        return;
    case QMetaType::QByteArray: {
        // A null byte array is how this code spells a missing value.
        const auto &bytes = *static_cast<const QByteArray *>(data);
        if (bytes.isNull())
            m_cbor.appendNull();
        else
            m_cbor.appendByteString(bytes.constData(), bytes.size());
        return;
    }
    case QMetaType::QDateTime: {
        const auto &date = *static_cast<const QDateTime *>(data);
        if (!date.isValid()) {
            m_cbor.appendNull();
            return;
        }
        // Whole seconds, rounded down also before 1970.
        const qint64 msecs = date.toMSecsSinceEpoch();
        const qint64 secs = msecs / 1000 - ((msecs % 1000) < 0 ? 1 : 0);
        m_cbor.append(QCborTag(QFArchiveFormat::DateTag));
        m_cbor.append(secs);
        return;
    }
    case QMetaType::QVariantList:
        writeList(*static_cast<const QVariantList *>(data));
        return;
    case QMetaType::QStringList:
        writeStringList(*static_cast<const QStringList *>(data));
        return;
    case QMetaType::QVariantMap:
        writeMap(*static_cast<const QVariantMap *>(data));
        return;
    case QMetaType::QVariantHash:
        writeHash(*static_cast<const QVariantHash *>(data));
        return;
    default:
        throw QFException(QStringLiteral("Archive Error"),
                          QStringLiteral("A value of type %1 cannot be archived.")
                              .arg(QString::fromLatin1(type.name())));
    }
}

void QFArchiveValueWriter::writeString(const QString &text)
{
    // A null string is how this code spells a missing value; "" stays "".
    if (text.isNull())
        m_cbor.appendNull();
    else
        m_cbor.append(QStringView(text));
}

void QFArchiveValueWriter::writeList(const QVariantList &list)
{
    DepthGuard guard(m_depth);
    m_cbor.startArray(quint64(list.size()));
    for (const QVariant &item : list)
        write(item);
    m_cbor.endArray();
}

void QFArchiveValueWriter::writeList(qsizetype count, const std::function<QVariant(qsizetype)> &element)
{
    DepthGuard guard(m_depth);
    m_cbor.startArray(quint64(count));
    for (qsizetype i = 0; i < count; ++i)
        write(element(i));
    m_cbor.endArray();
}

void QFArchiveValueWriter::writeStringList(const QStringList &list)
{
    DepthGuard guard(m_depth);
    m_cbor.startArray(quint64(list.size()));
    for (const QString &item : list)
        writeString(item);
    m_cbor.endArray();
}

void QFArchiveValueWriter::writeMap(const QVariantMap &map)
{
    DepthGuard guard(m_depth);
    m_cbor.startMap(quint64(map.size()));
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        m_cbor.append(QStringView(it.key()));
        write(it.value());
    }
    m_cbor.endMap();
}

void QFArchiveValueWriter::writeHash(const QVariantHash &hash)
{
    // Sorted, so that the same hash always gives the same bytes.
    QStringList keys = hash.keys();
    std::sort(keys.begin(), keys.end());
    DepthGuard guard(m_depth);
    m_cbor.startMap(quint64(keys.size()));
    for (const QString &key : std::as_const(keys)) {
        m_cbor.append(QStringView(key));
        write(hash.value(key));
    }
    m_cbor.endMap();
}

#include "qfkeyedunarchiver.h"

#include "qfarchiveformat.h"
#include "qfarchivevaluereader.h"

#include <QCborStreamReader>
#include <cmath>
#include <limits>

namespace {

// Numbers of any kind are one family here, as they were when written: an
// integer key read as a bool, or a bool read as an integer, gives its value.
// Anything else (a missing key, a string, a list …) is not a number.
enum class NumberKind { None, Bool, Signed, Unsigned, Floating };

NumberKind numberKind(const QVariant &value)
{
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        return NumberKind::Bool;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return NumberKind::Signed;
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return NumberKind::Unsigned;
    case QMetaType::Float:
    case QMetaType::Double:
        return NumberKind::Floating;
    default:
        return NumberKind::None;
    }
}

} // namespace

QFKeyedUnarchiver::QFKeyedUnarchiver(QVariantMap values)
    : m_values(std::move(values))
{
}

QVariant QFKeyedUnarchiver::unarchiveObjectWithData(const QByteArray &data)
{
    using Reader = QFArchiveValueReader;
    Reader::checkHeader(data, Reader::Form::Keyed);
    const qsizetype start = QFArchiveFormat::HeaderSize;
    const qsizetype available = data.size() - start;
    if (available == 0)
        Reader::fail(start, QStringLiteral("the archive holds no value"));

    QCborStreamReader reader(QByteArray::fromRawData(data.constData() + start, available));
    Reader values(reader, start, available, Reader::Form::Keyed);
    QVariant root = values.read();
    const qsizetype end = start + qsizetype(reader.currentOffset());
    if (end != data.size())
        Reader::fail(end, QStringLiteral("unexpected data follows the archived value"));
    return root;
}

QVariant QFKeyedUnarchiver::decodeObject(const QString &key) const
{
    return m_values.value(key);
}

bool QFKeyedUnarchiver::containsValue(const QString &key) const
{
    return m_values.contains(key);
}

bool QFKeyedUnarchiver::decodeBool(const QString &key) const
{
    const QVariant value = m_values.value(key);
    switch (numberKind(value)) {
    case NumberKind::Bool:
        return value.toBool();
    case NumberKind::Signed:
        return value.toLongLong() != 0;
    case NumberKind::Unsigned:
        return value.toULongLong() != 0;
    case NumberKind::Floating: {
        const double d = value.toDouble();
        return !std::isnan(d) && d != 0.0;
    }
    case NumberKind::None:
        break;
    }
    return false;
}

qint64 QFKeyedUnarchiver::decodeInt(const QString &key) const
{
    const QVariant value = m_values.value(key);
    switch (numberKind(value)) {
    case NumberKind::Bool:
        return value.toBool() ? 1 : 0;
    case NumberKind::Signed:
        return value.toLongLong();
    case NumberKind::Unsigned: {
        const quint64 u = value.toULongLong();
        return u <= quint64(std::numeric_limits<qint64>::max()) ? qint64(u) : 0;
    }
    case NumberKind::Floating: {
        // Truncated toward zero; values no qint64 can hold give 0.
        const double d = value.toDouble();
        if (std::isfinite(d) && d > -9.2e18 && d < 9.2e18)
            return qint64(d);
        return 0;
    }
    case NumberKind::None:
        break;
    }
    return 0;
}

double QFKeyedUnarchiver::decodeDouble(const QString &key) const
{
    const QVariant value = m_values.value(key);
    switch (numberKind(value)) {
    case NumberKind::Bool:
        return value.toBool() ? 1.0 : 0.0;
    case NumberKind::Signed:
        return double(value.toLongLong());
    case NumberKind::Unsigned:
        return double(value.toULongLong());
    case NumberKind::Floating:
        return value.toDouble();
    case NumberKind::None:
        break;
    }
    return 0.0;
}

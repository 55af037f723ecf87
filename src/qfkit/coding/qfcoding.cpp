#include "qfcoding.h"

#include "qfkit/support/qfexception.h"

void QFCoding::encodeWithCoder(QFArchiver &) const
{
    throw QFException(QStringLiteral("Archive Error"),
                      QStringLiteral("%1 cannot be written to a sequential archive.").arg(codingClassName()));
}

void QFCoding::encodeWithKeyedCoder(QFKeyedArchiver &) const
{
    throw QFException(QStringLiteral("Archive Error"),
                      QStringLiteral("%1 cannot be written to a keyed archive.").arg(codingClassName()));
}

namespace QFCodingSupport {

QFCodingPtr objectFromVariant(const QVariant &value)
{
    if (value.metaType() != QMetaType::fromType<QFCodingPtr>())
        return nullptr;
    return value.value<QFCodingPtr>();
}

QVariant variantFromObject(const QFCodingPtr &object)
{
    if (!object)
        return QVariant();
    return QVariant::fromValue(object);
}

} // namespace QFCodingSupport

#include "qfblogvariant.h"

namespace QFBlogVariant {

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

QString stringOrNull(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

int intOrZero(const QVariant &value)
{
    return isNumber(value) ? int(value.toLongLong()) : 0;
}

bool boolOrFalse(const QVariant &value)
{
    return isNumber(value) && value.toBool();
}

} // namespace QFBlogVariant

#include "qfcollections.h"

#include "blog/model/qfblogtag.h"
#include "qfkit/coding/qfcoding.h"

#include <QByteArray>
#include <QHashFunctions>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QObject>
#include <cmath>
#include <limits>

namespace QFCollections {

namespace {
template<typename Sequence>
int reduceToState(const Sequence &elements)
{
    if (elements.isEmpty())
        return 0;
    const bool first = bool(elements.constFirst());
    for (const auto &element : elements) {
        if (bool(element) != first)
            return -1;
    }
    return first ? 1 : 0;
}
} // namespace

int stateFromNumberElements(const QList<bool> &elements)
{
    return reduceToState(elements);
}

int stateFromNumberElements(const QVariantList &elements)
{
    QList<bool> truths;
    truths.reserve(elements.size());
    for (const QVariant &element : elements)
        truths.append(element.toBool());
    return reduceToState(truths);
}

void valueChangedForKey(QObject *object, const char *key)
{
    if (!object)
        return;
    const QMetaObject *meta = object->metaObject();
    const int index = meta->indexOfProperty(key);
    if (index < 0)
        return;
    const QMetaProperty property = meta->property(index);
    if (!property.hasNotifySignal())
        return;
    const QMetaMethod signal = property.notifySignal();
    // Notify signals of the model take no arguments or the object itself.
    if (signal.parameterCount() == 0)
        signal.invoke(object, Qt::DirectConnection);
}

size_t hashValue(const QVariant &value, size_t seed)
{
    const int type = value.typeId();
    switch (type) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::Long:
    case QMetaType::Short:
    case QMetaType::Char:
    case QMetaType::SChar:
        return qHash(value.toLongLong(), seed);
    case QMetaType::ULongLong:
    case QMetaType::ULong:
    case QMetaType::UShort:
    case QMetaType::UChar:
        if (value.toULongLong() <= quint64(std::numeric_limits<qint64>::max()))
            return qHash(value.toLongLong(), seed);
        return qHash(value.toULongLong(), seed);
    case QMetaType::Double:
    case QMetaType::Float: {
        const double d = value.toDouble();
        double integral = 0;
        if (std::modf(d, &integral) == 0.0 && std::abs(d) < 9.2e18)
            return qHash(qint64(d), seed);
        return qHash(d, seed);
    }
    case QMetaType::QString:
        return qHash(value.toString(), seed);
    case QMetaType::QByteArray:
        return qHash(value.toByteArray(), seed);
    default:
        break;
    }
    if (type == qMetaTypeId<QFBlogTag>())
        return qHash(value.value<QFBlogTag>(), seed);
    if (type == qMetaTypeId<QFCodingPtr>())
        return qHash(quintptr(value.value<QFCodingPtr>().get()), seed);
    return qHash(type, seed);
}

} // namespace QFCollections

#include "qftuple.h"

#include <QDebug>

QFTuple::QFTuple(QVariant first, QVariant second)
    : m_first(std::move(first))
    , m_second(std::move(second))
{
}

QFTuple QFTuple::tupleWithFirstElement(const QVariant &first, const QVariant &second)
{
    return QFTuple(first, second);
}

QDebug operator<<(QDebug debug, const QFTuple &tuple)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << "QFTuple(" << tuple.first() << ", " << tuple.second() << ')';
    return debug;
}

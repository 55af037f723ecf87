#pragma once

#include <QMetaType>
#include <QVariant>

class QDebug;

// A pair of values, first and second: (tag, use count), (tag, group number),
// (importer category, blog category). A copyable value; two tuples are equal
// when both elements compare equal as QVariants.
class QFTuple
{
public:
    QFTuple() = default;
    QFTuple(QVariant first, QVariant second);

    static QFTuple tupleWithFirstElement(const QVariant &first, const QVariant &second);

    const QVariant &first() const { return m_first; }
    const QVariant &second() const { return m_second; }
    void setFirst(const QVariant &value) { m_first = value; }
    void setSecond(const QVariant &value) { m_second = value; }

    friend bool operator==(const QFTuple &a, const QFTuple &b)
    {
        return a.m_first == b.m_first && a.m_second == b.m_second;
    }

private:
    QVariant m_first;
    QVariant m_second;
};

QDebug operator<<(QDebug debug, const QFTuple &tuple);

Q_DECLARE_METATYPE(QFTuple)

#pragma once

#include "qfkit/coding/qfcoding.h"

#include <QMultiHash>
#include <QVariant>

class QFKeyedUnarchiver;
class QFUnarchiver;

// A set that remembers the order in which its members first arrived. Members
// are QVariants compared by QVariant equality (hashed with
// QFCollections::hashValue); adding a member equal to one already held changes
// nothing, so the first of equal objects stays, in its place. There is no
// removal.
//
// Archived under the class name "QFOrderedSet": the keyed form writes the
// members under "array", the sequential form writes them as one list. Reading
// either form back deliberately gives an EMPTY set: the stored members are
// never read (older files rely on nothing else).
class QFOrderedSet final : public QFCoding
{
public:
    QFOrderedSet() = default;

    void addObject(const QVariant &object);
    qsizetype count() const { return m_array.size(); }
    // The member equal to object, or a null QVariant when there is none.
    QVariant member(const QVariant &object) const;
    bool containsObject(const QVariant &object) const;
    // The members in order of first insertion (also the enumeration order).
    const QVariantList &array() const { return m_array; }

    QString codingClassName() const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;
    // Registers both readers of "QFOrderedSet"; idempotent.
    static void registerCodingClass();

private:
    qsizetype indexOf(const QVariant &object) const;

    QVariantList m_array;
    QMultiHash<size_t, qsizetype> m_set;
};

#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>
#include <memory>

class QFArchiver;
class QFKeyedArchiver;

// An object that archives itself (custom feed tags, podcast tag sets, styled
// text …). It is written under its class name; reading finds the class in the
// QFClassRegistry and lets the registered factory read the object back.
//
// A class supports the sequential form, the keyed form, or both; the
// default implementations raise QFException("Archive Error") naming the class,
// so a class asked for a form it does not support fails loudly rather than
// writing an empty object.
class QFCoding
{
public:
    virtual ~QFCoding() = default;

    // The name the object is archived under; the registry maps it back.
    virtual QString codingClassName() const = 0;

    virtual void encodeWithCoder(QFArchiver &coder) const;
    virtual void encodeWithKeyedCoder(QFKeyedArchiver &coder) const;
};

using QFCodingPtr = std::shared_ptr<QFCoding>;

// Objects travel inside QVariants (in arrays, dictionaries and as decoded
// values) as QFCodingPtr.
Q_DECLARE_METATYPE(QFCodingPtr)

namespace QFCodingSupport {
// The object held by a variant, or null when the variant holds no object.
QFCodingPtr objectFromVariant(const QVariant &value);
// A variant holding the object (a null variant for a null pointer).
QVariant variantFromObject(const QFCodingPtr &object);

// The object held by a variant when it is of class T, else null.
template<typename T>
std::shared_ptr<T> objectOfClass(const QVariant &value)
{
    return std::dynamic_pointer_cast<T>(objectFromVariant(value));
}
}

#include "qforderedset.h"

#include "blog/model/qfcollections.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"

#include <mutex>

namespace {
const QString kClassName = QStringLiteral("QFOrderedSet");
const QString kArrayKey = QStringLiteral("array");
} // namespace

void QFOrderedSet::addObject(const QVariant &object)
{
    if (indexOf(object) >= 0)
        return;
    m_set.insert(QFCollections::hashValue(object), m_array.size());
    m_array.append(object);
}

QVariant QFOrderedSet::member(const QVariant &object) const
{
    const qsizetype index = indexOf(object);
    return index >= 0 ? m_array.at(index) : QVariant();
}

bool QFOrderedSet::containsObject(const QVariant &object) const
{
    return indexOf(object) >= 0;
}

qsizetype QFOrderedSet::indexOf(const QVariant &object) const
{
    const size_t hash = QFCollections::hashValue(object);
    for (auto it = m_set.constFind(hash); it != m_set.cend() && it.key() == hash; ++it) {
        if (m_array.at(it.value()) == object)
            return it.value();
    }
    return -1;
}

QString QFOrderedSet::codingClassName() const
{
    return kClassName;
}

void QFOrderedSet::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(QVariant(m_array));
}

void QFOrderedSet::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    coder.encodeObject(QVariant(m_array), kArrayKey);
}

void QFOrderedSet::registerCodingClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // The stored members are never read back: a decoded set is empty.
        QFClassRegistry::instance().registerSequential(
            kClassName, [](QFUnarchiver &) -> QFCodingPtr { return std::make_shared<QFOrderedSet>(); });
        QFClassRegistry::instance().registerKeyed(
            kClassName, [](QFKeyedUnarchiver &) -> QFCodingPtr { return std::make_shared<QFOrderedSet>(); });
    });
}

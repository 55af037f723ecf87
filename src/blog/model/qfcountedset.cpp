#include "qfcountedset.h"

#include "blog/model/qfcollections.h"

void QFCountedSet::addObject(const QVariant &object)
{
    const qsizetype index = indexOf(object);
    if (index >= 0) {
        ++m_counts[index];
        return;
    }
    m_index.insert(QFCollections::hashValue(object), m_objects.size());
    m_objects.append(object);
    m_counts.append(1);
}

void QFCountedSet::removeObject(const QVariant &object)
{
    const qsizetype index = indexOf(object);
    if (index < 0)
        return;
    if (--m_counts[index] > 0)
        return;
    m_objects.removeAt(index);
    m_counts.removeAt(index);
    // The last use of a member is rare next to counting, so renumbering
    // everything here keeps the common path simple.
    rebuildIndex();
}

quint64 QFCountedSet::countForObject(const QVariant &object) const
{
    const qsizetype index = indexOf(object);
    return index >= 0 ? m_counts.at(index) : 0;
}

bool QFCountedSet::containsObject(const QVariant &object) const
{
    return indexOf(object) >= 0;
}

void QFCountedSet::removeAllObjects()
{
    m_objects.clear();
    m_counts.clear();
    m_index.clear();
}

bool operator==(const QFCountedSet &a, const QFCountedSet &b)
{
    if (a.count() != b.count())
        return false;
    for (qsizetype i = 0; i < a.m_objects.size(); ++i) {
        if (b.countForObject(a.m_objects.at(i)) != a.m_counts.at(i))
            return false;
    }
    return true;
}

qsizetype QFCountedSet::indexOf(const QVariant &object) const
{
    const size_t hash = QFCollections::hashValue(object);
    for (auto it = m_index.constFind(hash); it != m_index.cend() && it.key() == hash; ++it) {
        if (m_objects.at(it.value()) == object)
            return it.value();
    }
    return -1;
}

void QFCountedSet::rebuildIndex()
{
    m_index.clear();
    for (qsizetype i = 0; i < m_objects.size(); ++i)
        m_index.insert(QFCollections::hashValue(m_objects.at(i)), i);
}

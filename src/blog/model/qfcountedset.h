#pragma once

#include <QHash>
#include <QList>
#include <QVariant>

// A set that counts how often each member was added (the plugin's tag use
// counts). Members are QVariants compared by QVariant equality and hashed with
// QFCollections::hashValue (tags are held as QVariant::fromValue(QFBlogTag)).
//
// Enumeration (objects()) is in order of first insertion, so everything built
// from the set (tag clouds, exports) is reproducible. A member whose count
// drops to 0 leaves the set; added again, it goes to the end.
class QFCountedSet final
{
public:
    QFCountedSet() = default;

    // One use more of object.
    void addObject(const QVariant &object);
    // One use less; nothing when the object is not a member.
    void removeObject(const QVariant &object);
    // The number of uses; 0 for a non-member.
    quint64 countForObject(const QVariant &object) const;
    bool containsObject(const QVariant &object) const;

    // The number of distinct members.
    qsizetype count() const { return m_objects.size(); }
    bool isEmpty() const { return m_objects.isEmpty(); }
    // The distinct members, in order of first insertion.
    const QVariantList &objects() const { return m_objects; }
    void removeAllObjects();

    friend bool operator==(const QFCountedSet &a, const QFCountedSet &b);

private:
    qsizetype indexOf(const QVariant &object) const;
    void rebuildIndex();

    QVariantList m_objects;
    QList<quint64> m_counts;
    QMultiHash<size_t, qsizetype> m_index;
};

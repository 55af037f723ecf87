#pragma once

#include "qfkit/support/qftuple.h"

#include <QList>
#include <QVariant>

class QFCountedSet;

// Counting, grouping and ordering of tags for the tag pages and the tag cloud.
// Pairs are QFTuples whose first element is a tag (QVariant::fromValue of a
// QFBlogTag) and whose second is a number (a use count or a group number).
namespace QFBlogTagExtensions {

// One pair (object, its count as quint64) for every distinct member of the
// set, in the set's order; empty for an empty set.
QList<QFTuple> arrayOfObjectsAndCountsFromCountedSet(const QFCountedSet &set);

// Pairs (object, group number as int) in list order, sizing a tag cloud of
// groupCount classes. Fewer objects than groups: each gets its own index
// (0, 1, 2 …). Otherwise the objects fall into groups 1 … groupCount of about
// equal size, the earlier objects in the lower numbers. An empty list gives
// an empty list.
QList<QFTuple> arrayOfObjectsAndGroupNumbers(const QVariantList &objects, int groupCount);

// Compares the tag names of the first elements ignoring case, runs of digits
// by value ("tag9" before "tag10"). A first element that is not a tag counts
// as a tag without a name. <0, 0 or >0.
int compareFirstAsTagName(const QFTuple &a, const QFTuple &b);
// Larger second element (count) first; equal counts as compareFirstAsTagName.
int tagNameAndCountCompare(const QFTuple &a, const QFTuple &b);
// The same as a strict ordering, for std::sort.
bool tagNameAndCountLessThan(const QFTuple &a, const QFTuple &b);

} // namespace QFBlogTagExtensions

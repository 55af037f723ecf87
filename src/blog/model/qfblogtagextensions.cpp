#include "qfblogtagextensions.h"

#include "blog/model/qfblogtag.h"
#include "blog/model/qfcountedset.h"
#include "qfkit/text/qfstrings.h"

namespace QFBlogTagExtensions {

QList<QFTuple> arrayOfObjectsAndCountsFromCountedSet(const QFCountedSet &set)
{
    QList<QFTuple> pairs;
    pairs.reserve(set.count());
    for (const QVariant &object : set.objects())
        pairs.append(QFTuple(object, QVariant::fromValue(set.countForObject(object))));
    return pairs;
}

QList<QFTuple> arrayOfObjectsAndGroupNumbers(const QVariantList &objects, int groupCount)
{
    QList<QFTuple> pairs;
    const qsizetype n = objects.size();
    pairs.reserve(n);
    if (n < groupCount) {
        // Numbered from 0 here and from 1 below: the cloud's styles expect it.
        for (qsizetype i = 0; i < n; ++i)
            pairs.append(QFTuple(objects.at(i), int(i)));
        return pairs;
    }
    // Single precision on purpose: the thresholds, and so the group edges of
    // every published cloud, depend on it.
    const float step = float(n) / float(groupCount);
    int group = 0;
    float threshold = 0.0f;
    for (qsizetype i = 0; i < n; ++i) {
        if (float(i) >= threshold) {
            ++group;
            threshold += step;
        }
        pairs.append(QFTuple(objects.at(i), group));
    }
    return pairs;
}

int compareFirstAsTagName(const QFTuple &a, const QFTuple &b)
{
    return QFStrings::compareIgnoringCaseNumeric(a.first().value<QFBlogTag>().tagName(),
                                                 b.first().value<QFBlogTag>().tagName());
}

int tagNameAndCountCompare(const QFTuple &a, const QFTuple &b)
{
    const quint64 countA = a.second().toULongLong();
    const quint64 countB = b.second().toULongLong();
    if (countA > countB)
        return -1;
    if (countA < countB)
        return 1;
    return compareFirstAsTagName(a, b);
}

bool tagNameAndCountLessThan(const QFTuple &a, const QFTuple &b)
{
    return tagNameAndCountCompare(a, b) < 0;
}

} // namespace QFBlogTagExtensions

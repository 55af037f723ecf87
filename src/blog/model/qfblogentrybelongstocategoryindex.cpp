#include "qfblogentrybelongstocategoryindex.h"

#include "blog/model/qfblogentry.h"
#include "blog/model/qfcollections.h"

namespace QFBlogEntryBelongsToCategoryIndex {

int belongsToCategoryIndex(const QList<QFBlogEntryPtr> &entries, int index)
{
    QList<bool> answers;
    answers.reserve(entries.size());
    for (const QFBlogEntryPtr &entry : entries)
        answers.append(entry && entry->belongsToCategoryIndex(index));
    return QFCollections::stateFromNumberElements(answers);
}

int hasTag(const QList<QFBlogEntryPtr> &entries, const QFBlogTag &tag)
{
    QList<bool> answers;
    answers.reserve(entries.size());
    for (const QFBlogEntryPtr &entry : entries)
        answers.append(entry && entry->tags() && entry->tags()->contains(tag));
    return QFCollections::stateFromNumberElements(answers);
}

} // namespace QFBlogEntryBelongsToCategoryIndex

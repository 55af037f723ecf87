#pragma once

#include <QList>
#include <memory>

class QFBlogEntry;
class QFBlogTag;
using QFBlogEntryPtr = std::shared_ptr<QFBlogEntry>;

// Questions asked of several posts at once (the editor's multiple selection),
// answered as a check box state: 1 when every post says yes, 0 when every
// post says no or there are none, -1 when the answers are mixed.
namespace QFBlogEntryBelongsToCategoryIndex {

// Each post's belongsToCategoryIndex(index), reduced.
int belongsToCategoryIndex(const QList<QFBlogEntryPtr> &entries, int index);
// Whether each post's tags hold the tag (exact name), reduced. A post without
// a tag list answers no.
int hasTag(const QList<QFBlogEntryPtr> &entries, const QFBlogTag &tag);

} // namespace QFBlogEntryBelongsToCategoryIndex

#include "qfblogmodel.h"

#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogcustomitunestags.h"
#include "blog/model/qfblogcustomtag.h"
#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogentryheaderplaceholder.h"
#include "blog/model/qfblogtag.h"
#include "blog/model/qforderedset.h"
#include "qfkit/support/qffilereference.h"
#include "qfkit/text/qfstyledtext.h"

namespace QFBlogModel {

void registerCodingClasses()
{
    QFStyledText::registerCodingClass();
    QFFileReference::registerCodingClass();
    QFBlogEntry::registerCodingClass();
    QFBlogCategory::registerCodingClass();
    QFBlogTag::registerCodingClass();
    QFBlogCustomTag::registerCodingClass();
    QFBlogCustomiTunesTags::registerCodingClass();
    QFBlogEntryHeaderPlaceholder::registerCodingClass();
    QFOrderedSet::registerCodingClass();
}

} // namespace QFBlogModel

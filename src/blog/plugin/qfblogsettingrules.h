#pragma once

#include <QString>
#include <QVariant>
#include <optional>

class QFBlogPlugin;

// The values a blog setting may take when it is given from outside (the
// command line's `set`, the editor's fields), checked before its setter
// runs. The setters themselves take anything, because stored documents are
// read through them and repaired afterwards.
//
//  - lastID only grows: at least its value and more than every post's ID,
//    so no ID is handed out twice.
//  - archivePostsPeriod is 0 (weeks), 1 (months) or 2 (years);
//    commentsSelectedProviderTag 0 to 3; showPostLimit and
//    summarizeEntryRSSCount 0 or more.
//  - rssLanguage is a name of the languages table, dateModifier1..4 names of
//    the dates table.
//  - rssCustomFeedFilename follows QFBlogFileNames (or is empty);
//    rssCustomFeedURL and rssHomepage are absolute http or https addresses
//    (or empty).
//  - Settings the blog derives take no other value than the one they show:
//    enableComments follows commentsSelectedProviderTag, enablePodcasting is
//    always on, archivePostsPeriodString follows archivePostsPeriod.
namespace QFBlogSettingRules {

// nullopt when the blog may take value (already of the setting's type) for
// key; otherwise the sentence refusing it, naming the key and the values it
// takes. Keys without a rule take any value of their type.
std::optional<QString> refusal(const QFBlogPlugin &blog, const QString &key, const QVariant &value);

} // namespace QFBlogSettingRules

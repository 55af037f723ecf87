#pragma once

#include <QString>
#include <QVariant>

class QFUserDefaults;

// The sidebar's sections as the plugin keeps them (QFBlogPlugin::sidebarControl):
// one map per section, in display order, with "name" ("Categories",
// "Archives", "Tags", "RSS Link" or "Comments Link") and "enabled" (a bool).
// An entry that is not a map, or lacks a key, reads as an unnamed or
// switched-off section; a section of another name is kept but writes nothing.
//
// The comment services' feed links of the sidebar take their scheme and host
// from the user defaults "QFBlogHaloScanCommentFeedEndpoint" and
// "QFBlogJSKitCommentFeedEndpoint" (registered with the services' own
// addresses), so a service that moves needs no new version.
namespace QFBlogSidebarControl {

// "name" as text; "" when it is missing or not text.
QString controlName(const QVariant &entry);
// "enabled": a bool or a number other than 0, or text that reads as true
// ("1", "yes", "true" in any case).
bool isEnabled(const QVariant &entry);
bool isCategories(const QVariant &entry);
bool isArchives(const QVariant &entry);
bool isTags(const QVariant &entry);
bool isFeedLink(const QVariant &entry);
bool isCommentsLink(const QVariant &entry);

// Registers the two feed endpoints; called by QFBlogPlugin::initialize().
void registerDefaults(QFUserDefaults &defaults);

// The HaloScan member feed of an account: <endpoint>members/rss.php?user=<name>,
// the name percent-encoded.
QString haloScanCommentsFeedURL(const QString &userName);
// The JS-Kit comment feed of a site: <endpoint>rss/<host><path> of the
// site's base URL ("rss/" alone for a base URL without host and path).
QString jsKitCommentsFeedURL(const QString &siteBaseURL);

} // namespace QFBlogSidebarControl

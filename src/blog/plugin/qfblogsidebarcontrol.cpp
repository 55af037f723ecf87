#include "blog/plugin/qfblogsidebarcontrol.h"

#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfuserdefaults.h"
#include "qfkit/text/qfstrings.h"

#include <QUrl>
#include <QVariantMap>

namespace {

const QString kHaloScanFeedKey = QStringLiteral("QFBlogHaloScanCommentFeedEndpoint");
const QString kJSKitFeedKey = QStringLiteral("QFBlogJSKitCommentFeedEndpoint");
const QString kHaloScanFeedEndpoint = QStringLiteral("http://www.haloscan.com/");
const QString kJSKitFeedEndpoint = QStringLiteral("http://js-kit.com/");

QString endpoint(const QString &key, const QString &fallback)
{
    const QFUserDefaults *defaults = QFBlogPlugin::userDefaults();
    const QString value = defaults ? defaults->stringForKey(key) : QString();
    return QFStrings::appendForwardSlash(value.isEmpty() ? fallback : value);
}

bool named(const QVariant &entry, QLatin1String name)
{
    return QFBlogSidebarControl::controlName(entry) == name;
}

} // namespace

namespace QFBlogSidebarControl {

QString controlName(const QVariant &entry)
{
    const QVariant name = entry.toMap().value(QStringLiteral("name"));
    return name.typeId() == QMetaType::QString ? name.toString() : QString(QLatin1String(""));
}

bool isEnabled(const QVariant &entry)
{
    const QVariant enabled = entry.toMap().value(QStringLiteral("enabled"));
    switch (enabled.typeId()) {
    case QMetaType::Bool:
        return enabled.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return enabled.toDouble() != 0;
    case QMetaType::QString:
        return QFStrings::boolValue(enabled.toString());
    default:
        return false;
    }
}

bool isCategories(const QVariant &entry) { return named(entry, QLatin1String("Categories")); }
bool isArchives(const QVariant &entry) { return named(entry, QLatin1String("Archives")); }
bool isTags(const QVariant &entry) { return named(entry, QLatin1String("Tags")); }
bool isFeedLink(const QVariant &entry) { return named(entry, QLatin1String("RSS Link")); }
bool isCommentsLink(const QVariant &entry) { return named(entry, QLatin1String("Comments Link")); }

void registerDefaults(QFUserDefaults &defaults)
{
    defaults.registerDefaults({{kHaloScanFeedKey, kHaloScanFeedEndpoint}, {kJSKitFeedKey, kJSKitFeedEndpoint}});
}

QString haloScanCommentsFeedURL(const QString &userName)
{
    return endpoint(kHaloScanFeedKey, kHaloScanFeedEndpoint) + QStringLiteral("members/rss.php?user=")
        + QString::fromLatin1(QUrl::toPercentEncoding(userName));
}

QString jsKitCommentsFeedURL(const QString &siteBaseURL)
{
    const QUrl url(siteBaseURL);
    return endpoint(kJSKitFeedKey, kJSKitFeedEndpoint) + QStringLiteral("rss/")
        + url.host(QUrl::FullyEncoded) + url.path(QUrl::FullyEncoded);
}

} // namespace QFBlogSidebarControl

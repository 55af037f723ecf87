#include "qfblogsettingrules.h"

#include "blog/model/qfblogfilenames.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/text/qfstrings.h"

#include <QStringList>
#include <limits>

namespace QFBlogSettingRules {

namespace {

QString quotedKey(const QString &key)
{
    return QStringLiteral("\u201c%1\u201d").arg(key);
}

std::optional<QString> outsideRange(const QString &key, int value, int lowest, int highest, const QString &values)
{
    if (value >= lowest && value <= highest)
        return std::nullopt;
    return QStringLiteral("%1 takes %2, not %3").arg(quotedKey(key), values).arg(value);
}

std::optional<QString> notAName(const QString &key, const QString &value, const QVariantMap &table)
{
    if (table.contains(value))
        return std::nullopt;
    return QStringLiteral("%1 takes one of %2; \u201c%3\u201d is none of them")
        .arg(quotedKey(key), table.keys().join(QStringLiteral(", ")), value);
}

std::optional<QString> notAnAddress(const QString &key, const QString &value)
{
    if (value.isEmpty() || QFStrings::isAbsoluteWebAddress(value))
        return std::nullopt;
    return QStringLiteral("%1 takes an absolute http or https address (such as https://example.org/blog/) or "
                          "nothing; \u201c%2\u201d is none")
        .arg(quotedKey(key), value);
}

std::optional<QString> derived(const QFBlogPlugin &blog, const QString &key, const QVariant &value,
                               const QString &explanation)
{
    if (blog.property(key.toUtf8().constData()) == value)
        return std::nullopt;
    return QStringLiteral("%1 cannot be set: %2").arg(quotedKey(key), explanation);
}

} // namespace

std::optional<QString> refusal(const QFBlogPlugin &blog, const QString &key, const QVariant &value)
{
    if (key == QLatin1String("lastID")) {
        int lowest = blog.lastID();
        for (const QFBlogEntryPtr &entry : blog.posts()) {
            if (entry && entry->ID() >= lowest && entry->ID() < std::numeric_limits<int>::max())
                lowest = entry->ID() + 1;
        }
        // lastID may reach INT_MAX; adding a post then says no ID is left.
        if (value.toInt() >= lowest)
            return std::nullopt;
        return QStringLiteral("%1 only grows, so that no post ID is handed out twice: it takes a whole number of "
                              "%2 or more, not %3")
            .arg(quotedKey(key))
            .arg(lowest)
            .arg(value.toInt());
    }
    if (key == QLatin1String("archivePostsPeriod"))
        return outsideRange(key, value.toInt(), 0, 2, QStringLiteral("0 (weeks), 1 (months) or 2 (years)"));
    if (key == QLatin1String("commentsSelectedProviderTag")) {
        return outsideRange(key, value.toInt(), 0, 3,
                            QStringLiteral("0 (none), 1 (HaloScan), 2 (JS-Kit) or 3 (Disqus)"));
    }
    if (key == QLatin1String("showPostLimit") || key == QLatin1String("summarizeEntryRSSCount"))
        return outsideRange(key, value.toInt(), 0, std::numeric_limits<int>::max(), QStringLiteral("a whole number of 0 or more"));
    if (key == QLatin1String("rssLanguage"))
        return notAName(key, value.toString(), blog.languages());
    static const QStringList modifiers{QStringLiteral("dateModifier1"), QStringLiteral("dateModifier2"),
                                       QStringLiteral("dateModifier3"), QStringLiteral("dateModifier4")};
    if (modifiers.contains(key))
        return notAName(key, value.toString(), blog.dates());
    if (key == QLatin1String("rssCustomFeedFilename")) {
        if (const std::optional<QString> problem = QFBlogFileNames::problem(value.toString(), QStringLiteral("The value")))
            return QStringLiteral("%1: %2").arg(quotedKey(key), *problem);
        return std::nullopt;
    }
    if (key == QLatin1String("rssCustomFeedURL") || key == QLatin1String("rssHomepage"))
        return notAnAddress(key, value.toString());
    if (key == QLatin1String("enableComments")) {
        return derived(blog, key, value,
                       QStringLiteral("comments are on exactly when a comment service is chosen; set "
                                      "\u201ccommentsSelectedProviderTag\u201d to 0 (none), 1 (HaloScan), 2 (JS-Kit) "
                                      "or 3 (Disqus) instead"));
    }
    if (key == QLatin1String("enablePodcasting"))
        return derived(blog, key, value, QStringLiteral("every blog podcasts, so it is always true"));
    if (key == QLatin1String("archivePostsPeriodString")) {
        return derived(blog, key, value,
                       QStringLiteral("it follows \u201carchivePostsPeriod\u201d; set that to 0 (weeks), 1 (months) "
                                      "or 2 (years) instead"));
    }
    return std::nullopt;
}

} // namespace QFBlogSettingRules

#include "blog/generation/qfblogpluginpermalinks.h"

#include "blog/plugin/qfblogplugin.h"

QFBlogPluginPermalinks::QFBlogPluginPermalinks(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

QString QFBlogPluginPermalinks::permalinkFilename(const QFBlogEntryPtr &entry,
                                                  const std::optional<QString> &preferredExtension) const
{
    // Placeholder until the permalinks group is built.
    return QStringLiteral("%1-%2.%3").arg(entry->GUID()).arg(entry->ID()).arg(preferredExtension.value_or(QString()));
}

std::optional<QString> QFBlogPluginPermalinks::permalinkLink(const QFBlogEntryPtr &entry, const QVariantMap &params,
                                                             int) const
{
    if (!entry)
        return std::nullopt;
    return permalinkFilename(entry, params.value(QStringLiteral("FilenameExt")).toString());
}

std::optional<QString> QFBlogPluginPermalinks::permalinkPageTitle(const QFBlogEntryPtr &) const { return std::nullopt; }

QString QFBlogPluginPermalinks::preparedTemplate(const QVariantMap &, const QString &, const QString &, const char *,
                                                 const char *, const char *) const
{
    return {};
}

QString QFBlogPluginPermalinks::permalinkTemplate(const QVariantMap &) const { return {}; }

QList<QFExportItem> QFBlogPluginPermalinks::emitPermalinkEntriesWithFilesDirectory(const QString &,
                                                                                   const QVariantMap &)
{
    return {};
}

QString QFBlogPluginPermalinks::absoluteURLToFilesDirectory(const QVariantMap &) const { return {}; }
QString QFBlogPluginPermalinks::rssBaseURL(const QVariantMap &) const { return {}; }

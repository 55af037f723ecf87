#include "blog/generation/qfblogplugintagsemission.h"

#include "blog/plugin/qfblogplugin.h"

QFBlogPluginTagsEmission::QFBlogPluginTagsEmission(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

// Placeholders until the tags group is built.
QString QFBlogPluginTagsEmission::tagNavigationLinksHTML(const QFBlogTag &) const { return {}; }
QString QFBlogPluginTagsEmission::tagTemplate(const QVariantMap &) const { return {}; }
QList<QFExportItem> QFBlogPluginTagsEmission::emitTagsArchivesWithFileDirectory(const QString &, const QVariantMap &) { return {}; }
QString QFBlogPluginTagsEmission::stringForTagCloudHTML(const QVariantMap &) const { return {}; }

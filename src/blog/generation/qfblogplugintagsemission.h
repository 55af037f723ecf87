#pragma once

#include "blog/model/qfblogtag.h"
#include "qfkit/document/qfexportitem.h"

#include <QList>
#include <QString>
#include <QVariantMap>

class QFBlogPlugin;

// The tags group of the blog plugin: one page per tag in use and the tag
// cloud. The plugin owns one and outlives it.
class QFBlogPluginTagsEmission final
{
public:
    explicit QFBlogPluginTagsEmission(QFBlogPlugin &plugin);
    Q_DISABLE_COPY_MOVE(QFBlogPluginTagsEmission)

    QString tagNavigationLinksHTML(const QFBlogTag &tag) const;
    QString tagTemplate(const QVariantMap &params) const;
    QList<QFExportItem> emitTagsArchivesWithFileDirectory(const QString &filesDirectory,
                                                          const QVariantMap &params);
    // "" when no tag is known.
    QString stringForTagCloudHTML(const QVariantMap &params) const;

private:
    QFBlogPlugin &m_plugin;
};

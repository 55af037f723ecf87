#pragma once

#include "qfkit/document/qfpagepluginfactory.h"

#include <QObject>

// The entry point of the loadable module inside Blog.qfplugin/: the host's
// view of the Blog plugin class. Every answer comes from QFBlogPlugin's
// class-level functions, so the module and the linked-in library (tests) give
// the same answers.
//
// initializeClass() also registers the plugin's user defaults on the
// application's settings (QSettings with the application's organisation and
// name) the first time, since the host interface passes no defaults object.
//
// Plugins made here are owned by the caller. createPluginFromArchive() reads
// the blog's record (QFBlogPlugin::initWithCoder) and never answers null: a
// malformed record raises the unarchiver's QFException, for the document to
// report with the file's name.
class QFBlogPluginFactory final : public QObject, public QFPagePluginFactory
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QFPagePluginFactory_iid FILE "blog.json")
    Q_INTERFACES(QFPagePluginFactory)

public:
    QFBlogPluginFactory() = default;
    Q_DISABLE_COPY_MOVE(QFBlogPluginFactory)

    QString pluginIdentifier() const override;
    QString pluginName() const override;
    QString pluginDescription() const override;
    QString pluginAuthor() const override;
    QImage pluginIcon() const override;

    bool initializeClass(const QFBundle &bundle) override;

    QStringList extraFilesNeededInExportFolder() const override;

    QFTextViewPluginClient *createPlugin() override;
    QFTextViewPluginClient *createPluginFromArchive(QFUnarchiver &coder) override;

    // The blog's commands of the command line (get, set, post, category,
    // search), made once and kept for the life of the process.
    QList<QFPluginCommand *> commands() override;
};

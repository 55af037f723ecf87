#include "qfblogpluginfactory.h"

#include "blog/commands/qfblogcommands.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfuserdefaults.h"

#include <QSettings>

namespace {

// The defaults the plugin reads live as long as the process: plugins keep a
// pointer to them and may outlive any one factory call.
QFUserDefaults &applicationDefaults()
{
    static QSettings settings;
    static QFUserDefaults defaults(&settings);
    return defaults;
}

} // namespace

QString QFBlogPluginFactory::pluginIdentifier() const
{
    return QFBlogPlugin::pluginIdentifier();
}

QString QFBlogPluginFactory::pluginName() const
{
    return QFBlogPlugin::pluginName();
}

QString QFBlogPluginFactory::pluginDescription() const
{
    return QFBlogPlugin::pluginDescription();
}

QString QFBlogPluginFactory::pluginAuthor() const
{
    return QFBlogPlugin::pluginAuthor();
}

QImage QFBlogPluginFactory::pluginIcon() const
{
    return QFBlogPlugin::pluginIcon();
}

bool QFBlogPluginFactory::initializeClass(const QFBundle &bundle)
{
    if (!QFBlogPlugin::userDefaults()) {
        QFBlogPlugin::load(applicationDefaults());
        QFBlogPlugin::initialize(applicationDefaults());
    }
    return QFBlogPlugin::initializeClass(bundle);
}

QStringList QFBlogPluginFactory::extraFilesNeededInExportFolder() const
{
    return QFBlogPlugin::extraFilesNeededInExportFolder();
}

QFTextViewPluginClient *QFBlogPluginFactory::createPlugin()
{
    std::vector<std::unique_ptr<QFBlogPlugin>> plugins = QFBlogPlugin::pluginsAvailable();
    return plugins.empty() ? nullptr : plugins.front().release();
}

QFTextViewPluginClient *QFBlogPluginFactory::createPluginFromArchive(QFUnarchiver &coder)
{
    // The record is read over a blog with every default, so values an older,
    // shorter record lacks keep them. A malformed record raises, and the
    // half-read plugin goes with the unique_ptr.
    auto plugin = std::make_unique<QFBlogPlugin>();
    plugin->initWithCoder(coder);
    return plugin.release();
}

QList<QFPluginCommand *> QFBlogPluginFactory::commands()
{
    return QFBlogCommands::all();
}

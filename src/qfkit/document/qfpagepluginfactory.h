#pragma once

#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>
#include <QtPlugin>

class QFBundle;
class QFPluginCommand;
class QFTextViewPluginClient;
class QFUnarchiver;

// What a plugin bundle's Qt plugin (the loadable module inside
// "<Name>.qfplugin/") offers the host. The host loads the module with
// QPluginLoader, calls initializeClass() once with the bundle, then asks it
// for the plugin's name, description, author and icon, the shared files every
// export needs, and a plugin object for each page of that kind.
class QFPagePluginFactory
{
public:
    virtual ~QFPagePluginFactory() = default;

    // The name stored with every page of this kind in site documents, by
    // which the page finds its plugin again: fixed, never translated.
    virtual QString pluginIdentifier() const = 0;
    // The name shown to the user (translated).
    virtual QString pluginName() const = 0;
    virtual QString pluginDescription() const = 0;
    virtual QString pluginAuthor() const = 0;
    // Loaded afresh on each call; a null image when the bundle has none.
    virtual QImage pluginIcon() const = 0;

    // Hands the factory its bundle. True the first time; later calls change
    // nothing and answer false.
    virtual bool initializeClass(const QFBundle &bundle) = 0;

    // Absolute paths of the files copied into every export of a page of this
    // kind (shared images and the like).
    virtual QStringList extraFilesNeededInExportFolder() const = 0;

    // A new page's plugin with its defaults; the caller owns it. Null when
    // the plugin cannot be made.
    virtual QFTextViewPluginClient *createPlugin() = 0;

    // A plugin read from the record the document stored for its page; the
    // caller owns it. A record that cannot be read raises the unarchiver's
    // QFException; null only for plugins that keep no record.
    virtual QFTextViewPluginClient *createPluginFromArchive(QFUnarchiver &coder) = 0;

    // The commands of the command line that this plugin offers ("post" …),
    // owned by the factory and valid as long as it is. None by default.
    virtual QList<QFPluginCommand *> commands() { return {}; }
};

#define QFPagePluginFactory_iid "org.quillfen.PagePluginFactory/1.0"
Q_DECLARE_INTERFACE(QFPagePluginFactory, QFPagePluginFactory_iid)

#pragma once

#include <QImage>
#include <QString>
#include <QStringList>
#include <QtPlugin>

class QFBundle;
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
    // caller owns it. Null when the record cannot be read, and for plugins
    // whose record format is not implemented yet.
    virtual QFTextViewPluginClient *createPluginFromArchive(QFUnarchiver &coder) = 0;
};

#define QFPagePluginFactory_iid "org.quillfen.PagePluginFactory/1.0"
Q_DECLARE_INTERFACE(QFPagePluginFactory, QFPagePluginFactory_iid)

#pragma once

#include "qfkit/support/qfbundle.h"

#include <QList>
#include <QString>
#include <QStringList>

class QFPagePluginFactory;

// Finds the page plugins of a plugins folder and makes them ready for use.
//
// A plugin is a folder "<Name>.qfplugin" holding one Qt plugin module
// (libname.so beside Resources/) whose instance is a QFPagePluginFactory. For
// each such folder, in name order, the loader loads the module with
// QPluginLoader, makes a QFBundle for the folder and calls the factory's
// initializeClass() with it.
//
// Ownership: factories belong to Qt's plugin loader. Modules are never
// unloaded, so a factory, and everything its plugin registered (coding
// classes, user defaults), stays valid until the process ends.
//
// Errors: a folder that holds no module, a module that does not load, a Qt
// plugin of another kind, each is skipped; the reason, naming the folder, is
// written to the log and kept in errors(). Other entries of the plugins
// folder (files, folders without the suffix) are ignored silently. Loading
// never throws.
//
// Main thread only.
class QFPluginBundleLoader final
{
public:
    struct Plugin
    {
        QFBundle bundle;
        QString modulePath;
        QFPagePluginFactory *factory = nullptr; // not owned; never null in results
        // False when this module had been initialised before (loaded by an
        // earlier loader); it keeps its first bundle then.
        bool initializedHere = false;
    };

    explicit QFPluginBundleLoader(QString pluginsFolder);
    Q_DISABLE_COPY_MOVE(QFPluginBundleLoader)

    QString pluginsFolder() const;

    // Loads every plugin of the folder; empty for a missing folder. Each call
    // looks at the folder again and starts a new list of errors.
    QList<Plugin> loadAll();

    // The reasons bundles of the last loadAll() were skipped, one per bundle.
    QStringList errors() const;

    // The suffix that marks a plugin bundle folder: "qfplugin".
    static QString bundleSuffix();

private:
    bool loadBundle(const QString &bundlePath, Plugin &plugin, QString &error) const;

    QString m_pluginsFolder;
    QStringList m_errors;
};

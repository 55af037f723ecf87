#pragma once

#include "qfkit/document/qfpluginbundleloader.h"

#include <QList>
#include <QString>
#include <QStringList>

class QFPagePluginFactory;

// The page plugins the host knows, by plugin name: what a site document asks
// when it makes the plugin of a stored page, and what the command line asks
// for the commands plugins offer.
//
// Ownership: the factories are not owned (the plugin loader keeps them for
// the life of the process; tests keep their own alive while the registry is
// used). A copyable list.
class QFPluginRegistry final
{
public:
    QFPluginRegistry() = default;

    // Adds the factory under its pluginIdentifier(). A null factory is ignored; a
    // second factory of a known name replaces nothing and answers false.
    bool addFactory(QFPagePluginFactory *factory);
    // Adds the factory of every loaded bundle, in the loader's order.
    void addPlugins(const QList<QFPluginBundleLoader::Plugin> &plugins);

    // The factory of that plugin name; null for an unknown name.
    QFPagePluginFactory *factory(const QString &pluginName) const;
    // The factories in the order they were added.
    QList<QFPagePluginFactory *> factories() const;
    QStringList pluginNames() const;
    bool isEmpty() const;

private:
    QList<QFPagePluginFactory *> m_factories;
};

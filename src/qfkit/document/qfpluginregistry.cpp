#include "qfpluginregistry.h"

#include "qfpagepluginfactory.h"

bool QFPluginRegistry::addFactory(QFPagePluginFactory *factory)
{
    if (!factory || this->factory(factory->pluginIdentifier()))
        return false;
    m_factories.append(factory);
    return true;
}

void QFPluginRegistry::addPlugins(const QList<QFPluginBundleLoader::Plugin> &plugins)
{
    for (const QFPluginBundleLoader::Plugin &plugin : plugins)
        addFactory(plugin.factory);
}

QFPagePluginFactory *QFPluginRegistry::factory(const QString &pluginName) const
{
    for (QFPagePluginFactory *factory : m_factories) {
        if (factory->pluginIdentifier() == pluginName)
            return factory;
    }
    return nullptr;
}

QList<QFPagePluginFactory *> QFPluginRegistry::factories() const
{
    return m_factories;
}

QStringList QFPluginRegistry::pluginNames() const
{
    QStringList names;
    for (QFPagePluginFactory *factory : m_factories)
        names.append(factory->pluginIdentifier());
    return names;
}

bool QFPluginRegistry::isEmpty() const
{
    return m_factories.isEmpty();
}

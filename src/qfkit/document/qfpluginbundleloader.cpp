#include "qfpluginbundleloader.h"

#include "qfpagepluginfactory.h"
#include "qfkit/support/qflog.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QPluginLoader>

QFPluginBundleLoader::QFPluginBundleLoader(QString pluginsFolder)
    : m_pluginsFolder(std::move(pluginsFolder))
{
}

QString QFPluginBundleLoader::pluginsFolder() const
{
    return m_pluginsFolder;
}

QStringList QFPluginBundleLoader::errors() const
{
    return m_errors;
}

QString QFPluginBundleLoader::bundleSuffix()
{
    return QStringLiteral("qfplugin");
}

QList<QFPluginBundleLoader::Plugin> QFPluginBundleLoader::loadAll()
{
    m_errors.clear();
    QList<Plugin> plugins;
    const QDir folder(m_pluginsFolder);
    if (m_pluginsFolder.isEmpty() || !folder.exists())
        return plugins;

    const QFileInfoList entries = folder.entryInfoList(
        {QStringLiteral("*.") + bundleSuffix()}, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo &entry : entries) {
        Plugin plugin;
        QString error;
        if (loadBundle(entry.absoluteFilePath(), plugin, error)) {
            plugins.append(plugin);
        } else {
            const QString message = QStringLiteral("Plugin bundle %1 was not loaded: %2").arg(entry.absoluteFilePath(), error);
            qfLog(message);
            m_errors.append(message);
        }
    }
    return plugins;
}

bool QFPluginBundleLoader::loadBundle(const QString &bundlePath, Plugin &plugin, QString &error) const
{
    // The module is the bundle's only library file; Resources/ and anything
    // else inside are not looked at.
    QStringList modules;
    const QFileInfoList files = QDir(bundlePath).entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo &file : files) {
        if (QLibrary::isLibrary(file.fileName()))
            modules.append(file.absoluteFilePath());
    }
    if (modules.isEmpty()) {
        error = QStringLiteral("it holds no plugin module");
        return false;
    }
    if (modules.size() > 1) {
        error = QStringLiteral("it holds more than one plugin module");
        return false;
    }

    QPluginLoader loader(modules.first());
    // The metadata is read without running any of the module's code, so a
    // Qt plugin of another kind is never loaded.
    const QString iid = loader.metaData().value(QStringLiteral("IID")).toString();
    if (iid.isEmpty()) {
        error = QStringLiteral("%1 is not a Qt plugin (%2)").arg(QFileInfo(modules.first()).fileName(), loader.errorString());
        return false;
    }
    if (iid != QLatin1String(QFPagePluginFactory_iid)) {
        error = QStringLiteral("%1 is a Qt plugin of another kind (%2)").arg(QFileInfo(modules.first()).fileName(), iid);
        return false;
    }
    QObject *instance = loader.instance();
    auto *factory = qobject_cast<QFPagePluginFactory *>(instance);
    if (!factory) {
        error = instance ? QStringLiteral("its module does not make a page plugin factory")
                         : QStringLiteral("its module could not be loaded (%1)").arg(loader.errorString());
        return false;
    }

    plugin.bundle = QFBundle(bundlePath);
    plugin.modulePath = modules.first();
    plugin.factory = factory;
    plugin.initializedHere = factory->initializeClass(plugin.bundle);
    return true;
}

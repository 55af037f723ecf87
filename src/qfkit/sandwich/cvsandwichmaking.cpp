#include "cvsandwichmaking.h"

#include "cvsandwich.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/support/qfexception.h"

#include <QMap>
#include <QMutex>
#include <QMutexLocker>

namespace {

struct Registry
{
    QMutex mutex;
    QMap<QString, CVSandwichMaking::Factory> factories;
};

Registry &registry()
{
    static Registry instance;
    return instance;
}

} // namespace

void CVSandwichMaking::setFactoryClass(const Factory &factory, const QString &type)
{
    Registry &r = registry();
    QMutexLocker locker(&r.mutex);
    if (factory.create || factory.createForImport)
        r.factories.insert(type, factory);
    else
        r.factories.remove(type);
}

std::optional<CVSandwichMaking::Factory> CVSandwichMaking::factoryForType(const QString &type)
{
    Registry &r = registry();
    QMutexLocker locker(&r.mutex);
    const auto it = r.factories.constFind(type);
    if (it == r.factories.constEnd())
        return std::nullopt;
    return *it;
}

QStringList CVSandwichMaking::types()
{
    Registry &r = registry();
    QMutexLocker locker(&r.mutex);
    return r.factories.keys();
}

std::unique_ptr<QFTextViewPluginClient> CVSandwichMaking::createWithSandwich(const CVSandwich &sandwich)
{
    CVSandwichImport import;
    return createWithSandwich(sandwich, import);
}

std::unique_ptr<QFTextViewPluginClient> CVSandwichMaking::createWithSandwich(const CVSandwich &sandwich,
                                                                             CVSandwichImport &import)
{
    const std::optional<Factory> factory = factoryForType(sandwich.type());
    if (!factory) {
        throw QFException(QStringLiteral("Unknown Page Type"),
                          QStringLiteral("No installed plugin makes pages from packages of type \u201c%1\u201d.")
                              .arg(sandwich.type()));
    }
    std::unique_ptr<QFTextViewPluginClient> plugin =
        factory->createForImport ? factory->createForImport(sandwich, import) : factory->create(sandwich);
    if (!plugin) {
        throw QFException(QStringLiteral("Unknown Page Type"),
                          QStringLiteral("The plugin for packages of type \u201c%1\u201d made no page from it.")
                              .arg(sandwich.type()));
    }
    return plugin;
}

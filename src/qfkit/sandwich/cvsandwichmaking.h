#pragma once

#include <QString>
#include <QList>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

class CVSandwich;
class QFTextViewPluginClient;

// One import of a package: what the host decides for it and what the plugin
// reports back. A package comes from someone else, so the files it names by
// their path on this computer (a post's podcast, say) are never taken over
// without the host's word: the plugin lists them and asks keepLocalPaths once;
// without an answer they are dropped.
struct CVSandwichImport
{
    struct LocalPath
    {
        QString owner; // what names the file, for the user: post “Harbour”
        QString path;
    };
    // Asked once with every local path the package names, when there is at
    // least one; true keeps them all. Unset: they are dropped.
    std::function<bool(const QList<LocalPath> &)> keepLocalPaths;

    // Answered by the plugin: the paths the package named, whether they were
    // kept, and how many items (posts, say) the new page holds, when the
    // plugin counts such things.
    QList<LocalPath> localPaths;
    bool localPathsKept = false;
    std::optional<qsizetype> itemCount;
};

// What a page plugin that can be exchanged as a package implements: it makes
// a package of its page (sandwich()), and registers, once per process, a
// factory that rebuilds a new page from a package of its type
// (setFactoryClass()). The host finds that factory by the package's type, so
// it can import a package without knowing the plugin.
//
// The registry is process-wide (the host and the plugins it loads share it)
// and safe from any thread; the factories themselves run where they are
// called (the main thread for plugins).
class CVSandwichMaking
{
public:
    // Rebuilds a new page plugin (owned by the caller) from a package of the
    // registered type. May raise QFException for a package it cannot use.
    using Create = std::function<std::unique_ptr<QFTextViewPluginClient>(const CVSandwich &)>;
    // The same, with the import's decisions and report (CVSandwichImport).
    using CreateForImport =
        std::function<std::unique_ptr<QFTextViewPluginClient>(const CVSandwich &, CVSandwichImport &)>;

    struct Factory
    {
        // The plugin identifier a site document stores for pages of the
        // plugin (QFPagePluginFactory::pluginIdentifier()).
        QString pluginIdentifier;
        Create create;
        // Preferred over create when set.
        CreateForImport createForImport = {};
    };

    virtual ~CVSandwichMaking() = default;

    // The page as a new package. The package owns the temporary files it
    // refers to; the caller owns the package. May raise QFException.
    virtual std::unique_ptr<CVSandwich> sandwich() = 0;

    // Registers the factory for packages of that type, replacing an earlier
    // one of the same type. A factory without a create function removes the
    // type.
    static void setFactoryClass(const Factory &factory, const QString &type);
    // The factory of that type; empty for a type nobody registered.
    static std::optional<Factory> factoryForType(const QString &type);
    // The registered types, sorted.
    static QStringList types();

    // A new page from the package by its type's factory. QFException
    // "Unknown Page Type" when no factory is registered for its type;
    // otherwise whatever the factory raises. Never null: a factory that
    // answers nothing raises "Unknown Page Type" as well.
    static std::unique_ptr<QFTextViewPluginClient> createWithSandwich(const CVSandwich &sandwich);
    // As above, with the import's decisions and report; a factory without
    // createForImport leaves the report empty.
    static std::unique_ptr<QFTextViewPluginClient> createWithSandwich(const CVSandwich &sandwich,
                                                                      CVSandwichImport &import);
};

#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QVariantMap>
#include <optional>

// One version's content of a page-exchange package: a property-list
// dictionary and a set of named files, each a file name (a plain name, no
// folders) mapped to the path of a file on disk.
//
// Ownership: files added with addTemporaryFile() belong to the filling and
// are removed from disk when it is destroyed; files added with addFile() are
// only referred to. A filling read from a package refers to files inside the
// package's extraction folder, which its CVSandwich owns: the paths are valid
// while that sandwich lives.
//
// The dictionary must hold only property-list values (see QFPropertyList)
// for the filling to be written into a package.
class CVSandwichFilling final
{
public:
    CVSandwichFilling() = default;
    explicit CVSandwichFilling(const QVariantMap &dictionary);
    ~CVSandwichFilling();
    Q_DISABLE_COPY_MOVE(CVSandwichFilling)

    const QVariantMap &dictionary() const { return m_dictionary; }
    void setDictionary(const QVariantMap &dictionary) { m_dictionary = dictionary; }

    // File name -> path, sorted by file name.
    const QMap<QString, QString> &files() const { return m_files; }
    // The path filed under name; empty when there is none.
    std::optional<QString> pathForFile(const QString &name) const;
    // Files the path under name, replacing an earlier one of that name (a
    // temporary file so replaced is removed at once).
    void addFile(const QString &name, const QString &path);
    // As addFile(), and the filling removes the file when it goes.
    void addTemporaryFile(const QString &name, const QString &path);

private:
    void forget(const QString &name);

    QVariantMap m_dictionary;
    QMap<QString, QString> m_files;
    QSet<QString> m_ownedPaths;
};

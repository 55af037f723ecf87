#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <memory>

class CVSandwichFilling;
class QTemporaryDir;

// A page-exchange package: the data of one page, made by its plugin
// (CVSandwichMaking::sandwich()) and rebuilt into a new page by the factory
// registered for its type. It has a type string naming the kind of page data
// ("Quillfen Blog Page Data") and one filling per version number, so a newer
// plugin can add a richer filling beside the one older readers know.
// On disk a package is a .qfpage file (QFPagePackageWriter,
// QFPagePackageReader; docs/FORMATS.md, "Page package").
//
// Ownership: the sandwich owns its fillings (shared, so a reader may keep one
// while the sandwich lives) and, for a package read from a file, the
// temporary folder its files were extracted into, which goes with it.
// Main thread, or one thread at a time.
class CVSandwich final
{
public:
    explicit CVSandwich(const QString &type);
    ~CVSandwich();
    Q_DISABLE_COPY_MOVE(CVSandwich)

    const QString &type() const { return m_type; }

    // Stores the filling under the version, replacing an earlier one; a null
    // filling removes the version.
    void setFilling(std::shared_ptr<CVSandwichFilling> filling, int version);
    // Null when the package has no filling of that version.
    std::shared_ptr<CVSandwichFilling> fillingForVersion(int version) const;
    // The versions held, in increasing order.
    QList<int> versions() const;

    // Takes the folder the package's files live in; it is removed with the
    // sandwich (after the fillings that refer to it).
    void adoptFolder(std::unique_ptr<QTemporaryDir> folder);

private:
    QString m_type;
    std::unique_ptr<QTemporaryDir> m_folder;
    QMap<int, std::shared_ptr<CVSandwichFilling>> m_fillings;
};

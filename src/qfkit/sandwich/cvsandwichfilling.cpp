#include "cvsandwichfilling.h"

#include <QFile>

CVSandwichFilling::CVSandwichFilling(const QVariantMap &dictionary)
    : m_dictionary(dictionary)
{
}

CVSandwichFilling::~CVSandwichFilling()
{
    for (const QString &path : std::as_const(m_ownedPaths))
        QFile::remove(path);
}

std::optional<QString> CVSandwichFilling::pathForFile(const QString &name) const
{
    const auto it = m_files.constFind(name);
    if (it == m_files.constEnd())
        return std::nullopt;
    return *it;
}

void CVSandwichFilling::addFile(const QString &name, const QString &path)
{
    forget(name);
    m_files.insert(name, path);
}

void CVSandwichFilling::addTemporaryFile(const QString &name, const QString &path)
{
    forget(name);
    m_files.insert(name, path);
    m_ownedPaths.insert(path);
}

void CVSandwichFilling::forget(const QString &name)
{
    const auto it = m_files.constFind(name);
    if (it == m_files.constEnd())
        return;
    const QString path = *it;
    m_files.remove(name);
    // The same file may be filed under another name as well.
    if (m_ownedPaths.contains(path) && !m_files.values().contains(path)) {
        m_ownedPaths.remove(path);
        QFile::remove(path);
    }
}

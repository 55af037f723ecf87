#include "cvsandwich.h"

#include "cvsandwichfilling.h"

#include <QTemporaryDir>

CVSandwich::CVSandwich(const QString &type)
    : m_type(type)
{
}

CVSandwich::~CVSandwich()
{
    m_fillings.clear();
    m_folder.reset();
}

void CVSandwich::setFilling(std::shared_ptr<CVSandwichFilling> filling, int version)
{
    if (filling)
        m_fillings.insert(version, std::move(filling));
    else
        m_fillings.remove(version);
}

std::shared_ptr<CVSandwichFilling> CVSandwich::fillingForVersion(int version) const
{
    return m_fillings.value(version);
}

QList<int> CVSandwich::versions() const
{
    return m_fillings.keys();
}

void CVSandwich::adoptFolder(std::unique_ptr<QTemporaryDir> folder)
{
    m_folder = std::move(folder);
}

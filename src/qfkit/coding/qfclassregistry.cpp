#include "qfclassregistry.h"

#include <QReadLocker>
#include <QWriteLocker>

QFClassRegistry &QFClassRegistry::instance()
{
    static QFClassRegistry registry;
    return registry;
}

void QFClassRegistry::registerSequential(const QString &className, SequentialFactory factory)
{
    QWriteLocker lock(&m_lock);
    m_sequential.insert(className, std::move(factory));
}

void QFClassRegistry::registerKeyed(const QString &className, KeyedFactory factory)
{
    QWriteLocker lock(&m_lock);
    m_keyed.insert(className, std::move(factory));
}

QFClassRegistry::SequentialFactory QFClassRegistry::sequentialFactory(const QString &className) const
{
    QReadLocker lock(&m_lock);
    return m_sequential.value(className);
}

QFClassRegistry::KeyedFactory QFClassRegistry::keyedFactory(const QString &className) const
{
    QReadLocker lock(&m_lock);
    return m_keyed.value(className);
}

#pragma once

#include "qfcoding.h"

#include <QHash>
#include <QReadWriteLock>
#include <functional>

class QFUnarchiver;
class QFKeyedUnarchiver;

// Maps archived class names to factories that read an object back. Classes
// register once at start-up (a plugin's initializeClass, or a static
// registrar); registering a name again replaces its factory.
class QFClassRegistry final
{
public:
    using SequentialFactory = std::function<QFCodingPtr(QFUnarchiver &)>;
    using KeyedFactory = std::function<QFCodingPtr(QFKeyedUnarchiver &)>;

    static QFClassRegistry &instance();

    void registerSequential(const QString &className, SequentialFactory factory);
    void registerKeyed(const QString &className, KeyedFactory factory);

    // Empty functions when the name is unknown.
    SequentialFactory sequentialFactory(const QString &className) const;
    KeyedFactory keyedFactory(const QString &className) const;

private:
    QFClassRegistry() = default;
    mutable QReadWriteLock m_lock;
    QHash<QString, SequentialFactory> m_sequential;
    QHash<QString, KeyedFactory> m_keyed;
};

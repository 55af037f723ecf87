#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <optional>

class QSettings;

// Application-wide preferences over a QSettings store, with registered
// fallbacks. A value stored in the settings wins; otherwise the value given to
// registerDefaults(); otherwise nothing (a null QVariant, false, 0 or an
// empty string). Registered defaults live in memory only and are never written.
//
// The store is passed in: the host gives the application's settings, tests a
// temporary INI file. All members may be called from any thread.
class QFUserDefaults final
{
public:
    // Uses settings, which the caller owns and keeps alive.
    explicit QFUserDefaults(QSettings *settings);
    // Owns a store kept in the INI file at iniPath (created on first write).
    explicit QFUserDefaults(const QString &iniPath);
    ~QFUserDefaults();
    Q_DISABLE_COPY_MOVE(QFUserDefaults)

    // Adds fallbacks; a key registered again takes the newer value.
    void registerDefaults(const QVariantMap &defaults);
    QVariantMap registeredDefaults() const;

    // The stored value, else the registered default, else a null QVariant.
    // Values read back from an INI file are often strings ("true", "12"): the
    // typed readers below interpret them.
    QVariant value(const QString &key) const;
    bool containsStoredValue(const QString &key) const;

    // True for a true bool, a non-zero number, or a string that is "true" or
    // "yes" in any case or a non-zero integer; false for everything else,
    // missing keys included.
    bool boolForKey(const QString &key) const;
    // Numbers, numeric strings and bools; 0 for anything else.
    qint64 integerForKey(const QString &key) const;
    // Strings and numbers as text; a null QString for anything else.
    QString stringForKey(const QString &key) const;
    // Byte arrays; an empty QByteArray for anything else.
    QByteArray dataForKey(const QString &key) const;

    // Stores the value; a null QVariant removes the key (the registered
    // default shows through again).
    void setValue(const QString &key, const QVariant &value);
    void setBool(const QString &key, bool value) { setValue(key, value); }
    void removeObject(const QString &key);

    // Writes pending changes to the store now (they are also written when
    // this object or the store goes away).
    void synchronize();

private:
    mutable QMutex m_mutex;
    std::unique_ptr<QSettings> m_ownedSettings;
    QSettings *m_settings = nullptr;
    QVariantMap m_defaults;
};

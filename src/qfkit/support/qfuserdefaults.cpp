#include "qfuserdefaults.h"

#include <QMetaType>
#include <QMutexLocker>
#include <QSettings>

namespace {

bool isNumber(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Int: case QMetaType::UInt: case QMetaType::LongLong: case QMetaType::ULongLong:
    case QMetaType::Long: case QMetaType::ULong: case QMetaType::Short: case QMetaType::UShort:
    case QMetaType::Double: case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

// The leading integer of a string ("12", " -3", "7.5" → 7); nullopt when the
// string does not start with one.
std::optional<qint64> leadingInteger(const QString &text)
{
    const QString t = text.trimmed();
    qsizetype end = 0;
    if (end < t.size() && (t.at(end) == QLatin1Char('-') || t.at(end) == QLatin1Char('+')))
        ++end;
    const qsizetype digitsStart = end;
    while (end < t.size() && t.at(end) >= QLatin1Char('0') && t.at(end) <= QLatin1Char('9'))
        ++end;
    if (end == digitsStart)
        return std::nullopt;
    bool ok = false;
    const qint64 value = QStringView(t).first(end).toLongLong(&ok);
    if (!ok)
        return std::nullopt;
    return value;
}

bool isTrueWord(const QString &text)
{
    const QString t = text.trimmed();
    return t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0
        || t.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0;
}

} // namespace

QFUserDefaults::QFUserDefaults(QSettings *settings)
    : m_settings(settings)
{
}

QFUserDefaults::QFUserDefaults(const QString &iniPath)
    : m_ownedSettings(std::make_unique<QSettings>(iniPath, QSettings::IniFormat))
    , m_settings(m_ownedSettings.get())
{
}

QFUserDefaults::~QFUserDefaults() = default;

void QFUserDefaults::registerDefaults(const QVariantMap &defaults)
{
    QMutexLocker lock(&m_mutex);
    m_defaults.insert(defaults);
}

QVariantMap QFUserDefaults::registeredDefaults() const
{
    QMutexLocker lock(&m_mutex);
    return m_defaults;
}

QVariant QFUserDefaults::value(const QString &key) const
{
    if (key.isEmpty())
        return QVariant();
    QMutexLocker lock(&m_mutex);
    if (m_settings && m_settings->contains(key))
        return m_settings->value(key);
    return m_defaults.value(key);
}

bool QFUserDefaults::containsStoredValue(const QString &key) const
{
    if (key.isEmpty())
        return false;
    QMutexLocker lock(&m_mutex);
    return m_settings && m_settings->contains(key);
}

bool QFUserDefaults::boolForKey(const QString &key) const
{
    const QVariant v = value(key);
    if (v.typeId() == QMetaType::Bool)
        return v.toBool();
    if (isNumber(v))
        return v.toDouble() != 0.0;
    if (v.typeId() == QMetaType::QString || v.typeId() == QMetaType::QByteArray) {
        const QString text = v.toString();
        if (isTrueWord(text))
            return true;
        const std::optional<qint64> n = leadingInteger(text);
        return n && *n != 0;
    }
    return false;
}

qint64 QFUserDefaults::integerForKey(const QString &key) const
{
    const QVariant v = value(key);
    if (v.typeId() == QMetaType::Bool)
        return v.toBool() ? 1 : 0;
    if (isNumber(v))
        return v.toLongLong();
    if (v.typeId() == QMetaType::QString) {
        const QString text = v.toString();
        if (const std::optional<qint64> n = leadingInteger(text))
            return *n;
        return isTrueWord(text) ? 1 : 0;
    }
    return 0;
}

QString QFUserDefaults::stringForKey(const QString &key) const
{
    const QVariant v = value(key);
    if (v.typeId() == QMetaType::QString)
        return v.toString();
    if (isNumber(v))
        return v.toString();
    return QString();
}

QByteArray QFUserDefaults::dataForKey(const QString &key) const
{
    const QVariant v = value(key);
    if (v.typeId() == QMetaType::QByteArray)
        return v.toByteArray();
    return QByteArray();
}

void QFUserDefaults::setValue(const QString &key, const QVariant &value)
{
    if (!value.isValid() || value.isNull()) {
        removeObject(key);
        return;
    }
    if (key.isEmpty())
        return;
    QMutexLocker lock(&m_mutex);
    if (m_settings)
        m_settings->setValue(key, value);
}

void QFUserDefaults::removeObject(const QString &key)
{
    // QSettings::remove("") would empty the whole store.
    if (key.isEmpty())
        return;
    QMutexLocker lock(&m_mutex);
    if (m_settings)
        m_settings->remove(key);
}

void QFUserDefaults::synchronize()
{
    QMutexLocker lock(&m_mutex);
    if (m_settings)
        m_settings->sync();
}

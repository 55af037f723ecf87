#include "qfblogsandwichdictionary.h"

#include "blog/model/qfblogvariant.h"
#include "qfkit/support/qflog.h"

#include <algorithm>
#include <limits>

namespace {

bool isPresent(const QVariant &value)
{
    return value.isValid() && !value.isNull();
}

QString describe(const QVariant &value)
{
    if (!isPresent(value))
        return QStringLiteral("(null)");
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss t"));
    const QString text = value.toString();
    return text.isNull() ? QString::fromLatin1(value.typeName()) : text;
}

bool isString(const QVariant &value)
{
    return value.typeId() == QMetaType::QString;
}

bool isDate(const QVariant &value)
{
    return value.typeId() == QMetaType::QDateTime;
}

bool isList(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList;
}

bool isMap(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantMap;
}

} // namespace

QFBlogSandwichDictionary::QFBlogSandwichDictionary(const QVariantMap &dictionary, const QVariant &context,
                                                   const QVariant &contextDate)
    : m_dictionary(dictionary)
    , m_context(context)
    , m_contextDate(contextDate)
{
}

bool QFBlogSandwichDictionary::contains(const QString &key) const
{
    return isPresent(m_dictionary.value(key));
}

std::optional<QVariant> QFBlogSandwichDictionary::checked(const QString &key, bool (*matches)(const QVariant &),
                                                          const char *expected)
{
    const QVariant value = m_dictionary.value(key);
    if (!isPresent(value))
        return std::nullopt;
    if (matches(value))
        return value;
    qfLog(QStringLiteral("Dictionary has incorrect type for key %1 (type is %2, should be %3): %4 (%5)")
              .arg(key, QString::fromLatin1(value.typeName()), QLatin1String(expected), describe(m_context),
                   describe(m_contextDate)));
    m_ok = false;
    return std::nullopt;
}

std::optional<QString> QFBlogSandwichDictionary::string(const QString &key)
{
    const auto value = checked(key, isString, "QString");
    return value ? std::optional<QString>(value->toString()) : std::nullopt;
}

std::optional<qint64> QFBlogSandwichDictionary::number(const QString &key)
{
    const auto value = checked(key, QFBlogVariant::isNumber, "qlonglong");
    if (!value)
        return std::nullopt;
    if (value->typeId() == QMetaType::Double || value->typeId() == QMetaType::Float) {
        const double real = value->toDouble();
        if (!(real == real))
            return 0;
        if (real >= 9.2e18)
            return std::numeric_limits<qint64>::max();
        if (real <= -9.2e18)
            return std::numeric_limits<qint64>::min();
        return qint64(real);
    }
    if (value->typeId() == QMetaType::ULongLong && value->toULongLong() > quint64(std::numeric_limits<qint64>::max()))
        return std::numeric_limits<qint64>::max();
    return value->toLongLong();
}

std::optional<int> QFBlogSandwichDictionary::integer(const QString &key)
{
    const std::optional<qint64> value = number(key);
    if (!value)
        return std::nullopt;
    return int(std::clamp<qint64>(*value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

std::optional<bool> QFBlogSandwichDictionary::boolean(const QString &key)
{
    const auto value = checked(key, QFBlogVariant::isNumber, "bool");
    if (!value)
        return std::nullopt;
    if (value->typeId() == QMetaType::Bool)
        return value->toBool();
    return value->toDouble() != 0.0;
}

std::optional<QDateTime> QFBlogSandwichDictionary::date(const QString &key)
{
    const auto value = checked(key, isDate, "QDateTime");
    return value ? std::optional<QDateTime>(value->toDateTime()) : std::nullopt;
}

std::optional<QVariantList> QFBlogSandwichDictionary::list(const QString &key)
{
    const auto value = checked(key, isList, "QVariantList");
    return value ? std::optional<QVariantList>(value->toList()) : std::nullopt;
}

std::optional<QVariantMap> QFBlogSandwichDictionary::map(const QString &key)
{
    const auto value = checked(key, isMap, "QVariantMap");
    return value ? std::optional<QVariantMap>(value->toMap()) : std::nullopt;
}

#include "qfpropertytext.h"

#include "qfkit/document/qfcommandarguments.h"
#include "qfkit/support/qfexception.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaProperty>
#include <QObject>

namespace {

QString located(const QString &sentence, const QString &where)
{
    return where.isEmpty() ? sentence + QLatin1Char('.') : QStringLiteral("%1 (%2).").arg(sentence, where);
}

QMetaProperty findProperty(const QObject &object, const QString &key, const QString &where, const QStringList &hidden)
{
    const QMetaObject *meta = object.metaObject();
    const int index = hidden.contains(key) || key == QLatin1String("objectName")
        ? -1
        : meta->indexOfProperty(key.toUtf8().constData());
    if (index < 0) {
        throw QFException(QStringLiteral("Unknown Key"),
                          located(QStringLiteral("There is no setting with the key \u201c%1\u201d").arg(key), where));
    }
    return meta->property(index);
}

QJsonDocument parseJson(const QString &text, const QString &key, const QString &where, const char *expected)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        throw QFException(QFCommandArguments::usageErrorName(),
                          located(QStringLiteral("The value for \u201c%1\u201d must be a JSON %2; %3 at offset %4")
                                      .arg(key, QLatin1String(expected), error.errorString())
                                      .arg(error.offset),
                                  where));
    }
    return document;
}

// Text typed for a setting that is not of its type is wrong usage, as a
// value of the type that a setting refuses is.
[[noreturn]] void wrongType(const QString &text, const QString &key, const QString &expected, const QString &where)
{
    throw QFException(QFCommandArguments::usageErrorName(),
                      located(QStringLiteral("The value \u201c%1\u201d for \u201c%2\u201d is not %3").arg(text, key, expected),
                              where));
}

} // namespace

QStringList QFPropertyText::keys(const QObject &object, const QStringList &hidden)
{
    QStringList keys;
    const QMetaObject *meta = object.metaObject();
    for (int i = 0; i < meta->propertyCount(); ++i) {
        const QString name = QString::fromLatin1(meta->property(i).name());
        if (name != QLatin1String("objectName") && !hidden.contains(name) && meta->property(i).isReadable())
            keys.append(name);
    }
    return keys;
}

QString QFPropertyText::valueText(const QObject &object, const QString &key, const QString &where,
                                  const QStringList &hidden)
{
    const QMetaProperty property = findProperty(object, key, where, hidden);
    return format(property.read(&object));
}

void QFPropertyText::setValueText(QObject &object, const QString &key, const QString &text, const QString &where,
                                  const QStringList &hidden)
{
    const QMetaProperty property = findProperty(object, key, where, hidden);
    if (!property.isWritable()) {
        throw QFException(QStringLiteral("Read-Only Key"),
                          located(QStringLiteral("The setting \u201c%1\u201d cannot be changed").arg(key), where));
    }
    const QVariant value = parse(text, property.metaType(), key, where);
    if (!property.write(&object, value)) {
        throw QFException(QStringLiteral("Invalid Value"),
                          located(QStringLiteral("The setting \u201c%1\u201d did not take the value \u201c%2\u201d")
                                      .arg(key, text),
                                  where));
    }
}

QString QFPropertyText::format(const QVariant &value)
{
    if (!value.isValid() || value.isNull()) {
        if (value.metaType().id() == QMetaType::QVariantList || value.metaType().id() == QMetaType::QVariantMap)
            return format(QVariant(value.metaType()));
        return QString();
    }
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QDateTime: {
        // ISO 8601 offsets hold whole minutes; a local mean time of old
        // (Amsterdam's +00:19:32 before 1937) would lose its seconds, so
        // such a date is given in UTC.
        const QDateTime date = value.toDateTime();
        const int offset = date.offsetFromUtc();
        return (offset % 60 ? date.toUTC() : date.toOffsetFromUtc(offset)).toString(Qt::ISODate);
    }
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return QString::fromUtf8(QJsonDocument(QJsonArray::fromVariantList(value.toList())).toJson(QJsonDocument::Compact));
    case QMetaType::QVariantMap:
        return QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(value.toMap())).toJson(QJsonDocument::Compact));
    default:
        throw QFException(QStringLiteral("Unsupported Value"),
                          QStringLiteral("A value of the kind %1 cannot be shown on the command line.")
                              .arg(QString::fromLatin1(value.typeName())));
    }
}

QVariant QFPropertyText::parse(const QString &text, QMetaType type, const QString &key, const QString &where)
{
    bool ok = false;
    switch (type.id()) {
    case QMetaType::Bool: {
        const QString lower = text.trimmed().toLower();
        if (lower == QLatin1String("true") || lower == QLatin1String("yes") || lower == QLatin1String("1"))
            return true;
        if (lower == QLatin1String("false") || lower == QLatin1String("no") || lower == QLatin1String("0"))
            return false;
        wrongType(text, key, QStringLiteral("true or false"), where);
    }
    case QMetaType::Int: {
        const int value = text.trimmed().toInt(&ok);
        if (!ok)
            wrongType(text, key, QStringLiteral("a whole number from -2147483648 to 2147483647"), where);
        return value;
    }
    case QMetaType::LongLong: {
        const qlonglong value = text.trimmed().toLongLong(&ok);
        if (!ok)
            wrongType(text, key, QStringLiteral("a whole number"), where);
        return value;
    }
    case QMetaType::Double: {
        const double value = text.trimmed().toDouble(&ok);
        if (!ok)
            wrongType(text, key, QStringLiteral("a number"), where);
        return value;
    }
    case QMetaType::QString:
        return text;
    case QMetaType::QDateTime: {
        const QDateTime date = QDateTime::fromString(text.trimmed(), Qt::ISODate);
        if (!date.isValid())
            wrongType(text, key, QStringLiteral("an ISO 8601 date"), where);
        return date.toLocalTime();
    }
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        const QJsonDocument document = parseJson(text, key, where, "array");
        if (!document.isArray())
            wrongType(text, key, QStringLiteral("a JSON array"), where);
        const QVariantList list = document.array().toVariantList();
        if (type.id() == QMetaType::QVariantList)
            return list;
        QStringList strings;
        for (const QVariant &item : list) {
            if (item.metaType().id() != QMetaType::QString)
                wrongType(text, key, QStringLiteral("a JSON array of strings"), where);
            strings.append(item.toString());
        }
        return strings;
    }
    case QMetaType::QVariantMap: {
        const QJsonDocument document = parseJson(text, key, where, "object");
        if (!document.isObject())
            wrongType(text, key, QStringLiteral("a JSON object"), where);
        return document.object().toVariantMap();
    }
    default:
        throw QFException(QStringLiteral("Unsupported Value"),
                          located(QStringLiteral("The setting \u201c%1\u201d cannot be set from the command line").arg(key),
                                  where));
    }
}

#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariant>

class QObject;

// Key-value coding for the command line: an object's Q_PROPERTYs read and
// written as text. Booleans read "true"/"false", numbers and strings are
// themselves, dates are ISO 8601 with their offset (in UTC when the offset
// has seconds), and lists and dictionaries are compact JSON, given as JSON
// as well.
//
// Writing goes through QObject::setProperty, so the setter the property
// names runs with all its rules (change reports, validation).
//
// Errors raise QFException whose reason names the key and, where given,
// `where` (such as the file): "Unknown Key" for a key the object does not
// have (or is in `hidden`), "Read-Only Key", a usage error
// (QFCommandArguments::usageErrorName()) for text that is not of the
// property's type, "Invalid Value" for a value its setter refuses,
// "Unsupported Value" for types the command line cannot show or take.
namespace QFPropertyText {

// The readable properties of the object, in declaration order, without
// objectName and the keys in hidden.
QStringList keys(const QObject &object, const QStringList &hidden = QStringList());

QString valueText(const QObject &object, const QString &key, const QString &where = QString(),
                  const QStringList &hidden = QStringList());
void setValueText(QObject &object, const QString &key, const QString &text, const QString &where = QString(),
                  const QStringList &hidden = QStringList());

// A value as text (see above); "Unsupported Value" for other kinds.
QString format(const QVariant &value);
// Text as a value of the type; a usage error or "Unsupported Value".
QVariant parse(const QString &text, QMetaType type, const QString &key, const QString &where = QString());

} // namespace QFPropertyText

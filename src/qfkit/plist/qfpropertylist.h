#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// Property lists (XML and binary) to and from QVariant.
//
// Types: QVariantMap (dict), QVariantList (array), QString (string),
// QByteArray (data), QDateTime (date), bool, qint64/quint64 integers
// (uint for values above the signed range), double (real).
//
// Reading detects XML or binary by the bytes. Malformed input, a file that
// cannot be read, and writing a value that has no property-list form raise
// QFException("Malformed Property List" / "Property List Error") with a reason
// that names the file where there is one. Never crashes on any input.
namespace QFPropertyList {

enum class Format { XML, Binary };

QVariant fromData(const QByteArray &data);
QVariant fromFile(const QString &path);

QByteArray toData(const QVariant &value, Format format = Format::XML);
// Writes the whole file or nothing (a temporary file renamed into place).
void toFile(const QVariant &value, const QString &path, Format format = Format::XML);

} // namespace QFPropertyList

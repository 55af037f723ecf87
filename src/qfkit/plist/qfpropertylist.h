#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVariantMap>

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
//
// In detail:
// - Reading gives QVariantMap, QVariantList, QString, QByteArray, bool,
//   double, qint64 (every integer that fits), quint64 (only integers above
//   the signed range) and QDateTime in the local time zone. Binary dates keep
//   milliseconds; XML dates hold whole seconds (sub-second parts are dropped
//   on write). XML dates are written "YYYY-MM-DDTHH:MM:SSZ" in UTC and so
//   lie in the years 1 to 9999; binary dates reach as far as QDateTime
//   (a double of seconds since the start of 2001, UTC).
// - "Malformed Property List" is raised for content that is not a property
//   list: empty, truncated, garbage, another XML document, a dict key without
//   a value, an integer or date that does not parse, nesting deeper than
//   MaxNestingDepth, and binary data whose references expand to more than a
//   million values. For files the reason starts with the path.
// - "Property List Error" is raised for a file that cannot be opened or
//   written (the reason names the path and the system's error) and for a value
//   that has no property-list form: a null QVariant, an unsupported type, an
//   invalid or out-of-range date, a string holding NUL (or, in XML, another
//   control character XML cannot carry), nesting deeper than MaxNestingDepth.
//   The reason names the type and where it sits, as a key path like
//   `Categories[2].name`.
// - Writing: QVariantMap and QVariantHash keys are written sorted, so equal
//   values give equal bytes. QStringList is an array of strings; every
//   integral type (int, uint, qlonglong, qulonglong, short, char …) is an
//   integer; float and double are reals.
namespace QFPropertyList {

enum class Format { XML, Binary };

// Deepest nesting of arrays and dictionaries read or written (the top-level
// value is level 1).
inline constexpr int MaxNestingDepth = 256;

QVariant fromData(const QByteArray &data);
QVariant fromFile(const QString &path);

QByteArray toData(const QVariant &value, Format format = Format::XML);
// Writes the whole file or nothing (a temporary file renamed into place).
void toFile(const QVariant &value, const QString &path, Format format = Format::XML);

// The common "resource dictionary" case: as fromData/fromFile, and also raises
// "Malformed Property List" when the top-level value is not a dictionary.
QVariantMap mapFromData(const QByteArray &data);
QVariantMap mapFromFile(const QString &path);

} // namespace QFPropertyList

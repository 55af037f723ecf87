#pragma once

#include <QString>
#include <QVariant>

// Readers for values that come out of archives, dictionaries and property
// lists, where any key may hold anything. Each answers the empty value
// (a null string, 0, false) for a value of another type instead of
// converting it, so a damaged record never turns "abc" into 0 by accident.
namespace QFBlogVariant {

// Bools, integers of any width and doubles: the values archives store
// numbers as.
bool isNumber(const QVariant &value);

QString stringOrNull(const QVariant &value);
int intOrZero(const QVariant &value);
bool boolOrFalse(const QVariant &value);

} // namespace QFBlogVariant

#pragma once

#include <QString>

// String tests the Movable Type reader relies on.
namespace QFWhitespaceChecker {

// True for the empty string and for a string that is exactly one blank or
// line-break character. A longer all-blank string is NOT whitespace: the
// reader has always told an empty section from one with content this way,
// and a category named "  " stays a category.
bool isTotallyWhitespace(const QString &string);

} // namespace QFWhitespaceChecker

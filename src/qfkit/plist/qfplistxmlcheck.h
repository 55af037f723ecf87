#pragma once

#include <QByteArray>
#include <QString>

// A strict look at an XML property list before libplist parses it. libplist
// is lenient where a user would be hurt: it drops a dict key that has no
// value, reads "abc" as the integer 0 and an unreadable date as 1970, and
// ignores whatever follows the first value. This check turns each of those
// into an error instead, and bounds the nesting depth.
namespace QFPlistXMLCheck {

// Empty when `xml` is a well-formed property list that libplist will read
// faithfully; otherwise a reason for the user, with the line where it helps.
QString problem(const QByteArray &xml, int maxDepth);

} // namespace QFPlistXMLCheck

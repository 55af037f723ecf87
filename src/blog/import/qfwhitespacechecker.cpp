#include "qfwhitespacechecker.h"

namespace QFWhitespaceChecker {

bool isTotallyWhitespace(const QString &string)
{
    if (string.isEmpty())
        return true;
    // The first blank must start the string and be all of it.
    return string.size() == 1 && string.at(0).isSpace();
}

} // namespace QFWhitespaceChecker

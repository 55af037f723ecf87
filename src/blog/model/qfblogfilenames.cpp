#include "qfblogfilenames.h"

namespace QFBlogFileNames {

qsizetype maxLength()
{
    return 200;
}

namespace {

// Characters that would split the name into folders, end or escape a link
// (the pages put names into href attributes as they are), or that common
// disks refuse.
constexpr char16_t kRefused[] = u"/\\:*?\"<>|#%&";

} // namespace

bool isUsable(const QString &name)
{
    if (name.isEmpty() || name.size() > maxLength() || name.startsWith(QLatin1Char('.')) || name.trimmed() != name)
        return false;
    for (const QChar c : name) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f || c.category() == QChar::Other_Control
            || QStringView(kRefused).contains(c))
            return false;
    }
    return true;
}

QString rule()
{
    return QStringLiteral("may hold any letters, digits, spaces and punctuation except \u201c/\u201d, \u201c\\\u201d, "
                          "\u201c:\u201d, \u201c*\u201d, \u201c?\u201d, \u201c\"\u201d, \u201c<\u201d, \u201c>\u201d, "
                          "\u201c|\u201d, \u201c#\u201d, \u201c%\u201d and \u201c&\u201d, may not begin with \u201c.\u201d "
                          "nor begin or end with a space, and has at most %1 characters")
        .arg(maxLength());
}

std::optional<QString> problem(const QString &name, const QString &what)
{
    if (name.isEmpty() || isUsable(name))
        return std::nullopt;
    return QStringLiteral("%1 \u201c%2\u201d cannot be used: a file name of the blog %3").arg(what, name, rule());
}

} // namespace QFBlogFileNames

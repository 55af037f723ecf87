#include "qfpagepackageformat.h"

#include <QStringList>

namespace QFPagePackageFormat {

QString fillingFolder(int version)
{
    return QStringLiteral("%1%2/").arg(QLatin1String(FillingsFolder)).arg(version);
}

QString fillingDictionaryEntry(int version)
{
    return fillingFolder(version) + QLatin1String(FillingDictionaryName);
}

QString filesFolder(int version)
{
    return fillingFolder(version) + QLatin1String(FilesFolderName);
}

QString entryNameProblem(const QString &name)
{
    if (name.isEmpty())
        return QStringLiteral("an entry has no name");
    if (name.startsWith(QLatin1Char('/')))
        return QStringLiteral("the entry name is absolute");
    if (name.contains(QLatin1Char('\\')))
        return QStringLiteral("the entry name holds a backslash");
    if (name.contains(QLatin1Char(':')))
        return QStringLiteral("the entry name holds a drive letter or colon");
    for (const QChar c : name) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return QStringLiteral("the entry name holds a control character");
    }
    QStringList parts = name.split(QLatin1Char('/'));
    if (parts.size() > 1 && parts.constLast().isEmpty())
        parts.removeLast(); // a folder entry
    for (const QString &part : std::as_const(parts)) {
        if (part.isEmpty())
            return QStringLiteral("the entry name has an empty part");
        if (part == QLatin1String(".") || part == QLatin1String(".."))
            return QStringLiteral("the entry name leads out of its folder");
    }
    return {};
}

QString fileNameProblem(const QString &name)
{
    const QString problem = entryNameProblem(name);
    if (!problem.isEmpty())
        return problem;
    if (name.contains(QLatin1Char('/')))
        return QStringLiteral("the file name holds a folder");
    if (name.toUtf8().size() > MaxFileNameBytes)
        return QStringLiteral("the file name is longer than %1 bytes").arg(MaxFileNameBytes);
    return {};
}

} // namespace QFPagePackageFormat

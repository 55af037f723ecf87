#include "qfplistpath.h"

namespace QFPlistPath {

QString dictChild(const QString &path, const QString &key)
{
    return path.isEmpty() ? key : path + QLatin1Char('.') + key;
}

QString arrayChild(const QString &path, qsizetype index)
{
    return path + QLatin1Char('[') + QString::number(index) + QLatin1Char(']');
}

QString describe(const QString &path)
{
    return path.isEmpty() ? QStringLiteral("the top level")
                          : QStringLiteral("\"%1\"").arg(path);
}

} // namespace QFPlistPath

#include "qfimageformat.h"

namespace QFImageFormat {

QString webImageSuffix(const QByteArray &data)
{
    if (data.startsWith("\x89PNG\r\n\x1a\n"))
        return QStringLiteral("png");
    if (data.startsWith("\xff\xd8\xff"))
        return QStringLiteral("jpg");
    if (data.startsWith("GIF87a") || data.startsWith("GIF89a"))
        return QStringLiteral("gif");
    if (data.size() >= 12 && data.startsWith("RIFF") && data.mid(8, 4) == "WEBP")
        return QStringLiteral("webp");
    return QString();
}

QString safeSuffix(const QString &fileName)
{
    const qsizetype dot = fileName.lastIndexOf(u'.');
    if (dot < 0)
        return QString();
    const QString suffix = fileName.mid(dot + 1).toLower();
    if (suffix.isEmpty() || suffix.size() > 8)
        return QString();
    for (QChar c : suffix) {
        if (!((c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9')))
            return QString();
    }
    return suffix;
}

} // namespace QFImageFormat

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QtGlobal>
#include <optional>

// The bytes of a Movable Type export file as text. The reader takes strict
// UTF-8 with "\n" line ends only; older exports are often Windows-1252, or
// have CR LF line ends, or start with a byte order mark. These functions tell
// such files apart and convert them on request; none of them throws.
namespace QFMovableTypeExportText {

// The largest export file read (512 MiB): many times any real blog, and small
// enough that its posts fit in memory next to it.
inline constexpr qint64 MaxFileSize = qint64(512) << 20;

struct Inspection
{
    bool validUtf8 = true;
    bool byteOrderMark = false; // starts with the UTF-8 byte order mark
    bool carriageReturns = false; // holds "\r" (CR LF or CR line ends)
};

Inspection inspect(QByteArrayView bytes);

// Strict UTF-8; a byte order mark stays as the character U+FEFF. Nullopt when
// the bytes are not valid UTF-8.
std::optional<QString> decodeUtf8(QByteArrayView bytes);

// Whether decodeUtf8 would succeed, without making the text.
bool isUtf8(QByteArrayView bytes);

// Windows-1252; the five bytes it leaves undefined become the control
// characters of the same number.
QString decodeWindows1252(QByteArrayView bytes);

struct Conversion
{
    QString text;
    bool byteOrderMarkRemoved = false;
    bool fromWindows1252 = false;
    bool lineEndsNormalised = false;
};

// What the reader can take: a leading UTF-8 byte order mark dropped, the rest
// decoded as UTF-8 when valid and as Windows-1252 otherwise, CR LF and lone
// CR line ends turned into "\n".
Conversion convert(QByteArrayView bytes);

// The same conversion done to the bytes themselves, so a large file is not
// held a second time as text: the byte order mark dropped, line ends turned
// into "\n". What is left is to be decoded as Windows-1252 when
// fromWindows1252 is set, as UTF-8 otherwise (Conversion::text stays empty).
Conversion convertInPlace(QByteArray &bytes);

} // namespace QFMovableTypeExportText

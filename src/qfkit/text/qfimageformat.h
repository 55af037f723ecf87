#pragma once

#include <QByteArray>
#include <QString>

// Recognises the image formats that every browser shows, by their leading
// bytes (not by file name, which may lie).
namespace QFImageFormat {

// "png", "jpg", "gif" or "webp" for data in that format; the empty string
// for anything else (TIFF, BMP, garbage, empty data).
QString webImageSuffix(const QByteArray &data);

// A file-name suffix taken from fileName when it is a plain one (1 to 8
// ASCII letters or digits, lower-cased), else the empty string. Anything
// else (no dot, separators, spaces) is rejected, so the suffix is safe to put
// into a file name of our own.
QString safeSuffix(const QString &fileName);

} // namespace QFImageFormat

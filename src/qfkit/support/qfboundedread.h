#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <functional>

class QIODevice;

// Reading a whole file that came from outside (an import, a package, a
// document) into memory without trusting its size. A regular file larger than
// the limit is refused before a byte is read; anything without a size up front
// (a pipe, a device such as /dev/zero, standard input) is read in blocks and
// refused as soon as it passes the limit. The bytes are gathered in blocks and
// joined once at the end, so the peak is about the file's size, never the
// doubling of a growing buffer.
//
// Errors raise QFException whose reason names the file:
// - "Cannot Read File": missing, a folder, unreadable, or a read failed;
// - "File Too Large": more than the limit.
namespace QFBoundedRead {

// description says what the file is for the user ("export file", "posts
// file"): "The export file “a.txt” cannot be read: …".
QByteArray readFile(const QString &path, qint64 limit, const QString &description);

// An open device read to its end; name is what the messages call it
// ("standard input").
QByteArray readDevice(QIODevice &device, qint64 limit, const QString &name);

// The same, handing over one line at a time ("\n" ends a line and is not
// part of it; the last line may lack it) instead of the whole: only the
// longest line is ever held. line returns false to stop reading.
using LineSink = std::function<bool(QByteArrayView line)>;
void readFileLines(const QString &path, qint64 limit, const QString &description, const LineSink &line);
void readDeviceLines(QIODevice &device, qint64 limit, const QString &name, const LineSink &line);

// "512 MiB", "1.5 GiB", "300 bytes": a limit as a user reads it.
QString sizeText(qint64 bytes);

} // namespace QFBoundedRead

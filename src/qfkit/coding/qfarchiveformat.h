#pragma once

#include <QLatin1StringView>
#include <QtGlobal>

// The shared vocabulary of the two archive formats. QFArchiver/QFUnarchiver
// (sequential) and QFKeyedArchiver/QFKeyedUnarchiver (keyed) both write a
// header of magic bytes and a version, then CBOR (RFC 8949). The full layout,
// with examples, is in docs/FORMATS.md; change both together.
namespace QFArchiveFormat {

// Every archive starts with four magic bytes and one format version byte.
inline constexpr qsizetype HeaderSize = 5;
inline constexpr char SequentialMagic[] = "QFAR";
inline constexpr char KeyedMagic[] = "QFKA";
inline constexpr quint8 FormatVersion = 1;

// CBOR tag 1: a date as whole seconds since 1970-01-01T00:00:00Z (integer).
inline constexpr quint64 DateTag = 1;
// Our own tag, "QF" in ASCII: the map that follows is an archived object.
inline constexpr quint64 ObjectTag = 0x5146;

// Keys of an object's map. The class name is in both forms; the sequential
// form keeps the values the object wrote, in order, in an array under
// ValuesKey. In the keyed form the object's own keys sit beside ClassKey,
// which is therefore reserved.
inline constexpr QLatin1StringView ClassKey("$class");
inline constexpr QLatin1StringView ValuesKey("$values");

// Arrays, maps and objects nest at most this deep, on reading and on writing
// (a reference cycle between objects would otherwise never end).
inline constexpr int MaxDepth = 512;

} // namespace QFArchiveFormat

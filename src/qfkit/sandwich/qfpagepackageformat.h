#pragma once

#include <QString>
#include <QtGlobal>

// The .qfpage file: a zip archive holding one CVSandwich. Shared by
// QFPagePackageWriter and QFPagePackageReader; described in docs/FORMATS.md,
// "Page package". Entry names are UTF-8 and use "/" between folders:
//
//   manifest.plist                      {"Format", "FormatVersion", "Type", "Versions"}
//   fillings/<version>/filling.plist    the filling's dictionary (XML plist)
//   fillings/<version>/files/<name>     the filling's files, one entry each
namespace QFPagePackageFormat {

inline constexpr char ManifestEntry[] = "manifest.plist";
inline constexpr char FillingsFolder[] = "fillings/";
inline constexpr char FillingDictionaryName[] = "filling.plist";
inline constexpr char FilesFolderName[] = "files/";

// Manifest keys and values.
inline constexpr char FormatKey[] = "Format";
inline constexpr char FormatName[] = "Quillfen Page Package";
inline constexpr char FormatVersionKey[] = "FormatVersion";
inline constexpr int FormatVersion = 1;
inline constexpr char TypeKey[] = "Type";
inline constexpr char VersionsKey[] = "Versions";

// Limits a reader enforces (and a writer respects), so a crafted package
// cannot fill the disk or the memory: the uncompressed size of one entry, of
// all entries together, the number of entries, and the length of a name.
inline constexpr qint64 MaxEntrySize = qint64(512) << 20;
inline constexpr qint64 MaxTotalSize = qint64(4) << 30;
inline constexpr qint64 MaxEntries = 1000000;
inline constexpr int MaxFileNameBytes = 255;
// The manifest and filling dictionaries are parsed in memory, at several
// times their size, so they are held to less than any other entry: room for
// the dictionary of a blog of a few hundred thousand posts (whose texts are
// files of their own).
inline constexpr qint64 MaxDictionarySize = qint64(128) << 20;

// Every entry written stands at this time, so equal packages give equal bytes
// (2000-01-01 00:00:00 UTC).
inline constexpr qint64 EntryTime = 946684800;

// "fillings/<version>/"
QString fillingFolder(int version);
// "fillings/<version>/filling.plist"
QString fillingDictionaryEntry(int version);
// "fillings/<version>/files/"
QString filesFolder(int version);

// Whether an entry name stays inside the package's folder once extracted:
// not empty, not absolute, no backslash, no drive letter or other colon, no
// control character, no empty, "." or ".." part (a trailing "/" marks a
// folder entry). Empty when it does; otherwise why not.
QString entryNameProblem(const QString &name);
// Whether a filling's file name can be a file of its own in a folder: an
// entry name of one part, at most MaxFileNameBytes bytes of UTF-8. Empty when
// it can; otherwise why not.
QString fileNameProblem(const QString &name);

} // namespace QFPagePackageFormat

#pragma once

#include "qfkit/sandwich/qfpagepackageformat.h"

#include <QString>
#include <memory>

class CVSandwich;

// Reads a .qfpage file (qfpagepackageformat.h; docs/FORMATS.md, "Page
// package") into a new CVSandwich, owned by the caller. The filling files are
// extracted into a temporary folder that the returned sandwich owns: their
// paths stay valid while it lives, and the folder goes with it.
//
// Errors raise QFException whose reason names the file:
// - "Cannot Open Package": the file is missing, not a file or unreadable;
// - "Malformed Package": not a zip archive, a damaged archive, an entry name
//   that would leave its folder (absolute, "..", backslashes, drive letters,
//   control characters), two entries of one name, an encrypted entry, an
//   entry or a whole package larger than the limits, too many entries, a
//   missing or malformed manifest (not a dictionary, a format of another
//   kind or newer version, no type, versions that are no list of distinct
//   whole numbers from 0), a version without its filling dictionary or with
//   one that is not a dictionary, a filling file in a sub-folder, and
//   entries whose data cannot be read back (a checksum error);
// - "Package Error": the extracted files cannot be written to the temporary
//   folder.
// Nothing is left on disk after a failure. Never crashes on any input.
class QFPagePackageReader final
{
public:
    struct Limits
    {
        qint64 maxEntrySize = QFPagePackageFormat::MaxEntrySize;
        qint64 maxTotalSize = QFPagePackageFormat::MaxTotalSize;
        qint64 maxEntries = QFPagePackageFormat::MaxEntries;
        qint64 maxDictionarySize = QFPagePackageFormat::MaxDictionarySize;
    };

    QFPagePackageReader();
    explicit QFPagePackageReader(const Limits &limits);
    Q_DISABLE_COPY_MOVE(QFPagePackageReader)

    std::unique_ptr<CVSandwich> read(const QString &path) const;

private:
    Limits m_limits;
};

#pragma once

#include <QString>

class CVSandwich;

// Writes a CVSandwich as a .qfpage file (the layout is in
// qfpagepackageformat.h and docs/FORMATS.md, "Page package"): the manifest,
// each version's filling dictionary as an XML property list and each
// filling's files, in sorted order, so the same package gives the same bytes.
//
// The file is written whole or not at all: a failure leaves an existing file
// at the path unchanged. Errors raise QFException("Package Error") whose
// reason names the file and the cause: a package without a type, a filling
// file name a reader would refuse (see QFPagePackageFormat::fileNameProblem),
// a filling file that is missing, unreadable or larger than the format
// allows, a dictionary value without a property-list form (with the key
// path), and any failure to write the zip.
class QFPagePackageWriter final
{
public:
    QFPagePackageWriter() = default;
    Q_DISABLE_COPY_MOVE(QFPagePackageWriter)

    void write(const CVSandwich &sandwich, const QString &path) const;
};

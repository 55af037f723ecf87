#pragma once

#include "qfkit/document/qfsitedocumentdata.h"
#include "qfkit/document/qfsitedocumentformat.h"

#include <QString>

// Reads a site document file (.qfsite, see qfsitedocumentformat.h and
// docs/FORMATS.md). The file is opened read-only and never changed.
//
// Errors: a missing, unreadable or empty file, one that is not a SQLite
// database or is cut short, a database of another application, one saved by
// a newer version, one SQLite finds damaged, and tables or rows not as the
// format says (missing columns, values of the wrong kind or beyond the
// format's limits, two pages with one unique ID, a page archive that does not
// match its checksum) raise QFException("Cannot Open Document") whose reason
// names the file and says what is wrong; so does a file larger than
// MaxDocumentBytes, refused before SQLite reads it. No input makes it crash or
// allocate more than the file holds (and, while a record is read, the record
// once more).
//
// Stateless; safe to use from several threads on different files.
class QFSiteDocumentReader final
{
public:
    // What a reader trusts; the format's limits unless a test lowers them.
    struct Limits
    {
        qint64 maxDocumentBytes = QFSiteDocumentFormat::MaxDocumentBytes;
        qsizetype maxValueBytes = QFSiteDocumentFormat::MaxValueBytes;
    };

    QFSiteDocumentReader() = default;
    explicit QFSiteDocumentReader(const Limits &limits) : m_limits(limits) { }
    Q_DISABLE_COPY_MOVE(QFSiteDocumentReader)

    // The properties and the pages sorted by their order.
    QFSiteDocumentData open(const QString &path) const;

private:
    Limits m_limits;
};

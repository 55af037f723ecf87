#pragma once

#include "qfkit/document/qfsitedocumentdata.h"

#include <QString>
#include <functional>

// Writes a site document file (.qfsite, see qfsitedocumentformat.h and
// docs/FORMATS.md).
//
// A save never changes the existing file in place: it builds the complete new
// database beside it ("<path>-new") in one transaction, flushes it to disk and
// renames it over the document. Killed at any moment, a save leaves either the
// old document or the new one, whole; a temporary file left behind by such a
// crash is removed by the next save.
//
// Errors: any failure (the folder cannot be written, a value the file cannot
// hold, a limit exceeded, two pages with one unique ID or one order, a SQLite
// error, the rename refused) raises QFException("Save Failed") whose reason
// names the file and what went wrong. The old file is then left untouched and
// no temporary file remains.
//
// One save at a time per object; separate objects may save different files
// on different threads. Two saves of the same path at once are not supported.
class QFSiteDocumentWriter final
{
public:
    // Called after each page is written, inside the transaction, with the
    // number of pages written and the total. An exception thrown by the
    // handler abandons the save like any failure and propagates unchanged.
    using ProgressHandler = std::function<void(qsizetype pagesWritten, qsizetype pageCount)>;

    QFSiteDocumentWriter() = default;
    Q_DISABLE_COPY_MOVE(QFSiteDocumentWriter)

    void setProgressHandler(ProgressHandler handler);

    // Saves the data at path, replacing what is there. When path is a
    // symbolic link, the file it points to is replaced and the link kept. The
    // new file takes the permissions of the one it replaces.
    void save(const QFSiteDocumentData &data, const QString &path) const;

    // Where a save of path builds the new file before it replaces path.
    static QString temporaryPathFor(const QString &path);

private:
    ProgressHandler m_progressHandler;
};

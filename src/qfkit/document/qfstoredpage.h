#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

// One page as a site document file stores it: the page's description and
// its plugin's sequential archive, opaque to the file. A null folder means
// the top of the site and a null title no title; both come back null, apart
// from empty ones. See docs/FORMATS.md, "Site document (.qfsite)".
//
// Note that == compares strings by value, so a null and an empty title are
// equal to it; compare isNull() where the difference matters.
struct QFStoredPage
{
    QString uniqueID;
    // Pages are read back sorted by this number; no two pages of a document
    // share one. Gaps are allowed and kept.
    qint64 order = 0;
    // Always stored as text: a null file name comes back empty.
    QString fileName;
    QString folder;
    QString title;
    // The name of the page plugin that reads the archive.
    QString pluginName;
    QByteArray archive;

    friend bool operator==(const QFStoredPage &, const QFStoredPage &) = default;
};

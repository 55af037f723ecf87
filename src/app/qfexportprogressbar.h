#pragma once

#include "qfkit/document/qfsiteexporter.h"

#include <QElapsedTimer>
#include <QString>
#include <cstdio>

// The export's progress as one line on a terminal, redrawn in place:
// pages done of all pages, and the current page's posts (or other units its
// plugin counts) done of its total. Draws at most ten times a second; the
// line is wiped when the bar goes, so messages after it start clean.
//
// Writes to the given stream only when it is a terminal; otherwise it does
// nothing at all. Not owned: the stream.
class QFExportProgressBar final
{
public:
    explicit QFExportProgressBar(FILE *stream);
    ~QFExportProgressBar();
    Q_DISABLE_COPY_MOVE(QFExportProgressBar)

    bool isActive() const { return m_active; }
    void update(const QFSiteExporter::Progress &progress);

private:
    void draw(const QFSiteExporter::Progress &progress);

    FILE *m_stream;
    bool m_active = false;
    bool m_drawn = false;
    int m_lastPage = -1;
    QElapsedTimer m_sinceDraw;
};

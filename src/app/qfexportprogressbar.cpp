#include "qfexportprogressbar.h"

#include <unistd.h>

QFExportProgressBar::QFExportProgressBar(FILE *stream)
    : m_stream(stream)
    , m_active(stream && isatty(fileno(stream)))
{
}

QFExportProgressBar::~QFExportProgressBar()
{
    if (m_active && m_drawn) {
        std::fputs("\r\033[2K", m_stream);
        std::fflush(m_stream);
    }
}

void QFExportProgressBar::update(const QFSiteExporter::Progress &progress)
{
    if (!m_active)
        return;
    // A new page is always shown; in between, at most ten lines a second.
    if (progress.pagesDone == m_lastPage && m_sinceDraw.isValid() && m_sinceDraw.elapsed() < 100)
        return;
    m_lastPage = progress.pagesDone;
    m_sinceDraw.start();
    draw(progress);
}

void QFExportProgressBar::draw(const QFSiteExporter::Progress &progress)
{
    constexpr int width = 24;
    double fraction = 0;
    if (progress.pagesTotal > 0) {
        const double page = progress.unitsTotal > 0 ? double(progress.unitsDone) / double(progress.unitsTotal) : 0;
        fraction = (progress.pagesDone + std::min(page, 1.0)) / progress.pagesTotal;
    }
    const int filled = int(fraction * width + 0.5);
    QString line = QStringLiteral("\r\033[2K[") + QString(filled, QLatin1Char('#'))
        + QString(width - filled, QLatin1Char(' ')) + QStringLiteral("] pages %1/%2")
                                                          .arg(progress.pagesDone)
                                                          .arg(progress.pagesTotal);
    if (progress.unitsTotal > 0 && progress.pagesDone < progress.pagesTotal) {
        line += QStringLiteral("  %1: %2/%3")
                    .arg(progress.pageTitle.isEmpty() ? QStringLiteral("page") : progress.pageTitle)
                    .arg(progress.unitsDone)
                    .arg(progress.unitsTotal);
    }
    std::fputs(line.toLocal8Bit().constData(), m_stream);
    std::fflush(m_stream);
    m_drawn = true;
}

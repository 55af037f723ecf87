// Saves crash-test documents over one file, again and again, so a test can
// kill it in the middle of a save. Arguments: the document path, the first
// generation and the number of saves. Prints "started" once, then
// "saved <generation>" after each save. With QFSITE_HELPER_PAUSE set to
// "<generation>:<page>" it stops inside that save's transaction once the page
// is written, prints "paused" and waits to be killed.
#include "qfsitecrashdocument.h"

#include "qfkit/document/qfsitedocumentwriter.h"
#include "qfkit/support/qfexception.h"

#include <QString>

#include <cstdio>
#include <unistd.h>

int main(int argc, char **argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: qfsite_crash_helper PATH FIRST-GENERATION COUNT\n");
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    const int first = QByteArray(argv[2]).toInt();
    const int count = QByteArray(argv[3]).toInt();
    const QList<QByteArray> pause = qgetenv("QFSITE_HELPER_PAUSE").split(':');
    const int pauseGeneration = pause.size() == 2 ? pause[0].toInt() : -1;
    const int pausePage = pause.size() == 2 ? pause[1].toInt() : -1;

    std::printf("started\n");
    std::fflush(stdout);
    try {
        for (int generation = first; generation < first + count; ++generation) {
            QFSiteDocumentWriter writer;
            if (generation == pauseGeneration) {
                writer.setProgressHandler([pausePage](qsizetype written, qsizetype) {
                    if (written == pausePage) {
                        std::printf("paused\n");
                        std::fflush(stdout);
                        for (;;)
                            ::pause();
                    }
                });
            }
            writer.save(QFSiteCrashDocument::generation(generation), path);
            std::printf("saved %d\n", generation);
            std::fflush(stdout);
        }
    } catch (const QFException &e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}

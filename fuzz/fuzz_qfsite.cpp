// Site documents arrive from anywhere: downloads, copies, other programs'
// files renamed. The reader takes a path, so each input is written to a file
// first.
#include "qfkit/document/qfsitedocumentreader.h"
#include "qfkit/support/qfexception.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir folder;
    static const QString path = folder.filePath(QStringLiteral("input.qfsite"));
    if (!folder.isValid())
        std::abort();

    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();
    // Small limits, as the fuzzer's inputs are small: the checks are the
    // same at any size.
    QFSiteDocumentReader::Limits limits;
    limits.maxDocumentBytes = 1 << 20;
    limits.maxValueBytes = 64 << 10;
    try {
        const QFSiteDocumentData document = QFSiteDocumentReader(limits).open(path);
        for (const QFStoredPage &page : document.pages) {
            if (page.archive.size() > limits.maxValueBytes)
                std::abort();
        }
    } catch (const QFException &) {
        // The expected outcome for bad input.
    }
    return 0;
}

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
    try {
        QFSiteDocumentReader().open(path);
    } catch (const QFException &) {
        // The expected outcome for bad input.
    }
    return 0;
}

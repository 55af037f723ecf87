// Page packages arrive from anywhere: mail attachments, downloads, other
// people's sites. The reader takes a path, so each input is written to a file
// first; whatever it accepts is walked the way an importer walks it.
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/qfpagepackagereader.h"
#include "qfkit/support/qfexception.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir folder;
    static const QString path = folder.filePath(QStringLiteral("input.qfpage"));
    if (!folder.isValid())
        std::abort();

    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();

    // Small limits keep a crafted entry from filling the disk while fuzzing;
    // the checks are the same at any size.
    QFPagePackageReader::Limits limits;
    limits.maxEntrySize = 1 << 20;
    limits.maxTotalSize = 4 << 20;
    limits.maxEntries = 4096;
    limits.maxDictionarySize = 256 << 10;
    try {
        const std::unique_ptr<CVSandwich> sandwich = QFPagePackageReader(limits).read(path);
        for (const int version : sandwich->versions()) {
            const auto filling = sandwich->fillingForVersion(version);
            for (auto it = filling->files().cbegin(); it != filling->files().cend(); ++it) {
                // Every extracted file lies inside the package's own folder.
                if (!QFileInfo(it.value()).isFile() || it.value().contains(QStringLiteral("/../")))
                    std::abort();
            }
        }
    } catch (const QFException &) {
        // The expected outcome for bad input.
    }
    return 0;
}

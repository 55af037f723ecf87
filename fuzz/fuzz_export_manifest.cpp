// An export folder's list of files may be edited, damaged or planted by
// anyone who can write there; the export decides from it what it may
// replace. Any bytes must give a list whose every path stays inside the
// folder, or a refusal with a reason, never a crash.
#include "qfkit/document/qfexportmanifest.h"

#include <QByteArray>
#include <QStringList>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    QString problem;
    const std::optional<QFExportManifest> manifest = QFExportManifest::parse(bytes, &problem);
    if (!manifest) {
        if (problem.isEmpty())
            std::abort();
        return 0;
    }
    for (const QString &path : manifest->files()) {
        if (path.isEmpty() || path.startsWith(QLatin1Char('/')) || path.contains(QChar(0)))
            std::abort();
        for (const QString &part : path.split(QLatin1Char('/'))) {
            if (part.isEmpty() || part == QLatin1String(".") || part == QLatin1String(".."))
                std::abort();
        }
    }
    // What it writes reads back as the same list.
    const QStringList files(manifest->files().cbegin(), manifest->files().cend());
    const std::optional<QFExportManifest> again = QFExportManifest::parse(QFExportManifest::serialize(files));
    if (!again || again->files() != manifest->files())
        std::abort();
    return 0;
}

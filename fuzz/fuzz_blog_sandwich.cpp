// A blog page rebuilt from a page package: the package's dictionary and files
// come from outside, so every key may hold anything and every post file may
// be garbage. Runs the package reader and then the blog's rebuilding.
#include "blog/generation/qfblogpluginsandwich.h"
#include "blog/model/qfblogmodel.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/qfpagepackagereader.h"
#include "qfkit/support/qfexception.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir folder;
    static const QString path = folder.filePath(QStringLiteral("input.qfpage"));
    static const bool once = [] {
        // The type lines of a bad package would drown the fuzzer's output.
        QLoggingCategory::setFilterRules(QStringLiteral("quillfen=false"));
        QFBlogModel::registerCodingClasses();
        return true;
    }();
    if (!folder.isValid() || !once)
        std::abort();

    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();

    QFPagePackageReader::Limits limits;
    limits.maxEntrySize = 1 << 20;
    limits.maxTotalSize = 4 << 20;
    limits.maxEntries = 4096;
    try {
        const std::unique_ptr<CVSandwich> sandwich = QFPagePackageReader(limits).read(path);
        const std::unique_ptr<QFBlogPlugin> blog = QFBlogPluginSandwich::createWithSandwich(*sandwich);
        // What an import does next: the blog is packed again.
        blog->sandwich();
    } catch (const QFException &) {
        // The expected outcome for bad input.
    }
    return 0;
}

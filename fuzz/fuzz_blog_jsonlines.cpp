// Posts given as JSON Lines come from files and pipes of any origin: any
// bytes must give either checked posts or one error naming a line, and never
// both. Whatever is accepted must hold as stored: its texts archive and read
// back unchanged. Read line by line from a device, the same bytes give the
// same result, and more of them than the limit are refused.
#include "blog/commands/qfblogjsonlines.h"

#include "qfkit/support/qfexception.h"

#include <QBuffer>
#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const QFBlogJsonLines::Result result = QFBlogJsonLines::read(bytes);

    QBuffer device;
    device.setData(bytes);
    device.open(QIODevice::ReadOnly);
    const qint64 limit = 4096;
    try {
        const QFBlogJsonLines::Result lines = QFBlogJsonLines::readDevice(device, QStringLiteral("fuzz"), limit);
        if (bytes.size() > limit || lines.posts.size() != result.posts.size() || lines.errorLine != result.errorLine
            || lines.error != result.error)
            std::abort();
        for (qsizetype i = 0; i < lines.posts.size(); ++i) {
            if (lines.posts.at(i).title != result.posts.at(i).title
                || lines.posts.at(i).body.plainString() != result.posts.at(i).body.plainString())
                std::abort();
        }
    } catch (const QFException &e) {
        // Stops at the limit, or at a bad line before it.
        if (bytes.size() <= limit || e.name() != QLatin1String("File Too Large"))
            std::abort();
    }
    if (!result.ok()) {
        if (!result.posts.isEmpty() || result.errorLine < 1 || result.error.isEmpty())
            std::abort();
        return 0;
    }
    int previousLine = 0;
    for (const QFBlogJsonLines::Post &post : result.posts) {
        if (post.line <= previousLine || post.title.isNull())
            std::abort();
        previousLine = post.line;
        if (post.date && (!post.date->isValid() || post.date->time().msec() != 0))
            std::abort();
        for (const QFStyledText *text : {&post.body, &post.summary}) {
            const QFStyledText back = QFStyledText::fromKeyedArchive(text->toKeyedArchive());
            if (back.length() != text->length())
                std::abort();
        }
    }
    return 0;
}

// Posts given as JSON Lines come from files and pipes of any origin: any
// bytes must give either checked posts or one error naming a line, and never
// both. Whatever is accepted must hold as stored: its texts archive and read
// back unchanged.
#include "blog/commands/qfblogjsonlines.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const QFBlogJsonLines::Result result = QFBlogJsonLines::read(bytes);
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

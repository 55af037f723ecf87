// A weblog directory's reply to a ping comes from any server on the network:
// any bytes must give either the reply's fields or one "Ping Error" with a
// reason, never a crash, and never the expansion of an entity or the reading
// of a file the reply names.
#include "blog/generation/qfblogpingreply.h"
#include "qfkit/support/qfexception.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    try {
        const QFBlogPingReply reply = QFBlogPingReply::read(bytes);
        // Every field is the text of one text node of the reply, so none can
        // be longer than the reply itself.
        for (const std::optional<QString> &field : {reply.fault, reply.flerror, reply.message}) {
            if (field && field->size() > bytes.size())
                std::abort();
        }
        if (reply.thanks() != reply.message)
            std::abort();
    } catch (const QFException &e) {
        if (e.name() != QLatin1String("Ping Error") || e.reason().isEmpty())
            std::abort();
    }
    return 0;
}

// Property lists from outside (bundle resources, page-exchange packages, the
// clipboard): any bytes must either read or raise QFException. Whatever reads
// is written back in both formats and the binary form read again, so the
// writer is exercised on every shape the reader can produce.
#include "qfkit/plist/qfpropertylist.h"
#include "qfkit/support/qfexception.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    QVariant value;
    try {
        value = QFPropertyList::fromData(bytes);
    } catch (const QFException &) {
        return 0;
    }
    try {
        QFPropertyList::toData(value, QFPropertyList::Format::XML);
    } catch (const QFException &) {
        // Control characters read from a binary list have no XML form.
    }
    try {
        QFPropertyList::fromData(QFPropertyList::toData(value, QFPropertyList::Format::Binary));
    } catch (const QFException &) {
        // A string holding NUL has no property-list form at all.
    }
    return 0;
}

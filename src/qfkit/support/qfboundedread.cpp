#include "qfboundedread.h"

#include "qfexception.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

#include <functional>
#include <vector>

namespace QFBoundedRead {

namespace {

// A pipe is read this much at a time; small enough not to matter next to the
// file, large enough to keep the number of reads low.
constexpr qint64 BlockSize = qint64(1) << 20;

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

[[noreturn]] void tooLarge(const QString &subject, qint64 limit)
{
    throw QFException(QStringLiteral("File Too Large"),
                      QStringLiteral("%1 is larger than %2 (%3 bytes), the most Quillfen reads from it; none of it was "
                                     "used. Split it into smaller parts.")
                          .arg(subject, sizeText(limit), QLocale::c().toString(limit)));
}

using Fail = std::function<void(const QString &)>;
// Takes a block read; false stops reading.
using BlockSink = std::function<bool(QByteArray &&block)>;

// Reads device to its end in blocks, the first firstBlock bytes, the rest
// BlockSize, handing each to sink; throws through fail and tooLarge, never
// asking for more than one byte past the limit.
void readBlocks(QIODevice &device, qint64 limit, qint64 firstBlock, const QString &subject, const Fail &fail,
                const BlockSink &sink)
{
    qint64 total = 0;
    qint64 blockSize = firstBlock;
    for (;;) {
        QByteArray block(qsizetype(blockSize), Qt::Uninitialized);
        qint64 filled = 0;
        while (filled < blockSize) {
            const qint64 got = device.read(block.data() + filled, blockSize - filled);
            if (got < 0)
                fail(device.errorString());
            if (got == 0)
                break;
            filled += got;
            if (total + filled > limit)
                tooLarge(subject, limit);
        }
        total += filled;
        const bool end = filled < blockSize;
        block.resize(qsizetype(filled));
        if (filled > 0 && !sink(std::move(block)))
            return;
        if (end)
            return;
        blockSize = std::min(BlockSize, limit - total + 1);
    }
}

// The blocks joined once at the end, each freed when copied.
QByteArray readWhole(QIODevice &device, qint64 limit, qint64 firstBlock, const QString &subject, const Fail &fail)
{
    std::vector<QByteArray> blocks;
    qint64 total = 0;
    readBlocks(device, limit, firstBlock, subject, fail, [&](QByteArray &&block) {
        total += block.size();
        blocks.push_back(std::move(block));
        return true;
    });
    if (blocks.empty())
        return QByteArray("");
    if (blocks.size() == 1)
        return std::move(blocks.front());
    QByteArray joined(qsizetype(total), Qt::Uninitialized);
    char *out = joined.data();
    for (QByteArray &block : blocks) {
        memcpy(out, block.constData(), size_t(block.size()));
        out += block.size();
        block = QByteArray();
    }
    return joined;
}

void readLines(QIODevice &device, qint64 limit, const QString &subject, const Fail &fail, const LineSink &line)
{
    QByteArray partial; // the start of a line that goes on in the next block
    bool going = true;
    readBlocks(device, limit, std::min(BlockSize, limit + 1), subject, fail, [&](QByteArray &&block) {
        QByteArrayView rest(block);
        for (qsizetype end = rest.indexOf('\n'); going && end >= 0; end = rest.indexOf('\n')) {
            if (partial.isEmpty()) {
                going = line(rest.first(end));
            } else {
                partial.append(rest.first(end));
                going = line(partial);
                partial.clear();
            }
            rest = rest.sliced(end + 1);
        }
        if (going && !rest.isEmpty()) {
            // A long line (at worst the whole input) grows in place: room
            // asked for ahead is reallocated, where appending beyond the
            // room would copy the line into a new buffer beside the old.
            if (partial.capacity() - partial.size() < rest.size())
                partial.reserve(std::max(partial.size() + rest.size(), 2 * partial.capacity()));
            partial.append(rest);
        }
        return going;
    });
    if (going && !partial.isEmpty())
        line(partial);
}

QString fileSubject(const QString &description, const QString &path)
{
    return QStringLiteral("The %1 %2").arg(description, quoted(path));
}

Fail failure(const QString &subject)
{
    return [subject](const QString &cause) {
        throw QFException(QStringLiteral("Cannot Read File"), QStringLiteral("%1 cannot be read: %2.").arg(subject, cause));
    };
}

// Opens path for reading; the size of a regular file is checked against the
// limit here, before anything is read. Sets sequential for what states no size.
void openFile(QFile &file, qint64 limit, const QString &subject, bool &sequential)
{
    if (QFileInfo(file.fileName()).isDir())
        failure(subject)(QStringLiteral("it is a folder"));
    if (!file.open(QIODevice::ReadOnly))
        failure(subject)(file.errorString());
    // A device or a pipe states no size (or a wrong one), so only the bytes
    // read count; a regular file is refused by its size.
    sequential = file.isSequential();
    if (!sequential && file.size() > limit)
        tooLarge(subject, limit);
}

} // namespace

QByteArray readFile(const QString &path, qint64 limit, const QString &description)
{
    const QString subject = fileSubject(description, path);
    QFile file(path);
    bool sequential = false;
    openFile(file, limit, subject, sequential);
    // A regular file comes in one block of its size and one byte more, which
    // notices a file still growing.
    const qint64 first = sequential ? std::min(BlockSize, limit + 1) : std::min(file.size(), limit) + 1;
    return readWhole(file, limit, first, subject, failure(subject));
}

QByteArray readDevice(QIODevice &device, qint64 limit, const QString &name)
{
    const QString subject = QStringLiteral("The input from %1").arg(name);
    return readWhole(device, limit, std::min(BlockSize, limit + 1), subject, failure(subject));
}

void readFileLines(const QString &path, qint64 limit, const QString &description, const LineSink &line)
{
    const QString subject = fileSubject(description, path);
    QFile file(path);
    bool sequential = false;
    openFile(file, limit, subject, sequential);
    readLines(file, limit, subject, failure(subject), line);
}

void readDeviceLines(QIODevice &device, qint64 limit, const QString &name, const LineSink &line)
{
    const QString subject = QStringLiteral("The input from %1").arg(name);
    readLines(device, limit, subject, failure(subject), line);
}

QString sizeText(qint64 bytes)
{
    constexpr qint64 KiB = 1024;
    const QLocale c = QLocale::c();
    for (const auto &[unit, name] : {std::pair{KiB * KiB * KiB, "GiB"}, std::pair{KiB * KiB, "MiB"}, std::pair{KiB, "KiB"}}) {
        if (bytes >= unit) {
            const double value = double(bytes) / double(unit);
            return QStringLiteral("%1 %2").arg(c.toString(value, 'g', value < 10 ? 2 : 4), QLatin1String(name));
        }
    }
    return QStringLiteral("%1 bytes").arg(bytes);
}

} // namespace QFBoundedRead

#include "qfmovabletypeexporttext.h"

#include <QStringDecoder>

namespace QFMovableTypeExportText {

namespace {

constexpr QByteArrayView kByteOrderMark("\xEF\xBB\xBF");

// 0x80-0x9F; the rest of Windows-1252 is Latin-1. Undefined bytes (0x81,
// 0x8D, 0x8F, 0x90, 0x9D) keep their own code point.
constexpr char16_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

} // namespace

std::optional<QString> decodeUtf8(QByteArrayView bytes)
{
    // Stateless: a sequence cut off at the end is an error, not a state kept
    // for more bytes that never come.
    QStringDecoder decoder(QStringConverter::Utf8,
                           QStringConverter::Flag::ConvertInitialBom | QStringConverter::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

QString decodeWindows1252(QByteArrayView bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    char16_t *out = reinterpret_cast<char16_t *>(text.data());
    for (const char byte : bytes) {
        const auto b = static_cast<unsigned char>(byte);
        *out++ = (b >= 0x80 && b < 0xA0) ? kWindows1252High[b - 0x80] : char16_t(b);
    }
    return text;
}

bool isUtf8(QByteArrayView bytes)
{
    // Decoded a slice at a time, each ending before an ASCII byte so that no
    // sequence is cut, and the text thrown away: checking a large file costs
    // no copy of it.
    constexpr qsizetype Slice = qsizetype(1) << 20;
    while (!bytes.isEmpty()) {
        qsizetype end = std::min(Slice, bytes.size());
        while (end < bytes.size() && static_cast<unsigned char>(bytes.at(end)) >= 0x80)
            ++end;
        if (!decodeUtf8(bytes.first(end)))
            return false;
        bytes = bytes.sliced(end);
    }
    return true;
}

Inspection inspect(QByteArrayView bytes)
{
    Inspection inspection;
    inspection.byteOrderMark = bytes.startsWith(kByteOrderMark);
    inspection.carriageReturns = bytes.contains('\r');
    inspection.validUtf8 = isUtf8(bytes);
    return inspection;
}

Conversion convertInPlace(QByteArray &bytes)
{
    Conversion conversion;
    if (bytes.startsWith(kByteOrderMark)) {
        bytes.remove(0, kByteOrderMark.size());
        conversion.byteOrderMarkRemoved = true;
    }
    // CR and LF are single bytes in both encodings, and a line end never
    // stands inside a UTF-8 sequence, so this changes neither which encoding
    // applies nor any other character.
    if (const qsizetype first = bytes.indexOf('\r'); first >= 0) {
        char *data = bytes.data();
        const qsizetype size = bytes.size();
        qsizetype out = first;
        for (qsizetype in = first; in < size; ++in) {
            if (data[in] == '\r') {
                data[out++] = '\n';
                if (in + 1 < size && data[in + 1] == '\n')
                    ++in;
            } else {
                data[out++] = data[in];
            }
        }
        bytes.truncate(out);
        conversion.lineEndsNormalised = true;
    }
    conversion.fromWindows1252 = !isUtf8(bytes);
    return conversion;
}

Conversion convert(QByteArrayView bytes)
{
    QByteArray copy = bytes.toByteArray();
    Conversion conversion = convertInPlace(copy);
    conversion.text = conversion.fromWindows1252 ? decodeWindows1252(copy) : *decodeUtf8(copy);
    return conversion;
}

} // namespace QFMovableTypeExportText

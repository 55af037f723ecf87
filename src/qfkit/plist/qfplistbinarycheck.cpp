#include "qfplistbinarycheck.h"

#include <QHash>
#include <QList>

#include <cstring>

namespace {

constexpr qsizetype HeaderSize = 8;
constexpr qsizetype TrailerSize = 32;

// Object markers: the high nibble is the type, the low nibble a size or count.
enum : quint8 {
    TypeSimple = 0x0, // null, false, true, fill
    TypeInteger = 0x1,
    TypeReal = 0x2,
    TypeDate = 0x3,
    TypeData = 0x4,
    TypeAsciiString = 0x5,
    TypeUtf16String = 0x6,
    TypeUtf8String = 0x7,
    TypeUid = 0x8,
    TypeArray = 0xA,
    TypeOrderedSet = 0xB,
    TypeSet = 0xC,
    TypeDict = 0xD,
};

quint64 bigEndian(const uchar *p, int size)
{
    quint64 value = 0;
    for (int i = 0; i < size; ++i)
        value = (value << 8) | p[i];
    return value;
}

class Walker
{
public:
    Walker(const QByteArray &data) : m_bytes(reinterpret_cast<const uchar *>(data.constData())), m_size(data.size()) {}

    QString run(int maxDepth, qint64 maxValues);

private:
    struct Object
    {
        quint8 type = 0;
        bool holdsNul = false; // strings only
        QList<quint64> children; // dicts: keys then values
    };

    QString readTrailer();
    QString readObject(quint64 index, Object &object) const;
    // libplist asserts (and so aborts) on a key holding NUL.
    bool isUsableKey(quint64 index) const;
    // Offset of object `index`; 0 when it does not point into the object area.
    quint64 offsetOf(quint64 index) const;

    const uchar *m_bytes;
    qsizetype m_size;
    int m_offsetSize = 0;
    int m_refSize = 0;
    quint64 m_objectCount = 0;
    quint64 m_root = 0;
    quint64 m_tableOffset = 0; // also the end of the object area
    mutable QHash<quint64, bool> m_usableKeys;
};

QString Walker::readTrailer()
{
    if (m_size < HeaderSize + 1 + TrailerSize)
        return QStringLiteral("the binary property list is truncated");
    if (std::memcmp(m_bytes, "bplist00", HeaderSize) != 0)
        return QStringLiteral("unsupported binary property list version");
    const uchar *trailer = m_bytes + m_size - TrailerSize;
    m_offsetSize = trailer[6];
    m_refSize = trailer[7];
    m_objectCount = bigEndian(trailer + 8, 8);
    m_root = bigEndian(trailer + 16, 8);
    m_tableOffset = bigEndian(trailer + 24, 8);
    const quint64 tableEnd = quint64(m_size - TrailerSize);
    if (m_offsetSize < 1 || m_offsetSize > 8 || m_refSize < 1 || m_refSize > 8)
        return QStringLiteral("the binary property list's trailer is corrupt");
    if (m_objectCount == 0 || m_root >= m_objectCount || m_tableOffset <= quint64(HeaderSize)
        || m_tableOffset >= tableEnd
        || m_objectCount > (tableEnd - m_tableOffset) / quint64(m_offsetSize))
        return QStringLiteral("the binary property list is truncated or its trailer is corrupt");
    return QString();
}

quint64 Walker::offsetOf(quint64 index) const
{
    const quint64 offset = bigEndian(m_bytes + m_tableOffset + index * quint64(m_offsetSize), m_offsetSize);
    return offset >= quint64(HeaderSize) && offset < m_tableOffset ? offset : 0;
}

bool Walker::isUsableKey(quint64 index) const
{
    const auto cached = m_usableKeys.constFind(index);
    if (cached != m_usableKeys.cend())
        return *cached;
    // The type comes first: reading a container here would recurse.
    const quint64 offset = offsetOf(index);
    const quint8 type = offset == 0 ? 0 : m_bytes[offset] >> 4;
    Object key;
    const bool usable = (type == TypeAsciiString || type == TypeUtf16String || type == TypeUtf8String)
                        && readObject(index, key).isEmpty() && !key.holdsNul;
    m_usableKeys.insert(index, usable);
    return usable;
}

QString Walker::readObject(quint64 index, Object &object) const
{
    const QString corrupt = QStringLiteral("object %1 of the binary property list is corrupt").arg(index);
    const quint64 offset = offsetOf(index);
    if (offset == 0)
        return corrupt;
    const quint64 end = m_tableOffset;
    const quint8 marker = m_bytes[offset];
    const quint8 type = marker >> 4;
    const quint8 low = marker & 0x0f;
    quint64 pos = offset + 1;
    const auto fits = [&](quint64 length) { return length <= end - pos; };

    // Strings, data and containers carry a count; 0xF means an integer follows.
    quint64 count = low;
    const bool counted = type == TypeData || type == TypeAsciiString || type == TypeUtf16String
                         || type == TypeUtf8String || type == TypeArray || type == TypeOrderedSet
                         || type == TypeSet || type == TypeDict;
    if (counted && low == 0x0f) {
        if (!fits(1) || (m_bytes[pos] >> 4) != TypeInteger || (m_bytes[pos] & 0x0f) > 3)
            return corrupt;
        const int size = 1 << (m_bytes[pos] & 0x0f);
        ++pos;
        if (!fits(quint64(size)))
            return corrupt;
        count = bigEndian(m_bytes + pos, size);
        pos += quint64(size);
    }

    object.type = type;
    object.holdsNul = false;
    object.children.clear();
    switch (type) {
    case TypeSimple:
        return marker == 0x00 || marker == 0x08 || marker == 0x09 || marker == 0x0f ? QString() : corrupt;
    case TypeInteger:
        return low <= 4 && fits(quint64(1) << low) ? QString() : corrupt;
    case TypeReal:
        return (low == 2 || low == 3) && fits(quint64(1) << low) ? QString() : corrupt;
    case TypeDate:
        return low == 3 && fits(8) ? QString() : corrupt;
    case TypeData:
        return fits(count) ? QString() : corrupt;
    case TypeAsciiString:
    case TypeUtf8String:
        if (!fits(count))
            return corrupt;
        object.holdsNul = std::memchr(m_bytes + pos, 0, count) != nullptr;
        return QString();
    case TypeUtf16String:
        if (count > end || !fits(count * 2))
            return corrupt;
        for (quint64 i = 0; i < count && !object.holdsNul; ++i)
            object.holdsNul = m_bytes[pos + 2 * i] == 0 && m_bytes[pos + 2 * i + 1] == 0;
        return QString();
    case TypeUid:
        return fits(quint64(low) + 1) ? QString() : corrupt;
    case TypeArray:
    case TypeOrderedSet:
    case TypeSet:
    case TypeDict: {
        const quint64 refs = type == TypeDict ? count * 2 : count;
        if (count > end || !fits(refs * quint64(m_refSize)))
            return corrupt;
        object.children.reserve(qsizetype(refs));
        for (quint64 i = 0; i < refs; ++i) {
            const quint64 child = bigEndian(m_bytes + pos + i * quint64(m_refSize), m_refSize);
            if (child >= m_objectCount)
                return corrupt;
            if (type == TypeDict && i < count && !isUsableKey(child))
                return QStringLiteral("a dictionary key in the binary property list is not a string or holds NUL");
            object.children.append(child);
        }
        return QString();
    }
    default:
        return corrupt;
    }
}

QString Walker::run(int maxDepth, qint64 maxValues)
{
    if (const QString why = readTrailer(); !why.isEmpty())
        return why;

    // Depth-first from the root without recursion. A finished object keeps
    // its height and the number of values libplist would build for it (each
    // reference is parsed afresh there, so shared objects count every time).
    enum State : quint8 { Unseen, OnPath, Finished };
    struct Result
    {
        State state = Unseen;
        int height = 0;
        qint64 values = 0;
    };
    QList<Result> results(qsizetype(m_objectCount), Result{});
    struct Step
    {
        quint64 index;
        Object object;
        qsizetype next = 0;
        int height = 1;
        qint64 values = 1;
    };
    QList<Step> path;
    const QString tooDeep = QStringLiteral("the binary property list is nested deeper than %1 levels").arg(maxDepth);
    const QString tooMany = QStringLiteral("the binary property list expands to more than %1 values").arg(maxValues);

    const auto enter = [&](quint64 index) -> QString {
        if (path.size() >= maxDepth)
            return tooDeep;
        Step step{index, {}};
        if (const QString why = readObject(index, step.object); !why.isEmpty())
            return why;
        results[qsizetype(index)].state = OnPath;
        path.append(std::move(step));
        return QString();
    };

    if (const QString why = enter(m_root); !why.isEmpty())
        return why;
    while (!path.isEmpty()) {
        Step &top = path.last();
        if (top.next < top.object.children.size()) {
            const quint64 child = top.object.children.at(top.next++);
            const Result &seen = results.at(qsizetype(child));
            if (seen.state == OnPath)
                return QStringLiteral("the binary property list refers to itself");
            if (seen.state == Finished) {
                if (path.size() + seen.height > maxDepth)
                    return tooDeep;
                top.height = std::max(top.height, seen.height + 1);
                top.values += seen.values;
                if (top.values > maxValues)
                    return tooMany;
                continue;
            }
            if (const QString why = enter(child); !why.isEmpty())
                return why;
            continue;
        }
        const Step done = path.takeLast();
        results[qsizetype(done.index)] = Result{Finished, done.height, done.values};
        if (!path.isEmpty()) {
            Step &parent = path.last();
            parent.height = std::max(parent.height, done.height + 1);
            parent.values += done.values;
            if (parent.values > maxValues)
                return tooMany;
        }
    }
    return QString();
}

} // namespace

namespace QFPlistBinaryCheck {

QString problem(const QByteArray &data, int maxDepth, qint64 maxValues)
{
    return Walker(data).run(maxDepth, maxValues);
}

} // namespace QFPlistBinaryCheck

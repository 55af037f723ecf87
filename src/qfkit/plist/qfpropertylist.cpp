#include "qfpropertylist.h"

#include "qfplistbinarycheck.h"
#include "qfplistpath.h"
#include "qfplistxmlcheck.h"
#include "qfkit/support/qfexception.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QVariantHash>
#include <QVariantList>
#include <QtEndian>
#include <QtNumeric>

#include <plist/plist.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

namespace QFPropertyList {

namespace {

const QString MalformedName = QStringLiteral("Malformed Property List");
const QString ErrorName = QStringLiteral("Property List Error");

// More values than any resource or package of ours holds; beyond it a binary
// list is treated as an expansion attack.
constexpr qint64 MaxValues = 1 << 20;

constexpr qint64 ReferenceDateMSecs = Q_INT64_C(978307200000); // 2001-01-01T00:00:00Z

// Seconds either side of 2001 a date may lie: about 285 million years, the
// range of QDateTime. Milliseconds are exact within 285,000 years.
constexpr double MaxDateSecs = 9.0e15;

// Starts a string that stands for a date while XML is written. Control
// characters never reach an XML string of ours (utf8ForWriting refuses
// them), so the marker cannot meet a real string.
const QByteArray DateMarker("\x01", 1);

struct PlistDeleter
{
    void operator()(void *node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

struct MallocDeleter
{
    void operator()(char *p) const { std::free(p); }
};
using MallocPtr = std::unique_ptr<char, MallocDeleter>;

[[noreturn]] void malformed(const QString &reason)
{
    throw QFException(MalformedName, reason);
}

[[noreturn]] void unwritable(const QString &path, const QString &what)
{
    throw QFException(ErrorName, QStringLiteral("%1 at %2 cannot be written to a property list")
                                     .arg(what, QFPlistPath::describe(path)));
}

// ---------------------------------------------------------------- reading

// libplist 2.2 keeps every integer as 64 bits plus a flag for "unsigned
// beyond the signed range" that its API does not expose. Its XML writer
// honours the flag, so the sign it prints tells the two apart.
bool isUnsignedBeyondSigned(plist_t node)
{
    PlistPtr copy(plist_copy(node));
    char *xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(copy.get(), &xml, &length);
    if (!xml)
        return false;
    const bool negative = QByteArray::fromRawData(xml, qsizetype(length)).contains("<integer>-");
    plist_to_xml_free(xml);
    return !negative;
}

// libplist 2.2 holds a date as a double of seconds since 2001 but hands it
// out only as 32-bit seconds, which covers 1932 to 2069. The binary form
// carries the double itself, so the date is read from there.
QDateTime dateFromNode(plist_t node)
{
    PlistPtr array(plist_new_array());
    plist_array_append_item(array.get(), plist_copy(node));
    char *bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(array.get(), &bytes, &length);
    if (!bytes)
        malformed(QStringLiteral("a date could not be read"));
    // "bplist00", the array (marker, one 1-byte reference), the date (marker, 8 bytes).
    const QByteArray bin(bytes, qsizetype(length));
    plist_to_bin_free(bytes);
    if (bin.size() < 19 || quint8(bin.at(8)) != 0xA1 || quint8(bin.at(10)) != 0x33)
        malformed(QStringLiteral("a date could not be read"));
    const double secs = qFromBigEndian<double>(bin.constData() + 11);
    if (!std::isfinite(secs) || std::fabs(secs) > MaxDateSecs)
        malformed(QStringLiteral("a date lies outside the years a date can hold"));
    // Rounding to milliseconds undoes the error of the double.
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(ReferenceDateMSecs + std::llround(secs * 1000.0));
    if (!date.isValid())
        malformed(QStringLiteral("a date lies outside the years a date can hold"));
    return date;
}

QVariant variantFromNode(plist_t node, int depth)
{
    if (depth > MaxNestingDepth)
        malformed(QStringLiteral("the property list is nested deeper than %1 levels").arg(MaxNestingDepth));
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return QVariant(value != 0);
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        if (value > uint64_t(std::numeric_limits<qint64>::max()) && isUnsignedBeyondSigned(node))
            return QVariant(quint64(value));
        return QVariant(qint64(value));
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return QVariant(value);
    }
    case PLIST_STRING: {
        uint64_t length = 0;
        const char *text = plist_get_string_ptr(node, &length);
        return QVariant(QString::fromUtf8(text ? text : "", text ? qsizetype(length) : 0));
    }
    case PLIST_DATA: {
        uint64_t length = 0;
        const char *bytes = plist_get_data_ptr(node, &length);
        return QVariant(QByteArray(bytes ? bytes : "", bytes ? qsizetype(length) : 0));
    }
    case PLIST_DATE:
        return QVariant(dateFromNode(node));
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t size = plist_array_get_size(node);
        list.reserve(size);
        for (uint32_t i = 0; i < size; ++i)
            list.append(variantFromNode(plist_array_get_item(node, i), depth + 1));
        return QVariant(list);
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter iter = nullptr;
        plist_dict_new_iter(node, &iter);
        std::unique_ptr<void, decltype(&std::free)> iterOwner(iter, &std::free);
        for (;;) {
            char *key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, iter, &key, &value);
            MallocPtr keyOwner(key);
            if (!key || !value)
                break;
            map.insert(QString::fromUtf8(key), variantFromNode(value, depth + 1));
        }
        return QVariant(map);
    }
    case PLIST_UID:
        malformed(QStringLiteral("the property list holds an object reference (UID), which has no value here"));
    default:
        malformed(QStringLiteral("the property list holds a value of unknown type"));
    }
}

QVariant parse(const QByteArray &data)
{
    if (data.isEmpty())
        malformed(QStringLiteral("the property list is empty"));
    if (data.size() >= qsizetype(std::numeric_limits<uint32_t>::max()))
        malformed(QStringLiteral("the property list is too large"));

    plist_t root = nullptr;
    if (data.startsWith("bplist")) {
        if (const QString why = QFPlistBinaryCheck::problem(data, MaxNestingDepth, MaxValues); !why.isEmpty())
            malformed(why);
        plist_from_bin(data.constData(), uint32_t(data.size()), &root);
    } else {
        // libplist refuses a byte-order mark that editors like to write.
        QByteArray xml = data.startsWith("\xEF\xBB\xBF") ? data.mid(3) : data;
        if (const QString why = QFPlistXMLCheck::problem(xml, MaxNestingDepth); !why.isEmpty())
            malformed(why);
        plist_from_xml(xml.constData(), uint32_t(xml.size()), &root);
    }
    if (!root)
        malformed(QStringLiteral("the data is not a readable property list"));
    PlistPtr owner(root);
    return variantFromNode(root, 1);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw QFException(ErrorName, QStringLiteral("Cannot open %1: %2").arg(path, file.errorString()));
    const QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw QFException(ErrorName, QStringLiteral("Cannot read %1: %2").arg(path, file.errorString()));
    return data;
}

QVariantMap requireMap(const QVariant &value, const QString &where)
{
    if (value.typeId() != QMetaType::QVariantMap)
        malformed(QStringLiteral("%1holds %2 at the top level, not a dictionary")
                      .arg(where, QString::fromLatin1(value.typeName())));
    return value.toMap();
}

// ---------------------------------------------------------------- writing

// Characters XML 1.0 cannot carry; libplist would write them raw and the
// result could not be read again.
bool hasCharacterXMLCannotHold(const QString &text)
{
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if ((u < 0x20 && u != u'\t' && u != u'\n' && u != u'\r') || u == 0xfffe || u == 0xffff)
            return true;
    }
    return false;
}

QByteArray utf8ForWriting(const QString &text, const QString &path, Format format, const char *what)
{
    if (text.contains(QChar(u'\0')))
        unwritable(path, QStringLiteral("A %1 holding a NUL character").arg(QLatin1String(what)));
    if (format == Format::XML && hasCharacterXMLCannotHold(text))
        unwritable(path, QStringLiteral("A %1 holding a control character (only binary lists keep those)")
                             .arg(QLatin1String(what)));
    return text.toUtf8();
}

plist_t unsignedNode(quint64 value)
{
    if (value <= quint64(std::numeric_limits<qint64>::max()))
        return plist_new_uint(value);
    // plist_new_uint cannot mark a value as unsigned; libplist's XML reader can.
    const QByteArray xml = "<plist version=\"1.0\"><integer>" + QByteArray::number(value) + "</integer></plist>";
    plist_t node = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &node);
    if (!node)
        throw QFException(ErrorName, QStringLiteral("The integer %1 could not be encoded").arg(value));
    return node;
}

plist_t dateNode(const QDateTime &date, const QString &path, Format format)
{
    if (!date.isValid())
        unwritable(path, QStringLiteral("An invalid date"));
    if (format == Format::XML) {
        // libplist's own XML dates drop leading zeros of the year and vanish
        // outside a few thousand years; the date is written as marked text
        // that toData turns into the date element.
        const QDateTime utc = date.toUTC();
        const int year = utc.date().year();
        if (year < 1 || year > 9999)
            unwritable(path, QStringLiteral("The date %1, outside the years 1 to 9999 that an XML property list can hold,")
                                 .arg(date.toString(Qt::ISODate)));
        const QByteArray text = DateMarker
                                + utc.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ssZ")).toLatin1();
        return plist_new_string(text.constData());
    }
    qint64 msecs = 0;
    const bool overflows = qSubOverflow(date.toMSecsSinceEpoch(), ReferenceDateMSecs, &msecs);
    const double secs = double(msecs) / 1000.0;
    if (overflows || std::fabs(secs) > MaxDateSecs)
        unwritable(path, QStringLiteral("The date %1, outside the years a property list can hold,")
                             .arg(date.toString(Qt::ISODate)));
    // plist_new_date takes 32-bit seconds; a one-date binary list carries
    // the whole double.
    QByteArray bin("bplist00\x33", 9);
    bin.resize(17);
    qToBigEndian<double>(secs, bin.data() + 9);
    bin += char(8); // offset table: the date at offset 8
    QByteArray trailer(32, '\0');
    trailer[6] = 1; // offset size
    trailer[7] = 1; // reference size
    trailer[15] = 1; // one object
    trailer[31] = 17; // offset table position
    bin += trailer;
    plist_t node = nullptr;
    plist_from_bin(bin.constData(), uint32_t(bin.size()), &node);
    if (!node)
        throw QFException(ErrorName, QStringLiteral("The date %1 could not be encoded").arg(date.toString(Qt::ISODate)));
    return node;
}

// Turns the marked texts of dateNode into date elements.
QByteArray xmlWithDates(const QByteArray &xml)
{
    const QByteArray open = "<string>" + DateMarker;
    QByteArray out;
    out.reserve(xml.size());
    qsizetype from = 0;
    for (;;) {
        const qsizetype at = xml.indexOf(open, from);
        if (at < 0)
            break;
        const qsizetype close = xml.indexOf("</string>", at);
        if (close < 0)
            break;
        out += QByteArrayView(xml).sliced(from, at - from);
        out += "<date>";
        out += QByteArrayView(xml).sliced(at + open.size(), close - at - open.size());
        out += "</date>";
        from = close + 9;
    }
    out += QByteArrayView(xml).sliced(from);
    return out;
}

plist_t nodeFromVariant(const QVariant &value, const QString &path, int depth, Format format);

plist_t dictNode(const QVariantMap &map, const QString &path, int depth, Format format)
{
    PlistPtr dict(plist_new_dict());
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const QString childPath = QFPlistPath::dictChild(path, it.key());
        const QByteArray key = utf8ForWriting(it.key(), childPath, format, "key");
        plist_dict_set_item(dict.get(), key.constData(), nodeFromVariant(it.value(), childPath, depth + 1, format));
    }
    return dict.release();
}

plist_t arrayNode(const QVariantList &list, const QString &path, int depth, Format format)
{
    PlistPtr array(plist_new_array());
    for (qsizetype i = 0; i < list.size(); ++i)
        plist_array_append_item(array.get(),
                                nodeFromVariant(list.at(i), QFPlistPath::arrayChild(path, i), depth + 1, format));
    return array.release();
}

plist_t nodeFromVariant(const QVariant &value, const QString &path, int depth, Format format)
{
    if (depth > MaxNestingDepth)
        unwritable(path, QStringLiteral("Nesting deeper than %1 levels").arg(MaxNestingDepth));
    if (!value.isValid() || value.typeId() == QMetaType::Nullptr)
        unwritable(path, QStringLiteral("A null value"));

    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool() ? 1 : 0);
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::Char:
    case QMetaType::SChar:
        return plist_new_uint(uint64_t(value.toLongLong()));
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return unsignedNode(value.toULongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return plist_new_real(value.toDouble());
    case QMetaType::QString:
        return plist_new_string(utf8ForWriting(value.toString(), path, format, "string").constData());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), uint64_t(bytes.size()));
    }
    case QMetaType::QDateTime:
        return dateNode(value.toDateTime(), path, format);
    case QMetaType::QVariantMap:
        return dictNode(value.toMap(), path, depth, format);
    case QMetaType::QVariantHash: {
        // Written in key order like a map, so the bytes do not depend on hashing.
        const QVariantHash hash = value.toHash();
        QVariantMap map;
        for (auto it = hash.cbegin(); it != hash.cend(); ++it)
            map.insert(it.key(), it.value());
        return dictNode(map, path, depth, format);
    }
    case QMetaType::QVariantList:
        return arrayNode(value.toList(), path, depth, format);
    case QMetaType::QStringList: {
        QVariantList list;
        for (const QString &s : value.toStringList())
            list.append(s);
        return arrayNode(list, path, depth, format);
    }
    default:
        unwritable(path, QStringLiteral("A value of type %1").arg(QString::fromLatin1(value.typeName())));
    }
}

} // namespace

QVariant fromData(const QByteArray &data)
{
    return parse(data);
}

QVariant fromFile(const QString &path)
{
    const QByteArray data = readFile(path);
    try {
        return parse(data);
    } catch (const QFException &e) {
        throw QFException(e.name(), QStringLiteral("%1: %2").arg(path, e.reason()));
    }
}

QVariantMap mapFromData(const QByteArray &data)
{
    return requireMap(fromData(data), QStringLiteral("The property list "));
}

QVariantMap mapFromFile(const QString &path)
{
    return requireMap(fromFile(path), path + QStringLiteral(": the property list "));
}

QByteArray toData(const QVariant &value, Format format)
{
    PlistPtr root(nodeFromVariant(value, QString(), 1, format));
    char *bytes = nullptr;
    uint32_t length = 0;
    if (format == Format::Binary)
        plist_to_bin(root.get(), &bytes, &length);
    else
        plist_to_xml(root.get(), &bytes, &length);
    if (!bytes)
        throw QFException(ErrorName, QStringLiteral("The property list could not be encoded"));
    QByteArray result(bytes, qsizetype(length));
    if (format == Format::Binary)
        plist_to_bin_free(bytes);
    else
        plist_to_xml_free(bytes);
    return format == Format::XML ? xmlWithDates(result) : result;
}

void toFile(const QVariant &value, const QString &path, Format format)
{
    // Encode first: a value that cannot be written leaves the file untouched.
    const QByteArray bytes = toData(value, format);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw QFException(ErrorName, QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    if (file.write(bytes) != bytes.size() || !file.commit())
        throw QFException(ErrorName, QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
}

} // namespace QFPropertyList

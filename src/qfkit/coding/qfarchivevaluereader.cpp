#include "qfarchivevaluereader.h"

#include "qfarchiveformat.h"
#include "qfclassregistry.h"
#include "qfkeyedunarchiver.h"
#include "qfunarchiver.h"
#include "qfkit/support/qfexception.h"

#include <QCborStreamReader>
#include <QDateTime>
#include <QStringDecoder>
#include <cmath>
#include <limits>

namespace {

// About 300,000 years either side of 1970: far beyond any real date, and far
// inside what QDateTime can convert without overflowing.
constexpr qint64 MaxDateSeconds = Q_INT64_C(10000000000000);

QString describe(QCborError error)
{
    QString text = error.toString();
    if (!text.isEmpty())
        text[0] = text[0].toLower();
    return text;
}

} // namespace

QFArchiveValueReader::QFArchiveValueReader(QCborStreamReader &reader, qsizetype baseOffset,
                                           qsizetype availableBytes, Form form)
    : m_reader(reader)
    , m_base(baseOffset)
    , m_available(availableBytes)
    , m_form(form)
{
}

void QFArchiveValueReader::fail(qsizetype offset, const QString &problem)
{
    throw QFException(QStringLiteral("Malformed Archive"),
                      QStringLiteral("The archive is damaged at byte %1: %2.").arg(offset).arg(problem));
}

void QFArchiveValueReader::failHere(const QString &problem) const
{
    fail(offset(), problem);
}

qsizetype QFArchiveValueReader::offset() const
{
    return m_base + qsizetype(m_reader.currentOffset());
}

qsizetype QFArchiveValueReader::remainingBytes() const
{
    return m_available - qsizetype(m_reader.currentOffset());
}

void QFArchiveValueReader::checkStream() const
{
    const QCborError error = m_reader.lastError();
    if (error != QCborError::NoError)
        failHere(describe(error));
}

void QFArchiveValueReader::checkHeader(const QByteArray &data, Form form)
{
    const char *magic = form == Form::Sequential ? QFArchiveFormat::SequentialMagic
                                                 : QFArchiveFormat::KeyedMagic;
    const char *otherMagic = form == Form::Sequential ? QFArchiveFormat::KeyedMagic
                                                      : QFArchiveFormat::SequentialMagic;
    constexpr qsizetype magicSize = QFArchiveFormat::HeaderSize - 1;
    if (data.isEmpty())
        fail(0, QStringLiteral("the data is empty"));
    if (data.size() < QFArchiveFormat::HeaderSize || !data.startsWith(QByteArrayView(magic, magicSize))) {
        if (data.startsWith(QByteArrayView(otherMagic, magicSize))) {
            fail(0, form == Form::Sequential
                        ? QStringLiteral("this is a keyed archive, where a sequential one was expected")
                        : QStringLiteral("this is a sequential archive, where a keyed one was expected"));
        }
        fail(0, QStringLiteral("the archive header is missing"));
    }
    const quint8 version = quint8(data.at(magicSize));
    if (version != QFArchiveFormat::FormatVersion) {
        fail(magicSize, QStringLiteral("format version %1 is not supported (this program reads version %2)")
                            .arg(version)
                            .arg(QFArchiveFormat::FormatVersion));
    }
}

QVariant QFArchiveValueReader::read()
{
    QVariant value = readValue(0);
    checkStream();
    return value;
}

void QFArchiveValueReader::skip()
{
    checkStream();
    if (m_reader.type() == QCborStreamReader::Invalid) {
        failHere(remainingBytes() > 0 ? QStringLiteral("unreadable data")
                                      : QStringLiteral("the data ends where a value was expected"));
    }
    // The stream reader walks nested items itself; its limit keeps a
    // pathological nesting from exhausting the stack here, and the reading
    // that follows applies our own.
    m_reader.next(QFArchiveFormat::MaxDepth);
    checkStream();
}

bool QFArchiveValueReader::readArrayElements(const std::function<void(QVariant &&)> &element)
{
    checkStream();
    if (!m_reader.isArray()) {
        read();
        return false;
    }
    if (m_reader.isLengthKnown() && m_reader.length() > quint64(remainingBytes()))
        failHere(QStringLiteral("an array of %1 items is longer than the data").arg(m_reader.length()));
    if (!m_reader.enterContainer())
        checkStream();
    checkStream();
    while (m_reader.hasNext()) {
        element(readValue(1));
        checkStream();
    }
    checkStream();
    m_reader.leaveContainer();
    checkStream();
    return true;
}

QVariant QFArchiveValueReader::readValue(int depth)
{
    checkStream();
    switch (m_reader.type()) {
    case QCborStreamReader::UnsignedInteger:
    case QCborStreamReader::NegativeInteger:
        return readInteger();
    case QCborStreamReader::ByteArray:
        return readBytes();
    case QCborStreamReader::String:
        return readText();
    case QCborStreamReader::Array:
        return readList(depth);
    case QCborStreamReader::Map:
        return readMap(depth);
    case QCborStreamReader::Tag: {
        const qsizetype tagOffset = offset();
        const quint64 tag = quint64(m_reader.toTag());
        m_reader.next();
        checkStream();
        if (tag == QFArchiveFormat::DateTag)
            return readDate();
        if (tag == QFArchiveFormat::ObjectTag)
            return readObject(tagOffset, depth);
        fail(tagOffset, QStringLiteral("unknown tag %1").arg(tag));
    }
    case QCborStreamReader::SimpleType:
        if (m_reader.isBool()) {
            const bool value = m_reader.toBool();
            m_reader.next();
            return value;
        }
        if (m_reader.isNull()) {
            m_reader.next();
            return QVariant();
        }
        failHere(QStringLiteral("unsupported simple value %1").arg(int(m_reader.toSimpleType())));
    case QCborStreamReader::Float16: {
        const double value = double(float(m_reader.toFloat16()));
        m_reader.next();
        return value;
    }
    case QCborStreamReader::Float: {
        const double value = double(m_reader.toFloat());
        m_reader.next();
        return value;
    }
    case QCborStreamReader::Double: {
        const double value = m_reader.toDouble();
        m_reader.next();
        return value;
    }
    case QCborStreamReader::Invalid:
        break;
    }
    checkStream();
    failHere(remainingBytes() > 0 ? QStringLiteral("unreadable data")
                                  : QStringLiteral("the data ends where a value was expected"));
}

QVariant QFArchiveValueReader::readInteger()
{
    if (m_reader.isUnsignedInteger()) {
        const quint64 value = m_reader.toUnsignedInteger();
        m_reader.next();
        if (value <= quint64(std::numeric_limits<qint64>::max()))
            return qint64(value);
        return value;
    }
    // A negative integer is stored as -1 - n.
    const quint64 n = quint64(m_reader.toNegativeInteger()) - 1;
    if (n > quint64(std::numeric_limits<qint64>::max()))
        failHere(QStringLiteral("a negative integer is out of range"));
    m_reader.next();
    return qint64(-1) - qint64(n);
}

QVariant QFArchiveValueReader::readDate()
{
    qint64 secs = 0;
    if (m_reader.isUnsignedInteger() || m_reader.isNegativeInteger()) {
        const QVariant value = readInteger();
        if (value.metaType().id() != QMetaType::LongLong)
            failHere(QStringLiteral("a date is out of range"));
        secs = value.toLongLong();
    } else if (m_reader.isFloat16() || m_reader.isFloat() || m_reader.isDouble()) {
        const double value = m_reader.isDouble() ? m_reader.toDouble()
                           : m_reader.isFloat()  ? double(m_reader.toFloat())
                                                 : double(float(m_reader.toFloat16()));
        if (!std::isfinite(value) || std::fabs(value) > double(MaxDateSeconds))
            failHere(QStringLiteral("a date is out of range"));
        secs = qint64(std::floor(value));
        m_reader.next();
    } else {
        failHere(QStringLiteral("a date does not hold a number of seconds"));
    }
    if (secs > MaxDateSeconds || secs < -MaxDateSeconds)
        failHere(QStringLiteral("a date is out of range"));
    QDateTime date = QDateTime::fromSecsSinceEpoch(secs, Qt::LocalTime);
    if (!date.isValid())
        failHere(QStringLiteral("a date is out of range"));
    return date;
}

QString QFArchiveValueReader::readText()
{
    if (m_reader.isLengthKnown() && m_reader.length() > quint64(remainingBytes()))
        failHere(QStringLiteral("a text of %1 bytes is longer than the data").arg(m_reader.length()));
    // The bytes are decoded here, not by QCborStreamReader::readString(),
    // which drops a leading U+FEFF as if it were a byte order mark: a text
    // must come back as it was written, to the character (the runs of a
    // styled text are counted in them). Each chunk is whole UTF-8 on its own.
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString text;
    QByteArray chunk;
    for (;;) {
        // A chunk states its own length, checked against the data as the
        // whole text's is above, before room is made for it.
        const qsizetype size = m_reader.currentStringChunkSize();
        if (size < 0 || size > remainingBytes())
            failHere(QStringLiteral("a text of %1 bytes is longer than the data").arg(size));
        chunk.resize(size);
        const auto read = m_reader.readStringChunk(chunk.data(), size);
        if (read.status == QCborStreamReader::EndOfString)
            break;
        if (read.status == QCborStreamReader::Error) {
            checkStream();
            failHere(QStringLiteral("a text cannot be read"));
        }
        text += decoder.decode(QByteArrayView(chunk.constData(), read.data));
        if (decoder.hasError())
            failHere(QStringLiteral("a text is not valid UTF-8"));
    }
    // "" is a value of its own, distinct from nil.
    if (text.isNull())
        text = QStringLiteral("");
    return text;
}

QByteArray QFArchiveValueReader::readBytes()
{
    if (m_reader.isLengthKnown() && m_reader.length() > quint64(remainingBytes()))
        failHere(QStringLiteral("a byte string of %1 bytes is longer than the data").arg(m_reader.length()));
    QByteArray bytes;
    auto chunk = m_reader.readByteArray();
    while (chunk.status == QCborStreamReader::Ok) {
        bytes += chunk.data;
        chunk = m_reader.readByteArray();
    }
    if (chunk.status == QCborStreamReader::Error) {
        checkStream();
        failHere(QStringLiteral("a byte string cannot be read"));
    }
    if (bytes.isNull())
        bytes = QByteArray("");
    return bytes;
}

QVariantList QFArchiveValueReader::readList(int depth)
{
    if (depth >= QFArchiveFormat::MaxDepth)
        failHere(QStringLiteral("values are nested more than %1 levels deep").arg(QFArchiveFormat::MaxDepth));
    QVariantList list;
    if (m_reader.isLengthKnown()) {
        // Every item takes at least one byte, so a length beyond the data is a lie.
        const quint64 length = m_reader.length();
        if (length > quint64(remainingBytes()))
            failHere(QStringLiteral("an array of %1 items is longer than the data").arg(length));
        list.reserve(qsizetype(length));
    }
    if (!m_reader.enterContainer())
        checkStream();
    checkStream();
    while (m_reader.hasNext()) {
        list.append(readValue(depth + 1));
        checkStream();
    }
    checkStream();
    m_reader.leaveContainer();
    checkStream();
    return list;
}

QVariantMap QFArchiveValueReader::readMap(int depth)
{
    if (depth >= QFArchiveFormat::MaxDepth)
        failHere(QStringLiteral("values are nested more than %1 levels deep").arg(QFArchiveFormat::MaxDepth));
    if (m_reader.isLengthKnown() && m_reader.length() > quint64(remainingBytes()) / 2)
        failHere(QStringLiteral("a map of %1 entries is longer than the data").arg(m_reader.length()));
    QVariantMap map;
    if (!m_reader.enterContainer())
        checkStream();
    checkStream();
    while (m_reader.hasNext()) {
        if (!m_reader.isString())
            failHere(QStringLiteral("a map key is not a text"));
        QString key = readText();
        checkStream();
        if (!m_reader.hasNext())
            failHere(QStringLiteral("a map key has no value"));
        map.insert(key, readValue(depth + 1));
        checkStream();
    }
    checkStream();
    m_reader.leaveContainer();
    checkStream();
    return map;
}

QVariant QFArchiveValueReader::readObject(qsizetype tagOffset, int depth)
{
    if (!m_reader.isMap())
        fail(tagOffset, QStringLiteral("an object is not stored as a map"));
    QVariantMap fields = readMap(depth);
    const QVariant className = fields.take(QFArchiveFormat::ClassKey);
    if (className.metaType().id() != QMetaType::QString || className.toString().isEmpty())
        fail(tagOffset, QStringLiteral("an object has no class name"));
    const QString name = className.toString();
    const auto unknownClass = [&]() {
        return QFException(QStringLiteral("Unknown Class"),
                           QStringLiteral("The archive holds an object of class \"%1\", which this "
                                          "program cannot read (at byte %2).")
                               .arg(name)
                               .arg(tagOffset));
    };

    QFCodingPtr object;
    if (m_form == Form::Sequential) {
        const QVariant values = fields.value(QFArchiveFormat::ValuesKey);
        if (values.metaType().id() != QMetaType::QVariantList)
            fail(tagOffset, QStringLiteral("the object of class \"%1\" has no values").arg(name));
        const auto factory = QFClassRegistry::instance().sequentialFactory(name);
        if (!factory)
            throw unknownClass();
        QFUnarchiver coder(values.toList(), QFUnarchiver::ObjectValues {});
        object = factory(coder);
    } else {
        const auto factory = QFClassRegistry::instance().keyedFactory(name);
        if (!factory)
            throw unknownClass();
        QFKeyedUnarchiver coder(std::move(fields));
        object = factory(coder);
    }
    return QFCodingSupport::variantFromObject(object);
}

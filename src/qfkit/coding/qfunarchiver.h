#pragma once

#include "qfcoding.h"

#include <QByteArray>
#include <QVariant>

#include <functional>

// Reads a sequential archive written by QFArchiver, value by value. The
// format is described in docs/FORMATS.md (and in qfarchiveformat.h).
//
// Reading past the last value yields a null QVariant (nil), as many times as
// asked. Bytes that are not an archive, or a value that is cut short or
// garbled, raise QFException("Malformed Archive") with the byte offset in the
// reason; an object whose class is not registered raises
// QFException("Unknown Class"). Never crashes, whatever the bytes.
//
// Integers read back as qint64 (quint64 above its range), floating-point
// numbers as double, dates as local-time QDateTime, arrays as QVariantList,
// maps as QVariantMap and objects as QFCodingPtr. A stored "" reads back as
// an empty, non-null QString (nil is a null QVariant).
//
// An object's factory gets an unarchiver over just the values that object
// wrote: reading past them yields nil, never the values of what follows.
// Objects nested in those values are already decoded when it runs.
class QFUnarchiver final
{
public:
    // Checks the header at once: raises QFException("Malformed Archive") when
    // the data does not start with it.
    explicit QFUnarchiver(const QByteArray &data);
    ~QFUnarchiver();
    Q_DISABLE_COPY_MOVE(QFUnarchiver)

    QVariant decodeObject();
    bool atEnd() const;

    // A value passed over by skipObject(), to be read with
    // decodeArrayElements() while this unarchiver lives. A default one stands
    // for nil (what skipping past the last value gives).
    struct SkippedValue
    {
        qsizetype offset = -1;
        qsizetype size = 0;
        QVariant decoded;
    };

    // Passes over the next value without making its objects, so a reader can
    // take a later value first. The value's data items are checked to be
    // complete: raises QFException("Malformed Archive") when they are not.
    // What decodeObject() would still refuse in it (unknown classes, values
    // of the wrong shape) is found by decodeArrayElements().
    SkippedValue skipObject();

    // Reads a skipped value. For an array, each element is decoded and handed
    // to `element` in order, and dropped before the next one is read, so a
    // long list never sits in memory whole; answers true. Any other value
    // (nil included) is decoded in full, handed to nothing, and answers
    // false. Errors as for decodeObject(), with offsets in the whole archive;
    // an exception thrown by `element` ends the reading and propagates.
    bool decodeArrayElements(const SkippedValue &value, const std::function<void(QVariant &&)> &element) const;

private:
    // An unarchiver over an object's own, already decoded, values.
    struct ObjectValues {};
    QFUnarchiver(QVariantList values, ObjectValues);

    QByteArray m_data;
    qsizetype m_offset = 0;
    QVariantList m_values;
    qsizetype m_nextValue = 0;
    bool m_overValues = false;
    friend class QFArchiveValueReader;
};

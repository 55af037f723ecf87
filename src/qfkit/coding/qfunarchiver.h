#pragma once

#include "qfcoding.h"

#include <QByteArray>
#include <QVariant>

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

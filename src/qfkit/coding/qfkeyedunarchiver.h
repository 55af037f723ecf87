#pragma once

#include "qfcoding.h"

#include <QByteArray>
#include <QVariant>

// Reads a keyed archive written by QFKeyedArchiver (format: docs/FORMATS.md).
// A missing key gives a null variant, 0, 0.0 or false; a key holding a value
// of another type gives the same (never a crash). Numbers count as one type:
// decodeBool() of an integer key is true when it is not 0, decodeInt() of a
// bool key is 0 or 1, and decodeInt() of a double truncates it (0 when no
// qint64 can hold it).
//
// unarchiveObjectWithData() gives the root value: a QFCodingPtr for an
// object, otherwise the value itself (see QFUnarchiver for the types). An
// object's factory gets an unarchiver over its own keys, whose nested objects
// are already decoded. Malformed bytes raise QFException("Malformed Archive")
// with the byte offset; an unregistered class raises
// QFException("Unknown Class").
class QFKeyedUnarchiver final
{
public:
    static QVariant unarchiveObjectWithData(const QByteArray &data);

    QVariant decodeObject(const QString &key) const;
    bool decodeBool(const QString &key) const;
    qint64 decodeInt(const QString &key) const;
    double decodeDouble(const QString &key) const;
    bool containsValue(const QString &key) const;

    explicit QFKeyedUnarchiver(QVariantMap values);
    Q_DISABLE_COPY_MOVE(QFKeyedUnarchiver)

private:
    QVariantMap m_values;
};

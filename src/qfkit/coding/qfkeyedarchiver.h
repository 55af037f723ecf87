#pragma once

#include "qfcoding.h"

#include <QByteArray>
#include <QDateTime>
#include <QVariant>

// Writes a keyed archive: each object a map of its keys, read back by key with
// QFKeyedUnarchiver. Values as for QFArchiver. The format is described in
// docs/FORMATS.md (and in qfarchiveformat.h).
//
// Usage: archivedDataWithRootObject() for a whole archive; inside an object's
// encodeWithKeyedCoder() the encode…ForKey calls write that object's keys.
// Encoding a key again replaces its value. The values are checked when the
// archive is written: archivedDataWithRootObject() raises
// QFException("Archive Error") for a value that has no archived form, an
// object without a keyed form, the reserved key "$class", or nesting beyond
// 512 levels (as with an object that contains itself).
class QFKeyedArchiver final
{
public:
    static QByteArray archivedDataWithRootObject(const QVariant &root);
    static QByteArray archivedDataWithRootObject(const QFCoding &root);

    void encodeObject(const QVariant &value, const QString &key);
    void encodeBool(bool value, const QString &key);
    void encodeInt(qint64 value, const QString &key);
    void encodeDouble(double value, const QString &key);

    QFKeyedArchiver() = default;
    Q_DISABLE_COPY_MOVE(QFKeyedArchiver)

    // The keys written so far for the object being encoded.
    const QVariantMap &values() const { return m_values; }

private:
    QVariantMap m_values;
};

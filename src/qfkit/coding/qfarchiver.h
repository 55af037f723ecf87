#pragma once

#include "qfcoding.h"

#include <QByteArray>
#include <QVariant>

class QCborStreamWriter;

// Writes a sequential archive: values one after another, without keys, read
// back in the same order by QFUnarchiver. The format is described in
// docs/FORMATS.md (and in qfarchiveformat.h).
//
// Values: a null QVariant (nil), bool, integers, double, QString, QDateTime
// (whole seconds), QByteArray, QVariantList, QVariantMap and QFCodingPtr
// objects, nested freely. A value of any other type raises
// QFException("Archive Error").
class QFArchiver final
{
public:
    QFArchiver();
    ~QFArchiver();
    Q_DISABLE_COPY_MOVE(QFArchiver)

    void encodeObject(const QVariant &value);
    void encodeObject(const QFCoding &object);

    // Everything written so far: the header followed by the values.
    QByteArray data() const;

private:
    QByteArray m_data;
    std::unique_ptr<QCborStreamWriter> m_writer;
};

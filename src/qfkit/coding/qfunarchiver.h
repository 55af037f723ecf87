#pragma once

#include "qfcoding.h"

#include <QByteArray>
#include <QVariant>

// Reads a sequential archive written by QFArchiver, value by value.
//
// Reading past the last value yields a null QVariant (nil), as many times as
// asked. Bytes that are not an archive, or a value that is cut short or
// garbled, raise QFException("Malformed Archive") with the byte offset in the
// reason; an object whose class is not registered raises
// QFException("Unknown Class"). Never crashes, whatever the bytes.
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
    QByteArray m_data;
    qsizetype m_offset = 0;
    int m_depth = 0;
    friend class QFArchiveValueReader;
};

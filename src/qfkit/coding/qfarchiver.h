#pragma once

#include "qfcoding.h"

#include <QByteArray>
#include <QVariant>
#include <functional>

class QBuffer;
class QCborStreamWriter;
class QFArchiveValueWriter;

// Writes a sequential archive: values one after another, without keys, read
// back in the same order by QFUnarchiver. The format is described in
// docs/FORMATS.md (and in qfarchiveformat.h).
//
// Values: a null QVariant (nil), bool, integers, double, QString, QDateTime
// (whole seconds), QByteArray, QVariantList, QVariantMap and QFCodingPtr
// objects, nested freely. A value of any other type raises
// QFException("Archive Error"). A null QString, a null QByteArray and an
// invalid QDateTime are written as nil: they are how this code spells a
// missing value. QStringList and QVariantHash are written as an array and a
// map, and read back as QVariantList and QVariantMap.
//
// An object is written under its codingClassName() with the values its
// encodeWithCoder() writes into this archiver; the class need not be
// registered to be written. A call that throws (an unsupported value, an
// object without a sequential form, nesting beyond 512 levels as with an
// object that contains itself) leaves the archive as it was before that call.
class QFArchiver final
{
public:
    QFArchiver();
    ~QFArchiver();
    Q_DISABLE_COPY_MOVE(QFArchiver)

    void encodeObject(const QVariant &value);
    void encodeObject(const QFCoding &object);
    // A list written as encodeObject(QVariantList) writes it, each element
    // made by element(i) as it is written and dropped after: a large list of
    // values made for the archive only (a blog's posts) is never held whole.
    void encodeList(qsizetype count, const std::function<QVariant(qsizetype)> &element);

    // Everything written so far: the header followed by the values.
    QByteArray data() const;

private:
    template<typename Write>
    void encodeAtomically(Write &&write);
    void openWriter();
    void writeObject(QFArchiveValueWriter &writer, const QFCoding &object);

    QByteArray m_data;
    std::unique_ptr<QBuffer> m_buffer;
    std::unique_ptr<QCborStreamWriter> m_writer;
    std::unique_ptr<QFArchiveValueWriter> m_values;
    int m_nesting = 0;
};

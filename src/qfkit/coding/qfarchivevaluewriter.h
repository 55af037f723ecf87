#pragma once

#include "qfcoding.h"

#include <QVariant>
#include <functional>

class QCborStreamWriter;

// Writes QVariant values as CBOR for both archive forms (see
// qfarchiveformat.h). Objects are handed to the ObjectWriter of the form in
// use, which frames them and writes their contents back through this writer.
//
// Errors: a value of a type that has no archived form, nesting deeper than
// QFArchiveFormat::MaxDepth (which is also how a reference cycle ends), raise
// QFException("Archive Error"). What was written before the throw is left in
// the stream; the caller decides whether to discard it.
class QFArchiveValueWriter final
{
public:
    using ObjectWriter = std::function<void(QFArchiveValueWriter &writer, const QFCoding &object)>;

    // Does not take ownership of the stream writer.
    QFArchiveValueWriter(QCborStreamWriter &cbor, ObjectWriter objectWriter);
    Q_DISABLE_COPY_MOVE(QFArchiveValueWriter)

    void write(const QVariant &value);
    void writeObject(const QFCoding &object);
    // A list of count values, each made by element(i) only when it is
    // written: the same bytes as write(QVariantList), without holding every
    // value at once.
    void writeList(qsizetype count, const std::function<QVariant(qsizetype)> &element);

    QCborStreamWriter &cbor() { return m_cbor; }

private:
    class DepthGuard;

    void writeString(const QString &text);
    void writeList(const QVariantList &list);
    void writeStringList(const QStringList &list);
    void writeMap(const QVariantMap &map);
    void writeHash(const QVariantHash &hash);

    QCborStreamWriter &m_cbor;
    ObjectWriter m_objectWriter;
    int m_depth = 0;
};

#pragma once

#include <QByteArray>
#include <QVariant>

#include <functional>

class QCborStreamReader;

// Reads one CBOR data item of an archive (see qfarchiveformat.h) into a
// QVariant, nested arrays, maps and objects included. Objects are rebuilt by
// the factory registered for their class and form: the object's own values
// (or keys) are decoded first, so objects nested inside an object exist
// before the factory of the object holding them runs.
//
// Errors: anything that is not what our writers produce (truncated or
// garbled items, other CBOR types or tags, lengths beyond the data, nesting
// deeper than QFArchiveFormat::MaxDepth) raises
// QFException("Malformed Archive") with the byte offset in the whole archive;
// a class without a factory raises QFException("Unknown Class"). Nothing is
// allocated beyond what the data can hold.
class QFArchiveValueReader final
{
public:
    enum class Form { Sequential, Keyed };

    // The reader starts at byte baseOffset of the archive and may use the
    // availableBytes that follow. Does not take ownership of the reader.
    QFArchiveValueReader(QCborStreamReader &reader, qsizetype baseOffset, qsizetype availableBytes,
                         Form form);
    Q_DISABLE_COPY_MOVE(QFArchiveValueReader)

    // One complete data item; the reader is left just after it.
    QVariant read();

    // Passes over one complete data item, checking only that its structure
    // is whole (no object is made); the reader is left just after it.
    void skip();

    // When the item is an array, decodes its elements one by one, handing
    // each to `element` before the next is read, and answers true; any other
    // item is decoded (and dropped) and answers false.
    bool readArrayElements(const std::function<void(QVariant &&)> &element);

    // Raises QFException("Malformed Archive") unless the data starts with the
    // header of the given form (magic and a version we know).
    static void checkHeader(const QByteArray &data, Form form);

    [[noreturn]] static void fail(qsizetype offset, const QString &problem);

private:
    [[noreturn]] void failHere(const QString &problem) const;
    void checkStream() const;
    qsizetype offset() const;
    qsizetype remainingBytes() const;

    QVariant readValue(int depth);
    QVariant readInteger();
    QVariant readDate();
    QVariant readObject(qsizetype tagOffset, int depth);
    QString readText();
    QByteArray readBytes();
    QVariantList readList(int depth);
    QVariantMap readMap(int depth);

    QCborStreamReader &m_reader;
    qsizetype m_base;
    qsizetype m_available;
    Form m_form;
};

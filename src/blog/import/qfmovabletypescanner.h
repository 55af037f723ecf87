#pragma once

#include "qfkit/support/qftuple.h"

#include <QString>
#include <QStringView>
#include <optional>

// A scanner over the text of one exported Movable Type entry (the layout is
// described in docs/ARCHITECTURE.md, "Movable Type import"). It skips nothing:
// every character, blanks and line feeds included, is consumed only by an
// operation that asks for it. Only "\n" ends a line; a "\r" is an ordinary
// character.
//
// Errors: the operations documented as raising throw
// QFException{exceptionName(), "<operation> failed"} and leave the position
// where the failing part began. Every other operation answers "not there"
// (false, an empty string or nullopt) and consumes nothing it did not
// report, except where noted.
class QFMovableTypeScanner final
{
public:
    explicit QFMovableTypeScanner(QString text);
    Q_DISABLE_COPY_MOVE(QFMovableTypeScanner)

    // "NSScanner+MovableTypeExportedText", the name of every raised exception.
    static QString exceptionName();
    // Whether c may stand in a short field's key: "A"-"Z", "_" and " ".
    static bool isKeyCharacter(QChar c);

    const QString &string() const { return m_text; }
    qsizetype scanLocation() const { return m_location; }
    void setScanLocation(qsizetype location);
    bool isAtEnd() const { return m_location >= m_text.size(); }
    // The text from the position to the end.
    QString remainingString() const;

    // Consumes text when it stands at the position (exactly, case-sensitive).
    bool scanString(QStringView text);
    // Consumes everything up to the next occurrence of text, or to the end
    // when there is none; the empty string when the position is already at
    // text or at the end.
    QString scanUpToString(QStringView text);
    // Consumes the longest run of key characters; empty when there is none.
    QString scanKeyCharacters();

    // Consumes exactly "\n"; raises "scanNewLine failed" otherwise.
    bool scanNewLine();
    // Consumes one "\n" when present; whether it did.
    bool scanMaybeNewLine();
    // Consumes "-----" and the line feed after it; raises
    // "scanShortMovableTypeSeparator failed" without the hyphens, and
    // "scanNewLine failed" when they are not alone on their line.
    bool scanShortMovableTypeSeparator();
    // Consumes a run of key characters and then ": " when present. The run,
    // or nullopt when it was empty (a ": " is consumed all the same).
    std::optional<QString> scanShortMovableTypeFieldHeader();
    // The rest of the line (possibly empty), then its line feed; raises
    // "scanNewLine failed" when the text ends without one.
    QString scanShortMovableTypeFieldData();
    // A short field as (key, value); nullopt when no key stands at the
    // position (then no value is read).
    std::optional<QFTuple> scanShortMovableTypeField();
    // Reads a key and compares it, with ": " appended, to expected: on
    // equality reads and answers the value; otherwise nullopt, with the key's
    // characters left consumed.
    std::optional<QString> scanShortMovableTypeField(QStringView expected);
    // A long section opened by a line holding only marker and closed by a
    // line "-----". Nullopt, consuming nothing, when marker is not at the
    // position; raises "scanNewLine failed" when the marker is not alone on
    // its line. Lines of nine or more hyphens do not end the section: the
    // text on either side is joined and the hyphen line dropped. A section
    // whose text is empty or one blank character counts as absent (nullopt).
    std::optional<QString> scanLongMovableTypeField(QStringView marker);

private:
    [[noreturn]] static void raise(const char *operation);
    QString readChunk();

    QString m_text;
    qsizetype m_location = 0;
};

#pragma once

#include "qfkit/coding/qfcoding.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

// A range of UTF-16 positions in a styled text.
struct QFTextRange
{
    qsizetype start = 0;
    qsizetype length = 0;

    qsizetype end() const { return start + length; }
    friend bool operator==(const QFTextRange &, const QFTextRange &) = default;
};

// One stretch of text sharing the same attributes.
struct QFStyledTextRun
{
    qsizetype start = 0;
    qsizetype length = 0;
    QVariantMap attributes;

    qsizetype end() const { return start + length; }
    friend bool operator==(const QFStyledTextRun &, const QFStyledTextRun &) = default;
};

// An image attached to the text, at the U+FFFC character at `index`.
struct QFStyledTextAttachment
{
    qsizetype index = 0;
    QByteArray data;
    QString fileName;
};

// The host's rich text: a string plus attribute runs (see
// qfstyledtextattributes.h for the keys). The runs are sorted, cover the whole
// text without gaps, and adjacent runs never carry equal attributes (they are
// merged), so two texts that look the same compare equal. An empty text has no
// runs, and attributes given for it are dropped.
//
// A copyable value; text and runs are implicitly shared, so copies are cheap.
//
// Positions are UTF-16 indexes. Ranges passed to the editing functions are
// clipped to the text; an index beyond the end is taken as the end.
//
// Archiving: the keyed form is one object of class "QFStyledText" with the
// keys "string" (the text) and, unless the whole text is unstyled, "runs" (a
// list of [length, attributes] pairs in text order). See docs/FORMATS.md.
// Strings are stored as UTF-8: half a surrogate pair, which no editor should
// leave behind, comes back as "?" (lengths and runs are unaffected).
class QFKeyedUnarchiver;
class QFUnarchiver;

class QFStyledText final : public QFCoding
{
public:
    QFStyledText() = default;
    explicit QFStyledText(const QString &text, const QVariantMap &attributes = QVariantMap());

    qsizetype length() const { return m_text.size(); }
    const QString &plainString() const { return m_text; }
    bool isEmpty() const { return m_text.isEmpty(); }
    const QList<QFStyledTextRun> &runs() const { return m_runs; }

    // The attributes of the character at index, and the run they hold over.
    // An index outside the text gives an empty map and an empty range.
    QVariantMap attributesAt(qsizetype index, QFTextRange *effectiveRange = nullptr) const;
    // One attribute of the character at index; a null variant when absent.
    QVariant attribute(const QString &key, qsizetype index, QFTextRange *effectiveRange = nullptr) const;

    // Replace all attributes over a range.
    void setAttributes(const QVariantMap &attributes, qsizetype start, qsizetype length);
    // Set one attribute (or several) over a range, keeping the others.
    void addAttribute(const QString &key, const QVariant &value, qsizetype start, qsizetype length);
    void addAttributes(const QVariantMap &attributes, qsizetype start, qsizetype length);
    void removeAttribute(const QString &key, qsizetype start, qsizetype length);

    // Editing. Each returns *this, so tests can build texts in one expression:
    // QFStyledText().append("Hello, ").append("world", {{kQFBoldAttributeName, true}}).
    QFStyledText &append(const QFStyledText &other);
    QFStyledText &append(const QString &text, const QVariantMap &attributes = QVariantMap());
    QFStyledText &insert(qsizetype index, const QFStyledText &other);
    QFStyledText &replace(qsizetype start, qsizetype length, const QFStyledText &replacement);
    QFStyledText &remove(qsizetype start, qsizetype length);

    // The substring over a range, with its attributes. length -1: to the end.
    QFStyledText mid(qsizetype start, qsizetype length = -1) const;

    // Inserts one U+FFFC carrying the attachment attribute (and no other).
    void insertAttachment(qsizetype index, const QByteArray &imageData, const QString &fileName);
    // The attachments in text order: every U+FFFC carrying an attachment map.
    QList<QFStyledTextAttachment> attachments() const;
    qsizetype attachmentCount() const;
    bool hasAttachments() const;

    // Makes every attachment fit for a web page: images in formats browsers do
    // not show (anything but PNG, JPEG, GIF, WebP; e.g. TIFF, BMP) are
    // re-encoded as PNG and their file name's extension becomes ".png";
    // attachments without a file name get "image-N.<ext>" (N counting
    // attachments from 1 in text order). Image data that cannot be read is left
    // as it is. Returns how many attachments changed; a second call returns 0.
    unsigned normaliseImageAttachments();

    // Archived under the class name "QFStyledText", keyed (the stored form of
    // bodies and summaries) and sequential (inside a plugin's record).
    QString codingClassName() const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    // Registers both factories; safe to call any number of times. The
    // functions below call it themselves.
    static void registerCodingClass();

    QByteArray toKeyedArchive() const;
    // Raises QFException("Malformed Archive") when the bytes are not the keyed
    // archive of a styled text (empty, cut short, garbled, or another class).
    static QFStyledText fromKeyedArchive(const QByteArray &data);

    friend bool operator==(const QFStyledText &a, const QFStyledText &b)
    {
        return a.m_text == b.m_text && a.m_runs == b.m_runs;
    }

private:
    static QFCodingPtr decodeWithKeyedCoder(QFKeyedUnarchiver &coder);
    static QFCodingPtr decodeWithCoder(QFUnarchiver &coder);
    // Checks what an archive holds (a string and nil or [length, attributes]
    // runs covering it exactly) and raises "Malformed Archive" otherwise.
    static QFCodingPtr fromArchivedValues(const QVariant &string, const QVariant &runs);
    QVariant runsForArchive() const;
    qsizetype clippedEnd(qsizetype start, qsizetype length) const;
    qsizetype runIndexAt(qsizetype index) const;
    qsizetype splitAt(qsizetype index);
    void mergeAround(qsizetype firstRun, qsizetype lastRun);
    template<typename Edit>
    void editRange(qsizetype start, qsizetype length, Edit edit);

    QString m_text;
    QList<QFStyledTextRun> m_runs;
};

Q_DECLARE_METATYPE(QFStyledText)

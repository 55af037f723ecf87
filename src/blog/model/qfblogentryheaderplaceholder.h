#pragma once

#include "qfkit/coding/qfcoding.h"

#include <QMetaType>
#include <QString>
#include <optional>

class QFKeyedUnarchiver;
class QFUnarchiver;

// A token of the plugin's entry-header format, which mixes placeholders with
// literal strings (by default: date, "|", categories). Two placeholders exist,
// by name: "Date" and "Category". A copyable value, equal by name.
//
// Archived under the class name "QFBlogEntryHeaderPlaceholder": the sequential
// form writes the name alone, the keyed form writes it under "name". A stored
// name that is not a string reads back as a placeholder without a name.
class QFBlogEntryHeaderPlaceholder final : public QFCoding
{
public:
    QFBlogEntryHeaderPlaceholder() = default;
    explicit QFBlogEntryHeaderPlaceholder(const QString &name);

    static QFBlogEntryHeaderPlaceholder datePlaceholder();
    static QFBlogEntryHeaderPlaceholder categoryPlaceholder();
    // The placeholder a typed token stands for: "Date" or "Category" exactly;
    // empty for any other text, which stays literal.
    static std::optional<QFBlogEntryHeaderPlaceholder> placeholderForString(const QString &text);

    const QString &placeholderName() const { return m_name; }
    bool isDate() const;
    bool isCategory() const;

    QString codingClassName() const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;
    // Registers both readers; idempotent.
    static void registerCodingClass();

    friend bool operator==(const QFBlogEntryHeaderPlaceholder &a, const QFBlogEntryHeaderPlaceholder &b)
    {
        return a.m_name == b.m_name;
    }

private:
    static QFCodingPtr decodeWithCoder(QFUnarchiver &coder);
    static QFCodingPtr decodeWithKeyedCoder(QFKeyedUnarchiver &coder);

    QString m_name;
};

Q_DECLARE_METATYPE(QFBlogEntryHeaderPlaceholder)

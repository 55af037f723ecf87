#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <optional>

// Typed reading of a page-exchange dictionary (the blog's or one post's), as
// it comes out of a package: any key may be missing or hold anything. Each
// reader answers the value when the key holds the expected type and empty
// when the key is missing; a key of another type also answers empty, logs
// "Dictionary has incorrect type for key <key> (type is <found>, should be
// <expected>): <context> (<context date>)" and clears ok(), so a caller that
// must not make a half-read object can give up.
//
// Numbers are property-list integers, reals or booleans; a boolean is a
// boolean or a number (non-zero is true).
class QFBlogSandwichDictionary final
{
public:
    // context and contextDate name the dictionary in the log (a post's title
    // and date, say); either may be null.
    QFBlogSandwichDictionary(const QVariantMap &dictionary, const QVariant &context, const QVariant &contextDate);

    const QVariantMap &dictionary() const { return m_dictionary; }
    bool contains(const QString &key) const;
    bool ok() const { return m_ok; }

    std::optional<QString> string(const QString &key);
    std::optional<qint64> number(const QString &key);
    // A number as an int, clamped to the int range.
    std::optional<int> integer(const QString &key);
    std::optional<bool> boolean(const QString &key);
    std::optional<QDateTime> date(const QString &key);
    std::optional<QVariantList> list(const QString &key);
    std::optional<QVariantMap> map(const QString &key);

private:
    // The value when present and of the type; logs a mismatch.
    std::optional<QVariant> checked(const QString &key, bool (*matches)(const QVariant &), const char *expected);

    QVariantMap m_dictionary;
    QVariant m_context;
    QVariant m_contextDate;
    bool m_ok = true;
};

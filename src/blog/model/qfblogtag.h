#pragma once

#include "qfkit/coding/qfcoding.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

class QDebug;
class QFKeyedUnarchiver;
class QFUnarchiver;

// One tag of a post: a value wrapping its name. Two tags are equal when their
// names are equal exactly (letter case counts: "News" and "news" are two
// tags); the tag itself never trims or folds its name. The editor is what
// reuses a known tag's spelling when the user types a name in another case.
//
// Archived under the class name "QFBlogTag": keyed form {"tagName": name},
// sequential form the name alone. Posts store their tags in the dictionary
// form instead ({"tagName": name}, dictionaryForEncoding()).
class QFBlogTag final : public QFCoding
{
public:
    QFBlogTag() = default;
    explicit QFBlogTag(const QString &tagName);

    static QFBlogTag tagWithName(const QString &tagName);
    // A tag from {"tagName": string}; a missing or non-string value gives a
    // tag without a name (an empty name).
    static QFBlogTag tagWithDictionary(const QVariantMap &dictionary);

    QVariantMap dictionaryForEncoding() const;

    const QString &tagName() const { return m_tagName; }
    void setTagName(const QString &tagName) { m_tagName = tagName; }

    // Plain, case-sensitive comparison of the names: <0, 0 or >0.
    int compare(const QFBlogTag &other) const;

    // "tag-<name as a lower-case file name>", the base name of the tag's page.
    QString hrefFilenameBasename() const;
    // The link to the tag's page from a page generated with `params` (the
    // export parameters): "<filesfoldername>/<basename>.<FilenameExt>" from
    // the main page (depth correction below 1 and "subpage" false), else the
    // file name alone.
    QString hrefWithParams(const QVariantMap &params, int depthCorrection) const;

    // "<QFBlogTag:name>"
    QString description() const;

    QString codingClassName() const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;
    // Registers both readers of "QFBlogTag"; idempotent.
    static void registerCodingClass();

    friend bool operator==(const QFBlogTag &a, const QFBlogTag &b) { return a.m_tagName == b.m_tagName; }
    friend bool operator<(const QFBlogTag &a, const QFBlogTag &b) { return a.m_tagName < b.m_tagName; }

private:
    static QFCodingPtr decodeWithCoder(QFUnarchiver &coder);
    static QFCodingPtr decodeWithKeyedCoder(QFKeyedUnarchiver &coder);

    QString m_tagName;
};

size_t qHash(const QFBlogTag &tag, size_t seed = 0) noexcept;
QDebug operator<<(QDebug debug, const QFBlogTag &tag);

using QFBlogTagList = QList<QFBlogTag>;

Q_DECLARE_METATYPE(QFBlogTag)

#pragma once

#include "qfkit/coding/qfcoding.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <optional>

class QFBlogCustomiTunesTags;
class QFKeyedUnarchiver;
class QFUnarchiver;
using QFBlogCustomiTunesTagsPtr = std::shared_ptr<QFBlogCustomiTunesTags>;

// The iTunes podcast tags of one post (and of the channel). The editor sets
// them by key ("author", "ownerEmail", "ownerName", "category", "keywords",
// "subtitle", "summary", "imageData", "duration", "explicit", "block"); only a
// change of the image posts "QFBlogCustomTagDidChange" (QFBlogNotifier), with
// the tag set as object.
//
// Defaults (tags()): every string empty, no image, no duration, not explicit,
// not blocked, convertImage true.
//
// Archived under the class name "QFBlogCustomiTunesTags". Keyed form: the
// strings, "imageData" and "duration" as objects, then "explicit", "block",
// "convertImage" as booleans. The sequential form writes the same twelve
// values in the same order. Reading starts from the defaults and stores each
// object as it comes (a missing key leaves that value absent, not empty) and
// the flags from their numbers, so an archive without "convertImage" gives
// false, not the default true.
class QFBlogCustomiTunesTags final : public QObject, public QFCoding
{
    Q_OBJECT
    Q_PROPERTY(QString author READ author WRITE setAuthor)
    Q_PROPERTY(QString ownerEmail READ ownerEmail WRITE setOwnerEmail)
    Q_PROPERTY(QString ownerName READ ownerName WRITE setOwnerName)
    Q_PROPERTY(QString category READ category WRITE setCategory)
    Q_PROPERTY(QString keywords READ keywords WRITE setKeywords)
    Q_PROPERTY(QString subtitle READ subtitle WRITE setSubtitle)
    Q_PROPERTY(QString summary READ summary WRITE setSummary)
    Q_PROPERTY(QByteArray imageData READ imageData WRITE setImageData)
    Q_PROPERTY(QVariant duration READ duration WRITE setDuration)
    Q_PROPERTY(bool explicit READ isExplicit WRITE setExplicit)
    Q_PROPERTY(bool block READ block WRITE setBlock)
    Q_PROPERTY(bool convertImage READ convertImage WRITE setConvertImage)

public:
    QFBlogCustomiTunesTags();
    // A new tag set with the defaults.
    static QFBlogCustomiTunesTagsPtr tags();

    // Page-exchange form: "Author", "OwnerEmail", "OwnerName", "Category",
    // "Keywords", "Subtitle", "Summary" where the string is not empty,
    // "Duration" where there is one, "IsExpicit" (true) only when explicit and
    // "IsBlocked" (true) only when blocked. The image is not included (the
    // exchange carries it as a file). Empty when nothing would be written.
    std::optional<QVariantMap> propertyList() const;
    // A new tag set with the defaults, then each value that is present:
    // "Author", "OwnerEmail", "OwnerName", "Category", "Keywords", "Subtitle",
    // "Summary", "Duration", "IsExplicit", "IsBlocked", and the image from
    // imageData when not null. Note the reader's "IsExplicit" against the
    // writer's "IsExpicit": the explicit flag does not survive a round trip
    // through this form, and both spellings are part of the format. A
    // propertyList that is not a map counts as an empty one. Never null.
    static QFBlogCustomiTunesTagsPtr iTunesTagsWithPropertyList(const QVariant &propertyList,
                                                               const QByteArray &imageData);

    // A null QString is an absent value; both read as empty.
    QString author() const { return m_author; }
    QString ownerEmail() const { return m_ownerEmail; }
    QString ownerName() const { return m_ownerName; }
    QString category() const;
    QString keywords() const;
    QString subtitle() const;
    QString summary() const;
    // A null QByteArray when there is no image.
    QByteArray imageData() const { return m_imageData; }
    // A number of seconds (or whatever the user gave); a null QVariant when absent.
    QVariant duration() const { return m_duration; }
    bool isExplicit() const { return m_explicit; }
    bool block() const { return m_block; }
    bool convertImage() const { return m_convertImage; }

    void setAuthor(const QString &value) { m_author = value; }
    void setOwnerEmail(const QString &value) { m_ownerEmail = value; }
    void setOwnerName(const QString &value) { m_ownerName = value; }
    void setCategory(const QString &value) { m_category = value; }
    void setKeywords(const QString &value) { m_keywords = value; }
    void setSubtitle(const QString &value) { m_subtitle = value; }
    void setSummary(const QString &value) { m_summary = value; }
    void setDuration(const QVariant &value) { m_duration = value; }
    void setExplicit(bool value) { m_explicit = value; }
    void setBlock(bool value) { m_block = value; }
    void setConvertImage(bool value) { m_convertImage = value; }

    // Stores the image (null removes it) and posts "QFBlogCustomTagDidChange".
    void setImageData(const QByteArray &data);
    // Sets "imageData" to nothing through its setter (so it posts too).
    void removeImageData();

    // All twelve values equal.
    bool isEqual(const QFBlogCustomiTunesTags &other) const;

    QString codingClassName() const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;
    // Registers both readers of "QFBlogCustomiTunesTags"; idempotent.
    static void registerCodingClass();

private:
    static QFCodingPtr decodeWithCoder(QFUnarchiver &coder);
    static QFCodingPtr decodeWithKeyedCoder(QFKeyedUnarchiver &coder);
    static QFCodingPtr fromArchivedValues(const QVariantList &objects, bool isExplicit, bool block,
                                          bool convertImage);

    QString m_author;
    QString m_ownerEmail;
    QString m_ownerName;
    QString m_category;
    QString m_keywords;
    QString m_subtitle;
    QString m_summary;
    QByteArray m_imageData;
    QVariant m_duration;
    bool m_explicit = false;
    bool m_block = false;
    bool m_convertImage = true;

    Q_DISABLE_COPY_MOVE(QFBlogCustomiTunesTags)
};

Q_DECLARE_METATYPE(QFBlogCustomiTunesTagsPtr)

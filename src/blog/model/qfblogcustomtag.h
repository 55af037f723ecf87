#pragma once

#include "qfkit/coding/qfcoding.h"

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <memory>

class QFBlogCustomTag;
class QFKeyedUnarchiver;
class QFUnarchiver;
using QFBlogCustomTagPtr = std::shared_ptr<QFBlogCustomTag>;

// One extra element of a feed item or of the channel: <tag attributes>value</tag>.
// A new tag reads "tag", "value" and "" (no attributes). The attribute text is
// placed inside the start tag as the user typed it.
//
// Every setter that is handed something other than the very string it holds
// (a different QString object, even with equal text) stores it and posts
// "QFBlogCustomTagDidChange" through QFBlogNotifier with this tag as object;
// handed the same string object back, it does nothing.
//
// Archived under the class name "QFBlogCustomTag": keyed form
// {"tag", "value", "attributes"}, sequential form the same three values in
// that order. Values that are missing or not strings read as absent, which
// the getters show as the empty string. Not owned by anyone in particular:
// posts and the plugin hold it by QFBlogCustomTagPtr.
class QFBlogCustomTag final : public QObject, public QFCoding
{
    Q_OBJECT
    Q_PROPERTY(QString tag READ tag WRITE setTag)
    Q_PROPERTY(QString value READ value WRITE setValue)
    Q_PROPERTY(QString attributes READ attributes WRITE setAttributes)

public:
    QFBlogCustomTag();
    static QFBlogCustomTagPtr create();

    // Page-exchange form: {"Tag", "Value", "Attributes"} (the getters' values).
    QVariantMap propertyList() const;
    // A new tag with the defaults; when propertyList is a map, each of "Tag",
    // "Value", "Attributes" goes to its setter (a missing or non-string value
    // passes nothing, shown as the empty string). Never null.
    static QFBlogCustomTagPtr customTagWithPropertyList(const QVariant &propertyList);

    // The empty string when absent.
    QString tag() const;
    QString value() const;
    QString attributes() const;
    void setTag(const QString &tag);
    void setValue(const QString &value);
    void setAttributes(const QString &attributes);

    // Same element, text and attributes (not identity).
    bool isEqual(const QFBlogCustomTag &other) const;

    QString codingClassName() const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;
    // Registers both readers of "QFBlogCustomTag"; idempotent.
    static void registerCodingClass();

private:
    static QFCodingPtr decodeWithCoder(QFUnarchiver &coder);
    static QFCodingPtr decodeWithKeyedCoder(QFKeyedUnarchiver &coder);
    void store(QString &field, const QString &value);

    QString m_tag;
    QString m_value;
    QString m_attributes;

    Q_DISABLE_COPY_MOVE(QFBlogCustomTag)
};

Q_DECLARE_METATYPE(QFBlogCustomTagPtr)

#include "qfblogcustomtag.h"

#include "blog/model/qfblogvariant.h"
#include "blog/model/qfblognotifier.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <mutex>

namespace {
using QFBlogVariant::stringOrNull;
const QString kClassName = QStringLiteral("QFBlogCustomTag");
const QString kTagKey = QStringLiteral("tag");
const QString kValueKey = QStringLiteral("value");
const QString kAttributesKey = QStringLiteral("attributes");

// "The very object already held": the same string data, not merely equal text.
bool isSameString(const QString &a, const QString &b)
{
    return a.constData() == b.constData() && a.size() == b.size() && a.isNull() == b.isNull();
}
} // namespace

QFBlogCustomTag::QFBlogCustomTag()
    : m_tag(QStringLiteral("tag"))
    , m_value(QStringLiteral("value"))
    , m_attributes(QLatin1String(""))
{
}

QFBlogCustomTagPtr QFBlogCustomTag::create()
{
    return std::make_shared<QFBlogCustomTag>();
}

QVariantMap QFBlogCustomTag::propertyList() const
{
    return QVariantMap{
        {QStringLiteral("Tag"), tag()},
        {QStringLiteral("Value"), value()},
        {QStringLiteral("Attributes"), attributes()},
    };
}

QFBlogCustomTagPtr QFBlogCustomTag::customTagWithPropertyList(const QVariant &propertyList)
{
    auto tag = create();
    if (propertyList.typeId() == QMetaType::QVariantMap) {
        const QVariantMap map = propertyList.toMap();
        tag->setTag(stringOrNull(map.value(QStringLiteral("Tag"))));
        tag->setValue(stringOrNull(map.value(QStringLiteral("Value"))));
        tag->setAttributes(stringOrNull(map.value(QStringLiteral("Attributes"))));
    }
    return tag;
}

QString QFBlogCustomTag::tag() const
{
    return m_tag.isNull() ? QString(QLatin1String("")) : m_tag;
}

QString QFBlogCustomTag::value() const
{
    return m_value.isNull() ? QString(QLatin1String("")) : m_value;
}

QString QFBlogCustomTag::attributes() const
{
    return m_attributes.isNull() ? QString(QLatin1String("")) : m_attributes;
}

void QFBlogCustomTag::store(QString &field, const QString &value)
{
    if (isSameString(field, value))
        return;
    field = value;
    QFBlogNotifier::instance()->postCustomTagDidChange(this);
}

void QFBlogCustomTag::setTag(const QString &tag)
{
    store(m_tag, tag);
}

void QFBlogCustomTag::setValue(const QString &value)
{
    store(m_value, value);
}

void QFBlogCustomTag::setAttributes(const QString &attributes)
{
    store(m_attributes, attributes);
}

bool QFBlogCustomTag::isEqual(const QFBlogCustomTag &other) const
{
    return tag() == other.tag() && value() == other.value() && attributes() == other.attributes();
}

QString QFBlogCustomTag::codingClassName() const
{
    return kClassName;
}

void QFBlogCustomTag::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(m_tag);
    coder.encodeObject(m_value);
    coder.encodeObject(m_attributes);
}

void QFBlogCustomTag::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    coder.encodeObject(m_tag, kTagKey);
    coder.encodeObject(m_value, kValueKey);
    coder.encodeObject(m_attributes, kAttributesKey);
}

QFCodingPtr QFBlogCustomTag::decodeWithCoder(QFUnarchiver &coder)
{
    auto tag = create();
    const QVariant name = coder.decodeObject();
    const QVariant value = coder.decodeObject();
    const QVariant attributes = coder.decodeObject();
    tag->setTag(stringOrNull(name));
    tag->setValue(stringOrNull(value));
    tag->setAttributes(stringOrNull(attributes));
    return tag;
}

QFCodingPtr QFBlogCustomTag::decodeWithKeyedCoder(QFKeyedUnarchiver &coder)
{
    auto tag = create();
    tag->setTag(stringOrNull(coder.decodeObject(kTagKey)));
    tag->setValue(stringOrNull(coder.decodeObject(kValueKey)));
    tag->setAttributes(stringOrNull(coder.decodeObject(kAttributesKey)));
    return tag;
}

void QFBlogCustomTag::registerCodingClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        QFClassRegistry::instance().registerSequential(kClassName, &QFBlogCustomTag::decodeWithCoder);
        QFClassRegistry::instance().registerKeyed(kClassName, &QFBlogCustomTag::decodeWithKeyedCoder);
    });
}

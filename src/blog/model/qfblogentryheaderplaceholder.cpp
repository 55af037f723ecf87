#include "qfblogentryheaderplaceholder.h"

#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <mutex>

namespace {
const QString kClassName = QStringLiteral("QFBlogEntryHeaderPlaceholder");
const QString kNameKey = QStringLiteral("name");
const QString kDateName = QStringLiteral("Date");
const QString kCategoryName = QStringLiteral("Category");

QString stringOrNull(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}
} // namespace

QFBlogEntryHeaderPlaceholder::QFBlogEntryHeaderPlaceholder(const QString &name)
    : m_name(name)
{
}

QFBlogEntryHeaderPlaceholder QFBlogEntryHeaderPlaceholder::datePlaceholder()
{
    return QFBlogEntryHeaderPlaceholder(kDateName);
}

QFBlogEntryHeaderPlaceholder QFBlogEntryHeaderPlaceholder::categoryPlaceholder()
{
    return QFBlogEntryHeaderPlaceholder(kCategoryName);
}

std::optional<QFBlogEntryHeaderPlaceholder> QFBlogEntryHeaderPlaceholder::placeholderForString(const QString &text)
{
    if (text == kDateName)
        return datePlaceholder();
    if (text == kCategoryName)
        return categoryPlaceholder();
    return std::nullopt;
}

bool QFBlogEntryHeaderPlaceholder::isDate() const
{
    return m_name == kDateName;
}

bool QFBlogEntryHeaderPlaceholder::isCategory() const
{
    return m_name == kCategoryName;
}

QString QFBlogEntryHeaderPlaceholder::codingClassName() const
{
    return kClassName;
}

void QFBlogEntryHeaderPlaceholder::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(m_name);
}

void QFBlogEntryHeaderPlaceholder::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    coder.encodeObject(m_name, kNameKey);
}

QFCodingPtr QFBlogEntryHeaderPlaceholder::decodeWithCoder(QFUnarchiver &coder)
{
    return std::make_shared<QFBlogEntryHeaderPlaceholder>(stringOrNull(coder.decodeObject()));
}

QFCodingPtr QFBlogEntryHeaderPlaceholder::decodeWithKeyedCoder(QFKeyedUnarchiver &coder)
{
    return std::make_shared<QFBlogEntryHeaderPlaceholder>(stringOrNull(coder.decodeObject(kNameKey)));
}

void QFBlogEntryHeaderPlaceholder::registerCodingClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        QFClassRegistry::instance().registerSequential(kClassName, &QFBlogEntryHeaderPlaceholder::decodeWithCoder);
        QFClassRegistry::instance().registerKeyed(kClassName, &QFBlogEntryHeaderPlaceholder::decodeWithKeyedCoder);
    });
}

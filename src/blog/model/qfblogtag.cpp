#include "qfblogtag.h"

#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/text/qfstrings.h"

#include <QDebug>
#include <mutex>

namespace {
const QString kClassName = QStringLiteral("QFBlogTag");
const QString kTagNameKey = QStringLiteral("tagName");

QString stringOrNull(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}
} // namespace

QFBlogTag::QFBlogTag(const QString &tagName)
    : m_tagName(tagName)
{
}

QFBlogTag QFBlogTag::tagWithName(const QString &tagName)
{
    return QFBlogTag(tagName);
}

QFBlogTag QFBlogTag::tagWithDictionary(const QVariantMap &dictionary)
{
    return QFBlogTag(stringOrNull(dictionary.value(kTagNameKey)));
}

QVariantMap QFBlogTag::dictionaryForEncoding() const
{
    return QVariantMap{{kTagNameKey, m_tagName}};
}

int QFBlogTag::compare(const QFBlogTag &other) const
{
    return QString::compare(m_tagName, other.m_tagName, Qt::CaseSensitive);
}

QString QFBlogTag::hrefFilenameBasename() const
{
    return QStringLiteral("tag-") + QFStrings::stringEscapedForLowercaseFilename(m_tagName);
}

QString QFBlogTag::hrefWithParams(const QVariantMap &params, int depthCorrection) const
{
    const QString fileName =
        hrefFilenameBasename() + QLatin1Char('.') + params.value(QStringLiteral("FilenameExt")).toString();
    const bool subpage = QFStrings::boolValue(params.value(QStringLiteral("subpage")).toString());
    if (!subpage && depthCorrection < 1)
        return params.value(QStringLiteral("filesfoldername")).toString() + QLatin1Char('/') + fileName;
    return fileName;
}

QString QFBlogTag::description() const
{
    return QStringLiteral("<QFBlogTag:%1>").arg(m_tagName);
}

QString QFBlogTag::codingClassName() const
{
    return kClassName;
}

void QFBlogTag::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(m_tagName);
}

void QFBlogTag::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    coder.encodeObject(m_tagName, kTagNameKey);
}

QFCodingPtr QFBlogTag::decodeWithCoder(QFUnarchiver &coder)
{
    return std::make_shared<QFBlogTag>(stringOrNull(coder.decodeObject()));
}

QFCodingPtr QFBlogTag::decodeWithKeyedCoder(QFKeyedUnarchiver &coder)
{
    return std::make_shared<QFBlogTag>(stringOrNull(coder.decodeObject(kTagNameKey)));
}

void QFBlogTag::registerCodingClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        QFClassRegistry::instance().registerSequential(kClassName, &QFBlogTag::decodeWithCoder);
        QFClassRegistry::instance().registerKeyed(kClassName, &QFBlogTag::decodeWithKeyedCoder);
    });
}

size_t qHash(const QFBlogTag &tag, size_t seed) noexcept
{
    return qHash(tag.tagName(), seed);
}

QDebug operator<<(QDebug debug, const QFBlogTag &tag)
{
    QDebugStateSaver saver(debug);
    debug.noquote() << tag.description();
    return debug;
}

#include "qfblogcustomitunestags.h"

#include "blog/model/qfblogvariant.h"
#include "blog/model/qfblognotifier.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <array>
#include <mutex>

namespace {
using QFBlogVariant::isNumber;
using QFBlogVariant::stringOrNull;
const QString kClassName = QStringLiteral("QFBlogCustomiTunesTags");

// The archived objects, in archive order; the three flags follow them.
const std::array<QString, 9> kObjectKeys = {
    QStringLiteral("author"),   QStringLiteral("ownerEmail"), QStringLiteral("ownerName"),
    QStringLiteral("category"), QStringLiteral("keywords"),   QStringLiteral("subtitle"),
    QStringLiteral("summary"),  QStringLiteral("imageData"),  QStringLiteral("duration"),
};
const QString kExplicitKey = QStringLiteral("explicit");
const QString kBlockKey = QStringLiteral("block");
const QString kConvertImageKey = QStringLiteral("convertImage");

QString emptyIfNull(const QString &s)
{
    return s.isNull() ? QString(QLatin1String("")) : s;
}
} // namespace

QFBlogCustomiTunesTags::QFBlogCustomiTunesTags()
    : m_author(QLatin1String(""))
    , m_ownerEmail(QLatin1String(""))
    , m_ownerName(QLatin1String(""))
    , m_category(QLatin1String(""))
    , m_keywords(QLatin1String(""))
    , m_subtitle(QLatin1String(""))
    , m_summary(QLatin1String(""))
{
}

QFBlogCustomiTunesTagsPtr QFBlogCustomiTunesTags::tags()
{
    return std::make_shared<QFBlogCustomiTunesTags>();
}

QString QFBlogCustomiTunesTags::category() const
{
    return emptyIfNull(m_category);
}

QString QFBlogCustomiTunesTags::keywords() const
{
    return emptyIfNull(m_keywords);
}

QString QFBlogCustomiTunesTags::subtitle() const
{
    return emptyIfNull(m_subtitle);
}

QString QFBlogCustomiTunesTags::summary() const
{
    return emptyIfNull(m_summary);
}

void QFBlogCustomiTunesTags::setImageData(const QByteArray &data)
{
    m_imageData = data;
    QFBlogNotifier::instance()->postCustomTagDidChange(this);
}

void QFBlogCustomiTunesTags::removeImageData()
{
    setProperty("imageData", QVariant(QByteArray()));
}

std::optional<QVariantMap> QFBlogCustomiTunesTags::propertyList() const
{
    QVariantMap list;
    const auto putString = [&list](const char *key, const QString &value) {
        if (!value.isEmpty())
            list.insert(QLatin1String(key), value);
    };
    putString("Author", m_author);
    putString("OwnerEmail", m_ownerEmail);
    putString("OwnerName", m_ownerName);
    putString("Category", m_category);
    putString("Keywords", m_keywords);
    putString("Subtitle", m_subtitle);
    putString("Summary", m_summary);
    if (m_duration.isValid() && !m_duration.isNull())
        list.insert(QStringLiteral("Duration"), m_duration);
    // The misspelt key is what the format has always written.
    if (m_explicit)
        list.insert(QStringLiteral("IsExpicit"), true);
    if (m_block)
        list.insert(QStringLiteral("IsBlocked"), true);
    if (list.isEmpty())
        return std::nullopt;
    return list;
}

QFBlogCustomiTunesTagsPtr QFBlogCustomiTunesTags::iTunesTagsWithPropertyList(const QVariant &propertyList,
                                                                             const QByteArray &imageData)
{
    auto tags = QFBlogCustomiTunesTags::tags();
    const QVariantMap list =
        propertyList.typeId() == QMetaType::QVariantMap ? propertyList.toMap() : QVariantMap();
    const auto setIfPresent = [&](const char *listKey, const char *property) {
        const QVariant value = list.value(QLatin1String(listKey));
        if (value.isValid() && !value.isNull())
            tags->setProperty(property, value);
    };
    setIfPresent("Author", "author");
    setIfPresent("OwnerEmail", "ownerEmail");
    setIfPresent("OwnerName", "ownerName");
    setIfPresent("Category", "category");
    setIfPresent("Keywords", "keywords");
    setIfPresent("Subtitle", "subtitle");
    setIfPresent("Summary", "summary");
    if (!imageData.isNull())
        tags->setImageData(imageData);
    setIfPresent("Duration", "duration");
    // The reader has always looked for the correct spelling, so an exchanged
    // explicit flag is lost; kept as the format stands.
    setIfPresent("IsExplicit", "explicit");
    setIfPresent("IsBlocked", "block");
    return tags;
}

bool QFBlogCustomiTunesTags::isEqual(const QFBlogCustomiTunesTags &other) const
{
    return m_author == other.m_author && m_ownerEmail == other.m_ownerEmail && m_ownerName == other.m_ownerName
        && m_category == other.m_category && m_keywords == other.m_keywords && m_subtitle == other.m_subtitle
        && m_summary == other.m_summary && m_imageData == other.m_imageData && m_duration == other.m_duration
        && m_explicit == other.m_explicit && m_block == other.m_block && m_convertImage == other.m_convertImage;
}

QString QFBlogCustomiTunesTags::codingClassName() const
{
    return kClassName;
}

void QFBlogCustomiTunesTags::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(m_author);
    coder.encodeObject(m_ownerEmail);
    coder.encodeObject(m_ownerName);
    coder.encodeObject(m_category);
    coder.encodeObject(m_keywords);
    coder.encodeObject(m_subtitle);
    coder.encodeObject(m_summary);
    coder.encodeObject(m_imageData);
    coder.encodeObject(m_duration);
    coder.encodeObject(m_explicit);
    coder.encodeObject(m_block);
    coder.encodeObject(m_convertImage);
}

void QFBlogCustomiTunesTags::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    const QVariantList objects = {m_author,   m_ownerEmail, m_ownerName, m_category, m_keywords,
                                  m_subtitle, m_summary,    m_imageData, m_duration};
    for (size_t i = 0; i < kObjectKeys.size(); ++i)
        coder.encodeObject(objects.at(qsizetype(i)), kObjectKeys[i]);
    coder.encodeBool(m_explicit, kExplicitKey);
    coder.encodeBool(m_block, kBlockKey);
    coder.encodeBool(m_convertImage, kConvertImageKey);
}

QFCodingPtr QFBlogCustomiTunesTags::fromArchivedValues(const QVariantList &objects, bool isExplicit, bool block,
                                                      bool convertImage)
{
    // Objects are stored as they come: a missing one leaves its field absent
    // (a null string), not the empty default.
    auto tags = QFBlogCustomiTunesTags::tags();
    tags->m_author = stringOrNull(objects.value(0));
    tags->m_ownerEmail = stringOrNull(objects.value(1));
    tags->m_ownerName = stringOrNull(objects.value(2));
    tags->m_category = stringOrNull(objects.value(3));
    tags->m_keywords = stringOrNull(objects.value(4));
    tags->m_subtitle = stringOrNull(objects.value(5));
    tags->m_summary = stringOrNull(objects.value(6));
    const QVariant image = objects.value(7);
    tags->m_imageData = image.typeId() == QMetaType::QByteArray ? image.toByteArray() : QByteArray();
    const QVariant duration = objects.value(8);
    tags->m_duration = (isNumber(duration) || duration.typeId() == QMetaType::QString) ? duration : QVariant();
    tags->m_explicit = isExplicit;
    tags->m_block = block;
    tags->m_convertImage = convertImage;
    return tags;
}

QFCodingPtr QFBlogCustomiTunesTags::decodeWithCoder(QFUnarchiver &coder)
{
    QVariantList objects;
    for (size_t i = 0; i < kObjectKeys.size(); ++i)
        objects.append(coder.decodeObject());
    const QVariant isExplicit = coder.decodeObject();
    const QVariant block = coder.decodeObject();
    const QVariant convertImage = coder.decodeObject();
    const auto flag = [](const QVariant &value) { return isNumber(value) && value.toBool(); };
    return fromArchivedValues(objects, flag(isExplicit), flag(block), flag(convertImage));
}

QFCodingPtr QFBlogCustomiTunesTags::decodeWithKeyedCoder(QFKeyedUnarchiver &coder)
{
    QVariantList objects;
    for (const QString &key : kObjectKeys)
        objects.append(coder.decodeObject(key));
    return fromArchivedValues(objects, coder.decodeBool(kExplicitKey), coder.decodeBool(kBlockKey),
                              coder.decodeBool(kConvertImageKey));
}

void QFBlogCustomiTunesTags::registerCodingClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        QFClassRegistry::instance().registerSequential(kClassName, &QFBlogCustomiTunesTags::decodeWithCoder);
        QFClassRegistry::instance().registerKeyed(kClassName, &QFBlogCustomiTunesTags::decodeWithKeyedCoder);
    });
}

#include "qfblogcategory.h"

#include "blog/model/qfblogvariant.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/text/qfstrings.h"

#include <QHashFunctions>
#include <mutex>

namespace {
using QFBlogVariant::isNumber;
using QFBlogVariant::stringOrNull;
using QFBlogVariant::intOrZero;
using QFBlogVariant::boolOrFalse;
const QString kClassName = QStringLiteral("QFBlogCategory");
// Archive keys; the dictionary form spells the flag "categoryNone" instead.
const QString kNameKey = QStringLiteral("categoryName");
const QString kIDKey = QStringLiteral("categoryID");
const QString kIsNoneKey = QStringLiteral("categoryIsNone");
const QString kPluginKey = QStringLiteral("blogPlugin");
const QString kDictionaryNoneKey = QStringLiteral("categoryNone");

} // namespace

QFBlogCategory::QFBlogCategory(QFBlogPlugin *blogPlugin)
    : m_blogPlugin(blogPlugin)
{
}

QFBlogCategory::~QFBlogCategory()
{
    for (auto it = m_observers.crbegin(); it != m_observers.crend(); ++it)
        QObject::disconnect(it->connection);
}

QFBlogCategoryPtr QFBlogCategory::create(QFBlogPlugin *blogPlugin)
{
    return std::make_shared<QFBlogCategory>(blogPlugin);
}

QFBlogCategoryPtr QFBlogCategory::categoryWithName(const QString &name, QFBlogPlugin *blogPlugin)
{
    auto category = create(blogPlugin);
    category->setCategoryName(name);
    return category;
}

QFBlogCategoryPtr QFBlogCategory::categoryWithDictionary(const QVariantMap &dictionary, QFBlogPlugin *blogPlugin)
{
    auto category = create(blogPlugin);
    const QString name = stringOrNull(dictionary.value(kNameKey));
    if (!name.isNull())
        category->setCategoryName(name);
    category->m_categoryID = intOrZero(dictionary.value(kIDKey));
    category->m_isNone = boolOrFalse(dictionary.value(kDictionaryNoneKey));
    return category;
}

QFBlogCategoryPtr QFBlogCategory::noneCategoryWithBlogPlugin(QFBlogPlugin *blogPlugin)
{
    auto category = create(blogPlugin);
    category->setCategoryName(QFBlogPlugin::localizedString(QStringLiteral("NoneCategoryName")));
    category->m_isNone = true;
    return category;
}

QFBlogCategoryPtr QFBlogCategory::createFromDictionary(const QVariantMap &dictionary, QFBlogPlugin *blogPlugin)
{
    auto category = create(blogPlugin);
    const QString name = stringOrNull(dictionary.value(QStringLiteral("Name")));
    if (!name.isNull())
        category->setCategoryName(name);
    category->m_categoryID = intOrZero(dictionary.value(QStringLiteral("ID")));
    return category;
}

QVariantMap QFBlogCategory::dictionaryForEncoding() const
{
    return QVariantMap{
        {kNameKey, m_categoryName.isNull() ? QString(QLatin1String("")) : m_categoryName},
        {kIDKey, m_categoryID},
        {kDictionaryNoneKey, m_isNone},
    };
}

std::optional<QVariantMap> QFBlogCategory::propertyList() const
{
    if (m_isNone)
        return std::nullopt;
    return QVariantMap{
        {QStringLiteral("Name"), m_categoryName.isNull() ? QString(QLatin1String("")) : m_categoryName},
        {QStringLiteral("ID"), m_categoryID},
    };
}

bool QFBlogCategory::validateCategoryName(QString *name, int *errorCode) const
{
    if (!m_blogPlugin || !name)
        return true;
    for (const QFBlogCategoryPtr &other : m_blogPlugin->categories()) {
        if (!other || other.get() == this)
            continue;
        if (QString::compare(other->m_categoryName, *name, Qt::CaseInsensitive) == 0) {
            *name = QString();
            if (errorCode)
                *errorCode = kQFValidationErrorCode;
            return false;
        }
    }
    return true;
}

void QFBlogCategory::setCategoryName(const QString &name)
{
    QString proposed = name;
    validateCategoryName(&proposed);
    if (proposed.isNull())
        return;
    m_categoryName = proposed;
    emit categoryNameChanged(this);
    if (m_blogPlugin)
        m_blogPlugin->broadcastPluginChanged();
}

bool QFBlogCategory::isValid() const
{
    return !m_categoryName.isEmpty();
}

QList<QFBlogEntryPtr> QFBlogCategory::posts() const
{
    QList<QFBlogEntryPtr> result;
    if (!m_blogPlugin)
        return result;
    for (const QFBlogEntryPtr &entry : m_blogPlugin->posts()) {
        if (entry && entry->categoryIDs().contains(m_categoryID))
            result.append(entry);
    }
    return result;
}

QString QFBlogCategory::categoryFilenameBasename() const
{
    return QStringLiteral("category-") + QFStrings::stringEscapedForLowercaseFilename(m_categoryName);
}

QString QFBlogCategory::description() const
{
    return QStringLiteral("<QFBlogCategory%1:%2 (0x%3)>")
        .arg(m_categoryID)
        .arg(m_categoryName)
        .arg(quintptr(this), 0, 16);
}

bool QFBlogCategory::isEqual(const QFBlogCategory &other) const
{
    return QString::compare(m_categoryName, other.m_categoryName, Qt::CaseInsensitive) == 0
        && m_categoryID == other.m_categoryID && m_isNone == other.m_isNone;
}

size_t QFBlogCategory::hash(size_t seed) const
{
    return qHash(m_categoryName.toLower(), seed) + size_t(m_categoryID) + (m_isNone ? 1 : 0);
}

void QFBlogCategory::addCategoryObserver(QObject *observer, std::function<void(QFBlogCategory *)> onNameChanged)
{
    if (!observer)
        return;
    for (const Observer &known : std::as_const(m_observers)) {
        if (known.object == observer)
            return;
    }
    QMetaObject::Connection connection;
    if (onNameChanged)
        connection = connect(this, &QFBlogCategory::categoryNameChanged, observer, std::move(onNameChanged));
    m_observers.append(Observer{observer, connection});
}

QList<QObject *> QFBlogCategory::observers() const
{
    QList<QObject *> result;
    for (const Observer &observer : m_observers) {
        if (observer.object)
            result.append(observer.object.data());
    }
    return result;
}

QString QFBlogCategory::codingClassName() const
{
    return kClassName;
}

void QFBlogCategory::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(m_categoryName);
    coder.encodeObject(qint64(m_categoryID));
    coder.encodeObject(m_isNone);
    coder.encodeObject(qint64(quintptr(m_blogPlugin)));
}

void QFBlogCategory::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    coder.encodeObject(m_categoryName, kNameKey);
    coder.encodeInt(m_categoryID, kIDKey);
    coder.encodeBool(m_isNone, kIsNoneKey);
    coder.encodeInt(qint64(quintptr(m_blogPlugin)), kPluginKey);
}

QFCodingPtr QFBlogCategory::fromArchivedValues(const QVariant &name, qint64 categoryID, bool isNone,
                                               qint64 pluginAddress)
{
    // No plugin yet: its owner attaches it, and names are checked then.
    auto category = create(nullptr);
    category->m_categoryName = stringOrNull(name);
    category->m_categoryID = int(categoryID);
    category->m_isNone = isNone;
    category->m_archivedPluginAddress = pluginAddress;
    return category;
}

QFCodingPtr QFBlogCategory::decodeWithCoder(QFUnarchiver &coder)
{
    const QVariant name = coder.decodeObject();
    const QVariant categoryID = coder.decodeObject();
    const QVariant isNone = coder.decodeObject();
    const QVariant plugin = coder.decodeObject();
    return fromArchivedValues(name, intOrZero(categoryID), boolOrFalse(isNone),
                              isNumber(plugin) ? plugin.toLongLong() : 0);
}

QFCodingPtr QFBlogCategory::decodeWithKeyedCoder(QFKeyedUnarchiver &coder)
{
    return fromArchivedValues(coder.decodeObject(kNameKey), coder.decodeInt(kIDKey), coder.decodeBool(kIsNoneKey),
                              coder.decodeInt(kPluginKey));
}

void QFBlogCategory::registerCodingClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        QFClassRegistry::instance().registerSequential(kClassName, &QFBlogCategory::decodeWithCoder);
        QFClassRegistry::instance().registerKeyed(kClassName, &QFBlogCategory::decodeWithKeyedCoder);
    });
}

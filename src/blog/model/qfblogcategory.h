#pragma once

#include "qfkit/coding/qfcoding.h"

#include <QList>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>

class QFBlogCategory;
class QFBlogEntry;
class QFBlogPlugin;
class QFKeyedUnarchiver;
class QFUnarchiver;
using QFBlogCategoryPtr = std::shared_ptr<QFBlogCategory>;
using QFBlogEntryPtr = std::shared_ptr<QFBlogEntry>;

// The error code of a refused value (a category name already in use).
inline constexpr int kQFValidationErrorCode = 1024;

// One category of a blog. The plugin owns the list of categories, in user
// order; posts refer to them only by categoryID. Element 0 of the plugin's list
// is the "None" category (isNone), which stands for "no category": it never
// gets a page, a link or a page-exchange entry.
//
// Equality (isEqual/hash) is by name ignoring letter case, ID and isNone.
// Names are unique within a plugin ignoring case: setCategoryName() refuses a
// name that another category of the plugin already has (silently; the old
// name stays and nothing is reported).
//
// blogPlugin is a plain non-owning pointer; the plugin outlives its categories
// or detaches them. A category read from an archive has none: the plugin must
// attach it (setBlogPlugin) after loading.
//
// Archived under the class name "QFBlogCategory". Keyed form: "categoryName",
// "categoryID", "categoryIsNone", "blogPlugin" (the plugin's address as a
// number, as older files have it: meaningless when read, kept only in
// archivedPluginAddress()). The sequential form has the same four values in
// that order. The dictionary form of the plugin record is different (see
// dictionaryForEncoding).
class QFBlogCategory final : public QObject, public QFCoding
{
    Q_OBJECT
    Q_PROPERTY(QString categoryName READ categoryName WRITE setCategoryName NOTIFY categoryNameChanged)
    Q_PROPERTY(int categoryID READ categoryID WRITE setCategoryID)
    Q_PROPERTY(bool isNone READ isNone WRITE setIsNone)

public:
    explicit QFBlogCategory(QFBlogPlugin *blogPlugin = nullptr);
    ~QFBlogCategory() override;

    // Empty category (no name, ID 0, not None).
    static QFBlogCategoryPtr create(QFBlogPlugin *blogPlugin);
    // Named through setCategoryName(), so a name in use leaves it without one.
    static QFBlogCategoryPtr categoryWithName(const QString &name, QFBlogPlugin *blogPlugin);
    // From the plugin-record form {"categoryName", "categoryID", "categoryNone"};
    // missing or mistyped values give an empty name, 0 and false. Never null.
    static QFBlogCategoryPtr categoryWithDictionary(const QVariantMap &dictionary, QFBlogPlugin *blogPlugin);
    // The None category, named by the localised "NoneCategoryName"; ID 0.
    static QFBlogCategoryPtr noneCategoryWithBlogPlugin(QFBlogPlugin *blogPlugin);
    // From the page-exchange form {"Name", "ID"}; never a None category. Never null.
    static QFBlogCategoryPtr createFromDictionary(const QVariantMap &dictionary, QFBlogPlugin *blogPlugin);

    // {"categoryName": string, "categoryID": int, "categoryNone": bool}
    QVariantMap dictionaryForEncoding() const;
    // Page-exchange form {"Name": string, "ID": int}; empty for the None category.
    std::optional<QVariantMap> propertyList() const;

    const QString &categoryName() const { return m_categoryName; }
    // Validates (see validateCategoryName), then stores and tells the plugin
    // the page changed. A refused name changes and reports nothing.
    void setCategoryName(const QString &name);
    // True when *name may be used. When another category of the plugin has
    // the name ignoring case, *name becomes a null QString, *errorCode (when
    // given) kQFValidationErrorCode, and the answer is false. Without a
    // plugin every name is valid.
    bool validateCategoryName(QString *name, int *errorCode = nullptr) const;

    int categoryID() const { return m_categoryID; }
    void setCategoryID(int categoryID) { m_categoryID = categoryID; }
    bool isNone() const { return m_isNone; }
    // Whether text typed or read from a file names this category: its name
    // ignoring case, and for the None category "None" too, whatever its
    // stored (localised) name.
    bool isNamed(const QString &name) const
    {
        return m_categoryName.compare(name, Qt::CaseInsensitive) == 0
               || (m_isNone && name.compare(QLatin1String("None"), Qt::CaseInsensitive) == 0);
    }
    void setIsNone(bool isNone) { m_isNone = isNone; }
    QFBlogPlugin *blogPlugin() const { return m_blogPlugin; }
    void setBlogPlugin(QFBlogPlugin *blogPlugin) { m_blogPlugin = blogPlugin; }
    // What an archive stored for the plugin (an address from another run).
    qint64 archivedPluginAddress() const { return m_archivedPluginAddress; }

    // The name is not empty.
    bool isValid() const;
    // The plugin's posts, in their order, that are filed under this category.
    QList<QFBlogEntryPtr> posts() const;
    // "category-<name as a lower-case file name>"
    QString categoryFilenameBasename() const;
    // "<QFBlogCategory<ID>:<name> (<address>)>"
    QString description() const;

    bool isEqual(const QFBlogCategory &other) const;
    size_t hash(size_t seed = 0) const;

    // Registers observer for renames: onNameChanged runs after every change
    // of categoryName while both objects live. An observer already registered
    // is ignored. The registrations end, latest first, when the category is
    // destroyed.
    void addCategoryObserver(QObject *observer, std::function<void(QFBlogCategory *)> onNameChanged = {});
    QList<QObject *> observers() const;

    QString codingClassName() const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;
    // Registers both readers of "QFBlogCategory"; idempotent.
    static void registerCodingClass();

signals:
    void categoryNameChanged(QFBlogCategory *category);

private:
    struct Observer
    {
        QPointer<QObject> object;
        QMetaObject::Connection connection;
    };
    static QFCodingPtr decodeWithCoder(QFUnarchiver &coder);
    static QFCodingPtr decodeWithKeyedCoder(QFKeyedUnarchiver &coder);
    static QFCodingPtr fromArchivedValues(const QVariant &name, qint64 categoryID, bool isNone,
                                          qint64 pluginAddress);

    QString m_categoryName;
    int m_categoryID = 0;
    bool m_isNone = false;
    QList<Observer> m_observers;
    QFBlogPlugin *m_blogPlugin = nullptr;
    qint64 m_archivedPluginAddress = 0;

    Q_DISABLE_COPY_MOVE(QFBlogCategory)
};

Q_DECLARE_METATYPE(QFBlogCategoryPtr)

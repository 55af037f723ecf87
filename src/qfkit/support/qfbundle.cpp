#include "qfbundle.h"

#include "qflog.h"
#include "qfexception.h"
#include "qfkit/plist/qfpropertylist.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <mutex>

struct QFBundle::Private
{
    QString bundlePath;
    QString resourcePath;
    std::once_flag tableLoaded;
    QVariantMap table;
};

namespace {
const QString kEnglishFolder = QStringLiteral("en.lproj");
const QString kStringTable = QStringLiteral("Localizable.plist");
}

QFBundle::QFBundle()
    : d(std::make_shared<Private>())
{
}

QFBundle::QFBundle(const QString &bundlePath)
    : d(std::make_shared<Private>())
{
    if (!bundlePath.isEmpty()) {
        d->bundlePath = QDir::cleanPath(bundlePath);
        d->resourcePath = d->bundlePath + QStringLiteral("/Resources");
    }
}

bool QFBundle::isNull() const
{
    return d->bundlePath.isEmpty();
}

QString QFBundle::bundlePath() const
{
    return d->bundlePath;
}

QString QFBundle::resourcePath() const
{
    return d->resourcePath;
}

QString QFBundle::pathForResource(const QString &name, const QString &type) const
{
    if (isNull() || name.isEmpty())
        return QString();
    const QString fileName = type.isEmpty() ? name : name + QLatin1Char('.') + type;
    const QString root = d->resourcePath + QLatin1Char('/');
    for (const QString &folder : {d->resourcePath, d->resourcePath + QLatin1Char('/') + kEnglishFolder}) {
        const QString candidate = QDir::cleanPath(folder + QLatin1Char('/') + fileName);
        if (!candidate.startsWith(root))
            return QString(); // "../" in a name must not reach outside the bundle
        if (QFileInfo::exists(candidate))
            return candidate;
    }
    return QString();
}

QVariant QFBundle::propertyListResource(const QString &name) const
{
    const QString path = pathForResource(name, QStringLiteral("plist"));
    if (path.isEmpty()) {
        qfLog(QStringLiteral("Bundle %1 has no property list resource \"%2\"").arg(d->bundlePath, name));
        return QVariant();
    }
    try {
        return QFPropertyList::fromFile(path);
    } catch (const QFException &e) {
        qfLog(QStringLiteral("Bundle property list could not be read: %1").arg(e.reason()));
    } catch (const std::exception &e) {
        qfLog(QStringLiteral("Bundle property list %1 could not be read: %2").arg(path, QString::fromUtf8(e.what())));
    }
    return QVariant();
}

QString QFBundle::stringResource(const QString &name, const QString &type) const
{
    const QString path = pathForResource(name, type);
    if (path.isEmpty())
        return QString();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qfLog(QStringLiteral("Bundle resource %1 could not be read: %2").arg(path, file.errorString()));
        return QString();
    }
    return QString::fromUtf8(file.readAll());
}

QString QFBundle::localizedString(const QString &key) const
{
    std::call_once(d->tableLoaded, [this] {
        if (isNull())
            return;
        const QString path = d->resourcePath + QLatin1Char('/') + kEnglishFolder + QLatin1Char('/') + kStringTable;
        if (!QFileInfo::exists(path)) {
            qfLog(QStringLiteral("Bundle %1 has no string table").arg(d->bundlePath));
            return;
        }
        try {
            const QVariant table = QFPropertyList::fromFile(path);
            if (table.typeId() == QMetaType::QVariantMap)
                d->table = table.toMap();
            else
                qfLog(QStringLiteral("String table %1 is not a dictionary").arg(path));
        } catch (const QFException &e) {
            qfLog(QStringLiteral("String table could not be read: %1").arg(e.reason()));
        } catch (const std::exception &e) {
            qfLog(QStringLiteral("String table %1 could not be read: %2").arg(path, QString::fromUtf8(e.what())));
        }
    });
    const auto it = d->table.constFind(key);
    if (it == d->table.constEnd() || it->typeId() != QMetaType::QString)
        return key;
    return it->toString();
}

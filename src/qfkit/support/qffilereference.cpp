#include "qffilereference.h"

#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <QDir>
#include <QFileInfo>
#include <mutex>

namespace {

const QString kClassName = QStringLiteral("QFFileReference");
const QString kAbsolutePath = QStringLiteral("absolutePath");
const QString kRelativePath = QStringLiteral("relativePath");

QString documentFolder(const QString &documentPath)
{
    if (documentPath.isEmpty())
        return QString();
    const QFileInfo info(documentPath);
    if (info.isDir())
        return info.absoluteFilePath();
    return info.absolutePath();
}

QString stringOrEmpty(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

} // namespace

QFFileReference::QFFileReference(const QString &absolutePath, const QString &documentPath)
{
    if (absolutePath.isEmpty())
        return;
    m_absolutePath = QDir::cleanPath(QFileInfo(absolutePath).absoluteFilePath());
    const QString folder = documentFolder(documentPath);
    if (!folder.isEmpty())
        m_relativePath = QDir(folder).relativeFilePath(m_absolutePath);
}

QString QFFileReference::resolveRelativeTo(const QString &documentPath) const
{
    QString relative;
    const QString folder = documentFolder(documentPath);
    if (!m_relativePath.isEmpty() && !folder.isEmpty()) {
        relative = QDir::cleanPath(QDir(folder).filePath(m_relativePath));
        if (QFileInfo::exists(relative))
            return relative;
    }
    if (!m_absolutePath.isEmpty() && QFileInfo::exists(m_absolutePath))
        return m_absolutePath;
    return relative.isEmpty() ? m_absolutePath : relative;
}

QVariantMap QFFileReference::propertyList() const
{
    QVariantMap map;
    map.insert(kAbsolutePath, m_absolutePath);
    if (!m_relativePath.isEmpty())
        map.insert(kRelativePath, m_relativePath);
    return map;
}

QFFileReferencePtr QFFileReference::fromPaths(const QString &absolutePath, const QString &relativePath)
{
    auto reference = std::make_shared<QFFileReference>();
    // Stored paths are taken as they are: cleaning them here would turn a
    // reference read from someone else's machine into a path of this one.
    reference->m_absolutePath = absolutePath;
    reference->m_relativePath = relativePath;
    return reference;
}

QFFileReferencePtr QFFileReference::fromPropertyList(const QVariantMap &propertyList)
{
    const QString absolute = stringOrEmpty(propertyList.value(kAbsolutePath));
    const QString relative = stringOrEmpty(propertyList.value(kRelativePath));
    if (absolute.isEmpty() && relative.isEmpty())
        return nullptr;
    return fromPaths(absolute, relative);
}

QString QFFileReference::codingClassName() const
{
    return kClassName;
}

void QFFileReference::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(QVariant(m_absolutePath));
    coder.encodeObject(QVariant(m_relativePath));
}

void QFFileReference::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    coder.encodeObject(m_absolutePath, kAbsolutePath);
    if (!m_relativePath.isEmpty())
        coder.encodeObject(m_relativePath, kRelativePath);
}

void QFFileReference::registerCodingClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        QFClassRegistry &registry = QFClassRegistry::instance();
        registry.registerSequential(kClassName, [](QFUnarchiver &coder) -> QFCodingPtr {
            const QString absolute = stringOrEmpty(coder.decodeObject());
            const QString relative = stringOrEmpty(coder.decodeObject());
            return fromPaths(absolute, relative);
        });
        registry.registerKeyed(kClassName, [](QFKeyedUnarchiver &coder) -> QFCodingPtr {
            return fromPaths(stringOrEmpty(coder.decodeObject(kAbsolutePath)),
                             stringOrEmpty(coder.decodeObject(kRelativePath)));
        });
    });
}

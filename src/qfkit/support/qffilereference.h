#pragma once

#include "qfkit/coding/qfcoding.h"

#include <QString>
#include <QVariantMap>
#include <memory>

class QFFileReference;
using QFFileReferencePtr = std::shared_ptr<QFFileReference>;

// A reference to a file (a podcast file, say) that still finds the file after
// the site and its media have been moved together. It keeps the file's
// absolute path and, when made with the site document's path, the path
// relative to the document's folder.
//
// Stored three ways, all with the same two values: a property list
// {"absolutePath": string, "relativePath": string (only when there is one)},
// the keyed archive form (the same keys) and the sequential archive form (the
// absolute path, then the relative path or an empty string), under the class
// name "QFFileReference". Inside archives it travels as a QFFileReferencePtr.
class QFFileReference final : public QFCoding
{
public:
    QFFileReference() = default;
    // documentPath is the path of the site document (or of its folder, when
    // it names an existing folder); without one there is no relative path.
    explicit QFFileReference(const QString &absolutePath, const QString &documentPath = QString());

    bool isNull() const { return m_absolutePath.isEmpty() && m_relativePath.isEmpty(); }
    const QString &absolutePath() const { return m_absolutePath; }
    const QString &relativePath() const { return m_relativePath; }

    // Where the file is now, for a document at documentPath:
    //  1. the relative path against the document's folder, when that file exists;
    //  2. else the absolute path, when that file exists;
    //  3. else (neither exists) the relative resolution if there is one, else
    //     the absolute path.
    // An empty QString for a null reference.
    QString resolveRelativeTo(const QString &documentPath) const;

    QVariantMap propertyList() const;
    // Null when the map holds neither path as a string (values of other types
    // are ignored).
    static QFFileReferencePtr fromPropertyList(const QVariantMap &propertyList);

    QString codingClassName() const override;
    void encodeWithCoder(QFArchiver &coder) const override;
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override;

    // Registers the archive readers of "QFFileReference" with QFClassRegistry.
    // Safe to call any number of times, from any thread.
    static void registerCodingClass();

    friend bool operator==(const QFFileReference &a, const QFFileReference &b)
    {
        return a.m_absolutePath == b.m_absolutePath && a.m_relativePath == b.m_relativePath;
    }

private:
    static QFFileReferencePtr fromPaths(const QString &absolutePath, const QString &relativePath);

    QString m_absolutePath;
    QString m_relativePath;
};

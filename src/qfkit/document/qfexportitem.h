#pragma once

#include <QMetaType>
#include <QString>
#include <QVariantMap>

// One result of a plugin's export call, handed to the site exporter: either a
// file that the exporter copies into the page's files folder (an absolute
// path), or a content-only sub-page: HTML that the exporter places inside the
// site's page template itself and writes under the given file name.
//
// A small copyable value. A default-constructed item is null (neither kind)
// and is ignored by the exporter.
class QFExportItem
{
public:
    enum class Kind { Null, File, ContentOnlySubpage };

    QFExportItem() = default;

    static QFExportItem file(const QString &absolutePath);
    static QFExportItem contentOnlySubpage(const QString &html, const QString &name);

    Kind kind() const { return m_kind; }
    bool isNull() const { return m_kind == Kind::Null; }
    bool isFile() const { return m_kind == Kind::File; }
    bool isContentOnlySubpage() const { return m_kind == Kind::ContentOnlySubpage; }

    // The absolute path of a file item; empty for the other kinds.
    const QString &filePath() const { return m_filePath; }
    // The HTML and the file name of a content-only sub-page; empty otherwise.
    const QString &html() const { return m_html; }
    const QString &name() const { return m_name; }
    // Values the exporter puts into the site's page template for a
    // content-only sub-page instead of the page's own (such as "title").
    const QVariantMap &substitutions() const { return m_substitutions; }
    void setSubstitution(const QString &key, const QVariant &value) { m_substitutions.insert(key, value); }

    friend bool operator==(const QFExportItem &a, const QFExportItem &b)
    {
        return a.m_kind == b.m_kind && a.m_filePath == b.m_filePath && a.m_html == b.m_html
            && a.m_name == b.m_name && a.m_substitutions == b.m_substitutions;
    }

private:
    Kind m_kind = Kind::Null;
    QString m_filePath;
    QString m_html;
    QString m_name;
    QVariantMap m_substitutions;
};

Q_DECLARE_METATYPE(QFExportItem)

#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>
#include <optional>

// The list of files an export wrote, kept at the root of the export folder
// (".quillfen-export", described in docs/FORMATS.md). It is how a later
// export recognises a folder it may replace: one that holds nothing but what
// the list names, and whatever else lies in it (a web server's settings, a
// version-control folder) is carried over untouched.
//
// Paths are relative to the export folder, "/"-separated, and never leave
// it: a list naming an absolute path, an empty, "." or ".." part is no
// manifest at all. The list only tells which entries are the export's own;
// nothing is ever deleted or written by a path read from it.
class QFExportManifest final
{
public:
    // ".quillfen-export".
    static QString fileName();
    // Larger files are refused unread.
    static constexpr qint64 maximumSize = 64 * 1024 * 1024;

    // The manifest of `files`, sorted, as stored.
    static QByteArray serialize(QStringList files);
    // nullopt when the bytes are not a manifest; problem then says why.
    static std::optional<QFExportManifest> parse(const QByteArray &bytes, QString *problem = nullptr);
    // The manifest in `folder`; nullopt when there is none or it cannot be
    // read or is no manifest, problem then saying why (empty when absent).
    static std::optional<QFExportManifest> read(const QString &folder, QString *problem = nullptr);

    const QSet<QString> &files() const { return m_files; }

    // What lies in folder that is not the export's own, as sorted relative
    // paths: anything but a listed regular file, the manifest itself or a
    // real folder on the way to a listed file. Only such folders are looked
    // into; symbolic links are never followed (a link where the export wrote
    // a file or folder is not its own). A folder that cannot be listed is
    // given as a whole.
    QStringList unlistedEntries(const QString &folder) const;

private:
    QSet<QString> m_files;
    QSet<QString> m_folders;
};

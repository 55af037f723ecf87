#pragma once

#include "qfkit/document/qftextviewpluginclient.h"

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>

class CVSandwich;
class QFBlogPlugin;
struct CVSandwichImport;

// The page-exchange group of the blog plugin: a whole blog page as a
// package of type "Quillfen Blog Page Data" (one filling, version 0; the keys
// and files are listed in docs/FORMATS.md, "Blog page package"), and a new
// blog rebuilt from such a package. The plugin owns one and outlives it.
//
// Making a package writes each post's body, summary and iTunes image, and the
// channel's iTunes image, to temporary files that the package owns (they go
// when the package goes). Rebuilding makes a new plugin as for a new page and
// reads the package into it without reporting anything to a host; keys that
// are missing take their defaults, keys of the wrong type are logged and
// count as missing (a post with one is left out).
//
// Main thread.
class QFBlogPluginSandwich final
{
public:
    // "Quillfen Blog Page Data"
    static QString sandwichType();
    static constexpr int sandwichVersion = 0;

    explicit QFBlogPluginSandwich(QFBlogPlugin &plugin);
    ~QFBlogPluginSandwich();
    Q_DISABLE_COPY_MOVE(QFBlogPluginSandwich)

    // The blog as a new package, owned by the caller. Raises QFException
    // ("Temporary File Error") when a post's body or summary cannot be
    // written; files already written are removed then. A channel image that
    // cannot be written is shown in an error alert and left out.
    std::unique_ptr<CVSandwich> sandwich();

    // A new blog, owned by the caller, rebuilt from the package's version-0
    // filling. The clock, when given, is the new blog's (for its build dates
    // when the package has none). Raises QFException("Malformed Package") for
    // a package of another type or without that filling, for a permalink or
    // feed file name QFBlogFileNames refuses, or whose "LastID"
    // lies outside 0 … INT_MAX - (number of posts + 1), where drawing the
    // next IDs would overflow.
    //
    // Every post the package lists but the blog cannot hold is reported in
    // an alert naming it ("CouldNotReadBlogEntryTitle"): a post left out for
    // a value of the wrong type, and a post whose body or summary file is
    // missing or unreadable (kept, with an empty text). Podcast paths of the
    // posts are files of this computer, never part of the package: they are
    // listed in import.localPaths and kept only when import.keepLocalPaths
    // says so, else removed from their posts (with their file references).
    // import.itemCount is the number of posts of the new blog.
    static std::unique_ptr<QFBlogPlugin> createWithSandwich(const CVSandwich &sandwich, CVSandwichImport &import,
                                                            const QFTextViewPluginClient::Clock &clock = {});
    // As above with an import that asks nothing, so podcast paths are dropped.
    static std::unique_ptr<QFBlogPlugin> createWithSandwich(const CVSandwich &sandwich,
                                                            const QFTextViewPluginClient::Clock &clock = {});

    // Registers createWithSandwich() as the factory of the blog's package
    // type (CVSandwichMaking). Done by QFBlogPlugin::initializeClass();
    // calling it again changes nothing.
    static void registerSandwichFactory();

    // The name a post's file has inside the package: its position (from 1)
    // zero-padded to as many digits as the number of posts has, a hyphen and
    // the file's own name. 12 posts: "02-Body.as"; 9 posts: "2-Body.as".
    static QString renamedFileName(qsizetype position, qsizetype count, const QString &name);

    // Writes data to a new temporary file <temp>/<prefix>-XXXXXX.<extension>
    // that is kept (not removed automatically). Answers its path; on failure
    // empty, with *path the intended path and *error the system's words.
    static std::optional<QString> writeTemporaryFile(const QString &prefix, const QString &extension,
                                                     const QByteArray &data, QString *path, QString *error);
    // The error alert for a file that could not be written (modal).
    static void showWriteErrorAlert(const QString &path, const QString &error);

private:
    QFBlogPlugin &m_plugin;
};

#pragma once

#include <QHash>
#include <QList>
#include <QString>

class QFSiteDocument;
class QFTextViewPluginClient;
struct QFPage;

// Where every page of a site goes in an export, and how one file of the site
// reaches another. The output folder holds:
//
//   quillfen.css                    the theme's style sheet, once per site
//   common/                         the plugins' shared files (smileys, feed
//                                   icon) in common-file mode 0
//   <folder>/<name>.<ext>           a page's main file
//   <folder>/<files folder>/        its generated pages and files
//
// <folder> is the page's folder with empty, "." and ".." parts dropped (so
// nothing leaves the output folder); <name> is the last part of the page's
// file name with a page extension it may carry (.html, .htm, .php, .shtml,
// .xhtml) dropped, "index" when nothing is left, and "-2", "-3" … added when
// an earlier page of the same folder already has that name; <ext> is the
// plugin's override extension or "html". The files folder is "files" for the
// first page of a folder and "<name>-files" for later pages there, so two
// blogs in one folder never share generated files. In any common-file mode
// other than 0, shared files go into each page's files folder instead of
// "common".
//
// A copyable snapshot: it keeps non-owning plugin pointers, valid while the
// document it was made from keeps its pages. Reading is thread-safe.
class QFSiteLayout final
{
public:
    struct Page
    {
        QString uniqueID;
        QString title;
        QString pluginName;
        QFTextViewPluginClient *plugin = nullptr;
        // "" for the site's root, else "a/b" (no leading or trailing "/").
        QString folder;
        // The main file's name, extension included.
        QString fileName;
        QString extension;
        // Relative to the page's folder.
        QString filesFolderName;

        // Folders between the site root and the main file.
        int folderDepth() const;
        // folder/fileName from the site root.
        QString path() const;
        // folder/filesFolderName from the site root.
        QString filesFolderPath() const;
    };

    QFSiteLayout() = default;

    // The layout of these pages in this order; a page without a plugin gets
    // the extension "html".
    static QFSiteLayout forPages(const QList<QFPage> &pages, const QString &siteTitle = QString(),
                                 const QString &siteBaseURL = QString(), int commonFileConsolidationMode = 0);
    static QFSiteLayout forDocument(const QFSiteDocument &document);

    const QList<Page> &pages() const { return m_pages; }
    // Null for an unknown ID.
    const Page *page(const QString &uniqueID) const;

    const QString &siteTitle() const { return m_siteTitle; }
    const QString &siteBaseURL() const { return m_siteBaseURL; }
    int commonFileConsolidationMode() const { return m_commonFileConsolidationMode; }

    // The folder, from the site root, the shared files of this page's plugin
    // go into.
    QString sharedFolderPath(const Page &page) const;

    // "common", the site-wide shared-files folder of mode 0.
    static QString sharedFolderName();
    // "quillfen.css".
    static QString styleSheetFileName();

    // The href from a file `depth` folders below `fromFolder` (0: a page's
    // main file; 1: a file in its files folder) to `toPath`, a path from the
    // site root. Both are cleaned paths as in Page.
    static QString relativePath(const QString &fromFolder, int depth, const QString &toPath);
    // "../" once per level; "" for 0.
    static QString upLevels(int levels);

    // The rules above, for names from documents and plugins.
    static QString cleanFolder(const QString &folder);
    // The last path part of name; empty when that is empty, "." or "..".
    static QString cleanFileName(const QString &name);

private:
    QList<Page> m_pages;
    QHash<QString, qsizetype> m_index;
    QString m_siteTitle;
    QString m_siteBaseURL;
    int m_commonFileConsolidationMode = 0;
};

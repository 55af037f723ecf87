#pragma once

#include "qfkit/document/qfsitelayout.h"

#include <QString>
#include <QVariantMap>
#include <atomic>
#include <functional>

class QFPluginRegistry;
class QFSiteDocument;
class QFSiteTheme;
class QFTextViewPluginClient;

// Exports a whole site document into an output folder (layout:
// QFSiteLayout). It tells every page's plugin when the export begins and
// ends (siteExportWillBegin, siteExportDidEnd). For every page, in document
// order, it asks the page's
// plugin for its feed links (pageContentHeaders), main content (contentHTML),
// sidebar (sidebarHTML) and, once, the sidebar of the pages in its files
// folder (sidebarHTML with "subpage" = "YES"), then for its other files
// (extraFilesNeededInExportFolder); while that runs the plugin's
// updatePageTemplate places templates in the theme with that sub-page
// sidebar. It writes the main file in the theme, moves the plugin's files
// into the page's files folder, writes content-only sub-pages in the theme
// there, copies the shared files of each page's plugin class
// (QFPagePluginFactory::extraFilesNeededInExportFolder) into the shared
// folder, and writes the theme's style sheet at the root.
//
// All or nothing: the site is written into a fresh staging folder beside the
// output folder and renamed into place at the end, replacing an existing
// output folder only then. A failed or cancelled export leaves the output
// folder (new or old) exactly as it was and removes the staging folder. The
// plugins' scratch folders live beside it too for the export, so their files
// are moved (renamed) into the output rather than copied.
//
// Nothing it did not write: the output folder may be missing, empty, or an
// earlier export, known by the list of its files at its top
// (QFExportManifest); anything else there is refused before the export
// begins, and so is a symbolic link. What the user added to an earlier export
// is moved into the new one untouched (refused when the new export writes
// something of the same name). Files and folders of the site get the modes
// the umask gives new ones.
//
// Errors: a QFException or QFAssertionFailure raised by a plugin reaches the
// caller unchanged; the exporter's own failures (an output path that may not
// be replaced or holds the site document, a folder or file that cannot be
// written, the final rename) raise QFException("Export Failed") naming the
// path.
//
// Threads: export() may run on a worker thread while nothing else uses the
// document; cancel() and the progress callback are safe from any thread
// (the callback runs on the exporting thread). One export at a time per
// exporter. The document and registry are not owned.
class QFSiteExporter final
{
public:
    struct Options
    {
        // "mode" = "preview": plugins leave out what a preview does not need.
        bool preview = false;
        // "contentonlysubpages" = "YES": plugins hand back sub-pages as HTML
        // for the theme instead of writing whole pages.
        bool contentOnlySubpages = false;
        // Used as "base" instead of the site's base URL when not empty (a
        // preview served from a local address).
        QString baseURL;
    };

    struct Progress
    {
        int pagesDone = 0;
        int pagesTotal = 0;
        // The current page's own units (posts, generated pages), as its
        // plugin reports them; 0 of 0 before it reports any.
        qint64 unitsDone = 0;
        qint64 unitsTotal = 0;
        QString pageTitle;
    };
    using ProgressCallback = std::function<void(const Progress &)>;

    struct Summary
    {
        int pages = 0;
        // Files and bytes written into the output folder.
        qint64 files = 0;
        qint64 bytes = 0;
        double seconds = 0;
        // True when cancel() stopped the export; nothing was written then.
        bool cancelled = false;
    };

    // registry: where the plugin class of each page is found for its shared
    // files; null exports no shared files.
    explicit QFSiteExporter(QFSiteDocument &document, const QFPluginRegistry *registry = nullptr);
    Q_DISABLE_COPY_MOVE(QFSiteExporter)

    void setOptions(const Options &options);
    const Options &options() const { return m_options; }
    void setProgressCallback(ProgressCallback callback);
    // The theme pages are placed in; the default theme unless set. Not owned.
    void setTheme(const QFSiteTheme &theme);

    // Exports into outputFolder (created with its missing parents).
    Summary exportTo(const QString &outputFolder);

    // Asks the running export to stop: the page's plugin is told
    // (cancelExport) and the export ends at the next check, without output.
    void cancel();

    // The export parameters a page gets (without "subpage"): "base",
    // "location" (the page's folder), "index" (its main file from the site
    // root), "name" (the main file's name), "title", "FilenameExt",
    // "filesfoldername", "pagecharset" ("utf-8"), "plugincommonpath" (the
    // shared folder seen from the page's folder) with "commonpathsrelative"
    // "YES", and "mode" = "preview" and "contentonlysubpages" = "YES" only
    // when asked for.
    static QVariantMap pageParameters(const QFSiteLayout &layout, const QFSiteLayout::Page &page,
                                      const Options &options);

private:
    class Run;

    QFSiteDocument &m_document;
    const QFPluginRegistry *m_registry = nullptr;
    const QFSiteTheme *m_theme = nullptr;
    Options m_options;
    ProgressCallback m_progress;
    std::atomic<bool> m_cancelled{false};
    std::atomic<QFTextViewPluginClient *> m_currentPlugin{nullptr};
};

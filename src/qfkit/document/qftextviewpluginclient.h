#pragma once

#include "qfkit/document/qfexportitem.h"
#include "qfkit/document/qfsitelayout.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/text/qfhtmlexporter.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>

class QFArchiver;
class QFFileWriteQueue;
class QFLinkResolver;
class QFLinkStyleResolver;
class QFPageExportContext;
class QFPageLinkResolver;
class QFSiteDocument;

// The base class of page plugins: what the host gives a plugin and what a
// plugin tells the host. The host (a QFSiteDocument) sets the document and the
// page's unique ID; the plugin asks the base for scratch folders, export
// results, page templates and the time, and calls broadcastPluginChanged()
// after every edit.
//
// Ownership: a plugin has no QObject parent; the site document owns the
// plugins of its pages. The document pointer is not owned and becomes null
// when the document goes away.
//
// Threads: export calls may run off the main thread. tempFilesDirectory(),
// directoryContents(), contentOnlySubpageWithHTML(), updatePageTemplate(),
// exporterWithParams() and now() are safe there; setDocument(), setClock()
// and setUniqueID() belong to the main thread.
class QFTextViewPluginClient : public QObject
{
    Q_OBJECT

public:
    using Clock = std::function<QDateTime()>;

    explicit QFTextViewPluginClient(QObject *parent = nullptr);
    // Removes every scratch folder this plugin made.
    ~QFTextViewPluginClient() override;
    Q_DISABLE_COPY_MOVE(QFTextViewPluginClient)

    // The site document the page belongs to; null until the host sets one.
    virtual void setDocument(QFSiteDocument *document);
    QFSiteDocument *document() const;
    // The document's file path; an empty string without a document or while
    // the document has not been saved.
    QString documentPath() const;

    // The page's unique ID. A fresh one is made with the plugin, so scratch
    // folders have a name before the document assigns the page's own.
    QString uniqueID() const;
    void setUniqueID(const QString &uniqueID);

    // Tells the host that the page changed: emits pluginChanged(), which the
    // document turns into its edited flag. Plugins override it to add their
    // own bookkeeping and call the base.
    virtual void broadcastPluginChanged();

    // Writes the page's record, which the document stores with the page and
    // hands back to the plugin's factory (createPluginFromArchive) on opening.
    // Any thread. The base writes nothing: a plugin without a record.
    virtual void encodeWithCoder(QFArchiver &coder) const { Q_UNUSED(coder) }
    // Called by the host once the whole document has been opened, after
    // setDocument(). The base does nothing.
    virtual void documentWasLoaded() {}

    // Settings the page keeps beside its record, for what the record's own
    // format has no place for; the document stores them with the page and
    // hands them back right after the record is read, before
    // documentWasLoaded(). Values must be archivable. None by default.
    virtual QVariantMap pageSettings() const { return {}; }
    virtual void restorePageSettings(const QVariantMap &settings) { Q_UNUSED(settings) }

    // ---- export: what the site exporter asks every page for, in this order:
    // pageContentHeaders(), contentHTML(), sidebarHTML(),
    // extraFilesNeededInExportFolder(). Any thread (one export at a time);
    // cancelExport() from any thread. The base makes an empty page.

    // The main file's content (the part the site theme wraps).
    virtual QString contentHTML(const QVariantMap &params) { Q_UNUSED(params) return {}; }
    // The page's sidebar content.
    virtual QString sidebarHTML(const QVariantMap &params) { Q_UNUSED(params) return {}; }
    // Elements for the head of the page (feed links).
    virtual QString pageContentHeaders(const QVariantMap &params) const { Q_UNUSED(params) return {}; }
    // The page's other files and content-only sub-pages.
    virtual QList<QFExportItem> extraFilesNeededInExportFolder(const QVariantMap &params)
    {
        Q_UNUSED(params) return {};
    }
    // Asks a running export to stop soon; the export then returns early.
    virtual void cancelExport() {}
    // An extension the page's files must have instead of the site's ("php").
    virtual std::optional<QString> overrideFileExtension() const { return std::nullopt; }

    // The page as a page-exchange package (see CVSandwichMaking), owned by
    // the caller; null when this kind of page cannot be exported that way,
    // which the base answers. Main thread. May raise QFException.
    virtual std::unique_ptr<CVSandwich> sandwich() { return nullptr; }

    // The href of one of the page's sub-pages (a permalink page, a podcast
    // file …) named by the sub-page ID of an internal link, as written into a
    // file at that depth correction (0: the page's main file, so the files
    // folder comes first; 1: a file inside the files folder). `page` is this
    // page's place in the site being written (its extension and files folder
    // name). nullopt for a sub-page the plugin does not know; the base knows
    // none. Any thread.
    virtual std::optional<QString> hrefForSubpage(const QString &subPageID, int depthCorrection,
                                                  const QFSiteLayout::Page &page) const
    {
        Q_UNUSED(subPageID) Q_UNUSED(depthCorrection) Q_UNUSED(page) return std::nullopt;
    }

    // The places inside this page that other pages may link to, for the
    // host's link chooser and `quillfen links`: one map per target with
    // "title", "pageID", "subpageID", "anchorID" (strings) and, on a target
    // that has targets of its own, "children" (a list of such maps). nullopt
    // when the page offers none (an empty list is an offer of nothing yet);
    // the base offers none. Main thread.
    virtual std::optional<QVariantList> internalPageLinks() const { return std::nullopt; }

    // The site exporter tells every page of the site before it exports the
    // first page and after the last one (also when the export fails or is
    // cancelled), so a plugin may keep lookups (for links into it from any
    // page) for exactly that long. The site must not change in between. The
    // base does nothing. The exporting thread; must not throw.
    virtual void siteExportWillBegin() {}
    virtual void siteExportDidEnd() {}

    // Called by the host after the site was published (exported for the
    // web), once per page, on the main thread: the place for what a page
    // tells the world afterwards (the blog pings weblog directories). It
    // reports its own problems (alerts) and must not throw; false when one of
    // its actions failed. The base does nothing and answers true.
    virtual bool postPublishActions() { return true; }

    // Progress of a running export in units of the plugin's choosing (posts,
    // pages): emits exportProgress(). Any thread.
    void reportExportProgress(qint64 done, qint64 total);

    // A scratch folder for this plugin and page, named by `name`:
    // <scratch root>/<unique ID>/<name>, the scratch root being
    // <temp>/quillfen-<process id> unless the site exporter set another for
    // the export (one on the output's file system, so results are moved, not
    // copied). Created when asked for (an empty string when it cannot be
    // made); removed with the plugin.
    QString tempFilesDirectory(const QString &name);
    // An empty root restores the default. Set by the site exporter around an
    // export, on the exporting thread.
    void setScratchRoot(const QString &root);
    QString scratchRoot() const;

    // Writes a generated page of the running export (into a scratch folder)
    // as UTF-8. During a site export it goes through the exporter's write
    // queue, so the plugin goes on while the file system catches up. A page
    // that cannot be written is simply missing, as generated pages always
    // have been (the exporter logs what it could not place).
    void writeExportFile(const QString &path, const QString &text);
    // The same for a page whose bytes are made by `make`, on the writing
    // thread during a site export (so it must only read what stays put);
    // `weight` estimates their size.
    void writeExportFile(const QString &path, std::function<QByteArray()> make, qsizetype weight);
    // Set by the site exporter around an export, on the exporting thread;
    // null writes at once. Not owned.
    void setFileWriteQueue(QFFileWriteQueue *queue);

    // Pages written with writeExportFile() into the export's scratch folders
    // while the exporter collects a page's results, as the exporter would
    // move them afterwards: straight into the page's files folder, under
    // their file name. A hundred thousand permalink pages are then neither
    // listed nor renamed. directoryContents() still lists them under the
    // path the plugin wrote to, so to the plugin nothing changes, except
    // that such a page cannot be read back from the scratch folder.
    struct PlacedPages
    {
        QString folder;
        QHash<QString, QString> targets; // path as written (clean) -> file in folder
        QHash<QString, QStringList> namesByFolder; // scratch folder (clean) -> names, first write first
        // The size of each target once written whole, set on the writing thread.
        QMutex mutex;
        QHash<QString, qsizetype> sizes;
    };
    // Begins placing into `folder` (made when the first page goes there) for
    // the site exporter, on the exporting thread; ends with what was placed.
    // Only while a write queue is set.
    void beginPagePlacement(const QString &folder);
    std::shared_ptr<PlacedPages> endPagePlacement();

    // The files directly inside the folder (not its sub-folders, not hidden
    // files), as file results with absolute paths, sorted by name so exports
    // are reproducible; pages queued with writeExportFile() included. Empty
    // for a missing folder.
    QList<QFExportItem> directoryContents(const QString &path) const;

    // Wraps HTML as a content-only sub-page result named `name`.
    static QFExportItem contentOnlySubpageWithHTML(const QString &html, const QString &name);

    // Places a whole-page template of the plugin (an HTML document with head
    // and body) inside the site's theme for a file `depth` folders below the
    // page's folder (1: the files folder): site title, navigation, the
    // sidebar of this export (the sub-page sidebar below the page), the
    // page's feed links, the style sheet's path. Every "%…%" placeholder of
    // the template, "%charset%" included, is kept for the plugin to replace.
    // See QFPageExportContext::placeTemplate. Outside an export the site is
    // taken from the document, without sidebar; without a document the
    // theme has no navigation and no site title.
    QString updatePageTemplate(const QString &pageTemplate, const QVariantMap &params, int depth) const;

    // A rich-text exporter carrying the host's export parameters.
    QFHTMLExporter exporterWithParams(const QVariantMap &params) const;

    // The link resolver of the page with that unique ID (a
    // QFLinkStyleResolver, see QFPageLinkResolver), through which internal
    // links written on that page become hrefs. Owned by that page's plugin.
    // Null for an unknown ID and for a plugin outside any document and
    // export.
    const QFLinkResolver *pageFromPageID(const QString &pageID) const;
    // This page's own resolver; never null, owned by the plugin.
    const QFLinkStyleResolver *linkResolver() const;

    // What the site exporter tells the plugin while it exports this page
    // (site layout, sidebars, feed links); set and cleared by the exporter.
    void setExportContext(std::shared_ptr<const QFPageExportContext> context);
    // The running export's context, else one made from the document (no
    // sidebars); null without either.
    std::shared_ptr<const QFPageExportContext> siteContext() const;

    // "Now" for the plugin (build dates, new posts, copyright years). The
    // system clock in whole seconds unless a test sets another; an empty
    // function restores the system clock.
    void setClock(Clock clock);
    QDateTime now() const;

signals:
    // The page changed; emitted by broadcastPluginChanged().
    void pluginChanged();
    // Emitted by reportExportProgress(), on the exporting thread.
    void exportProgress(qint64 done, qint64 total);

private:
    // Where a page written to `path` goes during a page placement (setting
    // `written` to record its size), else `path`.
    QString placedPagePath(const QString &path, std::function<void(qsizetype)> &written);

    QPointer<QFSiteDocument> m_document;
    QString m_uniqueID;
    Clock m_clock;
    mutable QMutex m_scratchMutex;
    QSet<QString> m_scratchRoots;
    QString m_scratchRoot;
    QFFileWriteQueue *m_fileWriteQueue = nullptr;
    std::shared_ptr<PlacedPages> m_placedPages;
    mutable QMutex m_exportMutex;
    std::shared_ptr<const QFPageExportContext> m_exportContext;
    std::unique_ptr<QFPageLinkResolver> m_linkResolver;
};

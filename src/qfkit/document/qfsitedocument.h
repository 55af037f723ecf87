#pragma once

#include "qfkit/document/qfpage.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>
#include <vector>

class QUndoStack;
class QFPluginRegistry;
class QFTextViewPluginClient;

// A site: its properties and its pages, each made by a page plugin, kept in
// one .qfsite file (docs/FORMATS.md, "Site document"); filePath() is where it
// was opened from or last saved to.
//
// Ownership: the document owns the plugins of its pages and its undo stack.
// Every plugin change (QFTextViewPluginClient::pluginChanged) and every new
// undoable edit marks the document edited; saving clears the flag.
//
// Opening is all or nothing: a document comes back with every page's plugin
// read from its record, or not at all. Saving writes every page's record
// (QFTextViewPluginClient::encodeWithCoder) in one transaction; a failed or
// interrupted save leaves the previous file as it was.
//
// Main thread only.
class QFSiteDocument final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString siteTitle READ siteTitle WRITE setSiteTitle NOTIFY siteTitleChanged)
    Q_PROPERTY(QString siteBaseURL READ siteBaseURL WRITE setSiteBaseURL NOTIFY siteBaseURLChanged)
    Q_PROPERTY(int commonFileConsolidationMode READ commonFileConsolidationMode
                   WRITE setCommonFileConsolidationMode NOTIFY commonFileConsolidationModeChanged)
    Q_PROPERTY(bool edited READ isEdited WRITE setEdited NOTIFY editedChanged)

public:
    explicit QFSiteDocument(QObject *parent = nullptr);
    ~QFSiteDocument() override;
    Q_DISABLE_COPY_MOVE(QFSiteDocument)

    // Reads the document at path. Each page's plugin is made by the
    // registry's factory of the page's plugin name from the page's record,
    // given the document, and, once every page is in, told
    // documentWasLoaded(). The document comes back not edited (unless a
    // plugin reports a repair while being told) with an empty undo stack.
    // Site properties the document does not know (such as "theme") are kept
    // and saved again unchanged.
    //
    // Errors: QFException("Cannot Open Document") whose reason names the file
    // and, where one page is at fault, the page: a file that is not a whole
    // site document (see QFSiteDocumentReader), a page whose plugin is not in
    // the registry, a record its plugin refuses. Nothing is dropped silently.
    static std::unique_ptr<QFSiteDocument> open(const QString &path, const QFPluginRegistry &registry);

    // Writes the document to path (replacing the file there), then takes path
    // as its filePath(), marks the undo stack clean and clears the edited
    // flag. Errors: QFException("Save Failed") naming the file and the cause
    // (a page without a plugin name, a record that cannot be written, the
    // writer's failures); the document and the old file are then unchanged.
    void save(const QString &path);
    // save(filePath()); "Save Failed" when the document has no file yet.
    void save();

    // The site's name and address; null strings while unset (pinging and
    // feeds treat a null value as "not set").
    QString siteTitle() const;
    void setSiteTitle(const QString &title);
    QString siteBaseURL() const;
    void setSiteBaseURL(const QString &url);
    // How shared files of plugins are placed in an export (0: one common
    // folder for the site).
    int commonFileConsolidationMode() const;
    void setCommonFileConsolidationMode(int mode);

    // Empty until the document is saved or opened.
    QString filePath() const;
    void setFilePath(const QString &path);

    bool isEdited() const;
    void setEdited(bool edited);

    // Owned by the document; never null.
    QUndoStack *undoStack() const;

    // Adds a page made by the plugin, after the existing pages, and takes the
    // plugin. The page gets the plugin's unique ID, or a new one when another
    // page already has it; the plugin is given this document. Marks the
    // document edited. Returns the page as listed. A null plugin adds nothing
    // and returns a page with a null plugin.
    // The plugin name is what the file stores to find the page's plugin when
    // the document is opened again.
    QFPage addPage(std::unique_ptr<QFTextViewPluginClient> plugin, const QString &fileName,
                   const QString &title, const QString &folder = QString(),
                   const QString &pluginName = QString());
    // Removes the page and gives its plugin back (detached from the
    // document); null for an unknown ID.
    std::unique_ptr<QFTextViewPluginClient> takePage(const QString &uniqueID);

    // The pages in order.
    QList<QFPage> pages() const;
    std::optional<QFPage> pageForUniqueID(const QString &uniqueID) const;
    // The page a plugin makes; nullopt when it is not one of ours.
    std::optional<QFPage> pageForPlugin(const QFTextViewPluginClient *plugin) const;

signals:
    void siteTitleChanged();
    void siteBaseURLChanged();
    void commonFileConsolidationModeChanged();
    void editedChanged(bool edited);
    void pagesChanged();

private:
    struct PageEntry
    {
        QFPage page;
        std::unique_ptr<QFTextViewPluginClient> plugin;
    };

    QString m_siteTitle;
    QString m_siteBaseURL;
    int m_commonFileConsolidationMode = 0;
    QString m_filePath;
    // Stored properties this document has no field for, saved back as read.
    QVariantMap m_otherProperties;
    bool m_edited = false;
    QUndoStack *m_undoStack = nullptr;
    std::vector<PageEntry> m_pages;
};

// The site document a plugin belongs to; null for a null plugin or one that
// has not been given a document.
QFSiteDocument *QFDocumentForPlugin(const QFTextViewPluginClient *plugin);

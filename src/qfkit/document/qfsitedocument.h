#pragma once

#include "qfkit/document/qfpage.h"

#include <QList>
#include <QObject>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

class QUndoStack;
class QFTextViewPluginClient;

// A site: its properties and its pages, each made by a page plugin. Kept in
// memory for now (the file form comes later); filePath() is where it was or
// will be saved.
//
// Ownership: the document owns the plugins of its pages and its undo stack.
// Every plugin change (QFTextViewPluginClient::pluginChanged) and every new
// undoable edit marks the document edited; saving clears the flag.
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
    QFPage addPage(std::unique_ptr<QFTextViewPluginClient> plugin, const QString &fileName,
                   const QString &title, const QString &folder = QString());
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
    bool m_edited = false;
    QUndoStack *m_undoStack = nullptr;
    std::vector<PageEntry> m_pages;
};

// The site document a plugin belongs to; null for a null plugin or one that
// has not been given a document.
QFSiteDocument *QFDocumentForPlugin(const QFTextViewPluginClient *plugin);

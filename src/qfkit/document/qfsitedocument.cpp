#include "qfsitedocument.h"

#include "qftextviewpluginclient.h"

#include <QUndoStack>
#include <QUuid>

QFSiteDocument::QFSiteDocument(QObject *parent)
    : QObject(parent)
    , m_undoStack(new QUndoStack(this))
{
    connect(m_undoStack, &QUndoStack::cleanChanged, this, [this](bool clean) {
        if (!clean)
            setEdited(true);
    });
}

QFSiteDocument::~QFSiteDocument()
{
    // Plugins may still look at their document while they go away; they see
    // none rather than a half-destroyed one.
    for (PageEntry &entry : m_pages) {
        if (entry.plugin) {
            disconnect(entry.plugin.get(), nullptr, this, nullptr);
            entry.plugin->setDocument(nullptr);
        }
    }
    m_pages.clear();
}

QString QFSiteDocument::siteTitle() const
{
    return m_siteTitle;
}

void QFSiteDocument::setSiteTitle(const QString &title)
{
    if (title == m_siteTitle && title.isNull() == m_siteTitle.isNull())
        return;
    m_siteTitle = title;
    emit siteTitleChanged();
    setEdited(true);
}

QString QFSiteDocument::siteBaseURL() const
{
    return m_siteBaseURL;
}

void QFSiteDocument::setSiteBaseURL(const QString &url)
{
    if (url == m_siteBaseURL && url.isNull() == m_siteBaseURL.isNull())
        return;
    m_siteBaseURL = url;
    emit siteBaseURLChanged();
    setEdited(true);
}

int QFSiteDocument::commonFileConsolidationMode() const
{
    return m_commonFileConsolidationMode;
}

void QFSiteDocument::setCommonFileConsolidationMode(int mode)
{
    if (mode == m_commonFileConsolidationMode)
        return;
    m_commonFileConsolidationMode = mode;
    emit commonFileConsolidationModeChanged();
    setEdited(true);
}

QString QFSiteDocument::filePath() const
{
    return m_filePath;
}

void QFSiteDocument::setFilePath(const QString &path)
{
    m_filePath = path;
}

bool QFSiteDocument::isEdited() const
{
    return m_edited;
}

void QFSiteDocument::setEdited(bool edited)
{
    if (edited == m_edited)
        return;
    m_edited = edited;
    emit editedChanged(edited);
}

QUndoStack *QFSiteDocument::undoStack() const
{
    return m_undoStack;
}

QFPage QFSiteDocument::addPage(std::unique_ptr<QFTextViewPluginClient> plugin, const QString &fileName,
                               const QString &title, const QString &folder)
{
    if (!plugin)
        return QFPage();
    QString id = plugin->uniqueID();
    if (id.isEmpty() || pageForUniqueID(id))
        id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    plugin->setUniqueID(id);
    plugin->setDocument(this);
    connect(plugin.get(), &QFTextViewPluginClient::pluginChanged, this, [this] { setEdited(true); });

    PageEntry entry;
    entry.page = QFPage{id, fileName, folder, title, plugin.get()};
    entry.plugin = std::move(plugin);
    m_pages.push_back(std::move(entry));
    emit pagesChanged();
    setEdited(true);
    return m_pages.back().page;
}

std::unique_ptr<QFTextViewPluginClient> QFSiteDocument::takePage(const QString &uniqueID)
{
    for (auto it = m_pages.begin(); it != m_pages.end(); ++it) {
        if (it->page.uniqueID != uniqueID)
            continue;
        std::unique_ptr<QFTextViewPluginClient> plugin = std::move(it->plugin);
        m_pages.erase(it);
        disconnect(plugin.get(), nullptr, this, nullptr);
        plugin->setDocument(nullptr);
        emit pagesChanged();
        setEdited(true);
        return plugin;
    }
    return nullptr;
}

QList<QFPage> QFSiteDocument::pages() const
{
    QList<QFPage> pages;
    pages.reserve(qsizetype(m_pages.size()));
    for (const PageEntry &entry : m_pages)
        pages.append(entry.page);
    return pages;
}

std::optional<QFPage> QFSiteDocument::pageForUniqueID(const QString &uniqueID) const
{
    for (const PageEntry &entry : m_pages) {
        if (entry.page.uniqueID == uniqueID)
            return entry.page;
    }
    return std::nullopt;
}

std::optional<QFPage> QFSiteDocument::pageForPlugin(const QFTextViewPluginClient *plugin) const
{
    if (!plugin)
        return std::nullopt;
    for (const PageEntry &entry : m_pages) {
        if (entry.plugin.get() == plugin)
            return entry.page;
    }
    return std::nullopt;
}

QFSiteDocument *QFDocumentForPlugin(const QFTextViewPluginClient *plugin)
{
    return plugin ? plugin->document() : nullptr;
}

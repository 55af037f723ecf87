#include "qfsitedocument.h"

#include "qfpagepluginfactory.h"
#include "qfpluginregistry.h"
#include "qfsitedocumentformat.h"
#include "qfsitedocumentreader.h"
#include "qfsitedocumentwriter.h"
#include "qftextviewpluginclient.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QUndoStack>
#include <QUuid>

namespace {

const QString CannotOpen = QStringLiteral("Cannot Open Document");
const QString SaveFailed = QStringLiteral("Save Failed");

QString pageSettingsKey(const QString &uniqueID)
{
    return QString::fromLatin1(QFSiteDocumentFormat::PageSettingsKeyPrefix) + uniqueID;
}

QString describePage(const QFStoredPage &page)
{
    if (!page.title.isEmpty())
        return QStringLiteral("\u201c%1\u201d (%2)").arg(page.title, page.uniqueID);
    return QStringLiteral("\u201c%1\u201d").arg(page.uniqueID);
}

} // namespace

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

std::unique_ptr<QFSiteDocument> QFSiteDocument::open(const QString &path, const QFPluginRegistry &registry)
{
    QFSiteDocumentData data = QFSiteDocumentReader().open(path);
    const QString fileName = QDir::toNativeSeparators(path);

    // Every plugin is made before the document takes any, so a page that
    // cannot be read leaves nothing half-opened behind.
    std::vector<std::unique_ptr<QFTextViewPluginClient>> plugins;
    plugins.reserve(size_t(data.pages.size()));
    for (QFStoredPage &page : data.pages) {
        QFPagePluginFactory *factory = registry.factory(page.pluginName);
        if (!factory) {
            throw QFException(CannotOpen,
                              QStringLiteral("The document \u201c%1\u201d cannot be opened: its page %2 "
                                             "is made by the plugin \u201c%3\u201d, which is not installed.")
                                  .arg(fileName, describePage(page), page.pluginName));
        }
        std::unique_ptr<QFTextViewPluginClient> plugin;
        try {
            QFUnarchiver coder(page.archive);
            // A record can be hundreds of megabytes; once the coder has it,
            // the document's copy goes, and the bytes go with the coder.
            page.archive = QByteArray();
            plugin.reset(factory->createPluginFromArchive(coder));
        } catch (const QFException &e) {
            throw QFException(CannotOpen,
                              QStringLiteral("The document \u201c%1\u201d cannot be opened: the record of its "
                                             "page %2 is damaged (%3: %4).")
                                  .arg(fileName, describePage(page), e.name(), e.reason()));
        }
        if (!plugin) {
            throw QFException(CannotOpen,
                              QStringLiteral("The document \u201c%1\u201d cannot be opened: the plugin "
                                             "\u201c%2\u201d could not read the record of its page %3.")
                                  .arg(fileName, page.pluginName, describePage(page)));
        }
        plugins.push_back(std::move(plugin));
    }

    auto document = std::make_unique<QFSiteDocument>();
    QVariantMap properties = data.properties;
    const QVariant title = properties.take(QString::fromLatin1(QFSiteDocumentFormat::SiteTitleKey));
    const QVariant baseURL = properties.take(QString::fromLatin1(QFSiteDocumentFormat::SiteBaseURLKey));
    const QVariant mode = properties.take(QString::fromLatin1(QFSiteDocumentFormat::CommonFileConsolidationModeKey));
    document->m_siteTitle = title.isNull() ? QString() : title.toString();
    document->m_siteBaseURL = baseURL.isNull() ? QString() : baseURL.toString();
    document->m_commonFileConsolidationMode = mode.toInt();
    for (qsizetype i = 0; i < data.pages.size(); ++i) {
        const QFStoredPage &page = data.pages.at(i);
        const QVariant settings = properties.take(pageSettingsKey(page.uniqueID));
        if (settings.isNull())
            continue;
        try {
            plugins[size_t(i)]->restorePageSettings(
                QFKeyedUnarchiver::unarchiveObjectWithData(settings.toByteArray()).toMap());
        } catch (const QFException &e) {
            throw QFException(CannotOpen,
                              QStringLiteral("The document \u201c%1\u201d cannot be opened: the settings of its "
                                             "page %2 are damaged (%3: %4).")
                                  .arg(fileName, describePage(page), e.name(), e.reason()));
        }
    }
    document->m_otherProperties = properties;

    for (qsizetype i = 0; i < data.pages.size(); ++i) {
        const QFStoredPage &page = data.pages.at(i);
        std::unique_ptr<QFTextViewPluginClient> &plugin = plugins[size_t(i)];
        // The stored ID is the one internal links point at; it wins over the
        // fresh one the plugin was made with.
        plugin->setUniqueID(page.uniqueID);
        document->addPage(std::move(plugin), page.fileName, page.title, page.folder, page.pluginName);
    }
    document->m_filePath = path;
    document->m_undoStack->clear();
    document->setEdited(false);
    for (PageEntry &entry : document->m_pages)
        entry.plugin->documentWasLoaded();
    return document;
}

void QFSiteDocument::save()
{
    if (m_filePath.isEmpty())
        throw QFException(SaveFailed, QStringLiteral("The document has not been saved before: it has no file yet."));
    save(m_filePath);
}

void QFSiteDocument::save(const QString &path)
{
    const QString fileName = QDir::toNativeSeparators(path);
    QFSiteDocumentData data;
    data.properties = m_otherProperties;
    data.properties.insert(QString::fromLatin1(QFSiteDocumentFormat::SiteTitleKey),
                           m_siteTitle.isNull() ? QVariant() : QVariant(m_siteTitle));
    data.properties.insert(QString::fromLatin1(QFSiteDocumentFormat::SiteBaseURLKey),
                           m_siteBaseURL.isNull() ? QVariant() : QVariant(m_siteBaseURL));
    data.properties.insert(QString::fromLatin1(QFSiteDocumentFormat::CommonFileConsolidationModeKey),
                           qint64(m_commonFileConsolidationMode));

    qint64 order = 0;
    for (const PageEntry &entry : m_pages) {
        const QFPage &page = entry.page;
        if (page.pluginName.isEmpty()) {
            throw QFException(SaveFailed,
                              QStringLiteral("The document \u201c%1\u201d could not be saved: the page \u201c%2\u201d "
                                             "has no plugin name.")
                                  .arg(fileName, page.uniqueID));
        }
        QFStoredPage stored;
        stored.uniqueID = page.uniqueID;
        stored.order = order++;
        stored.fileName = page.fileName;
        stored.folder = page.folder;
        stored.title = page.title;
        stored.pluginName = page.pluginName;
        try {
            QFArchiver coder;
            entry.plugin->encodeWithCoder(coder);
            stored.archive = coder.data();
            const QVariantMap settings = entry.plugin->pageSettings();
            if (!settings.isEmpty())
                data.properties.insert(pageSettingsKey(page.uniqueID), QFKeyedArchiver::archivedDataWithRootObject(settings));
        } catch (const QFException &e) {
            throw QFException(SaveFailed,
                              QStringLiteral("The document \u201c%1\u201d could not be saved: the record of the "
                                             "page \u201c%2\u201d could not be written (%3: %4).")
                                  .arg(fileName, page.uniqueID, e.name(), e.reason()));
        }
        data.pages.append(stored);
    }

    QFSiteDocumentWriter().save(data, path);
    m_filePath = path;
    m_undoStack->setClean();
    setEdited(false);
}

QFPage QFSiteDocument::addPage(std::unique_ptr<QFTextViewPluginClient> plugin, const QString &fileName,
                               const QString &title, const QString &folder, const QString &pluginName)
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
    entry.page = QFPage{id, fileName, folder, title, plugin.get(), pluginName};
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

#include "qftextviewpluginclient.h"

#include "qfpageexportcontext.h"
#include "qfpagelinkresolver.h"
#include "qfsitedocument.h"
#include "qfsitetheme.h"
#include "qfkit/support/qffilewritequeue.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QUuid>

#include <algorithm>

namespace {

QString processScratchRoot()
{
    return QDir::tempPath() + QStringLiteral("/quillfen-")
        + QString::number(QCoreApplication::applicationPid());
}

QDateTime systemNow()
{
    const QDateTime now = QDateTime::currentDateTime();
    return now.addMSecs(-now.time().msec());
}

} // namespace

QFTextViewPluginClient::QFTextViewPluginClient(QObject *parent)
    : QObject(parent)
    , m_uniqueID(QUuid::createUuid().toString(QUuid::WithoutBraces))
    , m_linkResolver(std::make_unique<QFPageLinkResolver>(this))
{
}

QFTextViewPluginClient::~QFTextViewPluginClient()
{
    QMutexLocker locker(&m_scratchMutex);
    for (const QString &root : std::as_const(m_scratchRoots))
        QDir(root).removeRecursively();
    // The process folder goes too once the last page's folder is gone.
    QDir().rmdir(processScratchRoot());
}

void QFTextViewPluginClient::setDocument(QFSiteDocument *document)
{
    m_document = document;
}

QFSiteDocument *QFTextViewPluginClient::document() const
{
    return m_document.data();
}

QString QFTextViewPluginClient::documentPath() const
{
    return m_document ? m_document->filePath() : QString();
}

QString QFTextViewPluginClient::uniqueID() const
{
    return m_uniqueID;
}

void QFTextViewPluginClient::setUniqueID(const QString &uniqueID)
{
    m_uniqueID = uniqueID;
}

void QFTextViewPluginClient::broadcastPluginChanged()
{
    emit pluginChanged();
}

QString QFTextViewPluginClient::tempFilesDirectory(const QString &name)
{
    // The unique ID may hold characters a folder name must not; the UUIDs we
    // make never do, but a document may assign its own.
    QString page = m_uniqueID;
    page.replace(QLatin1Char('/'), QLatin1Char('_')).replace(QLatin1Char('\\'), QLatin1Char('_'));
    if (page.isEmpty() || page == QLatin1String(".") || page == QLatin1String(".."))
        page = QStringLiteral("page");
    QString folder = name;
    folder.replace(QLatin1Char('/'), QLatin1Char('_')).replace(QLatin1Char('\\'), QLatin1Char('_'));
    if (folder.isEmpty() || folder == QLatin1String(".") || folder == QLatin1String(".."))
        folder = QStringLiteral("scratch");

    QMutexLocker locker(&m_scratchMutex);
    const QString root = (m_scratchRoot.isEmpty() ? processScratchRoot() : m_scratchRoot) + QLatin1Char('/') + page;
    const QString path = root + QLatin1Char('/') + folder;
    if (!QDir().mkpath(path))
        return QString();
    m_scratchRoots.insert(root);
    return path;
}

void QFTextViewPluginClient::setScratchRoot(const QString &root)
{
    QMutexLocker locker(&m_scratchMutex);
    m_scratchRoot = root;
}

QString QFTextViewPluginClient::scratchRoot() const
{
    QMutexLocker locker(&m_scratchMutex);
    return m_scratchRoot.isEmpty() ? processScratchRoot() : m_scratchRoot;
}

void QFTextViewPluginClient::writeExportFile(const QString &path, const QString &text)
{
    if (m_fileWriteQueue) {
        QFFileWriteQueue::Written written;
        const QString target = placedPagePath(path, written);
        m_fileWriteQueue->write(target, text, QFFileWriteQueue::Failure::Ignore, std::move(written));
        return;
    }
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(text.toUtf8());
}

void QFTextViewPluginClient::writeExportFile(const QString &path, std::function<QByteArray()> make, qsizetype weight)
{
    if (m_fileWriteQueue) {
        QFFileWriteQueue::Written written;
        const QString target = placedPagePath(path, written);
        m_fileWriteQueue->write(target, std::move(make), weight, QFFileWriteQueue::Failure::Ignore,
                                std::move(written));
        return;
    }
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(make());
}

void QFTextViewPluginClient::setFileWriteQueue(QFFileWriteQueue *queue)
{
    m_fileWriteQueue = queue;
}

void QFTextViewPluginClient::beginPagePlacement(const QString &folder)
{
    m_placedPages = std::make_shared<PlacedPages>();
    m_placedPages->folder = folder;
}

std::shared_ptr<QFTextViewPluginClient::PlacedPages> QFTextViewPluginClient::endPagePlacement()
{
    return std::exchange(m_placedPages, nullptr);
}

QString QFTextViewPluginClient::placedPagePath(const QString &path, std::function<void(qsizetype)> &written)
{
    if (!m_placedPages)
        return path;
    QString root;
    {
        QMutexLocker locker(&m_scratchMutex);
        root = m_scratchRoot;
    }
    if (root.isEmpty() || !path.startsWith(root + QLatin1Char('/')))
        return path;
    // Hidden files are not listed, so they are not placed either.
    const QString name = QFSiteLayout::cleanFileName(path);
    if (name.isEmpty() || name.startsWith(QLatin1Char('.')))
        return path;
    PlacedPages &placed = *m_placedPages;
    if (placed.targets.isEmpty() && !QDir().mkpath(placed.folder))
        return path;
    // Cleaning every path costs more than the rest together; a plugin's
    // paths are clean already.
    const bool clean = !path.contains(QLatin1String("//")) && !path.contains(QLatin1String("/./"))
        && !path.contains(QLatin1String("/../")) && !path.endsWith(QLatin1Char('/'));
    const QString writtenPath = clean ? path : QDir::cleanPath(path);
    const QString target = placed.folder + QLatin1Char('/') + name;
    if (!placed.targets.contains(writtenPath))
        placed.namesByFolder[writtenPath.left(writtenPath.lastIndexOf(QLatin1Char('/')))].append(name);
    placed.targets.insert(writtenPath, target);
    written = [pages = m_placedPages, target](qsizetype size) {
        QMutexLocker locker(&pages->mutex);
        pages->sizes.insert(target, size);
    };
    return target;
}

QList<QFExportItem> QFTextViewPluginClient::directoryContents(const QString &path) const
{
    QList<QFExportItem> items;
    if (path.isEmpty())
        return items;
    // Pages still in the export's write queue must be on disk to be listed;
    // a failure there is the exporter's to report.
    if (m_fileWriteQueue)
        m_fileWriteQueue->waitUntilWritten();
    const QDir folder(path);
    QStringList names = folder.entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::Unsorted);
    if (m_placedPages) {
        // Pages placed already are not in the folder; a file of the same
        // name that is, is listed once.
        const QStringList placed = m_placedPages->namesByFolder.value(QDir::cleanPath(folder.absolutePath()));
        if (!placed.isEmpty()) {
            const QSet<QString> onDisk(names.cbegin(), names.cend());
            for (const QString &name : placed) {
                if (!onDisk.contains(name))
                    names.append(name);
            }
        }
    }
    std::sort(names.begin(), names.end());
    items.reserve(names.size());
    for (const QString &name : std::as_const(names))
        items.append(QFExportItem::file(folder.absoluteFilePath(name)));
    return items;
}

QFExportItem QFTextViewPluginClient::contentOnlySubpageWithHTML(const QString &html, const QString &name)
{
    return QFExportItem::contentOnlySubpage(html, name);
}

QString QFTextViewPluginClient::updatePageTemplate(const QString &pageTemplate, const QVariantMap &params,
                                                   int depth) const
{
    std::shared_ptr<const QFPageExportContext> context = siteContext();
    if (!context) {
        context = std::make_shared<const QFPageExportContext>(std::make_shared<const QFSiteLayout>(), m_uniqueID,
                                                              QFSiteTheme::defaultTheme());
    }
    return context->placeTemplate(pageTemplate, params, depth);
}

QFHTMLExporter QFTextViewPluginClient::exporterWithParams(const QVariantMap &params) const
{
    return QFHTMLExporter(params);
}

const QFLinkResolver *QFTextViewPluginClient::pageFromPageID(const QString &pageID) const
{
    const std::shared_ptr<const QFPageExportContext> context = siteContext();
    if (!context)
        return nullptr;
    const QFSiteLayout::Page *page = context->layout().page(pageID);
    return page && page->plugin ? page->plugin->linkResolver() : nullptr;
}

const QFLinkStyleResolver *QFTextViewPluginClient::linkResolver() const
{
    return m_linkResolver.get();
}

void QFTextViewPluginClient::setExportContext(std::shared_ptr<const QFPageExportContext> context)
{
    QMutexLocker locker(&m_exportMutex);
    m_exportContext = std::move(context);
}

std::shared_ptr<const QFPageExportContext> QFTextViewPluginClient::siteContext() const
{
    {
        QMutexLocker locker(&m_exportMutex);
        if (m_exportContext)
            return m_exportContext;
    }
    if (!m_document)
        return nullptr;
    auto layout = std::make_shared<const QFSiteLayout>(QFSiteLayout::forDocument(*m_document));
    return std::make_shared<const QFPageExportContext>(std::move(layout), m_uniqueID, QFSiteTheme::defaultTheme());
}

void QFTextViewPluginClient::setClock(Clock clock)
{
    m_clock = std::move(clock);
}

QDateTime QFTextViewPluginClient::now() const
{
    return m_clock ? m_clock() : systemNow();
}

void QFTextViewPluginClient::reportExportProgress(qint64 done, qint64 total)
{
    emit exportProgress(done, total);
}

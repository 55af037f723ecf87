#include "qfsiteexporter.h"

#include "qfexportmanifest.h"
#include "qfpageexportcontext.h"
#include "qfpagepluginfactory.h"
#include "qfpluginregistry.h"
#include "qfsitedocument.h"
#include "qfsitetheme.h"
#include "qftextviewpluginclient.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qffilewritequeue.h"
#include "qfkit/support/qflog.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSet>
#include <QTemporaryDir>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace {

const QString ExportFailed = QStringLiteral("Export Failed");

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

[[noreturn]] void fail(const QString &reason)
{
    throw QFException(ExportFailed, reason);
}

QString joined(const QString &folder, const QString &name)
{
    return folder.isEmpty() ? name : folder + QLatin1Char('/') + name;
}

// A new, empty folder beside the output folder whose name starts with prefix.
QString makeSideFolder(const QString &parent, const QString &prefix, const QString &output)
{
    QTemporaryDir dir(parent + QLatin1Char('/') + prefix + QStringLiteral("XXXXXX"));
    if (!dir.isValid()) {
        fail(QStringLiteral("Cannot write beside %1: %2.").arg(quoted(output), dir.errorString()));
    }
    dir.setAutoRemove(false);
    return dir.path();
}

// The process's umask, read without changing it (umask() would, for a
// moment, for every thread).
mode_t currentUmask()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("Umask:")) {
                bool ok = false;
                const uint mask = line.mid(6).trimmed().toUInt(&ok, 8);
                if (ok)
                    return mode_t(mask & 0777);
            }
        }
    }
    const mode_t mask = ::umask(022);
    ::umask(mask);
    return mask;
}

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

bool renamed(const QString &from, const QString &to)
{
    return ::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

// A name beside the output folder that nothing has yet.
QString freeSideName(const QString &parent, const QString &prefix, const QString &output)
{
    const QString path = makeSideFolder(parent, prefix, output);
    QDir().rmdir(path);
    return path;
}

} // namespace

// One export: the staging and scratch folders, what has been written, and
// the clean-up that runs however the export ends.
class QFSiteExporter::Run final
{
public:
    Run(QFSiteExporter &exporter, const QString &outputFolder)
        : m_exporter(exporter)
        , m_output(outputFolder)
    {
    }
    Q_DISABLE_COPY_MOVE(Run)

    ~Run()
    {
        // Nothing may still be writing into the folders removed below.
        m_writes.waitUntilWritten();
        for (QFTextViewPluginClient *plugin : std::as_const(m_sessionPlugins))
            plugin->siteExportDidEnd();
        for (QFTextViewPluginClient *plugin : std::as_const(m_touchedPlugins)) {
            plugin->setExportContext(nullptr);
            plugin->setScratchRoot(QString());
            plugin->setFileWriteQueue(nullptr);
        }
        m_exporter.m_currentPlugin = nullptr;
        if (!m_scratch.isEmpty())
            QDir(m_scratch).removeRecursively();
        if (!m_committed) {
            if (!m_staging.isEmpty())
                QDir(m_staging).removeRecursively();
            for (auto it = m_createdParents.crbegin(); it != m_createdParents.crend(); ++it)
                QDir().rmdir(*it);
        }
    }

    QFSiteExporter::Summary run()
    {
        QElapsedTimer timer;
        timer.start();
        prepareFolders();

        m_layout = std::make_shared<const QFSiteLayout>(QFSiteLayout::forDocument(m_exporter.m_document));
        const QList<QFSiteLayout::Page> &pages = m_layout->pages();
        m_progress.pagesTotal = int(pages.size());
        // Any page may link into any other, so every plugin hears of the
        // export before the first page is written.
        for (const QFSiteLayout::Page &page : pages) {
            if (page.plugin && !m_sessionPlugins.contains(page.plugin)) {
                m_sessionPlugins.append(page.plugin);
                page.plugin->siteExportWillBegin();
            }
        }
        report();
        for (const QFSiteLayout::Page &page : pages) {
            if (m_exporter.m_cancelled)
                return cancelled(timer);
            exportPage(page);
            if (m_exporter.m_cancelled)
                return cancelled(timer);
            ++m_summary.pages;
            ++m_progress.pagesDone;
            m_progress.unitsDone = m_progress.unitsTotal = 0;
            report();
        }
        writeFile(m_staging + QLatin1Char('/') + QFSiteLayout::styleSheetFileName(), theme().styleSheet());
        drainWrites();
        commit();
        m_summary.files += m_placedFiles.load();
        m_summary.bytes += m_placedBytes.load();
        m_summary.seconds = double(timer.nsecsElapsed()) / 1e9;
        return m_summary;
    }

private:
    const QFSiteTheme &theme() const
    {
        return m_exporter.m_theme ? *m_exporter.m_theme : QFSiteTheme::defaultTheme();
    }

    QFSiteExporter::Summary cancelled(const QElapsedTimer &timer)
    {
        QFSiteExporter::Summary summary;
        summary.cancelled = true;
        summary.seconds = double(timer.nsecsElapsed()) / 1e9;
        return summary;
    }

    void report()
    {
        if (m_exporter.m_progress)
            m_exporter.m_progress(m_progress);
    }

    void prepareFolders()
    {
        const QFileInfo info(m_output);
        if (info.isSymLink()) {
            fail(QStringLiteral("%1 is a symbolic link; export into the folder it points to (%2) instead.")
                     .arg(quoted(m_output), quoted(info.symLinkTarget())));
        }
        if (info.exists() && !info.isDir())
            fail(QStringLiteral("%1 is a file, not a folder; the site is exported into a folder.").arg(quoted(m_output)));
        if (info.fileName().isEmpty())
            fail(QStringLiteral("%1 cannot be an export folder.").arg(quoted(m_output)));
        // The output folder is replaced as a whole; never with the site in it.
        const QString documentPath = m_exporter.m_document.filePath();
        if (!documentPath.isEmpty()
            && QDir::cleanPath(QFileInfo(documentPath).absoluteFilePath()).startsWith(m_output + QLatin1Char('/'))) {
            fail(QStringLiteral("%1 holds the site document itself; export into a folder of its own.").arg(quoted(m_output)));
        }
        // Checked before anything is made, so a refused folder is not touched.
        entriesToCarry();
        const QString parent = info.absolutePath();
        // Remember the parents made here, so a failed export takes them away again.
        QStringList missing;
        for (QString folder = parent; !QFileInfo::exists(folder); folder = QFileInfo(folder).absolutePath()) {
            missing.prepend(folder);
            if (QFileInfo(folder).absolutePath() == folder)
                break;
        }
        for (const QString &folder : std::as_const(missing)) {
            if (!QDir().mkdir(folder))
                fail(QStringLiteral("Cannot make the folder %1 for %2.").arg(quoted(folder), quoted(m_output)));
            m_createdParents.append(folder);
        }
        const QString base = QLatin1Char('.') + info.fileName();
        m_staging = makeSideFolder(parent, base + QStringLiteral(".staging-"), m_output);
        m_scratch = makeSideFolder(parent, base + QStringLiteral(".scratch-"), m_output);
        m_madeFolders.insert(m_staging);
    }

    void ensureFolder(const QString &path)
    {
        if (m_madeFolders.contains(path))
            return;
        if (!QDir().mkpath(path))
            fail(QStringLiteral("Cannot make the folder %1.").arg(quoted(outputPath(path))));
        m_madeFolders.insert(path);
    }

    // Where a staging path ends up, for messages.
    QString outputPath(const QString &stagingPath) const
    {
        return m_output + stagingPath.mid(m_staging.size());
    }

    // Queued: a failure is raised by the next drainWrites().
    void writeFile(const QString &path, const QByteArray &bytes)
    {
        m_writes.write(path, bytes);
        ++m_summary.files;
        m_summary.bytes += bytes.size();
    }

    // The same for bytes made on the writing thread; they are counted once written.
    void writeFile(const QString &path, std::function<QByteArray()> make, qsizetype weight)
    {
        m_writes.write(path, std::move(make), weight, QFFileWriteQueue::Failure::Report, [this](qsizetype size) {
            m_placedFiles.fetch_add(1, std::memory_order_relaxed);
            m_placedBytes.fetch_add(size, std::memory_order_relaxed);
        });
    }

    void drainWrites()
    {
        const std::optional<QFFileWriteQueue::Failure> failure = m_writes.waitUntilWritten();
        if (!failure)
            return;
        if (failure->path.isEmpty())
            fail(failure->reason);
        const QString where = failure->path.startsWith(m_staging + QLatin1Char('/')) ? outputPath(failure->path)
                                                                                     : failure->path;
        fail(QStringLiteral("Cannot write %1: %2.").arg(quoted(where), failure->reason));
    }

    // Moves files out of the plugin's scratch folder; anything else (bundle
    // resources, the user's own files) is copied. A hundred thousand files
    // per export: one stat and one rename each, done on the writing thread
    // in order with the writes, so a page the plugin just queued is there.
    void placeFile(const QString &source, const QString &folder)
    {
        const QString name = QFSiteLayout::cleanFileName(source);
        if (name.isEmpty()) {
            qfLog(QStringLiteral("Export: skipped %1, which is not a file").arg(source));
            return;
        }
        ensureFolder(folder);
        const QString target = folder + QLatin1Char('/') + name;
        const bool scratch = source.startsWith(m_scratch + QLatin1Char('/'));
        m_writes.perform([=, this]() -> std::optional<QString> {
            const QByteArray from = QFile::encodeName(source);
            struct stat status;
            if (::stat(from.constData(), &status) != 0 || !S_ISREG(status.st_mode)) {
                qfLog(QStringLiteral("Export: skipped %1, which is not a file").arg(source));
                return std::nullopt;
            }
            // rename() replaces a file of that name, as a later item should.
            if (!scratch || ::rename(from.constData(), QFile::encodeName(target).constData()) != 0) {
                QFile::remove(target);
                if (!QFile::copy(source, target))
                    return QStringLiteral("Cannot write %1 (from %2).").arg(quoted(outputPath(target)), quoted(source));
            }
            m_placedFiles.fetch_add(1, std::memory_order_relaxed);
            m_placedBytes.fetch_add(status.st_size, std::memory_order_relaxed);
            return std::nullopt;
        });
    }

    void exportPage(const QFSiteLayout::Page &page)
    {
        m_progress.pageTitle = page.title;
        QFTextViewPluginClient *plugin = page.plugin;
        const QString pageFolder = page.folder.isEmpty() ? m_staging : m_staging + QLatin1Char('/') + page.folder;
        const QString filesFolder = pageFolder + QLatin1Char('/') + page.filesFolderName;
        const QString title = page.title.isEmpty() ? m_layout->siteTitle() : page.title;

        if (!plugin) {
            // A page without a plugin still has its place in the navigation.
            QFPageExportContext context(m_layout, page.uniqueID, theme());
            ensureFolder(pageFolder);
            writeFile(pageFolder + QLatin1Char('/') + page.fileName, context.placeContent(QString(), title, 0).toUtf8());
            copySharedFiles(page);
            return;
        }

        m_touchedPlugins.insert(plugin);
        plugin->setScratchRoot(m_scratch);
        plugin->setFileWriteQueue(&m_writes);
        plugin->setExportContext(std::make_shared<const QFPageExportContext>(m_layout, page.uniqueID, theme()));
        m_exporter.m_currentPlugin = plugin;
        const QMetaObject::Connection progress =
            QObject::connect(plugin, &QFTextViewPluginClient::exportProgress, [this, plugin](qint64 done, qint64 total) {
                // A plugin clears its cancel flag when an export call starts; say it again.
                if (m_exporter.m_cancelled)
                    plugin->cancelExport();
                m_progress.unitsDone = done;
                m_progress.unitsTotal = total;
                report();
            });
        const auto disconnect = qScopeGuard([&] { QObject::disconnect(progress); });

        const QVariantMap params = QFSiteExporter::pageParameters(*m_layout, page, m_exporter.m_options);
        QVariantMap subpageParams = params;
        subpageParams.insert(QStringLiteral("subpage"), QStringLiteral("YES"));

        const QString headers = plugin->pageContentHeaders(params);
        if (m_exporter.m_cancelled)
            return;
        const QString content = plugin->contentHTML(params);
        if (m_exporter.m_cancelled)
            return;
        QFPageExportContext::Sidebars sidebars;
        sidebars.page = plugin->sidebarHTML(params);
        sidebars.subpage = plugin->sidebarHTML(subpageParams);
        const auto context =
            std::make_shared<const QFPageExportContext>(m_layout, page.uniqueID, theme(), headers, sidebars);
        plugin->setExportContext(context);
        if (m_exporter.m_cancelled)
            return;
        QList<QFExportItem> items;
        std::shared_ptr<QFTextViewPluginClient::PlacedPages> placed;
        {
            plugin->beginPagePlacement(filesFolder);
            const auto endPlacement = qScopeGuard([&] { placed = plugin->endPagePlacement(); });
            items = plugin->extraFilesNeededInExportFolder(params);
        }
        if (m_exporter.m_cancelled)
            return;

        ensureFolder(pageFolder);
        writeFile(pageFolder + QLatin1Char('/') + page.fileName, context->placeContent(content, title, 0).toUtf8());

        // Pages the plugin wrote are in the files folder already. Each name
        // there must still end up holding its last item, so an earlier item
        // of a placed page's name is not written over it.
        const bool anyPlaced = placed && !placed->targets.isEmpty();
        const auto itemName = [](const QFExportItem &item) {
            return QFSiteLayout::cleanFileName(item.isFile() ? item.filePath() : item.name());
        };
        const auto placedTarget = [&](const QFExportItem &item) {
            if (!anyPlaced || !item.isFile())
                return QString();
            // Listed paths are clean already; cleaning all of them would cost more than the lookup.
            const auto it = placed->targets.constFind(item.filePath());
            return it != placed->targets.cend() ? *it : placed->targets.value(QDir::cleanPath(item.filePath()));
        };
        QHash<QString, qsizetype> lastPlacedItem;
        QSet<QString> usedNames;
        if (anyPlaced) {
            for (qsizetype i = 0; i < items.size(); ++i) {
                const QString name = itemName(items.at(i));
                usedNames.insert(name);
                if (!placedTarget(items.at(i)).isEmpty())
                    lastPlacedItem.insert(name, i);
            }
        }
        QSet<QString> claimed;
        for (qsizetype i = 0; i < items.size(); ++i) {
            if (m_exporter.m_cancelled)
                return;
            const QFExportItem &item = items.at(i);
            if (anyPlaced) {
                if (const QString target = placedTarget(item); !target.isEmpty()) {
                    claimed.insert(target);
                    continue;
                }
                if (lastPlacedItem.value(itemName(item), -1) > i)
                    continue;
            }
            if (item.isFile()) {
                placeFile(item.filePath(), filesFolder);
            } else if (item.isContentOnlySubpage()) {
                const QString name = QFSiteLayout::cleanFileName(item.name());
                if (name.isEmpty()) {
                    qfLog(QStringLiteral("Export: skipped a sub-page of %1 without a file name").arg(page.uniqueID));
                    continue;
                }
                ensureFolder(filesFolder);
                // A tag or category page of a large blog runs to megabytes:
                // it is put in the theme and encoded on the writing thread.
                writeFile(
                    filesFolder + QLatin1Char('/') + name,
                    [context, title, html = item.html(), substitutions = item.substitutions()] {
                        return context->placeContent(html, title, 1, substitutions).toUtf8();
                    },
                    item.html().size() * qsizetype(sizeof(QChar)));
            }
        }
        if (anyPlaced)
            settlePlacedPages(placed, claimed, usedNames);
        copySharedFiles(page);
    }

    // Once the placed pages are written: counts those the plugin listed and
    // takes away those it did not, as a scratch file it did not list never
    // reaches the site.
    void settlePlacedPages(const std::shared_ptr<QFTextViewPluginClient::PlacedPages> &placed,
                           const QSet<QString> &claimed, const QSet<QString> &usedNames)
    {
        QStringList unlisted;
        for (const QString &target : std::as_const(placed->targets)) {
            if (!claimed.contains(target) && !usedNames.contains(QFSiteLayout::cleanFileName(target)))
                unlisted.append(target);
        }
        m_writes.perform([this, placed, claimed, unlisted]() -> std::optional<QString> {
            for (const QString &target : unlisted)
                QFile::remove(target);
            QMutexLocker locker(&placed->mutex);
            for (const QString &target : claimed) {
                const auto size = placed->sizes.constFind(target);
                if (size == placed->sizes.cend())
                    continue;
                m_placedFiles.fetch_add(1, std::memory_order_relaxed);
                m_placedBytes.fetch_add(*size, std::memory_order_relaxed);
            }
            return std::nullopt;
        });
    }

    void copySharedFiles(const QFSiteLayout::Page &page)
    {
        if (!m_exporter.m_registry)
            return;
        QFPagePluginFactory *factory = m_exporter.m_registry->factory(page.pluginName);
        if (!factory)
            return;
        const QString folder = m_staging + QLatin1Char('/') + m_layout->sharedFolderPath(page);
        // In the site-wide folder each plugin class's files are needed once.
        const QString key = folder + QLatin1Char('\n') + page.pluginName;
        if (m_sharedCopied.contains(key))
            return;
        m_sharedCopied.insert(key);
        for (const QString &path : factory->extraFilesNeededInExportFolder())
            placeFile(path, folder);
    }

    // What the output folder holds besides an earlier export's own files, to
    // be carried over into the new one. Raises when the folder may not be
    // replaced: a symbolic link, something other than a folder, a folder
    // that cannot be read, or a non-empty folder no export made.
    QStringList entriesToCarry() const
    {
        struct stat status;
        if (::lstat(QFile::encodeName(m_output).constData(), &status) != 0)
            return {};
        if (S_ISLNK(status.st_mode))
            fail(QStringLiteral("%1 is a symbolic link; export into the folder it points to instead.").arg(quoted(m_output)));
        if (!S_ISDIR(status.st_mode))
            fail(QStringLiteral("%1 is a file, not a folder; the site is exported into a folder.").arg(quoted(m_output)));
        QString problem;
        const std::optional<QFExportManifest> manifest = QFExportManifest::read(m_output, &problem);
        if (!problem.isEmpty()) {
            fail(QStringLiteral("%1 holds an export list %2 that cannot be used: %3. Nothing in the folder was touched; "
                                "export into a new or empty folder.")
                     .arg(quoted(m_output), QFExportManifest::fileName(), problem));
        }
        const QStringList entries = manifest ? manifest->unlistedEntries(m_output) : QFExportManifest().unlistedEntries(m_output);
        if (entries.contains(QString()))
            fail(QStringLiteral("%1 cannot be read, so it cannot be replaced.").arg(quoted(m_output)));
        if (!manifest && !entries.isEmpty()) {
            QStringList shown = entries.mid(0, 3);
            if (entries.size() > shown.size())
                shown.append(QStringLiteral("\u2026"));
            fail(QStringLiteral("%1 is not empty and holds no earlier Quillfen export (%2), so the export would replace "
                                "what it did not write. Nothing in it was touched; export into a new or empty folder, "
                                "or move those files away first.")
                     .arg(quoted(m_output), shown.join(QStringLiteral(", "))));
        }
        return entries;
    }

    // Lists every file of the new site in its manifest, and gives its files
    // and folders the modes the umask gives new ones: the staging folder is
    // made private and a copied file keeps its source's mode, neither of
    // which a web server could read.
    void finishStaging()
    {
        const mode_t mask = currentUmask();
        const mode_t folderMode = 0777 & ~mask;
        const mode_t fileMode = 0666 & ~mask;
        const auto settle = [this](const QString &path, const struct stat &status, mode_t mode) {
            if ((status.st_mode & 07777) != mode && ::chmod(QFile::encodeName(path).constData(), mode) != 0)
                fail(QStringLiteral("Cannot set the permissions of %1: %2.").arg(quoted(outputPath(path)), systemError()));
        };
        struct stat status;
        if (::lstat(QFile::encodeName(m_staging).constData(), &status) == 0)
            settle(m_staging, status, folderMode);
        QStringList files;
        QDirIterator it(m_staging, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
                continue;
            if (S_ISDIR(status.st_mode)) {
                settle(path, status, folderMode);
            } else if (S_ISREG(status.st_mode)) {
                settle(path, status, fileMode);
                files.append(path.mid(m_staging.size() + 1));
            }
        }
        const QString manifest = m_staging + QLatin1Char('/') + QFExportManifest::fileName();
        QFile file(manifest);
        if (!file.open(QIODevice::WriteOnly) || file.write(QFExportManifest::serialize(files)) < 0 || !file.flush())
            fail(QStringLiteral("Cannot write %1: %2.").arg(quoted(outputPath(manifest)), file.errorString()));
    }

    // Moves what the user added to an earlier export into the new site,
    // refusing (with nothing moved) when the new site has something of the
    // same name. Answers what was moved, for carryBack().
    QStringList carryOver(const QStringList &found)
    {
        QStringList entries;
        for (const QString &entry : found) {
            // The entry, and no file where one of its folders would be.
            for (qsizetype slash = 0; slash >= 0; slash = entry.indexOf(QLatin1Char('/'), slash + 1)) {
                const QString prefix = entry.left(slash);
                struct stat status;
                if (!prefix.isEmpty()
                    && ::lstat(QFile::encodeName(m_staging + QLatin1Char('/') + prefix).constData(), &status) == 0
                    && !S_ISDIR(status.st_mode)) {
                    refuseCarrying(entry);
                }
            }
            struct stat status;
            if (::lstat(QFile::encodeName(m_staging + QLatin1Char('/') + entry).constData(), &status) == 0) {
                // An empty folder holds nothing to keep, and folders are not
                // listed, so one the earlier export left empty is no clash.
                if (S_ISDIR(status.st_mode) && isEmptyFolder(m_output + QLatin1Char('/') + entry))
                    continue;
                refuseCarrying(entry);
            }
            entries.append(entry);
        }
        QStringList moved;
        for (const QString &entry : entries) {
            const QString target = m_staging + QLatin1Char('/') + entry;
            if (!QDir().mkpath(QFileInfo(target).absolutePath()) || !renamed(m_output + QLatin1Char('/') + entry, target)) {
                const QString reason = systemError();
                carryBack(moved);
                fail(QStringLiteral("Cannot keep %1 in the new export: %2. Nothing was changed.")
                         .arg(quoted(m_output + QLatin1Char('/') + entry), reason));
            }
            moved.append(entry);
        }
        return moved;
    }

    static bool isEmptyFolder(const QString &path)
    {
        struct stat status;
        return ::lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode)
            && QDir(path).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    [[noreturn]] void refuseCarrying(const QString &entry) const
    {
        fail(QStringLiteral("%1 was not written by an earlier export, and the new export writes something of that name. "
                            "Nothing was changed; move it away and export again.")
                 .arg(quoted(m_output + QLatin1Char('/') + entry)));
    }

    // Undoes carryOver() while the old folder is still in its place.
    void carryBack(const QStringList &moved)
    {
        for (const QString &entry : moved)
            renamed(m_staging + QLatin1Char('/') + entry, m_output + QLatin1Char('/') + entry);
    }

    void commit()
    {
        finishStaging();
        // Looked at again: the folder may have changed during the export.
        const QStringList carried = carryOver(entriesToCarry());
        QString old;
        if (QFileInfo::exists(m_output)) {
            const QFileInfo info(m_output);
            old = freeSideName(info.absolutePath(), QLatin1Char('.') + info.fileName() + QStringLiteral(".old-"), m_output);
            if (!renamed(m_output, old)) {
                carryBack(carried);
                fail(QStringLiteral("Cannot replace %1: it could not be moved aside.").arg(quoted(m_output)));
            }
        }
        if (!renamed(m_staging, m_output)) {
            if (old.isEmpty() || renamed(old, m_output)) {
                carryBack(carried);
                fail(QStringLiteral("Cannot move the exported site into %1.").arg(quoted(m_output)));
            }
            // Neither folder is removed then: one holds the earlier export,
            // the other what the user had added to it.
            m_committed = true;
            fail(QStringLiteral("Cannot move the exported site into %1; the earlier export is in %2 and the new one, "
                                "with the files added to the earlier one, in %3.")
                     .arg(quoted(m_output), quoted(old), quoted(m_staging)));
        }
        m_committed = true;
        // Only the earlier export's own files are left in it; links in it
        // are removed, never followed.
        if (!old.isEmpty())
            QDir(old).removeRecursively();
    }

    QFSiteExporter &m_exporter;
    const QString m_output;
    QString m_staging;
    QString m_scratch;
    QStringList m_createdParents;
    bool m_committed = false;
    std::shared_ptr<const QFSiteLayout> m_layout;
    QSet<QFTextViewPluginClient *> m_touchedPlugins;
    QList<QFTextViewPluginClient *> m_sessionPlugins;
    QSet<QString> m_madeFolders;
    QSet<QString> m_sharedCopied;
    QFSiteExporter::Summary m_summary;
    QFSiteExporter::Progress m_progress;
    // Counted on the writing thread.
    std::atomic<qint64> m_placedFiles = 0;
    std::atomic<qint64> m_placedBytes = 0;
    QFFileWriteQueue m_writes;
};

QFSiteExporter::QFSiteExporter(QFSiteDocument &document, const QFPluginRegistry *registry)
    : m_document(document)
    , m_registry(registry)
{
}

void QFSiteExporter::setOptions(const Options &options)
{
    m_options = options;
}

void QFSiteExporter::setProgressCallback(ProgressCallback callback)
{
    m_progress = std::move(callback);
}

void QFSiteExporter::setTheme(const QFSiteTheme &theme)
{
    m_theme = &theme;
}

QFSiteExporter::Summary QFSiteExporter::exportTo(const QString &outputFolder)
{
    m_cancelled = false;
    const QString output = QDir::cleanPath(QFileInfo(outputFolder).absoluteFilePath());
    Run run(*this, output);
    return run.run();
}

void QFSiteExporter::cancel()
{
    m_cancelled = true;
    if (QFTextViewPluginClient *plugin = m_currentPlugin.load())
        plugin->cancelExport();
}

QVariantMap QFSiteExporter::pageParameters(const QFSiteLayout &layout, const QFSiteLayout::Page &page,
                                           const Options &options)
{
    QVariantMap params;
    params.insert(QStringLiteral("base"), options.baseURL.isEmpty() ? layout.siteBaseURL() : options.baseURL);
    params.insert(QStringLiteral("location"), page.folder);
    params.insert(QStringLiteral("index"), page.path());
    params.insert(QStringLiteral("name"), page.fileName);
    params.insert(QStringLiteral("title"), page.title);
    params.insert(QStringLiteral("FilenameExt"), page.extension);
    params.insert(QStringLiteral("filesfoldername"), page.filesFolderName);
    params.insert(QStringLiteral("pagecharset"), QStringLiteral("utf-8"));
    // The shared folder as a path from the page's folder.
    QString common = QFSiteLayout::relativePath(page.folder, 0, joined(layout.sharedFolderPath(page), QStringLiteral("x")));
    common.chop(2);
    params.insert(QStringLiteral("plugincommonpath"), common.isEmpty() ? QStringLiteral(".") : common);
    params.insert(QStringLiteral("commonpathsrelative"), QStringLiteral("YES"));
    if (options.preview)
        params.insert(QStringLiteral("mode"), QStringLiteral("preview"));
    if (options.contentOnlySubpages)
        params.insert(QStringLiteral("contentonlysubpages"), QStringLiteral("YES"));
    return params;
}

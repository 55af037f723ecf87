#include "qfsitelayout.h"

#include "qfpage.h"
#include "qfsitedocument.h"
#include "qftextviewpluginclient.h"

#include <QSet>
#include <QStringList>

namespace {

bool hasPageExtension(const QString &name, qsizetype *dot)
{
    static const QStringList extensions = {QStringLiteral("html"), QStringLiteral("htm"), QStringLiteral("php"),
                                           QStringLiteral("shtml"), QStringLiteral("xhtml")};
    const qsizetype at = name.lastIndexOf(QLatin1Char('.'));
    if (at <= 0)
        return false;
    const QString extension = name.mid(at + 1).toLower();
    if (!extensions.contains(extension))
        return false;
    *dot = at;
    return true;
}

QString joined(const QString &folder, const QString &name)
{
    return folder.isEmpty() ? name : folder + QLatin1Char('/') + name;
}

} // namespace

int QFSiteLayout::Page::folderDepth() const
{
    return folder.isEmpty() ? 0 : int(folder.count(QLatin1Char('/'))) + 1;
}

QString QFSiteLayout::Page::path() const
{
    return joined(folder, fileName);
}

QString QFSiteLayout::Page::filesFolderPath() const
{
    return joined(folder, filesFolderName);
}

QFSiteLayout QFSiteLayout::forPages(const QList<QFPage> &pages, const QString &siteTitle,
                                    const QString &siteBaseURL, int commonFileConsolidationMode)
{
    QFSiteLayout layout;
    layout.m_siteTitle = siteTitle;
    layout.m_siteBaseURL = siteBaseURL;
    layout.m_commonFileConsolidationMode = commonFileConsolidationMode;
    layout.m_pages.reserve(pages.size());

    // Lower case: the output may land on a file system that ignores case.
    QSet<QString> takenPaths;
    QSet<QString> foldersWithFiles;
    for (const QFPage &source : pages) {
        Page page;
        page.uniqueID = source.uniqueID;
        page.title = source.title;
        page.pluginName = source.pluginName;
        page.plugin = source.plugin;
        page.folder = cleanFolder(source.folder);
        const std::optional<QString> override = source.plugin ? source.plugin->overrideFileExtension() : std::nullopt;
        page.extension = override && !override->isEmpty() ? *override : QStringLiteral("html");

        QString base = cleanFileName(source.fileName);
        if (qsizetype dot = -1; hasPageExtension(base, &dot))
            base.truncate(dot);
        if (base.isEmpty())
            base = QStringLiteral("index");
        QString fileName = base + QLatin1Char('.') + page.extension;
        for (int n = 2; takenPaths.contains(joined(page.folder, fileName).toLower()); ++n)
            fileName = base + QLatin1Char('-') + QString::number(n) + QLatin1Char('.') + page.extension;
        takenPaths.insert(joined(page.folder, fileName).toLower());
        page.fileName = fileName;

        const QString folderKey = page.folder.toLower();
        if (foldersWithFiles.contains(folderKey)) {
            page.filesFolderName = fileName.left(fileName.lastIndexOf(QLatin1Char('.'))) + QStringLiteral("-files");
        } else {
            page.filesFolderName = QStringLiteral("files");
            foldersWithFiles.insert(folderKey);
        }

        layout.m_index.insert(page.uniqueID, layout.m_pages.size());
        layout.m_pages.append(page);
    }
    return layout;
}

QFSiteLayout QFSiteLayout::forDocument(const QFSiteDocument &document)
{
    return forPages(document.pages(), document.siteTitle(), document.siteBaseURL(),
                    document.commonFileConsolidationMode());
}

const QFSiteLayout::Page *QFSiteLayout::page(const QString &uniqueID) const
{
    const auto it = m_index.constFind(uniqueID);
    return it == m_index.constEnd() ? nullptr : &m_pages.at(*it);
}

QString QFSiteLayout::sharedFolderPath(const Page &page) const
{
    return m_commonFileConsolidationMode == 0 ? sharedFolderName() : page.filesFolderPath();
}

QString QFSiteLayout::sharedFolderName()
{
    return QStringLiteral("common");
}

QString QFSiteLayout::styleSheetFileName()
{
    return QStringLiteral("quillfen.css");
}

QString QFSiteLayout::upLevels(int levels)
{
    QString up;
    up.reserve(3 * std::max(levels, 0));
    for (int i = 0; i < levels; ++i)
        up += QLatin1String("../");
    return up;
}

QString QFSiteLayout::relativePath(const QString &fromFolder, int depth, const QString &toPath)
{
    const QStringList from = fromFolder.isEmpty() ? QStringList() : fromFolder.split(QLatin1Char('/'));
    const QStringList to = toPath.split(QLatin1Char('/'));
    // Only folders can be shared: the last part of toPath is the file.
    qsizetype common = 0;
    while (common < from.size() && common < to.size() - 1 && from.at(common) == to.at(common))
        ++common;
    QString href = upLevels(depth + int(from.size() - common));
    href += to.mid(common).join(QLatin1Char('/'));
    return href;
}

QString QFSiteLayout::cleanFolder(const QString &folder)
{
    QString normal = folder;
    normal.replace(QLatin1Char('\\'), QLatin1Char('/'));
    QStringList parts;
    for (const QString &part : normal.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (part == QLatin1String(".") || part == QLatin1String(".."))
            continue;
        parts.append(part);
    }
    return parts.join(QLatin1Char('/'));
}

QString QFSiteLayout::cleanFileName(const QString &name)
{
    QString normal = name;
    normal.replace(QLatin1Char('\\'), QLatin1Char('/'));
    const QString last = normal.mid(normal.lastIndexOf(QLatin1Char('/')) + 1);
    if (last == QLatin1String(".") || last == QLatin1String(".."))
        return QString();
    return last;
}

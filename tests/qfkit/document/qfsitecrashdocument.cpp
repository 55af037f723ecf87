#include "qfsitecrashdocument.h"

#include "qfkit/document/qfsitedocumentformat.h"

namespace QFSiteCrashDocument {

namespace {
constexpr qsizetype ArchiveSize = 2 * 1024 * 1024;
const QString TitlePrefix = QStringLiteral("Generation ");
}

QFSiteDocumentData generation(int generation)
{
    QFSiteDocumentData data;
    data.properties.insert(QLatin1StringView(QFSiteDocumentFormat::SiteTitleKey), TitlePrefix + QString::number(generation));
    data.properties.insert(QStringLiteral("generation"), qint64(generation));
    // The number of pages changes too, so a half-replaced list shows.
    const int pageCount = 2 + generation % 3;
    for (int i = 0; i < pageCount; ++i) {
        QFStoredPage page;
        page.uniqueID = QStringLiteral("page-%1").arg(i);
        page.order = i;
        page.fileName = QStringLiteral("page%1.html").arg(i);
        page.title = QStringLiteral("Page %1 of generation %2").arg(i).arg(generation);
        page.pluginName = QStringLiteral("Blog");
        page.archive = QStringLiteral("G%1P%2:").arg(generation).arg(i).toLatin1()
                       + QByteArray(ArchiveSize, char(generation * 13 + i));
        data.pages.append(page);
    }
    return data;
}

std::optional<int> generationOf(const QFSiteDocumentData &data)
{
    const QString title = data.properties.value(QLatin1StringView(QFSiteDocumentFormat::SiteTitleKey)).toString();
    if (!title.startsWith(TitlePrefix))
        return std::nullopt;
    bool ok = false;
    const int number = title.mid(TitlePrefix.size()).toInt(&ok);
    if (!ok)
        return std::nullopt;
    const QFSiteDocumentData expected = generation(number);
    if (data.properties != expected.properties || data.pages != expected.pages)
        return std::nullopt;
    return number;
}

} // namespace QFSiteCrashDocument

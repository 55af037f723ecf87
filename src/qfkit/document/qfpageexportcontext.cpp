#include "qfpageexportcontext.h"

#include "qfsitetheme.h"
#include "qfkit/text/qfstrings.h"

#include <QMutexLocker>

namespace {

// Site texts go into pages whose plugins then replace their "%…%"
// placeholders; a "%" written as a reference can never be taken for one.
QString siteText(const QString &text)
{
    QString html = QFStrings::stringEscapedForHTMLElementText(text);
    html.replace(QLatin1Char('%'), QLatin1String("&#37;"));
    return html;
}

struct TemplateParts
{
    QString head;
    QString body;
};

// The inside of <head> and of <body>; a template without <body> is all body.
TemplateParts splitTemplate(const QString &pageTemplate)
{
    const auto inside = [&](QLatin1String open, QLatin1String close, QString *out) {
        const qsizetype start = pageTemplate.indexOf(open, 0, Qt::CaseInsensitive);
        if (start < 0)
            return false;
        // "<head" must not match "<header".
        const qsizetype after = start + open.size();
        if (after < pageTemplate.size() && pageTemplate.at(after) != QLatin1Char('>')
            && !pageTemplate.at(after).isSpace())
            return false;
        const qsizetype tagEnd = pageTemplate.indexOf(QLatin1Char('>'), after);
        if (tagEnd < 0)
            return false;
        qsizetype end = pageTemplate.lastIndexOf(close, -1, Qt::CaseInsensitive);
        if (end < tagEnd)
            end = pageTemplate.size();
        *out = pageTemplate.mid(tagEnd + 1, end - tagEnd - 1);
        return true;
    };
    TemplateParts parts;
    inside(QLatin1String("<head"), QLatin1String("</head>"), &parts.head);
    if (!inside(QLatin1String("<body"), QLatin1String("</body>"), &parts.body))
        parts.body = pageTemplate;
    parts.head = parts.head.trimmed();
    parts.body = parts.body.trimmed();
    return parts;
}

QString viewportMeta()
{
    return QStringLiteral("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\" />");
}

} // namespace

QFPageExportContext::QFPageExportContext(std::shared_ptr<const QFSiteLayout> layout, const QString &pageID,
                                         const QFSiteTheme &theme, const QString &headers, const Sidebars &sidebars)
    : m_layout(layout ? std::move(layout) : std::make_shared<const QFSiteLayout>())
    , m_theme(theme)
    , m_headers(headers)
    , m_sidebars(sidebars)
{
    m_page = m_layout->page(pageID);
}

QString QFPageExportContext::folder() const
{
    return m_page ? m_page->folder : QString();
}

QString QFPageExportContext::navigation(int depth) const
{
    {
        QMutexLocker locker(&m_cacheMutex);
        const auto it = m_navigation.constFind(depth);
        if (it != m_navigation.constEnd())
            return *it;
    }
    QString html;
    const QList<QFSiteLayout::Page> &pages = m_layout->pages();
    if (pages.size() > 1) {
        html = QStringLiteral("<nav class=\"qf-site-nav\" aria-label=\"Site\">\n<ul>\n");
        for (const QFSiteLayout::Page &page : pages) {
            const QString href = QFSiteLayout::relativePath(folder(), depth, page.path());
            const QString title = page.title.isEmpty() ? page.fileName : page.title;
            const bool current = m_page && m_page->uniqueID == page.uniqueID;
            html += QStringLiteral("<li><a href=\"%1\"%2>%3</a></li>\n")
                        .arg(QFStrings::stringEscapedForHTMLAttribute(href).replace(QLatin1Char('%'), QLatin1String("&#37;")),
                             current ? QStringLiteral(" aria-current=\"page\"") : QString(), siteText(title));
        }
        html += QStringLiteral("</ul>\n</nav>");
    }
    QMutexLocker locker(&m_cacheMutex);
    m_navigation.insert(depth, html);
    return html;
}

QString QFPageExportContext::frame(const QString &head, const QString &content, const QString &headers,
                                   const QString &sidebar, int depth) const
{
    const int levels = (m_page ? m_page->folderDepth() : 0) + std::max(depth, 0);
    QFSiteTheme::Slots values;
    values.head = head;
    values.stylesheet = QFSiteLayout::upLevels(levels) + QFSiteLayout::styleSheetFileName();
    values.headers = headers;
    const QList<QFSiteLayout::Page> &pages = m_layout->pages();
    values.home = pages.isEmpty() ? QStringLiteral("./")
                                 : QFSiteLayout::relativePath(folder(), depth, pages.constFirst().path());
    values.home = QFStrings::stringEscapedForHTMLAttribute(values.home).replace(QLatin1Char('%'), QLatin1String("&#37;"));
    values.siteTitle = siteText(m_layout->siteTitle());
    values.navigation = navigation(depth);
    values.content = content;
    values.sidebar = sidebar;
    return m_theme.page(values);
}

QString QFPageExportContext::placeTemplate(const QString &pageTemplate, const QVariantMap &params, int depth) const
{
    // The params only matter where the template lacks a charset or a title.
    const QString charset = params.value(QStringLiteral("pagecharset"), QStringLiteral("utf-8")).toString();
    const QString title = params.value(QStringLiteral("title")).toString();
    const QPair<int, QString> key(depth, charset + QChar(0) + title + QChar(0) + pageTemplate);
    {
        QMutexLocker locker(&m_cacheMutex);
        const auto it = m_placed.constFind(key);
        if (it != m_placed.constEnd())
            return *it;
    }

    const TemplateParts parts = splitTemplate(pageTemplate);
    QStringList head;
    if (!parts.head.contains(QLatin1String("charset"), Qt::CaseInsensitive)) {
        head.append(QStringLiteral("<meta charset=\"%1\" />").arg(QFStrings::stringEscapedForHTMLAttribute(charset)));
    }
    if (!parts.head.contains(QLatin1String("viewport"), Qt::CaseInsensitive))
        head.append(viewportMeta());
    if (!parts.head.isEmpty())
        head.append(parts.head);
    if (!parts.head.contains(QLatin1String("<title"), Qt::CaseInsensitive))
        head.append(QStringLiteral("<title>%1</title>").arg(siteText(title)));

    const QString placed = frame(head.join(QLatin1Char('\n')), parts.body, m_headers,
                                 depth == 0 ? m_sidebars.page : m_sidebars.subpage, depth);
    QMutexLocker locker(&m_cacheMutex);
    // A plugin uses a handful of templates; anything beyond is not worth keeping.
    if (m_placed.size() < 64)
        m_placed.insert(key, placed);
    return placed;
}

QString QFPageExportContext::placeContent(const QString &contentHTML, const QString &title, int depth,
                                          const QVariantMap &substitutions) const
{
    const QString pageTitle = substitutions.contains(QStringLiteral("title"))
        ? substitutions.value(QStringLiteral("title")).toString()
        : title;
    const QString head = QStringLiteral("<meta charset=\"utf-8\" />\n") + viewportMeta()
        + QStringLiteral("\n<title>%1</title>").arg(siteText(pageTitle));
    const QString headers = substitutions.contains(QStringLiteral("headers"))
        ? substitutions.value(QStringLiteral("headers")).toString()
        : m_headers;
    const QString sidebar = substitutions.contains(QStringLiteral("sidebar"))
        ? substitutions.value(QStringLiteral("sidebar")).toString()
        : (depth == 0 ? m_sidebars.page : m_sidebars.subpage);
    return frame(head, contentHTML, headers, sidebar, depth);
}

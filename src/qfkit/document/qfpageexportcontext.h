#pragma once

#include "qfkit/document/qfsitelayout.h"

#include <QHash>
#include <QMutex>
#include <QString>
#include <QVariantMap>
#include <memory>

class QFSiteTheme;

// What a page's plugin sees of the site while the site exporter exports that
// page: the layout of the whole site, the page's place in it, its feed links
// and its two sidebars (the one of the main file and the one of the pages in
// its files folder, each computed once per export). The plugin base class
// uses it to place the plugin's page templates inside the site theme
// (QFTextViewPluginClient::updatePageTemplate); the exporter uses it for the
// main file and for content-only sub-pages.
//
// Outside an export the plugin base makes one from the document, without
// sidebars or feed links.
//
// Immutable apart from an internal cache of placed templates; every call is
// thread-safe. Held by std::shared_ptr; the theme is not owned and must
// outlive it (the default theme lives for the whole process).
class QFPageExportContext final
{
public:
    struct Sidebars
    {
        // The main file's sidebar and the one for pages in the files folder.
        QString page;
        QString subpage;
    };

    QFPageExportContext(std::shared_ptr<const QFSiteLayout> layout, const QString &pageID, const QFSiteTheme &theme,
                        const QString &headers = QString(), const Sidebars &sidebars = Sidebars());
    Q_DISABLE_COPY_MOVE(QFPageExportContext)

    const QFSiteLayout &layout() const { return *m_layout; }
    // Null when the page is not in the layout.
    const QFSiteLayout::Page *page() const { return m_page; }
    const QString &headers() const { return m_headers; }
    const Sidebars &sidebars() const { return m_sidebars; }

    // A plugin's whole-page template (an HTML document) placed inside the
    // theme, for a file `depth` folders below the page's folder: the
    // template's head elements and body go into the theme's head and content;
    // every "%…%" placeholder of the template is kept for the plugin to
    // replace. A template without <body> is all content. A head without a
    // charset, viewport or title element gets one (charset from params
    // "pagecharset", else "utf-8"; title from params "title").
    // Depth 0 gets the page sidebar, any other depth the sub-page sidebar.
    QString placeTemplate(const QString &pageTemplate, const QVariantMap &params, int depth) const;

    // Content (HTML of the body) placed inside the theme under the given
    // title (plain text), for a file `depth` folders below the page's
    // folder. Substitutions override the page's values: "title" (plain
    // text), "sidebar" and "headers" (HTML).
    QString placeContent(const QString &contentHTML, const QString &title, int depth,
                         const QVariantMap &substitutions = QVariantMap()) const;

    // The site's navigation as seen from that depth: a link to every page,
    // the current one marked; empty for a site of one page.
    QString navigation(int depth) const;

private:
    QString frame(const QString &head, const QString &content, const QString &headers, const QString &sidebar,
                  int depth) const;
    QString folder() const;

    std::shared_ptr<const QFSiteLayout> m_layout;
    const QFSiteLayout::Page *m_page = nullptr;
    const QFSiteTheme &m_theme;
    QString m_headers;
    Sidebars m_sidebars;

    mutable QMutex m_cacheMutex;
    // (depth, template) -> placed template: a plugin places the same template
    // once per generated page.
    mutable QHash<QPair<int, QString>, QString> m_placed;
    mutable QHash<int, QString> m_navigation;
};

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

// The site theme: one HTML5 page frame (site title, navigation, content,
// sidebar) and its style sheet. The default theme is compiled into qfkit as
// resources (src/qfkit/document/theme/: page.html, quillfen.css).
//
// The frame's slots are written {{name}} and filled in one pass over the
// frame only, so text put into a slot is never read for slots again: content
// holding "{{content}}" or a plugin's "%…%" placeholders comes out as it went
// in. Immutable once made; safe on any thread.
class QFSiteTheme final
{
public:
    struct Slots
    {
        // Inside <head>: meta charset, viewport, title.
        QString head;
        // href of the style sheet.
        QString stylesheet;
        // More head elements (feed links).
        QString headers;
        // href of the site's first page, and the site's title as HTML text.
        QString home;
        QString siteTitle;
        QString navigation;
        QString content;
        // The sidebar's content; the frame's sidebar area is left out when empty.
        QString sidebar;
    };

    // The theme compiled into qfkit.
    static const QFSiteTheme &defaultTheme();

    // Made from a frame and a style sheet (tests, other themes).
    QFSiteTheme(const QString &pageFrame, const QByteArray &styleSheet);

    QString page(const Slots &values) const;
    const QByteArray &styleSheet() const { return m_styleSheet; }

private:
    enum class Slot { Head, Stylesheet, Headers, Home, SiteTitle, Navigation, Content, Sidebar, LayoutClass };
    struct Piece
    {
        QString literal;
        // The slot after the literal; none for the last piece.
        std::optional<Slot> slot;
    };

    QList<Piece> m_pieces;
    QByteArray m_styleSheet;
};

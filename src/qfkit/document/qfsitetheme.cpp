#include "qfsitetheme.h"

#include "qfkit/support/qfexception.h"

#include <QFile>
#include <optional>

namespace {

std::optional<int> slotNumber(QStringView name)
{
    static const char *const names[] = {"head",       "stylesheet", "headers", "home",       "siteTitle",
                                        "navigation", "content",    "sidebar", "layoutClass"};
    for (int i = 0; i < int(std::size(names)); ++i) {
        if (name == QLatin1String(names[i]))
            return i;
    }
    return std::nullopt;
}

QByteArray resource(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw QFAssertionFailure(QStringLiteral(__FILE__), QStringLiteral("The default theme's %1 is missing").arg(path));
    return file.readAll();
}

} // namespace

const QFSiteTheme &QFSiteTheme::defaultTheme()
{
    static const QFSiteTheme theme(QString::fromUtf8(resource(QStringLiteral(":/qfkit/theme/page.html"))),
                                   resource(QStringLiteral(":/qfkit/theme/quillfen.css")));
    return theme;
}

QFSiteTheme::QFSiteTheme(const QString &pageFrame, const QByteArray &styleSheet)
    : m_styleSheet(styleSheet)
{
    // Split once; an unknown {{word}} stays literal text.
    qsizetype from = 0;
    QString literal;
    while (from < pageFrame.size()) {
        const qsizetype open = pageFrame.indexOf(QLatin1String("{{"), from);
        if (open < 0)
            break;
        const qsizetype close = pageFrame.indexOf(QLatin1String("}}"), open + 2);
        if (close < 0)
            break;
        const std::optional<int> slot = slotNumber(QStringView(pageFrame).mid(open + 2, close - open - 2));
        if (!slot) {
            literal += pageFrame.mid(from, open + 2 - from);
            from = open + 2;
            continue;
        }
        literal += pageFrame.mid(from, open - from);
        m_pieces.append(Piece{literal, Slot(*slot)});
        literal.clear();
        from = close + 2;
    }
    literal += pageFrame.mid(from);
    m_pieces.append(Piece{literal, std::nullopt});
}

QString QFSiteTheme::page(const Slots &values) const
{
    const bool withSidebar = !values.sidebar.trimmed().isEmpty();
    const QString sidebar = withSidebar
        ? QStringLiteral("<aside class=\"qf-sidebar\" aria-label=\"Sidebar\">\n%1\n</aside>").arg(values.sidebar)
        : QString();
    const QString layoutClass = withSidebar ? QStringLiteral(" qf-with-sidebar") : QString();

    const auto value = [&](Slot slot) -> const QString & {
        switch (slot) {
        case Slot::Head: return values.head;
        case Slot::Stylesheet: return values.stylesheet;
        case Slot::Headers: return values.headers;
        case Slot::Home: return values.home;
        case Slot::SiteTitle: return values.siteTitle;
        case Slot::Navigation: return values.navigation;
        case Slot::Content: return values.content;
        case Slot::Sidebar: return sidebar;
        case Slot::LayoutClass: return layoutClass;
        }
        return layoutClass;
    };

    qsizetype size = 0;
    for (const Piece &piece : m_pieces)
        size += piece.literal.size() + (piece.slot ? value(*piece.slot).size() : 0);
    QString html;
    html.reserve(size);
    for (const Piece &piece : m_pieces) {
        html += piece.literal;
        if (piece.slot)
            html += value(*piece.slot);
    }
    return html;
}

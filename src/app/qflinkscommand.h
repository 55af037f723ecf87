#pragma once

#include <QStringList>

class QFCommandContext;

// `quillfen links SITE [--json]`: the places inside each page of the site
// that internal links may point at (QFTextViewPluginClient::internalPageLinks),
// page by page in document order. As text, an indented tree: a line per page
// (unique ID, file, title, plugin), under it a line per target (its title,
// sub-page ID and anchor), children indented further. With --json, one object
// {"pages": [{"id", "name", "folder", "title", "plugin", "links"}]}, "links"
// being the targets as the plugin gives them (title, pageID, subpageID,
// anchorID, children), or null for a page that offers none. Failures raise
// QFException for the command table to report (exit 1); nothing is changed.
class QFLinksCommand final
{
public:
    static constexpr const char *name = "links";
    static constexpr const char *synopsis = "links SITE [--json]";
    static constexpr const char *summary = "list the link targets every page offers";
    static const char *help();

    static int run(const QStringList &arguments, QFCommandContext &context);
};

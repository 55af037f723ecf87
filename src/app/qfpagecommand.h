#pragma once

#include <QStringList>

class QFCommandContext;

// `quillfen page export SITE PAGE OUT.qfpage` and
// `quillfen page import SITE IN.qfpage [--name NAME] [--title TITLE]
// [--keep-podcast-paths]`: a whole
// page moved between sites as a page package (docs/FORMATS.md, "Page
// package").
//
// Export picks the page by unique ID, file name or title (as --page does for
// the blog's commands), asks its plugin for the package
// (QFTextViewPluginClient::sandwich) and writes it, replacing OUT; the site is
// not changed. Import reads the package whole first, rebuilds the page with
// the factory registered for its type (CVSandwichMaking), adds it after the
// site's pages under a file name no top-level page has yet (NAME, or the
// plugin's name in lower case, then "-2", "-3" …), and saves the site once.
// A package that cannot be read or used is refused before the site is
// touched. Files the package names by their path on this computer (podcasts)
// are listed on standard error and kept only with --keep-podcast-paths. Both
// print one line: the page's file name and its number of entries (export:
// the "Entries" of the package's data; import: the posts rebuilt, as the
// plugin reports them).
// Failures raise QFException for the command table to report (exit 1).
class QFPageCommand final
{
public:
    static constexpr const char *name = "page";
    static constexpr const char *synopsis = "page export|import SITE ...";
    static constexpr const char *summary = "move a page between sites as a .qfpage package";
    static const char *help();

    static int run(const QStringList &arguments, QFCommandContext &context);
};

#pragma once

#include "qfkit/text/qflinkstyleresolver.h"

class QFTextViewPluginClient;

// The link resolver of one page (what QFTextViewPluginClient::pageFromPageID
// answers): turns internal links written on that page into hrefs, following
// the site layout (QFSiteLayout) of the running export, or of the page's
// document outside an export.
//
//  - A link to a page: that page's main file, relative to the linking file
//    (depthCorrection 0: the page's main file; 1: a file in its files folder).
//  - A link to a sub-page: the target page's plugin answers
//    (QFTextViewPluginClient::hrefForSubpage). For a link to the page itself
//    its answer is used as it is; for another page it is asked for the form
//    seen from its own main file, and the path from here to that page's
//    folder is put in front.
//  - Absolute style: the site's base URL with a "/" ensured, then the
//    target's path from the site root; relative hrefs when the site has no
//    base URL.
// nullopt for an external link, an unknown page, a page outside any document
// or a sub-page its plugin does not know.
//
// Owned by its plugin and valid as long as the plugin is. Thread-safe reads:
// it keeps nothing but the plugin pointer.
class QFPageLinkResolver final : public QFLinkStyleResolver
{
public:
    explicit QFPageLinkResolver(const QFTextViewPluginClient *page);
    Q_DISABLE_COPY_MOVE(QFPageLinkResolver)

    std::optional<QString> hrefForInternalLink(const QFLink &link, int depthCorrection) const override;
    std::optional<QString> hrefForInternalLink(const QFLink &link, int depthCorrection,
                                               QFLinkStyle style) const override;

private:
    const QFTextViewPluginClient *m_page;
};

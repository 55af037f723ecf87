#pragma once

#include "qfkit/support/qflink.h"

// How an exporter wants internal links written. Relative links are what pages
// of the site use; absolute links (with the site's base URL) are needed where
// the HTML is read away from the site, as in a feed. The values are the ones
// the exporter's linkStyle argument takes.
enum class QFLinkStyle {
    Relative = 0,
    Absolute = 2,
};

// A link resolver that can also answer in a given link style. The exporter
// asks a resolver of this kind for absolute links when linkStyle is 2; a plain
// QFLinkResolver is always asked for its (relative) href.
class QFLinkStyleResolver : public QFLinkResolver
{
public:
    using QFLinkResolver::hrefForInternalLink;

    // As hrefForInternalLink(link, depthCorrection), written in the given
    // style. The default ignores the style and gives the relative href.
    virtual std::optional<QString> hrefForInternalLink(const QFLink &link, int depthCorrection,
                                                       QFLinkStyle style) const;
};

#include "qfpagelinkresolver.h"

#include "qfpageexportcontext.h"
#include "qfsitedocument.h"
#include "qftextviewpluginclient.h"
#include "qfkit/text/qfstrings.h"

QFPageLinkResolver::QFPageLinkResolver(const QFTextViewPluginClient *page)
    : m_page(page)
{
}

std::optional<QString> QFPageLinkResolver::hrefForInternalLink(const QFLink &link, int depthCorrection) const
{
    return hrefForInternalLink(link, depthCorrection, QFLinkStyle::Relative);
}

std::optional<QString> QFPageLinkResolver::hrefForInternalLink(const QFLink &link, int depthCorrection,
                                                               QFLinkStyle style) const
{
    if (!link.isInternal())
        return std::nullopt;
    const std::shared_ptr<const QFPageExportContext> context = m_page->siteContext();
    if (!context)
        return std::nullopt;
    const QFSiteLayout &layout = context->layout();
    const QFSiteLayout::Page *here = context->page();
    const QFSiteLayout::Page *target = layout.page(link.pageID());
    if (!here || !target)
        return std::nullopt;

    const bool absolute = style == QFLinkStyle::Absolute && !layout.siteBaseURL().isEmpty();
    const bool samePage = here->uniqueID == target->uniqueID;

    if (link.subPageID().isEmpty()) {
        if (absolute)
            return QFStrings::appendForwardSlash(layout.siteBaseURL()) + target->path();
        return QFSiteLayout::relativePath(here->folder, depthCorrection, target->path());
    }

    if (!target->plugin)
        return std::nullopt;
    if (samePage && !absolute)
        return target->plugin->hrefForSubpage(link.subPageID(), depthCorrection, *target);
    const std::optional<QString> fromTarget = target->plugin->hrefForSubpage(link.subPageID(), 0, *target);
    if (!fromTarget)
        return std::nullopt;
    const QString path = target->folder.isEmpty() ? *fromTarget : target->folder + QLatin1Char('/') + *fromTarget;
    if (absolute)
        return QFStrings::appendForwardSlash(layout.siteBaseURL()) + path;
    return QFSiteLayout::relativePath(here->folder, depthCorrection, path);
}

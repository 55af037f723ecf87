#include "qflinkstyleresolver.h"

std::optional<QString> QFLinkStyleResolver::hrefForInternalLink(const QFLink &link, int depthCorrection,
                                                                QFLinkStyle) const
{
    return hrefForInternalLink(link, depthCorrection);
}

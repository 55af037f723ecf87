#include "qfalertrequest.h"

QStringList QFAlertRequest::effectiveButtons() const
{
    if (buttons.isEmpty())
        return {QStringLiteral("OK")};
    return buttons;
}

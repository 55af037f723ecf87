#pragma once

#include "qfalertrequest.h"

// Shows alerts to someone: a dialog on the desktop, a line on the terminal, a
// list in tests. The host picks one and hands it to QFAlert::setPresenter().
class QFAlertPresenter
{
public:
    virtual ~QFAlertPresenter() = default;

    // Shows the request and waits for the answer: the index of the chosen
    // button in request.effectiveButtons(). QFAlert treats an index outside
    // that list as the default button (0).
    virtual int runAlert(const QFAlertRequest &request) = 0;
};

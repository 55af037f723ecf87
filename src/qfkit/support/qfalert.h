#pragma once

#include "qfalertpresenter.h"
#include "qfalertrequest.h"

// The entry point for alerts of the host and of plugins. It forwards to the
// process's current presenter, which the host sets once at start-up (the
// desktop editor a dialog presenter, the command line a terminal one, tests a
// recording one). With no presenter set, the alert is written to the log
// (qfLog) and answered with the default button, so code that alerts never
// blocks or fails when nobody is there to see it.
class QFAlert final
{
public:
    QFAlert() = delete;

    // The presenter is not owned and must outlive its use; nullptr removes it.
    // Returns the presenter that was set before.
    static QFAlertPresenter *setPresenter(QFAlertPresenter *presenter);
    static QFAlertPresenter *presenter();

    // An informational alert with one "OK" button: title as the headline,
    // message as the informative text.
    static void runInfoAlert(const QString &title, const QString &message);

    // The index of the chosen button in request.effectiveButtons(); 0 (the
    // default button) when there is no presenter or it answers out of range.
    static int runAlert(const QFAlertRequest &request);
};

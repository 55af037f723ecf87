#pragma once

#include "qfkit/support/qfalertpresenter.h"

#include <QPointer>
#include <QWidget>

// Alerts for the desktop editor: a modal QMessageBox with the request's
// buttons, button 0 as the default and the last one answering Escape. Runs
// the box on the GUI thread; a call from another thread waits for it there.
class QFWidgetAlertPresenter final : public QFAlertPresenter
{
public:
    // parent (not owned, may be null) is the window the boxes belong to.
    explicit QFWidgetAlertPresenter(QWidget *parent = nullptr);
    Q_DISABLE_COPY_MOVE(QFWidgetAlertPresenter)

    void setParentWidget(QWidget *parent);

    int runAlert(const QFAlertRequest &request) override;

private:
    int runOnGuiThread(const QFAlertRequest &request);

    QPointer<QWidget> m_parent;
};

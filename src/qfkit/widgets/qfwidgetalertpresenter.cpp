#include "qfwidgetalertpresenter.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>

QFWidgetAlertPresenter::QFWidgetAlertPresenter(QWidget *parent)
    : m_parent(parent)
{
}

void QFWidgetAlertPresenter::setParentWidget(QWidget *parent)
{
    m_parent = parent;
}

int QFWidgetAlertPresenter::runAlert(const QFAlertRequest &request)
{
    QCoreApplication *app = QCoreApplication::instance();
    if (!app || QThread::currentThread() == app->thread())
        return runOnGuiThread(request);
    int answer = 0;
    QMetaObject::invokeMethod(
        app, [this, &request, &answer] { answer = runOnGuiThread(request); },
        Qt::BlockingQueuedConnection);
    return answer;
}

int QFWidgetAlertPresenter::runOnGuiThread(const QFAlertRequest &request)
{
    QMessageBox box(m_parent);
    switch (request.style) {
    case QFAlertRequest::Style::Informational: box.setIcon(QMessageBox::Information); break;
    case QFAlertRequest::Style::Warning: box.setIcon(QMessageBox::Warning); break;
    case QFAlertRequest::Style::Critical: box.setIcon(QMessageBox::Critical); break;
    }
    box.setWindowTitle(QApplication::applicationDisplayName());
    box.setText(request.messageText);
    box.setInformativeText(request.informativeText);

    const QStringList titles = request.effectiveButtons();
    QList<QAbstractButton *> buttons;
    for (qsizetype i = 0; i < titles.size(); ++i) {
        // The role only decides placement; the answer is the button's index.
        const QMessageBox::ButtonRole role = i == 0 ? QMessageBox::AcceptRole
            : (i == titles.size() - 1 ? QMessageBox::RejectRole : QMessageBox::ActionRole);
        buttons.append(box.addButton(titles.at(i), role));
    }
    box.setDefaultButton(qobject_cast<QPushButton *>(buttons.first()));
    box.setEscapeButton(buttons.last());
    box.exec();
    const int index = int(buttons.indexOf(box.clickedButton()));
    return index < 0 ? int(buttons.size()) - 1 : index;
}

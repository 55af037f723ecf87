#include "qfalert.h"

#include "qflog.h"

#include <atomic>

namespace {
std::atomic<QFAlertPresenter *> currentPresenter{nullptr};
}

QFAlertPresenter *QFAlert::setPresenter(QFAlertPresenter *presenter)
{
    return currentPresenter.exchange(presenter);
}

QFAlertPresenter *QFAlert::presenter()
{
    return currentPresenter.load();
}

void QFAlert::runInfoAlert(const QString &title, const QString &message)
{
    QFAlertRequest request;
    request.style = QFAlertRequest::Style::Informational;
    request.messageText = title;
    request.informativeText = message;
    runAlert(request);
}

int QFAlert::runAlert(const QFAlertRequest &request)
{
    QFAlertPresenter *p = currentPresenter.load();
    if (!p) {
        QString line = QStringLiteral("Alert: ") + request.messageText;
        if (!request.informativeText.isEmpty())
            line += QStringLiteral(": ") + request.informativeText;
        qfLog(line);
        return 0;
    }
    const int answer = p->runAlert(request);
    if (answer < 0 || answer >= request.effectiveButtons().size())
        return 0;
    return answer;
}

#include "qfcommandlinealertpresenter.h"

#include <QMutexLocker>
#include <cstdio>

QFCommandLineAlertPresenter::QFCommandLineAlertPresenter(QTextStream *out)
    : m_out(out)
{
    if (!m_out) {
        m_stderr = std::make_unique<QTextStream>(stderr);
        m_out = m_stderr.get();
    }
}

QFCommandLineAlertPresenter::~QFCommandLineAlertPresenter() = default;

void QFCommandLineAlertPresenter::queueAnswer(int buttonIndex)
{
    QMutexLocker lock(&m_mutex);
    m_answers.append(buttonIndex);
}

int QFCommandLineAlertPresenter::runAlert(const QFAlertRequest &request)
{
    QMutexLocker lock(&m_mutex);
    const QStringList buttons = request.effectiveButtons();
    int answer = m_answers.isEmpty() ? 0 : m_answers.takeFirst();
    if (answer < 0 || answer >= buttons.size())
        answer = 0;

    QString line;
    switch (request.style) {
    case QFAlertRequest::Style::Informational: break;
    case QFAlertRequest::Style::Warning: line = QStringLiteral("warning: "); break;
    case QFAlertRequest::Style::Critical: line = QStringLiteral("error: "); break;
    }
    line += request.messageText;
    if (!request.informativeText.isEmpty())
        line += (request.messageText.isEmpty() ? QString() : QStringLiteral(": ")) + request.informativeText;
    *m_out << line << '\n';
    if (buttons.size() > 1)
        *m_out << "  [" << buttons.join(QStringLiteral(" / ")) << "] -> " << buttons.at(answer) << '\n';
    m_out->flush();
    return answer;
}

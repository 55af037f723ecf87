#pragma once

#include "qfalertpresenter.h"

#include <QList>
#include <QMutex>
#include <QTextStream>
#include <memory>

// Alerts for the command line: writes "title: message" (the headline and the
// informative text) as one line to a text stream, and, when there is a choice
// of buttons, the buttons and the answer taken. Nobody is asked: the answer is
// the next one queued with queueAnswer(), else the default button.
class QFCommandLineAlertPresenter final : public QFAlertPresenter
{
public:
    // Writes to out, which the caller owns and keeps alive; to standard error
    // when out is null.
    explicit QFCommandLineAlertPresenter(QTextStream *out = nullptr);
    ~QFCommandLineAlertPresenter() override;
    Q_DISABLE_COPY_MOVE(QFCommandLineAlertPresenter)

    // Answers for the coming alerts, first queued first used (for --yes style
    // options and scripted runs).
    void queueAnswer(int buttonIndex);

    int runAlert(const QFAlertRequest &request) override;

private:
    QMutex m_mutex;
    std::unique_ptr<QTextStream> m_stderr;
    QTextStream *m_out = nullptr;
    QList<int> m_answers;
};

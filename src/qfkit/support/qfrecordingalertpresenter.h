#pragma once

#include "qfalertpresenter.h"

#include <QList>
#include <QMutex>

// A presenter for tests: remembers every request it is shown and answers from
// a queue of button indexes, the default button (0) when the queue is empty.
// Safe to use from any thread.
class QFRecordingAlertPresenter final : public QFAlertPresenter
{
public:
    QFRecordingAlertPresenter() = default;
    Q_DISABLE_COPY_MOVE(QFRecordingAlertPresenter)

    void queueAnswer(int buttonIndex);
    QList<QFAlertRequest> requests() const;
    void clear();

    int runAlert(const QFAlertRequest &request) override;

private:
    mutable QMutex m_mutex;
    QList<QFAlertRequest> m_requests;
    QList<int> m_answers;
};

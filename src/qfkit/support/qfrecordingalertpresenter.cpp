#include "qfrecordingalertpresenter.h"

#include <QMutexLocker>

void QFRecordingAlertPresenter::queueAnswer(int buttonIndex)
{
    QMutexLocker lock(&m_mutex);
    m_answers.append(buttonIndex);
}

QList<QFAlertRequest> QFRecordingAlertPresenter::requests() const
{
    QMutexLocker lock(&m_mutex);
    return m_requests;
}

void QFRecordingAlertPresenter::clear()
{
    QMutexLocker lock(&m_mutex);
    m_requests.clear();
    m_answers.clear();
}

int QFRecordingAlertPresenter::runAlert(const QFAlertRequest &request)
{
    QMutexLocker lock(&m_mutex);
    m_requests.append(request);
    return m_answers.isEmpty() ? 0 : m_answers.takeFirst();
}

#include "qffilewritequeue.h"

#include <QFile>

QFFileWriteQueue::QFFileWriteQueue(qsizetype maxPendingBytes)
    : m_maxPendingBytes(maxPendingBytes)
{
}

QFFileWriteQueue::~QFFileWriteQueue()
{
    {
        std::unique_lock lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void QFFileWriteQueue::write(const QString &path, const QString &text, Failure::Handling handling, Written written)
{
    Job job;
    job.written = std::move(written);
    job.reportFailure = handling == Failure::Report;
    job.path = path;
    job.text = text;
    job.isText = true;
    job.weight = text.size() * qsizetype(sizeof(QChar));
    enqueue(std::move(job));
}

void QFFileWriteQueue::write(const QString &path, const QByteArray &bytes, Failure::Handling handling)
{
    Job job;
    job.reportFailure = handling == Failure::Report;
    job.path = path;
    job.bytes = bytes;
    job.weight = bytes.size();
    enqueue(std::move(job));
}

void QFFileWriteQueue::write(const QString &path, std::function<QByteArray()> make, qsizetype weight,
                             Failure::Handling handling, Written written)
{
    Job job;
    job.written = std::move(written);
    job.reportFailure = handling == Failure::Report;
    job.path = path;
    job.make = std::move(make);
    job.weight = weight;
    enqueue(std::move(job));
}

void QFFileWriteQueue::perform(std::function<std::optional<QString>()> task)
{
    Job job;
    job.task = std::move(task);
    enqueue(std::move(job));
}

void QFFileWriteQueue::enqueue(Job &&job)
{
    std::unique_lock lock(m_mutex);
    if (m_failure)
        return;
    if (!m_thread.joinable())
        m_thread = std::thread([this] { run(); });
    // One job larger than the limit still goes in once the queue is empty.
    const auto room = [&] { return m_jobs.empty() || m_pendingBytes + job.weight <= m_maxPendingBytes; };
    if (!room()) {
        m_changed.notify_all();
        m_changed.wait(lock, room);
    }
    m_pendingBytes += job.weight;
    m_jobs.push_back(std::move(job));
    // Waking the thread for every small job (a post's text, a short page)
    // costs two context switches each; it is woken for a batch instead, and
    // by whoever waits for room or for the queue to empty.
    const bool wake = m_jobs.size() >= WakeJobs || m_pendingBytes >= WakeBytes;
    lock.unlock();
    if (wake)
        m_changed.notify_all();
}

std::optional<QFFileWriteQueue::Failure> QFFileWriteQueue::waitUntilWritten()
{
    std::unique_lock lock(m_mutex);
    m_changed.notify_all();
    m_changed.wait(lock, [&] { return m_jobs.empty() && !m_busy; });
    return m_failure;
}

void QFFileWriteQueue::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [&] { return m_stopping || !m_jobs.empty(); });
        if (m_jobs.empty())
            return;
        Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        m_busy = true;
        const bool skip = m_failure.has_value();
        lock.unlock();

        std::optional<Failure> failure;
        if (!skip && job.task) {
            if (const std::optional<QString> reason = job.task())
                failure = Failure{QString(), *reason};
        } else if (!skip) {
            const QByteArray bytes = job.make ? job.make() : job.isText ? job.text.toUtf8() : job.bytes;
            QFile file(job.path);
            if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size()
                || !file.flush()) {
                if (job.reportFailure)
                    failure = Failure{job.path, file.errorString()};
            } else if (job.written) {
                job.written(bytes.size());
            }
        }

        lock.lock();
        m_busy = false;
        m_pendingBytes -= job.weight;
        if (failure && !m_failure)
            m_failure = failure;
        lock.unlock();
        m_changed.notify_all();
        lock.lock();
    }
}

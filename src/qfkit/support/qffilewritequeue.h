#pragma once

#include <QByteArray>
#include <QString>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

// Writes whole files on a thread of its own, in the order they were queued,
// so that whoever produces many small files (an export writes one per post)
// goes on producing while the file system creates and fills them.
//
// write() returns at once unless more than the byte limit is waiting, in
// which case it waits for room: memory stays bounded however fast the
// producer is. Text is encoded as UTF-8 on the writing thread. Small jobs
// are started in batches: a job may wait until more follow, room is needed,
// the queue is waited for or goes away.
//
// Nothing is reported as it happens: waitUntilWritten() waits for the queue
// to empty and returns the first failure of a file written with
// Failure::Report, after which the queue writes nothing more; a file written
// with Failure::Ignore is simply missing when it cannot be written. The
// destructor waits for what is queued. One producer thread at a time.
class QFFileWriteQueue final
{
public:
    struct Failure
    {
        enum Handling { Report, Ignore };
        QString path; // empty for a task's failure, whose reason says it all
        QString reason;
    };

    explicit QFFileWriteQueue(qsizetype maxPendingBytes = qsizetype(64) << 20);
    ~QFFileWriteQueue();
    Q_DISABLE_COPY_MOVE(QFFileWriteQueue)

    // Called on the writing thread with the size of a file once it is
    // written whole; never for a file that could not be written.
    using Written = std::function<void(qsizetype size)>;

    // Creates or truncates the file at `path`.
    void write(const QString &path, const QString &text, Failure::Handling handling = Failure::Report,
               Written written = {});
    void write(const QString &path, const QByteArray &bytes, Failure::Handling handling = Failure::Report);
    // The bytes are made by `make` on the writing thread; `weight` is what
    // they count against the limit meanwhile.
    void write(const QString &path, std::function<QByteArray()> make, qsizetype weight,
               Failure::Handling handling = Failure::Report, Written written = {});

    // Runs task on the writing thread once everything queued before it is
    // written (moving a written file into place, say). A text it returns is
    // a failure, reported as a write's is.
    void perform(std::function<std::optional<QString>()> task);

    // Waits until everything queued so far is written; the first failure
    // since the queue was made, if any.
    std::optional<Failure> waitUntilWritten();

private:
    struct Job
    {
        QString path;
        QString text;
        QByteArray bytes;
        bool isText = false;
        bool reportFailure = true;
        std::function<std::optional<QString>()> task;
        std::function<QByteArray()> make;
        Written written;
        qsizetype weight = 0;
    };

    static constexpr size_t WakeJobs = 64;
    static constexpr qsizetype WakeBytes = qsizetype(1) << 20;

    void enqueue(Job &&job);
    void run();

    const qsizetype m_maxPendingBytes;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;
    qsizetype m_pendingBytes = 0;
    bool m_busy = false;
    bool m_stopping = false;
    std::optional<Failure> m_failure;
    std::thread m_thread;
};

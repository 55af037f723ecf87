#include "qfkit/support/qffilewritequeue.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

class tst_QFFileWriteQueue : public QObject
{
    Q_OBJECT

private slots:
    void writesEverythingInOrder();
    void failures_data();
    void failures();
    void destructorFinishesTheQueue();
};

// Many files, some written twice, through a queue smaller than the data:
// each file ends up with its last text, as UTF-8.
void tst_QFFileWriteQueue::writesEverythingInOrder()
{
    QTemporaryDir dir;
    QFFileWriteQueue queue(1000);
    for (int i = 0; i < 300; ++i)
        queue.write(dir.filePath(QStringLiteral("page-%1.html").arg(i % 100)), QStringLiteral("Dür %1 ").arg(i).repeated(20));
    queue.write(dir.filePath(QStringLiteral("raw.bin")), QByteArray("\x00\x01", 2));
    QVERIFY(!queue.waitUntilWritten());
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 101);
    for (int i = 0; i < 100; ++i) {
        QCOMPARE(contents(dir.filePath(QStringLiteral("page-%1.html").arg(i))),
                 QStringLiteral("Dür %1 ").arg(i + 200).repeated(20).toUtf8());
    }
    QCOMPARE(contents(dir.filePath(QStringLiteral("raw.bin"))), QByteArray("\x00\x01", 2));
}

void tst_QFFileWriteQueue::failures_data()
{
    QTest::addColumn<bool>("report");
    QTest::addColumn<bool>("laterFileWritten");
    QTest::newRow("reported: nothing more is written") << true << false;
    QTest::newRow("ignored: the file is just missing") << false << true;
}

void tst_QFFileWriteQueue::failures()
{
    QFETCH(bool, report);
    QFETCH(bool, laterFileWritten);
    QTemporaryDir dir;
    QFFileWriteQueue queue;
    const QString unwritable = dir.filePath(QStringLiteral("no-such-folder/page.html"));
    queue.write(unwritable, QStringLiteral("x"),
                report ? QFFileWriteQueue::Failure::Report : QFFileWriteQueue::Failure::Ignore);
    queue.write(dir.filePath(QStringLiteral("later.html")), QStringLiteral("y"));
    const std::optional<QFFileWriteQueue::Failure> failure = queue.waitUntilWritten();
    QCOMPARE(failure.has_value(), report);
    if (failure) {
        QCOMPARE(failure->path, unwritable);
        QVERIFY(!failure->reason.isEmpty());
    }
    QCOMPARE(QFile::exists(dir.filePath(QStringLiteral("later.html"))), laterFileWritten);
}

void tst_QFFileWriteQueue::destructorFinishesTheQueue()
{
    QTemporaryDir dir;
    {
        QFFileWriteQueue queue;
        for (int i = 0; i < 50; ++i)
            queue.write(dir.filePath(QString::number(i)), QByteArray(10000, 'q'));
    }
    for (int i = 0; i < 50; ++i)
        QCOMPARE(QFileInfo(dir.filePath(QString::number(i))).size(), 10000);
}

QTEST_GUILESS_MAIN(tst_QFFileWriteQueue)
#include "tst_qffilewritequeue.moc"

#include "qfkit/support/qflog.h"

#include <QtTest>

Q_LOGGING_CATEGORY(lcOther, "quillfen.test.other")

// Tests check diagnostics by the lines of the log; other categories must keep
// reaching whoever handled them before.
class tst_QFLog : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void captureCollectsLines();
    void nestedCaptures();

private:
    static void recordingHandler(QtMsgType, const QMessageLogContext &, const QString &message)
    {
        s_passedThrough.append(message);
    }
    static QStringList s_passedThrough;
    QtMessageHandler m_saved = nullptr;
};

QStringList tst_QFLog::s_passedThrough;

void tst_QFLog::init()
{
    s_passedThrough.clear();
    m_saved = qInstallMessageHandler(&tst_QFLog::recordingHandler);
}

void tst_QFLog::cleanup()
{
    qInstallMessageHandler(m_saved);
}

void tst_QFLog::captureCollectsLines()
{
    qfLog(QStringLiteral("before the capture"));
    {
        QFLogCapture capture;
        qfLog(QStringLiteral("Dictionary has incorrect type for key %@"));
        qCWarning(lcOther) << "not ours";
        QCOMPARE(capture.lines(), QStringList{QStringLiteral("Dictionary has incorrect type for key %@")});
        QVERIFY(capture.contains(QStringLiteral("incorrect type")));
    }
    qfLog(QStringLiteral("after the capture"));
    QCOMPARE(s_passedThrough, (QStringList{QStringLiteral("before the capture"), QStringLiteral("not ours"),
                                           QStringLiteral("after the capture")}));
}

void tst_QFLog::nestedCaptures()
{
    QFLogCapture outer;
    qfLog(QStringLiteral("one"));
    {
        QFLogCapture inner;
        qfLog(QStringLiteral("two"));
        qCWarning(lcOther) << "not ours";
        QCOMPARE(inner.lines(), QStringList{QStringLiteral("two")});
    }
    qfLog(QStringLiteral("three"));
    QCOMPARE(outer.lines(), (QStringList{QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")}));
    QCOMPARE(s_passedThrough, QStringList{QStringLiteral("not ours")});
}

QTEST_GUILESS_MAIN(tst_QFLog)
#include "tst_qflog.moc"

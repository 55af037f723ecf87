#include "qfkit/support/qflog.h"

#include <QtTest>

Q_LOGGING_CATEGORY(lcOther, "quillfen.test.other")

// Lines of the log are what tests check diagnostics by; other categories must
// keep reaching whoever handled them before.
class tst_QFLog : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void captureCollectsLines();
    void nestedCapturesBothSeeInnerLines();
    void otherCategoriesPassThrough_data();
    void otherCategoriesPassThrough();

private:
    static void recordingHandler(QtMsgType, const QMessageLogContext &, const QString &message);
    static QStringList s_passedThrough;
    QtMessageHandler m_saved = nullptr;
};

QStringList tst_QFLog::s_passedThrough;

void tst_QFLog::recordingHandler(QtMsgType, const QMessageLogContext &, const QString &message)
{
    s_passedThrough.append(message);
}

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
    const QStringList written{QStringLiteral("-[guid] returning nil !"),
                              QStringLiteral("Dictionary has incorrect type for key %@ (type is \"x\")")};
    qfLog(QStringLiteral("before the capture"));
    QStringList lines;
    {
        QFLogCapture capture;
        for (const QString &line : written)
            qfLog(line);
        lines = capture.lines();
        QVERIFY(capture.contains(QStringLiteral("incorrect type")));
        QVERIFY(!capture.contains(QStringLiteral("before the capture")));
    }
    QCOMPARE(lines, written);
    qfLog(QStringLiteral("after the capture"));
    QCOMPARE(s_passedThrough, (QStringList{QStringLiteral("before the capture"), QStringLiteral("after the capture")}));
}

void tst_QFLog::nestedCapturesBothSeeInnerLines()
{
    QFLogCapture outer;
    qfLog(QStringLiteral("one"));
    {
        QFLogCapture inner;
        qfLog(QStringLiteral("two"));
        QCOMPARE(inner.lines(), QStringList{QStringLiteral("two")});
    }
    qfLog(QStringLiteral("three"));
    QCOMPARE(outer.lines(), (QStringList{QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")}));
    QVERIFY(s_passedThrough.isEmpty());
}

void tst_QFLog::otherCategoriesPassThrough_data()
{
    QTest::addColumn<int>("depth");
    QTest::newRow("one capture") << 1;
    QTest::newRow("nested captures") << 3;
}

void tst_QFLog::otherCategoriesPassThrough()
{
    QFETCH(int, depth);
    std::vector<std::unique_ptr<QFLogCapture>> captures;
    for (int i = 0; i < depth; ++i)
        captures.push_back(std::make_unique<QFLogCapture>());

    qCWarning(lcOther) << "not ours";
    qfLog(QStringLiteral("ours"));
    QCOMPARE(s_passedThrough, QStringList{QStringLiteral("not ours")});
    for (const auto &c : captures)
        QCOMPARE(c->lines(), QStringList{QStringLiteral("ours")});
    while (!captures.empty())
        captures.pop_back();
}

QTEST_GUILESS_MAIN(tst_QFLog)
#include "tst_qflog.moc"

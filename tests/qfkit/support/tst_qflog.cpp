#include "qfkit/support/qflog.h"

#include <QtTest>

Q_LOGGING_CATEGORY(lcOther, "quillfen.test.other")

// Tests check diagnostics by the lines of the log; other categories must keep
// reaching whoever handled them before.
class tst_QFLog : public QObject
{
    Q_OBJECT

private slots:
    void capturesNestAndOtherCategoriesPassThrough();

private:
    static void recordingHandler(QtMsgType, const QMessageLogContext &, const QString &message)
    {
        s_passedThrough.append(message);
    }
    static QStringList s_passedThrough;
};

QStringList tst_QFLog::s_passedThrough;

void tst_QFLog::capturesNestAndOtherCategoriesPassThrough()
{
    const QtMessageHandler saved = qInstallMessageHandler(&tst_QFLog::recordingHandler);
    qfLog(QStringLiteral("before the capture"));
    {
        QFLogCapture outer;
        qfLog(QStringLiteral("Dictionary has incorrect type for key %@"));
        {
            QFLogCapture inner;
            qfLog(QStringLiteral("two"));
            qCWarning(lcOther) << "not ours";
            QCOMPARE(inner.lines(), QStringList{QStringLiteral("two")});
        }
        qfLog(QStringLiteral("three"));
        QCOMPARE(outer.lines(), (QStringList{QStringLiteral("Dictionary has incorrect type for key %@"),
                                             QStringLiteral("two"), QStringLiteral("three")}));
        QVERIFY(outer.contains(QStringLiteral("incorrect type")));
    }
    qfLog(QStringLiteral("after the capture"));
    qInstallMessageHandler(saved);
    QCOMPARE(s_passedThrough, (QStringList{QStringLiteral("before the capture"), QStringLiteral("not ours"),
                                           QStringLiteral("after the capture")}));
}

QTEST_GUILESS_MAIN(tst_QFLog)
#include "tst_qflog.moc"

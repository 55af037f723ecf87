#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfcommandlinealertpresenter.h"
#include "qfkit/support/qflog.h"
#include "qfkit/support/qfrecordingalertpresenter.h"

#include <QtTest>

class tst_QFAlert : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void withoutPresenterTheAlertIsLogged();
    void infoAlertReachesThePresenter();
    void answers_data();
    void answers();
    void commandLineOutput_data();
    void commandLineOutput();
};

namespace {

QFAlertRequest request(const QString &message, const QString &informative, const QStringList &buttons,
                       QFAlertRequest::Style style = QFAlertRequest::Style::Informational)
{
    QFAlertRequest r;
    r.style = style;
    r.messageText = message;
    r.informativeText = informative;
    r.buttons = buttons;
    return r;
}

} // namespace

void tst_QFAlert::cleanup()
{
    QFAlert::setPresenter(nullptr);
}

void tst_QFAlert::withoutPresenterTheAlertIsLogged()
{
    QFLogCapture log;
    QFAlert::runInfoAlert(QStringLiteral("Export Errors"), QStringLiteral("podcast.mp3 could not be read"));
    QCOMPARE(log.lines(), QStringList{QStringLiteral("Alert: Export Errors: podcast.mp3 could not be read")});
    const int answer = QFAlert::runAlert(request(QStringLiteral("Add a link?"), QString(),
                                                 {QStringLiteral("OK"), QStringLiteral("Cancel")}));
    QCOMPARE(answer, 0);
}

void tst_QFAlert::infoAlertReachesThePresenter()
{
    QFRecordingAlertPresenter presenter;
    QFAlert::setPresenter(&presenter);
    QFLogCapture log;
    QFAlert::runInfoAlert(QStringLiteral("Export Errors"), QStringLiteral("2 errors"));

    const QList<QFAlertRequest> shown = presenter.requests();
    QCOMPARE(shown.size(), 1);
    QCOMPARE(shown.first(), request(QStringLiteral("Export Errors"), QStringLiteral("2 errors"), {}));
    QCOMPARE(shown.first().effectiveButtons(), QStringList{QStringLiteral("OK")});
    QVERIFY(log.lines().isEmpty());
}

void tst_QFAlert::answers_data()
{
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<QList<int>>("queued");
    QTest::addColumn<QList<int>>("expected");

    const QStringList okCancel{QStringLiteral("OK"), QStringLiteral("Cancel")};
    QTest::newRow("nothing queued: default button") << okCancel << QList<int>{} << QList<int>{0, 0};
    QTest::newRow("queue used in order") << okCancel << QList<int>{1, 0, 1} << QList<int>{1, 0, 1};
    QTest::newRow("out of range is the default") << okCancel << QList<int>{2, 1} << QList<int>{0, 1};
    QTest::newRow("implicit OK has one button") << QStringList{} << QList<int>{1} << QList<int>{0};
}

void tst_QFAlert::answers()
{
    QFETCH(QStringList, buttons);
    QFETCH(QList<int>, queued);
    QFETCH(QList<int>, expected);

    QFRecordingAlertPresenter recording;
    QString output;
    QTextStream stream(&output);
    QFCommandLineAlertPresenter commandLine(&stream);
    for (int answer : queued) {
        recording.queueAnswer(answer);
        commandLine.queueAnswer(answer);
    }

    for (QFAlertPresenter *presenter : {static_cast<QFAlertPresenter *>(&recording),
                                        static_cast<QFAlertPresenter *>(&commandLine)}) {
        QFAlert::setPresenter(presenter);
        QList<int> answers;
        for (qsizetype i = 0; i < expected.size(); ++i)
            answers << QFAlert::runAlert(request(QStringLiteral("Question"), QString(), buttons));
        QCOMPARE(answers, expected);
    }
    QCOMPARE(recording.requests().size(), expected.size());
}

void tst_QFAlert::commandLineOutput_data()
{
    QTest::addColumn<QFAlertRequest>("alert");
    QTest::addColumn<int>("queued"); // -1: none
    QTest::addColumn<QString>("expected");

    using Style = QFAlertRequest::Style;
    QTest::newRow("title and message")
        << request(QStringLiteral("Export Errors"), QStringLiteral("podcast.mp3 is missing"), {}) << -1
        << "Export Errors: podcast.mp3 is missing\n";
    QTest::newRow("warning with a choice, default taken")
        << request(QStringLiteral("addPodcastLink"), QStringLiteral("Add a link?"),
                   {QStringLiteral("OK"), QStringLiteral("Cancel")}, Style::Warning)
        << -1 << "warning: addPodcastLink: Add a link?\n  [OK / Cancel] -> OK\n";
    QTest::newRow("critical, queued answer")
        << request(QStringLiteral("Ping Error"), QStringLiteral("timed out"),
                   {QStringLiteral("Retry"), QStringLiteral("Give Up")}, Style::Critical)
        << 1 << "error: Ping Error: timed out\n  [Retry / Give Up] -> Give Up\n";
}

void tst_QFAlert::commandLineOutput()
{
    QFETCH(QFAlertRequest, alert);
    QFETCH(int, queued);
    QFETCH(QString, expected);

    QString output;
    QTextStream stream(&output);
    QFCommandLineAlertPresenter presenter(&stream);
    if (queued >= 0)
        presenter.queueAnswer(queued);
    QFAlert::setPresenter(&presenter);
    QCOMPARE(QFAlert::runAlert(alert), qMax(queued, 0));
    QCOMPARE(output, expected);
}

QTEST_GUILESS_MAIN(tst_QFAlert)
#include "tst_qfalert.moc"

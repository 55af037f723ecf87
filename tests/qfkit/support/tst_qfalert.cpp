#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfcommandlinealertpresenter.h"
#include "qfkit/support/qflog.h"
#include "qfkit/support/qfrecordingalertpresenter.h"

#include <QtTest>

namespace {

QFAlertRequest request(const QString &message, const QString &informative, const QStringList &buttons = {},
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

class tst_QFAlert : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QFAlert::setPresenter(nullptr); }
    void withoutPresenterTheAlertIsLogged();
    void presenterGetsTheAlertAndAnswersInRange();
    void commandLine_data();
    void commandLine();
};

void tst_QFAlert::withoutPresenterTheAlertIsLogged()
{
    QFLogCapture log;
    QFAlert::runInfoAlert(QStringLiteral("Export Errors"), QStringLiteral("podcast.mp3 could not be read"));
    QCOMPARE(log.lines(), QStringList{QStringLiteral("Alert: Export Errors: podcast.mp3 could not be read")});
    QCOMPARE(QFAlert::runAlert(request(QStringLiteral("Add a link?"), QString(), {QStringLiteral("OK"), QStringLiteral("Cancel")})), 0);
}

void tst_QFAlert::presenterGetsTheAlertAndAnswersInRange()
{
    QFRecordingAlertPresenter presenter;
    presenter.queueAnswer(2);
    QFAlert::setPresenter(&presenter);
    QCOMPARE(QFAlert::runAlert(request(QStringLiteral("Add a link?"), QString(), {QStringLiteral("OK"), QStringLiteral("Cancel")})), 0);
    QFAlert::runInfoAlert(QStringLiteral("Export Errors"), QStringLiteral("2 errors"));
    QCOMPARE(presenter.requests().constLast(), request(QStringLiteral("Export Errors"), QStringLiteral("2 errors")));
}

void tst_QFAlert::commandLine_data()
{
    QTest::addColumn<QFAlertRequest>("alert");
    QTest::addColumn<QList<int>>("queued");
    QTest::addColumn<QList<int>>("answers");
    QTest::addColumn<QString>("expected");

    using Style = QFAlertRequest::Style;
    const QStringList retry{QStringLiteral("Retry"), QStringLiteral("Give Up")};
    QTest::newRow("title and message") << request(QStringLiteral("Export Errors"), QStringLiteral("podcast.mp3 is missing"))
                                       << QList<int>{} << QList<int>{0} << "Export Errors: podcast.mp3 is missing\n";
    QTest::newRow("message without title") << request(QString(), QStringLiteral("2 errors")) << QList<int>{1}
                                           << QList<int>{0} << "2 errors\n";
    QTest::newRow("warning with a choice, default taken")
        << request(QStringLiteral("addPodcastLink"), QStringLiteral("Add a link?"),
                   {QStringLiteral("OK"), QStringLiteral("Cancel")}, Style::Warning)
        << QList<int>{} << QList<int>{0} << "warning: addPodcastLink: Add a link?\n  [OK / Cancel] -> OK\n";
    QTest::newRow("critical, queued answers in order, out of range is the default")
        << request(QStringLiteral("Ping Error"), QStringLiteral("timed out"), retry, Style::Critical)
        << QList<int>{1, 2} << QList<int>{1, 0}
        << "error: Ping Error: timed out\n  [Retry / Give Up] -> Give Up\n"
           "error: Ping Error: timed out\n  [Retry / Give Up] -> Retry\n";
}

void tst_QFAlert::commandLine()
{
    QFETCH(QFAlertRequest, alert);
    QFETCH(QList<int>, queued);
    QFETCH(QList<int>, answers);
    QFETCH(QString, expected);

    QString output;
    QTextStream stream(&output);
    QFCommandLineAlertPresenter presenter(&stream);
    for (int answer : queued)
        presenter.queueAnswer(answer);
    QFAlert::setPresenter(&presenter);
    QList<int> given;
    for (qsizetype i = 0; i < answers.size(); ++i)
        given << QFAlert::runAlert(alert);
    QCOMPARE(given, answers);
    QCOMPARE(output, expected);
}

QTEST_GUILESS_MAIN(tst_QFAlert)
#include "tst_qfalert.moc"

#include "loopbackhttpserver.h"
#include "quillfenrun.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;
using Reply = LoopbackHttpServer::Reply;

// `quillfen publish` and `quillfen ping`, run as a user runs them, against
// weblog directories on the loopback interface.
class tst_QFPublishCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void publishPingsAsTheSwitchSays_data();
    void publishPingsAsTheSwitchSays();
    void failedExportPingsNothing();
    void pingReportsEachService_data();
    void pingReportsEachService();

private:
    Run quillfen(QStringList arguments) const;
    QByteArray siteBytes() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<LoopbackHttpServer> m_server;
    QString m_site;
};

namespace {

QByteArray reply(const char *flerror, const char *message)
{
    return QByteArray("<?xml version=\"1.0\"?><methodResponse><params><param><value><struct>"
                      "<member><name>flerror</name><value><boolean>")
        + flerror + "</boolean></value></member><member><name>message</name><value><string>" + message
        + "</string></value></member></struct></value></param></params></methodResponse>";
}

} // namespace

Run tst_QFPublishCommand::quillfen(QStringList arguments) const
{
    for (QString &argument : arguments) {
        argument.replace(QLatin1String("SITE"), m_site);
        argument.replace(QLatin1String("DIR"), m_dir->path());
        argument.replace(QLatin1String("SERVER"), m_server->url(""));
    }
    return runQuillfen(arguments, m_dir->path());
}

QByteArray tst_QFPublishCommand::siteBytes() const
{
    QFile file(m_site);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void tst_QFPublishCommand::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_server = std::make_unique<LoopbackHttpServer>();
    m_server->setReply("/good", Reply{200, "text/xml", reply("0", "Thanks for the ping."), 0});
    m_server->setReply("/bad", Reply{200, "text/xml", reply("1", "Rejected"), 0});
    m_server->setReply("/form", Reply{200, "text/html", "<p>ok</p>", 0});
    m_site = m_dir->filePath(QStringLiteral("site.qfsite"));
    const QList<QStringList> steps = {
        {"new", "SITE", "--title", "Field Notes", "--base-url", "http://example.org/"},
        {"post", "add", "SITE", "--title", "First light", "--date", "2024-05-01T09:00:00"},
        {"set", "SITE", "pingSettings", R"([{"name":"loopback","url":"SERVER/good","rpc":true}])"},
    };
    for (const QStringList &step : steps) {
        const Run run = quillfen(step);
        QVERIFY2(run.code == 0, qPrintable(run.err));
    }
}

void tst_QFPublishCommand::publishPingsAsTheSwitchSays_data()
{
    QTest::addColumn<QString>("enablePing");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("pings");

    QTest::newRow("switch off") << "false" << QStringList() << 0;
    QTest::newRow("switch on") << "true" << QStringList() << 1;
    QTest::newRow("switch off, --ping") << "false" << QStringList{QStringLiteral("--ping")} << 1;
}

void tst_QFPublishCommand::publishPingsAsTheSwitchSays()
{
    QFETCH(QString, enablePing);
    QFETCH(QStringList, options);
    QFETCH(int, pings);

    const Run set = quillfen({"set", "SITE", "enablePing", enablePing});
    QVERIFY2(set.code == 0, qPrintable(set.err));
    const QByteArray before = siteBytes();

    const Run run = quillfen(QStringList{"publish", "SITE", "DIR/out"} + options);
    QVERIFY2(run.code == 0, qPrintable(run.err));
    QVERIFY2(run.out.startsWith(QLatin1String("Exported ")), qPrintable(run.out));
    QVERIFY(QFileInfo::exists(m_dir->filePath(QStringLiteral("out/quillfen.css"))));
    QCOMPARE(m_server->requestCount("/good"), pings);
    if (pings)
        QVERIFY(m_server->requests().constFirst().body.contains("<param><value>http://example.org/</value></param>"));
    QCOMPARE(run.err.contains(QLatin1String("Success: Directories sucessfully pinged")), pings > 0);
    // --ping is for this run only: the site file is not touched.
    QCOMPARE(siteBytes(), before);
}

void tst_QFPublishCommand::failedExportPingsNothing()
{
    const Run set = quillfen({"set", "SITE", "enablePing", "true"});
    QVERIFY2(set.code == 0, qPrintable(set.err));
    // An output folder inside a file cannot be made.
    const Run run = quillfen({"publish", "SITE", "SITE/out", "--ping"});
    QCOMPARE(run.code, 1);
    QVERIFY(!run.out.contains(QLatin1String("Exported")));
    QCOMPARE(m_server->requestCount("/good"), 0);
}

void tst_QFPublishCommand::pingReportsEachService_data()
{
    QTest::addColumn<QString>("services"); // JSON, SERVER is the loopback address
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("alert");
    QTest::addColumn<int>("goodPings");

    QTest::newRow("all pinged")
        << R"([{"name":"one","url":"SERVER/good","rpc":true},{"name":"form","url":"SERVER/form","rpc":false}])" << 0
        << "one: ok\nform: ok\n" << "Success: Directories sucessfully pinged" << 1;
    QTest::newRow("failure stops the run")
        << R"([{"name":"strict","url":"SERVER/bad","rpc":true},{"name":"one","url":"SERVER/good","rpc":true}])"
        << 1 << "strict: failed: Rejected\none: not pinged\n" << "Ping failed for blog 'strict': Rejected" << 0;
    QTest::newRow("no services") << "[]" << 0 << "" << "Success: Directories sucessfully pinged" << 0;
}

void tst_QFPublishCommand::pingReportsEachService()
{
    QFETCH(QString, services);
    QFETCH(int, code);
    QFETCH(QString, out);
    QFETCH(QString, alert);
    QFETCH(int, goodPings);

    const Run set = quillfen({"set", "SITE", "pingSettings", services});
    QVERIFY2(set.code == 0, qPrintable(set.err));
    const Run run = quillfen({"ping", "SITE"});
    QCOMPARE(run.code, code);
    QCOMPARE(run.out, out);
    QVERIFY2(run.err.contains(alert), qPrintable(run.err));
    QCOMPARE(m_server->requestCount("/good"), goodPings);
}

QTEST_GUILESS_MAIN(tst_QFPublishCommand)
#include "tst_qfpublishcommand.moc"

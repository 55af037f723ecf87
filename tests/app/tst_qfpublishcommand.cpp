#include "loopbackhttpserver.h"
#include "quillfenrun.h"

#include <QtTest>

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
    void pingReportsEachService_data();
    void pingReportsEachService();

private:
    std::unique_ptr<QuillfenFolder> m_f;
    std::unique_ptr<LoopbackHttpServer> m_server;
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

void tst_QFPublishCommand::init()
{
    m_f = std::make_unique<QuillfenFolder>();
    QVERIFY(m_f->dir.isValid());
    m_server = std::make_unique<LoopbackHttpServer>();
    m_server->setReply("/good", Reply{200, "text/xml", reply("0", "Thanks for the ping."), 0});
    m_server->setReply("/bad", Reply{200, "text/xml", reply("1", "Rejected"), 0});
    // A server that would print lines of its own: a line break, a C1 line
    // break, a right-to-left override and far too much text.
    m_server->setReply("/forge", Reply{200, "text/xml",
                                       reply("1", "Rejected&#13;\nother: ok\xc2\x85\xe2\x80\xae" + QByteArray(250, 'x')), 0});
    m_server->setReply("/form", Reply{200, "text/html", "<p>ok</p>", 0});
    m_f->words.insert(QStringLiteral("SERVER"), m_server->url(""));
    for (const char *line : {"new|SITE|--title|Field Notes|--base-url|http://example.org/",
                             "post|add|SITE|--title|First light|--date|2024-05-01T09:00:00",
                             R"(set|SITE|pingSettings|[{"name":"loopback","url":"SERVER/good","rpc":true}])"})
        QF_VERIFY_RUN(m_f->run(line));
}

void tst_QFPublishCommand::publishPingsAsTheSwitchSays_data()
{
    QTest::addColumn<QString>("enablePing");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("service");
    QTest::addColumn<int>("pings");
    QTest::addColumn<int>("code");

    QTest::newRow("switch off") << "false" << "publish SITE DIR/out" << "/good" << 0 << 0;
    QTest::newRow("switch on") << "true" << "publish SITE DIR/out" << "/good" << 1 << 0;
    QTest::newRow("switch off, --ping") << "false" << "publish SITE DIR/out --ping" << "/good" << 1 << 0;
    QTest::newRow("failed ping") << "false" << "publish SITE DIR/out --ping" << "/bad" << 1 << 1;
    // An output folder inside a file cannot be made.
    QTest::newRow("failed export") << "true" << "publish SITE SITE/out --ping" << "/good" << -1 << 1;
    QTest::newRow("output holding other files") << "true" << "publish SITE DIR/notes --ping" << "/good" << -1 << 1;
}

void tst_QFPublishCommand::publishPingsAsTheSwitchSays()
{
    QFETCH(QString, enablePing);
    QFETCH(QString, line);
    QFETCH(QString, service);
    QFETCH(int, pings);
    QFETCH(int, code);

    QF_VERIFY_RUN(m_f->run({"set", "SITE", "enablePing", enablePing}));
    QF_VERIFY_RUN(m_f->run(R"(set|SITE|pingSettings|[{"name":"loopback","url":"SERVER)" + service + R"(","rpc":true}])"));
    QVERIFY(QDir().mkpath(m_f->path("notes")));
    m_f->write("notes/todo.txt", "mine");
    const QByteArray before = m_f->read(m_f->site);
    const QuillfenRun run = m_f->run(line);
    // --ping is for this run only: the site file is not touched.
    QCOMPARE(m_f->read(m_f->site), before);
    QCOMPARE(m_f->read(m_f->path("notes/todo.txt")), QByteArray("mine"));
    QCOMPARE(run.code, code);
    if (pings < 0) {
        QVERIFY(!run.out.contains(QLatin1String("Exported")));
        QCOMPARE(m_server->requests().size(), 0);
        return;
    }
    QVERIFY2(run.out.startsWith(QLatin1String("Exported ")), qPrintable(run.out));
    QVERIFY(!m_f->read("out/quillfen.css").isEmpty());
    QCOMPARE(m_server->requestCount(service.toUtf8()), pings);
    if (pings)
        QVERIFY(m_server->requests().constFirst().body.contains("<param><value>http://example.org/</value></param>"));
    QCOMPARE(run.err.contains(QLatin1String("Success: Directories sucessfully pinged")), pings > 0 && code == 0);
    QCOMPARE(run.err.contains(QLatin1String("Ping failed for blog 'loopback': Rejected")), code != 0);
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
    const QString forged = "Rejected other: ok " + QString(180, 'x') + QChar(0x2026);
    QTest::newRow("server text on one line, cut")
        << R"([{"name":"strict","url":"SERVER/forge","rpc":true}])" << 1 << "strict: failed: " + forged + "\n"
        << "Ping failed for blog 'strict': " + forged + "\n" << 0;
    // A service's name may come from an imported page package.
    QTest::newRow("service names on one line")
        << R"([{"name":"bad\nother: ok","url":"SERVER/bad","rpc":true},{"name":"next\u202e","url":"SERVER/good","rpc":true}])"
        << 1 << "bad other: ok: failed: Rejected\nnext: not pinged\n" << "Ping failed for blog 'bad other: ok': Rejected" << 0;
}

void tst_QFPublishCommand::pingReportsEachService()
{
    QFETCH(QString, services);
    QFETCH(int, code);
    QFETCH(QString, out);
    QFETCH(QString, alert);
    QFETCH(int, goodPings);

    QF_VERIFY_RUN(m_f->run({"set", "SITE", "pingSettings", services}));
    const QuillfenRun run = m_f->run("ping SITE");
    QCOMPARE(run.code, code);
    QCOMPARE(run.out, out);
    QVERIFY2(run.err.contains(alert), qPrintable(run.err));
    QCOMPARE(m_server->requestCount("/good"), goodPings);
    QCOMPARE(m_server->requestCount("/form"), goodPings);
}

QTEST_GUILESS_MAIN(tst_QFPublishCommand)
#include "tst_qfpublishcommand.moc"

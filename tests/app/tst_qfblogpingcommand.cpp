#include "loopbackhttpserver.h"
#include "quillfenrun.h"

#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;
using Reply = LoopbackHttpServer::Reply;

// `quillfen ping`, run as a user runs it, against weblog directories on the
// loopback interface.
class tst_QFBlogPingCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void reportsEachService_data();
    void reportsEachService();

private:
    Run quillfen(QStringList arguments) const;

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

Run tst_QFBlogPingCommand::quillfen(QStringList arguments) const
{
    for (QString &argument : arguments) {
        argument.replace(QLatin1String("SITE"), m_site);
        argument.replace(QLatin1String("SERVER"), m_server->url(""));
    }
    return runQuillfen(arguments, m_dir->path());
}

void tst_QFBlogPingCommand::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_server = std::make_unique<LoopbackHttpServer>();
    m_server->setReply("/good", Reply{200, "text/xml", reply("0", "Thanks for the ping."), 0});
    m_server->setReply("/bad", Reply{200, "text/xml", reply("1", "Rejected"), 0});
    m_server->setReply("/form", Reply{200, "text/html", "<p>ok</p>", 0});
    m_site = m_dir->filePath(QStringLiteral("site.qfsite"));
    const Run run = quillfen({"new", "SITE", "--title", "Field Notes", "--base-url", "http://example.org/"});
    QVERIFY2(run.code == 0, qPrintable(run.err));
}

void tst_QFBlogPingCommand::reportsEachService_data()
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

void tst_QFBlogPingCommand::reportsEachService()
{
    QFETCH(QString, services);
    QFETCH(int, code);
    QFETCH(QString, out);
    QFETCH(QString, alert);
    QFETCH(int, goodPings);

    const Run set = quillfen({"set", "SITE", "pingSettings", services});
    QVERIFY2(set.code == 0, qPrintable(set.err));
    // The switch for pinging after a publish does not matter here.
    const Run run = quillfen({"ping", "SITE"});
    QCOMPARE(run.code, code);
    QCOMPARE(run.out, out);
    QVERIFY2(run.err.contains(alert), qPrintable(run.err));
    QCOMPARE(m_server->requestCount("/good"), goodPings);
}

QTEST_GUILESS_MAIN(tst_QFBlogPingCommand)
#include "tst_qfblogpingcommand.moc"

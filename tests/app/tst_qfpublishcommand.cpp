#include "loopbackhttpserver.h"
#include "quillfenrun.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;

// `quillfen publish`, run as a user runs it, against a weblog directory on
// the loopback interface.
class tst_QFPublishCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void publishPingsAsTheSwitchSays_data();
    void publishPingsAsTheSwitchSays();
    void failedExportPingsNothing();

private:
    Run quillfen(QStringList arguments) const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<LoopbackHttpServer> m_server;
    QString m_site;
};

namespace {

const QByteArray thanks = "<?xml version=\"1.0\"?><methodResponse><params><param><value><struct>"
                          "<member><name>flerror</name><value><boolean>0</boolean></value></member>"
                          "<member><name>message</name><value><string>Thanks for the ping.</string></value></member>"
                          "</struct></value></param></params></methodResponse>";

} // namespace

Run tst_QFPublishCommand::quillfen(QStringList arguments) const
{
    for (QString &argument : arguments) {
        argument.replace(QLatin1String("SITE"), m_site);
        argument.replace(QLatin1String("DIR"), m_dir->path());
        argument.replace(QLatin1String("PINGURL"), m_server->url("/rpc"));
    }
    return runQuillfen(arguments, m_dir->path());
}

void tst_QFPublishCommand::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_server = std::make_unique<LoopbackHttpServer>();
    m_server->setReply("/rpc", LoopbackHttpServer::Reply{200, "text/xml", thanks, 0});
    m_site = m_dir->filePath(QStringLiteral("site.qfsite"));
    const QList<QStringList> steps = {
        {"new", "SITE", "--title", "Field Notes", "--base-url", "http://example.org/"},
        {"post", "add", "SITE", "--title", "First light", "--date", "2024-05-01T09:00:00"},
        {"set", "SITE", "pingSettings", R"([{"name":"loopback","url":"PINGURL","rpc":true}])"},
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
    QTest::newRow("switch on, --ping") << "true" << QStringList{QStringLiteral("--ping")} << 1;
}

void tst_QFPublishCommand::publishPingsAsTheSwitchSays()
{
    QFETCH(QString, enablePing);
    QFETCH(QStringList, options);
    QFETCH(int, pings);

    const Run set = quillfen({"set", "SITE", "enablePing", enablePing});
    QVERIFY2(set.code == 0, qPrintable(set.err));
    const QByteArray before = [this] {
        QFile file(m_site);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();

    const Run run = quillfen(QStringList{"publish", "SITE", "DIR/out"} + options);
    QVERIFY2(run.code == 0, qPrintable(run.err));
    QVERIFY2(run.out.startsWith(QLatin1String("Exported ")), qPrintable(run.out));
    QVERIFY(QFileInfo::exists(m_dir->filePath(QStringLiteral("out/quillfen.css"))));
    QCOMPARE(m_server->requestCount("/rpc"), pings);
    // The ping names the site and its address.
    if (pings)
        QVERIFY(m_server->requests().constFirst().body.contains("<param><value>http://example.org/</value></param>"));
    QCOMPARE(run.err.contains(QLatin1String("Success: Directories sucessfully pinged")), pings > 0);

    // --ping is for this run only: the site file is not touched.
    QFile file(m_site);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), before);
}

void tst_QFPublishCommand::failedExportPingsNothing()
{
    const Run set = quillfen({"set", "SITE", "enablePing", "true"});
    QVERIFY2(set.code == 0, qPrintable(set.err));
    // An output folder inside a file cannot be made.
    const Run run = quillfen({"publish", "SITE", "SITE/out", "--ping"});
    QCOMPARE(run.code, 1);
    QVERIFY(!run.out.contains(QLatin1String("Exported")));
    QCOMPARE(m_server->requestCount("/rpc"), 0);
}

QTEST_GUILESS_MAIN(tst_QFPublishCommand)
#include "tst_qfpublishcommand.moc"

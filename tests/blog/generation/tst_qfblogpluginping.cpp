#include "blog/generation/qfblogpingreply.h"
#include "blog/generation/qfblogpluginping.h"
#include "blog/plugin/qfblogplugin.h"
#include "loopbackhttpserver.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"
#include "qfkit/support/qfrecordingalertpresenter.h"

#include <QtTest>

#include <functional>
#include <memory>

using namespace std::chrono_literals;

using Reply = LoopbackHttpServer::Reply;

// A change to the blog and its site before the ping.
using Setup = std::function<void(QFSiteDocument &, QFBlogPlugin &)>;
Q_DECLARE_METATYPE(Setup)
Q_DECLARE_METATYPE(LoopbackHttpServer::Reply)

class tst_QFBlogPluginPing : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void xmlRpcReplies_data();
    void xmlRpcReplies();
    void requestBodyAndHeaders_data();
    void requestBodyAndHeaders();
    void serviceLists_data();
    void serviceLists();
    void transportFailures_data();
    void transportFailures();
    void formStylePing_data();
    void formStylePing();

private:
    QFRecordingAlertPresenter m_alerts;
    QFAlertPresenter *m_previousPresenter = nullptr;
};

namespace {

const QString siteTitle = QStringLiteral("Field Notes");
const QString siteBase = QStringLiteral("http://example.org/blog");

QByteArray methodResponse(const QByteArray &members)
{
    return "<?xml version=\"1.0\"?>\n<methodResponse><params><param><value><struct>" + members
        + "</struct></value></param></params></methodResponse>";
}

QByteArray flerror(const char *value)
{
    return QByteArray("<member><name>flerror</name><value><boolean>") + value + "</boolean></value></member>";
}

QByteArray message(const char *text)
{
    return QByteArray("<member><name>message</name><value><string>") + text + "</string></value></member>";
}

QByteArray fault(const char *text)
{
    return QByteArray("<?xml version=\"1.0\"?><methodResponse><fault><value><struct>"
                      "<member><name>faultCode</name><value><int>4</int></value></member>"
                      "<member><name>faultString</name><value><string>")
        + text + "</string></value></member></struct></value></fault>" + "<params><param><value><struct>"
        + message("Thanks for the ping.") + "</struct></value></param></params></methodResponse>";
}

QVariantMap service(const QString &name, const QString &url, int rpc = 1)
{
    return {{QStringLiteral("name"), name}, {QStringLiteral("url"), url}, {QStringLiteral("rpc"), rpc}};
}

// A site with the title and address above and one blog page, whose ping
// waits a little only (the tests never wait long).
struct Site
{
    QFSiteDocument document;
    QFBlogPlugin *plugin = nullptr;

    Site()
    {
        auto owned = std::make_unique<QFBlogPlugin>();
        plugin = owned.get();
        document.addPage(std::move(owned), QStringLiteral("index.html"), QStringLiteral("Blog"));
        document.setSiteTitle(siteTitle);
        document.setSiteBaseURL(siteBase);
        plugin->ping().setTimeouts(5s, 5s);
    }
};

QFAlertRequest failure(const QString &name, const QString &reason)
{
    QFAlertRequest request;
    request.style = QFAlertRequest::Style::Warning;
    request.messageText = QStringLiteral("Ping failed for blog '%1'").arg(name);
    request.informativeText = reason;
    request.buttons = {QStringLiteral("OK")};
    return request;
}

QFAlertRequest success()
{
    QFAlertRequest request;
    request.messageText = QStringLiteral("Success");
    request.informativeText = QStringLiteral("Directories sucessfully pinged");
    request.buttons = {QStringLiteral("OK")};
    return request;
}

QString alertsText(const QList<QFAlertRequest> &alerts)
{
    QStringList lines;
    for (const QFAlertRequest &alert : alerts)
        lines.append(alert.messageText + QStringLiteral(" / ") + alert.informativeText);
    return lines.join(QLatin1Char('\n'));
}

} // namespace

void tst_QFBlogPluginPing::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogPluginPing::init()
{
    m_alerts.clear();
    m_previousPresenter = QFAlert::setPresenter(&m_alerts);
}

void tst_QFBlogPluginPing::cleanup()
{
    QFAlert::setPresenter(m_previousPresenter);
}

void tst_QFBlogPluginPing::xmlRpcReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("failureReason"); // empty: the ping succeeds
    QTest::addColumn<QStringList>("logged");

    const QString warning = QStringLiteral("warning: XML-RPC ping reply has thanks message of %1");
    const QString unparsable = QStringLiteral("Failed to parse response from server");
    const QByteArray thanks = methodResponse(flerror("0") + message("Thanks for the ping."));

    QTest::newRow("thanks") << thanks << QString() << QStringList();
    QTest::newRow("other thanks text is only a warning") << methodResponse(flerror("0") + message("Got it, see you"))
                                                         << QString() << QStringList{warning.arg("Got it, see you")};
    QTest::newRow("flerror with message fails with it")
        << methodResponse(flerror("1") + message("Rejected")) << QStringLiteral("Rejected") << QStringList();
    QTest::newRow("flerror without message succeeds with a warning")
        << methodResponse(flerror("1")) << QString() << QStringList{warning.arg(QString())};
    QTest::newRow("fault wins over the message") << fault("Blog not found") << QStringLiteral("Blog not found")
                                                 << QStringList();
    QTest::newRow("no fields at all: logged, still pinged")
        << methodResponse("") << QString()
        << QStringList{"No thanks in: " + QString::fromUtf8(methodResponse("")), warning.arg(QString())};
    QTest::newRow("HTML error page") << QByteArray("<html><body><p>Bad gateway</body></html>") << unparsable
                                     << QStringList();
    QTest::newRow("empty reply") << QByteArray() << unparsable << QStringList();
    QTest::newRow("entity expansion is refused")
        << QByteArray("<?xml version=\"1.0\"?><!DOCTYPE methodResponse [<!ENTITY a \"aaaaaaaaaa\">"
                      "<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\"><!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">]>"
                      "<methodResponse><params><param><value><struct><member><name>message</name><value>"
                      "<string>&c;</string></value></member></struct></value></param></params></methodResponse>")
        << QStringLiteral("The reply of the ping service declares a document type, which a ping reply never needs, "
                          "so it was not read")
        << QStringList();
    QTest::newRow("reply over 1 MiB is refused")
        << methodResponse(flerror("0") + message("Thanks for the ping.") + QByteArray(1024 * 1024, ' '))
        << QStringLiteral("The reply of the ping service is larger than 1 MiB, so it was not read") << QStringList();
}

void tst_QFBlogPluginPing::xmlRpcReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, failureReason);
    QFETCH(QStringList, logged);

    LoopbackHttpServer server;
    server.setReply("/rpc/ping", Reply{200, "text/xml", reply, 0});
    Site site;
    site.plugin->setPingSettings({service(QStringLiteral("Loopback"), server.url("/rpc/ping"))});

    QFLogCapture log;
    const QList<QFBlogPluginPing::Outcome> outcomes = site.plugin->ping().pingNow();

    QCOMPARE(server.requestCount("/rpc/ping"), 1);
    QCOMPARE(outcomes.size(), 1);
    QCOMPARE(outcomes.constFirst().failure.value_or(QString()), failureReason);
    QCOMPARE(m_alerts.requests(), failureReason.isEmpty()
                                      ? QList<QFAlertRequest>{success()}
                                      : QList<QFAlertRequest>{failure(QStringLiteral("Loopback"), failureReason)});
    for (const QString &line : logged)
        QVERIFY2(log.lines().contains(line), qPrintable(line + QStringLiteral(" not in: ") + log.lines().join('|')));
    if (logged.isEmpty() && failureReason.isEmpty())
        QVERIFY2(log.lines().filter(QStringLiteral("warning:")).isEmpty(), qPrintable(log.lines().join('|')));
}

void tst_QFBlogPluginPing::requestBodyAndHeaders_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("base");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("url");

    QTest::newRow("plain") << siteTitle << siteBase << QByteArray("Field Notes")
                           << QByteArray("http://example.org/blog/");
    QTest::newRow("markup and accents as references")
        << QStringLiteral("Tom & Jerry\u2019s <Caf\u00e9>") << QStringLiteral("http://example.org/")
        << QByteArray("Tom &#38; Jerry&#8217;s &#60;Caf&#233;&#62;") << QByteArray("http://example.org/");
    QTest::newRow("blank in the address escaped")
        << siteTitle << QStringLiteral("http://example.org/my blog") << QByteArray("Field Notes")
        << QByteArray("http://example.org/my%20blog/");
    QTest::newRow("empty title is still a title") << QStringLiteral("") << siteBase << QByteArray()
                                                  << QByteArray("http://example.org/blog/");
}

void tst_QFBlogPluginPing::requestBodyAndHeaders()
{
    QFETCH(QString, title);
    QFETCH(QString, base);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, url);

    LoopbackHttpServer server;
    server.setReply("/", Reply{200, "text/xml", methodResponse(flerror("0") + message("Thanks for the ping.")), 0});
    Site site;
    site.document.setSiteTitle(title);
    site.document.setSiteBaseURL(base);
    site.plugin->setPingSettings({service(QStringLiteral("Loopback"), server.url("/"))});
    site.plugin->ping().pingNow();

    const QList<LoopbackHttpServer::Request> requests = server.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.constFirst().method, QByteArray("POST"));
    QCOMPARE(requests.constFirst().target, QByteArray("/"));
    QCOMPARE(requests.constFirst().headers.value("content-type"), QByteArray("text/xml"));
    QCOMPARE(requests.constFirst().body,
             "<?xml version=\"1.0\"?>\t<methodCall>\t<methodName>weblogUpdates.ping</methodName>\t\t<params>"
             "\t\t\t<param><value>" + name + "</value></param>\t\t\t<param><value>" + url
                 + "</value></param>\t\t</params>\t</methodCall>");
    QCOMPARE(m_alerts.requests(), QList<QFAlertRequest>{success()});
}

void tst_QFBlogPluginPing::serviceLists_data()
{
    QTest::addColumn<QList<QByteArray>>("paths"); // the services, in list order
    QTest::addColumn<Setup>("setup");             // then applied to the site and blog
    QTest::addColumn<QList<int>>("expectedRequests");
    QTest::addColumn<QStringList>("expectedAlerts");

    const Setup none = [](QFSiteDocument &, QFBlogPlugin &) {};
    const auto failed = [](const char *name, const QString &reason) {
        return QStringList{QStringLiteral("Ping failed for blog '%1' / %2").arg(QLatin1String(name), reason)};
    };
    QTest::newRow("empty list: success at once")
        << QList<QByteArray>() << none << QList<int>() << QStringList{"Success / Directories sucessfully pinged"};
    QTest::newRow("first fails: second never contacted")
        << QList<QByteArray>{"/bad", "/good"} << none << QList<int>{1, 0} << failed("bad", "Rejected");
    QTest::newRow("second fails after the first pinged")
        << QList<QByteArray>{"/good", "/bad", "/good2"} << none << QList<int>{1, 1, 0} << failed("bad", "Rejected");

    // Nothing is sent when the site or the settings cannot make a ping.
    const QList<QByteArray> one{"/good"};
    QTest::newRow("no site title") << one << Setup([](QFSiteDocument &d, QFBlogPlugin &) { d.setSiteTitle(QString()); })
                                   << QList<int>{0} << failed("good", "No site name has been set in the document");
    QTest::newRow("no site address") << one << Setup([](QFSiteDocument &d, QFBlogPlugin &) { d.setSiteBaseURL(QString()); })
                                     << QList<int>{0} << failed("good", "No site base url has been set in the document");
    QTest::newRow("empty site address")
        << one << Setup([](QFSiteDocument &d, QFBlogPlugin &) { d.setSiteBaseURL(QStringLiteral("")); }) << QList<int>{0}
        << failed("good", QFBlogPlugin::localizedString(QStringLiteral("BlogURLRequired")));
    QTest::newRow("address outside ASCII")
        << one << Setup([](QFSiteDocument &d, QFBlogPlugin &) { d.setSiteBaseURL(QStringLiteral("http://caf\u00e9.example/")); })
        << QList<int>{0} << failed("good", "Couldn't turn Site Name and Base URL into a valid XML document");
    QTest::newRow("service without url, without name")
        << one << Setup([](QFSiteDocument &, QFBlogPlugin &p) { p.setPingSettings({QVariantMap{{QStringLiteral("rpc"), 1}}}); })
        << QList<int>{0} << failed("Unknown Directory", "The directory url was missing or empty");
    QTest::newRow("service with empty url")
        << one << Setup([](QFSiteDocument &, QFBlogPlugin &p) { p.setPingSettings({service(QStringLiteral("Blank"), QString())}); })
        << QList<int>{0} << failed("Blank", "The directory url was missing or empty");
}

void tst_QFBlogPluginPing::serviceLists()
{
    QFETCH(QList<QByteArray>, paths);
    QFETCH(Setup, setup);
    QFETCH(QList<int>, expectedRequests);
    QFETCH(QStringList, expectedAlerts);

    LoopbackHttpServer server;
    const QByteArray thanks = methodResponse(flerror("0") + message("Thanks for the ping."));
    server.setReply("/good", Reply{200, "text/xml", thanks, 0});
    server.setReply("/good2", Reply{200, "text/xml", thanks, 0});
    server.setReply("/bad", Reply{200, "text/xml", methodResponse(flerror("1") + message("Rejected")), 0});
    Site site;
    QVariantList settings;
    for (const QByteArray &path : paths)
        settings.append(service(QString::fromLatin1(path.mid(1)), server.url(path)));
    site.plugin->setPingSettings(settings);
    setup(site.document, *site.plugin);

    site.plugin->ping().pingNow();
    for (qsizetype i = 0; i < paths.size(); ++i)
        QCOMPARE(server.requestCount(paths.at(i)), expectedRequests.at(i));
    QCOMPARE(alertsText(m_alerts.requests()), expectedAlerts.join(QLatin1Char('\n')));
}

void tst_QFBlogPluginPing::transportFailures_data()
{
    QTest::addColumn<int>("rpc");
    QTest::addColumn<bool>("slowServer"); // else: nobody listens
    QTest::addColumn<bool>("timedOut");

    QTest::newRow("XML-RPC past the time-out") << 1 << true << true;
    QTest::newRow("form past the time-out") << 0 << true << true;
    QTest::newRow("form, connection refused") << 0 << false << false;
}

void tst_QFBlogPluginPing::transportFailures()
{
    QFETCH(int, rpc);
    QFETCH(bool, slowServer);
    QFETCH(bool, timedOut);

    auto server = std::make_unique<LoopbackHttpServer>();
    server->setReply("/slow", Reply{200, "text/xml", methodResponse(flerror("0") + message("Thanks for the ping.")), 3000});
    const QString url = server->url("/slow");
    if (!slowServer)
        server.reset(); // the port is closed again
    Site site;
    site.plugin->ping().setTimeouts(300ms, 300ms);
    site.plugin->setPingSettings({service(QStringLiteral("Loopback"), url, rpc)});

    const QList<QFBlogPluginPing::Outcome> outcomes = site.plugin->ping().pingNow();
    QCOMPARE(outcomes.size(), 1);
    const QString reason = outcomes.constFirst().failure.value_or(QString());
    const QString timedOutText = QFBlogPlugin::localizedString(QStringLiteral("PingTimedOut"));
    QVERIFY(timedOutText != QLatin1String("PingTimedOut"));
    if (timedOut) {
        QCOMPARE(reason, timedOutText);
    } else {
        // The transport's own description, naming where it tried to go.
        QVERIFY2(reason.contains(QLatin1String("127.0.0.1")), qPrintable(reason));
    }
    QCOMPARE(m_alerts.requests(), QList<QFAlertRequest>{failure(QStringLiteral("Loopback"), reason)});
}

void tst_QFBlogPluginPing::formStylePing_data()
{
    QTest::addColumn<Reply>("reply");
    QTest::addColumn<QString>("failureReason");

    QTest::newRow("any reply, even an error page, is success") << Reply{500, "text/html", "oops", 0} << QString();
    QTest::newRow("no data") << Reply{200, "text/plain", "", 0}
                             << QStringLiteral("No data was returned from the server");
}

void tst_QFBlogPluginPing::formStylePing()
{
    QFETCH(Reply, reply);
    QFETCH(QString, failureReason);

    LoopbackHttpServer server;
    server.setReply("/form", reply);
    Site site;
    site.plugin->setPingSettings({service(QStringLiteral("Form"), server.url("/form"), 0)});
    const QList<QFBlogPluginPing::Outcome> outcomes = site.plugin->ping().pingNow();

    const QList<LoopbackHttpServer::Request> requests = server.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.constFirst().method, QByteArray("POST"));
    // The placeholders go out as they stand, not the blog's name and address.
    QCOMPARE(requests.constFirst().target, QByteArray("/form?url=Blog%20URL&name=Blog%20Name"));
    QCOMPARE(requests.constFirst().body, QByteArray());
    QCOMPARE(outcomes.constFirst().failure.value_or(QString()), failureReason);
    QCOMPARE(m_alerts.requests(), failureReason.isEmpty()
                                      ? QList<QFAlertRequest>{success()}
                                      : QList<QFAlertRequest>{failure(QStringLiteral("Form"), failureReason)});
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginPing)
#include "tst_qfblogpluginping.moc"

#include "blog/generation/qfblogpluginping.h"
#include "blog/plugin/qfblogplugin.h"
#include "loopbackhttpserver.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfbundle.h"
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

namespace {

const QString kSiteTitle = QStringLiteral("Field Notes");
const QString kSiteBase = QStringLiteral("http://example.org/blog");

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

const QByteArray kThanks = methodResponse(flerror("0") + message("Thanks for the ping."));

QVariantMap service(const QString &name, const QString &url, int rpc = 1)
{
    return {{"name", name}, {"url", url}, {"rpc", rpc}};
}

// A site with the title and address above and one blog page, whose ping
// waits a little only (the tests never wait long).
struct Site
{
    QFSiteDocument document;
    QFBlogPlugin *plugin = nullptr;

    explicit Site(const QVariantList &services)
    {
        auto owned = std::make_unique<QFBlogPlugin>();
        plugin = owned.get();
        document.addPage(std::move(owned), "index.html", "Blog");
        document.setSiteTitle(kSiteTitle);
        document.setSiteBaseURL(kSiteBase);
        plugin->ping().setTimeouts(5s, 5s);
        plugin->setPingSettings(services);
    }
};

// "Style: message / information [buttons]" per alert.
QString alertsText(const QList<QFAlertRequest> &alerts)
{
    QStringList lines;
    for (const QFAlertRequest &alert : alerts)
        lines.append(QStringList{"Informational", "Warning", "Critical"}.at(int(alert.style)) + ": " + alert.messageText + " / "
                     + alert.informativeText + " [" + alert.buttons.join(',') + "]");
    return lines.join('\n');
}

const QString kSuccess = QStringLiteral("Informational: Success / Directories sucessfully pinged [OK]");

QString failed(const QString &name, const QString &reason)
{
    return QStringLiteral("Warning: Ping failed for blog '%1' / %2 [OK]").arg(name, reason);
}

} // namespace

class tst_QFBlogPluginPing : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH))); }
    void init()
    {
        m_alerts.clear();
        m_previousPresenter = QFAlert::setPresenter(&m_alerts);
    }
    void cleanup() { QFAlert::setPresenter(m_previousPresenter); }

    void replies_data()
    {
        QTest::addColumn<int>("rpc"); // 1: XML-RPC, 0: a form posted to the address
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<QString>("failureReason"); // empty: the ping succeeds
        QTest::addColumn<QStringList>("logged");

        const auto xml = [](const QByteArray &body) { return Reply{200, "text/xml", body, 0}; };
        const QString warning = QStringLiteral("warning: XML-RPC ping reply has thanks message of %1");
        const QString unparsable = QStringLiteral("Failed to parse response from server");
        QTest::newRow("thanks") << 1 << xml(kThanks) << QString() << QStringList();
        QTest::newRow("other thanks text is only a warning")
            << 1 << xml(methodResponse(flerror("0") + message("Got it, see you"))) << QString() << QStringList{warning.arg("Got it, see you")};
        QTest::newRow("flerror with message fails with it") << 1 << xml(methodResponse(flerror("1") + message("Rejected"))) << "Rejected"
                                                            << QStringList();
        QTest::newRow("flerror without message succeeds with a warning")
            << 1 << xml(methodResponse(flerror("1"))) << QString() << QStringList{warning.arg(QString())};
        QTest::newRow("fault wins over the message")
            << 1
            << xml("<?xml version=\"1.0\"?><methodResponse><fault><value><struct>"
                   "<member><name>faultCode</name><value><int>4</int></value></member>"
                   "<member><name>faultString</name><value><string>Blog not found</string></value></member>"
                   "</struct></value></fault><params><param><value><struct>"
                   + message("Thanks for the ping.") + "</struct></value></param></params></methodResponse>")
            << "Blog not found" << QStringList();
        QTest::newRow("no fields at all: logged on one line, still pinged")
            << 1 << xml(methodResponse("")) << QString()
            << QStringList{"No thanks in: " + QString::fromUtf8(methodResponse("")).replace(u'\n', u' '), warning.arg(QString())};
        QTest::newRow("HTML error page") << 1 << xml("<html><body><p>Bad gateway</body></html>") << unparsable << QStringList();
        QTest::newRow("empty reply") << 1 << xml(QByteArray()) << unparsable << QStringList();
        QTest::newRow("entity expansion is refused")
            << 1
            << xml("<?xml version=\"1.0\"?><!DOCTYPE methodResponse [<!ENTITY a \"aaaaaaaaaa\">"
                   "<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\"><!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">]>"
                   "<methodResponse><params><param><value><struct><member><name>message</name><value>"
                   "<string>&c;</string></value></member></struct></value></param></params></methodResponse>")
            << "The reply of the ping service declares a document type, which a ping reply never needs, so it was not read"
            << QStringList();
        QTest::newRow("reply over 1 MiB is refused")
            << 1 << xml(kThanks + QByteArray(1024 * 1024, ' ')) << "The reply of the ping service is larger than 1 MiB, so it was not read"
            << QStringList();
        QTest::newRow("form: any reply, even an error page, is success") << 0 << Reply{500, "text/html", "oops", 0} << QString()
                                                                         << QStringList();
        QTest::newRow("form: no data") << 0 << Reply{200, "text/plain", "", 0} << "No data was returned from the server" << QStringList();
    }

    void replies()
    {
        QFETCH(int, rpc);
        QFETCH(Reply, reply);
        QFETCH(QString, failureReason);
        QFETCH(QStringList, logged);

        LoopbackHttpServer server;
        server.setReply("/rpc/ping", reply);
        Site site({service("Loopback", server.url("/rpc/ping"), rpc)});
        QFLogCapture log;
        const QList<QFBlogPluginPing::Outcome> outcomes = site.plugin->ping().pingNow();

        const QList<LoopbackHttpServer::Request> requests = server.requests();
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.constFirst().method, QByteArray("POST"));
        if (rpc == 0) {
            // The placeholders go out as they stand, not the blog's name and address.
            QCOMPARE(requests.constFirst().target, QByteArray("/rpc/ping?url=Blog%20URL&name=Blog%20Name"));
            QCOMPARE(requests.constFirst().body, QByteArray());
        }
        QCOMPARE(outcomes.size(), 1);
        QCOMPARE(outcomes.constFirst().failure.value_or(QString()), failureReason);
        QCOMPARE(alertsText(m_alerts.requests()), failureReason.isEmpty() ? kSuccess : failed("Loopback", failureReason));
        for (const QString &line : logged)
            QVERIFY2(log.lines().contains(line), qPrintable(line + " not in: " + log.lines().join('|')));
        if (logged.isEmpty() && failureReason.isEmpty())
            QVERIFY2(log.lines().filter("warning:").isEmpty(), qPrintable(log.lines().join('|')));
    }

    void requestBody_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("url");

        QTest::newRow("plain") << kSiteTitle << kSiteBase << QByteArray("Field Notes") << QByteArray("http://example.org/blog/");
        QTest::newRow("markup and accents as references")
            << QStringLiteral("Tom & Jerry\u2019s <Caf\u00e9>") << "http://example.org/"
            << QByteArray("Tom &#38; Jerry&#8217;s &#60;Caf&#233;&#62;") << QByteArray("http://example.org/");
        QTest::newRow("blank in the address escaped") << kSiteTitle << "http://example.org/my blog" << QByteArray("Field Notes")
                                                      << QByteArray("http://example.org/my%20blog/");
        QTest::newRow("empty title is still a title") << "" << kSiteBase << QByteArray() << QByteArray("http://example.org/blog/");
    }

    void requestBody()
    {
        QFETCH(QString, title);
        QFETCH(QString, base);
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, url);

        LoopbackHttpServer server;
        server.setReply("/", Reply{200, "text/xml", kThanks, 0});
        Site site({service("Loopback", server.url("/"))});
        site.document.setSiteTitle(title);
        site.document.setSiteBaseURL(base);
        site.plugin->ping().pingNow();

        const QList<LoopbackHttpServer::Request> requests = server.requests();
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.constFirst().method, QByteArray("POST"));
        QCOMPARE(requests.constFirst().target, QByteArray("/"));
        QCOMPARE(requests.constFirst().headers.value("content-type"), QByteArray("text/xml"));
        QCOMPARE(requests.constFirst().body, "<?xml version=\"1.0\"?>\t<methodCall>\t<methodName>weblogUpdates.ping</methodName>\t\t<params>"
                                             "\t\t\t<param><value>" + name + "</value></param>\t\t\t<param><value>" + url
                                                 + "</value></param>\t\t</params>\t</methodCall>");
        QCOMPARE(alertsText(m_alerts.requests()), kSuccess);
    }

    void serviceLists_data()
    {
        QTest::addColumn<QList<QByteArray>>("paths"); // the services, in list order
        QTest::addColumn<Setup>("setup");             // then applied to the site and blog
        QTest::addColumn<QList<int>>("requests");
        QTest::addColumn<QString>("alerts");

        const Setup none = [](QFSiteDocument &, QFBlogPlugin &) {};
        QTest::newRow("empty list: success at once") << QList<QByteArray>() << none << QList<int>() << kSuccess;
        QTest::newRow("first fails: second never contacted")
            << QList<QByteArray>{"/bad", "/good"} << none << QList<int>{1, 0} << failed("bad", "Rejected");
        QTest::newRow("second fails after the first pinged")
            << QList<QByteArray>{"/good", "/bad", "/good2"} << none << QList<int>{1, 1, 0} << failed("bad", "Rejected");

        // Nothing is sent when the site or the settings cannot make a ping.
        const QList<QByteArray> one{"/good"};
        const auto base = [](const QString &url) { return Setup([url](QFSiteDocument &d, QFBlogPlugin &) { d.setSiteBaseURL(url); }); };
        const auto services = [](const QVariantList &list) { return Setup([list](QFSiteDocument &, QFBlogPlugin &p) { p.setPingSettings(list); }); };
        QTest::newRow("no site title") << one << Setup([](QFSiteDocument &d, QFBlogPlugin &) { d.setSiteTitle(QString()); })
                                       << QList<int>{0} << failed("good", "No site name has been set in the document");
        QTest::newRow("no site address") << one << base(QString()) << QList<int>{0}
                                         << failed("good", "No site base url has been set in the document");
        QTest::newRow("empty site address") << one << base("") << QList<int>{0}
                                            << failed("good", QFBlogPlugin::localizedString("BlogURLRequired"));
        QTest::newRow("address outside ASCII") << one << base("http://caf\u00e9.example/") << QList<int>{0}
                                               << failed("good", "Couldn't turn Site Name and Base URL into a valid XML document");
        QTest::newRow("service without url, without name") << one << services({QVariantMap{{"rpc", 1}}}) << QList<int>{0}
                                                           << failed("Unknown Directory", "The directory url was missing or empty");
        QTest::newRow("service with empty url") << one << services({service("Blank", QString())}) << QList<int>{0}
                                                << failed("Blank", "The directory url was missing or empty");
    }

    void serviceLists()
    {
        QFETCH(QList<QByteArray>, paths);
        QFETCH(Setup, setup);
        QFETCH(QList<int>, requests);
        QFETCH(QString, alerts);

        LoopbackHttpServer server;
        server.setReply("/good", Reply{200, "text/xml", kThanks, 0});
        server.setReply("/good2", Reply{200, "text/xml", kThanks, 0});
        server.setReply("/bad", Reply{200, "text/xml", methodResponse(flerror("1") + message("Rejected")), 0});
        QVariantList services;
        for (const QByteArray &path : paths)
            services.append(service(QString::fromLatin1(path.mid(1)), server.url(path)));
        Site site(services);
        setup(site.document, *site.plugin);

        site.plugin->ping().pingNow();
        for (qsizetype i = 0; i < paths.size(); ++i)
            QCOMPARE(server.requestCount(paths.at(i)), requests.at(i));
        QCOMPARE(alertsText(m_alerts.requests()), alerts);
    }

    void transportFailures_data()
    {
        QTest::addColumn<int>("rpc");
        QTest::addColumn<bool>("slowServer"); // else: nobody listens

        QTest::newRow("XML-RPC past the time-out") << 1 << true;
        QTest::newRow("form past the time-out") << 0 << true;
        QTest::newRow("form, connection refused") << 0 << false;
    }

    void transportFailures()
    {
        QFETCH(int, rpc);
        QFETCH(bool, slowServer);

        auto server = std::make_unique<LoopbackHttpServer>();
        server->setReply("/slow", Reply{200, "text/xml", kThanks, 3000});
        const QString url = server->url("/slow");
        if (!slowServer)
            server.reset(); // the port is closed again
        Site site({service("Loopback", url, rpc)});
        site.plugin->ping().setTimeouts(300ms, 300ms);

        const QList<QFBlogPluginPing::Outcome> outcomes = site.plugin->ping().pingNow();
        QCOMPARE(outcomes.size(), 1);
        const QString reason = outcomes.constFirst().failure.value_or(QString());
        const QString timedOut = QFBlogPlugin::localizedString("PingTimedOut");
        QVERIFY(timedOut != QLatin1String("PingTimedOut"));
        if (slowServer)
            QCOMPARE(reason, timedOut);
        else // the transport's own description, naming where it tried to go
            QVERIFY2(reason.contains("127.0.0.1"), qPrintable(reason));
        QCOMPARE(alertsText(m_alerts.requests()), failed("Loopback", reason));
    }

private:
    QFRecordingAlertPresenter m_alerts;
    QFAlertPresenter *m_previousPresenter = nullptr;
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginPing)
#include "tst_qfblogpluginping.moc"

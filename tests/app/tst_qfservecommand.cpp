#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Answer
{
    int status = 0;
    QByteArray type;
    QByteArray body;
};

} // namespace

// `quillfen serve`, run as a user runs it: started on a free port, asked
// over HTTP, then stopped.
class tst_QFServeCommand : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void servesTheExportedSite_data();
    void servesTheExportedSite();
    void refusesPathsLeavingTheFolder();
    void exportsAgainWhenTheSiteIsSaved();

private:
    QProcess *start(const QStringList &arguments);
    int quillfen(const QStringList &arguments);
    Answer get(const QString &path);

    QTemporaryDir m_dir;
    QString m_site;
    QProcess *m_server = nullptr;
    QString m_url;
    QNetworkAccessManager m_network;
};

QProcess *tst_QFServeCommand::start(const QStringList &arguments)
{
    auto *process = new QProcess(this);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUILLFEN_PLUGIN_PATH"), QStringLiteral(QF_PLUGINS_PATH));
    environment.insert(QStringLiteral("HOME"), m_dir.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_dir.filePath(QStringLiteral("config")));
    process->setProcessEnvironment(environment);
    process->setWorkingDirectory(m_dir.path());
    process->start(QStringLiteral(QF_QUILLFEN_PATH), arguments);
    return process;
}

int tst_QFServeCommand::quillfen(const QStringList &arguments)
{
    QProcess *process = start(arguments);
    const bool finished = process->waitForFinished(120000);
    const int code = finished && process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
    delete process;
    return code;
}

Answer tst_QFServeCommand::get(const QString &path)
{
    QNetworkRequest request(QUrl(m_url + path));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    QNetworkReply *reply = m_network.get(request);
    QEventLoop loop;
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(30000, &loop, &QEventLoop::quit);
    loop.exec();
    Answer answer;
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.type = reply->header(QNetworkRequest::ContentTypeHeader).toByteArray();
    answer.body = reply->readAll();
    reply->deleteLater();
    return answer;
}

void tst_QFServeCommand::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_network.setProxy(QNetworkProxy::NoProxy);
    m_site = m_dir.filePath(QStringLiteral("site.qfsite"));
    QCOMPARE(quillfen({QStringLiteral("new"), m_site, QStringLiteral("--title"), QStringLiteral("Served Notes")}), 0);
    QCOMPARE(quillfen({QStringLiteral("post"), QStringLiteral("add"), m_site, QStringLiteral("--title"), QStringLiteral("Hello")}), 0);

    m_server = start({QStringLiteral("serve"), m_site, QStringLiteral("--port"), QStringLiteral("0")});
    QVERIFY(m_server->waitForStarted());
    static const QRegularExpression address(QStringLiteral("(http://127\\.0\\.0\\.1:\\d+/)"));
    QString printed;
    QTRY_VERIFY_WITH_TIMEOUT((printed += QString::fromUtf8(m_server->readAllStandardOutput()),
                              address.match(printed).hasMatch()),
                             60000);
    m_url = address.match(printed).captured(1);
}

void tst_QFServeCommand::cleanupTestCase()
{
    if (!m_server)
        return;
    m_server->terminate();
    QVERIFY(m_server->waitForFinished(30000));
    QCOMPARE(m_server->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_server->exitCode(), 0);
}

void tst_QFServeCommand::servesTheExportedSite_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("root leads to the home page") << "" << 200 << QByteArray("text/html") << QByteArray("Served Notes");
    QTest::newRow("page") << "blog.html" << 200 << QByteArray("text/html") << QByteArray("<!DOCTYPE html>");
    QTest::newRow("style sheet") << "quillfen.css" << 200 << QByteArray("text/css") << QByteArray(".blog-entry");
    QTest::newRow("shared image") << "common/rss.gif" << 200 << QByteArray("image/gif") << QByteArray("GIF");
    QTest::newRow("missing") << "nothing-here.html" << 404 << QByteArray("text/plain") << QByteArray("Not Found");
}

void tst_QFServeCommand::servesTheExportedSite()
{
    QFETCH(QString, path);
    QFETCH(int, status);
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, content);

    const Answer answer = get(path);
    QCOMPARE(answer.status, status);
    QVERIFY2(answer.type.startsWith(type), answer.type.constData());
    QVERIFY2(answer.body.contains(content), answer.body.left(200).constData());
}

void tst_QFServeCommand::refusesPathsLeavingTheFolder()
{
    // Sent as written: a client library would tidy the dots away.
    QTcpSocket socket;
    const QUrl url(m_url);
    socket.connectToHost(url.host(), quint16(url.port()));
    QVERIFY(socket.waitForConnected(10000));
    socket.write("GET /common/../../../etc/passwd HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    QByteArray reply;
    while (socket.waitForReadyRead(10000))
        reply += socket.readAll();
    QVERIFY2(reply.startsWith("HTTP/1.1 403"), reply.left(100).constData());
    QVERIFY(!reply.contains("root:"));
}

void tst_QFServeCommand::exportsAgainWhenTheSiteIsSaved()
{
    QCOMPARE(quillfen({QStringLiteral("site"), m_site, QStringLiteral("siteTitle"), QStringLiteral("Renamed Notes")}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(get(QStringLiteral("blog.html")).body.contains("Renamed Notes"), 60000);
}

QTEST_GUILESS_MAIN(tst_QFServeCommand)
#include "tst_qfservecommand.moc"

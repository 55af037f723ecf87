#include "quillfenrun.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QtTest>

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
    void exportsAgainWhenTheSiteIsSaved();

private:
    QByteArray get(const QByteArray &path) const;

    QuillfenFolder m_f;
    QProcess m_server;
    quint16 m_port = 0;
};

// The whole answer, headers in lower case, to a request sent as written: a
// client library would tidy away the dots of a path leaving the folder.
QByteArray tst_QFServeCommand::get(const QByteArray &path) const
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), m_port);
    if (!socket.waitForConnected(10000))
        return QByteArray();
    socket.write("GET /" + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    // Read up to the end of the body: the server keeps the connection open.
    static const QRegularExpression length(QStringLiteral("\r\ncontent-length: *(\\d+)"));
    QByteArray answer;
    while (socket.waitForReadyRead(10000)) {
        answer += socket.readAll();
        const qsizetype end = answer.indexOf("\r\n\r\n");
        const QByteArray header = answer.left(end).toLower();
        const QRegularExpressionMatch match = length.match(QString::fromLatin1(header));
        if (end >= 0 && match.hasMatch() && answer.size() >= end + 4 + match.captured(1).toLongLong())
            return header + answer.mid(end);
    }
    return answer;
}

void tst_QFServeCommand::initTestCase()
{
    QVERIFY(m_f.dir.isValid());
    QF_VERIFY_RUN(m_f.run("new|SITE|--title|Served Notes"));
    QF_VERIFY_RUN(m_f.run("post add SITE --title Hello"));
    m_server.setProcessEnvironment(quillfenEnvironment(m_f.dir.path()));
    m_server.start(QStringLiteral(QF_QUILLFEN_PATH), {"serve", m_f.site, "--port", "0"});
    QVERIFY(m_server.waitForStarted());
    static const QRegularExpression address(QStringLiteral("http://127\\.0\\.0\\.1:(\\d+)/"));
    QString printed;
    QTRY_VERIFY_WITH_TIMEOUT((printed += QString::fromUtf8(m_server.readAllStandardOutput()),
                              address.match(printed).hasMatch()),
                             60000);
    m_port = quint16(address.match(printed).captured(1).toUInt());
}

void tst_QFServeCommand::cleanupTestCase()
{
    m_server.terminate();
    QVERIFY(m_server.waitForFinished(30000));
    QCOMPARE(m_server.exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_server.exitCode(), 0);
}

void tst_QFServeCommand::servesTheExportedSite_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("status");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("root leads to the home page") << QByteArray() << QByteArray("302") << QByteArray("location: /blog.html")
                                                 << QByteArray();
    QTest::newRow("page") << QByteArray("blog.html") << QByteArray("200") << QByteArray("content-type: text/html")
                          << QByteArray("<!DOCTYPE html>");
    QTest::newRow("style sheet") << QByteArray("quillfen.css") << QByteArray("200")
                                 << QByteArray("content-type: text/css") << QByteArray(".blog-entry");
    QTest::newRow("shared image") << QByteArray("common/rss.gif") << QByteArray("200")
                                  << QByteArray("content-type: image/gif") << QByteArray("GIF");
    QTest::newRow("missing") << QByteArray("nothing-here.html") << QByteArray("404")
                             << QByteArray("content-type: text/plain") << QByteArray("Not Found");
    QTest::newRow("path leaving the folder") << QByteArray("common/../../../etc/passwd") << QByteArray("403")
                                             << QByteArray() << QByteArray("Forbidden");
}

void tst_QFServeCommand::servesTheExportedSite()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, status);
    QFETCH(QByteArray, header);
    QFETCH(QByteArray, content);

    const QByteArray answer = get(path);
    QVERIFY2(answer.startsWith("http/1.1 " + status) && answer.contains(header) && answer.contains(content),
             answer.left(300).constData());
    QVERIFY(!answer.contains("root:"));
}

void tst_QFServeCommand::exportsAgainWhenTheSiteIsSaved()
{
    QF_VERIFY_RUN(m_f.run("site|SITE|siteTitle|Renamed Notes"));
    QTRY_VERIFY_WITH_TIMEOUT(get("blog.html").contains("Renamed Notes"), 60000);
}

QTEST_GUILESS_MAIN(tst_QFServeCommand)
#include "tst_qfservecommand.moc"

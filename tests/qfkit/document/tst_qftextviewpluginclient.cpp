#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qftextviewpluginclient.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

class tst_QFTextViewPluginClient : public QObject
{
    Q_OBJECT

private slots:
    void scratchFolderStaysInsideThePagesFolder_data();
    void scratchFolderStaysInsideThePagesFolder();
    void scratchFoldersAreSeparatePerPageAndGoWithThePlugin();
    void directoryContentsListsTheFilesSortedAndMissingFolderIsEmpty();
    void documentPathFollowsTheDocument();
};

void tst_QFTextViewPluginClient::scratchFolderStaysInsideThePagesFolder_data()
{
    QTest::addColumn<QString>("uniqueID");
    QTest::addColumn<QString>("name");

    QTest::newRow("plain") << "page-1" << "QFBlogPlugin";
    QTest::newRow("name climbing out") << "page-2" << "../../escape";
    QTest::newRow("empty name") << "page-4" << "";
    QTest::newRow("dot-dot name") << "page-5" << "..";
    QTest::newRow("unique ID climbing out") << "../../x" << "QFBlogPlugin";
}

void tst_QFTextViewPluginClient::scratchFolderStaysInsideThePagesFolder()
{
    QFETCH(QString, uniqueID);
    QFETCH(QString, name);

    const QString processRoot = QDir::tempPath() + QStringLiteral("/quillfen-")
        + QString::number(QCoreApplication::applicationPid()) + QLatin1Char('/');
    QString path;
    {
        QFTextViewPluginClient plugin;
        plugin.setUniqueID(uniqueID);
        path = plugin.tempFilesDirectory(name);
        QVERIFY(!path.isEmpty());
        QVERIFY(QFileInfo(path).isDir());
        const QString clean = QDir::cleanPath(path);
        QVERIFY2(clean.startsWith(processRoot), qPrintable(clean));
        QCOMPARE(clean.mid(processRoot.size()).count(QLatin1Char('/')), 1);
        QCOMPARE(plugin.tempFilesDirectory(name), path);
    }
    QVERIFY(!QFileInfo::exists(path));
}

void tst_QFTextViewPluginClient::scratchFoldersAreSeparatePerPageAndGoWithThePlugin()
{
    auto first = std::make_unique<QFTextViewPluginClient>();
    QFTextViewPluginClient second;
    QVERIFY(first->uniqueID() != second.uniqueID());

    const QString a = first->tempFilesDirectory(QStringLiteral("QFBlogPlugin"));
    const QString b = second.tempFilesDirectory(QStringLiteral("QFBlogPlugin"));
    QVERIFY(a != b);
    QFile file(a + QStringLiteral("/feed.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<rss/>");
    file.close();
    QVERIFY(QDir().mkpath(a + QStringLiteral("/nested/deeper")));

    first.reset();
    QVERIFY(!QFileInfo::exists(a));
    QVERIFY(!QFileInfo::exists(QFileInfo(a).absolutePath())); // the page's folder too
    QVERIFY(QFileInfo(b).isDir());                            // the other page keeps its own
}

void tst_QFTextViewPluginClient::directoryContentsListsTheFilesSortedAndMissingFolderIsEmpty()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    for (const char *name : {"b.html", "a.xml", "C.png", ".hidden"}) {
        QFile file(dir.filePath(QString::fromLatin1(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("sub")));

    QFTextViewPluginClient plugin;
    const QList<QFExportItem> items = plugin.directoryContents(dir.path());
    QStringList paths;
    for (const QFExportItem &item : items) {
        QVERIFY(item.isFile());
        paths.append(item.filePath());
    }
    QCOMPARE(paths, QStringList({dir.filePath(QStringLiteral("C.png")), dir.filePath(QStringLiteral("a.xml")),
                                 dir.filePath(QStringLiteral("b.html"))}));
    QVERIFY(plugin.directoryContents(QStringLiteral("/nonexistent/quillfen/folder")).isEmpty());
    QVERIFY(plugin.directoryContents(QString()).isEmpty());
}

void tst_QFTextViewPluginClient::documentPathFollowsTheDocument()
{
    QFTextViewPluginClient plugin;
    QVERIFY(plugin.documentPath().isEmpty());
    QVERIFY(!QFDocumentForPlugin(&plugin));
    {
        QFSiteDocument document;
        document.setFilePath(QStringLiteral("/sites/my.qfsite"));
        plugin.setDocument(&document);
        QCOMPARE(QFDocumentForPlugin(&plugin), &document);
        QCOMPARE(plugin.documentPath(), QStringLiteral("/sites/my.qfsite"));
    }
    QVERIFY(!plugin.document());
    QVERIFY(plugin.documentPath().isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFTextViewPluginClient)
#include "tst_qftextviewpluginclient.moc"

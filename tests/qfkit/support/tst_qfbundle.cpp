#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qflog.h"

#include <QTemporaryDir>
#include <QtTest>
#include <thread>

namespace {

QByteArray plist(const QByteArray &body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + body + "\n</plist>\n";
}

const QByteArray stringTable = plist("<dict>\n"
                                     "<key>NoTitle</key><string>Untitled</string>\n"
                                     "<key>NotAString</key><integer>3</integer>\n"
                                     "</dict>");
const QString tablePath = QStringLiteral("Resources/en.lproj/Localizable.plist");

} // namespace

class tst_QFBundle : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void pathForResource_data();
    void pathForResource();
    void resources_data();
    void resources();
    void localizedString_data();
    void localizedString();
    void stringTableIsSharedByThreads();

private:
    void write(const QString &relativePath, const QByteArray &bytes);
    QString bundlePath() const { return m_dir->filePath(QStringLiteral("Blog.qfplugin")); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_QFBundle::write(const QString &relativePath, const QByteArray &bytes)
{
    const QString path = bundlePath() + QLatin1Char('/') + relativePath;
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

void tst_QFBundle::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    write(QStringLiteral("Resources/dates.plist"), plist("<dict><key>datemod1</key><string>%d</string></dict>"));
    write(QStringLiteral("Resources/BlogPermalinkTemplate.html"), "<html>%blog_permalink_content%</html>");
    write(QStringLiteral("Resources/rss.gif"), "GIF89a");
    write(QStringLiteral("Resources/en.lproj/categories.plist"), plist("<array><string>General</string></array>"));
    write(QStringLiteral("Resources/en.lproj/BlogPermalinkTemplate.html"), "shadowed");
    write(QStringLiteral("Resources/en.lproj/Readme.txt"), "Gr\xc3\xbc\xc3\x9f" "e");
    write(tablePath, stringTable);
    write(QStringLiteral("Resources/garbled.plist"), "<?xml version=\"1.0\"?><plist><dict><key>a</key>");
    write(QStringLiteral("secret.txt"), "outside Resources");
}

void tst_QFBundle::pathForResource_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("expected"); // relative to the bundle; empty: not found

    QTest::newRow("in Resources") << "dates" << "plist" << "Resources/dates.plist";
    QTest::newRow("only in en.lproj") << "categories" << "plist" << "Resources/en.lproj/categories.plist";
    QTest::newRow("Resources before en.lproj")
        << "BlogPermalinkTemplate" << "html" << "Resources/BlogPermalinkTemplate.html";
    QTest::newRow("type in the name") << "rss.gif" << "" << "Resources/rss.gif";
    QTest::newRow("missing") << "languages" << "plist" << "";
    QTest::newRow("empty name") << "" << "plist" << "";
    QTest::newRow("escaping the bundle") << "../secret" << "txt" << "";
}

void tst_QFBundle::pathForResource()
{
    QFETCH(QString, name);
    QFETCH(QString, type);
    QFETCH(QString, expected);

    const QString found = QFBundle(bundlePath()).pathForResource(name, type);
    QCOMPARE(found, expected.isEmpty() ? QString() : bundlePath() + QLatin1Char('/') + expected);
}

void tst_QFBundle::resources_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("expected");
    QTest::addColumn<QString>("logged"); // a text the log must hold; empty: no log line

    QTest::newRow("dictionary") << "dates" << QVariant(QVariantMap{{QStringLiteral("datemod1"), QStringLiteral("%d")}})
                                << "";
    QTest::newRow("array from en.lproj") << "categories" << QVariant(QVariantList{QStringLiteral("General")}) << "";
    QTest::newRow("missing") << "languages" << QVariant() << "languages";
    QTest::newRow("garbled") << "garbled" << QVariant() << "garbled.plist";
    QTest::newRow("text file") << "Readme.txt" << QVariant(QStringLiteral("Grüße")) << "";
    QTest::newRow("missing text file") << "Missing.txt" << QVariant() << "";
}

void tst_QFBundle::resources()
{
    QFETCH(QString, name);
    QFETCH(QVariant, expected);
    QFETCH(QString, logged);

    const QFBundle bundle(bundlePath());
    QFLogCapture log;
    QVariant value;
    if (name.endsWith(QLatin1String(".txt"))) {
        const QString text = bundle.stringResource(name.chopped(4), QStringLiteral("txt"));
        value = text.isNull() ? QVariant() : QVariant(text);
    } else {
        value = bundle.propertyListResource(name);
    }
    QCOMPARE(value, expected);
    if (logged.isEmpty())
        QVERIFY2(log.lines().isEmpty(), qPrintable(log.lines().join(QLatin1Char('\n'))));
    else
        QVERIFY2(log.contains(logged), qPrintable(log.lines().join(QLatin1Char('\n'))));
}

void tst_QFBundle::localizedString_data()
{
    QTest::addColumn<QByteArray>("table"); // empty: no table file
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected");

    QTest::newRow("known key") << stringTable << "NoTitle" << "Untitled";
    QTest::newRow("unknown key") << stringTable << "datemod1" << "datemod1";
    QTest::newRow("value that is no text") << stringTable << "NotAString" << "NotAString";
    QTest::newRow("no table") << QByteArray() << "NoTitle" << "NoTitle";
    QTest::newRow("garbled table") << QByteArray("<plist><dict><key>NoTitle") << "NoTitle" << "NoTitle";
    QTest::newRow("table is an array") << plist("<array><string>NoTitle</string></array>") << "NoTitle"
                                       << "NoTitle";
}

void tst_QFBundle::localizedString()
{
    QFETCH(QByteArray, table);
    QFETCH(QString, key);
    QFETCH(QString, expected);

    if (table.isEmpty())
        QVERIFY(QFile::remove(bundlePath() + QLatin1Char('/') + tablePath));
    else
        write(tablePath, table);
    QFLogCapture log;
    const QFBundle bundle(bundlePath());
    QCOMPARE(bundle.localizedString(key), expected);
    QCOMPARE(bundle.localizedString(key), expected);
    QCOMPARE(QFBundle().localizedString(key), key);
}

// Export threads read the bundle's strings at once, before and while the
// table loads.
void tst_QFBundle::stringTableIsSharedByThreads()
{
    const QFBundle fresh(bundlePath());
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&fresh, &wrong] {
            for (int i = 0; i < 200; ++i)
                wrong += fresh.localizedString(QStringLiteral("NoTitle")) != QLatin1String("Untitled");
        });
    }
    for (std::thread &t : threads)
        t.join();
    QCOMPARE(wrong.load(), 0);
}

QTEST_GUILESS_MAIN(tst_QFBundle)
#include "tst_qfbundle.moc"

// The bundled demo blog, built and exported by examples/demo/build-demo.sh
// exactly as `make demo` does, must be a site whose pages all hang together:
// every relative link and image of every page leads to a file that was
// written.
#include "quillfenrun.h"

#include <QDirIterator>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>

class tst_DemoSite : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyRelativeLinkLeadsToAFile_data();
    void everyRelativeLinkLeadsToAFile();

private:
    QString read(const QString &relativePath) const;
    QStringList pages() const;

    QTemporaryDir m_dir;
    QString m_out;
};

void tst_DemoSite::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_out = m_dir.filePath(QStringLiteral("demo-site"));
    QProcess script;
    script.setProcessEnvironment(quillfenEnvironment(m_dir.path()));
    script.start(QStringLiteral("bash"), {QStringLiteral(QF_SOURCE_DIR "/examples/demo/build-demo.sh"),
                                          QStringLiteral(QF_BINARY_DIR), m_out});
    QVERIFY(script.waitForFinished(120000));
    QVERIFY2(script.exitCode() == 0, script.readAllStandardError().constData());
    // The page the script tells the user to open.
    const QString printed = QString::fromUtf8(script.readAllStandardOutput());
    const qsizetype at = printed.indexOf(QLatin1String("file://"));
    QVERIFY2(at >= 0, qPrintable(printed));
    const QString mainPage = QDir(m_out).relativeFilePath(printed.mid(at + 7).section(u'\n', 0, 0));
    QVERIFY2(read(mainPage).contains(QLatin1String("A Midsummer Picnic List")), qPrintable(printed));
    const QStringList all = pages();
    QVERIFY(std::any_of(all.cbegin(), all.cend(), [this](const QString &page) {
        return read(page).contains(QLatin1String("alt=\"harbour-at-dusk.png\""));
    }));
}

QString tst_DemoSite::read(const QString &relativePath) const
{
    QFile file(QDir(m_out).filePath(relativePath));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Every page of the site, by relative path.
QStringList tst_DemoSite::pages() const
{
    QDirIterator it(m_out, {QStringLiteral("*.html")}, QDir::Files, QDirIterator::Subdirectories);
    QStringList found;
    while (it.hasNext())
        found.append(QDir(m_out).relativeFilePath(it.next()));
    found.sort();
    return found;
}

void tst_DemoSite::everyRelativeLinkLeadsToAFile_data()
{
    QTest::addColumn<QString>("page");
    const QStringList found = pages();
    QVERIFY(found.size() > 13); // a page per post at least
    for (const QString &page : found)
        QTest::newRow(qPrintable(page)) << page;
}

void tst_DemoSite::everyRelativeLinkLeadsToAFile()
{
    QFETCH(QString, page);

    static const QRegularExpression reference(QStringLiteral("(?:href|src)\\s*=\\s*(?:\"([^\"]*)\"|'([^']*)')"),
                                              QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression elsewhere(QStringLiteral("^(?:[a-z][a-z0-9+.-]*:|//)"),
                                              QRegularExpression::CaseInsensitiveOption);
    const QString html = read(page);
    const QDir folder = QFileInfo(QDir(m_out).filePath(page)).dir();
    QStringList broken;
    for (const QRegularExpressionMatch &match : reference.globalMatch(html)) {
        QString target = match.captured(1).isNull() ? match.captured(2) : match.captured(1);
        target.replace(QLatin1String("&amp;"), QLatin1String("&"));
        target = target.section(u'#', 0, 0).section(u'?', 0, 0);
        if (target.isEmpty() || elsewhere.match(target).hasMatch())
            continue; // same page, or http(s):, mailto:, javascript:, data: …
        // A path from the root works on a server but not from file://.
        const QString path = QDir::cleanPath(folder.filePath(QUrl::fromPercentEncoding(target.toUtf8())));
        const QFileInfo info(path);
        const bool exists = target.startsWith(u'/') ? false
            : info.isDir()                          ? QFileInfo::exists(path + QStringLiteral("/index.html"))
                                                    : info.isFile();
        if (!exists)
            broken.append(target);
    }
    QVERIFY2(broken.isEmpty(), qPrintable(QStringLiteral("%1 links to missing %2").arg(page, broken.join(u' '))));
    QVERIFY(!html.contains(QLatin1String("Autumn Plans"))); // the draft
}

QTEST_GUILESS_MAIN(tst_DemoSite)
#include "tst_demosite.moc"

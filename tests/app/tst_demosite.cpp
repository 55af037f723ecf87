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
    // Runs the script as `make demo` does, into out; its exit code, outputs
    // joined.
    std::pair<int, QString> buildDemo(const QString &out) const;
    QString read(const QString &relativePath) const;
    QStringList pages() const;

    QTemporaryDir m_dir;
    QString m_out;
};

void tst_DemoSite::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_out = m_dir.filePath(QStringLiteral("demo-site"));
    // Twice, as `make demo` run again replaces its own earlier demo.
    auto [code, printed] = buildDemo(m_out);
    QVERIFY2(code == 0, qPrintable(printed));
    std::tie(code, printed) = buildDemo(m_out);
    QVERIFY2(code == 0, qPrintable(printed));
    // A folder or site file of the user's is never replaced.
    const auto write = [](const QString &path, const QByteArray &bytes) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    };
    const QString notes = m_dir.filePath(QStringLiteral("notes"));
    QVERIFY(QDir().mkpath(notes) && write(notes + QStringLiteral("/todo.txt"), "mine"));
    auto [refused, refusal] = buildDemo(notes);
    QCOMPARE(refused, 1);
    QVERIFY2(refusal.contains(QLatin1String("holds no earlier Quillfen export")), qPrintable(refusal));
    QCOMPARE(QDir(notes).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{"todo.txt"});
    QVERIFY(!QFileInfo::exists(notes + QStringLiteral(".qfsite")));
    QVERIFY(write(m_dir.filePath(QStringLiteral("journal.qfsite")), "my journal"));
    std::tie(refused, refusal) = buildDemo(m_dir.filePath(QStringLiteral("journal")));
    QCOMPARE(refused, 1);
    QVERIFY2(refusal.contains(QLatin1String("is not a demo site")), qPrintable(refusal));
    QFile journal(m_dir.filePath(QStringLiteral("journal.qfsite")));
    QVERIFY(journal.open(QIODevice::ReadOnly) && journal.readAll() == "my journal");

    // The page the script tells the user to open.
    const qsizetype at = printed.indexOf(QLatin1String("file://"));
    QVERIFY2(at >= 0, qPrintable(printed));
    const QString mainPage = QDir(m_out).relativeFilePath(printed.mid(at + 7).section(u'\n', 0, 0));
    QVERIFY2(read(mainPage).contains(QLatin1String("A Midsummer Picnic List")), qPrintable(printed));
    const QStringList all = pages();
    QVERIFY(std::any_of(all.cbegin(), all.cend(), [this](const QString &page) {
        return read(page).contains(QLatin1String("alt=\"harbour-at-dusk.png\""));
    }));
}

std::pair<int, QString> tst_DemoSite::buildDemo(const QString &out) const
{
    QProcess script;
    script.setProcessEnvironment(quillfenEnvironment(m_dir.path()));
    script.start(QStringLiteral("bash"), {QStringLiteral(QF_SOURCE_DIR "/examples/demo/build-demo.sh"),
                                          QStringLiteral(QF_BINARY_DIR), out});
    if (!script.waitForFinished(120000))
        return {-1, QStringLiteral("the script hung")};
    return {script.exitCode(), QString::fromUtf8(script.readAllStandardOutput() + script.readAllStandardError())};
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

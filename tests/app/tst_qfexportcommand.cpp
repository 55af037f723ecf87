#include "quillfenrun.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;

// `quillfen export`, run as a user runs it.
class tst_QFExportCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void exportsTheSiteWithTheme();
    void failuresLeaveNoOutput_data();
    void failuresLeaveNoOutput();

private:
    Run quillfen(QStringList arguments) const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_site;
};

Run tst_QFExportCommand::quillfen(QStringList arguments) const
{
    for (QString &argument : arguments) {
        argument.replace(QLatin1String("SITE"), m_site);
        argument.replace(QLatin1String("DIR"), m_dir->path());
    }
    return runQuillfen(arguments, m_dir->path());
}

void tst_QFExportCommand::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_site = m_dir->filePath(QStringLiteral("site.qfsite"));
    const QStringList steps[] = {
        {QStringLiteral("new"), m_site, QStringLiteral("--title"), QStringLiteral("Field Notes"),
         QStringLiteral("--base-url"), QStringLiteral("http://example.org/")},
        {QStringLiteral("post"), QStringLiteral("add"), m_site, QStringLiteral("--title"), QStringLiteral("First light"),
         QStringLiteral("--body"), QStringLiteral("Morning.")},
        {QStringLiteral("post"), QStringLiteral("add"), m_site, QStringLiteral("--title"), QStringLiteral("Second wind"),
         QStringLiteral("--body"), QStringLiteral("Evening.")},
    };
    for (const QStringList &step : steps) {
        const Run run = quillfen(step);
        QVERIFY2(run.code == 0, qPrintable(run.err));
    }
}

void tst_QFExportCommand::exportsTheSiteWithTheme()
{
    const Run run = quillfen({QStringLiteral("export"), QStringLiteral("SITE"), QStringLiteral("DIR/www")});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    const QString out = m_dir->filePath(QStringLiteral("www"));
    QVERIFY2(run.out.startsWith(QStringLiteral("Exported 1 page, ")), qPrintable(run.out));
    QVERIFY(run.out.contains(out));
    QCOMPARE(run.out.count(QLatin1Char('\n')), 1);
    QVERIFY(run.err.isEmpty()); // no progress bar when stderr is not a terminal

    QFile page(out + QStringLiteral("/blog.html"));
    QVERIFY(page.open(QIODevice::ReadOnly));
    const QString html = QString::fromUtf8(page.readAll());
    QVERIFY(html.startsWith(QStringLiteral("<!DOCTYPE html>")));
    QVERIFY(html.contains(QStringLiteral("Field Notes")));
    QVERIFY(html.contains(QStringLiteral("href=\"quillfen.css\"")));
    QVERIFY(QFileInfo(out + QStringLiteral("/quillfen.css")).size() > 0);
    // The blog's shared images go to the site-wide folder.
    QVERIFY(QFileInfo::exists(out + QStringLiteral("/common/rss.gif")));

    // Exporting again replaces the folder as a whole.
    QFile stray(out + QStringLiteral("/stray.txt"));
    QVERIFY(stray.open(QIODevice::WriteOnly));
    stray.close();
    QCOMPARE(quillfen({QStringLiteral("export"), QStringLiteral("SITE"), QStringLiteral("DIR/www")}).code, 0);
    QVERIFY(!stray.exists());
    QVERIFY(QFileInfo::exists(out + QStringLiteral("/blog.html")));
}

void tst_QFExportCommand::failuresLeaveNoOutput_data()
{
    QTest::addColumn<QStringList>("setup"); // commands run first, arguments split at "|"
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("err");
    QTest::addColumn<QString>("absent"); // must not exist afterwards

    const auto args = [](const char *line) { return QString::fromUtf8(line).split(QLatin1Char(' ')); };
    const QStringList none;
    QTest::newRow("missing site") << none << args("export DIR/nowhere.qfsite DIR/www") << 1 << "nowhere.qfsite" << "www";
    QTest::newRow("output is a file") << none << args("export SITE DIR/site.qfsite/www") << 1 << "Export Failed" << "";
    QTest::newRow("output below a file") << none << args("export SITE SITE") << 1 << "is a file, not a folder" << "";
    QTest::newRow("output holds the site") << none << args("export SITE DIR") << 1 << "holds the site document" << "";
    QTest::newRow("one argument") << none << args("export SITE") << 2 << "missing arguments" << "";
    QTest::newRow("extra argument") << none << args("export SITE DIR/www more") << 2 << "unexpected argument 'more'"
                                    << "www";
    QTest::newRow("unknown option") << none << args("export SITE DIR/www --zip") << 2 << "unknown option '--zip'"
                                    << "www";
    // The blog's own faults end the export with their name and reason.
    QTest::newRow("feed on, site without a base URL")
        << QStringList{"site|SITE|siteBaseURL|", "set|SITE|enableRSS|true"} << args("export SITE DIR/www") << 1
        << "Base URL Required: The blog needs the address of the site" << "www";
    QTest::newRow("feed on, base URL that is no URL")
        << QStringList{"site|SITE|siteBaseURL|http://exa mple.org/", "set|SITE|enableRSS|true"}
        << args("export SITE DIR/www") << 1 << "Invalid Page Link: " << "www";
}

void tst_QFExportCommand::failuresLeaveNoOutput()
{
    QFETCH(QStringList, setup);
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, err);
    QFETCH(QString, absent);

    for (const QString &step : setup) {
        const Run run = quillfen(step.split(QLatin1Char('|')));
        QVERIFY2(run.code == 0, qPrintable(run.err));
    }
    const QStringList before = QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    const Run run = quillfen(arguments);
    QCOMPARE(run.code, code);
    QVERIFY2(run.err.contains(err), qPrintable(run.err));
    QVERIFY(run.err.startsWith(QStringLiteral("quillfen export: ")));
    // A failure is one line; wrong usage adds a pointer to the help.
    QCOMPARE(run.err.count(QLatin1Char('\n')), code == 1 ? 1 : 2);
    QVERIFY(run.out.isEmpty());
    if (!absent.isEmpty())
        QVERIFY(!QFileInfo::exists(m_dir->filePath(absent)));
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), before);
}

QTEST_GUILESS_MAIN(tst_QFExportCommand)
#include "tst_qfexportcommand.moc"

#include "quillfenrun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;

// `quillfen links`, run as a user runs it.
class tst_QFLinksCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void listsTheTargetsAsATree();
    void listsTheTargetsAsJSON();
    void permalinkPagesOffOfferNothing();
    void misuseAndMissingSites_data();
    void misuseAndMissingSites();

private:
    Run quillfen(QStringList arguments) const;
    QString pageID() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_site;
};

Run tst_QFLinksCommand::quillfen(QStringList arguments) const
{
    for (QString &argument : arguments) {
        argument.replace(QLatin1String("SITE"), m_site);
        argument.replace(QLatin1String("DIR"), m_dir->path());
    }
    return runQuillfen(arguments, m_dir->path());
}

QString tst_QFLinksCommand::pageID() const
{
    const Run info = quillfen({QStringLiteral("info"), QStringLiteral("SITE"), QStringLiteral("--json")});
    return QJsonDocument::fromJson(info.out.toUtf8()).object().value("pages").toArray().at(0).toObject().value("id").toString();
}

void tst_QFLinksCommand::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_site = m_dir->filePath(QStringLiteral("site.qfsite"));
    const auto args = [](const char *line) { return QString::fromUtf8(line).split(QLatin1Char('|')); };
    const QStringList steps[] = {
        args("new|SITE|--title|Field Notes|--base-url|http://example.org/"),
        args("post|add|SITE|--title|First light|--date|2024-05-01T09:00:00|--category|Travel|--tag|Sea"),
        args("post|add|SITE|--title|Not yet|--date|2024-05-02T09:00:00|--draft|--category|Ideas|--tag|Secret"),
        args("post|add|SITE|--title|Second wind|--date|2024-05-03T09:00:00|--tag|Sea|--tag|Hills"),
    };
    for (const QStringList &step : steps) {
        const Run run = quillfen(step);
        QVERIFY2(run.code == 0, qPrintable(run.err));
    }
}

void tst_QFLinksCommand::listsTheTargetsAsATree()
{
    const Run run = quillfen({QStringLiteral("links"), QStringLiteral("SITE")});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    QVERIFY(run.err.isEmpty());
    // Category IDs come from the bundle's category list; they do not matter here.
    QString out = run.out;
    out.replace(QRegularExpression(QStringLiteral("category:\\d+")), QStringLiteral("category:N"));
    // Posts newest first without the draft; then the categories posts are
    // filed under in the blog's order (a draft's counts, the None category
    // of an unfiled post too); then the published posts' tags.
    QCOMPARE(out, pageID() + QStringLiteral("  blog  \"Blog\"  (Blog)\n"
                                            "  \"Second wind\"  permalink:2  #postid:2\n"
                                            "  \"First light\"  permalink:0  #postid:0\n"
                                            "  \"Category: None\"  category:N  #category:N\n"
                                            "  \"Category: Travel\"  category:N  #category:N\n"
                                            "  \"Category: Ideas\"  category:N  #category:N\n"
                                            "  \"Tag: Sea\"  tag:Sea  #tag:Sea\n"
                                            "  \"Tag: Hills\"  tag:Hills  #tag:Hills\n"));
}

void tst_QFLinksCommand::listsTheTargetsAsJSON()
{
    const Run run = quillfen({QStringLiteral("links"), QStringLiteral("SITE"), QStringLiteral("--json")});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    const QJsonArray pages = QJsonDocument::fromJson(run.out.toUtf8()).object().value("pages").toArray();
    QCOMPARE(pages.size(), 1);
    const QJsonObject page = pages.at(0).toObject();
    QCOMPARE(page.value("plugin").toString(), QStringLiteral("Blog"));
    const QJsonArray links = page.value("links").toArray();
    QCOMPARE(links.size(), 7);
    const QJsonObject newest = links.at(0).toObject();
    QCOMPARE(newest.value("title").toString(), QStringLiteral("Second wind"));
    QCOMPARE(newest.value("pageID").toString(), page.value("id").toString());
    const QString id = newest.value("subpageID").toString().section(QLatin1Char(':'), 1);
    QCOMPARE(newest.value("subpageID").toString(), QStringLiteral("permalink:") + id);
    QCOMPARE(newest.value("anchorID").toString(), QStringLiteral("postid:") + id);
    QCOMPARE(links.at(6).toObject().value("subpageID").toString(), QStringLiteral("tag:Hills"));
}

void tst_QFLinksCommand::permalinkPagesOffOfferNothing()
{
    QCOMPARE(quillfen({QStringLiteral("set"), QStringLiteral("SITE"), QStringLiteral("generatePermalinkPages"),
                       QStringLiteral("false")})
                 .code,
             0);
    const Run text = quillfen({QStringLiteral("links"), QStringLiteral("SITE")});
    QCOMPARE(text.code, 0);
    QCOMPARE(text.out.section(QLatin1Char('\n'), 1), QStringLiteral("  (no link targets)\n"));
    const Run json = quillfen({QStringLiteral("links"), QStringLiteral("SITE"), QStringLiteral("--json")});
    QCOMPARE(json.code, 0);
    const QJsonObject page =
        QJsonDocument::fromJson(json.out.toUtf8()).object().value("pages").toArray().at(0).toObject();
    QVERIFY(page.contains(QStringLiteral("links")));
    QVERIFY(page.value("links").isNull());
}

void tst_QFLinksCommand::misuseAndMissingSites_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("err");

    const auto args = [](const char *line) { return QString::fromUtf8(line).split(QLatin1Char(' ')); };
    QTest::newRow("missing site") << args("links DIR/nowhere.qfsite") << 1 << "nowhere.qfsite";
    QTest::newRow("no site") << QStringList{QStringLiteral("links")} << 2 << "missing arguments";
    QTest::newRow("two sites") << args("links SITE SITE") << 2 << "unexpected argument";
    QTest::newRow("unknown option") << args("links SITE --xml") << 2 << "unknown option '--xml'";
}

void tst_QFLinksCommand::misuseAndMissingSites()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, err);

    const Run run = quillfen(arguments);
    QCOMPARE(run.code, code);
    QVERIFY2(run.err.startsWith(QStringLiteral("quillfen links: ")) && run.err.contains(err), qPrintable(run.err));
    QVERIFY(run.out.isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFLinksCommand)
#include "tst_qflinkscommand.moc"

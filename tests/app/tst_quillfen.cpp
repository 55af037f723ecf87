#include "quillfenrun.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;

class tst_Quillfen : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void commandLines_data();
    void commandLines();
    void settingRoundTrip_data();
    void settingRoundTrip();
    void postsSurviveReopening();
    void categoryRemovalMergesOrDrops_data();
    void categoryRemovalMergesOrDrops();
    void removalNeedsConfirmation();

private:
    Run quillfen(QStringList arguments) const;
    QJsonArray postsJson() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_site;
};

Run tst_Quillfen::quillfen(QStringList arguments) const
{
    for (QString &argument : arguments)
        argument.replace(QLatin1String("SITE"), m_site);
    return runQuillfen(arguments, m_dir->path());
}

QJsonArray tst_Quillfen::postsJson() const
{
    const Run run = quillfen({QStringLiteral("post"), QStringLiteral("list"), QStringLiteral("SITE"), QStringLiteral("--json")});
    return QJsonDocument::fromJson(run.out.toUtf8()).array();
}

void tst_Quillfen::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_site = m_dir->filePath(QStringLiteral("site.qfsite"));
    const Run made = quillfen({QStringLiteral("new"), m_site, QStringLiteral("--title"), QStringLiteral("Notes")});
    QVERIFY2(made.code == 0, qPrintable(made.err));
    QFile foreign(m_dir->filePath(QStringLiteral("foreign.qfsite")));
    QVERIFY(foreign.open(QIODevice::WriteOnly));
    foreign.write("<html><body>not a site</body></html>\n");
}

void tst_Quillfen::commandLines_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err");

    const auto args = [](const char *line) { return QString::fromUtf8(line).split(QLatin1Char(' ')); };

    QTest::newRow("help lists plugin commands") << args("--help") << 0 << "post add" << "";
    QTest::newRow("command help") << args("post --help") << 0 << "--body-file" << "";
    QTest::newRow("no command") << QStringList() << 2 << "" << "Usage:";
    QTest::newRow("unknown command") << args("frobnicate SITE") << 2 << "" << "unknown command 'frobnicate'";
    QTest::newRow("unknown option") << args("info SITE --colour") << 2 << "" << "unknown option '--colour'";
    QTest::newRow("missing argument") << args("get") << 2 << "" << "missing arguments";
    QTest::newRow("extra argument") << args("info SITE more") << 2 << "" << "unexpected argument 'more'";
    QTest::newRow("option without its value") << args("post add SITE --title") << 2 << "" << "needs a value";
    QTest::newRow("post without title") << args("post add SITE") << 2 << "" << "--title";
    QTest::newRow("date not ISO 8601") << args("post add SITE --title T --date 5/1/2024") << 2 << "" << "ISO 8601";
    QTest::newRow("post ID not a number") << args("post show SITE first") << 2 << "" << "not a post ID";
    QTest::newRow("unknown key") << args("get SITE enableTelepathy") << 1 << "" << "enableTelepathy";
    QTest::newRow("state is no setting") << args("set SITE pluginIsInitialising true") << 1 << "" << "Unknown Key";
    QTest::newRow("bool of wrong type") << args("set SITE enableRSS maybe") << 1 << "" << "not true or false";
    QTest::newRow("list given an object") << args("set SITE pingSettings {}") << 1 << "" << "JSON array";
    QTest::newRow("broken JSON") << args("set SITE sidebarControl [1,") << 1 << "" << "JSON";
    QTest::newRow("site key of wrong type") << args("site SITE commonFileConsolidationMode all") << 1 << "" << "whole number";
    QTest::newRow("missing file") << args("info nowhere.qfsite") << 1 << "" << "nowhere.qfsite";
    QTest::newRow("foreign file") << args("post list foreign.qfsite") << 1 << "" << "foreign.qfsite";
    QTest::newRow("new never overwrites") << args("new SITE") << 1 << "" << "already exists";
    QTest::newRow("unknown page") << args("get SITE enableRSS --page Diary") << 1 << "" << "Diary";
    QTest::newRow("unknown post") << args("post show SITE 99") << 1 << "" << "no post with the ID 99";
    QTest::newRow("unknown category") << args("category rename SITE Poetry Verse") << 1 << "" << "Poetry";
    QTest::newRow("none category stays") << args("category remove SITE None") << 1 << "" << "cannot be removed";
    QTest::newRow("rename onto another ignoring case") << args("category rename SITE General work") << 1 << ""
                                                       << "already has a category";
    QTest::newRow("add a name in use ignoring case") << args("category add SITE TRAVEL") << 1 << "" << "Travel";
    QTest::newRow("info names the pages") << args("info SITE") << 0 << "(Blog)" << "";
    QTest::newRow("page chosen by file name") << args("get SITE enableRSS --page blog") << 0 << "" << "";
}

void tst_Quillfen::commandLines()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, out);
    QFETCH(QString, err);

    const Run run = quillfen(arguments);
    QVERIFY2(run.code == code, qPrintable(QStringLiteral("exit %1\n%2").arg(run.code).arg(run.err)));
    QVERIFY2(run.out.contains(out), qPrintable(run.out));
    QVERIFY2(run.err.contains(err), qPrintable(run.err));
}

void tst_Quillfen::settingRoundTrip_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("shown");

    QTest::newRow("bool") << "get" << "enableRSS" << "yes" << "true";
    QTest::newRow("negative number") << "get" << "summarizeEntryRSSCount" << "-1" << "-1";
    QTest::newRow("string with spaces") << "get" << "rssTitle" << "Evening Notes" << "Evening Notes";
    QTest::newRow("list as JSON") << "get" << "pingSettings"
                                  << R"([{"name":"example","rpc":true,"url":"http://ping.example/"}])"
                                  << R"([{"name":"example","rpc":true,"url":"http://ping.example/"}])";
    QTest::newRow("comment accounts") << "get" << "commentsUserIdentifiers" << R"({"disqus":"evening"})"
                                      << R"({"disqus":"evening"})";
    QTest::newRow("comment service") << "get" << "commentsSelectedProviderTag" << "3" << "3";
    QTest::newRow("sidebar sections") << "get" << "sidebarControl" << R"([{"name":"Tags"}])" << R"([{"name":"Tags"}])";
    QTest::newRow("site title") << "site" << "siteTitle" << "Field Notes" << "Field Notes";
}

void tst_Quillfen::settingRoundTrip()
{
    QFETCH(QString, command);
    QFETCH(QString, key);
    QFETCH(QString, value);
    QFETCH(QString, shown);

    const QString set = command == QLatin1String("get") ? QStringLiteral("set") : command;
    const Run changed = quillfen({set, QStringLiteral("SITE"), key, value});
    QVERIFY2(changed.code == 0, qPrintable(changed.err));
    const Run read = quillfen({command, QStringLiteral("SITE"), key});
    QCOMPARE(read.code, 0);
    QCOMPARE(read.out, shown + QLatin1Char('\n'));
}

void tst_Quillfen::postsSurviveReopening()
{
    QFile body(m_dir->filePath(QStringLiteral("body.md")));
    QVERIFY(body.open(QIODevice::WriteOnly));
    body.write("# Walking\n\nThe *long* way round.\n");
    body.close();

    Run run = quillfen({QStringLiteral("post"), QStringLiteral("add"), QStringLiteral("SITE"), QStringLiteral("--title"),
                        QStringLiteral("Autumn walk"), QStringLiteral("--date"), QStringLiteral("2024-10-05T14:30:00"),
                        QStringLiteral("--category"), QStringLiteral("Travel"), QStringLiteral("--category"),
                        QStringLiteral("Hiking"), QStringLiteral("--tag"), QStringLiteral("leaves"),
                        QStringLiteral("--markdown"), QStringLiteral("--body-file"), body.fileName()});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    run = quillfen({QStringLiteral("post"), QStringLiteral("add"), QStringLiteral("SITE"), QStringLiteral("--title"),
                    QStringLiteral("Draft thoughts"), QStringLiteral("--draft"), QStringLiteral("--tag"),
                    QStringLiteral("LEAVES"), QStringLiteral("--date"), QStringLiteral("2024-11-01T08:00:00Z")});
    QVERIFY2(run.code == 0, qPrintable(run.err));

    const QJsonArray posts = postsJson();
    QCOMPARE(posts.size(), 2);
    const QJsonObject draft = posts.at(0).toObject(); // newest first
    const QJsonObject walk = posts.at(1).toObject();
    QCOMPARE(walk.value(QStringLiteral("title")).toString(), QStringLiteral("Autumn walk"));
    QCOMPARE(walk.value(QStringLiteral("date")).toString(), QStringLiteral("2024-10-05T14:30:00+02:00"));
    QCOMPARE(walk.value(QStringLiteral("draft")).toBool(), false);
    QCOMPARE(walk.value(QStringLiteral("categories")).toArray(),
             QJsonArray({QStringLiteral("Travel"), QStringLiteral("Hiking")}));
    QCOMPARE(walk.value(QStringLiteral("guid")).toString().size(), 32);
    QCOMPARE(draft.value(QStringLiteral("draft")).toBool(), true);
    QCOMPARE(draft.value(QStringLiteral("date")).toString(), QStringLiteral("2024-11-01T09:00:00+01:00"));
    QCOMPARE(draft.value(QStringLiteral("tags")).toArray(), QJsonArray({QStringLiteral("leaves")}));

    const int walkID = walk.value(QStringLiteral("id")).toInt();
    run = quillfen({QStringLiteral("post"), QStringLiteral("show"), QStringLiteral("SITE"), QString::number(walkID),
                    QStringLiteral("--json")});
    QCOMPARE(run.code, 0);
    QCOMPARE(QJsonDocument::fromJson(run.out.toUtf8()).object().value(QStringLiteral("body")).toString(),
             QStringLiteral("# Walking\n\nThe *long* way round.\n"));

    run = quillfen({QStringLiteral("post"), QStringLiteral("edit"), QStringLiteral("SITE"), QString::number(walkID),
                    QStringLiteral("--title"), QStringLiteral("Autumn walk, revised"), QStringLiteral("--draft")});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    run = quillfen({QStringLiteral("search"), QStringLiteral("SITE"), QStringLiteral("REVISED"), QStringLiteral("--json")});
    QCOMPARE(run.code, 0);
    const QJsonArray found = QJsonDocument::fromJson(run.out.toUtf8()).array();
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.at(0).toObject().value(QStringLiteral("id")).toInt(), walkID);
    QCOMPARE(found.at(0).toObject().value(QStringLiteral("draft")).toBool(), true);
    run = quillfen({QStringLiteral("category"), QStringLiteral("list"), QStringLiteral("SITE"), QStringLiteral("--json")});
    int hiking = 0;
    for (const QJsonValue &category : QJsonDocument::fromJson(run.out.toUtf8()).array())
        hiking += category.toObject().value(QStringLiteral("name")).toString() == QLatin1String("Hiking");
    QCOMPARE(hiking, 1);
}

void tst_Quillfen::categoryRemovalMergesOrDrops_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("categoriesAfter");

    QTest::newRow("used category needs a decision") << "" << 1 << QStringList{QStringLiteral("Ideas")};
    QTest::newRow("merge into another") << "--merge-into=work" << 0 << QStringList{QStringLiteral("Work")};
    QTest::newRow("drop from its posts") << "--drop" << 0 << QStringList();
}

void tst_Quillfen::categoryRemovalMergesOrDrops()
{
    QFETCH(QString, option);
    QFETCH(int, code);
    QFETCH(QStringList, categoriesAfter);

    Run run = quillfen({QStringLiteral("post"), QStringLiteral("add"), QStringLiteral("SITE"), QStringLiteral("--title"),
                        QStringLiteral("Plan"), QStringLiteral("--category"), QStringLiteral("Ideas")});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    QStringList arguments{QStringLiteral("category"), QStringLiteral("remove"), QStringLiteral("SITE"), QStringLiteral("ideas")};
    if (!option.isEmpty())
        arguments.append(option);
    run = quillfen(arguments);
    QVERIFY2(run.code == code, qPrintable(run.err));

    QStringList names;
    for (const QJsonValue &name : postsJson().at(0).toObject().value(QStringLiteral("categories")).toArray())
        names.append(name.toString());
    QCOMPARE(names, categoriesAfter);
    run = quillfen({QStringLiteral("category"), QStringLiteral("list"), QStringLiteral("SITE")});
    QCOMPARE(run.out.contains(QLatin1String("\tIdeas\n")), code != 0);
}

void tst_Quillfen::removalNeedsConfirmation()
{
    Run run = quillfen({QStringLiteral("post"), QStringLiteral("add"), QStringLiteral("SITE"), QStringLiteral("--title"),
                        QStringLiteral("Short-lived")});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    const QString id = run.out.trimmed();

    run = quillfen({QStringLiteral("post"), QStringLiteral("remove"), QStringLiteral("SITE"), id});
    QCOMPARE(run.code, 1);
    QVERIFY2(run.err.contains(QLatin1String("--yes")), qPrintable(run.err));
    QCOMPARE(postsJson().size(), 1);

    run = quillfen({QStringLiteral("post"), QStringLiteral("remove"), QStringLiteral("SITE"), id, QStringLiteral("--yes")});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    QCOMPARE(postsJson().size(), 0);
}

QTEST_GUILESS_MAIN(tst_Quillfen)
#include "tst_quillfen.moc"

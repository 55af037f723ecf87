#include "quillfenrun.h"

// quillfen post add --jsonl, run as a user runs it.
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;

class tst_QFBlogPostCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void postsFromAFileLandWithEveryField();
    void postsFromStandardInput();
    void badLineAddsNothing_data();
    void badLineAddsNothing();
    void otherPostOptionsAreWrongUsage();

private:
    Run quillfen(const QStringList &arguments, const QByteArray &input = {}) const;
    QString writeFile(const QString &name, const QByteArray &bytes) const;
    QJsonArray posts() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_site;
};

Run tst_QFBlogPostCommand::quillfen(const QStringList &arguments, const QByteArray &input) const
{
    return runQuillfen(arguments, m_dir->path(), input);
}

QString tst_QFBlogPostCommand::writeFile(const QString &name, const QByteArray &bytes) const
{
    QFile file(m_dir->filePath(name));
    if (!file.open(QIODevice::WriteOnly))
        return QString();
    file.write(bytes);
    return file.fileName();
}

QJsonArray tst_QFBlogPostCommand::posts() const
{
    const Run run = quillfen({QStringLiteral("post"), QStringLiteral("list"), m_site, QStringLiteral("--json")});
    return QJsonDocument::fromJson(run.out.toUtf8()).array();
}

void tst_QFBlogPostCommand::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_site = m_dir->filePath(QStringLiteral("site.qfsite"));
    const Run made = quillfen({QStringLiteral("new"), m_site});
    QVERIFY2(made.code == 0, qPrintable(made.err));
}

void tst_QFBlogPostCommand::postsFromAFileLandWithEveryField()
{
    QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("media")));
    writeFile(QStringLiteral("media/episode.mp3"), "ID3");
    const QString jsonl = writeFile(
        QStringLiteral("media/posts.jsonl"),
        R"({"title": "Harbour days", "date": "2026-03-14T09:30:00", "categories": ["Travel", "Food"], "tags": ["sea"], "body": "Fog.\nThen sun.", "podcast": "episode.mp3"})"
        "\n"
        R"({"title": "Stew", "date": "2026-03-15T08:00:00Z", "draft": true, "categories": ["food"], "tags": ["SEA", "winter"], "format": "markdown", "body": "# Stew\n\n*hot*"})"
        "\n");

    const Run run = quillfen({QStringLiteral("post"), QStringLiteral("add"), m_site, QStringLiteral("--jsonl"), jsonl});
    QVERIFY2(run.code == 0, qPrintable(run.err));
    const QStringList ids = run.out.split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(ids.size(), 2);

    const QJsonArray list = posts();
    QCOMPARE(list.size(), 2);
    const QJsonObject stew = list.at(0).toObject(); // newest first
    const QJsonObject harbour = list.at(1).toObject();
    QCOMPARE(harbour.value(QStringLiteral("id")).toInt(), ids.at(0).toInt());
    QCOMPARE(harbour.value(QStringLiteral("title")).toString(), QStringLiteral("Harbour days"));
    QCOMPARE(harbour.value(QStringLiteral("date")).toString(), QStringLiteral("2026-03-14T09:30:00+01:00"));
    QCOMPARE(harbour.value(QStringLiteral("draft")).toBool(), false);
    QCOMPARE(harbour.value(QStringLiteral("categories")).toArray(),
             QJsonArray({QStringLiteral("Travel"), QStringLiteral("Food")}));
    QCOMPARE(harbour.value(QStringLiteral("podcast")).toString(), m_dir->filePath(QStringLiteral("media/episode.mp3")));
    QCOMPARE(stew.value(QStringLiteral("date")).toString(), QStringLiteral("2026-03-15T09:00:00+01:00"));
    QCOMPARE(stew.value(QStringLiteral("draft")).toBool(), true);
    QCOMPARE(stew.value(QStringLiteral("categories")).toArray(), QJsonArray({QStringLiteral("Food")}));
    QCOMPARE(stew.value(QStringLiteral("tags")).toArray(), QJsonArray({QStringLiteral("sea"), QStringLiteral("winter")}));

    const Run shown = quillfen({QStringLiteral("post"), QStringLiteral("show"), m_site, ids.at(1), QStringLiteral("--json")});
    QCOMPARE(QJsonDocument::fromJson(shown.out.toUtf8()).object().value(QStringLiteral("body")).toString(),
             QStringLiteral("# Stew\n\n*hot*"));
}

void tst_QFBlogPostCommand::postsFromStandardInput()
{
    const Run run = quillfen({QStringLiteral("post"), QStringLiteral("add"), m_site, QStringLiteral("--jsonl"), QStringLiteral("-")},
                             R"({"title": "Piped"})"
                             "\n");
    QVERIFY2(run.code == 0, qPrintable(run.err));
    QCOMPARE(posts().at(0).toObject().value(QStringLiteral("title")).toString(), QStringLiteral("Piped"));
}

void tst_QFBlogPostCommand::badLineAddsNothing_data()
{
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<QString>("problem");

    QTest::newRow("broken JSON") << QByteArray(R"({"title": "b",)") << "not valid JSON";
    QTest::newRow("wrong type") << QByteArray(R"({"title": "b", "tags": "sea"})") << "\"tags\" must be an array of names";
    QTest::newRow("bad date") << QByteArray(R"({"title": "b", "date": "tomorrow"})") << "not an ISO 8601 date";
    QTest::newRow("bad format") << QByteArray(R"({"title": "b", "format": "rtf"})") << "none of text, markdown, html";
    QTest::newRow("missing podcast") << QByteArray(R"({"title": "b", "podcast": "gone.mp3"})") << "'gone.mp3' does not exist";
}

void tst_QFBlogPostCommand::badLineAddsNothing()
{
    QFETCH(QByteArray, second);
    QFETCH(QString, problem);

    const QString jsonl = writeFile(QStringLiteral("posts.jsonl"), R"({"title": "Fine", "categories": ["New"]})"
                                                                   "\n"
                                                                       + second + "\n");
    const Run run = quillfen({QStringLiteral("post"), QStringLiteral("add"), m_site, QStringLiteral("--jsonl"), jsonl});
    QCOMPARE(run.code, 1);
    QVERIFY2(run.err.contains(jsonl + QStringLiteral(":2: ")), qPrintable(run.err));
    QVERIFY2(run.err.contains(problem), qPrintable(run.err));
    QCOMPARE(posts().size(), 0);
    const Run categories = quillfen({QStringLiteral("category"), QStringLiteral("list"), m_site});
    QVERIFY(!categories.out.contains(QLatin1String("New")));
}

void tst_QFBlogPostCommand::otherPostOptionsAreWrongUsage()
{
    const QString jsonl = writeFile(QStringLiteral("posts.jsonl"), R"({"title": "Fine"})");
    const Run run = quillfen({QStringLiteral("post"), QStringLiteral("add"), m_site, QStringLiteral("--jsonl"), jsonl,
                              QStringLiteral("--draft")});
    QCOMPARE(run.code, 2);
    QVERIFY2(run.err.contains(QLatin1String("--draft")), qPrintable(run.err));
    QCOMPARE(posts().size(), 0);
}

QTEST_GUILESS_MAIN(tst_QFBlogPostCommand)
#include "tst_qfblogpostcommand.moc"

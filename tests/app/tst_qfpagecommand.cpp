#include "quillfenrun.h"

#include "qfkit/document/qfsitedocument.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/qfpagepackagewriter.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using Run = QuillfenRun;

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Every file below the folder, by relative path.
QMap<QString, QByteArray> tree(const QString &folder)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(QDir(folder).relativeFilePath(path), readAll(path));
    }
    return files;
}

} // namespace

// `quillfen page export` and `page import`, run as a user runs them.
class tst_QFPageCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void importedPageExportsAsTheOriginal();
    void importNamesThePageUniquely_data();
    void importNamesThePageUniquely();
    void refusedPackagesLeaveTheSiteAlone_data();
    void refusedPackagesLeaveTheSiteAlone();
    void misuse_data();
    void misuse();

private:
    Run quillfen(QStringList arguments) const;
    QStringList pageNames(const QString &site) const;
    QString emptySite(const QString &name) const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_site;
};

Run tst_QFPageCommand::quillfen(QStringList arguments) const
{
    for (QString &argument : arguments) {
        argument.replace(QLatin1String("SITE"), m_site);
        argument.replace(QLatin1String("DIR"), m_dir->path());
    }
    return runQuillfen(arguments, m_dir->path());
}

QStringList tst_QFPageCommand::pageNames(const QString &site) const
{
    const Run info = quillfen({"info", site, "--json"});
    QStringList names;
    for (const QJsonValue &page : QJsonDocument::fromJson(info.out.toUtf8()).object().value("pages").toArray())
        names.append(page.toObject().value("name").toString() + QLatin1Char('|') + page.toObject().value("title").toString());
    return names;
}

// A site with the same settings as the test's site and no page at all.
QString tst_QFPageCommand::emptySite(const QString &name) const
{
    QFSiteDocument document;
    document.setSiteTitle(QStringLiteral("Field Notes"));
    document.setSiteBaseURL(QStringLiteral("http://example.org/"));
    const QString path = m_dir->filePath(name);
    document.save(path);
    return path;
}

void tst_QFPageCommand::init()
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
        args("category|add|SITE|Empty shelf"),
    };
    for (const QStringList &step : steps) {
        const Run run = quillfen(step);
        QVERIFY2(run.code == 0, qPrintable(run.err));
    }
}

void tst_QFPageCommand::importedPageExportsAsTheOriginal()
{
    const Run exported = quillfen({"page", "export", "SITE", "Blog", "DIR/blog.qfpage"});
    QVERIFY2(exported.code == 0, qPrintable(exported.err));
    QCOMPARE(exported.out, QStringLiteral("Exported page \u201c%1\u201d (3 entries) to \u201c%2\u201d.\n")
                               .arg(QStringLiteral("blog"), m_dir->filePath(QStringLiteral("blog.qfpage"))));

    const QString other = emptySite(QStringLiteral("other.qfsite"));
    const Run imported = quillfen({"page", "import", other, "DIR/blog.qfpage"});
    QVERIFY2(imported.code == 0, qPrintable(imported.err));
    QCOMPARE(imported.out, QStringLiteral("Imported page \u201cblog\u201d (3 entries) into \u201c%1\u201d.\n").arg(other));
    QCOMPARE(pageNames(other), QStringList{"blog|Blog"});

    // Both sites exported: the same pages, byte for byte.
    for (const QString &site : {m_site, other}) {
        const Run run = quillfen({"export", site, site + ".out"});
        QVERIFY2(run.code == 0, qPrintable(run.err));
    }
    const QMap<QString, QByteArray> original = tree(m_site + QStringLiteral(".out"));
    const QMap<QString, QByteArray> copy = tree(other + QStringLiteral(".out"));
    QCOMPARE(copy.keys(), original.keys());
    QVERIFY(original.keys().filter(QStringLiteral("files/")).size() >= 4);
    for (auto it = original.cbegin(); it != original.cend(); ++it)
        QVERIFY2(copy.value(it.key()) == it.value(), qPrintable(it.key()));
    const auto post = std::find_if(original.keyBegin(), original.keyEnd(),
                                   [](const QString &path) { return path.endsWith(QStringLiteral("-2.html")); });
    QVERIFY(post != original.keyEnd());
    QVERIFY(original.value(*post).contains("Second wind"));
}

void tst_QFPageCommand::importNamesThePageUniquely_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("pages");

    QTest::newRow("default name beside the original")
        << QStringList() << QStringList{"blog|Blog", "blog-2|Blog", "blog-3|Blog"};
    QTest::newRow("own name and title")
        << QStringList{"--name", "travel", "--title", "Travel log"}
        << QStringList{"blog|Blog", "travel|Travel log", "travel-2|Travel log"};
    QTest::newRow("own name taken") << QStringList{"--name", "blog"} << QStringList{"blog|Blog", "blog-2|Blog", "blog-3|Blog"};
}

void tst_QFPageCommand::importNamesThePageUniquely()
{
    QFETCH(QStringList, options);
    QFETCH(QStringList, pages);

    const Run exported = quillfen({"page", "export", "SITE", "blog", "DIR/blog.qfpage"});
    QVERIFY2(exported.code == 0, qPrintable(exported.err));
    for (int i = 0; i < 2; ++i) {
        const Run run = quillfen(QStringList{"page", "import", "SITE", "DIR/blog.qfpage"} + options);
        QVERIFY2(run.code == 0, qPrintable(run.err));
    }
    QCOMPARE(pageNames(m_site), pages);
    // The imported blog is a blog of its own: its posts are listed.
    const Run list = quillfen({"post", "list", "SITE", "--page", pages.at(2).section(QLatin1Char('|'), 0, 0)});
    QVERIFY2(list.code == 0, qPrintable(list.err));
    QVERIFY(list.out.contains(QStringLiteral("Second wind")));
}

void tst_QFPageCommand::refusedPackagesLeaveTheSiteAlone_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("why");

    QTest::newRow("not a zip") << QByteArray("Dear reader,\nthis is no package.\n") << QString() << "Malformed Package";
    QTest::newRow("unknown kind of page") << QByteArray() << "Gallery Page Data" << "Unknown Page Type";
    QTest::newRow("no such file") << QByteArray("MISSING") << QString() << "Cannot Open Package";
}

void tst_QFPageCommand::refusedPackagesLeaveTheSiteAlone()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, type);
    QFETCH(QString, why);

    const QString package = m_dir->filePath(QStringLiteral("bad.qfpage"));
    if (!type.isEmpty()) {
        CVSandwich sandwich(type);
        sandwich.setFilling(std::make_shared<CVSandwichFilling>(QVariantMap{{QStringLiteral("Entries"), QVariantList()}}), 0);
        QFPagePackageWriter().write(sandwich, package);
    } else if (bytes != "MISSING") {
        QFile file(package);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    const QByteArray before = readAll(m_site);
    const QStringList filesBefore = QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    const Run run = quillfen({"page", "import", "SITE", package});
    QCOMPARE(run.code, 1);
    QVERIFY2(run.err.contains(why), qPrintable(run.err));
    QVERIFY2(run.err.contains(QStringLiteral("bad.qfpage")), qPrintable(run.err));
    QVERIFY(run.out.isEmpty());
    QCOMPARE(readAll(m_site), before);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), filesBefore);
}

void tst_QFPageCommand::misuse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");

    QTest::newRow("no action") << QStringList{"page"} << 2 << "say export or import";
    QTest::newRow("unknown action") << QStringList{"page", "copy", "SITE"} << 2 << "unknown action";
    QTest::newRow("export without output") << QStringList{"page", "export", "SITE", "blog"} << 2 << "";
    QTest::newRow("export with import's option") << QStringList{"page", "export", "SITE", "blog", "DIR/x.qfpage", "--name", "x"}
                                                 << 2 << "belong to import";
    QTest::newRow("no such page") << QStringList{"page", "export", "SITE", "journal", "DIR/x.qfpage"} << 1
                                  << "has no page \u201cjournal\u201d";
    QTest::newRow("package over the site") << QStringList{"page", "export", "SITE", "blog", "SITE"} << 1
                                           << "written over the site";
    QTest::newRow("no such site") << QStringList{"page", "export", "DIR/none.qfsite", "blog", "DIR/x.qfpage"} << 1
                                  << "none.qfsite";
}

void tst_QFPageCommand::misuse()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, message);

    const QByteArray before = readAll(m_site);
    const Run run = quillfen(arguments);
    QCOMPARE(run.code, code);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QCOMPARE(readAll(m_site), before);
    QVERIFY(!QFileInfo::exists(m_dir->filePath(QStringLiteral("x.qfpage"))));
}

QTEST_GUILESS_MAIN(tst_QFPageCommand)
#include "tst_qfpagecommand.moc"

#include "qfkit/document/qfpagepluginfactory.h"
#include "qfkit/document/qfpluginregistry.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qfsiteexporter.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>
#include <sys/stat.h>

namespace {

QString readText(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void writeText(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

// Every file below folder, as paths relative to it, sorted.
QStringList tree(const QString &folder)
{
    QStringList files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(QDir(folder).relativeFilePath(it.next()));
    files.sort();
    return files;
}

const char *const pageTemplate = "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"%charset%\" />\n"
                                 "<title>%fixed_title%</title>\n</head>\n<body>\n<div class=\"fixed\">%fixed_body%</div>\n"
                                 "</body>\n</html>\n";

// A page plugin with fixed answers: a feed file, two whole pages made from a
// template through the theme, and a content-only sub-page when asked for.
class FixedPlugin final : public QFTextViewPluginClient
{
public:
    enum class Failure { None, Exception, Assertion, CancelDuringFiles };

    QString pageContentHeaders(const QVariantMap &) const override
    {
        return QStringLiteral("<link rel=\"alternate\" type=\"application/rss+xml\" href=\"http://x/feed.xml\" />");
    }
    QString contentHTML(const QVariantMap &params) override
    {
        contentParams = params;
        events += QStringLiteral("content;");
        reportExportProgress(1, 2);
        return QStringLiteral("<p class=\"fixed-main\">Main %fixed_kept%</p>");
    }
    QString sidebarHTML(const QVariantMap &params) override
    {
        if (params.value(QStringLiteral("subpage")).toString() == QLatin1String("YES")) {
            ++subpageSidebarCalls;
            return QStringLiteral("<p>sidebar for sub-pages</p>");
        }
        ++pageSidebarCalls;
        return QStringLiteral("<p>sidebar for the main page</p>");
    }
    QList<QFExportItem> extraFilesNeededInExportFolder(const QVariantMap &params) override
    {
        if (failure == Failure::Exception)
            throw QFException(QStringLiteral("Invalid RSS"), QStringLiteral("It wasn't possible to encode the RSS Feed as UTF-8"));
        if (failure == Failure::Assertion)
            throw QFAssertionFailure(QStringLiteral("FixedPlugin"), QStringLiteral("Fixed template is missing"));
        const QString folder = tempFilesDirectory(QStringLiteral("Fixed"));
        scratchFolder = folder;
        writeText(folder + QStringLiteral("/feed.xml"), "<rss/>");
        // A private scratch file is moved into the site as it is.
        QFile::setPermissions(folder + QStringLiteral("/feed.xml"), QFile::ReadOwner | QFile::WriteOwner);
        for (int i = 1; i <= 3; ++i) {
            QString page = updatePageTemplate(QString::fromLatin1(pageTemplate), params, 1);
            page.replace(QLatin1String("%charset%"), params.value(QStringLiteral("pagecharset")).toString());
            page.replace(QLatin1String("%fixed_title%"), QStringLiteral("Entry %1").arg(i));
            page.replace(QLatin1String("%fixed_body%"), QStringLiteral("Body %1").arg(i));
            if (queuedPages)
                writeExportFile(folder + QStringLiteral("/entry-%1.html").arg(i), page);
            else
                writeText(folder + QStringLiteral("/entry-%1.html").arg(i), page.toUtf8());
        }
        // A queued page the plugin does not list must not reach the site.
        if (queuedPages)
            writeExportFile(tempFilesDirectory(QStringLiteral("Stray")) + QStringLiteral("/stray.html"), QStringLiteral("stray"));
        if (failure == Failure::CancelDuringFiles)
            exporter->cancel();
        QList<QFExportItem> items;
        if (params.contains(QStringLiteral("contentonlysubpages"))) {
            QFExportItem only = contentOnlySubpageWithHTML(QStringLiteral("<p>Only %fixed_kept%</p>"), QStringLiteral("only.html"));
            only.setSubstitution(QStringLiteral("title"), QStringLiteral("Only <Title>"));
            items.append(only);
        }
        // An earlier item of a queued page's name loses to the page.
        if (queuedPages)
            items.append(contentOnlySubpageWithHTML(QStringLiteral("<p>earlier</p>"), QStringLiteral("entry-1.html")));
        items.append(directoryContents(folder));
        return items;
    }
    void cancelExport() override { cancelled = true; }
    void siteExportWillBegin() override { events += QStringLiteral("begin;"); }
    void siteExportDidEnd() override { events += QStringLiteral("end;"); }

    Failure failure = Failure::None;
    bool queuedPages = false;
    QFSiteExporter *exporter = nullptr;
    QVariantMap contentParams;
    QString scratchFolder;
    int pageSidebarCalls = 0;
    int subpageSidebarCalls = 0;
    bool cancelled = false;
    QString events;
};

class FixedFactory final : public QFPagePluginFactory
{
public:
    QString pluginIdentifier() const override { return QStringLiteral("Fixed"); }
    QString pluginName() const override { return QStringLiteral("Fixed"); }
    QString pluginDescription() const override { return {}; }
    QString pluginAuthor() const override { return {}; }
    QImage pluginIcon() const override { return {}; }
    bool initializeClass(const QFBundle &) override { return true; }
    QStringList extraFilesNeededInExportFolder() const override { return sharedFiles; }
    QFTextViewPluginClient *createPlugin() override { return new FixedPlugin; }
    QFTextViewPluginClient *createPluginFromArchive(QFUnarchiver &) override { return new FixedPlugin; }

    QStringList sharedFiles;
};

} // namespace

class tst_QFSiteExporter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void placesPagesFilesAndThemeByDepth_data();
    void placesPagesFilesAndThemeByDepth();
    void parametersDescribeThePage_data();
    void parametersDescribeThePage();
    void failedOrCancelledExportLeavesOutputAsItWas_data();
    void failedOrCancelledExportLeavesOutputAsItWas();
    void replacesOnlyMissingEmptyOrExportedFolders_data();
    void replacesOnlyMissingEmptyOrExportedFolders();

private:
    FixedPlugin *addPage(const QString &fileName, const QString &title, const QString &folder = QString());

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QFSiteDocument> m_document;
    FixedFactory m_factory;
    QFPluginRegistry m_registry;
};

void tst_QFSiteExporter::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_document = std::make_unique<QFSiteDocument>();
    m_document->setSiteTitle(QStringLiteral("Notes & Trips"));
    m_document->setSiteBaseURL(QStringLiteral("http://example.org/"));
    const QString shared = m_dir->filePath(QStringLiteral("shared.png"));
    writeText(shared, "PNG");
    m_factory.sharedFiles = {shared};
    m_registry = QFPluginRegistry();
    m_registry.addFactory(&m_factory);
}

FixedPlugin *tst_QFSiteExporter::addPage(const QString &fileName, const QString &title, const QString &folder)
{
    auto plugin = std::make_unique<FixedPlugin>();
    FixedPlugin *raw = plugin.get();
    m_document->addPage(std::move(plugin), fileName, title, folder, QStringLiteral("Fixed"));
    return raw;
}

void tst_QFSiteExporter::placesPagesFilesAndThemeByDepth_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("prefix");   // the page's folder in the output
    QTest::addColumn<QString>("up");       // from the main file to the site root
    QTest::addColumn<QString>("files");    // the page's files folder in the output
    QTest::addColumn<bool>("queuedPages"); // pages written through the export's queue
    QTest::addColumn<bool>("contentOnly"); // content-only sub-pages put in the theme

    QTest::newRow("second page at the root") << "" << "" << "" << "trips-files/" << false << false;
    QTest::newRow("page two folders down")
        << "travel/2024" << "travel/2024/" << "../../" << "travel/2024/files/" << false << false;
    QTest::newRow("folder climbing out stays inside") << "../../travel" << "travel/" << "../" << "travel/files/" << false << false;
    QTest::newRow("queued pages, second page at the root") << "" << "" << "" << "trips-files/" << true << false;
    QTest::newRow("queued pages, page two folders down")
        << "travel/2024" << "travel/2024/" << "../../" << "travel/2024/files/" << true << false;
    QTest::newRow("content-only sub-pages") << "travel" << "travel/" << "../" << "travel/files/" << false << true;
    QTest::newRow("queued and content-only sub-pages") << "" << "" << "" << "trips-files/" << true << true;
}

void tst_QFSiteExporter::placesPagesFilesAndThemeByDepth()
{
    QFETCH(QString, folder);
    QFETCH(QString, prefix);
    QFETCH(QString, up);
    QFETCH(QString, files);
    QFETCH(bool, queuedPages);
    QFETCH(bool, contentOnly);

    addPage(QStringLiteral("home.html"), QStringLiteral("Home"))->queuedPages = queuedPages;
    FixedPlugin *trips = addPage(QStringLiteral("trips"), QStringLiteral("Trips"), folder);
    trips->queuedPages = queuedPages;
    QFSiteExporter exporter(*m_document, &m_registry);
    QFSiteExporter::Options options;
    options.contentOnlySubpages = contentOnly;
    exporter.setOptions(options);
    QList<QFSiteExporter::Progress> reports;
    exporter.setProgressCallback([&](const QFSiteExporter::Progress &p) { reports.append(p); });
    // An earlier export's file the new one does not make goes.
    const QString out = m_dir->filePath(QStringLiteral("out/"));
    QVERIFY(QDir().mkpath(out));
    writeText(out + QStringLiteral("stale.html"), "stale");
    writeText(out + QStringLiteral(".quillfen-export"), "Quillfen export 1\nstale.html\n");
    const QFSiteExporter::Summary summary = exporter.exportTo(m_dir->filePath(QStringLiteral("out")));

    QCOMPARE(summary.pages, 2);
    QVERIFY(!summary.cancelled);
    QStringList expected = {QStringLiteral("common/shared.png"), QStringLiteral("home.html"),
                            QStringLiteral("quillfen.css"), prefix + QStringLiteral("trips.html")};
    QStringList pageFiles = {QStringLiteral("entry-1.html"), QStringLiteral("entry-2.html"),
                             QStringLiteral("entry-3.html"), QStringLiteral("feed.xml")};
    if (contentOnly)
        pageFiles << QStringLiteral("only.html");
    for (const QString &file : std::as_const(pageFiles))
        expected << QStringLiteral("files/") + file << files + file;
    expected.sort();
    QCOMPARE(tree(out), QStringList{QStringLiteral(".quillfen-export")} + expected);
    QCOMPARE(summary.files, qint64(expected.size()));
    qint64 bytes = 0;
    for (const QString &file : std::as_const(expected))
        bytes += QFileInfo(out + file).size();
    QCOMPARE(summary.bytes, bytes);
    // The list of what it wrote, for the next export.
    QCOMPARE(readText(out + QStringLiteral(".quillfen-export")),
             QStringLiteral("Quillfen export 1\n") + expected.join(QLatin1Char('\n')) + QLatin1Char('\n'));
    // Moved, not copied: the scratch folder is gone with the export.
    QVERIFY(!QFileInfo::exists(trips->scratchFolder));
    // A name listed twice holds the last item listed under it.
    QVERIFY(readText(out + files + QStringLiteral("entry-1.html")).contains(QStringLiteral("Body 1")));
    // All sub-pages placed in the theme share one sidebar.
    QCOMPARE(trips->subpageSidebarCalls, 1);
    QCOMPARE(trips->pageSidebarCalls, 1);
    QCOMPARE(trips->contentParams.contains(QStringLiteral("contentonlysubpages")), contentOnly);
    QCOMPARE(reports.constLast().pagesDone, 2);
    QCOMPARE(reports.constLast().pagesTotal, 2);
    QVERIFY(std::any_of(reports.cbegin(), reports.cend(), [](const QFSiteExporter::Progress &p) {
        return p.unitsDone == 1 && p.unitsTotal == 2 && p.pageTitle == QLatin1String("Home");
    }));

    const QString main = readText(out + prefix + QStringLiteral("trips.html"));
    for (const QString &part : {QStringLiteral("<p class=\"fixed-main\">Main %fixed_kept%</p>"),
                                QStringLiteral("href=\"%1quillfen.css\"").arg(up), QStringLiteral("<title>Trips</title>"),
                                QStringLiteral("Notes &amp; Trips"), QStringLiteral("sidebar for the main page"),
                                QStringLiteral("http://x/feed.xml"), QStringLiteral("<a href=\"%1home.html\">Home</a>").arg(up),
                                QStringLiteral("<a href=\"trips.html\" aria-current=\"page\">Trips</a>")})
        QVERIFY2(main.contains(part), qPrintable(part));

    const QString entry = readText(out + files + QStringLiteral("entry-2.html"));
    QCOMPARE(entry.count(QStringLiteral("<head>")), 1);
    QCOMPARE(entry.count(QStringLiteral("<body")), 1);
    QVERIFY(!entry.contains(QStringLiteral("sidebar for the main page")));
    for (const QString &part : {QStringLiteral("<meta charset=\"utf-8\" />"), QStringLiteral("<title>Entry 2</title>"),
                                QStringLiteral("<div class=\"fixed\">Body 2</div>"),
                                QStringLiteral("href=\"../%1quillfen.css\"").arg(up),
                                QStringLiteral("<a href=\"../trips.html\" aria-current=\"page\">Trips</a>"),
                                QStringLiteral("sidebar for sub-pages")})
        QVERIFY2(entry.contains(part), qPrintable(part));

    if (!contentOnly)
        return;
    const QString only = readText(out + files + QStringLiteral("only.html"));
    for (const QString &part : {QStringLiteral("<title>Only &lt;Title&gt;</title>"), QStringLiteral("<p>Only %fixed_kept%</p>"),
                                QStringLiteral("href=\"../%1quillfen.css\"").arg(up), QStringLiteral("sidebar for sub-pages")})
        QVERIFY2(only.contains(part), qPrintable(part));
}

void tst_QFSiteExporter::parametersDescribeThePage_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("preview");
    QTest::addColumn<QVariantMap>("expected");

    // The answers every row shares, then each row's own.
    const auto map = [](std::initializer_list<std::pair<const char *, const char *>> own) {
        QVariantMap m{{QStringLiteral("base"), QStringLiteral("http://example.org/")},
                      {QStringLiteral("name"), QStringLiteral("blog.html")}, {QStringLiteral("title"), QStringLiteral("Blog")},
                      {QStringLiteral("FilenameExt"), QStringLiteral("html")},
                      {QStringLiteral("filesfoldername"), QStringLiteral("files")},
                      {QStringLiteral("pagecharset"), QStringLiteral("utf-8")},
                      {QStringLiteral("commonpathsrelative"), QStringLiteral("YES")}};
        for (const auto &[key, value] : own)
            m.insert(QString::fromLatin1(key), QString::fromLatin1(value));
        return m;
    };
    QTest::newRow("root page, site-wide shared folder")
        << "" << 0 << false << map({{"location", ""}, {"index", "blog.html"}, {"plugincommonpath", "common"}});
    QTest::newRow("page in a folder, preview")
        << "a/b" << 0 << true
        << map({{"location", "a/b"}, {"index", "a/b/blog.html"}, {"plugincommonpath", "../../common"}, {"mode", "preview"}});
    QTest::newRow("shared files in the page's files folder")
        << "a" << 1 << false << map({{"location", "a"}, {"index", "a/blog.html"}, {"plugincommonpath", "files"}});
}

void tst_QFSiteExporter::parametersDescribeThePage()
{
    QFETCH(QString, folder);
    QFETCH(int, mode);
    QFETCH(bool, preview);
    QFETCH(QVariantMap, expected);

    m_document->setCommonFileConsolidationMode(mode);
    FixedPlugin *blog = addPage(QStringLiteral("blog.html"), QStringLiteral("Blog"), folder);
    QFSiteExporter exporter(*m_document, &m_registry);
    QFSiteExporter::Options options;
    options.preview = preview;
    exporter.setOptions(options);
    exporter.exportTo(m_dir->filePath(QStringLiteral("out")));
    QCOMPARE(blog->contentParams, expected);
}

void tst_QFSiteExporter::failedOrCancelledExportLeavesOutputAsItWas_data()
{
    QTest::addColumn<int>("failure");
    QTest::addColumn<QString>("error");

    QTest::newRow("plugin raises an exception") << int(FixedPlugin::Failure::Exception) << "Invalid RSS";
    QTest::newRow("plugin assertion fails") << int(FixedPlugin::Failure::Assertion) << "Fixed template is missing";
    QTest::newRow("cancelled while the plugin writes") << int(FixedPlugin::Failure::CancelDuringFiles) << "";
}

void tst_QFSiteExporter::failedOrCancelledExportLeavesOutputAsItWas()
{
    QFETCH(int, failure);
    QFETCH(QString, error);

    FixedPlugin *home = addPage(QStringLiteral("home"), QStringLiteral("Home"));
    FixedPlugin *failing = addPage(QStringLiteral("blog"), QStringLiteral("Blog"));
    QFSiteExporter exporter(*m_document, &m_registry);
    failing->failure = FixedPlugin::Failure(failure);
    failing->exporter = &exporter;

    const QString parent = m_dir->filePath(QStringLiteral("site"));
    const QString out = parent + QStringLiteral("/www");
    QVERIFY(QDir().mkpath(out));
    writeText(out + QStringLiteral("/old.html"), "old site");
    writeText(out + QStringLiteral("/.quillfen-export"), "Quillfen export 1\nold.html\n");

    QString raised;
    QFSiteExporter::Summary summary;
    try {
        summary = exporter.exportTo(out);
    } catch (const QFException &e) {
        raised = e.name();
    } catch (const QFAssertionFailure &e) {
        raised = e.text();
    }
    QCOMPARE(raised, error);
    QCOMPARE(summary.cancelled, error.isEmpty());
    // Every page heard of the export before the first page and of its end,
    // however it ended.
    QCOMPARE(home->events, QStringLiteral("begin;content;end;"));
    QCOMPARE(failing->events, QStringLiteral("begin;content;end;"));
    QCOMPARE(failing->cancelled, error.isEmpty());
    QCOMPARE(tree(out), (QStringList{QStringLiteral(".quillfen-export"), QStringLiteral("old.html")}));
    QCOMPARE(readText(out + QStringLiteral("/old.html")), QStringLiteral("old site"));
    // No staging or scratch folder is left beside it.
    QCOMPARE(QDir(parent).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("www")});

    // A new output folder is not left behind either.
    try {
        exporter.exportTo(m_dir->filePath(QStringLiteral("new/deeper/www")));
    } catch (const std::exception &) {
    }
    QVERIFY(!QFileInfo::exists(m_dir->filePath(QStringLiteral("new"))));
}

void tst_QFSiteExporter::replacesOnlyMissingEmptyOrExportedFolders_data()
{
    QTest::addColumn<QString>("situation");
    QTest::addColumn<QString>("error"); // empty: the export succeeds
    QTest::addColumn<QStringList>("kept"); // files of the user's that stay as they were

    QTest::newRow("missing") << "missing" << "" << QStringList{};
    QTest::newRow("empty folder, umask 027") << "empty" << "" << QStringList{};
    QTest::newRow("earlier export") << "export" << "" << QStringList{};
    QTest::newRow("earlier export with files the user added")
        << "added" << "" << QStringList{"out/.htaccess", "out/files/notes.txt", "out/.git/HEAD", "out/link/keep.txt"};
    // Folders are not listed: an empty one where the export makes one is no clash.
    QTest::newRow("earlier export that left a folder empty") << "hollow" << "" << QStringList{};
    QTest::newRow("foreign files") << "foreign" << "holds no earlier Quillfen export (notes.txt)" << QStringList{"out/notes.txt"};
    QTest::newRow(".git folder") << "git" << "holds no earlier Quillfen export (.git)" << QStringList{"out/.git/HEAD"};
    QTest::newRow("a file instead of a folder") << "file" << "is a file, not a folder" << QStringList{"out"};
    QTest::newRow("symbolic link to a folder") << "link" << "is a symbolic link" << QStringList{"outside/keep.txt"};
    QTest::newRow("list naming a path outside") << "escape" << "line 2 is not a path inside the folder"
                                                 << QStringList{"out/home.html", "outside/keep.txt"};
    QTest::newRow("damaged list") << "damaged" << "its first line is not" << QStringList{"out/home.html"};
    QTest::newRow("user's file where the export writes")
        << "clash" << "out/quillfen.css\u201d was not written by an earlier export" << QStringList{"out/quillfen.css", "out/.htaccess"};
}

void tst_QFSiteExporter::replacesOnlyMissingEmptyOrExportedFolders()
{
    QFETCH(QString, situation);
    QFETCH(QString, error);
    QFETCH(QStringList, kept);

    // The modes follow the umask, whatever it is.
    const bool strict = situation == QLatin1String("empty");
    const mode_t umask = ::umask(strict ? 027 : 022);
    const auto folderMode = QFile::Permissions::fromInt(strict ? 0x7750 : 0x7755);
    const auto fileMode = QFile::Permissions::fromInt(strict ? 0x6640 : 0x6644);
    const auto restoreUmask = qScopeGuard([umask] { ::umask(umask); });
    // A copied file keeps its source's mode, which a web server may not read.
    QVERIFY(QFile::setPermissions(m_factory.sharedFiles.constFirst(), QFile::ReadOwner | QFile::WriteOwner));
    addPage(QStringLiteral("home.html"), QStringLiteral("Home"));
    addPage(QStringLiteral("trips"), QStringLiteral("Trips"), QStringLiteral("travel"));
    QFSiteExporter exporter(*m_document, &m_registry);
    const QString out = m_dir->filePath(QStringLiteral("out"));
    const QString manifest = out + QStringLiteral("/.quillfen-export");
    QVERIFY(QDir().mkpath(m_dir->filePath(QStringLiteral("outside"))));
    writeText(m_dir->filePath(QStringLiteral("outside/keep.txt")), "keep");

    if (QStringList{"export", "added", "clash", "escape", "damaged", "hollow"}.contains(situation))
        exporter.exportTo(out);
    if (situation == QLatin1String("hollow")) {
        QVERIFY(QDir(out + QStringLiteral("/travel")).removeRecursively() && QDir().mkpath(out + QStringLiteral("/travel")));
        QStringList lines = readText(manifest).split(QLatin1Char('\n'));
        lines.removeIf([](const QString &line) { return line.startsWith(QLatin1String("travel/")); });
        writeText(manifest, lines.join(QLatin1Char('\n')).toUtf8());
    }
    if (situation == QLatin1String("empty") || situation == QLatin1String("foreign"))
        QVERIFY(QDir().mkpath(out));
    if (situation == QLatin1String("foreign"))
        writeText(out + QStringLiteral("/notes.txt"), "notes");
    if (situation == QLatin1String("added") || situation == QLatin1String("git")) {
        QVERIFY(QDir().mkpath(out + QStringLiteral("/.git")));
        writeText(out + QStringLiteral("/.git/HEAD"), "ref: refs/heads/main");
    }
    if (situation == QLatin1String("added") || situation == QLatin1String("clash"))
        writeText(out + QStringLiteral("/.htaccess"), "Options -Indexes");
    if (situation == QLatin1String("added")) {
        writeText(out + QStringLiteral("/files/notes.txt"), "mine");
        QVERIFY(QFile::link(QStringLiteral("../outside"), out + QStringLiteral("/link")));
    }
    if (situation == QLatin1String("file"))
        writeText(out, "a file");
    if (situation == QLatin1String("link"))
        QVERIFY(QFile::link(m_dir->filePath(QStringLiteral("outside")), out));
    if (situation == QLatin1String("escape"))
        writeText(manifest, "Quillfen export 1\n../outside/keep.txt\n");
    if (situation == QLatin1String("damaged"))
        writeText(manifest, "home.html\n");
    if (situation == QLatin1String("clash")) {
        writeText(manifest, readText(manifest).remove(QStringLiteral("quillfen.css\n")).toUtf8());
        writeText(out + QStringLiteral("/quillfen.css"), "mine");
    }
    QMap<QString, QString> before;
    for (const QString &file : std::as_const(kept))
        before.insert(file, readText(m_dir->filePath(file)));
    const QStringList exported = tree(out);

    try {
        exporter.exportTo(out);
        QVERIFY2(error.isEmpty(), "the export was not refused");
    } catch (const QFException &e) {
        QVERIFY2(e.reason().contains(error) && !error.isEmpty(), qPrintable(e.reason()));
        QVERIFY2(e.reason().contains(out), qPrintable(e.reason()));
        QCOMPARE(tree(out), exported);
    }
    for (const QString &file : std::as_const(kept))
        QCOMPARE(readText(m_dir->filePath(file)), before.value(file));
    QCOMPARE(readText(m_dir->filePath(QStringLiteral("outside/keep.txt"))), QStringLiteral("keep"));
    // No staging or scratch folder is left beside it.
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             (QStringList{QStringLiteral("out"), QStringLiteral("outside"), QStringLiteral("shared.png")}));
    if (!error.isEmpty())
        return;

    // What the user added stays what it was, a link included.
    QVERIFY(!situation.startsWith(QLatin1String("added")) || QFileInfo(out + QStringLiteral("/link")).isSymLink());
    // Readable by a web server: the modes the umask gives new files and folders.
    QCOMPARE(QFileInfo(out).permissions() & 0x7777, folderMode);
    QCOMPARE(QFileInfo(out + QStringLiteral("/common/shared.png")).permissions() & 0x7777, fileMode);
    const QStringList listed = readText(manifest).split(QLatin1Char('\n'), Qt::SkipEmptyParts).mid(1);
    QVERIFY(listed.contains(QStringLiteral("common/shared.png")) && listed.contains(QStringLiteral("travel/files/feed.xml")));
    for (const QString &file : listed) {
        QCOMPARE(QFileInfo(out + QLatin1Char('/') + file).permissions() & 0x7777, fileMode);
        QCOMPARE(QFileInfo(QFileInfo(out + QLatin1Char('/') + file).absolutePath()).permissions() & 0x7777, folderMode);
    }
    for (const QString &file : kept)
        QVERIFY2(!listed.contains(file.mid(4)), qPrintable(file));
}

QTEST_GUILESS_MAIN(tst_QFSiteExporter)
#include "tst_qfsiteexporter.moc"

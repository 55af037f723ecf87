#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/text/qflinkstyleresolver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Answers for one sub-page, as a blog answers for a permalink page.
class LinkingPlugin final : public QFTextViewPluginClient
{
public:
    std::optional<QString> hrefForSubpage(const QString &subPageID, int depthCorrection,
                                          const QFSiteLayout::Page &page) const override
    {
        if (subPageID != QLatin1String("permalink:1"))
            return std::nullopt;
        const QString file = QStringLiteral("p1.") + page.extension;
        return depthCorrection == 0 ? page.filesFolderName + QLatin1Char('/') + file : file;
    }
};

QStringList placeholders(const QString &html)
{
    static const QRegularExpression placeholder(QStringLiteral("%[A-Za-z0-9_]+%"));
    QStringList found;
    for (auto it = placeholder.globalMatch(html); it.hasNext();)
        found.append(it.next().captured());
    found.sort();
    return found;
}

} // namespace

class tst_QFTextViewPluginClient : public QObject
{
    Q_OBJECT

private slots:
    void scratchFolderStaysInsideThePagesFolder_data();
    void scratchFolderStaysInsideThePagesFolder();
    void scratchFoldersAreSeparatePerPageAndGoWithThePlugin();
    void directoryContentsListsTheFilesSorted();
    void updatePageTemplateKeepsEveryPlaceholder_data();
    void updatePageTemplateKeepsEveryPlaceholder();
    void internalLinksResolveAcrossPages_data();
    void internalLinksResolveAcrossPages();
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

// The scratch folder is removed with its plugin, so it must never be a
// folder the user owns.
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
    const QString a = first->tempFilesDirectory(QStringLiteral("QFBlogPlugin"));
    const QString b = second.tempFilesDirectory(QStringLiteral("QFBlogPlugin"));
    QVERIFY(a != b);
    QFile file(a + QStringLiteral("/feed.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY(QDir().mkpath(a + QStringLiteral("/nested/deeper")));

    first.reset();
    QVERIFY(!QFileInfo::exists(a));
    QVERIFY(!QFileInfo::exists(QFileInfo(a).absolutePath())); // the page's folder too
    QVERIFY(QFileInfo(b).isDir());                            // the other page keeps its own
}

void tst_QFTextViewPluginClient::directoryContentsListsTheFilesSorted()
{
    QTemporaryDir dir;
    for (const char *name : {"b.html", "a.xml", "C.png", ".hidden"}) {
        QFile file(dir.filePath(QString::fromLatin1(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("sub")));

    QFTextViewPluginClient plugin;
    QStringList paths;
    for (const QFExportItem &item : plugin.directoryContents(dir.path())) {
        QVERIFY(item.isFile());
        paths.append(QFileInfo(item.filePath()).fileName());
    }
    QCOMPARE(paths, QStringList({QStringLiteral("C.png"), QStringLiteral("a.xml"), QStringLiteral("b.html")}));
    QVERIFY(plugin.directoryContents(dir.filePath(QStringLiteral("missing"))).isEmpty());
}

void tst_QFTextViewPluginClient::updatePageTemplateKeepsEveryPlaceholder_data()
{
    QTest::addColumn<QString>("pageTemplate");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<int>("depth");
    QTest::addColumn<QString>("stylesheet");

    const QString resources = QStringLiteral(QF_SOURCE_DIR "/src/blog/resources/");
    for (const char *name : {"BlogPermalinkTemplate", "BlogArchiveTemplate", "BlogCategoryTemplate", "BlogTagTemplate"}) {
        QFile file(resources + QString::fromLatin1(name) + QStringLiteral(".html"));
        QVERIFY2(file.open(QIODevice::ReadOnly), name);
        const QString text = QString::fromUtf8(file.readAll());
        QTest::addRow("%s in the files folder", name) << text << "" << 1 << "../quillfen.css";
        QTest::addRow("%s of a page in a folder", name) << text << "a/b" << 1 << "../../../quillfen.css";
    }
    QTest::newRow("fragment without head or body")
        << "<div>%blog_x_entries%</div>\n<header>%blog_x_title%</header>" << "" << 0 << "quillfen.css";
}

void tst_QFTextViewPluginClient::updatePageTemplateKeepsEveryPlaceholder()
{
    QFETCH(QString, pageTemplate);
    QFETCH(QString, folder);
    QFETCH(int, depth);
    QFETCH(QString, stylesheet);

    QFSiteDocument document;
    document.setSiteTitle(QStringLiteral("100% %charset% Site"));
    auto plugin = std::make_unique<QFTextViewPluginClient>();
    QFTextViewPluginClient *page = plugin.get();
    document.addPage(std::move(plugin), QStringLiteral("blog"), QStringLiteral("Blog"), folder);
    const QVariantMap params{{QStringLiteral("pagecharset"), QStringLiteral("utf-8")}};
    const QString placed = page->updatePageTemplate(pageTemplate, params, depth);

    QCOMPARE(placeholders(placed), placeholders(pageTemplate));
    QCOMPARE(placed.count(QStringLiteral("<!DOCTYPE html>")), 1);
    QCOMPARE(placed.count(QStringLiteral("<head>")), 1);
    QCOMPARE(placed.count(QRegularExpression(QStringLiteral("<meta charset="))), 1);
    QCOMPARE(placed.count(QStringLiteral("name=\"viewport\"")), 1);
    QCOMPARE(placed.count(QStringLiteral("<title>")), 1);
    QVERIFY(placed.contains(QStringLiteral("<link rel=\"stylesheet\" href=\"%1\" />").arg(stylesheet)));
    // The site's own texts can never be taken for a placeholder.
    QVERIFY(placed.contains(QStringLiteral("100&#37; &#37;charset&#37; Site")));
}

void tst_QFTextViewPluginClient::internalLinksResolveAcrossPages_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("subPage");
    QTest::addColumn<int>("depth");
    QTest::addColumn<int>("style");
    QTest::addColumn<QString>("href"); // null: no link

    const int relative = int(QFLinkStyle::Relative);
    QTest::newRow("other page from a main file") << "home" << "trips" << "" << 0 << relative << "travel/trips.html";
    QTest::newRow("other page from the files folder") << "home" << "trips" << "" << 1 << relative << "../travel/trips.html";
    QTest::newRow("page up a folder") << "trips" << "home" << "" << 0 << relative << "../index.html";
    QTest::newRow("own sub-page in the files folder") << "trips" << "trips" << "permalink:1" << 1 << relative << "p1.html";
    QTest::newRow("own sub-page from the main file") << "trips" << "trips" << "permalink:1" << 0 << relative << "files/p1.html";
    QTest::newRow("other page's sub-page") << "home" << "trips" << "permalink:1" << 1 << relative << "../travel/files/p1.html";
    QTest::newRow("absolute sub-page") << "home" << "trips" << "permalink:1" << 0 << int(QFLinkStyle::Absolute)
                                       << "http://example.org/travel/files/p1.html";
    QTest::newRow("unknown sub-page") << "home" << "trips" << "permalink:2" << 0 << relative << QString();
    QTest::newRow("unknown page") << "home" << "gone" << "" << 0 << relative << QString();
}

void tst_QFTextViewPluginClient::internalLinksResolveAcrossPages()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, subPage);
    QFETCH(int, depth);
    QFETCH(int, style);
    QFETCH(QString, href);

    QFSiteDocument document;
    document.setSiteBaseURL(QStringLiteral("http://example.org"));
    const auto add = [&document](const QString &id, const QString &fileName, const QString &folder) {
        auto plugin = std::make_unique<LinkingPlugin>();
        plugin->setUniqueID(id);
        QFTextViewPluginClient *raw = plugin.get();
        document.addPage(std::move(plugin), fileName, id, folder);
        return raw;
    };
    QFTextViewPluginClient *home = add(QStringLiteral("home"), QStringLiteral("index.html"), QString());
    QFTextViewPluginClient *trips = add(QStringLiteral("trips"), QStringLiteral("trips"), QStringLiteral("travel"));
    const QFTextViewPluginClient *asker = from == QLatin1String("home") ? trips : home;
    const auto *resolver = dynamic_cast<const QFLinkStyleResolver *>(asker->pageFromPageID(from));
    QVERIFY(resolver);
    QCOMPARE(asker->pageFromPageID(QStringLiteral("gone")), nullptr);
    const std::optional<QString> result =
        resolver->hrefForInternalLink(QFLink::internalLink(to, subPage), depth, QFLinkStyle(style));
    QCOMPARE(result.has_value(), !href.isNull());
    if (result)
        QCOMPARE(*result, href);
}

QTEST_GUILESS_MAIN(tst_QFTextViewPluginClient)
#include "tst_qftextviewpluginclient.moc"

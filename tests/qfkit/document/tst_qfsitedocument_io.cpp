#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/document/qfpagepluginfactory.h"
#include "qfkit/document/qfpluginbundleloader.h"
#include "qfkit/document/qfpluginregistry.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qfsitedocumentreader.h"
#include "qfkit/document/qfsitedocumentwriter.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>

namespace {

// A plugin whose record is one text, so a reopened page shows whether its
// record came back.
class NotePlugin final : public QFTextViewPluginClient
{
public:
    QString note;
    int loadedCalls = 0;

    void encodeWithCoder(QFArchiver &coder) const override { coder.encodeObject(note); }
    void documentWasLoaded() override { ++loadedCalls; }
};

class NoteFactory final : public QFPagePluginFactory
{
public:
    QString pluginIdentifier() const override { return QStringLiteral("Note"); }
    QString pluginName() const override { return QStringLiteral("Note"); }
    QString pluginDescription() const override { return QString(); }
    QString pluginAuthor() const override { return QString(); }
    QImage pluginIcon() const override { return QImage(); }
    bool initializeClass(const QFBundle &) override { return true; }
    QStringList extraFilesNeededInExportFolder() const override { return {}; }
    QFTextViewPluginClient *createPlugin() override { return new NotePlugin; }
    QFTextViewPluginClient *createPluginFromArchive(QFUnarchiver &coder) override
    {
        const QVariant note = coder.decodeObject();
        if (note.metaType().id() != QMetaType::QString)
            throw QFException(QStringLiteral("Malformed Archive"), QStringLiteral("no note"));
        auto *plugin = new NotePlugin;
        plugin->note = note.toString();
        return plugin;
    }
};

NotePlugin *addNote(QFSiteDocument &document, const QString &note, const QString &title,
                    const QString &pluginName = QStringLiteral("Note"))
{
    auto plugin = std::make_unique<NotePlugin>();
    plugin->note = note;
    NotePlugin *raw = plugin.get();
    document.addPage(std::move(plugin), title.toLower(), title, QString(), pluginName);
    return raw;
}

} // namespace

class tst_QFSiteDocumentIO : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void savedDocumentOpensAsSaved();
    void savingClearsEditedAndPluginChangesSetIt();
    void unreadablePagesRefuseTheWholeDocument_data();
    void unreadablePagesRefuseTheWholeDocument();
    void badFilesGiveErrorsNamingTheFile_data();
    void badFilesGiveErrorsNamingTheFile();
    void pageWithoutPluginNameIsNotSaved();
    void blogPageSurvivesSaveAndOpen();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    NoteFactory m_factory;
    QFPluginRegistry m_registry;
};

void tst_QFSiteDocumentIO::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_registry = QFPluginRegistry();
    m_registry.addFactory(&m_factory);
}

void tst_QFSiteDocumentIO::savedDocumentOpensAsSaved()
{
    const QString path = m_dir->filePath(QStringLiteral("site.qfsite"));
    {
        QFSiteDocument document;
        document.setSiteTitle(QStringLiteral("Field Notes"));
        document.setCommonFileConsolidationMode(2);
        addNote(document, QStringLiteral("first"), QStringLiteral("Alpha"));
        addNote(document, QStringLiteral("second"), QStringLiteral("Beta"));
        document.save(path);
    }
    // A property this host version has no field for survives a round trip.
    QFSiteDocumentData data = QFSiteDocumentReader().open(path);
    data.properties.insert(QStringLiteral("theme"), QStringLiteral("Dusk"));
    QFSiteDocumentWriter().save(data, path);

    const std::unique_ptr<QFSiteDocument> reopened = QFSiteDocument::open(path, m_registry);
    QCOMPARE(reopened->siteTitle(), QStringLiteral("Field Notes"));
    QVERIFY(reopened->siteBaseURL().isNull());
    QCOMPARE(reopened->commonFileConsolidationMode(), 2);
    QCOMPARE(reopened->filePath(), path);
    QVERIFY(!reopened->isEdited());
    QCOMPARE(reopened->undoStack()->count(), 0);

    const QList<QFPage> pages = reopened->pages();
    QCOMPARE(pages.size(), 2);
    QCOMPARE(pages.at(0).title, QStringLiteral("Alpha"));
    QCOMPARE(pages.at(1).title, QStringLiteral("Beta"));
    QCOMPARE(pages.at(0).uniqueID, data.pages.at(0).uniqueID);
    QCOMPARE(pages.at(1).pluginName, QStringLiteral("Note"));
    auto *second = static_cast<NotePlugin *>(pages.at(1).plugin);
    QCOMPARE(second->note, QStringLiteral("second"));
    QCOMPARE(second->loadedCalls, 1);
    QCOMPARE(second->document(), reopened.get());

    reopened->save();
    QCOMPARE(QFSiteDocumentReader().open(path).properties.value(QStringLiteral("theme")).toString(),
             QStringLiteral("Dusk"));
}

void tst_QFSiteDocumentIO::savingClearsEditedAndPluginChangesSetIt()
{
    const QString path = m_dir->filePath(QStringLiteral("site.qfsite"));
    QFSiteDocument document;
    NotePlugin *plugin = addNote(document, QStringLiteral("n"), QStringLiteral("Page"));
    document.undoStack()->push(new QUndoCommand(QStringLiteral("Edit")));
    QVERIFY(document.isEdited());
    document.save(path);
    QVERIFY(!document.isEdited());
    QVERIFY(document.undoStack()->isClean());

    plugin->broadcastPluginChanged();
    QVERIFY(document.isEdited());
    document.save();
    QVERIFY(!document.isEdited());
    // Undoing past the saved state is an edit again.
    document.undoStack()->undo();
    QVERIFY(document.isEdited());
}

void tst_QFSiteDocumentIO::unreadablePagesRefuseTheWholeDocument_data()
{
    QTest::addColumn<QString>("pluginName");
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QString>("expected");

    QFArchiver good;
    good.encodeObject(QStringLiteral("note"));
    QFArchiver wrong;
    wrong.encodeObject(42);

    QTest::newRow("plugin not installed") << "Gallery" << good.data() << "Gallery";
    QTest::newRow("record cut short") << "Note" << good.data().left(7) << "damaged";
    QTest::newRow("record its plugin refuses") << "Note" << wrong.data() << "damaged";
    QTest::newRow("record of another format") << "Note" << QByteArray("QFKA\x01\xf6") << "damaged";
}

void tst_QFSiteDocumentIO::unreadablePagesRefuseTheWholeDocument()
{
    QFETCH(QString, pluginName);
    QFETCH(QByteArray, archive);
    QFETCH(QString, expected);

    const QString path = m_dir->filePath(QStringLiteral("site.qfsite"));
    QFArchiver good;
    good.encodeObject(QStringLiteral("fine"));
    QFSiteDocumentData data;
    data.pages.append(QFStoredPage{QStringLiteral("p1"), 0, QStringLiteral("a"), {}, QStringLiteral("Fine"),
                                   QStringLiteral("Note"), good.data()});
    data.pages.append(QFStoredPage{QStringLiteral("p2"), 1, QStringLiteral("b"), {}, QStringLiteral("Broken"),
                                   pluginName, archive});
    QFSiteDocumentWriter().save(data, path);
    const QByteArray before = [&] { QFile f(path); f.open(QIODevice::ReadOnly); return f.readAll(); }();

    try {
        QFSiteDocument::open(path, m_registry);
        QFAIL("a page that cannot be read was opened");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Cannot Open Document"));
        QVERIFY2(e.reason().contains(QStringLiteral("site.qfsite")), qPrintable(e.reason()));
        QVERIFY2(e.reason().contains(QStringLiteral("Broken")), qPrintable(e.reason()));
        QVERIFY2(e.reason().contains(expected), qPrintable(e.reason()));
    }
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), before);
}

void tst_QFSiteDocumentIO::badFilesGiveErrorsNamingTheFile_data()
{
    QTest::addColumn<QString>("damage");

    QTest::newRow("missing file") << "missing";
    QTest::newRow("truncated to half") << "truncate";
    QTest::newRow("foreign text file") << "foreign";
    QTest::newRow("empty file") << "empty";
}

void tst_QFSiteDocumentIO::badFilesGiveErrorsNamingTheFile()
{
    QFETCH(QString, damage);
    const QString path = m_dir->filePath(QStringLiteral("notes.qfsite"));
    {
        QFSiteDocument document;
        addNote(document, QString(4000, QLatin1Char('x')), QStringLiteral("Page"));
        document.save(path);
    }
    QFile file(path);
    if (damage == QLatin1String("missing")) {
        QVERIFY(file.remove());
    } else if (damage == QLatin1String("truncate")) {
        QVERIFY(file.resize(file.size() / 2));
    } else {
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        if (damage == QLatin1String("foreign"))
            file.write("title,date\nHello,2024-01-01\n");
        file.close();
    }
    try {
        QFSiteDocument::open(path, m_registry);
        QFAIL("a damaged file was opened");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Cannot Open Document"));
        QVERIFY2(e.reason().contains(QStringLiteral("notes.qfsite")), qPrintable(e.reason()));
    }
}

void tst_QFSiteDocumentIO::pageWithoutPluginNameIsNotSaved()
{
    const QString path = m_dir->filePath(QStringLiteral("site.qfsite"));
    QFSiteDocument document;
    addNote(document, QStringLiteral("n"), QStringLiteral("Orphan"), QString());
    QVERIFY_THROWS_EXCEPTION(QFException, document.save(path));
    QVERIFY(!QFile::exists(path));
    QVERIFY(document.isEdited());
    QVERIFY(document.filePath().isEmpty());
}

void tst_QFSiteDocumentIO::blogPageSurvivesSaveAndOpen()
{
    const QString bundle = QStringLiteral(QF_BLOG_BUNDLE_PATH);
    if (!QFileInfo::exists(bundle))
        QSKIP("the blog bundle is not built");
    QFPluginBundleLoader loader(QFileInfo(bundle).absolutePath());
    QFPluginRegistry registry;
    registry.addPlugins(loader.loadAll());
    const QList<QFPagePluginFactory *> factories = registry.factories();
    QVERIFY2(!factories.isEmpty(), qPrintable(loader.errors().join(QLatin1Char('\n'))));
    QFPagePluginFactory *blog = factories.constFirst();

    const QString path = m_dir->filePath(QStringLiteral("blog.qfsite"));
    {
        QFSiteDocument document;
        std::unique_ptr<QFTextViewPluginClient> plugin(blog->createPlugin());
        QVERIFY(plugin);
        QVERIFY(plugin->setProperty("rssTitle", QStringLiteral("Evening Notes")));
        QVERIFY(plugin->setProperty("showPostLimit", 7));
        document.addPage(std::move(plugin), QStringLiteral("blog"), QStringLiteral("Blog"), QString(),
                         blog->pluginIdentifier());
        document.save(path);
    }
    const std::unique_ptr<QFSiteDocument> reopened = QFSiteDocument::open(path, registry);
    QCOMPARE(reopened->pages().size(), 1);
    const QObject *plugin = reopened->pages().constFirst().plugin;
    QCOMPARE(plugin->property("rssTitle").toString(), QStringLiteral("Evening Notes"));
    QCOMPARE(plugin->property("showPostLimit").toInt(), 7);
    QVERIFY(!reopened->isEdited());
}

QTEST_GUILESS_MAIN(tst_QFSiteDocumentIO)
#include "tst_qfsitedocument_io.moc"

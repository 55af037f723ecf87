#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/document/qfpagepluginfactory.h"
#include "qfkit/document/qfpluginregistry.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qfsitedocumentreader.h"
#include "qfkit/document/qfsitedocumentwriter.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/support/qfexception.h"

#include <QFile>
#include <QSignalSpy>
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
    QString pluginName() const override { return pluginIdentifier(); }
    QString pluginDescription() const override { return {}; }
    QString pluginAuthor() const override { return {}; }
    QImage pluginIcon() const override { return {}; }
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

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class tst_QFSiteDocument : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void editedFollowsChanges_data();
    void editedFollowsChanges();
    void pagesKeepOrderAndGetUniqueIDs();
    void savedDocumentOpensAsSaved();
    void unreadablePagesRefuseTheWholeDocument_data();
    void unreadablePagesRefuseTheWholeDocument();
    void pageWithoutPluginNameIsNotSaved();

private:
    QString path() const { return m_dir->filePath(QStringLiteral("site.qfsite")); }

    std::unique_ptr<QTemporaryDir> m_dir;
    NoteFactory m_factory;
    QFPluginRegistry m_registry;
};

void tst_QFSiteDocument::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_registry = QFPluginRegistry();
    m_registry.addFactory(&m_factory);
}

void tst_QFSiteDocument::editedFollowsChanges_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<bool>("edited");

    QTest::newRow("plugin broadcasts") << "broadcast" << true;
    QTest::newRow("site title changes") << "title" << true;
    QTest::newRow("site title set to the same") << "same title" << false;
    QTest::newRow("undoable edit pushed") << "undo" << true;
    QTest::newRow("saved, then undone past the save") << "save and undo" << true;
    QTest::newRow("page taken out broadcasts") << "take" << false;
}

void tst_QFSiteDocument::editedFollowsChanges()
{
    QFETCH(QString, change);
    QFETCH(bool, edited);

    QFSiteDocument document;
    document.setSiteTitle(QStringLiteral("My Site"));
    NotePlugin *plugin = addNote(document, QStringLiteral("n"), QStringLiteral("Blog"));
    QVERIFY(document.isEdited()); // adding a page is an edit
    std::unique_ptr<QFTextViewPluginClient> taken;
    if (change == QLatin1String("take")) {
        const QString uniqueID = plugin->uniqueID();
        taken = document.takePage(uniqueID);
        QCOMPARE(taken.get(), plugin);
        QVERIFY(!plugin->document());
        QVERIFY(document.pages().isEmpty());
        QVERIFY(!document.takePage(uniqueID));
    }
    if (change == QLatin1String("save and undo")) {
        document.undoStack()->push(new QUndoCommand(QStringLiteral("Edit")));
        document.save(path());
        QVERIFY(document.undoStack()->isClean());
    } else {
        document.setEdited(false);
    }
    QVERIFY(!document.isEdited());
    QSignalSpy spy(&document, &QFSiteDocument::editedChanged);

    if (change == QLatin1String("broadcast") || change == QLatin1String("take"))
        plugin->broadcastPluginChanged();
    else if (change == QLatin1String("title"))
        document.setSiteTitle(QStringLiteral("Other"));
    else if (change == QLatin1String("same title"))
        document.setSiteTitle(QStringLiteral("My Site"));
    else if (change == QLatin1String("undo"))
        document.undoStack()->push(new QUndoCommand(QStringLiteral("Edit")));
    else
        document.undoStack()->undo();

    QCOMPARE(document.isEdited(), edited);
    QCOMPARE(spy.count(), edited ? 1 : 0);
}

void tst_QFSiteDocument::pagesKeepOrderAndGetUniqueIDs()
{
    QFSiteDocument document;
    auto first = std::make_unique<QFTextViewPluginClient>();
    auto second = std::make_unique<QFTextViewPluginClient>();
    first->setUniqueID(QStringLiteral("same"));
    second->setUniqueID(QStringLiteral("same"));
    QFTextViewPluginClient *secondPlugin = second.get();

    document.addPage(std::move(first), QStringLiteral("one.html"), QStringLiteral("One"));
    const QFPage added = document.addPage(std::move(second), QStringLiteral("two.html"), QStringLiteral("Two"),
                                          QStringLiteral("sub"));

    const QList<QFPage> pages = document.pages();
    QCOMPARE(pages.size(), 2);
    QCOMPARE(pages.at(0).fileName, QStringLiteral("one.html"));
    QCOMPARE(pages.at(0).uniqueID, QStringLiteral("same"));
    QCOMPARE(pages.at(1).folder, QStringLiteral("sub"));
    QVERIFY(added.uniqueID != QLatin1String("same"));
    QCOMPARE(secondPlugin->uniqueID(), added.uniqueID);
    QCOMPARE(document.pageForPlugin(secondPlugin)->uniqueID, added.uniqueID);
    QCOMPARE(QFDocumentForPlugin(secondPlugin), &document);
}

void tst_QFSiteDocument::savedDocumentOpensAsSaved()
{
    {
        QFSiteDocument document;
        document.setSiteTitle(QStringLiteral("Field Notes"));
        document.setCommonFileConsolidationMode(2);
        addNote(document, QStringLiteral("first"), QStringLiteral("Alpha"));
        addNote(document, QStringLiteral("second"), QStringLiteral("Beta"));
        document.save(path());
    }
    // A property this host version has no field for survives a round trip.
    QFSiteDocumentData data = QFSiteDocumentReader().open(path());
    data.properties.insert(QStringLiteral("theme"), QStringLiteral("Dusk"));
    QFSiteDocumentWriter().save(data, path());

    const std::unique_ptr<QFSiteDocument> reopened = QFSiteDocument::open(path(), m_registry);
    QCOMPARE(reopened->siteTitle(), QStringLiteral("Field Notes"));
    QVERIFY(reopened->siteBaseURL().isNull());
    QCOMPARE(reopened->commonFileConsolidationMode(), 2);
    QCOMPARE(reopened->filePath(), path());
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
    QCOMPARE(QFSiteDocumentReader().open(path()).properties.value(QStringLiteral("theme")).toString(),
             QStringLiteral("Dusk"));
}

void tst_QFSiteDocument::unreadablePagesRefuseTheWholeDocument_data()
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
}

void tst_QFSiteDocument::unreadablePagesRefuseTheWholeDocument()
{
    QFETCH(QString, pluginName);
    QFETCH(QByteArray, archive);
    QFETCH(QString, expected);

    QFArchiver good;
    good.encodeObject(QStringLiteral("fine"));
    QFSiteDocumentData data;
    data.pages.append(QFStoredPage{QStringLiteral("p1"), 0, QStringLiteral("a"), {}, QStringLiteral("Fine"),
                                   QStringLiteral("Note"), good.data()});
    data.pages.append(QFStoredPage{QStringLiteral("p2"), 1, QStringLiteral("b"), {}, QStringLiteral("Broken"),
                                   pluginName, archive});
    QFSiteDocumentWriter().save(data, path());
    const QByteArray before = contents(path());

    try {
        QFSiteDocument::open(path(), m_registry);
        QFAIL("a page that cannot be read was opened");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Cannot Open Document"));
        for (const QString &part : {QStringLiteral("site.qfsite"), QStringLiteral("Broken"), expected})
            QVERIFY2(e.reason().contains(part), qPrintable(e.reason()));
    }
    QCOMPARE(contents(path()), before);
}

void tst_QFSiteDocument::pageWithoutPluginNameIsNotSaved()
{
    QFSiteDocument document;
    addNote(document, QStringLiteral("n"), QStringLiteral("Orphan"), QString());
    QVERIFY_THROWS_EXCEPTION(QFException, document.save(path()));
    QVERIFY(!QFile::exists(path()));
    QVERIFY(document.isEdited());
    QVERIFY(document.filePath().isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFSiteDocument)
#include "tst_qfsitedocument.moc"

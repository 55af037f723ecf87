#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qftextviewpluginclient.h"

#include <QSignalSpy>
#include <QUndoStack>
#include <QtTest>

class tst_QFSiteDocument : public QObject
{
    Q_OBJECT

private slots:
    void editedFollowsChanges_data();
    void editedFollowsChanges();
    void pageTakenOutNoLongerMarksTheDocument();
    void pagesKeepOrderAndGetUniqueIDs();
    void sitePropertiesByKey();
};

void tst_QFSiteDocument::editedFollowsChanges_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<bool>("edited");

    QTest::newRow("plugin broadcasts") << "broadcast" << true;
    QTest::newRow("site title changes") << "title" << true;
    QTest::newRow("site title set to the same") << "same title" << false;
    QTest::newRow("undoable edit pushed") << "undo" << true;
}

void tst_QFSiteDocument::editedFollowsChanges()
{
    QFETCH(QString, change);
    QFETCH(bool, edited);

    QFSiteDocument document;
    document.setSiteTitle(QStringLiteral("My Site"));
    auto owned = std::make_unique<QFTextViewPluginClient>();
    QFTextViewPluginClient *plugin = owned.get();
    document.addPage(std::move(owned), QStringLiteral("blog.html"), QStringLiteral("Blog"));
    QVERIFY(document.isEdited()); // adding a page is an edit
    document.setEdited(false);    // as after saving
    QSignalSpy spy(&document, &QFSiteDocument::editedChanged);

    if (change == QLatin1String("broadcast"))
        plugin->broadcastPluginChanged();
    else if (change == QLatin1String("title"))
        document.setSiteTitle(QStringLiteral("Other"));
    else if (change == QLatin1String("same title"))
        document.setSiteTitle(QStringLiteral("My Site"));
    else if (change == QLatin1String("undo"))
        document.undoStack()->push(new QUndoCommand(QStringLiteral("Edit")));

    QCOMPARE(document.isEdited(), edited);
    QCOMPARE(spy.count(), edited ? 1 : 0);
}

void tst_QFSiteDocument::pageTakenOutNoLongerMarksTheDocument()
{
    QFSiteDocument document;
    const QFPage page = document.addPage(std::make_unique<QFTextViewPluginClient>(), QStringLiteral("a.html"),
                                         QStringLiteral("A"));
    std::unique_ptr<QFTextViewPluginClient> plugin = document.takePage(page.uniqueID);
    QVERIFY(plugin);
    QVERIFY(!plugin->document());
    QVERIFY(document.pages().isEmpty());
    document.setEdited(false);

    plugin->broadcastPluginChanged();
    QVERIFY(!document.isEdited());
    QVERIFY(!document.takePage(page.uniqueID));
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
    QCOMPARE(pages.at(1).title, QStringLiteral("Two"));
    QCOMPARE(pages.at(1).folder, QStringLiteral("sub"));
    QVERIFY(added.uniqueID != QLatin1String("same"));
    QCOMPARE(secondPlugin->uniqueID(), added.uniqueID);
    QCOMPARE(document.pageForPlugin(secondPlugin)->uniqueID, added.uniqueID);
    QCOMPARE(QFDocumentForPlugin(secondPlugin), &document);
    QVERIFY(!document.pageForUniqueID(QStringLiteral("missing")));
}

void tst_QFSiteDocument::sitePropertiesByKey()
{
    QFSiteDocument document;
    QVERIFY(document.siteTitle().isNull());
    QVERIFY(document.siteBaseURL().isNull());
    QVERIFY(document.setProperty("siteTitle", QStringLiteral("Notes")));
    QVERIFY(document.setProperty("siteBaseURL", QStringLiteral("https://example.org/")));
    QVERIFY(document.setProperty("commonFileConsolidationMode", 1));
    QCOMPARE(document.siteTitle(), QStringLiteral("Notes"));
    QCOMPARE(document.property("siteBaseURL").toString(), QStringLiteral("https://example.org/"));
    QCOMPARE(document.commonFileConsolidationMode(), 1);
}

QTEST_GUILESS_MAIN(tst_QFSiteDocument)
#include "tst_qfsitedocument.moc"

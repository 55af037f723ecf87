// The Blog bundle as the host meets it: the module inside the build tree's
// Blog.qfplugin/ loads with QPluginLoader, and its factory answers from the
// bundle's resources.

#include "qfkit/document/qfpagepluginfactory.h"
#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/support/qfbundle.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>
#include <QTest>
#include <memory>

using FactoryText = QString (QFPagePluginFactory::*)() const;
Q_DECLARE_METATYPE(FactoryText)

namespace {

const QString kBundlePath = QStringLiteral(QF_BLOG_BUNDLE_PATH);

QString modulePath()
{
    const QDir bundle(kBundlePath);
    for (const QFileInfo &entry : bundle.entryInfoList(QDir::Files)) {
        if (QLibrary::isLibrary(entry.fileName()))
            return entry.absoluteFilePath();
    }
    return QString();
}

} // namespace

class TestQFBlogPluginFactory final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void moduleDeclaresThePagePluginInterface();
    void initializeClassTakesTheFirstBundleOnly();
    void textAnswerComesFromTheStringTable_data();
    void textAnswerComesFromTheStringTable();
    void iconIsTheBundleImage();
    void exportFilesAreTheSharedImages();
    void createsABlogPage();

private:
    QPluginLoader m_loader;
    QFPagePluginFactory *m_factory = nullptr;
    bool m_firstInitialize = false;
    bool m_secondInitialize = true;
};

void TestQFBlogPluginFactory::initTestCase()
{
    const QString path = modulePath();
    QVERIFY2(!path.isEmpty(), qPrintable(kBundlePath + QStringLiteral(" holds no module")));
    m_loader.setFileName(path);
    QVERIFY2(m_loader.load(), qPrintable(m_loader.errorString()));
    m_factory = qobject_cast<QFPagePluginFactory *>(m_loader.instance());
    QVERIFY2(m_factory, "the module's instance is no page plugin factory");

    // The host's sequence: initialise once with the bundle, then ask.
    m_firstInitialize = m_factory->initializeClass(QFBundle(kBundlePath));
    m_secondInitialize = m_factory->initializeClass(QFBundle(QDir::tempPath()));
}

void TestQFBlogPluginFactory::moduleDeclaresThePagePluginInterface()
{
    // The host can tell a page plugin from any other Qt plugin without
    // loading it.
    QCOMPARE(m_loader.metaData().value(QStringLiteral("IID")).toString(), QStringLiteral(QFPagePluginFactory_iid));
}

void TestQFBlogPluginFactory::initializeClassTakesTheFirstBundleOnly()
{
    QVERIFY(m_firstInitialize);
    QVERIFY(!m_secondInitialize);
    // Still the first bundle: its shared files are the ones exported.
    const QStringList files = m_factory->extraFilesNeededInExportFolder();
    QVERIFY(!files.isEmpty());
    QVERIFY2(QFileInfo(files.first()).absoluteFilePath().startsWith(QDir(kBundlePath).absolutePath()),
             qPrintable(files.first()));
}

void TestQFBlogPluginFactory::textAnswerComesFromTheStringTable_data()
{
    QTest::addColumn<FactoryText>("question");
    QTest::addColumn<QString>("lookupKey");

    QTest::newRow("name") << &QFPagePluginFactory::pluginName << "PluginName";
    QTest::newRow("description") << &QFPagePluginFactory::pluginDescription << "PluginDescription";
    QTest::newRow("author") << &QFPagePluginFactory::pluginAuthor << QString();
}

void TestQFBlogPluginFactory::textAnswerComesFromTheStringTable()
{
    QFETCH(FactoryText, question);
    QFETCH(QString, lookupKey);

    const QString answer = (m_factory->*question)();
    QVERIFY(!answer.trimmed().isEmpty());
    if (!lookupKey.isEmpty()) {
        // A key coming back means the module did not find its string table.
        QVERIFY2(answer != lookupKey, qPrintable(answer));
        QCOMPARE(answer, QFBundle(kBundlePath).localizedString(lookupKey));
    }
}

void TestQFBlogPluginFactory::iconIsTheBundleImage()
{
    const QImage icon = m_factory->pluginIcon();
    QVERIFY(!icon.isNull());
    QCOMPARE(icon.size(), QImage(kBundlePath + QStringLiteral("/Resources/Icon_Blog_Large.png")).size());
}

void TestQFBlogPluginFactory::exportFilesAreTheSharedImages()
{
    // Every page links these by name next to its files; a missing one is a
    // broken image on the published site.
    const QStringList files = m_factory->extraFilesNeededInExportFolder();
    QStringList names;
    for (const QString &file : files) {
        QVERIFY2(QFileInfo(file).isAbsolute(), qPrintable(file));
        QVERIFY2(QFileInfo::exists(file), qPrintable(file));
        names << QFileInfo(file).fileName();
    }
    QCOMPARE(names, (QStringList{QStringLiteral("rss.gif"), QStringLiteral("smiley_smile.png"),
                                 QStringLiteral("smiley_wink.png"), QStringLiteral("smiley_embarrassed.png"),
                                 QStringLiteral("smiley_laugh.png"), QStringLiteral("smiley_gasp.png"),
                                 QStringLiteral("smiley_footinmouth.png"), QStringLiteral("smiley_angry.png"),
                                 QStringLiteral("smiley_sad.png")}));
}

void TestQFBlogPluginFactory::createsABlogPage()
{
    std::unique_ptr<QFTextViewPluginClient> plugin(m_factory->createPlugin());
    QVERIFY(plugin);
    QCOMPARE(plugin->metaObject()->className(), "QFBlogPlugin");
    // A new page starts with the bundle's texts, not their keys.
    QCOMPARE(plugin->property("rssTitle").toString(), QFBundle(kBundlePath).localizedString(QStringLiteral("MyRSSFeed")));
    QCOMPARE(plugin->property("rssLanguage").toString(),
             QFBundle(kBundlePath).localizedString(QStringLiteral("defaultLanguage")));
}

QTEST_GUILESS_MAIN(TestQFBlogPluginFactory)
#include "tst_qfblogpluginfactory.moc"

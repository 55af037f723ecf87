// The module inside the build tree's Blog.qfplugin/ loads with QPluginLoader,
// and its factory answers from the bundle's resources.

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

namespace {

const QString kBundlePath = QStringLiteral(QF_BLOG_BUNDLE_PATH);

QString modulePath()
{
    for (const QFileInfo &entry : QDir(kBundlePath).entryInfoList(QDir::Files)) {
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
    void loadsAndInitializesOnce();
    void answersFromTheBundle();
    void exportFilesAreTheSharedImages();

private:
    QPluginLoader m_loader;
    QFPagePluginFactory *m_factory = nullptr;
};

void TestQFBlogPluginFactory::loadsAndInitializesOnce()
{
    const QString path = modulePath();
    QVERIFY2(!path.isEmpty(), qPrintable(kBundlePath + QStringLiteral(" holds no module")));
    m_loader.setFileName(path);
    QCOMPARE(m_loader.metaData().value(QStringLiteral("IID")).toString(), QStringLiteral(QFPagePluginFactory_iid));
    QVERIFY2(m_loader.load(), qPrintable(m_loader.errorString()));
    m_factory = qobject_cast<QFPagePluginFactory *>(m_loader.instance());
    QVERIFY2(m_factory, "the module's instance is no page plugin factory");

    QVERIFY(m_factory->initializeClass(QFBundle(kBundlePath)));
    QVERIFY(!m_factory->initializeClass(QFBundle(QDir::tempPath()))); // the first bundle stays
}

void TestQFBlogPluginFactory::answersFromTheBundle()
{
    QVERIFY(m_factory);
    const QFBundle bundle(kBundlePath);
    // A key coming back means the module did not find its string table.
    QCOMPARE(m_factory->pluginName(), bundle.localizedString(QStringLiteral("PluginName")));
    QVERIFY(m_factory->pluginName() != QLatin1String("PluginName"));
    QCOMPARE(m_factory->pluginDescription(), bundle.localizedString(QStringLiteral("PluginDescription")));
    QVERIFY(!m_factory->pluginAuthor().trimmed().isEmpty());
    const QImage icon = m_factory->pluginIcon();
    QVERIFY(!icon.isNull());
    QCOMPARE(icon.size(), QImage(kBundlePath + QStringLiteral("/Resources/Icon_Blog_Large.png")).size());

    std::unique_ptr<QFTextViewPluginClient> plugin(m_factory->createPlugin());
    QVERIFY(plugin);
    QCOMPARE(plugin->metaObject()->className(), "QFBlogPlugin");
    // A new page starts with the bundle's texts, not their keys.
    QCOMPARE(plugin->property("rssTitle").toString(), bundle.localizedString(QStringLiteral("MyRSSFeed")));
    QCOMPARE(plugin->property("rssLanguage").toString(), bundle.localizedString(QStringLiteral("defaultLanguage")));
}

void TestQFBlogPluginFactory::exportFilesAreTheSharedImages()
{
    QVERIFY(m_factory);
    // Files inside the bundle, all of them present.
    QStringList names;
    for (const QString &file : m_factory->extraFilesNeededInExportFolder()) {
        QVERIFY2(QFileInfo(file).absoluteFilePath().startsWith(QDir(kBundlePath).absolutePath()), qPrintable(file));
        QVERIFY2(QFileInfo::exists(file), qPrintable(file));
        names << QFileInfo(file).fileName();
    }
    QCOMPARE(names, (QStringList{"rss.gif", "smiley_smile.png", "smiley_wink.png", "smiley_embarrassed.png",
                                 "smiley_laugh.png", "smiley_gasp.png", "smiley_footinmouth.png", "smiley_angry.png",
                                 "smiley_sad.png"}));
}

QTEST_GUILESS_MAIN(TestQFBlogPluginFactory)
#include "tst_qfblogpluginfactory.moc"

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
    void createsABlogPage();

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
    QVERIFY(!m_factory->initializeClass(QFBundle(QDir::tempPath())));
    const QStringList files = m_factory->extraFilesNeededInExportFolder();
    QVERIFY(!files.isEmpty());
    QVERIFY2(QFileInfo(files.first()).absoluteFilePath().startsWith(QDir(kBundlePath).absolutePath()),
             qPrintable(files.first()));
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
}

void TestQFBlogPluginFactory::exportFilesAreTheSharedImages()
{
    QVERIFY(m_factory);
    QStringList names;
    for (const QString &file : m_factory->extraFilesNeededInExportFolder()) {
        QVERIFY2(QFileInfo(file).isAbsolute() && QFileInfo::exists(file), qPrintable(file));
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
    QVERIFY(m_factory);
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

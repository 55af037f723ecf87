// Finding and loading page plugin bundles in a plugins folder. The plugin
// used is the Blog bundle of the build tree, copied into a temporary plugins
// folder beside bundles that must be skipped.

#include "qfkit/document/qfpagepluginfactory.h"
#include "qfkit/document/qfpluginbundleloader.h"
#include "qfkit/support/qflog.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QLibraryInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString kBlogBundle = QStringLiteral(QF_BLOG_BUNDLE_PATH);

bool copyFolder(const QString &from, const QString &to)
{
    QDirIterator it(from, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        const QString target = to + source.mid(from.size());
        if (!QDir().mkpath(QFileInfo(target).absolutePath()) || !QFile::copy(source, target))
            return false;
    }
    return true;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QString firstLibrary(const QString &folder)
{
    for (const QString &name : QDir(folder).entryList(QDir::Files, QDir::Name)) {
        if (QLibrary::isLibrary(name))
            return QDir(folder).absoluteFilePath(name);
    }
    return QString();
}

} // namespace

class TestQFPluginBundleLoader final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void skipsWhatIsNoPagePlugin_data();
    void skipsWhatIsNoPagePlugin();
    void loadsTheBundleWithItsOwnResources();

private:
    QTemporaryDir m_plugins;
    QList<QFPluginBundleLoader::Plugin> m_loaded;
    QStringList m_errors;
    QStringList m_logLines;
};

void TestQFPluginBundleLoader::initTestCase()
{
    if (firstLibrary(kBlogBundle).isEmpty())
        QSKIP("the Blog bundle's module is not built");
    QVERIFY(m_plugins.isValid());
    const QString root = m_plugins.path();

    QVERIFY(copyFolder(kBlogBundle, root + QStringLiteral("/Blog.qfplugin")));
    // Skipped, with a reason:
    QVERIFY(QDir().mkpath(root + QStringLiteral("/Empty.qfplugin/Resources")));
    QVERIFY(writeFile(root + QStringLiteral("/Garbled.qfplugin/libgarbled.so"), QByteArray(4096, '\x7f')));
    // A Qt plugin that is no page plugin: one of Qt's own image format plugins.
    const QString foreign = firstLibrary(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/imageformats"));
    QVERIFY2(!foreign.isEmpty(), "no Qt image format plugin installed");
    QVERIFY(QDir().mkpath(root + QStringLiteral("/Other.qfplugin")));
    QVERIFY(QFile::copy(foreign, root + QStringLiteral("/Other.qfplugin/") + QFileInfo(foreign).fileName()));
    // Ignored without a word:
    QVERIFY(copyFolder(kBlogBundle, root + QStringLiteral("/NoSuffix")));
    QVERIFY(writeFile(root + QStringLiteral("/Stray.qfplugin"), "not a folder"));

    QFLogCapture log;
    QFPluginBundleLoader loader(root);
    m_loaded = loader.loadAll();
    m_errors = loader.errors();
    m_logLines = log.lines();
}

void TestQFPluginBundleLoader::skipsWhatIsNoPagePlugin_data()
{
    QTest::addColumn<QString>("bundle");
    QTest::addColumn<QString>("reason");

    QTest::newRow("no module") << "Empty.qfplugin" << "no plugin module";
    QTest::newRow("garbled module") << "Garbled.qfplugin" << "not a Qt plugin";
    QTest::newRow("another kind of Qt plugin") << "Other.qfplugin" << "another kind";
}

void TestQFPluginBundleLoader::skipsWhatIsNoPagePlugin()
{
    QFETCH(QString, bundle);
    QFETCH(QString, reason);

    const QString path = QDir(m_plugins.path()).absoluteFilePath(bundle);
    const QStringList mine = m_errors.filter(QStringLiteral("bundle %1 ").arg(path));
    QVERIFY2(mine.size() == 1, qPrintable(m_errors.join(QLatin1Char('\n'))));
    QVERIFY2(mine.first().contains(reason), qPrintable(mine.first()));
    // The same reason reaches the log, where the command line shows it.
    QVERIFY(m_logLines.contains(mine.first()));
    for (const QFPluginBundleLoader::Plugin &plugin : m_loaded)
        QVERIFY(plugin.bundle.bundlePath() != path);
}

void TestQFPluginBundleLoader::loadsTheBundleWithItsOwnResources()
{
    QCOMPARE(m_errors.size(), 3);
    QCOMPARE(m_loaded.size(), 1);
    const QFPluginBundleLoader::Plugin &blog = m_loaded.first();
    QVERIFY(blog.factory);
    QVERIFY(blog.initializedHere);
    QCOMPARE(blog.bundle.bundlePath(), QDir(m_plugins.path()).absoluteFilePath(QStringLiteral("Blog.qfplugin")));
    QVERIFY(blog.modulePath.startsWith(blog.bundle.bundlePath() + QLatin1Char('/')));

    // The factory answers from the bundle it was handed, not from the build tree.
    QCOMPARE(blog.factory->pluginName(), blog.bundle.localizedString(QStringLiteral("PluginName")));
    QVERIFY(blog.factory->pluginName() != QLatin1String("PluginName"));
    const QStringList files = blog.factory->extraFilesNeededInExportFolder();
    QVERIFY(!files.isEmpty());
    for (const QString &file : files)
        QVERIFY2(file.startsWith(blog.bundle.resourcePath() + QLatin1Char('/')), qPrintable(file));

    QFPluginBundleLoader missing(m_plugins.path() + QStringLiteral("/does-not-exist"));
    QVERIFY(missing.loadAll().isEmpty());
    QVERIFY(missing.errors().isEmpty());
}

QTEST_GUILESS_MAIN(TestQFPluginBundleLoader)
#include "tst_qfpluginbundleloader.moc"

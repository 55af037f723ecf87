#include "qfkit/support/qffilereference.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

void touch(const QString &path)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

// Changes the files below a folder holding site/Blog.qfsite and
// site/media/episode 1.mp3; gives the document's path afterwards, relative
// to that folder.
using Change = std::function<QString(QDir root)>;

} // namespace

Q_DECLARE_METATYPE(Change)

class tst_QFFileReference : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QFFileReference::registerCodingClass(); }
    void init();
    void resolveRelativeTo_data();
    void resolveRelativeTo();
    void propertyList_data();
    void propertyList();
    void archives();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_document; // <tmp>/site/Blog.qfsite
    QString m_podcast;  // <tmp>/site/media/episode 1.mp3
};

void tst_QFFileReference::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_document = m_dir->filePath(QStringLiteral("site/Blog.qfsite"));
    m_podcast = m_dir->filePath(QStringLiteral("site/media/episode 1.mp3"));
    touch(m_document);
    touch(m_podcast);
}

void tst_QFFileReference::resolveRelativeTo_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("expected"); // relative to the temporary folder

    const QString site = QStringLiteral("site/Blog.qfsite");
    const QString failed = QStringLiteral("(the change failed)");
    const auto moveSite = [](QDir root) { return root.rename(QStringLiteral("site"), QStringLiteral("moved")); };
    QTest::newRow("nothing changed") << Change([=](QDir ) { return site; }) << "site/media/episode 1.mp3";
    QTest::newRow("site folder moved") << Change([=](QDir root) {
        return moveSite(root) ? QStringLiteral("moved/Blog.qfsite") : failed;
    }) << "moved/media/episode 1.mp3";
    QTest::newRow("site folder copied: the copy's file") << Change([](QDir root) {
        touch(root.filePath(QStringLiteral("copy/Blog.qfsite")));
        touch(root.filePath(QStringLiteral("copy/media/episode 1.mp3")));
        return QStringLiteral("copy/Blog.qfsite");
    }) << "copy/media/episode 1.mp3";
    QTest::newRow("document moved alone") << Change([=](QDir root) {
        return root.rename(site, QStringLiteral("elsewhere.qfsite")) ? QStringLiteral("elsewhere.qfsite") : failed;
    }) << "site/media/episode 1.mp3";
    QTest::newRow("file gone: relative resolution") << Change([=](QDir root) {
        return moveSite(root) && root.remove(QStringLiteral("moved/media/episode 1.mp3")) ? QStringLiteral("moved/Blog.qfsite")
                                                                                          : failed;
    }) << "moved/media/episode 1.mp3";
    QTest::newRow("no document path") << Change([](QDir ) { return QString(); }) << "site/media/episode 1.mp3";
}

void tst_QFFileReference::resolveRelativeTo()
{
    QFETCH(Change, change);
    QFETCH(QString, expected);

    const QFFileReference reference(m_podcast, m_document);
    const QString document = change(QDir(m_dir->path()));
    QCOMPARE(reference.resolveRelativeTo(document.isEmpty() ? QString() : m_dir->filePath(document)),
             m_dir->filePath(expected));
}

void tst_QFFileReference::propertyList_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("absolutePath");
    QTest::addColumn<QString>("relativePath");

    const QString a = QStringLiteral("absolutePath");
    const QString r = QStringLiteral("relativePath");
    QTest::newRow("both paths") << QVariantMap{{a, "/x/site/a.mp3"}, {r, "a.mp3"}} << true << "/x/site/a.mp3"
                                << "a.mp3";
    QTest::newRow("absolute only") << QVariantMap{{a, "/x/a.mp3"}} << true << "/x/a.mp3" << "";
    QTest::newRow("empty map") << QVariantMap{} << false << "" << "";
    QTest::newRow("one path of wrong type") << QVariantMap{{a, 12}, {r, "a.mp3"}} << true << "" << "a.mp3";
}

void tst_QFFileReference::propertyList()
{
    QFETCH(QVariantMap, map);
    QFETCH(bool, valid);
    QFETCH(QString, absolutePath);
    QFETCH(QString, relativePath);

    const QFFileReferencePtr reference = QFFileReference::fromPropertyList(map);
    QCOMPARE(bool(reference), valid);
    if (!reference)
        return;
    QCOMPARE(reference->absolutePath(), absolutePath);
    QCOMPARE(reference->relativePath(), relativePath);
    const QFFileReferencePtr again = QFFileReference::fromPropertyList(reference->propertyList());
    QVERIFY(again);
    QCOMPARE(*again, *reference);
}

// Inside a post dictionary with values after it, and without a document in
// a keyed archive: all comes back, and the moved site still finds the file.
void tst_QFFileReference::archives()
{
    const auto reference = std::make_shared<QFFileReference>(m_podcast, m_document);
    QFArchiver archiver;
    archiver.encodeObject(QVariantMap{{QStringLiteral("podcastReference"), QFCodingSupport::variantFromObject(reference)}});
    archiver.encodeObject(QVariant(QStringLiteral("after")));
    QVERIFY(QDir(m_dir->path()).rename(QStringLiteral("site"), QStringLiteral("moved")));

    QFUnarchiver unarchiver(archiver.data());
    const QVariantMap post = unarchiver.decodeObject().toMap();
    const auto back = QFCodingSupport::objectOfClass<QFFileReference>(post.value(QStringLiteral("podcastReference")));
    QVERIFY(back);
    QCOMPARE(*back, *reference);
    QCOMPARE(unarchiver.decodeObject().toString(), QStringLiteral("after"));
    QCOMPARE(back->resolveRelativeTo(m_dir->filePath(QStringLiteral("moved/Blog.qfsite"))),
             m_dir->filePath(QStringLiteral("moved/media/episode 1.mp3")));

    const auto withoutDocument = std::make_shared<QFFileReference>(m_podcast);
    const auto keyed = QFCodingSupport::objectOfClass<QFFileReference>(QFKeyedUnarchiver::unarchiveObjectWithData(
        QFKeyedArchiver::archivedDataWithRootObject(QFCodingSupport::variantFromObject(withoutDocument))));
    QVERIFY(keyed);
    QCOMPARE(*keyed, *withoutDocument);
    QVERIFY(keyed->relativePath().isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFFileReference)
#include "tst_qffilereference.moc"

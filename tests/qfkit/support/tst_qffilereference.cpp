#include "qfkit/support/qffilereference.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <QTemporaryDir>
#include <QtTest>

class tst_QFFileReference : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void resolveRelativeTo_data();
    void resolveRelativeTo();
    void propertyList_data();
    void propertyList();
    void archives();

private:
    static void touch(const QString &path);
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_site;     // <tmp>/site
    QString m_document; // <tmp>/site/Blog.qfsite
    QString m_podcast;  // <tmp>/site/media/episode 1.mp3
};

enum class Change {
    Nothing,
    SiteFolderMoved,     // the whole site folder renamed
    SiteFolderCopied,    // both the old and the new copy exist
    DocumentMovedAlone,  // media stayed where they were
    FileDeleted,         // the file exists nowhere
    NoDocumentPath,      // resolved without a document
};
Q_DECLARE_METATYPE(Change)

void tst_QFFileReference::initTestCase()
{
    QFFileReference::registerCodingClass();
}

void tst_QFFileReference::touch(const QString &path)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("data");
}

void tst_QFFileReference::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_site = m_dir->filePath(QStringLiteral("site"));
    m_document = m_site + QStringLiteral("/Blog.qfsite");
    m_podcast = m_site + QStringLiteral("/media/episode 1.mp3");
    touch(m_document);
    touch(m_podcast);
}

void tst_QFFileReference::resolveRelativeTo_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("expected"); // relative to the temporary folder

    QTest::newRow("nothing changed") << Change::Nothing << "site/media/episode 1.mp3";
    QTest::newRow("site folder moved") << Change::SiteFolderMoved << "moved/media/episode 1.mp3";
    QTest::newRow("site folder copied: the copy's file") << Change::SiteFolderCopied << "copy/media/episode 1.mp3";
    QTest::newRow("document moved alone") << Change::DocumentMovedAlone << "site/media/episode 1.mp3";
    QTest::newRow("file gone: relative resolution") << Change::FileDeleted << "moved/media/episode 1.mp3";
    QTest::newRow("no document path") << Change::NoDocumentPath << "site/media/episode 1.mp3";
}

void tst_QFFileReference::resolveRelativeTo()
{
    QFETCH(Change, change);
    QFETCH(QString, expected);

    const QFFileReference reference(m_podcast, m_document);
    QString documentNow = m_document;
    switch (change) {
    case Change::Nothing:
        break;
    case Change::SiteFolderMoved:
        QVERIFY(QDir().rename(m_site, m_dir->filePath(QStringLiteral("moved"))));
        documentNow = m_dir->filePath(QStringLiteral("moved/Blog.qfsite"));
        break;
    case Change::SiteFolderCopied:
        touch(m_dir->filePath(QStringLiteral("copy/Blog.qfsite")));
        touch(m_dir->filePath(QStringLiteral("copy/media/episode 1.mp3")));
        documentNow = m_dir->filePath(QStringLiteral("copy/Blog.qfsite"));
        break;
    case Change::DocumentMovedAlone:
        QVERIFY(QFile::rename(m_document, m_dir->filePath(QStringLiteral("elsewhere.qfsite"))));
        documentNow = m_dir->filePath(QStringLiteral("elsewhere.qfsite"));
        break;
    case Change::FileDeleted:
        QVERIFY(QDir().rename(m_site, m_dir->filePath(QStringLiteral("moved"))));
        QVERIFY(QFile::remove(m_dir->filePath(QStringLiteral("moved/media/episode 1.mp3"))));
        documentNow = m_dir->filePath(QStringLiteral("moved/Blog.qfsite"));
        break;
    case Change::NoDocumentPath:
        documentNow.clear();
        break;
    }
    QCOMPARE(reference.resolveRelativeTo(documentNow), m_dir->filePath(expected));
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
    QVERIFY(QDir().rename(m_site, m_dir->filePath(QStringLiteral("moved"))));

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

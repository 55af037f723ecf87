#include "blog/model/qfblogmodel.h"
#include "blog/model/qfblogtag.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <QSet>
#include <QtTest>

class tst_QFBlogTag : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void tagsDifferingInCaseAreDifferent();
    void dictionaryForm_data();
    void dictionaryForm();
    void hrefWithParams_data();
    void hrefWithParams();
    void archiveRoundTrips();
};

void tst_QFBlogTag::initTestCase()
{
    QFBlogModel::registerCodingClasses();
}

void tst_QFBlogTag::tagsDifferingInCaseAreDifferent()
{
    const QFBlogTag upper(QStringLiteral("News"));
    const QFBlogTag lower(QStringLiteral("news"));
    QVERIFY(!(upper == lower));
    QSet<QFBlogTag> set{upper, lower, QFBlogTag(QStringLiteral("News"))};
    QCOMPARE(set.size(), 2);
    // Different tags, but their pages would share a file name.
    QCOMPARE(upper.hrefFilenameBasename(), lower.hrefFilenameBasename());
}

void tst_QFBlogTag::dictionaryForm_data()
{
    QTest::addColumn<QVariantMap>("dictionary");
    QTest::addColumn<QString>("name");

    QTest::newRow("name") << QVariantMap{{QStringLiteral("tagName"), QStringLiteral("Travel")}}
                          << QStringLiteral("Travel");
    QTest::newRow("no tagName: no name") << QVariantMap{} << QString();
    QTest::newRow("tagName not a string: no name") << QVariantMap{{QStringLiteral("tagName"), 12}} << QString();
}

void tst_QFBlogTag::dictionaryForm()
{
    QFETCH(QVariantMap, dictionary);
    QFETCH(QString, name);
    const QFBlogTag tag = QFBlogTag::tagWithDictionary(dictionary);
    QCOMPARE(tag.tagName(), name);
    QCOMPARE(QFBlogTag::tagWithDictionary(tag.dictionaryForEncoding()), tag);
}

void tst_QFBlogTag::hrefWithParams_data()
{
    QTest::addColumn<QString>("subpage");
    QTest::addColumn<int>("depthCorrection");
    QTest::addColumn<QString>("href");

    QTest::newRow("main page: into the files folder") << QString() << 0 << QStringLiteral("blog_files/tag-caf-creme.html");
    QTest::newRow("inside the files folder: sibling") << QString() << 1 << QStringLiteral("tag-caf-creme.html");
    QTest::newRow("sub-page forces the bare name") << QStringLiteral("YES") << 0 << QStringLiteral("tag-caf-creme.html");
}

void tst_QFBlogTag::hrefWithParams()
{
    QFETCH(QString, subpage);
    QFETCH(int, depthCorrection);
    QFETCH(QString, href);

    QVariantMap params{{QStringLiteral("FilenameExt"), QStringLiteral("html")},
                       {QStringLiteral("filesfoldername"), QStringLiteral("blog_files")}};
    if (!subpage.isNull())
        params.insert(QStringLiteral("subpage"), subpage);
    // Accents are folded and the blank becomes one "-" in the file name.
    const QFBlogTag tag(QStringLiteral("Caf Crème"));
    QCOMPARE(tag.hrefWithParams(params, depthCorrection), href);
}

void tst_QFBlogTag::archiveRoundTrips()
{
    const QFBlogTag tag(QStringLiteral("Podcasts"));

    QFArchiver archiver;
    archiver.encodeObject(tag);
    QFUnarchiver unarchiver(archiver.data());
    const auto sequential = QFCodingSupport::objectOfClass<QFBlogTag>(unarchiver.decodeObject());
    QVERIFY(sequential);
    QCOMPARE(*sequential, tag);

    const auto keyed = QFCodingSupport::objectOfClass<QFBlogTag>(
        QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(tag)));
    QVERIFY(keyed);
    QCOMPARE(*keyed, tag);
}

QTEST_GUILESS_MAIN(tst_QFBlogTag)
#include "tst_qfblogtag.moc"

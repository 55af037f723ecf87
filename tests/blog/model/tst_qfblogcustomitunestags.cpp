#include "blog/model/qfblogcustomitunestags.h"
#include "blog/model/qfblogmodel.h"
#include "blog/model/qfblognotifier.h"
#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"

#include <QSignalSpy>
#include <QtTest>

class tst_QFBlogCustomiTunesTags : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void propertyList_data();
    void propertyList();
    void explicitIsLostThroughThePropertyList();
    void archiveRoundTrips_data();
    void archiveRoundTrips();
    void olderArchivesReadConvertImageFalse_data();
    void olderArchivesReadConvertImageFalse();
    void imageChangesPost();
};

namespace {
// An archive as an older version wrote it: only the keys or values given.
class OlderTags final : public QFCoding
{
public:
    QVariantMap keyed;
    QVariantList sequential;
    QString codingClassName() const override { return QStringLiteral("QFBlogCustomiTunesTags"); }
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override
    {
        for (auto it = keyed.cbegin(); it != keyed.cend(); ++it)
            coder.encodeObject(it.value(), it.key());
    }
    void encodeWithCoder(QFArchiver &coder) const override
    {
        for (const QVariant &value : sequential)
            coder.encodeObject(value);
    }
};
} // namespace

void tst_QFBlogCustomiTunesTags::initTestCase()
{
    QFBlogModel::registerCodingClasses();
}

void tst_QFBlogCustomiTunesTags::propertyList_data()
{
    QTest::addColumn<QVariantMap>("set");          // property -> value
    QTest::addColumn<QVariant>("expected");        // null: no property list at all

    QTest::newRow("fresh: nothing") << QVariantMap{} << QVariant();
    QTest::newRow("only explicit: the misspelt key")
        << QVariantMap{{QStringLiteral("explicit"), true}}
        << QVariant(QVariantMap{{QStringLiteral("IsExpicit"), true}});
    QTest::newRow("convertImage alone is not written")
        << QVariantMap{{QStringLiteral("convertImage"), false}} << QVariant();
    QTest::newRow("empty strings left out, blocked and duration in")
        << QVariantMap{{QStringLiteral("author"), QStringLiteral("Ann")},
                       {QStringLiteral("subtitle"), QString(QLatin1String(""))},
                       {QStringLiteral("duration"), 300},
                       {QStringLiteral("block"), true}}
        << QVariant(QVariantMap{{QStringLiteral("Author"), QStringLiteral("Ann")},
                                {QStringLiteral("Duration"), 300},
                                {QStringLiteral("IsBlocked"), true}});
}

void tst_QFBlogCustomiTunesTags::propertyList()
{
    QFETCH(QVariantMap, set);
    QFETCH(QVariant, expected);
    const auto tags = QFBlogCustomiTunesTags::tags();
    for (auto it = set.cbegin(); it != set.cend(); ++it)
        QVERIFY(tags->setProperty(it.key().toLatin1().constData(), it.value()));
    const std::optional<QVariantMap> list = tags->propertyList();
    QCOMPARE(list.has_value(), !expected.isNull());
    if (list)
        QCOMPARE(*list, expected.toMap());
}

void tst_QFBlogCustomiTunesTags::explicitIsLostThroughThePropertyList()
{
    const auto tags = QFBlogCustomiTunesTags::tags();
    tags->setExplicit(true);
    tags->setBlock(true);
    tags->setKeywords(QStringLiteral("news, weekly"));
    const auto read = QFBlogCustomiTunesTags::iTunesTagsWithPropertyList(QVariant(*tags->propertyList()),
                                                                        QByteArray("PNG"));
    QVERIFY(!read->isExplicit()); // written "IsExpicit", read "IsExplicit"
    QVERIFY(read->block());
    QCOMPARE(read->keywords(), QStringLiteral("news, weekly"));
    QCOMPARE(read->imageData(), QByteArray("PNG"));

    // The reader's own spelling does set it.
    const auto spelled = QFBlogCustomiTunesTags::iTunesTagsWithPropertyList(
        QVariant(QVariantMap{{QStringLiteral("IsExplicit"), true}}), QByteArray());
    QVERIFY(spelled->isExplicit());
    QVERIFY(spelled->imageData().isNull());
}

void tst_QFBlogCustomiTunesTags::archiveRoundTrips_data()
{
    QTest::addColumn<bool>("keyed");
    QTest::newRow("keyed") << true;
    QTest::newRow("sequential") << false;
}

void tst_QFBlogCustomiTunesTags::archiveRoundTrips()
{
    QFETCH(bool, keyed);
    const auto tags = QFBlogCustomiTunesTags::tags();
    tags->setAuthor(QStringLiteral("Ann"));
    tags->setOwnerEmail(QStringLiteral("ann@example.org"));
    tags->setOwnerName(QStringLiteral("Ann B."));
    tags->setCategory(QStringLiteral("Arts"));
    tags->setKeywords(QStringLiteral("k"));
    tags->setSubtitle(QStringLiteral("s"));
    tags->setSummary(QStringLiteral("Long summary"));
    tags->setImageData(QByteArray("\x89PNG", 4));
    tags->setDuration(qint64(1234));
    tags->setExplicit(true);
    tags->setConvertImage(false);

    QFCodingPtr read;
    if (keyed) {
        read = QFCodingSupport::objectFromVariant(
            QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(*tags)));
    } else {
        QFArchiver archiver;
        archiver.encodeObject(*tags);
        archiver.encodeObject(QStringLiteral("after"));
        QFUnarchiver unarchiver(archiver.data());
        read = QFCodingSupport::objectFromVariant(unarchiver.decodeObject());
        QCOMPARE(unarchiver.decodeObject().toString(), QStringLiteral("after"));
    }
    const auto copy = std::dynamic_pointer_cast<QFBlogCustomiTunesTags>(read);
    QVERIFY(copy);
    QVERIFY(copy->isEqual(*tags));
}

void tst_QFBlogCustomiTunesTags::olderArchivesReadConvertImageFalse_data()
{
    QTest::addColumn<bool>("keyed");
    QTest::newRow("keyed without convertImage") << true;
    QTest::newRow("sequential cut after block") << false;
}

void tst_QFBlogCustomiTunesTags::olderArchivesReadConvertImageFalse()
{
    QFETCH(bool, keyed);
    OlderTags older;
    older.keyed = {{QStringLiteral("author"), QStringLiteral("Ann")}, {QStringLiteral("explicit"), true}};
    older.sequential = {QStringLiteral("Ann"), QVariant(), QVariant(), QVariant(), QVariant(), QVariant(),
                        QVariant(), QVariant(), QVariant(), true, false};

    QFCodingPtr read;
    if (keyed) {
        read = QFCodingSupport::objectFromVariant(
            QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(older)));
    } else {
        QFArchiver archiver;
        archiver.encodeObject(older);
        QFUnarchiver unarchiver(archiver.data());
        read = QFCodingSupport::objectFromVariant(unarchiver.decodeObject());
    }
    const auto tags = std::dynamic_pointer_cast<QFBlogCustomiTunesTags>(read);
    QVERIFY(tags);
    QCOMPARE(tags->author(), QStringLiteral("Ann"));
    QVERIFY(tags->isExplicit());
    QVERIFY(!tags->convertImage()); // the default would be true
    // Missing strings stay absent, which reads as empty.
    QVERIFY(tags->ownerName().isNull());
    QVERIFY(tags->summary().isEmpty());
}

void tst_QFBlogCustomiTunesTags::imageChangesPost()
{
    const auto tags = QFBlogCustomiTunesTags::tags();
    QSignalSpy spy(QFBlogNotifier::instance(), &QFBlogNotifier::customTagDidChange);

    tags->setAuthor(QStringLiteral("Ann")); // other values post nothing
    QCOMPARE(spy.size(), 0);
    tags->setProperty("imageData", QByteArray("img"));
    tags->removeImageData();
    QCOMPARE(spy.size(), 2);
    QCOMPARE(spy.at(1).at(0).value<QObject *>(), tags.get());
    QVERIFY(tags->imageData().isNull());
}

QTEST_GUILESS_MAIN(tst_QFBlogCustomiTunesTags)
#include "tst_qfblogcustomitunestags.moc"

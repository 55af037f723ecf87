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
    void archiveRoundTrips();
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

QFCodingPtr throughArchive(const QFCoding &object, bool keyed)
{
    if (keyed)
        return QFCodingSupport::objectFromVariant(
            QFKeyedUnarchiver::unarchiveObjectWithData(QFKeyedArchiver::archivedDataWithRootObject(object)));
    QFArchiver archiver;
    archiver.encodeObject(object);
    QFUnarchiver unarchiver(archiver.data());
    return QFCodingSupport::objectFromVariant(unarchiver.decodeObject());
}
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

    const auto spelled = QFBlogCustomiTunesTags::iTunesTagsWithPropertyList(
        QVariant(QVariantMap{{QStringLiteral("IsExplicit"), true}}), QByteArray());
    QVERIFY(spelled->isExplicit());
    QVERIFY(spelled->imageData().isNull());
}

void tst_QFBlogCustomiTunesTags::archiveRoundTrips()
{
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

    // An archive as an older version wrote it: no convertImage.
    OlderTags older;
    older.keyed = {{QStringLiteral("author"), QStringLiteral("Ann")}, {QStringLiteral("explicit"), true}};
    older.sequential = {QStringLiteral("Ann"), QVariant(), QVariant(), QVariant(), QVariant(), QVariant(),
                        QVariant(), QVariant(), QVariant(), true, false};

    for (bool keyed : {true, false}) {
        const auto copy = std::dynamic_pointer_cast<QFBlogCustomiTunesTags>(throughArchive(*tags, keyed));
        QVERIFY(copy);
        QVERIFY(copy->isEqual(*tags));

        const auto read = std::dynamic_pointer_cast<QFBlogCustomiTunesTags>(throughArchive(older, keyed));
        QVERIFY(read);
        QCOMPARE(read->author(), QStringLiteral("Ann"));
        QVERIFY(read->isExplicit());
        QVERIFY(!read->convertImage()); // the default would be true
        QVERIFY(read->summary().isEmpty());
    }
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

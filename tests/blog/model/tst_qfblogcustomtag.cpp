// A feed's custom elements and its iTunes values, as the channel and each post hold them.

#include "archivedcopy.h"

#include "blog/model/qfblogcustomitunestags.h"
#include "blog/model/qfblogcustomtag.h"
#include "blog/model/qfblogmodel.h"
#include "blog/model/qfblognotifier.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
// iTunes values as an older version archived them: only the keys or values given.
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

class tst_QFBlogCustomTag : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QFBlogModel::registerCodingClasses(); }
    void editsPostAChange();
    void archiveRoundTrips();
    void propertyList_data();
    void propertyList();

    void iTunesPropertyList_data();
    void iTunesPropertyList();
    void iTunesExplicitIsLostThroughThePropertyList();
    void iTunesArchiveRoundTrips();
    void iTunesImageChangesPost();
};

void tst_QFBlogCustomTag::editsPostAChange()
{
    const auto tag = QFBlogCustomTag::create();
    QSignalSpy spy(QFBlogNotifier::instance(), &QFBlogNotifier::customTagDidChange);
    QSignalSpy named(QFBlogNotifier::instance(), &QFBlogNotifier::notificationPosted);
    tag->setProperty("attributes", QStringLiteral("type=\"text\""));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).value<QObject *>(), tag.get());
    QCOMPARE(named.at(0).at(0).toString(), QStringLiteral("QFBlogCustomTagDidChange"));
    tag->setAttributes(tag->attributes()); // the string it holds: nothing changes
    QCOMPARE(spy.size(), 1);
}

void tst_QFBlogCustomTag::archiveRoundTrips()
{
    const auto tag = QFBlogCustomTag::create();
    tag->setTag(QStringLiteral("media:credit"));
    tag->setValue(QStringLiteral("Ann & Bo"));
    tag->setAttributes(QStringLiteral("role=\"author\""));
    const auto keyed = archivedCopy<QFBlogCustomTag>(*tag, true);
    QVERIFY(keyed && keyed->isEqual(*tag));

    // Inside a record, among other values.
    QFArchiver archiver;
    archiver.encodeObject(QVariant(QVariantList{QFCodingSupport::variantFromObject(tag)}));
    archiver.encodeObject(QStringLiteral("after"));
    QFUnarchiver unarchiver(archiver.data());
    const auto sequential = QFCodingSupport::objectOfClass<QFBlogCustomTag>(unarchiver.decodeObject().toList().value(0));
    QVERIFY(sequential && sequential->isEqual(*tag));
    QCOMPARE(unarchiver.decodeObject().toString(), QStringLiteral("after"));
}

void tst_QFBlogCustomTag::propertyList_data()
{
    QTest::addColumn<QVariant>("list");
    QTest::addColumn<QStringList>("expected"); // tag, value, attributes

    QTest::newRow("all three") << QVariant(QVariantMap{{"Tag", "t"}, {"Value", "v"}, {"Attributes", "a=\"1\""}})
                               << QStringList{"t", "v", "a=\"1\""};
    QTest::newRow("missing keys read empty") << QVariant(QVariantMap{{"Tag", "t"}}) << QStringList{"t", "", ""};
    QTest::newRow("not a dictionary: a fresh tag's defaults")
        << QVariant(QStringLiteral("junk")) << QStringList{"tag", "value", ""};
}

void tst_QFBlogCustomTag::propertyList()
{
    QFETCH(QVariant, list);
    QFETCH(QStringList, expected);
    const auto tag = QFBlogCustomTag::customTagWithPropertyList(list);
    QCOMPARE(QStringList({tag->tag(), tag->value(), tag->attributes()}), expected);
    QVERIFY(QFBlogCustomTag::customTagWithPropertyList(tag->propertyList())->isEqual(*tag));
}

void tst_QFBlogCustomTag::iTunesPropertyList_data()
{
    QTest::addColumn<QVariantMap>("set");   // property -> value
    QTest::addColumn<QVariant>("expected"); // null: no property list at all

    QTest::newRow("fresh: nothing") << QVariantMap{} << QVariant();
    QTest::newRow("only explicit: the misspelt key")
        << QVariantMap{{"explicit", true}} << QVariant(QVariantMap{{"IsExpicit", true}});
    QTest::newRow("empty strings left out, blocked and duration in")
        << QVariantMap{{"author", "Ann"}, {"subtitle", ""}, {"duration", 300}, {"block", true}}
        << QVariant(QVariantMap{{"Author", "Ann"}, {"Duration", 300}, {"IsBlocked", true}});
}

void tst_QFBlogCustomTag::iTunesPropertyList()
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

void tst_QFBlogCustomTag::iTunesExplicitIsLostThroughThePropertyList()
{
    const auto tags = QFBlogCustomiTunesTags::tags();
    tags->setExplicit(true);
    tags->setBlock(true);
    tags->setKeywords(QStringLiteral("news, weekly"));
    const auto read = QFBlogCustomiTunesTags::iTunesTagsWithPropertyList(QVariant(*tags->propertyList()), "PNG");
    QVERIFY(!read->isExplicit()); // written "IsExpicit", read "IsExplicit"
    QVERIFY(read->block());
    QCOMPARE(read->keywords(), QStringLiteral("news, weekly"));
    QCOMPARE(read->imageData(), QByteArray("PNG"));

    const auto spelled = QFBlogCustomiTunesTags::iTunesTagsWithPropertyList(QVariantMap{{"IsExplicit", true}}, {});
    QVERIFY(spelled->isExplicit());
    QVERIFY(spelled->imageData().isNull());
}

void tst_QFBlogCustomTag::iTunesArchiveRoundTrips()
{
    const auto tags = QFBlogCustomiTunesTags::tags();
    for (const auto &[key, value] : std::initializer_list<std::pair<const char *, QVariant>>{
             {"author", "Ann"}, {"ownerEmail", "ann@example.org"}, {"ownerName", "Ann B."}, {"category", "Arts"},
             {"keywords", "k"}, {"subtitle", "s"}, {"summary", "Long summary"}, {"imageData", QByteArray("\x89PNG", 4)},
             {"duration", qint64(1234)}, {"explicit", true}, {"convertImage", false}})
        QVERIFY2(tags->setProperty(key, value), key);

    // An archive as an older version wrote it: no convertImage.
    OlderTags older;
    older.keyed = {{"author", "Ann"}, {"explicit", true}};
    older.sequential = {"Ann", {}, {}, {}, {}, {}, {}, {}, {}, true, false};

    for (bool keyed : {true, false}) {
        const auto copy = archivedCopy<QFBlogCustomiTunesTags>(*tags, keyed);
        QVERIFY(copy && copy->isEqual(*tags));

        const auto read = archivedCopy<QFBlogCustomiTunesTags>(older, keyed);
        QVERIFY(read);
        QCOMPARE(read->author(), QStringLiteral("Ann"));
        QVERIFY(read->isExplicit());
        QVERIFY(!read->convertImage()); // the default would be true
        QVERIFY(read->summary().isEmpty());
    }
}

void tst_QFBlogCustomTag::iTunesImageChangesPost()
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

QTEST_GUILESS_MAIN(tst_QFBlogCustomTag)
#include "tst_qfblogcustomtag.moc"

#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogentrybelongstocategoryindex.h"
#include "blog/model/qfblogmodel.h"
#include "blog/model/qfcollections.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qflog.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest>

class tst_QFBlogEntry : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup()
    {
        QFBlogEntry::setPluginForDecoding(nullptr);
        m_plugin.reset();
    }

    void readsStoredDictionary_data();
    void readsStoredDictionary();
    void styledTitleBecomesPlain();
    void wrongTypeGivesNoPost_data();
    void wrongTypeGivesNoPost();
    void guidIsMadeOnceAndKept();
    void cacheAttributeIsNotStored();
    void setTagsMovesCountsWithoutReporting();
    void addTagToReadPost();
    void derivedCategoryValues_data();
    void derivedCategoryValues();
    void categoryIndexEdits();
    void editsReportToThePlugin();
    void clipboardArchiveAttachesToThePlugin();
    void selectionCheckBoxState_data();
    void selectionCheckBoxState();
    void duplicatesAreDropped();

private:
    QFBlogEntryPtr newEntry() const { return QFBlogEntry::blogEntryWithBlogPlugin(m_plugin.get()); }
    static int tagCount(const QFBlogPlugin &plugin, const QString &name);

    std::unique_ptr<QFBlogPlugin> m_plugin;
    // IDs of the categories the plugin holds: None, Travel, Food, Music.
    int m_none = 0;
    const int m_travel = 10;
    const int m_food = 20;
    const int m_music = 30;
};

void tst_QFBlogEntry::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
    QFBlogModel::registerCodingClasses();
}

void tst_QFBlogEntry::init()
{
    m_plugin = std::make_unique<QFBlogPlugin>();
    QList<QFBlogCategoryPtr> categories{m_plugin->categories().constFirst()};
    QVERIFY(categories.constFirst()->isNone());
    m_none = categories.constFirst()->categoryID();
    const QList<std::pair<QString, int>> named{
        {QStringLiteral("Travel"), m_travel}, {QStringLiteral("Food"), m_food}, {QStringLiteral("Music"), m_music}};
    for (const auto &[name, id] : named) {
        // Made detached: the plugin's default categories include a "Travel".
        auto category = QFBlogCategory::categoryWithName(name, nullptr);
        category->setCategoryID(id);
        categories.append(category);
    }
    m_plugin->setCategories(categories);
    QCOMPARE(m_plugin->categories().size(), 4);
}

int tst_QFBlogEntry::tagCount(const QFBlogPlugin &plugin, const QString &name)
{
    return int(plugin.knownTags().countForObject(QVariant::fromValue(QFBlogTag(name))));
}

void tst_QFBlogEntry::readsStoredDictionary_data()
{
    QTest::addColumn<QVariantMap>("dictionary");
    QTest::addColumn<int>("status");
    QTest::addColumn<QList<int>>("categoryIDs"); // -1 stands for the None category

    // "status" is stored inverted; index 1 is Travel (10), 30 is Music.
    QTest::newRow("stored status 1: a draft") << QVariantMap{{"status", 1}} << 0 << QList<int>{-1};
    QTest::newRow("stored status 0: published") << QVariantMap{{"status", 0}} << 1 << QList<int>{-1};
    QTest::newRow("nothing: published, first category") << QVariantMap{} << 1 << QList<int>{-1};
    QTest::newRow("one ID loses to the index")
        << QVariantMap{{"categoryIndex", 1}, {"categoryIDs", QVariantList{30}}} << 1 << QList<int>{10};
    QTest::newRow("two IDs replace the index")
        << QVariantMap{{"categoryIndex", 1}, {"categoryIDs", QVariantList{30, 20}}} << 1 << QList<int>{30, 20};
    QTest::newRow("index out of range: none") << QVariantMap{{"categoryIndex", 9}} << 1 << QList<int>{};
}

void tst_QFBlogEntry::readsStoredDictionary()
{
    QFETCH(QVariantMap, dictionary);
    QFETCH(int, status);
    QFETCH(QList<int>, categoryIDs);
    if (categoryIDs == QList<int>{-1})
        categoryIDs = {m_none};

    const auto entry = QFBlogEntry::blogEntryWithDictionary(dictionary, m_plugin.get());
    QVERIFY(entry);
    QCOMPARE(entry->status(), status);
    QCOMPARE(entry->isDraft(), status == 0);
    QCOMPARE(entry->dictionaryForEncoding().value(QStringLiteral("status")).toInt(), status == 0 ? 1 : 0);
    QCOMPARE(entry->categoryIDs(), categoryIDs);
}

void tst_QFBlogEntry::styledTitleBecomesPlain()
{
    QFStyledText title(QStringLiteral("Bold "));
    title.append(QStringLiteral("move"), {{kQFItalicAttributeName, true}});
    QVariantMap dictionary{
        {QStringLiteral("title"), QFCodingSupport::variantFromObject(std::make_shared<QFStyledText>(title))}};

    const auto entry = QFBlogEntry::blogEntryWithDictionary(dictionary, m_plugin.get());
    QVERIFY(entry);
    QCOMPARE(entry->title(), QStringLiteral("Bold move"));
    QCOMPARE(dictionary.value(QStringLiteral("title")), QVariant(QStringLiteral("Bold move")));
}

void tst_QFBlogEntry::wrongTypeGivesNoPost_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");

    QTest::newRow("title as a number") << "title" << QVariant(5);
    QTest::newRow("body as a string") << "entry" << QVariant(QStringLiteral("x"));
    QTest::newRow("date as a string") << "date" << QVariant(QStringLiteral("yesterday"));
    QTest::newRow("reference as styled text") << "podcastReference"
                                              << QFCodingSupport::variantFromObject(std::make_shared<QFStyledText>());
    QTest::newRow("tags as text") << "tags" << QVariant(QStringLiteral("a, b"));
}

void tst_QFBlogEntry::wrongTypeGivesNoPost()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);

    QFLogCapture log;
    QVERIFY(!QFBlogEntry::blogEntryWithDictionary({{QStringLiteral("title"), QStringLiteral("Christmas")}, {key, value}},
                                                  m_plugin.get()));
    QVERIFY2(log.contains(QStringLiteral("incorrect type for key %1 ").arg(key)), qPrintable(log.lines().join(u'\n')));
}

void tst_QFBlogEntry::guidIsMadeOnceAndKept()
{
    const auto entry = newEntry();
    QVERIFY(!entry->hasGUID());
    const QString guid = entry->GUID();
    QVERIFY(QRegularExpression(QStringLiteral("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$")).match(guid).hasMatch());
    QCOMPARE(entry->GUID(), guid);
    QVERIFY(newEntry()->GUID() != guid);

    const auto read = QFBlogEntry::blogEntryWithDictionary(entry->dictionaryForEncoding(), m_plugin.get());
    QCOMPARE(read->GUID(), guid);
    QVariantMap withoutGuid = entry->dictionaryForEncoding();
    withoutGuid.remove(QStringLiteral("guid"));
    const auto fresh = QFBlogEntry::blogEntryWithDictionary(withoutGuid, m_plugin.get());
    QVERIFY(!fresh->hasGUID());
    QVERIFY(fresh->GUID() != guid);
}

void tst_QFBlogEntry::cacheAttributeIsNotStored()
{
    const auto entry = newEntry();
    QFStyledText body(QStringLiteral("Cached body"), {{QStringLiteral("QFBlogEntryCacheData"), QByteArray("c")},
                                                      {kQFBoldAttributeName, true}});
    entry->setEntry(body);
    entry->setEntrySummary(body);
    QVERIFY(!entry->entry()->attribute(QStringLiteral("QFBlogEntryCacheData"), 0).isValid());
    QVERIFY(entry->entry()->attribute(kQFBoldAttributeName, 0).toBool());
    QVERIFY(entry->entrySummary()->attribute(QStringLiteral("QFBlogEntryCacheData"), 0).isValid());
}

void tst_QFBlogEntry::setTagsMovesCountsWithoutReporting()
{
    const auto entry = newEntry();
    const QFBlogTag a(QStringLiteral("a")), b(QStringLiteral("b")), c(QStringLiteral("c"));
    entry->setTags(QFBlogTagList{a, b});
    QCOMPARE(tagCount(*m_plugin, QStringLiteral("a")), 1);

    QSignalSpy counts(m_plugin.get(), &QFBlogPlugin::knownTagsChanged);
    QSignalSpy changed(m_plugin.get(), &QFTextViewPluginClient::pluginChanged);
    entry->setTags(QFBlogTagList{b, c, c});

    // One use of a less, one of c more, however often c is listed.
    QCOMPARE(counts.size(), 2);
    QCOMPARE(tagCount(*m_plugin, QStringLiteral("a")), 0);
    QCOMPARE(tagCount(*m_plugin, QStringLiteral("b")), 1);
    QCOMPARE(tagCount(*m_plugin, QStringLiteral("c")), 1);
    QCOMPARE(changed.size(), counts.size());
    QCOMPARE(entry->tags(), (QFBlogTagList{b, c, c}));
}

void tst_QFBlogEntry::addTagToReadPost()
{
    // Read posts always have a list (the record always holds "tagsDictionary").
    const auto read = QFBlogEntry::blogEntryWithDictionary(
        QVariantMap{{QStringLiteral("tagsDictionary"), QVariantList{}}}, m_plugin.get());
    read->addTag(QFBlogTag(QStringLiteral("kept")));
    QCOMPARE(read->tags(), (QFBlogTagList{QFBlogTag(QStringLiteral("kept"))}));
    QCOMPARE(tagCount(*m_plugin, QStringLiteral("kept")), 1);
}

void tst_QFBlogEntry::derivedCategoryValues_data()
{
    QTest::addColumn<QList<int>>("ids"); // -1 stands for the None category
    QTest::addColumn<QString>("names");
    QTest::addColumn<int>("index");

    QTest::newRow("two real") << QList<int>{20, 10} << "Food, Travel" << 2;
    QTest::newRow("None among others") << QList<int>{10, -1} << "Travel, None" << 1;
    QTest::newRow("unknown first ID") << QList<int>{99, 30} << "Music" << 2147483647;
}

void tst_QFBlogEntry::derivedCategoryValues()
{
    QFETCH(QList<int>, ids);
    QFETCH(QString, names);
    QFETCH(int, index);
    for (int &id : ids) {
        if (id == -1)
            id = m_none;
    }

    const auto entry = newEntry();
    entry->setCategoryIDs(ids);
    QStringList withoutNone;
    for (const QFBlogCategoryPtr &category : entry->categoriesWithoutNone().value_or(QList<QFBlogCategoryPtr>()))
        withoutNone.append(category->categoryName());
    QCOMPARE(withoutNone.join(QStringLiteral(", ")), QString(names).remove(QStringLiteral(", None")));
    QCOMPARE(entry->categoryNames(), names);
    QCOMPARE(entry->categoryIndex(), index);
}

void tst_QFBlogEntry::categoryIndexEdits()
{
    const auto entry = newEntry();
    QSignalSpy changes(entry.get(), &QFBlogEntry::categoriesChanged);
    entry->setCategoryIndex(2);
    QCOMPARE(entry->categoryIDs(), QList<int>{m_food});
    entry->setCategoryIndex(4); // out of range: ignored
    entry->setCategoryIndex(-1);
    QCOMPARE(entry->categoryIDs(), QList<int>{m_food});
    entry->addCategoryIndex(3);
    entry->addCategoryIndex(2); // already there
    QCOMPARE(entry->categoryIDs(), (QList<int>{m_food, m_music}));
    QVERIFY(entry->belongsToCategoryIndex(3));
    QVERIFY(!entry->belongsToCategoryIndex(1));
    QVERIFY(!entry->belongsToCategoryIndex(4));
    entry->deleteCategoryIndex(2);
    QCOMPARE(entry->categoryIDs(), QList<int>{m_music});
    QCOMPARE(changes.size(), 4);

    QCOMPARE(entry->categoryObjectForCategories(m_plugin->categories())->categoryID(), m_music);
    entry->setCategoryIndex(0);
    QVERIFY(!entry->categoryObjectForCategories(m_plugin->categories())); // the None category
}

void tst_QFBlogEntry::editsReportToThePlugin()
{
    const auto entry = newEntry();
    QSignalSpy changed(m_plugin.get(), &QFTextViewPluginClient::pluginChanged);
    QSignalSpy dates(m_plugin.get(), &QFBlogPlugin::blogEntryDateChanged);

    entry->setStatus(1);
    entry->setPodcast(QStringLiteral("/x.mp3"));
    entry->setEntryString(QStringLiteral("silent"));
    QCOMPARE(changed.size(), 0);

    entry->setProperty("title", QStringLiteral("New"));
    entry->setDate(QDateTime()); // not a date: ignored
    QCOMPARE(changed.size(), 1);
    entry->setProperty("date", QDate(2010, 1, 2));
    QCOMPARE(entry->date(), QDateTime(QDate(2010, 1, 2), QTime(0, 0)));
    QCOMPARE(dates.size(), 1);
    QCOMPARE(changed.size(), 2);

    const auto tag = QFBlogCustomTag::create();
    entry->setCustomTags({tag});
    entry->setCustomTags({tag}); // the same list: no report
    entry->removeObjectFromCustomTagsAtIndex(0);
    QCOMPARE(changed.size(), 4);
}

void tst_QFBlogEntry::clipboardArchiveAttachesToThePlugin()
{
    const auto entry = newEntry();
    entry->setTitle(QStringLiteral("Copied"));
    entry->setCategoryIDs({m_travel, m_music});
    const QByteArray data = QFKeyedArchiver::archivedDataWithRootObject(
        QVariant(QVariantList{QFCodingSupport::variantFromObject(entry)}));

    QFBlogEntry::setPluginForDecoding(m_plugin.get());
    const QVariantList read = QFKeyedUnarchiver::unarchiveObjectWithData(data).toList();
    const auto copy = QFCodingSupport::objectOfClass<QFBlogEntry>(read.value(0));
    QVERIFY(copy);
    QVERIFY(copy != entry);
    QCOMPARE(copy->title(), QStringLiteral("Copied"));
    QCOMPARE(copy->blogPlugin(), m_plugin.get());
    QCOMPARE(copy->categoryNames(), QStringLiteral("Travel, Music"));
}

void tst_QFBlogEntry::selectionCheckBoxState_data()
{
    QTest::addColumn<QList<bool>>("members"); // per selected post: filed under Travel and tagged "x"
    QTest::addColumn<int>("state");

    QTest::newRow("empty selection: off") << QList<bool>{} << 0;
    QTest::newRow("none: off") << QList<bool>{false} << 0;
    QTest::newRow("one of three: mixed") << QList<bool>{false, true, false} << -1;
    QTest::newRow("all: on") << QList<bool>{true, true, true} << 1;
}

// The state of the editor's check boxes for the selected posts.
void tst_QFBlogEntry::selectionCheckBoxState()
{
    QFETCH(QList<bool>, members);
    QFETCH(int, state);

    const QFBlogTag x(QStringLiteral("x"));
    QList<QFBlogEntryPtr> selection;
    QVariantList numbers; // as key-value coding hands them over
    for (bool member : members) {
        auto entry = newEntry();
        entry->setCategoryIndex(member ? 1 : 0);
        entry->setTags(member ? QFBlogTagList{QFBlogTag(QStringLiteral("y")), x} : QFBlogTagList{QFBlogTag(QStringLiteral("X"))});
        selection.append(entry);
        numbers.append(member ? 1 : 0);
    }
    QCOMPARE(QFBlogEntryBelongsToCategoryIndex::belongsToCategoryIndex(selection, 1), state);
    QCOMPARE(QFBlogEntryBelongsToCategoryIndex::hasTag(selection, x), state);
    QCOMPARE(QFCollections::stateFromNumberElements(numbers), state);
    // An index past the list is never a category of anyone.
    QCOMPARE(QFBlogEntryBelongsToCategoryIndex::belongsToCategoryIndex(selection, 7), 0);
}

void tst_QFBlogEntry::duplicatesAreDropped()
{
    const auto entry = newEntry();
    entry->setCategoryIDs({m_food, m_travel, m_food});
    QCOMPARE(entry->categoryIDs(), (QList<int>{m_food, m_travel}));

    // With an equality of its own, the first of equal elements stays.
    const auto ignoringCase = [](const QString &a, const QString &b) { return a.compare(b, Qt::CaseInsensitive) == 0; };
    QCOMPARE(QFCollections::arrayWithoutDuplicateElements(QStringList{"News", "news", "Misc"}, ignoringCase),
             (QStringList{"News", "Misc"}));
}

QTEST_GUILESS_MAIN(tst_QFBlogEntry)
#include "tst_qfblogentry.moc"

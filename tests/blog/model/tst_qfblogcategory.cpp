#include "archivedcopy.h"

#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogmodel.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfbundle.h"

#include <QSignalSpy>
#include <QtTest>

class tst_QFBlogCategory : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { m_plugin.reset(); }
    void equality_data();
    void equality();
    void renaming_data();
    void renaming();
    void noneCategoryStaysOutOfTheExchange();
    void recordDictionaryRoundTrip();
    void archiveForms();
    void postsFiledUnderTheCategory();
    void observersHearRenames();

private:
    QFBlogCategoryPtr category(int index) const { return m_plugin->categories().at(index); }
    std::unique_ptr<QFBlogPlugin> m_plugin; // categories: None, Travel (10), Food (20)
};

void tst_QFBlogCategory::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
    QFBlogModel::registerCodingClasses();
}

void tst_QFBlogCategory::init()
{
    m_plugin = std::make_unique<QFBlogPlugin>();
    // Made detached: one of the defaults is a "Travel" too.
    QList<QFBlogCategoryPtr> categories{m_plugin->categories().constFirst()};
    auto travel = QFBlogCategory::categoryWithName(QStringLiteral("Travel"), nullptr);
    travel->setCategoryID(10);
    auto food = QFBlogCategory::categoryWithName(QStringLiteral("Food"), nullptr);
    food->setCategoryID(20);
    m_plugin->setCategories(categories << travel << food);
    QCOMPARE(m_plugin->categories().size(), 3);
}

void tst_QFBlogCategory::equality_data()
{
    QTest::addColumn<QString>("otherName");
    QTest::addColumn<int>("otherID");
    QTest::addColumn<bool>("otherNone");
    QTest::addColumn<bool>("equal");

    QTest::newRow("name in other case") << "TRAVEL" << 10 << false << true;
    QTest::newRow("same name, other ID") << "Travel" << 11 << false << false;
    QTest::newRow("same name, None flag") << "Travel" << 10 << true << false;
    QTest::newRow("other name") << "Travels" << 10 << false << false;
}

void tst_QFBlogCategory::equality()
{
    QFETCH(QString, otherName);
    QFETCH(int, otherID);
    QFETCH(bool, otherNone);
    QFETCH(bool, equal);

    const auto travel = QFBlogCategory::categoryWithName(QStringLiteral("Travel"), nullptr);
    travel->setCategoryID(10);
    const auto other = QFBlogCategory::categoryWithName(otherName, nullptr);
    other->setCategoryID(otherID);
    other->setIsNone(otherNone);
    QCOMPARE(travel->isEqual(*other), equal);
    QCOMPARE(other->isEqual(*travel), equal);
    if (equal)
        QCOMPARE(travel->hash(), other->hash());
}

void tst_QFBlogCategory::renaming_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("result");

    QTest::newRow("own name in other case") << 1 << "TRAVEL" << "TRAVEL";
    QTest::newRow("another's name in other case") << 2 << "tRAVEL" << "Food";
    QTest::newRow("the None category's name") << 1 << "none" << "Travel";
    QTest::newRow("a new name") << 2 << "Recipes" << "Recipes";
}

void tst_QFBlogCategory::renaming()
{
    QFETCH(int, index);
    QFETCH(QString, name);
    QFETCH(QString, result);

    const QFBlogCategoryPtr renamed = category(index);
    const QString before = renamed->categoryName();
    QString proposed = name;
    int error = 0;
    const bool valid = renamed->validateCategoryName(&proposed, &error);
    QCOMPARE(valid, result == name);
    QCOMPARE(error, valid ? 0 : 1024);

    QSignalSpy changed(m_plugin.get(), &QFTextViewPluginClient::pluginChanged);
    renamed->setProperty("categoryName", name); // as the editor's table does
    QCOMPARE(renamed->categoryName(), result);
    QCOMPARE(changed.size(), result == before ? 0 : 1);
}

void tst_QFBlogCategory::noneCategoryStaysOutOfTheExchange()
{
    QVERIFY(category(0)->isNone());
    QCOMPARE(category(0)->categoryName(), QStringLiteral("None"));
    QVERIFY(!category(0)->propertyList());

    const std::optional<QVariantMap> travel = category(1)->propertyList();
    QCOMPARE(*travel, (QVariantMap{{QStringLiteral("Name"), QStringLiteral("Travel")}, {QStringLiteral("ID"), 10}}));

    QVariantMap claimsNone = *travel;
    claimsNone.insert(QStringLiteral("categoryNone"), true);
    const auto read = QFBlogCategory::createFromDictionary(claimsNone, nullptr);
    QVERIFY(!read->isNone());
    QCOMPARE(read->categoryName(), QStringLiteral("Travel"));
    QCOMPARE(read->categoryID(), 10);
}

void tst_QFBlogCategory::recordDictionaryRoundTrip()
{
    // As the record is read: into a plugin whose list is being rebuilt.
    QFBlogPlugin other;
    QList<QFBlogCategoryPtr> rebuilt;
    other.setCategories(rebuilt);
    for (const QFBlogCategoryPtr &original : m_plugin->categories()) {
        const auto read = QFBlogCategory::categoryWithDictionary(original->dictionaryForEncoding(), &other);
        QVERIFY2(read->isEqual(*original), qPrintable(original->description()));
        QCOMPARE(read->blogPlugin(), &other);
        rebuilt.append(read);
    }
    // A name the blog already has is refused even when read.
    other.setCategories(rebuilt);
    const auto clash = QFBlogCategory::categoryWithDictionary(category(1)->dictionaryForEncoding(), &other);
    QVERIFY(clash->categoryName().isNull());
    const auto empty = QFBlogCategory::categoryWithDictionary(QVariantMap{{QStringLiteral("categoryID"), "x"}}, nullptr);
    QVERIFY(empty->categoryName().isEmpty());
    QCOMPARE(empty->categoryID(), 0);
    QVERIFY(!empty->isValid());
}

void tst_QFBlogCategory::archiveForms()
{
    for (bool keyed : {true, false}) {
        const auto copy = archivedCopy<QFBlogCategory>(*category(0), keyed);
        QVERIFY(copy && copy->isEqual(*category(0)));
        QVERIFY(!copy->blogPlugin()); // the owner attaches it
    }
}

void tst_QFBlogCategory::postsFiledUnderTheCategory()
{
    QList<QFBlogEntryPtr> entries;
    for (const QList<int> &ids : {QList<int>{10}, QList<int>{20, 10}, QList<int>{20}}) {
        auto entry = QFBlogEntry::blogEntryWithBlogPlugin(m_plugin.get());
        entry->setCategoryIDs(ids);
        m_plugin->insertBlogEntry(entry);
        entries.append(entry);
    }
    QCOMPARE(category(1)->posts(), (QList<QFBlogEntryPtr>{entries.at(0), entries.at(1)}));
    QCOMPARE(category(2)->posts(), (QList<QFBlogEntryPtr>{entries.at(1), entries.at(2)}));
    QVERIFY(category(0)->posts().isEmpty());
    QCOMPARE(category(1)->categoryFilenameBasename(), QStringLiteral("category-travel"));
}

void tst_QFBlogCategory::observersHearRenames()
{
    QObject observer;
    int heard = 0;
    const QFBlogCategoryPtr food = category(2);
    food->addCategoryObserver(&observer, [&heard](QFBlogCategory *) { ++heard; });
    food->addCategoryObserver(&observer, [&heard](QFBlogCategory *) { heard += 100; }); // already registered

    food->setCategoryName(QStringLiteral("Cooking"));
    food->setCategoryName(QStringLiteral("travel")); // refused: nothing to hear
    QCOMPARE(heard, 1);
}

QTEST_GUILESS_MAIN(tst_QFBlogCategory)
#include "tst_qfblogcategory.moc"

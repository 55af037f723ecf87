#include "blog/generation/qfblogplugincategories.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfbundle.h"

#include <QRegularExpression>
#include <QtTest>

// A post: its day in March 2024, whether it is a draft, and the names of its
// categories.
struct CategorisedPost
{
    int day = 1;
    bool draft = false;
    QStringList categories;
};
using CategorisedPosts = QList<CategorisedPost>;
Q_DECLARE_METATYPE(CategorisedPosts)

class tst_QFBlogPluginCategories : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void categoryLinks_data();
    void categoryLinks();
    void sidebarLines_data();
    void sidebarLines();
    void pagesOnlyForCategoriesWithPublishedPosts_data();
    void pagesOnlyForCategoriesWithPublishedPosts();
};

namespace {

const QVariantMap kParams{{QStringLiteral("FilenameExt"), QStringLiteral("html")},
                          {QStringLiteral("filesfoldername"), QStringLiteral("files")},
                          {QStringLiteral("name"), QStringLiteral("blog.html")},
                          {QStringLiteral("title"), QStringLiteral("My Blog")},
                          {QStringLiteral("contentonlysubpages"), QStringLiteral("YES")}};

// A blog whose only categories are None and the given ones, in that order,
// with the posts numbered 1, 2, … as given.
void fillBlog(QFBlogPlugin &plugin, const QStringList &categoryNames, const CategorisedPosts &posts)
{
    plugin.setCategories({plugin.categories().first()});
    for (const QString &name : categoryNames)
        plugin.addNewCategory(name);
    int id = 0;
    for (const CategorisedPost &fixture : posts) {
        QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
        entry->setID(++id);
        entry->setGUID(QStringLiteral("post-%1").arg(id));
        entry->setTitle(QStringLiteral("Post %1").arg(id));
        entry->setDate(QDateTime(QDate(2024, 3, fixture.day), QTime(12, 0)));
        entry->setStatus(fixture.draft ? 0 : 1);
        QList<int> ids;
        for (const QString &name : fixture.categories)
            ids.append(plugin.categoryForCategoryName(name)->categoryID());
        entry->setCategoryIDs(ids);
        plugin.insertBlogEntry(entry);
    }
}

QStringList entryIDs(const QString &page)
{
    static const QRegularExpression id(QStringLiteral("id=\"unique-entry-id-(\\d+)\""));
    QStringList ids;
    for (auto it = id.globalMatch(page); it.hasNext();)
        ids.append(it.next().captured(1));
    return ids;
}

} // namespace

void tst_QFBlogPluginCategories::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogPluginCategories::categoryLinks_data()
{
    QTest::addColumn<QString>("subpage");
    QTest::addColumn<int>("depth");
    QTest::addColumn<QString>("link");

    QTest::newRow("main page: into the files folder") << "" << 0 << "files/category-road-trips.html";
    QTest::newRow("page in the files folder: bare name") << "" << 1 << "category-road-trips.html";
    QTest::newRow("sub-page: bare name") << "Yes" << 0 << "category-road-trips.html";
    QTest::newRow("subpage 2 is not true") << "2" << 0 << "files/category-road-trips.html";
}

void tst_QFBlogPluginCategories::categoryLinks()
{
    QFETCH(QString, subpage);
    QFETCH(int, depth);
    QFETCH(QString, link);

    QFBlogPlugin plugin;
    fillBlog(plugin, {QStringLiteral("Road Trips")}, {});
    QVariantMap params = kParams;
    params.insert(QStringLiteral("subpage"), subpage);
    const QFBlogPluginCategories &group = plugin.categoriesGroup();
    QCOMPARE(group.categoryLink(plugin.categories().at(1), params, depth).value_or(QStringLiteral("(none)")), link);
    QVERIFY(!group.categoryLink(nullptr, params, depth));
}

void tst_QFBlogPluginCategories::sidebarLines_data()
{
    QTest::addColumn<bool>("alphabetically");
    QTest::addColumn<bool>("counts");
    QTest::addColumn<QString>("lines");

    const auto link = [](const char *file, const char *text) {
        return QStringLiteral("<a href=\"files/category-%1.html\" class=\"blog-category-link-enabled\">%2</a><br />")
            .arg(QLatin1String(file), QString::fromUtf8(text));
    };
    const QString food = QStringLiteral("<div class=\"blog-category-link-disabled\">Food</div>");

    // Travel holds three posts, Banana one draft, apple one post, Food none.
    QTest::newRow("stored order, counts shown")
        << false << true
        << link("travel", "Travel (3)") + food + link("banana", "Banana (1)") + link("apple", "apple (1)");
    QTest::newRow("alphabetically, ignoring case")
        << true << false << link("apple", "apple") + link("banana", "Banana") + food + link("travel", "Travel");
}

void tst_QFBlogPluginCategories::sidebarLines()
{
    QFETCH(bool, alphabetically);
    QFETCH(bool, counts);
    QFETCH(QString, lines);

    QFBlogPlugin plugin;
    plugin.setExportCategoriesAlphabetically(alphabetically);
    plugin.setShowCategoryPostCounts(counts);
    fillBlog(plugin, {QStringLiteral("Travel"), QStringLiteral("Food"), QStringLiteral("Banana"), QStringLiteral("apple")},
             {{1, false, {"Travel"}}, {2, false, {"Travel", "apple"}}, {3, false, {"Travel"}}, {4, true, {"Banana"}}});
    QCOMPARE(plugin.categoriesGroup().emitCategoryLinks(kParams), lines);
}

void tst_QFBlogPluginCategories::pagesOnlyForCategoriesWithPublishedPosts_data()
{
    QTest::addColumn<CategorisedPosts>("posts");
    QTest::addColumn<QStringList>("pages");
    QTest::addColumn<QStringList>("entries");

    QTest::newRow("a page per category with published posts, newest first, in category order")
        << CategorisedPosts{{3, false, {"Travel"}}, {9, false, {"Travel", "Food"}}, {5, false, {"Food"}}}
        << QStringList{"category-travel.html", "category-food.html"} << QStringList{"2,1", "2,3"};
    QTest::newRow("a category holding only drafts has no page")
        << CategorisedPosts{{3, false, {"Travel"}}, {4, true, {"Food"}}} << QStringList{"category-travel.html"}
        << QStringList{"1"};
    QTest::newRow("posts of the None category make no page")
        << CategorisedPosts{{3, false, {}}, {4, false, {"None"}}} << QStringList{} << QStringList{};
    QTest::newRow("a category without a name is skipped")
        << CategorisedPosts{{3, false, {""}}} << QStringList{} << QStringList{};
}

void tst_QFBlogPluginCategories::pagesOnlyForCategoriesWithPublishedPosts()
{
    QFETCH(CategorisedPosts, posts);
    QFETCH(QStringList, pages);
    QFETCH(QStringList, entries);

    QFBlogPlugin plugin;
    plugin.categories().first()->setCategoryName(QStringLiteral("None"));
    fillBlog(plugin, {QStringLiteral("Travel"), QStringLiteral("Food"), QString()}, posts);
    QFBlogPluginCategories &group = plugin.categoriesGroup();
    group.calculateCategories();
    QCOMPARE(group.categoryPageCount(), pages.size());

    const QList<QFExportItem> subpages = group.emitCategoryEntriesWithFilesDirectory(QStringLiteral("../files"), kParams);
    QStringList names;
    QStringList ids;
    for (const QFExportItem &page : subpages) {
        names.append(page.name());
        ids.append(entryIDs(page.html()).join(QLatin1Char(',')));
    }
    QCOMPARE(names, pages);
    QCOMPARE(ids, entries);
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginCategories)
#include "tst_qfblogplugincategories.moc"

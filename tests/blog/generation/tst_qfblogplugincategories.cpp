#include "blogfixtures.h"

#include "blog/generation/qfblogplugincategories.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfexportitem.h"

#include <QtTest>

// A post: its day in March 2024, whether it is a draft, its categories' names.
struct CategorisedPost
{
    int day = 1;
    bool draft = false;
    QStringList categories;
};
using CategorisedPosts = QList<CategorisedPost>;
Q_DECLARE_METATYPE(CategorisedPosts)

namespace {

// A blog whose only categories are None and the given ones, in that order,
// with the posts numbered 1, 2, … as given.
void fillBlog(QFBlogPlugin &blog, const QStringList &categoryNames, const CategorisedPosts &posts)
{
    blog.setCategories({blog.categories().first()});
    for (const QString &name : categoryNames)
        blog.addNewCategory(name);
    for (int id = 1; id <= posts.size(); ++id) {
        QList<int> ids;
        for (const QString &name : posts.at(id - 1).categories)
            ids.append(categoryID(blog, name));
        addPost(blog, id, QDateTime(QDate(2024, 3, posts.at(id - 1).day), QTime(12, 0)), posts.at(id - 1).draft)
            ->setCategoryIDs(ids);
    }
}

} // namespace

class tst_QFBlogPluginCategories : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initializeBlogClassForFixtures(); }

    void categoryLinks_data()
    {
        QTest::addColumn<QString>("subpage");
        QTest::addColumn<int>("depth");
        QTest::addColumn<QString>("link");

        QTest::newRow("main page: into the files folder") << "" << 0 << "files/category-road-trips.html";
        QTest::newRow("page in the files folder: bare name") << "" << 1 << "category-road-trips.html";
        QTest::newRow("sub-page: bare name") << "Yes" << 0 << "category-road-trips.html";
        QTest::newRow("subpage 2 is not true") << "2" << 0 << "files/category-road-trips.html";
    }

    void categoryLinks()
    {
        QFETCH(QString, subpage);
        QFETCH(int, depth);
        QFETCH(QString, link);

        QFBlogPlugin blog;
        fillBlog(blog, {"Road Trips"}, {});
        const QVariantMap params = pageParams({{"subpage", subpage}});
        QCOMPARE(blog.categoriesGroup().categoryLink(blog.categories().at(1), params, depth).value_or("(none)"), link);
        QVERIFY(!blog.categoriesGroup().categoryLink(nullptr, params, depth));
    }

    void sidebarLines_data()
    {
        QTest::addColumn<bool>("alphabetically");
        QTest::addColumn<bool>("counts");
        QTest::addColumn<QString>("lines");

        const auto link = [](const QString &file, const QString &text) {
            return QStringLiteral("<a href=\"files/category-%1.html\" class=\"blog-category-link-enabled\">%2</a><br />").arg(file, text);
        };
        const QString food = "<div class=\"blog-category-link-disabled\">Food</div>";
        // Travel holds three posts, Banana one draft, apple one post, Food none.
        QTest::newRow("stored order, counts shown")
            << false << true << link("travel", "Travel (3)") + food + link("banana", "Banana (1)") + link("apple", "apple (1)");
        QTest::newRow("alphabetically, ignoring case")
            << true << false << link("apple", "apple") + link("banana", "Banana") + food + link("travel", "Travel");
    }

    void sidebarLines()
    {
        QFETCH(bool, alphabetically);
        QFETCH(bool, counts);
        QFETCH(QString, lines);

        QFBlogPlugin blog;
        blog.setExportCategoriesAlphabetically(alphabetically);
        blog.setShowCategoryPostCounts(counts);
        fillBlog(blog, {"Travel", "Food", "Banana", "apple"},
                 {{1, false, {"Travel"}}, {2, false, {"Travel", "apple"}}, {3, false, {"Travel"}}, {4, true, {"Banana"}}});
        QCOMPARE(blog.categoriesGroup().emitCategoryLinks(pageParams({{"contentonlysubpages", "YES"}})), lines);
    }

    void pagesOnlyForCategoriesWithPublishedPosts_data()
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
        QTest::newRow("a category without a name is skipped") << CategorisedPosts{{3, false, {""}}} << QStringList{}
                                                              << QStringList{};
    }

    void pagesOnlyForCategoriesWithPublishedPosts()
    {
        QFETCH(CategorisedPosts, posts);
        QFETCH(QStringList, pages);
        QFETCH(QStringList, entries);

        QFBlogPlugin blog;
        blog.categories().first()->setCategoryName("None");
        fillBlog(blog, {"Travel", "Food", ""}, posts);
        QFBlogPluginCategories &group = blog.categoriesGroup();
        group.calculateCategories();
        QCOMPARE(group.categoryPageCount(), pages.size());
        const QList<QFExportItem> subpages =
            group.emitCategoryEntriesWithFilesDirectory("../files", pageParams({{"contentonlysubpages", "YES"}}));
        QStringList shown;
        for (const QFExportItem &page : subpages)
            shown.append(entryIDs(page.html()).join(','));
        QCOMPARE(itemNames(subpages), pages);
        QCOMPARE(shown, entries);
    }
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginCategories)
#include "tst_qfblogplugincategories.moc"

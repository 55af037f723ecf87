#include "blogfixtures.h"

#include "blog/generation/qfblogplugintagsemission.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfexportitem.h"

#include <QtTest>

// A post: whether it is a draft, and its tags in order.
struct TaggedPost
{
    bool draft = false;
    QStringList tags;
};
using TaggedPosts = QList<TaggedPost>;
Q_DECLARE_METATYPE(TaggedPosts)

namespace {

// Posts numbered 1, 2, … one day apart, the last newest.
void addPosts(QFBlogPlugin &blog, const TaggedPosts &posts)
{
    for (int id = 1; id <= posts.size(); ++id)
        addPost(blog, id, QDateTime(QDate(2024, 3, id), QTime(12, 0)), posts.at(id - 1).draft)
            ->setTags(tagList(posts.at(id - 1).tags));
}

} // namespace

class tst_QFBlogPluginTagsEmission : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initializeBlogClassForFixtures(); }

    void tagPages_data()
    {
        QTest::addColumn<TaggedPosts>("posts");
        QTest::addColumn<QStringList>("pages");
        QTest::addColumn<QStringList>("entries"); // per page, the posts it shows

        // "Alps" and "alps" are two tags of one file name: the first keeps it
        // (and the export says so) rather than the second replacing it.
        QTest::newRow("tags in the order first met, posts in stored order")
            << TaggedPosts{{false, {"sea", "Alps"}}, {false, {"alps"}}, {false, {"Alps", "sea"}}}
            << QStringList{"tag-sea.html", "tag-alps.html"} << QStringList{"1,3", "1,3"};
        QTest::newRow("drafts left out") << TaggedPosts{{false, {"sea"}}, {true, {"sea"}}, {false, {"sea"}}}
                                         << QStringList{"tag-sea.html"} << QStringList{"1,3"};
        QTest::newRow("a tag used only by drafts gets a page without posts")
            << TaggedPosts{{true, {"secret"}}, {false, {"sea"}}} << QStringList{"tag-secret.html", "tag-sea.html"}
            << QStringList{"", "2"};
        QTest::newRow("no tags, no pages") << TaggedPosts{{false, {}}} << QStringList{} << QStringList{};
    }

    void tagPages()
    {
        QFETCH(TaggedPosts, posts);
        QFETCH(QStringList, pages);
        QFETCH(QStringList, entries);

        QFBlogPlugin blog;
        addPosts(blog, posts);
        const QList<QFExportItem> subpages =
            blog.tagsEmission().emitTagsArchivesWithFileDirectory("../files", pageParams({{"contentonlysubpages", ""}}));
        QCOMPARE(itemNames(subpages), pages);
        QStringList shown;
        for (const QFExportItem &page : subpages)
            shown.append(entryIDs(page.html()).join(','));
        QCOMPARE(shown, entries);
        QCOMPARE(blog.numberOfExportErrors(), unsigned(blog.tagsEmission().tagPageCount() - pages.size()));
        if (blog.numberOfExportErrors())
            QVERIFY2(blog.exportErrorsString().contains("the page of the tag \u201cAlps\u201d and for the page of the tag \u201calps\u201d"),
                     qPrintable(blog.exportErrorsString()));
    }

    void draftOnlyTagPageMatchesTheGoldenFile()
    {
        QFBlogPlugin blog;
        blog.setArchivePostsEnabled(false);
        blog.setCategoryPostsEnabled(false);
        blog.setGeneratePermalinkPages(false);
        addPosts(blog, {{true, {"<b>Plans</b> & Ideas"}}, {false, {}}});
        const QList<QFExportItem> result = blog.extraFilesNeededInExportFolder(
            pageParams({{"contentonlysubpages", "1"}, {"title", "Tom & Jerry's Blog"}}));
        QCOMPARE(itemNames(result), QStringList{"tag--b-plans-b-ideas.html"});
        QCOMPARE(result.first().html(), goldenFile("blog-tags/tag-draft-only.html"));
    }

    void tagCloud_data()
    {
        QTest::addColumn<TaggedPosts>("posts");
        QTest::addColumn<QString>("subpage");
        QTest::addColumn<QString>("cloud");

        const auto item = [](const QString &name, int size, const QString &folder = "files/") {
            return QStringLiteral("<li><a href=\"%1tag-%2.html\" title=\"%3\" class=\"blog-tag-size-%4\" rel=\"tag\">%3</a></li>\n")
                .arg(folder, name.toLower(), name, QString::number(size));
        };
        const auto cloud = [](const QString &items) { return "<ul class=\"blog-tag-cloud\">" + items + "</ul>\n"; };
        // Used 5, 3, 3, 1 and 1 times: most used 11, then one size less per count, ties alike.
        TaggedPosts counted(5, TaggedPost{false, {"travel"}});
        counted.append(TaggedPosts(3, TaggedPost{false, {"Food", "art"}}));
        counted.append({{false, {"zoo", "Books"}}, {true, {"zoo", "art", "travel"}}});

        QTest::newRow("by name, sized by use, drafts not counted")
            << counted << "" << cloud(item("art", 10) + item("Books", 8) + item("Food", 9) + item("travel", 11) + item("zoo", 7));
        QTest::newRow("from a sub-page the links are bare file names")
            << TaggedPosts{{false, {"sea"}}} << "true" << cloud(item("sea", 11, ""));
        QTest::newRow("tags only on drafts: an empty cloud") << TaggedPosts{{true, {"sea"}}} << "" << cloud("");
        QTest::newRow("no tag known: nothing") << TaggedPosts{{false, {}}} << "" << "";
    }

    void tagCloud()
    {
        QFETCH(TaggedPosts, posts);
        QFETCH(QString, subpage);
        QFETCH(QString, cloud);

        QFBlogPlugin blog;
        addPosts(blog, posts);
        QCOMPARE(blog.tagsEmission().stringForTagCloudHTML(pageParams({{"subpage", subpage}})), cloud);
    }
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginTagsEmission)
#include "tst_qfblogplugintagsemission.moc"

#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/generation/qfblogplugintagsemission.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfbundle.h"

#include <QFile>
#include <QtTest>

// A post: whether it is a draft and its tags, in order.
struct TaggedPost
{
    bool draft = false;
    QStringList tags;
};
using TaggedPostList = QList<TaggedPost>;
Q_DECLARE_METATYPE(TaggedPostList)

class tst_QFBlogPluginTagsEmission : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void tagPages_data();
    void tagPages();
    void draftOnlyTagPageMatchesTheGoldenFile();
    void tagCloud_data();
    void tagCloud();
};

namespace {

const QVariantMap kParams{{QStringLiteral("FilenameExt"), QStringLiteral("html")},
                          {QStringLiteral("filesfoldername"), QStringLiteral("files")},
                          {QStringLiteral("name"), QStringLiteral("blog.html")},
                          {QStringLiteral("title"), QStringLiteral("Tom & Jerry's Blog")}};

// Posts numbered 1, 2, … in the order given, one day apart, the last newest.
void addPosts(QFBlogPlugin &plugin, const TaggedPostList &posts)
{
    int id = 0;
    for (const TaggedPost &fixture : posts) {
        QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
        entry->setID(++id);
        entry->setGUID(QStringLiteral("post-%1").arg(id));
        entry->setTitle(QStringLiteral("Post %1").arg(id));
        entry->setDate(QDateTime(QDate(2024, 3, id), QTime(12, 0)));
        entry->setStatus(fixture.draft ? 0 : 1);
        QFBlogTagList tags;
        for (const QString &name : fixture.tags)
            tags.append(QFBlogTag(name));
        entry->setTags(tags);
        plugin.insertBlogEntry(entry);
    }
}

// What a tag page lists for the posts "1,-,3" (by ID, "-" for a draft): the
// posts' fragments, one a line.
QString expectedEntries(QFBlogPlugin &plugin, const QString &ids, const QVariantMap &params)
{
    QStringList fragments;
    for (const QString &id : ids.split(QLatin1Char(','))) {
        fragments.append(id == QLatin1String("-") ? QString()
                                                  : plugin.codeGeneration().emitBlogEntryHTML(
                                                        plugin.posts().at(id.toInt() - 1), QStringLiteral("../files"),
                                                        1, false, QFBlogPluginCodeGeneration::TagPage, params));
    }
    return fragments.join(QLatin1Char('\n'));
}

} // namespace

void tst_QFBlogPluginTagsEmission::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogPluginTagsEmission::tagPages_data()
{
    QTest::addColumn<TaggedPostList>("posts");
    QTest::addColumn<QStringList>("pages");
    QTest::addColumn<QStringList>("entries");

    QTest::newRow("tags in the order first met, posts in stored order")
        << TaggedPostList{{false, {"sea", "Alps"}}, {false, {"alps"}}, {false, {"Alps", "sea"}}}
        << QStringList{"tag-sea.html", "tag-alps.html", "tag-alps.html"} << QStringList{"1,3", "1,3", "2"};
    // A draft keeps its line, empty.
    QTest::newRow("drafts stay in the list as empty lines")
        << TaggedPostList{{false, {"sea"}}, {true, {"sea"}}, {false, {"sea"}}} << QStringList{"tag-sea.html"}
        << QStringList{"1,-,3"};
    QTest::newRow("a tag used only by drafts gets a page without posts")
        << TaggedPostList{{true, {"secret"}}, {false, {"sea"}}} << QStringList{"tag-secret.html", "tag-sea.html"}
        << QStringList{"-", "2"};
    QTest::newRow("no tags, no pages") << TaggedPostList{{false, {}}} << QStringList{} << QStringList{};
}

void tst_QFBlogPluginTagsEmission::tagPages()
{
    QFETCH(TaggedPostList, posts);
    QFETCH(QStringList, pages);
    QFETCH(QStringList, entries);

    QFBlogPlugin plugin;
    addPosts(plugin, posts);
    QVariantMap params = kParams;
    params.insert(QStringLiteral("contentonlysubpages"), QString());
    QFBlogPluginTagsEmission &group = plugin.tagsEmission();
    const QList<QFExportItem> subpages = group.emitTagsArchivesWithFileDirectory(QStringLiteral("../files"), params);
    QStringList names;
    for (const QFExportItem &page : subpages)
        names.append(page.name());
    QCOMPARE(names, pages);
    for (qsizetype i = 0; i < subpages.size(); ++i) {
        const QString html = subpages.at(i).html();
        QVERIFY2(html.contains(QStringLiteral("</h1>\n") + expectedEntries(plugin, entries.at(i), params)
                               + QStringLiteral("\n</div>")),
                 qPrintable(html));
    }
    QCOMPARE(group.tagPageCount(), pages.size());
}

void tst_QFBlogPluginTagsEmission::draftOnlyTagPageMatchesTheGoldenFile()
{
    QFBlogPlugin plugin;
    plugin.setArchivePostsEnabled(false);
    plugin.setCategoryPostsEnabled(false);
    plugin.setGeneratePermalinkPages(false);
    addPosts(plugin, {{true, {"<b>Plans</b> & Ideas"}}, {false, {}}});
    QVariantMap params = kParams;
    params.insert(QStringLiteral("contentonlysubpages"), QStringLiteral("1"));

    const QList<QFExportItem> result = plugin.extraFilesNeededInExportFolder(params);
    QCOMPARE(result.size(), 1);
    QCOMPARE(result.first().name(), QStringLiteral("tag--b-plans-b-ideas.html"));
    QFile golden(QFINDTESTDATA("../../data/blog-tags/tag-draft-only.html"));
    QVERIFY(golden.open(QIODevice::ReadOnly));
    QCOMPARE(result.first().html(), QString::fromUtf8(golden.readAll()));
}

void tst_QFBlogPluginTagsEmission::tagCloud_data()
{
    QTest::addColumn<TaggedPostList>("posts");
    QTest::addColumn<QString>("subpage");
    QTest::addColumn<QString>("cloud");

    const auto item = [](const char *name, int size, const char *folder = "files/") {
        const QString text = QString::fromUtf8(name);
        return QStringLiteral("<li><a href=\"%1tag-%2.html\" title=\"%3\" class=\"blog-tag-size-%4\" rel=\"tag\">%5</a></li>\n")
            .arg(QString::fromUtf8(folder), text.toLower(), text, QString::number(size), text);
    };
    // Used 5, 3, 3, 1 and 1 times: most used first, ties by name, size 11 down.
    TaggedPostList counted;
    for (int i = 0; i < 5; ++i)
        counted.append(TaggedPost{false, {"travel"}});
    for (int i = 0; i < 3; ++i)
        counted.append(TaggedPost{false, {"Food", "art"}});
    counted.append(TaggedPost{false, {"zoo", "Books"}});
    counted.append(TaggedPost{true, {"zoo", "art", "travel"}});

    QTest::newRow("by name, sized by use, drafts not counted")
        << counted << ""
        << QStringLiteral("<ul class=\"blog-tag-cloud\">%1</ul>\n")
               .arg(item("art", 10) + item("Books", 8) + item("Food", 9) + item("travel", 11) + item("zoo", 7));
    QTest::newRow("from a sub-page the links are bare file names")
        << TaggedPostList{{false, {"sea"}}} << "true"
        << QStringLiteral("<ul class=\"blog-tag-cloud\">%1</ul>\n").arg(item("sea", 11, ""));
    QTest::newRow("tags only on drafts: an empty cloud")
        << TaggedPostList{{true, {"sea"}}} << "" << QStringLiteral("<ul class=\"blog-tag-cloud\"></ul>\n");
    QTest::newRow("no tag known: nothing") << TaggedPostList{{false, {}}} << "" << "";
}

void tst_QFBlogPluginTagsEmission::tagCloud()
{
    QFETCH(TaggedPostList, posts);
    QFETCH(QString, subpage);
    QFETCH(QString, cloud);

    QFBlogPlugin plugin;
    addPosts(plugin, posts);
    QVariantMap params = kParams;
    params.insert(QStringLiteral("subpage"), subpage);
    QCOMPARE(plugin.tagsEmission().stringForTagCloudHTML(params), cloud);
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginTagsEmission)
#include "tst_qfblogplugintagsemission.moc"

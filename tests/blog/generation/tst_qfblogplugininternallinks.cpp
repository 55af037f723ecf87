#include "blogfixtures.h"

#include "blog/generation/qfblogplugininternallinks.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qfsiteexporter.h"
#include "qfkit/support/qflink.h"
#include "qfkit/text/qfstyledtext.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

// The places of a blog that other pages link to, and how links to them are
// written at export.
namespace {

QFBlogEntryPtr add(QFBlogPlugin &blog, int id, const QString &title, bool draft = false, const QStringList &tags = {},
                   const QList<int> &categories = {})
{
    QFBlogEntryPtr entry = addPost(blog, id, QDateTime(QDate(2024, 5, 1).addDays(id), QTime(9, 0)), draft);
    entry->setTitle(title);
    entry->setTags(tagList(tags));
    entry->setCategoryIDs(categories);
    return entry;
}

// "title | subpage | anchor" per target, children indented.
QStringList rendered(const QVariantList &targets, const QString &indent = QString())
{
    QStringList lines;
    for (const QVariant &value : targets) {
        const QVariantMap target = value.toMap();
        lines.append(indent + target.value("title").toString() + " | " + target.value("subpageID").toString() + " | "
                     + target.value("anchorID").toString());
        lines.append(rendered(target.value("children").toList(), indent + "  "));
    }
    return lines;
}

} // namespace

class tst_QFBlogPluginInternalLinks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initializeBlogClassForFixtures(); }

    void targetsListPostsCategoriesAndTags()
    {
        QTemporaryDir dir;
        QFBlogPlugin blog;
        blog.setUniqueID("page-1");
        const QString travel = QString::number(categoryID(blog, "Travel")), work = QString::number(categoryID(blog, "Work"));
        QVERIFY(QFile(dir.filePath("talk.mp3")).open(QIODevice::WriteOnly));

        add(blog, 1, "Oldest", false, {"Travel"}, {travel.toInt()})->setPodcast(dir.filePath("talk.mp3"));
        // A category whose only post is a draft is still offered (categories
        // keep the blog's order: Work before Travel); the draft's own tag is not.
        add(blog, 2, "Draft", true, {"secret"}, {work.toInt()});
        add(blog, 3, "Newest", false, {"Travel", "sea"}, {travel.toInt()})->setPodcast(dir.filePath("gone.mp3"));

        const std::optional<QVariantList> targets = blog.internalPageLinks();
        QVERIFY(targets);
        QCOMPARE(rendered(*targets),
                 (QStringList{"Newest | permalink:3 | postid:3", "Oldest | permalink:1 | postid:1",
                              "  Podcast 'talk.mp3' | podcast:1 | postid:1", "Category: Work | category:" + work + " | category:" + work,
                              "Category: Travel | category:" + travel + " | category:" + travel,
                              "Tag: Travel | tag:Travel | tag:Travel", "Tag: sea | tag:sea | tag:sea"}));
        for (const QVariant &target : *targets)
            QCOMPARE(target.toMap().value("pageID").toString(), QStringLiteral("page-1"));

        blog.setGeneratePermalinkPages(false);
        QVERIFY(!blog.internalPageLinks().has_value());
    }

    void subpageIDsMapToFilesAndNames_data()
    {
        QTest::addColumn<QString>("subpageID");
        QTest::addColumn<QString>("file"); // null: the ID names nothing
        QTest::addColumn<QString>("name");

        const QString none;
        QTest::newRow("permalink") << "permalink:2" << "post-2-2" << "Second";
        QTest::newRow("untitled post") << "permalink:3" << "post-3-3" << "Untitled";
        QTest::newRow("override name as typed") << "permalink:4" << "about-us" << "Renamed";
        QTest::newRow("newest of two posts sharing an ID") << "permalink:5" << "post-5-5" << "Newer twin";
        QTest::newRow("unknown post") << "permalink:99" << none << none;
        QTest::newRow("prefix in another case") << "Permalink:2" << none << none;
        QTest::newRow("podcast") << "podcast:2" << "podcast_2.mp3" << "Podcast 'talk.mp3'";
        QTest::newRow("category") << "category:CAT" << "category-travel" << "Travel";
        QTest::newRow("unknown category") << "category:9999" << none << none;
        QTest::newRow("tag") << "tag:Travel" << "tag-travel" << "Travel";
        QTest::newRow("tag in another case") << "tag:travel" << none << none;
        QTest::newRow("tag of a draft only") << "tag:secret" << none << none;
        QTest::newRow("no kind at all") << "postid:2" << none << none;
    }

    void subpageIDsMapToFilesAndNames()
    {
        QFETCH(QString, subpageID);
        QFETCH(QString, file);
        QFETCH(QString, name);

        QFBlogPlugin blog;
        const int travel = categoryID(blog, "Travel");
        subpageID.replace("CAT", QString::number(travel));
        add(blog, 2, "Second", false, {"Travel"}, {travel})->setPodcast("/music/talk.mp3");
        add(blog, 3, QString());
        add(blog, 4, "Renamed")->setOverridePermalinkNameText("about-us");
        add(blog, 5, "Newer twin");
        add(blog, 5, "Older twin")->setDate(QDateTime(QDate(2020, 1, 1), QTime(9, 0)));
        add(blog, 6, "Draft", true, {"secret"});

        // The same answers from the blog as it is and from the export's index.
        QFBlogPluginInternalLinks &links = blog.internalLinks();
        for (const bool indexed : {false, true}) {
            if (indexed)
                links.beginLookups();
            const std::optional<QString> mappedFile = links.internalPageLinkFileMapper(subpageID);
            const std::optional<QString> mappedName = links.internalPageLinkNameMapper(subpageID);
            if (indexed)
                links.endLookups();
            QCOMPARE(mappedFile.has_value(), !file.isNull());
            QCOMPARE(mappedFile.value_or(QString()), file);
            QCOMPARE(mappedName.value_or(QString()), name);
        }
    }

    void linksInPostsResolveInTheExportedSite_data()
    {
        QTest::addColumn<QString>("subpageID");
        QTest::addColumn<QString>("target"); // file in the blog's files folder

        QTest::newRow("permalink page") << "permalink:2" << "post-2-2.html";
        QTest::newRow("category page") << "category:CAT" << "category-travel.html";
        QTest::newRow("tag page") << "tag:Travel" << "tag-travel.html";
    }

    void linksInPostsResolveInTheExportedSite()
    {
        QFETCH(QString, subpageID);
        QFETCH(QString, target);

        QFSiteDocument site;
        site.setSiteTitle("Field Notes");
        site.setSiteBaseURL("http://example.org/");
        auto owned = std::make_unique<QFBlogPlugin>(), ownedOther = std::make_unique<QFBlogPlugin>();
        QFBlogPlugin &blog = *owned, &other = *ownedOther;
        const QString blogID = site.addPage(std::move(owned), "blog", "Blog").uniqueID;
        // A second blog, in a folder of its own, links into the first one.
        site.addPage(std::move(ownedOther), "trips", "Trips", "travel");

        const int travel = categoryID(blog, "Travel");
        const QFLink link = QFLink::internalLink(blogID, subpageID.replace("CAT", QString::number(travel)));
        const auto linkedBody = [&](const QString &before) {
            return QFStyledText(before).append("see this", {{QString(kQFLinkAttributeName), link.toVariantMap()}});
        };
        add(blog, 1, "First", false, {"Travel"}, {travel})->setEntry(linkedBody("First: "));
        add(blog, 2, "Second", false, {"Travel"}, {travel});
        add(other, 1, "Elsewhere")->setEntry(linkedBody("Over there: "));

        QTemporaryDir dir;
        const QString out = dir.filePath("www");
        QFSiteExporter(site).exportTo(out);

        const auto hrefIn = [&](const QString &page) {
            static const QRegularExpression anchor("<a [^>]*href=\"([^\"]*)\"[^>]*>see this</a>");
            return anchor.match(readFile(out + page)).captured(1);
        };
        QVERIFY(QFile::exists(out + "/files/" + target));
        // The blog's main page (depth 0), the first post's own page (depth 1),
        // and the other blog's main page one folder down.
        QCOMPARE(hrefIn("/blog.html"), "files/" + target);
        QCOMPARE(hrefIn("/files/post-1-1.html"), target);
        QCOMPARE(hrefIn("/travel/trips.html"), "../files/" + target);
    }
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginInternalLinks)
#include "tst_qfblogplugininternallinks.moc"

#include "blog/generation/qfblogplugininternallinks.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/document/qfsiteexporter.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qflink.h"
#include "qfkit/text/qfstyledtext.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

// The places of a blog that other pages link to, and how links to them
// are written at export.
class tst_QFBlogPluginInternalLinks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void noTargetsWithoutPermalinkPages();
    void targetsListPostsCategoriesAndTags();
    void subpageIDsMapToFilesAndNames_data();
    void subpageIDsMapToFilesAndNames();
    void linksInPostsResolveInTheExportedSite_data();
    void linksInPostsResolveInTheExportedSite();

private:
    QFBlogEntryPtr addPost(QFBlogPlugin &plugin, int id, const QString &title, int status, const QStringList &tags,
                           const QList<int> &categoryIDs);

    std::unique_ptr<QTemporaryDir> m_dir;
};

namespace {

int categoryID(const QFBlogPlugin &plugin, const char *name)
{
    const QFBlogCategoryPtr category = plugin.categoryForCategoryName(QString::fromLatin1(name));
    return category ? category->categoryID() : -1;
}

// "title | subpage | anchor" per target, children indented.
QStringList rendered(const QVariantList &targets, const QString &indent = QString())
{
    QStringList lines;
    for (const QVariant &value : targets) {
        const QVariantMap target = value.toMap();
        lines.append(indent + QStringList{target.value("title").toString(), target.value("subpageID").toString(),
                                          target.value("anchorID").toString()}
                                  .join(QStringLiteral(" | ")));
        lines.append(rendered(target.value("children").toList(), indent + QStringLiteral("  ")));
    }
    return lines;
}

QString readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

void tst_QFBlogPluginInternalLinks::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogPluginInternalLinks::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

QFBlogEntryPtr tst_QFBlogPluginInternalLinks::addPost(QFBlogPlugin &plugin, int id, const QString &title, int status,
                                                      const QStringList &tags, const QList<int> &categoryIDs)
{
    QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
    entry->setID(id);
    entry->setGUID(QStringLiteral("guid"));
    entry->setTitle(title);
    entry->setDate(QDateTime(QDate(2024, 5, 1).addDays(id), QTime(9, 0)));
    entry->setStatus(status);
    QFBlogTagList tagList;
    for (const QString &tag : tags)
        tagList.append(QFBlogTag(tag));
    entry->setTags(tagList);
    entry->setCategoryIDs(categoryIDs);
    plugin.insertBlogEntry(entry);
    return entry;
}

void tst_QFBlogPluginInternalLinks::noTargetsWithoutPermalinkPages()
{
    QFBlogPlugin plugin;
    addPost(plugin, 1, QStringLiteral("One"), 1, {QStringLiteral("Travel")}, {categoryID(plugin, "Travel")});
    plugin.setGeneratePermalinkPages(false);
    QVERIFY(!plugin.internalPageLinks().has_value());
}

void tst_QFBlogPluginInternalLinks::targetsListPostsCategoriesAndTags()
{
    QFBlogPlugin plugin;
    plugin.setUniqueID(QStringLiteral("page-1"));
    const int travel = categoryID(plugin, "Travel");
    const int work = categoryID(plugin, "Work");
    QVERIFY(travel > 0 && work > 0);
    const QString podcast = m_dir->filePath(QStringLiteral("talk.mp3"));
    QFile file(podcast);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();

    addPost(plugin, 1, QStringLiteral("Oldest"), 1, {QStringLiteral("Travel")}, {travel})->setPodcast(podcast);
    // A category whose only post is a draft is still offered (categories
    // keep the blog's order: Work before Travel); the draft's own tag is not.
    addPost(plugin, 2, QStringLiteral("Draft"), 0, {QStringLiteral("secret")}, {work});
    addPost(plugin, 3, QStringLiteral("Newest"), 1, {QStringLiteral("Travel"), QStringLiteral("sea")}, {travel})
        ->setPodcast(m_dir->filePath(QStringLiteral("gone.mp3")));

    const std::optional<QVariantList> targets = plugin.internalPageLinks();
    QVERIFY(targets);
    const QString travelID = QString::number(travel);
    const QString workID = QString::number(work);
    QCOMPARE(rendered(*targets),
             (QStringList{"Newest | permalink:3 | postid:3", "Oldest | permalink:1 | postid:1",
                          "  Podcast 'talk.mp3' | podcast:1 | postid:1",
                          "Category: Work | category:" + workID + " | category:" + workID,
                          "Category: Travel | category:" + travelID + " | category:" + travelID,
                          "Tag: Travel | tag:Travel | tag:Travel", "Tag: sea | tag:sea | tag:sea"}));
    for (const QVariant &target : *targets)
        QCOMPARE(target.toMap().value("pageID").toString(), QStringLiteral("page-1"));
}

void tst_QFBlogPluginInternalLinks::subpageIDsMapToFilesAndNames_data()
{
    QTest::addColumn<QString>("subpageID");
    QTest::addColumn<QString>("file"); // null: the ID names nothing
    QTest::addColumn<QString>("name");

    QTest::newRow("permalink") << "permalink:2" << "guid-2" << "Second";
    QTest::newRow("digits then text read as the digits") << "permalink:2abc" << "guid-2" << "Second";
    QTest::newRow("untitled post") << "permalink:3" << "guid-3" << "Untitled";
    QTest::newRow("override name as typed") << "permalink:4" << "about-us" << "Renamed";
    QTest::newRow("newest of two posts sharing an ID") << "permalink:5" << "guid-5" << "Newer twin";
    QTest::newRow("unknown post") << "permalink:99" << QString() << QString();
    QTest::newRow("prefix alone") << "permalink:" << QString() << QString();
    QTest::newRow("prefix in another case") << "Permalink:2" << QString() << QString();
    QTest::newRow("podcast") << "podcast:2" << "podcast_2.mp3" << "Podcast 'talk.mp3'";
    QTest::newRow("category") << "category:CAT" << "category-travel" << "Travel";
    QTest::newRow("unknown category") << "category:9999" << QString() << QString();
    QTest::newRow("tag") << "tag:Travel" << "tag-travel" << "Travel";
    QTest::newRow("tag in another case") << "tag:travel" << QString() << QString();
    QTest::newRow("tag of a draft only") << "tag:secret" << QString() << QString();
    QTest::newRow("tag prefix alone") << "tag:" << QString() << QString();
    QTest::newRow("no kind at all") << "postid:2" << QString() << QString();
}

void tst_QFBlogPluginInternalLinks::subpageIDsMapToFilesAndNames()
{
    QFETCH(QString, subpageID);
    QFETCH(QString, file);
    QFETCH(QString, name);

    QFBlogPlugin plugin;
    const int travel = categoryID(plugin, "Travel");
    subpageID.replace(QLatin1String("CAT"), QString::number(travel));
    addPost(plugin, 2, QStringLiteral("Second"), 1, {QStringLiteral("Travel")}, {travel})
        ->setPodcast(QStringLiteral("/music/talk.mp3"));
    addPost(plugin, 3, QString(), 1, {}, {});
    const QFBlogEntryPtr renamed = addPost(plugin, 4, QStringLiteral("Renamed"), 1, {}, {});
    renamed->setOverridePermalinkNameText(QStringLiteral("about-us"));
    addPost(plugin, 5, QStringLiteral("Newer twin"), 1, {}, {});
    addPost(plugin, 5, QStringLiteral("Older twin"), 1, {}, {})->setDate(QDateTime(QDate(2020, 1, 1), QTime(9, 0)));
    addPost(plugin, 6, QStringLiteral("Draft"), 0, {QStringLiteral("secret")}, {});

    // The same answers from the blog as it is and from the export's index.
    QFBlogPluginInternalLinks &links = plugin.internalLinks();
    for (const bool indexed : {false, true}) {
        if (indexed)
            links.beginLookups();
        const std::optional<QString> mappedFile = links.internalPageLinkFileMapper(subpageID);
        const std::optional<QString> mappedName = links.internalPageLinkNameMapper(subpageID);
        if (indexed)
            links.endLookups();
        QCOMPARE(mappedFile.value_or(QString()), file);
        QCOMPARE(mappedFile.has_value(), !file.isNull());
        QCOMPARE(mappedName.value_or(QString()), name);
    }
}

void tst_QFBlogPluginInternalLinks::linksInPostsResolveInTheExportedSite_data()
{
    QTest::addColumn<QString>("subpageID");
    QTest::addColumn<QString>("target"); // file in the blog's files folder

    QTest::newRow("permalink page") << "permalink:2" << "guid-2.html";
    QTest::newRow("category page") << "category:CAT" << "category-travel.html";
    QTest::newRow("tag page") << "tag:Travel" << "tag-travel.html";
}

void tst_QFBlogPluginInternalLinks::linksInPostsResolveInTheExportedSite()
{
    QFETCH(QString, subpageID);
    QFETCH(QString, target);

    QFSiteDocument site;
    site.setSiteTitle(QStringLiteral("Field Notes"));
    site.setSiteBaseURL(QStringLiteral("http://example.org/"));
    auto owned = std::make_unique<QFBlogPlugin>();
    QFBlogPlugin &blog = *owned;
    const QString blogID = site.addPage(std::move(owned), QStringLiteral("blog"), QStringLiteral("Blog")).uniqueID;
    // A second blog, in a folder of its own, links into the first one.
    auto ownedOther = std::make_unique<QFBlogPlugin>();
    QFBlogPlugin &other = *ownedOther;
    site.addPage(std::move(ownedOther), QStringLiteral("trips"), QStringLiteral("Trips"), QStringLiteral("travel"));

    const int travel = categoryID(blog, "Travel");
    subpageID.replace(QLatin1String("CAT"), QString::number(travel));
    const QFLink link = QFLink::internalLink(blogID, subpageID);
    const auto linkedBody = [&](const QString &before) {
        QFStyledText body(before);
        body.append(QStringLiteral("see this"), {{QString(kQFLinkAttributeName), link.toVariantMap()}});
        return body;
    };
    const QFBlogEntryPtr first = addPost(blog, 1, QStringLiteral("First"), 1, {QStringLiteral("Travel")}, {travel});
    first->setEntry(linkedBody(QStringLiteral("First: ")));
    addPost(blog, 2, QStringLiteral("Second"), 1, {QStringLiteral("Travel")}, {travel});
    addPost(other, 1, QStringLiteral("Elsewhere"), 1, {}, {})->setEntry(linkedBody(QStringLiteral("Over there: ")));

    QFSiteExporter exporter(site);
    const QString out = m_dir->filePath(QStringLiteral("www"));
    exporter.exportTo(out);

    const auto hrefOfLink = [](const QString &html) {
        static const QRegularExpression anchor(QStringLiteral("<a [^>]*href=\"([^\"]*)\"[^>]*>see this</a>"));
        return anchor.match(html).captured(1);
    };
    QVERIFY(QFile::exists(out + QStringLiteral("/files/") + target));
    // The blog's main page (depth 0) and the first post's own page (depth 1).
    QCOMPARE(hrefOfLink(readFile(out + QStringLiteral("/blog.html"))), QStringLiteral("files/") + target);
    QCOMPARE(hrefOfLink(readFile(out + QStringLiteral("/files/guid-1.html"))), target);
    // The other blog's main page, one folder down.
    QCOMPARE(hrefOfLink(readFile(out + QStringLiteral("/travel/trips.html"))), QStringLiteral("../files/") + target);
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginInternalLinks)
#include "tst_qfblogplugininternallinks.moc"

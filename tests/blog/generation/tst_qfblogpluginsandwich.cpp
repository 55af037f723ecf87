#include "blogfixtures.h"

#include "blog/generation/qfblogpluginsandwich.h"
#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/qfpagepackagereader.h"
#include "qfkit/sandwich/qfpagepackagewriter.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"
#include "qfkit/support/qfrecordingalertpresenter.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QDateTime &kNow = kFixtureNow;
const QDateTime &kBuilt = kFixtureBuilt;

QString L(const char *key)
{
    return QFBlogPlugin::localizedString(QString::fromLatin1(key));
}

// A package read back from its file, as the host hands it over.
std::unique_ptr<CVSandwich> throughFile(const CVSandwich &sandwich)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("page.qfpage");
    QFPagePackageWriter().write(sandwich, path);
    return QFPagePackageReader().read(path);
}

// A blog made from a package holding `dictionary` and `files` (name: path).
std::unique_ptr<QFBlogPlugin> rebuilt(const QVariantMap &dictionary, const QMap<QString, QString> &files = {})
{
    CVSandwich sandwich(QFBlogPluginSandwich::sandwichType());
    auto filling = std::make_shared<CVSandwichFilling>(dictionary);
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        filling->addFile(it.key(), it.value());
    sandwich.setFilling(filling, 0);
    return QFBlogPluginSandwich::createWithSandwich(sandwich, [] { return kNow; });
}

QVariantMap postDictionary(const QString &title, int id)
{
    return {{"Title", title}, {"ID", id}, {"PublishStatus", 1}};
}

} // namespace

class tst_QFBlogPluginSandwich : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initializeBlogClassForFixtures(); }
    void init()
    {
        m_alerts.clear();
        m_previousPresenter = QFAlert::setPresenter(&m_alerts);
    }
    void cleanup() { QFAlert::setPresenter(m_previousPresenter); }

    void everySettingSurvivesThePackage()
    {
        // Not in the package: the homepage (the site gives it), bundle tables
        // and interface state.
        const QSet<QByteArray> notCarried = {"rssHomepage", "languages", "dates", "shouldUpdateSearchIndexes",
                                             "pluginIsInitialising", "localizeCheckBoxState", "objectName"};
        const QSet<QByteArray> derived = {"archivePostsPeriodString", "knownTagsArray", "enableComments"};

        const QFBlogPlugin fresh;
        QFBlogPlugin blog;
        blog.setClock([] { return kNow; });
        QList<QByteArray> carried;
        changeEverything(blog, notCarried, derived, carried);
        if (QTest::currentTestFailed())
            return;

        QSignalSpy sourceReports(&blog, &QFTextViewPluginClient::pluginChanged);
        const std::unique_ptr<CVSandwich> package = throughFile(*blog.sandwich());
        QCOMPARE(sourceReports.count(), 0);
        QCOMPARE(package->type(), QStringLiteral("Quillfen Blog Page Data"));
        // The podcast path is the one value asked for; kept, everything survives.
        CVSandwichImport import;
        QStringList asked;
        import.keepLocalPaths = [&asked](const QList<CVSandwichImport::LocalPath> &paths) {
            for (const CVSandwichImport::LocalPath &local : paths)
                asked.append(local.owner + ": " + local.path);
            return true;
        };
        const std::unique_ptr<QFBlogPlugin> loaded =
            QFBlogPluginSandwich::createWithSandwich(*package, import, [] { return kNow; });
        QVERIFY(!loaded->pluginIsInitialising());
        QCOMPARE(asked, QStringList{"post \u201cSpring in Lisbon\u201d: /media/episode1.mp3"});
        QVERIFY(import.localPathsKept);
        QCOMPARE(import.itemCount, std::optional<qsizetype>(2));

        for (const QByteArray &key : std::as_const(carried)) {
            QVariant expected = comparable(blog.property(key));
            if (key == "lastBuildDate") {
                // The last build date is the last saved one, whatever was stored.
                expected = kBuilt.addDays(-3);
            } else if (key == "channelCustomiTunesTags") {
                // The explicit flag is written under a key its reader does not
                // know, and the image conversion switch is not written at all.
                QVariantMap tags = expected.toMap();
                tags.insert("explicit", false);
                tags.insert("convertImage", true);
                expected = tags;
            }
            if (key != "enablePodcasting")
                QVERIFY2(comparable(blog.property(key)) != comparable(fresh.property(key)), "not changed from its default: " + key);
            const QVariant actual = comparable(loaded->property(key));
            QVERIFY2(actual == expected, key + ": " + QDebug::toString(actual).toUtf8() + " != " + QDebug::toString(expected).toUtf8());
        }
        const QString differences = postDifferences(blog, *loaded);
        QVERIFY2(differences.isEmpty(), qPrintable(differences));
        QCOMPARE(loaded->knownTagsArray(), blog.knownTagsArray());
        QCOMPARE(loaded->blogEntryArrayController().selectionIndex(), 0);
        QVERIFY(m_alerts.requests().isEmpty());
    }

    void postFilesAreNumberedByPosition_data()
    {
        QTest::addColumn<int>("posts");
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QStringList>("absent");

        QTest::newRow("9 posts, one digit") << 9 << QStringList{"1-Body.as", "2-Body.as", "2-Summary.as", "9-Body.as"}
                                            << QStringList{"02-Body.as", "10-Body.as"};
        QTest::newRow("12 posts, two digits") << 12 << QStringList{"01-Body.as", "02-Body.as", "02-Summary.as", "12-Body.as"}
                                              << QStringList{"2-Body.as", "012-Body.as"};
        QTest::newRow("100 posts, three digits") << 100 << QStringList{"001-Body.as", "100-Summary.as"} << QStringList{"01-Body.as"};
    }

    void postFilesAreNumberedByPosition()
    {
        QFETCH(int, posts);
        QFETCH(QStringList, present);
        QFETCH(QStringList, absent);

        QFBlogPlugin blog;
        for (int i = 1; i <= posts; ++i)
            addPost(blog, i, kNow)->setEntrySummaryString(QStringLiteral("Summary %1").arg(i));
        const std::unique_ptr<CVSandwich> package = blog.sandwich();
        const QStringList names = package->fillingForVersion(0)->files().keys();
        QCOMPARE(names.size(), 2 * posts);
        for (const QString &name : present)
            QVERIFY2(names.contains(name), qPrintable(name));
        for (const QString &name : absent)
            QVERIFY2(!names.contains(name), qPrintable(name));

        // Each post gets its own files back.
        const std::unique_ptr<QFBlogPlugin> loaded = QFBlogPluginSandwich::createWithSandwich(*throughFile(*package));
        QCOMPARE(loaded->posts().size(), posts);
        for (int i = 0; i < posts; ++i) {
            QCOMPARE(loaded->posts().at(i)->entry()->plainString(), QStringLiteral("Text of post %1.").arg(i + 1));
            QCOMPARE(loaded->posts().at(i)->entrySummary()->plainString(), QStringLiteral("Summary %1").arg(i + 1));
        }
    }

    void missingKeysTakeTheirDefaults_data()
    {
        QTest::addColumn<QVariantMap>("dictionary");
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QVariant>("expected");

        using D = QVariantMap;
        const D formats{{"DateModifier1", "%A"}, {"DateModifier2", "%B"}, {"DateModifier3", "%y"}, {"DateModifier4", "%H:%M"}};
        D emptyFirst = formats, withoutThird = formats;
        emptyFirst.insert("DateModifier1", QString(QLatin1String("")));
        withoutThird.remove("DateModifier3");
        const D legacyOn{{"EnableComments", true}, {"CommentsUserName", "ada"}};

        QTest::newRow("all four date formats") << formats << QByteArray("dateModifier3") << QVariant("Year (2 digits)");
        QTest::newRow("empty date format is None") << emptyFirst << QByteArray("dateModifier1") << QVariant("None");
        QTest::newRow("no DateModifier3, all back to default") << withoutThird << QByteArray("dateModifier1") << QVariant(L("datemod1"));
        QTest::newRow("ShowPostLimit") << D{{"ShowPostLimit", 5}} << QByteArray("showAtLeastPosts") << QVariant(true);
        QTest::newRow("podcasting off in the package") << D{{"EnablePodcasting", false}} << QByteArray("enablePodcasting") << QVariant(true);
        QTest::newRow("custom feed URL switches it on")
            << D{{"RSSCustomFeedURL", "http://f.example.org/"}} << QByteArray("enableCustomRSSURL") << QVariant(true);
        QTest::newRow("no build date: now") << D() << QByteArray("lastSavedBuildDate") << QVariant(kNow);
        QTest::newRow("last build date is not read") << D{{"LastBuildDate", kBuilt}} << QByteArray("lastBuildDate") << QVariant(kNow);
        QTest::newRow("last build date follows the saved one")
            << D{{"LastSavedBuildDate", kBuilt}, {"LastBuildDate", kNow}} << QByteArray("lastBuildDate") << QVariant(kBuilt);
        QTest::newRow("wrong type counts as missing") << D{{"EnableSmileys", "no"}} << QByteArray("enableSmileys") << QVariant(true);
        QTest::newRow("older page: account and comments on") << legacyOn << QByteArray("commentsSelectedProviderTag") << QVariant(1);
        QTest::newRow("older page: account kept as HaloScan's")
            << legacyOn << QByteArray("commentsUserIdentifiers") << QVariant(D{{"haloscan", "ada"}});
        QTest::newRow("older page: comments on without account")
            << D{{"EnableComments", true}} << QByteArray("commentsSelectedProviderTag") << QVariant(2);
        QTest::newRow("older page: account, comments off")
            << D{{"EnableComments", false}, {"CommentsUserName", "ada"}} << QByteArray("commentsSelectedProviderTag") << QVariant(0);
        QTest::newRow("newer page: the chosen service wins")
            << D{{"EnableComments", true}, {"CommentsUserName", "ada"}, {"CommentsSelectedProviderTag", 3}}
            << QByteArray("commentsSelectedProviderTag") << QVariant(3);
        QTest::newRow("newer page: old account name not read")
            << D{{"CommentsUserName", "ada"}, {"CommentsSelectedProviderTag", 0}} << QByteArray("commentsUserIdentifiers") << QVariant(D());
    }

    void missingKeysTakeTheirDefaults()
    {
        QFETCH(QVariantMap, dictionary);
        QFETCH(QByteArray, key);
        QFETCH(QVariant, expected);

        const QVariant actual = rebuilt(dictionary)->property(key);
        QVERIFY2(actual == expected, qPrintable(QDebug::toString(actual) + " != " + QDebug::toString(expected)));
    }

    void noneCategoryIsNeverWrittenAndAlwaysFirst()
    {
        QFBlogPlugin blog;
        const QVariantList written = blog.sandwich()->fillingForVersion(0)->dictionary().value("Categories").toList();
        QCOMPARE(written.size(), blog.categories().size() - 1);
        for (const QVariant &category : written)
            QVERIFY(category.toMap().value("Name") != L("NoneCategoryName"));

        // A package listing nothing, or a category named like None, still gets
        // its own None category first.
        for (const QVariantList &categories : {QVariantList(), QVariantList{QVariantMap{{"Name", "Travel"}, {"ID", 4}}}}) {
            const std::unique_ptr<QFBlogPlugin> loaded = rebuilt({{"Categories", categories}});
            QCOMPARE(loaded->categories().size(), categories.size() + 1);
            QVERIFY(loaded->categories().constFirst()->isNone());
            QCOMPARE(loaded->categories().constFirst()->categoryName(), L("NoneCategoryName"));
            QVERIFY(loaded->categories().constFirst()->categoryID() != 0);
            if (!categories.isEmpty()) {
                QCOMPARE(loaded->categories().at(1)->categoryName(), QStringLiteral("Travel"));
                QCOMPARE(loaded->categories().at(1)->categoryID(), 4);
                QCOMPARE(loaded->categories().at(1)->blogPlugin(), loaded.get());
            }
        }
    }

    void postsWithBadValuesAreLeftOut()
    {
        QVariantMap badTitle = postDictionary(QString(), 2), badTags = postDictionary("Tagged", 3);
        badTitle.insert("Title", qint64(42));
        badTags.insert("Tags", "travel");
        badTags.insert("Posted", QDateTime(QDate(2022, 1, 1), QTime(9, 0)));
        QFLogCapture log;
        const std::unique_ptr<QFBlogPlugin> loaded =
            rebuilt({{"Entries", QVariantList{postDictionary("Kept", 1), badTitle, "no post", badTags, postDictionary("Also kept", 5)}}});
        QCOMPARE(loaded->posts().size(), 2);
        QCOMPARE(loaded->posts().at(0)->title(), QStringLiteral("Kept"));
        QCOMPARE(loaded->posts().at(1)->title(), QStringLiteral("Also kept"));
        // A left-out post counts none of its tags.
        QVERIFY(loaded->knownTagsArray().isEmpty());
        const QString lines = log.lines().join('\n');
        QVERIFY2(lines.contains("Dictionary has incorrect type for key Title (type is qlonglong, should be QString)"), qPrintable(lines));
        QVERIFY2(lines.contains("Dictionary has incorrect type for key Tags (type is QString, should be QVariantList): Tagged (2022-01-01"),
                 qPrintable(lines));
        // Each left-out post is told by name (or place), besides the log (the
        // kept ones come without files, which is told as well).
        QStringList told;
        for (const QFAlertRequest &request : m_alerts.requests()) {
            if (request.informativeText.contains("left out"))
                told.append(request.informativeText);
        }
        QCOMPARE(told.size(), 3);
        QVERIFY2(told.at(0).contains(L("NoTitle") + " 2") && told.at(1).contains(L("NoTitle") + " 3")
                     && told.at(2).contains("\"Tagged\""),
                 qPrintable(told.join('\n')));
    }

    void unreadablePostFilesGiveEmptyTextsAndAnAlert_data()
    {
        QTest::addColumn<QByteArray>("body"); // null: no body file
        QTest::addColumn<bool>("alerted");

        // Every post travels with both files, so a missing one is damage; an
        // empty one is a text the post did not have.
        QTest::newRow("no body file") << QByteArray() << true;
        QTest::newRow("body file that is no styled text") << QByteArray("plain words, not an archive") << true;
        QTest::newRow("body file of nothing: no body") << QByteArray("") << false;
    }

    void unreadablePostFilesGiveEmptyTextsAndAnAlert()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, alerted);

        QTemporaryDir dir;
        const auto write = [&dir](const char *name, const QByteArray &bytes) {
            QFile file(dir.filePath(name));
            return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? file.fileName() : QString();
        };
        QMap<QString, QString> files{{"1-Summary.as", write("s", QFStyledText("Fine summary").toKeyedArchive())}};
        if (!body.isNull())
            files.insert("1-Body.as", write("b", body));
        const std::unique_ptr<QFBlogPlugin> loaded = rebuilt({{"Entries", QVariantList{postDictionary("Harbour", 1)}}}, files);

        QCOMPARE(loaded->posts().size(), 1);
        QCOMPARE(loaded->posts().constFirst()->entry().has_value(), alerted);
        if (alerted)
            QCOMPARE(loaded->posts().constFirst()->entry()->plainString(), QString());
        QCOMPARE(loaded->posts().constFirst()->entrySummary()->plainString(), QStringLiteral("Fine summary"));
        QCOMPARE(m_alerts.requests().size(), alerted ? 1 : 0);
        if (alerted) {
            QCOMPARE(m_alerts.requests().constFirst().messageText, L("CouldNotReadBlogEntryTitle"));
            QVERIFY(m_alerts.requests().constFirst().informativeText.contains("Harbour"));
        }
    }

    void packageOwnsItsTemporaryFiles()
    {
        QFBlogPlugin blog;
        QFBlogCustomiTunesTagsPtr tags = QFBlogCustomiTunesTags::tags();
        tags->setImageData(pngBytes(Qt::yellow));
        addPost(blog, 1, kNow)->setItunesTags(tags);
        blog.channelCustomiTunesTags()->setImageData(pngBytes(Qt::cyan));

        QStringList paths;
        {
            const std::unique_ptr<CVSandwich> package = blog.sandwich();
            const auto files = package->fillingForVersion(0)->files();
            // No summary was ever set: written as an empty file.
            QCOMPARE(files.keys(), (QStringList{"1-Body.as", "1-ITunesImage.data", "1-Summary.as", "DefaultITunesImage.data"}));
            QCOMPARE(QFileInfo(files.value("1-Summary.as")).size(), 0);
            paths = files.values();
            for (const QString &path : std::as_const(paths))
                QVERIFY(QFileInfo::exists(path));
            const std::unique_ptr<QFBlogPlugin> loaded = QFBlogPluginSandwich::createWithSandwich(*throughFile(*package));
            QCOMPARE(loaded->channelCustomiTunesTags()->imageData(), pngBytes(Qt::cyan));
            QCOMPARE(loaded->posts().constFirst()->itunesTags()->imageData(), pngBytes(Qt::yellow));
            QVERIFY(!loaded->posts().constFirst()->entrySummary());
            QVERIFY(m_alerts.requests().isEmpty());
        }
        for (const QString &path : std::as_const(paths))
            QVERIFY2(!QFileInfo::exists(path), qPrintable(path));
    }

    void repairsRunOnTheRebuiltBlog()
    {
        QVariantMap original = postDictionary("Original", 7);
        original.insert("GUID", "KEEP-ME");
        QFLogCapture log;
        const std::unique_ptr<QFBlogPlugin> loaded = rebuilt({{"Entries", QVariantList{original, postDictionary("Twin", 7)}}, {"LastID", 20}});
        QCOMPARE(loaded->posts().at(0)->ID(), 7);
        QCOMPARE(loaded->posts().at(1)->ID(), 20);
        QCOMPARE(loaded->posts().at(0)->GUID(), QStringLiteral("KEEP-ME"));
        QVERIFY(loaded->posts().at(1)->hasGUID());
        QVERIFY(loaded->posts().at(1)->itunesTags());
        QVERIFY(loaded->postIDWasChanged());
        QVERIFY(log.lines().contains("Blog Plugin: Replaced duplicate ID '7' with '20'"));
        QCOMPARE(loaded->lastID(), 21);

        // A "LastID" behind the posts' IDs would give the next new post a taken one.
        const std::unique_ptr<QFBlogPlugin> behind = rebuilt({{"Entries", QVariantList{postDictionary("Late", 30)}}, {"LastID", 4}});
        QCOMPARE(behind->lastID(), 31);
    }

    void namesThatMakeNoFileAreRefused_data()
    {
        QTest::addColumn<QVariantMap>("dictionary");
        QTest::addColumn<QString>("named");

        QVariantMap post = postDictionary("Escape", 1);
        post.insert("CustomPermalinkFilename", "../../outside.html");
        QTest::newRow("permalink name leading out") << QVariantMap{{"Entries", QVariantList{post}}} << "Escape";
        post.insert("CustomPermalinkFilename", ".htaccess");
        QTest::newRow("hidden permalink name") << QVariantMap{{"Entries", QVariantList{post}}} << ".htaccess";
        QTest::newRow("feed name with a folder") << QVariantMap{{"RSSCustomFeedFilename", "feeds/main"}} << "feeds/main";
        QTest::newRow("feed name of two dots") << QVariantMap{{"RSSCustomFeedFilename", ".."}} << "The feed file name";
    }

    void namesThatMakeNoFileAreRefused()
    {
        QFETCH(QVariantMap, dictionary);
        QFETCH(QString, named);

        try {
            rebuilt(dictionary);
            QFAIL("a blog was made");
        } catch (const QFException &e) {
            QCOMPARE(e.name(), QStringLiteral("Malformed Package"));
            QVERIFY2(e.reason().contains(named), qPrintable(e.reason()));
            QVERIFY2(e.reason().contains("may hold any letters"), qPrintable(e.reason()));
        }
    }

    void packagesOfOtherKindsAreRefused()
    {
        CVSandwich other("Gallery Page Data");
        other.setFilling(std::make_shared<CVSandwichFilling>(), 0);
        QVERIFY_THROWS_EXCEPTION(QFException, QFBlogPluginSandwich::createWithSandwich(other));

        CVSandwich newer(QFBlogPluginSandwich::sandwichType());
        newer.setFilling(std::make_shared<CVSandwichFilling>(), 1);
        try {
            QFBlogPluginSandwich::createWithSandwich(newer);
            QFAIL("a blog was made");
        } catch (const QFException &e) {
            QCOMPARE(e.name(), QStringLiteral("Malformed Package"));
        }
    }

private:
    QFRecordingAlertPresenter m_alerts;
    QFAlertPresenter *m_previousPresenter = nullptr;
};

QTEST_GUILESS_MAIN(tst_QFBlogPluginSandwich)
#include "tst_qfblogpluginsandwich.moc"

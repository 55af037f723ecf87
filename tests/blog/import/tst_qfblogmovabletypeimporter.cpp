#include "blog/import/qfblogmovabletypeimporter.h"
#include "blog/import/qfmovabletypeexporttext.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QFile>
#include <QUndoStack>
#include <QtTest>

class tst_QFBlogMovableTypeImporter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void oneEntry_data();
    void oneEntry();
    void wholeTexts_data();
    void wholeTexts();
    void failingEntryIsLoggedAndSkipped_data();
    void failingEntryIsLoggedAndSkipped();
    void textFilters_data();
    void textFilters();
    void categoryMapping_data();
    void categoryMapping();
    void importAddsEveryEntryInOneUndoableStep();
    void realExports_data();
    void realExports();
};

namespace {

// An entry with the given short fields, then the given long sections.
QString entry(const QString &fields, const QString &sections = QStringLiteral("BODY:\ntext\n-----\n"))
{
    return fields + QStringLiteral("-----\n") + sections;
}

// A read entry's title, status, date, categories, summary and body; "-" for
// no title, summary or body at all.
QStringList fields(const QFBlogEntryPtr &post)
{
    const auto text = [](const std::optional<QFStyledText> &t) { return t ? t->plainString() : QStringLiteral("-"); };
    return {post->title().isNull() ? QStringLiteral("-") : post->title(),
            post->status() == 1 ? QStringLiteral("published") : QString::number(post->status()),
            post->date().toString(Qt::ISODate), post->movableTypeCategoryNames().join(u','),
            text(post->entrySummary()), text(post->entry())};
}

} // namespace

void tst_QFBlogMovableTypeImporter::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogMovableTypeImporter::oneEntry_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("post"); // fields, joined by " | "

    QTest::newRow("all common fields")
        << entry("AUTHOR: Ann\nTITLE: Ferries\nSTATUS: Publish\nALLOW COMMENTS: 1\nDATE: 01/31/2008 03:04:05 PM\n"
                 "CATEGORY: Travel\n")
        << "Ferries | published | 2008-01-31T15:04:05 | Travel | - | text";
    QTest::newRow("24-hour date") << entry("DATE: 01/31/2008 15:04:05\n") << "- | published | 2008-01-31T15:04:05 |  | - | text";
    QTest::newRow("midnight AM") << entry("DATE: 12/24/2010 12:00:00 AM\n") << "- | published | 2010-12-24T00:00:00 |  | - | text";
    QTest::newRow("ISO date is no date") << entry("DATE: 2008-01-31\n") << "- | published |  |  | - | text";
    QTest::newRow("blank lines between fields, status ignoring case") << entry("TITLE: a\n\n\nSTATUS: DRAFT\n\n")
                                                                      << "a | 0 |  |  | - | text";
    QTest::newRow("categories win over primary") << entry("PRIMARY CATEGORY: Main\nCATEGORY: One\nCATEGORY: Two\n")
                                                 << "- | published |  | One,Two | - | text";
    QTest::newRow("primary alone") << entry("PRIMARY CATEGORY: Main\n") << "- | published |  | Main | - | text";
    QTest::newRow("unknown upper-case key ignored") << entry("TITLE: a\nUNIQUE URL: http://x/\n")
                                                    << "a | published |  |  | - | text";
    QTest::newRow("capitalised word is a one-letter key") << entry("Title: a\nSTATUS: Draft\n") << "- | 0 |  |  | - | text";
    QTest::newRow("body and extended body") << entry("", "BODY:\na\n-----\nEXTENDED BODY:\nb\n-----\n")
                                            << "- | published |  |  | a | b";
    QTest::newRow("excerpt and keywords are not kept")
        << entry("", "BODY:\na\n-----\nEXCERPT:\ne\n-----\nKEYWORDS:\nk\n-----\n") << "- | published |  |  | - | a";
    QTest::newRow("blank body") << entry("", "BODY:\n\n-----\nEXTENDED BODY:\n\n-----\n") << "- | published |  |  | - | ";
    QTest::newRow("empty body swallows the next section") << entry("", "BODY:\n-----\nEXTENDED BODY:\nb\n-----\n")
                                                          << "- | published |  |  | - | -----\nEXTENDED BODY:\nb";
    QTest::newRow("nine hyphens are dropped and the text joined")
        << entry("", "BODY:\nabove\n---------\nbelow\n-----\n") << "- | published |  |  | - | above\nbelow";
    QTest::newRow("ten hyphens keep one") << entry("", "BODY:\nabove\n----------\nbelow\n-----\n")
                                          << "- | published |  |  | - | above-\nbelow";
    QTest::newRow("two nine-hyphen lines replace the text above")
        << entry("", "BODY:\nabove\n---------\n---------\nbelow\n-----\n") << "- | published |  |  | - | \n---------\nbelow";
    QTest::newRow("five hyphens end the body") << entry("", "BODY:\nabove\n-----\nbelow\n-----\n")
                                               << "- | published |  |  | - | above";
    QTest::newRow("comments are not imported")
        << entry("TITLE: a\n", "BODY:\nb\n-----\nCOMMENT:\nAUTHOR: x\nDATE: 01/31/2002 15:47:06\nhello\n-----\n")
        << "a | published |  |  | - | b";
    QTest::newRow("carriage returns stay in values") << entry("TITLE: a\r\n") << "a\r | published |  |  | - | text";
}

void tst_QFBlogMovableTypeImporter::oneEntry()
{
    QFETCH(QString, text);
    QFETCH(QString, post);

    QFBlogPlugin blog;
    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(text, &blog);
    QVERIFY(importer);
    QCOMPARE(importer->entries().size(), 1);
    QCOMPARE(importer->scanFailureCount(), 0);
    QCOMPARE(fields(importer->entries().first()).join(QStringLiteral(" | ")), post);
    QVERIFY(!importer->importing());
    QVERIFY(blog.posts().isEmpty()); // not added until imported
}

void tst_QFBlogMovableTypeImporter::wholeTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("titles");
    QTest::addColumn<QStringList>("categories"); // offered for mapping

    const QString a = entry("TITLE: a\n");
    const QString b = entry("TITLE: b\n");
    QTest::newRow("two entries") << a + "--------\n" + b << QStringList{"a", "b"} << QStringList();
    QTest::newRow("empty pieces are skipped") << a + "--------\n\n--------\n" + b << QStringList{"a", "b"} << QStringList();
    QTest::newRow("blank lines after the last separator") << a + "--------\n\n \n" << QStringList{"a"} << QStringList();
    QTest::newRow("leading blank line") << "\n" + a << QStringList{"a"} << QStringList();
    QTest::newRow("separator without line feed stays in the entry") << a + "--------" << QStringList{"a"}
                                                                    << QStringList();
    QTest::newRow("categories in first met order, once each")
        << entry("CATEGORY: B\nCATEGORY: A\n") + "--------\n" + entry("TITLE: c\nCATEGORY: C\nCATEGORY: B\n")
        << QStringList{QString(), "c"} << QStringList{"B", "A", "C"};
    QTest::newRow("primary category alone counts") << entry("PRIMARY CATEGORY: P\n") << QStringList{QString()}
                                                   << QStringList{"P"};
    QTest::newRow("single blank category left out, two blanks kept")
        << entry("CATEGORY:  \nCATEGORY:   \nCATEGORY: x\n") << QStringList{QString()} << QStringList{"  ", "x"};
    QTest::newRow("category case matters") << entry("CATEGORY: News\nCATEGORY: news\n") << QStringList{QString()}
                                           << QStringList{"News", "news"};
}

void tst_QFBlogMovableTypeImporter::wholeTexts()
{
    QFETCH(QString, text);
    QFETCH(QStringList, titles);
    QFETCH(QStringList, categories);

    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(text, nullptr);
    QVERIFY(importer);
    QStringList read;
    for (const QFBlogEntryPtr &post : importer->entries())
        read.append(post->title());
    QCOMPARE(read, titles);
    QCOMPARE(importer->movableTypeCategories(), categories);
    QCOMPARE(importer->scanFailureCount(), 0);
}

void tst_QFBlogMovableTypeImporter::failingEntryIsLoggedAndSkipped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("reason");

    QTest::newRow("lower-case line ends the fields") << entry("TITLE: Gone\nauthor: x\n")
                                                     << "scanShortMovableTypeSeparator failed";
    QTest::newRow("last field without line feed") << QStringLiteral("TITLE: a") << "scanNewLine failed";
    QTest::newRow("CR LF line ends") << QStringLiteral("TITLE: a\r\n-----\r\nBODY:\r\nx\r\n-----\r\n")
                                     << "scanNewLine failed";
    QTest::newRow("byte order mark before the first field") << QString(u'\uFEFF') + entry("TITLE: a\n")
                                                            << "scanShortMovableTypeSeparator failed";
}

void tst_QFBlogMovableTypeImporter::failingEntryIsLoggedAndSkipped()
{
    QFETCH(QString, text);
    QFETCH(QString, reason);

    QFLogCapture log;
    const QString good = entry("TITLE: kept\n");
    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(text + "\n--------\n" + good, nullptr);
    QVERIFY(importer);
    QCOMPARE(importer->entries().size(), 1);
    QCOMPARE(importer->entries().first()->title(), QStringLiteral("kept"));
    QCOMPARE(importer->scanFailureCount(), 1);
    QVERIFY(!importer->importing());
    QVERIFY2(log.contains(QStringLiteral("Couldn't scan: NSScanner+MovableTypeExportedText (%1)").arg(reason)),
             qPrintable(log.lines().join('\n')));

    // Alone, such an entry gives no reader at all.
    QVERIFY(!QFBlogMovableTypeImporter::initWithExportedTextString(text, nullptr));
}

void tst_QFBlogMovableTypeImporter::textFilters_data()
{
    QTest::addColumn<QString>("convertBreaks"); // null: no CONVERT BREAKS line
    QTest::addColumn<bool>("hasTexts");
    QTest::addColumn<QVariantMap>("attributes");

    const QVariantMap monaco{{kQFFontFamilyKey, QStringLiteral("Monaco")}, {kQFFontSizeKey, 10.0}};
    QTest::newRow("no filter line is raw HTML") << QString() << true
                                                << QVariantMap{{kQFTextViewIgnoreFormattingAttributeName, true}};
    QTest::newRow("convert breaks") << "1" << true << QVariantMap();
    QTest::newRow("textile") << "textile_1" << true
                             << QVariantMap{{kQFTextViewMarkupDirectivesAttributeName,
                                             QVariantMap{{kQFMarkupDirectiveNameKey, QStringLiteral("filter")},
                                                         {kQFMarkupDirectiveStyleKey, QStringLiteral("Textile")}}},
                                            {kQFFontAttributeName, monaco}};
    QTest::newRow("markdown comes without its texts") << "markdown_with_smartypants" << false << QVariantMap();
}

void tst_QFBlogMovableTypeImporter::textFilters()
{
    QFETCH(QString, convertBreaks);
    QFETCH(bool, hasTexts);
    QFETCH(QVariantMap, attributes);

    const QString header = QStringLiteral("TITLE: t\nCATEGORY: C\nDATE: 01/31/2008 15:04:05\n")
        + (convertBreaks.isNull() ? QString() : QStringLiteral("CONVERT BREAKS: %1\n").arg(convertBreaks));
    QFLogCapture log;
    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(
        entry(header, "BODY:\n*a*\n-----\nEXTENDED BODY:\nb\n-----\n"), nullptr);
    QVERIFY(importer);
    const QFBlogEntryPtr post = importer->entries().first();
    // The fields arrive whatever the filter.
    QCOMPARE(fields(post).mid(0, 4).join(QStringLiteral(" | ")), QStringLiteral("t | published | 2008-01-31T15:04:05 | C"));
    QCOMPARE(post->entry().has_value(), hasTexts);
    QCOMPARE(post->entrySummary().has_value(), hasTexts);
    QCOMPARE(importer->scanFailureCount(), hasTexts ? 0 : 1);
    if (!hasTexts) {
        QVERIFY(log.contains(QStringLiteral("Rest of string (t): ")));
        return;
    }
    QCOMPARE(post->entry()->plainString(), QStringLiteral("b"));
    QCOMPARE(post->entry()->attributesAt(0), attributes);
    QCOMPARE(post->entrySummary()->plainString(), QStringLiteral("*a*"));
    QCOMPARE(post->entrySummary()->attributesAt(2), attributes);
}

void tst_QFBlogMovableTypeImporter::categoryMapping_data()
{
    QTest::addColumn<QVariantMap>("mapping"); // to positions in the blog's list: None, …, Ferries, Food
    QTest::addColumn<QString>("filed");       // each entry's categories, or what was refused

    const int food = int(QFBlogPlugin().categories().size()) + 1;
    QTest::newRow("mapped") << QVariantMap{{"Trips", food - 1}, {"Cooking", food}, {"Misc", 0}}
                            << "Ferries,None / Food,Ferries / ";
    QTest::newRow("one past the last") << QVariantMap{{"Trips", food - 1}, {"Cooking", food + 1}} << "\u201cCooking\u201d";
    QTest::newRow("negative") << QVariantMap{{"Trips", food - 1}, {"Cooking", -1}} << "\u201cCooking\u201d";
    QTest::newRow("not a number") << QVariantMap{{"Trips", food - 1}, {"Cooking", "Food"}} << "\u201cCooking\u201d";
}

void tst_QFBlogMovableTypeImporter::categoryMapping()
{
    QFETCH(QVariantMap, mapping);
    QFETCH(QString, filed);

    QFBlogPlugin blog;
    blog.addNewCategory(QStringLiteral("Ferries"));
    blog.addNewCategory(QStringLiteral("Food"));
    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(
        entry("CATEGORY: Trips\nCATEGORY: Misc\n") + "--------\n" + entry("CATEGORY: Cooking\nCATEGORY: Trips\n")
            + "--------\n" + entry("TITLE: unfiled\n"),
        &blog);
    QVERIFY(importer);
    QString refused;
    try {
        importer->applyCategoryMapping(mapping);
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Invalid Category Mapping"));
        refused = e.reason();
    }
    QHash<int, QString> names;
    for (const QFBlogCategoryPtr &category : blog.categories())
        names.insert(category->categoryID(), category->categoryName());
    QStringList entries;
    for (const QFBlogEntryPtr &post : importer->entries()) {
        QStringList filedUnder;
        for (const int id : post->categoryIDs())
            filedUnder.append(names.value(id));
        entries.append(filedUnder.join(u','));
    }
    // A refused mapping changes no entry.
    QCOMPARE(entries.join(QStringLiteral(" / ")), refused.isEmpty() ? filed : QStringLiteral(" /  / "));
    QVERIFY2(refused.contains(filed) || refused.isEmpty(), qPrintable(refused));
}

void tst_QFBlogMovableTypeImporter::importAddsEveryEntryInOneUndoableStep()
{
    QFSiteDocument document;
    auto *blog = new QFBlogPlugin;
    document.addPage(std::unique_ptr<QFTextViewPluginClient>(blog), QStringLiteral("blog"), QStringLiteral("Blog"));
    const QFBlogEntryPtr earlier = blog->addEntry();
    const int stepsBefore = document.undoStack()->count();
    QSignalSpy listChanges(blog, &QFBlogPlugin::blogEntriesChanged);

    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(
        entry("TITLE: one\nDATE: 01/01/2020 10:00:00\n") + "--------\n" + entry("TITLE: two\n") + "--------\n"
            + entry("TITLE: three\nSTATUS: draft\n"),
        blog);
    QVERIFY(importer);
    QCOMPARE(listChanges.count(), 0);
    importer->applyCategoryMapping({});
    const QList<QFBlogEntryPtr> added = importer->importToBlogEntryController();

    QCOMPARE(added.size(), 3);
    QCOMPARE(blog->posts().size(), 4);
    QCOMPARE(listChanges.count(), 1);
    QCOMPARE(document.undoStack()->count(), stepsBefore + 1);
    QCOMPARE(added.at(0)->title(), QStringLiteral("one"));
    QCOMPARE(added.at(1)->ID(), added.at(0)->ID() + 1);
    QVERIFY(added.at(0)->ID() > earlier->ID());
    QVERIFY(added.at(0)->GUID() != added.at(1)->GUID());
    QVERIFY(added.at(2)->isDraft());
    QVERIFY(importer->importToBlogEntryController().isEmpty()); // only once

    document.undoStack()->undo();
    QCOMPARE(blog->posts().size(), 1);
}

void tst_QFBlogMovableTypeImporter::realExports_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("convert");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("post"); // title, status, date and categories
    QTest::addColumn<bool>("hasSummary");

    const QString gibbs = QStringLiteral("d-gibbs_MovableTypeParser.NET_MultiplePosts.txt");
    QTest::newRow("aereal, Japanese title")
        << "aereal_mt_ok.txt" << false << 2 << 1
        << "2\u4ef6\u76ee\u306e\u8a18\u4e8b  | published | 2007-08-08T15:00:00 | News,Product" << false;
    QTest::newRow("byte order mark costs the first entry")
        << gibbs << false << 2 << 0 << "Here is a 2nd entry | published | 2019-01-30T03:30:00 | Politics" << false;
    QTest::newRow("converted, the first entry is back")
        << gibbs << true << 3 << 0
        << "Foo post title | published | 2020-01-01T09:50:00 | Foo category,Bar category,Foo bar category" << true;
    QTest::newRow("converted, unterminated last entry")
        << gibbs << true << 3 << 2 << "Here is a 3rd entry | published | 2019-01-31T03:30:00 | Business" << false;
    QTest::newRow("typepad draft") << "koozie_typepad_to_jekyll_typepad_multiple_posts.txt" << false << 2 << 0
                                   << "First Post | 0 | 2003-05-29T01:02:06 | " << true;
    QTest::newRow("Windows-1252 export, converted")
        << "prayagverma_google-blog-converters-appengine_movabletype-sample.txt" << true << 451 << 0
        << "Richard MacManus | published | 2004-12-30T13:14:33 | Press" << false;
    QTest::newRow("single entry with comments")
        << "prayagverma_google-blog-converters-appengine_movabletype-sample2.txt" << false << 1 << 0
        << "My first post | published | 2008-11-13T14:16:10 | New,published" << true;
}

void tst_QFBlogMovableTypeImporter::realExports()
{
    QFETCH(QString, file);
    QFETCH(bool, convert);
    QFETCH(int, count);
    QFETCH(int, index);
    QFETCH(QString, post);
    QFETCH(bool, hasSummary);

    const QString folder = QStringLiteral(QF_CORPORA_DIR "/movable-type");
    if (!QFileInfo(folder).isDir())
        QSKIP(qPrintable(QStringLiteral("the shared corpora are not here (%1)").arg(folder)));
    const QString path = folder + QLatin1Char('/') + file;
    std::unique_ptr<QFBlogMovableTypeImporter> importer;
    if (convert) {
        // As the command reads it: converted in place, decoded an entry at a time.
        QFile in(path);
        QVERIFY(in.open(QIODevice::ReadOnly));
        QByteArray bytes = in.readAll();
        const bool windows1252 = QFMovableTypeExportText::convertInPlace(bytes).fromWindows1252;
        importer = QFBlogMovableTypeImporter::initWithExportedBytes(bytes, windows1252, nullptr);
    } else {
        importer = QFBlogMovableTypeImporter::initWithExportedTextURL(path, nullptr);
    }
    QVERIFY(importer);
    QCOMPARE(importer->entries().size(), count);
    const QFBlogEntryPtr read = importer->entries().at(index);
    QCOMPARE(fields(read).mid(0, 4).join(QStringLiteral(" | ")), post);
    QCOMPARE(read->entrySummary().has_value(), hasSummary);
    QVERIFY(read->entry() && !read->entry()->plainString().isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFBlogMovableTypeImporter)
#include "tst_qfblogmovabletypeimporter.moc"

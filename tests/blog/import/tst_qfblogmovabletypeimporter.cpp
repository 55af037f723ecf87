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

using Entries = QList<QFBlogEntryPtr>;

class tst_QFBlogMovableTypeImporter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void oneEntry_data();
    void oneEntry();
    void entriesAreSplitAtTheSeparatorLine_data();
    void entriesAreSplitAtTheSeparatorLine();
    void failingEntryIsLoggedAndSkipped_data();
    void failingEntryIsLoggedAndSkipped();
    void textFilters_data();
    void textFilters();
    void categoryNamesForMapping_data();
    void categoryNamesForMapping();
    void mappingFilesEntriesUnderBlogCategories();
    void mappingToAMissingPositionChangesNothing_data();
    void mappingToAMissingPositionChangesNothing();
    void importAddsEveryEntryInOneUndoableStep();
    void realExports_data();
    void realExports();

private:
    static QString corpus(const QString &name);
};

namespace {

// An entry with the given short fields, then the given long sections.
QString entry(const QString &fields, const QString &sections = QStringLiteral("BODY:\ntext\n-----\n"))
{
    return fields + QStringLiteral("-----\n") + sections;
}

QDateTime local(int y, int m, int d, int h, int min, int s)
{
    return QDateTime(QDate(y, m, d), QTime(h, min, s));
}

QString plain(const std::optional<QFStyledText> &text)
{
    return text ? text->plainString() : QString();
}

} // namespace

void tst_QFBlogMovableTypeImporter::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

QString tst_QFBlogMovableTypeImporter::corpus(const QString &name)
{
    return QStringLiteral(QF_CORPORA_DIR "/movable-type/") + name;
}

void tst_QFBlogMovableTypeImporter::oneEntry_data()
{
    QTest::addColumn<QString>("text");
    // What differs from an untitled published post, without date or
    // categories, whose body is "text" and which has no summary. A null
    // body or summary means none at all.
    QTest::addColumn<QVariantMap>("expected");

    using F = QVariantMap;
    QTest::newRow("all common fields")
        << entry("AUTHOR: Ann\nTITLE: Ferries\nSTATUS: Publish\nALLOW COMMENTS: 1\nDATE: 01/31/2008 03:04:05 PM\n"
                 "CATEGORY: Travel\n")
        << F{{"title", "Ferries"}, {"date", local(2008, 1, 31, 15, 4, 5)}, {"categories", QStringList{"Travel"}}};
    QTest::newRow("status in capitals") << entry("STATUS: PUBLISH\n") << F{};
    QTest::newRow("status draft") << entry("STATUS: Draft\n") << F{{"status", 0}};
    QTest::newRow("24-hour date") << entry("DATE: 01/31/2008 15:04:05\n") << F{{"date", local(2008, 1, 31, 15, 4, 5)}};
    QTest::newRow("midnight AM") << entry("DATE: 12/24/2010 12:00:00 AM\n") << F{{"date", local(2010, 12, 24, 0, 0, 0)}};
    QTest::newRow("ISO date is no date") << entry("DATE: 2008-01-31\n") << F{};
    QTest::newRow("blank lines between fields") << entry("TITLE: a\n\n\nSTATUS: draft\n\n") << F{{"title", "a"}, {"status", 0}};
    QTest::newRow("categories win over primary") << entry("PRIMARY CATEGORY: Main\nCATEGORY: One\nCATEGORY: Two\n")
                                                 << F{{"categories", QStringList{"One", "Two"}}};
    QTest::newRow("primary alone") << entry("PRIMARY CATEGORY: Main\n") << F{{"categories", QStringList{"Main"}}};
    QTest::newRow("unknown upper-case key ignored") << entry("TITLE: a\nUNIQUE URL: http://x/\n") << F{{"title", "a"}};
    QTest::newRow("capitalised word is a one-letter key") << entry("Title: a\nSTATUS: Draft\n") << F{{"status", 0}};
    QTest::newRow("body and extended body") << entry("", "BODY:\na\n-----\nEXTENDED BODY:\nb\n-----\n")
                                            << F{{"body", "b"}, {"summary", "a"}};
    QTest::newRow("excerpt and keywords are not kept")
        << entry("", "BODY:\na\n-----\nEXCERPT:\ne\n-----\nKEYWORDS:\nk\n-----\n") << F{{"body", "a"}};
    QTest::newRow("blank body") << entry("", "BODY:\n\n-----\nEXTENDED BODY:\n\n-----\n") << F{{"body", ""}};
    QTest::newRow("empty body swallows the next section") << entry("", "BODY:\n-----\nEXTENDED BODY:\nb\n-----\n")
                                                          << F{{"body", "-----\nEXTENDED BODY:\nb"}};
    QTest::newRow("nine hyphens are dropped and the text joined")
        << entry("", "BODY:\nabove\n---------\nbelow\n-----\n") << F{{"body", "above\nbelow"}};
    QTest::newRow("ten hyphens keep one") << entry("", "BODY:\nabove\n----------\nbelow\n-----\n")
                                          << F{{"body", "above-\nbelow"}};
    QTest::newRow("two nine-hyphen lines replace the text above")
        << entry("", "BODY:\nabove\n---------\n---------\nbelow\n-----\n") << F{{"body", "\n---------\nbelow"}};
    QTest::newRow("five hyphens end the body") << entry("", "BODY:\nabove\n-----\nbelow\n-----\n") << F{{"body", "above"}};
    QTest::newRow("comments are not imported")
        << entry("TITLE: a\n", "BODY:\nb\n-----\nCOMMENT:\nAUTHOR: x\nDATE: 01/31/2002 15:47:06\nhello\n-----\n")
        << F{{"title", "a"}, {"body", "b"}};
    QTest::newRow("carriage returns stay in values") << entry("TITLE: a\r\n") << F{{"title", "a\r"}};
}

void tst_QFBlogMovableTypeImporter::oneEntry()
{
    QFETCH(QString, text);
    QFETCH(QVariantMap, expected);

    QFBlogPlugin blog;
    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(text, &blog);
    QVERIFY(importer);
    QCOMPARE(importer->entries().size(), 1);
    QCOMPARE(importer->scanFailureCount(), 0);
    const QFBlogEntryPtr post = importer->entries().first();
    const QString title = expected.value("title").toString();
    QCOMPARE(post->title(), title);
    QCOMPARE(post->title().isNull(), title.isNull());
    QCOMPARE(post->status(), expected.value("status", 1).toInt());
    QCOMPARE(post->date(), expected.value("date").toDateTime());
    QCOMPARE(post->movableTypeCategoryNames(), expected.value("categories").toStringList());
    const QString body = expected.value("body", QStringLiteral("text")).toString();
    QCOMPARE(post->entry().has_value(), !body.isNull());
    QCOMPARE(plain(post->entry()), body);
    const QString summary = expected.value("summary").toString();
    QCOMPARE(post->entrySummary().has_value(), !summary.isNull());
    QCOMPARE(plain(post->entrySummary()), summary);
    QVERIFY(!importer->importing());
    QVERIFY(blog.posts().isEmpty()); // not added until imported
}

void tst_QFBlogMovableTypeImporter::entriesAreSplitAtTheSeparatorLine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("titles");

    const QString a = entry("TITLE: a\n");
    const QString b = entry("TITLE: b\n");
    QTest::newRow("two entries") << a + "--------\n" + b << QStringList{"a", "b"};
    QTest::newRow("empty pieces are skipped") << a + "--------\n\n--------\n" + b << QStringList{"a", "b"};
    QTest::newRow("blank lines after the last separator") << a + "--------\n\n \n" << QStringList{"a"};
    QTest::newRow("leading blank line") << "\n" + a << QStringList{"a"};
    QTest::newRow("separator without line feed stays in the entry") << a + "--------" << QStringList{"a"};
}

void tst_QFBlogMovableTypeImporter::entriesAreSplitAtTheSeparatorLine()
{
    QFETCH(QString, text);
    QFETCH(QStringList, titles);

    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(text, nullptr);
    QVERIFY(importer);
    QStringList read;
    for (const QFBlogEntryPtr &post : importer->entries())
        read.append(post->title());
    QCOMPARE(read, titles);
    QCOMPARE(importer->scanFailureCount(), 0);
}

void tst_QFBlogMovableTypeImporter::failingEntryIsLoggedAndSkipped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("rest");

    QTest::newRow("lower-case line ends the fields")
        << entry("TITLE: Gone\nauthor: x\n") << "scanShortMovableTypeSeparator failed"
        << "Rest of string (Gone): author: x\n-----\nBODY:";
    QTest::newRow("last field without line feed") << QStringLiteral("TITLE: a") << "scanNewLine failed"
                                                  << "Rest of string ((null)): ";
    QTest::newRow("CR LF line ends") << QStringLiteral("TITLE: a\r\n-----\r\nBODY:\r\nx\r\n-----\r\n")
                                     << "scanNewLine failed" << "Rest of string (a\r): \r\nBODY:";
    QTest::newRow("byte order mark before the first field") << QString(u'\uFEFF') + entry("TITLE: a\n")
                                                            << "scanShortMovableTypeSeparator failed"
                                                            << "Rest of string ((null)): \uFEFFTITLE";
}

void tst_QFBlogMovableTypeImporter::failingEntryIsLoggedAndSkipped()
{
    QFETCH(QString, text);
    QFETCH(QString, reason);
    QFETCH(QString, rest);

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
    QVERIFY2(std::any_of(log.lines().cbegin(), log.lines().cend(), [&](const QString &l) { return l.startsWith(rest); }),
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

    const QString fields = QStringLiteral("TITLE: t\nCATEGORY: C\nDATE: 01/31/2008 15:04:05\n")
        + (convertBreaks.isNull() ? QString() : QStringLiteral("CONVERT BREAKS: %1\n").arg(convertBreaks));
    QFLogCapture log;
    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(
        entry(fields, "BODY:\n*a*\n-----\nEXTENDED BODY:\nb\n-----\n"), nullptr);
    QVERIFY(importer);
    const QFBlogEntryPtr post = importer->entries().first();
    // The fields arrive whatever the filter.
    QCOMPARE(post->title(), QStringLiteral("t"));
    QCOMPARE(post->date(), local(2008, 1, 31, 15, 4, 5));
    QCOMPARE(post->movableTypeCategoryNames(), QStringList{"C"});
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

void tst_QFBlogMovableTypeImporter::categoryNamesForMapping_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("names");

    QTest::newRow("first met order, once each")
        << entry("CATEGORY: B\nCATEGORY: A\n") + "--------\n" + entry("CATEGORY: C\nCATEGORY: B\n")
        << QStringList{"B", "A", "C"};
    QTest::newRow("primary alone counts") << entry("PRIMARY CATEGORY: P\n") << QStringList{"P"};
    QTest::newRow("single blank left out, two blanks kept") << entry("CATEGORY:  \nCATEGORY:   \nCATEGORY: x\n")
                                                            << QStringList{"  ", "x"};
    QTest::newRow("case matters") << entry("CATEGORY: News\nCATEGORY: news\n") << QStringList{"News", "news"};
}

void tst_QFBlogMovableTypeImporter::categoryNamesForMapping()
{
    QFETCH(QString, text);
    QFETCH(QStringList, names);

    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(text, nullptr);
    QVERIFY(importer);
    QCOMPARE(importer->movableTypeCategories(), names);
}

void tst_QFBlogMovableTypeImporter::mappingFilesEntriesUnderBlogCategories()
{
    QFBlogPlugin blog;
    const int none = blog.categories().at(0)->categoryID();
    const int travel = blog.addNewCategory(QStringLiteral("Travel"))->categoryID();
    const int food = blog.addNewCategory(QStringLiteral("Food"))->categoryID();
    const int last = int(blog.categories().size()) - 1;
    const auto importer = QFBlogMovableTypeImporter::initWithExportedTextString(
        entry("CATEGORY: Trips\nCATEGORY: Misc\n") + "--------\n" + entry("CATEGORY: Cooking\nCATEGORY: Trips\n")
            + "--------\n" + entry("TITLE: unfiled\n"),
        &blog);
    QVERIFY(importer);
    importer->applyCategoryMapping({{"Trips", last - 1}, {"Cooking", last}, {"Misc", 0}});
    const Entries posts = importer->entries();
    QCOMPARE(posts.at(0)->categoryIDs(), QList<int>({travel, none}));
    QCOMPARE(posts.at(1)->categoryIDs(), QList<int>({food, travel}));
    QCOMPARE(posts.at(2)->categoryIDs(), QList<int>());
}

void tst_QFBlogMovableTypeImporter::mappingToAMissingPositionChangesNothing_data()
{
    QTest::addColumn<QVariant>("position");

    const QFBlogPlugin fresh;
    QTest::newRow("one past the last") << QVariant(int(fresh.categories().size()));
    QTest::newRow("negative") << QVariant(-1);
    QTest::newRow("not a number") << QVariant(QStringLiteral("Travel"));
}

void tst_QFBlogMovableTypeImporter::mappingToAMissingPositionChangesNothing()
{
    QFETCH(QVariant, position);

    QFBlogPlugin blog;
    const auto importer =
        QFBlogMovableTypeImporter::initWithExportedTextString(entry("CATEGORY: A\nCATEGORY: B\n"), &blog);
    QVERIFY(importer);
    try {
        importer->applyCategoryMapping({{"A", 1}, {"B", position}});
        QFAIL("no exception");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Invalid Category Mapping"));
        QVERIFY2(e.reason().contains(QStringLiteral("\u201cB\u201d")), qPrintable(e.reason()));
    }
    QVERIFY(importer->entries().first()->categoryIDs().isEmpty());
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
    const Entries added = importer->importToBlogEntryController();

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
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("status");
    QTest::addColumn<QDateTime>("date");
    QTest::addColumn<QStringList>("categories");
    QTest::addColumn<bool>("hasSummary");

    const QString aereal = QStringLiteral("aereal_mt_ok.txt");
    const QString gibbs = QStringLiteral("d-gibbs_MovableTypeParser.NET_MultiplePosts.txt");
    const QString koozie = QStringLiteral("koozie_typepad_to_jekyll_typepad_multiple_posts.txt");
    const QString sample = QStringLiteral("prayagverma_google-blog-converters-appengine_movabletype-sample.txt");
    const QString sample2 = QStringLiteral("prayagverma_google-blog-converters-appengine_movabletype-sample2.txt");

    QTest::newRow("aereal second, Japanese title")
        << aereal << false << 2 << 1 << QStringLiteral("2\u4ef6\u76ee\u306e\u8a18\u4e8b ") << 1
        << local(2007, 8, 8, 15, 0, 0) << QStringList{"News", "Product"} << false;
    QTest::newRow("byte order mark costs the first entry") << gibbs << false << 2 << 0 << "Here is a 2nd entry" << 1
                                                           << local(2019, 1, 30, 3, 30, 0) << QStringList{"Politics"}
                                                           << false;
    QTest::newRow("converted, the first entry is back")
        << gibbs << true << 3 << 0 << "Foo post title" << 1 << local(2020, 1, 1, 9, 50, 0)
        << QStringList{"Foo category", "Bar category", "Foo bar category"} << true;
    QTest::newRow("converted, unterminated last entry") << gibbs << true << 3 << 2 << "Here is a 3rd entry" << 1
                                                        << local(2019, 1, 31, 3, 30, 0) << QStringList{"Business"}
                                                        << false;
    QTest::newRow("typepad draft") << koozie << false << 2 << 0 << "First Post" << 0 << local(2003, 5, 29, 1, 2, 6)
                                   << QStringList() << true;
    QTest::newRow("Windows-1252 export, converted") << sample << true << 451 << 0 << "Richard MacManus" << 1
                                                    << local(2004, 12, 30, 13, 14, 33) << QStringList{"Press"} << false;
    QTest::newRow("single entry with comments") << sample2 << false << 1 << 0 << "My first post" << 1
                                                << local(2008, 11, 13, 14, 16, 10) << QStringList{"New", "published"}
                                                << true;
}

void tst_QFBlogMovableTypeImporter::realExports()
{
    QFETCH(QString, file);
    QFETCH(bool, convert);
    QFETCH(int, count);
    QFETCH(int, index);
    QFETCH(QString, title);
    QFETCH(int, status);
    QFETCH(QDateTime, date);
    QFETCH(QStringList, categories);
    QFETCH(bool, hasSummary);

    std::unique_ptr<QFBlogMovableTypeImporter> importer;
    if (convert) {
        QFile in(corpus(file));
        QVERIFY(in.open(QIODevice::ReadOnly));
        importer = QFBlogMovableTypeImporter::initWithExportedTextString(
            QFMovableTypeExportText::convert(in.readAll()).text, nullptr);
    } else {
        importer = QFBlogMovableTypeImporter::initWithExportedTextURL(corpus(file), nullptr);
    }
    QVERIFY(importer);
    QCOMPARE(importer->entries().size(), count);
    const QFBlogEntryPtr post = importer->entries().at(index);
    QCOMPARE(post->title(), title);
    QCOMPARE(post->status(), status);
    QCOMPARE(post->date(), date);
    QCOMPARE(post->movableTypeCategoryNames(), categories);
    QCOMPARE(post->entrySummary().has_value(), hasSummary);
    QVERIFY(!plain(post->entry()).isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFBlogMovableTypeImporter)
#include "tst_qfblogmovabletypeimporter.moc"

#include "blog/commands/qfblogjsonlines.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>

namespace {

const QByteArray Posts = R"({"title": "Harbour"})" "\n" R"({"title": "Bread"})" "\n";

} // namespace

class tst_QFBlogJsonLines : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void badLineNamesItsLineAndAddsNothing_data();
    void badLineNamesItsLineAndAddsNothing();
    void fieldsAndFormats();
    void dates_data();
    void dates();
    void imageHeadsTheBody();
    void oversizedInputIsRefused_data();
    void oversizedInputIsRefused();
    void postsAreAddedInOneUndoableStep();

private:
    // Read, and files found in m_dir: pics/dusk.png and show.mp3.
    QFBlogJsonLines::Result readWithFiles(const QByteArray &input) const;

    QTemporaryDir m_dir;
};

void tst_QFBlogJsonLines::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
    QVERIFY(m_dir.isValid() && QDir(m_dir.path()).mkdir(QStringLiteral("pics")));
    QImage image(4, 3, QImage::Format_RGB32);
    image.fill(Qt::darkBlue);
    QVERIFY(image.save(m_dir.filePath(QStringLiteral("pics/dusk.png"))));
    QFile podcast(m_dir.filePath(QStringLiteral("show.mp3")));
    QVERIFY(podcast.open(QIODevice::WriteOnly) && podcast.write("ID3 not really sound") > 0);
    // Sparse: its size alone counts against the images' limit.
    QFile large(m_dir.filePath(QStringLiteral("large.png")));
    QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(60 << 20));
}

QFBlogJsonLines::Result tst_QFBlogJsonLines::readWithFiles(const QByteArray &input) const
{
    QFBlogJsonLines::Result result = QFBlogJsonLines::read(input);
    // Read a line at a time, as from a file or a pipe, the same bytes give
    // the same result.
    QBuffer device;
    device.setData(input);
    device.open(QIODevice::ReadOnly);
    const QFBlogJsonLines::Result lines = QFBlogJsonLines::readDevice(device, QStringLiteral("a buffer"));
    if (lines.posts.size() != result.posts.size() || lines.errorLine != result.errorLine || lines.error != result.error)
        return {{}, -1, QStringLiteral("reading a line at a time gave another result")};
    if (result.ok())
        QFBlogJsonLines::attachFiles(result, QDir(m_dir.path()));
    return result;
}

void tst_QFBlogJsonLines::badLineNamesItsLineAndAddsNothing_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("problem");

    const QByteArray good = R"({"title": "Fine"})"
                            "\n";
    QTest::newRow("broken JSON") << good + R"({"title": "b",})" << 2 << "not valid JSON";
    QTest::newRow("cut short") << good + good + R"({"title": "Harb)" << 3 << "not valid JSON";
    QTest::newRow("not an object") << QByteArray(R"(["Fine"])") << 1 << "must be a JSON object";
    QTest::newRow("no title") << QByteArray(R"({"body": "text"})") << 1 << "needs a \"title\"";
    QTest::newRow("title a number") << QByteArray(R"({"title": 3})") << 1
                                    << "\"title\" must be a string, not a number";
    QTest::newRow("draft a string") << QByteArray(R"({"title": "a", "draft": "yes"})") << 1
                                    << "\"draft\" must be true or false, not a string";
    QTest::newRow("categories a string") << QByteArray(R"({"title": "a", "categories": "Travel"})") << 1
                                         << "\"categories\" must be an array of names";
    QTest::newRow("tag a number") << QByteArray(R"({"title": "a", "tags": ["sea", 2]})") << 1
                                  << "\"tags\" holds a number where a name belongs";
    QTest::newRow("blank tag") << QByteArray(R"({"title": "a", "tags": [" "]})") << 1 << "\"tags\" holds an empty name";
    QTest::newRow("date not ISO 8601") << QByteArray(R"({"title": "a", "date": "5/1/2024"})") << 1
                                       << "\"date\" '5/1/2024' is not an ISO 8601 date";
    QTest::newRow("unknown format") << QByteArray(R"({"title": "a", "format": "textile"})") << 1
                                    << "\"format\" 'textile' is none of text, markdown, html";
    QTest::newRow("misspelt key") << QByteArray(R"({"title": "a", "categores": []})") << 1
                                  << "unknown key \"categores\"";
    QTest::newRow("empty podcast path") << QByteArray(R"({"title": "a", "podcast": ""})") << 1
                                        << "\"podcast\" is an empty path";
    QTest::newRow("blank CRLF lines still count") << QByteArray("\r\n  \r\n" R"({"title": 1})" "\r\n") << 3
                                                  << "\"title\" must be a string";
    QTest::newRow("stray byte after a good line") << good + "\x01" << 2 << "not valid JSON";
    QTest::newRow("missing podcast") << good + R"({"title": "b", "podcast": "gone.mp3"})" << 2
                                     << "the podcast file 'gone.mp3' does not exist";
    QTest::newRow("missing image") << QByteArray(R"({"title": "a", "image": "pics/gone.png"})") << 1
                                   << "the image 'pics/gone.png' cannot be read";
    QTest::newRow("image that is none") << QByteArray(R"({"title": "a", "image": "show.mp3"})") << 1
                                        << "the file 'show.mp3' is not an image";
    QTest::newRow("image that never ends") << QByteArray(R"({"title": "a", "image": "/dev/zero"})") << 1
                                           << "the image '/dev/zero' is larger than 64 MiB";
    const QByteArray large = R"({"title": "a", "image": "large.png"})" "\n";
    QTest::newRow("images too large together") << large.repeated(9) << 9 << "larger than 512 MiB together";
}

void tst_QFBlogJsonLines::badLineNamesItsLineAndAddsNothing()
{
    QFETCH(QByteArray, input);
    QFETCH(int, line);
    QFETCH(QString, problem);

    const QFBlogJsonLines::Result result = readWithFiles(input);
    QVERIFY(!result.ok());
    QCOMPARE(result.errorLine, line);
    QVERIFY2(result.error.contains(problem), qPrintable(result.error));
    QVERIFY(result.posts.isEmpty());
}

void tst_QFBlogJsonLines::fieldsAndFormats()
{
    const QByteArray input = "\xEF\xBB\xBF" // a byte order mark is not part of the first line
        R"({"title": "Harbour days", "draft": true, "categories": ["Travel", "travel", "Food"], "tags": ["sea", "Salt"], "body": "One\r\nTwo", "summary": "Short"})"
        "\n\n"
        R"({"title": "Soup", "format": "markdown", "body": "# Soup\n\n*hot*"})"
        "\n"
        R"({"title": "", "format": "html", "body": "<p>raw</p>", "podcast": "a.mp3", "image": "pics/b.png"})";
    const QFBlogJsonLines::Result result = QFBlogJsonLines::read(input);
    QVERIFY2(result.ok(), qPrintable(result.error));
    QCOMPARE(result.posts.size(), 3);

    const QFBlogJsonLines::Post &first = result.posts.at(0);
    QCOMPARE(first.line, 1);
    QCOMPARE(first.title, QStringLiteral("Harbour days"));
    QVERIFY(first.draft);
    QVERIFY(!first.date);
    QCOMPARE(first.categories, QStringList({QStringLiteral("Travel"), QStringLiteral("Food")}));
    QCOMPARE(first.tags, QStringList({QStringLiteral("sea"), QStringLiteral("Salt")}));
    QCOMPARE(first.body, QFStyledText(QStringLiteral("One\nTwo")));
    QCOMPARE(first.summary, QFStyledText(QStringLiteral("Short")));
    QVERIFY(first.podcast.isNull());

    const QFBlogJsonLines::Post &soup = result.posts.at(1);
    QCOMPARE(soup.line, 3);
    QVERIFY(!soup.draft);
    const QVariantMap directive = soup.body.attribute(kQFTextViewMarkupDirectivesAttributeName, 0).toMap();
    QVERIFY(directive.contains(kQFMarkupDirectiveMarkdownKey));
    QCOMPARE(soup.body.runs().size(), 1);
    QVERIFY(soup.summary.isEmpty());

    const QFBlogJsonLines::Post &raw = result.posts.at(2);
    QVERIFY(raw.title.isEmpty());
    QCOMPARE(raw.body.attribute(kQFTextViewIgnoreFormattingAttributeName, 0).toBool(), true);
    QCOMPARE(raw.podcast, QStringLiteral("a.mp3"));
    QCOMPARE(raw.image, QStringLiteral("pics/b.png"));
}

void tst_QFBlogJsonLines::dates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("local"); // as Berlin's clocks show it

    QTest::newRow("no offset is local time") << "2026-01-05T09:30:00" << "2026-01-05T09:30:00+01:00";
    QTest::newRow("UTC is converted") << "2026-07-01T08:00:00Z" << "2026-07-01T10:00:00+02:00";
    QTest::newRow("offset is converted") << "2026-07-01T08:00:00-04:00" << "2026-07-01T14:00:00+02:00";
    QTest::newRow("fractions are cut") << "2026-01-05T09:30:00.750" << "2026-01-05T09:30:00+01:00";
    QTest::newRow("day alone is midnight") << "2026-01-05" << "2026-01-05T00:00:00+01:00";
    QTest::newRow("hour the clocks skip moves forward") << "2026-03-29T02:30:00" << "2026-03-29T03:30:00+02:00";
}

void tst_QFBlogJsonLines::dates()
{
    QFETCH(QString, text);
    QFETCH(QString, local);
    QVERIFY2(QDateTime(QDate(2026, 7, 1), QTime(12, 0)).offsetFromUtc() == 7200,
             "the test environment sets TZ=Europe/Berlin");

    const QFBlogJsonLines::Result result
        = QFBlogJsonLines::read(QStringLiteral(R"({"title": "t", "date": "%1"})").arg(text).toUtf8());
    QVERIFY2(result.ok(), qPrintable(result.error));
    const QDateTime date = result.posts.first().date.value();
    QCOMPARE(date.toOffsetFromUtc(date.offsetFromUtc()).toString(Qt::ISODate), local);
}

void tst_QFBlogJsonLines::imageHeadsTheBody()
{
    const QFBlogJsonLines::Result result
        = readWithFiles(R"({"title": "a", "podcast": "show.mp3", "image": "pics/dusk.png", "body": "After"})");
    QVERIFY2(result.ok(), qPrintable(result.error));
    const QFBlogJsonLines::Post &post = result.posts.first();
    QCOMPARE(post.podcast, m_dir.filePath(QStringLiteral("show.mp3")));
    // A paragraph of its own.
    const QList<QFStyledTextAttachment> attachments = post.body.attachments();
    QCOMPARE(attachments.size(), 1);
    QCOMPARE(attachments.first().index, 0);
    QCOMPARE(attachments.first().fileName, QStringLiteral("dusk.png"));
    QCOMPARE(QImage::fromData(attachments.first().data).size(), QSize(4, 3));
    QCOMPARE(post.body.plainString().mid(1), QStringLiteral("\nAfter"));
}

void tst_QFBlogJsonLines::oversizedInputIsRefused_data()
{
    QTest::addColumn<QString>("source"); // a file's name in the test folder, a device, or "-" for a pipe
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<QString>("refusal"); // empty: the two posts are read

    QTest::newRow("file at the limit") << "posts.jsonl" << qint64(Posts.size()) << "";
    QTest::newRow("file a byte over") << "posts.jsonl" << qint64(Posts.size() - 1)
                                      << "The posts file \u201c%1\u201d is larger than";
    QTest::newRow("device without end") << "/dev/zero" << (qint64(1) << 20) << "The posts file \u201c%1\u201d is larger than";
    QTest::newRow("standard input at the limit") << "-" << qint64(Posts.size()) << "";
    QTest::newRow("standard input a byte over") << "-" << qint64(Posts.size() - 1)
                                                << "The input from standard input is larger than";
}

void tst_QFBlogJsonLines::oversizedInputIsRefused()
{
    QFETCH(QString, source);
    QFETCH(qint64, limit);
    QFETCH(QString, refusal);

    const QString path = source.startsWith(u'/') ? source : m_dir.filePath(source);
    QFile file(path);
    if (source == QLatin1String("posts.jsonl")) {
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(Posts) == Posts.size());
        file.close();
    }
    QBuffer in;
    in.setData(Posts);
    in.open(QIODevice::ReadOnly);
    try {
        const QFBlogJsonLines::Result result = source == QLatin1String("-")
            ? QFBlogJsonLines::readDevice(in, QStringLiteral("standard input"), limit)
            : QFBlogJsonLines::readFile(path, limit);
        QVERIFY2(refusal.isEmpty(), "read input over the limit");
        QVERIFY(result.ok());
        QCOMPARE(result.posts.size(), 2);
    } catch (const QFException &e) {
        QVERIFY2(!refusal.isEmpty(), qPrintable(e.reason()));
        QCOMPARE(e.name(), QStringLiteral("File Too Large"));
        QVERIFY2(e.reason().startsWith(refusal.arg(path)), qPrintable(e.reason()));
    }
}

void tst_QFBlogJsonLines::postsAreAddedInOneUndoableStep()
{
    QFSiteDocument document;
    auto *blog = new QFBlogPlugin;
    document.addPage(std::unique_ptr<QFTextViewPluginClient>(blog), QStringLiteral("blog"), QStringLiteral("Blog"));
    const int ferriesID = blog->addNewCategory(QStringLiteral("Ferries"))->categoryID();
    const qsizetype categoriesBefore = blog->categories().size();
    const QFBlogEntryPtr earlier = blog->addEntry();
    earlier->setTags(QFBlogTagList{QFBlogTag(QStringLiteral("Sea"))});
    const int stepsBefore = document.undoStack()->count();

    QFBlogJsonLines::Result result = QFBlogJsonLines::read(
        R"({"title": "Ferry", "date": "2026-02-01T08:00:00", "categories": ["FERRIES", "Food"], "tags": ["sea", "night"]})"
        "\n"
        R"({"title": "Stew", "date": "2026-02-02T08:00:00", "draft": true, "categories": ["food"], "tags": ["NIGHT"], "body": "Hot"})"
        "\n"
        R"({"title": "Loose", "date": "2026-02-03T08:00:00"})");
    QVERIFY(result.ok());
    const QList<QFBlogEntryPtr> added = QFBlogJsonLines::addPosts(*blog, result.posts);
    QVERIFY(result.posts.isEmpty());

    QCOMPARE(added.size(), 3);
    QCOMPARE(blog->posts().size(), 4);
    QCOMPARE(document.undoStack()->count(), stepsBefore + 1);
    QCOMPARE(added.at(1)->ID(), added.at(0)->ID() + 1); // numbered in file order
    QCOMPARE(added.at(0)->title(), QStringLiteral("Ferry"));

    // Categories and tags match the blog's own ignoring case; Food is made once.
    const QFBlogCategoryPtr food = blog->categoryForCategoryName(QStringLiteral("Food"));
    QVERIFY(food);
    QCOMPARE(blog->categories().size(), categoriesBefore + 1);
    QCOMPARE(added.at(0)->categoryIDs(), QList<int>({ferriesID, food->categoryID()}));
    QCOMPARE(added.at(1)->categoryIDs(), QList<int>({food->categoryID()}));
    QCOMPARE(added.at(2)->categoryIDs(), QList<int>({blog->categories().first()->categoryID()}));
    QCOMPARE(added.at(0)->tags().value(), QFBlogTagList({QFBlogTag(QStringLiteral("Sea")), QFBlogTag(QStringLiteral("night"))}));
    QCOMPARE(added.at(1)->tags().value(), QFBlogTagList({QFBlogTag(QStringLiteral("night"))}));
    QCOMPARE(blog->knownTags().countForObject(QVariant::fromValue(QFBlogTag(QStringLiteral("night")))), quint64(2));
    QCOMPARE(blog->knownTags().countForObject(QVariant::fromValue(QFBlogTag(QStringLiteral("Sea")))), quint64(2));

    document.undoStack()->undo();
    QCOMPARE(blog->posts().size(), 1);
    QCOMPARE(blog->posts().first(), earlier);
}

QTEST_GUILESS_MAIN(tst_QFBlogJsonLines)
#include "tst_qfblogjsonlines.moc"

#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogmodel.h"
#include "blog/plugin/qfblogsearchindexes.h"
#include "qfkit/text/qfstyledtext.h"

#include <QRandomGenerator>
#include <QTest>

using Post = QFBlogSearchIndexes::Post;
using Index = QFBlogSearchIndexes::Index;

namespace {

const QList<Post> &sampleBlog()
{
    static const QList<Post> posts = {
        {0, QStringLiteral("Unbelievable summer"), QStringLiteral("We went to the lake every day.")},
        {1, QStringLiteral("Garden party"), QStringLiteral("The garden was full of guests 🎉 and music.")},
        {2, QStringLiteral("Grüße aus Köln"), QStringLiteral("Das Café am Dom war über-füllt.")},
        {3, QStringLiteral("Cats OR dogs?"), QStringLiteral("Sand castles AND sea shells; NEAR(the pier).")},
        {4, QStringLiteral("Quotes"), QStringLiteral("He said: say \"hi\" to me. Rating: 5* -- a-b-c")},
        {5, QStringLiteral("Subtitle: the sequel"), QStringLiteral("50% off, snake_case names, ^start (x OR y)")},
        {6, QStringLiteral("東京の夜"), QStringLiteral("Tokyo at night 🌃 was bright.")},
        {7, QString(), QString()},
        {8, QStringLiteral("Pasted"), QStringLiteral("before") + QChar(0) + QStringLiteral("after")},
    };
    return posts;
}

} // namespace

class tst_QFBlogSearchIndexes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void search_data();
    void search();
    void agreesWithPlainSubstringSearch();

    void replacingForgetsOldText_data();
    void replacingForgetsOldText();
    void unindexing_data();
    void unindexing();
    void batchOfManyPosts();
    void ensureIndexedIndexesPostsOnce();
};

void tst_QFBlogSearchIndexes::initTestCase()
{
    QFBlogModel::registerCodingClasses();
}

void tst_QFBlogSearchIndexes::search_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QList<int>>("inTitles");
    QTest::addColumn<QList<int>>("inBodies");
    QTest::addColumn<QList<int>>("inEither");

    using L = QList<int>;
    QTest::newRow("inner part of a title word") << "elievab" << L{0} << L{} << L{0};
    QTest::newRow("title and body match, post listed once") << "arden" << L{1} << L{1} << L{1};
    QTest::newRow("text spanning two words") << "n party" << L{1} << L{} << L{1};
    QTest::newRow("upper-case query, lower-case text") << "LAKE" << L{} << L{0} << L{0};
    QTest::newRow("several posts, ascending") << "the" << L{5} << L{0, 1, 3} << L{0, 1, 3, 5};
    QTest::newRow("nothing matches") << "zebra" << L{} << L{} << L{};
    QTest::newRow("empty query finds nothing") << "" << L{} << L{} << L{};

    // Short queries, other scripts and query-syntax characters; the random
    // comparison below adds letter case, umlauts, emoji and punctuation.
    QTest::newRow("one character") << "q" << L{4, 5} << L{} << L{4, 5};
    QTest::newRow("a space alone") << " " << L{0, 1, 2, 3, 5} << L{0, 1, 2, 3, 4, 5, 6} << L{0, 1, 2, 3, 4, 5, 6};
    QTest::newRow("sharp s inside a word") << "üße" << L{2} << L{} << L{2};
    QTest::newRow("accent is not folded away") << "cafe" << L{} << L{} << L{};
    QTest::newRow("emoji in a three-character query") << "t 🌃" << L{} << L{6} << L{6};
    QTest::newRow("two CJK characters") << "東京" << L{6} << L{} << L{6};
    QTest::newRow("AND is a word, not an operator") << "AND" << L{} << L{1, 3} << L{1, 3};
    QTest::newRow("NEAR with parenthesis") << "NEAR(" << L{} << L{3} << L{3};
    QTest::newRow("column filter syntax") << "title:" << L{5} << L{} << L{5};
    QTest::newRow("NUL character inside text") << QString(QStringLiteral("re") + QChar(0) + QStringLiteral("af")) << L{}
                                               << L{8} << L{8};
}

void tst_QFBlogSearchIndexes::search()
{
    QFETCH(QString, query);
    QFETCH(QList<int>, inTitles);
    QFETCH(QList<int>, inBodies);
    QFETCH(QList<int>, inEither);

    QFBlogSearchIndexes indexes;
    indexes.indexBlogEntries(sampleBlog());

    QCOMPARE(indexes.searchIndex(Index::Title, query), inTitles);
    QCOMPARE(indexes.searchIndex(Index::Content, query), inBodies);
    QCOMPARE(indexes.searchAllIndexesWithQuery(query), inEither);
}

void tst_QFBlogSearchIndexes::agreesWithPlainSubstringSearch()
{
    const QList<char32_t> alphabet = {U'a', U'A', U'b', U'B', U' ', U'"', U'*', U'-', U'(', U')', U':',
                                      U'^', U'+', U'\'', U'%', U'_', U'ü', U'Ü', U'é', U'😀',
                                      // letters that non-ASCII characters fold to: long s, Kelvin sign
                                      U's', U'S', U'ſ', U'k', U'K', U'\u212A'};
    QRandomGenerator random(20240611);
    auto randomText = [&](int maxLength) {
        QString text;
        const int length = random.bounded(maxLength + 1);
        for (int i = 0; i < length; ++i) {
            const char32_t c = alphabet.at(random.bounded(int(alphabet.size())));
            text += QString::fromUcs4(&c, 1);
        }
        return text;
    };

    QList<Post> posts;
    for (int ID = 0; ID < 60; ++ID)
        posts.append({ID, randomText(12), randomText(40)});
    QFBlogSearchIndexes indexes;
    indexes.indexBlogEntries(posts);

    for (int round = 0; round < 400; ++round) {
        QString query;
        if (round % 2 == 0) {
            const QList<uint> body = posts.at(random.bounded(int(posts.size()))).contentPlainText.toUcs4();
            if (body.isEmpty())
                continue;
            const int start = random.bounded(int(body.size()));
            const int length = 1 + random.bounded(qMin(6, int(body.size()) - start));
            query = QString::fromUcs4(reinterpret_cast<const char32_t *>(body.constData()) + start, length);
        } else {
            query = randomText(5);
            if (query.isEmpty())
                continue;
        }
        QList<int> expected;
        for (const Post &post : std::as_const(posts)) {
            if (post.title.contains(query, Qt::CaseInsensitive)
                || post.contentPlainText.contains(query, Qt::CaseInsensitive))
                expected.append(post.ID);
        }
        QVERIFY2(indexes.searchAllIndexesWithQuery(query) == expected, qPrintable(query));
    }
}

void tst_QFBlogSearchIndexes::replacingForgetsOldText_data()
{
    QTest::addColumn<bool>("asBatch");
    QTest::newRow("indexed again one by one") << false;
    QTest::newRow("indexed again in a batch") << true;
}

void tst_QFBlogSearchIndexes::replacingForgetsOldText()
{
    QFETCH(bool, asBatch);

    QFBlogSearchIndexes indexes;
    indexes.indexBlogEntries(QList<Post>{{1, QStringLiteral("Old title"), QStringLiteral("ancient body")},
                                         {2, QStringLiteral("Other post"), QStringLiteral("ancient too")}});
    const Post edited{1, QStringLiteral("New title"), QStringLiteral("modern body")};
    if (asBatch)
        indexes.indexBlogEntries(QList<Post>{edited});
    else
        indexes.reindexBlogEntry(edited);

    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("Old")), QList<int>{});
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("ancient")), QList<int>{2});
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("New")), QList<int>{1});
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("title")), QList<int>{1});
}

void tst_QFBlogSearchIndexes::unindexing_data()
{
    QTest::addColumn<QList<int>>("removed");
    QTest::addColumn<QList<int>>("remaining");

    QTest::newRow("one post") << QList<int>{2} << QList<int>{0, 1, 3};
    QTest::newRow("post ID 0") << QList<int>{0} << QList<int>{1, 2, 3};
    QTest::newRow("every post") << QList<int>{0, 1, 2, 3} << QList<int>{};
    QTest::newRow("unknown ID") << QList<int>{42} << QList<int>{0, 1, 2, 3};
    QTest::newRow("nothing") << QList<int>{} << QList<int>{0, 1, 2, 3};
}

void tst_QFBlogSearchIndexes::unindexing()
{
    QFETCH(QList<int>, removed);
    QFETCH(QList<int>, remaining);

    QList<Post> posts;
    for (int ID = 0; ID < 4; ++ID)
        posts.append({ID, QStringLiteral("Post %1").arg(ID), QStringLiteral("Body of post %1").arg(ID)});

    QFBlogSearchIndexes oneByOne;
    oneByOne.indexBlogEntries(posts);
    for (const int ID : std::as_const(removed))
        oneByOne.unindexBlogEntry(ID);
    oneByOne.flushIndexes();
    QFBlogSearchIndexes batch;
    batch.indexBlogEntries(posts);
    batch.unindexBlogEntries(removed);

    for (const QFBlogSearchIndexes *indexes : {&oneByOne, &batch}) {
        QCOMPARE(indexes->searchIndex(Index::Title, QStringLiteral("Post")), remaining);
        QCOMPARE(indexes->searchIndex(Index::Content, QStringLiteral("Body")), remaining);
        QCOMPARE(indexes->searchAllIndexesWithQuery(QStringLiteral("po")), remaining);
    }
}

void tst_QFBlogSearchIndexes::batchOfManyPosts()
{
    const QStringList words{"river", "stone", "lantern", "harbour", "meadow"};
    QList<Post> posts;
    for (int ID = 0; ID < 3000; ++ID) {
        QString body;
        for (int w = 0; w < 60; ++w)
            body += words.at((ID + w) % words.size()) + QLatin1Char(' ');
        body += QStringLiteral("tag%1x marker%2.").arg(ID).arg(ID % 7);
        posts.append({ID, QStringLiteral("Post number %1").arg(ID), body});
    }
    QFBlogSearchIndexes indexes;
    indexes.indexBlogEntries(posts);
    // Indexing everything again must not duplicate anything.
    indexes.indexBlogEntries(posts);

    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("tag1234x")), QList<int>{1234});
    QCOMPARE(indexes.searchIndex(Index::Title, QStringLiteral("number 2999")), QList<int>{2999});
    QList<int> withMarker3;
    for (int ID = 3; ID < 3000; ID += 7)
        withMarker3.append(ID);
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("MARKER3.")), withMarker3);
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("lantern")).size(), 3000);
}

void tst_QFBlogSearchIndexes::ensureIndexedIndexesPostsOnce()
{
    QList<QFBlogEntryPtr> blog;
    for (const auto &[title, body] : {std::pair("First", "Hello world"), {"Second", "Goodbye moon"}, {"", ""}}) {
        blog.append(std::make_shared<QFBlogEntry>());
        blog.last()->setID(int(blog.size()) - 1);
        if (*title) // the last has no title, no body
            blog.last()->setTitle(QString::fromLatin1(title));
        if (*body)
            blog.last()->setEntry(QFStyledText(QString::fromLatin1(body)));
    }

    QFBlogSearchIndexes indexes;
    QVERIFY(!indexes.shouldUpdateSearchIndexes());
    int asked = 0;
    const auto allPosts = [&] { ++asked; return blog; };
    QVERIFY(indexes.ensureIndexed(allPosts));
    QVERIFY(indexes.shouldUpdateSearchIndexes());
    QCOMPARE(asked, 1);
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("o w")), QList<int>{0});
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("sec")), QList<int>{1});

    blog.first()->setTitle(QStringLiteral("Renamed"));
    QVERIFY(!indexes.ensureIndexed(allPosts));
    QCOMPARE(asked, 1);
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("Renamed")), QList<int>{});
    indexes.reindexBlogEntry(blog.first());
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("Renamed")), QList<int>{0});

    indexes.unindexBlogEntries(QList<QFBlogEntryPtr>{blog.at(1)});
    QCOMPARE(indexes.searchAllIndexesWithQuery(QStringLiteral("moon")), QList<int>{});
}

QTEST_GUILESS_MAIN(tst_QFBlogSearchIndexes)
#include "tst_qfblogsearchindexes.moc"

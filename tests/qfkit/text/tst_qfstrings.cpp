#include "qfkit/text/qfstrings.h"

#include <QtTest>
#include <algorithm>

using namespace QFStrings;

class tst_QFStrings : public QObject
{
    Q_OBJECT

private slots:
    void lowercaseFilename_data();
    void lowercaseFilename();
    void htmlEscapes_data();
    void htmlEscapes();
    void entities_data();
    void entities();
    void numericalReferences_data();
    void numericalReferences();
    void summary_data();
    void summary();
    void boolValues_data();
    void boolValues();
    void compare_data();
    void compare();
    void tagNamesSortNaturally();
    void encodedData_data();
    void encodedData();
    void checksumAndSlash();
};

void tst_QFStrings::lowercaseFilename_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain word") << "news" << "news";
    QTest::newRow("mixed case") << "MacBook Pro" << "macbook-pro";
    QTest::newRow("accents folded") << u"Café Crème"_qs << "cafe-creme";
    QTest::newRow("letters without decomposition") << u"Straße Ærø"_qs << "strasse-aero";
    QTest::newRow("ligature and full-width") << u"ﬁle Ａ１"_qs << "file-a1";
    QTest::newRow("markup characters") << "<b>&\"x\"" << "-b-x-";
    QTest::newRow("run of punctuation is one dash") << "Hello, World!!!" << "hello-world-";
    QTest::newRow("typed dashes and underscores kept") << "a - b_c" << "a---b_c";
    QTest::newRow("leading and trailing spaces") << "  tag  " << "-tag-";
    QTest::newRow("dot") << "." << "-";
    QTest::newRow("dot dot") << ".." << "-";
    QTest::newRow("path climbing") << "../../etc/passwd" << "-etc-passwd";
    QTest::newRow("emoji") << u"I ❤️ 🍕"_qs << "i-";
    QTest::newRow("other script") << u"日本 2024"_qs << "-2024";
    QTest::newRow("control characters") << "a\tb\nc\x01" << "a-b-c-";
    QTest::newRow("empty") << "" << "untitled";
    QTest::newRow("only combining marks") << u"\u0301\u0308"_qs << "untitled";
    QTest::newRow("C++ and C stay apart") << "C++" << "c-";
}

void tst_QFStrings::lowercaseFilename()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QCOMPARE(stringEscapedForLowercaseFilename(input), expected);
}

void tst_QFStrings::htmlEscapes_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("elementText");
    QTest::addColumn<QString>("attribute");

    QTest::newRow("empty") << "" << "" << "";
    QTest::newRow("markup") << "<a href=\"x\">Tom & Jerry's</a>"
                            << "&lt;a href=\"x\"&gt;Tom &amp; Jerry's&lt;/a&gt;"
                            << "&lt;a href=&quot;x&quot;&gt;Tom &amp; Jerry&#39;s&lt;/a&gt;";
    QTest::newRow("already escaped is escaped again") << "&amp;" << "&amp;amp;" << "&amp;amp;";
    QTest::newRow("non-ASCII untouched") << u"é 🍕"_qs << u"é 🍕"_qs << u"é 🍕"_qs;
}

void tst_QFStrings::htmlEscapes()
{
    QFETCH(QString, input);
    QFETCH(QString, elementText);
    QFETCH(QString, attribute);
    QCOMPARE(stringEscapedForHTMLElementText(input), elementText);
    QCOMPARE(stringEscapedForHTMLAttribute(input), attribute);
}

void tst_QFStrings::entities_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << "" << "";
    QTest::newRow("ASCII untouched") << "Plain text, 100%!" << "Plain text, 100%!";
    QTest::newRow("markup") << "<\"Fish\" & Chips>" << "&lt;&quot;Fish&quot; &amp; Chips&gt;";
    QTest::newRow("latin-1 names") << u"café © 2024\u00A0¼"_qs << "caf&eacute; &copy; 2024&nbsp;&frac14;";
    QTest::newRow("typographic names") << u"“Quote” – €5…"_qs << "&ldquo;Quote&rdquo; &ndash; &euro;5&hellip;";
    QTest::newRow("greek") << u"αβ"_qs << "&alpha;&beta;";
    QTest::newRow("unnamed BMP") << u"日"_qs << "&#26085;";
    QTest::newRow("emoji is one reference") << u"🍕"_qs << "&#127829;";
    QTest::newRow("lone surrogate") << QString(QChar(0xD800)) << "&#65533;";
    QTest::newRow("already escaped") << "&eacute;" << "&amp;eacute;";
}

void tst_QFStrings::entities()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QCOMPARE(convertToEntities(input), expected);
}

void tst_QFStrings::numericalReferences_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << "" << "";
    QTest::newRow("plain ASCII") << "My Blog: news" << "My Blog: news";
    QTest::newRow("markup") << "a<b>&\"c\"" << "a&#60;b&#62;&#38;&#34;c&#34;";
    QTest::newRow("accent") << u"Café"_qs << "Caf&#233;";
    QTest::newRow("emoji is one reference") << u"a🍕b"_qs << "a&#127829;b";
    QTest::newRow("controls dropped, tab and breaks kept")
        << QString::fromUtf8("a\x01\x08\tb\nc\rd\x7f") + QChar(0x85) + QChar(0xFFFE) << "a\tb\nc\rd";
    QTest::newRow("lone surrogate dropped") << QStringLiteral("x") + QChar(0xDC00) << "x";
}

void tst_QFStrings::numericalReferences()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QCOMPARE(convertToNumericalReferences(input), expected);
}

void tst_QFStrings::summary_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("asked");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("taken");

    const QString three = "First sentence. Second one? Third!  ";
    QTest::newRow("one sentence") << three << 1 << "First sentence." << 1;
    QTest::newRow("two sentences") << three << 2 << "First sentence. Second one?" << 2;
    QTest::newRow("zero sentences") << three << 0 << "" << 0;
    QTest::newRow("negative count") << three << -3 << "" << 0;
    QTest::newRow("more asked than there are") << "Only this. And that." << 5 << "Only this. And that." << 2;
    QTest::newRow("trailing blank lines not a sentence") << "One.\n\n\n" << 3 << "One." << 1;
    QTest::newRow("empty text") << "" << 2 << "" << 0;
    QTest::newRow("no final stop") << "Hello there" << 1 << "Hello there" << 1;
    QTest::newRow("non-ASCII") << u"Ça va. Très bien."_qs << 1 << u"Ça va."_qs << 1;
}

void tst_QFStrings::summary()
{
    QFETCH(QString, text);
    QFETCH(int, asked);
    QFETCH(QString, expected);
    QFETCH(int, taken);
    int count = asked;
    QCOMPARE(summarizeToSentences(text, count), expected);
    QCOMPARE(count, taken);
}

void tst_QFStrings::boolValues_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("expected");

    QTest::newRow("1") << "1" << true;
    QTest::newRow("yes") << "yes" << true;
    QTest::newRow("YES") << "YES" << true;
    QTest::newRow("True") << "True" << true;
    QTest::newRow("0") << "0" << false;
    QTest::newRow("no") << "no" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("2") << "2" << false;
    QTest::newRow("leading space") << " yes" << false;
    QTest::newRow("01") << "01" << false;
    QTest::newRow("y") << "y" << false;
}

void tst_QFStrings::boolValues()
{
    QFETCH(QString, input);
    QFETCH(bool, expected);
    QCOMPARE(boolValue(input), expected);
}

void tst_QFStrings::compare_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("expected");

    QTest::newRow("numeric runs") << "tag9" << "tag10" << -1;
    QTest::newRow("numeric in the middle") << "a2b" << "a10b" << -1;
    QTest::newRow("large numbers") << "v12345678901234567890" << "v99" << 1;
    QTest::newRow("case ignored before tie") << "apple" << "Banana" << -1;
    QTest::newRow("case tie broken exactly") << "Apple" << "apple" << -1;
    QTest::newRow("identical") << "Tag 7" << "Tag 7" << 0;
    QTest::newRow("leading zeros after value") << "a1" << "a01" << -1;
    QTest::newRow("digits before letters") << "9" << "a" << -1;
    QTest::newRow("prefix first") << "tag" << "tag1" << -1;
    QTest::newRow("accented case") << u"École"_qs << u"école"_qs << -1;
    QTest::newRow("empty first") << "" << "a" << -1;
}

void tst_QFStrings::compare()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, expected);
    QCOMPARE(compareIgnoringCaseNumeric(a, b), expected);
    QCOMPARE(compareIgnoringCaseNumeric(b, a), -expected);
}

void tst_QFStrings::tagNamesSortNaturally()
{
    QStringList tags = {"tag10", "Tag2", "tag1", "beta", "Alpha", "tag2", "2020", "10"};
    std::sort(tags.begin(), tags.end(),
              [](const QString &a, const QString &b) { return compareIgnoringCaseNumeric(a, b) < 0; });
    QCOMPARE(tags, QStringList({"10", "2020", "Alpha", "beta", "tag1", "Tag2", "tag2", "tag10"}));
}

void tst_QFStrings::encodedData_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QByteArray>("expected");

    const QString text = u"café € 🍕"_qs;
    QTest::newRow("utf-8") << text << "utf-8" << text.toUtf8();
    QTest::newRow("latin-1") << text << "iso-8859-1" << QByteArray("caf\xe9 &#8364; &#127829;");
    QTest::newRow("latin-1 upper case name") << text << "ISO-8859-1" << QByteArray("caf\xe9 &#8364; &#127829;");
    QTest::newRow("ascii") << text << "us-ascii" << QByteArray("caf&#233; &#8364; &#127829;");
    QTest::newRow("windows-1252 has the euro") << text << "windows-1252" << QByteArray("caf\xe9 \x80 &#127829;");
    QTest::newRow("windows-1252 C1 control") << QString(QChar(0x80)) << "windows-1252" << QByteArray("&#128;");
    QTest::newRow("unknown name is utf-8") << text << "klingon" << text.toUtf8();
    QTest::newRow("markup left alone") << "<b>&" << "ascii" << QByteArray("<b>&");
}

void tst_QFStrings::encodedData()
{
    QFETCH(QString, input);
    QFETCH(QString, encoding);
    QFETCH(QByteArray, expected);
    QCOMPARE(dataUsingHTMLEscapes(input, encoding), expected);
}

void tst_QFStrings::checksumAndSlash()
{
    QCOMPARE(md5HexChecksum(""), "d41d8cd98f00b204e9800998ecf8427e");
    QCOMPARE(md5Checksum(u"é"_qs), QCryptographicHash::hash("\xc3\xa9", QCryptographicHash::Md5));
    QCOMPARE(md5Checksum("x").size(), 16);
    QCOMPARE(appendForwardSlash(""), "/");
    QCOMPARE(appendForwardSlash("files"), "files/");
    QCOMPARE(appendForwardSlash("http://x.org/"), "http://x.org/");
}

QTEST_GUILESS_MAIN(tst_QFStrings)
#include "tst_qfstrings.moc"

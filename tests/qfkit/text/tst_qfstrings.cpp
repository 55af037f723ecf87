#include "qfkit/text/qfstrings.h"

#include <QtTest>
#include <algorithm>

using namespace QFStrings;

class tst_QFStrings : public QObject
{
    Q_OBJECT

private slots:
    void escapes_data();
    void escapes();
    void summary_data();
    void summary();
    void boolValues_data();
    void boolValues();
    void compare_data();
    void compare();
    void tagNamesSortNaturally();
    void encodedData_data();
    void encodedData();
};

void tst_QFStrings::escapes_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("filename");
    QTest::addColumn<QString>("elementText");
    QTest::addColumn<QString>("attribute");
    QTest::addColumn<QString>("entities");
    QTest::addColumn<QString>("numerical");

    QTest::newRow("empty") << "" << "untitled" << "" << "" << "" << "";
    QTest::newRow("markup") << "<a href=\"x\">Tom & Jerry's</a>" << "-a-href-x-tom-jerry-s-a-"
                            << "&lt;a href=\"x\"&gt;Tom &amp; Jerry's&lt;/a&gt;"
                            << "&lt;a href=&quot;x&quot;&gt;Tom &amp; Jerry&#39;s&lt;/a&gt;"
                            << "&lt;a href=&quot;x&quot;&gt;Tom &amp; Jerry's&lt;/a&gt;"
                            << "&#60;a href=&#34;x&#34;&#62;Tom &#38; Jerry's&#60;/a&#62;";
    QTest::newRow("already escaped") << "&amp;" << "-amp-" << "&amp;amp;" << "&amp;amp;" << "&amp;amp;" << "&#38;amp;";
    QTest::newRow("accents and Latin-1 names") << u"Café © 2024\u00A0¼"_qs << "cafe-2024-1-4" << u"Café © 2024\u00A0¼"_qs
                                               << u"Café © 2024\u00A0¼"_qs << "Caf&eacute; &copy; 2024&nbsp;&frac14;"
                                               << "Caf&#233; &#169; 2024&#160;&#188;";
    QTest::newRow("emoji is one reference") << u"I ❤️ 🍕"_qs << "i-" << u"I ❤️ 🍕"_qs << u"I ❤️ 🍕"_qs << "I &#10084;&#65039; &#127829;"
                                            << "I &#10084;&#65039; &#127829;";
    QTest::newRow("unnamed BMP") << u"日本 2024"_qs << "-2024" << u"日本 2024"_qs << u"日本 2024"_qs
                                 << "&#26085;&#26412; 2024" << "&#26085;&#26412; 2024";
    const QString controls = QString::fromUtf8("a\x01\x08\tb\nc\rd\x7f") + QChar(0x85) + QChar(0xFFFE);
    QTest::newRow("control characters: dropped as references, tab and breaks kept")
        << controls << "a-b-c-d-" << controls << controls << controls.chopped(2) + "&#133;&#65534;" << "a\tb\nc\rd";
    QTest::newRow("dot dot") << ".." << "-" << ".." << ".." << ".." << "..";
    QTest::newRow("path climbing") << "../../etc/passwd" << "-etc-passwd" << "../../etc/passwd" << "../../etc/passwd"
                                   << "../../etc/passwd" << "../../etc/passwd";
    const QString lone = QStringLiteral("x") + QChar(0xD800);
    QTest::newRow("lone surrogate") << lone << "x-" << lone << lone << "x&#65533;" << "x";
    QTest::newRow("mixed case and punctuation") << "MacBook Pro, C++!!!" << "macbook-pro-c-" << "MacBook Pro, C++!!!"
                                                << "MacBook Pro, C++!!!" << "MacBook Pro, C++!!!" << "MacBook Pro, C++!!!";
    QTest::newRow("leading and trailing spaces") << "  tag  " << "-tag-" << "  tag  " << "  tag  " << "  tag  " << "  tag  ";
}

void tst_QFStrings::escapes()
{
    QFETCH(QString, input);
    QFETCH(QString, filename);
    QFETCH(QString, elementText);
    QFETCH(QString, attribute);
    QFETCH(QString, entities);
    QFETCH(QString, numerical);
    QCOMPARE(stringEscapedForLowercaseFilename(input), filename);
    QCOMPARE(stringEscapedForHTMLElementText(input), elementText);
    QCOMPARE(stringEscapedForHTMLAttribute(input), attribute);
    QCOMPARE(convertToEntities(input), entities);
    QCOMPARE(convertToNumericalReferences(input), numerical);
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
    QTest::newRow("more asked than there are") << "Only this. And that." << 5 << "Only this. And that." << 2;
    QTest::newRow("empty text") << "" << 2 << "" << 0;
    QTest::newRow("no final stop") << "Hello there" << 1 << "Hello there" << 1;
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
    QTest::newRow("YES") << "YES" << true;
    QTest::newRow("0") << "0" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("leading space") << " yes" << false;
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
    QTest::newRow("case ignored before tie") << "apple" << "Banana" << -1;
    QTest::newRow("case tie broken exactly") << "Apple" << "apple" << -1;
    QTest::newRow("identical") << "Tag 7" << "Tag 7" << 0;
    QTest::newRow("prefix first") << "tag" << "tag1" << -1;
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
    QTest::newRow("ascii") << text << "us-ascii" << QByteArray("caf&#233; &#8364; &#127829;");
    QTest::newRow("windows-1252 has the euro") << text << "windows-1252" << QByteArray("caf\xe9 \x80 &#127829;");
    QTest::newRow("markup left alone") << "<b>&" << "ascii" << QByteArray("<b>&");
}

void tst_QFStrings::encodedData()
{
    QFETCH(QString, input);
    QFETCH(QString, encoding);
    QFETCH(QByteArray, expected);
    QCOMPARE(dataUsingHTMLEscapes(input, encoding), expected);
}

QTEST_GUILESS_MAIN(tst_QFStrings)
#include "tst_qfstrings.moc"

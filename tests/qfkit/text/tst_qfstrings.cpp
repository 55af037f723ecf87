#include "qfkit/text/qfstrings.h"

#include <QtTest>

using namespace QFStrings;

class tst_QFStrings : public QObject
{
    Q_OBJECT

private slots:
    void escapes_data();
    void escapes();
    void summary_data();
    void summary();
    void boolValues();
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

// Only what a settings file writes for true reads as true.
void tst_QFStrings::boolValues()
{
    for (const char *yes : {"1", "YES"})
        QVERIFY2(boolValue(yes), yes);
    for (const char *no : {"0", "", " yes", "y"})
        QVERIFY2(!boolValue(no), no);
}

// Tags sort by name ignoring case, numbers by value; names equal but for
// case still have a fixed order, and only a name itself compares equal.
void tst_QFStrings::tagNamesSortNaturally()
{
    const QStringList sorted = {"", "10", "2020", "Alpha", "apple", "Banana", "beta", "tag", "tag1", "Tag2", "tag2", "tag9", "tag10"};
    for (qsizetype i = 0; i < sorted.size(); ++i) {
        QCOMPARE(compareIgnoringCaseNumeric(sorted.at(i), QString(sorted.at(i))), 0);
        for (qsizetype j = i + 1; j < sorted.size(); ++j) {
            QVERIFY2(compareIgnoringCaseNumeric(sorted.at(i), sorted.at(j)) < 0, qPrintable(sorted.at(i) + " < " + sorted.at(j)));
            QVERIFY2(compareIgnoringCaseNumeric(sorted.at(j), sorted.at(i)) > 0, qPrintable(sorted.at(j) + " > " + sorted.at(i)));
        }
    }
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

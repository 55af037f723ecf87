#include "qfkit/text/qfplaceholdertemplate.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

QString replacedOneAfterAnother(QString text, const QStringList &placeholders, const QStringList &values)
{
    for (qsizetype i = 0; i < placeholders.size(); ++i)
        text.replace(placeholders.at(i), i < values.size() ? values.at(i) : QString());
    return text;
}

} // namespace

// A filled template must be exactly what the replacements one after another
// give: pages are compared byte for byte with and without it.
class tst_QFPlaceholderTemplate : public QObject
{
    Q_OBJECT

private slots:
    void sameAsReplacingInTurn_data();
    void sameAsReplacingInTurn();
    void sameAsReplacingInTurnOnRandomTexts();
};

void tst_QFPlaceholderTemplate::sameAsReplacingInTurn_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("placeholders");
    QTest::addColumn<QStringList>("values");

    const QStringList page{QStringLiteral("%head%"), QStringLiteral("%title%"), QStringLiteral("%body%")};
    QTest::newRow("page") << QStringLiteral("<html>%head%\n<title>%title%</title>\n<b>%body%</b>%title%") << page
                          << QStringList{QStringLiteral("<script/>"), QStringLiteral("Tom &amp; Jerry"),
                                         QStringLiteral("<p>50% off</p>")};
    // Values that hold or make up placeholders, and stray percent signs,
    // are left to the random texts below.
    QTest::newRow("fewer values than placeholders") << QStringLiteral("[%head%|%body%]") << page
                                                    << QStringList{QStringLiteral("h")};
    QTest::newRow("non-ASCII text and values")
        << QStringLiteral("<t>Caf\u00e9 %title%</t>\n<b>%body%</b>") << page
        << QStringList{QString(), QStringLiteral("\u00dcber \U0001F35E"), QStringLiteral("na\u00efve")};
    QTest::newRow("a surrogate pair split by a slot")
        << QStringLiteral("<t>\xD83C%title%\xDF5E</t>") << page
        << QStringList{QString(), QString(), QStringLiteral("x")};
    QTest::newRow("a placeholder without closing percent")
        << QStringLiteral("a%b%c") << QStringList{QStringLiteral("%b"), QStringLiteral("b%")}
        << QStringList{QStringLiteral("1"), QStringLiteral("2")};
}

void tst_QFPlaceholderTemplate::sameAsReplacingInTurn()
{
    QFETCH(QString, text);
    QFETCH(QStringList, placeholders);
    QFETCH(QStringList, values);
    const QFPlaceholderTemplate pageTemplate(text, placeholders);
    const QString expected = replacedOneAfterAnother(text, placeholders, values);
    QCOMPARE(pageTemplate.filled(values), expected);
    QCOMPARE(pageTemplate.filledUtf8(values), expected.toUtf8());
}

// Texts and values from small alphabets of placeholder letters, where
// every kind of overlap happens.
void tst_QFPlaceholderTemplate::sameAsReplacingInTurnOnRandomTexts()
{
    QRandomGenerator random(20261122);
    const QStringList placeholders{QStringLiteral("%a%"), QStringLiteral("%ab%"), QStringLiteral("%b%")};
    // One alphabet puts stray '%' everywhere; the other only inside
    // placeholders, where the template's one-pass filling is used.
    QString alphabet;
    const auto randomText = [&](int maxLength) {
        QString text;
        const int length = random.bounded(maxLength + 1);
        for (int i = 0; i < length; ++i) {
            if (random.bounded(4) == 0)
                text += placeholders.at(random.bounded(int(placeholders.size())));
            else
                text += alphabet.at(random.bounded(int(alphabet.size())));
        }
        return text;
    };
    for (int round = 0; round < 40000; ++round) {
        alphabet = round % 2 ? QStringLiteral("%ab%x\n") : QStringLiteral("abx\n");
        const QString text = randomText(14);
        const QStringList values{randomText(3), randomText(3), randomText(3)};
        const QFPlaceholderTemplate pageTemplate(text, placeholders);
        const QString expected = replacedOneAfterAnother(text, placeholders, values);
        if (pageTemplate.filled(values) != expected || pageTemplate.filledUtf8(values) != expected.toUtf8())
            QFAIL(qPrintable(QStringLiteral("text %1 values %2").arg(text, values.join(QLatin1Char('|')))));
    }
}

QTEST_GUILESS_MAIN(tst_QFPlaceholderTemplate)
#include "tst_qfplaceholdertemplate.moc"

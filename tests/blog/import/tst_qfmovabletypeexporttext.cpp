#include "blog/import/qfmovabletypeexporttext.h"

#include <QtTest>

class tst_QFMovableTypeExportText : public QObject
{
    Q_OBJECT

private slots:
    void inspectionAndConversion_data();
    void inspectionAndConversion();
};

// What the reader cannot take is told apart, then converted away.
void tst_QFMovableTypeExportText::inspectionAndConversion_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("byteOrderMark");
    QTest::addColumn<bool>("windows1252");
    QTest::addColumn<bool>("carriageReturns");

    QTest::newRow("UTF-8") << QByteArray("TITLE: Caf\xC3\xA9\n") << QStringLiteral("TITLE: Caf\u00e9\n") << false << false
                           << false;
    QTest::newRow("empty") << QByteArray() << QString() << false << false << false;
    QTest::newRow("Windows-1252 Latin letters") << QByteArray("Caf\xE9 \xFC\n") << QStringLiteral("Caf\u00e9 \u00fc\n")
                                                << false << true << false;
    QTest::newRow("Windows-1252 punctuation")
        << QByteArray("\x93quoted\x94 \x96 \x80 \x85 \x99") << QStringLiteral("\u201cquoted\u201d \u2013 \u20ac \u2026 \u2122")
        << false << true << false;
    QTest::newRow("Windows-1252 undefined bytes") << QByteArray("\x81\x8D\x8F\x90\x9D")
                                                  << QStringLiteral("\u0081\u008d\u008f\u0090\u009d") << false << true
                                                  << false;
    QTest::newRow("cut-off UTF-8 sequence") << QByteArray("TITLE: \xE2\x82") << QStringLiteral("TITLE: \u00e2\u201a")
                                            << false << true << false;
    QTest::newRow("byte order mark dropped") << QByteArray("\xEF\xBB\xBFTITLE: a\n") << QStringLiteral("TITLE: a\n")
                                             << true << false << false;
    QTest::newRow("byte order mark before Windows-1252") << QByteArray("\xEF\xBB\xBF\xE9") << QStringLiteral("\u00e9")
                                                         << true << true << false;
    QTest::newRow("CR LF and CR become LF") << QByteArray("a\r\nb\rc\n\r\n") << QStringLiteral("a\nb\nc\n\n") << false
                                            << false << true;
    // Checked a slice at a time: a sequence across the first slice's end.
    const QByteArray ascii((1 << 20) - 1, 'a');
    QTest::newRow("long UTF-8") << ascii + "\xC3\xA9" << QString::fromLatin1(ascii) + u'\u00e9' << false << false
                                << false;
    QTest::newRow("long, cut sequence") << ascii + "\xC3(" << QString::fromLatin1(ascii) + u'\u00c3' + u'(' << false
                                        << true << false;
    QTest::newRow("everything at once") << QByteArray("\xEF\xBB\xBF\xE9\r\n") << QStringLiteral("\u00e9\n") << true
                                        << true << true;
}

void tst_QFMovableTypeExportText::inspectionAndConversion()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QFETCH(bool, byteOrderMark);
    QFETCH(bool, windows1252);
    QFETCH(bool, carriageReturns);

    const QFMovableTypeExportText::Inspection inspection = QFMovableTypeExportText::inspect(bytes);
    QCOMPARE(inspection.validUtf8, !windows1252);
    QCOMPARE(inspection.byteOrderMark, byteOrderMark);
    QCOMPARE(inspection.carriageReturns, carriageReturns);
    QCOMPARE(QFMovableTypeExportText::decodeUtf8(bytes).has_value(), !windows1252);

    const QFMovableTypeExportText::Conversion conversion = QFMovableTypeExportText::convert(bytes);
    QCOMPARE(conversion.text, text);
    QCOMPARE(conversion.byteOrderMarkRemoved, byteOrderMark);
    QCOMPARE(conversion.fromWindows1252, windows1252);
    QCOMPARE(conversion.lineEndsNormalised, carriageReturns);
}

QTEST_GUILESS_MAIN(tst_QFMovableTypeExportText)
#include "tst_qfmovabletypeexporttext.moc"

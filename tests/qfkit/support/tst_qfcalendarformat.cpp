#include "qfkit/support/qfcalendarformat.h"

#include <QtTest>

// Runs with TZ=Europe/Berlin (set by the test helper): winter dates are
// +0100 CET, summer dates +0200 CEST.
class tst_QFCalendarFormat : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void format_data();
    void format();
    void parse_data();
    void parse();
    void roundTrip_data();
    void roundTrip();
};

namespace {

QDateTime local(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::LocalTime);
}

const QLocale german(QLocale::German, QLocale::Germany);

// Thursday 31 January 2008, afternoon, winter time.
const QDateTime winter = local(2008, 1, 31, 15, 4, 5);
// Friday 4 July 2008 at midnight, summer time.
const QDateTime summerMidnight = local(2008, 7, 4, 0, 0, 9);
// Wednesday 31 December 2008 (day 366 of a leap year) at noon.
const QDateTime noonLastDay = local(2008, 12, 31, 12, 30, 0);
// Thursday 5 March 2009, a single-digit day and day of year 64.
const QDateTime earlyMarch = local(2009, 3, 5, 9, 7, 3);

} // namespace

void tst_QFCalendarFormat::initTestCase()
{
    QVERIFY2(winter.offsetFromUtc() == 3600 && summerMidnight.offsetFromUtc() == 7200,
             "the test environment sets TZ=Europe/Berlin");
}

void tst_QFCalendarFormat::format_data()
{
    QTest::addColumn<QDateTime>("date");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("expected");

    const QLocale c = QLocale::c();
    QTest::newRow("%d two digits") << earlyMarch << "%d" << c << "05";
    QTest::newRow("%e space padded") << earlyMarch << "%e" << c << " 5";
    QTest::newRow("%I afternoon") << winter << "%I" << c << "03";
    QTest::newRow("%I midnight is 12") << summerMidnight << "%I" << c << "12";
    QTest::newRow("%p midnight is AM") << summerMidnight << "%p" << c << "AM";
    QTest::newRow("%j last day of leap year") << noonLastDay << "%j" << c << "366";
    QTest::newRow("%z summer") << summerMidnight << "%z" << c << "+0200";
    QTest::newRow("%Z summer") << summerMidnight << "%Z" << c << "CEST";
    QTest::newRow("%% and literals") << winter << "100%% on %d." << c << "100% on 31.";
    QTest::newRow("unknown specifier kept") << winter << "%q%Y" << c << "%q2008";

    QTest::newRow("feed item date, winter")
        << winter << "%Y-%m-%dT%H:%M:%S%z" << c << "2008-01-31T15:04:05+0100";
    QTest::newRow("feed build date, winter")
        << winter << "%a, %d %b %Y %H:%M:%S %z" << c << "Thu, 31 Jan 2008 15:04:05 +0100";
    QTest::newRow("UTC date shown in local time")
        << QDateTime(QDate(2008, 1, 31), QTime(14, 4, 5), Qt::UTC) << "%H:%M %z" << c << "15:04 +0100";
    QTest::newRow("invalid date gives nothing") << QDateTime() << "%Y" << c << "";

    QTest::newRow("week archive, German") << winter << "%d %B %Y" << german << "31 Januar 2008";
    QTest::newRow("month archive, German") << earlyMarch << "%b %Y" << german << "März 2009";
    QTest::newRow("German weekday") << winter << "%A, %e. %B" << german << "Donnerstag, 31. Januar";
}

void tst_QFCalendarFormat::format()
{
    QFETCH(QDateTime, date);
    QFETCH(QString, format);
    QFETCH(QLocale, locale);
    QFETCH(QString, expected);
    QCOMPARE(QFCalendarFormat::format(date, format, locale), expected);
}

void tst_QFCalendarFormat::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QDateTime>("expected"); // invalid: must not parse

    const QLocale c = QLocale::c();
    const QString mt12 = QStringLiteral("%m/%d/%Y %I:%M:%S %p");
    const QString mt24 = QStringLiteral("%m/%d/%Y %H:%M:%S");
    const QString iso = QStringLiteral("%Y-%m-%dT%H:%M:%S%z");
    const QDateTime no;

    // Imported dates: 12-hour clock first, 24-hour clock as the fallback.
    QTest::newRow("12h afternoon") << "01/31/2008 03:04:05 PM" << mt12 << c << local(2008, 1, 31, 15, 4, 5);
    QTest::newRow("12 AM is midnight") << "01/31/2008 12:04:05 AM" << mt12 << c << local(2008, 1, 31, 0, 4, 5);
    QTest::newRow("lower-case pm") << "01/31/2008 03:04:05 pm" << mt12 << c << local(2008, 1, 31, 15, 4, 5);
    QTest::newRow("24h") << "01/31/2008 15:04:05" << mt24 << c << local(2008, 1, 31, 15, 4, 5);
    QTest::newRow("ISO date") << "2008-01-31" << mt12 << c << no;
    QTest::newRow("24h text with AM/PM after it") << "01/31/2008 03:04:05 PM" << mt24 << c << no;
    QTest::newRow("hour 13 on a 12h clock") << "01/31/2008 13:04:05 PM" << mt12 << c << no;
    QTest::newRow("extra trailing text") << "01/31/2008 03:04:05 PM GMT" << mt12 << c << no;
    QTest::newRow("31 February") << "02/31/2008 03:04:05 PM" << mt12 << c << no;
    QTest::newRow("29 February, common year") << "02/29/2007 15:00:00" << mt24 << c << no;
    QTest::newRow("empty text") << "" << mt24 << c << no;

    // Offsets: the instant is kept, the result is local time.
    QTest::newRow("%z winter, UTC") << "2008-01-31T14:04:05+0000" << iso << c << local(2008, 1, 31, 15, 4, 5);
    QTest::newRow("%z summer, crosses midnight") << "2008-07-03T17:00:09-0500" << iso << c << local(2008, 7, 4, 0, 0, 9);
    QTest::newRow("%z as Z") << "2008-07-03T22:00:09Z" << iso << c << local(2008, 7, 4, 0, 0, 9);
    QTest::newRow("%z out of range") << "2008-07-04T00:00:09+2500" << iso << c << no;
    QTest::newRow("feed build date")
        << "Thu, 31 Jan 2008 15:04:05 +0100" << "%a, %d %b %Y %H:%M:%S %z" << c << local(2008, 1, 31, 15, 4, 5);
    QTest::newRow("%Z UTC") << "2008-07-03 22:00:09 UTC" << "%Y-%m-%d %H:%M:%S %Z" << c << local(2008, 7, 4, 0, 0, 9);
    QTest::newRow("%Z unknown zone") << "2008-07-04 00:00:09 XYZ" << "%Y-%m-%d %H:%M:%S %Z" << c << no;

    // Archive titles.
    QTest::newRow("day title") << "31 January 2008" << "%d %B %Y" << c << local(2008, 1, 31);
    QTest::newRow("month title") << "Mar 2009" << "%b %Y" << c << local(2009, 3, 1);
    QTest::newRow("German day title") << "31 Januar 2008" << "%d %B %Y" << german << local(2008, 1, 31);
    QTest::newRow("German month title") << "März 2009" << "%b %Y" << german << local(2009, 3, 1);
    QTest::newRow("German abbreviation with dot") << "Jan. 2008" << "%b %Y" << german << local(2008, 1, 1);
    QTest::newRow("English name in German") << "March 2009" << "%B %Y" << german << no;

    // The other numeric fields.
    QTest::newRow("%j last day of leap year") << "2008 366" << "%Y %j" << c << local(2008, 12, 31);
    QTest::newRow("%e space padded") << " 5 Mar 2009" << "%e %b %Y" << c << local(2009, 3, 5);
    QTest::newRow("%y last century") << "99-01-31" << "%y-%m-%d" << c << local(1999, 1, 31);
    QTest::newRow("no year means 2000") << "29 Feb" << "%d %b" << c << local(2000, 2, 29);
    QTest::newRow("clock change gap moves forward") << "2008-03-30 02:30:00" << "%Y-%m-%d %H:%M:%S" << c
                                                     << local(2008, 3, 30, 3, 30, 0);
}

void tst_QFCalendarFormat::parse()
{
    QFETCH(QString, text);
    QFETCH(QString, format);
    QFETCH(QLocale, locale);
    QFETCH(QDateTime, expected);

    const std::optional<QDateTime> parsed = QFCalendarFormat::parse(text, format, locale);
    if (!expected.isValid()) {
        QVERIFY2(!parsed, qPrintable(parsed ? parsed->toString(Qt::ISODate) : QString()));
        return;
    }
    QVERIFY(parsed);
    QCOMPARE(parsed->timeSpec(), Qt::LocalTime);
    QCOMPARE(*parsed, expected);
    QCOMPARE(parsed->time(), expected.time());
}

void tst_QFCalendarFormat::roundTrip_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QLocale>("locale");

    const QStringList formats = {
        QStringLiteral("%Y-%m-%dT%H:%M:%S%z"),
        QStringLiteral("%a, %d %b %Y %H:%M:%S %z"),
        QStringLiteral("%m/%d/%Y %I:%M:%S %p"),
        QStringLiteral("%A %e %B %y %H.%M.%S"),
        QStringLiteral("%Y %j %I:%M:%S%p %Z"),
    };
    for (const QString &f : formats) {
        QTest::addRow("C: %s", qPrintable(f)) << f << QLocale::c();
        QTest::addRow("German: %s", qPrintable(f)) << f << german;
    }
}

void tst_QFCalendarFormat::roundTrip()
{
    QFETCH(QString, format);
    QFETCH(QLocale, locale);
    for (const QDateTime &date : {winter, summerMidnight, noonLastDay, earlyMarch}) {
        const QString text = QFCalendarFormat::format(date, format, locale);
        const std::optional<QDateTime> back = QFCalendarFormat::parse(text, format, locale);
        QVERIFY2(back, qPrintable(text));
        QCOMPARE(*back, date);
    }
}

QTEST_GUILESS_MAIN(tst_QFCalendarFormat)
#include "tst_qfcalendarformat.moc"

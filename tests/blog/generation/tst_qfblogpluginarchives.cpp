#include "blog/generation/qfblogpluginarchives.h"
#include "blog/model/qfblogentry.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfbundle.h"

#include <QTimeZone>
#include <QtTest>

class tst_QFBlogPluginArchives : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void bucketsAndNextPeriods_data();
    void bucketsAndNextPeriods();
    void mostRecentPostBucket_data();
    void mostRecentPostBucket();
};

namespace {

QDateTime local(int y, int m, int d, int h = 0, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min));
}

} // namespace

void tst_QFBlogPluginArchives::initTestCase()
{
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
}

void tst_QFBlogPluginArchives::bucketsAndNextPeriods_data()
{
    QTest::addColumn<int>("period");
    QTest::addColumn<QDateTime>("date");
    QTest::addColumn<QDateTime>("bucket");
    QTest::addColumn<QDateTime>("next");

    // Weeks start on Sunday, also when that Sunday lies in an earlier month or year.
    QTest::newRow("week: Wednesday goes back to Sunday")
        << 0 << local(2024, 3, 13, 18, 5) << local(2024, 3, 10) << local(2024, 3, 17);
    QTest::newRow("week: Sunday starts its own week")
        << 0 << local(2024, 3, 17, 23, 59) << local(2024, 3, 17) << local(2024, 3, 24);
    QTest::newRow("week crossing a year start")
        << 0 << local(2026, 1, 1, 9) << local(2025, 12, 28) << local(2026, 1, 4);
    // The clocks go forward on Sunday 31 March 2024.
    QTest::newRow("week after the clocks go forward")
        << 0 << local(2024, 3, 27, 12) << local(2024, 3, 24) << local(2024, 3, 31);
    // 23:30 UTC on Saturday is already Sunday in the system time zone.
    QTest::newRow("week of a date given in UTC")
        << 0 << QDateTime(QDate(2024, 3, 2), QTime(23, 30), QTimeZone::utc()) << local(2024, 3, 3)
        << local(2024, 3, 10);

    QTest::newRow("month: last minute of January")
        << 1 << local(2024, 1, 31, 23, 59) << local(2024, 1, 1) << local(2024, 2, 1);
    QTest::newRow("month: December rolls into the next year")
        << 1 << local(2023, 12, 15) << local(2023, 12, 1) << local(2024, 1, 1);

    QTest::newRow("year: leap day") << 2 << local(2024, 2, 29, 12) << local(2024, 1, 1) << local(2025, 1, 1);

    QTest::newRow("unknown period: months") << 7 << local(2024, 2, 29, 12) << local(2024, 2, 1) << local(2024, 3, 1);
    QTest::newRow("no date") << 1 << QDateTime() << QDateTime() << QDateTime();
}

void tst_QFBlogPluginArchives::bucketsAndNextPeriods()
{
    QFETCH(int, period);
    QFETCH(QDateTime, date);
    QFETCH(QDateTime, bucket);
    QFETCH(QDateTime, next);

    QFBlogPlugin plugin;
    plugin.setArchivePostsPeriod(period);
    const std::unique_ptr<QFBlogArchiver> archiver = plugin.archives().currentArchiver();
    const char *formats[] = {"%d %B %Y", "%b %Y", "%Y"};
    QCOMPARE(archiver->bucketLinkFormat(), QString::fromLatin1(formats[period >= 0 && period <= 2 ? period : 1]));
    const QDateTime start = archiver->bucketFromDate(date);
    QCOMPARE(start, bucket);
    QCOMPARE(archiver->nextDateFromDate(start), next);
    if (start.isValid()) {
        QCOMPARE(start.time(), QTime(0, 0));
        // Every date of the period has the same start.
        QCOMPARE(archiver->bucketFromDate(next.addSecs(-1)), bucket);
    }
}

void tst_QFBlogPluginArchives::mostRecentPostBucket_data()
{
    QTest::addColumn<QList<QDateTime>>("published");
    QTest::addColumn<QList<QDateTime>>("drafts");
    QTest::addColumn<QDateTime>("bucket");

    // The plugin's clock says 9 May 2030.
    QTest::newRow("latest published post")
        << QList<QDateTime>{local(2024, 1, 5), local(2024, 3, 7), local(2024, 2, 1)} << QList<QDateTime>{}
        << local(2024, 3, 1);
    QTest::newRow("a newer draft does not count")
        << QList<QDateTime>{local(2024, 1, 5)} << QList<QDateTime>{local(2024, 6, 1)} << local(2024, 1, 1);
    QTest::newRow("only drafts: today's period")
        << QList<QDateTime>{} << QList<QDateTime>{local(2024, 6, 1)} << local(2030, 5, 1);
}

void tst_QFBlogPluginArchives::mostRecentPostBucket()
{
    QFETCH(QList<QDateTime>, published);
    QFETCH(QList<QDateTime>, drafts);
    QFETCH(QDateTime, bucket);

    QFBlogPlugin plugin;
    plugin.setClock([] { return local(2030, 5, 9, 14); });
    plugin.setArchivePostsPeriod(1);
    int id = 0;
    for (const QDateTime &date : published + drafts) {
        QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&plugin);
        entry->setDate(date);
        entry->setStatus(id < published.size() ? 1 : 0);
        entry->setID(id++);
        plugin.insertBlogEntry(entry);
    }
    QCOMPARE(plugin.archives().mostRecentPostBucket(), bucket);
    QCOMPARE(plugin.archives().latestPost().has_value(), !published.isEmpty());
}

QTEST_GUILESS_MAIN(tst_QFBlogPluginArchives)
#include "tst_qfblogpluginarchives.moc"

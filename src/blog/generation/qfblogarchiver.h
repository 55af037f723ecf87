#pragma once

#include <QDateTime>
#include <QString>

// One kind of archive period (week, month, year). Stateless; the archives
// group makes a fresh one for the blog's current period setting.
//
// Period starts are dates at 00:00:00 in the system time zone. An invalid date
// gives an invalid period start.
class QFBlogArchiver
{
public:
    virtual ~QFBlogArchiver() = default;

    // The start of the period the date falls into.
    virtual QDateTime bucketFromDate(const QDateTime &date) const = 0;
    // The start of the period after the one starting at periodStart.
    virtual QDateTime nextDateFromDate(const QDateTime &periodStart) const = 0;
    // The calendar format (QFCalendarFormat) of a period's title.
    virtual QString bucketLinkFormat() const = 0;
};

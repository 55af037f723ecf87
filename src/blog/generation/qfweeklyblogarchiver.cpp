#include "qfweeklyblogarchiver.h"

#include <QTime>

QDateTime QFWeeklyBlogArchiver::bucketFromDate(const QDateTime &date) const
{
    if (!date.isValid())
        return QDateTime();
    const QDate day = date.toLocalTime().date();
    const int dayOfWeek = day.dayOfWeek() % 7; // Qt counts Monday 1 .. Sunday 7; we want Sunday 0
    // Counting from the 1st of the month lets a day number at or below zero
    // roll back into the previous month.
    const QDate sunday = QDate(day.year(), day.month(), 1).addDays(day.day() - dayOfWeek - 1);
    return QDateTime(sunday, QTime(0, 0));
}

QDateTime QFWeeklyBlogArchiver::nextDateFromDate(const QDateTime &periodStart) const
{
    if (!periodStart.isValid())
        return QDateTime();
    return QDateTime(periodStart.toLocalTime().date().addDays(7), QTime(0, 0));
}

QString QFWeeklyBlogArchiver::bucketLinkFormat() const
{
    return QStringLiteral("%d %B %Y");
}

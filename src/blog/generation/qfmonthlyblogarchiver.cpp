#include "qfmonthlyblogarchiver.h"

#include <QTime>

QDateTime QFMonthlyBlogArchiver::bucketFromDate(const QDateTime &date) const
{
    if (!date.isValid())
        return QDateTime();
    const QDate day = date.toLocalTime().date();
    return QDateTime(QDate(day.year(), day.month(), 1), QTime(0, 0));
}

QDateTime QFMonthlyBlogArchiver::nextDateFromDate(const QDateTime &periodStart) const
{
    if (!periodStart.isValid())
        return QDateTime();
    return QDateTime(periodStart.toLocalTime().date().addMonths(1), QTime(0, 0));
}

QString QFMonthlyBlogArchiver::bucketLinkFormat() const
{
    return QStringLiteral("%b %Y");
}

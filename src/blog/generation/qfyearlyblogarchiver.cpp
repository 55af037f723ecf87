#include "qfyearlyblogarchiver.h"

#include <QTime>

QDateTime QFYearlyBlogArchiver::bucketFromDate(const QDateTime &date) const
{
    if (!date.isValid())
        return QDateTime();
    return QDateTime(QDate(date.toLocalTime().date().year(), 1, 1), QTime(0, 0));
}

QDateTime QFYearlyBlogArchiver::nextDateFromDate(const QDateTime &periodStart) const
{
    if (!periodStart.isValid())
        return QDateTime();
    return QDateTime(periodStart.toLocalTime().date().addYears(1), QTime(0, 0));
}

QString QFYearlyBlogArchiver::bucketLinkFormat() const
{
    return QStringLiteral("%Y");
}

#pragma once

#include "blog/generation/qfblogarchiver.h"

// Weeks begin on Sunday; a week may start in the previous month or year.
class QFWeeklyBlogArchiver final : public QFBlogArchiver
{
public:
    QFWeeklyBlogArchiver() = default;

    QDateTime bucketFromDate(const QDateTime &date) const override;
    QDateTime nextDateFromDate(const QDateTime &periodStart) const override;
    QString bucketLinkFormat() const override;
};

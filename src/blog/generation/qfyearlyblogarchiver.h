#pragma once

#include "blog/generation/qfblogarchiver.h"

// Calendar years, starting on 1 January.
class QFYearlyBlogArchiver final : public QFBlogArchiver
{
public:
    QFYearlyBlogArchiver() = default;

    QDateTime bucketFromDate(const QDateTime &date) const override;
    QDateTime nextDateFromDate(const QDateTime &periodStart) const override;
    QString bucketLinkFormat() const override;
};

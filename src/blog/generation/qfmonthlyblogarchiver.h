#pragma once

#include "blog/generation/qfblogarchiver.h"

// Calendar months, starting on the 1st.
class QFMonthlyBlogArchiver final : public QFBlogArchiver
{
public:
    QFMonthlyBlogArchiver() = default;

    QDateTime bucketFromDate(const QDateTime &date) const override;
    QDateTime nextDateFromDate(const QDateTime &periodStart) const override;
    QString bucketLinkFormat() const override;
};

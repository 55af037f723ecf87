#pragma once

#include <QString>

// What the comment-account label and text field of the options show for the
// selected comment service: hidden for services that need no account (none,
// JS-Kit); otherwise the service's name followed by ":" and the account stored
// for it (empty when there is none).
struct QFBlogCommentsAccountFields
{
    QString labelText;
    bool visible = false;
    QString fieldText;

    friend bool operator==(const QFBlogCommentsAccountFields &, const QFBlogCommentsAccountFields &) = default;
};

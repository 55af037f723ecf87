#pragma once

#include <QString>

// Who the user is, as far as a new blog's defaults need it: the full name for
// the copyright line and an e-mail address for the feed's creator. Either may
// be empty when the system does not know it.
struct QFBlogUserIdentity
{
    QString fullName;
    QString emailAddress;

    // The login account's full name (the first comma-separated part of the
    // passwd entry's comment field, else the login name) and the EMAIL
    // environment variable.
    static QFBlogUserIdentity fromSystem();
};

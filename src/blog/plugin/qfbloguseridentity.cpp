#include "qfbloguseridentity.h"

#include <QtGlobal>

#include <pwd.h>
#include <unistd.h>

QFBlogUserIdentity QFBlogUserIdentity::fromSystem()
{
    QFBlogUserIdentity identity;
    if (const passwd *entry = getpwuid(getuid())) {
        if (entry->pw_gecos)
            identity.fullName = QString::fromLocal8Bit(entry->pw_gecos).section(QLatin1Char(','), 0, 0).trimmed();
        if (identity.fullName.isEmpty() && entry->pw_name)
            identity.fullName = QString::fromLocal8Bit(entry->pw_name);
    }
    identity.emailAddress = qEnvironmentVariable("EMAIL").trimmed();
    return identity;
}

#include "qfblognotifier.h"

QFBlogNotifier *QFBlogNotifier::instance()
{
    // Never destroyed: posts may come from objects released at exit.
    static QFBlogNotifier *notifier = new QFBlogNotifier;
    return notifier;
}

void QFBlogNotifier::postCustomTagDidChange(QObject *object)
{
    emit customTagDidChange(object);
    emit notificationPosted(QString(kQFBlogCustomTagDidChangeNotification), object);
}

#pragma once

#include <QLatin1StringView>
#include <QObject>

// The notification name posted whenever a custom feed tag or the image of an
// iTunes tag set changes.
inline constexpr QLatin1StringView kQFBlogCustomTagDidChangeNotification("QFBlogCustomTagDidChange");

// The process-wide notification centre of the blog model. Custom feed tags
// (QFBlogCustomTag) and iTunes tag sets (QFBlogCustomiTunesTags) post through
// it; the plugin connects to customTagDidChange() to mark its page changed.
// Lives for the whole program; signals are emitted on the posting thread
// (model edits happen on the main thread).
class QFBlogNotifier final : public QObject
{
    Q_OBJECT

public:
    static QFBlogNotifier *instance();

    // Emits customTagDidChange(object) and notificationPosted(name, object).
    void postCustomTagDidChange(QObject *object);

signals:
    // "QFBlogCustomTagDidChange": object is the custom tag or tag set that changed.
    void customTagDidChange(QObject *object);
    // Every notification by name, for observers that want them all.
    void notificationPosted(const QString &name, QObject *object);

private:
    QFBlogNotifier() = default;
    Q_DISABLE_COPY_MOVE(QFBlogNotifier)
};

#include "qfblogpodcastoverrideaccessors.h"

namespace QFBlogPodcastOverrideAccessors {

namespace {
std::optional<QString> stringFor(const QVariantMap &map, const char *key)
{
    const QVariant value = map.value(QLatin1String(key));
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}
} // namespace

bool override(const QVariantMap &podcastOverride)
{
    return podcastOverride.value(QLatin1String(kOverrideKey)).toBool();
}

std::optional<QString> url(const QVariantMap &podcastOverride)
{
    return stringFor(podcastOverride, kURLKey);
}

quint64 size(const QVariantMap &podcastOverride)
{
    const QVariant value = podcastOverride.value(QLatin1String(kSizeKey));
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Double:
        return value.toDouble() > 0 ? quint64(value.toLongLong()) : 0;
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return value.toULongLong();
    case QMetaType::QString: {
        // The editor's text field may hand the number over as text.
        bool ok = false;
        const quint64 size = value.toString().trimmed().toULongLong(&ok);
        return ok ? size : 0;
    }
    default:
        return 0;
    }
}

std::optional<QString> mimetype(const QVariantMap &podcastOverride)
{
    return stringFor(podcastOverride, kTypeKey);
}

} // namespace QFBlogPodcastOverrideAccessors

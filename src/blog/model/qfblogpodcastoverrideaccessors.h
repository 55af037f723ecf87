#pragma once

#include <QString>
#include <QVariantMap>
#include <optional>

// Reading a post's podcast enclosure override (QFBlogEntry::podcastOverride),
// a plain dictionary that the editor fills by key:
//   "override" bool    use the values below instead of the attached file's
//   "url"      string  the enclosure URL
//   "size"     number  the enclosure length in bytes
//   "type"     string  the enclosure MIME type
// Values of another type count as absent.
namespace QFBlogPodcastOverrideAccessors {

inline constexpr char kOverrideKey[] = "override";
inline constexpr char kURLKey[] = "url";
inline constexpr char kSizeKey[] = "size";
inline constexpr char kTypeKey[] = "type";

// False when absent.
bool override(const QVariantMap &podcastOverride);
// Empty when absent.
std::optional<QString> url(const QVariantMap &podcastOverride);
// 0 when absent or negative.
quint64 size(const QVariantMap &podcastOverride);
// The "type" value; empty when absent.
std::optional<QString> mimetype(const QVariantMap &podcastOverride);

} // namespace QFBlogPodcastOverrideAccessors

#pragma once

#include <QLatin1StringView>

// Attribute keys of QFStyledText and the keys of their map-valued attributes.
// The string values are stored in site documents and on the clipboard: never
// change them. Every attribute value is a plain variant (bool, double,
// QString, QByteArray, QVariantList, QVariantMap) so that a styled text
// archives as it is. Keys not listed here (a plugin's own, such as the blog's
// "QFBlogEntryCacheData") are kept and archived like any other.

// {"family": QString, "size": double}. Not written into exported HTML: the
// page's style sheet decides how text looks.
inline constexpr QLatin1StringView kQFFontAttributeName("QFFont");
inline constexpr QLatin1StringView kQFFontFamilyKey("family");
inline constexpr QLatin1StringView kQFFontSizeKey("size");

// bool each; a missing key means false.
inline constexpr QLatin1StringView kQFBoldAttributeName("QFBold");
inline constexpr QLatin1StringView kQFItalicAttributeName("QFItalic");
inline constexpr QLatin1StringView kQFUnderlineAttributeName("QFUnderline");

// The variant-map form of a QFLink (QFLink::toVariantMap()), not a QFLink.
inline constexpr QLatin1StringView kQFLinkAttributeName("QFLink");

// QString.
inline constexpr QLatin1StringView kQFToolTipAttributeName("QFToolTip");

// {"data": QByteArray (the image file's bytes), "fileName": QString}, set on
// one U+FFFC (object replacement) character per attachment.
inline constexpr QLatin1StringView kQFAttachmentAttributeName("QFAttachment");
inline constexpr QLatin1StringView kQFAttachmentDataKey("data");
inline constexpr QLatin1StringView kQFAttachmentFileNameKey("fileName");
inline constexpr char16_t kQFAttachmentCharacter = u'\uFFFC';

// A map naming how the range is to be converted at export, for instance
// {"name": "filter", "Markdown": "Markdown"} (any value under "Markdown",
// such as "MultiMarkdown", selects Markdown) or
// {"name": "filter", "style": "Textile"}.
inline constexpr QLatin1StringView kQFTextViewMarkupDirectivesAttributeName("QFTextViewMarkupDirectives");
inline constexpr QLatin1StringView kQFMarkupDirectiveNameKey("name");
inline constexpr QLatin1StringView kQFMarkupDirectiveFilterName("filter");
inline constexpr QLatin1StringView kQFMarkupDirectiveMarkdownKey("Markdown");
inline constexpr QLatin1StringView kQFMarkupDirectiveStyleKey("style");

// bool: the range is raw HTML, exported exactly as typed.
inline constexpr QLatin1StringView kQFTextViewIgnoreFormattingAttributeName("QFTextViewIgnoreFormatting");

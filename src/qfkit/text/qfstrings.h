#pragma once

#include <QByteArray>
#include <QString>

// The host's string services, used by every plugin when writing pages, feeds
// and file names. All are pure functions, safe on any thread, and never
// depend on the user's locale.
namespace QFStrings {

// A word safe as (part of) a file name on every system and in a URL, made
// from arbitrary text such as a category or tag name:
//  - letters are folded to unaccented lower case ASCII where there is an
//    obvious match: "Café" -> "cafe", "Ærø" -> "aero", "ß" -> "ss", "ﬁ" -> "fi"
//    (compatibility decomposition, combining marks dropped, a few letters
//    without decomposition spelled out);
//  - ASCII letters, digits, "-" and "_" are kept as they are;
//  - every run of other characters (spaces, punctuation, dots, slashes,
//    letters of other scripts, emoji) becomes one "-", also at the start
//    and the end: "C++" -> "c-", "Hello, World!" -> "hello-world-",
//    "a - b" -> "a---b" (a typed "-" is a kept character, not part of a run).
// Never trimmed, so different names rarely meet (the rule is what makes file
// names reproducible; do not change it). The result is never empty (empty
// text gives "untitled") and never "." or "..".
QString stringEscapedForLowercaseFilename(const QString &s);

// & < > as &amp; &lt; &gt;. For text between tags.
QString stringEscapedForHTMLElementText(const QString &s);
// & < > " ' as &amp; &lt; &gt; &quot; &#39;. For attribute values in either quote.
QString stringEscapedForHTMLAttribute(const QString &s);

// HTML text with markup characters and everything outside ASCII as entities:
// & < > " as &amp; &lt; &gt; &quot;; characters that HTML 4 names by an
// entity (all of Latin-1 such as &eacute; &copy; &nbsp;, and the common
// typographic ones such as &euro; &mdash; &rsquo; &hellip;) by name; any
// other non-ASCII character as one decimal reference of its code point
// (&#128512; for an emoji, not two surrogates). A lone surrogate becomes
// &#65533;. ASCII other than & < > " is left as it is.
QString convertToEntities(const QString &s);

// Text safe in any XML document, whatever its encoding and DTD: & < > " as
// &#38; &#60; &#62; &#34; (numeric, so no entity definitions are needed);
// every non-ASCII code point as one decimal reference &#NNNN;; control
// characters that XML forbids or that mean nothing in text (U+0000-U+001F
// except tab, line feed and carriage return, U+007F-U+009F, U+FFFE, U+FFFF,
// lone surrogates) dropped.
QString convertToNumericalReferences(const QString &s);

// The first `count` sentences of s (Unicode sentence boundaries), with the
// trailing white space removed. Sentences made only of white space are not
// counted. On return `count` holds the number of sentences actually taken:
// fewer when s has fewer, 0 for empty text or a count of 0 or less (and then
// the result is empty).
QString summarizeToSentences(const QString &s, int &count);

// MD5 of the UTF-8 bytes of s: 16 raw bytes, and as 32 lower-case hex digits.
QByteArray md5Checksum(const QString &s);
QString md5HexChecksum(const QString &s);

// s with "/" appended unless it already ends in one ("" -> "/").
QString appendForwardSlash(const QString &s);

// Whether s is an absolute http or https address with a host, as a site's
// base URL and the other addresses a site publishes under must be. No
// trimming: surrounding spaces make it false.
bool isAbsoluteWebAddress(const QString &s);

// True exactly when s is "1" or, in any letter case, "yes" or "true". No
// trimming: " yes" is false.
bool boolValue(const QString &s);

// Orders strings ignoring case with runs of ASCII digits compared by their
// value ("tag9" < "tag10", "a2b" < "a10b"); digits sort before letters.
// Case folding is Unicode's simple folding, not the user's locale. Strings
// equal under that rule are ordered by their leading zeros ("a1" < "a01") and
// then exactly, so the result is 0 only for identical strings and sorting is
// stable across runs and machines. Returns <0, 0 or >0.
int compareIgnoringCaseNumeric(const QString &a, const QString &b);

// s encoded in the named encoding, every character the encoding cannot hold
// written as a decimal reference &#NNNN; (one per code point). Names, in any
// letter case: "utf-8"/"utf8"; "iso-8859-1"/"iso8859-1"/"latin1"/"latin-1";
// "us-ascii"/"ascii"; "windows-1252"/"cp1252". An empty or unknown name gives
// UTF-8 (which holds everything).
QByteArray dataUsingHTMLEscapes(const QString &s, const QString &encodingName);

} // namespace QFStrings

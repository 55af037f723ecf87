#pragma once

#include "blog/model/qfblogentry.h"
#include "qfkit/text/qfstyledtext.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

class QDir;
class QIODevice;
class QFBlogPlugin;

// Posts given as JSON Lines (`post add --jsonl`): one JSON object per line,
// with the keys
//   "title"       string, required
//   "date"        ISO 8601; local time when it has no offset
//   "draft"       bool (default false)
//   "categories"  array of names
//   "tags"        array of names
//   "body"        string
//   "summary"     string
//   "format"      "text" (default: each line a paragraph), "markdown" or
//                 "html" (kept as typed); applies to body and summary
//   "podcast"     path of the podcast file
//   "image"       path of an image, shown as a paragraph of its own at the
//                 top of the body
// Blank lines are skipped; an unknown key is an error, so a misspelt one is
// not silently lost. Paths are kept as typed: whoever reads the files
// resolves them.
//
// Reading checks every line before anything is made, and stops at the first
// bad one.
namespace QFBlogJsonLines {

// The largest input read (512 MiB): more than twice a blog of 100,000 posts
// of about 300 words each, and small enough that its posts fit in memory.
inline constexpr qint64 MaxFileSize = qint64(512) << 20;
// The largest image a post names (64 MiB).
inline constexpr qint64 MaxImageSize = qint64(64) << 20;
// All the images one file names, together: each post holds its image until
// the posts are added, so a short file naming a large image on every line
// is bounded too.
inline constexpr qint64 MaxImagesSize = qint64(512) << 20;

enum class TextFormat { Plain, Markdown, HTML };

// One post as read, checked, not yet in any blog.
struct Post
{
    int line = 0; // 1-based line of the input
    QString title;
    std::optional<QDateTime> date; // local, whole seconds; empty: none given
    bool draft = false;
    QStringList categories; // non-empty names, as typed
    QStringList tags;       // non-empty names, as typed
    QFStyledText body;      // empty when none was given
    QFStyledText summary;
    QString podcast; // null when none was given
    QString image;   // null when none was given
};

struct Result
{
    QList<Post> posts;
    // Set when a line is bad; posts is then empty.
    int errorLine = 0;
    QString error; // the problem, without file or line
    bool ok() const { return error.isNull(); }
};

// The text as stored for a post: plain text keeps its lines, each of which
// the export makes a paragraph; HTML carries the raw-HTML attribute; Markdown
// the filter directive that the export hands to the Markdown converter. CR LF
// line ends become LF. An empty text carries no attributes.
QFStyledText styledText(QString text, TextFormat format);

// Parses and checks the whole input (UTF-8, an optional byte order mark, LF
// or CR LF line ends). Never throws; any bytes give posts or an error.
Result read(const QByteArray &bytes);
// The same, read from the file at path (or device, named name in messages)
// one line at a time, so that only the posts are held, never the whole
// input besides them. More than limit bytes, or a file that cannot be read,
// raise QFException ("File Too Large", "Cannot Read File") naming it.
Result readFile(const QString &path, qint64 limit = MaxFileSize);
Result readDevice(QIODevice &device, const QString &name, qint64 limit = MaxFileSize);

// Reads the files the posts name, relative to folder (the JSON Lines file's
// own folder; the current one for standard input): a podcast becomes an
// absolute path and must be a file; an image must be readable as an image
// and becomes an attachment, a paragraph of its own at the top of the body.
// At the first problem the result carries it (line and problem) and its
// posts are dropped; nothing else is touched.
void attachFiles(Result &result, const QDir &folder);

// Adds the posts to the blog in their order, in one step the undo stack
// takes back at once, and answers them with their new IDs. A post without
// categories is in the None category, and so is one whose only category
// is "None" (the word, or the None category's name, ignoring case; beside
// other categories it is dropped). A category is the blog's of that name
// ignoring case, made when missing; a tag takes the spelling of a tag the
// blog knows ignoring case (posts earlier in the list count). Takes the
// posts' texts (the list is left empty), so a large file is not held twice.
QList<QFBlogEntryPtr> addPosts(QFBlogPlugin &blog, QList<Post> &posts);

// An ISO 8601 date as the command line takes it: in local time when it names
// no offset, cut to whole seconds. Empty for anything else.
std::optional<QDateTime> parseDate(const QString &text);

} // namespace QFBlogJsonLines

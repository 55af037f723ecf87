#include "qfblogjsonlines.h"

#include "blog/model/qfblogcustomitunestags.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfboundedread.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QTime>
#include <QTimeZone>

namespace QFBlogJsonLines {

namespace {

// Raised inside read() for a bad line; never leaves this file.
struct LineError
{
    QString problem;
};

QString keyName(QLatin1StringView key)
{
    return QStringLiteral("\"%1\"").arg(key);
}

QString typeName(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Null: return QStringLiteral("null");
    case QJsonValue::Bool: return QStringLiteral("a boolean");
    case QJsonValue::Double: return QStringLiteral("a number");
    case QJsonValue::String: return QStringLiteral("a string");
    case QJsonValue::Array: return QStringLiteral("an array");
    case QJsonValue::Object: return QStringLiteral("an object");
    case QJsonValue::Undefined: break;
    }
    return QStringLiteral("nothing");
}

[[noreturn]] void wrongType(QLatin1StringView key, const char *wanted, const QJsonValue &value)
{
    throw LineError{QStringLiteral("%1 must be %2, not %3").arg(keyName(key), QLatin1String(wanted), typeName(value))};
}

QString stringOf(const QJsonValue &value, QLatin1StringView key)
{
    if (!value.isString())
        wrongType(key, "a string", value);
    return value.toString();
}

// Names without duplicates ignoring case, the first spelling kept: the blog
// matches categories and tags that way too.
QStringList namesOf(const QJsonValue &value, QLatin1StringView key)
{
    if (!value.isArray())
        wrongType(key, "an array of names", value);
    QStringList names;
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        if (!element.isString()) {
            throw LineError{
                QStringLiteral("%1 holds %2 where a name belongs").arg(keyName(key), typeName(element))};
        }
        const QString name = element.toString().trimmed();
        if (name.isEmpty())
            throw LineError{QStringLiteral("%1 holds an empty name").arg(keyName(key))};
        if (!names.contains(name, Qt::CaseInsensitive))
            names.append(name);
    }
    return names;
}

const QLatin1StringView kTitle("title");
const QLatin1StringView kDate("date");
const QLatin1StringView kDraft("draft");
const QLatin1StringView kCategories("categories");
const QLatin1StringView kTags("tags");
const QLatin1StringView kBody("body");
const QLatin1StringView kSummary("summary");
const QLatin1StringView kFormat("format");
const QLatin1StringView kPodcast("podcast");
const QLatin1StringView kImage("image");

Post readLine(QByteArrayView bytes, int line)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes.toByteArray(), &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        throw LineError{QStringLiteral("not valid JSON (%1 at column %2)")
                            .arg(parseError.errorString())
                            .arg(parseError.offset + 1)};
    }
    if (!document.isObject())
        throw LineError{QStringLiteral("a post must be a JSON object")};
    const QJsonObject object = document.object();

    static const QList<QLatin1StringView> known{kTitle, kDate,   kDraft,  kCategories, kTags,
                                                kBody,  kSummary, kFormat, kPodcast,   kImage};
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        if (!known.contains(it.key()))
            throw LineError{QStringLiteral("unknown key \"%1\"").arg(it.key())};
    }

    Post post;
    post.line = line;
    if (!object.contains(kTitle))
        throw LineError{QStringLiteral("a post needs a \"title\"")};
    post.title = stringOf(object.value(kTitle), kTitle);

    if (object.contains(kDate)) {
        const QString text = stringOf(object.value(kDate), kDate);
        post.date = parseDate(text);
        if (!post.date) {
            throw LineError{
                QStringLiteral("\"date\" '%1' is not an ISO 8601 date (such as 2024-05-01T09:30:00)").arg(text)};
        }
    }
    if (object.contains(kDraft)) {
        const QJsonValue draft = object.value(kDraft);
        if (!draft.isBool())
            wrongType(kDraft, "true or false", draft);
        post.draft = draft.toBool();
    }
    if (object.contains(kCategories))
        post.categories = namesOf(object.value(kCategories), kCategories);
    if (object.contains(kTags))
        post.tags = namesOf(object.value(kTags), kTags);

    TextFormat format = TextFormat::Plain;
    if (object.contains(kFormat)) {
        const QString name = stringOf(object.value(kFormat), kFormat);
        if (name == QLatin1String("html"))
            format = TextFormat::HTML;
        else if (name == QLatin1String("markdown"))
            format = TextFormat::Markdown;
        else if (name != QLatin1String("text"))
            throw LineError{QStringLiteral("\"format\" '%1' is none of text, markdown, html").arg(name)};
    }
    if (object.contains(kBody))
        post.body = styledText(stringOf(object.value(kBody), kBody), format);
    if (object.contains(kSummary))
        post.summary = styledText(stringOf(object.value(kSummary), kSummary), format);

    for (const auto &[key, target] : {std::pair{kPodcast, &post.podcast}, std::pair{kImage, &post.image}}) {
        if (!object.contains(key))
            continue;
        *target = stringOf(object.value(key), key);
        if (target->isEmpty())
            throw LineError{QStringLiteral("%1 is an empty path").arg(keyName(key))};
    }
    return post;
}

} // namespace

QFStyledText styledText(QString text, TextFormat format)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    if (text.isEmpty())
        return QFStyledText(text);
    QVariantMap attributes;
    if (format == TextFormat::HTML) {
        attributes.insert(kQFTextViewIgnoreFormattingAttributeName, true);
    } else if (format == TextFormat::Markdown) {
        attributes.insert(kQFTextViewMarkupDirectivesAttributeName,
                          QVariantMap{{kQFMarkupDirectiveNameKey, QString(kQFMarkupDirectiveFilterName)},
                                      {kQFMarkupDirectiveMarkdownKey, QStringLiteral("Markdown")}});
    }
    return QFStyledText(text, attributes);
}

void attachFiles(Result &result, const QDir &folder)
{
    const auto fail = [&result](const Post &post, const QString &problem) {
        result.errorLine = post.line;
        result.error = problem;
        result.posts.clear();
    };
    const auto tooMany = [&](const Post &post) {
        fail(post, QStringLiteral("the images named up to here are larger than %1 together; add the posts in "
                                  "smaller files")
                       .arg(QFBoundedRead::sizeText(MaxImagesSize)));
    };
    // By their sizes first, so that no image is read in vain.
    qint64 imageBytes = 0;
    for (const Post &post : std::as_const(result.posts)) {
        if (!post.image.isNull())
            imageBytes += QFileInfo(folder.absoluteFilePath(post.image)).size();
        if (imageBytes > MaxImagesSize)
            return tooMany(post);
    }
    imageBytes = 0;
    for (Post &post : result.posts) {
        if (!post.podcast.isNull()) {
            const QFileInfo podcast(folder.absoluteFilePath(post.podcast));
            if (!podcast.isFile())
                return fail(post, QStringLiteral("the podcast file '%1' does not exist").arg(post.podcast));
            post.podcast = podcast.absoluteFilePath();
        }
        if (post.image.isNull())
            continue;
        const QString path = folder.absoluteFilePath(post.image);
        if (QFile file(path); !file.open(QIODevice::ReadOnly))
            return fail(post, QStringLiteral("the image '%1' cannot be read: %2").arg(post.image, file.errorString()));
        QByteArray data;
        try {
            data = QFBoundedRead::readFile(path, MaxImageSize, QStringLiteral("image"));
        } catch (const QFException &e) {
            if (e.name() != QLatin1String("File Too Large"))
                return fail(post, QStringLiteral("the image '%1' cannot be read: %2").arg(post.image, e.reason()));
            return fail(post, QStringLiteral("the image '%1' is larger than %2")
                                  .arg(post.image, QFBoundedRead::sizeText(MaxImageSize)));
        }
        imageBytes += data.size();
        if (imageBytes > MaxImagesSize)
            return tooMany(post);
        QBuffer buffer;
        buffer.setData(data);
        buffer.open(QIODevice::ReadOnly);
        if (!QImageReader(&buffer).canRead())
            return fail(post, QStringLiteral("the file '%1' is not an image").arg(post.image));
        QFStyledText top;
        top.insertAttachment(0, data, QFileInfo(post.image).fileName());
        // Formats browsers do not show become PNG now, not at every export.
        top.normaliseImageAttachments();
        if (!post.body.isEmpty())
            top.append(QStringLiteral("\n"));
        post.body = top.append(post.body);
        post.image = QString();
    }
}

QList<QFBlogEntryPtr> addPosts(QFBlogPlugin &blog, QList<Post> &posts)
{
    // Looked up once per name, not once per post: a large file names the
    // same few categories and tags over and over.
    QHash<QString, int> categoryIDs;
    for (const QFBlogCategoryPtr &category : blog.categories()) {
        if (category && !category->isNone())
            categoryIDs.insert(category->categoryName().toCaseFolded(), category->categoryID());
    }
    const QFBlogCategoryPtr none = blog.categories().value(0);
    QHash<QString, QString> tagNames;
    for (const QVariant &tag : blog.knownTags().objects()) {
        const QString name = tag.value<QFBlogTag>().tagName();
        tagNames.insert(name.toCaseFolded(), name);
    }
    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime undated = QDateTime(now.date(), QTime(now.time().hour(), now.time().minute(), now.time().second()));

    QList<QFBlogEntryPtr> entries;
    entries.reserve(posts.size());
    for (Post &post : posts) {
        // Filled before it meets the plugin, so no edit below is reported or
        // re-sorts the entry list once per post.
        const QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(nullptr);
        entry->setTitle(post.title);
        entry->setDate(post.date.value_or(undated));
        entry->setStatus(post.draft ? 0 : 1);
        QList<int> ids;
        for (const QString &name : std::as_const(post.categories)) {
            // "None" is the None category: no category of its own.
            if (none && none->isNamed(name))
                continue;
            const QString key = name.toCaseFolded();
            auto found = categoryIDs.constFind(key);
            if (found == categoryIDs.constEnd())
                found = categoryIDs.insert(key, blog.addNewCategory(name)->categoryID());
            if (!ids.contains(*found))
                ids.append(*found);
        }
        if (ids.isEmpty() && none)
            ids.append(none->categoryID());
        entry->setCategoryIDs(ids);
        entry->setEntry(std::exchange(post.body, QFStyledText()));
        entry->setEntrySummary(std::exchange(post.summary, QFStyledText()));
        entry->setItunesTags(QFBlogCustomiTunesTags::tags());
        if (!post.podcast.isNull()) {
            entry->setPodcast(post.podcast);
            entry->updatePodcastReferenceRelativeTo(blog.documentPath());
        }

        QFBlogTagList tags;
        for (const QString &name : std::as_const(post.tags)) {
            const QString key = name.toCaseFolded();
            auto found = tagNames.constFind(key);
            if (found == tagNames.constEnd())
                found = tagNames.insert(key, name);
            const QFBlogTag tag(*found);
            if (!tags.contains(tag))
                tags.append(tag);
        }
        entry->setBlogPlugin(&blog);
        entry->setTags(tags); // counted by the blog from here on
        entries.append(entry);
    }
    posts.clear();
    return blog.addEntries(entries);
}

std::optional<QDateTime> parseDate(const QString &text)
{
    QDateTime date = QDateTime::fromString(text, Qt::ISODate);
    if (!date.isValid()) {
        // A local time the clocks skip when summer time starts: taken, as a
        // wall clock would, in the offset before the change, so it lands
        // just after it.
        const qsizetype separator = text.indexOf(u'T');
        const QDate day = QDate::fromString(text.left(separator), Qt::ISODate);
        const QTime time = separator < 0 ? QTime() : QTime::fromString(text.mid(separator + 1), Qt::ISODate);
        if (!day.isValid() || !time.isValid())
            return std::nullopt;
        const int offsetBefore = QDateTime(day.addDays(-1), time).offsetFromUtc();
        date = QDateTime(day, time, QTimeZone::utc()).addSecs(-offsetBefore);
        if (!date.isValid())
            return std::nullopt;
    }
    date = date.toLocalTime();
    date.setTime(QTime(date.time().hour(), date.time().minute(), date.time().second()));
    return date;
}

namespace {

// Lines are taken one at a time, whether they come from bytes in memory or
// from a file.
class Reading final
{
public:
    // False once a line was bad; the result then carries it.
    bool take(QByteArrayView text)
    {
        ++m_line;
        if (m_line == 1 && text.startsWith("\xEF\xBB\xBF"))
            text = text.sliced(3);
        if (text.endsWith('\r'))
            text.chop(1);
        if (text.trimmed().isEmpty())
            return true;
        try {
            m_result.posts.append(readLine(text, m_line));
        } catch (const LineError &error) {
            m_result.posts.clear();
            m_result.errorLine = m_line;
            m_result.error = error.problem;
            return false;
        }
        return true;
    }

    Result result() { return std::move(m_result); }

private:
    Result m_result;
    int m_line = 0;
};

} // namespace

Result read(const QByteArray &bytes)
{
    Reading reading;
    QByteArrayView rest(bytes);
    while (!rest.isEmpty()) {
        const qsizetype end = rest.indexOf('\n');
        const QByteArrayView text = end < 0 ? rest : rest.first(end);
        rest = end < 0 ? QByteArrayView() : rest.sliced(end + 1);
        if (!reading.take(text))
            break;
    }
    return reading.result();
}

Result readFile(const QString &path, qint64 limit)
{
    Reading reading;
    QFBoundedRead::readFileLines(path, limit, QStringLiteral("posts file"),
                                 [&reading](QByteArrayView line) { return reading.take(line); });
    return reading.result();
}

Result readDevice(QIODevice &device, const QString &name, qint64 limit)
{
    Reading reading;
    QFBoundedRead::readDeviceLines(device, limit, name, [&reading](QByteArrayView line) { return reading.take(line); });
    return reading.result();
}

} // namespace QFBlogJsonLines

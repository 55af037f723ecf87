#include "qfblogpostcommand.h"

#include "blog/commands/qfblogcommandsupport.h"
#include "blog/commands/qfblogjsonlines.h"
#include "blog/model/qfblogfilenames.h"
#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfboundedread.h"
#include "qfkit/support/qfcommandlinealertpresenter.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfstyledtext.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>
#include <algorithm>

using QFBlogCommandSupport::quoted;
using Option = QFCommandArguments::Option;

namespace {

using QFBlogJsonLines::TextFormat;
using QFBlogJsonLines::styledText;

QList<Option> editOptions()
{
    return {QFBlogCommandSupport::pageOption(),
            {QStringLiteral("title"), true},
            {QStringLiteral("date"), true},
            {QStringLiteral("draft"), false},
            {QStringLiteral("published"), false},
            {QStringLiteral("category"), true},
            {QStringLiteral("tag"), true},
            {QStringLiteral("body"), true},
            {QStringLiteral("body-file"), true},
            {QStringLiteral("summary"), true},
            {QStringLiteral("markdown"), false},
            {QStringLiteral("html"), false},
            {QStringLiteral("podcast"), true},
            {QStringLiteral("permalink-name"), true},
            {QStringLiteral("jsonl"), true},
            {QStringLiteral("json"), false},
            {QStringLiteral("yes"), false}};
}

// The checks that need no site, so wrong usage is reported before any file is
// opened.
void checkEditOptions(const QFCommandArguments &parsed)
{
    if (parsed.isSet(QStringLiteral("body")) && parsed.isSet(QStringLiteral("body-file")))
        QFCommandArguments::usageError(QStringLiteral("give either --body or --body-file, not both"));
    if (parsed.isSet(QStringLiteral("markdown")) && parsed.isSet(QStringLiteral("html")))
        QFCommandArguments::usageError(QStringLiteral("give either --markdown or --html, not both"));
    if (parsed.isSet(QStringLiteral("draft")) && parsed.isSet(QStringLiteral("published")))
        QFCommandArguments::usageError(QStringLiteral("give either --draft or --published, not both"));
    if (const std::optional<QString> problem = QFBlogFileNames::problem(parsed.value(QStringLiteral("permalink-name")),
                                                                        QStringLiteral("The permalink name")))
        QFCommandArguments::usageError(*problem);
    if (parsed.isSet(QStringLiteral("date")) && !QFBlogJsonLines::parseDate(parsed.value(QStringLiteral("date")))) {
        QFCommandArguments::usageError(
            QStringLiteral("'%1' is not an ISO 8601 date (such as 2024-05-01T09:30:00)").arg(parsed.value(QStringLiteral("date"))));
    }
}

// Applies the options to the post. Categories and tags given replace the
// post's own.
void applyOptions(const QFCommandArguments &parsed, QFBlogSite &site, const QFBlogEntryPtr &entry)
{
    QFBlogPlugin &blog = *site.blog;
    if (parsed.isSet(QStringLiteral("title")))
        entry->setTitle(parsed.value(QStringLiteral("title")));
    if (parsed.isSet(QStringLiteral("date")))
        entry->setDate(*QFBlogJsonLines::parseDate(parsed.value(QStringLiteral("date"))));
    if (parsed.isSet(QStringLiteral("draft")))
        entry->setStatus(0);
    if (parsed.isSet(QStringLiteral("published")))
        entry->setStatus(1);

    if (parsed.isSet(QStringLiteral("category"))) {
        QStringList names;
        for (const QString &name : parsed.values(QStringLiteral("category")))
            names.append(QFBlogCommandSupport::checkedName(name, QStringLiteral("category")));
        entry->setCategoryIDs(QFBlogCommandSupport::categoryIDsForNames(blog, names));
    }

    if (parsed.isSet(QStringLiteral("tag"))) {
        // Tag names are one ignoring case: the spelling the blog knows, else
        // the first one given, wins (tag pages are named in lower case).
        QFBlogTagList tags;
        const QVariantList known = blog.knownTagsArray();
        for (const QString &typed : parsed.values(QStringLiteral("tag"))) {
            const QString name = QFBlogCommandSupport::checkedName(typed, QStringLiteral("tag"));
            const auto sameName = [&name](const QString &other) { return other.compare(name, Qt::CaseInsensitive) == 0; };
            if (std::any_of(tags.cbegin(), tags.cend(), [&](const QFBlogTag &tag) { return sameName(tag.tagName()); }))
                continue;
            QString tagName = name;
            for (const QVariant &item : known) {
                const QString knownName = item.toMap().value(QStringLiteral("name")).toString();
                if (sameName(knownName)) {
                    tagName = knownName;
                    break;
                }
            }
            tags.append(QFBlogTag(tagName));
        }
        entry->setTags(tags);
    }

    if (parsed.isSet(QStringLiteral("permalink-name"))) {
        const QString name = parsed.value(QStringLiteral("permalink-name"));
        for (const QFBlogEntryPtr &other : blog.posts()) {
            if (other != entry && !name.isEmpty()
                && other->overridePermalinkNameText().compare(name, Qt::CaseInsensitive) == 0) {
                throw QFException(QStringLiteral("Permalink Name In Use"),
                                  QStringLiteral("The post \u201c%1\u201d (ID %2) of %3 already has the permalink name "
                                                 "\u201c%4\u201d.")
                                      .arg(other->titleOrNoTitle(), QString::number(other->ID()), quoted(site.path), name));
            }
        }
        entry->setOverridePermalinkName(!name.isEmpty());
        entry->setOverridePermalinkNameText(name);
    }

    const TextFormat format = parsed.isSet(QStringLiteral("html")) ? TextFormat::HTML
        : parsed.isSet(QStringLiteral("markdown"))                 ? TextFormat::Markdown
                                                                   : TextFormat::Plain;
    if (parsed.isSet(QStringLiteral("body-file"))) {
        const QString path = parsed.value(QStringLiteral("body-file"));
        // A body is at most what a post of a JSON Lines file can carry.
        const QByteArray bytes = QFBoundedRead::readFile(path, QFBlogJsonLines::MaxFileSize, QStringLiteral("body file"));
        entry->setEntry(styledText(QString::fromUtf8(bytes), format));
    } else if (parsed.isSet(QStringLiteral("body"))) {
        entry->setEntry(styledText(parsed.value(QStringLiteral("body")), format));
    }
    if (parsed.isSet(QStringLiteral("summary")))
        entry->setEntrySummary(styledText(parsed.value(QStringLiteral("summary")), format));

    if (parsed.isSet(QStringLiteral("podcast"))) {
        const QString path = parsed.value(QStringLiteral("podcast"));
        if (!QFileInfo(path).isFile()) {
            throw QFException(QStringLiteral("Cannot Read File"),
                              QStringLiteral("The podcast file %1 does not exist.").arg(quoted(path)));
        }
        // The editor's podcast well works on the single selected post.
        blog.blogEntryArrayController().setSelectedObjects({entry});
        blog.choosePodcast(QFileInfo(path).absoluteFilePath());
    }
    blog.reindexBlogEntry(entry);
    blog.broadcastPluginChanged();
}

void printPost(QTextStream &out, const QFBlogEntry &entry)
{
    const QJsonObject post = QFBlogCommandSupport::postJson(entry, true);
    out << "id: " << entry.ID() << '\n'
        << "guid: " << entry.GUID() << '\n'
        << "title: " << entry.title() << '\n'
        << "date: " << post.value(QStringLiteral("date")).toString() << '\n'
        << "draft: " << (entry.isDraft() ? "true" : "false") << '\n';
    QStringList categories;
    for (const QJsonValue &name : post.value(QStringLiteral("categories")).toArray())
        categories.append(name.toString());
    QStringList tags;
    for (const QJsonValue &name : post.value(QStringLiteral("tags")).toArray())
        tags.append(name.toString());
    out << "categories: " << categories.join(QStringLiteral(", ")) << '\n'
        << "tags: " << tags.join(QStringLiteral(", ")) << '\n'
        << "podcast: " << entry.podcast() << '\n'
        << "summary: " << post.value(QStringLiteral("summary")).toString() << '\n'
        << "body:\n"
        << post.value(QStringLiteral("body")).toString() << '\n';
}

// Many posts from JSON Lines (see qfblogjsonlines.h): every line and every
// file it names is checked before the site is touched, so one bad line adds
// nothing; then all are added in one undoable step and saved once.
int addFromJsonLines(const QFCommandArguments &parsed, QFCommandContext &context)
{
    for (const Option &option : editOptions()) {
        const QString &name = option.name;
        if (name != QLatin1String("jsonl") && name != QLatin1String("page") && parsed.isSet(name)) {
            QFCommandArguments::usageError(
                QStringLiteral("--jsonl takes every field of the posts from the file; --%1 cannot be given with it").arg(name));
        }
    }
    const QString source = parsed.value(QStringLiteral("jsonl"));
    QString label = source;
    QDir folder = QDir::current();
    QFBlogJsonLines::Result result;
    if (source == QLatin1String("-")) {
        label = QStringLiteral("<stdin>");
        QFile in;
        if (!in.open(stdin, QIODevice::ReadOnly)) {
            throw QFException(QStringLiteral("Cannot Read File"),
                              QStringLiteral("The posts cannot be read from standard input: %1.").arg(in.errorString()));
        }
        result = QFBlogJsonLines::readDevice(in, QStringLiteral("standard input"));
    } else {
        result = QFBlogJsonLines::readFile(source);
        folder = QFileInfo(source).absoluteDir();
    }

    if (result.ok())
        QFBlogJsonLines::attachFiles(result, folder);
    if (!result.ok()) {
        throw QFException(QStringLiteral("Bad Post"),
                          QStringLiteral("%1:%2: %3; no post was added.").arg(label).arg(result.errorLine).arg(result.error));
    }

    QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().at(1), parsed.value(QStringLiteral("page")));
    const QList<QFBlogEntryPtr> added = QFBlogJsonLines::addPosts(*site.blog, result.posts);
    context.saveDocument(*site.document);
    QString ids;
    for (const QFBlogEntryPtr &entry : added)
        ids += QString::number(entry->ID()) + u'\n';
    context.out() << ids;
    return 0;
}

int add(const QFCommandArguments &parsed, QFCommandContext &context)
{
    parsed.requirePositional(2, 2);
    if (parsed.isSet(QStringLiteral("jsonl")))
        return addFromJsonLines(parsed, context);
    if (!parsed.isSet(QStringLiteral("title")))
        QFCommandArguments::usageError(QStringLiteral("a new post needs --title"));
    checkEditOptions(parsed);
    QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().at(1), parsed.value(QStringLiteral("page")));
    // The editor's "new post": the next ID, a GUID, dated now, in no
    // category, selected.
    const QFBlogEntryPtr entry = site.blog->addEntry();
    if (!entry) {
        throw QFException(QStringLiteral("Cannot Add Post"),
                          QStringLiteral("The blog in %1 could not make a new post.").arg(quoted(site.path)));
    }
    entry->setStatus(parsed.isSet(QStringLiteral("draft")) ? 0 : 1);
    applyOptions(parsed, site, entry);
    context.saveDocument(*site.document);
    context.out() << entry->ID() << '\n';
    return 0;
}

int edit(const QFCommandArguments &parsed, QFCommandContext &context)
{
    parsed.requirePositional(3, 3);
    const int postID = QFBlogCommandSupport::parsePostID(parsed.positional().at(2));
    checkEditOptions(parsed);
    QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().at(1), parsed.value(QStringLiteral("page")));
    applyOptions(parsed, site, QFBlogCommandSupport::postWithID(site, postID));
    context.saveDocument(*site.document);
    return 0;
}

int list(const QFCommandArguments &parsed, QFCommandContext &context)
{
    parsed.requirePositional(2, 2);
    const QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().at(1), parsed.value(QStringLiteral("page")));
    const QList<QFBlogEntryPtr> posts = site.blog->blogs();
    if (parsed.isSet(QStringLiteral("json"))) {
        QJsonArray array;
        for (const QFBlogEntryPtr &entry : posts)
            array.append(QFBlogCommandSupport::postJson(*entry));
        context.out() << QJsonDocument(array).toJson(QJsonDocument::Indented);
        return 0;
    }
    for (const QFBlogEntryPtr &entry : posts) {
        const QJsonObject post = QFBlogCommandSupport::postJson(*entry);
        context.out() << entry->ID() << '\t' << post.value(QStringLiteral("date")).toString() << '\t'
                      << (entry->isDraft() ? "draft" : "published") << '\t' << entry->titleOrNoTitle() << '\n';
    }
    return 0;
}

int show(const QFCommandArguments &parsed, QFCommandContext &context)
{
    parsed.requirePositional(3, 3);
    const int postID = QFBlogCommandSupport::parsePostID(parsed.positional().at(2));
    const QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().at(1), parsed.value(QStringLiteral("page")));
    const QFBlogEntryPtr entry = QFBlogCommandSupport::postWithID(site, postID);
    if (parsed.isSet(QStringLiteral("json")))
        context.out() << QJsonDocument(QFBlogCommandSupport::postJson(*entry, true)).toJson(QJsonDocument::Indented);
    else
        printPost(context.out(), *entry);
    return 0;
}

int remove(const QFCommandArguments &parsed, QFCommandContext &context)
{
    parsed.requirePositional(3, -1);
    QList<int> ids;
    for (const QString &text : parsed.positional().mid(2))
        ids.append(QFBlogCommandSupport::parsePostID(text));
    QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().at(1), parsed.value(QStringLiteral("page")));
    QList<QFBlogEntryPtr> entries;
    for (int postID : std::as_const(ids))
        entries.append(QFBlogCommandSupport::postWithID(site, postID));

    // The editor's removal: the posts are selected and the user is asked;
    // --yes answers "Remove", otherwise the answer is "Cancel".
    site.blog->blogEntryArrayController().setSelectedObjects(entries);
    if (QFCommandLineAlertPresenter *presenter = context.alertPresenter())
        presenter->queueAnswer(parsed.isSet(QStringLiteral("yes")) ? 0 : 1);
    if (!site.blog->removeEntry()) {
        throw QFException(QStringLiteral("Not Removed"),
                          QStringLiteral("Nothing was removed from %1; confirm the removal with --yes.").arg(quoted(site.path)));
    }
    context.saveDocument(*site.document);
    return 0;
}

} // namespace

QString QFBlogPostCommand::name() const
{
    return QStringLiteral("post");
}

QString QFBlogPostCommand::synopsis() const
{
    return QStringLiteral("post add|list|show|edit|remove SITE …");
}

QString QFBlogPostCommand::summary() const
{
    return QStringLiteral("write, list, show, change and remove posts");
}

QString QFBlogPostCommand::help() const
{
    return QStringLiteral(
        "Usage: quillfen post add SITE --title T [OPTIONS]\n"
        "       quillfen post add SITE --jsonl FILE|-\n"
        "       quillfen post list SITE [--json]\n"
        "       quillfen post show SITE ID [--json]\n"
        "       quillfen post edit SITE ID [OPTIONS]\n"
        "       quillfen post remove SITE ID... [--yes]\n"
        "\n"
        "add prints the new post's ID. Posts are listed newest first. remove asks\n"
        "for confirmation; --yes gives it, and without it nothing is removed.\n"
        "\n"
        "add --jsonl adds many posts from a file (- for standard input) of JSON\n"
        "objects, one a line, with the keys title, date, draft, categories and\n"
        "tags (arrays of names), body, summary, format (text, markdown or html),\n"
        "podcast and image (paths relative to the file; the image heads the body).\n"
        "Every line is checked first: a bad one adds nothing. It prints the new\n"
        "posts' IDs in file order; one undo takes them all back.\n"
        "\n"
        "Options of add and edit (with edit, --category and --tag replace the\n"
        "post's categories and tags):\n"
        "  --title T         the title\n"
        "  --date DATE       ISO 8601, such as 2024-05-01T09:30:00 (default: now)\n"
        "  --draft           a draft (not published); --published publishes it\n"
        "  --category NAME   file under the category, made when missing (repeatable)\n"
        "  --tag NAME        tag with a known tag of that name ignoring case, else a\n"
        "                    new one (repeatable)\n"
        "  --body TEXT       the text; each line becomes a paragraph\n"
        "  --body-file F     the text read from a UTF-8 file\n"
        "  --summary TEXT    the summary\n"
        "  --markdown        body and summary are Markdown\n"
        "  --html            body and summary are raw HTML, kept as typed\n"
        "  --podcast FILE    the podcast file\n"
        "  --permalink-name NAME  the file name of the post's page instead of its\n"
        "                    GUID and ID (no / \\ : * ? \" < > | # % &, not\n"
        "                    beginning with .; an extension is added when it\n"
        "                    has none); \"\" gives the page its own name again\n"
        "  --json            list and show as JSON (id, guid, title, date, draft,\n"
        "                    categories, tags, podcast; show adds summary, body)\n"
        "  --page NAME       the blog page (unique ID, file name or title)\n");
}

int QFBlogPostCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, editOptions());
    parsed.requirePositional(1, -1);
    const QString action = parsed.positional().constFirst();
    if (action == QLatin1String("add"))
        return add(parsed, context);
    if (action == QLatin1String("list"))
        return list(parsed, context);
    if (action == QLatin1String("show"))
        return show(parsed, context);
    if (action == QLatin1String("edit"))
        return edit(parsed, context);
    if (action == QLatin1String("remove"))
        return remove(parsed, context);
    QFCommandArguments::usageError(QStringLiteral("unknown action '%1' (add, list, show, edit or remove)").arg(action));
}

#include "qfblogcategorycommand.h"

#include "blog/commands/qfblogcommandsupport.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfcommandcontext.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfexception.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

using QFBlogCommandSupport::quoted;

namespace {

QFBlogCategoryPtr existingCategory(const QFBlogSite &site, const QString &name)
{
    const QFBlogCategoryPtr category = QFBlogCommandSupport::categoryNamed(*site.blog, name);
    if (!category) {
        throw QFException(QStringLiteral("No Such Category"),
                          QStringLiteral("The blog in %1 has no category \u201c%2\u201d.").arg(quoted(site.path), name));
    }
    return category;
}

int add(const QFCommandArguments &parsed, QFCommandContext &context, QFBlogSite &site)
{
    parsed.requirePositional(2, 3);
    QFBlogCategoryPtr category;
    if (parsed.positional().size() == 3) {
        const QString name = QFBlogCommandSupport::checkedName(parsed.positional().at(2), QStringLiteral("category"));
        // The plugin would add it without a name; the user is told instead.
        if (const QFBlogCategoryPtr clash = QFBlogCommandSupport::categoryNamed(*site.blog, name)) {
            throw QFException(QStringLiteral("Category Exists"),
                              QStringLiteral("The blog in %1 already has the category \u201c%2\u201d.")
                                  .arg(quoted(site.path), clash->categoryName()));
        }
        category = site.blog->addNewCategory(name);
    } else {
        category = site.blog->addCategory();
    }
    context.saveDocument(*site.document);
    context.out() << category->categoryID() << '\t' << category->categoryName() << '\n';
    return 0;
}

int list(const QFCommandArguments &parsed, QFCommandContext &context, QFBlogSite &site)
{
    parsed.requirePositional(2, 2);
    if (parsed.isSet(QStringLiteral("json"))) {
        QJsonArray categories;
        for (const QFBlogCategoryPtr &category : site.blog->categories())
            categories.append(QFBlogCommandSupport::categoryJson(*category));
        context.out() << QJsonDocument(categories).toJson(QJsonDocument::Indented);
        return 0;
    }
    for (const QFBlogCategoryPtr &category : site.blog->categories()) {
        context.out() << category->categoryID() << '\t' << category->categoryName()
                      << (category->isNone() ? "\t(none)" : "") << '\n';
    }
    return 0;
}

int rename(const QFCommandArguments &parsed, QFCommandContext &context, QFBlogSite &site)
{
    parsed.requirePositional(4, 4);
    const QString newName = QFBlogCommandSupport::checkedName(parsed.positional().at(3), QStringLiteral("category"));
    const QFBlogCategoryPtr category = existingCategory(site, parsed.positional().at(2));
    // "None" in any input means the None category, so its name stays.
    if (category->isNone()) {
        throw QFException(QStringLiteral("Cannot Rename Category"),
                          QStringLiteral("The category \u201c%1\u201d of %2 holds posts without a category and cannot be renamed.")
                              .arg(category->categoryName(), quoted(site.path)));
    }
    QString proposed = newName;
    if (!category->validateCategoryName(&proposed)) {
        throw QFException(QStringLiteral("Category Exists"),
                          QStringLiteral("The blog in %1 already has a category named \u201c%2\u201d (ignoring case).")
                              .arg(quoted(site.path), newName));
    }
    category->setCategoryName(newName);
    context.saveDocument(*site.document);
    return 0;
}

int remove(const QFCommandArguments &parsed, QFCommandContext &context, QFBlogSite &site)
{
    parsed.requirePositional(3, 3);
    const bool drop = parsed.isSet(QStringLiteral("drop"));
    const bool merge = parsed.isSet(QStringLiteral("merge-into"));
    if (drop && merge)
        QFCommandArguments::usageError(QStringLiteral("give either --merge-into or --drop, not both"));
    const QFBlogCategoryPtr category = existingCategory(site, parsed.positional().at(2));
    if (category->isNone()) {
        throw QFException(QStringLiteral("Cannot Remove Category"),
                          QStringLiteral("The category \u201c%1\u201d of %2 holds posts without a category and cannot be removed.")
                              .arg(category->categoryName(), quoted(site.path)));
    }
    QFBlogCategoryPtr target;
    if (merge) {
        target = existingCategory(site, parsed.value(QStringLiteral("merge-into")));
        if (target == category || target->isNone()) {
            throw QFException(QStringLiteral("Cannot Remove Category"),
                              QStringLiteral("Posts of \u201c%1\u201d in %2 must be merged into another category.")
                                  .arg(category->categoryName(), quoted(site.path)));
        }
    }

    // The plugin removes an unused category itself and hands the posts of a
    // used one to the merge step, which the options above decide.
    QList<QFBlogEntryPtr> users;
    const QMetaObject::Connection connection = QObject::connect(
        site.blog, &QFBlogPlugin::mergeCategoriesRequested,
        [&users](const QList<QFBlogEntryPtr> &entries, const QFBlogCategoryPtr &) { users = entries; });
    site.blog->removeCategory(category);
    QObject::disconnect(connection);

    if (!users.isEmpty()) {
        if (!drop && !merge) {
            throw QFException(QStringLiteral("Category In Use"),
                              QStringLiteral("%1 post(s) of %2 are in the category \u201c%3\u201d; give --merge-into NAME "
                                             "to move them to another category or --drop to take the category off them.")
                                  .arg(users.size())
                                  .arg(quoted(site.path), category->categoryName()));
        }
        const int removedID = category->categoryID();
        for (const QFBlogEntryPtr &entry : std::as_const(users)) {
            QList<int> ids = entry->categoryIDs();
            ids.removeAll(removedID);
            // As the editor's merge does: a post already in the target gets it twice.
            if (target)
                ids.append(target->categoryID());
            entry->setCategoryIDs(ids);
        }
        QList<QFBlogCategoryPtr> categories = site.blog->categories();
        categories.removeAll(category);
        site.blog->setCategories(categories);
    }
    context.saveDocument(*site.document);
    return 0;
}

} // namespace

QString QFBlogCategoryCommand::name() const
{
    return QStringLiteral("category");
}

QString QFBlogCategoryCommand::synopsis() const
{
    return QStringLiteral("category add|list|rename|remove SITE …");
}

QString QFBlogCategoryCommand::summary() const
{
    return QStringLiteral("add, list, rename and remove categories");
}

QString QFBlogCategoryCommand::help() const
{
    return QStringLiteral(
        "Usage: quillfen category add SITE [NAME]\n"
        "       quillfen category list SITE [--json]\n"
        "       quillfen category rename SITE OLD NEW\n"
        "       quillfen category remove SITE NAME [--merge-into NAME | --drop]\n"
        "\n"
        "Category names are unique ignoring case and are found ignoring case.\n"
        "add without NAME uses the first free default name. rename is refused when\n"
        "another category has the new name. \"None\" names the none category, which\n"
        "cannot be renamed. A category that posts use is removed\n"
        "only with --merge-into (its posts move to that category) or --drop (it\n"
        "is taken off its posts). The none category cannot be removed.\n"
        "\n"
        "  --json        list as a JSON array of {id, name, none}\n"
        "  --page NAME   the blog page (unique ID, file name or title)\n");
}

int QFBlogCategoryCommand::run(const QStringList &arguments, QFCommandContext &context)
{
    const QFCommandArguments parsed(arguments, {QFBlogCommandSupport::pageOption(),
                                                {QStringLiteral("json"), false},
                                                {QStringLiteral("merge-into"), true},
                                                {QStringLiteral("drop"), false}});
    parsed.requirePositional(2, -1);
    const QString action = parsed.positional().constFirst();
    using Action = int (*)(const QFCommandArguments &, QFCommandContext &, QFBlogSite &);
    Action run = nullptr;
    if (action == QLatin1String("add"))
        run = add;
    else if (action == QLatin1String("list"))
        run = list;
    else if (action == QLatin1String("rename"))
        run = rename;
    else if (action == QLatin1String("remove"))
        run = remove;
    else
        QFCommandArguments::usageError(QStringLiteral("unknown action '%1' (add, list, rename or remove)").arg(action));
    QFBlogSite site = QFBlogCommandSupport::openBlog(context, parsed.positional().at(1), parsed.value(QStringLiteral("page")));
    return run(parsed, context, site);
}

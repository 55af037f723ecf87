#include "blog/generation/qfblogplugintagsemission.h"

#include "blog/generation/qfblogplugincategories.h"
#include "blog/generation/qfblogplugincodegeneration.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/model/qfblogtagextensions.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/text/qfstrings.h"

#include <QHash>
#include <QSet>

#include <algorithm>

QFBlogPluginTagsEmission::QFBlogPluginTagsEmission(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

QList<QFBlogPluginTagsEmission::TaggedPosts> QFBlogPluginTagsEmission::postsByTag() const
{
    QList<TaggedPosts> tagged;
    QHash<QString, qsizetype> positions;
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        if (!entry->tags())
            continue;
        for (const QFBlogTag &tag : *entry->tags()) {
            auto position = positions.constFind(tag.tagName());
            if (position == positions.cend()) {
                position = positions.insert(tag.tagName(), tagged.size());
                tagged.append(TaggedPosts{tag, {}});
            }
            tagged[position.value()].entries.append(entry);
        }
    }
    return tagged;
}

qsizetype QFBlogPluginTagsEmission::tagPageCount() const
{
    QSet<QString> names;
    for (const QFBlogEntryPtr &entry : m_plugin.posts()) {
        if (!entry->tags())
            continue;
        for (const QFBlogTag &tag : *entry->tags())
            names.insert(tag.tagName());
    }
    return names.size();
}

QString QFBlogPluginTagsEmission::tagNavigationLinksHTML(const QFBlogTag &) const
{
    return QStringLiteral("<a href=\"../%1\">%2</a>")
        .arg(m_plugin.designatedFilename(), QFStrings::stringEscapedForHTMLElementText(m_plugin.designatedTitle()));
}

QString QFBlogPluginTagsEmission::tagTemplate(const QVariantMap &params) const
{
    return m_plugin.permalinks().preparedTemplate(params, QStringLiteral("BlogTagTemplate"),
                                                  QStringLiteral("BlogTagTemplateContentOnly"),
                                                  "QFBlogPluginCategories", "Blog tag template is missing",
                                                  "Blog tag content-only template is missing");
}

QList<QFExportItem> QFBlogPluginTagsEmission::emitTagsArchivesWithFileDirectory(const QString &filesDirectory,
                                                                                const QVariantMap &params)
{
    QList<QFExportItem> subpages;
    const QList<TaggedPosts> tagged = postsByTag();
    if (tagged.isEmpty())
        return subpages;
    const bool contentOnly = params.contains(QStringLiteral("contentonlysubpages"));
    const QString extension = params.value(QStringLiteral("FilenameExt")).toString();
    QFBlogPluginCodeGeneration &codeGeneration = m_plugin.codeGeneration();
    const QString pageTemplate = tagTemplate(params);

    for (const TaggedPosts &taggedPosts : tagged) {
        if (m_plugin.exportCancelled())
            break;
        QString page = pageTemplate;
        m_plugin.categoriesGroup().replaceCommentsPlaceholders(page, QStringLiteral("%blog_tag_haloscan%"),
                                                               QStringLiteral("%blog_tag_jskit%"));
        const QString name = QFStrings::stringEscapedForHTMLElementText(taggedPosts.tag.tagName());
        page.replace(QStringLiteral("%blog_tag_title%"), name);
        page.replace(QStringLiteral("%blog_tag_name%"), name);
        page.replace(QStringLiteral("%blog_tag_links%"), tagNavigationLinksHTML(taggedPosts.tag));

        // Drafts keep their place as empty fragments, so their newlines stay.
        QString entries;
        for (qsizetype i = 0; i < taggedPosts.entries.size(); ++i) {
            if (i > 0)
                entries += QLatin1Char('\n');
            entries += codeGeneration.emitBlogEntryHTML(taggedPosts.entries.at(i), filesDirectory, 1, false,
                                                        QFBlogPluginCodeGeneration::TagPage, params);
        }
        page.replace(QStringLiteral("%blog_tag_entries%"), entries);
        if (codeGeneration.useDisqusComments())
            page += codeGeneration.disqusCommentCountingJavascript();

        const QString fileName = taggedPosts.tag.hrefFilenameBasename() + QLatin1Char('.') + extension;
        const bool claimed = m_plugin.claimExportFileName(
            fileName, QStringLiteral("the page of the tag \u201c%1\u201d").arg(taggedPosts.tag.tagName()));
        if (claimed && contentOnly)
            subpages.append(QFBlogPlugin::contentOnlySubpageWithHTML(page, fileName));
        else if (claimed)
            m_plugin.categoriesGroup().writePageIntoScratchFolder(fileName, page);
        m_plugin.exportUnitDone();
    }
    return subpages;
}

QString QFBlogPluginTagsEmission::stringForTagCloudHTML(const QVariantMap &params) const
{
    if (m_plugin.knownTags().isEmpty())
        return QString(QLatin1String(""));

    QList<QFTuple> counted =
        QFBlogTagExtensions::arrayOfObjectsAndCountsFromCountedSet(m_plugin.tagsForEnabledBlogEntries());
    std::stable_sort(counted.begin(), counted.end(), &QFBlogTagExtensions::tagNameAndCountLessThan);
    QVariantList tags;
    tags.reserve(counted.size());
    for (const QFTuple &pair : std::as_const(counted))
        tags.append(pair.first());
    QList<QFTuple> grouped = QFBlogTagExtensions::arrayOfObjectsAndGroupNumbers(tags, 10);
    std::stable_sort(grouped.begin(), grouped.end(), [](const QFTuple &a, const QFTuple &b) {
        return QFBlogTagExtensions::compareFirstAsTagName(a, b) < 0;
    });

    QString items;
    for (const QFTuple &pair : std::as_const(grouped)) {
        const QFBlogTag tag = pair.first().value<QFBlogTag>();
        items += QStringLiteral("<li><a href=\"%1\" title=\"%2\" class=\"blog-tag-size-%3\" rel=\"tag\">%4</a></li>\n")
                     .arg(tag.hrefWithParams(params, 0), QFStrings::stringEscapedForHTMLAttribute(tag.tagName()),
                          QString::number(11u - pair.second().toUInt()),
                          QFStrings::stringEscapedForHTMLElementText(tag.tagName()));
    }
    return QStringLiteral("<ul class=\"blog-tag-cloud\">%1</ul>\n").arg(items);
}

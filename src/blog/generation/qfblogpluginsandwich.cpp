#include "qfblogpluginsandwich.h"

#include "blog/generation/qfblogsandwichdictionary.h"
#include "blog/model/qfblogcategory.h"
#include "blog/model/qfblogcustomitunestags.h"
#include "blog/model/qfblogcustomtag.h"
#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogfilenames.h"
#include "blog/plugin/qfblogentryarraycontroller.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/cvsandwichmaking.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qffilereference.h"
#include "qfkit/support/qflog.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QTemporaryFile>

#include <limits>

namespace {

const QString kEntriesKey = QStringLiteral("Entries");
const QString kDefaultITunesImage = QStringLiteral("DefaultITunesImage.data");

QString L(const char *key)
{
    return QFBlogPlugin::localizedString(QString::fromLatin1(key));
}

void setIfNotNull(QVariantMap &dictionary, const QString &key, const QString &value)
{
    if (!value.isNull())
        dictionary.insert(key, value);
}

// Posts of the package that the blog cannot hold, told to the user by their
// titles (or their place in the package when the title is unreadable). A
// package of a million broken entries gives a few alerts and a count, not a
// million alerts.
constexpr int maximumLeftOutAlerts = 10;

void alertPostLeftOut(const QVariant &post, qsizetype position, int &leftOut)
{
    if (++leftOut > maximumLeftOutAlerts)
        return;
    const QVariant title = post.toMap().value(QStringLiteral("Title"));
    const QString name = title.typeId() == QMetaType::QString && !title.toString().isEmpty()
                             ? title.toString()
                             : QStringLiteral("%1 %2").arg(L("NoTitle")).arg(position);
    QFAlertRequest request;
    request.style = QFAlertRequest::Style::Warning;
    request.messageText = L("CouldNotReadBlogEntryTitle");
    request.informativeText = L("CouldNotReadBlogEntryLeftOutFormatString").arg(name);
    QFAlert::runAlert(request);
}

// The whole file, or null when there is no name or it cannot be read.
QByteArray fileData(const std::optional<QString> &path)
{
    if (!path)
        return {};
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

} // namespace

QString QFBlogPluginSandwich::sandwichType()
{
    return QStringLiteral("Quillfen Blog Page Data");
}

QFBlogPluginSandwich::QFBlogPluginSandwich(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

QFBlogPluginSandwich::~QFBlogPluginSandwich() = default;

QString QFBlogPluginSandwich::renamedFileName(qsizetype position, qsizetype count, const QString &name)
{
    const int width = int(QString::number(qMax<qsizetype>(count, 0)).size());
    return QStringLiteral("%1-%2").arg(position, width, 10, QLatin1Char('0')).arg(name);
}

std::optional<QString> QFBlogPluginSandwich::writeTemporaryFile(const QString &prefix, const QString &extension,
                                                                const QByteArray &data, QString *path, QString *error)
{
    QTemporaryFile file(QDir::temp().filePath(QStringLiteral("%1-XXXXXX.%2").arg(prefix, extension)));
    file.setAutoRemove(false);
    if (!file.open()) {
        *path = file.fileTemplate();
        *error = file.errorString();
        return std::nullopt;
    }
    *path = file.fileName();
    if (file.write(data) != data.size() || !file.flush()) {
        *error = file.errorString();
        file.close();
        QFile::remove(*path);
        return std::nullopt;
    }
    file.close();
    return *path;
}

void QFBlogPluginSandwich::showWriteErrorAlert(const QString &path, const QString &error)
{
    QFAlertRequest request;
    request.style = QFAlertRequest::Style::Critical;
    request.messageText = QStringLiteral("The file \u201c%1\u201d could not be written.").arg(QDir::toNativeSeparators(path));
    request.informativeText = error;
    QFAlert::runAlert(request);
}

// ---------------------------------------------------------------- making

std::unique_ptr<CVSandwich> QFBlogPluginSandwich::sandwich()
{
    QFBlogPlugin &p = m_plugin;
    // The filling owns every file from the moment it is written, so a failure
    // further on removes what was written so far.
    auto filling = std::make_shared<CVSandwichFilling>();

    const qsizetype count = p._blogEntries.size();
    QVariantList entries;
    entries.reserve(count);
    qsizetype position = 0;
    for (const QFBlogEntryPtr &entry : std::as_const(p._blogEntries)) {
        ++position;
        entries.append(entry->sandwichDictionary());
        const QMap<QString, QString> files = entry->sandwichFiles();
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            filling->addTemporaryFile(renamedFileName(position, count, it.key()), it.value());
    }

    QVariantMap d;
    d.insert(kEntriesKey, entries);
    setIfNotNull(d, QStringLiteral("RSSLanguage"), p._rssLanguage);
    setIfNotNull(d, QStringLiteral("RSSDescription"), p._rssDescription);
    setIfNotNull(d, QStringLiteral("RSSCreator"), p._rssCreator);
    setIfNotNull(d, QStringLiteral("RSSCopyrightText"), p._rssCopyright);
    setIfNotNull(d, QStringLiteral("RSSTitleText"), p._rssTitle);
    d.insert(QStringLiteral("LastID"), p._lastID);
    setIfNotNull(d, QStringLiteral("DateSeparatorText1"), p._dateSeperator1);
    setIfNotNull(d, QStringLiteral("DateSeparatorText2"), p._dateSeperator2);
    setIfNotNull(d, QStringLiteral("DateSeparatorText3"), p._dateSeperator3);
    setIfNotNull(d, QStringLiteral("DateSeparatorText4"), p._dateSeperator4);
    // The package carries the date formats themselves, not the names of the
    // modifiers, which are localised.
    const QString modifiers[] = {p._dateModifier1, p._dateModifier2, p._dateModifier3, p._dateModifier4};
    for (int i = 0; i < 4; ++i) {
        if (modifiers[i].isNull())
            continue;
        const QVariant format = p._dates.value(modifiers[i]);
        if (format.typeId() == QMetaType::QString)
            d.insert(QStringLiteral("DateModifier%1").arg(i + 1), format);
    }
    setIfNotNull(d, QStringLiteral("LocaliseDate"), p._localizeDate);
    d.insert(QStringLiteral("ArchivePostsPeriod"), p._archivePostsPeriod);
    setIfNotNull(d, QStringLiteral("RSSFeedLinkText"), p._rssFeedLinkName);
    setIfNotNull(d, QStringLiteral("CommentsRSSFeedText"), p._rssCommentsLinkName);
    setIfNotNull(d, QStringLiteral("RSSCustomFeedFilename"), p._rssCustomFeedFilename);
    if (p._enableCustomRSSURL)
        setIfNotNull(d, QStringLiteral("RSSCustomFeedURL"), p._rssCustomFeedURL);
    if (p._showAtLeastPosts)
        d.insert(QStringLiteral("ShowPostLimit"), p._showPostLimit);
    if (!p._channelCustomTags.isEmpty()) {
        QVariantList tags;
        for (const QFBlogCustomTagPtr &tag : std::as_const(p._channelCustomTags))
            tags.append(tag->propertyList());
        d.insert(QStringLiteral("ChannelCustomTags"), tags);
    }
    QVariantList categories;
    for (const QFBlogCategoryPtr &category : std::as_const(p._categories)) {
        if (const std::optional<QVariantMap> list = category->propertyList())
            categories.append(*list);
    }
    d.insert(QStringLiteral("Categories"), categories);
    setIfNotNull(d, QStringLiteral("CategoriesTitleText"), p._categoryTitle);
    setIfNotNull(d, QStringLiteral("CategoriesSeparatorText"), p._categorySeparator);
    setIfNotNull(d, QStringLiteral("CommentSeparatorText"), p._commentSeparator);
    if (p._summarizeEntryRSS)
        d.insert(QStringLiteral("SummariseEntryRSSCount"), p._summarizeEntryRSSCount);
    if (p._sidebarControl)
        d.insert(QStringLiteral("SidebarControl"), *p._sidebarControl);
    setIfNotNull(d, QStringLiteral("SidebarSeparator"), p._sidebarSeparator);
    d.insert(QStringLiteral("PingSites"), p._pingSettings);
    if (p._permalinkLinkName.isNull())
        p._permalinkLinkName = L("PermalinkName");
    d.insert(QStringLiteral("PermalinkText"), p._permalinkLinkName);
    setIfNotNull(d, QStringLiteral("ReadMoreText"), p._readMoreLinkName);
    d.insert(QStringLiteral("ShowCategoryPostCounts"), p.showCategoryPostCounts());
    d.insert(QStringLiteral("EnableSmileys"), p._enableSmileys);
    d.insert(QStringLiteral("EnableRSS"), p._enableRSS);
    d.insert(QStringLiteral("EnablePing"), p._enablePing);
    d.insert(QStringLiteral("EnableComments"), p._enableComments);
    d.insert(QStringLiteral("EnableCommentsInline"), p._enableCommentsInline);
    d.insert(QStringLiteral("EnablePodcasting"), p._enablePodcasting);
    d.insert(QStringLiteral("ArchivePostsEnabled"), p._archivePostsEnabled);
    d.insert(QStringLiteral("ArchivePostsShowGaps"), p._archivePostsShowGaps);
    d.insert(QStringLiteral("GeneratePermalinkPages"), p._generatePermalinkPages);
    d.insert(QStringLiteral("EnableCustomiTunesTags"), p._enableCustomiTunesTags);
    d.insert(QStringLiteral("GenerateRSSEntriesForMainPageOnly"), p._generateRssEntriesForMainPageOnly);
    d.insert(QStringLiteral("CategoriesEnabled"), p._categoryPostsEnabled);
    d.insert(QStringLiteral("SortedCategoryExport"), p._exportCategoriesAlphabetically);
    d.insert(QStringLiteral("PrependSummaryToPost"), p._prependSummaryToPost);
    if (p._channelCustomiTunesTags) {
        if (const std::optional<QVariantMap> tags = p._channelCustomiTunesTags->propertyList())
            d.insert(QStringLiteral("CustomITunesTags"), *tags);
    }
    d.insert(QStringLiteral("TagsEnabled"), p._tagsEnabled);
    d.insert(QStringLiteral("TagCloudEnabled"), p._tagCloudEnabled);
    d.insert(QStringLiteral("ShowTagPostCounts"), p._showPostCountsForTags);
    setIfNotNull(d, QStringLiteral("TagsTitleText"), p._tagsTitle);
    setIfNotNull(d, QStringLiteral("TagsSeparatorText"), p._tagsSeparator);
    if (p.lastSavedBuildDateValue.isValid())
        d.insert(QStringLiteral("LastSavedBuildDate"), p.lastSavedBuildDateValue);
    if (p.lastBuildDateValue.isValid())
        d.insert(QStringLiteral("LastBuildDate"), p.lastBuildDateValue);
    d.insert(QStringLiteral("UsePHPForSidebarContent"), p._usePHPForSidebarContent);
    d.insert(QStringLiteral("CommentsSelectedProviderTag"), p.m_commentsSelectedProviderTag);
    if (!p.m_commentsUserIdentifiers.isEmpty())
        d.insert(QStringLiteral("CommentsUserIdentifiers"), p.m_commentsUserIdentifiers);

    const QByteArray image = p._channelCustomiTunesTags ? p._channelCustomiTunesTags->imageData() : QByteArray();
    if (!image.isEmpty()) {
        QString path;
        QString error;
        if (writeTemporaryFile(QStringLiteral("QFBlogPlugin-ITunesImage"), QStringLiteral("data"), image, &path, &error))
            filling->addTemporaryFile(kDefaultITunesImage, path);
        else
            showWriteErrorAlert(path, error);
    }

    filling->setDictionary(d);
    auto package = std::make_unique<CVSandwich>(sandwichType());
    package->setFilling(filling, sandwichVersion);
    return package;
}

// ---------------------------------------------------------------- rebuilding

std::unique_ptr<QFBlogPlugin> QFBlogPluginSandwich::createWithSandwich(const CVSandwich &sandwich,
                                                                       const QFTextViewPluginClient::Clock &clock)
{
    CVSandwichImport import;
    return createWithSandwich(sandwich, import, clock);
}

std::unique_ptr<QFBlogPlugin> QFBlogPluginSandwich::createWithSandwich(const CVSandwich &sandwich,
                                                                       CVSandwichImport &import,
                                                                       const QFTextViewPluginClient::Clock &clock)
{
    if (sandwich.type() != sandwichType()) {
        throw QFException(QStringLiteral("Malformed Package"),
                          QStringLiteral("A package of type \u201c%1\u201d holds no blog page.").arg(sandwich.type()));
    }
    const std::shared_ptr<CVSandwichFilling> filling = sandwich.fillingForVersion(sandwichVersion);
    if (!filling) {
        throw QFException(QStringLiteral("Malformed Package"),
                          QStringLiteral("The blog page package holds no data of version %1.").arg(sandwichVersion));
    }

    auto plugin = std::make_unique<QFBlogPlugin>();
    if (clock)
        plugin->setClock(clock);
    QFBlogPlugin &p = *plugin;
    const QFBlogPlugin::InitialisingScope initialising(p);
    QFBlogSandwichDictionary d(filling->dictionary(), QStringLiteral("QFBlogPlugin"),
                               filling->dictionary().value(QStringLiteral("LastSavedBuildDate")));
    const auto ifPresent = [](const auto &value, auto &&set) {
        if (value)
            set(*value);
    };

    ifPresent(d.string(QStringLiteral("RSSDescription")), [&p](const QString &v) { p.setRssDescription(v); });
    ifPresent(d.string(QStringLiteral("RSSCreator")), [&p](const QString &v) { p.setRssCreator(v); });
    ifPresent(d.string(QStringLiteral("RSSCopyrightText")), [&p](const QString &v) { p.setRssCopyright(v); });
    ifPresent(d.string(QStringLiteral("RSSLanguage")), [&p](const QString &v) { p.setRssLanguage(v); });
    const QVariantList entries = d.list(kEntriesKey).value_or(QVariantList());
    if (const std::optional<qint64> lastID = d.number(QStringLiteral("LastID"))) {
        // Every post may draw a new ID while duplicates are repaired, and
        // the blog must still be able to number one more.
        const qint64 highest = qint64(std::numeric_limits<int>::max()) - entries.size() - 1;
        if (*lastID < 0 || *lastID > highest) {
            throw QFException(QStringLiteral("Malformed Package"),
                              QStringLiteral("The blog page package numbers its posts from %1 on (\u201cLastID\u201d); "
                                             "with %2 posts it must lie between 0 and %3.")
                                  .arg(*lastID)
                                  .arg(entries.size())
                                  .arg(highest));
        }
        p.setLastID(int(*lastID));
    }
    ifPresent(d.string(QStringLiteral("DateSeparatorText1")), [&p](const QString &v) { p.setDateSeperator1(v); });
    ifPresent(d.string(QStringLiteral("DateSeparatorText2")), [&p](const QString &v) { p.setDateSeperator2(v); });
    ifPresent(d.string(QStringLiteral("DateSeparatorText3")), [&p](const QString &v) { p.setDateSeperator3(v); });
    ifPresent(d.string(QStringLiteral("DateSeparatorText4")), [&p](const QString &v) { p.setDateSeperator4(v); });

    // Formats back to the names of this bundle's modifiers. Where two names
    // share a format, the first in key order wins.
    QHash<QString, QString> modifierForFormat;
    for (auto it = p._dates.cbegin(); it != p._dates.cend(); ++it) {
        if (it.value().typeId() == QMetaType::QString && !modifierForFormat.contains(it.value().toString()))
            modifierForFormat.insert(it.value().toString(), it.key());
    }
    void (QFBlogPlugin::*const setModifier[])(const QString &) = {
        &QFBlogPlugin::setDateModifier1, &QFBlogPlugin::setDateModifier2, &QFBlogPlugin::setDateModifier3,
        &QFBlogPlugin::setDateModifier4};
    bool allModifiers = true;
    for (int i = 0; i < 4; ++i) {
        const std::optional<QString> format = d.string(QStringLiteral("DateModifier%1").arg(i + 1));
        if (!format) {
            allModifiers = false;
            continue;
        }
        const auto found = modifierForFormat.constFind(*format);
        if (found != modifierForFormat.constEnd())
            (p.*setModifier[i])(*found);
    }
    ifPresent(d.string(QStringLiteral("LocaliseDate")), [&p](const QString &v) { p.setLocalizeDate(v); });
    ifPresent(d.boolean(QStringLiteral("EnableComments")), [&p](bool v) { p.setEnableComments(v); });
    ifPresent(d.boolean(QStringLiteral("ArchivePostsEnabled")), [&p](bool v) { p.setArchivePostsEnabled(v); });
    ifPresent(d.boolean(QStringLiteral("ArchivePostsShowGaps")), [&p](bool v) { p.setArchivePostsShowGaps(v); });
    ifPresent(d.boolean(QStringLiteral("EnableRSS")), [&p](bool v) { p.setEnableRSS(v); });
    ifPresent(d.string(QStringLiteral("RSSTitleText")), [&p](const QString &v) { p.setRssTitle(v); });
    // Whatever the package says, every rebuilt blog podcasts.
    p.setEnablePodcasting(true);

    p.setRssFeedLinkName(d.string(QStringLiteral("RSSFeedLinkText")).value_or(L("RSSFeedLinkName")));
    p.setRssCommentsLinkName(d.string(QStringLiteral("CommentsRSSFeedText")).value_or(L("RSSCommentLinkName")));

    if (const std::optional<int> limit = d.integer(QStringLiteral("ShowPostLimit"))) {
        p.setShowAtLeastPosts(true);
        p.setShowPostLimit(*limit);
    } else {
        p.setShowAtLeastPosts(false);
    }

    p.setRssCustomFeedFilename(d.string(QStringLiteral("RSSCustomFeedFilename")).value_or(QString()));
    if (const std::optional<QString> problem =
            QFBlogFileNames::problem(p._rssCustomFeedFilename, QStringLiteral("The feed file name")))
        throw QFException(QStringLiteral("Malformed Package"), *problem + QLatin1Char('.'));
    if (const std::optional<QVariantList> list = d.list(QStringLiteral("ChannelCustomTags"))) {
        QList<QFBlogCustomTagPtr> tags;
        for (const QVariant &element : *list)
            tags.append(QFBlogCustomTag::customTagWithPropertyList(element));
        if (!tags.isEmpty())
            p.setChannelCustomTags(tags);
    }

    // The None category is never in a package; it is made afresh, first.
    emit p.categoriesAboutToChange();
    for (const QFBlogCategoryPtr &category : std::as_const(p._categories))
        category->setBlogPlugin(nullptr);
    p._categories.clear();
    const QFBlogCategoryPtr none = QFBlogCategory::noneCategoryWithBlogPlugin(&p);
    p.attachCategory(none);
    p._categories.append(none);
    for (const QVariant &element : d.list(QStringLiteral("Categories")).value_or(QVariantList())) {
        if (element.typeId() != QMetaType::QVariantMap)
            continue;
        const QFBlogCategoryPtr category = QFBlogCategory::createFromDictionary(element.toMap(), &p);
        p.attachCategory(category);
        p._categories.append(category);
    }
    emit p.categoriesChanged();

    emit p.blogEntriesAboutToChange();
    const auto fileFor = [&filling, count = entries.size()](qsizetype position, const char *name) {
        return filling->pathForFile(renamedFileName(position, count, QString::fromLatin1(name)));
    };
    int leftOut = 0;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const qsizetype position = i + 1;
        if (entries.at(i).typeId() != QMetaType::QVariantMap) {
            if (leftOut < maximumLeftOutAlerts)
                qfLog(QStringLiteral("Blog Plugin: skipped post %1 of the page package: it is no dictionary").arg(position));
            alertPostLeftOut(entries.at(i), position, leftOut);
            continue;
        }
        const QFBlogEntryPtr entry = QFBlogEntry::createWithSandwichDictionary(
            entries.at(i).toMap(), fileFor(position, "Body.as"), fileFor(position, "Summary.as"), &p,
            fileFor(position, "ITunesImage.data"));
        if (!entry) {
            alertPostLeftOut(entries.at(i), position, leftOut);
            continue;
        }
        if (const std::optional<QString> problem = QFBlogFileNames::problem(
                entry->overridePermalinkNameText(),
                QStringLiteral("The permalink name of the post \u201c%1\u201d").arg(entry->titleOrNoTitle()))) {
            throw QFException(QStringLiteral("Malformed Package"), *problem + QLatin1Char('.'));
        }
        entry->setBlogPlugin(&p);
        p._blogEntries.append(entry);
    }
    emit p.blogEntriesChanged();
    if (leftOut > maximumLeftOutAlerts) {
        QFAlertRequest request;
        request.style = QFAlertRequest::Style::Warning;
        request.messageText = L("CouldNotReadBlogEntryTitle");
        request.informativeText = L("CouldNotReadBlogEntriesLeftOutCountFormatString").arg(leftOut - maximumLeftOutAlerts);
        QFAlert::runAlert(request);
    }
    import.itemCount = p._blogEntries.size();

    // A podcast path names a file on this computer, not in the package: kept
    // only on the importer's word, so a package cannot make the next export
    // publish a private file.
    QList<QFBlogEntryPtr> withPaths;
    for (const QFBlogEntryPtr &entry : std::as_const(p._blogEntries)) {
        // The reference leads to a file as well once the site is opened
        // (documentWasLoaded), so its paths are listed too.
        QStringList paths{entry->podcast()};
        if (const QFFileReferencePtr &reference = entry->podcastReference())
            paths << reference->absolutePath() << reference->relativePath();
        paths.removeAll(QString());
        paths.removeDuplicates();
        if (paths.isEmpty())
            continue;
        withPaths.append(entry);
        const QString owner = QStringLiteral("post \u201c%1\u201d").arg(entry->titleOrNoTitle());
        for (const QString &path : std::as_const(paths))
            import.localPaths.append({owner, path});
    }
    import.localPathsKept = !withPaths.isEmpty() && import.keepLocalPaths && import.keepLocalPaths(import.localPaths);
    if (!import.localPathsKept) {
        for (const QFBlogEntryPtr &entry : std::as_const(withPaths)) {
            entry->setPodcast(QString());
            entry->setPodcastReference(nullptr);
        }
    }

    ifPresent(d.string(QStringLiteral("CategoriesSeparatorText")), [&p](const QString &v) { p.setCategorySeparator(v); });
    if (const std::optional<int> count = d.integer(QStringLiteral("SummariseEntryRSSCount"))) {
        p.setSummarizeEntryRSS(true);
        p.setSummarizeEntryRSSCount(*count);
    } else {
        p.setSummarizeEntryRSS(false);
    }
    p.setCategoryPostsEnabled(d.boolean(QStringLiteral("CategoriesEnabled")).value_or(true));
    p.setExportCategoriesAlphabetically(d.boolean(QStringLiteral("SortedCategoryExport")).value_or(false));
    p.setEnableCustomiTunesTags(d.boolean(QStringLiteral("EnableCustomiTunesTags")).value_or(false));
    p.setChannelCustomiTunesTags(QFBlogCustomiTunesTags::iTunesTagsWithPropertyList(
        d.map(QStringLiteral("CustomITunesTags")).value_or(QVariantMap()), fileData(filling->pathForFile(kDefaultITunesImage))));

    // Every repair runs, whatever the one before it found.
    const bool idsChanged = p.fixUpPostIDs();
    const bool itunesChanged = p.fixUpiTunesTags();
    const bool categoryIDsChanged = p.fixUpCategoryIDs();
    const bool guidsChanged = p.fixupPostGUIDs();
    p._postIDWasChanged = p._postIDWasChanged || idsChanged || itunesChanged || categoryIDsChanged || guidsChanged;
    if (!p._blogEntries.isEmpty())
        p.blogEntryArrayController().setSelectionIndex(0);

    ifPresent(d.boolean(QStringLiteral("GeneratePermalinkPages")), [&p](bool v) { p.setGeneratePermalinkPages(v); });
    ifPresent(d.boolean(QStringLiteral("GenerateRSSEntriesForMainPageOnly")),
              [&p](bool v) { p.setGenerateRssEntriesForMainPageOnly(v); });
    ifPresent(d.boolean(QStringLiteral("EnablePing")), [&p](bool v) { p.setEnablePing(v); });
    ifPresent(d.list(QStringLiteral("PingSites")), [&p](const QVariantList &v) { p.setPingSettings(v); });
    ifPresent(d.string(QStringLiteral("PermalinkText")), [&p](const QString &v) { p.setPermalinkLinkName(v); });
    ifPresent(d.boolean(QStringLiteral("ShowCategoryPostCounts")), [&p](bool v) { p.setShowCategoryPostCounts(v); });
    ifPresent(d.string(QStringLiteral("ReadMoreText")), [&p](const QString &v) { p.setReadMoreLinkName(v); });
    ifPresent(d.boolean(QStringLiteral("PrependSummaryToPost")), [&p](bool v) { p.setPrependSummaryToPost(v); });
    p.setEnableSmileys(d.boolean(QStringLiteral("EnableSmileys")).value_or(true));
    ifPresent(d.integer(QStringLiteral("ArchivePostsPeriod")), [&p](int v) { p.setArchivePostsPeriod(v); });
    ifPresent(d.boolean(QStringLiteral("TagsEnabled")), [&p](bool v) { p.setTagsEnabled(v); });
    ifPresent(d.boolean(QStringLiteral("TagCloudEnabled")), [&p](bool v) { p.setTagCloudEnabled(v); });
    ifPresent(d.boolean(QStringLiteral("ShowTagPostCounts")), [&p](bool v) { p.setShowPostCountsForTags(v); });
    ifPresent(d.string(QStringLiteral("TagsTitleText")), [&p](const QString &v) { p.setTagsTitle(v); });
    ifPresent(d.string(QStringLiteral("TagsSeparatorText")), [&p](const QString &v) { p.setTagsSeparator(v); });
    ifPresent(d.string(QStringLiteral("CategoriesTitleText")), [&p](const QString &v) { p.setCategoryTitle(v); });
    ifPresent(d.boolean(QStringLiteral("EnableCommentsInline")), [&p](bool v) { p.setEnableCommentsInline(v); });
    // The sidebar's sections and separator travel too, so a page keeps its
    // sidebar when it moves to another site.
    ifPresent(d.list(QStringLiteral("SidebarControl")), [&p](const QVariantList &v) { p.setSidebarControl(v); });
    ifPresent(d.string(QStringLiteral("SidebarSeparator")), [&p](const QString &v) { p.setSidebarSeparator(v); });

    if (!allModifiers)
        p.setDefaultDateModifiers();

    // The last build date is the last saved one; "LastBuildDate" is not read.
    const QDateTime built = d.date(QStringLiteral("LastSavedBuildDate")).value_or(p.now());
    p.setLastSavedBuildDate(built);
    p.setLastBuildDate(built);

    if (const std::optional<QString> url = d.string(QStringLiteral("RSSCustomFeedURL"))) {
        p.setRssCustomFeedURL(*url);
        p.setEnableCustomRSSURL(true);
    }
    p.setUsePHPForSidebarContent(d.boolean(QStringLiteral("UsePHPForSidebarContent")).value_or(false));
    p.setCommentSeparator(d.string(QStringLiteral("CommentSeparatorText")).value_or(L("DefaultCommentSeparator")));

    const std::optional<int> provider = d.integer(QStringLiteral("CommentsSelectedProviderTag"));
    if (provider)
        p.setCommentsSelectedProviderTag(*provider);
    ifPresent(d.map(QStringLiteral("CommentsUserIdentifiers")), [&p](const QVariantMap &v) { p.setCommentsUserIdentifiers(v); });
    if (!provider) {
        // A page from before comment services could be chosen: one account
        // name, which was HaloScan's; switched on without one meant JS-Kit.
        const std::optional<QString> userName = d.string(QStringLiteral("CommentsUserName"));
        if (userName) {
            QVariantMap identifiers = p.m_commentsUserIdentifiers;
            identifiers.insert(*QFBlogPlugin::identifierForCommentsProviderTag(1), *userName);
            p.setCommentsUserIdentifiers(identifiers);
        }
        if (d.boolean(QStringLiteral("EnableComments")).value_or(false))
            p.setCommentsSelectedProviderTag(userName ? 1 : 2);
    }
    return plugin;
}

void QFBlogPluginSandwich::registerSandwichFactory()
{
    CVSandwichMaking::setFactoryClass(
        {QFBlogPlugin::pluginIdentifier(),
         [](const CVSandwich &sandwich) -> std::unique_ptr<QFTextViewPluginClient> { return createWithSandwich(sandwich); },
         [](const CVSandwich &sandwich, CVSandwichImport &import) -> std::unique_ptr<QFTextViewPluginClient> {
             return createWithSandwich(sandwich, import);
         }},
        sandwichType());
}

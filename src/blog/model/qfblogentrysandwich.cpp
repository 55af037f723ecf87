// A post's part of the page-exchange package: its dictionary, its files, and
// a post rebuilt from them.

#include "qfblogentry.h"

#include "blog/generation/qfblogpluginsandwich.h"
#include "blog/generation/qfblogsandwichdictionary.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"

#include <QFile>

namespace {

const QString kTitleKey = QStringLiteral("Title");
const QString kPostedKey = QStringLiteral("Posted");
const QString kTagsKey = QStringLiteral("Tags");

QString L(const char *key)
{
    return QFBlogPlugin::localizedString(QString::fromLatin1(key));
}

QString describePost(const QString &title, int ID)
{
    return QStringLiteral("<QFBlogEntry %1: %2>").arg(ID).arg(title);
}

// Removes the files written so far unless the writing got through.
class WrittenFiles final
{
public:
    WrittenFiles() = default;
    ~WrittenFiles()
    {
        if (m_keep)
            return;
        for (const QString &path : std::as_const(m_files))
            QFile::remove(path);
    }
    Q_DISABLE_COPY_MOVE(WrittenFiles)

    void insert(const QString &name, const QString &path) { m_files.insert(name, path); }
    QMap<QString, QString> keep()
    {
        m_keep = true;
        return m_files;
    }

private:
    QMap<QString, QString> m_files;
    bool m_keep = false;
};

// The styled text of a post file. An empty file stands for a text the post
// did not have. A file the package lacks, or one that cannot be read or is
// no styled text, gives the empty text after the alert: every post of ours
// travels with both files, so a missing one means a damaged package.
std::optional<QFStyledText> styledTextFromFile(const std::optional<QString> &path, const QString &title)
{
    if (path) {
        QFile file(*path);
        if (file.open(QIODevice::ReadOnly)) {
            const QByteArray bytes = file.readAll();
            if (bytes.isEmpty() && file.error() == QFileDevice::NoError)
                return std::nullopt;
            try {
                return QFStyledText::fromKeyedArchive(bytes);
            } catch (const QFException &e) {
                qfLog(QStringLiteral("Blog Plugin: the post file %1 is no styled text: %2").arg(*path, e.reason()));
            }
        }
    }
    QFAlertRequest request;
    request.style = QFAlertRequest::Style::Warning;
    request.messageText = L("CouldNotReadBlogEntryTitle");
    request.informativeText = L("CouldNotReadBlogEntryMessageFormatString").arg(title);
    QFAlert::runAlert(request);
    return QFStyledText();
}

QByteArray fileData(const std::optional<QString> &path)
{
    if (!path)
        return {};
    QFile file(*path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

QVariantMap QFBlogEntry::sandwichDictionary() const
{
    QVariantMap d;
    if (!m_title.isNull())
        d.insert(kTitleKey, m_title);
    if (m_date.isValid())
        d.insert(kPostedKey, m_date);
    d.insert(QStringLiteral("PublishStatus"), m_status);
    d.insert(QStringLiteral("ID"), m_ID);
    d.insert(QStringLiteral("GUID"), GUID());
    if (m_summarizeRSSEntry)
        d.insert(QStringLiteral("SummariseRSSSentenceCount"), m_summarizeRSSSentenceCount);
    if (!m_categoryIDs.isEmpty()) {
        QVariantList ids;
        ids.reserve(m_categoryIDs.size());
        for (const int id : m_categoryIDs)
            ids.append(id);
        d.insert(QStringLiteral("CategoryIDs"), ids);
    }
    if (m_overridePermalinkName)
        d.insert(QStringLiteral("CustomPermalinkFilename"),
                 m_overridePermalinkNameText.isNull() ? QString(QLatin1String("")) : m_overridePermalinkNameText);
    if (!m_podcast.isNull())
        d.insert(QStringLiteral("PodcastFilename"), m_podcast);
    if (m_podcastReference && !m_podcastReference->isNull())
        d.insert(QStringLiteral("PodcastReference"), m_podcastReference->propertyList());
    // The post's custom feed tags ride inside the podcast override.
    QVariantMap podcastOverride = m_podcastOverride;
    if (!m_customTags.isEmpty()) {
        QVariantList tags;
        tags.reserve(m_customTags.size());
        for (const QFBlogCustomTagPtr &tag : m_customTags)
            tags.append(tag->propertyList());
        podcastOverride.insert(kTagsKey, tags);
    }
    if (!podcastOverride.isEmpty())
        d.insert(QStringLiteral("PodcastOverride"), podcastOverride);
    if (m_itunesTags) {
        if (const std::optional<QVariantMap> tags = m_itunesTags->propertyList())
            d.insert(QStringLiteral("ITunesCustomTags"), *tags);
    }
    if (m_tags && !m_tags->isEmpty()) {
        QStringList names;
        names.reserve(m_tags->size());
        for (const QFBlogTag &tag : *m_tags)
            names.append(tag.tagName());
        d.insert(kTagsKey, names);
    }
    return d;
}

QMap<QString, QString> QFBlogEntry::sandwichFiles() const
{
    WrittenFiles files;
    const auto writeText = [&](const QByteArray &data, const char *fileName, const char *prefix, const char *extension,
                               const char *failure, const char *missing) {
        // A text the post lacks travels as an empty file, so that a file
        // missing from a package always means damage.
        if (data.isNull())
            qfLog(QString::fromLatin1(missing).arg(m_title, describePost(m_title, m_ID)));
        QString path;
        QString error;
        if (!QFBlogPluginSandwich::writeTemporaryFile(QString::fromLatin1(prefix), QString::fromLatin1(extension), data,
                                                      &path, &error)) {
            throw QFException(QStringLiteral("Temporary File Error"),
                              QString::fromLatin1(failure).arg(m_title, describePost(m_title, m_ID), path)
                                  + QStringLiteral(": ") + error);
        }
        files.insert(QString::fromLatin1(fileName), path);
    };
    writeText(m_entryData, "Body.as", "QFBlogEntryBody", "as",
              "Could not write blog body entry (%1, %2) to temporary file at %3",
              "warning: nil body for blog entry with title %1 (%2)");
    writeText(m_entrySummaryData, "Summary.as", "QFBlogEntrySummary", "as",
              "Could not write blog entry summary (%1, %2) to temporary file at %3",
              "warning: nil summary for blog entry with title %1 (%2)");

    const QByteArray image = m_itunesTags ? m_itunesTags->imageData() : QByteArray();
    if (!image.isEmpty()) {
        QString path;
        QString error;
        if (!QFBlogPluginSandwich::writeTemporaryFile(QStringLiteral("Blog-ITunesImage"), QStringLiteral("data"), image,
                                                      &path, &error))
            QFBlogPluginSandwich::showWriteErrorAlert(path, error);
        // Kept even when the write failed: the package then says which
        // file is missing.
        files.insert(QStringLiteral("ITunesImage.data"), path);
    }
    return files.keep();
}

QFBlogEntryPtr QFBlogEntry::createWithSandwichDictionary(const QVariantMap &dictionary,
                                                         const std::optional<QString> &bodyFilename,
                                                         const std::optional<QString> &summaryFilename,
                                                         QFBlogPlugin *blogPlugin,
                                                         const std::optional<QString> &iTunesImageFilename)
{
    // Every value is read and checked before the post is made, so a post
    // with one bad value leaves no trace (no tag counts, no alerts).
    QFBlogSandwichDictionary d(dictionary, dictionary.value(kTitleKey), dictionary.value(kPostedKey));
    const std::optional<QString> title = d.string(kTitleKey);
    const std::optional<QDateTime> posted = d.date(kPostedKey);
    const std::optional<int> status = d.integer(QStringLiteral("PublishStatus"));
    const std::optional<int> ID = d.integer(QStringLiteral("ID"));
    const std::optional<QString> guid = d.string(QStringLiteral("GUID"));
    const std::optional<int> sentences = d.integer(QStringLiteral("SummariseRSSSentenceCount"));
    const std::optional<QVariantList> categoryIDs = d.list(QStringLiteral("CategoryIDs"));
    const std::optional<QString> permalinkName = d.string(QStringLiteral("CustomPermalinkFilename"));
    const std::optional<QVariantMap> itunesTags = d.map(QStringLiteral("ITunesCustomTags"));
    const std::optional<QString> podcast = d.string(QStringLiteral("PodcastFilename"));
    const std::optional<QVariantMap> reference = d.map(QStringLiteral("PodcastReference"));
    const std::optional<QVariantMap> podcastOverride = d.map(QStringLiteral("PodcastOverride"));
    const std::optional<QVariantList> tags = d.list(kTagsKey);
    if (!d.ok())
        return nullptr;

    QFBlogEntryPtr entry = blogEntryWithBlogPlugin(blogPlugin);
    QFBlogEntry &e = *entry;
    if (title)
        e.m_title = *title;
    e.setEntry(styledTextFromFile(bodyFilename, e.titleOrNoTitle()));
    e.setEntrySummary(styledTextFromFile(summaryFilename, e.titleOrNoTitle()));
    if (posted && posted->isValid())
        e.m_date = *posted;
    if (status)
        e.m_status = *status;
    if (ID)
        e.m_ID = *ID;
    if (guid)
        e.m_GUID = *guid;
    if (sentences) {
        e.m_summarizeRSSEntry = true;
        e.m_summarizeRSSSentenceCount = *sentences;
    }
    if (categoryIDs) {
        QList<int> ids;
        for (const QVariant &id : *categoryIDs) {
            if (id.typeId() == QMetaType::LongLong || id.typeId() == QMetaType::Int)
                ids.append(int(id.toLongLong()));
        }
        e.setCategoryIDs(ids);
    }
    if (permalinkName) {
        e.m_overridePermalinkName = true;
        e.m_overridePermalinkNameText = *permalinkName;
    }
    e.m_itunesTags =
        QFBlogCustomiTunesTags::iTunesTagsWithPropertyList(itunesTags.value_or(QVariantMap()), fileData(iTunesImageFilename));
    if (podcast)
        e.setPodcast(*podcast);
    if (reference)
        e.m_podcastReference = QFFileReference::fromPropertyList(*reference);
    if (podcastOverride) {
        QVariantMap rest = *podcastOverride;
        const QVariant customTags = rest.take(kTagsKey);
        QList<QFBlogCustomTagPtr> list;
        for (const QVariant &element : customTags.toList())
            list.append(QFBlogCustomTag::customTagWithPropertyList(element));
        e.m_customTags = list;
        e.m_podcastOverride = rest;
    }
    // A post without tags gets an empty list, so tags can be added to it.
    QFBlogTagList tagList;
    for (const QVariant &name : tags.value_or(QVariantList())) {
        if (name.typeId() == QMetaType::QString)
            tagList.append(QFBlogTag::tagWithName(name.toString()));
    }
    e.setTags(tagList);
    return entry;
}

#include "blogfixtures.h"

#include "blog/model/qfblogentry.h"
#include "blog/model/qfblogmodel.h"
#include "qfkit/document/qfexportitem.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qffilereference.h"
#include "qfkit/text/qfstyledtextattributes.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QMetaProperty>
#include <QRegularExpression>
#include <QtTest>

const QDateTime kFixtureNow(QDate(2024, 2, 29), QTime(12, 0, 0));
const QDateTime kFixtureBuilt(QDate(2023, 11, 5), QTime(8, 15, 30));

QByteArray pngBytes(Qt::GlobalColor colour)
{
    QImage image(4, 3, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QFBlogCustomTagPtr customTag(const QString &tag, const QString &value, const QString &attributes)
{
    QFBlogCustomTagPtr custom = QFBlogCustomTag::create();
    custom->setTag(tag);
    custom->setValue(value);
    custom->setAttributes(attributes);
    return custom;
}

void initializeBlogClassForFixtures()
{
    QFBlogPlugin::setUserIdentityProvider([] { return QFBlogUserIdentity{QStringLiteral("Ada Lovelace"), QString()}; });
    QFBlogPlugin::initializeClass(QFBundle(QStringLiteral(QF_BLOG_BUNDLE_PATH)));
    QFBlogModel::registerCodingClasses();
    QVERIFY2(!QFBlogPlugin::localizedString(QStringLiteral("datemod1")).isEmpty(), "the blog bundle is built");
}

QVariant changedValue(const QByteArray &key, const QVariant &before)
{
    if (key.startsWith("dateModifier"))
        return QStringList{"Weekday Name", "Month Name", "Year (2 digits)", "Time (24-hour)"}.value(key.back() - '1');
    if (key == "archivePostsPeriod")
        return 2;
    if (key == "commentsSelectedProviderTag")
        return 3;
    if (key == "commentsUserIdentifiers")
        return QVariantMap{{"disqus", "field-notes"}};
    if (key == "sidebarControl")
        return QVariantList{QVariantMap{{"name", "Tags"}, {"enabled", true}}, QVariantMap{{"name", "Archives"}, {"enabled", false}}};
    if (key == "categories") {
        // Made outside the blog, so its default categories do not claim the names.
        QList<QFBlogCategoryPtr> categories{QFBlogCategory::noneCategoryWithBlogPlugin(nullptr),
                                            QFBlogCategory::categoryWithName("Travel", nullptr),
                                            QFBlogCategory::categoryWithName("Crème & Café", nullptr)};
        for (int i : {0, 1, 2})
            categories[i]->setCategoryID(QList<int>{11, 5, 9}.at(i));
        return QVariant::fromValue(categories);
    }
    if (key == "channelCustomTags")
        return QVariant::fromValue(
            QList<QFBlogCustomTagPtr>{customTag("generator", "Quillfen", QString()), customTag("atom:link", QString(), "rel=\"hub\"")});
    if (key == "channelCustomiTunesTags") {
        QFBlogCustomiTunesTagsPtr tags = QFBlogCustomiTunesTags::tags();
        tags->setAuthor("Ada");
        tags->setOwnerEmail("ada@example.org");
        tags->setCategory("Technology");
        tags->setImageData(pngBytes(Qt::red));
        tags->setDuration(125);
        tags->setExplicit(true);
        tags->setBlock(true);
        tags->setConvertImage(false);
        return QVariant::fromValue(tags);
    }
    if (key == "pingSettings")
        return QVariantList{QVariantMap{{"name", "example"}, {"url", "http://ping.example.org/"}, {"rpc", 0}}};
    switch (before.typeId()) {
    case QMetaType::Bool: return !before.toBool();
    case QMetaType::Int: return before.toInt() + 7;
    case QMetaType::QString: return QStringLiteral("%1 — changed").arg(QString::fromLatin1(key));
    case QMetaType::QDateTime: return kFixtureBuilt;
    default: return QVariant();
    }
}

void changeEverything(QFBlogPlugin &blog, const QSet<QByteArray> &skipped, const QSet<QByteArray> &derived,
                      QList<QByteArray> &carried)
{
    const QFBlogPlugin fresh;
    const QMetaObject &meta = QFBlogPlugin::staticMetaObject;
    for (int i = 0; i < meta.propertyCount(); ++i) {
        const QByteArray key = meta.property(i).name();
        if (skipped.contains(key))
            continue;
        carried.append(key);
        if (derived.contains(key))
            continue;
        const QVariant changed = changedValue(key, fresh.property(key));
        QVERIFY2(changed.isValid(), "a setting the test does not know how to change: " + key);
        QVERIFY2(blog.setProperty(key, changed), key.constData());
    }

    QFStyledText body = QFStyledText().append("Hello ").append("Lisboa", {{kQFBoldAttributeName, true}});
    body.insertAttachment(body.length(), pngBytes(Qt::blue), "tram.png");
    QFBlogEntryPtr first = QFBlogEntry::blogEntryWithBlogPlugin(&blog);
    blog.insertBlogEntry(first);
    first->setTitle("Spring in Lisbon");
    first->setEntry(body);
    first->setEntrySummary(QFStyledText("Trams.", {{kQFItalicAttributeName, true}}));
    first->setDate(QDateTime(QDate(2023, 4, 2), QTime(18, 30)));
    first->setStatus(1);
    first->setID(3);
    first->setGUID("4F0A2C1E-0000-4000-8000-000000000001");
    first->setCategoryIDs({5, 9});
    first->setTags(tagList({"lisbon", "food"}));
    first->setCustomTags({customTag("dc:subject", "travel", QString())});
    QFBlogCustomiTunesTagsPtr itemTags = QFBlogCustomiTunesTags::tags();
    itemTags->setSubtitle("Episode one");
    itemTags->setKeywords("trams, hills");
    itemTags->setImageData(pngBytes(Qt::green));
    first->setItunesTags(itemTags);
    first->setPodcast("/media/episode1.mp3");
    first->setPodcastReference(std::make_shared<QFFileReference>("/media/episode1.mp3"));
    first->setPodcastOverride({{"override", true}, {"url", "http://cdn.example.org/e1.mp3"}, {"size", 123456}, {"type", "audio/mpeg"}});
    first->setOverridePermalinkName(true);
    first->setOverridePermalinkNameText("spring-lisbon");
    first->setSummarizeRSSEntry(true);
    first->setSummarizeRSSSentenceCount(2);

    QFBlogEntryPtr draft = QFBlogEntry::blogEntryWithBlogPlugin(&blog);
    blog.insertBlogEntry(draft);
    draft->setTitle("Crème brûlée, unfinished");
    draft->setEntryString("To be written.");
    draft->setEntrySummaryString(QString());
    draft->setDate(QDateTime(QDate(2023, 5, 1), QTime(7, 0)));
    draft->setStatus(0);
    draft->setID(4);
    draft->setGUID("4F0A2C1E-0000-4000-8000-000000000002");
    draft->setCategoryIndex(2);
    draft->setTags(tagList({"food"}));
    draft->setItunesTags(QFBlogCustomiTunesTags::tags());

    blog.setLastBuildDate(kFixtureBuilt);
    blog.setLastSavedBuildDate(kFixtureBuilt.addDays(-3));
}

QVariant comparable(const QVariant &value)
{
    QVariantList list;
    if (value.typeId() == qMetaTypeId<QList<QFBlogCategoryPtr>>()) {
        for (const QFBlogCategoryPtr &category : value.value<QList<QFBlogCategoryPtr>>())
            list.append(QVariantList{category->categoryName(), category->isNone() ? -1 : category->categoryID(), category->isNone()});
        return list;
    }
    if (value.typeId() == qMetaTypeId<QList<QFBlogCustomTagPtr>>()) {
        for (const QFBlogCustomTagPtr &tag : value.value<QList<QFBlogCustomTagPtr>>())
            list.append(QStringList{tag->tag(), tag->value(), tag->attributes()});
        return list;
    }
    if (value.typeId() != qMetaTypeId<QFBlogCustomiTunesTagsPtr>())
        return value;
    const QFBlogCustomiTunesTagsPtr tags = value.value<QFBlogCustomiTunesTagsPtr>();
    QVariantMap map;
    const QMetaObject &meta = QFBlogCustomiTunesTags::staticMetaObject;
    for (int i = meta.propertyOffset(); tags && i < meta.propertyCount(); ++i)
        map.insert(QString::fromLatin1(meta.property(i).name()), meta.property(i).read(tags.get()));
    return tags ? QVariant(map) : QVariant();
}

namespace {

// What a reader of a post would notice, field by field.
QVariantMap postContents(const QFBlogEntry &entry)
{
    QStringList tags;
    for (const QFBlogTag &tag : entry.tags().value_or(QFBlogTagList()))
        tags.append(tag.tagName());
    QVariantList categoryIDs;
    for (int id : entry.categoryIDs())
        categoryIDs.append(id);
    return {{"title", entry.title()},
            {"body", entry.entry() ? entry.entry()->toKeyedArchive() : QByteArray()},
            {"summary", entry.entrySummary() ? entry.entrySummary()->toKeyedArchive() : QByteArray()},
            {"date", entry.date()},
            {"status", entry.status()},
            {"ID", entry.ID()},
            {"GUID", entry.GUID()},
            {"categoryIDs", categoryIDs},
            {"tags", tags},
            {"customTags", comparable(QVariant::fromValue(entry.customTags()))},
            {"itunesTags", comparable(QVariant::fromValue(entry.itunesTags()))},
            {"podcast", entry.podcast()},
            {"podcastReference", entry.podcastReference() ? entry.podcastReference()->propertyList() : QVariantMap()},
            {"podcastOverride", entry.podcastOverride()},
            {"overridePermalinkName", entry.overridePermalinkName()},
            {"overridePermalinkNameText", entry.overridePermalinkNameText()},
            {"summarizeRSSEntry", entry.summarizeRSSEntry()},
            {"summarizeRSSSentenceCount", entry.summarizeRSSSentenceCount()}};
}

} // namespace

QString postDifferences(const QFBlogPlugin &expected, const QFBlogPlugin &actual, const QSet<QString> &ignored)
{
    if (expected.posts().size() != actual.posts().size())
        return QStringLiteral("%1 posts, expected %2").arg(actual.posts().size()).arg(expected.posts().size());
    for (qsizetype i = 0; i < expected.posts().size(); ++i) {
        if (actual.posts().at(i)->blogPlugin() != &actual)
            return QStringLiteral("post %1 belongs to another blog").arg(i);
        const QVariantMap wanted = postContents(*expected.posts().at(i)), got = postContents(*actual.posts().at(i));
        for (auto it = wanted.cbegin(); it != wanted.cend(); ++it) {
            if (!ignored.contains(it.key()) && got.value(it.key()) != it.value())
                return QStringLiteral("post %1: %2: %3 != %4").arg(i).arg(it.key(), QDebug::toString(got.value(it.key())), QDebug::toString(it.value()));
        }
    }
    return QString();
}

QVariantMap pageParams(const QVariantMap &extra)
{
    QVariantMap params{{"FilenameExt", "html"}, {"filesfoldername", "files"}, {"name", "blog.html"}, {"title", "My Blog"}};
    params.insert(extra);
    return params;
}

QFBlogEntryPtr addPost(QFBlogPlugin &blog, int id, const QDateTime &date, bool draft)
{
    QFBlogEntryPtr entry = QFBlogEntry::blogEntryWithBlogPlugin(&blog);
    entry->setID(id);
    entry->setGUID(QStringLiteral("post-%1").arg(id));
    entry->setTitle(QStringLiteral("Post %1").arg(id));
    entry->setEntryString(QStringLiteral("Text of post %1.").arg(id));
    entry->setDate(date);
    entry->setStatus(draft ? 0 : 1);
    blog.insertBlogEntry(entry);
    return entry;
}

QFBlogTagList tagList(const QStringList &names)
{
    QFBlogTagList tags;
    for (const QString &name : names)
        tags.append(QFBlogTag(name));
    return tags;
}

int categoryID(const QFBlogPlugin &blog, const QString &name)
{
    const QFBlogCategoryPtr category = blog.categoryForCategoryName(name);
    return category ? category->categoryID() : -1;
}

QStringList entryIDs(const QString &html)
{
    static const QRegularExpression id(QStringLiteral("id=\"unique-entry-id-(\\d+)\""));
    QStringList ids;
    for (auto it = id.globalMatch(html); it.hasNext();)
        ids.append(it.next().captured(1));
    return ids;
}

QStringList itemNames(const QList<QFExportItem> &items)
{
    QStringList names;
    for (const QFExportItem &item : items)
        names.append(item.isFile() ? QFileInfo(item.filePath()).fileName() : item.name());
    return names;
}

QString readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString goldenFile(const QString &path)
{
    return readFile(QStringLiteral(QF_SOURCE_DIR "/tests/data/") + path);
}

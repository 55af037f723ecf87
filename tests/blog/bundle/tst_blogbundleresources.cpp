// The Blog bundle's resources as the build tree's Blog.qfplugin carries them:
// every file parses, the tables agree with each other, and the images are the
// pictures pages link to.

#include "qfkit/plist/qfpropertylist.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfcalendarformat.h"
#include "qfkit/support/qfexception.h"

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QXmlStreamReader>

namespace {

const QString kBundlePath = QStringLiteral(QF_BLOG_BUNDLE_PATH);

const QStringList kSmileyImages = {
    QStringLiteral("smiley_smile"), QStringLiteral("smiley_wink"),
    QStringLiteral("smiley_embarrassed"), QStringLiteral("smiley_laugh"),
    QStringLiteral("smiley_gasp"), QStringLiteral("smiley_footinmouth"),
    QStringLiteral("smiley_angry"), QStringLiteral("smiley_sad"),
};

QString resource(const QString &fileName)
{
    return kBundlePath + QStringLiteral("/Resources/") + fileName;
}

QVariant readPlist(const QString &fileName)
{
    try {
        return QFPropertyList::fromFile(resource(fileName));
    } catch (const QFException &e) {
        qWarning().noquote() << e.reason();
        return QVariant();
    }
}

QVariantMap stringTable()
{
    return readPlist(QStringLiteral("en.lproj/Localizable.plist")).toMap();
}

} // namespace

class TestBlogBundleResources final : public QObject
{
    Q_OBJECT

private slots:
    void propertyListParses_data();
    void propertyListParses();

    void stringTableHasNoEmptyTexts();
    void stringTableKnowsKey_data();
    void stringTableKnowsKey();
    void formatTakesItsArguments_data();
    void formatTakesItsArguments();
    void noPlatformFormatSpecifiersLeft();
    void pageTextIsPlainAscii_data();
    void pageTextIsPlainAscii();

    void referencedNameResolves_data();
    void referencedNameResolves();
    void defaultPostDate();
    void dateModifierFormatsCleanly_data();
    void dateModifierFormatsCleanly();
    void dateFragmentsAreUnique();
    void languageCodesAreFeedCodes();
    void defaultCategoriesAreDistinct();

    void feedSkeletonIsWellFormedXml();
    void feedFormatsHaveNoPercent();
    void enclosureType_data();
    void enclosureType();
    void enclosureExtensionsAreLowerCase();

    void smiley_data();
    void smiley();
    void smileyCodesCannotSpoilEachOther();
    void image_data();
    void image();
    void rssGifIsAGif();

    void pageTemplate_data();
    void pageTemplate();
};

void TestBlogBundleResources::propertyListParses_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("minimumCount");

    QTest::newRow("languages") << "languages.plist" << int(QMetaType::QVariantMap) << 30;
    QTest::newRow("dates") << "dates.plist" << int(QMetaType::QVariantMap) << 12;
    QTest::newRow("rss") << "rss.plist" << int(QMetaType::QVariantMap) << 4;
    QTest::newRow("categories") << "categories.plist" << int(QMetaType::QVariantList) << 3;
    QTest::newRow("enclosures") << "enclosures.plist" << int(QMetaType::QVariantMap) << 16;
    QTest::newRow("smileys") << "smileys.plist" << int(QMetaType::QVariantMap) << 8;
    QTest::newRow("string table") << "en.lproj/Localizable.plist" << int(QMetaType::QVariantMap) << 60;
}

void TestBlogBundleResources::propertyListParses()
{
    QFETCH(QString, file);
    QFETCH(int, type);
    QFETCH(int, minimumCount);

    const QVariant value = readPlist(file);
    QCOMPARE(value.typeId(), type);
    const qsizetype count = type == QMetaType::QVariantMap ? value.toMap().size() : value.toList().size();
    QVERIFY2(count >= minimumCount, qPrintable(QStringLiteral("%1 entries").arg(count)));

    // The bundle finds it by name the way the plugin asks for it.
    const QString name = file.section(QLatin1Char('/'), -1).section(QLatin1Char('.'), 0, 0);
    QVERIFY(!QFBundle(kBundlePath).pathForResource(name, QStringLiteral("plist")).isEmpty());
}

void TestBlogBundleResources::stringTableHasNoEmptyTexts()
{
    const QVariantMap table = stringTable();
    QVERIFY(!table.isEmpty());
    for (auto it = table.cbegin(); it != table.cend(); ++it) {
        QVERIFY2(it->typeId() == QMetaType::QString, qPrintable(it.key()));
        QVERIFY2(!it->toString().trimmed().isEmpty(), qPrintable(it.key()));
    }
}

void TestBlogBundleResources::stringTableKnowsKey_data()
{
    QTest::addColumn<QString>("key");

    // Every key the plugin, its generators, services and editor look up. A
    // missing one shows its key to the user instead of a text.
    const char *const keys[] = {
        "PluginName", "PluginDescription", "MyRSSFeed", "HotNews", "RSSFeedLinkName",
        "RSSCommentLinkName", "Copyright", "defaultLanguage", "datemod1", "datemod2",
        "datemod3", "datemod4", "DefaultCategoryTitle", "DefaultCategorySeparator",
        "DefaultCommentSeparator", "DefaultTagsTitle", "DefaultTagsSeparator",
        "BlogExportErrorsAlertTitle", "BlogExportErrorsAlertOneErrorMessageFormatString",
        "BlogExportErrorsAlertMultipleErrorsMessageFormatString", "CouldNotWritePodcastImage",
        "CouldNotReadPodcastAlertMessage", "ProviderLabelNone", "ProviderLabelHaloscan",
        "ProviderLabelJSKit", "ProviderLabelDisqus", "RemoveEntries", "Remove", "Cancel", "OK",
        "CannotBeUndone", "NewCategoryName", "NewCategoryNameFormatString", "NoTitle",
        "CategorySeparator", "NoneCategoryName", "rssNotEnabled", "podcastingRequiresTheRSS",
        "dontEnable", "addPodcastLink", "youHaveAddedAPodcastAddLink",
        "ITunesImageDeprecatedLabelFormatString", "ITunesImageDeprecatedLabelRSSAttributeName",
        "ITunesImageDeprecatedLabelInformationURL", "PermalinkName", "ReadMoreName",
        "BlogURLRequired", "BaseURLRequired", "CategoryLinkMenuItemFormatString",
        "TagLinkMenuItemFormatString", "ImportOpenPanelMessage", "ImportWindowTitleFormatString",
        "ImportWindowTitleNoEntriesYet", "PingTimedOut", "AppleScriptPath", "AppleScriptFullPath",
        "CouldNotReadBlogEntryTitle", "CouldNotReadBlogEntryMessageFormatString",
        "TagFieldToolTip", "CategoriesFieldToolTip", "SetupCategoriesMenuItemText",
        "MergeCategoriesInformationFormatString", "MergeCategoriesDefaultButtonTextForMerge",
        "MergeCategoriesDefaultButtonTextForNoMerge",
    };
    for (const char *key : keys)
        QTest::newRow(key) << QString::fromLatin1(key);
}

void TestBlogBundleResources::stringTableKnowsKey()
{
    QFETCH(QString, key);
    const QVariantMap table = stringTable();
    QVERIFY(table.contains(key));
    // Looked up the way the plugin does, through the bundle's string table.
    QCOMPARE(QFBundle(kBundlePath).localizedString(key), table.value(key).toString());
}

void TestBlogBundleResources::formatTakesItsArguments_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("arguments");

    QTest::newRow("one export error") << "BlogExportErrorsAlertOneErrorMessageFormatString" << 1;
    QTest::newRow("several export errors") << "BlogExportErrorsAlertMultipleErrorsMessageFormatString" << 2;
    QTest::newRow("unreadable podcast") << "CouldNotReadPodcastAlertMessage" << 2;
    QTest::newRow("new category name") << "NewCategoryNameFormatString" << 1;
    QTest::newRow("category link title") << "CategoryLinkMenuItemFormatString" << 1;
    QTest::newRow("tag link title") << "TagLinkMenuItemFormatString" << 1;
    QTest::newRow("import window title") << "ImportWindowTitleFormatString" << 1;
    QTest::newRow("merge information") << "MergeCategoriesInformationFormatString" << 2;
    QTest::newRow("image notice") << "ITunesImageDeprecatedLabelFormatString" << 2;
    QTest::newRow("unreadable post") << "CouldNotReadBlogEntryMessageFormatString" << 1;
    QTest::newRow("scripts folder") << "AppleScriptPath" << 1;
    QTest::newRow("script file") << "AppleScriptFullPath" << 3;
    QTest::newRow("podcast image, no arguments") << "CouldNotWritePodcastImage" << 0;
    QTest::newRow("remove posts, no arguments") << "RemoveEntries" << 0;
}

void TestBlogBundleResources::formatTakesItsArguments()
{
    QFETCH(QString, key);
    QFETCH(int, arguments);

    const QString format = stringTable().value(key).toString();
    QVERIFY(!format.isEmpty());
    for (int n = 1; n <= arguments; ++n)
        QVERIFY2(format.contains(QStringLiteral("%%1").arg(n)), qPrintable(QStringLiteral("no %%1").arg(n)));
    QVERIFY2(!format.contains(QStringLiteral("%%1").arg(arguments + 1)), "an argument nobody fills");

    // Filled as the code fills it, nothing of a placeholder may be left over.
    QString filled = format;
    for (int n = 1; n <= arguments; ++n)
        filled = filled.arg(QStringLiteral("<arg%1>").arg(n));
    for (int n = 1; n <= arguments; ++n)
        QVERIFY(filled.contains(QStringLiteral("<arg%1>").arg(n)));
    QVERIFY2(!filled.contains(QRegularExpression(QStringLiteral("%\\d"))), qPrintable(filled));
}

void TestBlogBundleResources::noPlatformFormatSpecifiersLeft()
{
    // Qt fills %1, %2 ...; a "%@" or "%d" would reach the user as it stands.
    const QRegularExpression foreign(QStringLiteral("%(@|l?[dus]|qu)"));
    const QVariantMap table = stringTable();
    for (auto it = table.cbegin(); it != table.cend(); ++it)
        QVERIFY2(!it->toString().contains(foreign), qPrintable(it.key()));
}

void TestBlogBundleResources::pageTextIsPlainAscii_data()
{
    QTest::addColumn<QString>("key");
    const char *const keys[] = {
        "RSSFeedLinkName", "RSSCommentLinkName", "DefaultCategoryTitle", "DefaultCategorySeparator",
        "DefaultCommentSeparator", "DefaultTagsTitle", "DefaultTagsSeparator", "PermalinkName",
        "ReadMoreName", "NoTitle", "CategorySeparator", "NoneCategoryName", "MyRSSFeed", "HotNews",
    };
    for (const char *key : keys)
        QTest::newRow(key) << QString::fromLatin1(key);
}

void TestBlogBundleResources::pageTextIsPlainAscii()
{
    // These land in published pages, some without escaping, in pages that
    // may declare ISO-8859-1.
    QFETCH(QString, key);
    const QString text = stringTable().value(key).toString();
    QVERIFY(!text.isEmpty());
    for (const QChar c : text)
        QVERIFY2(c.unicode() >= 0x20 && c.unicode() < 0x7f && !QStringLiteral("<>&\"'").contains(c),
                 qPrintable(QStringLiteral("character U+%1").arg(c.unicode(), 4, 16, QLatin1Char('0'))));
}

void TestBlogBundleResources::referencedNameResolves_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("table");

    QTest::newRow("default feed language") << "defaultLanguage" << "languages.plist";
    QTest::newRow("first date modifier") << "datemod1" << "dates.plist";
    QTest::newRow("second date modifier") << "datemod2" << "dates.plist";
    QTest::newRow("third date modifier") << "datemod3" << "dates.plist";
    QTest::newRow("fourth date modifier") << "datemod4" << "dates.plist";
}

void TestBlogBundleResources::referencedNameResolves()
{
    QFETCH(QString, key);
    QFETCH(QString, table);
    const QString name = stringTable().value(key).toString();
    QVERIFY2(readPlist(table).toMap().contains(name), qPrintable(name));
}

void TestBlogBundleResources::defaultPostDate()
{
    // A new blog writes its post dates with the four default modifiers and
    // the separators "/", "/", " ", " ".
    const QVariantMap dates = readPlist(QStringLiteral("dates.plist")).toMap();
    const QVariantMap table = stringTable();
    const QStringList separators = {QStringLiteral("/"), QStringLiteral("/"), QStringLiteral(" "), QStringLiteral(" ")};
    QString format;
    for (int i = 0; i < 4; ++i)
        format += dates.value(table.value(QStringLiteral("datemod%1").arg(i + 1)).toString()).toString() + separators.at(i);

    const QDateTime date(QDate(2024, 3, 9), QTime(14, 5, 7));
    QCOMPARE(QFCalendarFormat::format(date, format), QStringLiteral("03/09/2024 02:05 PM "));
}

void TestBlogBundleResources::dateModifierFormatsCleanly_data()
{
    QTest::addColumn<QString>("fragment");
    const QVariantMap dates = readPlist(QStringLiteral("dates.plist")).toMap();
    for (auto it = dates.cbegin(); it != dates.cend(); ++it)
        QTest::newRow(qPrintable(it.key())) << it->toString();
}

void TestBlogBundleResources::dateModifierFormatsCleanly()
{
    // A specifier the calendar format does not know is copied as text, so the
    // reader of the blog would see "%k" instead of a date part.
    QFETCH(QString, fragment);
    const QString text = QFCalendarFormat::format(QDateTime(QDate(2024, 11, 30), QTime(9, 41, 59)), fragment);
    if (fragment == QLatin1String("%%"))
        QCOMPARE(text, QStringLiteral("%"));
    else
        QVERIFY2(!text.contains(QLatin1Char('%')), qPrintable(text));
    if (!fragment.isEmpty())
        QVERIFY(!text.isEmpty());
}

void TestBlogBundleResources::dateFragmentsAreUnique()
{
    // A page-exchange package stores fragments and looks the names up by
    // them; two names with one fragment would come back as the wrong one.
    const QVariantMap dates = readPlist(QStringLiteral("dates.plist")).toMap();
    QHash<QString, QString> nameOfFragment;
    for (auto it = dates.cbegin(); it != dates.cend(); ++it) {
        const QString fragment = it->toString();
        QVERIFY2(!nameOfFragment.contains(fragment),
                 qPrintable(QStringLiteral("\"%1\" and \"%2\"").arg(nameOfFragment.value(fragment), it.key())));
        nameOfFragment.insert(fragment, it.key());
    }
}

void TestBlogBundleResources::languageCodesAreFeedCodes()
{
    const QVariantMap languages = readPlist(QStringLiteral("languages.plist")).toMap();
    const QRegularExpression code(QStringLiteral("^[a-z]{2,3}(-[a-z]{2,3})?$"));
    QSet<QString> seen;
    for (auto it = languages.cbegin(); it != languages.cend(); ++it) {
        QVERIFY2(code.match(it->toString()).hasMatch(), qPrintable(it.key()));
        QVERIFY2(!seen.contains(it->toString()), qPrintable(it->toString()));
        seen.insert(it->toString());
    }
}

void TestBlogBundleResources::defaultCategoriesAreDistinct()
{
    // Category names are unique ignoring case and the blog drops duplicates,
    // so a clash here would silently lose a default category.
    const QVariantList names = readPlist(QStringLiteral("categories.plist")).toList();
    QSet<QString> seen{stringTable().value(QStringLiteral("NoneCategoryName")).toString().toCaseFolded()};
    for (const QVariant &name : names) {
        QCOMPARE(name.typeId(), int(QMetaType::QString));
        QVERIFY(!name.toString().isEmpty());
        QVERIFY2(!seen.contains(name.toString().toCaseFolded()), qPrintable(name.toString()));
        seen.insert(name.toString().toCaseFolded());
    }
}

void TestBlogBundleResources::feedSkeletonIsWellFormedXml()
{
    // The fixed texts around a channel and an item that use every prefix the
    // feed writes must make a well-formed document with every prefix bound.
    const QVariantMap rss = readPlist(QStringLiteral("rss.plist")).toMap();
    const QString feed = rss.value(QStringLiteral("header")).toString()
        + QStringLiteral("<title>T</title><link>http://example.com/</link><description>D</description>"
                         "<dc:language>en-us</dc:language><dc:creator>a@example.com</dc:creator>"
                         "<dc:rights>R</dc:rights><dc:date>2024-03-09T14:05:07+01:00</dc:date>")
        + rss.value(QStringLiteral("generator")).toString()
        + QStringLiteral("<admin:errorReportsTo rdf:resource=\"mailto:a@example.com\" />")
        + rss.value(QStringLiteral("updating")).toString()
        + QStringLiteral("<lastBuildDate>Sat, 09 Mar 2024 14:05:07 +0100</lastBuildDate>"
                         "<itunes:explicit>no</itunes:explicit>"
                         "<item><title>P</title><content:encoded><![CDATA[<p>x</p>]]></content:encoded></item>")
        + rss.value(QStringLiteral("footer")).toString();

    QXmlStreamReader xml(feed);
    QSet<QString> prefixes;
    QString root;
    bool sawGenerator = false;
    bool sawUpdatePeriod = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (root.isEmpty())
            root = xml.name().toString();
        if (!xml.prefix().isEmpty()) {
            QVERIFY2(!xml.namespaceUri().isEmpty(), qPrintable(xml.qualifiedName().toString()));
            prefixes.insert(xml.prefix().toString());
        }
        sawGenerator |= xml.qualifiedName() == QLatin1String("generator");
        if (xml.qualifiedName() == QLatin1String("sy:updatePeriod")) {
            sawUpdatePeriod = true;
            QCOMPARE(xml.namespaceUri(), QLatin1String("http://purl.org/rss/1.0/modules/syndication/"));
        }
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    QCOMPARE(root, QStringLiteral("rss"));
    QVERIFY(sawGenerator);
    QVERIFY(sawUpdatePeriod);
    for (const char *prefix : {"dc", "admin", "content", "itunes", "sy"})
        QVERIFY2(prefixes.contains(QLatin1String(prefix)), prefix);
    // The feed repairs "http:///" in the whole document; the header must not
    // be touched by that.
    QVERIFY(!feed.contains(QLatin1String("http:///")));
}

void TestBlogBundleResources::feedFormatsHaveNoPercent()
{
    const QVariantMap rss = readPlist(QStringLiteral("rss.plist")).toMap();
    for (const char *key : {"header", "generator", "updating", "footer"}) {
        const QVariant value = rss.value(QLatin1String(key));
        QCOMPARE(value.typeId(), int(QMetaType::QString));
        QVERIFY2(!value.toString().isEmpty(), key);
        QVERIFY2(!value.toString().contains(QLatin1Char('%')), key);
    }
}

void TestBlogBundleResources::enclosureType_data()
{
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("mimeType");

    QTest::newRow("MP3 audio") << "mp3" << "audio/mpeg";
    QTest::newRow("AAC audio in MPEG-4") << "m4a" << "audio/x-m4a";
    QTest::newRow("audio book") << "m4b" << "audio/x-m4b";
    QTest::newRow("MPEG-4 video") << "mp4" << "video/mp4";
    QTest::newRow("video podcast") << "m4v" << "video/x-m4v";
    QTest::newRow("QuickTime movie") << "mov" << "video/quicktime";
    QTest::newRow("Ogg Vorbis") << "ogg" << "audio/ogg";
    QTest::newRow("Opus") << "opus" << "audio/opus";
    QTest::newRow("PDF document") << "pdf" << "application/pdf";
    QTest::newRow("e-book") << "epub" << "application/epub+zip";
    QTest::newRow("WebM video") << "webm" << "video/webm";
}

void TestBlogBundleResources::enclosureType()
{
    QFETCH(QString, extension);
    QFETCH(QString, mimeType);
    QCOMPARE(readPlist(QStringLiteral("enclosures.plist")).toMap().value(extension).toString(), mimeType);
}

void TestBlogBundleResources::enclosureExtensionsAreLowerCase()
{
    // The lookup lower-cases the file's extension: any other key is
    // unreachable.
    const QVariantMap types = readPlist(QStringLiteral("enclosures.plist")).toMap();
    const QRegularExpression mime(QStringLiteral("^(audio|video|application)/[a-z0-9.+-]+$"));
    for (auto it = types.cbegin(); it != types.cend(); ++it) {
        QCOMPARE(it.key(), it.key().toLower());
        QVERIFY2(!it.key().startsWith(QLatin1Char('.')), qPrintable(it.key()));
        QVERIFY2(mime.match(it->toString()).hasMatch(), qPrintable(it->toString()));
    }
}

void TestBlogBundleResources::smiley_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QVariantMap>("entry");

    const QVariantMap smileys = readPlist(QStringLiteral("smileys.plist")).toMap();
    for (auto it = smileys.cbegin(); it != smileys.cend(); ++it)
        QTest::newRow(qPrintable(it.key())) << it.key() << it->toMap();
}

void TestBlogBundleResources::smiley()
{
    QFETCH(QString, code);
    QFETCH(QVariantMap, entry);

    const QString image = entry.value(QStringLiteral("image")).toString();
    const QString alt = entry.value(QStringLiteral("alttag")).toString();
    QVERIFY2(kSmileyImages.contains(image), "not one of the images every export copies");
    QVERIFY(!alt.isEmpty());

    QImage picture(resource(image + QStringLiteral(".png")));
    QVERIFY2(!picture.isNull(), qPrintable(image));
    QCOMPARE(picture.size(), QSize(21, 21)); // the img element says 21 by 21
    QVERIFY(picture.hasAlphaChannel());
    QCOMPARE(qAlpha(picture.pixel(0, 0)), 0);
    QCOMPARE(qAlpha(picture.pixel(10, 10)), 255);
}

void TestBlogBundleResources::smileyCodesCannotSpoilEachOther()
{
    // Codes are replaced one after another over the whole HTML, in key order.
    const QVariantMap smileys = readPlist(QStringLiteral("smileys.plist")).toMap();
    const QStringList codes = smileys.keys();
    QSet<QString> imagesUsed;
    for (int i = 0; i < codes.size(); ++i) {
        const QString &code = codes.at(i);
        // Raw markup characters would match the generated tags themselves.
        QVERIFY2(!code.contains(QLatin1Char('<')) && !code.contains(QLatin1Char('>'))
                     && !code.contains(QLatin1Char('"')),
                 qPrintable(code));
        // A longer code must go before every code it contains, or the
        // shorter one takes part of it first.
        for (int j = 0; j < i; ++j)
            QVERIFY2(!code.contains(codes.at(j)), qPrintable(codes.at(j) + QStringLiteral(" inside ") + code));

        // The image element written for one code must not hold another code.
        const QVariantMap entry = smileys.value(code).toMap();
        const QString element = QStringLiteral("<img class=\"blog-image-smiley\" src=\"files/%1.png\" width=\"21\" "
                                               "height=\"21\" alt=\"%2\" border=\"0\" />")
                                    .arg(entry.value(QStringLiteral("image")).toString(),
                                         entry.value(QStringLiteral("alttag")).toString());
        for (const QString &other : codes)
            QVERIFY2(!element.contains(other), qPrintable(other + QStringLiteral(" inside the image of ") + code));
        imagesUsed.insert(entry.value(QStringLiteral("image")).toString());
    }
    QCOMPARE(imagesUsed.size(), kSmileyImages.size());
}

void TestBlogBundleResources::image_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QSize>("size");

    QTest::newRow("plugin icon") << "Icon_Blog_Large.png" << QSize(128, 128);
    QTest::newRow("podcast present") << "ri_rss_green_small.png" << QSize(16, 16);
    QTest::newRow("podcast missing") << "ri_rss_grey_small.png" << QSize(16, 16);
    QTest::newRow("feed icon") << "rss.gif" << QSize(16, 16);
}

void TestBlogBundleResources::image()
{
    QFETCH(QString, file);
    QFETCH(QSize, size);

    const QImage picture(resource(file));
    QVERIFY(!picture.isNull());
    QCOMPARE(picture.size(), size);
}

void TestBlogBundleResources::rssGifIsAGif()
{
    // It is published under the name rss.gif; browsers trust the bytes, but
    // some servers and tools trust the name.
    QFile file(resource(QStringLiteral("rss.gif")));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY(bytes.startsWith("GIF89a") || bytes.startsWith("GIF87a"));
    QVERIFY(bytes.endsWith(";"));

    QImageReader reader(resource(QStringLiteral("rss.gif")));
    QCOMPARE(reader.format(), QByteArray("gif"));
    const QImage picture = reader.read();
    QVERIFY2(!picture.isNull(), qPrintable(reader.errorString()));
    // Orange in the middle of the badge's upper half, between the arcs.
    const QRgb body = picture.pixel(12, 3);
    QVERIFY2(qRed(body) > qGreen(body) && qGreen(body) > qBlue(body), qPrintable(QString::number(body, 16)));
}

void TestBlogBundleResources::pageTemplate_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("parts");
    QTest::addColumn<bool>("wholePage");

    const QStringList permalink = {QStringLiteral("haloscan"), QStringLiteral("jskit"), QStringLiteral("entries")};
    const QStringList archive = permalink + QStringList{QStringLiteral("links"), QStringLiteral("date")};
    const QStringList named = permalink + QStringList{QStringLiteral("links"), QStringLiteral("name")};
    const QString title = QStringLiteral("title");

    QTest::newRow("permalink page") << "BlogPermalinkTemplate" << (permalink + QStringList{title}) << true;
    QTest::newRow("permalink content") << "BlogPermalinkTemplateContentOnly" << permalink << false;
    QTest::newRow("archive page") << "BlogArchiveTemplate" << (archive + QStringList{title}) << true;
    QTest::newRow("archive content") << "BlogArchiveTemplateContentOnly" << archive << false;
    QTest::newRow("category page") << "BlogCategoryTemplate" << (named + QStringList{title}) << true;
    QTest::newRow("category content") << "BlogCategoryTemplateContentOnly" << named << false;
    QTest::newRow("tag page") << "BlogTagTemplate" << (named + QStringList{title}) << true;
    QTest::newRow("tag content") << "BlogTagTemplateContentOnly" << named << false;
}

void TestBlogBundleResources::pageTemplate()
{
    // A placeholder missing from a template leaves that part off every page
    // of its kind: the posts, the navigation or the comment scripts.
    QFETCH(QString, name);
    QFETCH(QStringList, parts);
    QFETCH(bool, wholePage);

    const QString html = QFBundle(kBundlePath).stringResource(name, QStringLiteral("html"));
    QVERIFY2(!html.isEmpty(), qPrintable(name));
    const QString page = name.mid(4).section(QStringLiteral("Template"), 0, 0).toLower();
    for (const QString &part : parts) {
        const QString placeholder = QStringLiteral("%blog_%1_%2%").arg(page, part);
        QVERIFY2(html.contains(placeholder), qPrintable(placeholder));
    }
    // Every placeholder of the template is one that gets replaced.
    const QRegularExpression anyPlaceholder(QStringLiteral("%(blog_[a-z]+_[a-z]+|charset)%"));
    for (auto it = anyPlaceholder.globalMatch(html); it.hasNext();) {
        const QString found = it.next().captured(1);
        QVERIFY2(found == QLatin1String("charset") || parts.contains(found.section(QLatin1Char('_'), 2)),
                 qPrintable(found));
    }
    // Whole pages declare the export's character set; content goes inside
    // the host's page and must not open one of its own.
    QCOMPARE(html.contains(QLatin1String("%charset%")), wholePage);
    QCOMPARE(html.contains(QLatin1String("<html")), wholePage);
}

QTEST_GUILESS_MAIN(TestBlogBundleResources)
#include "tst_blogbundleresources.moc"

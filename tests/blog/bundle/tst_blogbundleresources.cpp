// The Blog bundle's resources as the build tree's Blog.qfplugin carries them.

#include "qfkit/plist/qfpropertylist.h"
#include "qfkit/support/qfbundle.h"
#include "qfkit/support/qfcalendarformat.h"
#include "qfkit/support/qfexception.h"

#include <QImage>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

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
    void stringTableKnowsKey_data();
    void stringTableKnowsKey();
    void formatTakesItsArguments_data();
    void formatTakesItsArguments();
    void stringTableTexts();
    void dateModifiers();
    void languageCodesAreFeedCodes();
    void defaultCategoriesAreDistinct();
    void enclosureTypes();
    void smiley_data();
    void smiley();
    void smileyCodesCannotSpoilEachOther();
    void image_data();
    void image();
    void pageTemplate_data();
    void pageTemplate();
};

void TestBlogBundleResources::propertyListParses_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("minimumCount");

    const int map = QMetaType::QVariantMap;
    QTest::newRow("languages") << "languages.plist" << map << 30;
    QTest::newRow("dates") << "dates.plist" << map << 12;
    QTest::newRow("rss") << "rss.plist" << map << 4;
    QTest::newRow("categories") << "categories.plist" << int(QMetaType::QVariantList) << 3;
    QTest::newRow("enclosures") << "enclosures.plist" << map << 16;
    QTest::newRow("smileys") << "smileys.plist" << map << 8;
    QTest::newRow("string table") << "en.lproj/Localizable.plist" << map << 60;
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
    const QString name = file.section(QLatin1Char('/'), -1).section(QLatin1Char('.'), 0, 0);
    QVERIFY(!QFBundle(kBundlePath).pathForResource(name, QStringLiteral("plist")).isEmpty());
}

void TestBlogBundleResources::stringTableKnowsKey_data()
{
    QTest::addColumn<QString>("key");

    // Every key the plugin, its generators, services and editor look up.
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
    QVERIFY(!table.value(key).toString().trimmed().isEmpty());
    QCOMPARE(QFBundle(kBundlePath).localizedString(key), table.value(key).toString());
}

void TestBlogBundleResources::formatTakesItsArguments_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("arguments");

    QTest::newRow("one export error") << "BlogExportErrorsAlertOneErrorMessageFormatString" << 1;
    QTest::newRow("several export errors") << "BlogExportErrorsAlertMultipleErrorsMessageFormatString" << 2;
    QTest::newRow("unreadable podcast") << "CouldNotReadPodcastAlertMessage" << 2;
    QTest::newRow("merge information") << "MergeCategoriesInformationFormatString" << 2;
    QTest::newRow("image notice") << "ITunesImageDeprecatedLabelFormatString" << 2;
    QTest::newRow("script file") << "AppleScriptFullPath" << 3;
    QTest::newRow("no arguments") << "RemoveEntries" << 0;
}

void TestBlogBundleResources::formatTakesItsArguments()
{
    QFETCH(QString, key);
    QFETCH(int, arguments);

    QString filled = stringTable().value(key).toString();
    QVERIFY(!filled.isEmpty());
    QVERIFY2(!filled.contains(QStringLiteral("%%1").arg(arguments + 1)), "an argument nobody fills");
    for (int n = 1; n <= arguments; ++n)
        filled = filled.arg(QStringLiteral("<arg%1>").arg(n));
    for (int n = 1; n <= arguments; ++n)
        QVERIFY(filled.contains(QStringLiteral("<arg%1>").arg(n)));
    QVERIFY2(!filled.contains(QRegularExpression(QStringLiteral("%\\d"))), qPrintable(filled));
}

void TestBlogBundleResources::stringTableTexts()
{
    const QVariantMap table = stringTable();
    // Qt fills %1, %2 ...; a "%@" or "%d" would reach the user as it stands.
    const QRegularExpression foreign(QStringLiteral("%(@|l?[dus]|qu)"));
    for (auto it = table.cbegin(); it != table.cend(); ++it)
        QVERIFY2(it->typeId() == QMetaType::QString && !it->toString().contains(foreign), qPrintable(it.key()));

    // Texts written into published pages unescaped, maybe as ISO-8859-1.
    for (const char *key : {"RSSFeedLinkName", "PermalinkName", "ReadMoreName", "NoTitle", "NoneCategoryName"}) {
        const QString text = table.value(QLatin1String(key)).toString();
        QVERIFY2(!text.isEmpty(), key);
        for (const QChar c : text)
            QVERIFY2(c.unicode() >= 0x20 && c.unicode() < 0x7f && !QStringLiteral("<>&\"'").contains(c), key);
    }
}

void TestBlogBundleResources::dateModifiers()
{
    // Every fragment formats without leftover specifiers, and fragments are
    // unique because exchanged pages look the names up by them.
    const QVariantMap dates = readPlist(QStringLiteral("dates.plist")).toMap();
    QSet<QString> seen;
    for (auto it = dates.cbegin(); it != dates.cend(); ++it) {
        const QString fragment = it->toString();
        const QString text = QFCalendarFormat::format(QDateTime(QDate(2024, 11, 30), QTime(9, 41, 59)), fragment);
        if (fragment == QLatin1String("%%"))
            QCOMPARE(text, QStringLiteral("%"));
        else
            QVERIFY2(!text.contains(QLatin1Char('%')), qPrintable(it.key()));
        QVERIFY2(!seen.contains(fragment), qPrintable(it.key()));
        seen.insert(fragment);
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
    QVERIFY(languages.contains(stringTable().value(QStringLiteral("defaultLanguage")).toString()));
}

void TestBlogBundleResources::defaultCategoriesAreDistinct()
{
    // The blog drops names equal ignoring case: a clash loses a default category.
    const QVariantList names = readPlist(QStringLiteral("categories.plist")).toList();
    QSet<QString> seen{stringTable().value(QStringLiteral("NoneCategoryName")).toString().toCaseFolded()};
    for (const QVariant &name : names) {
        QVERIFY(!name.toString().isEmpty());
        QVERIFY2(!seen.contains(name.toString().toCaseFolded()), qPrintable(name.toString()));
        seen.insert(name.toString().toCaseFolded());
    }
}

void TestBlogBundleResources::enclosureTypes()
{
    const QVariantMap types = readPlist(QStringLiteral("enclosures.plist")).toMap();
    QCOMPARE(types.value(QStringLiteral("mp3")).toString(), QStringLiteral("audio/mpeg"));
    QCOMPARE(types.value(QStringLiteral("m4a")).toString(), QStringLiteral("audio/x-m4a"));
    QCOMPARE(types.value(QStringLiteral("m4v")).toString(), QStringLiteral("video/x-m4v"));
    QCOMPARE(types.value(QStringLiteral("pdf")).toString(), QStringLiteral("application/pdf"));
    // The lookup lower-cases the file's extension: any other key is unreachable.
    const QRegularExpression mime(QStringLiteral("^(audio|video|application)/[a-z0-9.+-]+$"));
    for (auto it = types.cbegin(); it != types.cend(); ++it) {
        QVERIFY2(it.key() == it.key().toLower() && !it.key().startsWith(QLatin1Char('.')), qPrintable(it.key()));
        QVERIFY2(mime.match(it->toString()).hasMatch(), qPrintable(it->toString()));
    }
}

void TestBlogBundleResources::smiley_data()
{
    QTest::addColumn<QVariantMap>("entry");
    const QVariantMap smileys = readPlist(QStringLiteral("smileys.plist")).toMap();
    for (auto it = smileys.cbegin(); it != smileys.cend(); ++it)
        QTest::newRow(qPrintable(it.key())) << it->toMap();
}

void TestBlogBundleResources::smiley()
{
    QFETCH(QVariantMap, entry);
    const QString image = entry.value(QStringLiteral("image")).toString();
    QVERIFY2(kSmileyImages.contains(image), "not one of the images every export copies");
    QVERIFY(!entry.value(QStringLiteral("alttag")).toString().isEmpty());

    QImage picture(resource(image + QStringLiteral(".png")));
    QVERIFY2(!picture.isNull(), qPrintable(image));
    QCOMPARE(picture.size(), QSize(21, 21)); // the img element says 21 by 21
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
        QVERIFY2(!code.contains(QRegularExpression(QStringLiteral("[<>\"]"))), qPrintable(code));
        for (int j = 0; j < i; ++j)
            QVERIFY2(!code.contains(codes.at(j)), qPrintable(codes.at(j) + QStringLiteral(" inside ") + code));
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
    QCOMPARE(QImage(resource(file)).size(), size);
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
    // A missing placeholder leaves that part off every page of its kind.
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
    const QRegularExpression anyPlaceholder(QStringLiteral("%(blog_[a-z]+_[a-z]+|charset)%"));
    for (auto it = anyPlaceholder.globalMatch(html); it.hasNext();) {
        const QString found = it.next().captured(1);
        QVERIFY2(found == QLatin1String("charset") || parts.contains(found.section(QLatin1Char('_'), 2)),
                 qPrintable(found));
    }
    QCOMPARE(html.contains(QLatin1String("%charset%")), wholePage);
    QCOMPARE(html.contains(QLatin1String("<html")), wholePage);
}

QTEST_GUILESS_MAIN(TestBlogBundleResources)
#include "tst_blogbundleresources.moc"

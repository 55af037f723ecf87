#include "qfkit/support/qflink.h"
#include "qfkit/text/qfhtmlexporter.h"
#include "../coding/qftestsupport.h"

#include <QBuffer>
#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

namespace {
const QVariantMap kBold{{kQFBoldAttributeName, true}};
const QVariantMap kItalic{{kQFItalicAttributeName, true}};
const QVariantMap kRaw{{kQFTextViewIgnoreFormattingAttributeName, true}};
// Qt reads GIF but cannot write it: a 1x1 GIF made by hand.
const QByteArray kTinyGIF = QByteArray::fromHex("47494638396101000100800000ffffff00000021f90401000000002c00000000"
                                                "010001000002024401003b");

QVariantMap linkTo(const QFLink &link, const QString &toolTip = QString())
{
    QVariantMap attributes{{kQFLinkAttributeName, link.toVariantMap()}};
    if (!toolTip.isEmpty())
        attributes.insert(kQFToolTipAttributeName, toolTip);
    return attributes;
}

QByteArray imageBytes(const char *format, int width = 4, int height = 3)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return data;
}

// Knows one page, "page-1", whose sub-page "permalink:N" is
// files/permalink-N.html, depthCorrection folders up.
class SiteResolver : public QFLinkStyleResolver
{
public:
    std::optional<QString> hrefForInternalLink(const QFLink &link, int depthCorrection) const override
    {
        if (link.pageID() != "page-1")
            return std::nullopt;
        return QStringLiteral("../").repeated(depthCorrection) + "files/" + file(link);
    }
    std::optional<QString> hrefForInternalLink(const QFLink &link, int depthCorrection, QFLinkStyle style) const override
    {
        if (style != QFLinkStyle::Absolute || link.pageID() != "page-1")
            return hrefForInternalLink(link, depthCorrection);
        return "https://example.org/blog/files/" + file(link);
    }

private:
    static QString file(const QFLink &link)
    {
        return link.subPageID().isEmpty() ? QStringLiteral("index.html") : QString(link.subPageID()).replace(u':', u'-') + ".html";
    }
};

using QFTest::raised;

QString exportBody(const QFStyledText &text, const QFLinkResolver *resolver = nullptr, int depth = 0,
                   int linkStyle = 0)
{
    return QFHTMLExporter().exportAttributedString(text, QString(), QString(), "img", "%body%", "body", resolver,
                                                   depth, QFHTMLExporter::Publish, linkStyle);
}
} // namespace

class tst_QFHTMLExporter : public QObject
{
    Q_OBJECT

private slots:
    void goldenEntry();
    void blocks_data();
    void blocks();
    void links_data();
    void links();
    void imageNames_data();
    void imageNames();
    void unchangedImagesNotRewritten();
    void unwritableFolderRaises();
    void templateReplacement();
};

void tst_QFHTMLExporter::goldenEntry()
{
    const QVariantMap markdown{{kQFMarkupDirectiveNameKey, "filter"}, {kQFMarkupDirectiveMarkdownKey, "Markdown"}};
    QFStyledText text;
    text.append("Hello ")
        .append("bold", kBold)
        .append(" world, see ")
        .append("this post", linkTo(QFLink::internalLink("page-1", "permalink:3"), "Read it"))
        .append(".\n")
        .append(" A caption\n")
        .append("<div class=\"raw\">\n<span>kept & raw</span>\n</div>", kRaw)
        .append("\n")
        .append("# Heading\n\n*Emphasis* & <b>html</b>\n", {{kQFTextViewMarkupDirectivesAttributeName, markdown}})
        .append(u"Last & <final> line\u2028second half"_qs);
    const QByteArray png = imageBytes("PNG");
    text.insertAttachment(text.plainString().indexOf(" A caption"), png, "photo.png");

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString toPath = dir.filePath("QFBlogPlugin");
    SiteResolver resolver;
    const QString html = QFHTMLExporter().exportAttributedString(text, toPath, "files", "blog_entry1",
                                                                 "%blog_entry1%", "blog_entry1", &resolver, 0);

    const QString golden = QFINDTESTDATA("data/golden_entry.html");
    QVERIFY2(!golden.isEmpty(), "golden file missing");
    QCOMPARE(html, QString::fromUtf8(QFTest::readFile(golden)));
    QCOMPARE(QFTest::readFile(toPath + "/blog_entry1_1.png"), png);
    QCOMPARE(QDir(toPath).entryList(QDir::Files), QStringList{"blog_entry1_1.png"});
}

void tst_QFHTMLExporter::blocks_data()
{
    QTest::addColumn<QFStyledText>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("each line a paragraph, blank lines dropped")
        << QFStyledText("one\n\n  \ntwo\r\nthree") << "<p>one</p>\n<p>two</p>\n<p>three</p>\n";
    QTest::newRow("overlapping styles nest")
        << QFStyledText("a", kBold).append("b", {{kQFBoldAttributeName, true}, {kQFItalicAttributeName, true}})
               .append("c", kItalic)
        << "<p><strong>a<em>b</em></strong><em>c</em></p>\n";
    QTest::newRow("inline raw stays in its paragraph")
        << QFStyledText("See ", kBold).append("<abbr>HTML</abbr>", kRaw).append(" now", kBold)
        << "<p><strong>See </strong><abbr>HTML</abbr><strong> now</strong></p>\n";
    QTest::newRow("multi-line raw ends the paragraph")
        << QFStyledText("before ").append("<pre>\n1 < 2\n</pre>", kRaw).append(" after")
        << "<p>before </p>\n<pre>\n1 < 2\n</pre>\n<p> after</p>\n";
    QTest::newRow("textile is escaped text")
        << QFStyledText("h1. Title & more\n\n*bold*", {{kQFTextViewMarkupDirectivesAttributeName,
                                                       QVariantMap{{kQFMarkupDirectiveNameKey, "filter"},
                                                                   {kQFMarkupDirectiveStyleKey, "Textile"}}}})
        << "<p>h1. Title &amp; more</p>\n<p>*bold*</p>\n";
    QTest::newRow("object character without attachment is dropped")
        << QFStyledText(u"a\uFFFCb\n\uFFFC"_qs) << "<p>ab</p>\n";
}

void tst_QFHTMLExporter::blocks()
{
    QFETCH(QFStyledText, text);
    QFETCH(QString, expected);
    QCOMPARE(exportBody(text), expected);
}

void tst_QFHTMLExporter::links_data()
{
    QTest::addColumn<QVariantMap>("attributes");
    QTest::addColumn<bool>("resolved");
    QTest::addColumn<int>("depth");
    QTest::addColumn<int>("linkStyle");
    QTest::addColumn<QString>("expected");

    const QVariantMap permalink = linkTo(QFLink::internalLink("page-1", "permalink:7"), "Tom & Jerry");
    QTest::newRow("internal") << permalink << true << 0 << 0
                              << "<a href=\"files/permalink-7.html\" title=\"Tom &amp; Jerry\">text</a>";
    QTest::newRow("internal, a folder deeper") << permalink << true << 1 << 0
                                               << "<a href=\"../files/permalink-7.html\" title=\"Tom &amp; Jerry\">text</a>";
    QTest::newRow("internal, absolute style")
        << permalink << true << 0 << 2
        << "<a href=\"https://example.org/blog/files/permalink-7.html\" title=\"Tom &amp; Jerry\">text</a>";
    QTest::newRow("internal to a missing page is text") << linkTo(QFLink::internalLink("gone")) << true << 0 << 0 << "text";
    QTest::newRow("internal without a resolver is text")
        << permalink << false << 0 << 0 << "<span title=\"Tom &amp; Jerry\">text</span>";
    QVariantMap boldLink = linkTo(QFLink::externalLink("http://x.org/?a=1&b=\"2\""));
    boldLink.insert(kQFBoldAttributeName, true);
    QTest::newRow("external URL escaped, bold inside the link")
        << boldLink << false << 0 << 0 << "<a href=\"http://x.org/?a=1&amp;b=&quot;2&quot;\"><strong>text</strong></a>";
}

void tst_QFHTMLExporter::links()
{
    QFETCH(QVariantMap, attributes);
    QFETCH(bool, resolved);
    QFETCH(int, depth);
    QFETCH(int, linkStyle);
    QFETCH(QString, expected);

    const SiteResolver site;
    QCOMPARE(exportBody(QFStyledText("text", attributes), resolved ? &site : nullptr, depth, linkStyle), "<p>" + expected + "</p>\n");
}

void tst_QFHTMLExporter::imageNames_data()
{
    QTest::addColumn<QString>("imagesFolder");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("img");

    const QByteArray png = imageBytes("PNG", 2, 5);
    QTest::newRow("no images folder: bare name")
        << "" << "p" << png << "a.png" << "p_1.png" << "<img src=\"p_1.png\" alt=\"a.png\" width=\"2\" height=\"5\" />";
    QTest::newRow("folder with slash kept")
        << "https://example.org/blog/files/" << "p" << png << "a.png" << "p_1.png"
        << "<img src=\"https://example.org/blog/files/p_1.png\" alt=\"a.png\" width=\"2\" height=\"5\" />";
    QTest::newRow("no name: sniffed gif")
        << "" << "p" << kTinyGIF << "" << "p_1.gif" << "<img src=\"p_1.gif\" alt=\"\" width=\"1\" height=\"1\" />";
    QTest::newRow("unreadable data: png, no size")
        << "" << "p" << QByteArray("????") << "odd name.\"><script>" << "p_1.png"
        << "<img src=\"p_1.png\" alt=\"odd name.&quot;&gt;&lt;script&gt;\" />";
    QTest::newRow("prefix cannot leave the folder or hide")
        << "" << "../up" << png << "a.png" << "___up_1.png"
        << "<img src=\"___up_1.png\" alt=\"a.png\" width=\"2\" height=\"5\" />";
}

void tst_QFHTMLExporter::imageNames()
{
    QFETCH(QString, imagesFolder);
    QFETCH(QString, prefix);
    QFETCH(QByteArray, data);
    QFETCH(QString, fileName);
    QFETCH(QString, written);
    QFETCH(QString, img);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QFStyledText text;
    text.insertAttachment(0, data, fileName);
    const QString html = QFHTMLExporter().exportAttributedString(text, dir.path(), imagesFolder, prefix, "%t%", "t",
                                                                 nullptr, 0);
    QCOMPARE(html, "<p>" + img + "</p>\n");
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{written});
    QCOMPARE(QFTest::readFile(dir.filePath(written)), data);
}

void tst_QFHTMLExporter::unchangedImagesNotRewritten()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QFStyledText text("Two pictures: ");
    text.insertAttachment(text.length(), imageBytes("PNG"), "a.png");
    text.insertAttachment(text.length(), imageBytes("PNG", 8, 8), "b.png");
    const QFHTMLExporter exporter;
    const QString first = exporter.exportAttributedString(text, dir.path(), "", "e", "%x%", "x", nullptr, 0);

    const QDateTime old = QDateTime::currentDateTimeUtc().addDays(-3);
    for (const char *name : {"e_1.png", "e_2.png"}) {
        QFile f(dir.filePath(name));
        QVERIFY(f.open(QIODevice::ReadWrite));
        QVERIFY(f.setFileTime(old, QFileDevice::FileModificationTime));
    }

    // Same text again: same HTML, files untouched. Then the second picture changes.
    QCOMPARE(exporter.exportAttributedString(text, dir.path(), "", "e", "%x%", "x", nullptr, 0), first);
    QFStyledText edited = text;
    edited.replace(text.length() - 1, 1, QFStyledText());
    edited.insertAttachment(edited.length(), imageBytes("PNG", 8, 9), "b.png");
    exporter.exportAttributedString(edited, dir.path(), "", "e", "%x%", "x", nullptr, 0);

    QCOMPARE(QFileInfo(dir.filePath("e_1.png")).lastModified().toSecsSinceEpoch(), old.toSecsSinceEpoch());
    QVERIFY(QFileInfo(dir.filePath("e_2.png")).lastModified() > old.addDays(1));
    QCOMPARE(QImage(dir.filePath("e_2.png")).size(), QSize(8, 9));
}

void tst_QFHTMLExporter::unwritableFolderRaises()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString notAFolder = dir.filePath("plain-file");
    QVERIFY(QFTest::writeFile(notAFolder, QByteArray()));

    QFStyledText text;
    text.insertAttachment(0, imageBytes("PNG"), "a.png");
    const QFException e = raised(
        [&] { QFHTMLExporter().exportAttributedString(text, notAFolder + "/images", "", "e", "%x%", "x", nullptr, 0); });
    QCOMPARE(e.name(), "Export Error");
    QVERIFY2(e.reason().contains(notAFolder), qPrintable(e.reason()));
}

// Every occurrence of the tag is replaced; a tag it merely starts, or one
// longer than it, is not.
void tst_QFHTMLExporter::templateReplacement()
{
    const auto fill = [](const QString &htmlTemplate, const QString &tag) {
        return QFHTMLExporter().exportAttributedString(QFStyledText("Hi"), QString(), QString(), "p", htmlTemplate, tag, nullptr, 0);
    };
    QCOMPARE(fill("<div>%c%</div>%c%%c2%%other%", "c"), "<div><p>Hi</p>\n</div><p>Hi</p>\n%c2%%other%");
    QCOMPARE(fill("%blog_entry1%", "blog_entry12"), "%blog_entry1%");
}

QTEST_GUILESS_MAIN(tst_QFHTMLExporter)
#include "tst_qfhtmlexporter.moc"

#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflink.h"
#include "qfkit/text/qfstyledtext.h"

#include <QBuffer>
#include <QImage>
#include <QtTest>

namespace {
const QVariantMap kBold{{kQFBoldAttributeName, true}};
const QVariantMap kItalic{{kQFItalicAttributeName, true}};

QByteArray imageBytes(const char *format, QColor color = Qt::red)
{
    QImage image(4, 3, QImage::Format_RGB32);
    image.fill(color);
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return data;
}

// "runs" as "start+length:key,key|…" so failures show what went wrong.
QString describe(const QFStyledText &text)
{
    QStringList parts;
    for (const QFStyledTextRun &run : text.runs())
        parts << QStringLiteral("%1+%2:%3").arg(run.start).arg(run.length).arg(run.attributes.keys().join(u','));
    return parts.join(u'|');
}

// Writes what a damaged or foreign document might hold under the class name.
class ForgedText final : public QFCoding
{
public:
    ForgedText(QVariant string, QVariant runs) : m_string(std::move(string)), m_runs(std::move(runs)) {}
    QString codingClassName() const override { return QStringLiteral("QFStyledText"); }
    void encodeWithKeyedCoder(QFKeyedArchiver &coder) const override
    {
        coder.encodeObject(m_string, QStringLiteral("string"));
        coder.encodeObject(m_runs, QStringLiteral("runs"));
    }

private:
    QVariant m_string;
    QVariant m_runs;
};

QVariant run(qint64 length, const QVariantMap &attributes = QVariantMap())
{
    return QVariantList{length, attributes};
}

QFStyledText richSample()
{
    QVariantMap font{{kQFFontFamilyKey, "Monaco"}, {kQFFontSizeKey, 10.0}};
    QVariantMap markdown{{kQFMarkupDirectiveNameKey, "filter"}, {kQFMarkupDirectiveMarkdownKey, "Markdown"}};
    QVariantList cache{QVariantMap{{"ImagePrefix", "x"}, {"Depth", 1}}, QVariantList{"nested", 2.5, false}};
    QFStyledText text;
    text.append("Bold ", kBold)
        .append("link", {{kQFLinkAttributeName, QFLink::internalLink("page-1", "permalink:3").toVariantMap()},
                         {kQFToolTipAttributeName, u"Tip “quoted”"_qs}})
        .append(" raw <b>x</b>", {{kQFTextViewIgnoreFormattingAttributeName, true}})
        .append("\n# Title\n", {{kQFTextViewMarkupDirectivesAttributeName, markdown}, {kQFFontAttributeName, font}})
        .append(u"emoji 🍕 "_qs, {{"QFBlogEntryCacheData", cache}, {kQFUnderlineAttributeName, true}});
    text.insertAttachment(5, imageBytes("PNG"), "pic.png");
    return text;
}
} // namespace

class tst_QFStyledText : public QObject
{
    Q_OBJECT

private slots:
    void editsKeepRunsCanonical_data();
    void editsKeepRunsCanonical();
    void attachmentsInTextOrder();
    void archiveRoundTrip();
    void readsArchives_data();
    void readsArchives();
    void normaliseImages_data();
    void normaliseImages();
};

void tst_QFStyledText::editsKeepRunsCanonical_data()
{
    QTest::addColumn<QFStyledText>("text");
    QTest::addColumn<QString>("string");
    QTest::addColumn<QString>("runs");

    QTest::newRow("empty text has no runs") << QFStyledText("", kBold) << "" << "";
    QTest::newRow("equal neighbours merge on append")
        << QFStyledText("ab", kBold).append("cd", kBold).append("ef") << "abcdef" << "0+4:QFBold|4+2:";

    QFStyledText split("abcdef");
    split.addAttribute(kQFBoldAttributeName, true, 2, 2);
    QTest::newRow("attribute in the middle splits") << split << "abcdef" << "0+2:|2+2:QFBold|4+2:";

    QFStyledText overlapping("abcdef");
    overlapping.addAttributes(kBold, 0, 4);
    overlapping.addAttributes(kItalic, 2, 4);
    QTest::newRow("overlapping ranges") << overlapping << "abcdef" << "0+2:QFBold|2+2:QFBold,QFItalic|4+2:QFItalic";

    QFStyledText replaced = overlapping;
    replaced.setAttributes(QVariantMap(), 1, 4);
    QTest::newRow("setAttributes replaces all") << replaced << "abcdef" << "0+1:QFBold|1+4:|5+1:QFItalic";

    QFStyledText removed("aaBBaa");
    removed.addAttribute(kQFBoldAttributeName, true, 2, 2);
    removed.remove(2, 2);
    QTest::newRow("removing the odd run merges its neighbours") << removed << "aaaa" << "0+4:";

    QFStyledText inserted("abcd", kBold);
    inserted.insert(2, QFStyledText("XY", kItalic));
    QTest::newRow("insert inside a run") << inserted << "abXYcd" << "0+2:QFBold|2+2:QFItalic|4+2:QFBold";

    QFStyledText clipped("abc");
    clipped.addAttribute(kQFBoldAttributeName, true, 2, 100);
    clipped.addAttribute(kQFItalicAttributeName, true, -5, 6);
    QTest::newRow("ranges clipped to the text") << clipped << "abc" << "0+1:QFItalic|1+1:|2+1:QFBold";

    const QFStyledText three = QFStyledText("plain ").append("BOLD", kBold).append(" italic", kItalic);
    QTest::newRow("mid across three runs") << three.mid(3, 10) << "in BOLD it" << "0+3:|3+4:QFBold|7+3:QFItalic";
    QTest::newRow("mid to the end") << three.mid(11, -1) << "italic" << "0+6:QFItalic";
    QTest::newRow("mid of nothing") << three.mid(4, 0) << "" << "";
}

void tst_QFStyledText::editsKeepRunsCanonical()
{
    QFETCH(QFStyledText, text);
    QFETCH(QString, string);
    QFETCH(QString, runs);
    QCOMPARE(text.plainString(), string);
    QCOMPARE(describe(text), runs);
}

void tst_QFStyledText::attachmentsInTextOrder()
{
    QFStyledText text("ab");
    const QByteArray first = imageBytes("PNG");
    text.insertAttachment(1, first, "one.png");
    text.insertAttachment(0, first, "zero.png");
    text.insertAttachment(3, first, "one.png"); // the same as its neighbour: the runs merge
    text.append(QString(QChar(kQFAttachmentCharacter))); // no attachment attribute: not an attachment
    const QList<QFStyledTextAttachment> attachments = text.attachments();
    QCOMPARE(attachments.size(), 3);
    QCOMPARE(attachments.at(0).index, 0);
    QCOMPARE(attachments.at(0).fileName, "zero.png");
    QCOMPARE(attachments.at(1).index, 2);
    QCOMPARE(attachments.at(2).index, 3);
    QCOMPARE(attachments.at(2).data, first);
}

void tst_QFStyledText::archiveRoundTrip()
{
    for (const QFStyledText &text : {QFStyledText(), richSample()}) {
        const QFStyledText back = QFStyledText::fromKeyedArchive(text.toKeyedArchive());
        QCOMPARE(back.plainString(), text.plainString());
        QCOMPARE(describe(back), describe(text));
        QVERIFY(back == text);
        QCOMPARE(back.attachments().size(), text.attachments().size());

        // Inside a plugin's record a text travels as an object in a dictionary.
        QFArchiver archiver;
        archiver.encodeObject(QVariantMap{{QStringLiteral("entry"), QFCodingSupport::variantFromObject(std::make_shared<QFStyledText>(text))}});
        archiver.encodeObject(QStringLiteral("next"));
        QFUnarchiver unarchiver(archiver.data());
        const auto decoded = QFCodingSupport::objectOfClass<QFStyledText>(unarchiver.decodeObject().toMap().value(QStringLiteral("entry")));
        QVERIFY(decoded && *decoded == text);
        QCOMPARE(unarchiver.decodeObject().toString(), QStringLiteral("next"));
    }
}

void tst_QFStyledText::readsArchives_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("runs"); // empty: must be rejected

    auto forge = [](const QVariant &string, const QVariant &runs) {
        return QFKeyedArchiver::archivedDataWithRootObject(ForgedText(string, runs));
    };
    // The archive reader's own refusals are tested with it; here that they reach the caller.
    const QByteArray good = richSample().toKeyedArchive();
    QTest::newRow("truncated") << good.left(good.size() / 2) << "";
    QTest::newRow("unmerged equal runs are merged")
        << forge("abcd", QVariantList{run(1, kBold), run(1, kBold), run(2)}) << "0+2:QFBold|2+2:";
    QTest::newRow("no runs: plain text") << forge("abc", QVariant()) << "0+3:";
    QTest::newRow("runs too short") << forge("abcd", QVariantList{run(3)}) << "";
    QTest::newRow("zero length run") << forge("ab", QVariantList{run(0), run(2)}) << "";
    QTest::newRow("length is text") << forge("ab", QVariantList{QVariantList{"2", QVariantMap()}}) << "";
    QTest::newRow("runs not a list") << forge("ab", QVariantMap{{"0", 2}}) << "";
    QTest::newRow("root is a plain string")
        << QFKeyedArchiver::archivedDataWithRootObject(QVariant("just a string")) << "";
}

void tst_QFStyledText::readsArchives()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, runs);
    try {
        const QFStyledText text = QFStyledText::fromKeyedArchive(data);
        QVERIFY2(!runs.isEmpty(), "a bad archive was accepted");
        QCOMPARE(describe(text), runs);
    } catch (const QFException &e) {
        QVERIFY2(runs.isEmpty(), qPrintable(e.reason()));
        QCOMPARE(e.name(), "Malformed Archive");
    }
}

void tst_QFStyledText::normaliseImages_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<unsigned>("changed");
    QTest::addColumn<QString>("newName");
    QTest::addColumn<bool>("isPNG");

    QTest::newRow("BMP becomes PNG") << imageBytes("BMP") << "Photo.final.bmp" << 1u << "Photo.final.png" << true;
    QTest::newRow("JPEG stays") << imageBytes("JPG") << "pic.jpeg" << 0u << "pic.jpeg" << false;
    QTest::newRow("unnamed PNG gets a name") << imageBytes("PNG") << "" << 1u << "image-2.png" << true;
    QTest::newRow("unreadable data left alone") << QByteArray("not an image") << "x.tiff" << 0u << "x.tiff" << false;
}

void tst_QFStyledText::normaliseImages()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, fileName);
    QFETCH(unsigned, changed);
    QFETCH(QString, newName);
    QFETCH(bool, isPNG);

    QFStyledText text("Before  after.", kBold);
    text.insertAttachment(0, imageBytes("PNG"), "first.png"); // already fine
    text.insertAttachment(8, data, fileName);
    QCOMPARE(text.normaliseImageAttachments(), changed);

    const QList<QFStyledTextAttachment> attachments = text.attachments();
    QCOMPARE(attachments.size(), 2);
    QCOMPARE(attachments.at(1).fileName, newName);
    QCOMPARE(attachments.at(1).data.startsWith("\x89PNG"), isPNG);
    if (isPNG)
        QCOMPARE(QImage::fromData(attachments.at(1).data).size(), QSize(4, 3));
    QCOMPARE(text.plainString(), QString(u"\uFFFCBefore \uFFFC after."_qs));
    QCOMPARE(text.attribute(kQFBoldAttributeName, 1), QVariant(true));

    QCOMPARE(text.normaliseImageAttachments(), 0u);
}

QTEST_GUILESS_MAIN(tst_QFStyledText)
#include "tst_qfstyledtext.moc"

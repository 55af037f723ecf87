// Rich text bodies come from site documents, pasted text and imports: any
// characters in any ranges, Markdown and raw HTML included, with attachments
// whose image bytes may be anything. The input is cut at 0x01 bytes into
// pieces; each piece's first byte picks its attributes and the rest is its
// text (or, for an attachment, its image bytes). The whole input is also read
// as a stored styled text.
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflink.h"
#include "qfkit/text/qfhtmlexporter.h"
#include "qfkit/text/qfstrings.h"
#include "qfkit/text/qfstyledtext.h"

#include <QByteArray>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

class FuzzResolver final : public QFLinkStyleResolver
{
public:
    using QFLinkStyleResolver::hrefForInternalLink;
    std::optional<QString> hrefForInternalLink(const QFLink &link, int depthCorrection) const override
    {
        if (link.pageID().size() % 2)
            return std::nullopt;
        return (depthCorrection ? QString() : QStringLiteral("files/")) + link.subPageID();
    }
};

QVariantMap attributesFor(unsigned char selector, const QString &text)
{
    QVariantMap a;
    switch (selector % 9) {
    case 1: a.insert(kQFBoldAttributeName, true); break;
    case 2:
        a.insert(kQFItalicAttributeName, true);
        a.insert(kQFLinkAttributeName, QFLink::internalLink(QString::fromUtf8(text.left(3).toUtf8()), text).toVariantMap());
        break;
    case 3: a.insert(kQFTextViewIgnoreFormattingAttributeName, true); break;
    case 4:
        a.insert(kQFTextViewMarkupDirectivesAttributeName,
                 QVariantMap{{kQFMarkupDirectiveNameKey, kQFMarkupDirectiveFilterName},
                             {kQFMarkupDirectiveMarkdownKey, QStringLiteral("Markdown")}});
        break;
    case 5:
        a.insert(kQFTextViewMarkupDirectivesAttributeName,
                 QVariantMap{{kQFMarkupDirectiveNameKey, kQFMarkupDirectiveFilterName},
                             {kQFMarkupDirectiveStyleKey, QStringLiteral("Textile")}});
        break;
    case 7:
        a.insert(kQFUnderlineAttributeName, true);
        a.insert(kQFToolTipAttributeName, text);
        a.insert(kQFLinkAttributeName, QFLink::externalLink(text).toVariantMap());
        break;
    case 8:
        a.insert(kQFBoldAttributeName, true);
        a.insert(kQFTextViewMarkupDirectivesAttributeName,
                 QVariantMap{{kQFMarkupDirectiveMarkdownKey, QStringLiteral("MultiMarkdown")}});
        break;
    default: break;
    }
    return a;
}

void exportText(const QFStyledText &text, const QString &folder, int flavour)
{
    static const FuzzResolver resolver;
    QFHTMLExporter().exportAttributedString(text, folder, flavour ? QStringLiteral("files") : QString(),
                                            QStringLiteral("fuzz"), QStringLiteral("<div>%c%</div>"),
                                            QStringLiteral("c"), &resolver, flavour % 2, 0, flavour);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir folder;
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));

    try {
        QFStyledText stored = QFStyledText::fromKeyedArchive(bytes);
        exportText(stored, folder.path(), 0);
        stored.normaliseImageAttachments();
    } catch (const QFException &) {
    }

    QFStyledText text;
    for (const QByteArray &piece : bytes.split('\x01')) {
        if (piece.isEmpty())
            continue;
        const unsigned char selector = static_cast<unsigned char>(piece.at(0));
        const QByteArray body = piece.mid(1);
        if (selector % 9 == 6) {
            text.insertAttachment(selector % (text.length() + 1), body, QString::fromUtf8(body.left(12)));
            continue;
        }
        const QString string = QString::fromUtf8(body);
        text.append(string, attributesFor(selector, string));
        if (selector & 0x80)
            text.remove(selector % (text.length() + 1), selector % 5);
    }

    const int flavour = size ? data[0] % 3 : 0;
    exportText(text, folder.path(), flavour);

    // What is stored must come back as it was. Archives hold UTF-8, so half
    // a surrogate pair (left by the removals above) comes back as "?".
    const QFStyledText back = QFStyledText::fromKeyedArchive(text.toKeyedArchive());
    if (back.length() != text.length() || (text.plainString().isValidUtf16() && !(back == text)))
        std::abort();
    if (!(text.mid(0, text.length() / 2).append(text.mid(text.length() / 2)) == text))
        std::abort();

    int count = size ? data[size - 1] % 4 : 1;
    QFStrings::summarizeToSentences(text.plainString(), count);
    QFStrings::stringEscapedForLowercaseFilename(text.plainString());
    QFStrings::convertToNumericalReferences(text.plainString());
    QFStrings::dataUsingHTMLEscapes(text.plainString(), QStringLiteral("windows-1252"));
    return 0;
}

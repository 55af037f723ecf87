#include "qfhtmlexporter.h"

#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfimageformat.h"
#include "qfkit/text/qfstrings.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImageReader>

#include <cmark.h>
#include <cstdlib>

namespace {

// QString copies of the attribute names, so lookups do not convert per call.
const QString kBold = kQFBoldAttributeName;
const QString kItalic = kQFItalicAttributeName;
const QString kUnderline = kQFUnderlineAttributeName;
const QString kLink = kQFLinkAttributeName;
const QString kToolTip = kQFToolTipAttributeName;
const QString kAttachment = kQFAttachmentAttributeName;
const QString kAttachmentData = kQFAttachmentDataKey;
const QString kAttachmentFileName = kQFAttachmentFileNameKey;
const QString kDirectives = kQFTextViewMarkupDirectivesAttributeName;
const QString kIgnoreFormatting = kQFTextViewIgnoreFormattingAttributeName;
const QString kMarkdown = kQFMarkupDirectiveMarkdownKey;

enum class Block { Flow, Markdown, Filter };

bool isRaw(const QVariantMap &attributes)
{
    return attributes.value(kIgnoreFormatting).toBool();
}

// Raw HTML wins over a directive: the writer asked for the range untouched.
Block blockOf(const QVariantMap &attributes)
{
    if (isRaw(attributes))
        return Block::Flow;
    const QVariant directive = attributes.value(kDirectives);
    if (directive.typeId() != QMetaType::QVariantMap)
        return Block::Flow;
    const QVariantMap map = directive.toMap();
    if (map.contains(kMarkdown))
        return Block::Markdown;
    return map.isEmpty() ? Block::Flow : Block::Filter;
}

bool isLineBreak(QChar c)
{
    return c == u'\n' || c == u'\r' || c == u'\u2029';
}

QFLink linkFromVariant(const QVariant &value)
{
    if (value.typeId() == QMetaType::QVariantMap)
        return QFLink::fromVariantMap(value.toMap());
    if (value.typeId() == QMetaType::QString)
        return QFLink::externalLink(value.toString());
    if (value.canConvert<QFLink>())
        return value.value<QFLink>();
    return QFLink();
}

struct Tag
{
    QString open;
    QString close;
};

struct Piece
{
    qsizetype start;
    qsizetype end;
    const QVariantMap *attributes;
    bool raw;
};

// One export: walks the runs once, writing blocks into m_out.
class Writer
{
public:
    Writer(const QFStyledText &text, const QString &toPath, const QString &imagesFolder, const QString &imagePrefix,
           const QFLinkResolver *resolver, int depthCorrection, QFLinkStyle linkStyle)
        : m_text(text)
        , m_string(text.plainString())
        , m_toPath(toPath)
        , m_imagesFolder(imagesFolder)
        , m_resolver(resolver)
        , m_depthCorrection(depthCorrection)
        , m_linkStyle(linkStyle)
    {
        m_imagePrefix = imagePrefix.isEmpty() ? QStringLiteral("image") : imagePrefix;
        m_imagePrefix.replace(u'/', u'_').replace(u'\\', u'_');
        for (qsizetype i = 0; i < m_imagePrefix.size() && m_imagePrefix.at(i) == u'.'; ++i)
            m_imagePrefix[i] = u'_';
    }

    QString write()
    {
        const QList<QFStyledTextRun> &runs = m_text.runs();
        qsizetype first = 0;
        while (first < runs.size()) {
            const Block block = blockOf(runs.at(first).attributes);
            qsizetype last = first + 1;
            while (last < runs.size() && blockOf(runs.at(last).attributes) == block)
                ++last;
            if (block == Block::Markdown)
                writeMarkdown(first, last);
            else
                writeFlow(first, last, block == Block::Filter);
            first = last;
        }
        return m_out;
    }

private:
    void writeFlow(qsizetype first, qsizetype last, bool plain)
    {
        const QList<QFStyledTextRun> &runs = m_text.runs();
        for (qsizetype r = first; r < last; ++r) {
            const QFStyledTextRun &run = runs.at(r);
            if (!plain && isRaw(run.attributes)) {
                const QStringView raw = QStringView(m_string).mid(run.start, run.length);
                if (std::any_of(raw.begin(), raw.end(), isLineBreak)) {
                    endLine();
                    writeBlock(raw);
                } else {
                    m_line.append({run.start, run.end(), &run.attributes, true});
                }
                continue;
            }
            qsizetype start = run.start;
            for (qsizetype i = run.start; i < run.end(); ++i) {
                if (!isLineBreak(m_string.at(i)))
                    continue;
                if (i > start)
                    m_line.append({start, i, &run.attributes, false});
                endLine(plain);
                start = i + 1;
            }
            if (run.end() > start)
                m_line.append({start, run.end(), &run.attributes, false});
        }
        endLine(plain);
    }

    void writeMarkdown(qsizetype first, qsizetype last)
    {
        const QList<QFStyledTextRun> &runs = m_text.runs();
        QString source;
        for (qsizetype r = first; r < last; ++r) {
            const QFStyledTextRun &run = runs.at(r);
            for (qsizetype i = run.start; i < run.end(); ++i) {
                if (m_string.at(i) == kQFAttachmentCharacter)
                    source += attachmentHTML(run.attributes);
                else
                    source += m_string.at(i);
            }
        }
        const QByteArray utf8 = source.toUtf8();
        char *html = cmark_markdown_to_html(utf8.constData(), size_t(utf8.size()),
                                            CMARK_OPT_DEFAULT | CMARK_OPT_UNSAFE);
        if (html) {
            writeBlock(QString::fromUtf8(html));
            std::free(html);
        }
    }

    void writeBlock(QStringView html)
    {
        if (html.isEmpty())
            return;
        m_out += html;
        if (!html.endsWith(u'\n'))
            m_out += u'\n';
    }

    bool hasContent(const Piece &piece) const
    {
        for (qsizetype i = piece.start; i < piece.end; ++i) {
            const QChar c = m_string.at(i);
            if (c == kQFAttachmentCharacter) {
                if (piece.attributes->value(kAttachment).typeId() == QMetaType::QVariantMap)
                    return true;
            } else if (!c.isSpace()) {
                return true;
            }
        }
        return false;
    }

    void endLine(bool plain = false)
    {
        if (m_line.isEmpty())
            return;
        const bool paragraph = std::any_of(m_line.cbegin(), m_line.cend(),
                                           [this](const Piece &p) { return !p.raw && hasContent(p); });
        if (paragraph) {
            m_out += QLatin1StringView("<p>");
            for (const Piece &piece : std::as_const(m_line)) {
                if (piece.raw) {
                    closeTags(0);
                    m_out += QStringView(m_string).mid(piece.start, piece.end - piece.start);
                } else {
                    if (!plain)
                        openTags(tagsFor(piece.attributes));
                    writeText(piece);
                }
            }
            closeTags(0);
            m_out += QLatin1StringView("</p>\n");
        } else {
            bool wroteRaw = false;
            for (const Piece &piece : std::as_const(m_line)) {
                if (piece.raw) {
                    m_out += QStringView(m_string).mid(piece.start, piece.end - piece.start);
                    wroteRaw = true;
                }
            }
            if (wroteRaw)
                m_out += u'\n';
        }
        m_line.clear();
    }

    void writeText(const Piece &piece)
    {
        for (qsizetype i = piece.start; i < piece.end; ++i) {
            const QChar c = m_string.at(i);
            switch (c.unicode()) {
            case u'&': m_out += QLatin1StringView("&amp;"); break;
            case u'<': m_out += QLatin1StringView("&lt;"); break;
            case u'>': m_out += QLatin1StringView("&gt;"); break;
            case u'\u2028': m_out += QLatin1StringView("<br />"); break;
            case kQFAttachmentCharacter: m_out += attachmentHTML(*piece.attributes); break;
            default: m_out += c;
            }
        }
    }

    std::optional<QString> href(const QVariant &value) const
    {
        const QFLink link = linkFromVariant(value);
        if (link.isNull())
            return std::nullopt;
        if (!link.isInternal())
            return link.url();
        if (!m_resolver)
            return std::nullopt;
        if (m_linkStyle != QFLinkStyle::Relative) {
            if (auto styled = dynamic_cast<const QFLinkStyleResolver *>(m_resolver))
                return styled->hrefForInternalLink(link, m_depthCorrection, m_linkStyle);
        }
        return m_resolver->hrefForInternalLink(link, m_depthCorrection);
    }

    // Outermost first: link (or tool-tip span), strong, em, u.
    // A run cut into several lines is asked for several times: the last
    // answer is kept.
    const QList<Tag> &tagsFor(const QVariantMap *run)
    {
        if (run != m_tagsRun) {
            m_tagsRun = run;
            m_tags = run->isEmpty() ? QList<Tag>() : makeTags(*run);
        }
        return m_tags;
    }

    QList<Tag> makeTags(const QVariantMap &attributes) const
    {
        QList<Tag> tags;
        const QString toolTip = attributes.value(kToolTip).toString();
        const QString title = toolTip.isEmpty()
            ? QString()
            : QStringLiteral(" title=\"%1\"").arg(QFStrings::stringEscapedForHTMLAttribute(toolTip));
        const QVariant link = attributes.value(kLink);
        const std::optional<QString> target = link.isValid() ? href(link) : std::nullopt;
        if (target)
            tags.append({QStringLiteral("<a href=\"%1\"%2>").arg(QFStrings::stringEscapedForHTMLAttribute(*target), title),
                         QStringLiteral("</a>")});
        else if (!title.isEmpty())
            tags.append({QStringLiteral("<span%1>").arg(title), QStringLiteral("</span>")});
        if (attributes.value(kBold).toBool())
            tags.append({QStringLiteral("<strong>"), QStringLiteral("</strong>")});
        if (attributes.value(kItalic).toBool())
            tags.append({QStringLiteral("<em>"), QStringLiteral("</em>")});
        if (attributes.value(kUnderline).toBool())
            tags.append({QStringLiteral("<u>"), QStringLiteral("</u>")});
        return tags;
    }

    void openTags(const QList<Tag> &wanted)
    {
        qsizetype common = 0;
        while (common < m_open.size() && common < wanted.size() && m_open.at(common).open == wanted.at(common).open)
            ++common;
        closeTags(common);
        for (qsizetype i = common; i < wanted.size(); ++i) {
            m_out += wanted.at(i).open;
            m_open.append(wanted.at(i));
        }
    }

    void closeTags(qsizetype keep)
    {
        while (m_open.size() > keep) {
            m_out += m_open.constLast().close;
            m_open.removeLast();
        }
    }

    QString attachmentHTML(const QVariantMap &attributes)
    {
        const QVariant value = attributes.value(kAttachment);
        if (value.typeId() != QMetaType::QVariantMap)
            return QString();
        const QVariantMap attachment = value.toMap();
        const QByteArray data = attachment.value(kAttachmentData).toByteArray();
        const QString fileName = attachment.value(kAttachmentFileName).toString();

        QString suffix = QFImageFormat::safeSuffix(fileName);
        if (suffix.isEmpty())
            suffix = QFImageFormat::webImageSuffix(data);
        if (suffix.isEmpty())
            suffix = QStringLiteral("png");
        const QString name = QStringLiteral("%1_%2.%3").arg(m_imagePrefix).arg(++m_imageCount).arg(suffix);
        writeImageFile(name, data);

        const QString src = m_imagesFolder.isEmpty() ? name : QFStrings::appendForwardSlash(m_imagesFolder) + name;
        QString html = QStringLiteral("<img src=\"%1\" alt=\"%2\"")
                           .arg(QFStrings::stringEscapedForHTMLAttribute(src),
                                QFStrings::stringEscapedForHTMLAttribute(fileName));
        QBuffer buffer;
        buffer.setData(data);
        buffer.open(QIODevice::ReadOnly);
        const QSize size = QImageReader(&buffer).size();
        if (size.isValid())
            html += QStringLiteral(" width=\"%1\" height=\"%2\"").arg(size.width()).arg(size.height());
        html += QLatin1StringView(" />");
        return html;
    }

    void writeImageFile(const QString &name, const QByteArray &data)
    {
        if (m_toPath.isEmpty())
            throw QFException(QStringLiteral("Export Error"),
                              QStringLiteral("There is no folder to write the image file \"%1\" to.").arg(name));
        if (!m_folderReady) {
            if (!QDir().mkpath(m_toPath))
                throw QFException(QStringLiteral("Export Error"),
                                  QStringLiteral("Could not create the folder \"%1\" for image files.").arg(m_toPath));
            m_folderReady = true;
        }
        const QString path = QDir(m_toPath).filePath(name);
        QFile file(path);
        if (file.size() == data.size() && file.open(QIODevice::ReadOnly)) {
            const bool same = file.readAll() == data;
            file.close();
            if (same)
                return;
        }
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data) != data.size()
            || !file.flush()) {
            throw QFException(QStringLiteral("Export Error"),
                              QStringLiteral("Could not write the image file \"%1\": %2").arg(path, file.errorString()));
        }
    }

    const QFStyledText &m_text;
    const QString &m_string;
    const QString &m_toPath;
    const QString &m_imagesFolder;
    QString m_imagePrefix;
    const QFLinkResolver *m_resolver;
    int m_depthCorrection;
    QFLinkStyle m_linkStyle;

    QString m_out;
    QList<Piece> m_line;
    QList<Tag> m_open;
    const QVariantMap *m_tagsRun = nullptr;
    QList<Tag> m_tags;
    int m_imageCount = 0;
    bool m_folderReady = false;
};

} // namespace

QFHTMLExporter::QFHTMLExporter(const QVariantMap &params)
    : m_params(params)
{
}

QString QFHTMLExporter::exportAttributedString(const QFStyledText &text, const QString &toPath,
                                               const QString &imagesFolder, const QString &imagePrefix,
                                               const QString &HTMLTemplate, const QString &contentTag,
                                               const QFLinkResolver *fromPage, int depthCorrection) const
{
    return exportAttributedString(text, toPath, imagesFolder, imagePrefix, HTMLTemplate, contentTag, fromPage,
                                  depthCorrection, Publish, int(QFLinkStyle::Relative));
}

QString QFHTMLExporter::exportAttributedString(const QFStyledText &text, const QString &toPath,
                                               const QString &imagesFolder, const QString &imagePrefix,
                                               const QString &HTMLTemplate, const QString &contentTag,
                                               const QFLinkResolver *fromPage, int depthCorrection, int exportMode,
                                               int linkStyle) const
{
    Q_UNUSED(exportMode);
    const QFLinkStyle style = linkStyle == int(QFLinkStyle::Absolute) ? QFLinkStyle::Absolute : QFLinkStyle::Relative;
    const QString html = Writer(text, toPath, imagesFolder, imagePrefix, fromPage, depthCorrection, style).write();
    QString result = HTMLTemplate;
    result.replace(u'%' + contentTag + u'%', html);
    return result;
}

#pragma once

#include "qfkit/text/qflinkstyleresolver.h"
#include "qfkit/text/qfstyledtext.h"

#include <QString>
#include <QVariantMap>

// Turns a QFStyledText into HTML for a page or a feed, writing its image
// attachments as files beside it.
//
// Paragraphs: every line break (LF, CR or U+2029) ends a paragraph and each
// non-blank line becomes <p>…</p>; empty or blank lines give nothing (no
// empty <p>). A line separator (U+2028, shift-return in the editor) becomes
// <br /> inside the paragraph. Each block of the result ends with "\n".
//
// Inline: bold <strong>, italic <em>, underline <u>, nested in that order
// inside a link and closed at every run boundary, so the markup is always
// well formed. Text is escaped for element text. A link becomes
// <a href="…">, with the tool tip as its title; a tool tip without a link a
// <span title="…">. Fonts are not written (the style sheet decides). Internal
// links are resolved by the resolver (fromPage); with no resolver, or when it
// answers nullopt, the text is written without a link. External links keep
// their URL, escaped for the attribute.
//
// Raw HTML (ranges with kQFTextViewIgnoreFormattingAttributeName): passed
// through as typed, never escaped or styled. A raw range without line
// breaks stands inline in its paragraph (a line holding nothing but raw HTML
// is not wrapped in <p>); a raw range with line breaks is a block of its own,
// ending the paragraph before it, and its line breaks are kept as they are.
//
// Markup directives (kQFTextViewMarkupDirectivesAttributeName): a range whose
// directive has a "Markdown" key (any flavour) is converted as one block with
// CommonMark; raw HTML inside the Markdown is kept, as bloggers expect to mix
// the two. Any other directive (Textile …) gives its plain text as escaped
// paragraphs. Attachments inside such ranges are written as usual.
//
// Attachments (U+FFFC with kQFAttachmentAttributeName): the n-th image in
// text order (n from 1) is written to toPath/<imagePrefix>_<n>.<ext>, ext from
// the attachment's file name when it has a plain one, else from the image
// data (png, jpg, gif, webp; anything else "png"). toPath is created when
// needed; a file is written only when its bytes differ from what is there, so
// re-exports leave unchanged images alone. The image is written as
// <img src="SRC" alt="FILE NAME" width="W" height="H" />, SRC being
// appendForwardSlash(imagesFolder) + file name, or the bare file name when
// imagesFolder is empty; width and height only when the image can be read.
// Path separators and leading dots in imagePrefix are replaced by "_", so
// nothing is written outside toPath or hidden; an empty prefix counts as
// "image". A file that cannot be
// written raises QFException("Export Error") naming it.
//
// The result is HTMLTemplate with every "%<contentTag>%" replaced by the
// HTML (template "%blog_entry12%" with tag "blog_entry12" gives the HTML).
//
// Stateless apart from the parameters it was made with; safe to use from the
// export thread. Cost is linear in the text's length.
class QFHTMLExporter final
{
public:
    enum ExportMode {
        Publish = 0,
        Preview = 1, // same output as Publish for now; kept so callers say what they want
    };

    QFHTMLExporter() = default;
    // The host's export parameters, kept for whoever made the exporter.
    explicit QFHTMLExporter(const QVariantMap &params);

    const QVariantMap &params() const { return m_params; }

    // Export mode Publish, link style QFLinkStyle::Relative.
    QString exportAttributedString(const QFStyledText &text, const QString &toPath, const QString &imagesFolder,
                                   const QString &imagePrefix, const QString &HTMLTemplate,
                                   const QString &contentTag, const QFLinkResolver *fromPage,
                                   int depthCorrection) const;
    // exportMode: an ExportMode. linkStyle: a QFLinkStyle value (0 relative,
    // 2 absolute); absolute links come from a QFLinkStyleResolver, any other
    // resolver gives its usual href.
    QString exportAttributedString(const QFStyledText &text, const QString &toPath, const QString &imagesFolder,
                                   const QString &imagePrefix, const QString &HTMLTemplate,
                                   const QString &contentTag, const QFLinkResolver *fromPage, int depthCorrection,
                                   int exportMode, int linkStyle) const;

private:
    QVariantMap m_params;
};

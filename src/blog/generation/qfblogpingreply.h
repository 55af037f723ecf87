#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

struct _xmlDoc;
struct _xmlXPathObject;

// The reply of a weblog directory to an XML-RPC weblogUpdates.ping: the four
// fields the ping reads from it, each the text of the last text node its
// XPath expression finds, nullopt when the expression finds none.
//
// Reading refuses, with QFException "Ping Error":
// - a reply larger than maximumSize ("The reply of the ping service is larger
//   than 1 MiB, so it was not read");
// - a reply that declares a document type: the parser stops at the
//   declaration, so no entity of a hostile server is ever expanded and no
//   file or address it names is read;
// - anything that is not well-formed XML ("Failed to parse response from
//   server").
// The parser never touches the network (XML_PARSE_NONET) and loads no DTD.
// Any thread; nothing is kept between calls.
struct QFBlogPingReply
{
    static constexpr qsizetype maximumSize = 1024 * 1024;

    static const char *const faultXPath;
    static const char *const flerrorXPath;
    static const char *const messageXPath;

    std::optional<QString> fault;
    std::optional<QString> flerror;
    // The error message and the thanks text: one element serves as both.
    std::optional<QString> message;

    std::optional<QString> thanks() const { return message; }

    static QFBlogPingReply read(const QByteArray &data);

    // The text of the last text node the expression finds in the document;
    // nullopt when it finds none or is no valid expression.
    static std::optional<QString> textContentOfXPath(const char *xpath, _xmlDoc *document);
    // The same for an evaluated expression; nullopt for a null result or one
    // without nodes.
    static std::optional<QString> textContentFromXPath(_xmlXPathObject *result);
    static std::optional<QString> faultTextFromDocument(_xmlDoc *document);
    static std::optional<QString> flerrorTextFromDocument(_xmlDoc *document);
    static std::optional<QString> flerrorMessageTextFromDocument(_xmlDoc *document);
    static std::optional<QString> thanksTextFromDocument(_xmlDoc *document);
};

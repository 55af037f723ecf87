#include "qfblogpingreply.h"

#include "qfkit/support/qfexception.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <memory>
#include <mutex>

namespace {

const QString pingError = QStringLiteral("Ping Error");

struct DocumentDeleter
{
    void operator()(xmlDoc *document) const { xmlFreeDoc(document); }
};

struct ContextDeleter
{
    void operator()(xmlParserCtxt *context) const { xmlFreeParserCtxt(context); }
};

struct XPathContextDeleter
{
    void operator()(xmlXPathContext *context) const { xmlXPathFreeContext(context); }
};

struct XPathObjectDeleter
{
    void operator()(xmlXPathObject *object) const { xmlXPathFreeObject(object); }
};

void checkLibraryVersion()
{
    static std::once_flag once;
    std::call_once(once, [] { LIBXML_TEST_VERSION });
}

// Called by the parser when it meets <!DOCTYPE …>, before it reads a single
// declaration of the internal subset.
void refuseDocumentType(void *userData, const xmlChar *, const xmlChar *, const xmlChar *)
{
    auto *context = static_cast<xmlParserCtxt *>(userData);
    *static_cast<bool *>(context->_private) = true;
    xmlStopParser(context);
}

// Parse errors are the reply's fault and are reported as one message; the
// parser's own lines would only reach the terminal.
void ignoreStructuredError(void *, xmlErrorPtr) {}

} // namespace

const char *const QFBlogPingReply::faultXPath =
    "/methodResponse/fault/value/struct/member[name='faultString']/value/string/text()";
const char *const QFBlogPingReply::flerrorXPath =
    "/methodResponse/params/param/value/struct/member[name='flerror']/value/boolean/text()";
const char *const QFBlogPingReply::messageXPath =
    "/methodResponse/params/param/value/struct/member[name='message']/value/string/text()";

QFBlogPingReply QFBlogPingReply::read(const QByteArray &data)
{
    if (data.size() > maximumSize) {
        throw QFException(pingError,
                          QStringLiteral("The reply of the ping service is larger than 1 MiB, so it was not read"));
    }
    checkLibraryVersion();

    std::unique_ptr<xmlParserCtxt, ContextDeleter> context(xmlNewParserCtxt());
    if (!context || !context->sax)
        throw QFException(pingError, QStringLiteral("Failed to parse response from server"));
    bool declaresDocumentType = false;
    context->_private = &declaresDocumentType;
    context->sax->internalSubset = refuseDocumentType;
    context->sax->serror = ignoreStructuredError;

    // No base URL, no declared encoding, no network; entities are never
    // substituted and no DTD is loaded.
    std::unique_ptr<xmlDoc, DocumentDeleter> document(
        xmlCtxtReadMemory(context.get(), data.constData(), int(data.size()), nullptr, nullptr,
                          XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (declaresDocumentType || (document && (document->intSubset || document->extSubset))) {
        throw QFException(pingError, QStringLiteral("The reply of the ping service declares a document type, "
                                                    "which a ping reply never needs, so it was not read"));
    }
    if (!document || !context->wellFormed)
        throw QFException(pingError, QStringLiteral("Failed to parse response from server"));

    QFBlogPingReply reply;
    reply.fault = faultTextFromDocument(document.get());
    reply.flerror = flerrorTextFromDocument(document.get());
    reply.message = flerrorMessageTextFromDocument(document.get());
    return reply;
}

std::optional<QString> QFBlogPingReply::textContentOfXPath(const char *xpath, xmlDoc *document)
{
    if (!document)
        return std::nullopt;
    std::unique_ptr<xmlXPathContext, XPathContextDeleter> context(xmlXPathNewContext(document));
    if (!context)
        return std::nullopt;
    std::unique_ptr<xmlXPathObject, XPathObjectDeleter> result(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(xpath), context.get()));
    return textContentFromXPath(result.get());
}

std::optional<QString> QFBlogPingReply::textContentFromXPath(xmlXPathObject *result)
{
    if (!result || result->type != XPATH_NODESET || !result->nodesetval)
        return std::nullopt;
    const xmlNodeSet *nodes = result->nodesetval;
    if (nodes->nodeNr <= 0 || !nodes->nodeTab)
        return std::nullopt;
    xmlNode *last = nodes->nodeTab[nodes->nodeNr - 1];
    if (!last)
        return std::nullopt;
    xmlChar *content = xmlNodeGetContent(last);
    if (!content)
        return QString();
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(content));
    xmlFree(content);
    return text;
}

std::optional<QString> QFBlogPingReply::faultTextFromDocument(xmlDoc *document)
{
    return textContentOfXPath(faultXPath, document);
}

std::optional<QString> QFBlogPingReply::flerrorTextFromDocument(xmlDoc *document)
{
    return textContentOfXPath(flerrorXPath, document);
}

std::optional<QString> QFBlogPingReply::flerrorMessageTextFromDocument(xmlDoc *document)
{
    return textContentOfXPath(messageXPath, document);
}

std::optional<QString> QFBlogPingReply::thanksTextFromDocument(xmlDoc *document)
{
    return textContentOfXPath(messageXPath, document);
}

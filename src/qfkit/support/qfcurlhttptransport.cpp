#include "qfcurlhttptransport.h"

#include <curl/curl.h>

#include <memory>
#include <mutex>

namespace {

void ensureCurlInitialised()
{
    // curl_global_init is not thread-safe itself; call_once makes it so. The
    // matching cleanup is left to process exit, since other threads may
    // still hold handles while statics are destroyed.
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct Sink
{
    QByteArray data;
    qint64 limit = 0;
    bool overLimit = false;
};

size_t writeBody(char *bytes, size_t size, size_t count, void *context)
{
    auto *sink = static_cast<Sink *>(context);
    const size_t length = size * count;
    if (sink->limit > 0) {
        const qint64 room = sink->limit + 1 - sink->data.size();
        if (qint64(length) > room) {
            // Keep one byte past the limit so the caller can see it was
            // passed, then stop the transfer.
            sink->data.append(bytes, qsizetype(std::max<qint64>(room, 0)));
            sink->overLimit = true;
            return 0;
        }
    }
    sink->data.append(bytes, qsizetype(length));
    return length;
}

struct CurlDeleter
{
    void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
};

struct HeaderListDeleter
{
    void operator()(curl_slist *list) const { curl_slist_free_all(list); }
};

} // namespace

QFCurlHTTPTransport::QFCurlHTTPTransport()
{
    ensureCurlInitialised();
}

QFCurlHTTPTransport::~QFCurlHTTPTransport() = default;

QFHTTPReply QFCurlHTTPTransport::send(const QFHTTPRequest &request)
{
    ensureCurlInitialised();
    QFHTTPReply reply;
    std::unique_ptr<CURL, CurlDeleter> handle(curl_easy_init());
    if (!handle) {
        reply.error = QFHTTPError{QFHTTPError::Kind::Failed,
                                  QStringLiteral("The network library could not start a request.")};
        return reply;
    }
    CURL *curl = handle.get();

    const QByteArray url = request.url.toEncoded();
    char errorText[CURL_ERROR_SIZE] = {};
    Sink sink;
    sink.limit = request.maxReplyBytes;

    curl_easy_setopt(curl, CURLOPT_URL, url.constData());
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, long(request.timeout.count()));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, writeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &sink);
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "Quillfen");

    const QByteArray method = request.method.isEmpty() ? QByteArray("GET") : request.method.toUpper();
    if (method == "POST") {
        curl_easy_setopt(curl, CURLOPT_POST, 1L);
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(request.body.size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.constData());
    } else if (method == "GET") {
        curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
    } else {
        curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.constData());
        if (!request.body.isEmpty()) {
            curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(request.body.size()));
            curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.constData());
        }
    }

    // "Expect:" sends a body at once instead of waiting for a 100 Continue
    // that small servers never send.
    QList<QByteArray> lines = {"Cache-Control: no-cache", "Pragma: no-cache", "Expect:"};
    for (const auto &[name, value] : request.headers)
        lines.append(name + ": " + value);
    curl_slist *list = nullptr;
    for (const QByteArray &line : std::as_const(lines))
        list = curl_slist_append(list, line.constData());
    std::unique_ptr<curl_slist, HeaderListDeleter> headers(list);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());

    const CURLcode code = curl_easy_perform(curl);
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    reply.statusCode = int(status);

    if (code == CURLE_OK || (code == CURLE_WRITE_ERROR && sink.overLimit)) {
        reply.data = sink.data;
        return reply;
    }
    if (status != 0 || !sink.data.isEmpty())
        reply.data = sink.data;
    QFHTTPError error;
    error.kind = code == CURLE_OPERATION_TIMEDOUT ? QFHTTPError::Kind::TimedOut : QFHTTPError::Kind::Failed;
    const QString detail = QString::fromUtf8(errorText).trimmed();
    error.description = detail.isEmpty() ? QString::fromUtf8(curl_easy_strerror(code)) : detail;
    reply.error = error;
    return reply;
}

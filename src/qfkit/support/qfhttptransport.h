#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>
#include <chrono>
#include <optional>

// One HTTP request as a transport sends it: synchronously, on the calling
// thread, waiting at most `timeout` for the whole exchange. The request never
// uses a cached answer (the "reload, ignoring cached data" policy of the
// callers): transports send "Cache-Control: no-cache" and "Pragma: no-cache"
// beside the given headers.
struct QFHTTPRequest
{
    QUrl url;
    QByteArray method = "POST";
    // Sent in this order, after the no-cache headers.
    QList<QPair<QByteArray, QByteArray>> headers;
    // May be empty: a POST then goes without a body.
    QByteArray body;
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
    // The reply body is read up to this many bytes and one more, then the
    // transfer stops; the caller sees data longer than the limit and decides.
    // Zero reads everything.
    qint64 maxReplyBytes = 0;
};

// Why a request brought no proper answer.
struct QFHTTPError
{
    enum class Kind {
        // The time-out passed before the exchange ended.
        TimedOut,
        // Anything else: no connection, a bad URL, a broken transfer.
        Failed,
    };
    Kind kind = Kind::Failed;
    // For people: what went wrong and with which host. May be empty when the
    // transport could not tell.
    QString description;
};

// What came back. An HTTP status of 400 or more is no error: the body the
// server sent is the data, as with any other status.
struct QFHTTPReply
{
    // The reply body; empty (not null) for a reply without one. nullopt when
    // no reply arrived at all.
    std::optional<QByteArray> data;
    // The last response's status code; 0 when none arrived.
    int statusCode = 0;
    // Set when the exchange failed; data may still hold what arrived.
    std::optional<QFHTTPError> error;
};

// How the host talks HTTP to the world (pings of weblog directories). Passed
// in wherever it is used, so tests give a local server's address or a
// recording transport; QFCurlHTTPTransport is the real one.
//
// Threads: send() may be called from any thread; an implementation says
// whether one object may be shared between threads.
class QFHTTPTransport
{
public:
    virtual ~QFHTTPTransport() = default;

    // Sends the request and waits for the reply or the time-out. Never
    // throws: every failure is in the reply's error.
    virtual QFHTTPReply send(const QFHTTPRequest &request) = 0;
};

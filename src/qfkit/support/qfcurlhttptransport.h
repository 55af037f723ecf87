#pragma once

#include "qfhttptransport.h"

// The HTTP transport over libcurl. Follows up to five redirects (to http and
// https only), speaks only http and https, and never raises signals, so it is
// safe on any thread; one object may serve several threads at once (each
// send() has its own handle). libcurl's global state is set up once per
// process, on first use, in a thread-safe way.
class QFCurlHTTPTransport final : public QFHTTPTransport
{
public:
    QFCurlHTTPTransport();
    ~QFCurlHTTPTransport() override;
    Q_DISABLE_COPY_MOVE(QFCurlHTTPTransport)

    QFHTTPReply send(const QFHTTPRequest &request) override;
};

#pragma once

#include <QList>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <chrono>
#include <memory>
#include <optional>

class QFBlogPlugin;
class QFHTTPTransport;

// The ping group of the blog plugin: after a publish (or when the user asks)
// it tells weblog directories that the blog changed, by an XML-RPC
// weblogUpdates.ping or by a form-style request, and says how it went in an
// alert (QFAlert). The list of services is the plugin's pingSettings: maps of
// "name" (shown in messages), "url" (the endpoint) and "rpc" (non-zero: XML-RPC).
//
// Errors: every failure of one service is a QFException named "Ping Error"
// whose reason is the message for the user (a missing URL, a site without
// title or address, a transport failure, "PingTimedOut", a reply that is no
// XML or too large or declares a document type, the server's fault or error
// text); a reason is always printableServerText(). runPingSettings() turns any exception into the alert "Ping failed
// for blog '<name>'" with the reason as its informative text.
//
// The site's name and address come from the host's site document
// ("siteTitle", "siteBaseURL"); the address sent is the blog's feed base
// (QFBlogPluginPermalinks::rssBaseURL).
//
// Threads: everything runs on the caller's thread with synchronous requests
// (the main thread: the editor's button, the host's post-publish hook, the
// command line); the caller waits up to the time-out per service. The
// plugin owns the group and outlives it.
class QFBlogPluginPing final
{
public:
    // How one contacted service fared: no failure means it was pinged.
    struct Outcome
    {
        QString name;
        std::optional<QString> failure;
    };

    explicit QFBlogPluginPing(QFBlogPlugin &plugin);
    ~QFBlogPluginPing();
    Q_DISABLE_COPY_MOVE(QFBlogPluginPing)

    // The services of a new blog, two XML-RPC directories, made afresh on
    // each call.
    static QVariantList defaultPingSettings();

    // The transport requests go through; a QFCurlHTTPTransport until another
    // is set. Null restores that default. Shared: the caller may keep it.
    void setTransport(std::shared_ptr<QFHTTPTransport> transport);
    QFHTTPTransport &transport();

    // The longest wait for one XML-RPC and one form-style ping (60 s and
    // 30 s unless set).
    void setTimeouts(std::chrono::milliseconds rpc, std::chrono::milliseconds form);
    std::chrono::milliseconds rpcTimeout() const { return m_rpcTimeout; }
    std::chrono::milliseconds formTimeout() const { return m_formTimeout; }

    // After a publish: pingNow() when the blog's enablePing is on, else
    // nothing. False when a service failed.
    bool postPublishActions();

    // Pings every service in list order and stops at the first that fails
    // (its alert is shown; later services are not contacted). When all
    // succeed, and also for an empty list, shows the alert "Success" /
    // "Directories sucessfully pinged". Answers the services contacted, in
    // order; only the last can have failed.
    QList<Outcome> pingNow();

    // One service with its failure alert; true when it was pinged.
    bool runPingSettings(const QVariantMap &settings);
    // The same without the alert: nullopt on success, else the reason.
    std::optional<QString> pingService(const QVariantMap &settings);

    // The XML-RPC ping of the endpoint: POST of makeWeblogPingMessageName()
    // as "text/xml", read with QFBlogPingReply. Raises on any failure (see
    // the class comment); a thanks text other than "Thanks for the ping…" is
    // only logged.
    void runRPCPingSettings(const QString &url);
    // The form-style ping: POST without body to
    // "<url>?url=Blog%20URL&name=Blog%20Name" (the two placeholders go out as
    // they stand, as they always have). Any reply with data counts as
    // success; raises "No data was returned from the server" without.
    void runGETPingSettings(const QString &url);

    // The XML-RPC request body, on one line with tabs between the elements:
    // the name as numeric character references, the URL percent-escaped,
    // both directly inside <value>. nullopt when the URL has characters
    // outside ASCII.
    static std::optional<QString> makeWeblogPingMessageName(const QString &name, const QString &url);

    // A fixed form ping to the Weblogs update service; logs "SUCCESS" when
    // its reply thanks. Always false, never raises. Nothing calls it.
    bool pingWeblogsDotComWithURL(const QString &url, const QString &name);
    // Does nothing; false.
    bool pingDotmacDotInfoWithURL(const QString &url, const QString &name);

    // Text percent-escaped as the ping's URLs are: everything but letters,
    // digits and ! # $ & ' ( ) * + , - . / : ; = ? @ [ ] _ ~ becomes %XX;
    // nullopt for text with characters outside ASCII.
    static std::optional<QString> percentEscapedASCII(const QString &text);

    // Text from a server as it is shown or logged, so that it cannot pass
    // for lines of our own: on one line (runs of white space and line
    // breaks become one blank), without control and format characters (bidi
    // overrides included), trimmed, and cut at maximumServerTextLength
    // characters, the last then being "…".
    static QString printableServerText(const QString &text);
    static constexpr qsizetype maximumServerTextLength = 200;

private:
    // The alert "Ping failed for blog '<name>'" ("Unknown Directory" for a
    // service without a name) with the reason.
    void showFailure(const QVariantMap &settings, const QString &reason);

    QFBlogPlugin &m_plugin;
    std::shared_ptr<QFHTTPTransport> m_transport;
    std::chrono::milliseconds m_rpcTimeout = std::chrono::seconds(60);
    std::chrono::milliseconds m_formTimeout = std::chrono::seconds(30);
};

#include "qfblogpluginping.h"

#include "blog/generation/qfblogpingreply.h"
#include "blog/generation/qfblogpluginpermalinks.h"
#include "blog/plugin/qfblogplugin.h"
#include "qfkit/document/qfsitedocument.h"
#include "qfkit/support/qfalert.h"
#include "qfkit/support/qfcurlhttptransport.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/support/qflog.h"
#include "qfkit/text/qfstrings.h"

#include <QUrl>
#include <algorithm>

namespace {

const QString pingErrorName = QStringLiteral("Ping Error");

[[noreturn]] void raise(const QString &reason)
{
    throw QFException(pingErrorName, reason);
}

QString unknownError()
{
    return QStringLiteral("Unknown error pinging service");
}

QString timedOut()
{
    return QFBlogPlugin::localizedString(QStringLiteral("PingTimedOut"));
}

// The message of a transport failure: the localised time-out text, the
// transport's description, or the unknown error.
QString transportFailure(const QFHTTPError &error)
{
    if (error.kind == QFHTTPError::Kind::TimedOut)
        return timedOut();
    return error.description.isEmpty() ? unknownError() : error.description;
}

QString exceptionReason(const std::exception_ptr &caught)
{
    try {
        std::rethrow_exception(caught);
    } catch (const QFException &e) {
        return e.reason();
    } catch (const QFAssertionFailure &e) {
        return e.text();
    } catch (const std::exception &e) {
        return QString::fromUtf8(e.what());
    } catch (...) {
        return unknownError();
    }
}

} // namespace

QFBlogPluginPing::QFBlogPluginPing(QFBlogPlugin &plugin)
    : m_plugin(plugin)
{
}

QFBlogPluginPing::~QFBlogPluginPing() = default;

QVariantList QFBlogPluginPing::defaultPingSettings()
{
    QVariantList settings;
    settings.reserve(2);
    settings.append(QVariantMap{{QStringLiteral("name"), QStringLiteral("technorati.com")},
                                {QStringLiteral("url"), QStringLiteral("http://rpc.technorati.com/rpc/ping")},
                                {QStringLiteral("rpc"), 1}});
    settings.append(QVariantMap{{QStringLiteral("name"), QStringLiteral("pingomatic.com")},
                                {QStringLiteral("url"), QStringLiteral("http://rpc.pingomatic.com/")},
                                {QStringLiteral("rpc"), 1}});
    return settings;
}

void QFBlogPluginPing::setTransport(std::shared_ptr<QFHTTPTransport> transport)
{
    m_transport = std::move(transport);
}

QFHTTPTransport &QFBlogPluginPing::transport()
{
    if (!m_transport)
        m_transport = std::make_shared<QFCurlHTTPTransport>();
    return *m_transport;
}

void QFBlogPluginPing::setTimeouts(std::chrono::milliseconds rpc, std::chrono::milliseconds form)
{
    m_rpcTimeout = rpc;
    m_formTimeout = form;
}

bool QFBlogPluginPing::postPublishActions()
{
    if (!m_plugin.enablePing())
        return true;
    const QList<Outcome> outcomes = pingNow();
    return std::none_of(outcomes.cbegin(), outcomes.cend(), [](const Outcome &outcome) { return outcome.failure.has_value(); });
}

QList<QFBlogPluginPing::Outcome> QFBlogPluginPing::pingNow()
{
    QList<Outcome> outcomes;
    // A copy: an alert's event loop may let the list change under us.
    const QVariantList settings = m_plugin.pingSettings();
    for (const QVariant &item : settings) {
        const QVariantMap setting = item.toMap();
        Outcome outcome;
        outcome.name = printableServerText(setting.value(QStringLiteral("name")).toString());
        outcome.failure = pingService(setting);
        outcomes.append(outcome);
        if (outcome.failure) {
            showFailure(setting, *outcome.failure);
            return outcomes;
        }
    }
    QFAlertRequest success;
    success.messageText = QStringLiteral("Success");
    success.informativeText = QStringLiteral("Directories sucessfully pinged");
    success.buttons = {QStringLiteral("OK")};
    QFAlert::runAlert(success);
    return outcomes;
}

bool QFBlogPluginPing::runPingSettings(const QVariantMap &settings)
{
    const std::optional<QString> failure = pingService(settings);
    if (!failure)
        return true;
    showFailure(settings, *failure);
    return false;
}

void QFBlogPluginPing::showFailure(const QVariantMap &settings, const QString &reason)
{
    // A service's name may come from an imported package: shown as server text is.
    QString name = printableServerText(settings.value(QStringLiteral("name")).toString());
    if (name.isEmpty())
        name = QStringLiteral("Unknown Directory");
    QFAlertRequest failed;
    failed.style = QFAlertRequest::Style::Warning;
    failed.messageText = QStringLiteral("Ping failed for blog '%1'").arg(name);
    failed.informativeText = reason;
    failed.buttons = {QStringLiteral("OK")};
    QFAlert::runAlert(failed);
}

std::optional<QString> QFBlogPluginPing::pingService(const QVariantMap &settings)
{
    try {
        const QString url = settings.value(QStringLiteral("url")).toString();
        if (url.isEmpty())
            raise(QStringLiteral("The directory url was missing or empty"));
        if (settings.value(QStringLiteral("rpc")).toInt() != 0)
            runRPCPingSettings(url);
        else
            runGETPingSettings(url);
    } catch (...) {
        return printableServerText(exceptionReason(std::current_exception()));
    }
    return std::nullopt;
}

void QFBlogPluginPing::runRPCPingSettings(const QString &url)
{
    const QFSiteDocument *document = QFDocumentForPlugin(&m_plugin);
    const QString name = document ? document->siteTitle() : QString();
    if (name.isNull())
        raise(QStringLiteral("No site name has been set in the document"));
    const QString base = document->siteBaseURL();
    if (base.isNull())
        raise(QStringLiteral("No site base url has been set in the document"));
    const QString blogURL = m_plugin.permalinks().rssBaseURL(QVariantMap{{QStringLiteral("base"), base}});

    const std::optional<QString> message = makeWeblogPingMessageName(name, blogURL);
    if (!message)
        raise(QStringLiteral("Couldn't turn Site Name and Base URL into a valid XML document"));

    QFHTTPRequest request;
    request.url = QUrl(url);
    request.method = "POST";
    request.headers = {{"Content-Type", "text/xml"}};
    request.body = message->toUtf8();
    request.timeout = m_rpcTimeout;
    request.maxReplyBytes = QFBlogPingReply::maximumSize;
    const QFHTTPReply reply = transport().send(request);
    if (reply.error)
        raise(transportFailure(*reply.error));
    if (!reply.data)
        raise(unknownError());

    const QFBlogPingReply fields = QFBlogPingReply::read(*reply.data);
    std::optional<QString> error;
    std::optional<QString> thanks;
    if (fields.fault) {
        error = fields.fault;
    } else if (fields.flerror && *fields.flerror != QLatin1String("0")) {
        error = fields.message;
    } else {
        thanks = fields.thanks();
        if (!thanks || thanks->isEmpty())
            qfLog(QStringLiteral("No thanks in: %1").arg(printableServerText(QString::fromUtf8(*reply.data))));
    }
    if (error)
        raise(*error);
    const QString thanksText = thanks.value_or(QString());
    if (!thanksText.startsWith(QLatin1String("Thanks for the ping")))
        qfLog(QStringLiteral("warning: XML-RPC ping reply has thanks message of %1").arg(printableServerText(thanksText)));
}

void QFBlogPluginPing::runGETPingSettings(const QString &url)
{
    // The placeholders are sent instead of the blog's name and address; the
    // form services never needed more to accept the ping.
    const QString query = url + QStringLiteral("?url=") + *percentEscapedASCII(QStringLiteral("Blog URL"))
        + QStringLiteral("&name=") + *percentEscapedASCII(QStringLiteral("Blog Name"));
    QFHTTPRequest request;
    request.url = QUrl(query);
    request.method = "POST";
    request.timeout = m_formTimeout;
    // The content is never read; a little of it tells that something came.
    request.maxReplyBytes = QFBlogPingReply::maximumSize;
    const QFHTTPReply reply = transport().send(request);
    if (reply.error)
        raise(transportFailure(*reply.error));
    if (!reply.data || reply.data->isEmpty())
        raise(QStringLiteral("No data was returned from the server"));
}

std::optional<QString> QFBlogPluginPing::makeWeblogPingMessageName(const QString &name, const QString &url)
{
    const std::optional<QString> escapedURL = percentEscapedASCII(url);
    if (!escapedURL)
        return std::nullopt;
    const QString value = QStringLiteral("<param><value>%1</value></param>");
    return QStringLiteral("<?xml version=\"1.0\"?>\t<methodCall>\t<methodName>weblogUpdates.ping</methodName>"
                          "\t\t<params>\t\t\t")
        + value.arg(QFStrings::convertToNumericalReferences(name)) + QStringLiteral("\t\t\t")
        + value.arg(*escapedURL) + QStringLiteral("\t\t</params>\t</methodCall>");
}

bool QFBlogPluginPing::pingWeblogsDotComWithURL(const QString &url, const QString &name)
{
    const std::optional<QString> escapedURL = percentEscapedASCII(url);
    const std::optional<QString> escapedName = percentEscapedASCII(name);
    if (!escapedURL || !escapedName)
        return false;
    QFHTTPRequest request;
    request.url = QUrl(QStringLiteral("http://rpc.weblogs.com/pingSiteForm?url=") + *escapedURL
                       + QStringLiteral("&name=") + *escapedName);
    request.method = "POST";
    request.timeout = std::chrono::seconds(60);
    request.maxReplyBytes = QFBlogPingReply::maximumSize;
    const QFHTTPReply reply = transport().send(request);
    if (reply.data && QString::fromUtf8(*reply.data).contains(QLatin1String("Thanks for the ping.")))
        qfLog(QStringLiteral("SUCCESS"));
    return false;
}

bool QFBlogPluginPing::pingDotmacDotInfoWithURL(const QString &url, const QString &name)
{
    Q_UNUSED(url)
    Q_UNUSED(name)
    return false;
}

std::optional<QString> QFBlogPluginPing::percentEscapedASCII(const QString &text)
{
    static const QByteArray kept = "!#$&'()*+,-./:;=?@[]_~";
    QString escaped;
    escaped.reserve(text.size());
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u > 0x7f)
            return std::nullopt;
        const char a = char(u);
        if ((a >= 'a' && a <= 'z') || (a >= 'A' && a <= 'Z') || (a >= '0' && a <= '9') || kept.contains(a)) {
            escaped.append(c);
        } else {
            escaped.append(QLatin1Char('%'));
            escaped.append(QString::number(u, 16).toUpper().rightJustified(2, QLatin1Char('0')));
        }
    }
    return escaped;
}

QString QFBlogPluginPing::printableServerText(const QString &text)
{
    QList<char32_t> kept;
    bool blank = false;
    for (const uint codePoint : text.toUcs4()) {
        const auto c = char32_t(codePoint);
        const QChar::Category category = QChar::category(c);
        if (QChar::isSpace(c) || category == QChar::Separator_Line || category == QChar::Separator_Paragraph) {
            blank = !kept.isEmpty();
        } else if (category != QChar::Other_Control && category != QChar::Other_Format
                   && category != QChar::Other_Surrogate) {
            if (blank)
                kept.append(U' ');
            blank = false;
            kept.append(c);
        }
    }
    if (kept.size() > maximumServerTextLength) {
        kept.resize(maximumServerTextLength - 1);
        kept.append(U'\u2026');
    }
    return QString::fromUcs4(kept.constData(), kept.size());
}

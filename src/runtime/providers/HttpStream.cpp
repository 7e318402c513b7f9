#include "runtime/providers/HttpStream.h"

#include "foundation/Completion.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QSslConfiguration>
#include <QTimer>

namespace tallowfern {

using namespace Qt::StringLiterals;
using Cause = AnswerFailure::Cause;

namespace {

constexpr qsizetype kLongestComplaint = 64 << 10; // bytes
constexpr std::chrono::seconds kForTheRest{2}; // for what a service sends behind its last word

class ProxyForServices final : public QNetworkProxyFactory {
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override
    {
        if (QHostAddress(query.peerHostName()).isLoopback())
            return {QNetworkProxy::NoProxy};
        return systemProxyForQuery(query);
    }
};

QNetworkRequest prepared(const ServiceCall& call)
{
    QNetworkRequest request(call.url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    request.setRawHeader("Accept", "text/event-stream");
    request.setRawHeader("Accept-Encoding", "identity"); // or a gateway may hold pieces back to compress them
    for (const auto& [name, value] : call.headers)
        request.setRawHeader(name, value);
    // The default would take the key along to wherever the service points.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false); // which would not tell what was sent
    const QString authorities = qEnvironmentVariable("TALLOWFERN_CA_FILE");
    if (!authorities.isEmpty() && call.url.scheme() == u"https"_s) {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.addCaCertificates(authorities);
        request.setSslConfiguration(configuration);
    }
    return request;
}

int statusOf(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

bool isGood(int status)
{
    return status >= 200 && status < 300;
}

std::optional<Cause> brokenBy(const QNetworkReply& reply, int status)
{
    using Error = QNetworkReply::NetworkError;
    if (status >= 300 && status < 400)
        return Cause::Redirected;
    if (reply.error() == Error::NoError || (status != 0 && !isGood(status)))
        return std::nullopt;
    if (reply.error() == Error::SslHandshakeFailedError)
        return Cause::Untrusted;
    return status == 0 ? Cause::Unreachable : Cause::CutOff;
}

} // namespace

HttpStream::HttpStream() = default;

HttpStream::~HttpStream() = default;

QNetworkAccessManager& HttpStream::network()
{
    if (!m_network) {
        m_network = std::make_unique<QNetworkAccessManager>();
        m_network->setProxyFactory(new ProxyForServices); // the manager's from now on
    }
    return *m_network;
}

QCoro::Task<HttpStream::Ending> HttpStream::post(ServiceCall call, Listener listener, std::stop_token stop)
{
    enum class End { Finished, Enough, Stopped };
    Completion<End> ended;
    QNetworkReply* reply = network().post(prepared(call), call.body);
    call = {}; // the key has done its work here
    QObject context;
    Ending ending;
    QObject::connect(reply, &QNetworkReply::requestSent, &context, [listener] { listener.onSent(); });
    const auto take = [&, reply] {
        const QByteArray bytes = reply->readAll();
        if (!isGood(statusOf(*reply)))
            ending.reply.body += bytes.left(kLongestComplaint - ending.reply.body.size());
        else if (!bytes.isEmpty() && listener.onBytes(bytes))
            ended.complete(End::Enough);
    };
    QObject::connect(reply, &QNetworkReply::readyRead, &context, take);
    QObject::connect(reply, &QNetworkReply::finished, &context, [&] {
        take();
        ended.complete(End::Finished);
    });
    const std::stop_callback onStop(stop, [ended]() mutable { ended.complete(End::Stopped); });
    const End end = co_await ended;

    context.disconnect();
    reply->disconnect(&context);
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    if (end == End::Enough) {
        // Read to its end, the connection serves the next call.
        QTimer::singleShot(kForTheRest, reply, [reply] { reply->abort(); });
    } else if (end == End::Stopped) {
        ending.broken = Cause::Cancelled;
        reply->abort();
    } else {
        ending.reply.status = statusOf(*reply);
        ending.reply.retryAfter = reply->rawHeader("Retry-After");
        ending.broken = brokenBy(*reply, ending.reply.status);
        reply->deleteLater();
    }
    co_return ending;
}

} // namespace tallowfern

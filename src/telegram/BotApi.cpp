#include "telegram/BotApi.h"

#include <QIODevice>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// A request's body that can be read once. With one that can be read again, Qt sends a request up to three times when a
/// server takes it and hangs up: a topic would be made twice.
class SingleUseBody final : public QIODevice
{
public:
    explicit SingleUseBody(const QByteArray &bytes)
        : m_rest(bytes)
    {
        open(ReadOnly | Unbuffered);
    }

    [[nodiscard]] bool isSequential() const override { return true; }
    [[nodiscard]] qint64 bytesAvailable() const override { return m_rest.size() + QIODevice::bytesAvailable(); }
    [[nodiscard]] bool atEnd() const override { return m_rest.isEmpty(); }
    bool reset() override { return false; }

protected:
    qint64 readData(char *data, qint64 most) override
    {
        const qint64 count = std::min(most, m_rest.size());
        std::copy_n(m_rest.constData(), count, data);
        m_rest.remove(0, count);
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_rest;
};

} // namespace

/// One request on its way, a child of its owner.
class BotApi::Exchange final : public QObject
{
public:
    Exchange(QNetworkReply *reply, Scheduler &scheduler, Done done, QObject &owner)
        : QObject(&owner)
        , m_reply(reply)
        , m_done(std::move(done))
    {
        // What a server sends beyond what is taken stays in the socket.
        reply->setReadBufferSize(mostAnswerBytes + 1);
        connect(reply, &QNetworkReply::readyRead, this, &Exchange::take);
        connect(reply, &QNetworkReply::finished, this, &Exchange::finish);
        m_timeout = scheduler.after(timeout, [this] { conclude(u"The request timed out"_s); });
    }
    ~Exchange() override { endReply(); }

private:
    void take()
    {
        m_body += m_reply->readAll();
        if (m_body.size() > mostAnswerBytes)
            conclude(u"The answer is larger than 1 MB"_s);
    }
    void finish()
    {
        m_body += m_reply->readAll();
        if (m_body.size() > mostAnswerBytes)
            conclude(u"The answer is larger than 1 MB"_s);
        else if (hasWholeAnswer())
            conclude(std::nullopt);
        else if (m_reply->error() == QNetworkReply::ContentReSendError)
            conclude(u"Connection closed"_s);
        else
            conclude(m_reply->errorString());
    }
    /// Whether all of an answer came, also one whose status says that something failed.
    [[nodiscard]] bool hasWholeAnswer() const
    {
        constexpr int firstFailure = 300;
        constexpr auto firstErrorOfContent = QNetworkReply::ContentAccessDenied;
        const auto error = m_reply->error();
        const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        return error == QNetworkReply::NoError || (status >= firstFailure && error >= firstErrorOfContent);
    }
    void conclude(const std::optional<QString> &error)
    {
        m_timeout.cancel();
        endReply();
        const Answer answer { error ? QByteArray() : std::move(m_body), error };
        const Done done = std::move(m_done);
        deleteLater();
        // Last: it may end the owner, and this with it.
        done(answer);
    }
    void endReply()
    {
        if (!m_reply)
            return;
        m_reply->disconnect(this);
        m_reply->abort();
        m_reply->deleteLater();
        m_reply = nullptr;
    }

    QPointer<QNetworkReply> m_reply; ///< Null once the answer has been taken.
    Done m_done;
    QByteArray m_body;
    ScheduledTimer m_timeout;
};

static QNetworkRequest requestFor(const QUrl &address)
{
    QNetworkRequest request(address);
    request.setHeader(QNetworkRequest::UserAgentHeader, u"Vantry"_s);
    // An answer is as long as it looks: nothing unfolds in memory.
    request.setRawHeader("Accept-Encoding", "identity");
    // The address holds the token: it goes where the user sends it, and nowhere else.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    return request;
}

BotApi::BotApi(Scheduler &scheduler, QString baseAddress)
    : m_scheduler(scheduler)
    , m_baseAddress(std::move(baseAddress))
{}

BotApi::~BotApi() = default;

QString BotApi::defaultBaseAddress()
{
    const QString other = qEnvironmentVariable("VANTRY_TELEGRAM_API");
    return other.isEmpty() ? u"https://api.telegram.org"_s : other;
}

std::optional<QUrl> BotApi::address(const QString &token, const QString &method) const
{
    const QUrl url(m_baseAddress + u"/bot"_s + token + method, QUrl::StrictMode);
    const bool isHttp = url.scheme() == u"https" || url.scheme() == u"http";
    return url.isValid() && isHttp && !url.host().isEmpty() ? std::optional(url) : std::nullopt;
}

void BotApi::get(const QUrl &address, QObject &owner, Done done)
{
    send("GET", requestFor(address), {}, owner, std::move(done));
}

void BotApi::post(const QUrl &address, const QByteArray &body, QObject &owner, Done done)
{
    QNetworkRequest request = requestFor(address);
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    send("POST", request, body, owner, std::move(done));
}

void BotApi::send(const QByteArray &verb, QNetworkRequest request, const QByteArray &body, QObject &owner, Done done)
{
    auto *const source = new SingleUseBody(body);
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    QNetworkReply *const reply = network().sendCustomRequest(request, verb, source);
    source->setParent(reply);
    new Exchange(reply, m_scheduler, std::move(done), owner);
}

QNetworkAccessManager &BotApi::network()
{
    if (!m_network)
        m_network = std::make_unique<QNetworkAccessManager>();
    return *m_network;
}

} // namespace vantry

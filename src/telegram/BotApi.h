#pragma once

#include "base/Scheduler.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;
class QObject;

namespace vantry {

/// Carries requests to the Telegram Bot API and answers back. Each stands alone; nothing of the network is made before
/// the first. Main thread only, which never waits.
class BotApi
{
public:
    /// Of one request, from its sending to the end of its answer; longer than the server holds a poll.
    static constexpr std::chrono::seconds timeout { 60 };
    /// A larger answer is refused.
    static constexpr qsizetype mostAnswerBytes = 1024 * 1024;

    /// What came back. The HTTP status decides nothing.
    struct Answer
    {
        QByteArray body;
        std::optional<QString> error; ///< Why there is no body, if so. May hold the address, and so the token.
    };
    using Done = std::function<void(const Answer &)>;

    /// `baseAddress` is scheme and host, as in defaultBaseAddress().
    BotApi(Scheduler &scheduler, QString baseAddress);
    ~BotApi();

    /// The Bot API's own, unless VANTRY_TELEGRAM_API names another.
    [[nodiscard]] static QString defaultBaseAddress();

    /// The address of a method, which begins with "/"; nothing when that doesn't parse as one.
    [[nodiscard]] std::optional<QUrl> address(const QString &token, const QString &method) const;

    /// `done` is called once, later, or never when the owner ends before: that ends the request, too.
    void get(const QUrl &address, QObject &owner, Done done);
    /// The same, with a JSON text.
    void post(const QUrl &address, const QByteArray &body, QObject &owner, Done done);

private:
    class Exchange;

    void send(const QByteArray &verb, QNetworkRequest request, const QByteArray &body, QObject &owner, Done done);
    [[nodiscard]] QNetworkAccessManager &network();

    Scheduler &m_scheduler;
    const QString m_baseAddress;
    std::unique_ptr<QNetworkAccessManager> m_network;
};

} // namespace vantry

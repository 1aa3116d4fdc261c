#pragma once

#include "support/FakeSecretStore.h"
#include "support/ManualClock.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"
#include "telegram/FakeBotApi.h"
#include "telegram/TelegramService.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <gmock/gmock.h>

#include <optional>

namespace vantry::test {

/// The service with a server on the loopback network. Time is the test's, but for that of the network itself.
class TelegramFixture : public ::testing::Test
{
protected:
    TelegramFixture() { start(); }

    void start()
    {
        service.emplace(TelegramService::Services { scheduler, mainQueue, defaults, log, &secrets }, api.address(),
                        [this](const QString &line) { printed.append(line); });
        service->onReply = [this](const QString &key, const QString &text) {
            calls.append(QStringLiteral("reply %1|%2").arg(key, text));
        };
        service->onAllow = [this](const QString &id) { calls.append(QStringLiteral("allow ") + id); };
        service->onAnswerQuestion = [this](const QString &id, std::int64_t index) {
            calls.append(QStringLiteral("answer %1|%2").arg(id).arg(index));
        };
        service->onNewSession = [this](const QString &prompt, std::int64_t topic) {
            calls.append(QStringLiteral("new %1|%2").arg(prompt).arg(topic));
        };
    }
    void configure()
    {
        service->setBotToken(token);
        service->setChatID(QStringLiteral("7"));
    }

    /// Lets things happen until the condition holds; false when it doesn't come true.
    template <typename Condition>
    bool runUntil(Condition condition)
    {
        QTimer ticks; // Also what no event tells is looked at.
        ticks.start(std::chrono::milliseconds(2));
        for (const QDeadlineTimer deadline(std::chrono::seconds(20)); !condition();) {
            if (deadline.hasExpired())
                return false;
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            mainQueue.drainAll();
        }
        return true;
    }
    bool waitForPolls(std::size_t count)
    {
        return runUntil([&] { return api.polls().size() >= count; });
    }
    bool waitForPrinted(qsizetype count)
    {
        return runUntil([&] { return printed.size() >= count; });
    }
    /// Answers the poll that waits, and waits for the one behind what came of that.
    bool deliver(const QByteArray &updates)
    {
        const std::size_t before = polled;
        if (!waitForPolls(before + 1))
            return false;
        api.polls()[before].answer(R"({"ok":true,"result":[)" + updates + "]}");
        ++polled;
        return waitForPolls(before + 2);
    }
    /// The last that was asked for.
    [[nodiscard]] QString lastPoll() const { return api.polls().back().path.section(u'/', 2); }

    static QByteArray message(const QByteArray &text, const QByteArray &chat = "7", const QByteArray &more = {},
                              const QByteArray &id = "1")
    {
        return R"({"update_id":)" + id + R"(,"message":{"message_id":5,"chat":{"id":)" + chat + R"(},"text":")" + text +
               '"' + more + "}}";
    }
    static QByteArray press(const QByteArray &data, bool hasMessage = true)
    {
        return R"({"update_id":1,"callback_query":{"id":"q1","data":")" + data + '"' +
               (hasMessage ? R"(,"message":{"message_id":12,"chat":{"id":-100}})" : "") + "}}";
    }

    const QString token = QStringLiteral("123:SECRET");
    QTemporaryDir folder;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    RecordingLog log;
    Defaults defaults { folder.filePath(QStringLiteral("settings.json")), mainQueue, log };
    FakeSecretStore secrets;
    FakeBotApi api;
    QStringList printed;
    QStringList calls; ///< Of the service's callbacks.
    std::size_t polled { 0 };
    std::optional<TelegramService> service;
};

} // namespace vantry::test

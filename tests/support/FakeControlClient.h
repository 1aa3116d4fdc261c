#pragma once

#include "platform/ControlClient.h"

#include <QStringList>

namespace vantry::test {

/// A running application that a test makes up: what it answers, and what it was asked for.
class FakeControlClient final : public ControlClient
{
public:
    using Failure = std::optional<ControlFailure>;

    [[nodiscard]] bool isConnected() const override { return connected; }
    [[nodiscard]] std::variant<QString, ControlFailure> list() override
    {
        calls.append(QStringLiteral("list"));
        using Kind = ControlFailure::Kind;
        if (failure && (failure->kind == Kind::NotRunning || failure->kind == Kind::Unanswered))
            return *failure;
        return document;
    }
    [[nodiscard]] Failure allow(const QString &id) override { return record(QStringLiteral("allow ") + id); }
    [[nodiscard]] Failure deny(const QString &id, bool stop) override
    {
        return record((stop ? QStringLiteral("deny and stop ") : QStringLiteral("deny ")) + id);
    }
    [[nodiscard]] Failure alwaysAllow(const QString &id) override
    {
        return record(QStringLiteral("always-allow ") + id);
    }
    [[nodiscard]] Failure kill(const QString &id) override { return record(QStringLiteral("kill ") + id); }
    [[nodiscard]] Failure answer(const QString &id, int index) override
    {
        return record(QStringLiteral("answer %1 %2").arg(id).arg(index));
    }
    [[nodiscard]] Failure send(const QString &id, const QString &text) override
    {
        return record(QStringLiteral("send ") + id + u' ' + text);
    }
    [[nodiscard]] Failure focus(const QString &id) override { return record(QStringLiteral("focus ") + id); }
    [[nodiscard]] Failure launch(const QString &path, const QString &mode, const QString &id,
                                 const QString &permissionMode) override
    {
        return record(QStringList { QStringLiteral("launch"), path, mode, id, permissionMode }.join(u' '));
    }
    [[nodiscard]] Failure activate() override { return record(QStringLiteral("activate")); }
    [[nodiscard]] Failure showPanel() override { return record(QStringLiteral("show")); }
    [[nodiscard]] Failure showSettings() override { return record(QStringLiteral("settings")); }
    [[nodiscard]] Failure quit() override
    {
        Failure result = record(QStringLiteral("quit"));
        if (endsWhenAsked && listener.onGone)
            listener.onGone();
        return result;
    }
    void follow(Listener given) override
    {
        calls.append(QStringLiteral("follow"));
        listener = std::move(given);
    }

    /// As if no application ran.
    void stopRunning()
    {
        failure = ControlFailure { ControlFailure::Kind::NotRunning, QStringLiteral("no Vantry is running") };
    }

    bool connected { true };
    QString document;
    Failure failure; ///< What every call but list() gives; list() too, when nothing is running.
    bool endsWhenAsked { true };
    Listener listener;
    QStringList calls;

private:
    Failure record(const QString &call)
    {
        calls.append(call);
        return failure;
    }
};

} // namespace vantry::test

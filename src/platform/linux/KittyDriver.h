#pragma once

#include "platform/TerminalDriver.h"

#include <chrono>

namespace vantry {

class Applications;

/// The windows of kitty, driven over its remote control socket. A target of the type "kitty-window" is "listen address,
/// window id", as in "unix:/run/user/1000/kitty-4711,3". One of the type "kitty" is in a kitty that listens nowhere:
/// it can't be driven, and examine() says what its user can do.
class KittyDriver final : public TerminalDriver
{
public:
    /// How long one operation may take.
    static constexpr std::chrono::milliseconds usualPatience { 2'000 };

    explicit KittyDriver(Applications &applications, std::chrono::milliseconds patience = usualPatience);

    [[nodiscard]] QString name() const override;
    [[nodiscard]] bool handles(const QString &terminalType) const override;
    [[nodiscard]] Abilities abilities(const TerminalTarget &target) const override;

    Failure focus(const TerminalTarget &target) override;
    Failure typeText(const TerminalTarget &target, const QString &text) override;
    Failure pressReturn(const TerminalTarget &target) override;
    Failure close(const TerminalTarget &target) override;
    Failure open(const TerminalTarget &target, const TerminalCommand &command) override;

    /// None: a kitty without a session can't be found by any name.
    [[nodiscard]] std::optional<TerminalTarget> findPlaceToOpen() override;
    [[nodiscard]] std::optional<Problem> examine(const TerminalTarget &target) override;

private:
    Applications &m_applications;
    const std::chrono::milliseconds m_patience;
};

} // namespace vantry

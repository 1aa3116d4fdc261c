#pragma once

#include "platform/TerminalDriver.h"

#include <chrono>

namespace vantry {

class Applications;

/// The tabs of konsole, driven over the session bus. A target of the type "konsole-session" is "bus name,session path",
/// as in ":1.42,/Sessions/1".
class KonsoleDriver final : public TerminalDriver
{
public:
    /// How long one operation may take.
    static constexpr std::chrono::milliseconds usualPatience { 2'000 };

    /// An empty bus address: there is none, and every operation says so.
    KonsoleDriver(QString busAddress, Applications &applications, std::chrono::milliseconds patience = usualPatience);

    [[nodiscard]] QString name() const override;
    [[nodiscard]] bool handles(const QString &terminalType) const override;
    [[nodiscard]] Abilities abilities(const TerminalTarget &target) const override;

    Failure focus(const TerminalTarget &target) override;
    Failure typeText(const TerminalTarget &target, const QString &text) override;
    Failure pressReturn(const TerminalTarget &target) override;
    Failure close(const TerminalTarget &target) override;
    /// konsole can't be given a program over the bus: the command is typed into the new tab's shell.
    Failure open(const TerminalTarget &target, const TerminalCommand &command) override;

    /// A tab of any konsole that is running.
    [[nodiscard]] std::optional<TerminalTarget> findPlaceToOpen() override;
    [[nodiscard]] std::optional<Problem> examine(const TerminalTarget &target) override;

private:
    const QString m_busAddress;
    Applications &m_applications;
    const std::chrono::milliseconds m_patience;
};

} // namespace vantry

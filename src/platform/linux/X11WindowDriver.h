#pragma once

#include "platform/Applications.h"
#include "platform/TerminalDriver.h"

namespace vantry {

/// Terminals of which no more is known than their window. A target of the type "x11-window" is the window's identifier,
/// decimal or hexadecimal with "0x", or empty; without one, or when that window is gone, it is the window of the shell
/// or of one of its parents. Such a window can be brought forward, and nothing else.
class X11WindowDriver final : public TerminalDriver
{
public:
    /// The applications outlive this object.
    explicit X11WindowDriver(Applications &applications);

    /// Nothing when the identifier can't be one.
    [[nodiscard]] static std::optional<Applications::WindowID> parseWindow(const QString &text);

    [[nodiscard]] QString name() const override;
    [[nodiscard]] bool handles(const QString &terminalType) const override;
    [[nodiscard]] Abilities abilities(const TerminalTarget &target) const override;

    Failure focus(const TerminalTarget &target) override;
    Failure typeText(const TerminalTarget &target, const QString &text) override;
    Failure pressReturn(const TerminalTarget &target) override;
    Failure close(const TerminalTarget &target) override;
    Failure open(const TerminalTarget &target, const TerminalCommand &command) override;

    /// None: that is for the user's terminal emulator.
    [[nodiscard]] std::optional<TerminalTarget> findPlaceToOpen() override;
    [[nodiscard]] std::optional<Problem> examine(const TerminalTarget &target) override;

private:
    Applications &m_applications;
};

} // namespace vantry

#pragma once

#include "platform/TerminalDriver.h"
#include "platform/linux/TmuxRemote.h"

#include <vector>

namespace vantry {

class Applications;
class ProcessTable;

/// The panes of tmux, a terminal multiplexer. A target of the type "tmux-pane" is "socket path,pane", as in
/// "/tmp/tmux-1000/default,%3". Servers on any socket of this user; a pane is brought forward in a terminal that is
/// attached to its server, through tmux in tmux, too.
class TmuxDriver final : public TerminalDriver
{
public:
    /// The hosts are the drivers of terminals that tmux may be attached in: such a driver shows the right tab. Where
    /// none can, the window is raised. All must outlive this.
    TmuxDriver(Applications &applications, const ProcessTable &processes, std::vector<TerminalDriver *> hosts = {},
               std::chrono::milliseconds patience = TmuxRemote::usualPatience);

    [[nodiscard]] QString name() const override;
    [[nodiscard]] bool handles(const QString &terminalType) const override;
    [[nodiscard]] Abilities abilities(const TerminalTarget &target) const override;

    Failure focus(const TerminalTarget &target) override;
    /// Also into a pane that shows its scrolled-back text, which it leaves, and into no other pane where the user types
    /// into several at once.
    Failure typeText(const TerminalTarget &target, const QString &text) override;
    Failure pressReturn(const TerminalTarget &target) override;
    Failure close(const TerminalTarget &target) override;
    /// In the pane's session, also when no terminal is attached to it.
    Failure open(const TerminalTarget &target, const TerminalCommand &command) override;

    /// None: an attached tmux may be anybody's.
    [[nodiscard]] std::optional<TerminalTarget> findPlaceToOpen() override;
    [[nodiscard]] std::optional<Problem> examine(const TerminalTarget &target) override;

private:
    [[nodiscard]] TmuxRemote remote(const TmuxPane &pane) const { return TmuxRemote(pane.socket, m_patience); }
    Failure focusPane(const TmuxPane &pane, int depth);
    void showTerminalOf(std::int64_t client, int depth);
    [[nodiscard]] std::optional<TmuxPane> paneAround(std::int64_t client) const;
    bool showInHost(const TerminalTarget &target);

    Applications &m_applications;
    const ProcessTable &m_processes;
    const std::vector<TerminalDriver *> m_hosts;
    const std::chrono::milliseconds m_patience;
};

} // namespace vantry

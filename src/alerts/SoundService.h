#pragma once

#include "base/DebugLog.h"
#include "base/Defaults.h"
#include "hooks/HookEvent.h"
#include "platform/SoundPlayer.h"
#include "sessions/SessionManager.h"

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <string_view>

namespace vantry {

/// The moments that want the user's ear, in the order in which they are listed.
enum class SoundEvent { permissionPrompt, taskComplete, question };

inline constexpr std::array allSoundEvents { SoundEvent::permissionPrompt, SoundEvent::taskComplete,
                                             SoundEvent::question };

/// The case's name.
[[nodiscard]] std::string_view rawValue(SoundEvent event);
/// The selection of a user who has chosen nothing.
[[nodiscard]] QString defaultSelection(SoundEvent event);
/// Where the user's selection is kept in the defaults.
[[nodiscard]] QString selectionKey(SoundEvent event);

/// Plays a short sound at such a moment. A selection is "none", "system:" and the name of a sound, or the path of a
/// sound file. Has no state of its own. Main thread only.
class SoundService
{
public:
    /// All of these must outlive this.
    SoundService(const Defaults &defaults, SoundPlayer &player, Log &log)
        : m_defaults(defaults)
        , m_player(player)
        , m_log(log)
    {}

    /// For every hook event, after the session manager has handled it.
    void handleEvent(const HookEvent &event, const SessionManager &sessions) const;
    /// The sound that the user has chosen for the moment, unless all are turned off.
    void play(SoundEvent event) const;
    /// Plays it also when sounds are turned off.
    void playSelection(const QString &selection) const;
    /// In ascending order.
    [[nodiscard]] QStringList systemSoundNames() const { return m_player.names(); }

    /// What an event sounds like, for a session in this state; an unknown session has none.
    [[nodiscard]] static std::optional<SoundEvent> soundFor(const HookEvent &event,
                                                            std::optional<SessionState> sessionState);

private:
    [[nodiscard]] bool isEnabled() const;

    const Defaults &m_defaults;
    SoundPlayer &m_player;
    Log &m_log;
};

} // namespace vantry

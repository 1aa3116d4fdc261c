#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace vantry {

/// Plays short sounds. Playing neither waits nor stops a sound that is playing already; what can't be played is
/// silence. Main thread only, which never waits for a sound server.
class SoundPlayer
{
public:
    virtual ~SoundPlayer() = default;

    /// A sound by its name; one that nobody bears is silence.
    virtual void playNamed(const QString &name) = 0;
    /// A file: AIFF, MP3, WAV, m4a, Ogg.
    virtual void playFile(const QString &path) = 0;
    /// The names that sounds bear, in ascending order, each once.
    [[nodiscard]] virtual QStringList names() const = 0;

    struct Problem
    {
        QString detail;
        QString advice; ///< What to do about it.
    };
    /// What keeps sounds from being heard; nothing when they are. Waits for the sound server, some seconds at most.
    [[nodiscard]] virtual std::optional<Problem> problem() const = 0;
};

} // namespace vantry

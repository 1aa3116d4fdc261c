#pragma once

#include "base/WorkerPool.h"
#include "platform/SoundPlayer.h"

#include <atomic>
#include <functional>

namespace vantry {

/// Plays each sound in a process of its own, the program vantry-sound: what the sound server or a broken file does to
/// it leaves this one alone, and all that it took is given back at the sound's end. Ends what is still playing with
/// itself.
class LinuxSoundPlayer final : public SoundPlayer
{
public:
    /// So many sounds overlap; one more is dropped. A storm of events must not become a storm of processes.
    static constexpr int maximumAtOnce = 8;

    /// `program` is vantry-sound's path. A named sound is a file in one of the folders, those in front taking
    /// precedence.
    LinuxSoundPlayer(QString program, QStringList folders);

    void playNamed(const QString &name) override;
    void playFile(const QString &path) override;
    [[nodiscard]] QStringList names() const override;
    [[nodiscard]] std::optional<Problem> problem() const override;

    /// The folders of the freedesktop sound theme, the user's own in front.
    [[nodiscard]] static QStringList themeFolders();

    /// How many sounds are playing. Any thread.
    [[nodiscard]] int playing() const { return m_playing; }

private:
    /// `findFile` gives a path, or nothing; it is called in the worker, which may wait for the disk.
    void play(std::function<QString()> findFile);
    /// Empty when there is none.
    [[nodiscard]] QString fileOf(const QString &name) const;

    const QString m_program;
    const QStringList m_folders;
    std::atomic<int> m_playing { 0 };
    WorkerPool m_workers { maximumAtOnce, WorkerPool::Priority::Normal }; ///< Last: its tasks use all of the above.
};

} // namespace vantry

#include "platform/linux/LinuxSoundPlayer.h"

#include "base/Subprocess.h"

#include <QDir>
#include <QStandardPaths>

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// The kinds of file that named sounds come in.
const QStringList &suffixes()
{
    static const QStringList list { u".wav"_s, u".oga"_s, u".ogg"_s };
    return list;
}

} // namespace

LinuxSoundPlayer::LinuxSoundPlayer(QString program, QStringList folders)
    : m_program(std::move(program))
    , m_folders(std::move(folders))
{}

void LinuxSoundPlayer::playNamed(const QString &name)
{
    play([this, name] { return fileOf(name); });
}

void LinuxSoundPlayer::playFile(const QString &path)
{
    play([path] { return path; });
}

void LinuxSoundPlayer::play(std::function<QString()> findFile)
{
    if (m_playing >= maximumAtOnce)
        return;
    ++m_playing;
    m_workers.run([this, findFile = std::move(findFile)] {
        if (const QString path = findFile(); !path.isEmpty()) {
            Subprocess player;
            player.executable = m_program;
            player.arguments = { path };
            player.timeout = 10min;
            static_cast<void>(player.run());
        }
        --m_playing;
    });
}

QString LinuxSoundPlayer::fileOf(const QString &name) const
{
    // A name is no way out of the folders.
    if (name.isEmpty() || name.contains(u'/'))
        return {};
    for (const QString &folder : m_folders) {
        for (const QString &suffix : suffixes()) {
            QString path = folder + u'/' + name + suffix;
            if (QFileInfo(path).isFile())
                return path;
        }
    }
    return {};
}

QStringList LinuxSoundPlayer::names() const
{
    QStringList filters;
    for (const QString &suffix : suffixes())
        filters.append(u'*' + suffix);
    QStringList names;
    for (const QString &folder : m_folders) {
        const QStringList files = QDir(folder).entryList(filters, QDir::Files | QDir::Readable | QDir::CaseSensitive);
        for (const QString &file : files)
            names.append(file.chopped(suffixes().front().size()));
    }
    std::ranges::sort(names);
    names.removeDuplicates();
    return names;
}

std::optional<SoundPlayer::Problem> LinuxSoundPlayer::problem() const
{
    Subprocess check;
    check.executable = m_program;
    check.timeout = 5s;
    const Subprocess::Result result = check.run();
    if (!result.started)
        return Problem { u"%1 can't be started, so there are no sounds"_s.arg(m_program), u"Install Vantry again"_s };
    if (result.exitStatus == 0)
        return std::nullopt;
    if (result.exitStatus == 1) {
        return Problem { u"There is no sound device, so there are no sounds"_s,
                         u"Start PipeWire (with pipewire-pulse) or PulseAudio within your desktop's session"_s };
    }
    return Problem { u"%1 does not run, or the sound server does not answer"_s.arg(m_program),
                     u"Start the sound server again; the program needs the package \"libqt6multimedia6\""_s };
}

QStringList LinuxSoundPlayer::themeFolders()
{
    QStringList folders;
    const QStringList data = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    for (const QString &folder : data)
        folders.append(folder + u"/sounds/freedesktop/stereo"_s);
    return folders;
}

} // namespace vantry

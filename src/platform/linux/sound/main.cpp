// vantry-sound FILE plays a sound to its end; without a file it tells whether a sound would be heard. It is a program
// of its own because of the multimedia libraries: they take 25 MB that are never given back, a tenth of a second to
// come up, and now and then the process with them, over a broken file or a sound server that goes. Exit status: 0, 1
// when there is nothing to play on, 2 when the file can't be played.

#include "base/FileDescriptor.h"
#include "base/Scheduler.h"
#include "platform/linux/sound/WaveFile.h"

#include <QAudioBuffer>
#include <QAudioDecoder>
#include <QAudioDevice>
#include <QAudioSink>
#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QMediaDevices>
#include <QMediaPlayer>
#include <QUrl>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace vantry;
using namespace std::chrono_literals;

constexpr int done = 0;
constexpr int noDevice = 1;
constexpr int unplayable = 2;

/// Within this time, and some more for a sound server that hangs or a file that leads nowhere, the next step is to be
/// done. Then a signal ends the process, wherever it waits.
void expectProgress(std::chrono::seconds within = 0s)
{
    alarm(static_cast<unsigned>((within + 10s).count()));
}

/// Ends the process without giving back what ends with it anyway, which the libraries don't always survive.
[[noreturn]] void leave(int status)
{
    _exit(status);
}

/// Opens a regular file; not anything else, which would be waited for.
bool openFile(const char *path, QFile &file)
{
    FileDescriptor descriptor(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat facts
    {};
    return descriptor && fstat(descriptor.get(), &facts) == 0 && S_ISREG(facts.st_mode) &&
           file.open(descriptor.release(), QFile::ReadOnly, QFile::AutoCloseHandle);
}

/// Plays one file. All that is heard is in memory before it sounds: the media player loses what it decodes late on a
/// busy machine. Short files of the plainest kind go to the sound server as they are, which takes a third of the time.
class Playing
{
public:
    explicit Playing(QFile &file)
        : m_file(file)
    {
        constexpr qint64 isShort = 8 * 1024 * 1024;
        if (file.size() <= isShort) {
            m_bytes = file.readAll();
            if (const auto wave = WaveFile::parse({ m_bytes.constData(), static_cast<std::size_t>(m_bytes.size()) })) {
                playWave(*wave);
                return;
            }
        }
        probe();
    }

private:
    static QAudioFormat formatOf(int sampleRate, int channels)
    {
        QAudioFormat format;
        format.setSampleFormat(QAudioFormat::Int16);
        format.setChannelCount(channels);
        format.setSampleRate(sampleRate);
        return format;
    }

    void playWave(const WaveFile &wave)
    {
        m_samples.setData(wave.samples.data(), static_cast<qsizetype>(wave.samples.size()));
        playSamples(formatOf(static_cast<int>(wave.sampleRate), wave.channels));
    }

    void playSamples(const QAudioFormat &format)
    {
        m_samples.open(QBuffer::ReadOnly);
        // Left to itself, the sink takes the first device that there is.
        m_sink = std::make_unique<QAudioSink>(QMediaDevices::defaultAudioOutput(), format);
        QObject::connect(m_sink.get(), &QAudioSink::stateChanged, [this](QAudio::State state) {
            if (state == QAudio::IdleState && m_samples.atEnd())
                end();
            else if (state == QAudio::StoppedState)
                leave(unplayable);
        });
        expectProgress(std::chrono::ceil<std::chrono::seconds>(
            std::chrono::microseconds(format.durationForBytes(static_cast<qint32>(m_samples.size())))));
        m_sink->start(&m_samples);
    }

    /// The decoder waits for ever for a file that it can make nothing of; the media player tells.
    void probe()
    {
        m_player = std::make_unique<QMediaPlayer>();
        QObject::connect(m_player.get(), &QMediaPlayer::errorOccurred, [] { leave(unplayable); });
        QObject::connect(m_player.get(), &QMediaPlayer::mediaStatusChanged, [this](QMediaPlayer::MediaStatus status) {
            if (status == QMediaPlayer::InvalidMedia || (status == QMediaPlayer::LoadedMedia && !m_player->hasAudio()))
                leave(unplayable);
            else if (status == QMediaPlayer::LoadedMedia)
                m_next = m_scheduler.after(0ms, [this] { decode(); });
        });
        m_file.seek(0);
        m_player->setSourceDevice(&m_file, QUrl::fromLocalFile(m_file.fileName()));
    }

    void decode()
    {
        m_player.reset();
        m_file.seek(0);
        const QAudioFormat format = formatOf(48'000, 2);
        m_decoder = std::make_unique<QAudioDecoder>();
        m_decoder->setAudioFormat(format);
        QObject::connect(m_decoder.get(), &QAudioDecoder::bufferReady, [this, format] {
            // Five minutes; a longer sound ends there.
            constexpr qsizetype limit = 5 * 60 * 48'000 * 4;
            const QAudioBuffer buffer = m_decoder->read();
            m_decoded.append(buffer.constData<char>(), buffer.byteCount());
            expectProgress();
            if (m_decoded.size() >= limit)
                playDecoded(format);
        });
        QObject::connect(m_decoder.get(), &QAudioDecoder::finished, [this, format] { playDecoded(format); });
        QObject::connect(m_decoder.get(), qOverload<QAudioDecoder::Error>(&QAudioDecoder::error),
                         [] { leave(unplayable); });
        m_decoder->setSourceDevice(&m_file);
        m_decoder->start();
    }

    void playDecoded(const QAudioFormat &format)
    {
        m_decoder->disconnect();
        if (m_decoded.isEmpty())
            leave(unplayable);
        m_samples.setData(m_decoded);
        playSamples(format);
    }

    /// What the sound server was given is heard a little later; it would be lost with this process.
    void end()
    {
        m_next = m_scheduler.after(400ms, [] { leave(done); });
    }

    QFile &m_file;
    QByteArray m_bytes;
    QBuffer m_samples;
    QtScheduler m_scheduler;
    ScheduledTimer m_next;
    QByteArray m_decoded;
    std::unique_ptr<QMediaPlayer> m_player;
    std::unique_ptr<QAudioDecoder> m_decoder;
    std::unique_ptr<QAudioSink> m_sink;
};

} // namespace

int main(int argc, char **argv)
{
    expectProgress();
    // The other one needs plugins that nobody may have installed, and crashes without them.
    qputenv("QT_MEDIA_BACKEND", "ffmpeg");
    const QCoreApplication application(argc, argv);
    if (QMediaDevices::defaultAudioOutput().isNull())
        leave(noDevice);
    if (argc < 2)
        leave(done);
    QFile file(QFile::decodeName(argv[1]));
    if (!openFile(argv[1], file))
        leave(unplayable);
    const Playing playing(file);
    leave(QCoreApplication::exec());
}

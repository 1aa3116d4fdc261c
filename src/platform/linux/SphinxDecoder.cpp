#include "platform/linux/SphinxDecoder.h"

#include "platform/linux/LazyLibrary.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>

#include <malloc.h>
#include <pocketsphinx.h>
#include <sphinxbase/err.h>

namespace vantry {

using namespace Qt::StringLiterals;

/// The functions of libpocketsphinx that are used, and those of libsphinxbase, which comes with it.
struct SphinxLibrary
{
    SphinxLibrary()
        : library(u"pocketsphinx"_s, 3)
    {
        library.find("err_set_logfp", setLogFile);
        library.find("cmd_ln_init", makeConfiguration);
        library.find("cmd_ln_free_r", freeConfiguration);
        library.find("ps_args", arguments);
        library.find("ps_init", make);
        library.find("ps_free", free);
        library.find("ps_start_utt", startUtterance);
        library.find("ps_end_utt", endUtterance);
        library.find("ps_process_raw", process);
        library.find("ps_get_in_speech", isInSpeech);
        library.find("ps_get_hyp", hypothesis);
    }

    LazyLibrary library;
    decltype(&::err_set_logfp) setLogFile;
    decltype(&::cmd_ln_init) makeConfiguration;
    decltype(&::cmd_ln_free_r) freeConfiguration;
    decltype(&::ps_args) arguments;
    decltype(&::ps_init) make;
    decltype(&::ps_free) free;
    decltype(&::ps_start_utt) startUtterance;
    decltype(&::ps_end_utt) endUtterance;
    decltype(&::ps_process_raw) process;
    decltype(&::ps_get_in_speech) isInSpeech;
    decltype(&::ps_get_hyp) hypothesis;
};

struct SphinxDecoder::Native
{
    ps_decoder_t *decoder { nullptr };
};

namespace {

struct ModelFiles
{
    explicit ModelFiles(const QString &folder)
        : sounds(folder + u"/en-us"_s)
        , language(folder + u"/en-us.lm.bin"_s)
        , words(folder + u"/cmudict-en-us.dict"_s)
    {}

    QString sounds; ///< A folder.
    QString language;
    QString words;
};

std::int16_t toInteger(float sample)
{
    constexpr float full = 32767;
    // What is no number is silence.
    if (std::isnan(sample))
        return 0;
    return static_cast<std::int16_t>(std::lround(std::clamp(sample, -1.0F, 1.0F) * full));
}

} // namespace

SphinxDecoder::SphinxDecoder() = default;

SphinxDecoder::~SphinxDecoder()
{
    if (!m_native)
        return;
    m_sphinx->free(m_native->decoder);
    ::malloc_trim(0);
}

QString SphinxDecoder::systemModel()
{
    return u"/usr/share/pocketsphinx/model/en-us"_s;
}

bool SphinxDecoder::hasModel(const QString &folder)
{
    const ModelFiles files(folder);
    return QFileInfo(files.sounds + u"/mdef"_s).isFile() && QFileInfo(files.language).isFile() &&
           QFileInfo(files.words).isFile();
}

std::optional<QString> SphinxDecoder::libraryProblem()
{
    return SphinxLibrary().library.problem();
}

std::optional<QString> SphinxDecoder::load(const QString &modelFolder)
{
    m_sphinx = std::make_unique<SphinxLibrary>();
    if (m_sphinx->library.problem())
        return m_sphinx->library.problem();
    const ModelFiles files(modelFolder);
    m_sphinx->setLogFile(nullptr);
    auto *configuration = m_sphinx->makeConfiguration(
        nullptr, m_sphinx->arguments(), TRUE, "-hmm", files.sounds.toUtf8().constData(), "-lm",
        files.language.toUtf8().constData(), "-dict", files.words.toUtf8().constData(), "-logfn", "/dev/null", nullptr);
    auto *decoder = configuration ? m_sphinx->make(configuration) : nullptr;
    if (configuration)
        m_sphinx->freeConfiguration(configuration);
    if (!decoder)
        return u"The speech model can't be loaded"_s;
    m_native = std::make_unique<Native>(decoder);
    m_sphinx->startUtterance(decoder);
    return std::nullopt;
}

void SphinxDecoder::process(Microphone::Block block)
{
    m_samples.resize(block.size());
    std::ranges::transform(block, m_samples.begin(), toInteger);
    m_sphinx->process(m_native->decoder, m_samples.data(), m_samples.size(), FALSE, FALSE);
    const bool isInSpeech = m_sphinx->isInSpeech(m_native->decoder) != 0;
    if (m_hasSpoken && !isInSpeech)
        endUtterance();
    m_hasSpoken = isInSpeech;
}

void SphinxDecoder::finish()
{
    endUtterance();
    m_hasSpoken = false;
}

void SphinxDecoder::endUtterance()
{
    m_sphinx->endUtterance(m_native->decoder);
    m_finished = text();
    m_sphinx->startUtterance(m_native->decoder);
}

QString SphinxDecoder::text() const
{
    const QString latest = hypothesis();
    return QString(m_finished + u' ' + latest).trimmed();
}

QString SphinxDecoder::hypothesis() const
{
    std::int32_t score = 0;
    const char *words = m_sphinx->hypothesis(m_native->decoder, &score);
    return words ? QString::fromUtf8(words) : QString();
}

} // namespace vantry

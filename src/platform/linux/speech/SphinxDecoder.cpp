#include "platform/linux/speech/SphinxDecoder.h"

#include <sphinxbase/err.h>

namespace vantry {

bool SphinxDecoder::load(const std::string &modelFolder)
{
    err_set_logfp(nullptr);
    const std::string sounds = modelFolder + "/en-us";
    const std::string language = modelFolder + "/en-us.lm.bin";
    const std::string words = modelFolder + "/cmudict-en-us.dict";
    cmd_ln_t *const configuration =
        cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", sounds.c_str(), "-lm", language.c_str(), "-dict", words.c_str(),
                    "-logfn", "/dev/null", nullptr);
    if (!configuration)
        return false;
    m_decoder.reset(ps_init(configuration));
    cmd_ln_free_r(configuration);
    return m_decoder && ps_start_utt(m_decoder.get()) == 0;
}

void SphinxDecoder::process(std::span<const std::int16_t> samples)
{
    ps_process_raw(m_decoder.get(), samples.data(), samples.size(), FALSE, FALSE);
    const bool isInSpeech = ps_get_in_speech(m_decoder.get()) != 0;
    if (m_hasSpoken && !isInSpeech)
        endUtterance();
    m_hasSpoken = isInSpeech;
}

void SphinxDecoder::finish()
{
    endUtterance();
}

void SphinxDecoder::endUtterance()
{
    ps_end_utt(m_decoder.get());
    m_finished = text();
    ps_start_utt(m_decoder.get());
}

std::string SphinxDecoder::text() const
{
    const char *const latest = ps_get_hyp(m_decoder.get(), nullptr);
    if (!latest || *latest == '\0')
        return m_finished;
    return m_finished.empty() ? latest : m_finished + ' ' + latest;
}

} // namespace vantry

#pragma once

#include <pocketsphinx.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace vantry {

/// The decoder with its model for American English, some 100 MB of it. The library ends the process over a model that
/// is damaged. One thread at a time.
class SphinxDecoder
{
public:
    /// Takes half a second. False when the model in the folder can't be loaded; once, before all of the following.
    [[nodiscard]] bool load(const std::string &modelFolder);
    /// Samples of one channel, 16,000 a second.
    void process(std::span<const std::int16_t> samples);
    /// No more will come.
    void finish();
    /// All that has been understood, in small letters, UTF-8.
    [[nodiscard]] std::string text() const;

private:
    struct Release
    {
        void operator()(ps_decoder_t *decoder) const { ps_free(decoder); }
    };

    /// Takes over what is being said as final, so that neither the work nor the memory grows with the length of all.
    void endUtterance();

    std::unique_ptr<ps_decoder_t, Release> m_decoder;
    std::string m_finished;
    bool m_hasSpoken { false }; ///< In this utterance.
};

} // namespace vantry

#pragma once

#include "platform/Microphone.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vantry {

struct SphinxLibrary;

/// The decoder with its model for American English, some 100 MB of it. One thread at a time.
class SphinxDecoder
{
public:
    SphinxDecoder();
    /// Gives the model's memory back to the system.
    ~SphinxDecoder();
    SphinxDecoder(const SphinxDecoder &) = delete;
    SphinxDecoder &operator=(const SphinxDecoder &) = delete;

    /// The folder of the model as its package has it.
    [[nodiscard]] static QString systemModel();
    /// Whether all of a model is there.
    [[nodiscard]] static bool hasModel(const QString &folder);
    /// Why the library can't be used, if so. Loads it.
    [[nodiscard]] static std::optional<QString> libraryProblem();

    /// Takes half a second. Gives why it failed; once, before all of the following.
    [[nodiscard]] std::optional<QString> load(const QString &modelFolder);
    void process(Microphone::Block block);
    /// No more will come for a while.
    void finish();
    /// All that has been understood, in small letters.
    [[nodiscard]] QString text() const;

private:
    struct Native;

    /// Takes over what is being said as final, so that neither the work nor the memory grows with the length of all.
    void endUtterance();
    [[nodiscard]] QString hypothesis() const;

    std::unique_ptr<SphinxLibrary> m_sphinx;
    std::unique_ptr<Native> m_native;
    std::vector<std::int16_t> m_samples;
    QString m_finished;
    bool m_hasSpoken { false }; ///< In this utterance.
};

} // namespace vantry

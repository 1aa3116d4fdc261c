#pragma once

#include <QString>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace vantry::bench {

/// Makes transcripts of any size from lines that a real agent wrote. Their lengths are spread as those of long sessions
/// are: median 1.3 KB, nine in ten under 32 KB, one in a hundred over 200 KB; the long ones are mostly results of
/// tools. The same bytes for the same seed.
class RealisticTranscript
{
public:
    explicit RealisticTranscript(unsigned seed = 1);

    /// Lines, each with its line feed, until they have at least so many bytes.
    [[nodiscard]] std::string lines(std::size_t bytes);
    /// Adds so many bytes to the file at the path.
    void append(const QString &path, std::size_t bytes);

private:
    using Json = nlohmann::ordered_json;

    [[nodiscard]] std::string line();
    /// Text of an agent's work: code, paths, quotes, now and then a character that is not ASCII.
    [[nodiscard]] std::string text(std::size_t length);
    [[nodiscard]] const Json &pick(const std::vector<Json> &choices);
    [[nodiscard]] unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    std::mt19937 m_random;
    std::vector<Json> m_prompts;
    std::vector<Json> m_results;
    std::vector<Json> m_texts;
    std::vector<Json> m_calls;
    std::vector<Json> m_others;
    std::uint64_t m_number { 0 };
};

} // namespace vantry::bench

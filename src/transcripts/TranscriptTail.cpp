#include "transcripts/TranscriptTail.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace vantry {
namespace {

/// What stands before the bytes that were read of a file.
enum class Before { Nothing, More, TooFar };

/// Where the tail begins in the last bytes of a file. Nothing when that can't be told without more of them.
std::optional<std::size_t> beginOfTail(std::string_view bytes, Before before)
{
    std::size_t begin = bytes.size() - std::min(bytes.size(), transcriptTailLength);
    bool hasSteppedBack = false;
    while (begin > 0) {
        const std::size_t feedBefore = bytes.rfind('\n', begin - 1);
        const bool beginsBefore = feedBefore == std::string_view::npos && before != Before::Nothing;
        if (beginsBefore && before == Before::More)
            return std::nullopt;
        const std::size_t lineBegin = feedBefore == std::string_view::npos ? 0 : feedBefore + 1;
        const std::size_t lineEnd = std::min(bytes.find('\n', begin), bytes.size());
        if (beginsBefore || lineEnd - lineBegin <= transcriptTailLength)
            return hasSteppedBack && lineBegin < begin ? lineEnd + 1 : begin;
        if (lineBegin < transcriptTailLength && before == Before::More)
            return std::nullopt;
        begin = lineBegin - std::min(lineBegin, transcriptTailLength);
        hasSteppedBack = true;
    }
    const bool isCut = hasSteppedBack && before != Before::Nothing;
    return isCut ? bytes.find('\n') + 1 : 0;
}

} // namespace

std::optional<std::string> readTranscriptTail(const TranscriptFile &file)
{
    const std::uint64_t size = file.size();
    // Twice the tail is enough to see how long an ordinary line at the cut is.
    for (std::size_t length = 2 * transcriptTailLength; length <= longestTranscriptTail; length *= 2) {
        const bool isWhole = length >= size;
        const std::uint64_t offset = isWhole ? 0 : size - length;
        std::optional<std::string> bytes = file.read(offset, static_cast<std::size_t>(size - offset));
        if (!bytes)
            return std::nullopt;
        const Before before = isWhole                           ? Before::Nothing
                              : length == longestTranscriptTail ? Before::TooFar
                                                                : Before::More;
        if (const auto begin = beginOfTail(*bytes, before))
            return bytes->erase(0, *begin);
    }
    return std::nullopt; // Never reached: the longest tail always begins somewhere.
}

} // namespace vantry

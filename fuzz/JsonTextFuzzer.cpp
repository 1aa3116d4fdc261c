#include "base/AnyCodable.h"
#include "base/JsonReader.h"
#include "base/JsonText.h"

#include <simdjson.h>

#include <cstdint>
#include <cstdlib>

namespace {

/// What holds for any text must hold; a broken rule ends the run, and libFuzzer keeps the text.
void require(bool condition)
{
    if (!condition)
        std::abort();
}

enum class Verdict { Sound, Unsound, Unknown };

/// What another parser says, where it has the same rules: it refuses lone surrogates and numbers beyond a double, takes
/// a byte order mark, takes a NUL for the end, and has no limit on nesting.
Verdict otherParsers(std::string_view text)
{
    const bool hasOtherRules = text.find("\\u") != std::string_view::npos || text.starts_with("\xEF\xBB\xBF") ||
                               text.find('\0') != std::string_view::npos ||
                               text.size() > static_cast<std::size_t>(vantry::maximumJsonDepth);
    if (hasOtherRules)
        return Verdict::Unknown;
    try {
        static_cast<void>(nlohmann::json::parse(text));
        return Verdict::Sound;
    } catch (const nlohmann::json::out_of_range &) {
        return Verdict::Unknown;
    } catch (const nlohmann::json::parse_error &) {
        return Verdict::Unsound;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace vantry;
    const std::string_view text(reinterpret_cast<const char *>(data), size);

    const bool isSound = !jsonDefect(text);
    const Verdict other = otherParsers(text);
    require(other == Verdict::Unknown || isSound == (other == Verdict::Sound));
    require(isSound == (simdjson::validate_utf8(text) && isSoundJson(text)));

    if (const auto value = JsonText::parse(text)) {
        const std::string pretty = value->toPrettyText();
        const auto again = JsonText::parse(pretty);
        require(again.has_value());
        require(again->toPrettyText() == pretty);
    }
    if (const auto map = AnyCodableMap::fromText(text)) {
        require(isSound);
        const nlohmann::json all = map->toJson();
        require(all.size() == 0 || !map->isEmpty());
        for (const auto &[key, value] : all.items())
            require(map->value(key).has_value());
        // What was made can be written and read again, as the same value.
        const auto again = AnyCodableMap::fromText(all.dump());
        require(again && again->toJson() == all);
    }
    // Reading stays within the text, whatever it is.
    const AnyCodableMap unchecked { std::string(text.substr(0, 256)) };
    static_cast<void>(unchecked.value("a"));
    return 0;
}

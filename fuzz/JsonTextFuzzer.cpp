#include "base/AnyCodable.h"
#include "base/JsonText.h"

#include <cstdint>
#include <cstdlib>

namespace {

/// What holds for any text must hold; a broken rule ends the run, and libFuzzer keeps the text.
void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// Whether the other parser's refusal is one that we mean to have differently: it refuses lone surrogates and
/// has no limit on nesting.
bool mayDiffer(std::string_view text)
{
    return text.find("\\u") != std::string_view::npos || text.find("\xEF\xBB\xBF") == 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace vantry;
    const std::string_view text(reinterpret_cast<const char *>(data), size);

    const bool isSound = !jsonDefect(text);
    if (isSound && !mayDiffer(text))
        require(nlohmann::json::accept(text));
    if (!isSound && !mayDiffer(text) && size <= static_cast<std::size_t>(maximumJsonDepth))
        require(!nlohmann::json::accept(text));

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

// Decoding of a hook event: what it takes is one sound JSON text, what it gives can be read through, and what stands
// behind the text has no say in it.

#include "base/JsonText.h"
#include "hooks/HookEvent.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

using namespace vantry;

namespace {

void readThrough(const HookEvent &event)
{
    static_cast<void>(event.questions());
    for (const auto &map : { event.toolInput, event.toolResponse }) {
        if (map && !map->toJson().is_object())
            std::abort();
    }
    for (const AnyCodableMap &suggestion : event.permissionSuggestions.value_or(std::vector<AnyCodableMap>())) {
        if (!suggestion.toJson().is_object())
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const auto decoded = HookEvent::decode(text);

    std::vector<char> padded(size + HookEvent::padding, '"');
    std::copy_n(data, size, padded.begin());
    if (HookEvent::decodePadded({ padded.data(), size }).index() != decoded.index())
        std::abort();

    if (const auto *event = std::get_if<HookEvent>(&decoded)) {
        if (jsonDefect(text))
            std::abort();
        readThrough(*event);
    }
    return 0;
}

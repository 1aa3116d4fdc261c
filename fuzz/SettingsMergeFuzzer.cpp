// The hook merged into any settings: all that is not ours stays, and merging twice equals merging once.

#include "hooks/HookSettings.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using vantry::JsonText;

namespace {

constexpr std::string_view command = "python3 /home/user/.claude/hooks/vantry_hook.py --port 49152";

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Every member of the one object, but "hooks", is the same in the other.
void requireSameBesideHooks(const JsonText &from, const JsonText &in)
{
    for (const JsonText::Member &member : from.members()) {
        const JsonText *kept = in.find(member.key);
        require(member.key == "hooks" || (kept && *kept == member.value));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto settings = JsonText::parse(std::string_view(reinterpret_cast<const char *>(data), size));
    if (!settings)
        return 0;

    const JsonText once = vantry::settingsWithHook(*settings, command);
    require(vantry::settingsNameHook(once));
    require(vantry::settingsWithHook(once, command) == once);
    if (settings->isObject()) {
        requireSameBesideHooks(*settings, once);
        requireSameBesideHooks(once, *settings);
    }

    const auto read = JsonText::parse(once.toPrettyText());
    require(read && read->toPrettyText() == once.toPrettyText());
    require(vantry::settingsWithHook(*read, command).toPrettyText() == once.toPrettyText());
    return 0;
}

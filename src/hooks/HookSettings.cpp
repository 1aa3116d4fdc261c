#include "hooks/HookSettings.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <utility>

namespace vantry {
namespace {

constexpr std::array<std::string_view, 18> registeredEvents {
    "Notification",       "Stop",           "SessionStart",       "SessionEnd",        "UserPromptSubmit",
    "PreToolUse",         "PostToolUse",    "PostToolUseFailure", "PermissionRequest", "SubagentStart",
    "SubagentStop",       "PreCompact",     "TaskCompleted",      "TeammateIdle",      "ConfigChange",
    "InstructionsLoaded", "WorktreeCreate", "WorktreeRemove",
};

std::string stringUnder(const JsonText &object, std::string_view key)
{
    const JsonText *value = object.find(key);
    return value ? value->asString().value_or(std::string()) : std::string();
}

/// Recognised by the script, or by the address that older versions registered.
bool isOurs(const JsonText &entry)
{
    const std::string command = stringUnder(entry, "command");
    const std::string url = stringUnder(entry, "url");
    return command.find("vantry_hook.py") != std::string::npos ||
           (url.find("localhost") != std::string::npos && url.ends_with("/hook"));
}

bool isArrayOfObjects(const JsonText *value)
{
    return value && value->isArray() &&
           std::all_of(value->elements().begin(), value->elements().end(),
                       [](const JsonText &element) { return element.isObject(); });
}

/// The group without our entries; nothing when it held none but ours. A group of an unknown form stays.
std::optional<JsonText> withoutOurs(JsonText group)
{
    const JsonText *hooks = group.find("hooks");
    if (!isArrayOfObjects(hooks))
        return group;

    JsonText kept = *hooks;
    std::erase_if(kept.elements(), isOurs);
    if (kept.elements().empty())
        return std::nullopt;
    group.set("hooks", std::move(kept));
    return group;
}

JsonText hookGroup(std::string_view command)
{
    JsonText entry;
    entry.set("type", JsonText::string("command"));
    entry.set("command", JsonText::string(command));
    JsonText entries = JsonText::array();
    entries.elements().push_back(std::move(entry));
    JsonText group;
    group.set("hooks", std::move(entries));
    return group;
}

JsonText groupsWithHook(const JsonText *before, const JsonText &ours)
{
    JsonText groups = JsonText::array();
    if (isArrayOfObjects(before)) {
        for (const JsonText &group : before->elements()) {
            if (auto kept = withoutOurs(group))
                groups.elements().push_back(*std::move(kept));
        }
    }
    groups.elements().push_back(ours);
    return groups;
}

/// Whether an entry of this event fits.
bool eventNames(const JsonText &settings, std::string_view event, const std::function<bool(const JsonText &)> &fits)
{
    const JsonText *hooks = settings.find("hooks");
    const JsonText *groups = hooks ? hooks->find(event) : nullptr;
    if (!isArrayOfObjects(groups))
        return false;
    return std::any_of(groups->elements().begin(), groups->elements().end(), [&](const JsonText &group) {
        const JsonText *entries = group.find("hooks");
        return isArrayOfObjects(entries) && std::any_of(entries->elements().begin(), entries->elements().end(), fits);
    });
}

} // namespace

JsonText settingsWithHook(JsonText settings, std::string_view command)
{
    if (!settings.isObject())
        settings = JsonText::object();
    const JsonText *before = settings.find("hooks");
    JsonText hooks = before && before->isObject() ? *before : JsonText::object();

    const JsonText ours = hookGroup(command);
    for (const std::string_view event : registeredEvents)
        hooks.set(event, groupsWithHook(hooks.find(event), ours));
    settings.set("hooks", std::move(hooks));
    return settings;
}

std::vector<std::string_view> eventsWithoutHook(const JsonText &settings, std::string_view command)
{
    const auto isThisHook = [command](const JsonText &entry) { return stringUnder(entry, "command") == command; };
    std::vector<std::string_view> missing;
    for (const std::string_view event : registeredEvents) {
        if (!eventNames(settings, event, isThisHook))
            missing.push_back(event);
    }
    return missing;
}

bool settingsNameHook(const JsonText &settings)
{
    return eventNames(settings, "Notification", isOurs);
}

} // namespace vantry

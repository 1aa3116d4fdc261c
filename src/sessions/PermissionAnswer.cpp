#include "sessions/PermissionAnswer.h"

namespace vantry {

namespace {

/// `members` are those of the object "decision", as JSON text.
std::string body(std::string_view members)
{
    std::string text = R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{)";
    text += members;
    text += "}}}";
    return text;
}

} // namespace

std::string decisionBody(std::string_view behavior)
{
    std::string members = R"("behavior":")";
    members += behavior;
    members += '"';
    return body(members);
}

std::string interruptBody()
{
    return body(R"("behavior":"deny","interrupt":true,"message":"Stopped by user from Vantry")");
}

std::string alwaysAllowBody(const std::vector<AnyCodableMap> &updatedPermissions)
{
    std::string members = R"("behavior":"allow","updatedPermissions":[)";
    for (std::size_t i = 0; i < updatedPermissions.size(); ++i) {
        if (i > 0)
            members += ',';
        members += updatedPermissions[i].sourceText();
    }
    members += ']';
    return body(members);
}

} // namespace vantry

#pragma once

#include "sessions/AgentPermissionMode.h"

#include <QString>
#include <QStringList>

#include <variant>

namespace vantry {

/// How a command prints what it found: a table for people, or one JSON document.
enum class OutputForm { Text, Json };

/// What the program was called for; one small type for each command.
namespace command {

struct Start
{
    enum class Windows { WhereThereIsADisplay, None };
    enum class Sessions { TheUsers, Invented };
    Windows windows { Windows::WhereThereIsADisplay };
    Sessions sessions { Sessions::TheUsers };
    friend bool operator==(const Start &, const Start &) = default;
};
struct Help
{
    friend bool operator==(const Help &, const Help &) = default;
};
struct Version
{
    friend bool operator==(const Version &, const Version &) = default;
};
struct Status
{
    OutputForm form { OutputForm::Text };
    friend bool operator==(const Status &, const Status &) = default;
};
struct Watch
{
    OutputForm form { OutputForm::Text };
    friend bool operator==(const Watch &, const Watch &) = default;
};
struct Allow
{
    QString id; ///< Here and below: an identifier or a leading part of one, not empty.
    friend bool operator==(const Allow &, const Allow &) = default;
};
struct Deny
{
    enum class Agent { GoesOn, Stops };
    QString id;
    Agent agent { Agent::GoesOn };
    friend bool operator==(const Deny &, const Deny &) = default;
};
struct AlwaysAllow
{
    QString id;
    friend bool operator==(const AlwaysAllow &, const AlwaysAllow &) = default;
};
struct Kill
{
    QString id;
    friend bool operator==(const Kill &, const Kill &) = default;
};
struct Answer
{
    QString id;
    int index { 0 }; ///< Of the option, from 0.
    friend bool operator==(const Answer &, const Answer &) = default;
};
struct Send
{
    QString id;
    QString text; ///< Not empty.
    friend bool operator==(const Send &, const Send &) = default;
};
struct Focus
{
    QString id;
    friend bool operator==(const Focus &, const Focus &) = default;
};
struct Launch
{
    enum class Mode { Fresh, Resume, ContinueLatest };
    QString path; ///< Of the project; may be relative.
    Mode mode { Mode::Fresh };
    QString sessionID {}; ///< Of the session to resume, as `id` above; else empty.
    AgentPermissionMode permissionMode { AgentPermissionMode::askPermissions };
    friend bool operator==(const Launch &, const Launch &) = default;
};
struct Search
{
    QStringList words; ///< At least one.
    int limit { 20 };  ///< At least 1.
    OutputForm form { OutputForm::Text };
    friend bool operator==(const Search &, const Search &) = default;
};
struct Recent
{
    int limit { 20 }; ///< At least 1.
    OutputForm form { OutputForm::Text };
    friend bool operator==(const Recent &, const Recent &) = default;
};
struct Projects
{
    int limit { 20 }; ///< At least 1.
    OutputForm form { OutputForm::Text };
    friend bool operator==(const Projects &, const Projects &) = default;
};
struct Messages
{
    QString source;   ///< A session's `id` as above, or a transcript's file.
    int limit { 20 }; ///< At least 1.
    OutputForm form { OutputForm::Text };
    friend bool operator==(const Messages &, const Messages &) = default;
};
struct HookInstall
{
    OutputForm form { OutputForm::Text };
    friend bool operator==(const HookInstall &, const HookInstall &) = default;
};
struct HookStatus
{
    OutputForm form { OutputForm::Text };
    friend bool operator==(const HookStatus &, const HookStatus &) = default;
};
struct Doctor
{
    OutputForm form { OutputForm::Text };
    friend bool operator==(const Doctor &, const Doctor &) = default;
};
struct Show
{
    friend bool operator==(const Show &, const Show &) = default;
};
struct Settings
{
    friend bool operator==(const Settings &, const Settings &) = default;
};
struct Quit
{
    friend bool operator==(const Quit &, const Quit &) = default;
};

} // namespace command

using Command = std::variant<command::Start, command::Help, command::Version, command::Status, command::Watch,
                             command::Allow, command::Deny, command::AlwaysAllow, command::Answer, command::Send,
                             command::Focus, command::Kill, command::Launch, command::Search, command::Recent,
                             command::Projects, command::Messages, command::HookInstall, command::HookStatus,
                             command::Doctor, command::Show, command::Settings, command::Quit>;

/// Why a command line can't be understood, as one line for a person.
struct UsageError
{
    QString message;
};

/// Reads the arguments behind the program's name. Pure. "--" ends the options; "--help" anywhere before it asks for
/// help.
[[nodiscard]] std::variant<Command, UsageError> parseCommandLine(const QStringList &arguments);

} // namespace vantry

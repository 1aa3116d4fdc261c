#include "platform/linux/KittyDriver.h"

#include "base/AnyCodable.h"
#include "platform/Applications.h"
#include "platform/linux/KittyRemote.h"
#include "platform/linux/LoginShell.h"

#include <QFileInfo>

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;
using nlohmann::json;

namespace {

using Kind = KittyFailure::Kind;

struct KittyTarget
{
    KittyAddress address;
    std::uint64_t window { 0 };

    /// The address may hold commas.
    [[nodiscard]] static std::optional<KittyTarget> parse(const QString &text)
    {
        const qsizetype comma = text.lastIndexOf(u',');
        if (comma < 0)
            return std::nullopt;
        const auto address = KittyAddress::parse(QStringView(text).first(comma));
        const QStringView digits = QStringView(text).sliced(comma + 1);
        const bool hasOnlyDigits = std::ranges::all_of(digits, [](QChar c) { return c >= u'0' && c <= u'9'; });
        bool isNumber = false;
        const std::uint64_t window = digits.toULongLong(&isNumber);
        if (!address || !hasOnlyDigits || !isNumber || window == 0)
            return std::nullopt;
        return KittyTarget { *address, window };
    }
};

/// A window of kitty's own, within one of the desktop's.
struct KittyWindow
{
    std::uint64_t id { 0 };
    std::optional<Applications::WindowID> desktopWindow; ///< None on Wayland.

    [[nodiscard]] std::string match() const { return "id:" + std::to_string(id); }
};

const json &member(const json &value, const char *key)
{
    static const json nothing;
    const auto found = value.is_object() ? value.find(key) : value.end();
    return found == value.end() ? nothing : *found;
}

bool isNumber(const json &value, std::uint64_t number)
{
    return value.is_number_integer() && value == json(number);
}

std::variant<KittyWindow, KittyFailure> findWindow(KittyRemote &kitty, std::uint64_t id)
{
    auto answer = kitty.ask("ls", json::object());
    if (auto *failure = std::get_if<KittyFailure>(&answer))
        return std::move(*failure);
    // An environment may hold what is no sound UTF-8, which this reading lets pass.
    const auto tree = AnyCodableMap::fromText("{\"list\":" + std::get<std::string>(answer) + '}');
    if (!tree)
        return KittyFailure { Kind::Rejected, u"kitty gave a list of windows that can't be understood"_s };
    const json list = tree->toJson();
    for (const json &desktopWindow : member(list, "list")) {
        for (const json &tab : member(desktopWindow, "tabs")) {
            for (const json &window : member(tab, "windows")) {
                if (!isNumber(member(window, "id"), id))
                    continue;
                KittyWindow found { id, std::nullopt };
                if (const json &platformID = member(desktopWindow, "platform_window_id");
                    platformID.is_number_integer() && platformID > json(0))
                    found.desktopWindow = platformID.get<Applications::WindowID>();
                return found;
            }
        }
    }
    return KittyFailure { Kind::NoWindow, u"the kitty window is gone"_s };
}

/// Connects, sees that the target's window is there, and hands both to the operation.
template <typename Operation>
std::optional<KittyFailure> withWindow(const TerminalTarget &target, std::chrono::milliseconds patience,
                                       Operation operation)
{
    const auto parsed = KittyTarget::parse(target.sessionID);
    if (!parsed)
        return KittyFailure { Kind::NoWindow, u"there is no usable kitty window"_s };
    KittyRemote kitty(patience);
    if (auto failure = kitty.connect(parsed->address))
        return failure;
    auto window = findWindow(kitty, parsed->window);
    if (auto *failure = std::get_if<KittyFailure>(&window))
        return std::move(*failure);
    return operation(kitty, std::get<KittyWindow>(window));
}

std::optional<KittyFailure> ask(KittyRemote &kitty, std::string_view command, const json &payload)
{
    auto answer = kitty.ask(command, payload);
    auto *failure = std::get_if<KittyFailure>(&answer);
    return failure ? std::optional(std::move(*failure)) : std::nullopt;
}

TerminalDriver::Failure textOf(std::optional<KittyFailure> failure)
{
    return failure ? std::optional(std::move(failure->text)) : std::nullopt;
}

/// Types the bytes, and sees that kitty has come so far and that the window is still there: it says nothing by itself.
TerminalDriver::Failure type(const TerminalTarget &target, std::chrono::milliseconds patience, const QByteArray &bytes)
{
    return textOf(withWindow(target, patience, [&](KittyRemote &kitty, const KittyWindow &window) {
        // kitty drops a message beyond 64 KiB. The pieces join again, also where they cut a character.
        constexpr qsizetype pieceSize = 16 * 1024;
        for (qsizetype from = 0; from < bytes.size(); from += pieceSize) {
            const QByteArray piece = bytes.mid(from, pieceSize).toBase64();
            const json payload { { "match", window.match() }, { "data", "base64:" + piece.toStdString() } };
            if (auto failure = kitty.tell("send-text", payload))
                return failure;
        }
        auto after = findWindow(kitty, window.id);
        auto *failure = std::get_if<KittyFailure>(&after);
        return failure ? std::optional(std::move(*failure)) : std::nullopt;
    }));
}

QString remoteControlAdvice()
{
    return u"put the two lines \"allow_remote_control socket-only\" and "
           "\"listen_on unix:${XDG_RUNTIME_DIR}/kitty-{kitty_pid}\" into ~/.config/kitty/kitty.conf, then quit kitty "
           "and "
           "start it again"_s;
}

} // namespace

KittyDriver::KittyDriver(Applications &applications, std::chrono::milliseconds patience)
    : m_applications(applications)
    , m_patience(patience)
{}

QString KittyDriver::name() const
{
    return u"kitty"_s;
}

bool KittyDriver::handles(const QString &terminalType) const
{
    return terminalType == u"kitty-window" || terminalType == u"kitty";
}

TerminalDriver::Abilities KittyDriver::abilities(const TerminalTarget &target) const
{
    if (target.type != u"kitty-window" || !KittyTarget::parse(target.sessionID))
        return {};
    return { .focus = true, .type = true, .open = true, .close = true };
}

TerminalDriver::Failure KittyDriver::focus(const TerminalTarget &target)
{
    std::optional<Applications::WindowID> desktopWindow;
    if (auto failure = withWindow(target, m_patience, [&](KittyRemote &kitty, const KittyWindow &window) {
            desktopWindow = window.desktopWindow;
            return ask(kitty, "focus-window", { { "match", window.match() } });
        }))
        return std::move(failure->text);
    // kitty asks for the focus as well, which window managers don't give to every program that asks.
    if (desktopWindow && !m_applications.raise(*desktopWindow))
        return u"kitty's window could not be brought forward"_s;
    return std::nullopt;
}

TerminalDriver::Failure KittyDriver::typeText(const TerminalTarget &target, const QString &text)
{
    return type(target, m_patience, text.toUtf8());
}

TerminalDriver::Failure KittyDriver::pressReturn(const TerminalTarget &target)
{
    return type(target, m_patience, "\r");
}

TerminalDriver::Failure KittyDriver::close(const TerminalTarget &target)
{
    return textOf(withWindow(target, m_patience, [](KittyRemote &kitty, const KittyWindow &window) {
        auto failure = ask(kitty, "close-window", { { "match", window.match() } });
        // What ran in the window may have ended by itself by now, and without its last window kitty ends, too, and may
        // not come to answer.
        const bool isClosed = failure && (failure->kind == Kind::NoWindow || failure->kind == Kind::Unreachable);
        return isClosed ? std::nullopt : failure;
    }));
}

TerminalDriver::Failure KittyDriver::open(const TerminalTarget &target, const TerminalCommand &command)
{
    if (!QFileInfo(command.directory).isDir())
        return u"there is no folder "_s + command.directory;
    std::optional<Applications::WindowID> desktopWindow;
    if (auto failure = withWindow(target, m_patience, [&](KittyRemote &kitty, const KittyWindow &window) {
            desktopWindow = window.desktopWindow;
            json words = json::array();
            for (const QString &word : loginShellArguments(command.commandLine))
                words.push_back(word.toStdString());
            return ask(kitty, "launch",
                       { { "type", "tab" },
                         { "match", "window_id:" + std::to_string(window.id) },
                         { "cwd", command.directory.toStdString() },
                         { "args", words } });
        }))
        return std::move(failure->text);
    // The tab is there; that its window could not be brought forward is no reason to open another one elsewhere.
    if (desktopWindow)
        m_applications.raise(*desktopWindow);
    return std::nullopt;
}

std::optional<TerminalTarget> KittyDriver::findPlaceToOpen()
{
    return std::nullopt;
}

std::optional<TerminalDriver::Problem> KittyDriver::examine(const TerminalTarget &target)
{
    if (target.type == u"kitty")
        return Problem { u"kitty listens for no commands, so nothing can be typed into it"_s, remoteControlAdvice() };
    const auto failure = withWindow(target, m_patience,
                                    [](KittyRemote &, const KittyWindow &) { return std::optional<KittyFailure>(); });
    if (!failure)
        return std::nullopt;
    switch (failure->kind) {
    case Kind::Disabled:
    case Kind::Unreachable:
        return Problem { failure->text, remoteControlAdvice() };
    case Kind::Unanswered:
        return Problem { failure->text, u"see whether kitty hangs or shows a question"_s };
    case Kind::NoWindow:
    case Kind::Rejected:
        break;
    }
    return Problem { failure->text, u"start the agent again in a new kitty window"_s };
}

} // namespace vantry

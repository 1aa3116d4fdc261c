#include "terminal/TerminalBridge.h"

#include "base/DebugLog.h"
#include "platform/Applications.h"
#include "terminal/AgentLauncher.h"
#include "terminal/ScriptRunner.h"
#include "terminal/SessionTarget.h"
#include "terminal/TerminalScripts.h"
#include "terminal/TypingRules.h"

#include <QPointer>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace vantry {

namespace {

using Abilities = TerminalDriver::Abilities;
using TypingRules::Decision;
using TypingRules::Keystrokes;

/// The agent takes keys that come in one go for one paste, in which Return is a line break.
constexpr std::chrono::milliseconds pauseBetweenKeys { 100 };

/// How long it may take until an event tells that a question is no longer open. A second answer within it would go to
/// whatever the agent asks next.
constexpr std::chrono::seconds patienceForAnswers { 3 };

constexpr QStringView kittyTool = u"/usr/local/bin/kitty";

/// What belongs to a terminal's type or to one of its other names.
struct Named
{
    QStringView name;
    QStringView value;
};

template <std::size_t size>
std::optional<QString> valueOf(const std::array<Named, size> &table, QStringView name)
{
    const auto *const found = std::ranges::find(table, name, &Named::name);
    return found == table.end() ? std::nullopt : std::optional(found->value.toString());
}

/// Types whose application is brought forward by script.
constexpr std::array<Named, 4> activatedTypes { {
    { u"terminal", u"Terminal" },
    { u"warp", u"Warp" },
    { u"alacritty", u"Alacritty" },
    { u"ghostty", u"Ghostty" },
} };

/// Types whose application is brought forward, if it is running, by bundle identifier.
constexpr std::array<Named, 4> bundledTypes { {
    { u"vscode", u"com.microsoft.VSCode" },
    { u"vscode-insiders", u"com.microsoft.VSCodeInsiders" },
    { u"cursor", u"com.todesktop.230313mzl4w4u92" },
    { u"windsurf", u"com.exafunction.windsurf" },
} };

/// Applications by what else a type may be, in lower case. "terminal" is none of these: only the exact type is known.
constexpr std::array<Named, 14> applicationsByName { {
    { u"iterm.app", u"iTerm2" },
    { u"iterm2", u"iTerm2" },
    { u"apple_terminal", u"Terminal" },
    { u"warpterm", u"Warp" },
    { u"warp", u"Warp" },
    { u"warpterminal", u"Warp" },
    { u"ghostty", u"Ghostty" },
    { u"kitty", u"kitty" },
    { u"alacritty", u"Alacritty" },
    { u"vscode", u"Visual Studio Code" },
    { u"vscode-insiders", u"Visual Studio Code - Insiders" },
    { u"cursor", u"Cursor" },
    { u"windsurf", u"Windsurf" },
    { u"tmux", u"Terminal" },
} };

bool isITermSession(const TerminalTarget &target)
{
    return target.type == u"iterm2" && !target.sessionID.isEmpty();
}

/// The keys as steps for a driver. Each is typed only while `decide`, if it is set, still gives the same keys for the
/// session and the same questions are open: what was decided on may be a while ago.
TerminalLanes::Steps stepsFor(TerminalDriver &driver, const VantrySession &session, const Keystrokes &keys,
                              const std::function<Decision(const VantrySession &)> &decide)
{
    std::function<TerminalDriver::Failure()> mayBegin;
    if (decide) {
        mayBegin = [pointer = QPointer<const VantrySession>(&session), questions = session.questions(), keys,
                    decide]() -> TerminalDriver::Failure {
            if (!pointer)
                return u"the session has gone"_s;
            const Decision decision = decide(*pointer);
            if (const auto *refusal = std::get_if<TypingRules::Refusal>(&decision))
                return *refusal;
            if (std::get<Keystrokes>(decision) != keys || pointer->questions() != questions)
                return u"the session asks something else by now"_s;
            return std::nullopt;
        };
    }
    TerminalLanes::Steps steps;
    const TerminalTarget target = targetOf(session);
    for (const QString &text : keys.texts) {
        if (!text.isEmpty())
            steps.push_back(
                { [&driver, target, text] { return driver.typeText(target, text); }, pauseBetweenKeys, mayBegin });
    }
    if (keys.submits)
        steps.push_back({ [&driver, target] { return driver.pressReturn(target); }, pauseBetweenKeys, mayBegin });
    return steps;
}

} // namespace

TerminalBridge::TerminalBridge(Ports ports, QString pythonPath)
    : m_ports(std::move(ports))
    , m_pythonPath(std::move(pythonPath))
    , m_completions(std::make_shared<TerminalCompletions>(m_ports.mainQueue))
    , m_scripts(std::make_unique<ScriptRunner>(m_ports.scripts, m_completions, m_ports.log))
    , m_launcher(std::make_unique<AgentLauncher>(m_ports, m_lanes, *m_scripts, *m_completions))
    , m_lanes(m_ports.mainQueue, m_ports.scheduler)
{}

TerminalBridge::~TerminalBridge() = default;

// Bringing forward

void TerminalBridge::focusTerminal(const VantrySession &session, Completion completion)
{
    const TerminalTarget target = targetOf(session);
    // In a lane of its own: to look at a terminal, nobody waits for what is being typed into it.
    if (TerminalDriver *driver = driverFor(target, &Abilities::focus))
        drive(*driver, u"focus"_s, TerminalLanes::laneOf(target) + u"\nfocus",
              { { [driver, target] { return driver->focus(target); } } }, std::move(completion));
    else if (target.type == u"iterm2")
        focusITerm2(target.sessionID, std::move(completion));
    else if (target.type == u"kitty")
        focusKitty(target.sessionID, std::move(completion));
    else if (const auto application = valueOf(activatedTypes, target.type))
        m_scripts->runAppleScript(TerminalScripts::activate(*application), std::move(completion));
    else if (const auto bundle = valueOf(bundledTypes, target.type))
        focusBundle(*bundle, std::move(completion));
    else
        focusByName(target.type, std::move(completion));
}

void TerminalBridge::focusITerm2(const QString &sessionID, Completion completion)
{
    m_scripts->runAppleScript(sessionID.isEmpty() ? TerminalScripts::activate(u"iTerm2"_s)
                                                  : TerminalScripts::selectITermSession(sessionID),
                              std::move(completion));
}

void TerminalBridge::focusKitty(const QString &sessionID, Completion completion)
{
    if (!sessionID.isEmpty())
        m_scripts->runTool(kittyTool.toString(), { u"@"_s, u"focus-window"_s, u"--match"_s, u"id:"_s + sessionID });
    m_scripts->runAppleScript(TerminalScripts::activate(u"kitty"_s), std::move(completion));
}

void TerminalBridge::focusBundle(const QString &bundleIdentifier, Completion completion)
{
    std::optional<QString> failure;
    if (!m_ports.applications.activateBundle(bundleIdentifier)) {
        log(bundleIdentifier + u" not running, cannot focus"_s);
        failure = bundleIdentifier + u" is not running"_s;
    }
    m_completions->post(std::move(completion), failure);
}

void TerminalBridge::focusByName(const QString &type, Completion completion)
{
    if (const auto application = valueOf(applicationsByName, type.toLower()))
        return m_scripts->runAppleScript(TerminalScripts::activate(*application), std::move(completion));
    log(u"unknown terminal type '"_s + type + u"', cannot focus"_s);
    m_completions->post(std::move(completion), u"there is no way to find the session's terminal"_s);
}

void TerminalBridge::focusInstead(const VantrySession &session, const QString &reason, Completion completion)
{
    focusTerminal(session, [reason, completion = std::move(completion)](const auto &failure) {
        const QString outcome =
            failure ? u"bringing the terminal forward failed: "_s + *failure : u"the terminal was brought forward"_s;
        if (completion)
            completion(reason + u"; "_s + outcome);
    });
}

void TerminalBridge::refuse(const VantrySession &session, const QString &operation, const QString &reason,
                            Completion completion)
{
    log(operation + u" refused: "_s + reason + u" — focusing terminal instead"_s);
    focusInstead(session, reason, std::move(completion));
}

void TerminalBridge::fallBack(const VantrySession &session, const QString &operation, Completion completion)
{
    log(operation + u" not supported for '"_s + targetOf(session).type + u"' — focusing terminal instead"_s);
    focusInstead(session, reasonAgainstTyping(session), std::move(completion));
}

// Typing

bool TerminalBridge::canType(const VantrySession &session) const
{
    const TerminalTarget target = targetOf(session);
    return driverFor(target, &Abilities::type) || isITermSession(target);
}

void TerminalBridge::sendText(const VantrySession &session, const QString &text, Completion completion)
{
    const TerminalTarget target = targetOf(session);
    QString line = text;
    line.remove(u'\r').remove(u'\n');
    log(u"sendText to "_s + target.type + u", text="_s + line);
    if (!canType(session))
        return fallBack(session, u"sendText"_s, std::move(completion));
    if (driverFor(target))
        line = TypingRules::withoutControlCharacters(line);
    enter(
        session, u"sendText"_s,
        [line](const VantrySession &current) { return TypingRules::keysForText(current, line); },
        std::move(completion));
}

void TerminalBridge::pressReturn(const VantrySession &session, Completion completion)
{
    log(u"pressReturn for "_s + targetOf(session).type);
    if (!canType(session))
        return fallBack(session, u"pressReturn"_s, std::move(completion));
    type(session, { {}, true }, {}, std::move(completion));
}

void TerminalBridge::answerQuestion(const VantrySession &session, int index, Completion completion)
{
    const TerminalTarget target = targetOf(session);
    if (const auto defect = TypingRules::defectOfIndex(session, index)) {
        log(u"answerQuestion ignored: "_s + *defect);
        return m_completions->post(std::move(completion), defect);
    }
    log(u"answerQuestion index=%1 for "_s.arg(index) + target.type);
    if (!canType(session))
        return fallBack(session, u"answerQuestion"_s, std::move(completion));
    if (driverFor(target))
        return enter(
            session, u"answerQuestion"_s,
            [index](const VantrySession &current) { return TypingRules::keysForAnswer(current, index); },
            std::move(completion));
    if (const auto refusal = TypingRules::refusalOfChoice(session))
        return refuse(session, u"answerQuestion"_s, *refusal, std::move(completion));
    m_scripts->runAppleScript(TerminalScripts::chooseInITermSession(target.sessionID, index), std::move(completion));
}

void TerminalBridge::approvePlan(const VantrySession &session, Completion completion)
{
    log(u"approvePlan for "_s + targetOf(session).type);
    if (!canType(session))
        return m_completions->post(std::move(completion), reasonAgainstTyping(session));
    type(session, { { u"2"_s }, false }, {}, std::move(completion));
}

std::optional<QString> TerminalBridge::refusalOfText(const VantrySession &session) const
{
    return canType(session) ? TypingRules::refusalOfText(session) : reasonAgainstTyping(session);
}

std::optional<QString> TerminalBridge::refusalOfAnswer(const VantrySession &session, int index) const
{
    if (auto defect = TypingRules::defectOfIndex(session, index))
        return defect;
    if (!canType(session))
        return reasonAgainstTyping(session);
    if (!driverFor(targetOf(session)))
        return TypingRules::refusalOfChoice(session);
    const Decision decision = TypingRules::keysForAnswer(session, index);
    const auto *const refusal = std::get_if<TypingRules::Refusal>(&decision);
    return refusal ? std::optional(*refusal) : std::nullopt;
}

QString TerminalBridge::reasonAgainstTyping(const VantrySession &session) const
{
    return u"nothing can be typed into %1"_s.arg(terminalName(session).value_or(u"the session's terminal"_s));
}

void TerminalBridge::enter(const VantrySession &session, const QString &operation, const Decide &decide,
                           Completion completion)
{
    const Decision decision = decide(session);
    if (const auto *refusal = std::get_if<TypingRules::Refusal>(&decision))
        return refuse(session, operation, *refusal, std::move(completion));
    if (hasJustAnswered(session))
        return refuse(session, operation, u"the question has just been answered"_s, std::move(completion));
    if (session.questions())
        completion = noteAnswer(session, std::move(completion));
    type(session, std::get<Keystrokes>(decision), decide, std::move(completion));
}

bool TerminalBridge::hasJustAnswered(const VantrySession &session) const
{
    const auto found = m_answers.find(session.id());
    return found != m_answers.end() && found->second.questions == session.questions();
}

TerminalBridge::Completion TerminalBridge::noteAnswer(const VantrySession &session, Completion completion)
{
    m_answers.insert_or_assign(session.id(), Answer { .questions = *session.questions() });
    return [this, id = session.id(), completion = std::move(completion)](const auto &failure) {
        if (failure)
            m_answers.erase(id);
        else
            m_answers[id].end = m_ports.scheduler.after(patienceForAnswers, [this, id] { m_answers.erase(id); });
        if (completion)
            completion(failure);
    };
}

void TerminalBridge::type(const VantrySession &session, const Keystrokes &keys, const Decide &decide,
                          Completion completion)
{
    const TerminalTarget target = targetOf(session);
    TerminalDriver *driver = driverFor(target, &Abilities::type);
    if (!driver)
        return m_scripts->runAppleScript(
            TerminalScripts::writeToITermSession(target.sessionID, keys.texts, keys.submits), std::move(completion));
    TerminalLanes::Steps steps = stepsFor(*driver, session, keys, decide);
    // Nobody waits for the pause before a line's Return.
    const bool isLine = keys.texts.size() == 1 && keys.submits;
    if (isLine && completion) {
        const auto once = std::make_shared<Completion>(std::move(completion));
        completion = [once](const auto &failure) {
            if (const Completion tell = std::exchange(*once, {}))
                tell(failure);
        };
        steps.front().then = [completion] { completion(std::nullopt); };
    }
    drive(*driver, u"type into"_s, TerminalLanes::laneOf(target), std::move(steps), std::move(completion));
}

std::optional<QString> TerminalBridge::terminalName(const VantrySession &session) const
{
    const TerminalDriver *driver = driverFor(targetOf(session));
    return driver ? driver->name() : session.terminalType();
}

// Opening and closing

void TerminalBridge::launchClaude(const QString &projectPath, const LaunchMode &mode, const AgentLaunchFlags &flags,
                                  const std::optional<QString> &prompt, Completion completion)
{
    m_launcher->launch(projectPath, mode, flags, prompt, std::move(completion));
}

QString TerminalBridge::preferredTerminal() const
{
    return m_launcher->preferredTerminal();
}

void TerminalBridge::closeTab(const VantrySession &session, Completion completion)
{
    const TerminalTarget target = targetOf(session);
    log(u"closeTab for "_s + target.type + u", sessionID="_s + target.sessionID);
    const auto skip = [&](const QString &line, const QString &reason) {
        log(line);
        m_completions->post(std::move(completion), reason);
    };
    if (TerminalDriver *driver = driverFor(target, &Abilities::close))
        drive(*driver, u"close"_s, TerminalLanes::laneOf(target),
              { { [driver, target] { return driver->close(target); } } }, std::move(completion));
    else if (isITermSession(target))
        m_scripts->runAppleScript(TerminalScripts::closeITermSession(target.sessionID), std::move(completion));
    else if (target.type == u"iterm2")
        skip(u"closeTab skipped — no iTerm2 session ID"_s, u"the session's tab is not known"_s);
    else if (target.type == u"kitty" && target.sessionID.isEmpty())
        skip(u"closeTab skipped — no kitty window ID"_s, u"the session's window is not known"_s);
    else if (target.type == u"kitty")
        m_scripts->runTool(kittyTool.toString(),
                           { u"@"_s, u"close-window"_s, u"--match"_s, u"id:"_s + target.sessionID },
                           std::move(completion));
    else
        skip(u"closeTab not supported for '"_s + target.type + u"' — no session-level targeting"_s,
             u"tabs of this kind of terminal can't be closed from here"_s);
}

// Drivers

TerminalDriver *TerminalBridge::driverFor(const TerminalTarget &target) const
{
    const auto found =
        std::ranges::find_if(m_ports.drivers, [&](const auto *driver) { return driver->handles(target.type); });
    return found == m_ports.drivers.end() ? nullptr : *found;
}

TerminalDriver *TerminalBridge::driverFor(const TerminalTarget &target, bool Abilities::*ability) const
{
    TerminalDriver *driver = driverFor(target);
    return driver && driver->abilities(target).*ability ? driver : nullptr;
}

void TerminalBridge::drive(const TerminalDriver &driver, const QString &task, const QString &lane,
                           TerminalLanes::Steps steps, Completion completion)
{
    m_lanes.run(
        lane, std::move(steps),
        [this, what = QString(task + u' ' + driver.name()), completion = std::move(completion)](const auto &failure) {
            if (failure)
                log(u"failed to "_s + what + u": "_s + *failure);
            if (completion)
                completion(failure);
        });
}

void TerminalBridge::log(const QString &message) const
{
    m_ports.log.write(u"TerminalBridge: "_s + message);
}

} // namespace vantry

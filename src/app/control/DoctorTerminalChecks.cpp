#include "app/control/DoctorChecks.h"

#include "app/control/StatusText.h"
#include "app/control/TextTable.h"
#include "base/Files.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QVersionNumber>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// A terminal in which a session lives, and what keeps it from being driven.
struct Examination
{
    TerminalDriver *driver;
    TerminalTarget target;
    std::optional<TerminalDriver::Problem> problem {};
};

/// Asks the terminals, some of them at the same time: each may take its two seconds, and none is asked twice.
void examineAll(std::vector<Examination> &examinations)
{
    constexpr std::size_t mostAtOnce = 8;
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t index = next++; index < examinations.size(); index = next++) {
            Examination &examination = examinations[index];
            examination.problem = examination.driver->examine(examination.target);
        }
    };
    std::vector<std::future<void>> workers;
    for (std::size_t count = std::min(mostAtOnce, examinations.size()); count > 0; --count)
        workers.push_back(std::async(std::launch::async, work));
    for (std::future<void> &worker : workers)
        worker.get();
}

/// The settings of kitty that are about being driven. A file that others are included in says nothing for sure.
struct KittySettings
{
    QString remoteControl {};
    QString listenOn {};
    bool includesOthers { false };

    static KittySettings fromText(const QString &text)
    {
        KittySettings settings;
        for (const QString &line : text.split(u'\n')) {
            const QString words = line.simplified();
            const QString key = words.section(u' ', 0, 0);
            if (key == u"allow_remote_control")
                settings.remoteControl = words.section(u' ', 1);
            else if (key == u"listen_on")
                settings.listenOn = words.section(u' ', 1);
            else if (key.endsWith(u"include"))
                settings.includesOthers = true;
        }
        return settings;
    }

    [[nodiscard]] bool letDrive() const
    {
        constexpr std::array allowing { u"yes", u"y", u"true", u"socket", u"socket-only" };
        return std::ranges::find(allowing, QStringView(remoteControl)) != allowing.end() && !listenOn.isEmpty() &&
               listenOn != u"none";
    }
};

} // namespace

QList<DoctorCheck> DoctorChecks::terminalPrograms() const
{
    QList<DoctorCheck> checks;
    if (const QString program = find(u"tmux"_s); !program.isEmpty())
        checks.append(tmux(program));
    if (!find(u"kitty"_s).isEmpty())
        checks.append(kitty());
    if (!find(u"konsole"_s).isEmpty())
        checks.append(konsole());
    if (!checks.isEmpty())
        return checks;
    return { { .name = u"terminal programs"_s,
               .detail = u"No terminal is installed that can be typed into"_s,
               .advice = u"Install the package \"tmux\", and run agents in it to send and answer from here"_s } };
}

DoctorCheck DoctorChecks::tmux(const QString &program) const
{
    const auto line = firstLineOf(program, { u"-V"_s });
    static const QRegularExpression number(u"(\\d+)\\.(\\d+)"_s);
    const auto match = number.match(line.value_or(QString()));
    const QVersionNumber version(match.captured(1).toInt(), match.captured(2).toInt());
    // A version that has no number is one under development.
    const bool isTooOld = match.hasMatch() && version < QVersionNumber(3, 2);
    if (!line || isTooOld) {
        return { .name = u"tmux"_s,
                 .detail = line ? u"%1 is too old to be driven"_s.arg(*line) : u"%1 does not run"_s.arg(program),
                 .advice = u"Install tmux 3.2 or newer, and start its server anew"_s };
    }
    return { .name = u"tmux"_s, .ok = true, .detail = u"%1 can be driven"_s.arg(*line) };
}

DoctorCheck DoctorChecks::kitty() const
{
    const QString path = configFolder() + u"/kitty/kitty.conf"_s;
    const FileContent content = readRegularFile(QFile::encodeName(path).toStdString());
    const auto settings = KittySettings::fromText(QString::fromStdString(content.bytes.value_or(std::string())));
    if (settings.letDrive())
        return { .name = u"kitty"_s, .ok = true, .detail = u"Its configuration lets it be driven"_s };
    if (settings.includesOthers)
        return { .name = u"kitty"_s, .ok = true, .detail = u"Its configuration includes others, not looked into"_s };
    return { .name = u"kitty"_s,
             .detail = u"Its configuration doesn't let it be driven"_s,
             .advice = u"Put \"allow_remote_control socket-only\" and \"listen_on unix:${XDG_RUNTIME_DIR}/"
                       "kitty-{kitty_pid}\" into %1, quit kitty and start it again"_s.arg(path) };
}

DoctorCheck DoctorChecks::konsole() const
{
    if (m_surroundings.client.isConnected())
        return { .name = u"konsole"_s, .ok = true, .detail = u"It can be driven over the session bus"_s };
    return { .name = u"konsole"_s,
             .detail = u"It is driven over the session bus, which can't be reached"_s,
             .advice = u"Start Vantry in the desktop's session, where DBUS_SESSION_BUS_ADDRESS is set"_s };
}

QList<DoctorCheck> DoctorChecks::terminals() const
{
    const Reply reply = status();
    const auto *document = std::get_if<QString>(&reply);
    const auto parsed = document ? StatusDocument::fromText(*document) : std::nullopt;
    std::vector<Examination> examinations;
    QList<std::pair<SessionRow, std::size_t>> examined;
    qsizetype sound = 0;
    for (const SessionRow &session : parsed ? parsed->sessions : QList<SessionRow>()) {
        if (!session.isAlive)
            continue;
        const QString type = session.terminalType;
        // Some terminals report their name alone when they can't be driven; their driver knows why.
        const auto driver = std::ranges::find_if(m_surroundings.terminals, [&](TerminalDriver *candidate) {
            return candidate->handles(type) || candidate->name() == type;
        });
        if (driver == m_surroundings.terminals.end()) {
            ++sound;
            continue;
        }
        const TerminalTarget target { type, session.terminalSessionID, session.shellPid };
        const auto same = std::ranges::find(examinations, target, &Examination::target);
        examined.append({ session, static_cast<std::size_t>(same - examinations.begin()) });
        if (same == examinations.end())
            examinations.push_back({ *driver, target });
    }
    examineAll(examinations);

    QList<DoctorCheck> problems;
    for (const auto &[session, index] : examined) {
        const auto &problem = examinations[index].problem;
        if (!problem) {
            ++sound;
            continue;
        }
        problems.append(
            { .name = u"terminal"_s,
              .detail = u"%1 (%2): %3"_s.arg(displayText(session.id.left(8)), session.project, problem->detail),
              .advice = problem->advice });
    }
    if (sound == 0 && !problems.isEmpty())
        return problems;
    const QString all =
        sound == 1 ? u"One live session's is in order"_s : u"Those of %1 live sessions are in order"_s.arg(sound);
    const DoctorCheck check { .name = u"terminals"_s,
                              .ok = true,
                              .detail = sound == 0 ? u"There is no live session"_s : all };
    return QList { check } + problems;
}

} // namespace vantry

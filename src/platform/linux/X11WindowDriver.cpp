#include "platform/linux/X11WindowDriver.h"

#include <QStringView>

#include <algorithm>
#include <limits>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

const auto onlyFocus = u"a plain window can only be brought forward"_s;

} // namespace

X11WindowDriver::X11WindowDriver(Applications &applications)
    : m_applications(applications)
{}

std::optional<Applications::WindowID> X11WindowDriver::parseWindow(const QString &text)
{
    const bool isHexadecimal = text.startsWith("0x"_L1, Qt::CaseInsensitive);
    const QStringView digits = QStringView(text).sliced(isHexadecimal ? 2 : 0);
    // The conversion would take signs and blanks.
    const auto isDigit = [isHexadecimal](QChar c) {
        return (c >= u'0' && c <= u'9') || (isHexadecimal && c.toLower() >= u'a' && c.toLower() <= u'f');
    };
    if (!std::ranges::all_of(digits, isDigit))
        return std::nullopt;
    bool isNumber = false;
    const auto window = digits.toULongLong(&isNumber, isHexadecimal ? 16 : 10);
    if (!isNumber || window == 0 || window > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    return window;
}

QString X11WindowDriver::name() const
{
    return u"X11 window"_s;
}

bool X11WindowDriver::handles(const QString &terminalType) const
{
    return terminalType == u"x11-window";
}

TerminalDriver::Abilities X11WindowDriver::abilities(const TerminalTarget &target) const
{
    Abilities abilities;
    abilities.focus = handles(target.type) && !qEnvironmentVariableIsEmpty("DISPLAY") &&
                      (parseWindow(target.sessionID) || target.shellPid);
    return abilities;
}

TerminalDriver::Failure X11WindowDriver::focus(const TerminalTarget &target)
{
    const auto reported = parseWindow(target.sessionID);
    if (reported && m_applications.raise(*reported))
        return std::nullopt;
    const auto found = target.shellPid ? m_applications.windowOf(*target.shellPid) : std::nullopt;
    if (found && m_applications.raise(*found))
        return std::nullopt;
    return u"no window of the session's terminal was found"_s;
}

TerminalDriver::Failure X11WindowDriver::typeText(const TerminalTarget & /*target*/, const QString & /*text*/)
{
    return onlyFocus;
}

TerminalDriver::Failure X11WindowDriver::pressReturn(const TerminalTarget & /*target*/)
{
    return onlyFocus;
}

TerminalDriver::Failure X11WindowDriver::close(const TerminalTarget & /*target*/)
{
    return onlyFocus;
}

TerminalDriver::Failure X11WindowDriver::open(const TerminalTarget & /*target*/, const TerminalCommand & /*command*/)
{
    return onlyFocus;
}

std::optional<TerminalTarget> X11WindowDriver::findPlaceToOpen()
{
    return std::nullopt;
}

std::optional<TerminalDriver::Problem> X11WindowDriver::examine(const TerminalTarget &target)
{
    if (!handles(target.type))
        return std::nullopt;
    if (abilities(target).focus) {
        return Problem { u"a plain window: it can be brought forward, but not typed into"_s,
                         u"run the agent in tmux, kitty or konsole to send and answer from here"_s };
    }
    return Problem { u"no window of this terminal is known"_s,
                     u"run the agent in tmux to bring it forward, send and answer from here"_s };
}

} // namespace vantry

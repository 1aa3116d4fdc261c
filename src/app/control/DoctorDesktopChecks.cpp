#include "app/control/DoctorChecks.h"

namespace vantry {

using namespace Qt::StringLiterals;

DoctorCheck DoctorChecks::display() const
{
    DoctorCheck check { .name = u"display"_s, .ok = m_surroundings.desktop.hasDisplay };
    check.detail =
        check.ok ? u"Windows can be brought forward"_s : u"There is no display, so no window can be brought forward"_s;
    if (!check.ok)
        check.advice = u"Start Vantry within your desktop's session: DISPLAY and WAYLAND_DISPLAY are unset here"_s;
    return check;
}

DoctorCheck DoctorChecks::tray() const
{
    DoctorCheck check { .name = u"tray"_s, .ok = m_surroundings.desktop.hasTray() };
    if (check.ok) {
        check.detail = u"The desktop has a tray for Vantry's icon"_s;
    } else if (!m_surroundings.desktop.hasDisplay) {
        check.detail = u"There is no tray, as there is no display"_s;
        check.advice = u"Start Vantry from the desktop"_s;
    } else {
        check.detail = u"There is no tray, so Vantry has no icon; the notch is shown in its stead, and \"vantry show\" "
                       "opens the panel"_s;
        check.advice = u"On GNOME, install gnome-shell-extension-appindicator and turn it on; elsewhere, add a tray to "
                       "the desktop's bar"_s;
    }
    return check;
}

DoctorCheck DoctorChecks::notch() const
{
    DoctorCheck check { .name = u"notch"_s, .ok = m_surroundings.desktop.canPlaceWindows() };
    check.detail = check.ok ? u"The notch can be shown at the top of the screen"_s
                            : u"No window can be placed on this desktop, so there is no notch"_s;
    if (!check.ok)
        check.advice = m_surroundings.desktop.hasDisplay ? u"Install xwayland and turn it on in the desktop"_s
                                                         : u"Start Vantry from the desktop"_s;
    return check;
}

DoctorCheck DoctorChecks::notifications() const
{
    using Presence = NotificationCentre::Server::Presence;
    const NotificationCentre::Server server = m_surroundings.desktop.notificationServer();
    DoctorCheck check { .name = u"notifications"_s };
    switch (server.presence) {
    case Presence::Present:
        check.ok = server.capabilities.contains(u"actions");
        check.detail =
            (check.ok ? u"%1 shows notifications with buttons"_s : u"%1 shows notifications, but without buttons"_s)
                .arg(server.name.isEmpty() ? u"The desktop"_s : server.name);
        if (!check.ok)
            check.advice = u"Requests are answered in the panel; another notification server, such as \"dunst\", has "
                           "buttons"_s;
        break;
    case Presence::Startable:
        check.ok = true;
        check.detail = u"The first notification starts the desktop's notification server"_s;
        break;
    case Presence::Unknown:
        check.detail = u"The desktop's notification server does not answer"_s;
        check.advice = u"End it, or start it again: Vantry takes the new one at once"_s;
        break;
    case Presence::Absent:
        check.detail = u"Nobody shows notifications on this desktop"_s;
        check.advice = u"Start a notification server, such as \"dunst\": Vantry takes it at once"_s;
        break;
    }
    return check;
}

DoctorCheck DoctorChecks::sound() const
{
    const auto problem = m_surroundings.desktop.soundProblem();
    if (!problem)
        return { .name = u"sound"_s, .ok = true, .detail = u"Sounds can be heard"_s };
    return { .name = u"sound"_s, .detail = problem->detail, .advice = problem->advice };
}

DoctorCheck DoctorChecks::microphone() const
{
    const auto problem = m_surroundings.desktop.microphoneProblem();
    DoctorCheck check { .name = u"microphone"_s, .ok = !problem };
    check.detail = problem ? u"Nothing can be dictated: %1"_s.arg(*problem) : u"There is a microphone"_s;
    if (problem)
        check.advice = u"See that an audio server runs and that its default source is a microphone"_s;
    return check;
}

DoctorCheck DoctorChecks::speech() const
{
    const auto problem = m_surroundings.desktop.speechProblem();
    DoctorCheck check { .name = u"speech recognition"_s, .ok = !problem };
    check.detail = problem ? u"Nothing can be dictated: %1"_s.arg(*problem) : u"Speech can be recognised"_s;
    if (problem)
        check.advice = u"Install the packages \"libpocketsphinx3\" and \"pocketsphinx-en-us\""_s;
    return check;
}

DoctorCheck DoctorChecks::secretService() const
{
    const auto problem = m_surroundings.desktop.secretStoreProblem();
    if (!problem)
        return { .name = u"secret service"_s, .ok = true, .detail = u"The desktop keeps secrets"_s };
    return { .name = u"secret service"_s, .detail = problem->detail, .advice = problem->advice };
}

} // namespace vantry

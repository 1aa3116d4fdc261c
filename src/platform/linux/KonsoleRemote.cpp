#include "platform/linux/KonsoleRemote.h"

#include "base/Cancellation.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <poll.h>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Kind = KonsoleFailure::Kind;

constexpr auto busService = "org.freedesktop.DBus"_L1;
constexpr auto busPath = "/org/freedesktop/DBus"_L1;
constexpr auto sessionInterface = "org.kde.konsole.Session"_L1;
constexpr auto windowInterface = "org.kde.konsole.Window"_L1;
constexpr auto mainWindowInterface = "org.kde.KMainWindow"_L1;

KonsoleFailure failureFrom(const QDBusMessage &reply)
{
    switch (QDBusError(reply).type()) {
    case QDBusError::Disconnected:
        return { Kind::NoBus, u"there is no session bus to reach konsole over"_s };
    case QDBusError::NoReply:
    case QDBusError::TimedOut:
    case QDBusError::Timeout:
        return { Kind::Unanswered, u"konsole did not answer in time"_s };
    case QDBusError::ServiceUnknown:
        return { Kind::Gone, u"konsole is gone"_s };
    case QDBusError::UnknownObject:
        return { Kind::NoObject, u"the konsole session is gone"_s };
    case QDBusError::AccessDenied:
    case QDBusError::UnknownMethod:
    case QDBusError::NotSupported:
        return { Kind::Refused, u"konsole refuses to be controlled: "_s + reply.errorMessage().simplified() };
    default:
        break;
    }
    // How the bus says it of a program that it wasn't to start.
    if (reply.errorName() == u"org.freedesktop.DBus.Error.NameHasNoOwner")
        return { Kind::Gone, u"konsole is gone"_s };
    return { Kind::Other, u"konsole failed: "_s + reply.errorMessage().simplified() };
}

QString sessionPath(int session)
{
    return u"/Sessions/%1"_s.arg(session);
}

} // namespace

KonsoleRemote::KonsoleRemote(const QString &busAddress, QString service, std::chrono::milliseconds patience)
    : m_deadline(m_clock.monotonicNow() + patience)
    , m_bus(busAddress)
    , m_service(std::move(service))
{}

QVariant KonsoleRemote::callService(const QString &service, const QString &path, const QString &interface,
                                    const QString &method, const QVariantList &arguments)
{
    m_failure.reset();
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - m_clock.monotonicNow());
    if (left <= 0ms) {
        m_failure = KonsoleFailure { Kind::Unanswered, u"konsole did not answer in time"_s };
        return {};
    }
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    const QDBusMessage reply = m_bus->call(message, QDBus::Block, static_cast<int>(left.count()));
    if (reply.type() != QDBusMessage::ReplyMessage) {
        m_failure = failureFrom(reply);
        return {};
    }
    return reply.arguments().value(0);
}

QVariant KonsoleRemote::call(const QString &path, const QString &interface, const QString &method,
                             const QVariantList &arguments)
{
    return callService(m_service, path, interface, method, arguments);
}

QStringList KonsoleRemote::children(const QString &path)
{
    QStringList names;
    QXmlStreamReader xml(call(path, u"org.freedesktop.DBus.Introspectable"_s, u"Introspect"_s).toString());
    if (m_failure && m_failure->kind == Kind::NoObject)
        m_failure.reset();
    if (xml.readNextStartElement()) {
        while (xml.readNextStartElement()) {
            if (xml.name() == u"node")
                names.append(xml.attributes().value(u"name"_s).toString());
            xml.skipCurrentElement();
        }
    }
    return names;
}

void KonsoleRemote::sendText(int session, const QString &text)
{
    call(sessionPath(session), sessionInterface, u"sendText"_s, { text });
}

int KonsoleRemote::processID(int session)
{
    return call(sessionPath(session), sessionInterface, u"processId"_s).toInt();
}

std::vector<KonsoleRemote::Window> KonsoleRemote::windows()
{
    std::vector<Window> windows;
    for (const QString &name : children(u"/Windows"_s)) {
        Window window { u"/Windows/"_s + name, {} };
        for (const QString &session : call(window.path, windowInterface, u"sessionList"_s).toStringList())
            window.sessions.append(session.toInt());
        windows.push_back(std::move(window));
    }
    return windows;
}

std::optional<KonsoleRemote::Window> KonsoleRemote::windowOf(int session)
{
    const std::vector<Window> all = windows();
    const auto found =
        std::ranges::find_if(all, [&](const Window &window) { return window.sessions.contains(session); });
    return found == all.end() ? std::nullopt : std::optional(*found);
}

std::vector<KonsoleRemote::MainWindow> KonsoleRemote::mainWindows()
{
    std::vector<MainWindow> windows;
    for (const QString &name : children(u"/konsole"_s)) {
        const QString path = u"/konsole/"_s + name;
        const auto id = call(path, mainWindowInterface, u"winId"_s).toULongLong();
        if (!m_failure)
            windows.push_back({ path, id });
    }
    return windows;
}

std::optional<Applications::WindowID> KonsoleRemote::birthplace(const Window &window)
{
    for (const int session : window.sessions) {
        const QStringList environment = call(sessionPath(session), sessionInterface, u"environment"_s).toStringList();
        if (!environment.contains(u"KONSOLE_DBUS_WINDOW="_s + window.path))
            continue;
        const QStringList ids = environment.filter(QRegularExpression(u"^WINDOWID=[0-9]+$"_s));
        if (!ids.isEmpty())
            return ids.first().section(u'=', 1).toULongLong();
    }
    return std::nullopt;
}

std::optional<KonsoleRemote::MainWindow> KonsoleRemote::mainWindowOf(const Window &window)
{
    std::vector<MainWindow> candidates = mainWindows();
    const auto hasID = [](Applications::WindowID id) {
        return [id](const MainWindow &mainWindow) { return mainWindow.id == id; };
    };
    if (const auto id = birthplace(window)) {
        const auto found = std::ranges::find_if(candidates, hasID(*id));
        if (found != candidates.end())
            return *found;
    }
    // All its tabs have come from other windows. It is the one that remains when those are left out that are known.
    for (const Window &other : windows()) {
        if (other.path == window.path)
            continue;
        if (const auto id = birthplace(other))
            std::erase_if(candidates, hasID(*id));
    }
    return candidates.size() == 1 ? std::optional(candidates.front()) : std::nullopt;
}

int KonsoleRemote::currentSession(const Window &window)
{
    return call(window.path, windowInterface, u"currentSession"_s).toInt();
}

void KonsoleRemote::setCurrentSession(const Window &window, int session)
{
    call(window.path, windowInterface, u"setCurrentSession"_s, { session });
}

int KonsoleRemote::newSession(const Window &window, const QString &directory)
{
    // No profile is called "", so it takes the usual one.
    return call(window.path, windowInterface, u"newSession"_s, { QString(u""_s), directory }).toInt();
}

void KonsoleRemote::activateAction(const MainWindow &mainWindow, const QString &action)
{
    call(mainWindow.path, mainWindowInterface, u"activateAction"_s, { action });
}

std::int64_t KonsoleRemote::ownProcessID()
{
    return callService(busService, busPath, busService, u"GetConnectionUnixProcessID"_s, { m_service }).toLongLong();
}

QStringList KonsoleRemote::konsoles()
{
    static const QRegularExpression konsole(u"^org\\.kde\\.konsole(-[0-9]+)?$"_s);
    QStringList owners;
    for (const QString &name :
         callService(busService, busPath, busService, u"ListNames"_s).toStringList().filter(konsole)) {
        const QString owner = callService(busService, busPath, busService, u"GetNameOwner"_s, { name }).toString();
        if (!owner.isEmpty() && !owners.contains(owner))
            owners.append(owner);
    }
    return owners;
}

bool KonsoleRemote::pause()
{
    constexpr std::chrono::milliseconds length = 10ms;
    const Cancellation *cancellation = Cancellation::ofThisThread();
    pollfd cancelled { cancellation ? cancellation->descriptor() : -1, POLLIN, 0 };
    return poll(&cancelled, 1, static_cast<int>(length.count())) <= 0;
}

} // namespace vantry

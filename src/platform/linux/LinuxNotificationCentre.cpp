#include "platform/linux/LinuxNotificationCentre.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;
using Presence = NotificationCentre::Server::Presence;

namespace {

constexpr auto applicationName = "Vantry"_L1;
/// Of the desktop file and of the icon.
constexpr auto desktopEntry = "com.vantry.app"_L1;
/// The action that a click on the notification itself means.
constexpr auto defaultAction = "default"_L1;

constexpr qsizetype mostEarlyActions = 100;

bool isError(const QDBusMessage &answer)
{
    return answer.type() != QDBusMessage::ReplyMessage;
}

QString errorText(const QDBusMessage &error)
{
    const QString text = notificationText(error.errorMessage()).simplified();
    return text.isEmpty() ? error.errorName() : text;
}

uchar urgencyByte(NotificationCentre::Urgency urgency)
{
    switch (urgency) {
    case NotificationCentre::Urgency::Low:
        return 0;
    case NotificationCentre::Urgency::Normal:
        break;
    case NotificationCentre::Urgency::Critical:
        return 2;
    }
    return 1;
}

} // namespace

LinuxNotificationCentre::LinuxNotificationCentre(const QString &busAddress)
    : m_bus(busAddress)
{
    if (!m_bus.isConnected())
        return;
    const QString service = QString::fromLatin1(notificationService);
    const QString path = QString::fromLatin1(notificationPath);
    const QString interface = QString::fromLatin1(notificationInterface);
    // These come from the owner of the name alone.
    m_bus->connect(service, path, interface, u"ActivationToken"_s, this, SLOT(takeToken(uint, QString)));
    m_bus->connect(service, path, interface, u"ActionInvoked"_s, this, SLOT(takeAction(uint, QString)));
    m_bus->connect(service, path, interface, u"NotificationClosed"_s, this, SLOT(takeClosing(uint, uint)));
    m_watcher.setConnection(*m_bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_watcher.addWatchedService(service);
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &newOwner) { ownerChanged(newOwner); });
}

LinuxNotificationCentre::~LinuxNotificationCentre()
{
    for (const Entry &entry : m_entries) {
        if (entry.stage == Stage::Shown)
            close(entry.id);
    }
}

void LinuxNotificationCentre::requestAuthorization(Authorized done)
{
    m_authorizing.push_back(std::move(done));
    if (!m_isAsking)
        askForCapabilities(false);
}

void LinuxNotificationCentre::requestStatus(StatusKnown known)
{
    requestAuthorization([this, known = std::move(known)](bool, const std::optional<QString> &) {
        known({ Authorization::Authorized, m_server });
    });
}

void LinuxNotificationCentre::add(const Request &request, Failed failed)
{
    remove(request.identifier);
    m_entries.push_back({ ++m_lastNumber, request, std::move(failed) });
    if (m_server.presence == Presence::Present)
        send(m_entries.back());
    else if (!m_isAsking)
        askForCapabilities(true);
}

void LinuxNotificationCentre::remove(const QString &identifier)
{
    const auto entry = std::ranges::find_if(m_entries, [&](const Entry &candidate) {
        return candidate.request.identifier == identifier && candidate.stage != Stage::Unwanted;
    });
    if (entry == m_entries.end())
        return;
    if (entry->stage == Stage::Sent) {
        entry->stage = Stage::Unwanted;
        return;
    }
    if (entry->stage == Stage::Shown)
        close(entry->id);
    m_entries.erase(entry);
}

// The server

void LinuxNotificationCentre::call(const QDBusMessage &message, Answered answered)
{
    if (!m_bus.isConnected()) {
        const auto error = QDBusMessage::createError(QDBusError::Disconnected, u"there is no session bus"_s);
        QMetaObject::invokeMethod(
            this, [answered, error] { answered(error); }, Qt::QueuedConnection);
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, answered = std::move(answered), generation = m_generation] {
                watcher->deleteLater();
                if (generation == m_generation)
                    answered(watcher->reply());
            });
}

void LinuxNotificationCentre::askForCapabilities(bool startsServer)
{
    m_isAsking = true;
    auto question = notificationCall("GetCapabilities");
    question.setAutoStartService(startsServer);
    call(question, [this, startsServer](const QDBusMessage &answer) {
        m_isAsking = false;
        const bool isUsable = !isError(answer) && answer.signature() == u"as";
        const bool isWaitedFor =
            std::ranges::any_of(m_entries, [](const Entry &entry) { return entry.stage == Stage::Waiting; });
        if (isUsable)
            takeCapabilities(answer.arguments().constFirst().toStringList());
        else if (!startsServer && isWaitedFor)
            askForCapabilities(true);
        else
            serverFailed(answer);
    });
}

void LinuxNotificationCentre::takeCapabilities(const QStringList &capabilities)
{
    m_server = { Presence::Present, capabilities };
    tellServer();
    settleAuthorization(true, std::nullopt);
    sendWaiting();
}

/// What was to be shown fails; what may be shown later is another question.
void LinuxNotificationCentre::serverFailed(const QDBusMessage &error)
{
    const bool isNobody = isNobodyThere(error);
    const QString text = isError(error) ? errorText(error) : u"the notification server gave a wrong answer"_s;
    m_server = {};
    failWaiting(text);
    call(startableServicesCall(), [this, isNobody, text](const QDBusMessage &answer) {
        const auto names = isError(answer) ? QStringList() : answer.arguments().value(0).toStringList();
        const bool isStartable = names.contains(QLatin1StringView(notificationService));
        if (m_isAsking || m_server.presence == Presence::Present)
            return;
        if (isNobody)
            m_server.presence = isStartable ? Presence::Startable : Presence::Absent;
        tellServer();
        const bool isGranted = isNobody && isStartable;
        settleAuthorization(isGranted, isGranted ? std::nullopt : std::optional(text));
    });
}

void LinuxNotificationCentre::tellServer()
{
    if (std::exchange(m_toldServer, m_server) != m_server && onServerChanged)
        onServerChanged();
}

void LinuxNotificationCentre::settleAuthorization(bool isGranted, const std::optional<QString> &error)
{
    for (const Authorized &done : std::exchange(m_authorizing, {}))
        done(isGranted, error);
}

void LinuxNotificationCentre::ownerChanged(const QString &newOwner)
{
    ++m_generation;
    m_earlyActions.clear();
    m_isAsking = false;
    m_server = {};
    forgetShown();
    if (newOwner.isEmpty())
        serverFailed(QDBusMessage::createError(nameHasNoOwner, u"the notification server has gone"_s));
    else
        askForCapabilities(false);
}

void LinuxNotificationCentre::forgetShown()
{
    Entries gone;
    std::erase_if(m_entries, [&gone](Entry &entry) {
        if (entry.stage == Stage::Waiting)
            return false;
        gone.push_back(std::move(entry));
        return true;
    });
    for (const Entry &entry : gone) {
        if (entry.stage == Stage::Sent)
            entry.failed(u"the notification server has gone"_s);
        else if (entry.stage == Stage::Shown && m_delegate)
            m_delegate->didClose(entry.request.identifier);
    }
}

// Notifications

void LinuxNotificationCentre::sendWaiting()
{
    std::vector<std::uint64_t> numbers;
    for (const Entry &entry : m_entries) {
        if (entry.stage == Stage::Waiting)
            numbers.push_back(entry.number);
    }
    for (const std::uint64_t number : numbers) {
        if (const auto entry = findNumber(number); entry != m_entries.end())
            send(*entry);
    }
}

void LinuxNotificationCentre::failWaiting(const QString &error)
{
    Entries failing;
    std::erase_if(m_entries, [&failing](Entry &entry) {
        if (entry.stage != Stage::Waiting)
            return false;
        failing.push_back(std::move(entry));
        return true;
    });
    for (const Entry &entry : failing)
        entry.failed(error);
}

void LinuxNotificationCentre::send(Entry &entry)
{
    if (m_delegate && m_delegate->willPresent(entry.request) == Presentation::Nothing) {
        const QString identifier = entry.request.identifier;
        m_entries.erase(findNumber(entry.number));
        const auto tell = [this, identifier] {
            if (m_delegate)
                m_delegate->didClose(identifier);
        };
        QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
        return;
    }
    if (std::ranges::none_of(m_entries, [](const Entry &e) { return e.stage == Stage::Sent; }))
        m_earlyActions.clear();
    entry.stage = Stage::Sent;
    auto message = notificationCall("Notify");
    message.setArguments(argumentsOf(entry.request));
    call(message, [this, number = entry.number](const QDBusMessage &answer) { sent(number, answer); });
}

void LinuxNotificationCentre::sent(std::uint64_t number, const QDBusMessage &answer)
{
    const auto entry = findNumber(number);
    if (entry == m_entries.end())
        return;
    const bool isWanted = entry->stage == Stage::Sent;
    const bool isUsable = !isError(answer) && answer.signature() == u"u";
    if (isUsable && isWanted) {
        entry->stage = Stage::Shown;
        entry->id = answer.arguments().constFirst().toUInt();
        if (m_earlyActions.contains(entry->id))
            takeAction(entry->id, m_earlyActions.take(entry->id));
        return;
    }
    const Failed failed = std::move(entry->failed);
    m_entries.erase(entry);
    if (isUsable)
        close(answer.arguments().constFirst().toUInt());
    else if (isWanted)
        failed(isError(answer) ? errorText(answer) : u"the notification server gave a wrong answer"_s);
}

void LinuxNotificationCentre::close(uint id)
{
    auto message = notificationCall("CloseNotification");
    message.setAutoStartService(false);
    message << id;
    m_bus->send(message);
}

bool LinuxNotificationCentre::can(QLatin1StringView capability) const
{
    return m_server.capabilities.contains(capability);
}

QStringList LinuxNotificationCentre::actionsOf(const Request &request) const
{
    if (!can("actions"_L1))
        return {};
    QStringList actions { defaultAction, u"Open"_s };
    const auto category = std::ranges::find_if(
        m_categories, [&](const Category &candidate) { return candidate.identifier == request.categoryIdentifier; });
    if (category != m_categories.cend()) {
        for (const Action &action : category->actions)
            actions << action.identifier << action.title;
    }
    return actions;
}

QVariantList LinuxNotificationCentre::argumentsOf(const Request &request) const
{
    const QString body = notificationText(request.body);
    QVariantMap hints { { u"urgency"_s, QVariant::fromValue(urgencyByte(request.urgency)) },
                        { u"desktop-entry"_s, QString(desktopEntry) } };
    if (request.isSilent)
        hints.insert(u"suppress-sound"_s, true);
    constexpr uint replacesNone = 0;
    constexpr int serverDecidesWhenToExpire = -1;
    return { QString(applicationName),
             replacesNone,
             QString(desktopEntry),
             notificationText(request.title).simplified(),
             can("body-markup"_L1) ? escapedForMarkup(body) : body,
             actionsOf(request),
             hints,
             serverDecidesWhenToExpire };
}

void LinuxNotificationCentre::takeToken(uint id, const QString &token)
{
    if (const auto entry = findShown(id); entry != m_entries.end())
        entry->activationToken = token;
}

void LinuxNotificationCentre::takeAction(uint id, const QString &action)
{
    const auto entry = findShown(id);
    if (entry == m_entries.end()) {
        // A signal may overtake the answer that tells the number.
        const bool isSending = std::ranges::any_of(m_entries, [](const Entry &e) { return e.stage == Stage::Sent; });
        if (isSending && m_earlyActions.size() < mostEarlyActions)
            m_earlyActions.insert(id, action);
        return;
    }
    const Response response { entry->request.identifier, action, entry->request.userInfo, entry->activationToken };
    m_entries.erase(entry);
    // Not every server does it by itself.
    close(id);
    if (m_delegate)
        m_delegate->didReceive(response);
}

void LinuxNotificationCentre::takeClosing(uint id, uint /*reason*/)
{
    const auto entry = findShown(id);
    if (entry == m_entries.end())
        return;
    const QString identifier = entry->request.identifier;
    m_entries.erase(entry);
    if (m_delegate)
        m_delegate->didClose(identifier);
}

LinuxNotificationCentre::Entries::iterator LinuxNotificationCentre::findNumber(std::uint64_t number)
{
    return std::ranges::find(m_entries, number, &Entry::number);
}

LinuxNotificationCentre::Entries::iterator LinuxNotificationCentre::findShown(uint id)
{
    return std::ranges::find_if(m_entries,
                                [id](const Entry &entry) { return entry.stage == Stage::Shown && entry.id == id; });
}

} // namespace vantry

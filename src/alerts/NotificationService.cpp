#include "alerts/NotificationService.h"

#include "base/Dates.h"
#include "base/Defaults.h"
#include "sessions/PendingPermissionStore.h"

#include <QLocale>
#include <QPointer>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

using Action = NotificationCentre::Action;
using Category = NotificationCentre::Category;
using Urgency = NotificationCentre::Urgency;

constexpr auto sessionCategory = "VANTRY_SESSION_ACTION"_L1;
constexpr auto permissionCategory = "VANTRY_PERMISSION_ACTION"_L1;
constexpr auto allowAction = "ALLOW_PERMISSION"_L1;
constexpr auto denyAction = "DENY_PERMISSION"_L1;
constexpr auto sessionIDKey = "session_id"_L1;

QList<Category> categories()
{
    using Options = Action::Options;
    return { { sessionCategory, { { u"FOCUS_SESSION"_s, u"Focus Session"_s, Options::Foreground } } },
             { permissionCategory,
               { { allowAction, u"Allow"_s, Options::None }, { denyAction, u"Deny"_s, Options::Destructive } } } };
}

bool isStop(const HookEvent &event)
{
    return event.eventType() == HookEventType::stop;
}

std::optional<QString> toolOf(const VantrySession &session, const HookEvent &event)
{
    return session.toolName() ? session.toolName() : event.toolName;
}

bool asksForPermission(const VantrySession &session, const HookEvent &event)
{
    return event.notificationType == NotificationType::permissionPrompt ||
           session.state() == SessionState::needsPermission;
}

struct Text
{
    QString title;
    QString body;
};

QString approvalOf(const QString &tool)
{
    return u"Approve "_s + tool + u"?"_s;
}

Text permissionText(const VantrySession &session, const HookEvent &event)
{
    const auto tool = toolOf(session, event);
    const QString title = u"Permission Required"_s;
    if (tool && session.toolDetail())
        return { title, *tool + u": "_s + *session.toolDetail() };
    if (tool)
        return { title, approvalOf(*tool) };
    return { title, event.message.value_or(u"Claude Code needs your approval"_s) };
}

Text typedText(NotificationType type, const VantrySession &session, const HookEvent &event)
{
    const auto messageOr = [&event](const QString &fallback) { return event.message.value_or(fallback); };
    switch (type) {
    case NotificationType::permissionPrompt:
        return permissionText(session, event);
    case NotificationType::idlePrompt:
        return { u"Waiting for Input"_s, messageOr(u"Claude Code is waiting for your input"_s) };
    case NotificationType::taskComplete:
        return { u"Task Complete"_s, messageOr(u"Claude Code finished the task"_s) };
    case NotificationType::elicitationDialog:
        return { u"Question"_s, messageOr(u"Claude Code is asking you a question"_s) };
    case NotificationType::authSuccess:
        break;
    }
    return { u"Authenticated"_s, messageOr(u"Authentication completed"_s) };
}

Text textOf(const VantrySession &session, const HookEvent &event)
{
    if (event.notificationType)
        return typedText(*event.notificationType, session, event);
    if (session.state() == SessionState::needsPermission) {
        const auto tool = toolOf(session, event);
        return { u"Permission Required"_s, tool ? approvalOf(*tool) : u"Claude Code needs your approval"_s };
    }
    if (isStop(event))
        return { u"Your Turn"_s, event.message.value_or(u"Claude Code is waiting for your input"_s) };
    return { u"Claude Code"_s, event.message.value_or(u"Needs attention"_s) };
}

/// An agent that waits for a permission stands still; all else can wait for the user.
Urgency urgencyOf(const VantrySession &session, const HookEvent &event)
{
    if (asksForPermission(session, event))
        return Urgency::Critical;
    return event.notificationType == NotificationType::authSuccess ? Urgency::Low : Urgency::Normal;
}

/// By a copy, since what is called may set another.
void call(std::function<void(const QString &)> function, const QString &argument) // NOLINT(*-unnecessary-value-param)
{
    if (function)
        function(argument);
}

/// As decimal text, always with a fraction.
QString decimalText(double number)
{
    QString text = QString::number(number, 'f', QLocale::FloatingPointShortest);
    return text.contains(u'.') ? text : text + u".0"_s;
}

} // namespace

NotificationService::NotificationService(const Services &services, Print print)
    : m_services(services)
    , m_print(std::move(print))
{
    connect(&m_services.pendingPermissions, &PendingPermissionStore::pendingChanged, this,
            &NotificationService::removeOutdated);
    m_services.centre.onServerChanged = [this] { Q_EMIT serverChanged(); };
}

NotificationService::~NotificationService()
{
    m_services.centre.setDelegate(nullptr);
    m_services.centre.onServerChanged = {};
}

void NotificationService::configure(Callback onNotificationClicked, Callback onAllowPermission,
                                    Callback onDenyPermission)
{
    m_onNotificationClicked = std::move(onNotificationClicked);
    m_onAllowPermission = std::move(onAllowPermission);
    m_onDenyPermission = std::move(onDenyPermission);
    m_services.centre.setDelegate(this);
    m_services.centre.requestAuthorization([print = m_print](bool isGranted, const std::optional<QString> &error) {
        if (error)
            print(u"[Vantry] Notification auth error: "_s + *error);
        else if (!isGranted)
            print(u"[Vantry] Notification permission not granted"_s);
    });
    m_services.centre.setCategories(categories());
}

void NotificationService::requestPermission(std::function<void()> done)
{
    m_services.centre.requestAuthorization([done = std::move(done)](bool, const std::optional<QString> &) { done(); });
}

void NotificationService::notify(const SessionPtr &session, const HookEvent &event)
{
    if (!isWanted(*session, event))
        return;
    const Date now = m_services.clock.now();
    if (isCoolingDown(session->id(), now))
        return;
    const NotificationCentre::Request request = makeRequest(*session, event, now);
    // What no longer counts is forgotten, so that sessions of long ago take no room.
    m_lastNotificationTime.removeIf([&](const auto &entry) { return now - entry.value() >= cooldownInterval; });
    m_lastNotificationTime[session->id()] = now;
    post(session, event, request);
}

bool NotificationService::isWanted(const VantrySession &session, const HookEvent &event) const
{
    const auto isOn = [this](const QString &key) { return m_services.defaults.boolean(key, true); };
    if (!isOn(u"notifications_enabled"_s) || isPopoverVisible)
        return false;
    if (event.notificationType == NotificationType::elicitationDialog && !isOn(u"notify_question"_s))
        return false;
    if (event.notificationType == NotificationType::taskComplete && !isOn(u"notify_taskComplete"_s))
        return false;
    if (event.notificationType == NotificationType::permissionPrompt && !isOn(u"notify_permission"_s))
        return false;
    return !isStop(event) || session.state() != SessionState::hasQuestion || isOn(u"notify_question"_s);
}

bool NotificationService::isCoolingDown(const QString &sessionID, Date now) const
{
    const auto last = m_lastNotificationTime.constFind(sessionID);
    // A clock that was set back doesn't silence a session until it has caught up.
    return last != m_lastNotificationTime.cend() && now >= *last && now - *last < cooldownInterval;
}

NotificationCentre::Request NotificationService::makeRequest(const VantrySession &session, const HookEvent &event,
                                                             Date now) const
{
    const Text text = textOf(session, event);
    NotificationCentre::Request request;
    request.identifier = u"vantry-"_s + session.id() + u'-' + decimalText(secondsSince1970(now));
    request.title = text.title;
    request.body = text.body;
    request.categoryIdentifier = asksForPermission(session, event) ? permissionCategory : sessionCategory;
    request.userInfo = { { sessionIDKey, session.id() } };
    request.urgency = urgencyOf(session, event);
    // Two sounds for one event are one too many.
    request.isSilent = m_services.defaults.boolean(u"sounds_enabled"_s, true);
    return request;
}

void NotificationService::post(const SessionPtr &session, const HookEvent &event,
                               const NotificationCentre::Request &request)
{
    Watched &watched = m_watched[session->id()];
    if (!watched.changes) {
        watched.session = session;
        watched.changes =
            connect(session.get(), &VantrySession::changed, this, [this, id = session->id()] { removeOutdated(id); });
    }
    Posted posted { request.identifier, session->state(), {} };
    if (session->state() == SessionState::needsPermission) {
        // The event's own detail is the request's, too, where the session shows another one.
        posted.asked = Asked { toolOf(*session, event), event.toolDetail ? event.toolDetail : session->toolDetail() };
        if (const PendingPermission *first = m_services.pendingPermissions.firstHeld(session->id()))
            posted.asked->requestID = first->id;
    }
    watched.posted.push_back(posted);

    const QPointer<NotificationService> self(this);
    m_services.centre.add(request, [self, print = m_print, identifier = request.identifier](const QString &error) {
        print(u"[Vantry] Failed to deliver notification: "_s + error);
        if (self)
            self->forget(identifier);
    });
}

// What is on the screen

/// Whether the notification's buttons still answer what it asks.
bool NotificationService::isStillTrue(const VantrySession &session, Posted &posted) const
{
    if (session.state() != posted.state)
        return false;
    if (!posted.asked)
        return true;
    Asked &asked = *posted.asked;
    const PendingPermission *first = m_services.pendingPermissions.firstHeld(session.id());
    if (asked.requestID)
        return first && first->id == *asked.requestID;
    if (!first)
        return true;
    // A question of the terminal's that is held from now on, or somebody else's request, which Allow would answer.
    asked.requestID = first->id;
    const std::optional<QString> &detail = first->event.toolDetail;
    return first->event.toolName == asked.toolName && (!detail || !asked.toolDetail || detail == asked.toolDetail);
}

void NotificationService::removeOutdated(const QString &sessionID)
{
    const auto watched = m_watched.find(sessionID);
    if (watched == m_watched.end())
        return;
    const SessionPtr session = watched->session.lock();
    QStringList outdated;
    std::erase_if(watched->posted, [&](Posted &posted) {
        if (session && isStillTrue(*session, posted))
            return false;
        outdated.append(posted.identifier);
        return true;
    });
    unwatchIfIdle(watched);
    for (const QString &identifier : outdated)
        m_services.centre.remove(identifier);
}

void NotificationService::forget(const QString &identifier)
{
    for (auto watched = m_watched.begin(); watched != m_watched.end(); ++watched) {
        if (std::erase_if(watched->posted, [&](const Posted &posted) { return posted.identifier == identifier; })) {
            unwatchIfIdle(watched);
            return;
        }
    }
}

void NotificationService::unwatchIfIdle(QHash<QString, Watched>::iterator watched)
{
    if (!watched->posted.empty())
        return;
    disconnect(watched->changes);
    m_watched.erase(watched);
}

// The centre's delegate

NotificationCentre::Presentation NotificationService::willPresent(const NotificationCentre::Request & /*request*/)
{
    using Presentation = NotificationCentre::Presentation;
    return isPopoverVisible ? Presentation::Nothing : Presentation::BannerAndSound;
}

void NotificationService::didReceive(const NotificationCentre::Response &response)
{
    forget(response.identifier);
    const QVariant value = response.userInfo.value(sessionIDKey);
    const QString sessionID = value.metaType() == QMetaType::fromType<QString>() ? value.toString() : QString();
    if (response.actionIdentifier == allowAction) {
        call(m_onAllowPermission, sessionID);
    } else if (response.actionIdentifier == denyAction) {
        call(m_onDenyPermission, sessionID);
    } else {
        if (!response.activationToken.isEmpty())
            call(onActivationToken, response.activationToken);
        call(m_onNotificationClicked, sessionID);
    }
}

void NotificationService::didClose(const QString &identifier)
{
    forget(identifier);
}

} // namespace vantry

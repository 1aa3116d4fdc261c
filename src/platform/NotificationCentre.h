#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace vantry {

/// The desktop's notifications. Main thread only; nothing here waits for the desktop.
class NotificationCentre
{
public:
    enum class Urgency { Low, Normal, Critical };

    /// A button.
    struct Action
    {
        /// What it means to a desktop that shows such things.
        enum class Options { None = 0, Destructive = 2, Foreground = 4 };

        QString identifier;
        QString title;
        Options options { Options::None };
    };

    /// A kind of notification, with its buttons in order.
    struct Category
    {
        QString identifier;
        QList<Action> actions;
    };

    /// One notification to be shown. Texts are plain ones, of any length and from anywhere.
    struct Request
    {
        QString identifier; ///< Another one for each request.
        QString title;
        QString body;
        QString categoryIdentifier; ///< Of an unknown category there are no buttons.
        QVariantMap userInfo {};    ///< Comes back with the response.
        Urgency urgency { Urgency::Normal };
        bool isSilent { false }; ///< The desktop makes no sound of its own.
    };

    /// What the user did with a notification. It has been taken away by then.
    struct Response
    {
        QString identifier; ///< The request's.
        /// A button's identifier; another one for a click on the notification itself.
        QString actionIdentifier;
        QVariantMap userInfo {};
        QString activationToken {}; ///< The desktop's leave to bring a window forward; empty where it gives none.
    };

    /// How a notification is shown while the application is in front.
    enum class Presentation { Nothing = 0, BannerAndSound = 18 };

    /// Whom the centre asks and tells. Called on the main thread, never from within the centre's own operations.
    class Delegate
    {
    public:
        virtual ~Delegate() = default;

        /// Asked right before a notification goes out, which may be some time after it was added.
        [[nodiscard]] virtual Presentation willPresent(const Request &request) = 0;
        virtual void didReceive(const Response &response) = 0;
        /// A notification has gone without a response: the user dismissed it, its time was over, or what showed it has
        /// ended.
        virtual void didClose(const QString &identifier) = 0;
    };

    /// Who shows notifications.
    struct Server
    {
        enum class Presence {
            Unknown,   ///< Not asked yet, or it hasn't answered.
            Absent,    ///< Nobody.
            Startable, ///< Nobody yet; the first notification starts it.
            Present,
        };

        Presence presence { Presence::Unknown };
        QStringList capabilities {}; ///< Of one that is present.
        QString name {};             ///< With its version, where it was asked for.
        friend bool operator==(const Server &, const Server &) = default;
    };

    /// Whether the user lets notifications be shown. A desktop that doesn't ask for leave gives it.
    enum class Authorization { NotDetermined, Denied, Authorized };

    /// What becomes of notifications.
    struct Status
    {
        Authorization authorization { Authorization::Authorized };
        Server server {};
        friend bool operator==(const Status &, const Status &) = default;
    };

    /// Takes the status.
    using StatusKnown = std::function<void(const Status &status)>;
    /// Takes whether notifications may be shown, or why that can't be told.
    using Authorized = std::function<void(bool isGranted, const std::optional<QString> &error)>;
    /// Takes why a notification could not be shown.
    using Failed = std::function<void(const QString &error)>;

    virtual ~NotificationCentre() = default;

    /// Null: nobody. It must outlive the centre, or be taken back.
    virtual void setDelegate(Delegate *delegate) = 0;
    virtual void setCategories(const QList<Category> &categories) = 0;
    /// `done` is called once, later, or never when the centre ends before.
    virtual void requestAuthorization(Authorized done) = 0;
    /// Looks how things are, and asks the user for nothing. `known` is called once, later, or never when the centre
    /// ends before.
    virtual void requestStatus(StatusKnown known) = 0;
    /// Shows a notification. `failed` is called at most once, later; one that failed counts as closed, and nobody is
    /// told so.
    virtual void add(const Request &request, Failed failed) = 0;
    /// Takes a notification away, also one that is only about to be shown. Unknown ones are ignored.
    virtual void remove(const QString &identifier) = 0;
    [[nodiscard]] virtual Server server() const = 0;

    std::function<void()> onServerChanged; ///< server() gives something else now.
};

} // namespace vantry

#pragma once

#include "base/Clock.h"
#include "platform/Applications.h"
#include "platform/linux/SessionBus.h"

#include <QStringList>
#include <QVariant>

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

namespace vantry {

/// Why a konsole did not do what it was asked.
struct KonsoleFailure
{
    enum class Kind {
        NoBus,
        Gone,       ///< The program.
        NoObject,   ///< What was asked within it.
        Unanswered, ///< In the time that there was.
        Refused,    ///< Its settings don't allow it.
        Other,
    };
    Kind kind { Kind::Gone };
    QString text; ///< One line for a person.
};

/// A conversation with one konsole over a bus connection of its own. Everything that is done in it shares one span of
/// time. Any thread, one at a time; the caller blocks.
class KonsoleRemote
{
public:
    /// A window's tabs.
    struct Window
    {
        QString path;        ///< "/Windows/1"
        QList<int> sessions; ///< N of "/Sessions/N".
    };
    /// The window that the desktop knows. konsole doesn't say which Window is in it.
    struct MainWindow
    {
        QString path; ///< "/konsole/MainWindow_1"
        Applications::WindowID id { 0 };

        friend bool operator==(const MainWindow &, const MainWindow &) = default;
    };

    KonsoleRemote(const QString &busAddress, QString service, std::chrono::milliseconds patience);

    /// Why the last call did not succeed; nothing when it did. Each call sets it.
    [[nodiscard]] const std::optional<KonsoleFailure> &failure() const { return m_failure; }

    // Of a session. Each gives an empty value when it fails.

    void sendText(int session, const QString &text);
    /// Of the program that the session has started; 0 once that has ended.
    [[nodiscard]] int processID(int session);

    // Of the windows.

    [[nodiscard]] std::vector<Window> windows();
    /// The window that shows the session.
    [[nodiscard]] std::optional<Window> windowOf(int session);
    [[nodiscard]] std::vector<MainWindow> mainWindows();
    /// Where the window is on the desktop; nothing when it can't be told.
    [[nodiscard]] std::optional<MainWindow> mainWindowOf(const Window &window);
    [[nodiscard]] int currentSession(const Window &window);
    void setCurrentSession(const Window &window, int session);
    /// Opens a tab, which becomes the current one, and gives its session.
    [[nodiscard]] int newSession(const Window &window, const QString &directory);
    void activateAction(const MainWindow &mainWindow, const QString &action);

    /// The konsole's own process; 0 when it is gone.
    [[nodiscard]] std::int64_t ownProcessID();
    /// The services on the bus that are konsoles, by their unique names.
    [[nodiscard]] QStringList konsoles();

    /// Asks again and again until `condition` holds; false when it does not within this span, or the time is up.
    template <typename Condition>
    bool waitUntil(Condition condition, std::chrono::milliseconds span)
    {
        const MonotonicTime end = std::min(m_deadline, m_clock.monotonicNow() + span);
        while (!condition()) {
            if (m_clock.monotonicNow() >= end || !pause())
                return false;
        }
        return true;
    }

private:
    QVariant callService(const QString &service, const QString &path, const QString &interface, const QString &method,
                         const QVariantList &arguments = {});
    QVariant call(const QString &path, const QString &interface, const QString &method,
                  const QVariantList &arguments = {});
    /// The names of the objects right below this one; none where there is no such object.
    [[nodiscard]] QStringList children(const QString &path);
    /// The desktop's window in which a session of this window was started, if one still is in the window that it was
    /// started in.
    [[nodiscard]] std::optional<Applications::WindowID> birthplace(const Window &window);
    /// A short wait between two questions; false when the thread's work has been cancelled.
    static bool pause();

    SystemClock m_clock;
    MonotonicTime m_deadline;
    BusConnection m_bus;
    const QString m_service;
    std::optional<KonsoleFailure> m_failure;
};

} // namespace vantry

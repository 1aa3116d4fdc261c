#pragma once

#include "program/ChildProcess.h"
#include "program/Eventually.h"

#include <QHash>
#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <vector>

namespace vantry::test {

/// A desktop of the test's own: an X server without a screen, a window manager and a session bus, as far as the test
/// asks for them, and a home folder. While it lives, the test's own environment is that of the desktop: code under test
/// finds display and bus where it always does. Any number may run side by side on one machine, one in a process. All
/// of it ends with the test, also when that crashes: what was started from here is killed, and what these have started
/// loses its display.
class Desktop
{
public:
    struct Options
    {
        bool windowManager { true };
        bool bus { false };        ///< With the services of the machine, which find the display.
        bool firstStart { false }; ///< Vantry was never set up by this user.
    };

    explicit Desktop(Options options);
    Desktop()
        : Desktop(Options {})
    {}
    ~Desktop();
    Desktop(const Desktop &) = delete;
    Desktop &operator=(const Desktop &) = delete;

    [[nodiscard]] const QString &display() const { return m_display; }
    /// Empty without a bus.
    [[nodiscard]] const QString &busAddress() const { return m_busAddress; }
    /// A folder for the test's files; the home folder is in it.
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }
    [[nodiscard]] const QProcessEnvironment &environment() const { return m_environment; }

    /// Starts a program in the desktop's environment; what it writes is dropped. It lives as long as the desktop, if
    /// it isn't killed before.
    ChildProcess &start(const QString &program, const QStringList &arguments);
    ChildProcess &start(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment);
    /// Runs a program to its end and gives what it writes, trimmed; empty when it fails.
    [[nodiscard]] QString outputOf(const QString &program, const QStringList &arguments) const;

    /// The window that has the focus, by the window manager's word; 0 when there is none.
    [[nodiscard]] quint64 activeWindow() const;
    /// The windows with this class (the second word of WM_CLASS), whatever their state.
    [[nodiscard]] QList<quint64> windowsOfClass(const QString &windowClass) const;
    /// Whether it is on the screen, or under other windows there.
    [[nodiscard]] bool isShown(quint64 window) const;
    /// Waits until such a window is shown, and gives it; 0 when none comes.
    [[nodiscard]] quint64 waitForWindow(const QString &windowClass) const;
    [[nodiscard]] bool waitUntilActive(quint64 window) const;

    [[nodiscard]] ChildProcess &server() { return *m_server; }
    [[nodiscard]] ChildProcess &windowManager() { return *m_windowManager; }

private:
    void skipSetUp();
    void startServer();
    void endServer();
    void startBus();
    void startWindowManager();
    void setEnvironment();

    QTemporaryDir m_folder;
    QProcessEnvironment m_environment;
    QHash<QByteArray, std::optional<QByteArray>> m_formerEnvironment;
    QString m_display;
    QString m_busAddress;
    std::unique_ptr<ChildProcess> m_server;
    std::unique_ptr<ChildProcess> m_bus;
    std::unique_ptr<ChildProcess> m_windowManager;
    std::vector<std::unique_ptr<ChildProcess>> m_programs;
};

} // namespace vantry::test

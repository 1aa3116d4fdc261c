#pragma once

#include "ChildProcess.h"
#include "HookCall.h"

#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantry::test {

using Json = nlohmann::ordered_json;

/// The built program in a home of its own, seen as its users see it: over HTTP, the command line, the session bus and
/// its files. Nothing is started at construction but the bus. The port is fixed, so only one may run at a time.
class Vantry
{
public:
    enum class Bus { Private, None };

    explicit Vantry(Bus bus = Bus::Private);
    ~Vantry();

    /// Starts the application, and waits until it answers on its port.
    void start();
    /// The same with windows, which are drawn into memory, and so with all that comes with them.
    void startWithWindows();
    /// Starts it, and does not wait.
    void launch();
    /// Sends the signal and waits: the exit code, -1 when the signal ended it.
    [[nodiscard]] int end(int signal);
    /// Ends it without a warning.
    void killHard() { m_application->killAndWait(); }
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] ChildProcess &application() { return *m_application; }

    /// Runs `vantry ARGS…` to its end.
    [[nodiscard]] CommandResult run(const QStringList &arguments) const;
    /// Runs `vantry ARGS…`, which is expected to be done, and reads what it printed.
    [[nodiscard]] Json runJson(const QStringList &arguments) const;
    /// A command that is still running.
    [[nodiscard]] std::unique_ptr<ChildProcess> begin(const QStringList &arguments) const;
    /// Another program in the same home.
    [[nodiscard]] std::unique_ptr<ChildProcess> other(const QString &program, const QStringList &arguments,
                                                      const QProcessEnvironment &more = {}) const;

    /// What `List` on the bus gives; null when nobody answers.
    [[nodiscard]] Json document() const;
    /// The session's object in the document; null when it isn't there.
    [[nodiscard]] Json session(std::string_view id) const;
    /// Waits until the session has this value under this key.
    [[nodiscard]] bool shows(std::string_view id, const char *key, const Json &value) const;

    /// Posts an event and waits for the answer's body.
    std::string post(const Json &event) const;

    [[nodiscard]] QString home() const { return m_scratch.path(); }
    [[nodiscard]] QString dataFolder() const { return home() + QStringLiteral("/data/Vantry"); }
    [[nodiscard]] QString database() const { return dataFolder() + QStringLiteral("/vantry.db"); }
    [[nodiscard]] QString debugLog() const { return dataFolder() + QStringLiteral("/debug.log"); }
    [[nodiscard]] std::string logText() const;
    [[nodiscard]] int logLinesWith(std::string_view text) const;
    /// The first column of each row; fails the test when the statement can't be run.
    [[nodiscard]] std::vector<std::string> query(const char *sql) const;

    [[nodiscard]] QProcessEnvironment environment() const;
    [[nodiscard]] const QString &busAddress() const { return m_busAddress; }

private:
    void skipSetUp() const;
    void waitUntilItAnswers();
    void startBus();

    QTemporaryDir m_scratch;
    QString m_busAddress;
    std::unique_ptr<ChildProcess> m_bus;
    std::unique_ptr<ChildProcess> m_application;
};

/// An event with the keys that each has, in a folder that is no repository.
[[nodiscard]] Json event(std::string_view name, std::string_view session, const Json &more = Json::object());
/// A permission request for a shell command.
[[nodiscard]] Json permissionRequest(std::string_view session, const Json &more = Json::object());

} // namespace vantry::test

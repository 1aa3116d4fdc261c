#include "Vantry.h"

#include "Eventually.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDir>
#include <QFile>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>

namespace vantry::test {

namespace {

const QString programPath = QStringLiteral(VANTRY_PROGRAM);

/// No service is started by this bus: what the tests don't start isn't there.
const char busConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

} // namespace

Vantry::Vantry(Bus bus)
{
    QDir(home()).mkdir(QStringLiteral("runtime"));
    QFile::setPermissions(home() + QStringLiteral("/runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (bus == Bus::Private)
        startBus();
}

Vantry::~Vantry()
{
    if (m_application && ::testing::Test::HasFailure()) {
        m_application->killAndWait();
        std::fprintf(stderr, "---- the program's log:\n%s---- its standard error:\n%s----\n", logText().c_str(),
                     m_application->readAllStandardError().constData());
    }
    if (!m_busAddress.isEmpty())
        QDBusConnection::disconnectFromBus(m_busAddress);
}

void Vantry::startBus()
{
    const QString path = home() + QStringLiteral("/bus.conf");
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write(QString::fromLatin1(busConfiguration).arg(home()).toUtf8());
    file.close();
    m_bus = other(QStringLiteral("dbus-daemon"), { QStringLiteral("--config-file=") + path, QStringLiteral("--nofork"),
                                                   QStringLiteral("--print-address") });
    m_busAddress = QString::fromStdString(m_bus->nextLine());
    ASSERT_FALSE(m_busAddress.isEmpty()) << "dbus-daemon did not start";
    ASSERT_TRUE(QDBusConnection::connectToBus(m_busAddress, m_busAddress).isConnected());
}

QProcessEnvironment Vantry::environment() const
{
    QProcessEnvironment environment;
    const auto inherited = QProcessEnvironment::systemEnvironment();
    for (const auto &name : { "PATH", "ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS" }) {
        const QString key = QString::fromLatin1(name);
        if (inherited.contains(key))
            environment.insert(key, inherited.value(key));
    }
    environment.insert(QStringLiteral("HOME"), home());
    environment.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home() + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home() + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home() + QStringLiteral("/runtime"));
    // An address that can't be reached, where there is to be no bus: without one a bus would be looked for elsewhere.
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       m_busAddress.isEmpty() ? QStringLiteral("unix:path=/nonexistent") : m_busAddress);
    return environment;
}

void Vantry::start()
{
    ASSERT_FALSE(isHealthy()) << "port 49152 is taken: a running Vantry has to be ended before these tests";
    launch();
    waitUntilItAnswers();
}

void Vantry::startWithWindows()
{
    ASSERT_FALSE(isHealthy()) << "port 49152 is taken: a running Vantry has to be ended before these tests";
    QProcessEnvironment inMemory;
    inMemory.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    skipSetUp();
    m_application = other(programPath, {}, inMemory);
    waitUntilItAnswers();
}

/// Unless the test has settings of its own.
void Vantry::skipSetUp() const
{
    const QString folder = home() + QStringLiteral("/config/Vantry");
    QFile settings(folder + QStringLiteral("/settings.json"));
    EXPECT_TRUE(QDir().mkpath(folder));
    if (settings.open(QFile::WriteOnly | QFile::NewOnly))
        settings.write("{\"hasCompletedOnboarding\":true}");
}

void Vantry::waitUntilItAnswers()
{
    ASSERT_TRUE(eventually([this] { return !isRunning() || isHealthy(); }));
    ASSERT_TRUE(isRunning()) << m_application->finish().err;
}

void Vantry::launch()
{
    m_application = begin({ QStringLiteral("--headless") });
}

int Vantry::end(int signal)
{
    m_application->sendSignal(signal);
    const CommandResult result = m_application->finish();
    EXPECT_EQ(result.err.find("ERROR: "), std::string::npos) << result.err;
    return result.exitCode;
}

bool Vantry::isRunning() const
{
    return m_application && !m_application->waitForFinished(0) && m_application->state() == QProcess::Running;
}

CommandResult Vantry::run(const QStringList &arguments) const
{
    return begin(arguments)->finish();
}

Json Vantry::runJson(const QStringList &arguments) const
{
    const CommandResult result = run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return Json::parse(result.out, nullptr, false);
}

std::unique_ptr<ChildProcess> Vantry::begin(const QStringList &arguments) const
{
    return other(programPath, arguments);
}

std::unique_ptr<ChildProcess> Vantry::other(const QString &program, const QStringList &arguments,
                                            const QProcessEnvironment &more) const
{
    QProcessEnvironment merged = environment();
    merged.insert(more);
    auto process = std::make_unique<ChildProcess>(program, arguments, merged);
    process->setWorkingDirectory(home());
    process->begin();
    return process;
}

Json Vantry::document() const
{
    auto call = QDBusMessage::createMethodCall(QStringLiteral("com.vantry.app"), QStringLiteral("/com/vantry/app"),
                                               QStringLiteral("com.vantry.Sessions"), QStringLiteral("List"));
    const QDBusReply<QString> reply = QDBusConnection(m_busAddress).call(call);
    return reply.isValid() ? Json::parse(reply.value().toStdString(), nullptr, false) : Json();
}

Json Vantry::session(std::string_view id) const
{
    const Json all = document();
    if (!all.is_object())
        return {};
    const auto &sessions = all.at("sessions");
    const auto found =
        std::find_if(sessions.begin(), sessions.end(), [id](const Json &one) { return one.at("id") == id; });
    return found == sessions.end() ? Json() : *found;
}

bool Vantry::shows(std::string_view id, const char *key, const Json &value) const
{
    const bool shown = eventually([&] {
        const Json one = session(id);
        return one.is_object() && one.at(key) == value;
    });
    if (!shown)
        ADD_FAILURE() << id << " should have " << key << " = " << value << " and is " << session(id).dump(2);
    return shown;
}

std::string Vantry::post(const Json &event) const
{
    return HookCall::post(event).body();
}

std::string Vantry::logText() const
{
    QFile file(debugLog());
    return file.open(QFile::ReadOnly) ? file.readAll().toStdString() : std::string();
}

int Vantry::logLinesWith(std::string_view text) const
{
    const std::string log = logText();
    int count = 0;
    for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
        ++count;
    return count;
}

std::vector<std::string> Vantry::query(const char *sql) const
{
    std::vector<std::string> rows;
    sqlite3 *database = nullptr;
    const auto collect = [](void *to, int, char **values, char **) {
        static_cast<std::vector<std::string> *>(to)->emplace_back(values[0] ? values[0] : "NULL");
        return 0;
    };
    char *message = nullptr;
    if (sqlite3_open_v2(this->database().toUtf8().constData(), &database, SQLITE_OPEN_READWRITE, nullptr) !=
            SQLITE_OK ||
        sqlite3_exec(database, sql, collect, &rows, &message) != SQLITE_OK)
        ADD_FAILURE() << sql << ": " << (message ? message : sqlite3_errmsg(database));
    sqlite3_free(message);
    sqlite3_close(database);
    return rows;
}

Json event(std::string_view name, std::string_view session, const Json &more)
{
    Json event { { "session_id", session }, { "hook_event_name", name }, { "cwd", "/tmp/no-such-project" } };
    event.update(more);
    return event;
}

Json permissionRequest(std::string_view session, const Json &more)
{
    Json request = event(
        "PermissionRequest", session,
        { { "tool_name", "Bash" }, { "tool_input", { { "command", "make all" } } }, { "tool_detail", "make all" } });
    request.update(more);
    return request;
}

} // namespace vantry::test

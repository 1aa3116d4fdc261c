#include "platform/linux/LinuxSecretStore.h"

#include "platform/PrivateBus.h"
#include "program/ChildProcess.h"
#include "program/Eventually.h"

#include <QCoreApplication>
#include <QDir>

#include <gtest/gtest.h>

#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// The program's secrets in a real keyring, which is unlocked by the test.
class KeyringTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
        environment.insert(u"HOME"_s, folder.path());
        environment.insert(u"XDG_DATA_HOME"_s, folder.filePath(u"data"_s));
        environment.insert(u"XDG_RUNTIME_DIR"_s, folder.path());
        environment.remove(u"DISPLAY"_s);
        ASSERT_NO_FATAL_FAILURE(startKeyring());
        store.emplace(bus.address());
    }
    /// Whose password unlocks it.
    void startKeyring()
    {
        keyring.emplace(u"gnome-keyring-daemon"_s,
                        QStringList { u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s }, environment);
        keyring->begin();
        keyring->write("password");
        keyring->closeWriteChannel();
        ASSERT_TRUE(waitFor([this] { return !LinuxSecretStore::problem(bus.address()); }))
            << "gnome-keyring did not start";
    }
    template <typename Condition>
    static bool waitFor(Condition condition)
    {
        return eventually([&] {
            QCoreApplication::processEvents();
            return condition();
        });
    }
    QString outputOf(const QString &program, const QStringList &arguments)
    {
        ChildProcess process(program, arguments, environment);
        process.begin();
        return QString::fromStdString(process.finish().out).trimmed();
    }
    /// What is kept under the account; empty when nothing is.
    QString kept(const QString &account)
    {
        return outputOf(u"secret-tool"_s, { u"lookup"_s, u"service"_s, u"com.vantry.app"_s, u"account"_s, account });
    }
    bool waitForKept(const QString &account, const QString &secret)
    {
        return waitFor([&] { return kept(account) == secret; });
    }
    void set(const QString &account, const QString &secret)
    {
        store->set(account, secret, [this](const QString &error) { failures.append(error); });
    }
    bool lock()
    {
        outputOf(u"gdbus"_s, { u"call"_s, u"--session"_s, u"--dest"_s, u"org.freedesktop.secrets"_s, u"--object-path"_s,
                               u"/org/freedesktop/secrets"_s, u"--method"_s, u"org.freedesktop.Secret.Service.Lock"_s,
                               u"[objectpath '/org/freedesktop/secrets/collection/login']"_s });
        return waitFor([this] {
            const auto problem = LinuxSecretStore::problem(bus.address());
            return problem && problem->detail == u"The secret service is locked"_s;
        });
    }

    PrivateBus bus;
    QTemporaryDir folder;
    QProcessEnvironment environment { QProcessEnvironment::systemEnvironment() };
    std::optional<ChildProcess> keyring;
    std::optional<LinuxSecretStore> store;
    QStringList failures;
};

TEST_F(KeyringTest, secretsAreKeptReplacedAndTakenAway)
{
    set(u"telegram_chat_id"_s, u"-100"_s);
    set(u"telegram_bot_token"_s, u"123:ABC-é"_s);
    EXPECT_TRUE(waitForKept(u"telegram_bot_token"_s, u"123:ABC-é"_s));
    set(u"telegram_bot_token"_s, u"456:DEF"_s);
    EXPECT_TRUE(waitForKept(u"telegram_bot_token"_s, u"456:DEF"_s));
    set(u"telegram_bot_token"_s, {});
    EXPECT_TRUE(waitForKept(u"telegram_bot_token"_s, {}));
    EXPECT_EQ(kept(u"telegram_chat_id"_s), u"-100"_s);
    EXPECT_TRUE(failures.isEmpty()) << failures.join(u' ').toStdString();
}

TEST_F(KeyringTest, aLockedKeyringIsLeftAsItIs)
{
    set(u"telegram_bot_token"_s, u"123:ABC"_s);
    ASSERT_TRUE(waitForKept(u"telegram_bot_token"_s, u"123:ABC"_s));
    ASSERT_TRUE(lock());

    set(u"telegram_bot_token"_s, {});
    // Nobody can be asked here, so a secret fails; by then the other is through.
    set(u"telegram_chat_id"_s, u"7"_s);
    EXPECT_TRUE(waitFor([this] { return failures.size() == 1; }));
    const auto problem = LinuxSecretStore::problem(bus.address());
    EXPECT_TRUE(problem && problem->detail == u"The secret service is locked"_s) << "still";

    keyring->killAndWait();
    ASSERT_NO_FATAL_FAILURE(startKeyring());
    EXPECT_TRUE(waitForKept(u"telegram_bot_token"_s, u"123:ABC"_s));
}

} // namespace
} // namespace vantry::test

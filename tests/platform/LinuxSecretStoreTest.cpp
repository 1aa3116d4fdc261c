#include "platform/linux/LinuxSecretStore.h"

#include "platform/FakeSecretService.h"
#include "platform/PrivateBus.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <gmock/gmock.h>

#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class SecretStoreTest : public ::testing::Test
{
protected:
    template <typename Condition>
    static bool runUntil(Condition condition)
    {
        QTimer ticks;
        ticks.start(std::chrono::milliseconds(2));
        for (const QDeadlineTimer deadline(std::chrono::seconds(20)); !condition();) {
            if (deadline.hasExpired())
                return false;
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return true;
    }
    void set(const QString &account, const QString &secret)
    {
        store->set(account, secret,
                   [this, account](const QString &error) { failures.append(account + u": "_s + error); });
    }
    bool waitForSecrets(const QStringList &expected)
    {
        return runUntil([&] { return service->secrets == expected; });
    }
    bool waitForFailure(const QString &expected)
    {
        return runUntil([&] { return failures.contains(expected); });
    }
    bool waitForCall(const QString &name)
    {
        return runUntil([&] { return service->calls.contains(name); });
    }
    /// What the doctor is told; asked off the thread that the service answers on.
    std::optional<SecretStore::Problem> problem()
    {
        std::optional<SecretStore::Problem> found;
        std::atomic<bool> isDone = false;
        std::thread thread([&] {
            found = LinuxSecretStore::problem(bus.address());
            isDone = true;
        });
        EXPECT_TRUE(runUntil([&] { return isDone.load(); }));
        thread.join();
        return found;
    }
    QString problemDetail()
    {
        const auto found = problem();
        return found ? found->detail : QString();
    }

    PrivateBus bus;
    std::optional<FakeSecretService> service { std::in_place, bus.address() };
    std::optional<LinuxSecretStore> store { std::in_place, bus.address() };
    QStringList failures;
};

TEST_F(SecretStoreTest, aSecretIsMadeInTheDefaultCollection)
{
    set(u"token"_s, u"123:ä"_s);
    ASSERT_TRUE(waitForSecrets({ u"123:ä"_s }));
    EXPECT_THAT(service->calls, ElementsAre(u"OpenSession"_s, u"ReadAlias"_s, u"Unlock"_s, u"CreateItem"_s));
    EXPECT_EQ(service->wanted.constFirst(),
              (QMap<QString, QString> { { u"service"_s, u"com.vantry.app"_s }, { u"account"_s, u"token"_s } }));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(SecretStoreTest, anEmptySecretDeletesWhatIsUnlockedAndAsksNobody)
{
    service->unlockedItems = { QDBusObjectPath(u"/org/freedesktop/secrets/collection/login/4"_s) };
    service->lockedItems = { QDBusObjectPath(u"/org/freedesktop/secrets/collection/other/5"_s) };
    set(u"token"_s, {});
    ASSERT_TRUE(runUntil([&] { return !service->deleted.isEmpty(); }));
    set(u"token"_s, u"x"_s); // So that all of the first has happened.
    ASSERT_TRUE(waitForSecrets({ u"x"_s }));
    EXPECT_THAT(service->deleted, ElementsAre(u"/org/freedesktop/secrets/collection/login/4"_s));
    EXPECT_THAT(service->calls, Not(Contains(u"Prompt"_s)));
    EXPECT_EQ(service->calls.count(u"Unlock"_s), 1) << "for the second";
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(SecretStoreTest, ofSeveralForOneAccountTheLastIsKept)
{
    service->isSilent = true;
    set(u"token"_s, u"1"_s);
    ASSERT_TRUE(waitForCall(u"OpenSession"_s));
    set(u"token"_s, u"12"_s);
    set(u"chat"_s, u"7"_s);
    set(u"token"_s, u"123"_s);
    service->answerLate();
    EXPECT_TRUE(waitForSecrets({ u"1"_s, u"7"_s, u"123"_s })) << service->secrets.join(u' ').toStdString();
}

TEST_F(SecretStoreTest, theUserUnlocksAndTheSecretIsKept)
{
    service->asksToUnlock = true;
    set(u"token"_s, u"x"_s);
    ASSERT_TRUE(waitForCall(u"Prompt"_s));
    EXPECT_THAT(service->secrets, IsEmpty());
    service->endPrompt(false);
    EXPECT_TRUE(waitForSecrets({ u"x"_s }));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(SecretStoreTest, theUserDoesNotUnlockAndNothingIsKept)
{
    service->asksToUnlock = true;
    set(u"token"_s, u"x"_s);
    ASSERT_TRUE(waitForCall(u"Prompt"_s));
    service->endPrompt(true);
    EXPECT_TRUE(waitForFailure(u"token: the store stays locked"_s));
    EXPECT_THAT(service->secrets, IsEmpty());
}

TEST_F(SecretStoreTest, aQuestionBeforeAnItemIsMadeIsAskedToo)
{
    service->asksToCreate = true;
    set(u"token"_s, u"x"_s);
    ASSERT_TRUE(waitForCall(u"Prompt"_s));
    service->endPrompt(true);
    EXPECT_TRUE(waitForFailure(u"token: the store stays locked"_s));
    // Whoever ends a question twice is heard once.
    service->endPrompt(false);
    service->asksToCreate = false;
    set(u"token"_s, u"y"_s);
    EXPECT_TRUE(waitForSecrets({ u"x"_s, u"y"_s }));
}

TEST_F(SecretStoreTest, aServiceThatEndsMeanwhileKeepsNothing)
{
    service->asksToUnlock = true;
    set(u"token"_s, u"x"_s);
    ASSERT_TRUE(waitForCall(u"Prompt"_s));
    service->vanish();
    EXPECT_TRUE(waitForFailure(u"token: the secret service has ended"_s));
    service->asksToUnlock = false;
    service->appear();
    set(u"token"_s, u"y"_s);
    EXPECT_TRUE(waitForSecrets({ u"y"_s }));
}

TEST_F(SecretStoreTest, aServiceWithoutACollectionKeepsNothing)
{
    service->collection = u"/"_s;
    set(u"token"_s, u"x"_s);
    EXPECT_TRUE(waitForFailure(u"token: the secret service has no default collection"_s));
    EXPECT_EQ(problemDetail(), u"The secret service has no default collection"_s);
}

TEST_F(SecretStoreTest, errorsAndNonsenseAreFailuresOfSecretsAlone)
{
    service->error = u"no\nway"_s;
    set(u"chat"_s, {});
    set(u"token"_s, u"x"_s);
    EXPECT_TRUE(waitForFailure(u"token: no way"_s));
    service->error.clear();
    service->answersNonsense = true;
    set(u"chat"_s, {});
    set(u"token"_s, u"x"_s);
    EXPECT_TRUE(waitForFailure(u"token: the secret service gave an answer of a wrong type"_s));
    EXPECT_EQ(failures.size(), 2);
    EXPECT_EQ(problemDetail(), u"The secret service does not answer"_s);
}

TEST_F(SecretStoreTest, whatIsSetFromWithinAFailureIsKept)
{
    service->error = u"no"_s;
    store->set(u"token"_s, u"x"_s, [this](const QString &) {
        service->error.clear();
        store->set(u"token"_s, u"y"_s, {});
    });
    EXPECT_TRUE(waitForSecrets({ u"y"_s }));
}

TEST_F(SecretStoreTest, withoutAServiceNothingIsKept)
{
    service->vanish();
    set(u"chat"_s, {});
    set(u"token"_s, u"x"_s);
    EXPECT_TRUE(waitForFailure(u"token: there is no secret service"_s));
    EXPECT_EQ(failures.size(), 1);
    EXPECT_EQ(problemDetail(), u"There is no secret service: the Telegram token and chat are kept for one run only"_s);
}

TEST_F(SecretStoreTest, withoutABusNothingIsKept)
{
    store.emplace(QString());
    set(u"chat"_s, {});
    set(u"token"_s, u"x"_s);
    EXPECT_THAT(failures, IsEmpty()) << "nothing is told from within";
    EXPECT_TRUE(waitForFailure(u"token: there is no session bus"_s));
    EXPECT_TRUE(LinuxSecretStore::problem(QString()));
}

TEST_F(SecretStoreTest, endsWithAChangeUnderWay)
{
    service->asksToUnlock = true;
    set(u"token"_s, u"x"_s);
    ASSERT_TRUE(waitForCall(u"Prompt"_s));
    store.reset();
    service->endPrompt(false);
    EXPECT_FALSE(problem());
    EXPECT_THAT(service->secrets, IsEmpty());
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(SecretStoreTest, theBusMayGo)
{
    set(u"token"_s, u"x"_s);
    ASSERT_TRUE(waitForSecrets({ u"x"_s }));
    bus.stop();
    set(u"token"_s, u"y"_s);
    EXPECT_TRUE(runUntil([&] { return !failures.isEmpty(); }));
}

TEST_F(SecretStoreTest, aLockedServiceIsAProblem)
{
    EXPECT_EQ(problemDetail(), QString());
    service->isLocked = true;
    EXPECT_EQ(problemDetail(), u"The secret service is locked"_s);
    EXPECT_THAT(service->calls, Not(Contains(u"Unlock"_s)));
}

} // namespace
} // namespace vantry::test

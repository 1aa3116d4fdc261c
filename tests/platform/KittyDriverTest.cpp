#include "platform/linux/KittyDriver.h"

#include "base/Cancellation.h"
#include "platform/FakeKitty.h"
#include "platform/linux/KittyRemote.h"
#include "support/FakeApplications.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto noFailure = std::nullopt;
constexpr TerminalDriver::Abilities all { .focus = true, .type = true, .open = true, .close = true };

class KittyDriverProtocol : public ::testing::Test
{
protected:
    /// A kitty with the windows 3 and 4, which does all that it is asked.
    static std::string obey(const json &command)
    {
        if (command.at("no_response") == true)
            return {};
        return command.at("cmd") == "ls" ? FakeKitty::listOf({ 3, 4 }) : FakeKitty::good();
    }
    /// The same, but for one command.
    static FakeKitty::Answer obeyBut(const std::string &name, const std::string &answer)
    {
        return [=](const json &command) { return command.at("cmd") == name ? answer : obey(command); };
    }
    [[nodiscard]] static TerminalTarget targetIn(const FakeKitty &kitty, const QString &window = u"3"_s)
    {
        return { u"kitty-window"_s, kitty.target(window) };
    }
    /// What typing fails with when kitty answers "ls" so.
    [[nodiscard]] QString failureOnAnswer(const std::string &answer)
    {
        FakeKitty kitty([&](const json &) { return answer; });
        return driver.typeText(targetIn(kitty), u"x"_s).value_or(u"none"_s);
    }

    FakeApplications applications;
    KittyDriver driver { applications, 20s };
    KittyDriver impatient { applications, 50ms };
};

TEST(KittyAddress, isAPathAnAbstractNameOrAPortOfThisMachine)
{
    for (const auto *good : { u"unix:/tmp/kitty", u"unix:/tmp/with blanks, and commas", u"unix:@kitty-1",
                              u"tcp:localhost:1234", u"tcp:127.0.0.1:65535", u"tcp6:::1:1234", u"tcp6:[::1]:1234" })
        EXPECT_TRUE(KittyAddress::parse(good)) << QStringView(good).toString().toStdString();
}

TEST(KittyAddress, isNothingElse)
{
    const QString tooLong = u"unix:/"_s + QString(200, u'x');
    const QString withZero = u"unix:/tmp/a"_s + QChar(0) + u'b';
    for (const QString &bad : { u""_s, u"unix"_s, u"unix:"_s, u"unix:/"_s, u"unix:@"_s, u"unix:relative"_s, u"fd:3"_s,
                                u"tcp:1234"_s, u"tcp:example.org:1234"_s, u"tcp:192.168.0.1:1234"_s,
                                u"tcp:localhost:"_s, u"tcp:localhost:0"_s, u"tcp:localhost:65536"_s,
                                u"tcp:localhost:-1"_s, u"tcp:localhost:x"_s, u"UNIX:/tmp/kitty"_s, tooLong, withZero })
        EXPECT_FALSE(KittyAddress::parse(bad)) << bad.toStdString();
}

TEST_F(KittyDriverProtocol, canDoAllWithAUsableTargetAndNothingWithoutOne)
{
    EXPECT_EQ(driver.abilities({ u"kitty-window"_s, u"unix:/tmp/k,1"_s }), all);
    EXPECT_EQ(driver.abilities({ u"kitty-window"_s, u"unix:/tmp/a,b,12"_s }), all);
    for (const QString &id : { u""_s, u","_s, u"unix:/tmp/k"_s, u"unix:/tmp/k,"_s, u"unix:/tmp/k,0"_s,
                               u"unix:/tmp/k,-1"_s, u"unix:/tmp/k,+1"_s, u"unix:/tmp/k, 1"_s, u"unix:/tmp/k,1 or all"_s,
                               u"unix:/tmp/k,٣"_s, u"unix:/tmp/k,99999999999999999999"_s, u"1"_s }) {
        EXPECT_EQ(driver.abilities({ u"kitty-window"_s, id }), TerminalDriver::Abilities {}) << id.toStdString();
        EXPECT_NE(driver.typeText({ u"kitty-window"_s, id }, u"x"_s), noFailure) << id.toStdString();
    }
    EXPECT_EQ(driver.abilities({ u"kitty"_s, u"unix:/tmp/k,1"_s }), TerminalDriver::Abilities {});
}

TEST_F(KittyDriverProtocol, saysHowAKittyThatListensNowhereIsMadeToListen)
{
    EXPECT_TRUE(driver.handles(u"kitty"_s));
    EXPECT_FALSE(driver.handles(u"Kitty"_s));

    const auto problem = driver.examine({ u"kitty"_s, u"1"_s });

    ASSERT_TRUE(problem);
    EXPECT_TRUE(problem->advice.contains(u"\"allow_remote_control socket-only\""));
    EXPECT_TRUE(problem->advice.contains(u"\"listen_on unix:${XDG_RUNTIME_DIR}/kitty-{kitty_pid}\""));
}

TEST_F(KittyDriverProtocol, looksForTheWindowBeforeAndAfterTyping)
{
    FakeKitty kitty(obey);

    EXPECT_EQ(driver.typeText(targetIn(kitty), u"a\"\\ ;ä"_s), noFailure);

    EXPECT_THAT(kitty.names(), ElementsAre("ls", "send-text", "ls"));
    EXPECT_EQ(kitty.commands()[1],
              (json { { "cmd", "send-text" },
                      { "version", { 0, 14, 2 } },
                      { "no_response", true },
                      { "payload", { { "match", "id:3" }, { "data", "base64:YSJcIDvDpA==" } } } }));
}

TEST_F(KittyDriverProtocol, typesALongTextInPieces)
{
    FakeKitty kitty(obey);
    const QString text = u"ä€😀"_s.repeated(20'000);

    EXPECT_EQ(driver.typeText(targetIn(kitty), text), noFailure);

    QByteArray typed;
    for (const json &command : kitty.commands()) {
        EXPECT_LT(command.dump().size(), 60'000U);
        if (command.at("cmd") == "send-text") {
            const auto data = command.at("payload").at("data").get<std::string>();
            typed += QByteArray::fromBase64(QByteArray::fromStdString(data.substr(7)));
        }
    }
    EXPECT_TRUE(typed == text.toUtf8());
}

TEST_F(KittyDriverProtocol, pressesReturnAsACarriageReturn)
{
    FakeKitty kitty(obey);

    EXPECT_EQ(driver.pressReturn(targetIn(kitty)), noFailure);

    EXPECT_EQ(kitty.commands()[1].at("payload").at("data"), "base64:DQ==");
}

TEST_F(KittyDriverProtocol, typesNothingIntoAWindowThatIsGone)
{
    FakeKitty kitty(obey);

    EXPECT_EQ(driver.typeText(targetIn(kitty, u"33"_s), u"x"_s), u"the kitty window is gone"_s);

    EXPECT_THAT(kitty.names(), ElementsAre("ls"));
}

TEST_F(KittyDriverProtocol, tellsWhenTheWindowGoesWhileItTypes)
{
    int lists = 0;
    FakeKitty kitty([&](const json &command) {
        return command.at("cmd") == "ls" && ++lists == 2 ? FakeKitty::listOf({ 4 }) : obey(command);
    });

    EXPECT_EQ(driver.typeText(targetIn(kitty), u"x"_s), u"the kitty window is gone"_s);
}

TEST_F(KittyDriverProtocol, raisesTheDesktopsWindowAfterItsOwn)
{
    applications.windows = { 4711 };
    FakeKitty kitty(obey);

    EXPECT_EQ(driver.focus(targetIn(kitty, u"4"_s)), noFailure);

    EXPECT_THAT(kitty.names(), ElementsAre("ls", "focus-window"));
    EXPECT_EQ(kitty.commands()[1].at("payload"), (json { { "match", "id:4" } }));
    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 4711"_s));
}

TEST_F(KittyDriverProtocol, leavesRaisingToKittyOnADesktopWithoutWindowIdentifiers)
{
    for (const json &none : { json(nullptr), json(0), json("4711"), json(-1), json(1.5) }) {
        FakeKitty kitty(obeyBut("ls", FakeKitty::listOf({ 3 }, none)));
        EXPECT_EQ(driver.focus(targetIn(kitty)), noFailure) << none;
    }
    EXPECT_THAT(applications.calls(), IsEmpty());
}

TEST_F(KittyDriverProtocol, tellsWhenTheDesktopsWindowCantBeRaised)
{
    FakeKitty kitty(obey);

    EXPECT_EQ(driver.focus(targetIn(kitty)), u"kitty's window could not be brought forward"_s);
}

TEST_F(KittyDriverProtocol, opensATabBesideTheTargetWithWordsThatNoShellSees)
{
    FakeKitty kitty(obey);

    EXPECT_EQ(driver.open(targetIn(kitty), { u"/"_s, u"cd '/' && \"claude\""_s }), noFailure);

    EXPECT_THAT(kitty.names(), ElementsAre("ls", "launch"));
    const json payload = kitty.commands()[1].at("payload");
    EXPECT_EQ(payload.at("type"), "tab");
    EXPECT_EQ(payload.at("match"), "window_id:3");
    EXPECT_EQ(payload.at("cwd"), "/");
    EXPECT_TRUE(payload.at("args").is_array());
    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 4711"_s))
        << "where that fails, the tab is there all the same";
}

TEST_F(KittyDriverProtocol, takesAKittyThatEndsWithItsLastWindowForClosed)
{
    FakeKitty kitty(obeyBut("close-window", std::string(FakeKitty::hangUp)));

    EXPECT_EQ(driver.close(targetIn(kitty)), noFailure);
    EXPECT_EQ(kitty.commands()[1].at("payload"), (json { { "match", "id:3" } }));
}

TEST_F(KittyDriverProtocol, takesAWindowThatGoesByItselfForClosed)
{
    FakeKitty kitty(obeyBut("close-window", FakeKitty::bad("No matching windows for expression: id:3")));

    EXPECT_EQ(driver.close(targetIn(kitty)), noFailure);
}

TEST_F(KittyDriverProtocol, passesOnWhatKittySaysAgainstACommand)
{
    FakeKitty gone(obeyBut("focus-window", FakeKitty::bad("No matching windows for expression: id:3")));
    EXPECT_EQ(driver.focus(targetIn(gone)), u"the kitty window is gone"_s);
    FakeKitty broken(obeyBut("close-window", FakeKitty::bad("KeyError: 3\nTraceback")));
    EXPECT_EQ(driver.close(targetIn(broken)), u"kitty refused: KeyError: 3"_s);
}

TEST_F(KittyDriverProtocol, saysWhatToDoWhenKittyRefusesToBeControlled)
{
    for (const auto *reason : { "Remote control is disabled. Add allow_remote_control to your kitty.conf",
                                "Remote control disallowed by window specific password",
                                "The user rejected this password or it is disallowed by remote_control_password" }) {
        FakeKitty kitty([&](const json &) { return FakeKitty::bad(reason); });

        EXPECT_EQ(driver.typeText(targetIn(kitty), u"x"_s),
                  u"kitty refuses to be controlled: "_s + QString::fromUtf8(reason));
        const auto problem = driver.examine(targetIn(kitty));
        ASSERT_TRUE(problem);
        EXPECT_TRUE(problem->advice.contains(u"kitty.conf"));
    }
}

TEST_F(KittyDriverProtocol, findsNothingWrongWithAKittyThatObeys)
{
    FakeKitty kitty(obey);
    EXPECT_EQ(driver.examine(targetIn(kitty)), std::nullopt);
    EXPECT_EQ(driver.findPlaceToOpen(), std::nullopt);
}

TEST_F(KittyDriverProtocol, bearsWithBrokenAnswers)
{
    for (const std::string &answer :
         { std::string("nonsense\033\\"), std::string("\033\\"), FakeKitty::framed(std::string("{")),
           FakeKitty::framed(std::string("[]")), FakeKitty::framed(std::string()), FakeKitty::good("{\"unfinished"),
           FakeKitty::good(std::string(100'000, '[')), FakeKitty::good() + FakeKitty::good() })
        EXPECT_TRUE(failureOnAnswer(answer).contains(u"can't be understood")) << answer.substr(0, 80);
    EXPECT_EQ(failureOnAnswer(FakeKitty::framed(std::string("{}"))), u"kitty refused: "_s);
    EXPECT_EQ(failureOnAnswer(FakeKitty::framed(std::string(R"({"ok":"true"})"))), u"kitty refused: "_s);
}

TEST_F(KittyDriverProtocol, bearsWithListsOfAnotherForm)
{
    for (const auto *list :
         { "[]", "{}", "3", "null", "[3]", R"([{"tabs":3}])", R"([{"tabs":[3]}])", R"([{"tabs":[{"windows":3}]}])",
           R"([{"tabs":[{"windows":[3,null,{},{"id":"3"},{"id":3.5},{"id":null}]}]}])" })
        EXPECT_EQ(failureOnAnswer(FakeKitty::good(list)), u"the kitty window is gone"_s) << list;
}

TEST_F(KittyDriverProtocol, readsAListWithLoneSurrogatesInAnEnvironment)
{
    const auto list = FakeKitty::good(R"([{"tabs":[{"windows":[{"id":3,"env":{"X":"\udc80\u0000"}}]}]}])");
    FakeKitty kitty(obeyBut("ls", list));

    EXPECT_EQ(driver.typeText(targetIn(kitty), u"x"_s), noFailure);
}

TEST_F(KittyDriverProtocol, readsALongListAndRefusesAnEndlessOne)
{
    const auto list = R"([{"tabs":[{"windows":[{"id":3,"env":{"X":")" + std::string(2'000'000, 'x') + R"("}}]}]}])";
    FakeKitty longList(obeyBut("ls", FakeKitty::good(list)));
    EXPECT_EQ(driver.typeText(targetIn(longList), u"x"_s), noFailure);
    EXPECT_EQ(failureOnAnswer(std::string(20'000'000, 'x')), u"kitty gave an answer that can't be understood"_s);
}

TEST_F(KittyDriverProtocol, tellsWhenKittyHangsUp)
{
    EXPECT_EQ(failureOnAnswer(std::string(FakeKitty::hangUp)), u"kitty hung up"_s);
    EXPECT_EQ(failureOnAnswer("\033P@kitty-cmd{\"ok\":" + std::string(FakeKitty::hangUp)), u"kitty hung up"_s);
}

TEST_F(KittyDriverProtocol, givesUpOnAKittyThatDoesNotAnswer)
{
    FakeKitty kitty([](const json &) { return std::string(); });

    EXPECT_EQ(impatient.focus(targetIn(kitty)), u"kitty did not answer in time"_s);
    EXPECT_EQ(impatient.examine(targetIn(kitty))->detail, u"kitty did not answer in time"_s);
}

TEST_F(KittyDriverProtocol, stopsWaitingWhenItsWorkIsCancelled)
{
    FakeKitty kitty([](const json &) { return std::string(); });
    KittyDriver patient(applications, 1h);
    Cancellation cancellation;
    const Cancellation::Scope scope(cancellation);
    cancellation.cancel();

    EXPECT_NE(patient.typeText(targetIn(kitty), u"x"_s), noFailure);
}

TEST_F(KittyDriverProtocol, tellsThatNobodyListens)
{
    QTemporaryDir folder;
    const QString missing = u"unix:"_s + folder.filePath(u"missing"_s) + u",1"_s;
    EXPECT_EQ(driver.typeText({ u"kitty-window"_s, missing }, u"x"_s),
              u"kitty can't be reached: No such file or directory"_s);
    QString stale;
    {
        FakeKitty kitty(obey);
        stale = kitty.target(u"1"_s);
    }
    EXPECT_NE(driver.typeText({ u"kitty-window"_s, stale }, u"x"_s), noFailure);
    EXPECT_NE(driver.typeText({ u"kitty-window"_s, u"unix:"_s + folder.path() + u",1"_s }, u"x"_s), noFailure);
    EXPECT_NE(driver.typeText({ u"kitty-window"_s, u"tcp:localhost:1,1"_s }, u"x"_s), noFailure);
}

} // namespace
} // namespace vantry::test

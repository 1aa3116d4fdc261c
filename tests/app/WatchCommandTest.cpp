#include "app/control/WatchCommand.h"

#include "support/FakeControlClient.h"
#include "support/ManualClock.h"
#include "support/RecordingConsole.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr std::uint16_t port = 49152;

class Watch : public ::testing::Test
{
protected:
    Watch() { client.document = u"{\"running\":true,\"listening\":true,\"port\":49152,\"sessions\":[]}"_s; }

    [[nodiscard]] std::optional<int> start(OutputForm form)
    {
        watch.emplace(command::Watch { form }, client, console, clock, [this](int code) { codes.push_back(code); });
        const auto code = watch->start(port);
        first = std::exchange(console.output, {});
        return code;
    }

    test::FakeControlClient client;
    test::RecordingConsole console;
    test::ManualClock clock;
    std::optional<WatchCommand> watch;
    std::string first; ///< What was printed at the start.
    std::vector<int> codes;
};

TEST_F(Watch, followsBeforeItAsks)
{
    EXPECT_FALSE(start(OutputForm::Json));

    EXPECT_EQ(client.calls, (QStringList { u"follow"_s, u"list"_s }));
}

TEST_F(Watch, beginsWithTheDocumentOfStatus)
{
    EXPECT_FALSE(start(OutputForm::Json));

    EXPECT_EQ(first, client.document.toStdString() + '\n');
}

TEST_F(Watch, printsOneDocumentForEachChange)
{
    EXPECT_FALSE(start(OutputForm::Json));

    client.listener.onChanged(u"{\"id\":\"a\",\"state\":\"ready\"}"_s);
    client.listener.onRemoved(u"a"_s);
    client.listener.onListening(false);
    client.listener.onBackfill(3, 120);

    EXPECT_EQ(console.output, "{\"event\":\"changed\",\"session\":{\"id\":\"a\",\"state\":\"ready\"}}\n"
                              "{\"event\":\"removed\",\"id\":\"a\"}\n"
                              "{\"event\":\"listening\",\"listening\":false}\n"
                              "{\"event\":\"backfill\",\"done\":3,\"total\":120}\n");
}

TEST_F(Watch, printsOneLineForEachChangeForPeople)
{
    EXPECT_FALSE(start(OutputForm::Text));

    client.listener.onChanged(u"{\"id\":\"abcdefghij\",\"statusText\":\"Ready\",\"projectName\":\"shop\"}"_s);
    client.listener.onRemoved(u"abcdefghij"_s);
    client.listener.onListening(true);

    EXPECT_EQ(std::ranges::count(console.output, '\n'), 3);
    EXPECT_THAT(console.output, HasSubstr("abcdefgh  Ready  shop\n"));
    EXPECT_THAT(console.output, HasSubstr("Left the list  shop\n"));
    EXPECT_THAT(console.output, EndsWith("Listening for agents\n"));
}

TEST_F(Watch, ignoresWhatIsNoSession)
{
    EXPECT_FALSE(start(OutputForm::Json));

    client.listener.onChanged(u"nonsense"_s);
    client.listener.onChanged(u"[]"_s);

    EXPECT_EQ(console.output, "");
}

TEST_F(Watch, endsOnceWhenTheApplicationGoes)
{
    EXPECT_FALSE(start(OutputForm::Json));

    client.listener.onGone();
    client.listener.onGone();

    EXPECT_EQ(codes, std::vector<int> { exitCode::notRunning });
}

TEST_F(Watch, endsWhenNobodyReadsAnyMore)
{
    EXPECT_FALSE(start(OutputForm::Json));
    console.readerHasGone = true;

    client.listener.onListening(false);

    EXPECT_EQ(codes, std::vector<int> { exitCode::done });
    EXPECT_TRUE(console.errors.empty());
}

TEST_F(Watch, endsAtOnceWhenNobodyReadsTheFirstDocument)
{
    console.readerHasGone = true;

    EXPECT_EQ(start(OutputForm::Json), exitCode::done);
}

TEST_F(Watch, hasNothingToWatchWhenNothingRuns)
{
    client.stopRunning();

    EXPECT_EQ(start(OutputForm::Json), exitCode::notRunning);

    EXPECT_EQ(first, "{\"running\":false,\"listening\":false,\"port\":49152,\"sessions\":[]}\n");
}

TEST_F(Watch, followsNobodyAfterItsEnd)
{
    EXPECT_FALSE(start(OutputForm::Json));

    watch.reset();

    EXPECT_FALSE(client.listener.onChanged);
}

} // namespace
} // namespace vantry

#include "app/PopoverToggle.h"

#include "support/ManualClock.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using Action = PopoverToggle::Action;
using namespace std::chrono_literals;

TEST(PopoverToggle, opensWhatIsClosedAndClosesWhatIsOpen)
{
    const test::ManualClock clock;
    const PopoverToggle toggle;

    EXPECT_EQ(toggle.clicked(false, clock.monotonicNow()), Action::Open);
    EXPECT_EQ(toggle.clicked(true, clock.monotonicNow()), Action::Close);
}

TEST(PopoverToggle, doesNotOpenAgainByTheClickThatClosed)
{
    test::ManualClock clock;
    PopoverToggle toggle;

    toggle.closedByLosingFocus(clock.monotonicNow());
    EXPECT_EQ(toggle.clicked(false, clock.monotonicNow()), Action::Nothing);
    clock.advance(0.249s);
    EXPECT_EQ(toggle.clicked(false, clock.monotonicNow()), Action::Nothing);

    clock.advance(0.001s);
    EXPECT_EQ(toggle.clicked(false, clock.monotonicNow()), Action::Open);
}

TEST(PopoverToggle, closesWhatWasOpenedAtOnceAfterItWasClosed)
{
    test::ManualClock clock;
    PopoverToggle toggle;
    toggle.closedByLosingFocus(clock.monotonicNow());

    EXPECT_EQ(toggle.clicked(true, clock.monotonicNow()), Action::Close);
}

} // namespace
} // namespace vantry

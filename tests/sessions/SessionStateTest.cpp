#include "sessions/SessionState.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace vantry::test {

TEST(SessionState, isWrittenAsItsStatusString)
{
    EXPECT_EQ(statusString(SessionState::launching), QStringLiteral("launching"));
    EXPECT_EQ(statusString(SessionState::working), QStringLiteral("working"));
    EXPECT_EQ(statusString(SessionState::needsPermission), QStringLiteral("needs_permission"));
    EXPECT_EQ(statusString(SessionState::hasQuestion), QStringLiteral("has_question"));
    EXPECT_EQ(statusString(SessionState::ready), QStringLiteral("ready"));
}

TEST(SessionState, isReadFromWhatWasWritten)
{
    for (const SessionState state : { SessionState::launching, SessionState::working, SessionState::needsPermission,
                                      SessionState::hasQuestion, SessionState::ready })
        EXPECT_EQ(sessionStateFromStatus(statusString(state)), state);
}

TEST(SessionState, isReadFromOlderStrings)
{
    EXPECT_EQ(sessionStateFromStatus(u"active"), SessionState::working);
    EXPECT_EQ(sessionStateFromStatus(u"waiting_permission"), SessionState::needsPermission);
    EXPECT_EQ(sessionStateFromStatus(u"waiting_input"), SessionState::hasQuestion);
    EXPECT_EQ(sessionStateFromStatus(u"task_complete"), SessionState::ready);
    EXPECT_EQ(sessionStateFromStatus(u"stopped"), SessionState::ready);
}

TEST(SessionState, isWorkingForEveryOtherString)
{
    for (const QStringView other : { QStringView(), QStringView(u""), QStringView(u"Ready"), QStringView(u"READY"),
                                     QStringView(u" ready"), QStringView(u"ready "), QStringView(u"read"),
                                     QStringView(u"readyy"), QStringView(u"needsPermission"), QStringView(u"\uFFFD") })
        EXPECT_EQ(sessionStateFromStatus(other), SessionState::working) << other.toString().toStdString();
}

} // namespace vantry::test

#include "notch/NotchFixture.h"

namespace vantry::test {
namespace {

class NotchPeekCardModelTest : public ::testing::Test
{
protected:
    QString held;
    SessionPtr session = looseSession(u"0123456789"_s, u"storefront-web"_s);
    NotchPeekCardModel card { session, [this](const SessionPtr &) { return held; } };
};

TEST_F(NotchPeekCardModelTest, aPermissionIsNamedWithItsTool)
{
    EXPECT_EQ(card.symbol(), u"exclamationmark.triangle.fill"_s);
    EXPECT_EQ(card.name(), u"storefront-web"_s);
    EXPECT_EQ(card.status(), u"Needs permission"_s);
    session->setToolName(u"Bash"_s);
    EXPECT_EQ(card.status(), u"Needs permission: Bash"_s) << "the card is live";
    EXPECT_EQ(card.accessibleText(), u"storefront-web, Needs permission: Bash"_s);
    EXPECT_TRUE(card.canAllow());
}

TEST_F(NotchPeekCardModelTest, aQuestionHasNoAllow)
{
    session->setState(SessionState::hasQuestion);
    EXPECT_EQ(card.symbol(), u"questionmark.circle.fill"_s);
    EXPECT_EQ(card.status(), u"Has a question"_s);
    EXPECT_FALSE(card.canAllow());
}

TEST_F(NotchPeekCardModelTest, aCardThatOutlivesItsReasonOffersNothing)
{
    for (const auto state : { SessionState::working, SessionState::launching, SessionState::ready }) {
        session->setState(state);
        EXPECT_EQ(card.status(), u"Needs attention"_s);
        EXPECT_FALSE(card.canAllow());
        EXPECT_EQ(card.request(), QString());
    }
}

TEST_F(NotchPeekCardModelTest, aDeadSessionOffersNothing)
{
    session->setAlive(false);
    EXPECT_FALSE(card.canAllow());
}

TEST_F(NotchPeekCardModelTest, aNamelessSessionShowsItsIdentifier)
{
    session->setProjectName(std::nullopt);
    EXPECT_EQ(card.name(), u"01234567"_s);
}

TEST_F(NotchPeekCardModelTest, anEndlessNameIsCutBetweenCharacters)
{
    session->setProjectName(QString(u"👩‍👩‍👧‍👦"_s).repeated(10'000));
    EXPECT_EQ(card.name(), QString(u"👩‍👩‍👧‍👦"_s).repeated(200) + u"…"_s);
    session->setToolName(QString(10'000, u'w'));
    EXPECT_EQ(card.status().size(), 201);
}

TEST_F(NotchPeekCardModelTest, namesStayOnOneLine)
{
    session->setProjectName(u"two\nlines\tand more"_s);
    EXPECT_EQ(card.name(), u"two lines and more"_s);
}

TEST_F(NotchPeekCardModelTest, tellsOfAChangeOnlyWhenThereIsOne)
{
    int told = 0;
    QObject::connect(&card, &NotchPeekCardModel::changed, [&told] { ++told; });
    session->setLastMessage(u"unseen"_s);
    EXPECT_EQ(told, 0);
    session->setToolName(u"Edit"_s);
    EXPECT_EQ(told, 1);
}

TEST_F(NotchPeekCardModelTest, theRequestThatIsShownIsToldFromTheOneThatIsCurrent)
{
    held = u"first"_s;
    card.refresh();
    const QString first = card.request();
    EXPECT_FALSE(first.isEmpty());
    EXPECT_EQ(card.currentRequest(), first);
    held = u"second"_s;
    EXPECT_EQ(card.request(), first);
    EXPECT_NE(card.currentRequest(), first) << "nobody has seen this one yet";
    card.refresh();
    EXPECT_NE(card.request(), first);
}

TEST_F(NotchPeekCardModelTest, aPromptInTheTerminalAloneIsARequestToo)
{
    EXPECT_FALSE(card.request().isEmpty());
    const QString first = card.request();
    session->setToolDetail(u"rm -r /"_s);
    EXPECT_NE(card.request(), first);
}

TEST_F(NotchPeekCardModelTest, actsThatNobodyTakesDoNothing)
{
    card.tap();
    card.allow();
}

} // namespace
} // namespace vantry::test

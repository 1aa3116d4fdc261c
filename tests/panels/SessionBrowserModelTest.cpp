#include "panels/SessionBrowserModel.h"

#include "panels/ListMirror.h"
#include "panels/PanelFixture.h"

#include <future>

namespace vantry::test {
namespace {

using Model = SessionBrowserModel;
using ::testing::IsEmpty;

class SessionBrowserModelTest : public PanelFixture
{
protected:
    SessionBrowserModelTest()
    {
        browser.onNewSession = [this] { opened.append(u"new"_s); };
        browser.onOpenResult = [this](const RememberedSession &result) { opened.append(result.id); };
        browser.setVisible(true);
    }
    void type(const QString &text) { browser.setSearchText(text); }
    /// Types and waits for the result.
    void search(const QString &text)
    {
        type(text);
        wait(0.08);
        settle();
    }
    void loadRecent()
    {
        browser.loadRecentSessions();
        settle();
    }
    [[nodiscard]] QStringList shown() const
    {
        QStringList ids;
        for (int row = 0; row < browser.count(); ++row)
            ids.append(browser.index(row).data(Model::SessionIDRole).toString());
        return ids;
    }
    /// Holds up the store's queue until it is told to go on.
    void blockStore()
    {
        store.queue().async([gate = m_gate.get_future().share()] { gate.wait(); });
    }
    void unblockStore()
    {
        m_gate.set_value();
        settle();
    }

    SessionBrowserModel browser { services() };
    QStringList opened;

private:
    std::promise<void> m_gate;
};

TEST_F(SessionBrowserModelTest, emptyTextShowsTheRecentSessions)
{
    remember(u"a"_s, u"checkout"_s, u"/home/u/shop"_s, u"main"_s);
    clock.advance(Seconds { 120 });
    remember(u"b"_s, u"ledger"_s, u"/home/u/ledger"_s);
    loadRecent();

    EXPECT_EQ(shown(), (QStringList { u"b"_s, u"a"_s }));
    const QModelIndex last = browser.index(1);
    EXPECT_EQ(last.data(Model::NameRole), u"shop"_s);
    EXPECT_EQ(last.data(Model::BranchRole), u"main"_s);
    EXPECT_EQ(last.data(Model::TimeTextRole), u"2m ago"_s);
    EXPECT_EQ(last.data(Model::SnippetRole), u"checkout"_s);
    EXPECT_EQ(last.data(Model::ToolSymbolRole), u"terminal"_s);
    EXPECT_EQ(last.data(Model::AccessibleTextRole), u"shop, main, checkout, 2m ago"_s);
    EXPECT_FALSE(browser.hasNoMatch());
}

TEST_F(SessionBrowserModelTest, timesGoOnWhileTheBrowserIsVisible)
{
    remember(u"a"_s, u"checkout"_s);
    loadRecent();
    browser.setSelectionIndex(1);
    const ListMirror mirror(browser, Model::SessionIDRole);
    const auto time = [this] { return browser.index(0).data(Model::TimeTextRole).toString(); };
    EXPECT_EQ(time(), u"just now"_s);
    wait(61);
    EXPECT_EQ(time(), u"1m ago"_s);
    mirror.expectEqual();
    EXPECT_EQ(browser.selectionIndex(), 1);
    EXPECT_EQ(scheduler.activeTimers(), 1U);

    browser.setVisible(false);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    clock.advance(Seconds { 600 });
    EXPECT_EQ(time(), u"1m ago"_s);
    browser.setVisible(true);
    EXPECT_EQ(time(), u"11m ago"_s) << "before anybody sees it";
}

TEST_F(SessionBrowserModelTest, emptyBrowserRunsNoTimer)
{
    loadRecent();
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(SessionBrowserModelTest, noMoreThanTwentySessionsAreShown)
{
    for (int i = 0; i < 25; ++i)
        remember(u"s%1"_s.arg(i), u"checkout"_s);
    loadRecent();
    EXPECT_EQ(browser.count(), 20);
    search(u"check"_s);
    EXPECT_EQ(browser.count(), 20);
}

TEST_F(SessionBrowserModelTest, searchStartsEightyMillisecondsAfterTheLastChange)
{
    remember(u"a"_s, u"checkout"_s);
    type(u"c"_s);
    EXPECT_TRUE(browser.isSearching());
    wait(0.07);
    type(u"ch"_s);
    wait(0.079);
    settle();
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_TRUE(browser.isSearching());
    EXPECT_FALSE(browser.hasNoMatch()) << "nobody knows yet";
    wait(0.001);
    settle();
    EXPECT_EQ(shown(), QStringList { u"a"_s });
    EXPECT_FALSE(browser.isSearching());
    EXPECT_EQ(scheduler.activeTimers(), 1U) << "the one of the times";
}

TEST_F(SessionBrowserModelTest, searchRunsOffTheMainThread)
{
    remember(u"a"_s, u"checkout"_s);
    blockStore();
    type(u"c"_s);
    wait(0.08); // Would never come back.
    type(u"ch"_s);
    EXPECT_TRUE(browser.isSearching());
    unblockStore();
}

TEST_F(SessionBrowserModelTest, lateResultOfAnOlderTextIsDropped)
{
    remember(u"a"_s, u"checkout"_s);
    remember(u"b"_s, u"kernel"_s);
    ListMirror mirror(browser, Model::SessionIDRole);
    blockStore();
    type(u"check"_s);
    wait(0.08);
    type(u"kern"_s);
    wait(0.08);
    unblockStore();
    EXPECT_EQ(shown(), QStringList { u"b"_s });
    EXPECT_EQ(mirror.inserted, 1) << "the other one was never shown";
}

TEST_F(SessionBrowserModelTest, resultThatComesBeforeTheMainThreadTakesItIsDroppedWithItsText)
{
    remember(u"a"_s, u"checkout"_s);
    type(u"check"_s);
    scheduler.advance(Seconds { 0.08 });
    store.queue().sync([] {}); // Found, and on its way.
    type(QString());
    settle();
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_FALSE(browser.isSearching());
}

TEST_F(SessionBrowserModelTest, emptiedTextShowsTheRecentSessionsAgain)
{
    remember(u"a"_s, u"checkout"_s);
    remember(u"b"_s, u"kernel"_s);
    loadRecent();
    search(u"check"_s);
    EXPECT_EQ(shown(), QStringList { u"a"_s });
    type(QString());
    EXPECT_EQ(browser.count(), 2);
    EXPECT_EQ(scheduler.activeTimers(), 1U) << "the one of the times";
}

TEST_F(SessionBrowserModelTest, textThatFindsNothingSaysSo)
{
    remember(u"a"_s, u"checkout"_s);
    search(u"kubernetes"_s);
    EXPECT_TRUE(browser.hasNoMatch());
    search(u"(((\"\""_s);
    EXPECT_TRUE(browser.hasNoMatch());
    search(u"check"_s);
    EXPECT_FALSE(browser.hasNoMatch());
    browser.clear();
    EXPECT_FALSE(browser.hasNoMatch());
}

TEST_F(SessionBrowserModelTest, resultsTakeThePlacesOfThoseOfBefore)
{
    remember(u"a"_s, u"checkout address"_s);
    remember(u"b"_s, u"checkout"_s);
    remember(u"c"_s, u"address"_s);
    remember(u"d"_s, u"address"_s);
    search(u"checkout"_s);
    ListMirror mirror(browser, Model::SessionIDRole);
    search(u"address"_s);
    mirror.expectEqual();
    EXPECT_EQ(mirror.inserted, 1);
    EXPECT_EQ(mirror.removed, 0) << "what a view has made for a row is used again";
    mirror.forget();
    search(u"checkout"_s);
    mirror.expectEqual();
    EXPECT_EQ(mirror.inserted, 0);
    EXPECT_EQ(mirror.removed, 1);
    browser.clear();
    mirror.expectEqual();
}

TEST_F(SessionBrowserModelTest, recentSessionsChangeRowByRow)
{
    remember(u"a"_s, u"x"_s);
    loadRecent();
    ListMirror mirror(browser, Model::SessionIDRole);
    clock.advance(Seconds { 1 });
    remember(u"b"_s, u"x"_s);
    loadRecent();
    mirror.expectEqual();
    EXPECT_EQ(mirror.inserted, 1);
    EXPECT_EQ(mirror.changedKeys, QStringList {}) << "the other row keeps its view";
}

TEST_F(SessionBrowserModelTest, upWithNothingChosenChoosesTheLastRow)
{
    remember(u"a"_s, u"x"_s);
    remember(u"b"_s, u"x"_s);
    loadRecent();
    browser.moveUp();
    EXPECT_EQ(browser.selectionIndex(), 2);
    browser.moveUp();
    EXPECT_EQ(browser.selectionIndex(), 1);
    browser.moveUp();
    EXPECT_EQ(browser.selectionIndex(), 0);
    browser.moveUp();
    EXPECT_EQ(browser.selectionIndex(), 2);
}

TEST_F(SessionBrowserModelTest, downGoesThroughNewSessionAndTheRowsAndRound)
{
    remember(u"a"_s, u"x"_s);
    remember(u"b"_s, u"x"_s);
    loadRecent();
    QList<int> seen;
    for (int i = 0; i < 4; ++i) {
        browser.moveDown();
        seen.append(browser.selectionIndex());
    }
    EXPECT_EQ(seen, (QList<int> { 0, 1, 2, 0 }));
}

TEST_F(SessionBrowserModelTest, keysInAnEmptyListStayOnNewSession)
{
    browser.moveUp();
    EXPECT_EQ(browser.selectionIndex(), 0);
    browser.moveDown();
    EXPECT_EQ(browser.selectionIndex(), 0);
}

TEST_F(SessionBrowserModelTest, typingChoosesNothing)
{
    remember(u"a"_s, u"x"_s);
    loadRecent();
    browser.moveUp();
    type(u"x"_s);
    EXPECT_EQ(browser.selectionIndex(), -1);
}

TEST_F(SessionBrowserModelTest, returnOpensWhatIsChosen)
{
    remember(u"a"_s, u"x"_s);
    loadRecent();
    browser.openSelected();
    EXPECT_THAT(opened, IsEmpty()) << "nothing is chosen";
    browser.setSelectionIndex(1);
    browser.openSelected();
    browser.submit();
    EXPECT_EQ(opened, (QStringList { u"a"_s, u"a"_s }));
}

TEST_F(SessionBrowserModelTest, returnInTheFieldWithNothingChosenOpensNewSession)
{
    remember(u"a"_s, u"x"_s);
    loadRecent();
    browser.submit();
    EXPECT_EQ(opened, QStringList { u"new"_s });
    EXPECT_EQ(browser.selectionIndex(), 0);
}

TEST_F(SessionBrowserModelTest, indexPastTheEndDoesNothing)
{
    remember(u"a"_s, u"x"_s);
    loadRecent();
    browser.open(2);
    browser.open(-1);
    browser.open(-7);
    EXPECT_THAT(opened, IsEmpty());
    browser.setSelectionIndex(2);
    EXPECT_EQ(browser.selectionIndex(), -1);
    browser.setSelectionIndex(-5);
    EXPECT_EQ(browser.selectionIndex(), -1);
}

TEST_F(SessionBrowserModelTest, chosenSessionStaysChosenWhenTheListChanges)
{
    remember(u"a"_s, u"x"_s);
    loadRecent();
    browser.setSelectionIndex(1);
    clock.advance(Seconds { 1 });
    remember(u"b"_s, u"x"_s);
    loadRecent();
    EXPECT_EQ(shown(), (QStringList { u"b"_s, u"a"_s }));
    EXPECT_EQ(browser.selectionIndex(), 2);
}

TEST_F(SessionBrowserModelTest, chosenSessionThatLeavesTheListIsNoLongerChosen)
{
    remember(u"a"_s, u"apple"_s);
    remember(u"b"_s, u"berry"_s);
    search(u"apple"_s);
    type(u"berry"_s);
    browser.moveDown();
    browser.moveDown();
    EXPECT_EQ(browser.selectionIndex(), 1);
    wait(0.08);
    settle();
    EXPECT_EQ(browser.selectionIndex(), -1) << "the row is another session's now";
}

TEST_F(SessionBrowserModelTest, noSearchWaitsWhileInvisible)
{
    remember(u"a"_s, u"checkout"_s);
    type(u"check"_s);
    browser.setVisible(false);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    type(u"checko"_s);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    browser.setVisible(true);
    wait(0.08);
    settle();
    EXPECT_EQ(shown(), QStringList { u"a"_s });
}

TEST_F(SessionBrowserModelTest, resultMayComeWhenTheBrowserHasGone)
{
    remember(u"a"_s, u"x"_s);
    {
        SessionBrowserModel other { services() };
        other.setVisible(true);
        other.setSearchText(u"x"_s);
        scheduler.advance(Seconds { 0.08 });
        other.loadRecentSessions();
    }
    settle();
}

TEST_F(SessionBrowserModelTest, sessionWithoutProjectShowsItsIdentifiersBeginning)
{
    remember(u"0123456789"_s, u"x"_s);
    store.queue().sync([this] {
        VantrySession::Init init;
        init.id = u"abcdefghij"_s;
        init.lastUpdated = init.startedAt = clock.now();
        store.save(VantrySession(std::move(init)));
    });
    loadRecent();
    const int row = static_cast<int>(shown().indexOf(u"abcdefghij"_s));
    EXPECT_EQ(browser.index(row).data(Model::NameRole), u"abcdefgh"_s);
    EXPECT_EQ(browser.index(row).data(Model::SnippetRole), QString());
}

} // namespace
} // namespace vantry::test

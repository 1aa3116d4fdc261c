#include "panels/ChatMessageModel.h"

#include <QAbstractItemModel>

#include <gtest/gtest.h>

#include <random>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

using Messages = std::vector<TranscriptMessage>;

TranscriptMessage message(const QString &id, const QString &text,
                          TranscriptMessage::Role role = TranscriptMessage::Role::assistant)
{
    return { id, role, text, {}, {}, {} };
}
TranscriptMessage fromUser(const QString &id, const QString &text)
{
    return message(id, text, TranscriptMessage::Role::user);
}
TranscriptMessage call(const QString &id, const std::optional<QString> &tool, const QString &summary = {})
{
    return { id, TranscriptMessage::Role::toolUse, {}, {}, tool, summary };
}

class ChatMessageModelTest : public ::testing::Test
{
protected:
    ChatMessageModelTest()
    {
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, &model,
                         [this](const QModelIndex &, int first, int last) { note(u"insert"_s, first, last); });
        QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model,
                         [this](const QModelIndex &, int first, int last) { note(u"remove"_s, first, last); });
        QObject::connect(&model, &QAbstractItemModel::rowsMoved, &model, [this] { steps.append(u"move"_s); });
        QObject::connect(&model, &QAbstractItemModel::dataChanged, &model,
                         [this](const QModelIndex &first, const QModelIndex &last, const QList<int> &roles) {
                             note(u"change"_s, first.row(), last.row());
                             changedRoles = roles;
                         });
        QObject::connect(&model, &QAbstractItemModel::modelReset, &model, [] { ADD_FAILURE() << "reset"; });
    }

    [[nodiscard]] QVariant value(int row, int role) const { return model.index(row).data(role); }
    [[nodiscard]] QString head(int row) const
    {
        return value(row, ChatMessageModel::HeadRole).value<MarkdownText>().text();
    }
    [[nodiscard]] QString tail(int row) const
    {
        return value(row, ChatMessageModel::TailRole).value<MarkdownText>().text();
    }
    [[nodiscard]] QStringList texts() const
    {
        QStringList list;
        for (int row = 0; row < model.count(); ++row)
            list.append(head(row) + (value(row, ChatMessageModel::IsPendingRole).toBool() ? u"?"_s : u""_s));
        return list;
    }
    QStringList takeSteps() { return std::exchange(steps, {}); }

    ChatMessageModel model;
    QStringList steps;
    QList<int> changedRoles;

private:
    void note(const QString &step, int first, int last)
    {
        for (int row = first; row <= last; ++row)
            steps.append(u"%1 %2"_s.arg(step).arg(row));
    }
};

TEST_F(ChatMessageModelTest, showsWhatStandsInTheTranscript)
{
    EXPECT_TRUE(model.takeTranscript(
        { fromUser(u"1"_s, u"Mend it"_s), call(u"2"_s, u"Read"_s, u"src/a.cpp"_s), message(u"3"_s, u"Done."_s) }));

    EXPECT_EQ(model.count(), 3);
    EXPECT_EQ(value(0, ChatMessageModel::KindRole), ChatMessageModel::UserMessage);
    EXPECT_TRUE(value(0, ChatMessageModel::HeadRole).value<MarkdownText>().isUser());
    EXPECT_EQ(value(0, ChatMessageModel::MessageIDRole), u"1"_s);
    EXPECT_EQ(value(1, ChatMessageModel::KindRole), ChatMessageModel::ToolMessage);
    EXPECT_EQ(value(1, ChatMessageModel::ToolNameRole), u"Read"_s);
    EXPECT_EQ(value(1, ChatMessageModel::ToolSummaryRole), u"src/a.cpp"_s);
    EXPECT_EQ(value(1, ChatMessageModel::ToolSymbolRole), u"doc.text"_s);
    EXPECT_EQ(value(2, ChatMessageModel::KindRole), ChatMessageModel::AssistantMessage);
    EXPECT_FALSE(value(2, ChatMessageModel::HeadRole).value<MarkdownText>().isUser());
    EXPECT_EQ(value(2, ChatMessageModel::ToolSymbolRole), QString());
}

TEST_F(ChatMessageModelTest, anEmptyPairChangesNothing)
{
    EXPECT_FALSE(model.takeTranscript({}));
    EXPECT_TRUE(takeSteps().isEmpty());
}

TEST_F(ChatMessageModelTest, asManyMessagesWithTheSameLastOneAreNoChange)
{
    model.takeTranscript({ message(u"1"_s, u"a"_s), message(u"2"_s, u"b"_s) });
    takeSteps();

    EXPECT_FALSE(model.takeTranscript({ message(u"x"_s, u"other"_s), message(u"2"_s, u"other"_s) }));
    EXPECT_TRUE(takeSteps().isEmpty());
}

TEST_F(ChatMessageModelTest, newMessagesComeAtTheEndAndOldOnesGoAtTheFront)
{
    model.takeTranscript({ message(u"1"_s, u"a"_s), message(u"2"_s, u"b"_s), message(u"3"_s, u"c"_s) });
    takeSteps();

    EXPECT_TRUE(model.takeTranscript({ message(u"2"_s, u"b"_s), message(u"3"_s, u"c"_s), message(u"4"_s, u"d"_s) }));
    EXPECT_EQ(takeSteps(), QStringList({ u"remove 0"_s, u"insert 2"_s }));
    EXPECT_EQ(texts(), QStringList({ u"b"_s, u"c"_s, u"d"_s }));
}

TEST_F(ChatMessageModelTest, aPendingMessageStandsAtTheEndUntilTheTranscriptHasIt)
{
    model.takeTranscript({ message(u"1"_s, u"a"_s) });
    model.appendPending(fromUser(u"p"_s, u"go on"_s));
    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"go on?"_s }));
    takeSteps();

    EXPECT_TRUE(model.takeTranscript({ message(u"1"_s, u"a"_s), message(u"2"_s, u"b"_s) }));
    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"b"_s, u"go on?"_s }));
    EXPECT_EQ(takeSteps(), QStringList { u"insert 1"_s });
}

TEST_F(ChatMessageModelTest, aTranscriptThatGainsTheTextOfAPendingMessageTakesItsRowOver)
{
    model.takeTranscript({ message(u"1"_s, u"a"_s) });
    model.appendPending(fromUser(u"p"_s, u"go on"_s));
    takeSteps();

    EXPECT_FALSE(model.takeTranscript({ message(u"1"_s, u"a"_s), fromUser(u"2"_s, u"go on"_s) }));
    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"go on"_s }));
    EXPECT_EQ(model.count(), 2);
    EXPECT_EQ(takeSteps(), QStringList { u"change 1"_s });
    EXPECT_TRUE(changedRoles.contains(ChatMessageModel::IsPendingRole));
    EXPECT_FALSE(changedRoles.contains(ChatMessageModel::HeadRole)) << "the text is laid out again";
    EXPECT_EQ(value(1, ChatMessageModel::MessageIDRole), u"2"_s);
}

TEST_F(ChatMessageModelTest, aRowThatWasPendingStaysTheSameLater)
{
    model.appendPending(fromUser(u"p"_s, u"go on"_s));
    model.takeTranscript({ fromUser(u"1"_s, u"go on"_s) });
    takeSteps();

    model.takeTranscript({ fromUser(u"1"_s, u"go on"_s), message(u"2"_s, u"b"_s) });
    model.takeTranscript({ fromUser(u"1"_s, u"go on"_s), message(u"2"_s, u"b"_s), message(u"3"_s, u"c"_s) });
    EXPECT_EQ(takeSteps(), QStringList({ u"insert 1"_s, u"insert 2"_s }));
}

TEST_F(ChatMessageModelTest, theMatchIsByExactText)
{
    model.appendPending(fromUser(u"p"_s, u"go on"_s));

    model.takeTranscript({ fromUser(u"1"_s, u"Go on"_s), fromUser(u"2"_s, u"go on."_s) });
    EXPECT_EQ(texts(), QStringList({ u"Go on"_s, u"go on."_s, u"go on?"_s }));
}

TEST_F(ChatMessageModelTest, anAgentsTextDropsThePendingMessageTooButDoesNotTakeItsRow)
{
    model.appendPending(fromUser(u"p"_s, u"yes"_s));
    takeSteps();

    model.takeTranscript({ message(u"1"_s, u"yes"_s) });
    EXPECT_EQ(texts(), QStringList { u"yes"_s });
    EXPECT_EQ(value(0, ChatMessageModel::KindRole), ChatMessageModel::AssistantMessage);
    EXPECT_EQ(takeSteps(), QStringList({ u"remove 0"_s, u"insert 0"_s }));
}

TEST_F(ChatMessageModelTest, anOlderMessageOfTheSameTextKeepsItsOwnRow)
{
    model.takeTranscript({ fromUser(u"1"_s, u"yes"_s), message(u"2"_s, u"a"_s) });
    model.appendPending(fromUser(u"p"_s, u"yes"_s));
    takeSteps();

    model.takeTranscript({ fromUser(u"1"_s, u"yes"_s), message(u"2"_s, u"a"_s) });
    EXPECT_EQ(texts(), QStringList({ u"yes"_s, u"a"_s }));
    EXPECT_EQ(takeSteps(), QStringList { u"remove 2"_s });
}

TEST_F(ChatMessageModelTest, ofTwoPendingMessagesWithOneTextBothGoAtOnce)
{
    model.appendPending(fromUser(u"p"_s, u"yes"_s));
    model.appendPending(fromUser(u"q"_s, u"yes"_s));

    model.takeTranscript({ fromUser(u"1"_s, u"yes"_s) });
    EXPECT_EQ(texts(), QStringList { u"yes"_s });
}

TEST_F(ChatMessageModelTest, pendingMessagesKeepTheirOrderWhenALaterOneIsTakenInFirst)
{
    model.appendPending(fromUser(u"p"_s, u"one"_s));
    model.appendPending(fromUser(u"q"_s, u"two"_s));

    model.takeTranscript({ fromUser(u"1"_s, u"two"_s) });
    EXPECT_EQ(texts(), QStringList({ u"two"_s, u"one?"_s }));
    model.takeTranscript({ fromUser(u"1"_s, u"two"_s), fromUser(u"2"_s, u"one"_s) });
    EXPECT_EQ(texts(), QStringList({ u"two"_s, u"one"_s }));
}

TEST_F(ChatMessageModelTest, anIdentifierThatStandsTwiceGivesTwoRows)
{
    model.takeTranscript({ message(u"1"_s, u"a"_s), message(u"1"_s, u"b"_s) });
    takeSteps();

    model.takeTranscript({ message(u"1"_s, u"a"_s), message(u"1"_s, u"b"_s), message(u"2"_s, u"c"_s) });
    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"b"_s, u"c"_s }));
    EXPECT_EQ(takeSteps(), QStringList { u"insert 2"_s });
}

TEST_F(ChatMessageModelTest, aMessageWhoseTextHasGrownIsChangedInItsPlace)
{
    model.takeTranscript({ message(u"1"_s, u"a"_s) });
    takeSteps();

    model.takeTranscript({ message(u"1"_s, u"a and b"_s), message(u"2"_s, u"c"_s) });
    EXPECT_EQ(texts(), QStringList({ u"a and b"_s, u"c"_s }));
    EXPECT_EQ(takeSteps(), QStringList({ u"insert 1"_s, u"change 0"_s }));
}

TEST_F(ChatMessageModelTest, aLongTextIsFoldedUntilItIsExpanded)
{
    model.takeTranscript({ message(u"1"_s, u"1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11"_s) });
    EXPECT_EQ(head(0), u"1\n2\n3\n4"_s);
    EXPECT_EQ(tail(0), u"8\n9\n10\n11"_s);
    EXPECT_EQ(value(0, ChatMessageModel::HiddenLinesRole), 3);
    takeSteps();

    model.expand(0);
    EXPECT_EQ(head(0), u"1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11"_s);
    EXPECT_EQ(tail(0), QString());
    EXPECT_EQ(value(0, ChatMessageModel::HiddenLinesRole), 0);
    EXPECT_EQ(takeSteps(), QStringList { u"change 0"_s });
}

TEST_F(ChatMessageModelTest, anExpandedTextStaysExpanded)
{
    const QString text = u"x\n"_s.repeated(20);
    model.appendPending(fromUser(u"p"_s, text));
    model.expand(0);

    model.takeTranscript({ fromUser(u"1"_s, text), message(u"2"_s, u"a"_s) });
    EXPECT_EQ(value(0, ChatMessageModel::HiddenLinesRole), 0);
    EXPECT_EQ(head(0), text);
}

TEST_F(ChatMessageModelTest, expandingWhatIsNotFoldedDoesNothing)
{
    model.takeTranscript({ message(u"1"_s, u"a"_s) });
    takeSteps();

    for (const int row : { -1, 0, 1, 1'000'000 })
        model.expand(row);
    EXPECT_TRUE(takeSteps().isEmpty());
}

TEST_F(ChatMessageModelTest, whatIsSaidOfARowHoldsNoMarkup)
{
    model.takeTranscript({ fromUser(u"1"_s, u"Mend **it**"_s), message(u"2"_s, u"In `main`"_s),
                           call(u"3"_s, u"Bash"_s, u"make"_s), call(u"4"_s, std::nullopt) });
    model.appendPending(fromUser(u"p"_s, u"go %1 on"_s));

    EXPECT_EQ(value(0, ChatMessageModel::AccessibleTextRole), u"You: Mend it"_s);
    EXPECT_EQ(value(1, ChatMessageModel::AccessibleTextRole), u"Agent: In main"_s);
    EXPECT_EQ(value(2, ChatMessageModel::AccessibleTextRole), u"Bash make"_s);
    EXPECT_EQ(value(3, ChatMessageModel::AccessibleTextRole), QString());
    EXPECT_EQ(value(4, ChatMessageModel::AccessibleTextRole), u"You, not taken in yet: go %1 on"_s);
}

TEST_F(ChatMessageModelTest, indexesOutsideGiveNothing)
{
    EXPECT_FALSE(model.data({}, ChatMessageModel::HeadRole).isValid());
    model.takeTranscript({ message(u"1"_s, u"a"_s) });
    EXPECT_FALSE(value(0, Qt::DisplayRole).isValid());
    EXPECT_EQ(model.rowCount(model.index(0)), 0);
}

TEST_F(ChatMessageModelTest, theStepsLeadToTheListWhateverComes)
{
    // A view that only follows the steps.
    QStringList mirror;
    const auto textOf = [this](int row) { return head(row); };
    QObject::connect(&model, &QAbstractItemModel::rowsInserted, &model, [&](const QModelIndex &, int first, int last) {
        for (int row = first; row <= last; ++row)
            mirror.insert(row, textOf(row));
    });
    QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model,
                     [&](const QModelIndex &, int first, int last) { mirror.remove(first, last - first + 1); });
    QObject::connect(&model, &QAbstractItemModel::rowsMoved, &model,
                     [&](const QModelIndex &, int from, int, const QModelIndex &, int to) {
                         mirror.move(from, to > from ? to - 1 : to);
                     });
    QObject::connect(&model, &QAbstractItemModel::dataChanged, &model,
                     [&](const QModelIndex &first, const QModelIndex &) { mirror[first.row()] = textOf(first.row()); });

    std::mt19937 random(7);
    const auto below = [&random](std::uint32_t limit) { return static_cast<int>(random() % limit); };
    Messages transcript;
    int last = 0;
    for (int turn = 0; turn < 2'000; ++turn) {
        const QString text = QString::number(below(12));
        switch (below(4)) {
        case 0:
            model.appendPending(fromUser(u"p%1"_s.arg(++last), text));
            break;
        case 1:
            transcript.push_back(fromUser(QString::number(++last), text));
            break;
        case 2:
            transcript.push_back(message(QString::number(below(20)), text));
            break;
        default:
            if (!transcript.empty())
                transcript.erase(transcript.begin());
        }
        const std::size_t kept = std::min<std::size_t>(transcript.size(), 15);
        transcript.erase(transcript.begin(), transcript.end() - static_cast<std::ptrdiff_t>(kept));
        model.takeTranscript(transcript);

        QStringList shown;
        for (int row = 0; row < model.count(); ++row)
            shown.append(head(row));
        ASSERT_EQ(mirror, shown) << turn;
        ASSERT_GE(shown.size(), static_cast<qsizetype>(transcript.size()));
    }
}

TEST(ToolSymbolTest, goesByTheName)
{
    const std::vector<std::pair<QString, QString>> table {
        { {}, u"wrench"_s },
        { u"/compact"_s, u"command"_s },
        { u"/"_s, u"command"_s },
        { u"Read"_s, u"doc.text"_s },
        { u"Write"_s, u"doc.badge.plus"_s },
        { u"Edit"_s, u"pencil"_s },
        { u"Bash"_s, u"terminal"_s },
        { u"Glob"_s, u"magnifyingglass"_s },
        { u"Grep"_s, u"text.magnifyingglass"_s },
        { u"Task"_s, u"arrow.triangle.branch"_s },
        { u"WebSearch"_s, u"globe"_s },
        { u"WebFetch"_s, u"globe"_s },
        { u"read"_s, u"wrench"_s },
        { u"MultiEdit"_s, u"wrench"_s },
        { u"mcp__x__y"_s, u"wrench"_s },
    };
    for (const auto &[tool, symbol] : table)
        EXPECT_EQ(toolSymbol(tool), symbol) << tool.toStdString();
}

} // namespace
} // namespace vantry

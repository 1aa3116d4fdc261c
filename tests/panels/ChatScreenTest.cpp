#include "panels/ChatFixture.h"
#include "support/views/ViewWindow.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

#include <algorithm>
#include <deque>

namespace vantry::test {
namespace {

/// The chat in a window in memory, over an invented session. A test fails when QML warns of anything.
class ChatScreen : public ChatFixture
{
protected:
    ~ChatScreen() override { m_window.reset(); }

    void show()
    {
        openChat();
        m_window = std::make_unique<ViewWindow>(u"qrc:/qt/qml/Vantry/Panels/ChatScreen.qml"_s,
                                                QVariantMap { { u"model"_s, QVariant::fromValue(chat.get()) } });
        m_window->view().setResizeMode(QQuickView::SizeRootObjectToView);
        m_window->view().resize(380, 440);
        QAccessible::setActive(true);
        m_window->root()->forceActiveFocus();
        settleView();
    }
    [[nodiscard]] QQuickView &view() { return m_window->view(); }
    /// Lets the view take over what has changed.
    void settleView()
    {
        wait(0.2);
        // Sizes are settled a turn after the rows have been laid out.
        for (int turn = 0; turn < 3; ++turn)
            static_cast<void>(m_window->grab());
    }

    /// What is called this and visible; null for nothing.
    [[nodiscard]] QQuickItem *find(const QString &name, QAccessible::Role role = QAccessible::NoRole)
    {
        std::deque<QAccessibleInterface *> waiting { QAccessible::queryAccessibleInterface(&view()) };
        while (!waiting.empty()) {
            auto *interface = waiting.front();
            waiting.pop_front();
            auto *item = qobject_cast<QQuickItem *>(interface->object());
            const bool isCalled = interface->text(QAccessible::Name) == name;
            if (item && item->isVisible() && isCalled && (role == QAccessible::NoRole || interface->role() == role))
                return item;
            for (int i = 0; i < interface->childCount(); ++i)
                waiting.push_back(interface->child(i));
        }
        return nullptr;
    }
    [[nodiscard]] QQuickItem *control(const QString &name, QAccessible::Role role = QAccessible::NoRole)
    {
        auto *found = find(name, role);
        EXPECT_TRUE(found) << "nothing is called " << qPrintable(name);
        return found;
    }
    [[nodiscard]] QRectF placeOf(const QString &name)
    {
        auto *item = control(name);
        return item ? item->mapRectToScene(item->boundingRect()) : QRectF();
    }
    void click(const QString &name, QAccessible::Role role = QAccessible::NoRole)
    {
        if (auto *item = control(name, role))
            QTest::mouseClick(&view(), Qt::LeftButton, {}, ViewWindow::centerOf(item));
        settleView();
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        m_window->key(key, modifiers);
        settleView();
    }
    void type(const QString &text)
    {
        m_window->type(text);
        settleView();
    }
    void appendMessages(int count)
    {
        for (int i = 0; i < count; ++i)
            append(assistantLine("m" + QByteArray::number(i), "Message " + QByteArray::number(i)));
    }
    /// The item of a class within another one.
    [[nodiscard]] static QQuickItem *inside(QQuickItem *item, const char *className)
    {
        if (item->inherits(className))
            return item;
        const auto children = item->childItems();
        for (auto *child : children) {
            if (auto *found = inside(child, className))
                return found;
        }
        return nullptr;
    }

private:
    std::unique_ptr<ViewWindow> m_window;
};

TEST_F(ChatScreen, aShortConversationStandsAtTheBottom)
{
    append(userLine("1", "Hello") + assistantLine("2", "Good day"));
    show();
    const QRectF list = placeOf(u"Messages"_s);
    const QRectF last = placeOf(u"Thinking..."_s);

    EXPECT_NEAR(list.bottom() - last.bottom(), 8, 1);
    EXPECT_GT(placeOf(u"Messages"_s).top() + 100, 0);
    EXPECT_LT(last.top(), list.bottom());
}

TEST_F(ChatScreen, anEmptyTranscriptSaysSo)
{
    show();
    EXPECT_TRUE(find(u"No transcript yet"_s));
}

TEST_F(ChatScreen, newMessagesAreFollowed)
{
    appendMessages(30);
    show();
    EXPECT_FALSE(find(u"Newest messages"_s));
    append(assistantLine("new", "The newest"));
    wait(3);
    settleView();
    auto *list = inside(view().rootObject(), "QQuickListView");

    EXPECT_TRUE(list->property("atYEnd").toBool());
    EXPECT_FALSE(find(u"Newest messages"_s));
}

TEST_F(ChatScreen, theListStaysWhereTheUserHasScrolledTo)
{
    appendMessages(40);
    show();
    control(u"Messages"_s)->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_PageUp);
    auto *list = inside(view().rootObject(), "QQuickListView");
    const double place = list->property("contentY").toDouble();
    EXPECT_TRUE(find(u"Newest messages"_s));

    append(assistantLine("new", "The newest"));
    wait(3);
    settleView();
    EXPECT_NEAR(list->property("contentY").toDouble(), place, 1);

    click(u"Newest messages"_s);
    EXPECT_TRUE(list->property("atYEnd").toBool());
    EXPECT_FALSE(find(u"Newest messages"_s));
}

TEST_F(ChatScreen, nothingMovesWhenOldMessagesGoWhileTheUserReads)
{
    appendMessages(60);
    show();
    control(u"Messages"_s)->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_PageUp);
    press(Qt::Key_PageUp);
    auto *list = inside(view().rootObject(), "QQuickListView");
    QQuickItem *read = nullptr;
    ASSERT_TRUE(QMetaObject::invokeMethod(list, "itemAt", Q_RETURN_ARG(QQuickItem *, read), Q_ARG(double, 20),
                                          Q_ARG(double, list->property("contentY").toDouble() + 150)));
    ASSERT_TRUE(read);
    const QPointF place = read->mapToScene(QPointF());

    for (int i = 0; i < 5; ++i)
        append(assistantLine("new" + QByteArray::number(i), "One more"));
    wait(3);
    settleView();
    EXPECT_NEAR(read->mapToScene(QPointF()).y(), place.y(), 1);
}

TEST_F(ChatScreen, aLongMessageUnfolds)
{
    append(userLine("1", "1\\n2\\n3\\n4\\n5\\n6\\n7\\n8\\n9\\n10\\n11"));
    show();
    click(u"Show 3 more lines"_s);

    EXPECT_FALSE(find(u"Show 3 more lines"_s));
    EXPECT_EQ(texts(), QStringList { u"1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11"_s });
}

TEST_F(ChatScreen, markupOfTheAgentStaysText)
{
    append(assistantLine("1", "<img src='http://x.org/a.png'><b>bold</b>"));
    show();
    auto *edit = inside(view().rootObject(), "QQuickTextEdit");
    QString shown;
    ASSERT_TRUE(QMetaObject::invokeMethod(edit, "getText", Q_RETURN_ARG(QString, shown), Q_ARG(int, 0),
                                          Q_ARG(int, edit->property("length").toInt())));

    EXPECT_EQ(shown, u"<img src='http://x.org/a.png'><b>bold</b>"_s);
}

TEST_F(ChatScreen, aLinkOpensByPointerAndKeyboard)
{
    append(assistantLine("1", "See http://example.org/a now"));
    show();
    auto *link = control(u"http://example.org/a"_s, QAccessible::Link);
    QTest::mouseClick(&view(), Qt::LeftButton, {}, ViewWindow::centerOf(link));
    link->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);

    EXPECT_EQ(calls, (QStringList { u"open http://example.org/a"_s, u"open http://example.org/a"_s }));
}

TEST_F(ChatScreen, codeIsCopiedWhole)
{
    append(assistantLine("1", "```sh\\nls -la\\n  cd ..\\n```"));
    show();
    control(u"Copy"_s)->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);

    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"ls -la\n  cd .."_s);
    EXPECT_TRUE(find(u"Copied"_s));
}

TEST_F(ChatScreen, allowIsPressedOnceAndDone)
{
    hold(request());
    show();
    EXPECT_EQ(QAccessible::queryAccessibleInterface(control(u"Permission needed. Bash ls"_s))->role(),
              QAccessible::AlertMessage);
    click(u"Allow"_s);
    EXPECT_EQ(calls, QStringList { u"allow Bash"_s });
}

TEST_F(ChatScreen, theMenuDeniesOrDeniesAndStops)
{
    hold(request());
    show();
    click(u"Deny"_s);
    click(u"Deny & Stop"_s, QAccessible::MenuItem);

    EXPECT_EQ(calls, QStringList { u"stop Bash"_s });
}

TEST_F(ChatScreen, altKeysAnswerAPermission)
{
    hold(request());
    show();
    press(Qt::Key_A);
    EXPECT_EQ(calls, QStringList());
    press(Qt::Key_D, Qt::AltModifier);
    EXPECT_EQ(calls, QStringList { u"deny Bash"_s });
}

TEST_F(ChatScreen, altKeysTakeAnOptionWhileTheFieldHasTheFocus)
{
    ask({ question(u"Which?"_s, 3) });
    show();
    ASSERT_TRUE(chat->canAnswer());
    press(Qt::Key_2, Qt::AltModifier);

    EXPECT_EQ(calls, QStringList { u"answer s: 1"_s });
    EXPECT_EQ(chat->typedText(), QString());
}

TEST_F(ChatScreen, anOptionIsTakenByAClick)
{
    ask({ question(u"Which?"_s, 3) });
    show();
    click(u"Option 2"_s);

    EXPECT_EQ(calls, QStringList { u"answer s: 2"_s });
}

TEST_F(ChatScreen, theActionBlockTakesHalfOfThePanelAtMost)
{
    ask({ question(u"Which?"_s, 60) });
    show();
    EXPECT_LE(placeOf(u"Claude is asking a question"_s).height(), 220);
    EXPECT_GT(placeOf(u"Messages"_s).height(), 60);
}

TEST_F(ChatScreen, returnSendsAndShiftReturnBreaksTheLine)
{
    show();
    type(u"one"_s);
    press(Qt::Key_Return, Qt::ShiftModifier);
    type(u"two"_s);
    EXPECT_EQ(chat->typedText(), u"one\ntwo"_s);
    press(Qt::Key_Return);

    EXPECT_EQ(calls, QStringList { u"send s: one\ntwo"_s });
    EXPECT_EQ(chat->typedText(), QString());
    EXPECT_EQ(texts(), QStringList { u"one\ntwo"_s });
}

TEST_F(ChatScreen, blanksAreNotSent)
{
    show();
    type(u"  "_s);
    press(Qt::Key_Return);

    EXPECT_EQ(calls, QStringList());
    EXPECT_EQ(chat->typedText(), u"  "_s);
}

TEST_F(ChatScreen, theStopControlAsksFirst)
{
    show();
    click(u"Stop session"_s);
    EXPECT_FALSE(find(u"Stop session"_s));
    click(u"Cancel"_s);
    EXPECT_TRUE(find(u"Stop session"_s));
    click(u"Stop session"_s);
    press(Qt::Key_Escape);
    EXPECT_TRUE(find(u"Stop session"_s));
    click(u"Stop session"_s);
    click(u"Stop"_s);

    EXPECT_EQ(calls, QStringList { u"kill s"_s });
}

TEST_F(ChatScreen, theFocusStaysWithTheStopControl)
{
    show();
    control(u"Stop session"_s)->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_EQ(view().activeFocusItem(), control(u"Cancel"_s));
    press(Qt::Key_Return);
    EXPECT_EQ(view().activeFocusItem(), control(u"Stop session"_s));
}

TEST_F(ChatScreen, theSessionInfoOpensAndCloses)
{
    show();
    click(chat->title());
    EXPECT_TRUE(chat->showSessionInfo());
    EXPECT_TRUE(find(u"Session: s"_s));
    press(Qt::Key_Escape);
    EXPECT_FALSE(chat->showSessionInfo());
}

TEST_F(ChatScreen, aTerminalThatCannotBeTypedIntoHasNoField)
{
    canType = false;
    show();
    EXPECT_FALSE(find(u"Send"_s));
    click(u"Open in Terminal"_s);

    EXPECT_EQ(calls, QStringList { u"focus s"_s });
}

TEST_F(ChatScreen, theContextIsAProgressBar)
{
    change([](VantrySession &s) { s.setContextPercent(45); });
    show();
    EXPECT_TRUE(control(u"55% context used"_s, QAccessible::ProgressBar));
    EXPECT_EQ(placeOf(u"55% context used"_s).width(), 80);
}

TEST_F(ChatScreen, aLongNameGivesWayToTheContextAndTheButtons)
{
    change([](VantrySession &s) {
        s.setContextPercent(45);
        s.setProjectName(u"a-very-long-name-of-a-project-that-does-not-fit-into-any-panel"_s);
    });
    show();
    click(u"Stop session"_s);
    EXPECT_LE(placeOf(chat->title()).right(), placeOf(u"55% context used"_s).left());
    EXPECT_LE(placeOf(u"Stop"_s).right(), 380);
}

TEST_F(ChatScreen, whatIsDictatedIsShownAndSentByTheSameButton)
{
    show();
    click(u"Dictate"_s);
    EXPECT_TRUE(find(u"Speak now..."_s, QAccessible::EditableText));
    EXPECT_FALSE(find(u"Dictate"_s));
    understand(u"go on"_s);
    settleView();
    type(u"x"_s);
    EXPECT_EQ(chat->typedText(), u"go on"_s) << "typed into";

    click(u"Stop and send"_s);
    EXPECT_TRUE(find(u"Dictate"_s));
    EXPECT_FALSE(find(u"Stop and send"_s));
    EXPECT_EQ(calls, QStringList { u"send s: go on"_s });
    type(u"y"_s);
    EXPECT_EQ(chat->typedText(), u"y"_s);
}

TEST_F(ChatScreen, returnSendsWhatIsDictated)
{
    show();
    click(u"Dictate"_s);
    understand(u"go on"_s);
    settleView();
    press(Qt::Key_Return);

    EXPECT_EQ(calls, QStringList { u"send s: go on"_s });
    EXPECT_FALSE(chat->isDictating());
}

TEST_F(ChatScreen, barsShowHowLoudItIs)
{
    show();
    auto *button = control(u"Dictate"_s);
    click(u"Dictate"_s);
    const auto siblings = button->parentItem()->childItems();
    const auto found = std::ranges::find_if(siblings, [](const QQuickItem *item) {
        return QByteArray(item->metaObject()->className()).startsWith("AudioBarsView");
    });
    ASSERT_NE(found, siblings.end());
    const QQuickItem *bars = *found;
    EXPECT_TRUE(bars->isVisible());
    microphone.speak(std::vector<float>(1024, 1.0F));
    settleView();

    QList<QQuickItem *> drawn = bars->childItems();
    drawn.removeIf([](const QQuickItem *item) { return item->width() != 2.5; });
    ASSERT_EQ(drawn.size(), 7);
    EXPECT_EQ(drawn.first()->height(), 3);
    EXPECT_TRUE(QTest::qWaitFor([&] { return drawn.last()->height() == 18; }));
    EXPECT_EQ(bars->width(), 7 * 2.5 + 6 * 1.5);
}

TEST_F(ChatScreen, whyNothingIsDictatedStandsOverTheField)
{
    microphone.failure = u"There is no microphone"_s;
    show();
    click(u"Dictate"_s);

    EXPECT_TRUE(find(u"Failed to start audio: There is no microphone"_s));
    EXPECT_TRUE(find(u"Dictate"_s));
}

TEST_F(ChatScreen, withoutDictationThereIsNoButton)
{
    hasDictation = false;
    show();
    EXPECT_FALSE(find(u"Dictate"_s));
}

} // namespace
} // namespace vantry::test

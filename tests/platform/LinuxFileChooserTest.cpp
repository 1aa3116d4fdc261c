#include "platform/linux/LinuxFileChooser.h"

#include "PrivateBus.h"
#include "support/WaitFor.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QFileDialog>
#include <QWindow>

#include <gmock/gmock.h>

#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;

/// The desktop's portal on a bus, which shows nothing. The test plays the user.
class FakePortal final : public QDBusVirtualObject
{
public:
    explicit FakePortal(const QString &address)
        : m_bus(address)
    {
        EXPECT_TRUE(m_bus->registerVirtualObject(u"/org/freedesktop/portal/desktop"_s, this,
                                                 QDBusConnection::VirtualObjectRegisterOption::SubPath));
        EXPECT_TRUE(m_bus->registerService(u"org.freedesktop.portal.Desktop"_s));
    }
    ~FakePortal() override { m_bus->unregisterObject(u"/org/freedesktop/portal/desktop"_s); }

    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection & /*connection*/) override
    {
        if (message.member() == u"Close") {
            closed.append(message.path());
            return m_bus->send(message.createReply());
        }
        if (refuses)
            return m_bus->send(message.createErrorReply(QDBusError::UnknownInterface, u"none"_s));
        questions.append(message);
        options = qdbus_cast<QVariantMap>(message.arguments().at(2));
        request = ownRequest.isEmpty() ? requestOf(message) : ownRequest;
        if (answersFirst)
            respond(0, u"file:///tmp/fast.wav"_s);
        return isSilent || m_bus->send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    }
    /// 0: chosen, 1: cancelled by the user, 2: ended otherwise.
    void respond(uint response, const QString &address = {})
    {
        QVariantMap results;
        if (!address.isEmpty())
            results.insert(u"uris"_s, QStringList { address });
        auto signal = QDBusMessage::createSignal(request, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        signal << response << results;
        EXPECT_TRUE(m_bus->send(signal));
    }

    QList<QDBusMessage> questions;
    QVariantMap options; ///< Of the last question.
    QString request;     ///< Its object.
    QString ownRequest;  ///< A name that the portal chooses itself.
    QStringList closed;
    bool refuses { false };
    bool isSilent { false };
    bool answersFirst { false }; ///< Before the question itself is answered.

private:
    [[nodiscard]] QString requestOf(const QDBusMessage &message) const
    {
        return u"/org/freedesktop/portal/desktop/request/"_s + message.service().mid(1).replace(u'.', u'_') + u'/' +
               options.value(u"handle_token"_s).toString();
    }

    BusConnection m_bus;
};

class LinuxFileChooserTest : public testing::Test
{
protected:
    void ask(const QString &message = u"Choose a sound file for Question"_s)
    {
        chooser->chooseFile(message, { u"Sounds"_s, { u"wav"_s, u"mp3"_s } },
                            [this](const std::optional<QString> &path) { answers.push_back(path); });
    }
    [[nodiscard]] bool waitForQuestion(FakePortal &portal, qsizetype count = 1) const
    {
        return waitFor([&] { return portal.questions.size() == count; });
    }
    [[nodiscard]] bool waitForAnswer()
    {
        return waitFor([this] { return !answers.empty(); });
    }
    /// The toolkit's dialog; null when there is none.
    static QFileDialog *dialog()
    {
        const QWidgetList windows = QApplication::topLevelWidgets();
        for (QWidget *window : windows) {
            if (auto *found = qobject_cast<QFileDialog *>(window); found && found->isVisible())
                return found;
        }
        return nullptr;
    }

    PrivateBus bus;
    std::optional<LinuxFileChooser> chooser { std::in_place, bus.address() };
    std::vector<std::optional<QString>> answers;
};

TEST_F(LinuxFileChooserTest, asksThePortalAndTakesTheChosenFile)
{
    FakePortal portal(bus.address());
    ask();
    ASSERT_TRUE(waitForQuestion(portal));
    const QDBusMessage question = portal.questions.constFirst();
    EXPECT_EQ(question.interface(), u"org.freedesktop.portal.FileChooser"_s);
    EXPECT_EQ(question.member(), u"OpenFile"_s);
    EXPECT_EQ(question.signature(), u"ssa{sv}"_s);
    EXPECT_EQ(question.arguments().at(1).toString(), u"Choose a sound file for Question"_s);
    EXPECT_EQ(portal.options.value(u"multiple"_s), QVariant(false));
    EXPECT_EQ(portal.options.value(u"directory"_s), QVariant(false));
    EXPECT_EQ(portal.options.value(u"filters"_s).value<QDBusArgument>().currentSignature(), u"a(sa(us))"_s);

    portal.respond(0, u"file:///home/me/Ding%20Dong%20%231.wav"_s);

    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answers, ElementsAre(std::optional(u"/home/me/Ding Dong #1.wav"_s)));
    EXPECT_FALSE(dialog());
}

TEST_F(LinuxFileChooserTest, takesAnAnswerThatOvertakesThatToTheQuestion)
{
    FakePortal portal(bus.address());
    portal.answersFirst = true;
    ask();

    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answers, ElementsAre(std::optional(u"/tmp/fast.wav"_s)));
}

TEST_F(LinuxFileChooserTest, followsAPortalThatNamesTheQuestionItself)
{
    FakePortal portal(bus.address());
    portal.ownRequest = u"/org/freedesktop/portal/desktop/request/7"_s;
    ask();
    ASSERT_TRUE(waitForQuestion(portal));
    // Until it listens there.
    EXPECT_TRUE(waitFor([&] {
        portal.respond(0, u"file:///a.wav"_s);
        return !answers.empty();
    }));
    EXPECT_THAT(answers, ElementsAre(std::optional(u"/a.wav"_s)));
}

TEST_F(LinuxFileChooserTest, tellsWhenTheUserCancels)
{
    for (const uint response : { 1U, 2U }) {
        answers.clear();
        FakePortal portal(bus.address());
        ask();
        ASSERT_TRUE(waitForQuestion(portal));
        portal.respond(response);
        ASSERT_TRUE(waitForAnswer());
        EXPECT_THAT(answers, ElementsAre(std::nullopt));
    }
}

TEST_F(LinuxFileChooserTest, takesNoFileThatIsNotHere)
{
    for (const QString &address : { QString(), u"https://example.com/a.wav"_s, u"nonsense"_s }) {
        answers.clear();
        FakePortal portal(bus.address());
        ask();
        ASSERT_TRUE(waitForQuestion(portal));
        portal.respond(0, address);
        ASSERT_TRUE(waitForAnswer());
        EXPECT_THAT(answers, ElementsAre(std::nullopt)) << address.toStdString();
    }
}

TEST_F(LinuxFileChooserTest, takesTheEndOfThePortalAsCancelled)
{
    std::optional<FakePortal> portal(std::in_place, bus.address());
    ask();
    ASSERT_TRUE(waitForQuestion(*portal));
    // Until the question is known to have arrived here, too.
    portal.reset();

    ASSERT_TRUE(waitFor([this] { return !answers.empty() || dialog(); }));
    if (answers.empty())
        dialog()->reject();
    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answers, ElementsAre(std::nullopt));
}

TEST_F(LinuxFileChooserTest, waitsForAPortalThatNeverAnswersAndAsksAnew)
{
    FakePortal portal(bus.address());
    portal.isSilent = true;
    ask();
    ASSERT_TRUE(waitForQuestion(portal));
    const QString first = portal.request;
    ask(u"Once more"_s);
    ASSERT_TRUE(waitForQuestion(portal, 2));
    EXPECT_THAT(portal.closed, ElementsAre(first));

    portal.respond(0, u"file:///b.wav"_s);
    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answers, ElementsAre(std::optional(u"/b.wav"_s))) << "the first question has no answer any more";
}

TEST_F(LinuxFileChooserTest, takesTheQuestionBackWhenItEnds)
{
    FakePortal portal(bus.address());
    ask();
    ASSERT_TRUE(waitForQuestion(portal));
    chooser.reset();

    EXPECT_TRUE(waitFor([&] { return portal.closed == QStringList { portal.request }; }));
    EXPECT_TRUE(answers.empty());
}

TEST_F(LinuxFileChooserTest, showsTheToolkitsDialogWithoutAPortal)
{
    ask();
    ASSERT_TRUE(waitFor([] { return dialog() != nullptr; }));
    EXPECT_EQ(dialog()->windowTitle(), u"Choose a sound file for Question"_s);
    EXPECT_EQ(dialog()->nameFilters(), QStringList { u"Sounds (*.wav *.WAV *.mp3 *.MP3)"_s });
    EXPECT_EQ(dialog()->fileMode(), QFileDialog::ExistingFile);

    dialog()->reject();

    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answers, ElementsAre(std::nullopt));
}

TEST_F(LinuxFileChooserTest, takesAFileOfTheToolkitsDialog)
{
    QTemporaryDir folder;
    QFile file(folder.filePath(u"a.wav"_s));
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.close();
    chooser.emplace(QString());
    ask();
    ASSERT_TRUE(dialog()) << "there is nobody to wait for";

    dialog()->selectFile(file.fileName());
    // Its own entry point for "Open".
    QMetaObject::invokeMethod(dialog(), "accept");

    ASSERT_TRUE(waitForAnswer());
    EXPECT_THAT(answers, ElementsAre(std::optional(file.fileName())));
}

TEST_F(LinuxFileChooserTest, showsOneDialogAtATime)
{
    chooser.emplace(QString());
    ask();
    ask(u"Once more"_s);
    ASSERT_TRUE(dialog());
    EXPECT_EQ(dialog()->windowTitle(), u"Once more"_s);
    chooser->cancel();
    EXPECT_FALSE(dialog());
    ask();
    chooser.reset();
    EXPECT_FALSE(dialog());
    EXPECT_TRUE(answers.empty());
}

TEST_F(LinuxFileChooserTest, showsTheToolkitsDialogWhereThePortalHasNone)
{
    FakePortal portal(bus.address());
    portal.refuses = true;
    ask();

    EXPECT_TRUE(waitFor([] { return dialog() != nullptr; }));
}

} // namespace
} // namespace vantry::test

/// The toolkit's dialog needs an application with windows; they are drawn into memory.
int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleMock(&argc, argv);
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}

// Starts the program again and again on the desktop that it finds itself on, plays the tray that its icon registers
// with, and measures from outside: how soon the icon is there, how soon the panel is on the screen, and the memory;
// then it types into the search, and measures how soon the letter is on the screen, and how soon what was found; and
// how soon the settings are there.

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/Files.h"
#include "base/Paths.h"
#include "sessions/SessionStore.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

using namespace vantry;
using namespace Qt::StringLiterals;

namespace {

constexpr int starts = 9;
constexpr int openings = 20;
constexpr int rememberedSessions = 1'000;
constexpr int promptsOfEach = 140; ///< 5 KB
/// Where the pointer is when the icon is clicked, and a place that the panel, but for its first line of pixels, covers.
constexpr std::int16_t pointerX = 1'000;
constexpr std::int16_t pointerY = 5;
constexpr std::int16_t probeX = pointerX - 184;
constexpr std::int16_t probeY = 250;
/// Beside the first group of the settings, which open in the middle of the screen, and what is there then.
constexpr std::int16_t settingsX = 750;
constexpr std::int16_t settingsY = 600;
constexpr std::uint32_t settingsGround = 0xF6F7F8;
/// Of the search: the text that is typed, and the rows that are found.
constexpr xcb_rectangle_t searchField { 850, 66, 280, 22 };
constexpr xcb_rectangle_t searchResults { 820, 130, 350, 300 };

[[noreturn]] void giveUp(const char *what)
{
    std::fprintf(stderr, "PanelBench: %s\n", what);
    std::exit(1);
}

/// Runs the event loop until the condition holds.
template <typename Condition>
void waitFor(Condition condition, const char *what)
{
    const QDeadlineTimer deadline(30'000);
    while (!condition()) {
        if (deadline.hasExpired())
            giveUp(what);
        QCoreApplication::processEvents();
        QThread::usleep(200);
    }
}

/// The tray's part of the bus.
class Tray final : public QDBusVirtualObject
{
public:
    Tray()
    {
        if (!m_bus.registerVirtualObject(u"/StatusNotifierWatcher"_s, this) ||
            !m_bus.registerService(u"org.kde.StatusNotifierWatcher"_s))
            giveUp("there is another tray");
    }
    void forget() { m_icon.clear(); }
    [[nodiscard]] bool hasIcon() const { return !m_icon.isEmpty(); }
    void click()
    {
        auto message = QDBusMessage::createMethodCall(m_icon, u"/StatusNotifierItem"_s, u"org.kde.StatusNotifierItem"_s,
                                                      u"Activate"_s);
        message.setArguments({ int { pointerX }, int { pointerY } });
        m_bus.asyncCall(message);
    }
    QString introspect(const QString &) const override
    {
        return u"<interface name=\"org.kde.StatusNotifierWatcher\"><property name=\"IsStatusNotifierHostRegistered\" "
               "type=\"b\" access=\"read\"/></interface>"_s;
    }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.member() == u"RegisterStatusNotifierItem")
            m_icon = message.service();
        else if (message.member() != u"Get")
            return false;
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(true))));
    }

private:
    QDBusConnection m_bus { QDBusConnection::sessionBus() };
    QString m_icon;
};

/// What is on the screen, and the keyboard.
class Probe
{
public:
    Probe()
        : m_connection(xcb_connect(nullptr, nullptr))
        , m_root(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root)
    {
        xcb_warp_pointer(m_connection, XCB_NONE, m_root, 0, 0, 0, 0, pointerX, pointerY);
        m_empty = pixel(probeX, probeY);
    }
    ~Probe() { xcb_disconnect(m_connection); }
    Probe(const Probe &) = delete;
    Probe &operator=(const Probe &) = delete;

    [[nodiscard]] bool isCovered() const { return pixel(probeX, probeY) != m_empty; }
    [[nodiscard]] bool showsSettings() const { return pixel(settingsX, settingsY) == settingsGround; }
    [[nodiscard]] QByteArray picture(const xcb_rectangle_t &area) const
    {
        const auto cookie = xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, area.x, area.y, area.width,
                                          area.height, ~std::uint32_t { 0 });
        const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
            xcb_get_image_reply(m_connection, cookie, nullptr), std::free);
        if (!reply)
            giveUp("the screen can't be read");
        return { reinterpret_cast<const char *>(xcb_get_image_data(reply.get())),
                 xcb_get_image_data_length(reply.get()) };
    }
    void pressKey(std::uint8_t key, std::uint16_t modifiers = 0) const
    {
        xcb_key_press_event_t event {};
        const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> focus(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr), std::free);
        if (!focus)
            giveUp("the focus can't be found");
        event.event = focus->focus;
        event.detail = key;
        event.state = modifiers;
        event.root = m_root;
        event.same_screen = 1;
        for (const int type : { XCB_KEY_PRESS, XCB_KEY_RELEASE }) {
            event.response_type = static_cast<std::uint8_t>(type);
            xcb_send_event(m_connection, 1, XCB_SEND_EVENT_DEST_ITEM_FOCUS, XCB_EVENT_MASK_NO_EVENT,
                           reinterpret_cast<const char *>(&event));
        }
        xcb_flush(m_connection);
    }

private:
    [[nodiscard]] std::uint32_t pixel(std::int16_t x, std::int16_t y) const
    {
        std::uint32_t value = 0;
        std::memcpy(&value, picture({ x, y, 1, 1 }).constData(), sizeof value);
        return value & 0xFFFFFFU;
    }

    xcb_connection_t *m_connection;
    xcb_window_t m_root;
    std::uint32_t m_empty;
};

QString promptOf(int session)
{
    return u"Mend the thing with the number %1"_s.arg(session);
}

void rememberSessions()
{
    const SystemClock clock;
    const Paths paths = Paths::fromEnvironment();
    makePrivateFolder(paths.dataFolder);
    DebugLog log(paths.debugLog(), clock);
    SessionStore store(paths.database(), clock, log.general());
    store.queue().sync([&] {
        store.open();
        for (int i = 0; i < rememberedSessions; ++i) {
            VantrySession::Init init;
            init.id = u"session-%1"_s.arg(i);
            init.projectName = u"project-%1"_s.arg(i % 40);
            init.cwd = u"/nowhere/project-%1"_s.arg(i % 40);
            init.lastPrompt = promptOf(i);
            init.lastUpdated = init.startedAt = clock.now() - std::chrono::minutes(i);
            store.save(VantrySession(std::move(init)));
        }
    });
    for (int i = 0; i < rememberedSessions; ++i)
        store.updateSearchIndex(u"session-%1"_s.arg(i), QString(promptOf(i) + u'\n').repeated(promptsOfEach),
                                u"Bash Edit Read"_s, promptOf(i));
    store.queue().sync([&] { store.close(); });
}

double proportionalMegabytes(qint64 pid)
{
    QFile file(u"/proc/%1/smaps_rollup"_s.arg(pid));
    if (!file.open(QFile::ReadOnly))
        giveUp("the memory can't be read");
    static const QRegularExpression line(u"Pss:\\s+(\\d+)"_s);
    return line.match(QString::fromUtf8(file.readAll())).captured(1).toDouble() / 1024;
}

double milliseconds(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

struct Figures
{
    const char *name;
    double limit;
    const char *unit;
    std::vector<double> values;

    void print()
    {
        std::ranges::sort(values);
        std::printf("%-42s %7.1f %s  (%.1f to %.1f, limit %.0f)\n", name, values[values.size() / 2], unit,
                    values.front(), values.back(), limit);
    }
};

/// Searches by keyboard, in the panel that is open.
struct Typing
{
    Figures letter { "typed letter on the screen", 20, "ms", {} };
    Figures firstResults { "found with the first letter", 125, "ms", {} };
    Figures laterResults { "found with a later letter", 100, "ms", {} };

    void measure(const Probe &probe)
    {
        constexpr std::uint8_t keyF = 41;
        constexpr std::array<std::uint8_t, 3> digits { 10, 11, 12 }; // 1, 2, 3
        const QByteArray before = probe.picture(searchField);
        probe.pressKey(keyF, XCB_MOD_MASK_CONTROL);
        waitFor([&] { return probe.picture(searchField) != before; }, "the search doesn't open");
        QThread::msleep(300);
        for (const std::uint8_t digit : digits) {
            const QByteArray field = probe.picture(searchField);
            QByteArray results = probe.picture(searchResults);
            QElapsedTimer timer;
            timer.start();
            probe.pressKey(digit);
            waitFor([&] { return probe.picture(searchField) != field; }, "the letter doesn't come");
            letter.values.push_back(milliseconds(timer));
            // The rows of before may go first: the last change counts.
            double lastChange = 0;
            while (timer.elapsed() < 400) {
                if (const QByteArray now = probe.picture(searchResults); now != results) {
                    results = now;
                    lastChange = milliseconds(timer);
                }
            }
            if (lastChange == 0)
                giveUp("nothing is found");
            (digit == digits.front() ? firstResults : laterResults).values.push_back(lastChange);
        }
    }
};

/// Starts the program anew and opens its settings.
double openSettings(const QString &program, Tray &tray, const Probe &probe)
{
    QProcess vantry;
    vantry.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    vantry.start(program, {});
    waitFor([&] { return tray.hasIcon(); }, "no icon came");
    QThread::sleep(2);
    auto call = QDBusMessage::createMethodCall(u"com.vantry.app"_s, u"/com/vantry/app"_s,
                                               u"org.freedesktop.Application"_s, u"ActivateAction"_s);
    call.setArguments({ u"settings"_s, QVariantList(), QVariantMap() });
    QElapsedTimer timer;
    timer.start();
    QDBusConnection::sessionBus().asyncCall(call);
    waitFor([&] { return probe.showsSettings(); }, "no settings came");
    const double result = milliseconds(timer);
    vantry.terminate();
    vantry.waitForFinished();
    tray.forget();
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2)
        giveUp("PanelBench VANTRY");
    const QString program = QString::fromLocal8Bit(argv[1]);
    rememberSessions();
    Tray tray;
    const Probe probe;

    Figures icon { "start to icon", 150, "ms", {} };
    Figures before { "memory before the first opening", 45, "MB", {} };
    Figures first { "first opening", 150, "ms", {} };
    Figures later { "later opening", 20, "ms", {} };
    Figures open { "memory with the panel open", 75, "MB", {} };
    Figures closed { "memory with the panel closed again", 75, "MB", {} };
    Figures settings { "first opening of the settings", 150, "ms", {} };
    Typing typing;
    for (int start = 0; start < starts; ++start) {
        QProcess vantry;
        vantry.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QElapsedTimer timer;
        timer.start();
        vantry.start(program, {});
        waitFor([&] { return tray.hasIcon(); }, "no icon came");
        icon.values.push_back(milliseconds(timer));
        QThread::sleep(2);
        before.values.push_back(proportionalMegabytes(vantry.processId()));

        for (int opening = 0; opening < openings; ++opening) {
            timer.restart();
            tray.click();
            waitFor([&] { return probe.isCovered(); }, "no panel came");
            (opening == 0 ? first : later).values.push_back(milliseconds(timer));
            QThread::msleep(300);
            if (opening == openings - 1)
                open.values.push_back(proportionalMegabytes(vantry.processId()));
            tray.click();
            waitFor([&] { return !probe.isCovered(); }, "the panel stays");
            QThread::msleep(300);
        }
        closed.values.push_back(proportionalMegabytes(vantry.processId()));
        tray.click();
        waitFor([&] { return probe.isCovered(); }, "no panel came");
        QThread::msleep(300);
        typing.measure(probe);
        vantry.terminate();
        vantry.waitForFinished();
        tray.forget();
        settings.values.push_back(openSettings(program, tray, probe));
    }
    for (Figures *figures : { &icon, &before, &first, &later, &open, &closed, &typing.letter, &typing.firstResults,
                              &typing.laterResults, &settings })
        figures->print();
    return 0;
}

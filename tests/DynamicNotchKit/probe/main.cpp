// What the desktop tests drive: a surface over invented contents, or an ordinary window that is to be below it. It does
// what it is told on its standard input, line by line, and answers each line with what it has come to.

#include "DynamicNotchKit/DynamicNotch.h"
#include "DynamicNotchKit/DynamicNotchPanel.h"
#include "DynamicNotchKit/NotchSurface.h"
#include "platform/linux/LinuxOverlayWindows.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QQmlEngine>
#include <QQuickItem>
#include <QRasterWindow>
#include <QScreen>
#include <QSocketNotifier>

#include <cstdio>
#include <iostream>

using namespace vantry;
using namespace Qt::StringLiterals;

namespace {

/// A red window over the whole screen, which counts clicks and gathers what is typed.
class Ground final : public QRasterWindow
{
public:
    int clicks { 0 };
    QString typed;

protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(QRect({}, size()), Qt::red); }
    void mousePressEvent(QMouseEvent *) override { ++clicks; }
    void keyPressEvent(QKeyEvent *event) override { typed += event->text(); }
};

ScreenInfo screenWithNotch(const QScreen &screen)
{
    const QRect frame = screen.geometry();
    const QSize notch = Screens::virtualNotchSize;
    const int side = (frame.width() - notch.width()) / 2;
    return { .name = screen.name(),
             .frame = frame,
             .available = frame.adjusted(0, notch.height(), 0, 0),
             .topInset = notch.height(),
             .topLeftArea = { frame.x(), frame.y(), side, notch.height() },
             .topRightArea = { frame.right() + 1 - side, frame.y(), side, notch.height() } };
}

class Probe
{
public:
    Probe() { m_engine.addImportPath(u"qrc:/qt/qml"_s); }

    QString run(const QString &command)
    {
        const QString word = command.section(u' ', 0, 0);
        const QList<QScreen *> screens = QGuiApplication::screens();
        const ScreenInfo screen = screenWithNotch(*screens.value(command.section(u' ', 1).toInt(), screens.first()));
        if (word == u"compact")
            m_notch.compact(screen);
        else if (word == u"expand")
            m_notch.expand(screen);
        else if (word == u"hide")
            m_notch.hide();
        else if (word == u"key")
            m_notch.makeKeyWindow();
        else if (word == u"pixel")
            return pixel(command);
        return report();
    }

private:
    /// "pixel X Y": the colour on the screen.
    static QString pixel(const QString &command)
    {
        const QImage image =
            QGuiApplication::primaryScreen()
                ->grabWindow(0, command.section(u' ', 1, 1).toInt(), command.section(u' ', 2, 2).toInt(), 1, 1)
                .toImage();
        return image.pixelColor(0, 0).name();
    }
    QString report()
    {
        const QString desktop =
            u" compositor %1 screens %2"_s.arg(m_overlays.hasCompositor()).arg(QGuiApplication::screens().size());
        DynamicNotchPanel *panel = m_notch.windowController();
        if (!panel)
            return u"none"_s + desktop;
        const auto *content = panel->rootObject()->findChild<QQuickItem *>(u"expanded"_s);
        return u"window %1 hovering %2 moving %3 active %4 clicks %5 typed %6"_s.arg(panel->winId())
                   .arg(m_notch.isHovering())
                   .arg(m_notch.surface().isAnimating())
                   .arg(panel->isActive())
                   .arg(content ? content->property("clicks").toInt() : 0)
                   .arg(content ? content->property("typed").toString() : QString()) +
               desktop;
    }

    QQmlEngine m_engine;
    LinuxOverlayWindows m_overlays;
    SystemClock m_clock;
    QtScheduler m_scheduler;
    DynamicNotch m_notch { { m_engine, m_overlays, m_clock, m_scheduler },
                           { .expanded = { QUrl(u"qrc:/vantry/tests/ExpandedProbe.qml"_s) },
                             .compactLeading = { QUrl(u"qrc:/vantry/tests/CompactProbe.qml"_s) },
                             .compactTrailing = { QUrl(u"qrc:/vantry/tests/CompactProbe.qml"_s) } },
                           { .style = DynamicNotchStyle::notch() } };
};

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    std::unique_ptr<Probe> probe;
    std::unique_ptr<Ground> ground;
    if (QGuiApplication::arguments().contains(u"--ground")) {
        ground = std::make_unique<Ground>();
        ground->setGeometry(QGuiApplication::primaryScreen()->geometry());
        ground->show();
    } else {
        probe = std::make_unique<Probe>();
    }
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&] {
        std::string line;
        if (!std::getline(std::cin, line)) {
            QCoreApplication::quit();
            return;
        }
        const QString command = QString::fromStdString(line);
        const QString answer =
            probe ? probe->run(command) : u"clicks %1 typed %2"_s.arg(ground->clicks).arg(ground->typed);
        std::printf("%s\n", qPrintable(answer));
        std::fflush(stdout);
    });
    return QGuiApplication::exec();
}

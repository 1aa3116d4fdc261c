// Opens and closes the notch surface on the desktop that it finds itself on, and measures: how soon the first frame of
// the opening is drawn, how many frames a second, how many when nothing moves, and the memory after many rounds.

#include "DynamicNotchKit/DynamicNotch.h"
#include "DynamicNotchKit/DynamicNotchPanel.h"
#include "DynamicNotchKit/NotchSurface.h"
#include "platform/linux/LinuxOverlayWindows.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QRegularExpression>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

using namespace vantry;
using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 100;

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

double milliseconds(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void runFor(int duration)
{
    QEventLoop loop;
    QTimer::singleShot(duration, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

/// What this process alone keeps: its share of the libraries changes with who else runs.
double privateMegabytes()
{
    QFile file(u"/proc/self/smaps_rollup"_s);
    if (!file.open(QFile::ReadOnly))
        return 0;
    static const QRegularExpression line(u"Private_Dirty:\\s+(\\d+)"_s);
    return line.match(QString::fromUtf8(file.readAll())).captured(1).toDouble() / 1024;
}

double processorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void print(const char *name, std::vector<double> values, const char *unit)
{
    std::ranges::sort(values);
    std::printf("%-44s %7.1f %s  (%.1f to %.1f)\n", name, values[values.size() / 2], unit, values.front(),
                values.back());
}

} // namespace

int main(int argc, char **argv)
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    QQmlEngine engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    LinuxOverlayWindows overlays;
    const SystemClock clock;
    QtScheduler scheduler;
    const DynamicNotchView side { QUrl(u"qrc:/vantry/bench/NotchBenchSide.qml"_s) };
    DynamicNotch notch({ engine, overlays, clock, scheduler },
                       { .expanded = { QUrl(u"qrc:/vantry/bench/NotchBenchPanel.qml"_s) },
                         .compactLeading = side,
                         .compactTrailing = side });
    const ScreenInfo screen = screenWithNotch(*QGuiApplication::primaryScreen());

    QElapsedTimer timer;
    timer.start();
    notch.compact(screen);
    std::printf("%-44s %7.1f ms\n", "the window, until the call returns", milliseconds(timer));
    runFor(2'000);

    int frames = 0;
    double firstFrame = 0;
    const auto takeFrame = [&] {
        if (frames++ == 0)
            firstFrame = milliseconds(timer);
    };
    QObject::connect(notch.windowController(), &QQuickWindow::frameSwapped, notch.windowController(), takeFrame);
    const double before = processorSeconds();
    runFor(3'000);
    std::printf("%-44s %7d\n", "frames in three seconds, compact", frames);
    std::printf("%-44s %7.2f %%\n", "processor, compact", (processorSeconds() - before) / 3 * 100);

    std::vector<double> firstFrames;
    std::vector<double> frameRates;
    std::vector<double> processor;
    double memory = 0;
    for (int round = 0; round < rounds; ++round) {
        if (round == 1) // What the first opening needs is kept on purpose.
            memory = privateMegabytes();
        frames = 0;
        const double processorBefore = processorSeconds();
        timer.restart();
        notch.expand(screen);
        runFor(400);
        firstFrames.push_back(firstFrame);
        frameRates.push_back(frames / 0.4);
        processor.push_back((processorSeconds() - processorBefore) / 0.4 * 100);
        runFor(200);
        notch.compact(screen);
        runFor(600);
    }
    print("first frame of the opening", firstFrames, "ms");
    print("frames a second while it opens", frameRates, "  ");
    print("processor while it opens", processor, "%");
    std::printf("%-44s %7.1f MB\n", "memory after the first round", memory);
    std::printf("%-44s %7.1f MB\n", "more after all of them", privateMegabytes() - memory);
    return 0;
}

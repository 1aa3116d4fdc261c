#include "app/SuddenEnd.h"

#include <QCoreApplication>

#include <cstdlib>
#include <thread>
#include <utility>

#include <unistd.h>

namespace vantry {

namespace {

// An exit handler can't be taken back and takes no argument.
std::function<void()> end;
std::thread::id thread;
QtMessageHandler previousHandler;

void endInOrder()
{
    if (!end || thread != std::this_thread::get_id())
        return;
    std::exchange(end, nullptr)();
    ::_exit(EXIT_FAILURE);
}

/// The toolkit leaves a Wayland compositor that has gone by _exit(), which runs no exit handler, but says so before,
/// from whichever thread has noticed.
void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    previousHandler(type, context, message);
    if (!message.startsWith(u"The Wayland connection "))
        return;
    if (thread == std::this_thread::get_id())
        endInOrder();
    else
        QMetaObject::invokeMethod(QCoreApplication::instance(), endInOrder, Qt::BlockingQueuedConnection);
}

} // namespace

SuddenEnd::SuddenEnd(std::function<void()> onEnd)
{
    [[maybe_unused]] static const int registered = std::atexit(endInOrder);
    end = std::move(onEnd);
    thread = std::this_thread::get_id();
    previousHandler = qInstallMessageHandler(handleMessage);
}

SuddenEnd::~SuddenEnd()
{
    qInstallMessageHandler(previousHandler);
    end = nullptr;
}

} // namespace vantry

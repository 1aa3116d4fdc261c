#include "app/SignalHandler.h"

#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace vantry {

namespace {

constexpr std::array handledSignals { SIGTERM, SIGINT, SIGHUP };

// All that the handler touches: it may interrupt anything, so it reads these and calls write() and raise() alone.
std::atomic<int> pipeEnd { -1 };
std::atomic<bool> alreadyAsked { false };
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

extern "C" void handleSignal(int number)
{
    if (alreadyAsked.exchange(true)) {
        std::signal(number, SIG_DFL);
        std::raise(number);
        return;
    }
    const int savedError = errno;
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(pipeEnd.load(), &byte, 1);
    errno = savedError;
}

} // namespace

struct SignalHandler::Installed
{
    std::function<void()> onSignal;
    std::array<int, 2> pipe { -1, -1 };
    std::array<struct sigaction, handledSignals.size()> previous {};
    std::unique_ptr<QSocketNotifier> notifier;
};

SignalHandler::SignalHandler(std::function<void()> onSignal)
    : m_installed(std::make_unique<Installed>())
{
    m_installed->onSignal = std::move(onSignal);
    if (::pipe2(m_installed->pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return; // Out of descriptors: the signals keep their plain meaning.
    alreadyAsked = false;
    pipeEnd = m_installed->pipe[1];

    m_installed->notifier = std::make_unique<QSocketNotifier>(m_installed->pipe[0], QSocketNotifier::Read);
    QObject::connect(m_installed->notifier.get(), &QSocketNotifier::activated, m_installed->notifier.get(), [this] {
        m_installed->notifier->setEnabled(false);
        m_installed->onSignal();
    });

    struct sigaction action
    {};
    action.sa_handler = handleSignal;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < handledSignals.size(); ++i) {
        ::sigaction(handledSignals[i], nullptr, &m_installed->previous[i]);
        const bool isIgnoredOnPurpose = m_installed->previous[i].sa_handler == SIG_IGN;
        if (handledSignals[i] != SIGHUP || !isIgnoredOnPurpose)
            ::sigaction(handledSignals[i], &action, nullptr);
    }
}

SignalHandler::~SignalHandler()
{
    if (!m_installed->notifier)
        return;
    for (std::size_t i = 0; i < handledSignals.size(); ++i)
        ::sigaction(handledSignals[i], &m_installed->previous[i], nullptr);
    m_installed->notifier.reset();
    ::close(m_installed->pipe[0]);
    ::close(m_installed->pipe[1]);
}

} // namespace vantry

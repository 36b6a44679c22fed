#include "SignalWatcher.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "RunControl.h"

namespace TTMLClient {

namespace {

// The code a shell gives to a process that ended by SIGINT.
constexpr int kExitBySignal = 130;

sigset_t WatchedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

} // namespace

void SignalWatcher::BlockSignals()
{
    // A shell starts a job in the background with SIGINT ignored, and ignored signals reach nobody.
    (void)std::signal(SIGINT, SIG_DFL);
    (void)std::signal(SIGTERM, SIG_DFL);
    const sigset_t signals = WatchedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

SignalWatcher::SignalWatcher(RunControl& control, std::optional<std::chrono::milliseconds> duration)
    : m_control(control)
    , m_signals(-1)
    , m_quit(eventfd(0, EFD_CLOEXEC))
{
    if (duration) {
        m_deadline = std::chrono::steady_clock::now() + *duration;
    }
    const sigset_t signals = WatchedSignals();
    m_signals = signalfd(-1, &signals, SFD_CLOEXEC);
    m_thread = std::thread([this] { Watch(); });
}

SignalWatcher::~SignalWatcher()
{
    const std::uint64_t one = 1;
    while (write(m_quit, &one, sizeof(one)) < 0 && errno == EINTR) {
    }
    m_thread.join();
    close(m_signals);
    close(m_quit);
}

void SignalWatcher::Watch()
{
    pthread_setname_np(pthread_self(), "Signals");
    bool interrupted = false;
    for (;;) {
        int timeoutMs = -1;
        if (m_deadline) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(*m_deadline - std::chrono::steady_clock::now());
            // poll() counts in int; a longer wait is taken up again when it is over.
            timeoutMs = static_cast<int>(std::clamp<long long>(left.count(), 0, 3600LL * 1000));
            if (timeoutMs == 0) {
                m_deadline.reset();
                m_control.Stop(StopReason::TimeUp);
                continue;
            }
        }

        std::array<pollfd, 2> ready{{{m_quit, POLLIN, 0}, {m_signals, POLLIN, 0}}};
        if (poll(ready.data(), ready.size(), timeoutMs) < 0) {
            continue;
        }
        if ((ready[0].revents & POLLIN) != 0) {
            return;
        }
        if ((ready[1].revents & POLLIN) == 0) {
            continue;
        }
        signalfd_siginfo info{};
        if (read(m_signals, &info, sizeof(info)) != static_cast<ssize_t>(sizeof(info))) {
            continue;
        }
        if (interrupted) {
            std::_Exit(kExitBySignal);
        }
        interrupted = true;
        m_control.Stop(StopReason::Interrupted);
    }
}

} // namespace TTMLClient

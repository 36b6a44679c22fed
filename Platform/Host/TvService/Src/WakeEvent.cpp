#include "WakeEvent.h"

#include <array>
#include <cerrno>
#include <cstdint>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace TTMLHost {

WakeEvent::WakeEvent()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{}

WakeEvent::~WakeEvent()
{
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

void WakeEvent::Raise()
{
    m_raised.store(true, std::memory_order_release);
    const std::uint64_t one = 1;
    // Fails only when it has been raised as often as 64 bits can count. Without a descriptor a wait ends with
    // its time-out.
    [[maybe_unused]] const ssize_t written =
        m_descriptor >= 0 ? write(m_descriptor, &one, sizeof(one)) : ssize_t{0};
}

WakeEvent::Outcome WakeEvent::WaitForInput(int descriptor, int timeoutMs) const
{
    if (IsRaised()) {
        return Outcome::Raised;
    }
    // poll() leaves out descriptors below 0.
    std::array<pollfd, 2> waits = {{{descriptor, POLLIN, 0}, {m_descriptor, POLLIN, 0}}};
    const int ready = poll(waits.data(), waits.size(), timeoutMs);
    if (IsRaised()) {
        return Outcome::Raised;
    }
    if (ready < 0) {
        return errno == EINTR ? Outcome::Nothing : Outcome::Failed;
    }
    return waits[0].revents != 0 ? Outcome::Ready : Outcome::Nothing;
}

} // namespace TTMLHost

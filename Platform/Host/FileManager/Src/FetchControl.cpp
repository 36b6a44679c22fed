#include "FetchControl.h"

#include <new>
#include <utility>

namespace TTMLHost {

FetchControl& FetchControl::Instance() noexcept
{
    alignas(FetchControl) static unsigned char storage[sizeof(FetchControl)];
    static FetchControl* const control = new (storage) FetchControl;
    return *control;
}

FetchControl::Running::Running(FetchControl& control, CURLM* handle) noexcept
    : m_control(control)
    , m_handle(handle)
    , m_aborted(false)
{
    const std::lock_guard<std::mutex> lock(m_control.m_mutex);
    m_aborted.store(m_control.m_forbidden, std::memory_order_relaxed);
    m_next = m_control.m_running;
    if (m_next != nullptr) {
        m_next->m_previous = this;
    }
    m_control.m_running = this;
}

FetchControl::Running::~Running()
{
    const std::lock_guard<std::mutex> lock(m_control.m_mutex);
    if (m_next != nullptr) {
        m_next->m_previous = m_previous;
    }
    if (m_previous != nullptr) {
        m_previous->m_next = m_next;
    } else {
        m_control.m_running = m_next;
    }
}

void FetchControl::SetLimits(const FetchLimits& limits)
{
    FetchLimits copy = limits; // may throw, so not under the lock and not half done
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::swap(m_limits, copy);
}

FetchLimits FetchControl::Limits() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_limits;
}

void FetchControl::Abort() noexcept
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_forbidden = true;
    for (Running* fetch = m_running; fetch != nullptr; fetch = fetch->m_next) {
        fetch->m_aborted.store(true, std::memory_order_relaxed);
        // Held across this call: the lock is what keeps the handle alive. It only writes to a socket.
        (void)curl_multi_wakeup(fetch->m_handle);
    }
}

void FetchControl::Allow() noexcept
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_forbidden = false;
}

void FetchControl::SetLastError(const std::string& line) noexcept
{
    try {
        std::string copy = line;
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::swap(m_lastError, copy);
    } catch (...) {
        SetLastErrorToNoMemory();
    }
}

void FetchControl::SetLastErrorToNoMemory() noexcept
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lastError = "out of memory"; // short enough to need none itself
}

std::string FetchControl::LastError() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastError;
}

void SetFetchLimits(const FetchLimits& limits)
{
    FetchControl::Instance().SetLimits(limits);
}

void AbortFetches()
{
    FetchControl::Instance().Abort();
}

void AllowFetches()
{
    FetchControl::Instance().Allow();
}

std::string LastFetchError()
{
    return FetchControl::Instance().LastError();
}

} // namespace TTMLHost

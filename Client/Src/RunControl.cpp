#include "RunControl.h"

#include <utility>

namespace TTMLClient {

void RunControl::SetStopHook(StopHook hook)
{
    const std::lock_guard<std::mutex> lock(m_hookMutex);
    m_hook = std::move(hook);
}

void RunControl::Stop(StopReason reason)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_reason == StopReason::None) {
            m_reason = reason;
        }
    }
    m_changed.notify_all();
    CallHook(reason);
}

void RunControl::Fail(const std::string& what)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_failure.empty()) {
            m_failure = what;
        }
    }
    Stop(StopReason::Failed);
}

bool RunControl::Stopped() const
{
    return Reason() != StopReason::None;
}

StopReason RunControl::Reason() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_reason;
}

std::string RunControl::Failure() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_failure;
}

void RunControl::Wait()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_reason != StopReason::None; });
}

bool RunControl::WaitFor(std::chrono::milliseconds time)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, time, [this] { return m_reason != StopReason::None; });
}

void RunControl::CallHook(StopReason reason)
{
    if (reason == StopReason::InputOver) {
        return;
    }
    // Held across the call on purpose: SetStopHook() must not return while the old hook runs.
    const std::lock_guard<std::mutex> lock(m_hookMutex);
    if (m_hook) {
        m_hook(reason);
    }
}

} // namespace TTMLClient

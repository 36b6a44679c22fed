#include "Countdown.h"

#include <chrono>
#include <cstdlib>
#include <iostream>

namespace TTMLBench {

void Countdown::Expect(std::size_t count)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_done = false;
    m_remaining = count;
}

void Countdown::Done()
{
    if (m_remaining.fetch_sub(1) == 1) {
        // Notified under the lock: the waiter may destroy this object as soon as it knows.
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_done = true;
        m_condition.notify_one();
    }
}

void Countdown::Wait()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_condition.wait_for(lock, std::chrono::seconds(30), [this] { return m_done; })) {
        std::cerr << "benchmarks: waited half a minute for " << m_remaining
                  << " events that did not come; giving up.\n";
        std::_Exit(1);
    }
}

} // namespace TTMLBench

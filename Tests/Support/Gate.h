#ifndef GATE_H
#define GATE_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace TTMLTest {

// How long a test waits for an event that must come. Only a broken program ever waits that long.
constexpr std::chrono::seconds kPatience{20};

// Counts events that one thread reports and another waits for. A wait that takes longer than the patience
// is a failure of the test with the gate's name.
class CountingGate
{
public:
    explicit CountingGate(std::string name)
        : m_name(std::move(name))
    {}
    CountingGate(const CountingGate&) = delete;
    CountingGate& operator=(const CountingGate&) = delete;

    void Add(unsigned int count = 1)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_count += count;
        m_changed.notify_all();
    }

    unsigned int Count() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_count;
    }

    // Waits until at least `count` events have been reported.
    bool WaitFor(unsigned int count) const
    {
        std::unique_lock<std::mutex> guard(m_mutex);
        if (m_changed.wait_for(guard, kPatience, [&] { return m_count >= count; })) {
            return true;
        }
        ADD_FAILURE() << "gate '" << m_name << "' saw " << m_count << " of " << count << " events within "
                      << kPatience.count() << " s";
        return false;
    }

private:
    const std::string m_name;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    unsigned int m_count = 0;
};

// Opens once and stays open.
class Gate
{
public:
    explicit Gate(std::string name)
        : m_events(std::move(name))
    {}

    void Open() { m_events.Add(); }
    bool IsOpen() const { return m_events.Count() != 0; }
    bool Wait() const { return m_events.WaitFor(1); }

private:
    CountingGate m_events;
};

} // namespace TTMLTest

#endif

#ifndef WAKE_EVENT_H
#define WAKE_EVENT_H

#include <atomic>

namespace TTMLHost {

// Ends the waits of one thread on file descriptors, from any other.
class WakeEvent
{
public:
    enum class Outcome
    {
        Ready,   // there is something to read, or the other side has gone
        Nothing, // in this time
        Raised,
        Failed // errno says why
    };

    WakeEvent();
    ~WakeEvent();
    WakeEvent(const WakeEvent&) = delete;
    WakeEvent& operator=(const WakeEvent&) = delete;

    // Ends a wait under way and each later one. Any thread.
    void Raise();
    bool IsRaised() const { return m_raised.load(std::memory_order_acquire); }

    // Waits until there is something to read.
    Outcome WaitForInput(int descriptor, int timeoutMs) const;

private:
    std::atomic<bool> m_raised{false};
    const int m_descriptor; // below 0 when the system has none left
};

} // namespace TTMLHost

#endif

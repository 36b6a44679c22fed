#ifndef COUNTDOWN_H
#define COUNTDOWN_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace TTMLBench {

// Lets one thread wait for a number of things that another does. Costs an atomic decrement for each but the
// last, so that it weighs little beside what is measured.
class Countdown
{
public:
    // Nobody may be counting or waiting.
    void Expect(std::size_t count);
    void Done();
    // How many have not been counted yet.
    std::size_t Remaining() const { return m_remaining; }
    // Ends the process with a message when it takes longer than half a minute.
    void Wait();

private:
    std::atomic<std::size_t> m_remaining{0};
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_done = false; // guarded by m_mutex
};

} // namespace TTMLBench

#endif

#ifndef WATCHDOG_H
#define WATCHDOG_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace TTMLTest {

// Looks after threads that must not hang: when one of them has done nothing for `patience`, it prints all
// stacks and ends the process with kExitStatus, as a hung process can do nothing better.
class Watchdog
{
public:
    static constexpr int kExitStatus = 3;

    explicit Watchdog(std::chrono::milliseconds patience = std::chrono::seconds(30));
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    // The calling thread, for as long as the object lives, under a name that its stack carries too.
    class Watched
    {
    public:
        Watched(Watchdog& watchdog, const std::string& name);
        ~Watched();
        Watched(const Watched&) = delete;
        Watched& operator=(const Watched&) = delete;

        // It begins something else; `what` is a literal. Orders nothing between threads.
        void Does(const char* what);

    private:
        friend class Watchdog;

        const std::string m_name;
        Watchdog& m_watchdog;
        std::atomic<const char*> m_what{"begin"};
        std::atomic<unsigned long long> m_beats{0};
        unsigned long long m_lastBeats = 0; // the rest is the watchdog's
        std::chrono::steady_clock::time_point m_lastChange;
    };

private:
    void Watch();

    const std::chrono::milliseconds m_patience;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Watched*> m_watched; // guarded by m_mutex
    bool m_ends = false;            // guarded by m_mutex
    std::thread m_thread;
};

} // namespace TTMLTest

#endif

#include "Watchdog.h"

#include <algorithm>
#include <cstdio>

#include <pthread.h>
#include <unistd.h>

#include "Stacks.h"

namespace TTMLTest {

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

Watchdog::Watched::Watched(Watchdog& watchdog, const std::string& name)
    : m_name(name)
    , m_watchdog(watchdog)
    , m_lastChange(Clock::now())
{
    pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
    const std::lock_guard<std::mutex> guard(m_watchdog.m_mutex);
    m_watchdog.m_watched.push_back(this);
}

Watchdog::Watched::~Watched()
{
    const std::lock_guard<std::mutex> guard(m_watchdog.m_mutex);
    auto& all = m_watchdog.m_watched;
    all.erase(std::find(all.begin(), all.end(), this));
}

void Watchdog::Watched::Does(const char* what)
{
    m_what.store(what, std::memory_order_relaxed);
    m_beats.fetch_add(1, std::memory_order_relaxed);
}

Watchdog::Watchdog(std::chrono::milliseconds patience)
    : m_patience(patience)
    , m_thread([this] { Watch(); })
{}

Watchdog::~Watchdog()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_ends = true;
        m_changed.notify_all();
    }
    m_thread.join();
}

void Watchdog::Watch()
{
    pthread_setname_np(pthread_self(), "Watchdog");
    std::unique_lock<std::mutex> guard(m_mutex);
    while (!m_changed.wait_for(guard, m_patience / 20, [this] { return m_ends; })) {
        for (Watched* const one : m_watched) {
            const unsigned long long beats = one->m_beats.load(std::memory_order_relaxed);
            const Clock::time_point now = Clock::now();
            if (beats != one->m_lastBeats) {
                one->m_lastBeats = beats;
                one->m_lastChange = now;
            } else if (now - one->m_lastChange > m_patience) {
                std::fprintf(stderr, "Watchdog: '%s' hangs in %s. All stacks:\n", one->m_name.c_str(),
                             one->m_what.load(std::memory_order_relaxed));
                PrintAllStacks();
                // Not exit(): what that runs may wait for what hangs.
                _exit(kExitStatus);
            }
        }
    }
}

} // namespace TTMLTest

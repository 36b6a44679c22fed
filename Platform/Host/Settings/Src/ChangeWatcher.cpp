#include "ChangeWatcher.h"

#include <utility>

#include <pthread.h>

namespace TTMLHost {

namespace {

constexpr char kThreadName[] = "Settings";

} // namespace

ChangeWatcher::ChangeWatcher(std::function<bool()> needed, std::function<void()> look)
    : m_needed(std::move(needed))
    , m_look(std::move(look))
{}

ChangeWatcher::~ChangeWatcher()
{
    Close();
}

void ChangeWatcher::Update()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    // Asked under the lock, so that of two changes at once the last answer counts.
    m_wanted = !m_closed && m_needed();
    if (!m_wanted) {
        m_changed.notify_all();
        return;
    }
    if (m_running) {
        return;
    }
    if (m_thread.joinable()) {
        // It has left the lock for the last time.
        m_thread.join();
    }
    m_thread = std::thread([this] { m_Run(); });
    m_running = true;
}

void ChangeWatcher::Close()
{
    std::thread ending;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
        m_wanted = false;
        m_changed.notify_all();
        if (m_thread.get_id() == std::this_thread::get_id()) {
            return;
        }
        ending = std::move(m_thread);
    }
    if (ending.joinable()) {
        ending.join();
    }
}

void ChangeWatcher::m_Run()
{
    pthread_setname_np(pthread_self(), kThreadName);
    std::unique_lock<std::mutex> lock(m_mutex);
    while (m_wanted) {
        lock.unlock();
        m_look();
        lock.lock();
        m_changed.wait_for(lock, kInterval, [this] { return !m_wanted; });
    }
    m_running = false;
}

} // namespace TTMLHost

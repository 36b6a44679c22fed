#include "SignalDispatcher.h"

#include <utility>

#include <pthread.h>

namespace TTMLHost {

namespace {

constexpr char kThreadName[] = "TvSignals";

} // namespace

SignalDispatcher::SignalDispatcher(Handler handler)
    : m_handler(std::move(handler))
{}

SignalDispatcher::~SignalDispatcher()
{
    Close();
}

void SignalDispatcher::Open()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    StartLocked();
}

void SignalDispatcher::Raise(ESignalType signal, const TSSignalData& data)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_muted || m_stop) {
            return;
        }
        StartLocked();
        m_signals.push_back({signal, data});
        ++m_raisedCount;
    }
    m_raised.notify_one();
}

void SignalDispatcher::Mute(bool muted)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_muted = muted;
        Drop();
    }
    m_handled.notify_all();
}

void SignalDispatcher::Settle()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const std::uint64_t last = m_raisedCount;
    m_handled.wait(lock, [this, last] { return m_handledCount >= last; });
}

bool SignalDispatcher::IsIdle() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_handledCount == m_raisedCount;
}

void SignalDispatcher::Close()
{
    const std::lock_guard<std::mutex> closing(m_closing);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_running) {
            return;
        }
        m_stop = true;
        Drop();
    }
    m_handled.notify_all();
    m_raised.notify_one();
    m_thread.join();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_running = false;
    m_stop = false;
}

void SignalDispatcher::StartLocked()
{
    if (!m_running) {
        m_thread = std::thread([this] { Run(); });
        m_running = true;
    }
}

// The signal that is being handled counts when it is done.
void SignalDispatcher::Drop()
{
    m_handledCount += m_signals.size();
    m_signals.clear();
}

void SignalDispatcher::Run()
{
    pthread_setname_np(pthread_self(), kThreadName);
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stop) {
        if (m_signals.empty()) {
            m_raised.wait(lock);
            continue;
        }
        const Signal signal = m_signals.front();
        m_signals.pop_front();
        lock.unlock();
        m_handler(signal.type, signal.data);
        lock.lock();
        ++m_handledCount;
        m_handled.notify_all();
    }
}

} // namespace TTMLHost

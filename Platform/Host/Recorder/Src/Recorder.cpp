#include "Recorder.h"

#include <new>

#include <pthread.h>

namespace TTMLHost {

namespace {

constexpr char kThreadName[] = "Recorder";

} // namespace

Recorder& Recorder::Instance() noexcept
{
    alignas(Recorder) static unsigned char storage[sizeof(Recorder)];
    static Recorder* const recorder = new (storage) Recorder;
    return *recorder;
}

void Recorder::Signal(const ps_signal_s& signal)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_phase == Phase::Ending) {
        return;
    }
    m_waiting.push_back(signal);
    if (m_phase == Phase::NoThread) {
        try {
            m_thread = std::thread([this] { m_Run(); });
        } catch (...) {
            m_waiting.pop_back();
            throw;
        }
        m_phase = Phase::Running;
    }
    ++m_raised;
    m_changed.notify_all();
}

void Recorder::Settle()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const unsigned long long raised = m_raised;
    m_changed.wait(lock, [this, raised] { return m_done >= raised; });
}

void Recorder::Close()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_phase == Phase::Running) {
        m_phase = Phase::Ending;
        m_done += m_waiting.size();
        m_waiting.clear();
        m_changed.notify_all();
        lock.unlock();
        m_thread.join();
        lock.lock();
        m_phase = Phase::NoThread;
        m_changed.notify_all();
    }
    // Another thread may be closing it.
    m_changed.wait(lock, [this] { return m_phase != Phase::Ending; });
}

void Recorder::m_Run()
{
    pthread_setname_np(pthread_self(), kThreadName);
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_phase == Phase::Ending || !m_waiting.empty(); });
        if (m_phase == Phase::Ending) {
            return;
        }
        const ps_signal_s signal = m_waiting.front();
        m_waiting.pop_front();
        lock.unlock();
        m_callbacks.Call(
            [&signal](RecorderCallback callback, void* userData) { callback(signal, userData); });
        lock.lock();
        ++m_done;
        m_changed.notify_all();
    }
}

} // namespace TTMLHost

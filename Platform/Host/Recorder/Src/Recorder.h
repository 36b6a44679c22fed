#ifndef TTML_HOST_RECORDER_THREAD_H
#define TTML_HOST_RECORDER_THREAD_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "CallbackList.h"
#include "PlatformRecorder.h"

namespace TTMLHost {

using RecorderCallback = void (*)(ps_signal_s signal, void* userData);

// The recorder of this process: a thread that gives one signal after another to all callbacks. It is there
// from the first signal to Close(). Any thread may make any call; the last two not on the recorder's thread.
class Recorder
{
public:
    // The only one. It outlives every thread, since a late call may come while the process exits.
    static Recorder& Instance() noexcept;

    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    CallbackList<RecorderCallback, void*>& Callbacks() noexcept { return m_callbacks; }

    // Queues a signal. Throws std::system_error or std::bad_alloc when there is no thread for it, or no room.
    void Signal(const ps_signal_s& signal);

    // Waits until all signals raised so far are given.
    void Settle();

    // Drops what waits and ends the thread. Signals that come meanwhile are dropped too.
    void Close();

private:
    enum class Phase
    {
        NoThread,
        Running,
        Ending // until the thread is joined
    };

    Recorder() = default;
    ~Recorder() = default;

    void m_Run();

    CallbackList<RecorderCallback, void*> m_callbacks;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<ps_signal_s> m_waiting; // guarded by m_mutex
    Phase m_phase = Phase::NoThread;   // guarded by m_mutex
    unsigned long long m_raised = 0;   // guarded by m_mutex; signals queued so far
    unsigned long long m_done = 0;     // guarded by m_mutex; signals given or dropped so far
    std::thread m_thread;              // whoever changes the phase
};

} // namespace TTMLHost

#endif

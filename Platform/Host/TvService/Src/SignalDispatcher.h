#ifndef SIGNAL_DISPATCHER_H
#define SIGNAL_DISPATCHER_H

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "PlatformTvServiceData.h"

namespace TTMLHost {

// Hands out signals on a thread of its own, in the order in which they were raised. The thread begins with
// Open() or with the first signal, and ends with Close(). Any thread but that one may make the calls; those
// that say so may come on it, too.
class SignalDispatcher
{
public:
    using Handler = std::function<void(ESignalType, const TSSignalData&)>;

    // `handler` is called for each signal.
    explicit SignalDispatcher(Handler handler);
    ~SignalDispatcher();
    SignalDispatcher(const SignalDispatcher&) = delete;
    SignalDispatcher& operator=(const SignalDispatcher&) = delete;

    // Starts the thread unless it runs. Throws std::system_error when there is none to be had.
    void Open();

    // Queues a signal; nothing while it is muted. Throws std::bad_alloc or std::system_error, and then the
    // signal is lost. Also on the dispatcher's thread.
    void Raise(ESignalType signal, const TSSignalData& data);

    // Drops what waits and raises nothing any more, or again. Also on the dispatcher's thread.
    void Mute(bool muted);

    // Waits until all signals raised so far have been handled or dropped.
    void Settle();

    // Whether nothing waits and nothing is being handled. Also on the dispatcher's thread.
    bool IsIdle() const;

    // Drops what waits, waits for the signal that is being handled, and ends the thread.
    void Close();

private:
    struct Signal
    {
        ESignalType type;
        TSSignalData data;
    };

    void StartLocked();
    void Drop();
    void Run();

    const Handler m_handler;
    mutable std::mutex m_mutex;
    std::condition_variable m_raised;
    std::condition_variable m_handled;
    // Guarded by m_mutex.
    std::deque<Signal> m_signals;
    std::uint64_t m_raisedCount = 0;
    std::uint64_t m_handledCount = 0; // dropped ones included
    bool m_muted = false;
    bool m_stop = false;
    bool m_running = false;
    std::thread m_thread;
    std::mutex m_closing; // two that close: the second waits for the first. Held across the join.
};

} // namespace TTMLHost

#endif

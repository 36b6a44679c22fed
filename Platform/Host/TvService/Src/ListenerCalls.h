#ifndef LISTENER_CALLS_H
#define LISTENER_CALLS_H

#include <condition_variable>
#include <mutex>
#include <string>

#include "HostTvService.h"

namespace TTMLHost {

// Makes the calls of the TV service's listener, one at a time whatever thread they come from. Without a
// listener they do nothing.
class ListenerCalls
{
public:
    ListenerCalls() = default;
    ListenerCalls(const ListenerCalls&) = delete;
    ListenerCalls& operator=(const ListenerCalls&) = delete;

    // Replaces the listener, which may be null; waits for a call under way.
    void Set(TvListener* listener);

    void OnSignal(ESignalType signal);
    void OnPesDelivered();
    void OnCaptionDelivered();
    void OnWarning(const std::string& line);
    void OnTuneFailed(const std::string& line);
    void OnEnd(const std::string& error);

private:
    // The right to call: from its construction until it goes, nobody else has it.
    class Turn
    {
    public:
        explicit Turn(ListenerCalls* calls);
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        TvListener* operator->() const { return m_calls->m_listener; }
        explicit operator bool() const { return m_calls->m_listener != nullptr; }

    private:
        ListenerCalls* const m_calls;
    };

    std::mutex m_mutex;
    std::condition_variable m_freed;
    bool m_taken = false;             // guarded by m_mutex
    TvListener* m_listener = nullptr; // the client's; belongs to whose turn it is
};

} // namespace TTMLHost

#endif

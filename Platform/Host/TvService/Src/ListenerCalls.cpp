#include "ListenerCalls.h"

namespace TTMLHost {

ListenerCalls::Turn::Turn(ListenerCalls* calls)
    : m_calls(calls)
{
    std::unique_lock<std::mutex> lock(m_calls->m_mutex);
    m_calls->m_freed.wait(lock, [this] { return !m_calls->m_taken; });
    m_calls->m_taken = true;
}

ListenerCalls::Turn::~Turn()
{
    {
        const std::lock_guard<std::mutex> lock(m_calls->m_mutex);
        m_calls->m_taken = false;
    }
    m_calls->m_freed.notify_one();
}

void ListenerCalls::Set(TvListener* listener)
{
    const Turn turn(this);
    m_listener = listener;
}

void ListenerCalls::OnSignal(ESignalType signal)
{
    if (const Turn turn(this); turn) {
        turn->OnSignal(signal);
    }
}

void ListenerCalls::OnPesDelivered()
{
    if (const Turn turn(this); turn) {
        turn->OnPesDelivered();
    }
}

void ListenerCalls::OnCaptionDelivered()
{
    if (const Turn turn(this); turn) {
        turn->OnCaptionDelivered();
    }
}

void ListenerCalls::OnWarning(const std::string& line)
{
    if (const Turn turn(this); turn) {
        turn->OnWarning(line);
    }
}

void ListenerCalls::OnTuneFailed(const std::string& line)
{
    if (const Turn turn(this); turn) {
        turn->OnTuneFailed(line);
    }
}

void ListenerCalls::OnEnd(const std::string& error)
{
    if (const Turn turn(this); turn) {
        turn->OnEnd(error);
    }
}

} // namespace TTMLHost

#include "SampleFeed.h"

#include <utility>

#include "TTMLCallback.h"

namespace TTMLClient {

SampleFeed::SampleFeed(Push push, std::function<void()> onOver)
    : m_push(std::move(push))
    , m_onOver(std::move(onOver))
{}

void SampleFeed::OnSample(const TTMLHost::PlayerSample& sample)
{
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        ++m_read;
        m_changed.wait(
            lock, [this] { return m_gate == Gate::Open ? m_outstanding < kWindow : m_gate != Gate::Held; });
        if (m_gate != Gate::Open) {
            return;
        }
        // Counted first: the delivery may come before the push returns.
        ++m_outstanding;
        m_pushing = true;
    }
    m_push(sample);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_pushing = false;
    }
    m_changed.notify_all();
}

void SampleFeed::OnEnd(const std::string& error)
{
    bool over = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ended = true;
        if (m_inputError.empty()) {
            m_inputError = error;
        }
        over = Over();
    }
    m_changed.notify_all();
    if (over && m_onOver) {
        m_onOver();
    }
}

void SampleFeed::OnNotice(int code)
{
    bool over = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const int before = m_outstanding;
        if (code == TTML::CALLBACK_DATA && m_outstanding > 0) {
            --m_outstanding;
        } else if (code == TTML::CALLBACK_STOPPED || code == TTML::CALLBACK_INVALIDATED) {
            // The source has dropped what it had queued.
            m_outstanding = 0;
        }
        over = before != m_outstanding && Over();
    }
    m_changed.notify_all();
    if (over && m_onOver) {
        m_onOver();
    }
}

void SampleFeed::Hold()
{
    SetGate(Gate::Held);
}

void SampleFeed::Let()
{
    SetGate(Gate::Open);
}

void SampleFeed::Discard()
{
    SetGate(Gate::Discarding);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ended = false;
}

void SampleFeed::Close()
{
    SetGate(Gate::Closed);
}

void SampleFeed::WaitDelivered()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_outstanding == 0 || m_givenUp; });
}

void SampleFeed::GiveUpWaits()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_givenUp = true;
    }
    m_changed.notify_all();
}

std::string SampleFeed::InputError() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_inputError;
}

long long SampleFeed::SamplesRead() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_read;
}

bool SampleFeed::Over() const
{
    return m_ended && m_outstanding == 0;
}

void SampleFeed::SetGate(Gate gate)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_gate != Gate::Closed) {
        m_gate = gate;
    }
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_pushing; });
}

} // namespace TTMLClient

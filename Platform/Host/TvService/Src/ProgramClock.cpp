#include "ProgramClock.h"

#include "MonotonicTime.h"

namespace TTMLHost {

ProgramClock::ProgramClock(double speed)
    : m_stands(speed == 0.0)
    , m_clock(speed)
{}

void ProgramClock::Begin(std::uint64_t pcr27MHz)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::int64_t nowNs = NowNs();
    m_clock.Reset();
    (void)m_clock.OnPcr(pcr27MHz, nowNs, false);
    m_shown = m_clock.StcAt(nowNs);
    m_answered.reset();
}

void ProgramClock::BeginAgain(std::uint64_t pcr27MHz, std::int64_t nowNs)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_shown) {
        (void)m_clock.OnPcr(pcr27MHz, nowNs, true);
    }
}

void ProgramClock::OnPcr(std::uint64_t pcr27MHz, std::int64_t dueNs, bool discontinuity)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    // The last reference of a service that is tuned away from may come late.
    if (m_shown && m_clock.OnPcr(pcr27MHz, dueNs, discontinuity) != StreamClock::Effect::Followed) {
        m_answered.reset();
    }
}

void ProgramClock::OnPacket()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_shown) {
        m_shown = m_clock.StcAt(NowNs());
    }
}

void ProgramClock::End()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_clock.Reset();
    m_shown.reset();
}

std::optional<std::uint64_t> ProgramClock::Stc() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_shown || m_stands) {
        return m_shown;
    }
    const std::optional<std::uint64_t> stc = m_clock.StcAt(NowNs());
    if (!m_answered || PcrDifference(*m_answered * k27MHzPer90kHz, *stc * k27MHzPer90kHz) > 0) {
        m_answered = stc;
    }
    return m_answered;
}

} // namespace TTMLHost

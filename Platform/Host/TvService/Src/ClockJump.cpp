#include "ClockJump.h"

#include "Pacer.h"
#include "StreamClock.h"

namespace TTMLHost {

std::optional<double> ClockJump::OnPcr(int pid, std::uint64_t pcr27MHz, std::int64_t nowNs,
                                       bool discontinuity)
{
    constexpr double k27MHz = 27e6;
    constexpr double kNsPerS = 1e9;
    const bool goesOn = m_pid == pid && !discontinuity;
    const double step = static_cast<double>(PcrDifference(m_lastPcr, pcr27MHz)) / k27MHz;
    const double passed = m_byWall ? static_cast<double>(nowNs - m_lastNs) / kNsPerS : 0.0;
    m_pid = pid;
    m_lastPcr = pcr27MHz;
    m_lastNs = nowNs;
    if (goesOn && !m_found && (step < -kNearestS || step - passed > Pacer::kFurthestStepS)) {
        m_found = true;
        return step;
    }
    return std::nullopt;
}

} // namespace TTMLHost

#include "TuneTimer.h"

#include "StreamClock.h"
#include "TransportPacket.h"

namespace TTMLHost {

namespace {

// Beyond it is no passing of time but a jump.
constexpr std::int64_t kFurthestStep27MHz = std::int64_t{10} * 27000000;

} // namespace

void TuneTimer::Restart(std::int64_t nowNs)
{
    m_startNs = nowNs;
    m_pid.reset();
    m_run27MHz = 0;
}

std::size_t TuneTimer::OnPackets(const PacketBatch& batch)
{
    if (m_byWall) {
        return batch.count;
    }
    for (std::size_t index = 0; index < batch.count; ++index) {
        const TransportPacket packet = ReadTransportPacket(batch.packets + index * batch.stride);
        if (!packet.pcr27MHz || packet.transportError) {
            continue;
        }
        if (index != 0) {
            return index;
        }
        OnReference(packet.pid, *packet.pcr27MHz);
    }
    return batch.count;
}

void TuneTimer::OnReference(int pid, std::uint64_t pcr27MHz)
{
    if (!m_pid) {
        m_pid = pid;
    } else if (pid == *m_pid) {
        const std::int64_t step = PcrDifference(m_last, pcr27MHz);
        if (step > 0 && step <= kFurthestStep27MHz) {
            m_run27MHz += step;
        }
    } else {
        return;
    }
    m_last = pcr27MHz;
}

std::int64_t TuneTimer::ElapsedNs(std::int64_t nowNs) const
{
    return m_byWall ? nowNs - m_startNs : m_run27MHz * 1000 / 27;
}

} // namespace TTMLHost

#include "StreamClock.h"

#include <algorithm>
#include <cstdlib>

namespace TTMLHost {

namespace {

constexpr std::int64_t kSecond27MHz = 27000000;
constexpr double k27MHzPerNs = 0.027;
// References come late by what a network or a busy machine takes; an eighth of that moves the clock, so that
// it neither shakes with them nor strays.
constexpr std::int64_t kFollowedShare = 8;
// For a clock that stands, a step ahead is no jump as long as it may be one between two references.
constexpr std::int64_t kFurthestStep27MHz = 10 * kSecond27MHz;
// What a double can hold of a wait, and far more than anybody waits.
constexpr double kLongestRun27MHz = 9e15;

} // namespace

std::int64_t PcrDifference(std::uint64_t from, std::uint64_t to)
{
    const std::uint64_t ahead = (to % kPcrTurn + kPcrTurn - from % kPcrTurn) % kPcrTurn;
    return ahead < kPcrTurn / 2 ? static_cast<std::int64_t>(ahead)
                                : static_cast<std::int64_t>(ahead) - static_cast<std::int64_t>(kPcrTurn);
}

StreamClock::StreamClock(double speed)
    : m_speed(speed)
{}

std::uint64_t StreamClock::At(std::int64_t monotonicNs) const
{
    const double elapsedNs = static_cast<double>(std::max<std::int64_t>(monotonicNs - m_sinceNs, 0));
    const double run = std::min(elapsedNs * m_speed * k27MHzPerNs, kLongestRun27MHz);
    return (m_pcr + static_cast<std::uint64_t>(run)) % kPcrTurn;
}

StreamClock::Effect StreamClock::OnPcr(std::uint64_t pcr27MHz, std::int64_t monotonicNs, bool discontinuity)
{
    const bool stands = m_speed == 0.0;
    const bool first = !m_set;
    const std::uint64_t pcr = pcr27MHz % kPcrTurn;
    const std::uint64_t shown = At(monotonicNs);
    const std::int64_t off = PcrDifference(shown, pcr);
    m_set = true;
    m_pcr = pcr;
    m_sinceNs = monotonicNs;
    if (first || discontinuity) {
        return Effect::Set;
    }
    if (stands) {
        return off < 0 || off > kFurthestStep27MHz ? Effect::Jumped : Effect::Followed;
    }
    // At a higher speed the same lateness is more of the stream.
    const double allowed = static_cast<double>(kSecond27MHz) * std::max(m_speed, 1.0);
    if (std::abs(static_cast<double>(off)) > allowed) {
        return Effect::Jumped;
    }
    m_pcr = (shown + kPcrTurn + static_cast<std::uint64_t>(off / kFollowedShare)) % kPcrTurn;
    return Effect::Followed;
}

std::optional<std::uint64_t> StreamClock::StcAt(std::int64_t monotonicNs) const
{
    return m_set ? std::make_optional(At(monotonicNs) / k27MHzPer90kHz) : std::nullopt;
}

void StreamClock::Reset()
{
    m_set = false;
    m_pcr = 0;
    m_sinceNs = 0;
}

} // namespace TTMLHost

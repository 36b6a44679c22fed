#ifndef CLOCK_JUMP_H
#define CLOCK_JUMP_H

#include <cstdint>
#include <optional>

namespace TTMLHost {

// Finds the first place where the clock references of a PID do not go on from each other although nothing
// announces it. Used by one thread.
class ClockJump
{
public:
    // `byWall`: the references come when they are due, so that a gap in the reception is none in the clock.
    explicit ClockJump(bool byWall)
        : m_byWall(byWall)
    {}

    // The next reference, and when it came. Answers how far it jumps, in seconds, if it is the first one that
    // does: back by more than kNearestS, or ahead by more than any gap in a capture that goes on. One of
    // another PID begins anew.
    std::optional<double> OnPcr(int pid, std::uint64_t pcr27MHz, std::int64_t nowNs, bool discontinuity);

    // Nearer ones are packets that come in the wrong order.
    static constexpr int kNearestS = 1;

private:
    const bool m_byWall;
    bool m_found = false;
    std::optional<int> m_pid;
    std::uint64_t m_lastPcr = 0;
    std::int64_t m_lastNs = 0;
};

} // namespace TTMLHost

#endif

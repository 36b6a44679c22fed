#ifndef PROGRAM_CLOCK_H
#define PROGRAM_CLOCK_H

#include <cstdint>
#include <mutex>
#include <optional>

#include "StreamClock.h"

namespace TTMLHost {

// The system time clock of the service that is tuned. Any thread.
class ProgramClock
{
public:
    // `speed`: seconds of the stream per second; 0 for a stream that is read as fast as it goes, whose clock
    // stands at the packet that was handed out last.
    explicit ProgramClock(double speed);

    // A service is tuned, and this is its first clock reference.
    void Begin(std::uint64_t pcr27MHz);
    // The clock stands at that reference still: what has gone by since was no time of the stream.
    void BeginAgain(std::uint64_t pcr27MHz, std::int64_t nowNs);
    // A later one, and when it was due (monotonic).
    void OnPcr(std::uint64_t pcr27MHz, std::int64_t dueNs, bool discontinuity);
    // A packet is about to be handed out.
    void OnPacket();
    // No service is tuned any more.
    void End();

    // 33 bits at 90 kHz; nothing without a service. Never goes back but with the stream's own clock: where
    // that of this object does, because a reference came late, it answers the same until that has caught up.
    std::optional<std::uint64_t> Stc() const;

private:
    const bool m_stands;
    mutable std::mutex m_mutex;
    StreamClock m_clock;                  // guarded by m_mutex
    std::optional<std::uint64_t> m_shown; // guarded by m_mutex; what a clock that stands shows
    // Guarded by m_mutex; what a clock that runs has answered last, since the stream's own last jumped.
    mutable std::optional<std::uint64_t> m_answered;
};

} // namespace TTMLHost

#endif

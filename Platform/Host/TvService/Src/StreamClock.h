#ifndef STREAM_CLOCK_H
#define STREAM_CLOCK_H

#include <cstdint>
#include <optional>

namespace TTMLHost {

// One turn of a program clock reference, at 27 MHz (ISO/IEC 13818-1).
constexpr std::uint64_t kPcrTurn = (std::uint64_t{1} << 33) * 300;

constexpr std::uint64_t k27MHzPer90kHz = 300;

// From one clock reference to another, the short way round, at 27 MHz.
std::int64_t PcrDifference(std::uint64_t from, std::uint64_t to);

// The system time clock of a decoder: follows the clock references of a stream and runs on between them. The
// caller says what time it is (monotonic); nothing is guarded against use by two threads at once.
class StreamClock
{
public:
    // What a clock reference did.
    enum class Effect
    {
        Followed, // the clock runs on
        Set,      // first reference, or one after an announced discontinuity
        Jumped    // it was off without announcement, and the clock was set to it
    };

    // `speed`: seconds of the stream per second, above 0; or 0: the clock stands at the last reference.
    explicit StreamClock(double speed);

    // A reference that is off by more than a second (times a speed above 1) is a jump; one nearer is late or
    // early by chance, and the clock follows it by degrees. For a clock that stands, a reference that goes
    // back or ahead by more than ten seconds is one.
    Effect OnPcr(std::uint64_t pcr27MHz, std::int64_t monotonicNs, bool discontinuity);

    // 33 bits at 90 kHz; nothing before the first reference.
    std::optional<std::uint64_t> StcAt(std::int64_t monotonicNs) const;

    // Forgets all, as when another service is tuned.
    void Reset();

private:
    // The clock at 27 MHz.
    std::uint64_t At(std::int64_t monotonicNs) const;

    const double m_speed;
    bool m_set = false;
    std::uint64_t m_pcr = 0; // what the clock showed at m_since
    std::int64_t m_sinceNs = 0;
};

} // namespace TTMLHost

#endif

#ifndef PLAY_CLOCK_H
#define PLAY_CLOCK_H

#include <chrono>
#include <cstdint>

namespace TTMLHost {

// Where playing stands, on the media's own timeline. The caller says what time it is; nothing waits here,
// and nothing is guarded against use by two threads at once.
class PlayClock
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // `speed` is in media seconds per second and above 0. The clock stands at 0.
    explicit PlayClock(double speed);

    void Start(TimePoint now);
    void Stop(TimePoint now);
    // Moves the clock; it goes on running if it ran.
    void Set(std::int64_t positionMs, TimePoint now);

    bool IsRunning() const { return m_running; }
    std::int64_t PositionMs(TimePoint now) const;
    // When the clock will have reached `positionMs` if it runs on; never more than a day ahead.
    TimePoint When(std::int64_t positionMs, TimePoint now) const;

private:
    // Media milliseconds since m_since.
    double RunMs(TimePoint now) const;

    const double m_speed;
    bool m_running = false;
    // The position at m_since. Kept apart from the elapsed time, so that positions of any size are exact.
    std::int64_t m_baseMs = 0;
    TimePoint m_since;
};

} // namespace TTMLHost

#endif

#ifndef TUNE_TIMER_H
#define TUNE_TIMER_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "PacketFramer.h"

namespace TTMLHost {

// How long a tune has lasted: by the clock references of the stream, whichever PID comes first with them, or
// by the clock on the wall. Used by one thread.
class TuneTimer
{
public:
    explicit TuneTimer(bool byWall)
        : m_byWall(byWall)
    {}

    void Restart(std::int64_t nowNs);
    // The packets that come next, of a batch that is not empty: takes the first one in, and answers how many
    // there are before another may change the time.
    std::size_t OnPackets(const PacketBatch& batch);
    // A clock reference among packets that were not announced so, or once more.
    void OnReference(int pid, std::uint64_t pcr27MHz);
    std::int64_t ElapsedNs(std::int64_t nowNs) const;

private:
    const bool m_byWall;
    std::int64_t m_startNs = 0;
    std::optional<int> m_pid;
    std::uint64_t m_last = 0;
    std::int64_t m_run27MHz = 0;
};

} // namespace TTMLHost

#endif

#ifndef SAMPLE_READER_H
#define SAMPLE_READER_H

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Demuxer.h"

namespace TTMLHost {

// Reads the samples of one TTML track in order, with their ends, and finds the one that covers a position.
// Used by one thread at a time.
class SampleReader
{
public:
    // `stop` is asked often while the reader waits; it makes the call under way return Stopped.
    SampleReader(std::string input, const PlayerOptions& options, std::function<bool()> stop);

    bool Open(std::string* error);

    ReadStatus Read(DemuxedSample* sample, std::string* error);

    // The next sample read is the one that covers `positionMs` or, in a gap, the first one after it. A
    // sample covers [start, end), one without a known end the time until the next one. Returns Sample when
    // there is one, else what Read() would.
    ReadStatus SeekTo(std::int64_t positionMs, std::string* error);

    const std::vector<PlayerTrack>& Tracks() const { return m_demuxer->Tracks(); }
    const DashManifest& Manifest() const { return m_demuxer->Manifest(); }
    // Where the content starts: what the container says, else the first sample's start, else 0.
    std::int64_t StartMs() const { return m_startMs; }

private:
    struct Result
    {
        ReadStatus status = ReadStatus::End;
        DemuxedSample sample;
        std::string error;
    };

    bool Reopen(std::string* error);
    Result ReadOne();
    Result ReadLive();
    // Live: the input cannot go on now. Gives up once that lasts.
    Result NotYet(const std::string& why);
    // Reads on to the sample that SeekTo() looks for. `atStart` tells whether the demuxer stands at the
    // start of the content; elsewhere a first sample behind the position may be one too late, and
    // `*tooLate` says so.
    ReadStatus FindCovering(std::int64_t positionMs, bool atStart, bool* tooLate, std::string* error);

    const std::string m_input;
    const PlayerOptions m_options;
    const std::function<bool()> m_stop;

    std::unique_ptr<Demuxer> m_demuxer;
    std::deque<Result> m_ahead; // read, but not handed out yet
    std::int64_t m_startMs = 0;
    std::int64_t m_lastReadMs = kUnknownTime; // start of the sample that the demuxer gave last

    bool m_spent = false;   // the demuxer gave no sample when it was asked last; it cannot go on
    bool m_waiting = false; // live: the input did not go on since m_waitingSince
    std::chrono::steady_clock::time_point m_waitingSince;
};

} // namespace TTMLHost

#endif

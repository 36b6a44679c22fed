#ifndef DEMUXER_H
#define DEMUXER_H

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "AvPointers.h"
#include "DashManifest.h"
#include "HostPlayer.h"

namespace TTMLHost {

class AvLogCapture;

constexpr std::int64_t kUnknownTime = std::numeric_limits<std::int64_t>::min();

// One sample of the track that is played, in milliseconds on the track's own timeline.
struct DemuxedSample
{
    std::string text;
    std::int64_t startMs = 0;
    std::int64_t endMs = kUnknownTime;
    // Whether the container gave the start.
    bool timed = false;
    // The end is not known for sure yet: it is where the next sample starts, at the latest at latestEndMs.
    bool endsWithNext = false;
    std::int64_t latestEndMs = std::numeric_limits<std::int64_t>::max();
};

enum class ReadStatus
{
    Sample,
    End,
    Failed,
    // A live stream has nothing new yet; the input must be opened again.
    NotYet,
    // `stop` asked for it.
    Stopped
};

// Reads the samples of one TTML track with libavformat. Used by one thread at a time.
class Demuxer
{
public:
    // `stop` is asked often, on the thread that uses the demuxer, while it waits for a file or the network.
    Demuxer(std::string input, const PlayerOptions& options, std::function<bool()> stop);

    // Opens the input from its start. On failure `*error` is one line.
    bool Open(std::string* error);

    ReadStatus Read(DemuxedSample* sample, std::string* error);

    // Goes on from a sample at or before `positionMs`, as far as the container's index tells; false when
    // it has none, and the place is unchanged.
    bool SeekBefore(std::int64_t positionMs);

    const std::vector<PlayerTrack>& Tracks() const { return m_tracks; }
    const DashManifest& Manifest() const { return m_manifest; }
    bool IsDash() const { return m_isDash; }
    // Where the container says that it starts, kUnknownTime when it does not say.
    std::int64_t StartMs() const;

private:
    static int InterruptCallback(void* self);

    bool ResolveInput(std::string* error);
    bool OpenIo(std::string* error);
    bool OpenFormat(std::string* error);
    bool FindTracks(std::string* error);
    bool ReadManifest(std::string text, std::string* error);
    void SetNetworkOptions(AvDictionary* dictionary) const;
    std::string DescribeOpenFailure(int code) const;

    void NoteIoError();
    ReadStatus HandleReadError(int code, std::string* error);
    ReadStatus HandleMissingSegments(std::string* error);
    void FillTimes(const AVPacket& packet, DemuxedSample* sample);
    std::int64_t ToMs(std::int64_t streamTime) const;
    // Where the sample ends on the stream's time base as far as the fragment tells, AV_NOPTS_VALUE if it
    // does not; `*sure` tells whether a sample that follows cannot change it.
    std::int64_t EndInFragment(std::int64_t dts, bool* sure) const;

    const std::string m_input;
    const PlayerOptions m_options;
    const std::function<bool()> m_stop;

    std::string m_url;
    std::string m_localPath; // empty for one from the network
    DashManifest m_manifest;
    bool m_isDash = false;
    std::vector<PlayerTrack> m_tracks;
    AVStream* m_stream = nullptr;      // belongs to m_format
    AvLogCapture* m_capture = nullptr; // of the call under way

    std::int64_t m_lastStartMs = 0;
    std::int64_t m_fragmentEnd = AV_NOPTS_VALUE; // of the fragment read last
    int m_ioError = 0;                           // of the file or the network, once there was one
    bool m_damaged = false;                      // the sample read last was cut off

    // The context reads from the file, so it goes first.
    AvIoPtr m_io;
    AvFormatPtr m_format;
    AvPacketPtr m_packet;
};

} // namespace TTMLHost

#endif

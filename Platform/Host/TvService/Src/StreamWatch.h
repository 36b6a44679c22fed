#ifndef STREAM_WATCH_H
#define STREAM_WATCH_H

#include <set>

#include "TransportStream.h"

namespace TTMLHost {

// Which PIDs of a transport stream are watched for the tuned service. Used by the stream's thread.
class StreamWatch
{
public:
    explicit StreamWatch(TransportStream* stream)
        : m_stream(stream)
    {}

    // Watches these and no others; kNoPid stands for none.
    void Set(const std::set<int>& pcrPids, int pesPid);

    int PesPid() const { return m_pesPid; }

private:
    TransportStream* const m_stream;
    std::set<int> m_pcrPids;
    int m_pesPid = kNoPid;
};

} // namespace TTMLHost

#endif

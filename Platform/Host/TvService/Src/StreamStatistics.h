#ifndef STREAM_STATISTICS_H
#define STREAM_STATISTICS_H

#include "HostTvService.h"
#include "TransportStream.h"

namespace TTMLHost {

// What a transport stream counts, as clients are told. Who delivers the packets counts those.
inline void TakeCounters(const TransportCounters& counters, TvStatistics* statistics)
{
    statistics->packets = counters.packets;
    statistics->continuityErrors = counters.continuityErrors;
    statistics->transportErrors = counters.transportErrors;
    statistics->scrambledPackets = counters.scrambledPackets;
    statistics->pesDropped = counters.pesDropped;
    statistics->badSections = counters.badSections;
}

} // namespace TTMLHost

#endif

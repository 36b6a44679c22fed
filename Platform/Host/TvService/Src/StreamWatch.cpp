#include "StreamWatch.h"

namespace TTMLHost {

void StreamWatch::Set(const std::set<int>& pcrPids, int pesPid)
{
    for (const int pid : m_pcrPids) {
        if (pcrPids.count(pid) == 0) {
            m_stream->WatchPcr(pid, false);
        }
    }
    for (const int pid : pcrPids) {
        if (pid != kNoPid && m_pcrPids.count(pid) == 0) {
            m_stream->WatchPcr(pid, true);
        }
    }
    m_pcrPids = pcrPids;
    m_pcrPids.erase(kNoPid);
    if (pesPid == m_pesPid) {
        return;
    }
    if (m_pesPid != kNoPid) {
        m_stream->WatchPes(m_pesPid, false);
    }
    m_pesPid = pesPid;
    if (pesPid != kNoPid) {
        m_stream->WatchPes(pesPid, true);
    }
}

} // namespace TTMLHost

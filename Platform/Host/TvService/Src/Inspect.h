#ifndef INSPECT_H
#define INSPECT_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "HostTvService.h"
#include "TransportStream.h"

namespace TTMLHost {

// Collects what a transport stream holds, over all versions of its tables.
class StreamInspector : public TransportListener
{
public:
    StreamInspector();

    TransportStream& Stream() { return m_stream; }

    // What has been seen so far, without the packet size and the resynchronisations, which the framer knows.
    TvStreamInfo Info() const;

    void OnPat(const Pat& pat) override;
    void OnPmt(const Pmt& pmt) override;
    void OnSdt(const Sdt& sdt) override;
    void OnRating(int serviceId, std::optional<int> age) override;
    void OnPcr(int pid, std::uint64_t pcr27MHz, bool discontinuity) override;
    void OnPes(int pid, std::vector<unsigned char>& packet, std::optional<std::uint64_t> pts90kHz) override;

private:
    struct Service
    {
        int id = 0;
        int pmtPid = 0;
        int pcrPid = kNoPid;
        std::vector<Pmt::Component> components; // as last described, those that have gone included
    };

    Service* Find(int id);
    void FollowComponent(Service* service, const Pmt::Component& component);

    TransportStream m_stream;
    std::vector<Service> m_services;
    std::map<int, std::string> m_names;          // by service
    std::map<int, std::optional<int>> m_ratings; // by service
    std::map<int, std::uint64_t> m_pcrs;         // by PID
    std::map<int, std::uint64_t> m_wholePes;     // by PID
};

} // namespace TTMLHost

#endif

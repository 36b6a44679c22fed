#include "Inspect.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "InputError.h"
#include "InputStart.h"
#include "PacketFramer.h"
#include "PacketSource.h"
#include "StreamStatistics.h"
#include "TableReader.h"

namespace TTMLHost {

namespace {

template <typename Map>
typename Map::mapped_type ValueIn(const Map& map, int key)
{
    const auto found = map.find(key);
    return found == map.end() ? typename Map::mapped_type() : found->second;
}

void PushAll(PacketFramer* framer, TransportStream* stream)
{
    PacketBatch batch;
    while (framer->Next(&batch)) {
        stream->Push(batch);
    }
}

bool Inspect(const std::string& input, const std::atomic<bool>* cancel, TvStreamInfo* info,
             std::string* error)
{
    const std::unique_ptr<PacketSource> source = PacketSource::Open(input, error);
    if (source == nullptr) {
        return false;
    }
    if (source->IsLive()) {
        *error =
            DescribeInputFailure("inspect", input, "it has no end", "record some of it and give the file");
        return false;
    }
    StreamInspector inspector;
    PacketFramer framer(PacketFramer::Pieces::Anywhere);
    ByteSpan bytes;
    while (!framer.IsNotTransportStream() && source->Read(&bytes, error)) {
        if (IsCancelled(cancel, "inspect", input, error)) {
            return false;
        }
        framer.Push(bytes);
        PushAll(&framer, &inspector.Stream());
    }
    if (!error->empty()) {
        return false;
    }
    framer.Finish();
    PushAll(&framer, &inspector.Stream());
    if (framer.IsNotTransportStream()) {
        *error = DescribeNoTransportStream(input, framer.TotalBytes());
        return false;
    }
    inspector.Stream().Flush();
    *info = inspector.Info();
    info->packetSize = static_cast<int>(framer.PacketSize());
    info->statistics.resynchronisations = framer.Resynchronisations();
    return true;
}

} // namespace

StreamInspector::StreamInspector()
    : m_stream(*this)
{}

StreamInspector::Service* StreamInspector::Find(int id)
{
    const auto found = std::find_if(m_services.begin(), m_services.end(),
                                    [id](const Service& service) { return service.id == id; });
    return found == m_services.end() ? nullptr : &*found;
}

void StreamInspector::OnPat(const Pat& pat)
{
    for (const Pat::Service& entry : pat.services) {
        Service* service = Find(entry.id);
        if (service == nullptr && m_services.size() < TableReader::kMostServices) {
            service = &m_services.emplace_back();
            service->id = entry.id;
        }
        if (service != nullptr) {
            service->pmtPid = entry.pmtPid;
        }
    }
}

void StreamInspector::OnPmt(const Pmt& pmt)
{
    Service* const service = Find(pmt.serviceId);
    if (service == nullptr) {
        return;
    }
    service->pcrPid = pmt.pcrPid;
    if (pmt.pcrPid != kNoPid) {
        m_stream.WatchPcr(pmt.pcrPid, true);
    }
    for (const Pmt::Component& component : pmt.components) {
        FollowComponent(service, component);
    }
}

void StreamInspector::FollowComponent(Service* service, const Pmt::Component& component)
{
    const auto known = std::find_if(service->components.begin(), service->components.end(),
                                    [&](const Pmt::Component& other) { return other.pid == component.pid; });
    if (known != service->components.end()) {
        *known = component;
    } else {
        service->components.push_back(component);
    }
    // Only of subtitles it matters whether they are whole.
    component.ttml ? m_stream.WatchPes(component.pid, true) : m_stream.CountPes(component.pid, true);
}

void StreamInspector::OnSdt(const Sdt& sdt)
{
    for (const Sdt::Service& service : sdt.services) {
        if (m_names.size() < TableReader::kMostServices || m_names.count(service.id) != 0) {
            m_names[service.id] = service.name;
        }
    }
}

void StreamInspector::OnRating(int serviceId, std::optional<int> age)
{
    m_ratings[serviceId] = age;
}

void StreamInspector::OnPcr(int pid, std::uint64_t /*pcr27MHz*/, bool /*discontinuity*/)
{
    ++m_pcrs[pid];
}

void StreamInspector::OnPes(int pid, std::vector<unsigned char>& /*packet*/,
                            std::optional<std::uint64_t> /*pts90kHz*/)
{
    ++m_wholePes[pid];
}

TvStreamInfo StreamInspector::Info() const
{
    TvStreamInfo info;
    const TransportCounters counters = m_stream.Counters();
    TakeCounters(counters, &info.statistics);
    info.statistics.pesDelivered = counters.pesCompleted;
    for (const Service& service : m_services) {
        TvServiceInfo& one = info.services.emplace_back();
        one.id = service.id;
        one.name = ValueIn(m_names, service.id);
        one.pmtPid = service.pmtPid;
        one.pcrPid = service.pcrPid;
        one.pcrs = ValueIn(m_pcrs, service.pcrPid);
        one.rating = ValueIn(m_ratings, service.id);
        for (const Pmt::Component& component : service.components) {
            if (component.ttml) {
                one.ttml.push_back({component.pid, component.ttml->language, component.ttml->purpose,
                                    component.ttml->profiles, ValueIn(m_wholePes, component.pid)});
            } else {
                one.others.push_back(
                    {component.pid, component.streamType, component.kind, m_stream.PesStarts(component.pid)});
            }
        }
    }
    return info;
}

bool TvInspect(const std::string& input, const std::atomic<bool>* cancel, TvStreamInfo* info,
               std::string* error)
{
    try {
        error->clear();
        return Inspect(input, cancel, info, error);
    } catch (const std::exception& failure) {
        *error = DescribeInputFailure("inspect", input, failure.what(), "end programs that are not needed");
        return false;
    }
}

} // namespace TTMLHost

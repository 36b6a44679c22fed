#include "TableReader.h"

#include <set>
#include <utility>

#include "Descriptors.h"

namespace TTMLHost {

namespace {

// Where tables are: ISO/IEC 13818-1 table 2-3, ETSI EN 300 468 table 1.
constexpr int kPatPid = 0x00;
constexpr int kFirstFreePid = 0x10;
constexpr int kSdtPid = 0x11;
constexpr int kEitPid = 0x12;

constexpr int kPatTable = 0x00;
constexpr int kPmtTable = 0x02;
constexpr int kSdtTable = 0x42;            // of this stream
constexpr int kEitPresentFollowing = 0x4e; // of this stream
constexpr int kPresentSection = 0;

constexpr int kLongestSection = 1024;
constexpr int kLongestEitSection = 4096;

constexpr std::uint32_t kPidMask = 0x1fff;
constexpr std::uint32_t kLengthMask = 0x0fff;

bool CanCarryPmt(int pid)
{
    return pid >= kFirstFreePid && pid != kSdtPid && pid != kEitPid && pid != kNoPid;
}

ByteSpan Span(const std::vector<unsigned char>& bytes)
{
    return {bytes.data(), bytes.size()};
}

Pat ReadPat(const SectionSet& sections)
{
    Pat pat;
    pat.transportStreamId = sections.Extension();
    pat.version = sections.Version();
    for (const auto& [number, payload] : sections.Payloads()) {
        ByteReader reader(Span(payload));
        while (reader.Left() >= 4) {
            Pat::Service service;
            service.id = static_cast<int>(reader.Number(2));
            service.pmtPid = static_cast<int>(reader.Number(2) & kPidMask);
            // 0 stands for the network.
            if (service.id != 0 && CanCarryPmt(service.pmtPid) &&
                pat.services.size() < TableReader::kMostServices) {
                pat.services.push_back(service);
            }
        }
    }
    return pat;
}

Pmt::Component ReadComponent(ByteReader* reader)
{
    Pmt::Component component;
    component.streamType = static_cast<int>(reader->Number(1));
    component.pid = static_cast<int>(reader->Number(2) & kPidMask);
    const ByteSpan descriptors = reader->Take(reader->Number(2) & kLengthMask);
    component.kind = KindOfComponent(component.streamType, descriptors);
    constexpr int kPrivateData = 0x06; // what ETSI EN 303 560 prescribes
    if (component.streamType == kPrivateData) {
        component.ttml = FindTtmlDescriptor(descriptors);
    }
    return component;
}

Pmt ReadPmt(const SectionSet& sections)
{
    Pmt pmt;
    pmt.serviceId = sections.Extension();
    pmt.version = sections.Version();
    for (const auto& [number, payload] : sections.Payloads()) {
        ByteReader reader(Span(payload));
        if (reader.Left() >= 2) {
            pmt.pcrPid = static_cast<int>(reader.Number(2) & kPidMask);
        }
        reader.Take(reader.Number(2) & kLengthMask); // descriptors of the whole service
        while (reader.Left() >= 5) {
            pmt.components.push_back(ReadComponent(&reader));
        }
    }
    return pmt;
}

Sdt ReadSdt(const SectionSet& sections)
{
    Sdt sdt;
    sdt.transportStreamId = sections.Extension();
    sdt.version = sections.Version();
    for (const auto& [number, payload] : sections.Payloads()) {
        ByteReader reader(Span(payload));
        reader.Take(3); // original_network_id and a reserved byte
        while (reader.Left() >= 5) {
            Sdt::Service service;
            service.id = static_cast<int>(reader.Number(2));
            reader.Take(1); // which EITs there are
            service.name = FindServiceName(reader.Take(reader.Number(2) & kLengthMask));
            sdt.services.push_back(std::move(service));
        }
    }
    return sdt;
}

// The rating of the first event in a section of the EIT.
std::optional<int> ReadRating(ByteSpan payload)
{
    ByteReader reader(payload);
    reader.Take(6); // transport stream, network, segment, last table
    if (reader.Left() < 12) {
        return std::nullopt;
    }
    reader.Take(10); // event, start, duration
    return FindRating(reader.Take(reader.Number(2) & kLengthMask));
}

} // namespace

TableReader::TableReader(TransportListener& listener, Watch watch)
    : m_listener(listener)
    , m_watch(std::move(watch))
{
    ReadPid(kPatPid, kLongestSection);
    ReadPid(kSdtPid, kLongestSection);
    ReadPid(kEitPid, kLongestEitSection);
}

void TableReader::ReadPid(int pid, int longestSection)
{
    std::unique_ptr<SectionReader>& reader = m_readers[pid];
    if (reader == nullptr) {
        reader = std::make_unique<SectionReader>(longestSection);
        m_watch(pid, true);
    }
}

std::uint64_t TableReader::BadSections() const
{
    std::uint64_t sum = m_badSections;
    for (const auto& [pid, reader] : m_readers) {
        sum += reader->BadSections();
    }
    return sum;
}

void TableReader::Push(const TransportPacket& packet)
{
    const auto found = m_readers.find(packet.pid);
    if (found != m_readers.end()) {
        found->second->Push(packet.bytes, packet.payload, packet.unitStart,
                            [&](const Section& section) { OnSection(packet.pid, section); });
    }
}

void TableReader::OnSection(int pid, const Section& section)
{
    if (pid == kPatPid && section.tableId == kPatTable) {
        OnPatSection(section);
    } else if (pid == kSdtPid && section.tableId == kSdtTable) {
        OnSdtSection(section);
    } else if (pid == kEitPid && section.tableId == kEitPresentFollowing) {
        OnEitSection(section);
    } else if (section.tableId == kPmtTable) {
        OnPmtSection(pid, section);
    }
}

void TableReader::OnPatSection(const Section& section)
{
    if (m_pat.Add(section)) {
        const Pat pat = ReadPat(m_pat);
        FollowServices(pat);
        m_listener.OnPat(pat);
    }
}

void TableReader::FollowServices(const Pat& pat)
{
    std::map<int, PmtState> pmts;
    std::set<int> pids;
    for (const Pat::Service& service : pat.services) {
        const auto known = m_pmts.find(service.id);
        // One that has moved is reported again.
        if (known != m_pmts.end() && known->second.pid == service.pmtPid) {
            pmts[service.id] = std::move(known->second);
            m_pmts.erase(known);
        } else {
            pmts.try_emplace(service.id).first->second.pid = service.pmtPid;
        }
        pids.insert(service.pmtPid);
    }
    m_pmts = std::move(pmts);
    for (auto reader = m_readers.begin(); reader != m_readers.end();) {
        const int pid = reader->first;
        if (pid == kPatPid || pid == kSdtPid || pid == kEitPid || pids.count(pid) != 0) {
            ++reader;
            continue;
        }
        m_badSections += reader->second->BadSections();
        reader = m_readers.erase(reader);
        m_watch(pid, false);
    }
    for (const int pid : pids) {
        ReadPid(pid, kLongestSection);
    }
}

void TableReader::OnPmtSection(int pid, const Section& section)
{
    const auto found = m_pmts.find(section.extension);
    if (found != m_pmts.end() && found->second.pid == pid && found->second.sections.Add(section)) {
        m_listener.OnPmt(ReadPmt(found->second.sections));
    }
}

void TableReader::OnSdtSection(const Section& section)
{
    if (m_sdt.Add(section)) {
        m_listener.OnSdt(ReadSdt(m_sdt));
    }
}

void TableReader::OnEitSection(const Section& section)
{
    if (!section.current || section.number != kPresentSection) {
        return;
    }
    const int service = section.extension;
    const std::optional<int> age = ReadRating(section.payload);
    const auto known = m_ratings.find(service);
    if (known == m_ratings.end() ? m_ratings.size() >= kMostServices : known->second == age) {
        return;
    }
    m_ratings[service] = age;
    m_listener.OnRating(service, age);
}

} // namespace TTMLHost

#ifndef TABLE_READER_H
#define TABLE_READER_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "SectionReader.h"
#include "SectionSet.h"
#include "TransportPacket.h"
#include "TransportStream.h"

namespace TTMLHost {

// Reads the tables of a transport stream and tells the listener what is new in them.
class TableReader
{
public:
    // Called for each PID that begins or ends to carry a table.
    using Watch = std::function<void(int pid, bool watch)>;

    TableReader(TransportListener& listener, Watch watch);

    // A packet of a PID that carries a table; in order, without repetitions, and not scrambled.
    void Push(const TransportPacket& packet);

    std::uint64_t BadSections() const;

    // More than any multiplex has, and a bound for a stream that makes them up.
    static constexpr std::size_t kMostServices = 1024;

private:
    struct PmtState
    {
        int pid = 0;
        SectionSet sections;
    };

    void OnSection(int pid, const Section& section);
    void OnPatSection(const Section& section);
    void OnPmtSection(int pid, const Section& section);
    void OnSdtSection(const Section& section);
    void OnEitSection(const Section& section);
    void FollowServices(const Pat& pat);
    void ReadPid(int pid, int longestSection);

    TransportListener& m_listener;
    const Watch m_watch;
    std::map<int, std::unique_ptr<SectionReader>> m_readers; // by PID
    std::uint64_t m_badSections = 0;                         // of readers that are gone
    SectionSet m_pat;
    SectionSet m_sdt;
    std::map<int, PmtState> m_pmts;              // by service
    std::map<int, std::optional<int>> m_ratings; // by service, as told to the listener
};

} // namespace TTMLHost

#endif

#ifndef TEST_STREAM_H
#define TEST_STREAM_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "PesBuilder.h"

namespace TTMLTest {

// A program map of ISO/IEC 13818-1, as a test describes it:
//
//     Map(1).Pid(256).Version(1).Pcr(257).Video(257).Ttml(258, "deu", {2})
class Map
{
public:
    explicit Map(int service)
        : m_service(service)
    {}

    Map& Pid(int pid);
    Map& Version(int version);
    Map& Pcr(int pid);
    Map& Video(int pid); // H.264
    // With the TTML subtitling descriptor of ETSI EN 303 560.
    Map& Ttml(int pid, const std::string& language, const std::vector<int>& profiles = {2}, int purpose = 0);

    int Pid() const { return m_pid; }
    PesBytes Section() const;

private:
    const int m_service;
    int m_pid = 0;
    int m_version = 0;
    int m_pcrPid = 0x1fff;
    PesBytes m_components;
};

// Builds a transport stream, packet by packet:
//
//     TestStream().Pat({{1, 256}}).Pmt(Map(1).Pid(256).Ttml(258, "deu")).Pcr(257, 0).Pes(258, packet).Bytes()
class TestStream
{
public:
    TestStream& Pat(const std::vector<std::pair<int, int>>& services, int version = 0);
    TestStream& Pmt(const Map& map);
    TestStream& Sdt(const std::vector<std::pair<int, std::string>>& names);
    // The present event of a service, for viewers of an age and above; nothing: without rating.
    TestStream& Eit(int service, std::optional<int> age, int version = 0);
    // 90 kHz.
    TestStream& Pcr(int pid, std::uint64_t ticks, bool discontinuity = false);
    TestStream& Pes(int pid, const PesBytes& packet, bool scrambled = false);
    // Bytes of a PES packet that began before.
    TestStream& Rest(int pid, const PesBytes& bytes);
    // A packet of the PID that is not in the stream.
    TestStream& Lose(int pid);
    // Packets of video, which nobody looks into.
    TestStream& Video(int pid, std::size_t count);
    // What is no packet.
    TestStream& Garbage(const std::string& bytes);
    // The same tables again.
    TestStream& Tables();

    std::size_t Packets() const { return m_bytes.size() / 188; }
    std::string Bytes() const { return m_bytes; }
    // As a multiple of 188 bytes and some.
    std::string CutBy(std::size_t bytes) const { return m_bytes.substr(0, m_bytes.size() - bytes); }

private:
    void Section(int pid, const PesBytes& section);
    void Payload(int pid, const PesBytes& payload, bool start, bool scrambled);
    void Packet(int pid, bool start, const PesBytes& adaptation, const unsigned char* payload,
                std::size_t size, bool scrambled);

    std::string m_bytes;
    std::map<int, unsigned> m_counters; // by PID
    std::vector<std::pair<int, PesBytes>> m_tables;
};

} // namespace TTMLTest

#endif

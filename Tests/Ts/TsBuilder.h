#ifndef TS_BUILDER_H
#define TS_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Builders of transport streams (ISO/IEC 13818-1), which share nothing with the code that reads them.

namespace TTMLTest {

using Bytes = std::vector<unsigned char>;

constexpr std::uint64_t kPcrSecond = 27000000;

Bytes operator+(Bytes left, const Bytes& right);
// `size` bytes that differ from place to place and from seed to seed, none of them a sync byte.
Bytes Filling(std::size_t size, unsigned int seed = 0);
Bytes TextBytes(const std::string& text);
// Big-endian.
Bytes Number(std::uint64_t value, std::size_t bytes);
std::uint32_t Crc32(const Bytes& bytes);

// One packet of 188 bytes. A payload that does not fill it gets an adaptation field with stuffing before it.
class TsPacket
{
public:
    explicit TsPacket(int pid)
        : m_pid(pid)
    {}

    TsPacket& Counter(int counter);
    TsPacket& UnitStart();
    TsPacket& TransportError();
    TsPacket& Scrambled();
    TsPacket& Discontinuity();
    TsPacket& Pcr(std::uint64_t pcr27MHz);
    TsPacket& Payload(Bytes payload);
    // Writes another length of the adaptation field than the true one.
    TsPacket& LyingLength(int length);

    Bytes Get() const;

private:
    int m_pid;
    int m_counter = 0;
    bool m_unitStart = false;
    bool m_transportError = false;
    bool m_scrambled = false;
    bool m_discontinuity = false;
    std::optional<std::uint64_t> m_pcr;
    std::optional<Bytes> m_payload;
    std::optional<int> m_lyingLength;
};

// The packets of one PID, with a counter that runs on.
class PidWriter
{
public:
    explicit PidWriter(int pid, int counter = 0)
        : m_pid(pid)
        , m_counter(counter)
    {}

    // The next packet, with the given payload.
    TsPacket Next(Bytes payload, bool unitStart = false);
    // What is to go out in one piece, in packets of `perPacket` payload bytes: a PES packet.
    std::vector<Bytes> Unit(const Bytes& unit, std::size_t perPacket = 184);
    // Sections in packets, behind a pointer.
    Bytes Sections(const Bytes& sections);
    // As if packets had been lost.
    void Skip(int packets) { m_counter += packets; }

private:
    int m_pid;
    int m_counter;
};

Bytes Joined(const std::vector<Bytes>& packets);

// A section in the long form, with its CRC_32.
struct SectionFields
{
    int tableId = 0;
    int extension = 0;
    int version = 0;
    bool current = true;
    int number = 0;
    int lastNumber = 0;
};
Bytes MakeSection(const SectionFields& fields, const Bytes& payload);

struct PatEntry
{
    int service;
    int pid;
};
Bytes PatSection(int version, const std::vector<PatEntry>& entries, int number = 0, int lastNumber = 0);

struct PmtEntry
{
    int streamType;
    int pid;
    Bytes descriptors;
};
Bytes PmtSection(int service, int version, int pcrPid, const std::vector<PmtEntry>& entries);

struct SdtEntry
{
    int service;
    Bytes name;
};
Bytes SdtSection(int version, const std::vector<SdtEntry>& entries);

// One event; section 0 is the present one.
Bytes EitSection(int service, int version, int number, const Bytes& descriptors);

Bytes DescriptorBytes(int tag, const Bytes& body);
Bytes RatingDescriptor(int rating);
// TTML subtitling descriptor of ETSI EN 303 560.
struct TtmlFields
{
    std::string language = "eng";
    int purpose = 0;
    int ttsSuitability = 0;
    std::vector<int> profiles;
    std::optional<std::uint32_t> qualifier;
    std::optional<std::vector<int>> fontIds;
    std::string text;
};
Bytes TtmlDescriptorBytes(const TtmlFields& fields);

// A PES packet of private_stream_1.
class TsPes
{
public:
    TsPes& Pts(std::uint64_t pts);
    TsPes& Data(Bytes data);
    // Ends the data with their CRC_32.
    TsPes& WithCrc();
    TsPes& Unbounded();
    TsPes& Announcing(std::size_t bytes);
    TsPes& Scrambled();
    Bytes Get() const;

private:
    std::optional<std::uint64_t> m_pts;
    Bytes m_data;
    bool m_crc = false;
    std::optional<std::size_t> m_length;
    bool m_scrambled = false;
};

// The packets as they lie in a file of 188, 192 or 204 bytes a packet.
Bytes WithPacketSize(const Bytes& packets, std::size_t size);

} // namespace TTMLTest

#endif

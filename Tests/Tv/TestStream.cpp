#include "TestStream.h"

#include <algorithm>

namespace TTMLTest {

namespace {

constexpr std::size_t kPacketSize = 188;
constexpr std::size_t kRoom = 184; // behind the header
constexpr int kPatPid = 0;
constexpr int kSdtPid = 0x11;
constexpr int kEitPid = 0x12;
constexpr unsigned char kPatTable = 0x00;
constexpr unsigned char kPmtTable = 0x02;
constexpr unsigned char kSdtTable = 0x42;
constexpr unsigned char kEitTable = 0x4e;

void Put(PesBytes* bytes, std::uint64_t value, unsigned count)
{
    while (count-- > 0) {
        bytes->push_back(static_cast<unsigned char>(value >> (8 * count)));
    }
}

void Put(PesBytes* bytes, const PesBytes& more)
{
    bytes->insert(bytes->end(), more.begin(), more.end());
}

void Put(PesBytes* bytes, const std::string& text)
{
    bytes->insert(bytes->end(), text.begin(), text.end());
}

// A section with the long header, complete with its CRC_32.
PesBytes SectionOf(unsigned char table, int extension, int version, const PesBytes& body)
{
    constexpr std::size_t kHeaderAndCrc = 9;
    PesBytes section = {table};
    Put(&section, 0xb000U | (body.size() + kHeaderAndCrc), 2);
    Put(&section, static_cast<std::uint64_t>(extension), 2);
    section.push_back(static_cast<unsigned char>(0xc1 | version << 1));
    Put(&section, 0, 2);
    Put(&section, body);
    Put(&section, MpegCrc(section), 4);
    return section;
}

PesBytes Descriptor(unsigned char tag, const PesBytes& body)
{
    PesBytes descriptor = {tag, static_cast<unsigned char>(body.size())};
    Put(&descriptor, body);
    return descriptor;
}

void PutComponent(PesBytes* components, unsigned char type, int pid, const PesBytes& descriptors)
{
    components->push_back(type);
    Put(components, 0xe000U | static_cast<unsigned>(pid), 2);
    Put(components, 0xf000U | descriptors.size(), 2);
    Put(components, descriptors);
}

} // namespace

Map& Map::Pid(int pid)
{
    m_pid = pid;
    return *this;
}

Map& Map::Version(int version)
{
    m_version = version;
    return *this;
}

Map& Map::Pcr(int pid)
{
    m_pcrPid = pid;
    return *this;
}

Map& Map::Video(int pid)
{
    PutComponent(&m_components, 0x1b, pid, {});
    return *this;
}

Map& Map::Ttml(int pid, const std::string& language, const std::vector<int>& profiles, int purpose)
{
    PesBytes body = {0x20};
    Put(&body, language);
    body.push_back(static_cast<unsigned char>(purpose << 2));
    body.push_back(static_cast<unsigned char>(0x30 | profiles.size())); // no fonts, no qualifier
    for (const int profile : profiles) {
        body.push_back(static_cast<unsigned char>(profile));
    }
    body.push_back(0); // no text
    PutComponent(&m_components, 0x06, pid, Descriptor(0x7f, body));
    return *this;
}

PesBytes Map::Section() const
{
    PesBytes body;
    Put(&body, 0xe000U | static_cast<unsigned>(m_pcrPid), 2);
    Put(&body, 0xf000U, 2);
    Put(&body, m_components);
    return SectionOf(kPmtTable, m_service, m_version, body);
}

TestStream& TestStream::Pat(const std::vector<std::pair<int, int>>& services, int version)
{
    PesBytes body;
    for (const auto& [service, pid] : services) {
        Put(&body, static_cast<unsigned>(service), 2);
        Put(&body, 0xe000U | static_cast<unsigned>(pid), 2);
    }
    Section(kPatPid, SectionOf(kPatTable, 7, version, body));
    return *this;
}

TestStream& TestStream::Pmt(const Map& map)
{
    Section(map.Pid(), map.Section());
    return *this;
}

TestStream& TestStream::Sdt(const std::vector<std::pair<int, std::string>>& names)
{
    PesBytes body = {0, 9, 0xff}; // original network
    for (const auto& [service, name] : names) {
        PesBytes description = {1, 0, static_cast<unsigned char>(name.size())}; // television, no provider
        Put(&description, name);
        const PesBytes descriptor = Descriptor(0x48, description);
        Put(&body, static_cast<unsigned>(service), 2);
        body.push_back(0xff); // with event information
        Put(&body, 0x8000U | descriptor.size(), 2);
        Put(&body, descriptor);
    }
    Section(kSdtPid, SectionOf(kSdtTable, 7, 0, body));
    return *this;
}

TestStream& TestStream::Eit(int service, std::optional<int> age, int version)
{
    constexpr int kAgeOfRatingZero = 3;
    PesBytes descriptors;
    if (age) {
        PesBytes rating;
        Put(&rating, std::string("DEU"));
        rating.push_back(static_cast<unsigned char>(*age - kAgeOfRatingZero));
        descriptors = Descriptor(0x55, rating);
    }
    PesBytes body;
    Put(&body, 7, 2);                                    // transport stream
    Put(&body, 9, 2);                                    // original network
    Put(&body, 0x004e, 2);                               // last section of its segment, last table
    Put(&body, static_cast<unsigned>(version) + 100, 2); // event
    Put(&body, 0xe1a1120000, 5);                         // start
    Put(&body, 0x010000, 3);                             // an hour
    Put(&body, 0x8000U | descriptors.size(), 2);         // running
    Put(&body, descriptors);
    Section(kEitPid, SectionOf(kEitTable, service, version, body));
    return *this;
}

TestStream& TestStream::Pcr(int pid, std::uint64_t ticks, bool discontinuity)
{
    PesBytes field = {static_cast<unsigned char>(discontinuity ? 0x90 : 0x10)};
    Put(&field, (ticks << 15 | 0x7e00) & 0xffffffffffff, 6);
    Packet(pid, false, field, nullptr, 0, false);
    return *this;
}

TestStream& TestStream::Pes(int pid, const PesBytes& packet, bool scrambled)
{
    Payload(pid, packet, true, scrambled);
    return *this;
}

TestStream& TestStream::Rest(int pid, const PesBytes& bytes)
{
    Payload(pid, bytes, false, false);
    return *this;
}

TestStream& TestStream::Lose(int pid)
{
    ++m_counters[pid];
    return *this;
}

TestStream& TestStream::Video(int pid, std::size_t count)
{
    const PesBytes payload(kRoom, 0xaa);
    for (std::size_t index = 0; index < count; ++index) {
        Packet(pid, false, {}, payload.data(), payload.size(), false);
    }
    return *this;
}

TestStream& TestStream::Garbage(const std::string& bytes)
{
    m_bytes += bytes;
    return *this;
}

TestStream& TestStream::Tables()
{
    const auto tables = m_tables;
    m_tables.clear();
    for (const auto& [pid, section] : tables) {
        Section(pid, section);
    }
    return *this;
}

void TestStream::Section(int pid, const PesBytes& section)
{
    m_tables.emplace_back(pid, section);
    PesBytes payload = {0}; // the section begins at once
    Put(&payload, section);
    payload.resize((payload.size() + kRoom - 1) / kRoom * kRoom, 0xff);
    Payload(pid, payload, true, false);
}

void TestStream::Payload(int pid, const PesBytes& payload, bool start, bool scrambled)
{
    for (std::size_t done = 0; done < payload.size();) {
        const std::size_t size = std::min(kRoom, payload.size() - done);
        Packet(pid, start && done == 0, {}, payload.data() + done, size, scrambled);
        done += size;
    }
}

void TestStream::Packet(int pid, bool start, const PesBytes& adaptation, const unsigned char* payload,
                        std::size_t size, bool scrambled)
{
    const bool hasAdaptation = !adaptation.empty() || size < kRoom;
    unsigned& counter = m_counters[pid];
    PesBytes packet = {0x47};
    Put(&packet, (start ? 0x4000U : 0U) | static_cast<unsigned>(pid), 2);
    packet.push_back(static_cast<unsigned char>((scrambled ? 0x80U : 0U) | (hasAdaptation ? 0x20U : 0U) |
                                                (size != 0 ? 0x10U : 0U) | (counter & 0x0fU)));
    if (size != 0) {
        ++counter;
    } else {
        // A packet without payload repeats the counter of the one before.
        packet.back() = static_cast<unsigned char>((packet.back() & 0xf0U) | ((counter + 15U) & 0x0fU));
    }
    if (hasAdaptation) {
        const std::size_t length = kRoom - size - 1;
        packet.push_back(static_cast<unsigned char>(length));
        if (length != 0) {
            PesBytes field = adaptation.empty() ? PesBytes{0} : adaptation;
            field.resize(length, 0xff);
            Put(&packet, field);
        }
    }
    packet.insert(packet.end(), payload, payload + size);
    packet.resize(kPacketSize, 0xff);
    m_bytes.append(packet.begin(), packet.end());
}

} // namespace TTMLTest

#include "TsBuilder.h"

#include <algorithm>
#include <utility>

namespace TTMLTest {

namespace {

constexpr std::size_t kSize = 188;
constexpr unsigned char kSync = 0x47;

Bytes Length12(std::size_t length)
{
    return Number(0xf000 | length, 2);
}

} // namespace

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes Filling(std::size_t size, unsigned int seed)
{
    Bytes bytes(size);
    unsigned int state = seed * 2654435761U + 12345U;
    for (unsigned char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(state >> 24);
        byte = byte == kSync ? static_cast<unsigned char>(0x48) : byte;
    }
    return bytes;
}

Bytes TextBytes(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

Bytes Number(std::uint64_t value, std::size_t bytes)
{
    Bytes result(bytes);
    for (std::size_t i = 0; i < bytes; ++i) {
        result[bytes - 1 - i] = static_cast<unsigned char>(value >> (8 * i));
    }
    return result;
}

std::uint32_t Crc32(const Bytes& bytes)
{
    std::uint32_t crc = 0xffffffffU;
    for (const unsigned char byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool feedback = ((crc >> 31 & 1U) ^ (byte >> bit & 1U)) != 0;
            crc = crc << 1 ^ (feedback ? 0x04c11db7U : 0U);
        }
    }
    return crc;
}

TsPacket& TsPacket::Counter(int counter)
{
    m_counter = counter & 15;
    return *this;
}

TsPacket& TsPacket::UnitStart()
{
    m_unitStart = true;
    return *this;
}

TsPacket& TsPacket::TransportError()
{
    m_transportError = true;
    return *this;
}

TsPacket& TsPacket::Scrambled()
{
    m_scrambled = true;
    return *this;
}

TsPacket& TsPacket::Discontinuity()
{
    m_discontinuity = true;
    return *this;
}

TsPacket& TsPacket::Pcr(std::uint64_t pcr27MHz)
{
    m_pcr = pcr27MHz;
    return *this;
}

TsPacket& TsPacket::Payload(Bytes payload)
{
    m_payload = std::move(payload);
    return *this;
}

TsPacket& TsPacket::LyingLength(int length)
{
    m_lyingLength = length;
    return *this;
}

Bytes TsPacket::Get() const
{
    const Bytes payload = m_payload.value_or(Bytes());
    Bytes field;
    if (m_discontinuity || m_pcr) {
        field.push_back(static_cast<unsigned char>((m_discontinuity ? 0x80 : 0) | (m_pcr ? 0x10 : 0)));
    }
    if (m_pcr) {
        field = field + Number(*m_pcr / 300 << 15 | 0x7e00 | *m_pcr % 300, 6);
    }
    const std::size_t room = kSize - 4 - payload.size();
    const bool hasField = room != 0 || !field.empty() || m_lyingLength;
    if (hasField && field.empty() && room > 1) {
        field.push_back(0);
    }
    field.resize(std::max(field.size(), room == 0 ? 0 : room - 1), 0xff);
    Bytes packet = {
        kSync,
        static_cast<unsigned char>((m_transportError ? 0x80 : 0) | (m_unitStart ? 0x40 : 0) | m_pid >> 8),
        static_cast<unsigned char>(m_pid),
        static_cast<unsigned char>((m_scrambled ? 0x80 : 0) | (hasField ? 0x20 : 0) | (m_payload ? 0x10 : 0) |
                                   m_counter)};
    if (hasField) {
        const std::size_t length = m_lyingLength ? static_cast<std::size_t>(*m_lyingLength) : field.size();
        packet = packet + Number(length, 1) + field;
    }
    packet = packet + payload;
    packet.resize(kSize, 0xff);
    return packet;
}

TsPacket PidWriter::Next(Bytes payload, bool unitStart)
{
    TsPacket packet(m_pid);
    packet.Counter(m_counter++).Payload(std::move(payload));
    return unitStart ? packet.UnitStart() : packet;
}

std::vector<Bytes> PidWriter::Unit(const Bytes& unit, std::size_t perPacket)
{
    std::vector<Bytes> packets;
    for (std::size_t at = 0; at < unit.size(); at += perPacket) {
        const std::size_t end = std::min(unit.size(), at + perPacket);
        packets.push_back(Next(Bytes(unit.begin() + static_cast<std::ptrdiff_t>(at),
                                     unit.begin() + static_cast<std::ptrdiff_t>(end)),
                               at == 0)
                              .Get());
    }
    return packets;
}

Bytes PidWriter::Sections(const Bytes& sections)
{
    Bytes unit = Bytes{0} + sections;
    unit.resize((unit.size() + 183) / 184 * 184, 0xff);
    return Joined(Unit(unit));
}

Bytes Joined(const std::vector<Bytes>& packets)
{
    Bytes all;
    for (const Bytes& packet : packets) {
        all = std::move(all) + packet;
    }
    return all;
}

Bytes MakeSection(const SectionFields& fields, const Bytes& payload)
{
    const Bytes section =
        Number(static_cast<std::uint64_t>(fields.tableId), 1) + Number(0xb000 | (5 + payload.size() + 4), 2) +
        Number(static_cast<std::uint64_t>(fields.extension), 2) +
        Number(static_cast<std::uint64_t>(0xc0 | fields.version << 1 | (fields.current ? 1 : 0)), 1) +
        Number(static_cast<std::uint64_t>(fields.number), 1) +
        Number(static_cast<std::uint64_t>(fields.lastNumber), 1) + payload;
    return section + Number(Crc32(section), 4);
}

Bytes PatSection(int version, const std::vector<PatEntry>& entries, int number, int lastNumber)
{
    Bytes payload;
    for (const PatEntry& entry : entries) {
        payload = payload + Number(static_cast<std::uint64_t>(entry.service), 2) +
                  Number(static_cast<std::uint64_t>(0xe000 | entry.pid), 2);
    }
    return MakeSection({0x00, 7, version, true, number, lastNumber}, payload);
}

Bytes PmtSection(int service, int version, int pcrPid, const std::vector<PmtEntry>& entries)
{
    Bytes payload = Number(static_cast<std::uint64_t>(0xe000 | pcrPid), 2) + Length12(0);
    for (const PmtEntry& entry : entries) {
        payload = payload + Number(static_cast<std::uint64_t>(entry.streamType), 1) +
                  Number(static_cast<std::uint64_t>(0xe000 | entry.pid), 2) +
                  Length12(entry.descriptors.size()) + entry.descriptors;
    }
    return MakeSection({0x02, service, version}, payload);
}

Bytes SdtSection(int version, const std::vector<SdtEntry>& entries)
{
    Bytes payload = Number(1, 2) + Bytes{0xff};
    for (const SdtEntry& entry : entries) {
        const Bytes provider = TextBytes("maker");
        const Bytes descriptor = DescriptorBytes(0x48, Bytes{1} + Number(provider.size(), 1) + provider +
                                                           Number(entry.name.size(), 1) + entry.name);
        payload = payload + Number(static_cast<std::uint64_t>(entry.service), 2) + Bytes{0xfd} +
                  Number(0x8000 | descriptor.size(), 2) + descriptor;
    }
    return MakeSection({0x42, 7, version}, payload);
}

Bytes EitSection(int service, int version, int number, const Bytes& descriptors)
{
    const Bytes payload = Number(7, 2) + Number(1, 2) + Bytes{1, 0x4e} + Number(0x55, 2) + Filling(8) +
                          Number(0x8000 | descriptors.size(), 2) + descriptors;
    return MakeSection({0x4e, service, version, true, number, 1}, payload);
}

Bytes DescriptorBytes(int tag, const Bytes& body)
{
    return Number(static_cast<std::uint64_t>(tag), 1) + Number(body.size(), 1) + body;
}

Bytes RatingDescriptor(int rating)
{
    return DescriptorBytes(0x55, TextBytes("DEU") + Number(static_cast<std::uint64_t>(rating), 1));
}

Bytes TtmlDescriptorBytes(const TtmlFields& fields)
{
    Bytes body = Bytes{0x20} + TextBytes(fields.language) +
                 Number(static_cast<std::uint64_t>(fields.purpose << 2 | fields.ttsSuitability), 1) +
                 Number((fields.fontIds ? 0x80U : 0U) | (fields.qualifier ? 0x40U : 0U) | 0x30U |
                            fields.profiles.size(),
                        1);
    for (const int profile : fields.profiles) {
        body.push_back(static_cast<unsigned char>(profile));
    }
    if (fields.qualifier) {
        body = body + Number(*fields.qualifier, 4);
    }
    if (fields.fontIds) {
        body = body + Number(fields.fontIds->size(), 1);
        for (const int font : *fields.fontIds) {
            body.push_back(static_cast<unsigned char>(0x80 | font));
        }
    }
    return DescriptorBytes(0x7f, body + Number(fields.text.size(), 1) + TextBytes(fields.text));
}

TsPes& TsPes::Pts(std::uint64_t pts)
{
    m_pts = pts;
    return *this;
}

TsPes& TsPes::Data(Bytes data)
{
    m_data = std::move(data);
    return *this;
}

TsPes& TsPes::WithCrc()
{
    m_crc = true;
    return *this;
}

TsPes& TsPes::Unbounded()
{
    m_length = 0;
    return *this;
}

TsPes& TsPes::Announcing(std::size_t bytes)
{
    m_length = bytes;
    return *this;
}

TsPes& TsPes::Scrambled()
{
    m_scrambled = true;
    return *this;
}

Bytes TsPes::Get() const
{
    Bytes rest = {static_cast<unsigned char>(m_scrambled ? 0xa4 : 0x84),
                  static_cast<unsigned char>(m_pts ? 0x80 : 0), static_cast<unsigned char>(m_pts ? 5 : 0)};
    if (m_pts) {
        const std::uint64_t pts = *m_pts;
        rest = rest + Number(0x21 | (pts >> 30 & 7) << 1, 1) + Number((pts >> 15 & 0x7fff) << 1 | 1, 2) +
               Number((pts & 0x7fff) << 1 | 1, 2);
    }
    rest = rest + m_data;
    if (m_crc) {
        rest = rest + Number(Crc32(m_data), 4);
    }
    return Bytes{0, 0, 1, 0xbd} + Number(m_length.value_or(rest.size()), 2) + rest;
}

Bytes WithPacketSize(const Bytes& packets, std::size_t size)
{
    Bytes all;
    for (std::size_t at = 0; at < packets.size(); at += kSize) {
        if (size == 192) {
            all = std::move(all) + Filling(4, static_cast<unsigned int>(at));
        }
        all.insert(all.end(), packets.begin() + static_cast<std::ptrdiff_t>(at),
                   packets.begin() + static_cast<std::ptrdiff_t>(std::min(at + kSize, packets.size())));
        if (size == 204) {
            all = std::move(all) + Filling(16, static_cast<unsigned int>(at));
        }
    }
    return all;
}

} // namespace TTMLTest

// The parser against a second reading of the layout, over packets that are right, wrong and somewhere
// between.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "PesFixture.h"
#include "PesReading.h"

namespace TTMLTest {

namespace {

constexpr unsigned int kSeeds = 20;
// Where each takes ten times as long, a tenth of them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned int kPacketsOfASeed = 500;
constexpr unsigned int kLeastOfAFault = 2;
#else
constexpr unsigned int kPacketsOfASeed = 5000;
constexpr unsigned int kLeastOfAFault = 50;
#endif

// Makes the same packets for the same seed on every machine.
class PacketMaker
{
public:
    explicit PacketMaker(std::uint64_t seed)
        : m_random(seed)
    {}

    PesBytes Next();

private:
    using Maker = PesBytes (PacketMaker::*)();

    std::uint64_t Bits(unsigned int count) { return m_random() % (std::uint64_t{1} << count); }
    std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(m_random() % bound); }
    bool OneIn(std::size_t count) { return Below(count) == 0; }
    unsigned char Byte() { return static_cast<unsigned char>(m_random()); }
    std::string Noise(std::size_t size);
    std::string Text();
    std::string Member();
    std::string MemberWithFields();
    std::string Compressed();
    std::size_t Place(const PesBytes& bytes);

    Pes Builder();
    PesBytes Right() { return Builder().Bytes(); }
    PesBytes WithWrongHeader();
    PesBytes WithLyingCount();
    PesBytes WithLyingLength();
    PesBytes WithUnknownType();
    PesBytes WithChangedBytes();
    PesBytes WithChangedBits();
    PesBytes Cut();
    PesBytes Shifted();
    PesBytes Spliced();
    PesBytes HeaderAndNoise();
    PesBytes NoiseOnly();

    std::mt19937_64 m_random;
};

std::string PacketMaker::Noise(std::size_t size)
{
    std::string noise;
    while (noise.size() < size) {
        noise.push_back(static_cast<char>(Byte()));
    }
    return noise;
}

std::string PacketMaker::Text()
{
    switch (Below(5)) {
    case 0:
        return {};
    case 1:
        return Noise(Below(60));
    case 2:
        return std::string(Below(5000), static_cast<char>(Byte()));
    default:
        return DocumentOf(Below(600), static_cast<unsigned int>(Below(1000)));
    }
}

std::string PacketMaker::Member()
{
    return OneIn(4) ? MemberWithFields() : Deflated(Text(), Wrapper::GZIP, static_cast<int>(Below(10)));
}

// A member with any of the optional fields of RFC 1952, mostly right.
std::string PacketMaker::MemberWithFields()
{
    const std::string plain = Deflated(Text());
    const auto flags = static_cast<unsigned char>(OneIn(8) ? Byte() : Below(0x20));
    std::string member = plain.substr(0, 10);
    member[3] = static_cast<char>(flags);
    if ((flags & 0x04U) != 0) {
        const std::size_t size = OneIn(8) ? Below(0x10000) : Below(300);
        member.push_back(static_cast<char>(size));
        member.push_back(static_cast<char>(size >> 8));
        member += Noise(std::min<std::size_t>(size, 400));
    }
    for (const unsigned int text : {0x08U, 0x10U}) {
        if ((flags & text) != 0) {
            member += std::string(Below(20), 'n') + '\0';
        }
    }
    if ((flags & 0x02U) != 0) {
        const uLong crc =
            crc32(0, reinterpret_cast<const Bytef*>(member.data()), static_cast<uInt>(member.size()));
        member.push_back(static_cast<char>(crc ^ (OneIn(8) ? 1U : 0U)));
        member.push_back(static_cast<char>(crc >> 8));
    }
    return member + plain.substr(10);
}

// What a compressed segment has, right in most cases.
std::string PacketMaker::Compressed()
{
    switch (Below(16)) {
    case 0:
        return Deflated(Text(), Wrapper::ZLIB);
    case 1:
        return Deflated(Text(), Wrapper::NONE);
    case 2:
        return Noise(Below(40));
    case 3:
        return Member() + std::string(Below(30), '\0');
    case 4:
        return Member() + Member();
    case 5:
        return Member() + Noise(Below(30));
    case 6: {
        const std::string member = Member();
        return member.substr(0, Below(member.size()));
    }
    case 7: {
        std::string member = Member();
        member[Below(member.size())] = static_cast<char>(Byte());
        return member;
    }
    default:
        return Member();
    }
}

Pes PacketMaker::Builder()
{
    Pes pes;
    pes.Pts(Bits(33)).MediaTime(Bits(48));
    for (std::size_t left = OneIn(100) ? 255 : 1 + Below(6); left > 0; --left) {
        if (OneIn(2)) {
            pes.Segment(kPlain, Text());
        } else {
            pes.Segment(kCompressed, left > 6 ? Deflated("x") : Compressed());
        }
    }
    if (OneIn(2)) {
        pes.Crc();
    }
    return OneIn(4) ? pes.Trailing(Noise(Below(20))) : pes;
}

// A place in the packet, in the part before the first text as often as behind it.
std::size_t PacketMaker::Place(const PesBytes& bytes)
{
    return Below(OneIn(2) ? std::min<std::size_t>(bytes.size(), 24) : bytes.size());
}

PesBytes PacketMaker::WithWrongHeader()
{
    Pes pes = Builder();
    switch (Below(6)) {
    case 0:
        pes.StartCode(static_cast<std::uint32_t>(OneIn(2) ? Below(4) : Below(1U << 24)));
        break;
    case 1:
        pes.StreamId(Byte());
        break;
    case 2:
        pes.Flags(OneIn(2) ? static_cast<unsigned char>(0) : Byte());
        break;
    case 3:
        pes.TimeFlags(Byte());
        break;
    case 4:
        pes.PacketLength(static_cast<std::uint16_t>(m_random())).HeaderLength(Byte());
        break;
    default:
        pes.PtsField({Byte(), Byte(), Byte(), Byte(), Byte()})
            .TimeFlags(static_cast<unsigned char>(0x80 | Below(64)));
        break;
    }
    return pes.Bytes();
}

PesBytes PacketMaker::WithLyingCount()
{
    return Builder().Count(OneIn(2) ? static_cast<unsigned char>(Below(10)) : Byte()).Bytes();
}

PesBytes PacketMaker::WithLyingLength()
{
    Pes pes = Builder();
    const std::string text = Text();
    const auto length = static_cast<std::uint16_t>(OneIn(2) ? text.size() + Below(5) - 2 : m_random());
    pes.LyingSegment(static_cast<unsigned char>(1 + Below(2)), length, text);
    return OneIn(2) ? pes.Segment(kPlain, Text()).Bytes() : pes.Bytes();
}

PesBytes PacketMaker::WithUnknownType()
{
    return Builder().Segment(Byte(), Text()).Segment(kPlain, Text()).Bytes();
}

PesBytes PacketMaker::WithChangedBytes()
{
    PesBytes bytes = Right();
    for (std::size_t left = 1 + Below(8); left > 0; --left) {
        bytes[Place(bytes)] = Byte();
    }
    return bytes;
}

PesBytes PacketMaker::WithChangedBits()
{
    PesBytes bytes = Right();
    for (std::size_t left = 1 + Below(3); left > 0; --left) {
        bytes[Place(bytes)] ^= static_cast<unsigned char>(1U << Below(8));
    }
    return bytes;
}

PesBytes PacketMaker::Cut()
{
    PesBytes bytes = Right();
    bytes.resize(Place(bytes));
    return bytes;
}

PesBytes PacketMaker::Shifted()
{
    PesBytes bytes = Right();
    const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(Place(bytes));
    if (OneIn(2)) {
        bytes.insert(place, 1 + Below(4), Byte());
    } else {
        bytes.erase(place);
    }
    return bytes;
}

PesBytes PacketMaker::Spliced()
{
    PesBytes bytes = Right();
    const PesBytes other = Right();
    bytes.resize(Place(bytes));
    bytes.insert(bytes.end(), other.begin() + static_cast<std::ptrdiff_t>(Place(other)), other.end());
    return bytes;
}

PesBytes PacketMaker::HeaderAndNoise()
{
    return Pes().Pts(m_random()).Cut(kHeaderSize + Below(60)).Trailing(Noise(60)).Bytes();
}

PesBytes PacketMaker::NoiseOnly()
{
    const std::string noise = Noise(Below(200));
    return PesBytes(noise.begin(), noise.end());
}

PesBytes PacketMaker::Next()
{
    static constexpr std::array<Maker, 16> kMakers = {
        &PacketMaker::Right,           &PacketMaker::Right,
        &PacketMaker::Right,           &PacketMaker::WithWrongHeader,
        &PacketMaker::WithLyingCount,  &PacketMaker::WithLyingCount,
        &PacketMaker::WithLyingLength, &PacketMaker::WithLyingLength,
        &PacketMaker::WithUnknownType, &PacketMaker::WithChangedBytes,
        &PacketMaker::WithChangedBits, &PacketMaker::Cut,
        &PacketMaker::Shifted,         &PacketMaker::Spliced,
        &PacketMaker::HeaderAndNoise,  &PacketMaker::NoiseOnly,
    };
    return (this->*kMakers[Below(kMakers.size())])();
}

Texts WarningsOf(const Texts& said)
{
    Texts warnings;
    for (const std::string& line : said) {
        if (line.front() != 'I') {
            EXPECT_EQ(line.substr(0, 2), "W ");
            warnings.push_back(line.substr(2));
        }
    }
    return warnings;
}

class CPESParserDifferential : public ::testing::TestWithParam<unsigned int>
{};

// A reader would see no difference, and the reason of each refusal is the same.
void Compare(const Parsed& parsed, const PesReading& reading)
{
    EXPECT_EQ(parsed.result, reading.fault == PesFault::NONE);
    EXPECT_EQ(parsed.data.pts, reading.pts);
    EXPECT_EQ(parsed.data.mediaSegmentTime, reading.mediaTime);
    EXPECT_EQ(parsed.data.segmentCount, reading.count);
    EXPECT_TRUE(parsed.data.segments == reading.segments)
        << parsed.data.segments.size() << " and " << reading.segments.size() << " segments";
    EXPECT_EQ(WarningsOf(parsed.said), reading.warnings);
}

} // namespace

TEST_P(CPESParserDifferential, FindsWhatASecondReadingFinds)
{
    PacketMaker maker(GetParam());
    std::array<unsigned int, static_cast<std::size_t>(PesFault::COUNT)> seen = {};
    for (unsigned int i = 0; i < kPacketsOfASeed; ++i) {
        const PesBytes packet = maker.Next();
        const PesReading reading = ReadPes(packet);
        Compare(ParseBytes(packet), reading);
        ++seen[static_cast<std::size_t>(reading.fault)];
        ASSERT_FALSE(HasFailure()) << "seed " << GetParam() << ", packet " << i << ": " << Hex(packet);
    }
    // The packets would tell little if they did not fail in every way, and often not at all.
    for (std::size_t fault = 0; fault < seen.size(); ++fault) {
        EXPECT_GE(seen[fault], kLeastOfAFault) << "fault " << fault;
    }
    EXPECT_GE(seen[static_cast<std::size_t>(PesFault::NONE)], kPacketsOfASeed / 8);
}

INSTANTIATE_TEST_SUITE_P(Seed, CPESParserDifferential, ::testing::Range(1U, kSeeds + 1));

} // namespace TTMLTest

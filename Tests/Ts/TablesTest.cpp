#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "StreamRecorder.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::Pat;
using TTMLHost::Pmt;
using TTMLTest::Bytes;
using TTMLTest::DescriptorBytes;
using TTMLTest::EitSection;
using TTMLTest::Filling;
using TTMLTest::MakeSection;
using TTMLTest::Notes;
using TTMLTest::Number;
using TTMLTest::PatSection;
using TTMLTest::PidWriter;
using TTMLTest::PmtSection;
using TTMLTest::RatingDescriptor;
using TTMLTest::SdtSection;
using TTMLTest::StreamRecorder;
using TTMLTest::TextBytes;
using TTMLTest::TsPacket;
using TTMLTest::TtmlDescriptorBytes;
using TTMLTest::operator+;

constexpr int kPmtPid = 0x100;

// A stream whose tables are sent by hand.
class Tables : public testing::Test
{
protected:
    void SendPat(const Bytes& section) { recorder.Push(pat.Sections(section)); }
    void SendPmt(const Bytes& section) { recorder.Push(pmt.Sections(section)); }
    void SendSdt(const Bytes& section) { recorder.Push(sdt.Sections(section)); }
    void SendEit(const Bytes& section) { recorder.Push(eit.Sections(section)); }

    StreamRecorder recorder;
    PidWriter pat{0};
    PidWriter pmt{kPmtPid};
    PidWriter sdt{0x11};
    PidWriter eit{0x12};
};

TEST_F(Tables, PatListsTheServicesInItsOrder)
{
    SendPat(PatSection(3, {{0, 0x10}, {9, 0x200}, {1, kPmtPid}}));
    ASSERT_EQ(recorder.pats.size(), 1U);
    const Pat& first = recorder.pats[0];
    EXPECT_EQ(first.transportStreamId, 7);
    EXPECT_EQ(first.version, 3);
    ASSERT_EQ(first.services.size(), 2U);
    EXPECT_EQ(first.services[0].id, 9);
    EXPECT_EQ(first.services[0].pmtPid, 0x200);
    EXPECT_EQ(first.services[1].id, 1);
    EXPECT_EQ(first.services[1].pmtPid, kPmtPid);
}

TEST_F(Tables, PatOfSeveralSectionsIsToldOnceWhenItIsWhole)
{
    SendPat(PatSection(0, {{2, 0x200}}, 1, 1));
    EXPECT_TRUE(recorder.pats.empty());
    SendPat(PatSection(0, {{1, 0x100}}, 0, 1));
    ASSERT_EQ(recorder.pats.size(), 1U);
    ASSERT_EQ(recorder.pats[0].services.size(), 2U);
    EXPECT_EQ(recorder.pats[0].services[0].id, 1);
    SendPat(PatSection(0, {{2, 0x200}}, 1, 1));
    EXPECT_EQ(recorder.pats.size(), 1U);
}

TEST_F(Tables, PatThatIsToBeInForceLaterIsNotTold)
{
    SendPat(MakeSection({0x00, 7, 1, false}, Number(1, 2) + Number(0xe100, 2)));
    EXPECT_TRUE(recorder.pats.empty());
}

TEST_F(Tables, PatWithPidsWhereNoPmtCanBeIsReadWithoutThem)
{
    SendPat(PatSection(0, {{1, 0}, {2, 0x0f}, {3, 0x11}, {4, 0x12}, {5, 0x1fff}, {6, 0x1ffe}, {7, 0x10}}));
    ASSERT_EQ(recorder.pats.size(), 1U);
    ASSERT_EQ(recorder.pats[0].services.size(), 2U);
    EXPECT_EQ(recorder.pats[0].services[0].id, 6);
    EXPECT_EQ(recorder.pats[0].services[1].id, 7);
}

TEST_F(Tables, PatWithMoreServicesThanAnyMultiplexHasIsCutOff)
{
    for (int section = 0; section < 16; ++section) {
        std::vector<TTMLTest::PatEntry> entries;
        for (int i = 0; i < 250; ++i) {
            entries.push_back({1 + section * 250 + i, 0x20 + section * 250 + i});
        }
        SendPat(PatSection(0, entries, section, 15));
    }
    ASSERT_EQ(recorder.pats.size(), 1U);
    EXPECT_EQ(recorder.pats[0].services.size(), 1024U);
}

TEST_F(Tables, PmtDescribesTheComponents)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    TTMLTest::TtmlFields fields;
    fields.profiles = {2};
    SendPmt(PmtSection(1, 5, 0x101,
                       {{0x1b, 0x101, {}},
                        {0x06, 0x102, DescriptorBytes(0x56, TextBytes("ger12"))},
                        {0x06, 0x103, TtmlDescriptorBytes(fields)}}));
    ASSERT_EQ(recorder.pmts.size(), 1U);
    const Pmt& first = recorder.pmts[0];
    EXPECT_EQ(first.serviceId, 1);
    EXPECT_EQ(first.version, 5);
    EXPECT_EQ(first.pcrPid, 0x101);
    ASSERT_EQ(first.components.size(), 3U);
    EXPECT_EQ(first.components[0].pid, 0x101);
    EXPECT_EQ(first.components[0].streamType, 0x1b);
    EXPECT_EQ(first.components[0].kind, "video (H.264)");
    EXPECT_FALSE(first.components[0].ttml);
    EXPECT_EQ(first.components[1].kind, "teletext");
    EXPECT_FALSE(first.components[1].ttml);
    EXPECT_EQ(first.components[2].pid, 0x103);
    EXPECT_EQ(first.components[2].kind, "TTML subtitles");
    ASSERT_TRUE(first.components[2].ttml);
    EXPECT_EQ(first.components[2].ttml->language, "eng");
    EXPECT_EQ(first.components[2].ttml->profiles, std::vector<int>{2});
}

TEST_F(Tables, TtmlIsInPrivateDataOnly)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    SendPmt(PmtSection(1, 0, 0x101, {{0x1b, 0x103, TtmlDescriptorBytes({})}}));
    ASSERT_EQ(recorder.pmts.size(), 1U);
    EXPECT_FALSE(recorder.pmts[0].components[0].ttml);
}

TEST_F(Tables, PmtIsToldOnceForEachVersion)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    for (int version = 0; version < 40; ++version) {
        for (int repeats = 0; repeats < 3; ++repeats) {
            SendPmt(PmtSection(1, version % 32, 0x101, {{0x1b, 0x101, {}}}));
        }
    }
    ASSERT_EQ(recorder.pmts.size(), 40U);
    for (int version = 0; version < 40; ++version) {
        EXPECT_EQ(recorder.pmts[static_cast<std::size_t>(version)].version, version % 32);
    }
}

TEST_F(Tables, PmtIsToldOnceThoughPacketsAreMissingBetween)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    const Bytes section = PmtSection(1, 0, 0x101, {{0x1b, 0x101, {}}});
    SendPmt(section);
    pmt.Skip(3);
    SendPmt(section);
    EXPECT_EQ(recorder.pmts.size(), 1U);
    EXPECT_EQ(recorder.stream.Counters().continuityErrors, 1U);
}

TEST_F(Tables, PmtOfTheSameVersionIsToldAgainWhenItSaysOtherThings)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    SendPmt(PmtSection(1, 0, 0x101, {{0x1b, 0x101, {}}}));
    SendPmt(PmtSection(1, 0, 0x101, {{0x1b, 0x102, {}}}));
    ASSERT_EQ(recorder.pmts.size(), 2U);
    EXPECT_EQ(recorder.pmts[1].components[0].pid, 0x102);
}

TEST_F(Tables, PmtOfAServiceThatIsNotInThePatIsNotTold)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    SendPmt(PmtSection(2, 0, 0x101, {}));
    EXPECT_TRUE(recorder.pmts.empty());
}

TEST_F(Tables, PmtsOfSeveralServicesMayShareAPid)
{
    SendPat(PatSection(0, {{1, kPmtPid}, {2, kPmtPid}}));
    // In one packet, even.
    SendPmt(PmtSection(1, 0, 0x101, {}) + PmtSection(2, 4, 0x102, {}));
    ASSERT_EQ(recorder.pmts.size(), 2U);
    EXPECT_EQ(recorder.pmts[0].serviceId, 1);
    EXPECT_EQ(recorder.pmts[1].serviceId, 2);
    EXPECT_EQ(recorder.pmts[1].pcrPid, 0x102);
}

TEST_F(Tables, PmtIsFollowedToAnotherPid)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    SendPmt(PmtSection(1, 0, 0x101, {}));
    SendPat(PatSection(1, {{1, 0x300}}));
    SendPmt(PmtSection(1, 1, 0x101, {}));
    PidWriter moved(0x300);
    recorder.Push(moved.Sections(PmtSection(1, 0, 0x101, {})));
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v0", "pat", "pmt 1 v0"}));
}

TEST_F(Tables, PmtOfAServiceThatStaysIsNotToldAgainByANewPat)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    SendPmt(PmtSection(1, 0, 0x101, {}));
    SendPat(PatSection(1, {{1, kPmtPid}, {2, 0x300}}));
    SendPmt(PmtSection(1, 0, 0x101, {}));
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v0", "pat"}));
}

TEST_F(Tables, PmtOfAServiceThatComesBackIsToldAgain)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    SendPmt(PmtSection(1, 0, 0x101, {}));
    SendPat(PatSection(1, {}));
    SendPmt(PmtSection(1, 0, 0x101, {}));
    SendPat(PatSection(2, {{1, kPmtPid}}));
    SendPmt(PmtSection(1, 0, 0x101, {}));
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v0", "pat", "pat", "pmt 1 v0"}));
}

TEST_F(Tables, SectionsMayBeginAndEndAnywhereInPackets)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    const Bytes first = PmtSection(1, 0, 0x101, {{0x06, 0x102, DescriptorBytes(0x0a, Filling(200))}});
    const Bytes second = PmtSection(1, 1, 0x101, {{0x06, 0x102, DescriptorBytes(0x0a, Filling(100))}});
    for (std::size_t stuffing = 0; stuffing < 180; ++stuffing) {
        StreamRecorder other;
        other.Push(PidWriter(0).Sections(PatSection(0, {{1, kPmtPid}})));
        // The second section begins behind the end of the first, in the same packet.
        const Bytes all = Bytes(stuffing, 0xff) + first + second;
        PidWriter writer(kPmtPid);
        std::size_t at = 0;
        while (at < all.size()) {
            const std::size_t secondAt = stuffing + first.size();
            const bool startsFirst = at == 0;
            const bool startsSecond = !startsFirst && secondAt >= at && secondAt < at + 183;
            const std::size_t room = startsFirst || startsSecond ? 183 : 184;
            Bytes payload(all.begin() + static_cast<std::ptrdiff_t>(at),
                          all.begin() + static_cast<std::ptrdiff_t>(std::min(all.size(), at + room)));
            if (startsFirst) {
                payload = Number(stuffing, 1) + payload;
            } else if (startsSecond) {
                payload = Number(secondAt - at, 1) + payload;
            }
            payload.resize(184, 0xff);
            other.Push(writer.Next(payload, startsFirst || startsSecond).Get());
            at += room;
        }
        ASSERT_EQ(other.notes, (Notes{"pat", "pmt 1 v0", "pmt 1 v1"})) << stuffing;
    }
}

TEST_F(Tables, SectionsWithAWrongCrcAreCountedAndLeftOut)
{
    Bytes wrong = PatSection(0, {{1, kPmtPid}});
    wrong[9] ^= 1;
    SendPat(wrong);
    EXPECT_TRUE(recorder.notes.empty());
    EXPECT_EQ(recorder.stream.Counters().badSections, 1U);
    SendPat(PatSection(0, {{1, kPmtPid}}));
    Bytes wrongPmt = PmtSection(1, 0, 0x101, {});
    wrongPmt.back() ^= 0x80;
    SendPmt(wrongPmt);
    EXPECT_EQ(recorder.stream.Counters().badSections, 2U);
    // That of a PMT that is gone still counts.
    SendPat(PatSection(1, {}));
    EXPECT_EQ(recorder.stream.Counters().badSections, 2U);
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pat"}));
}

TEST_F(Tables, SectionsAreNotPutTogetherOverAGap)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    const Bytes section = PmtSection(1, 0, 0x101, {{0x06, 0x102, Filling(400)}});
    std::vector<Bytes> packets = pmt.Unit(Bytes{0} + section + Bytes(184 * 3 - 1 - section.size(), 0xff));
    ASSERT_EQ(packets.size(), 3U);
    recorder.Push(packets[0] + packets[2]);
    EXPECT_EQ(recorder.notes, (Notes{"pat", "gap 256"}));
    recorder.Push(pmt.Sections(section));
    EXPECT_EQ(recorder.notes, (Notes{"pat", "gap 256", "pmt 1 v0"}));
}

TEST_F(Tables, RepeatedPacketsOfASectionAreTakenOnce)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    const Bytes section = PmtSection(1, 0, 0x101, {{0x06, 0x102, Filling(400)}});
    for (const Bytes& packet : pmt.Unit(Bytes{0} + section + Bytes(184 * 3 - 1 - section.size(), 0xff))) {
        recorder.Push(packet + packet);
    }
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v0"}));
}

TEST_F(Tables, APointerBeyondThePacketIsHarmless)
{
    for (int pointer = 0; pointer < 256; ++pointer) {
        for (const std::size_t size : {1U, 2U, 100U, 184U}) {
            Bytes payload = PatSection(0, {{1, kPmtPid}});
            payload.insert(payload.begin(), static_cast<unsigned char>(pointer));
            payload.resize(size, 0xff);
            recorder.Push(pat.Next(payload, true).Get());
        }
    }
    EXPECT_LE(recorder.notes.size(), 1U);
    SendPat(PatSection(9, {{1, kPmtPid}}));
    EXPECT_EQ(recorder.pats.back().version, 9);
}

// A PMT's payload whose loops end after `size` bytes of it, though their lengths say what they say.
TEST_F(Tables, PmtOfEachLengthIsReadAsFarAsItGoes)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    const Bytes ttml = TtmlDescriptorBytes({});
    const Bytes payload = Number(0xe101, 2) + Number(0xf000, 2) + Bytes{0x1b} + Number(0xe101, 2) +
                          Number(0xf000, 2) + Bytes{0x06} + Number(0xe102, 2) +
                          Number(0xf000 | ttml.size(), 2) + ttml;
    for (std::size_t size = 0; size <= payload.size(); ++size) {
        const Bytes cut(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(size));
        SendPmt(MakeSection({0x02, 1, static_cast<int>(size % 32)}, cut));
        ASSERT_EQ(recorder.pmts.size(), size + 1);
        const Pmt& last = recorder.pmts.back();
        EXPECT_EQ(last.pcrPid, size < 2 ? 0x1fff : 0x101) << size;
        EXPECT_EQ(last.components.size(), size < 9 ? 0U : size < 14 ? 1U : 2U) << size;
        if (size >= 14) {
            EXPECT_EQ(last.components[1].ttml.has_value(), size >= 17) << size;
        }
    }
}

TEST_F(Tables, PmtWhoseLoopsLieAboutTheirLengthIsReadWithin)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    int version = 0;
    for (std::size_t length = 0; length < 4096; length += 7) {
        SendPmt(MakeSection({0x02, 1, version++ % 32},
                            Number(0xe101, 2) + Number(0xf000 | length, 2) + Filling(900)));
        SendPmt(MakeSection({0x02, 1, version++ % 32}, Number(0xe101, 2) + Number(0xf000, 2) + Bytes{0x06} +
                                                           Number(0xe102, 2) + Number(0xf000 | length, 2) +
                                                           Filling(900)));
    }
    EXPECT_EQ(recorder.pmts.size(), static_cast<std::size_t>(version));
}

TEST_F(Tables, SectionsOfEachShortLengthAreHarmless)
{
    for (std::size_t length = 0; length < 20; ++length) {
        for (const int table : {0x00, 0x02, 0x42, 0x4e}) {
            Bytes section =
                Number(static_cast<std::uint64_t>(table), 1) + Number(0xb000 | length, 2) + Filling(length);
            if (length >= 4) {
                section.resize(section.size() - 4);
                section = section + Number(TTMLTest::Crc32(section), 4);
            }
            SendPat(section);
            SendSdt(section);
            SendEit(section);
        }
    }
    SendPat(PatSection(0, {{1, kPmtPid}}));
    EXPECT_EQ(recorder.pats.back().services.size(), 1U);
}

TEST_F(Tables, AnyBytesWithARightCrcAreHarmless)
{
    SendPat(PatSection(0, {{1, kPmtPid}}));
    for (unsigned int round = 0; round < 3000; ++round) {
        const Bytes payload = Filling(round % 900, round);
        SendPmt(MakeSection({0x02, 1, static_cast<int>(round % 32)}, payload));
        SendSdt(MakeSection({0x42, 7, static_cast<int>(round % 32)}, payload));
        SendEit(MakeSection({0x4e, 1, static_cast<int>(round % 32)}, payload));
    }
    EXPECT_EQ(recorder.pmts.size(), 3000U);
    EXPECT_EQ(recorder.sdts.size(), 3000U);
}

TEST_F(Tables, SdtNamesTheServices)
{
    SendSdt(SdtSection(2, {{1, TextBytes("Das Erste")}, {2, TextBytes("\x05M\xfcnchen")}}));
    ASSERT_EQ(recorder.sdts.size(), 1U);
    ASSERT_EQ(recorder.sdts[0].services.size(), 2U);
    EXPECT_EQ(recorder.sdts[0].version, 2);
    EXPECT_EQ(recorder.sdts[0].transportStreamId, 7);
    EXPECT_EQ(recorder.sdts[0].services[0].id, 1);
    EXPECT_EQ(recorder.sdts[0].services[0].name, "Das Erste");
    EXPECT_EQ(recorder.sdts[0].services[1].name, "München");
    SendSdt(SdtSection(2, {{1, TextBytes("Das Erste")}, {2, TextBytes("\x05M\xfcnchen")}}));
    EXPECT_EQ(recorder.sdts.size(), 1U);
}

TEST_F(Tables, SdtOfAnotherStreamIsNotTold)
{
    SendSdt(MakeSection({0x46, 8, 0}, Bytes(3)));
    EXPECT_TRUE(recorder.notes.empty());
}

TEST_F(Tables, RatingIsThatOfThePresentEvent)
{
    SendEit(EitSection(1, 0, 1, RatingDescriptor(15)));
    EXPECT_TRUE(recorder.notes.empty());
    SendEit(EitSection(1, 0, 0, RatingDescriptor(9)));
    EXPECT_EQ(recorder.notes, Notes{"rating 1 12"});
}

TEST_F(Tables, RatingIsToldWhenItChanges)
{
    SendEit(EitSection(1, 0, 0, {}));
    SendEit(EitSection(1, 0, 0, {}));
    SendEit(EitSection(1, 1, 0, RatingDescriptor(9)));
    SendEit(EitSection(2, 1, 0, RatingDescriptor(9)));
    SendEit(EitSection(1, 2, 0, RatingDescriptor(9)));
    SendEit(EitSection(1, 3, 0, RatingDescriptor(0)));
    EXPECT_EQ(recorder.notes, (Notes{"rating 1 none", "rating 1 12", "rating 2 12", "rating 1 none"}));
}

TEST_F(Tables, RatingIsNoneWithoutAnEvent)
{
    SendEit(EitSection(1, 0, 0, RatingDescriptor(9)));
    SendEit(MakeSection({0x4e, 1, 1, true, 0, 1}, Bytes(6)));
    EXPECT_EQ(recorder.notes, (Notes{"rating 1 12", "rating 1 none"}));
}

TEST_F(Tables, RatingOfOtherStreamsAndOfTheScheduleIsNotTold)
{
    for (const int table : {0x4f, 0x50, 0x60}) {
        Bytes section = EitSection(1, 0, 0, RatingDescriptor(9));
        section[0] = static_cast<unsigned char>(table);
        section.resize(section.size() - 4);
        SendEit(section + Number(TTMLTest::Crc32(section), 4));
    }
    EXPECT_TRUE(recorder.notes.empty());
}

TEST_F(Tables, RatingsOfMadeUpServicesAreBounded)
{
    for (int service = 1; service <= 2000; ++service) {
        SendEit(EitSection(service, 0, 0, RatingDescriptor(9)));
    }
    EXPECT_EQ(recorder.notes.size(), 1024U);
}

TEST_F(Tables, ScrambledTablesAreNotRead)
{
    const Bytes payload = Bytes{0} + PatSection(0, {{1, kPmtPid}});
    recorder.Push(
        TsPacket(0).UnitStart().Scrambled().Payload(payload + Bytes(184 - payload.size(), 0xff)).Get());
    EXPECT_TRUE(recorder.notes.empty());
    EXPECT_EQ(recorder.stream.Counters().scrambledPackets, 0U);
}

} // namespace

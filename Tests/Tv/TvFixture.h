#ifndef TV_FIXTURE_H
#define TV_FIXTURE_H

#include <string>

#include <gtest/gtest.h>

#include "HostSettings.h"
#include "TemporaryFolder.h"
#include "TestStream.h"
#include "TvRecorder.h"

namespace TTMLTest {

// Where things are in the streams of these tests.
constexpr int kMap1 = 256;
constexpr int kVideo1 = 257; // with the clock references
constexpr int kDeu = 258;
constexpr int kFra = 259;
constexpr int kMap2 = 512;
constexpr int kVideo2 = 513;
constexpr int kEng = 514;
constexpr std::uint64_t kSecond = 90000;

// "One" with German (EBU-TT-D) and French (IMSC1) subtitles.
inline Map Map1()
{
    return Map(1).Pid(kMap1).Pcr(kVideo1).Video(kVideo1).Ttml(kDeu, "deu", {2}).Ttml(kFra, "fra", {1});
}

// "Two" with English ones of either profile.
inline Map Map2()
{
    return Map(2).Pid(kMap2).Pcr(kVideo2).Video(kVideo2).Ttml(kEng, "eng", {0}, 0x10);
}

// A subtitle packet with a presentation time.
inline PesBytes Subtitle(std::uint64_t pts)
{
    return Pes().Pts(pts).MediaTime(pts / 9).Segment(kPlain, "<tt/>").Crc().Bytes();
}

// The tables of both services.
inline TestStream BothServices()
{
    TestStream stream;
    stream.Pat({{1, kMap1}, {2, kMap2}}).Sdt({{1, "One"}, {2, "Two"}}).Pmt(Map1()).Pmt(Map2());
    return stream;
}

// A second of both services: references at the start, then a packet of each subtitle stream that is due half
// a second later.
inline void AddSecond(TestStream* stream, std::uint64_t start)
{
    stream->Pcr(kVideo1, start).Pcr(kVideo2, start + 7 * kSecond);
    stream->Pes(kDeu, Subtitle(start + kSecond / 2)).Pes(kFra, Subtitle(start + kSecond / 2 + 1));
    stream->Pes(kEng, Subtitle(start + kSecond / 2 + 2));
}

inline TestStream Seconds(unsigned count)
{
    TestStream stream = BothServices();
    for (unsigned second = 0; second < count; ++second) {
        AddSecond(&stream, (10 + second) * kSecond);
    }
    return stream;
}

class TvTest : public ::testing::Test
{
protected:
    void TearDown() override
    {
        TTMLHost::TvClose();
        TTMLHost::TvSetRatingLimit(std::nullopt);
        bool terminated = false;
        TCServiceUtility::IsTvsTerminated(terminated);
        if (terminated) {
            // The next test finds it alive.
            const OpenTv tv(FastInput(File(std::string())), &m_recorder);
        }
    }

    std::string File(const TestStream& stream) { return m_folder.Write("stream.ts", stream.Bytes()); }
    std::string File(const std::string& bytes) { return m_folder.Write("stream.ts", bytes); }

    // Plays a stream as fast as it goes, to its end, with a viewer; returns the text of the end.
    std::string PlayFast(const TestStream& stream, const std::string& service = "",
                         const std::string& language = "")
    {
        auto options = FastInput(File(stream));
        options.service = service;
        options.language = language;
        return Play(options);
    }

    std::string Play(const TTMLHost::TvOptions& options)
    {
        const OpenTv tv(options, &m_recorder);
        const TvViewer viewer(&m_recorder);
        TTMLHost::TvStart();
        std::string error = m_recorder.WaitForEnd();
        m_statistics = TTMLHost::TvGetStatistics();
        return error;
    }

    TemporaryFolder m_folder;
    TvRecorder m_recorder;
    TTMLHost::TvStatistics m_statistics;
};

} // namespace TTMLTest

#endif

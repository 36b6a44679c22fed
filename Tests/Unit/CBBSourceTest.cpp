// The broadband source: its creation and its clock beside the scripted player.

#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "CBBSource.h"
#include "CSourceTask.h"
#include "PrivateAccess.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"

TTML_EXPOSE(TaskOfBBSource, TTML::CTTMLSource, TTML::CSourceTask*, m_pSourceTask)

namespace TTMLTest {

namespace {

using TTML::CBBSource;

constexpr long long kUntouched = -777;

struct SourceDeleter
{
    void operator()(CBBSource* source) const { source->Destroy(); }
};
using SourcePointer = std::unique_ptr<CBBSource, SourceDeleter>;

// The lines of the source's own file.
Texts OwnLines()
{
    return LinesOfFiles({"CBBSource.cpp"});
}

class BroadbandSource : public ::testing::Test
{
protected:
    // Asks for the time, expecting the result; returns what stands in the output then.
    long long Ask(int expectedResult)
    {
        long long time = kUntouched;
        ScriptedLog::Clear();
        EXPECT_EQ(m_source->GetVideoCurrentTime(&time), expectedResult);
        return time;
    }
    static Texts Calls() { return Journal::Instance().Calls("player"); }
    static void ExpectPosition(long long position)
    {
        ScriptedPlayer::ExpectPosition(PlayerAnswer::Value(position));
    }
    static void ExpectLive(long long flag) { ScriptedPlayer::ExpectStreamingInfo(PlayerAnswer::Value(flag)); }
    static void ExpectBaseTime(long long time) { ScriptedPlayer::ExpectBaseTime(PlayerAnswer::Value(time)); }

    SourcePointer m_source{CBBSource::Create(ScriptedPlayer::Handle(), "agent/1.0")};
};

// Creation.

TEST_F(BroadbandSource, IsCreatedWithItsUserAgent)
{
    ASSERT_NE(m_source, nullptr);
    EXPECT_EQ(OwnLines(), (Texts{"Create: Start", "CBBSource: ", "Create: end"}));
    EXPECT_EQ(ScriptedLog::CountOf("User agent =agent/1.0"), 1U);
    EXPECT_EQ(Calls(), Texts{});
}

TEST_F(BroadbandSource, IsDestroyedWithoutAWordToThePlayer)
{
    ScriptedLog::Clear();
    m_source.reset();
    EXPECT_EQ(OwnLines(), (Texts{"~CBBSource: "}));
    EXPECT_EQ(Calls(), Texts{});
}

TEST_F(BroadbandSource, IsNotCreatedWithoutAPlayerOrAUserAgent)
{
    for (const auto& [player, agent] : {std::pair<player_s*, const char*>{nullptr, "agent"},
                                        {ScriptedPlayer::Handle(), nullptr},
                                        {nullptr, nullptr}}) {
        ScriptedLog::Clear();
        const FaultInjection plain(Call::NEW, FaultInjection::kAll);
        const FaultInjection nothrow(Call::NEW_NOTHROW, FaultInjection::kAll);
        const CBBSource* const source = CBBSource::Create(player, agent);
        const unsigned int allocations = plain.Calls() + nothrow.Calls();
        EXPECT_EQ(source, nullptr);
        EXPECT_EQ(allocations, 0U);
        EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), (Texts{"pMMPlayer/pUserAgent is/are null"}));
        EXPECT_EQ(OwnLines(), (Texts{"Create: Start", "Create: pMMPlayer/pUserAgent is/are null"}));
    }
}

TEST_F(BroadbandSource, IsCreatedWithAnEmptyUserAgent)
{
    const SourcePointer source(CBBSource::Create(ScriptedPlayer::Handle(), ""));
    EXPECT_NE(source, nullptr);
}

TEST_F(BroadbandSource, IsNotCreatedWithoutMemory)
{
    ScriptedLog::Clear();
    const CBBSource* source = nullptr;
    {
        const FaultInjection noMemory(Call::NEW_NOTHROW);
        source = CBBSource::Create(ScriptedPlayer::Handle(), "agent");
    }
    EXPECT_EQ(source, nullptr);
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), (Texts{"pCBBSource null"}));
    EXPECT_EQ(OwnLines(), (Texts{"Create: Start", "Create: pCBBSource null"}));
}

TEST_F(BroadbandSource, IsCreatedEvenWithoutItsTask)
{
    ScriptedLog::Clear();
    {
        const FaultInjection noMemory(Call::NEW_NOTHROW, 2);
        m_source.reset(CBBSource::Create(ScriptedPlayer::Handle(), "agent"));
        EXPECT_EQ(noMemory.Failed(), 1U);
    }
    ASSERT_NE(m_source, nullptr);
    EXPECT_EQ(Private<TaskOfBBSource>(static_cast<TTML::CTTMLSource&>(*m_source)), nullptr);
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"m_pSourceTask null"}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), (Texts{"m_pSourceTask is NULL"}));
    EXPECT_EQ(ScriptedLog::CountOf({"Create", "end"}), 1U);
    m_source->OnStart();
    m_source->PlayTrack(1, "", nullptr);
    EXPECT_EQ(m_source->GetSubtitleMode(), 66);
    ExpectPosition(5);
    ExpectLive(0);
    EXPECT_EQ(Ask(0), 5);
}

TEST_F(BroadbandSource, IsABroadbandSource)
{
    EXPECT_EQ(m_source->GetSubtitleMode(), 66);
}

TEST_F(BroadbandSource, SendsItsUserAgent)
{
    ClientRecorder client;
    ScriptedFileManager::ExpectFetch("http://host/a.ttml", FetchAnswer::Document("<tt/>"));
    m_source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
    m_source->OnStart();
    m_source->PlayTrack(1, "http://host/a.ttml", "eng");
    m_source->OnStop();
    EXPECT_EQ(client.Events(), (Texts{"0 <tt/> @Source", "1 out of band @Source"}));
    EXPECT_EQ(Journal::Instance().Calls("file manager").at(2),
              "#1.Fetch(\"http://host/a.ttml\", \"agent/1.0\", 0) = \"<tt/>\"");
    EXPECT_EQ(Calls(), Texts{});
}

TEST_F(BroadbandSource, KeepsACopyOfItsUserAgent)
{
    std::string agent = "agent/2.0";
    m_source.reset(CBBSource::Create(ScriptedPlayer::Handle(), agent.c_str()));
    agent = "changed..";
    ScriptedFileManager::ExpectFetch("u", FetchAnswer::Failure());
    m_source->OnStart();
    m_source->PlayTrack(1, "u", nullptr);
    m_source->OnStop();
    EXPECT_EQ(Journal::Instance().Calls("file manager").at(2), "#1.Fetch(\"u\", \"agent/2.0\", 0) = null");
}

TEST_F(BroadbandSource, DeliversSamplesOfThePlayer)
{
    ClientRecorder client;
    m_source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
    m_source->OnStart();
    m_source->PlayTrack(1, nullptr, "eng");
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "<tt/>";
    m_source->OnSubtitleData(sample, extra);
    client.WaitForEvents(2);
    m_source->StopTrack();
    m_source->OnStop();
    EXPECT_EQ(client.CountOf(0), 1U);
    EXPECT_EQ(client.Events().back(), "2 @Source");
}

// The clock.

TEST_F(BroadbandSource, AnswersWithThePositionOfStoredContent)
{
    ExpectPosition(12345);
    ExpectLive(0);
    EXPECT_EQ(Ask(0), 12345);
    EXPECT_EQ(Calls(), (Texts{"player_get_play_position_ex() = 0, 12345",
                              "player_get_adaptive_streaming_info(19) = 0, 0"}));
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
}

TEST_F(BroadbandSource, AnswersRelativeToTheBaseTimeOfALiveStream)
{
    ExpectPosition(10000);
    ExpectLive(1);
    ExpectBaseTime(7000);
    EXPECT_EQ(Ask(0), 3000);
    EXPECT_EQ(Calls(),
              (Texts{"player_get_play_position_ex() = 0, 10000",
                     "player_get_adaptive_streaming_info(19) = 0, 1", "player_get_base_time() = 0, 7000"}));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I Live DASH stream: CurrentTime:[10000] BaseTime:[7000]"}));
}

TEST_F(BroadbandSource, TakesAnyFlagButZeroForLive)
{
    for (const int flag : {1, 2, 127, 128, 255}) {
        ExpectPosition(10);
        ExpectLive(flag);
        ExpectBaseTime(1);
        EXPECT_EQ(Ask(0), 9) << flag;
    }
}

TEST_F(BroadbandSource, AnswersWithANegativeTimeBeforeTheBaseTime)
{
    ExpectPosition(1000);
    ExpectLive(1);
    ExpectBaseTime(1700000000000LL);
    EXPECT_EQ(Ask(0), 1000 - 1700000000000LL);
    EXPECT_EQ(ScriptedLog::Substance(),
              (Texts{"I Live DASH stream: CurrentTime:[1000] BaseTime:[1700000000000]"}));
}

TEST_F(BroadbandSource, CalculatesWithSixtyFourBits)
{
    constexpr long long kMaximum = std::numeric_limits<long long>::max();
    ExpectPosition(kMaximum);
    ExpectLive(1);
    ExpectBaseTime(1);
    EXPECT_EQ(Ask(0), kMaximum - 1);
    ExpectPosition(-1);
    ExpectLive(1);
    ExpectBaseTime(kMaximum);
    EXPECT_EQ(Ask(0), std::numeric_limits<long long>::min());
}

TEST_F(BroadbandSource, RefusesANullOutput)
{
    ScriptedLog::Clear();
    EXPECT_EQ(m_source->GetVideoCurrentTime(nullptr), 1);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W pTimeInMS is NULL"}));
    EXPECT_EQ(Calls(), Texts{});
}

TEST_F(BroadbandSource, FailsWithoutAPosition)
{
    ScriptedPlayer::ExpectPosition(PlayerAnswer::Error(-22));
    EXPECT_EQ(Ask(1), kUntouched);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W GetPosition failed with error code: -22"}));
    EXPECT_EQ(Calls(), (Texts{"player_get_play_position_ex() = -22"}));
}

TEST_F(BroadbandSource, LetsThePlayerWriteThePositionStraightIntoTheOutput)
{
    ScriptedPlayer::ExpectPosition(PlayerAnswer::ErrorAfterWriting(3, 99));
    EXPECT_EQ(Ask(1), 99);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W GetPosition failed with error code: 3"}));
}

TEST_F(BroadbandSource, KeepsThePositionWhenTheStreamingInformationFails)
{
    ExpectPosition(500);
    ScriptedPlayer::ExpectStreamingInfo(PlayerAnswer::ErrorAfterWriting(7, 1));
    EXPECT_EQ(Ask(1), 500);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Get Adaptive Streaming Info failed with error code: 7"}));
    EXPECT_EQ(Calls().size(), 2U);
}

TEST_F(BroadbandSource, ClearsTheLiveFlagBeforeItAsks)
{
    ExpectPosition(500);
    // Success without a value: the flag stays as the source has set it.
    ScriptedPlayer::ExpectStreamingInfo(PlayerAnswer{0, std::nullopt});
    EXPECT_EQ(Ask(0), 500);
}

TEST_F(BroadbandSource, ClearsTheBaseTimeBeforeItAsks)
{
    ExpectPosition(500);
    ExpectLive(1);
    ScriptedPlayer::ExpectBaseTime(PlayerAnswer{0, std::nullopt});
    EXPECT_EQ(Ask(0), 500);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I Live DASH stream: CurrentTime:[500] BaseTime:[0]"}));
}

TEST_F(BroadbandSource, KeepsTheAbsolutePositionWhenTheBaseTimeFails)
{
    ExpectPosition(500);
    ExpectLive(1);
    ScriptedPlayer::ExpectBaseTime(PlayerAnswer::ErrorAfterWriting(-1, 400));
    EXPECT_EQ(Ask(1), 500);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Get BaseTime failed with error code: -1"}));
}

TEST_F(BroadbandSource, KeepsNothingBetweenQuestions)
{
    ScriptedPlayer::ExpectPosition(PlayerAnswer::Error(1));
    EXPECT_EQ(Ask(1), kUntouched);
    ExpectPosition(500);
    ExpectLive(1);
    ExpectBaseTime(100);
    EXPECT_EQ(Ask(0), 400);
    ExpectPosition(600);
    ExpectLive(0);
    EXPECT_EQ(Ask(0), 600);
}

TEST_F(BroadbandSource, AnswersSeveralThreadsAtOnce)
{
    constexpr unsigned int kRounds = 200;
    ScriptedPlayer::ExpectPosition(PlayerAnswer::Value(10), 2 * kRounds);
    ScriptedPlayer::ExpectStreamingInfo(PlayerAnswer::Value(1), 2 * kRounds);
    ScriptedPlayer::ExpectBaseTime(PlayerAnswer::Value(4), 2 * kRounds);
    const auto ask = [&] {
        for (unsigned int i = 0; i < kRounds; ++i) {
            long long time = 0;
            EXPECT_EQ(m_source->GetVideoCurrentTime(&time), 0);
            EXPECT_EQ(time, 6);
        }
    };
    RunTogether({ask, ask});
}

} // namespace

} // namespace TTMLTest

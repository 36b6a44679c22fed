// Sources that are driven by several threads at once, and values that belong together.

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "CBBSource.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

using TTML::CBBSource;
using TTML::TTMLRawDataInfo;

constexpr char kUrl[] = "http://host/a.ttml";

// What two threads touch without a lock keeps the size of the plain value.
static_assert(std::atomic<int>::is_always_lock_free && sizeof(std::atomic<int>) == sizeof(int));
static_assert(std::atomic<bool>::is_always_lock_free && sizeof(std::atomic<bool>) == sizeof(bool));
static_assert(std::atomic<unsigned int>::is_always_lock_free &&
              sizeof(std::atomic<unsigned int>) == sizeof(unsigned int));

struct SourceDeleter
{
    void operator()(CBBSource* source) const { source->Destroy(); }
};
using SourcePointer = std::unique_ptr<CBBSource, SourceDeleter>;

SourcePointer NewSource()
{
    return SourcePointer(
        CBBSource::Create(ScriptedPlayer::Handle(), "a user agent that is kept on the heap"));
}

// Commands of several threads.

TEST(SourceConcurrency, AnOnStartIsFollowedByABarrier)
{
    for (int round = 0; round < 50; ++round) {
        ClientRecorder client;
        const SourcePointer source = NewSource();
        source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
        source->OnStart();
        source->PlayTrack(1, "", nullptr);
        source->OnStop();
        ASSERT_EQ(client.Events(), (Texts{"1 in band @Source"})) << "in round " << round;
    }
}

TEST(SourceConcurrency, EveryCallerReturnsAndNothingRunsAfterTheLastInvalidation)
{
    constexpr int kRounds = 15;
    constexpr int kCalls = 10;
    for (int round = 0; round < kRounds; ++round) {
        ClientRecorder client;
        const SourcePointer source = NewSource();
        source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
        source->OnStart();
        const auto repeatedly = [](const std::function<void()>& call) {
            return [call] {
                for (int i = 0; i < kCalls; ++i) {
                    call();
                }
            };
        };
        RunTogether({
            repeatedly([&] { source->Invalidate(); }),
            repeatedly([&] { source->Invalidate(); }),
            repeatedly([&] { source->OnStop(); }),
            repeatedly([&] {
                source->OnStart();
                source->PlayTrack(1, "", "descriptor");
            }),
            repeatedly([&] {
                source->PauseTrack(true);
                source->StopTrack();
                source->ResumeTrack();
            }),
            repeatedly([&] {
                TTML::TTMLSubtitleExtraData extra;
                char sample[] = "a sample whose text is kept on the heap";
                source->OnSubtitleData(sample, extra);
            }),
        });
        source->Invalidate();
        WaitForThreads("Inband", 0);
        EXPECT_EQ(client.Codes().back(), 5);
        const unsigned int told = static_cast<unsigned int>(client.Events().size());
        source->PlayTrack(1, "", nullptr);
        source->OnStop();
        EXPECT_EQ(client.Events().size(), told) << "an invalidated source plays";
    }
}

TEST(SourceConcurrency, WorksAfterAStorm)
{
    ClientRecorder client;
    const SourcePointer source = NewSource();
    source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
    source->OnStart();
    const auto storm = [&] {
        for (int i = 0; i < 40; ++i) {
            source->PlayTrack(1, "", nullptr);
            source->StopTrack();
            source->OnStop();
        }
    };
    const auto invalidations = [&] {
        for (int i = 0; i < 40; ++i) {
            source->Invalidate();
            source->OnStart();
        }
    };
    RunTogether({storm, storm, invalidations});
    source->Invalidate();
    source->OnStart();
    client.Clear();
    source->PlayTrack(1, "", nullptr);
    source->OnStop();
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "<tt/>";
    source->OnSubtitleData(sample, extra);
    client.WaitForEvents(2);
    EXPECT_EQ(client.Events(), (Texts{"1 in band @Source", "0 <tt/> @Inband"}));
}

TEST(SourceConcurrency, AClientMayStopTheTrackFromItsDataCallback)
{
    ClientRecorder client;
    const SourcePointer source = NewSource();
    source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
    source->OnStart();
    client.On(0, [&] {
        source->StopTrack();
        source->PlayTrack(2, "", nullptr);
    });
    source->PlayTrack(1, "", nullptr);
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "<tt/>";
    source->OnSubtitleData(sample, extra);
    client.WaitForCode(1, 2);
    EXPECT_EQ(client.CountOf(2), 1U);
    EXPECT_EQ(client.Events().back(), "1 in band @Source");
}

// Values that belong together.

// Two clients, each of which knows the user data that belongs to it.
struct PairedClient
{
    static void First(int code, void* data) { Check(code, data, &s_first); }
    static void Second(int code, void* data) { Check(code, data, &s_second); }

    static void Check(int code, void* data, const int* own)
    {
        const void* userData = data;
        if (code == TTML::CALLBACK_DATA) {
            const std::unique_ptr<TTMLRawDataInfo> record(static_cast<TTMLRawDataInfo*>(data));
            userData = record->userData;
        }
        s_strangers += userData == own ? 0 : 1;
        ++s_calls;
    }

    static int s_first;
    static int s_second;
    static std::atomic<int> s_strangers;
    static std::atomic<int> s_calls;
};
int PairedClient::s_first;
int PairedClient::s_second;
std::atomic<int> PairedClient::s_strangers{0};
std::atomic<int> PairedClient::s_calls{0};

TEST(SourceConcurrency, ACallbackNeverMeetsTheUserDataOfAnother)
{
    constexpr int kRounds = 500;
    const SourcePointer source = NewSource();
    PairedClient::s_strangers = 0;
    PairedClient::s_calls = 0;
    source->RegisterCallBack(&PairedClient::First, &PairedClient::s_first);
    RunTogether({[&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->RegisterCallBack(&PairedClient::Second, &PairedClient::s_second);
                         source->RegisterCallBack(&PairedClient::First, &PairedClient::s_first);
                     }
                 },
                 [&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->OnShow();
                         source->OnSubtitleData(new TTMLRawDataInfo);
                     }
                 }});
    EXPECT_EQ(PairedClient::s_strangers, 0);
    EXPECT_EQ(PairedClient::s_calls, 2 * kRounds);
}

TEST(SourceConcurrency, TextsAreNeverTorn)
{
    constexpr int kRounds = 100;
    const std::string texts[] = {std::string(100, 'a'), std::string(3000, 'b')};
    ClientRecorder client;
    const SourcePointer source = NewSource();
    source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
    source->t_Initialize(texts[0].c_str());
    source->PlayTrack(1, "", texts[0].c_str());
    for (int i = 0; i < kRounds; ++i) {
        ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    }
    source->OnStart();
    source->OnStop();
    RunTogether({[&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->t_Initialize(texts[i % 2].c_str());
                         source->SetDNTOption(i % 3);
                     }
                 },
                 [&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->PlayTrack(1, kUrl, texts[i % 2].c_str());
                         source->OnStop();
                     }
                 },
                 [&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->OnSubtitleData(new TTMLRawDataInfo);
                     }
                 }});
    for (const auto& record : client.Records()) {
        EXPECT_TRUE(record.trackDescriptor == texts[0] || record.trackDescriptor == texts[1]);
    }
    EXPECT_EQ(client.CountOf(0), 2U * kRounds);
    for (const auto& call : Journal::Instance().Calls("file manager")) {
        if (call.find(".Fetch(") != std::string::npos) {
            EXPECT_TRUE(call.find("\"" + texts[0] + "\"") != std::string::npos ||
                        call.find("\"" + texts[1] + "\"") != std::string::npos);
        }
    }
}

} // namespace

} // namespace TTMLTest

// The broadcast base: the recorder's signals, and the questions that derived sources ask.

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "BroadcastFixtures.h"

namespace TTMLTest {

namespace {

constexpr char kIsTerminated[] = "IsTvsTerminated() = 0";
constexpr char kWasTerminated[] = "IsTvsTerminated() = 1";

void Terminate()
{
    ScriptedTvService::Change([](TvScene& scene) { scene.terminated = true; });
}

// The recorder's signals.

using RecorderSignals = BaseSourceTest;

TEST_F(RecorderSignals, OfAPlayStateSubscribe)
{
    EXPECT_EQ(StoryOf([] { EXPECT_EQ(ScriptedRecorder::Signal(3, 1), 1U); }),
              (Texts{"t_PvrSignalCbHandler(3)", "I PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, new state:[1]",
                     "t_SubscribeTTML()"}));
}

TEST_F(RecorderSignals, OfAPlayStateUnsubscribe)
{
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::Signal(3, 24); }),
              (Texts{"t_PvrSignalCbHandler(3)", "I PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, new state:[24]",
                     "t_UnSubscribeTTML()"}));
}

TEST_F(RecorderSignals, OfOtherPlayStatesAreOnlyLogged)
{
    for (const int state : {0, 2, 23, 25, -1}) {
        EXPECT_EQ(StoryOf([&] { ScriptedRecorder::Signal(3, state); }),
                  (Texts{"t_PvrSignalCbHandler(3)",
                         "I PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, new state:[" + std::to_string(state) + "]"}));
    }
}

TEST_F(RecorderSignals, OfTrickModeStartASeek)
{
    m_source->m_time = 123456789012345;
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::Signal(16, 1); }),
              (Texts{"t_PvrSignalCbHandler(16)", "I Trickmode started", "GetVideoCurrentTime()",
                     "SeekStart(123456789012345)"}));
}

TEST_F(RecorderSignals, OfTrickModeReachTheClientAsASeek)
{
    Start();
    StoryOfSignal(60);
    m_source->m_time = 5000;
    StoryOfAll([] { ScriptedRecorder::Signal(16); });
    EXPECT_EQ(m_client.Events().back(), "6 5000 @Source");
}

TEST_F(RecorderSignals, OfTrickModeSeekEvenWithoutATime)
{
    m_source->m_timeResult = 1;
    m_source->m_time = -7;
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::Signal(16); }).back(), "SeekStart(-7)");
}

TEST_F(RecorderSignals, OfOtherTypesAreOnlyLogged)
{
    for (const int type : {0, 1, 2, 4, 15, 17, -3}) {
        const std::string number = std::to_string(type);
        EXPECT_EQ(StoryOf([&] { ScriptedRecorder::Signal(type, 1); }),
                  (Texts{"t_PvrSignalCbHandler(" + number + ")", "I Signal not handled:[" + number + "]"}));
    }
}

TEST_F(RecorderSignals, AreHandledOnTheRecordersThread)
{
    std::string thread;
    m_source->During("t_SubscribeTTML()", [&] { thread = ThisThreadName(); });
    RunOnThread("Recorder", [] { ScriptedRecorder::Signal(3, 1); });
    EXPECT_EQ(thread, "Recorder");
}

TEST_F(RecorderSignals, WithoutASourceAreRefused)
{
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::LateSignal(nullptr, 3, 1); }), (Texts{"E data is NULL."}));
    EXPECT_EQ(ScriptedLog::CountOf({"m_PVRSignalCb", "data is NULL.", "CBCSource.cpp"}), 1U);
}

TEST_F(RecorderSignals, EnterAndLeaveTheirHandlers)
{
    EXPECT_EQ(TraceOf([] { ScriptedRecorder::Signal(9); }),
              (Texts{"m_PVRSignalCb: Enter", "t_PvrSignalCbHandler: Enter",
                     "t_PvrSignalCbHandler: Signal not handled:[9]", "t_PvrSignalCbHandler: Exit",
                     "m_PVRSignalCb: Exit"}));
}

// Whether this process is the recorder's player.

class PvrPlayerMode : public BaseSourceTest
{
protected:
    static std::string Pid() { return std::to_string(getpid()); }
    bool Ask()
    {
        Forget();
        return m_source->t_IsPvrPlayerMode();
    }
};

TEST_F(PvrPlayerMode, IsToldByThePackageName)
{
    ScriptedAppInfo::SetPackage("org.oxnar.pvrplayer");
    EXPECT_TRUE(Ask());
    EXPECT_EQ(Story(), (Texts{"aul_app_get_pkgname_bypid(own, 255) = 0, \"org.oxnar.pvrplayer\"",
                              "I Got package name: [org.oxnar.pvrplayer] for pid [" + Pid() + "]"}));
}

TEST_F(PvrPlayerMode, LooksAtNineteenCharacters)
{
    for (const auto& [name, isPlayer] :
         std::vector<std::pair<std::string, bool>>{{"org.oxnar.pvrplayer2", true},
                                                   {"org.oxnar.pvrplayer.lite", true},
                                                   {"org.oxnar.pvrplaye", false},
                                                   {"org.oxnar.pvrplayeR", false},
                                                   {"org.oxnar.player", false},
                                                   {" org.oxnar.pvrplayer", false},
                                                   {"", false},
                                                   {"org.oxnar.pvrplayer" + std::string(235, 'x'), true},
                                                   {std::string(254, 'x'), false}}) {
        ScriptedAppInfo::SetPackage(name);
        EXPECT_EQ(Ask(), isPlayer) << name;
        EXPECT_EQ(Story().back(), "I Got package name: [" + name + "] for pid [" + Pid() + "]");
    }
}

TEST_F(PvrPlayerMode, IsNotWithoutAName)
{
    for (const int result : {-1, 1}) {
        ScriptedAppInfo::SetPackageFailure(result);
        EXPECT_FALSE(Ask());
        EXPECT_EQ(Story(), (Texts{"aul_app_get_pkgname_bypid(own, 255) = " + std::to_string(result),
                                  "W Failed to get package name for pid=[" + Pid() + "]!"}));
    }
}

// The input source.

class InputSource : public BaseSourceTest
{
protected:
    bool Ask()
    {
        Forget();
        return m_source->t_IsSourceTypeSupported();
    }
};

TEST_F(InputSource, IsSupportedByItsType)
{
    int session = 0;
    for (const auto& [type, supported] : std::vector<std::pair<int, bool>>{
             {0, true}, {29, true}, {1, false}, {28, false}, {30, false}, {-1, false}}) {
        const std::string number = std::to_string(++session);
        ScriptedTvService::Change([&, &answer = type](TvScene& scene) { scene.sourceType = answer; });
        EXPECT_EQ(Ask(), supported) << type;
        EXPECT_EQ(Story(), (Texts{kIsTerminated, "CreateSourceControl(1, 0) = 0, #" + number,
                                  "#" + number + ".GetCurrentSourceInfo() = 1, " + std::to_string(type),
                                  "I GetCurrentSourceInfo returns=[" + std::to_string(type) + "]",
                                  "Destroy(#" + number + ")"}));
    }
}

TEST_F(InputSource, ThatCannotBeAskedCountsAsSupported)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.sourceType = 5; });
    for (const int result : {0, -1}) {
        ScriptedTvService::Answer(TvCall::GET_CURRENT_SOURCE_INFO, TvAnswer::Failure(result));
        EXPECT_TRUE(Ask());
        const Texts story = Story();
        ASSERT_EQ(story.size(), 5U);
        EXPECT_EQ(story.at(3), "W GetCurrentSourceInfo failed!");
        EXPECT_EQ(story.at(4).substr(0, 7), "Destroy");
    }
    EXPECT_FALSE(Ask());
}

TEST_F(InputSource, IsNotSupportedWithoutTheSourceControl)
{
    for (const TvAnswer answer : {TvAnswer::Failure(-1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_SOURCE_CONTROL, answer);
        EXPECT_FALSE(Ask());
        EXPECT_EQ(Story(), (Texts{kIsTerminated,
                                  "CreateSourceControl(1, 0) = " + std::to_string(*answer.result) + ", null",
                                  "W CreateSourceControl failed!"}));
    }
}

TEST_F(InputSource, IsNotSupportedOnceTheServiceHasEnded)
{
    Terminate();
    EXPECT_FALSE(Ask());
    EXPECT_EQ(Story(), (Texts{kWasTerminated, "W TVS is terminated!"}));
}

// The current service.

class ServiceInfo : public BaseSourceTest
{
protected:
    bool Ask(int attribute)
    {
        m_data = {};
        Forget();
        return m_source->t_GetServiceInfo(attribute, m_data);
    }

    TCServiceData m_data;
};

TEST_F(ServiceInfo, IsAskedForOneAttribute)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.attributes[156] = {77, 88}; });
    EXPECT_TRUE(Ask(156));
    EXPECT_EQ(Story(), (Texts{kIsTerminated, "CreateServiceNavigation(1, 0) = 0, #1", "Fetch(156)",
                              "GetNavigationCriteria(0, -1, -1, -1, [156])", "#1.GetTvMode() = 1, 5",
                              "I GetTvMode = 5", "#1.GetCurrentServiceInfo(5, 0, -1, -1, -1, [156]) = 1",
                              "Destroy(#1)"}));
    ASSERT_NE(m_data.Find(156), nullptr);
    EXPECT_EQ(m_data.Find(156)->integer, 77);
    EXPECT_EQ(m_data.Find(156)->number, 88U);
}

TEST_F(ServiceInfo, IsThereWithoutTheAttributeToo)
{
    EXPECT_TRUE(Ask(156));
    EXPECT_EQ(m_data.Find(156), nullptr);
}

TEST_F(ServiceInfo, FailsOnceTheServiceHasEnded)
{
    Terminate();
    EXPECT_FALSE(Ask(12));
    EXPECT_EQ(Story(), (Texts{kWasTerminated, "W TVS is terminated!"}));
}

TEST_F(ServiceInfo, FailsWithoutNavigation)
{
    for (const TvAnswer answer : {TvAnswer::Failure(9), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_SERVICE_NAVIGATION, answer);
        EXPECT_FALSE(Ask(12));
        EXPECT_EQ(Story(),
                  (Texts{kIsTerminated,
                         "CreateServiceNavigation(1, 0) = " + std::to_string(*answer.result) + ", null",
                         "I CreateServiceNavigation failed!"}));
    }
}

TEST_F(ServiceInfo, FailsWithoutATvMode)
{
    int session = 0;
    for (const int result : {0, -1}) {
        const std::string number = "#" + std::to_string(++session);
        ScriptedTvService::Answer(TvCall::GET_TV_MODE, TvAnswer::Failure(result));
        EXPECT_FALSE(Ask(12));
        EXPECT_EQ(Story(), (Texts{kIsTerminated, "CreateServiceNavigation(1, 0) = 0, " + number, "Fetch(12)",
                                  "GetNavigationCriteria(0, -1, -1, -1, [12])",
                                  number + ".GetTvMode() = " + std::to_string(result), "W GetTvMode failed",
                                  "Destroy(" + number + ")"}));
    }
}

TEST_F(ServiceInfo, FailsWithoutAnAnswer)
{
    for (const int result : {0, -1}) {
        ScriptedTvService::Answer(TvCall::GET_CURRENT_SERVICE_INFO, TvAnswer::Failure(result));
        EXPECT_FALSE(Ask(12));
        const Texts story = Story();
        ASSERT_EQ(story.size(), 9U);
        EXPECT_EQ(story.at(7), "W GetCurrentServiceInfo failed!!");
        EXPECT_EQ(story.at(8).substr(0, 7), "Destroy");
    }
}

} // namespace

} // namespace TTMLTest

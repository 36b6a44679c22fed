#include <atomic>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "Gate.h"
#include "TestThread.h"
#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

// Threads of this process that are the service's.
unsigned ServiceThreads()
{
    unsigned count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(entry.path() / "comm");
        std::string name;
        if (std::getline(file, name) && name.compare(0, 2, "Tv") == 0) {
            ++count;
        }
    }
    return count;
}

std::string AllAnswers()
{
    bool terminated = false;
    TCServiceUtility::IsTvsTerminated(terminated);
    return (terminated ? "terminated, " : "alive, ") + CurrentServiceText() + ", " + CurrentSubtitleText() +
           ", " + StcText() + ", " + LockText() + ", " + RatingText();
}

class Lifecycle : public TvTest
{};

TEST_F(Lifecycle, WithoutAnInputTheServiceLivesAndHasNothing)
{
    EXPECT_EQ(AllAnswers(), "alive, none, none, none, open, none");
    EXPECT_EQ(ServiceThreads(), 0U);
    TTMLHost::TvStart();
    TTMLHost::TvClose();
    TTMLHost::TvSettle();
    std::string error;
    EXPECT_FALSE(TTMLHost::TvTune("1", &error));
    EXPECT_EQ(error, "Cannot tune to service '1': there is no input; open one");
    EXPECT_EQ(ServiceThreads(), 0U);
}

TEST_F(Lifecycle, OpeningNeedsAListenerASpeedAndNoOtherInput)
{
    const std::string input = File(Seconds(1));
    std::string error;
    EXPECT_FALSE(TTMLHost::TvOpen(FastInput("a.ts"), nullptr, &error));
    EXPECT_EQ(error, "Cannot open 'a.ts': nobody listens; give a listener");
    for (const double speed :
         {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(TvOpenError(InputAtSpeed("a.ts", speed)),
                  "Cannot play 'a.ts': the speed is not above 0; give 1 for normal speed");
    }
    EXPECT_FALSE(TTMLHost::TvOpen(FastInput("/nowhere.ts"), &m_recorder, nullptr))
        << "nobody needs the error";
    const OpenTv tv(FastInput(input), &m_recorder);
    EXPECT_EQ(TvOpenError(FastInput(input)),
              "Cannot open '" + input + "': the TV service has an input already; close that first");
    const std::atomic<bool> cancel{true};
    TTMLHost::TvClose();
    auto options = FastInput(input);
    options.cancel = &cancel;
    EXPECT_EQ(TvOpenError(options),
              "Cannot open '" + input + "': it was cancelled; start it again when it is wanted");
}

TEST_F(Lifecycle, NothingIsReadBeforeTheStart)
{
    const OpenTv tv(FastInput(File(Seconds(1))), &m_recorder);
    TTMLHost::TvSettle();
    EXPECT_EQ(m_recorder.Events(), Texts());
    EXPECT_EQ(TTMLHost::TvGetStatistics().packets, 0U);
    EXPECT_EQ(AllAnswers(), "alive, none, none, none, open, none");
}

TEST_F(Lifecycle, ASecondStartDoesNothing)
{
    const OpenTv tv(FastInput(File(Seconds(1))), &m_recorder);
    TTMLHost::TvStart();
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.Events(), (Texts{"told 59", "told 60", "end: "}));
}

TEST_F(Lifecycle, NoThreadIsLeftAfterTheClose)
{
    std::string error;
    ASSERT_TRUE(TTMLHost::TvOpen(InputAtSpeed(File(Seconds(3)), 1.0), &m_recorder, &error)) << error;
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitFor("told 60"));
    EXPECT_EQ(ServiceThreads(), 2U);
    TTMLHost::TvClose();
    EXPECT_EQ(ServiceThreads(), 0U);
    EXPECT_EQ(m_recorder.EventsLike("end"), Texts()) << "it was closed before its end";
}

TEST_F(Lifecycle, ClosesInAnyState)
{
    const std::string input = File(Seconds(3));
    for (const char* const state :
         {"told 59", "signal 60", "told 60", "pes 258 at 945000", "delivered", "end: "}) {
        m_recorder.Clear();
        m_recorder.Hold(state);
        std::string error;
        ASSERT_TRUE(TTMLHost::TvOpen(FastInput(input), &m_recorder, &error)) << error;
        const TvViewer viewer(&m_recorder);
        TTMLHost::TvStart();
        ASSERT_TRUE(m_recorder.WaitHeld(state));
        {
            Gate closes("about to close");
            const TestThread other([&] {
                closes.Open();
                TTMLHost::TvClose();
                m_recorder.Note("closed");
            });
            ASSERT_TRUE(closes.Wait());
            m_recorder.Release(state);
        }
        EXPECT_EQ(m_recorder.Events().back(), "closed") << "after " << state;
        EXPECT_EQ(ServiceThreads(), 0U) << "after " << state;
    }
}

TEST_F(Lifecycle, OpensAgainAfterTheClose)
{
    const std::string input = File(Seconds(2));
    for (int round = 0; round < 3; ++round) {
        m_recorder.Clear();
        EXPECT_EQ(Play(FastInput(input)), "");
        EXPECT_EQ(m_recorder.EventsLike("pes").size(), 2U);
        EXPECT_EQ(AllAnswers(), "alive, none, none, none, open, none");
        EXPECT_EQ(TTMLHost::TvGetStatistics().packets, Seconds(2).Packets()) << "of the last input";
    }
}

TEST_F(Lifecycle, AfterTheTerminationEveryQueryFailsAndNothingIsDelivered)
{
    {
        const OpenTv tv(FastInput(File(Seconds(3))), &m_recorder);
        const TvViewer viewer(&m_recorder);
        std::string answers;
        int source = -1;
        int mode = -1;
        m_recorder.When("pes 258 at 1035000", [&] {
            TTMLHost::TvTerminate();
            answers = AllAnswers();
            TTMLHost::TvActivate();
            EXPECT_FALSE(TTMLHost::TvTune("2", nullptr));
            TVServiceAPI::ISourceControl* control = nullptr;
            EXPECT_EQ(TVServiceAPI::CreateSourceControl(PROFILE_MAIN, 0, &control), 0);
            EXPECT_EQ(control->GetCurrentSourceInfo(source), 0);
            TVServiceAPI::Destroy(control);
            TVServiceAPI::IServiceNavigation* navigation = nullptr;
            EXPECT_EQ(TVServiceAPI::CreateServiceNavigation(PROFILE_MAIN, 0, &navigation), 0);
            EXPECT_EQ(navigation->GetTvMode(mode), 0);
            TVServiceAPI::Destroy(navigation);
        });
        TTMLHost::TvStart();
        EXPECT_EQ(m_recorder.WaitForEnd(), "");
        TTMLHost::TvSettle();
        EXPECT_EQ(answers, "terminated, none, none, none, none, none");
        EXPECT_EQ(source, -1);
        EXPECT_EQ(mode, -1);
        EXPECT_EQ(m_recorder.EventsLike("pes"), (Texts{"pes 258 at 945000", "pes 258 at 1035000"}));
        EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60"}));
    }
    bool terminated = false;
    TCServiceUtility::IsTvsTerminated(terminated);
    EXPECT_TRUE(terminated) << "a closed input does not bring it back";
    EXPECT_EQ(TvOpenError(FastInput(File(Seconds(1)))), "it was opened");
    TCServiceUtility::IsTvsTerminated(terminated);
    EXPECT_FALSE(terminated);
}

// The objects that the boundary hands out.

TEST_F(Lifecycle, SessionsAreOfTheMainScreenOnly)
{
    const auto other = static_cast<EProfile>(2);
    TVServiceAPI::IDataControl* control = nullptr;
    EXPECT_NE(TVServiceAPI::CreateDataControl(other, 0, &control), 0);
    EXPECT_EQ(control, nullptr);
    EXPECT_EQ(TVServiceAPI::ServiceDataAux(other, 0), nullptr);
    EXPECT_NE(TVServiceAPI::CreateDataControl(PROFILE_MAIN, 0, nullptr), 0);
    TVServiceAPI::Destroy(nullptr);
    EXPECT_EQ(CTVServiceSubscriber::m_profile, PROFILE_MAIN);
    EXPECT_EQ(CTVServiceSubscriber::m_group, 0);
}

TEST_F(Lifecycle, TheSourceIsBroadcastAndNoAtsc3)
{
    TVServiceAPI::ISourceControl* source = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateSourceControl(PROFILE_MAIN, 0, &source), 0);
    int type = -1;
    EXPECT_EQ(source->GetCurrentSourceInfo(type), 1);
    EXPECT_EQ(type, 0);
    TVServiceAPI::Destroy(source);
    TVServiceAPI::IATSC3DataControl* atsc3 = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateATSC3DataControl(PROFILE_MAIN, 0, &atsc3), 0);
    std::string mpd = "untouched";
    EXPECT_EQ(atsc3->GetMpdData(1, mpd), 0);
    EXPECT_EQ(mpd, "untouched");
    TVServiceAPI::Destroy(atsc3);
    TVServiceAPI::IDataControl* control = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateDataControl(PROFILE_MAIN, 0, &control), 0);
    TCCaption caption;
    EXPECT_EQ(control->GetCurrentCaption(caption), 0);
    TVServiceAPI::Destroy(control);
}

TEST_F(Lifecycle, ServiceInfoHasWhatIsAskedForAndKnown)
{
    TVServiceAPI::IServiceNavigation* navigation = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateServiceNavigation(PROFILE_MAIN, 0, &navigation), 0);
    int mode = -1;
    EXPECT_EQ(navigation->GetTvMode(mode), 1);
    TCCriteriaHelper helper;
    helper.Fetch(SERVICE_ATTRIBUTE_ATSC3);
    helper.Fetch(4711);
    const auto all = TCNavigationModeHelper::GetNavigationCriteria(helper, 0, -1, -1, -1);
    const auto limited = TCNavigationModeHelper::GetNavigationCriteria(helper, 0, 3, -1, -1);
    const auto radio = TCNavigationModeHelper::GetNavigationCriteria(helper, 1, -1, -1, -1);
    TCServiceData none;
    EXPECT_EQ(navigation->GetCurrentServiceInfo(mode, all, none), 0) << "nothing is tuned";
    EXPECT_FALSE(none.hasAttributes);
    TCServiceData data;
    m_recorder.When("pes 258 at 945000", [&] {
        EXPECT_EQ(navigation->GetCurrentServiceInfo(mode, all, data), 1);
        EXPECT_EQ(navigation->GetCurrentServiceInfo(mode + 1, all, none), 0);
        EXPECT_EQ(navigation->GetCurrentServiceInfo(mode, limited, none), 0);
        EXPECT_EQ(navigation->GetCurrentServiceInfo(mode, radio, none), 0);
    });
    EXPECT_EQ(PlayFast(Seconds(1)), "");
    TVServiceAPI::Destroy(navigation);
    EXPECT_TRUE(data.hasAttributes);
    ASSERT_EQ(data.attributes.size(), 1U);
    ASSERT_NE(data.Find(SERVICE_ATTRIBUTE_ATSC3), nullptr);
    EXPECT_EQ(data.Find(SERVICE_ATTRIBUTE_ATSC3)->integer, 0);
    EXPECT_FALSE(none.hasAttributes);
}

} // namespace

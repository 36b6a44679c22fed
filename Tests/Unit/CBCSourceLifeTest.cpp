// The broadcast base: its construction and destruction, and the signal subscriptions.

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "BroadcastFixtures.h"
#include "ITTMLSourceControl.h"

namespace TTMLTest {

namespace {

constexpr char kRegister[] = "svc_pvr_register_signal_cb_in_list() = 0";
constexpr char kUnregister[] = "svc_pvr_unregister_signal_cb_in_list() = 0";

struct Signal
{
    int number;
    std::string name;
};

void PrintTo(const Signal& signal, std::ostream* stream)
{
    *stream << signal.name;
}

const std::vector<Signal>& Signals()
{
    static const std::vector<Signal> signals = {{59, "SIGNAL_TUNE_START"},
                                                {60, "SIGNAL_TUNE_SUCCESS"},
                                                {62, "SIGNAL_SERVICE_LOCKED"},
                                                {75, "SIGNAL_TVS_ACTIVATE"},
                                                {76, "SIGNAL_TVS_DEACTIVATE"}};
    return signals;
}

// The calls, and the complaint right behind the one that fails, if one does.
// Pins: SIGNAL_TUNE_START Subscription Unsuccessful!!
// Pins: SIGNAL_TUNE_START Unsubscription Unsuccessful!!
// Pins: SIGNAL_TUNE_SUCCESS Subscription Unsuccessful!!
// Pins: SIGNAL_TUNE_SUCCESS Unsubscription Unsuccessful!!
// Pins: SIGNAL_SERVICE_LOCKED Subscription Unsuccessful!!
// Pins: SIGNAL_SERVICE_LOCKED Unsubscription Unsuccessful!!
// Pins: SIGNAL_TVS_ACTIVATE Subscription Unsuccessful!!
// Pins: SIGNAL_TVS_ACTIVATE Unsubscription Unsuccessful!!
// Pins: SIGNAL_TVS_DEACTIVATE Subscription Unsuccessful!!
// Pins: SIGNAL_TVS_DEACTIVATE Unsubscription Unsuccessful!!
Texts CallsFor(const std::string& name, int failing = 0, int result = 0)
{
    Texts story;
    for (const auto& signal : Signals()) {
        const bool fails = signal.number == failing;
        story.push_back("#1." + name + "(" + std::to_string(signal.number) +
                        ", 1, 0) = " + std::to_string(fails ? result : 1));
        if (fails) {
            story.push_back("W " + signal.name + (name == "Subscribe" ? " Subscription" : " Unsubscription") +
                            " Unsuccessful!!");
        }
    }
    return story;
}

Texts Joined(Texts first, const Texts& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The lines and calls of the source's own, behind the function that writes them.
Texts LifeStory()
{
    Texts story;
    for (const auto& line : ScriptedLog::Lines()) {
        if (line.file != "CTask.cpp" && line.file != "CMutex.cpp" && line.file != "CInbandData.cpp" &&
            line.file != "CSourceTask.cpp") {
            story.push_back(line.function + ": " + line.message);
        }
    }
    return story;
}

// Construction and destruction.

class BroadcastLife : public BroadcastTest
{};

TEST_F(BroadcastLife, BeginsWithTheRegistrationAtTheRecorder)
{
    auto source = std::make_unique<TestSource>();
    EXPECT_EQ(Story(), (Texts{kRegister}));
    EXPECT_EQ(LifeStory(), (Texts{"CTTMLSource: ", "CBCSource: "}));
    EXPECT_EQ(ScriptedRecorder::Registrations(), 1U);
    Forget();
    source.reset();
    EXPECT_EQ(Story(), (Texts{kUnregister}));
    EXPECT_EQ(LifeStory(), (Texts{"~CBCSource: ", "~CTTMLSource: "}));
    EXPECT_EQ(ScriptedRecorder::Registrations(), 0U);
}

TEST_F(BroadcastLife, SaysItsLineBeforeItTalksToTheRecorder)
{
    auto source = std::make_unique<TestSource>();
    source.reset();
    Texts order;
    for (const auto& entry : Journal::Instance().Entries()) {
        if (entry.service == "recorder" || entry.file == "CBCSource.cpp") {
            order.push_back(entry.text);
        }
    }
    EXPECT_EQ(order, (Texts{"I ", kRegister, "I ", kUnregister}));
}

TEST_F(BroadcastLife, GoesOnWithoutTheRecorder)
{
    ScriptedRecorder::FailRegistration(-3);
    auto source = std::make_unique<TestSource>();
    EXPECT_EQ(Story(),
              (Texts{"svc_pvr_register_signal_cb_in_list() = -3", "W PVR signal registration failed."}));
    EXPECT_EQ(StoryOf([&] { source->OnShow(); }).back(), "t_SubscribeTTML()");
    Forget();
    source.reset();
    EXPECT_EQ(Story(),
              (Texts{"svc_pvr_unregister_signal_cb_in_list() = -1", "W PVR signal unregistration failed."}));
}

TEST_F(BroadcastLife, TakesAnyResultButZeroOfTheRecorderForAFailure)
{
    ScriptedRecorder::FailRegistration(1);
    const TestSource source;
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"PVR signal registration failed."}));
}

TEST_F(BroadcastLife, EndsAllTheSameWhenTheRecorderKeepsItsCallback)
{
    auto source = std::make_unique<TestSource>();
    void* const address = source.get();
    ScriptedRecorder::FailRemoval(2);
    Forget();
    source.reset();
    EXPECT_EQ(Story(),
              (Texts{"svc_pvr_unregister_signal_cb_in_list() = 2", "W PVR signal unregistration failed."}));
    EXPECT_EQ(LifeStory(),
              (Texts{"~CBCSource: ", "~CBCSource: PVR signal unregistration failed.", "~CTTMLSource: "}));
    // What comes now comes to an address where no source is any more.
    ScriptedRecorder::LateSignal(address, PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
}

TEST_F(BroadcastLife, NeedsNoClientNorThread)
{
    TestSource source;
    source.OnShow();
    source.OnHide();
    source.PlayTrack(0, nullptr, nullptr);
    source.StopTrack();
    EXPECT_EQ(StateFlags(source), kActive);
}

TEST_F(BroadcastLife, ForwardsPlayAndStop)
{
    TestSource source;
    source.RegisterCallBack(&BroadcastTest::ClientCallback, m_client.UserData());
    source.OnStart();
    Forget();
    auto& control = static_cast<TTML::ITTMLSourceControl&>(source);
    control.PlayTrack(7, nullptr, "eng");
    Drain(source);
    control.StopTrack();
    Drain(source);
    EXPECT_EQ(Story(), (Texts{"PlayTrack(7, null, \"eng\")", "client 1", "StopTrack()", "client 2"}));
    EXPECT_EQ(ScriptedLog::CountOf({"PlayTrack", "Enter", "CBCSource.cpp"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"PlayTrack", "Exit", "CBCSource.cpp"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"StopTrack", "Enter", "CBCSource.cpp"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"StopTrack", "Exit", "CBCSource.cpp"}), 1U);
}

// Registration.

class BroadcastRegistration : public BaseSourceTest, public ::testing::WithParamInterface<Signal>
{
protected:
    // Answers the call for the parameter's signal.
    void FailAtTheSignal(TvCall call, int result)
    {
        for (const auto& signal : Signals()) {
            if (signal.number == GetParam().number) {
                break;
            }
            ScriptedTvService::Answer(call, TvAnswer::Usual());
        }
        ScriptedTvService::Answer(call, TvAnswer::Failure(result));
    }
};

using BroadcastRegistrations = BaseSourceTest;

TEST_F(BroadcastRegistrations, CreatesASubscriberAndSubscribesToFiveSignals)
{
    EXPECT_EQ(StoryOf([&] { m_source->t_RegisterTVSCallbacks(); }),
              Joined({"I Creating TVS signal subscriber.", "CreateSignalSubscriber() = 0, #1"},
                     CallsFor("Subscribe")));
    EXPECT_NE(m_source->Subscriber(), nullptr);
    for (const auto& signal : Signals()) {
        EXPECT_EQ(ScriptedTvService::SubscribedTo(signal.number), (std::vector<void*>{m_source.get()}));
    }
}

TEST_F(BroadcastRegistrations, KeepTheSubscriberThatIsThere)
{
    m_source->t_RegisterTVSCallbacks();
    EXPECT_EQ(StoryOf([&] { m_source->t_RegisterTVSCallbacks(); }), CallsFor("Subscribe"));
}

TEST_F(BroadcastRegistrations, EndWithoutASubscriber)
{
    for (const TvAnswer answer : {TvAnswer::Failure(1), TvAnswer::Failure(-1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_SIGNAL_SUBSCRIBER, answer);
        EXPECT_EQ(StoryOf([&] { m_source->t_RegisterTVSCallbacks(); }),
                  (Texts{"I Creating TVS signal subscriber.",
                         "CreateSignalSubscriber() = " + std::to_string(*answer.result) + ", null",
                         "W Error in creating signal subscriber!"}));
        EXPECT_EQ(m_source->Subscriber(), nullptr);
    }
    EXPECT_EQ(StoryOf([&] { m_source->t_RegisterTVSCallbacks(); }).size(), 7U) << "it can be tried again";
}

TEST_P(BroadcastRegistration, GoesOnWhenOneSubscriptionFails)
{
    for (const int result : {0, -1}) {
        FailAtTheSignal(TvCall::SUBSCRIBE, result);
        const Texts story = StoryOf([&] { m_source->t_RegisterTVSCallbacks(); });
        const Texts expected = CallsFor("Subscribe", GetParam().number, result);
        EXPECT_EQ(Texts(story.end() - static_cast<std::ptrdiff_t>(expected.size()), story.end()), expected);
    }
    EXPECT_EQ(ScriptedTvService::SubscribedTo(GetParam().number), std::vector<void*>{});
}

TEST_P(BroadcastRegistration, TakesAnyPositiveResultForSuccess)
{
    ScriptedTvService::Answer(TvCall::SUBSCRIBE, TvAnswer::Result(2), 5);
    m_source->t_RegisterTVSCallbacks();
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE, TvAnswer::Result(3), 5);
    m_source->t_UnregisterTVSCallbacks();
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), Texts{});
}

// The end of the registration.

TEST_F(BroadcastRegistrations, AreTakenBackInTheSameOrder)
{
    m_source->t_RegisterTVSCallbacks();
    EXPECT_EQ(StoryOf([&] { m_source->t_UnregisterTVSCallbacks(); }),
              Joined(CallsFor("Unsubscribe"), {"DestroySignalSubscriber() = 0, #1"}));
    EXPECT_EQ(m_source->Subscriber(), nullptr);
}

TEST_F(BroadcastRegistrations, CannotBeTakenBackWithoutASubscriber)
{
    EXPECT_EQ(StoryOf([&] { m_source->t_UnregisterTVSCallbacks(); }),
              (Texts{"W Signal subscriber is null!"}));
    m_source->t_RegisterTVSCallbacks();
    m_source->t_UnregisterTVSCallbacks();
    EXPECT_EQ(StoryOf([&] { m_source->t_UnregisterTVSCallbacks(); }),
              (Texts{"W Signal subscriber is null!"}));
}

TEST_P(BroadcastRegistration, IsTakenBackEvenWhenOneUnsubscriptionFails)
{
    for (const int result : {0, -5}) {
        m_source->t_RegisterTVSCallbacks();
        FailAtTheSignal(TvCall::UNSUBSCRIBE, result);
        Texts expected = CallsFor("Unsubscribe", GetParam().number, result);
        const Texts story = StoryOf([&] { m_source->t_UnregisterTVSCallbacks(); });
        ASSERT_EQ(story.size(), 7U);
        EXPECT_EQ(story.back().substr(0, 29), "DestroySignalSubscriber() = 0");
        if (result == 0) {
            EXPECT_EQ(Texts(story.begin(), story.end() - 1), expected);
        }
        EXPECT_EQ(m_source->Subscriber(), nullptr);
    }
}

TEST_F(BroadcastRegistrations, ForgetASubscriberThatCannotBeDestroyed)
{
    m_source->t_RegisterTVSCallbacks();
    ScriptedTvService::Answer(TvCall::DESTROY_SIGNAL_SUBSCRIBER, TvAnswer::Failure(-2));
    EXPECT_EQ(StoryOf([&] { m_source->t_UnregisterTVSCallbacks(); }),
              Joined(CallsFor("Unsubscribe"),
                     {"DestroySignalSubscriber() = -2, #1", "W Error in destroying signal subscriber!"}));
    EXPECT_EQ(m_source->Subscriber(), nullptr);
    Forget();
    m_source.reset();
    EXPECT_EQ(Story(), (Texts{kUnregister}));
}

TEST_F(BroadcastRegistrations, ComeBackWithANewSubscriber)
{
    m_source->t_RegisterTVSCallbacks();
    m_source->t_UnregisterTVSCallbacks();
    const Texts story = StoryOf([&] { m_source->t_RegisterTVSCallbacks(); });
    ASSERT_EQ(story.size(), 7U);
    EXPECT_EQ(story.at(1), "CreateSignalSubscriber() = 0, #2");
    EXPECT_EQ(story.back(), "#2.Subscribe(76, 1, 0) = 1");
}

INSTANTIATE_TEST_SUITE_P(Each, BroadcastRegistration, ::testing::ValuesIn(Signals()),
                         [](const auto& instance) { return instance.param.name; });

} // namespace

} // namespace TTMLTest

// The scripted TV service, recorder and settings themselves: what they answer, and that they do not let pass
// what they should not.

#include <array>
#include <string>
#include <vector>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "PlatformAppInfo.h"
#include "PlatformRecorder.h"
#include "PlatformSettings.h"
#include "PlatformSystemInfo.h"
#include "PlatformTvService.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"

using namespace TTMLTest;

namespace {

using Calls = std::vector<std::string>;

int Count(ESignalType /*signal*/, EProfile /*profile*/, unsigned short /*index*/, TSSignalData /*data*/,
          void* counter)
{
    ++*static_cast<int*>(counter);
    return 1;
}

int CountToo(ESignalType signal, EProfile profile, unsigned short index, TSSignalData data, void* counter)
{
    return Count(signal, profile, index, data, counter);
}

void CountPacket(TSPESData& /*packet*/, void* counter)
{
    ++*static_cast<int*>(counter);
}

void CountRecorder(ps_signal_s /*signal*/, void* counter)
{
    ++*static_cast<int*>(counter);
}

void CountNotice(_keynode_t* /*node*/, void* counter)
{
    ++*static_cast<int*>(counter);
}

class ScriptedTv : public ::testing::Test
{
protected:
    ScriptedTv() { ScriptedTvService::Show({}); }

    static TVServiceAPI::ISignalSubscriber* Subscriber(TSSignalCallback callback = &Count)
    {
        TVServiceAPI::ISignalSubscriber* subscriber = nullptr;
        EXPECT_EQ(TVServiceAPI::CreateSignalSubscriber(callback, &subscriber), 0);
        return subscriber;
    }
    static TVServiceAPI::IDataControl* Control()
    {
        TVServiceAPI::IDataControl* control = nullptr;
        EXPECT_EQ(TVServiceAPI::CreateDataControl(PROFILE_MAIN, 0, &control), 0);
        return control;
    }

    int m_count = 0;
    int m_other = 0;
};

TEST_F(ScriptedTv, RefusesCallsWithoutAScene)
{
    ScriptedTvService::Reset();
    bool terminated = false;
    EXPECT_NONFATAL_FAILURE(TCServiceUtility::IsTvsTerminated(terminated), "shows no scene");
    TVServiceAPI::IAVControl* control = nullptr;
    EXPECT_NONFATAL_FAILURE(TVServiceAPI::CreateAVControl(PROFILE_MAIN, 0, &control), "shows no scene");
    EXPECT_EQ(control, nullptr);
    EXPECT_NONFATAL_FAILURE(CTVServiceSubscriber("a").SubscribePES(&CountPacket, nullptr), "shows no scene");
}

TEST_F(ScriptedTv, RefusesObjectsAfterTheirReleaseAndMissesThemBefore)
{
    auto* const control = Control();
    unsigned long long stc = 0;
    EXPECT_NONFATAL_FAILURE(ScriptedTvService::Verify(), "object #1 of the TV service is not released");
    TVServiceAPI::Destroy(control);
    ScriptedTvService::Verify();
    EXPECT_NONFATAL_FAILURE(control->GetSTCCount(stc), "the object is released");
    EXPECT_NONFATAL_FAILURE(TVServiceAPI::Destroy(control), "the object is released");
    EXPECT_NONFATAL_FAILURE(control->Release(), "for Destroy() alone");
}

TEST_F(ScriptedTv, RefusesObjectsOnTwoThreadsAtOnce)
{
    auto* const control = Control();
    Gate inside("the first is inside");
    Gate goOn("it may go on");
    bool first = true;
    ScriptedTvService::During(TvCall::GET_STC_COUNT, [&] {
        if (first) {
            first = false;
            inside.Open();
            goOn.Wait();
        }
    });
    unsigned long long stc = 0;
    const TestThread thread([&] { control->GetSTCCount(stc); });
    inside.Wait();
    unsigned long long other = 0;
    EXPECT_NONFATAL_FAILURE(control->GetSTCCount(other), "another thread is using the object");
    goOn.Open();
    thread.WaitUntilDone();
    ScriptedTvService::During(TvCall::GET_STC_COUNT, nullptr);
    TVServiceAPI::Destroy(control);
}

TEST_F(ScriptedTv, AnswersOnceAsItWasTold)
{
    ScriptedTvService::Answer(TvCall::CREATE_DATA_CONTROL, TvAnswer::Usual());
    ScriptedTvService::Answer(TvCall::CREATE_DATA_CONTROL, TvAnswer::Null());
    auto* const control = Control();
    EXPECT_EQ(Control(), nullptr);
    ScriptedTvService::Change([](TvScene& scene) { scene.stc = 7; });
    unsigned long long stc = 99;
    ScriptedTvService::Answer(TvCall::GET_STC_COUNT, TvAnswer::Failure(0));
    EXPECT_EQ(control->GetSTCCount(stc), 0);
    EXPECT_EQ(stc, 99U);
    EXPECT_EQ(control->GetSTCCount(stc), 1);
    EXPECT_EQ(stc, 7U);
    TVServiceAPI::Destroy(control);
    TVServiceAPI::Destroy(nullptr);
    EXPECT_EQ(Journal::Instance().Calls("tv service"),
              (Calls{"CreateDataControl(1, 0) = 0, #1", "CreateDataControl(1, 0) = 0, null",
                     "#1.GetSTCCount() = 0", "#1.GetSTCCount() = 1, 7", "Destroy(#1)", "Destroy(null)"}));
    ScriptedTvService::Answer(TvCall::GET_RATING, TvAnswer::Failure(0));
    EXPECT_NONFATAL_FAILURE(ScriptedTvService::Verify(), "nobody asked for");
    ScriptedTvService::Reset();
}

TEST_F(ScriptedTv, FailsEveryQuestionOnceItHasEnded)
{
    auto* const control = Control();
    ScriptedTvService::Change([](TvScene& scene) { scene.terminated = true; });
    unsigned long long stc = 99;
    EXPECT_EQ(control->GetSTCCount(stc), 0);
    TVServiceAPI::IRatingUtil* utility = nullptr;
    EXPECT_EQ(TVServiceAPI::CreateRatingUtil(&utility), -1);
    EXPECT_EQ(utility, nullptr);
    TVServiceAPI::Destroy(control);
}

TEST_F(ScriptedTv, CallsTheSubscribersOfASignal)
{
    auto* const subscriber = Subscriber();
    EXPECT_EQ(subscriber->Subscribe(SIGNAL_TUNE_START, &m_count, PROFILE_MAIN, 0, &Count), 1);
    EXPECT_EQ(ScriptedTvService::Signal(59), (std::vector<int>{1}));
    EXPECT_EQ(ScriptedTvService::Signal(60), std::vector<int>{});
    EXPECT_EQ(m_count, 1);
    EXPECT_EQ(subscriber->Unsubscribe(SIGNAL_TUNE_START, PROFILE_MAIN, 0, &Count), 1);
    EXPECT_EQ(subscriber->Unsubscribe(SIGNAL_TUNE_START, PROFILE_MAIN, 0, &Count), 0);
    EXPECT_NONFATAL_FAILURE(subscriber->Subscribe(SIGNAL_TUNE_START, nullptr, PROFILE_MAIN, 0, &CountToo),
                            "another callback");
    EXPECT_NONFATAL_FAILURE(ScriptedTvService::Verify(), "not released");
    EXPECT_EQ(TVServiceAPI::DestroySignalSubscriber(&Count), 0);
    EXPECT_NONFATAL_FAILURE(TVServiceAPI::DestroySignalSubscriber(&Count), "no subscriber");
    EXPECT_NONFATAL_FAILURE(subscriber->Unsubscribe(SIGNAL_TUNE_START, PROFILE_MAIN, 0, &Count),
                            "the subscriber is destroyed");
    ScriptedTvService::LateSignal(59, &m_count);
    EXPECT_EQ(m_count, 2);
}

TEST_F(ScriptedTv, DestroysASubscriberWithoutSubscriptionsFirstThenTheOldest)
{
    auto* const oldest = Subscriber();
    auto* const idle = Subscriber();
    oldest->Subscribe(SIGNAL_TUNE_START, &m_count, PROFILE_MAIN, 0, &Count);
    auto* const youngest = Subscriber();
    youngest->Subscribe(SIGNAL_TUNE_START, &m_other, PROFILE_MAIN, 0, &Count);
    EXPECT_NE(idle, nullptr);
    TVServiceAPI::DestroySignalSubscriber(&Count);
    EXPECT_EQ(Journal::Instance().Calls("tv service").back(), "DestroySignalSubscriber() = 0, #2");
    TVServiceAPI::DestroySignalSubscriber(&Count);
    EXPECT_EQ(Journal::Instance().Calls("tv service").back(), "DestroySignalSubscriber() = 0, #1");
    EXPECT_EQ(ScriptedTvService::SubscribedTo(59), (std::vector<void*>{&m_other}));
    TVServiceAPI::DestroySignalSubscriber(&Count);
}

TEST_F(ScriptedTv, WaitsForTheCallInsideButNotInsideIt)
{
    Gate inside("the callback is inside");
    Gate goOn("it may go on");
    struct Gates
    {
        Gate& inside;
        Gate& goOn;
    } gates = {inside, goOn};
    CTVServiceSubscriber subscriber("a");
    subscriber.SubscribePES(
        [](TSPESData&, void* data) {
            static_cast<Gates*>(data)->inside.Open();
            static_cast<Gates*>(data)->goOn.Wait();
        },
        &gates);
    const TestThread service([] { ScriptedTvService::Packet(std::vector<unsigned char>{}); });
    inside.Wait();
    {
        const BlockedThread remover([&] { subscriber.UnsubscribePES(); });
        EXPECT_FALSE(remover.IsDone());
        goOn.Open();
        remover.WaitUntilDone();
    }
    service.WaitUntilDone();
    subscriber.SubscribePES(
        [](TSPESData&, void* data) { static_cast<CTVServiceSubscriber*>(data)->UnsubscribePES(); },
        &subscriber);
    EXPECT_EQ(ScriptedTvService::Packet(std::vector<unsigned char>{}), 1U);
    EXPECT_EQ(ScriptedTvService::Packet(std::vector<unsigned char>{}), 0U);
}

TEST_F(ScriptedTv, KnowsPacketSubscriptionsByTheirNameAlone)
{
    CTVServiceSubscriber subscriber("ttml");
    subscriber.SubscribePES(&CountPacket, &m_count);
    subscriber.SubscribePES(&CountPacket, &m_other);
    subscriber.SubscribePES(&CountPacket, &m_other);
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 3U);
    EXPECT_EQ(ScriptedTvService::Packet(std::vector<unsigned char>{}), 2U) << "the third does not double";
    subscriber.UnsubscribePES();
    subscriber.UnsubscribePES();
    EXPECT_EQ(ScriptedTvService::Packet(std::vector<unsigned char>{}), 2U) << "all while one is left";
    EXPECT_NONFATAL_FAILURE(ScriptedTvService::Verify(), "1 subscriptions to packets");
    subscriber.UnsubscribePES();
    EXPECT_EQ(ScriptedTvService::Packet(std::vector<unsigned char>{}), 0U);
    EXPECT_EQ(m_count, 2);
    EXPECT_EQ(m_other, 2);
    EXPECT_NONFATAL_FAILURE(subscriber.UnsubscribePES(), "no subscription of that name");
}

TEST_F(ScriptedTv, ReportsAnExceptionThatLeavesACallback)
{
    CTVServiceSubscriber subscriber("ttml");
    subscriber.SubscribePES([](TSPESData&, void*) { throw std::bad_alloc(); }, nullptr);
    EXPECT_NONFATAL_FAILURE(ScriptedTvService::Packet(std::vector<unsigned char>{}), "leaves the callback");
    subscriber.UnsubscribePES();
}

TEST_F(ScriptedTv, DeliversCaptions)
{
    TVServiceAPI::IDataSubscriber* subscriber = nullptr;
    TVServiceAPI::CreateDataSubscriber(PROFILE_MAIN, 0, &subscriber);
    int id = 0;
    const TSCaptionCallback callback = [](TSCaption&, void* counter) { ++*static_cast<int*>(counter); };
    EXPECT_EQ(subscriber->SubscribeCaption(callback, &m_count, id), 1);
    EXPECT_EQ(ScriptedTvService::Caption({}), 1U);
    TVServiceAPI::Destroy(subscriber);
    EXPECT_NONFATAL_FAILURE(ScriptedTvService::Verify(), "captions are left");
    TVServiceAPI::CreateDataSubscriber(PROFILE_MAIN, 0, &subscriber);
    EXPECT_EQ(subscriber->UnsubscribeCaption(id), 1);
    EXPECT_EQ(ScriptedTvService::Caption({}), 0U);
    EXPECT_NONFATAL_FAILURE(subscriber->UnsubscribeCaption(id), "no such subscription");
    EXPECT_EQ(m_count, 1);
    TVServiceAPI::Destroy(subscriber);
}

TEST_F(ScriptedTv, GivesEachSubscriberACaptionOfItsOwn)
{
    TVServiceAPI::IDataSubscriber* subscriber = nullptr;
    TVServiceAPI::CreateDataSubscriber(PROFILE_MAIN, 0, &subscriber);
    std::array<int, 2> ids{};
    const TSCaptionCallback callback = [](TSCaption& caption, void* size) {
        caption.data.push_back(0);
        *static_cast<std::size_t*>(size) = caption.data.size();
    };
    std::array<std::size_t, 2> sizes{};
    subscriber->SubscribeCaption(callback, &sizes[0], ids[0]);
    subscriber->SubscribeCaption(callback, &sizes[1], ids[1]);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 2U);
    EXPECT_EQ(ScriptedTvService::Caption({}), 2U);
    EXPECT_EQ(sizes, (std::array<std::size_t, 2>{1, 1}));
    subscriber->UnsubscribeCaption(ids[0]);
    subscriber->UnsubscribeCaption(ids[1]);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    TSCaption late;
    ScriptedTvService::LateCaption(late, &sizes[0]);
    EXPECT_EQ(late.data.size(), 1U) << "the late one is the caller's";
    TVServiceAPI::Destroy(subscriber);
}

TEST_F(ScriptedTv, DoesNotMissCaptionsThatItWasToldToKeep)
{
    TVServiceAPI::IDataSubscriber* subscriber = nullptr;
    TVServiceAPI::CreateDataSubscriber(PROFILE_MAIN, 0, &subscriber);
    int id = 0;
    const TSCaptionCallback callback = [](TSCaption&, void* counter) { ++*static_cast<int*>(counter); };
    subscriber->SubscribeCaption(callback, &m_count, id);
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE_CAPTION, TvAnswer::Failure(0));
    EXPECT_EQ(subscriber->UnsubscribeCaption(id), 0);
    EXPECT_EQ(ScriptedTvService::Caption({}), 1U) << "it goes on calling";
    TVServiceAPI::Destroy(subscriber);
}

TEST(ScriptedRecorderTest, KnowsRegistrationsByTheirCallbackAlone)
{
    int first = 0;
    int second = 0;
    EXPECT_NONFATAL_FAILURE(svc_pvr_register_signal_cb_in_list(&CountRecorder, &first), "did not allow");
    ScriptedRecorder::Allow();
    ScriptedRecorder::FailRegistration(4);
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&CountRecorder, &first), 4);
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&CountRecorder, &first), 0);
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&CountRecorder, &second), 0);
    EXPECT_EQ(ScriptedRecorder::Signal(3, 1), 2U);
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&CountRecorder), 0);
    EXPECT_EQ(ScriptedRecorder::Signal(3, 1), 2U);
    EXPECT_NONFATAL_FAILURE(ScriptedRecorder::Verify(), "1 registrations");
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&CountRecorder), 0);
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&CountRecorder), -1);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 2);
}

TEST(ScriptedSettingsTest, KeepsValuesAndSendsNotices)
{
    int value = 5;
    EXPECT_NONFATAL_FAILURE(vconf_get_bool("db/a", &value), "said nothing of this key");
    ScriptedSettings::SetMissing("db/a");
    EXPECT_EQ(vconf_get_bool("db/a", &value), -1);
    ScriptedSettings::SetBool("db/a", true);
    EXPECT_EQ(vconf_get_int("db/a", &value), -1) << "a value of another type";
    EXPECT_EQ(value, 5);
    EXPECT_EQ(vconf_get_bool("db/a", &value), 0);
    EXPECT_EQ(value, 1);
    int notices = 0;
    EXPECT_EQ(vconf_notify_key_changed("memory/b", &CountNotice, &notices), 0);
    EXPECT_EQ(vconf_set_int("memory/b", 7), 0);
    EXPECT_EQ(ScriptedSettings::ValueOf("memory/b"), 7);
    EXPECT_EQ(notices, 1);
    EXPECT_NONFATAL_FAILURE(ScriptedSettings::Verify(), "1 registrations for the key 'memory/b'");
    EXPECT_EQ(vconf_ignore_key_changed("memory/b", &CountNotice), 0);
    EXPECT_EQ(vconf_ignore_key_changed("memory/b", &CountNotice), -1);
    ScriptedSettings::Fail(SettingsCall::SET, -9);
    EXPECT_EQ(vconf_set_bool("db/a", 0), -9);
    EXPECT_EQ(ScriptedSettings::ValueOf("db/a"), 1);
    EXPECT_EQ(Journal::Instance().Calls("settings").back(), "vconf_set_bool(\"db/a\", 0) = -9");
}

TEST(ScriptedInfoTest, AnswersAsItWasTold)
{
    char name[255] = {};
    EXPECT_NONFATAL_FAILURE(aul_app_get_pkgname_bypid(1, name, 255), "no package");
    ScriptedAppInfo::SetPackage("org.a");
    EXPECT_EQ(aul_app_get_pkgname_bypid(1, name, 255), 0);
    EXPECT_STREQ(name, "org.a");
    EXPECT_NONFATAL_FAILURE(aul_app_get_pkgname_bypid(1, name, 255), "not filled with zeros");
    bool value = false;
    EXPECT_NONFATAL_FAILURE(system_info_get_custom_bool("a/b", &value), "said nothing of this key");
    ScriptedAppInfo::SetFeature("a/b", true);
    EXPECT_EQ(system_info_get_custom_bool("a/b", &value), 0);
    EXPECT_TRUE(value);
    ScriptedAppInfo::SetFeatureFailure("a/b", 3);
    EXPECT_EQ(system_info_get_custom_bool("a/b", &value), 3);
    EXPECT_EQ(Journal::Instance().Calls("system info"), (Calls{"system_info_get_custom_bool(\"a/b\") = -1",
                                                               "system_info_get_custom_bool(\"a/b\") = 0, 1",
                                                               "system_info_get_custom_bool(\"a/b\") = 3"}));
}

} // namespace

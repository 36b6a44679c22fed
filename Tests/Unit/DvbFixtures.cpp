#include "DvbFixtures.h"

TTML_EXPOSE(DvbProfile, TTML::CDVBSource, std::atomic<std::int32_t>, m_nTTMLProfile)
TTML_EXPOSE_FUNCTION(DoSubscribe, void (TTML::CBCSource::*)(), TTML::CBCSource::t_SubscribeTTML)
TTML_EXPOSE_FUNCTION(DoUnsubscribe, void (TTML::CBCSource::*)(), TTML::CBCSource::t_UnSubscribeTTML)

namespace TTMLTest {

namespace {

std::string Number(int session)
{
    return "#" + std::to_string(session);
}

} // namespace

Texts AsksForTheStream(int session)
{
    const std::string control = Number(session);
    const std::string navigation = Number(session + 1);
    const std::string aux = Number(session + 2);
    return {"IsTvsTerminated() = 0",
            "CreateDataControl(1, 0) = 0, " + control,
            control + ".GetCurrentHybridSBT(-1, 65535) = 1, 6647399, 2",
            "Destroy(" + control + ")",
            "I current languageCode : 6647399 at currentIndex : 2",
            "IsTvsTerminated() = 0",
            "CreateServiceNavigation(1, 0) = 0, " + navigation,
            "Fetch(12)",
            "GetNavigationCriteria(0, -1, -1, -1, [12])",
            navigation + ".GetTvMode() = 1, 5",
            "I GetTvMode = 5",
            navigation + ".GetCurrentServiceInfo(5, 0, -1, -1, -1, [12]) = 1",
            "Destroy(" + navigation + ")",
            "I service id is 1001",
            "ServiceDataAux(1, 0) = 0, " + aux,
            aux + ".GetHybridSBT(1001, 2, 6647399) = 1, 2, 3",
            "Destroy(" + aux + ")"};
}

Texts Subscribes(int session)
{
    return Together({AsksForTheStream(session),
                     {"I Subscribing for DVB TTML subtitles only when the current channel is DVB TTML.",
                      "I Setting IMSC1 profile", "SubscribePES(\"ttml\") = 1",
                      "I HYBRID_SBT_TYPE_TTML subscribed RF PES subtitle data"}});
}

Texts Unsubscribes()
{
    return {"UnsubscribePES(\"ttml\") = 1", "I Unsubscribed successfully for RF DVB TTML PES data"};
}

Texts Registers(int subscriber)
{
    Texts texts = {"I Creating TVS signal subscriber.",
                   "CreateSignalSubscriber() = 0, " + Number(subscriber)};
    for (const int signal : {59, 60, 62, 75, 76, 85}) {
        texts.push_back(Number(subscriber) + ".Subscribe(" + std::to_string(signal) + ", 1, 0) = 1");
    }
    return texts;
}

Texts Unregisters(int subscriber)
{
    Texts texts;
    for (const int signal : {85, 59, 60, 62, 75, 76}) {
        texts.push_back(Number(subscriber) + ".Unsubscribe(" + std::to_string(signal) + ", 1, 0) = 1");
    }
    texts.push_back("DestroySignalSubscriber() = 0, " + Number(subscriber));
    return texts;
}

std::int32_t ProfileOf(TTML::CDVBSource& source)
{
    return Private<DvbProfile>(source);
}

DvbTest::DvbTest()
    : m_source(std::make_unique<TTML::CDVBSource>())
{
    m_source->RegisterCallBack(&BroadcastTest::ClientCallback, m_client.UserData());
    Forget();
}

void DvbTest::Start()
{
    m_source->OnStart();
    Drain(*m_source);
    m_client.Clear();
    Forget();
}

Texts DvbTest::StoryOfAll(const std::function<void()>& action)
{
    Drain(*m_source);
    Forget();
    action();
    Drain(*m_source);
    return Story();
}

Texts DvbTest::StoryOfSignal(int signal)
{
    return StoryOfAll([&] {
        RunOnThread("TvService",
                    [&] { EXPECT_EQ(ScriptedTvService::Signal(signal), (std::vector<int>{1})); });
    });
}

void DvbTest::Subscribe()
{
    CallPrivate<DoSubscribe>(*m_source);
}

void DvbTest::Unsubscribe()
{
    CallPrivate<DoUnsubscribe>(*m_source);
}

} // namespace TTMLTest

#include "AtscFixtures.h"

TTML_EXPOSE(AtscSubscribed, TTML::CBCSource, std::atomic<bool>, t_bIsSubscribed)
TTML_EXPOSE(AtscSubscriber, TTML::CATSCSource, TVServiceAPI::IDataSubscriber*, m_pDataSubscriber)
TTML_EXPOSE(AtscCaption, TTML::CATSCSource, TCCaption, m_CurrentCaption)
TTML_EXPOSE(AtscSysTime, TTML::CATSCSource, std::uint32_t, m_SysTimeAtReference)
TTML_EXPOSE(AtscReferenceTime, TTML::CATSCSource, std::int64_t, m_CaptionReferenceTime)
TTML_EXPOSE(AtscOffset, TTML::CATSCSource, std::int64_t, m_CaptionOffset)
TTML_EXPOSE(AtscAfterCal, TTML::CATSCSource, std::int64_t, m_RefTimeAfterCal)
TTML_EXPOSE(AtscSubscriptionId, TTML::CATSCSource, std::int32_t, m_SubscriptionId)
TTML_EXPOSE(AtscBanner, TTML::CATSCSource, std::atomic<bool>, m_bInfoBannerStatus)
TTML_EXPOSE(AtscKorea, TTML::CATSCSource, bool, m_bKoreaRegion)
TTML_EXPOSE(AtscPvr, TTML::CATSCSource, bool, m_bPvrMode)
TTML_EXPOSE(AtscLast, TTML::CATSCSource, std::vector<unsigned char>, m_LastCaptionData)
TTML_EXPOSE(AtscParser, TTML::CATSCSource, TTML::CMpdParser, m_MpdParser)
TTML_EXPOSE_FUNCTION(AtscDoSubscribe, void (TTML::CBCSource::*)(), TTML::CBCSource::t_SubscribeTTML)
TTML_EXPOSE_FUNCTION(AtscDoUnsubscribe, void (TTML::CBCSource::*)(), TTML::CBCSource::t_UnSubscribeTTML)
TTML_EXPOSE_FUNCTION(AtscDoRegister, void (TTML::CBCSource::*)(), TTML::CBCSource::t_RegisterTVSCallbacks)
TTML_EXPOSE_FUNCTION(AtscDoUnregister, void (TTML::CBCSource::*)(), TTML::CBCSource::t_UnregisterTVSCallbacks)

namespace TTMLTest {

namespace {

std::string Number(int session)
{
    return "#" + std::to_string(session);
}

std::string InQuotes(const std::string& text)
{
    return '"' + text + '"';
}

} // namespace

Texts AsksForService(int attribute, int session)
{
    const std::string navigation = Number(session);
    const std::string wanted = std::to_string(attribute);
    return {"IsTvsTerminated() = 0",
            "CreateServiceNavigation(1, 0) = 0, " + navigation,
            "Fetch(" + wanted + ")",
            "GetNavigationCriteria(0, -1, -1, -1, [" + wanted + "])",
            navigation + ".GetTvMode() = 1, 5",
            "I GetTvMode = 5",
            navigation + ".GetCurrentServiceInfo(5, 0, -1, -1, -1, [" + wanted + "]) = 1",
            "Destroy(" + navigation + ")"};
}

Texts AsksWhetherAtsc3(int session)
{
    return Together({{"vconf_get_bool(" + InQuotes(kEnableKey) + ") = 0, 1"}, AsksForService(156, session)});
}

Texts FetchesMpd(int session)
{
    const std::string control = Number(session + 1);
    return Together(
        {AsksForService(12, session),
         {"I Route service!", "I service id is 1001", "CreateATSC3DataControl(1, 0) = 0, " + control,
          control + ".GetMpdData(1001) = 1, " + InQuotes(kMpd), "I GetMpdData() return: true",
          "Destroy(" + control + ")"}});
}

Texts ReadsMpd()
{
    return {"I Found the property (availabilityStartTime=\") with value (2019-05-01T00:00:00Z) in Mpd",
            "I Found mpd@ast: 2019-05-01T00:00:00Z => 1556668800.000000000, gmtOffset:0",
            "I Found the property (suggestedPresentationDelay=\") with value (PT1.5S) in Mpd",
            "I mpd@spd: PT1.5S ==> hour[0], minute[0], second[1.500000] = 1500 MS"};
}

Texts UpdatesMpd(int session)
{
    return Together({FetchesMpd(session), ReadsMpd()});
}

Texts SubscribesToCaptions(int session, int subscription)
{
    const std::string subscriber = Number(session + 1);
    return Together({AsksWhetherAtsc3(session),
                     {"CreateDataSubscriber(1, 0) = 0, " + subscriber,
                      subscriber + ".SubscribeCaption() = 1, " + std::to_string(subscription)},
                     UpdatesMpd(session + 2),
                     {"I ATSC3.0 Subscription Successful!!"}});
}

Texts EndsCaptions(int subscriber, int subscription)
{
    return Together({WritesBanner(0),
                     {Number(subscriber) + ".UnsubscribeCaption(" + std::to_string(subscription) + ") = 1",
                      "I Unsubscribe Successful!!", "Destroy(" + Number(subscriber) + ")"}});
}

Texts WritesBanner(int value)
{
    const std::string written = std::to_string(value);
    return {"vconf_set_bool(" + InQuotes(kBannerKey) + ", " + written + ") = 0",
            "vconf_get_bool(" + InQuotes(kBannerKey) + ") = 0, " + written,
            "I TTML CC info banner status:[" + written + "]",
            "I TTML info banner CC key is written as [" + written + "]"};
}

Texts RegistersSignals(int subscriber, bool korea)
{
    Texts texts = {"I Creating TVS signal subscriber.",
                   "CreateSignalSubscriber() = 0, " + Number(subscriber)};
    for (const int signal : {59, 60, 62, 75, 76, 178}) {
        if (signal != kAtsc3Signal || !korea) {
            texts.push_back(Number(subscriber) + ".Subscribe(" + std::to_string(signal) + ", 1, 0) = 1");
        }
    }
    return texts;
}

Texts UnregistersSignals(int subscriber, bool korea)
{
    Texts texts;
    for (const int signal : {178, 59, 60, 62, 75, 76}) {
        if (signal != kAtsc3Signal || !korea) {
            texts.push_back(Number(subscriber) + ".Unsubscribe(" + std::to_string(signal) + ", 1, 0) = 1");
        }
    }
    texts.push_back("DestroySignalSubscriber() = 0, " + Number(subscriber));
    return texts;
}

AtscState StateOf(TTML::CATSCSource& source)
{
    return {Private<AtscSubscribed>(source),
            Private<AtscSubscriber>(source) != nullptr,
            Private<AtscCaption>(source),
            Private<AtscSysTime>(source),
            Private<AtscReferenceTime>(source),
            Private<AtscOffset>(source),
            Private<AtscAfterCal>(source),
            Private<AtscSubscriptionId>(source),
            Private<AtscBanner>(source),
            Private<AtscKorea>(source),
            Private<AtscPvr>(source),
            Private<AtscLast>(source),
            Private<AtscParser>(source).GetAST(),
            Private<AtscParser>(source).GetSPD()};
}

void ForceSubscriber(TTML::CATSCSource& source, TVServiceAPI::IDataSubscriber* subscriber)
{
    Private<AtscSubscriber>(source) = subscriber;
}

void ForceSubscribed(TTML::CATSCSource& source, bool subscribed)
{
    Private<AtscSubscribed>(source) = subscribed;
}

void ForceProfile(TTML::CATSCSource& source, unsigned char profile)
{
    Private<AtscCaption>(source).profile = profile;
}

TSCaption CaptionOf(const std::string& text, long long referenceTime, long long offset)
{
    TSCaption caption;
    caption.type = CLOSED_CAPTION_TYPE_ATSC3;
    caption.data.assign(text.begin(), text.end());
    caption.referenceTime = referenceTime;
    caption.offset = offset;
    return caption;
}

// A source with a client.

AtscTest::AtscTest()
{
    ShowCaptionService();
    Make();
}

void AtscTest::ShowCaptionService()
{
    ScriptedTvService::Change([](TvScene& scene) {
        scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {1, 0};
        scene.mpd = kMpd;
        scene.caption = TCCaption();
        scene.caption->id = "cc1";
    });
    ScriptedSettings::SetBool(kEnableKey, true);
    ScriptedSettings::SetInt(kCaptionKey, 1);
    ScriptedAppInfo::SetFeature(kKoreaKey, false);
    ScriptedAppInfo::SetPackage(kTvPackage);
    ScriptedFileManager::SetTimeOfDay(1000);
}

void AtscTest::Make()
{
    m_source.reset();
    m_source = std::make_unique<TTML::CATSCSource>();
    m_source->RegisterCallBack(&BroadcastTest::ClientCallback, m_client.UserData());
    m_client.Clear();
    Forget();
}

void AtscTest::MakeInKorea()
{
    ScriptedAppInfo::SetFeature(kKoreaKey, true);
    Make();
}

void AtscTest::MakeInThePvrPlayer()
{
    ScriptedAppInfo::SetPackage(kPvrPackage);
    Make();
}

void AtscTest::Start()
{
    m_source->OnStart();
    Drain(*m_source);
    m_client.Clear();
    Forget();
}

Texts AtscTest::StoryOfAll(const std::function<void()>& action)
{
    Drain(*m_source);
    Forget();
    action();
    Drain(*m_source);
    return Story();
}

Texts AtscTest::OwnStoryOf(const std::function<void()>& action)
{
    Forget();
    action();
    return Story(ThisThreadName());
}

Texts AtscTest::StoryOfSignal(int signal, int word)
{
    return StoryOfAll([&] {
        RunOnThread("TvService", [&] {
            TSSignalData data = {};
            data.data.l[0] = word;
            EXPECT_EQ(ScriptedTvService::Signal(signal, data), (std::vector<int>{1}));
        });
    });
}

void AtscTest::Subscribe()
{
    CallPrivate<AtscDoSubscribe>(*m_source);
}

void AtscTest::Unsubscribe()
{
    CallPrivate<AtscDoUnsubscribe>(*m_source);
}

void AtscTest::Register()
{
    CallPrivate<AtscDoRegister>(*m_source);
}

void AtscTest::Unregister()
{
    CallPrivate<AtscDoUnregister>(*m_source);
}

TTML::TTMLRawDataInfo AtscTest::LastRecord() const
{
    const auto records = m_client.Records();
    if (records.empty()) {
        ADD_FAILURE() << "no data came to the client";
        return {};
    }
    return records.back();
}

} // namespace TTMLTest

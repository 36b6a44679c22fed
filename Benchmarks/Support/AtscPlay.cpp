#include "AtscPlay.h"

#include <iostream>
#include <stdexcept>

#include "GlobalKeys.h"
#include "HostSystem.h"
#include "PlatformSettings.h"
#include "PlatformTvService.h"
#include "PrivateAccess.h"

// The callback that the source gives the TV service.
TTML_EXPOSE_FUNCTION(AtscCaptionCallback, void (*)(TSCaption&, void*), TTML::CATSCSource::m_CaptionCB)

namespace TTMLBench {

namespace {

// Languages of the sample service: one with text captions and one with images.
constexpr char kTextLanguage[] = "eng";
constexpr char kImageLanguage[] = "spa";

} // namespace

AtscSourcePointer MakeAtscSource()
{
    TTMLHost::SetPackageName("benchmarks");
    TTMLHost::SetSystemFeature(TTML::g_strKoreaCaptionFeatureKey, false);
    return AtscSourcePointer(new TTML::CATSCSource);
}

AtscService::AtscService(const std::string& language)
{
    vconf_set_bool(TTML::g_strAtsc3EnableKey.c_str(), 1);
    TTMLHost::TvAtsc3Options options;
    options.input = BENCHMARK_SAMPLES "/atsc3/service.mpd";
    options.language = language;
    options.fast = true;
    std::string error;
    m_ended.Expect(1);
    if (!TTMLHost::TvOpenAtsc3(options, this, &error)) {
        throw std::runtime_error(error);
    }
    TTMLHost::TvStart();
    m_ended.Wait();
}

AtscService::~AtscService()
{
    TTMLHost::TvClose();
}

void AtscService::OnWarning(const std::string& line)
{
    std::cerr << "benchmarks: " << line << '\n';
}

void AtscService::OnEnd(const std::string& error)
{
    if (!error.empty()) {
        OnWarning(error);
    }
    m_ended.Done();
}

AtscPlay::AtscPlay(Profile profile)
    : m_service(profile == Profile::Image ? kImageLanguage : kTextLanguage)
    , m_source(MakeAtscSource())
{
    m_source->t_Initialize("benchmarks");
    m_source->RegisterCallBack(CaptionClient::OnNotice, &m_client);
    m_client.starts.Expect(1);
    m_source->OnStart();
    m_client.starts.Wait();
    // The first caption also has the information banner told, which is not to be measured.
    m_banner.Expect(1);
    vconf_notify_key_changed(TTML::g_strInfoBannerKey.c_str(), m_OnBanner, this);
    std::vector<TSCaption> captions(1);
    captions.front().type = CLOSED_CAPTION_TYPE_ATSC3;
    captions.front().data = {'<', 't', 't', '/', '>'};
    Deliver(captions);
    m_banner.Wait();
    vconf_ignore_key_changed(TTML::g_strInfoBannerKey.c_str(), m_OnBanner);
}

AtscPlay::~AtscPlay()
{
    m_source->OnStop();
}

void AtscPlay::m_OnBanner(_keynode_t* /*node*/, void* userData)
{
    int value = 0;
    vconf_get_bool(TTML::g_strInfoBannerKey.c_str(), &value);
    if (value != 0) {
        static_cast<AtscPlay*>(userData)->m_banner.Done();
    }
}

void AtscPlay::m_Give(std::vector<TSCaption>& captions)
{
    for (TSCaption& caption : captions) {
        TTMLTest::CallPrivateStatic<TTMLTest::AtscCaptionCallback>(caption, m_source.get());
    }
}

void AtscPlay::Deliver(std::vector<TSCaption>& captions)
{
    m_client.captions.Expect(captions.size());
    m_Give(captions);
    m_client.captions.Wait();
}

bool AtscPlay::DeliverRepeats(std::vector<TSCaption>& captions)
{
    m_client.captions.Expect(captions.size());
    m_Give(captions);
    return m_client.captions.Remaining() == captions.size();
}

} // namespace TTMLBench

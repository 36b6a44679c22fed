#include <gtest/gtest.h>

#include "HostAbilities.h"
#include "HostTvService.h"
#include "MediaMaker.h"
#include "PlatformSettings.h"
#include "PlatformTvService.h"
#include "SegmentMaker.h"
#include "TemporaryFolder.h"

namespace PortTest {

namespace {

using TTMLTest::SamplePath;

constexpr const char* kChannelLockKey = "db/menu/broadcasting/channel_lock";
// The streams that are played so are made long enough to last as long as the suite is patient.
constexpr double kFast = 10.0;

constexpr std::size_t kLargeCaption = 524288;
constexpr unsigned int kLargeSegments = 20;
const std::string kLongId(500, 'i');

// What is wrong with the input is not what the suite asks.
class Silent : public TTMLHost::TvListener
{
public:
    void OnSignal(ESignalType /*signal*/) override {}
    void OnPesDelivered() override {}
    void OnWarning(const std::string& line) override { ADD_FAILURE() << line; }
    void OnTuneFailed(const std::string& line) override { ADD_FAILURE() << line; }
    void OnEnd(const std::string& error) override { EXPECT_EQ(error, ""); }
};

class Television : public HostTelevision
{
public:
    ~Television() override { TTMLHost::TvClose(); }

    bool Offers(Broadcast /*broadcast*/) override { return true; }

    // As Samples/README.md tells them.
    BroadcastFacts Facts(Broadcast broadcast) override
    {
        BroadcastFacts facts;
        facts.serviceId = 1;
        switch (broadcast) {
        case Broadcast::Dvb:
            facts.serviceId = 101;
            facts.language = "eng";
            facts.profile = 1; // either bit of IMSC1 says so
            break;
        case Broadcast::OtherDvb:
            facts.serviceId = 102;
            facts.language = "fra";
            facts.profile = HYBRID_SBT_PROFILE_EBU_TT_D;
            break;
        case Broadcast::Atsc3:
            facts.language = "eng";
            facts.captionId = "1";
            facts.mpdPart = "availabilityStartTime=\"2026-01-01T00:00:00Z\"";
            facts.availableMs = 1767225600000;
            break;
        case Broadcast::LargeAtsc3:
            facts.language = "eng";
            facts.captionId = kLongId;
            facts.mpdPart = kLongId;
            break;
        }
        return facts;
    }

    void Tune(Broadcast broadcast, bool realTime) override
    {
        const bool dvb = broadcast == Broadcast::Dvb || broadcast == Broadcast::OtherDvb;
        const std::string service = std::to_string(Facts(broadcast).serviceId.value_or(0));
        std::string error;
        if (dvb && m_dvb) {
            EXPECT_TRUE(TTMLHost::TvTune(service, &error)) << error;
            return;
        }
        Untune();
        if (dvb) {
            TTMLHost::TvOptions options;
            options.input = realTime ? SamplePath("subtitles.ts") : TTML_TEST_LONG_STREAM;
            options.service = service;
            options.speed = realTime ? 1.0 : kFast;
            EXPECT_TRUE(TTMLHost::TvOpen(options, &m_listener, &error)) << error;
            m_dvb = true;
        } else {
            TTMLHost::TvAtsc3Options options;
            options.input = broadcast == Broadcast::LargeAtsc3 ? LargeService()
                            : realTime                         ? SamplePath("atsc3/service.mpd")
                                                               : TTML_TEST_LONG_SERVICE;
            options.speed = realTime ? 1.0 : kFast;
            EXPECT_TRUE(TTMLHost::TvOpenAtsc3(options, &m_listener, &error)) << error;
        }
        TTMLHost::TvStart();
    }

    void Untune() override
    {
        TTMLHost::TvClose();
        m_dvb = false;
    }

    bool Activate() override
    {
        TTMLHost::TvActivate();
        return true;
    }

    bool Lock(bool locked) override
    {
        EXPECT_EQ(vconf_set_bool(kChannelLockKey, locked ? 1 : 0), 0);
        TTMLHost::TvLockService(locked);
        return true;
    }

    bool AnnounceMpd() override
    {
        TTMLHost::TvSignalMpd();
        return true;
    }

    bool Terminate() override
    {
        TTMLHost::TvTerminate();
        return true;
    }

    void Reset() override
    {
        Untune();
        bool terminated = false;
        TCServiceUtility::IsTvsTerminated(terminated);
        if (terminated) {
            TTMLHost::TvOptions options;
            options.input = SamplePath("subtitles.ts");
            EXPECT_TRUE(TTMLHost::TvOpen(options, &m_listener, nullptr));
            TTMLHost::TvClose();
        }
    }

private:
    std::string LargeService()
    {
        const std::string begin = "<tt xmlns=\"http://www.w3.org/ns/ttml\">";
        const std::string end = "</tt>";
        const std::string caption = begin + std::string(kLargeCaption - begin.size() - end.size(), ' ') + end;
        (void)m_folder.Write("init.mp4", TTMLTest::Initialization());
        for (unsigned int i = 0; i < kLargeSegments; ++i) {
            (void)m_folder.Write(
                "large-" + std::to_string(i + 1) + ".m4s",
                TTMLTest::FragmentMaker().Time(std::uint64_t{i} * 2000).Sample(caption, 2000).Bytes());
        }
        const std::string mpd =
            "<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" availabilityStartTime=\"2026-01-01T00:00:00Z\" "
            "mediaPresentationDuration=\"PT" +
            std::to_string(kLargeSegments * 2) + "S\"><Period start=\"PT0S\"><AdaptationSet id=\"" + kLongId +
            "\" contentType=\"text\" lang=\"en\"><SegmentTemplate timescale=\"1000\" duration=\"2000\" "
            "startNumber=\"1\" initialization=\"init.mp4\" media=\"large-$Number$.m4s\"/>"
            "<Representation id=\"" +
            kLongId + "\" codecs=\"stpp.ttml.im1t\"/></AdaptationSet></Period><!--" +
            std::string(100000, ' ') + "--></MPD>";
        return m_folder.Write("large.mpd", mpd);
    }

    const TTMLTest::TemporaryFolder m_folder;
    bool m_dvb = false; // the input that is open is the transport stream
    Silent m_listener;
};

} // namespace

std::unique_ptr<HostTelevision> MakeHostTelevision()
{
    return std::make_unique<Television>();
}

} // namespace PortTest

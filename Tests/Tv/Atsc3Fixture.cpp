#include "Atsc3Fixture.h"

#include <fstream>
#include <iterator>

#include "FaultInjection.h"
#include "SegmentMaker.h"

namespace TTMLTest {

namespace {

constexpr ESignalType kSignals[] = {SIGNAL_TUNE_START,   SIGNAL_TUNE_SUCCESS,   SIGNAL_SERVICE_LOCKED,
                                    SIGNAL_TVS_ACTIVATE, SIGNAL_TVS_DEACTIVATE, SIGNAL_ATSC3_SIGNALING};

std::string NumberText(unsigned number)
{
    return std::to_string(number);
}

} // namespace

CaptionViewer::CaptionViewer(TvRecorder* recorder)
    : m_recorder(recorder)
{
    EXPECT_EQ(TVServiceAPI::CreateDataSubscriber(PROFILE_MAIN, 0, &m_captions), 0);
    EXPECT_EQ(TVServiceAPI::CreateSignalSubscriber(&OnSignal, &m_signals), 0);
    for (const ESignalType signal : kSignals) {
        EXPECT_EQ(m_signals->Subscribe(signal, this, PROFILE_MAIN, 0, &OnSignal), 1);
    }
}

CaptionViewer::~CaptionViewer()
{
    for (const ESignalType signal : kSignals) {
        EXPECT_EQ(m_signals->Unsubscribe(signal, PROFILE_MAIN, 0, &OnSignal), 1);
    }
    EXPECT_EQ(TVServiceAPI::DestroySignalSubscriber(&OnSignal), 0);
    if (m_subscribed) {
        EXPECT_EQ(m_captions->UnsubscribeCaption(m_subscription), 1);
    }
    TVServiceAPI::Destroy(m_captions);
}

std::vector<std::string> CaptionViewer::Payloads() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_payloads;
}

int CaptionViewer::OnSignal(ESignalType signal, EProfile /*profile*/, unsigned short /*index*/,
                            TSSignalData data, void* userData)
{
    auto* const viewer = static_cast<CaptionViewer*>(userData);
    const std::string word =
        signal == SIGNAL_ATSC3_SIGNALING ? " " + std::to_string(data.data.l[0]) : std::string();
    viewer->m_recorder->Note("signal " + std::to_string(signal) + word);
    if (signal == SIGNAL_TUNE_START && viewer->m_subscribed) {
        EXPECT_EQ(viewer->m_captions->UnsubscribeCaption(viewer->m_subscription), 1);
        viewer->m_subscribed = false;
    } else if (signal == SIGNAL_TUNE_SUCCESS && !viewer->m_subscribed) {
        EXPECT_EQ(viewer->m_captions->SubscribeCaption(&OnCaption, viewer, viewer->m_subscription), 1);
        viewer->m_subscribed = true;
    }
    return 1;
}

void CaptionViewer::OnCaption(TSCaption& caption, void* userData)
{
    const FaultPause pause;
    auto* const viewer = static_cast<CaptionViewer*>(userData);
    EXPECT_EQ(caption.type, CLOSED_CAPTION_TYPE_ATSC3);
    {
        const std::lock_guard<std::mutex> lock(viewer->m_mutex);
        viewer->m_payloads.emplace_back(caption.data.begin(), caption.data.end());
    }
    viewer->m_recorder->Note("caption " + std::to_string(caption.referenceTime) + " " +
                             std::to_string(caption.offset) + " " + std::to_string(caption.data.size()));
}

std::string Atsc3Text()
{
    TVServiceAPI::IServiceNavigation* navigation = nullptr;
    EXPECT_EQ(TVServiceAPI::CreateServiceNavigation(PROFILE_MAIN, 0, &navigation), 0);
    int mode = 0;
    TCServiceData data;
    if (navigation->GetTvMode(mode) > 0) {
        TCCriteriaHelper helper;
        helper.Fetch(SERVICE_ATTRIBUTE_ATSC3);
        (void)navigation->GetCurrentServiceInfo(
            mode, TCNavigationModeHelper::GetNavigationCriteria(helper, 0, -1, -1, -1), data);
    }
    TVServiceAPI::Destroy(navigation);
    const TCServiceValue* const value = data.Find(SERVICE_ATTRIBUTE_ATSC3);
    if (value == nullptr) {
        return "none";
    }
    return value->integer != 0 ? "ATSC 3.0" : "not ATSC 3.0";
}

std::string CaptionTrackText()
{
    TVServiceAPI::IDataControl* control = nullptr;
    EXPECT_EQ(TVServiceAPI::CreateDataControl(PROFILE_MAIN, 0, &control), 0);
    TCCaption track;
    const int result = control->GetCurrentCaption(track);
    TVServiceAPI::Destroy(control);
    if (result < 1) {
        return track.id.empty() ? "none" : "none, with a track";
    }
    const std::string language = {static_cast<char>(track.languageCode >> 16),
                                  static_cast<char>(track.languageCode >> 8),
                                  static_cast<char>(track.languageCode)};
    return track.id + " " + language + " role " + NumberText(track.role) + " aspect " +
           NumberText(track.aspect) + " easy " + NumberText(track.easyReader) + " profile " +
           NumberText(track.profile) + " 3D " + NumberText(track.is3D);
}

std::string MpdAnswer(std::uint64_t service)
{
    TVServiceAPI::IATSC3DataControl* control = nullptr;
    EXPECT_EQ(TVServiceAPI::CreateATSC3DataControl(PROFILE_MAIN, 0, &control), 0);
    std::string mpd;
    const int result = control->GetMpdData(service, mpd);
    TVServiceAPI::Destroy(control);
    if (result == 0) {
        return mpd.empty() ? "none" : "none, with a text";
    }
    return mpd;
}

std::string CaptionEvent(std::int64_t referenceMs, std::size_t size)
{
    return "caption " + std::to_string(referenceMs) + "000000 0 " + std::to_string(size);
}

TTMLHost::TvAtsc3Options FastService(const std::string& input, const std::vector<std::string>& also)
{
    TTMLHost::TvAtsc3Options options;
    options.input = input;
    options.also = also;
    options.fast = true;
    return options;
}

std::string ServiceOpenError(const TTMLHost::TvAtsc3Options& options)
{
    TvRecorder recorder;
    std::string error;
    if (TTMLHost::TvOpenAtsc3(options, &recorder, &error)) {
        TTMLHost::TvClose();
        return "it was opened";
    }
    return error;
}

OpenAtsc3::OpenAtsc3(const TTMLHost::TvAtsc3Options& options, TvRecorder* recorder)
{
    std::string error;
    EXPECT_TRUE(TTMLHost::TvOpenAtsc3(options, recorder, &error)) << error;
}

std::string OneCaptionSet(const std::string& mpdAttributes, unsigned segmentMs,
                          const std::string& segmentAttributes)
{
    return "<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" " + mpdAttributes +
           "><Period start=\"PT0S\"><AdaptationSet contentType=\"text\" lang=\"en\">"
           "<SegmentTemplate timescale=\"1000\" duration=\"" +
           std::to_string(segmentMs) +
           "\" startNumber=\"1\" initialization=\"init.mp4\" media=\"seg-$Number$.m4s\" " +
           segmentAttributes +
           "/><Representation id=\"c\" codecs=\"stpp.ttml.im1t\"/></AdaptationSet></Period></MPD>";
}

void Atsc3Test::TearDown()
{
    TTMLHost::TvClose();
    bool terminated = false;
    TCServiceUtility::IsTvsTerminated(terminated);
    if (terminated) {
        // The next test finds it alive.
        const OpenAtsc3 tv(FastService(Sample("service.mpd")), &m_recorder);
    }
}

std::string Atsc3Test::SampleContent(const std::string& name)
{
    std::ifstream file(Sample(name), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Its last box is the data, of one sample.
std::string Atsc3Test::SamplePayload(const std::string& segment)
{
    const std::string bytes = SampleContent(segment);
    return bytes.substr(bytes.rfind("mdat") + 4);
}

std::string Atsc3Test::Service(const std::string& name, const std::string& mpd, unsigned segments,
                               unsigned segmentMs)
{
    m_folder.Write("init.mp4", Initialization());
    for (unsigned number = 1; number <= segments; ++number) {
        WriteSegment(number, std::uint64_t{number - 1} * segmentMs);
    }
    return m_folder.Write(name, mpd);
}

void Atsc3Test::WriteSegment(std::int64_t number, std::uint64_t timeMs)
{
    const std::string text = std::to_string(number);
    m_folder.Write("seg-" + text + ".m4s", FragmentMaker().Time(timeMs).Sample(text).Bytes());
}

std::string Atsc3Test::Play(const TTMLHost::TvAtsc3Options& options)
{
    const OpenAtsc3 tv(options, &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    std::string error = m_recorder.WaitForEnd();
    m_statistics = TTMLHost::TvGetStatistics();
    m_payloads = viewer.Payloads();
    return error;
}

} // namespace TTMLTest

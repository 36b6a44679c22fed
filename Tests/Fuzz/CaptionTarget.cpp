// ATSC 3.0 captions through the whole source, on the scripted platform: an input is one caption, its profile
// and whether it comes twice. The source lives on from input to input, as captions of a service come to one.

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CATSCSource.h"
#include "FuzzTarget.h"
#include "Journal.h"
#include "PrivateAccess.h"
#include "ScriptedAppInfo.h"
#include "ScriptedFileManager.h"
#include "ScriptedRecorder.h"
#include "ScriptedSettings.h"
#include "ScriptedTvService.h"
#include "TTMLRawDataInfo.h"
#include "TvTexts.h"
#include "ZoneGuard.h"

TTML_EXPOSE(FuzzedCaption, TTML::CATSCSource, TCCaption, m_CurrentCaption)

using TTMLTest::Hold;

namespace {

using Payload = std::vector<unsigned char>;

constexpr unsigned char kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'}; // ISO/IEC 15948
constexpr std::size_t kLargest = 524288;
constexpr long long kMpdOffset = TTMLTest::kMpdStart + TTMLTest::kMpdDelay;
constexpr unsigned char kImage = 1;
constexpr unsigned char kUnknown = 255;
// The scripted service keeps each session that it made until it is reset.
constexpr unsigned int kQuestionsOfALife = 500;

std::vector<std::unique_ptr<TTML::TTMLRawDataInfo>> g_records;

void OnEvent(int code, void* data)
{
    if (code == 0) {
        g_records.emplace_back(static_cast<TTML::TTMLRawDataInfo*>(data));
    }
}

// A source that plays, on a platform on which everything goes well.
class Life
{
public:
    Life()
    {
        using namespace TTMLTest;
        TvScene scene;
        scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {1, 0};
        scene.mpd = kMpd;
        scene.caption = TCCaption();
        ScriptedTvService::Show(scene);
        ScriptedRecorder::Allow();
        ScriptedSettings::SetBool(kChannelLockKey, false);
        ScriptedSettings::SetBool(kEnableKey, true);
        ScriptedSettings::SetInt(kCaptionKey, 1);
        ScriptedAppInfo::SetFeature(kKoreaKey, false);
        ScriptedAppInfo::SetPackage(kTvPackage);
        ScriptedFileManager::SetTimeOfDay(1000);
        m_source = std::make_unique<TTML::CATSCSource>();
        m_source->RegisterCallBack(&OnEvent, nullptr);
        m_source->OnStart();
        Hold(ScriptedTvService::CaptionSubscriptions() == 1, "the source has subscribed");
    }

    ~Life()
    {
        using namespace TTMLTest;
        m_source->OnStop();
        m_source.reset();
        ScriptedTvService::Verify();
        ScriptedSettings::Verify();
        ScriptedRecorder::Verify();
        ScriptedTvService::Reset();
        ScriptedSettings::Reset();
        ScriptedRecorder::Reset();
        ScriptedAppInfo::Reset();
        ScriptedFileManager::Reset();
        Journal::Instance().Clear();
    }

    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    TTML::CATSCSource& Source() { return *m_source; }

    // The profile that the source knows; for one that it does not, the service says `told`.
    void SetProfile(unsigned char known, unsigned char told)
    {
        TTMLTest::Private<TTMLTest::FuzzedCaption>(*m_source).profile = known;
        if (known > kImage) {
            TTMLTest::ScriptedTvService::Change(
                [told](TTMLTest::TvScene& scene) { scene.caption->profile = told; });
            ++m_questions;
        }
    }
    bool IsLong() const { return m_questions > kQuestionsOfALife; }

    // What the source is to remember of its captions.
    Payload last;
    long long reference = 0;

private:
    std::unique_ptr<TTML::CATSCSource> m_source;
    unsigned int m_questions = 0;
};

// What is to come of the caption.
bool IsNews(Life& life, const TSCaption& caption, const Payload& ended)
{
    if (caption.type != CLOSED_CAPTION_TYPE_ATSC3 || caption.data.empty() || caption.data.size() > kLargest ||
        caption.referenceTime < 0 || caption.referenceTime < caption.offset) {
        return false;
    }
    if (caption.referenceTime < life.reference) {
        life.last.clear();
    }
    life.reference = caption.referenceTime;
    if (life.last == ended) {
        return false;
    }
    life.last = ended;
    return true;
}

void CheckRecord(const TTML::TTMLRawDataInfo& record, const Payload& ended, bool isImage)
{
    const std::string whole(ended.begin(), ended.end());
    const std::string signature(std::begin(kSignature), std::end(kSignature));
    const std::size_t at = isImage ? whole.find(signature) : std::string::npos;
    if (at == std::string::npos) {
        Hold(record.data == whole && record.secondaryData.empty(), "without an image all is the document");
    } else {
        Hold(record.secondaryData == whole.substr(at), "the image is all from its signature on");
        Hold(record.data == (at == 0 ? whole : whole.substr(0, at)),
             "the document is what is before the image");
    }
    // What is only an image counts as a text.
    Hold(record.dataType == (at != std::string::npos && at != 0 ? 1 : 0),
         "the kind tells an image with its text");
    Hold(record.index == 0 && record.timestamp == 0 && record.segStartTimeMs == 0 && record.segEndTimeMs == 0,
         "captions have no times of their own");
}

void CheckTime(TTML::CATSCSource& source, const TSCaption& caption)
{
    const auto distance = static_cast<std::int64_t>(static_cast<std::uint64_t>(caption.referenceTime) -
                                                    static_cast<std::uint64_t>(caption.offset));
    long long now = 0;
    Hold(source.GetVideoCurrentTime(&now) == 0, "there is a media time");
    Hold(now == static_cast<std::int64_t>(static_cast<double>(distance) / 1e6) - kMpdOffset,
         "the media time is the last caption's");
}

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    static const TTMLTest::ZoneGuard zone("UTC0");
    static std::unique_ptr<Life> life;
    ::testing::FLAGS_gtest_break_on_failure = true; // what the scripted platform does not expect
    if (!life || life->IsLong()) {
        life.reset();
        life = std::make_unique<Life>();
    }

    TTMLTest::FuzzInput input(data, size);
    const std::uint64_t how = input.Number(1);
    TSCaption caption;
    caption.type = how % 16 == 15 ? 0 : CLOSED_CAPTION_TYPE_ATSC3;
    caption.referenceTime = static_cast<std::int64_t>(input.Number(8));
    caption.offset = static_cast<std::int64_t>(input.Number(8));
    const std::string bytes = input.Rest();
    caption.data.assign(bytes.begin(), bytes.end());
    Payload ended = caption.data;
    ended.push_back(0);

    const auto known = static_cast<unsigned char>(how / 16 % 4);
    const auto told = static_cast<unsigned char>(how / 64);
    life->SetProfile(known > kImage ? kUnknown : known, told);
    const bool isImage = (known > kImage ? told : known) == kImage;

    for (unsigned int times = 1 + how % 2; times > 0; --times) {
        const bool wanted = IsNews(*life, caption, ended);
        Hold(TTMLTest::ScriptedTvService::Caption(caption) == 1, "the source is subscribed");
        Hold(g_records.size() == (wanted ? 1U : 0U), "a caption is delivered once, and a right one only");
        for (const auto& record : g_records) {
            CheckRecord(*record, ended, isImage);
            CheckTime(life->Source(), caption);
        }
        g_records.clear();
    }
    TTMLTest::Journal::Instance().Clear();
    return 0;
}

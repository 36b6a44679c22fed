#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CaptionChoice.h"
#include "CaptionTimeline.h"
#include "DeliveryClock.h"
#include "Mpd.h"
#include "SegmentReader.h"
#include "SegmentStore.h"
#include "ServicePlan.h"

namespace {

using namespace TTMLHost;

struct Played
{
    std::vector<std::string> documents;
    std::vector<CaptionTime> times;
    std::vector<std::int64_t> due;
    std::vector<std::int64_t> trackMs;
    std::vector<std::string> warnings;
    std::string error;
    TCCaption caption;
};

constexpr std::int64_t kNowNs = 1700000000000000000;

bool SetInitialization(SegmentStore* store, const CaptionSet& set, SegmentReader* reader, std::string* error)
{
    const std::string& name = set.segments.initialization;
    const StoredFile file = name.empty() ? StoredFile() : store->Fetch(set, name);
    *error = file.error;
    return name.empty() ||
           (file.kind == StoredFile::Kind::Fetched && reader->SetInitialization(file.bytes, name, error));
}

// Plays all of a service that is a file, without waiting.
Played Play(const std::string& path)
{
    Played played;
    SegmentStore store(path);
    const StoredFile text = store.FetchMpd();
    auto mpd = ReadMpd(text.bytes, path, &played.error);
    if (!mpd || !HasCaptions(*mpd, "", path, &played.error)) {
        return played;
    }
    SettleCaptions(&*mpd, [&store](const CaptionSet& set) {
        return SegmentReader::HoldsTtml(store.Fetch(set, set.segments.initialization).bytes);
    });
    ServicePlan plan(path, "", [&store](const CaptionSet& set) { return store.Numbers(set); });
    plan.Begin(std::make_shared<const Mpd>(*mpd), kNowNs);
    DeliveryClock clock(plan.Pace(), 1.0);
    const CaptionTimeline timeline(plan.CurrentMpd());
    SegmentReader reader;
    const CaptionSet* ready = nullptr;
    for (PlanStep step = plan.Next(kNowNs); step.kind == PlanStep::Kind::Fetch; step = plan.Next(kNowNs)) {
        if (step.set != ready) {
            ready = step.set;
            played.caption = ready->caption;
            if (!SetInitialization(&store, *ready, &reader, &played.error)) {
                return played;
            }
        }
        const StoredFile file = store.Fetch(*step.set, step.segment.reference);
        const std::string line =
            file.kind == StoredFile::Kind::Fetched ? plan.Fetched() : plan.Missing(kNowNs, file.error);
        if (!line.empty()) {
            played.warnings.push_back(line);
        }
        if (file.kind != StoredFile::Kind::Fetched) {
            continue;
        }
        const SegmentContent content = reader.Read(file.bytes, step.segment.reference);
        played.warnings.insert(played.warnings.end(), content.warnings.begin(), content.warnings.end());
        for (const CaptionSample& sample : content.samples) {
            const CaptionTime time = timeline.Of(*step.period, *step.set, sample.time, sample.timescale);
            played.documents.emplace_back(sample.payload.begin(), sample.payload.end());
            played.times.push_back(time);
            played.due.push_back((clock.DueNs(step.segment, time, kNowNs) - kNowNs) / 1000000);
            played.trackMs.push_back(sample.time * 1000 / sample.timescale);
        }
    }
    return played;
}

TEST(SampleService, PlaysFromBeginningToEnd)
{
    const Played played = Play(std::string(TTML_TEST_SAMPLES) + "/dash/manifest.mpd");
    EXPECT_EQ(played.error, "");
    EXPECT_EQ(played.warnings, std::vector<std::string>());
    ASSERT_GE(played.documents.size(), 6U);
    EXPECT_EQ(played.caption.languageCode, 0x656e67);
    EXPECT_NE(played.documents[0].find("The ferry leaves at six."), std::string::npos);
    for (std::size_t i = 0; i < played.documents.size(); ++i) {
        EXPECT_EQ(played.times[i].referenceNs, played.trackMs[i] * 1000000);
        EXPECT_EQ(played.times[i].offsetNs, 0);
        EXPECT_EQ(played.due[i], played.trackMs[i]);
    }
}

// The MPDs with TTML segments below the folder that TTML_TEST_MEDIA names.
std::vector<std::string> PublicServices()
{
    std::vector<std::string> services;
    const char* const media = std::getenv("TTML_TEST_MEDIA");
    std::error_code error;
    if (media == nullptr || !std::filesystem::is_directory(media, error)) {
        return services;
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(media)) {
        if (entry.path().extension() == ".mpd") {
            services.push_back(entry.path().string());
        }
    }
    std::sort(services.begin(), services.end());
    return services;
}

TEST(PublicService, PlaysMadeByOthers)
{
    const std::vector<std::string> services = PublicServices();
    if (services.empty()) {
        GTEST_SKIP() << "TTML_TEST_MEDIA names no folder with MPDs";
    }
    std::size_t played = 0;
    for (const std::string& path : services) {
        const Played service = Play(path);
        played += service.documents.empty() ? 0 : 1;
        for (const std::string& document : service.documents) {
            EXPECT_NE(document.find("</tt"), std::string::npos) << path;
        }
    }
    EXPECT_GE(played, 1U);
}

TEST(PublicService, PlaysABroadcastThatCountsFrom1970)
{
    const std::vector<std::string> services = PublicServices();
    const auto broadcast = std::find_if(services.begin(), services.end(), [](const std::string& path) {
        return std::filesystem::exists(std::filesystem::path(path).parent_path() / "d4_4-796069158.m4s");
    });
    if (broadcast == services.end()) {
        GTEST_SKIP() << "TTML_TEST_MEDIA names no folder with the broadcast";
    }
    const Played played = Play(*broadcast);
    EXPECT_EQ(played.error, "");
    EXPECT_EQ(played.warnings, std::vector<std::string>());
    ASSERT_EQ(played.documents.size(), 8U);
    EXPECT_EQ(played.caption.languageCode, 0x656e67);
    EXPECT_EQ(played.caption.role, 5);
    EXPECT_EQ(played.caption.aspect, 2);
    EXPECT_EQ(played.caption.profile, 0);
    for (std::size_t i = 0; i < 8; ++i) {
        const auto step = static_cast<std::int64_t>(i);
        EXPECT_EQ(played.trackMs[i], 1593730454316 + 2002 * step);
        EXPECT_EQ(played.times[i].referenceNs, played.trackMs[i] * 1000000);
        EXPECT_EQ(played.times[i].offsetNs, -1593730498000 * std::int64_t{1000000});
        EXPECT_EQ(played.due[i], 2002 * step);
    }
    EXPECT_NE(played.documents[0].find("begin=\"442702:54:14.316\""), std::string::npos);
}

} // namespace

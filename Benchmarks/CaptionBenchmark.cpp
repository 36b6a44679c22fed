// ATSC 3.0: a caption from the TV service's callback to the client's, a repeated caption, and the search for
// an image.

#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "AtscPlay.h"
#include "Document.h"
#include "LogLines.h"
#include "PlatformTvServiceData.h"
#include "PrivateAccess.h"
#include "SilentStderr.h"
#include "Subjects.h"
#include "TTMLRawDataInfo.h"

TTML_EXPOSE_FUNCTION(AtscSplit, void (*)(std::vector<unsigned char>&, TTML::TTMLRawDataInfo*),
                     TTML::CATSCSource::m_SplitCaptionAndImageData)

namespace TTMLBench {

namespace {

using Bytes = std::vector<unsigned char>;
using Captions = std::vector<TSCaption>;

constexpr std::size_t kLargeSize = 500000;
constexpr std::size_t kDifference = 512; // more than a paragraph
constexpr std::size_t kImageAtEndSize = 2048;

// As many captions as fit the memory that is measured with.
constexpr std::size_t kSmallBatch = 64;
constexpr std::size_t kLargeBatch = 16;

// PNG (ISO/IEC 15948), 5.2.
constexpr char kPngSignature[] = "\x89PNG\r\n\x1A\n";
constexpr std::size_t kPngSignatureSize = sizeof kPngSignature - 1;

Bytes BytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

Bytes TextPayload(std::size_t size)
{
    return BytesOf(MakeDocument(size));
}

// A document with an image behind it, `size` bytes in all.
Bytes ImagePayload(std::size_t documentSize, std::size_t size)
{
    Bytes payload = BytesOf(MakeDocument(documentSize) + kPngSignature);
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): each run measures the same bytes
    while (payload.size() < size) {
        payload.push_back(static_cast<unsigned char>(random()));
    }
    return payload;
}

// What is delivered, and how.
struct Case
{
    AtscPlay::Profile profile;
    Bytes payloads[2]; // in turn, so that none is dropped as a repeat
    std::size_t batch;
};

Case SmallText()
{
    return {AtscPlay::Profile::Text,
            {TextPayload(kUsualDocumentSize), TextPayload(kUsualDocumentSize + kDifference)},
            kSmallBatch};
}

Case LargeImage()
{
    return {AtscPlay::Profile::Image,
            {ImagePayload(kUsualDocumentSize, kLargeSize),
             ImagePayload(kUsualDocumentSize + kDifference, kLargeSize)},
            kLargeBatch};
}

// As the TV service makes them: each in memory of its own that is just large enough.
Captions MakeCaptions(const Case& what, std::size_t count, bool isRepeated)
{
    Captions captions(count);
    for (std::size_t i = 0; i < count; ++i) {
        captions[i].type = CLOSED_CAPTION_TYPE_ATSC3;
        captions[i].data = what.payloads[isRepeated ? 0 : i % 2];
    }
    return captions;
}

double ThreadSeconds()
{
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Times what is done with captions and not how they are made.
template <typename Work>
void Measure(benchmark::State& state, const Case& what, bool isRepeated, Work work)
{
    for (auto _ : state) {
        Captions captions = MakeCaptions(what, what.batch, isRepeated);
        const double begin = ThreadSeconds();
        if (!work(captions)) {
            state.SkipWithError("a repeated caption was delivered");
            return;
        }
        state.SetIterationTime(ThreadSeconds() - begin);
    }
}

void Delivery(benchmark::State& state, Case (*make)())
{
    const Case what = make();
    AtscPlay play(what.profile);
    Measure(state, what, false, [&](Captions& captions) {
        play.Deliver(captions);
        return true;
    });
}

void Copy(benchmark::State& state, Case (*make)())
{
    Measure(state, make(), false, [](const Captions& captions) {
        for (const TSCaption& caption : captions) {
            std::string copy(caption.data.begin(), caption.data.end());
            benchmark::DoNotOptimize(copy);
        }
        return true;
    });
}

void Repeats(benchmark::State& state, Case (*make)())
{
    const Case what = make();
    AtscPlay play(what.profile);
    Captions first = MakeCaptions(what, 1, true);
    play.Deliver(first);
    // Each repeat is warned of.
    const SilentStderr silent;
    Measure(state, what, true, [&](Captions& captions) { return play.DeliverRepeats(captions); });
}

void Compare(benchmark::State& state, Case (*make)())
{
    const Case what = make();
    const Bytes last = what.payloads[0];
    Measure(state, what, true, [&](const Captions& captions) {
        bool isSame = true;
        for (const TSCaption& caption : captions) {
            isSame = caption.data == last && isSame;
        }
        return isSame;
    });
}

Bytes ImageAtEnd()
{
    return ImagePayload(kLargeSize - kImageAtEndSize, kLargeSize);
}

Bytes NoImage()
{
    return TextPayload(kLargeSize);
}

void Split(benchmark::State& state, Bytes (*make)())
{
    Bytes payload = make();
    const bool hasImage = make == ImageAtEnd;
    for (auto _ : state) {
        TTML::TTMLRawDataInfo record;
        TTMLTest::CallPrivateStatic<TTMLTest::AtscSplit>(payload, &record);
        if (record.secondaryData.empty() == hasImage) {
            state.SkipWithError("the payload was split where it should not be");
            return;
        }
    }
}

void Search(benchmark::State& state, Bytes (*make)())
{
    const Bytes payload = make();
    for (auto _ : state) {
        benchmark::DoNotOptimize(memmem(payload.data(), payload.size(), kPngSignature, kPngSignatureSize));
    }
}

void DeliverMany(std::size_t count)
{
    const Case what = SmallText();
    Captions captions = MakeCaptions(what, count, false);
    AtscPlay(what.profile).Deliver(captions);
}

void RepeatMany(std::size_t count)
{
    const Case what = SmallText();
    Captions captions = MakeCaptions(what, count, true);
    AtscPlay play(what.profile);
    Captions first = MakeCaptions(what, 1, true);
    play.Deliver(first);
    play.DeliverRepeats(captions);
}

void RegisterDelivery()
{
    benchmark::RegisterBenchmark("caption/deliver_small", Delivery, SmallText)->UseManualTime();
    benchmark::RegisterBenchmark("caption/copy_small", Copy, SmallText)->UseManualTime();
    benchmark::RegisterBenchmark("caption/deliver_large", Delivery, LargeImage)->UseManualTime();
    benchmark::RegisterBenchmark("caption/copy_large", Copy, LargeImage)->UseManualTime();
    benchmark::RegisterBenchmark("caption/split_end", Split, ImageAtEnd);
    benchmark::RegisterBenchmark("caption/search_end", Search, ImageAtEnd);
    benchmark::RegisterBenchmark("caption/split_none", Split, NoImage);
    benchmark::RegisterBenchmark("caption/search_none", Search, NoImage);
    benchmark::RegisterBenchmark("caption/lines", MeasureLogLines);
}

void RegisterRepeats()
{
    benchmark::RegisterBenchmark("caption/repeat_small", Repeats, SmallText)->UseManualTime();
    benchmark::RegisterBenchmark("caption/compare_small", Compare, SmallText)->UseManualTime();
    benchmark::RegisterBenchmark("caption/repeat_large", Repeats, LargeImage)->UseManualTime();
    benchmark::RegisterBenchmark("caption/compare_large", Compare, LargeImage)->UseManualTime();
}

void ReportDelivery(const Results& results, Table& table)
{
    const std::optional<double> small = results.Time("caption/deliver_small", kSmallBatch);
    if (small) {
        table.CompareTimes("2 KB caption, caption callback to the client's", small,
                           results.Time("caption/copy_small", kSmallBatch), "bare copy",
                           LogLinesNote(results, "caption/lines", kCaptionSubject.workload, "a caption") +
                               "; else three copies and the clock");
    }
    table.CompareTimes("500 KB caption with a PNG image, the same",
                       results.Time("caption/deliver_large", kLargeBatch),
                       results.Time("caption/copy_large", kLargeBatch), "bare copy",
                       "three copies: the zero byte behind it, the record, and what repeats are known by");
    table.CompareTimes("split of 500 KB, image in the last 2 KB", results.Time("caption/split_end"),
                       results.Time("caption/search_end"), "memmem", "search and a copy");
    table.CompareTimes("split of 500 KB without image", results.Time("caption/split_none"),
                       results.Time("caption/search_none"), "memmem", "search alone");
}

void ReportRepeats(const Results& results, Table& table)
{
    const std::optional<double> small = results.Time("caption/repeat_small", kSmallBatch);
    if (small) {
        table.CompareTimes(
            "repeated 2 KB caption, callback to its return", small,
            results.Time("caption/compare_small", kSmallBatch), "bare compare",
            LogLinesNote(results, "caption/lines", kCaptionRepeatSubject.workload, "a caption") +
                " and a warning that is written; else a copy");
    }
    table.CompareTimes("repeated 500 KB caption, the same", results.Time("caption/repeat_large", kLargeBatch),
                       results.Time("caption/compare_large", kLargeBatch), "bare compare",
                       "a copy, for the zero byte behind it");
}

} // namespace

const Subject kCaptionSubject = {RegisterDelivery, ReportDelivery, "delivered caption", DeliverMany};
const Subject kCaptionRepeatSubject = {RegisterRepeats, ReportRepeats, "repeated caption", RepeatMany};

} // namespace TTMLBench

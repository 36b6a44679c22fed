// ATSC 3.0: the two times that a source reads out of an MPD, beside an XML parser that does so.

#include <string>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include "CMpdParser.h"
#include "LogLines.h"
#include "SilentStderr.h"
#include "Subjects.h"

namespace TTMLBench {

namespace {

constexpr std::size_t kSmallSize = std::size_t{4} << 10;
constexpr std::size_t kLargeSize = std::size_t{1} << 20;

// Of pugixml's time, for a large MPD.
constexpr double kLargeLimit = 1.0 / 20.0;

// 2026-01-01T00:00:00Z and 1.5 s, in milliseconds.
constexpr std::int64_t kStart = 1767225600000;
constexpr std::int64_t kDelay = 1500;

// Periods as they come with insertions, each with a set of captions.
std::string MakeMpd(std::size_t size, bool hasDelay)
{
    std::string mpd = R"(<?xml version="1.0" encoding="UTF-8"?>
<MPD xmlns="urn:mpeg:dash:schema:mpd:2011" profiles="urn:mpeg:dash:profile:isoff-broadcast:2015"
     type="dynamic" minimumUpdatePeriod="PT2S" timeShiftBufferDepth="PT20S" minBufferTime="PT2S"
     availabilityStartTime="2026-01-01T00:00:00Z")";
    mpd += hasDelay ? " suggestedPresentationDelay=\"PT1.5S\">\n" : ">\n";
    const std::string tail = "</MPD>\n";
    for (unsigned i = 0; mpd.size() + tail.size() < size; ++i) {
        mpd += "  <Period id=\"" + std::to_string(i) + "\" start=\"PT" + std::to_string(2 * i) + R"(S">
    <AdaptationSet id="1" contentType="text" mimeType="application/mp4" lang="eng" segmentAlignment="true">
      <Role schemeIdUri="urn:mpeg:dash:role:2011" value="caption"/>
      <SegmentTemplate timescale="90000" duration="180180" startNumber="1"
                       initialization="$RepresentationID$-init.mp4" media="$RepresentationID$-$Number$.m4s"/>
      <Representation id="eng" codecs="stpp.ttml.im1t" bandwidth="8000"/>
    </AdaptationSet>
  </Period>
)";
    }
    return mpd + tail;
}

void Parse(benchmark::State& state, std::size_t size, bool hasDelay)
{
    const std::string mpd = MakeMpd(size, hasDelay);
    // An attribute that is missing is warned of.
    const SilentStderr silent;
    for (auto _ : state) {
        TTML::CMpdParser parser;
        parser.Parse(mpd);
        if (parser.GetAST() != kStart || parser.GetSPD() != (hasDelay ? kDelay : 0)) {
            state.SkipWithError("the times were not read");
            return;
        }
    }
}

void Pugixml(benchmark::State& state, std::size_t size, bool hasDelay)
{
    const std::string mpd = MakeMpd(size, hasDelay);
    for (auto _ : state) {
        pugi::xml_document document;
        const bool good = document.load_buffer(mpd.data(), mpd.size());
        const pugi::xml_node root = document.child("MPD");
        const std::string start = root.attribute("availabilityStartTime").value();
        const std::string delay = root.attribute("suggestedPresentationDelay").value();
        if (!good || start.empty() || delay.empty() == hasDelay) {
            state.SkipWithError("pugixml did not find the attributes");
            return;
        }
    }
}

void ParseMany(std::size_t count)
{
    const std::string mpd = MakeMpd(kSmallSize, true);
    TTML::CMpdParser parser;
    for (std::size_t i = 0; i < count; ++i) {
        parser.Parse(mpd);
    }
}

void Register()
{
    benchmark::RegisterBenchmark("mpd/small", Parse, kSmallSize, true);
    benchmark::RegisterBenchmark("mpd/small_pugixml", Pugixml, kSmallSize, true);
    benchmark::RegisterBenchmark("mpd/large", Parse, kLargeSize, true);
    benchmark::RegisterBenchmark("mpd/large_pugixml", Pugixml, kLargeSize, true);
    benchmark::RegisterBenchmark("mpd/without_delay", Parse, kLargeSize, false);
    benchmark::RegisterBenchmark("mpd/without_delay_pugixml", Pugixml, kLargeSize, false);
    benchmark::RegisterBenchmark("mpd/lines", MeasureLogLines);
}

void Report(const Results& results, Table& table)
{
    constexpr char kReference[] = "pugixml, both attributes";
    const std::optional<double> small = results.Time("mpd/small");
    if (small) {
        table.CompareTimes("CMpdParser::Parse, 4 KB MPD", small, results.Time("mpd/small_pugixml"),
                           kReference,
                           LogLinesNote(results, "mpd/lines", kMpdSubject.workload, "an MPD") +
                               "; else the local time zone");
    }
    table.CompareTimes("CMpdParser::Parse, 1 MB MPD", results.Time("mpd/large"),
                       results.Time("mpd/large_pugixml"), kReference, "at most 0.05 allowed", kLargeLimit);
    table.CompareTimes("CMpdParser::Parse, 1 MB MPD without delay", results.Time("mpd/without_delay"),
                       results.Time("mpd/without_delay_pugixml"), kReference,
                       "searched to its end, and a warning that is written");
}

} // namespace

const Subject kMpdSubject = {Register, Report, "parsed MPD", ParseMany};

} // namespace TTMLBench

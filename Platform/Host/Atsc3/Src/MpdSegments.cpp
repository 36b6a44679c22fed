#include "MpdSegments.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <utility>

#include "MpdNode.h"

namespace TTMLHost {

namespace {

constexpr std::int64_t kLargestTimescale = std::numeric_limits<std::uint32_t>::max();
// What a manifest of any length of time needs, and few enough that none of the sums below goes astray.
constexpr std::int64_t kLargestNumber = std::int64_t{1} << 62U;
constexpr std::int64_t kLongestOffsetMs = 1000000000;

// The elements of one name at the three levels, the innermost first; absent ones are null nodes.
using Levels = std::array<pugi::xml_node, 3>;

Levels LevelsOf(const pugi::xml_node& period, const pugi::xml_node& set, const pugi::xml_node& representation,
                const char* name)
{
    return {ChildElement(representation, name), ChildElement(set, name), ChildElement(period, name)};
}

std::int64_t Inherited(const Levels& levels, const char* attribute, std::int64_t otherwise)
{
    for (const pugi::xml_node& level : levels) {
        if (const auto value = NumberAttribute(level, attribute)) {
            return std::min(*value, kLargestNumber);
        }
    }
    return otherwise;
}

std::string InheritedText(const Levels& levels, const char* attribute)
{
    for (const pugi::xml_node& level : levels) {
        if (auto value = TextAttribute(level, attribute)) {
            return *std::move(value);
        }
    }
    return std::string();
}

pugi::xml_node InheritedChild(const Levels& levels, const char* name)
{
    for (const pugi::xml_node& level : levels) {
        if (const pugi::xml_node child = ChildElement(level, name)) {
            return child;
        }
    }
    return pugi::xml_node();
}

// Seconds as a decimal fraction; "INF" and what is no number count as none: segments that are there before
// they are made are asked for when they are complete.
std::int64_t AvailabilityOffsetMs(const Levels& levels)
{
    const std::string text = InheritedText(levels, "availabilityTimeOffset");
    if (text.empty() || text.find_first_not_of("0123456789.") != std::string::npos) {
        return 0;
    }
    std::int64_t ms = 0;
    std::int64_t unit = 1000;
    bool behindPoint = false;
    for (const char c : text) {
        if (c == '.') {
            behindPoint = true;
        } else if (!behindPoint) {
            ms = ms * 10 + std::int64_t{c - '0'} * 1000;
        } else {
            unit /= 10;
            ms += (c - '0') * unit;
        }
        if (ms > kLongestOffsetMs) {
            return 0;
        }
    }
    return ms;
}

// How often a run is repeated until the next one begins; the last one goes on.
std::int64_t CountUntil(const TimelineRun& run, const pugi::xml_node& next)
{
    const auto end = NumberAttribute(next, "t");
    if (!next || !end) {
        return TimelineRun::kOpen;
    }
    return *end > run.time ? (*end - run.time + run.duration - 1) / run.duration : 0;
}

// False when a run is longer than time itself.
bool AddRun(TimelineRun run, std::vector<TimelineRun>* timeline, std::int64_t* end)
{
    std::int64_t length = 0;
    if (run.count != TimelineRun::kOpen && (__builtin_mul_overflow(run.count, run.duration, &length) ||
                                            length > kLargestNumber || run.time > kLargestNumber - length)) {
        return false;
    }
    *end = run.time + length;
    if (run.count != 0) {
        timeline->push_back(run);
    }
    return true;
}

bool ReadTimeline(const pugi::xml_node& node, SegmentAddressing* segments, std::string* why)
{
    std::int64_t end = 0;
    const std::vector<pugi::xml_node> entries = ChildElements(node, "S");
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const pugi::xml_node entry = entries[i];
        TimelineRun run;
        run.time = std::min(NumberAttribute(entry, "t").value_or(end), kLargestNumber);
        run.duration = std::min(NumberAttribute(entry, "d").value_or(0), kLargestNumber / 2);
        if (run.duration <= 0 || run.time < end) {
            *why =
                "its segment timeline has an entry " + std::to_string(i + 1) +
                (run.duration <= 0 ? " without a duration" : " that begins before the one ahead of it ends");
            return false;
        }
        const std::string repeat = TextAttribute(entry, "r").value_or("0");
        if (!repeat.empty() && repeat.front() == '-') {
            run.count = CountUntil(run, i + 1 < entries.size() ? entries[i + 1] : pugi::xml_node());
        } else {
            run.count = std::min(NumberAttribute(entry, "r").value_or(0), kLargestNumber) + 1;
        }
        const bool open = run.count == TimelineRun::kOpen;
        if (!AddRun(run, &segments->timeline, &end)) {
            *why = "its segment timeline has an entry " + std::to_string(i + 1) + " that is too long";
            return false;
        }
        if (open) {
            break;
        }
    }
    return true;
}

bool ReadCommon(const Levels& levels, SegmentAddressing* segments, std::string* why)
{
    segments->timescale = Inherited(levels, "timescale", 1);
    if (segments->timescale <= 0 || segments->timescale > kLargestTimescale) {
        *why = "its timescale is not from 1 to 4294967295";
        return false;
    }
    segments->startNumber = Inherited(levels, "startNumber", 1);
    for (const pugi::xml_node& level : levels) {
        if (!segments->endNumber) {
            segments->endNumber = NumberAttribute(level, "endNumber");
        }
    }
    segments->duration = Inherited(levels, "duration", 0);
    segments->presentationTimeOffset = Inherited(levels, "presentationTimeOffset", 0);
    segments->availabilityTimeOffsetMs = AvailabilityOffsetMs(levels);
    segments->initialization =
        TextAttribute(InheritedChild(levels, "Initialization"), "sourceURL").value_or(std::string());
    const pugi::xml_node timeline = InheritedChild(levels, "SegmentTimeline");
    return !timeline || ReadTimeline(timeline, segments, why);
}

bool ReadTemplate(const Levels& levels, const pugi::xml_node& representation, SegmentAddressing* segments,
                  std::string* why)
{
    segments->kind = SegmentAddressing::Kind::Template;
    const std::string id = TextAttribute(representation, "id").value_or(std::string());
    const std::int64_t bandwidth = NumberAttribute(representation, "bandwidth").value_or(0);
    const std::string media = InheritedText(levels, "media");
    const auto parsed = SegmentTemplate::Parse(media, id, bandwidth);
    const std::string initialization = InheritedText(levels, "initialization");
    const auto parsedInitialization = SegmentTemplate::Parse(initialization, id, bandwidth);
    if (!parsed || !parsedInitialization) {
        *why = "its segment template '" + (parsed ? initialization : media) + "' has an unknown identifier";
        return false;
    }
    if (!parsed->HasNumber() && !parsed->HasTime()) {
        *why = "its segment template '" + media + "' has neither $Number$ nor $Time$";
        return false;
    }
    if (segments->timeline.empty() && (segments->duration <= 0 || parsed->HasTime())) {
        *why = "its segment template has neither a duration for numbers nor a timeline";
        return false;
    }
    segments->media = *parsed;
    if (!initialization.empty()) {
        segments->initialization = parsedInitialization->Fill(0, 0);
    }
    return true;
}

bool ReadList(const Levels& levels, SegmentAddressing* segments)
{
    for (const pugi::xml_node& level : levels) {
        for (const pugi::xml_node& entry : ChildElements(level, "SegmentURL")) {
            if (const auto media = TextAttribute(entry, "media")) {
                segments->list.push_back(*media);
            }
        }
        if (!segments->list.empty()) {
            segments->kind = SegmentAddressing::Kind::List;
            return true;
        }
    }
    // Ranges of the one file that the base URL names.
    segments->kind = SegmentAddressing::Kind::Single;
    return true;
}

} // namespace

bool ReadSegmentAddressing(const pugi::xml_node& period, const pugi::xml_node& set,
                           const pugi::xml_node& representation, SegmentAddressing* segments,
                           std::string* why)
{
    const Levels templates = LevelsOf(period, set, representation, "SegmentTemplate");
    const Levels lists = LevelsOf(period, set, representation, "SegmentList");
    const Levels bases = LevelsOf(period, set, representation, "SegmentBase");
    for (std::size_t level = 0; level < templates.size(); ++level) {
        if (templates[level]) {
            return ReadCommon(templates, segments, why) &&
                   ReadTemplate(templates, representation, segments, why);
        }
        if (lists[level]) {
            return ReadCommon(lists, segments, why) && ReadList(lists, segments);
        }
        if (bases[level]) {
            break;
        }
    }
    // The whole of the file holds its initialization, too.
    segments->kind = SegmentAddressing::Kind::Single;
    if (!ReadCommon(bases, segments, why)) {
        return false;
    }
    segments->timeline.clear();
    return true;
}

} // namespace TTMLHost

#include "SegmentReader.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "BoxReader.h"
#include "InputError.h"

namespace TTMLHost {

namespace {

constexpr char kTtmlEntry[] = "stpp";

// Flags of a track fragment header and of a track run.
constexpr std::uint64_t kBaseDataOffset = 0x000001;
constexpr std::uint64_t kDescriptionIndex = 0x000002;
constexpr std::uint64_t kDefaultDuration = 0x000008;
constexpr std::uint64_t kDefaultSize = 0x000010;
constexpr std::uint64_t kDataOffset = 0x000001;
constexpr std::uint64_t kFirstFlags = 0x000004;
constexpr std::uint64_t kSampleDuration = 0x000100;
constexpr std::uint64_t kSampleSize = 0x000200;
constexpr std::uint64_t kSampleFlags = 0x000400;
constexpr std::uint64_t kSampleOffset = 0x000800;

// More than a segment of captions ever has.
constexpr std::uint64_t kMostSamples = 100000;
// Times up to here can be added to without a look at the sum.
constexpr std::uint64_t kLargestTime = std::uint64_t{1} << 62U;

constexpr char kReading[] = "read all of";
constexpr char kAdvice[] = "check what wrote the segment; the rest is played";

bool IsTtmlTrack(std::string_view track)
{
    const auto descriptions = FindBox(track, {"mdia", "minf", "stbl", "stsd"});
    constexpr std::size_t kBeforeEntries = 8; // version, flags, count
    return descriptions && descriptions->body.size() > kBeforeEntries &&
           FindBox(descriptions->body.substr(kBeforeEntries), kTtmlEntry).has_value();
}

// Only a box that is in no other one may go on to the end of the file.
bool CannotBeInside(const Box& box)
{
    return box.cut || box.open;
}

// Behind version and flags and the two dates, which are longer in version 1.
std::uint64_t FieldBehindDates(std::string_view header)
{
    FieldReader fields(header);
    const bool isLong = fields.Take(1) == 1;
    fields.Skip(3 + (isLong ? 16 : 8));
    return fields.Take(4);
}

} // namespace

// The fragments of one segment.
class SegmentReader::Fragments
{
public:
    Fragments(const Track& track, std::string_view segment, std::int64_t* nextTime, SegmentContent* content)
        : m_track(track)
        , m_segment(segment)
        , m_nextTime(nextTime)
        , m_content(content)
    {}

    void Read(const Box& fragment)
    {
        m_fragmentOffset = fragment.offset;
        m_dataAt = std::nullopt;
        BoxReader boxes(fragment.body);
        while (const std::optional<Box> box = boxes.Next()) {
            m_damaged = m_damaged || CannotBeInside(*box);
            if (box->type == "traf") {
                ReadTrackFragment(box->body);
            }
        }
    }

    bool Found() const { return m_found; }
    bool Damaged() const { return m_damaged; }
    std::size_t CutSamples() const { return m_cutSamples; }

private:
    struct Defaults
    {
        std::uint64_t duration = 0;
        std::uint64_t size = 0;
    };

    void ReadTrackFragment(std::string_view body)
    {
        const std::optional<Box> header = FindBox(body, "tfhd");
        if (!header) {
            m_damaged = true;
            return;
        }
        FieldReader fields(header->body);
        const std::uint64_t flags = fields.Take(4) & 0xffffff;
        if (fields.Take(4) != m_track.id && !m_track.alone) {
            return;
        }
        m_base = (flags & kBaseDataOffset) != 0 ? fields.Take(8) : m_fragmentOffset;
        fields.Skip((flags & kDescriptionIndex) != 0 ? 4 : 0);
        Defaults defaults;
        defaults.duration = (flags & kDefaultDuration) != 0 ? fields.Take(4) : m_track.defaultDuration;
        defaults.size = (flags & kDefaultSize) != 0 ? fields.Take(4) : m_track.defaultSize;
        if (fields.Short() || !ReadTime(body)) {
            m_damaged = true;
            return;
        }
        m_found = true;
        BoxReader boxes(body);
        while (const std::optional<Box> box = boxes.Next()) {
            m_damaged = m_damaged || CannotBeInside(*box);
            if (box->type == "trun") {
                ReadRun(box->body, defaults);
            }
        }
        m_damaged = m_damaged || boxes.Broken();
    }

    // A fragment without a time goes on where the one before it ended.
    bool ReadTime(std::string_view body)
    {
        const std::optional<Box> box = FindBox(body, "tfdt");
        if (!box) {
            return true;
        }
        FieldReader fields(box->body);
        const bool isLong = fields.Take(1) == 1;
        fields.Skip(3);
        const std::uint64_t time = fields.Take(isLong ? 8 : 4);
        if (fields.Short() || time > kLargestTime) {
            return false;
        }
        *m_nextTime = static_cast<std::int64_t>(time);
        return true;
    }

    void ReadRun(std::string_view body, const Defaults& defaults)
    {
        FieldReader fields(body);
        const std::uint64_t flags = fields.Take(4) & 0xffffff;
        const std::uint64_t count = fields.Take(4);
        StartData(flags, &fields);
        fields.Skip((flags & kFirstFlags) != 0 ? 4 : 0);
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t duration =
                (flags & kSampleDuration) != 0 ? fields.Take(4) : defaults.duration;
            const std::uint64_t size = (flags & kSampleSize) != 0 ? fields.Take(4) : defaults.size;
            fields.Skip((flags & kSampleFlags) != 0 ? 4 : 0);
            const auto offset = static_cast<std::int32_t>((flags & kSampleOffset) != 0 ? fields.Take(4) : 0);
            // What takes neither time nor room is no sample, and there can be any number of it.
            const bool isNothing = duration == 0 && size == 0;
            if (fields.Short() || isNothing || ++m_samples > kMostSamples) {
                m_damaged = true;
                return;
            }
            AddSample(size, duration, offset);
        }
    }

    void StartData(std::uint64_t flags, FieldReader* fields)
    {
        if ((flags & kDataOffset) != 0) {
            const auto offset = static_cast<std::int32_t>(fields->Take(4));
            // Wraps for what is before the segment, and is far behind it then.
            m_dataAt = m_base + static_cast<std::uint64_t>(static_cast<std::int64_t>(offset));
        } else if (!m_dataAt) {
            m_dataAt = BehindHeaderOfData();
        }
    }

    // Where the data box behind the fragment has its content.
    std::uint64_t BehindHeaderOfData() const
    {
        BoxReader boxes(m_segment.substr(m_fragmentOffset));
        while (const std::optional<Box> box = boxes.Next()) {
            if (box->type == "mdat") {
                return m_fragmentOffset + box->offset + box->header;
            }
        }
        return m_segment.size();
    }

    void AddSample(std::uint64_t size, std::uint64_t duration, std::int64_t offset)
    {
        const std::uint64_t at = *m_dataAt;
        m_dataAt = at + size;
        const std::int64_t time = *m_nextTime + offset;
        *m_nextTime = static_cast<std::int64_t>(
            std::min(kLargestTime, static_cast<std::uint64_t>(*m_nextTime) + duration));
        if (at > m_segment.size() || size > m_segment.size() - at) {
            ++m_cutSamples;
            return;
        }
        m_bytes += size;
        if (m_bytes > m_segment.size()) {
            // Runs that use the same bytes again and again.
            m_damaged = true;
            return;
        }
        const std::string_view data =
            m_segment.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(size));
        CaptionSample sample;
        sample.payload.assign(data.begin(), data.end());
        sample.time = time;
        sample.duration = static_cast<std::int64_t>(duration);
        sample.timescale = m_track.timescale;
        m_content->samples.push_back(std::move(sample));
    }

    const Track& m_track;
    const std::string_view m_segment;
    std::int64_t* const m_nextTime;
    SegmentContent* const m_content;

    std::size_t m_fragmentOffset = 0;
    std::uint64_t m_base = 0;
    std::optional<std::uint64_t> m_dataAt; // of the next sample, from the beginning of the segment
    std::uint64_t m_samples = 0;
    std::uint64_t m_bytes = 0;
    std::size_t m_cutSamples = 0;
    bool m_found = false;
    bool m_damaged = false;
};

bool SegmentReader::FindTrack(std::string_view movie, Track* track)
{
    Track found;
    int tracks = 0;
    BoxReader boxes(movie);
    while (const std::optional<Box> box = boxes.Next()) {
        if (box->type != "trak") {
            continue;
        }
        ++tracks;
        const std::optional<Box> header = FindBox(box->body, "tkhd");
        const std::optional<Box> media = FindBox(box->body, {"mdia", "mdhd"});
        if (found.timescale == 0 && header && media && IsTtmlTrack(box->body)) {
            found.id = static_cast<std::uint32_t>(FieldBehindDates(header->body));
            found.timescale = static_cast<std::int64_t>(FieldBehindDates(media->body));
        }
    }
    if (found.timescale == 0) {
        return false;
    }
    found.alone = tracks == 1;
    if (const std::optional<Box> extends = FindBox(movie, "mvex")) {
        BoxReader defaults(extends->body);
        while (const std::optional<Box> box = defaults.Next()) {
            FieldReader fields(box->body);
            fields.Skip(4);
            if (box->type != "trex" || (fields.Take(4) != found.id && !found.alone)) {
                continue;
            }
            fields.Skip(4);
            found.defaultDuration = static_cast<std::uint32_t>(fields.Take(4));
            found.defaultSize = static_cast<std::uint32_t>(fields.Take(4));
        }
    }
    *track = found;
    return true;
}

bool SegmentReader::HoldsTtml(std::string_view initialization)
{
    Track track;
    const std::optional<Box> movie = FindBox(initialization, "moov");
    return movie && FindTrack(movie->body, &track);
}

bool SegmentReader::SetInitialization(std::string_view initialization, const std::string& name,
                                      std::string* error)
{
    const std::optional<Box> movie = FindBox(initialization, "moov");
    if (!movie || !FindTrack(movie->body, &m_track)) {
        *error = DescribeInputFailure(
            "use", name, movie ? "it has no TTML track (stpp)" : "it is no initialization segment",
            "check what wrote it, and that the MPD names the initialization segment of captions");
        return false;
    }
    return true;
}

SegmentContent SegmentReader::Read(std::string_view segment, const std::string& name)
{
    SegmentContent content;
    std::optional<Fragments> fragments;
    BoxReader boxes(segment);
    while (const std::optional<Box> box = boxes.Next()) {
        content.endsEarly = content.endsEarly || box->cut;
        if (box->type == "moov") {
            FindTrack(box->body, &m_track);
        }
        if (box->type == "moof" && m_track.timescale != 0) {
            if (!fragments) {
                fragments.emplace(m_track, segment, &m_nextTime, &content);
            }
            fragments->Read(*box);
        }
    }
    const std::size_t cut = fragments ? fragments->CutSamples() : 0;
    content.endsEarly = content.endsEarly || cut > 0;
    std::string why;
    if (m_track.timescale == 0) {
        why = "there was no initialization segment with a TTML track (stpp) before it";
    } else if (!fragments || !fragments->Found()) {
        why = segment.empty() ? "it is empty" : "it has no fragment of the TTML track";
    } else if (cut > 0) {
        why = std::to_string(cut) + (cut == 1 ? " sample ends" : " samples end") + " behind its " +
              std::to_string(segment.size()) + " bytes";
    } else if (boxes.Broken() || fragments->Damaged() || content.endsEarly) {
        why = "a box in it has a size that cannot be";
    }
    if (!why.empty()) {
        content.warnings.push_back(DescribeInputFailure(kReading, name, why, kAdvice));
    }
    return content;
}

} // namespace TTMLHost

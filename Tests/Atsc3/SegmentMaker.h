#ifndef SEGMENT_MAKER_H
#define SEGMENT_MAKER_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TTMLTest {

// Boxes of ISO base media files (ISO/IEC 14496-12).

// `value` in that many bytes, most significant one first.
std::string Number(std::uint64_t value, std::size_t bytes);
std::string BoxOf(const std::string& type, const std::string& body);
std::string FullBox(const std::string& type, unsigned version, unsigned flags, const std::string& body);

struct TrackOptions
{
    std::uint32_t id = 1;
    std::uint32_t timescale = 1000;
    std::string entry = "stpp";
    unsigned version = 0; // of the headers with dates
    std::uint32_t defaultDuration = 0;
    std::uint32_t defaultSize = 0;
};

// An initialization segment with these tracks.
std::string Initialization(const std::vector<TrackOptions>& tracks = {TrackOptions()});

// One fragment and its data.
class FragmentMaker
{
public:
    FragmentMaker& Track(std::uint32_t id);
    FragmentMaker& Time(std::uint64_t time); // 64 bits; none unless given
    FragmentMaker& ShortTime(std::uint32_t time);
    FragmentMaker& Sample(const std::string& payload, std::uint32_t duration = 500);
    // Without per-sample sizes and durations: those of the fragment's header, or of the initialization.
    FragmentMaker& Defaults(std::optional<std::uint32_t> duration, std::optional<std::uint32_t> size);
    FragmentMaker& WithoutDataOffset();
    FragmentMaker& BaseOffset(std::uint64_t offset);
    FragmentMaker& CompositionOffset(std::int32_t offset);

    std::string Bytes() const;

private:
    std::string Fragment(std::size_t dataOffset) const;

    std::uint32_t m_track = 1;
    std::string m_time;
    std::vector<std::string> m_payloads;
    std::vector<std::uint32_t> m_durations;
    bool m_byDefaults = false;
    std::optional<std::uint32_t> m_defaultDuration;
    std::optional<std::uint32_t> m_defaultSize;
    bool m_hasDataOffset = true;
    std::optional<std::uint64_t> m_baseOffset;
    std::optional<std::int32_t> m_compositionOffset;
};

// The bytes with `number` in the four at `offset` of the first box of the type, counted from its size field.
std::string Patched(std::string bytes, const std::string& type, std::size_t offset, std::uint32_t number);

} // namespace TTMLTest

#endif

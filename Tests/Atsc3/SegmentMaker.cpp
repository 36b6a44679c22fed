#include "SegmentMaker.h"

#include <gtest/gtest.h>

namespace TTMLTest {

namespace {

std::string TrackHeader(const TrackOptions& track)
{
    const std::size_t dates = track.version == 1 ? 16 : 8;
    return FullBox("tkhd", track.version, 7,
                   std::string(dates, '\0') + Number(track.id, 4) + std::string(60, '\0'));
}

std::string MediaHeader(const TrackOptions& track)
{
    const std::size_t dates = track.version == 1 ? 16 : 8;
    return FullBox("mdhd", track.version, 0,
                   std::string(dates, '\0') + Number(track.timescale, 4) + std::string(8, '\0'));
}

std::string TrackBox(const TrackOptions& track)
{
    const std::string entry = BoxOf(track.entry, std::string(6, '\0') + Number(1, 2) +
                                                     "http://www.w3.org/ns/ttml" + std::string(3, '\0'));
    const std::string tables = BoxOf("stbl", FullBox("stsd", 0, 0, Number(1, 4) + entry));
    return BoxOf("trak", TrackHeader(track) + BoxOf("mdia", MediaHeader(track) + BoxOf("hdlr", "subt") +
                                                                BoxOf("minf", tables)));
}

} // namespace

std::string Number(std::uint64_t value, std::size_t bytes)
{
    std::string text(bytes, '\0');
    for (std::size_t i = bytes; i-- > 0;) {
        text[i] = static_cast<char>(value & 0xff);
        value >>= 8U;
    }
    return text;
}

std::string BoxOf(const std::string& type, const std::string& body)
{
    return Number(8 + body.size(), 4) + type + body;
}

std::string FullBox(const std::string& type, unsigned version, unsigned flags, const std::string& body)
{
    return BoxOf(type, Number(version, 1) + Number(flags, 3) + body);
}

std::string Initialization(const std::vector<TrackOptions>& tracks)
{
    std::string boxes = BoxOf("mvhd", std::string(100, '\0'));
    std::string extends;
    for (const TrackOptions& track : tracks) {
        boxes += TrackBox(track);
        extends += FullBox("trex", 0, 0,
                           Number(track.id, 4) + Number(1, 4) + Number(track.defaultDuration, 4) +
                               Number(track.defaultSize, 4) + Number(0, 4));
    }
    return BoxOf("ftyp", "iso8") + BoxOf("moov", boxes + BoxOf("mvex", extends));
}

FragmentMaker& FragmentMaker::Track(std::uint32_t id)
{
    m_track = id;
    return *this;
}

FragmentMaker& FragmentMaker::Time(std::uint64_t time)
{
    m_time = FullBox("tfdt", 1, 0, Number(time, 8));
    return *this;
}

FragmentMaker& FragmentMaker::ShortTime(std::uint32_t time)
{
    m_time = FullBox("tfdt", 0, 0, Number(time, 4));
    return *this;
}

FragmentMaker& FragmentMaker::Sample(const std::string& payload, std::uint32_t duration)
{
    m_payloads.push_back(payload);
    m_durations.push_back(duration);
    return *this;
}

FragmentMaker& FragmentMaker::Defaults(std::optional<std::uint32_t> duration,
                                       std::optional<std::uint32_t> size)
{
    m_byDefaults = true;
    m_defaultDuration = duration;
    m_defaultSize = size;
    return *this;
}

FragmentMaker& FragmentMaker::WithoutDataOffset()
{
    m_hasDataOffset = false;
    return *this;
}

FragmentMaker& FragmentMaker::BaseOffset(std::uint64_t offset)
{
    m_baseOffset = offset;
    return *this;
}

FragmentMaker& FragmentMaker::CompositionOffset(std::int32_t offset)
{
    m_compositionOffset = offset;
    return *this;
}

std::string FragmentMaker::Fragment(std::size_t dataOffset) const
{
    unsigned headerFlags = m_baseOffset ? 0x000001 : 0x020000;
    std::string header = Number(m_track, 4);
    header += m_baseOffset ? Number(*m_baseOffset, 8) : std::string();
    if (m_defaultDuration) {
        headerFlags |= 0x000008;
        header += Number(*m_defaultDuration, 4);
    }
    if (m_defaultSize) {
        headerFlags |= 0x000010;
        header += Number(*m_defaultSize, 4);
    }
    unsigned runFlags = m_hasDataOffset ? 0x000001 : 0;
    runFlags |= m_byDefaults ? 0 : 0x000300;
    runFlags |= m_compositionOffset ? 0x000800 : 0;
    std::string run = Number(m_payloads.size(), 4);
    run += m_hasDataOffset ? Number(dataOffset, 4) : std::string();
    for (std::size_t i = 0; i < m_payloads.size(); ++i) {
        run += m_byDefaults ? std::string() : Number(m_durations[i], 4) + Number(m_payloads[i].size(), 4);
        run +=
            m_compositionOffset ? Number(static_cast<std::uint32_t>(*m_compositionOffset), 4) : std::string();
    }
    return BoxOf("moof", FullBox("mfhd", 0, 0, Number(1, 4)) +
                             BoxOf("traf", FullBox("tfhd", 0, headerFlags, header) + m_time +
                                               FullBox("trun", 1, runFlags, run)));
}

std::string FragmentMaker::Bytes() const
{
    std::string data;
    for (const std::string& payload : m_payloads) {
        data += payload;
    }
    const std::size_t dataOffset = Fragment(0).size() + 8;
    return Fragment(dataOffset) + BoxOf("mdat", data);
}

std::string Patched(std::string bytes, const std::string& type, std::size_t offset, std::uint32_t number)
{
    const std::size_t at = bytes.find(type);
    if (at == std::string::npos || at < 4) {
        ADD_FAILURE() << "there is no box " << type;
        return bytes;
    }
    return bytes.replace(at - 4 + offset, 4, Number(number, 4));
}

} // namespace TTMLTest

#include "Descriptors.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace TTMLHost {

namespace {

struct Name
{
    int number;
    const char* text;
};

constexpr int kPrivateData = 0x06;

// stream_type of ISO/IEC 13818-1 table 2-34, and what ATSC and SCTE took of the private ones.
constexpr Name kStreamTypes[] = {
    {0x01, "video (MPEG-1)"},
    {0x02, "video (MPEG-2)"},
    {0x03, "audio (MPEG-1)"},
    {0x04, "audio (MPEG-2)"},
    {0x05, "private sections"},
    {kPrivateData, "private data"},
    {0x07, "MHEG"},
    {0x08, "DSM-CC"},
    {0x0a, "DSM-CC"},
    {0x0b, "DSM-CC"},
    {0x0c, "DSM-CC"},
    {0x0d, "DSM-CC"},
    {0x0f, "audio (AAC)"},
    {0x10, "video (MPEG-4)"},
    {0x11, "audio (AAC)"},
    {0x15, "metadata"},
    {0x1b, "video (H.264)"},
    {0x1c, "audio (MPEG-4)"},
    {0x1f, "video (H.264 SVC)"},
    {0x20, "video (H.264 MVC)"},
    {0x21, "video (JPEG 2000)"},
    {0x24, "video (HEVC)"},
    {0x25, "video (HEVC)"},
    {0x2d, "audio (MPEG-H 3D)"},
    {0x2e, "audio (MPEG-H 3D)"},
    {0x33, "video (VVC)"},
    {0x81, "audio (AC-3)"},
    {0x86, "splice information (SCTE 35)"},
    {0x87, "audio (E-AC-3)"},
};

// Descriptors of ETSI EN 300 468 that say what private data are.
constexpr Name kDescriptors[] = {
    {0x45, "VBI data"},     {0x46, "teletext"},       {0x56, "teletext"},    {0x59, "DVB subtitles"},
    {0x6a, "audio (AC-3)"}, {0x7a, "audio (E-AC-3)"}, {0x7b, "audio (DTS)"}, {0x7c, "audio (AAC)"},
};

// descriptor_tag_extension of its extension descriptor.
constexpr int kExtensionTag = 0x7f;
constexpr Name kExtensions[] = {
    {0x0e, "audio (DTS-HD)"},
    {0x15, "audio (AC-4)"},
    {0x20, "TTML subtitles"},
};

// format_identifier of the registration descriptor.
constexpr int kRegistrationTag = 0x05;
constexpr Name kRegistrations[] = {
    {0x41432d33, "audio (AC-3)"},   // AC-3
    {0x41432d34, "audio (AC-4)"},   // AC-4
    {0x45414333, "audio (E-AC-3)"}, // EAC3
    {0x4f707573, "audio (Opus)"},   // Opus
    {0x48455643, "video (HEVC)"},   // HEVC
    {0x56432d31, "video (VC-1)"},   // VC-1
    {0x41563031, "video (AV1)"},    // AV01
    {0x4b4c5641, "metadata (KLV)"}, // KLVA
};

template <std::size_t N>
const char* Find(const Name (&names)[N], std::uint32_t number)
{
    for (const Name& name : names) {
        if (static_cast<std::uint32_t>(name.number) == number) {
            return name.text;
        }
    }
    return nullptr;
}

const char* KindOfDescriptor(const Descriptor& descriptor)
{
    ByteReader reader(descriptor.body);
    if (descriptor.tag == kExtensionTag) {
        return reader.Left() == 0 ? nullptr : Find(kExtensions, reader.Number(1));
    }
    if (descriptor.tag == kRegistrationTag) {
        return reader.Left() < 4 ? nullptr : Find(kRegistrations, reader.Number(4));
    }
    return Find(kDescriptors, static_cast<std::uint32_t>(descriptor.tag));
}

} // namespace

std::string KindOfComponent(int streamType, ByteSpan descriptors)
{
    ByteReader loop(descriptors);
    Descriptor descriptor;
    while (streamType == kPrivateData && NextDescriptor(&loop, &descriptor)) {
        if (const char* const kind = KindOfDescriptor(descriptor)) {
            return kind;
        }
    }
    if (const char* const kind = Find(kStreamTypes, static_cast<std::uint32_t>(streamType))) {
        return kind;
    }
    constexpr char kDigits[] = "0123456789abcdef";
    return std::string("unknown (stream type 0x") + kDigits[streamType >> 4 & 0xf] +
           kDigits[streamType & 0xf] + ")";
}

} // namespace TTMLHost

#include "Descriptors.h"

#include <algorithm>
#include <cstdint>

#include "DvbText.h"

namespace TTMLHost {

namespace {

// Descriptor tags of ISO/IEC 13818-1 and ETSI EN 300 468.
constexpr int kServiceTag = 0x48;
constexpr int kParentalRatingTag = 0x55;
constexpr int kExtensionTag = 0x7f;
constexpr std::uint32_t kTtmlExtension = 0x20; // descriptor_tag_extension

constexpr std::uint32_t kHighestRating = 0x0f;
constexpr int kYoungestLess1 = 3; // 0x01 stands for 4 years

std::string ReadLanguage(ByteReader* reader)
{
    const ByteSpan letters = reader->Take(3);
    std::string language;
    for (std::size_t i = 0; i < letters.size; ++i) {
        const unsigned char c = letters.data[i];
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'))) {
            return {};
        }
        language += static_cast<char>(c);
    }
    return letters.size == 3 ? language : std::string();
}

// The body behind the extension tag.
TtmlDescriptor ReadTtml(ByteReader reader)
{
    TtmlDescriptor ttml;
    ttml.language = ReadLanguage(&reader);
    const std::uint32_t first = reader.Number(1);
    ttml.purpose = static_cast<int>(first >> 2);
    ttml.ttsSuitability = static_cast<int>(first & 3U);
    const std::uint32_t second = reader.Number(1);
    ttml.essentialFonts = (second & 0x80U) != 0;
    const bool qualifierPresent = (second & 0x40U) != 0;
    const std::size_t profiles = second & 0x0fU;
    for (std::size_t i = 0; i < profiles && reader.Left() != 0; ++i) {
        ttml.profiles.push_back(static_cast<int>(reader.Number(1)));
    }
    if (qualifierPresent && reader.Left() >= 4) {
        ttml.qualifier = reader.Number(4);
    } else if (qualifierPresent) {
        reader.Take(4);
    }
    if (ttml.essentialFonts) {
        const std::size_t fonts = reader.Number(1);
        for (std::size_t i = 0; i < fonts && reader.Left() != 0; ++i) {
            ttml.fontIds.push_back(static_cast<int>(reader.Number(1) & 0x7fU));
        }
    }
    ttml.text = DecodeDvbText(reader.Take(reader.Number(1)));
    return ttml;
}

} // namespace

std::uint32_t ByteReader::Number(std::size_t bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const ByteSpan one = Take(1);
        value = value << 8 | (one.size == 0 ? 0U : one.data[0]);
    }
    return value;
}

ByteSpan ByteReader::Take(std::size_t bytes)
{
    const ByteSpan taken = {m_rest.data, std::min(bytes, m_rest.size)};
    m_rest.data += taken.size;
    m_rest.size -= taken.size;
    return taken;
}

bool NextDescriptor(ByteReader* loop, Descriptor* descriptor)
{
    if (loop->Left() < 2) {
        return false;
    }
    descriptor->tag = static_cast<int>(loop->Number(1));
    descriptor->body = loop->Take(loop->Number(1));
    return true;
}

std::optional<TtmlDescriptor> FindTtmlDescriptor(ByteSpan descriptors)
{
    ByteReader loop(descriptors);
    Descriptor descriptor;
    while (NextDescriptor(&loop, &descriptor)) {
        ByteReader reader(descriptor.body);
        if (descriptor.tag == kExtensionTag && reader.Left() != 0 && reader.Number(1) == kTtmlExtension) {
            return ReadTtml(reader);
        }
    }
    return std::nullopt;
}

std::optional<int> FindRating(ByteSpan descriptors)
{
    std::optional<int> age;
    ByteReader loop(descriptors);
    Descriptor descriptor;
    while (NextDescriptor(&loop, &descriptor)) {
        ByteReader reader(descriptor.body);
        while (descriptor.tag == kParentalRatingTag && reader.Left() >= 4) {
            reader.Take(3); // country
            const std::uint32_t rating = reader.Number(1);
            // 0 is undefined, and what is higher is the broadcaster's own.
            if (rating != 0 && rating <= kHighestRating) {
                age = std::max(age.value_or(0), static_cast<int>(rating) + kYoungestLess1);
            }
        }
    }
    return age;
}

std::string FindServiceName(ByteSpan descriptors)
{
    ByteReader loop(descriptors);
    Descriptor descriptor;
    while (NextDescriptor(&loop, &descriptor)) {
        if (descriptor.tag == kServiceTag) {
            ByteReader reader(descriptor.body);
            reader.Take(1);                // service_type
            reader.Take(reader.Number(1)); // provider
            return DecodeDvbText(reader.Take(reader.Number(1)));
        }
    }
    return {};
}

} // namespace TTMLHost

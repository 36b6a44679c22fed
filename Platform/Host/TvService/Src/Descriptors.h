#ifndef DESCRIPTORS_H
#define DESCRIPTORS_H

#include <cstddef>
#include <optional>
#include <string>

#include "ByteSpan.h"
#include "Tables.h"

namespace TTMLHost {

// Reads a run of bytes field by field. What lies beyond the end reads as 0, and is noted.
class ByteReader
{
public:
    explicit ByteReader(ByteSpan bytes)
        : m_rest(bytes)
    {}

    std::size_t Left() const { return m_rest.size; }
    // A number of up to 4 bytes.
    std::uint32_t Number(std::size_t bytes);
    // The next bytes, or those that are left if there are fewer.
    ByteSpan Take(std::size_t bytes);

private:
    ByteSpan m_rest;
};

struct Descriptor
{
    int tag = 0;
    ByteSpan body;
};

// The next descriptor of a loop; one that announces more than the loop holds has what is left. False at the
// end.
bool NextDescriptor(ByteReader* loop, Descriptor* descriptor);

// The TTML subtitling descriptor (ETSI EN 303 560) in the descriptors of a component, as far as it goes.
std::optional<TtmlDescriptor> FindTtmlDescriptor(ByteSpan descriptors);

// The strictest age of the parental rating descriptors (ETSI EN 300 468); nothing when none says one.
std::optional<int> FindRating(ByteSpan descriptors);

// The service's name in the service descriptor (ETSI EN 300 468), as UTF-8.
std::string FindServiceName(ByteSpan descriptors);

// What a component is, for people.
std::string KindOfComponent(int streamType, ByteSpan descriptors);

} // namespace TTMLHost

#endif

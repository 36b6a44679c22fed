#ifndef BYTE_SPAN_H
#define BYTE_SPAN_H

#include <cstddef>

namespace TTMLHost {

// Bytes that belong to somebody else.
struct ByteSpan
{
    const unsigned char* data = nullptr;
    std::size_t size = 0;
};

} // namespace TTMLHost

#endif

#ifndef TTML_SOAK_PROCESS_USAGE_H
#define TTML_SOAK_PROCESS_USAGE_H

#include <cstddef>

namespace TTMLSoak {

// What this process holds just now.
struct ProcessUsage
{
    std::size_t heapBytes = 0; // allocated and not freed
    std::size_t residentBytes = 0;
    int threads = 0;
    int files = 0; // file descriptors

    static ProcessUsage Now();
};

} // namespace TTMLSoak

#endif

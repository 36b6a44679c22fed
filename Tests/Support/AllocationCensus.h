#ifndef ALLOCATION_CENSUS_H
#define ALLOCATION_CENSUS_H

#include <cstddef>

namespace TTMLTest {

// Counts what the library allocates while a census is taken and has not freed yet, on all threads. What the
// tests' support allocates inside the library's calls, or a test in a FaultPause, is not counted. One at a
// time.
class AllocationCensus
{
public:
    AllocationCensus();
    ~AllocationCensus();
    AllocationCensus(const AllocationCensus&) = delete;
    AllocationCensus& operator=(const AllocationCensus&) = delete;

    // Allocations that live.
    static std::size_t Live();

    // For the replaced calls.
    static void Allocated(void* memory);
    static void Freed(void* memory);
};

} // namespace TTMLTest

#endif

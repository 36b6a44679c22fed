#ifndef HEAP_WINDOW_H
#define HEAP_WINDOW_H

namespace TTMLBench {

// Counts what the process takes from the heap and gives back to it while this object lives, on all threads
// and through whichever allocation function. There is one at a time. Outside of a window allocations cost
// one test more than the C library's own.
class HeapWindow
{
public:
    HeapWindow();
    ~HeapWindow();
    HeapWindow(const HeapWindow&) = delete;
    HeapWindow& operator=(const HeapWindow&) = delete;

    // Bytes taken and not given back since the beginning, as the allocator rounds them.
    long long Bytes() const;
};

// Bytes of the process that are in memory (resident set).
long long ResidentBytes();

} // namespace TTMLBench

#endif

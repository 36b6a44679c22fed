#include "ProcessUsage.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <malloc.h>
#include <unistd.h>

namespace TTMLSoak {

namespace {

int EntriesOf(const char* folder)
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        (void)entry;
        ++count;
    }
    return count;
}

} // namespace

ProcessUsage ProcessUsage::Now()
{
    ProcessUsage usage;
    const struct mallinfo2 heap = mallinfo2();
    usage.heapBytes = heap.uordblks + heap.hblkhd;
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    usage.residentBytes = resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    usage.threads = EntriesOf("/proc/self/task");
    // Counting takes one itself.
    usage.files = EntriesOf("/proc/self/fd") - 1;
    return usage;
}

} // namespace TTMLSoak

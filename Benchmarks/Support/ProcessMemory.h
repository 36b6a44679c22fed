#ifndef PROCESS_MEMORY_H
#define PROCESS_MEMORY_H

#include <sys/types.h>

namespace TTMLBench {

// Bytes of a process that are in memory, as /proc/PID/status has them.
struct ProcessMemory
{
    // Heap, stacks, and pages of libraries and programs that were written to: all but what is a file's.
    double anonymous = 0.0;
    // The most that has been in memory so far, with the files' pages.
    double peak = 0.0;
};

// Nothing (0) of a process that has ended.
ProcessMemory ReadProcessMemory(pid_t process);

} // namespace TTMLBench

#endif

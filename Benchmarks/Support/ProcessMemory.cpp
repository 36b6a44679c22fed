#include "ProcessMemory.h"

#include <fstream>
#include <limits>
#include <string>

namespace TTMLBench {

ProcessMemory ReadProcessMemory(pid_t process)
{
    constexpr double kUnit = 1024.0;
    ProcessMemory memory;
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string name;
    while (status >> name) {
        double size = 0.0;
        if (name == "RssAnon:" || name == "RssShmem:") {
            status >> size;
            memory.anonymous += size * kUnit;
        } else if (name == "VmHWM:") {
            status >> size;
            memory.peak = size * kUnit;
        }
        status.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return memory;
}

} // namespace TTMLBench

#ifndef CHILD_PROCESS_H
#define CHILD_PROCESS_H

#include <string>
#include <vector>

namespace TTMLTest {

// What a program left behind.
struct ChildResult
{
    int status = -1; // exit status; -1 when it did not exit by itself
    std::string out;
    std::string error;
};

enum class ChildStderr
{
    Pipe,
    Terminal
};

// Runs a program to its end and collects what it writes. `environment` holds "NAME=value" settings that
// are added to this process's. The program is ended, and the test fails, when it takes too long.
ChildResult RunChild(const std::vector<std::string>& arguments,
                     const std::vector<std::string>& environment = {},
                     ChildStderr errorTo = ChildStderr::Pipe);

} // namespace TTMLTest

#endif

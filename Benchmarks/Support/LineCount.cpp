#include "LineCount.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TTMLBench {

namespace {

constexpr char kVariable[] = "TTML_LOG=";

// The environment with a threshold under which every line is written.
std::vector<std::string> LoggingEnvironment()
{
    std::vector<std::string> variables = {std::string(kVariable) + "info"};
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (std::strncmp(*variable, kVariable, sizeof kVariable - 1) != 0) {
            variables.emplace_back(*variable);
        }
    }
    return variables;
}

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

long long CountNewLines(int descriptor)
{
    long long lines = 0;
    char buffer[65536];
    for (;;) {
        const ssize_t size = read(descriptor, buffer, sizeof buffer);
        if (size > 0) {
            lines += std::count(buffer, buffer + size, '\n');
        } else if (size == 0 || errno != EINTR) {
            return lines;
        }
    }
}

std::optional<long long> LinesOf(const std::string& workload, int count)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    std::vector<std::string> arguments = {"benchmarks", kCountLinesOption, workload, std::to_string(count)};
    std::vector<std::string> environment = LoggingEnvironment();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    pid_t child = 0;
    const int failure = posix_spawn(&child, "/proc/self/exe", &actions, nullptr, Pointers(arguments).data(),
                                    Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::optional<long long> lines;
    if (failure == 0) {
        lines = CountNewLines(ends[0]);
        int status = 0;
        if (waitpid(child, &status, 0) != child || status != 0) {
            lines.reset();
        }
    }
    close(ends[0]);
    return lines;
}

} // namespace

std::optional<double> LinesPerItem(const std::string& workload)
{
    // The difference of two runs leaves out what starting and ending costs.
    constexpr int kItems = 1000;
    const std::optional<long long> few = LinesOf(workload, kItems);
    const std::optional<long long> many = LinesOf(workload, 2 * kItems);
    if (!few || !many) {
        return std::nullopt;
    }
    return static_cast<double>(*many - *few) / kItems;
}

std::string LinesText(std::optional<double> lines, const char* item)
{
    if (!lines) {
        return "log lines could not be counted";
    }
    char text[96];
    (void)std::snprintf(text, sizeof text, "%g log lines %s", *lines, item);
    return text;
}

} // namespace TTMLBench

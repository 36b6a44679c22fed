#include "ChildProcess.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace TTMLTest {

namespace {

constexpr auto kPatience = std::chrono::seconds(60);

// A descriptor with an owner.
class Descriptor
{
public:
    Descriptor() = default;
    ~Descriptor() { Reset(-1); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_value; }
    void Reset(int value)
    {
        if (m_value >= 0) {
            (void)close(m_value);
        }
        m_value = value;
    }

private:
    int m_value = -1;
};

bool OpenPipe(Descriptor* ours, Descriptor* childs)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    ours->Reset(ends[0]);
    childs->Reset(ends[1]);
    return true;
}

bool OpenTerminal(Descriptor* ours, Descriptor* childs)
{
    ours->Reset(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    char name[128];
    if (ours->Get() < 0 || grantpt(ours->Get()) != 0 || unlockpt(ours->Get()) != 0 ||
        ptsname_r(ours->Get(), name, sizeof name) != 0) {
        return false;
    }
    childs->Reset(open(name, O_RDWR | O_NOCTTY | O_CLOEXEC));
    return childs->Get() >= 0;
}

// The settings of this process without those that `added` replaces, and those.
std::vector<std::string> Environment(const std::vector<std::string>& added)
{
    std::vector<std::string> all;
    for (char** setting = environ; *setting != nullptr; ++setting) {
        const std::string text = *setting;
        const std::string name = text.substr(0, text.find('=') + 1);
        bool replaced = false;
        for (const std::string& other : added) {
            replaced = replaced || other.compare(0, name.size(), name) == 0;
        }
        if (!replaced) {
            all.push_back(text);
        }
    }
    all.insert(all.end(), added.begin(), added.end());
    return all;
}

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Reads both until their end. False when that takes too long.
bool ReadAll(int out, int error, ChildResult* result)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    pollfd sources[2] = {{out, POLLIN, 0}, {error, POLLIN, 0}};
    std::string* const texts[2] = {&result->out, &result->error};
    while (sources[0].fd >= 0 || sources[1].fd >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        if (poll(sources, 2, static_cast<int>(left.count())) < 0) {
            continue;
        }
        for (int i = 0; i < 2; ++i) {
            if (sources[i].fd < 0 || sources[i].revents == 0) {
                continue;
            }
            char block[65536];
            const ssize_t n = read(sources[i].fd, block, sizeof block);
            if (n > 0) {
                texts[i]->append(block, static_cast<std::size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                sources[i].fd = -1; // a terminal ends with an error
            }
        }
    }
    return true;
}

} // namespace

ChildResult RunChild(const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
                     ChildStderr errorTo)
{
    ChildResult result;
    Descriptor out;
    Descriptor childsOut;
    Descriptor error;
    Descriptor childsError;
    const bool opened =
        OpenPipe(&out, &childsOut) && (errorTo == ChildStderr::Terminal ? OpenTerminal(&error, &childsError)
                                                                        : OpenPipe(&error, &childsError));
    if (!opened) {
        ADD_FAILURE() << "no pipe or terminal: " << std::strerror(errno);
        return result;
    }
    std::vector<std::string> argumentTexts = arguments;
    std::vector<std::string> environmentTexts = Environment(environment);
    posix_spawn_file_actions_t actions;
    (void)posix_spawn_file_actions_init(&actions);
    (void)posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    (void)posix_spawn_file_actions_adddup2(&actions, childsOut.Get(), STDOUT_FILENO);
    (void)posix_spawn_file_actions_adddup2(&actions, childsError.Get(), STDERR_FILENO);
    pid_t child = -1;
    const int spawned = posix_spawnp(&child, argumentTexts[0].c_str(), &actions, nullptr,
                                     Pointers(argumentTexts).data(), Pointers(environmentTexts).data());
    (void)posix_spawn_file_actions_destroy(&actions);
    childsOut.Reset(-1);
    childsError.Reset(-1);
    if (spawned != 0) {
        ADD_FAILURE() << "could not start " << arguments[0] << ": " << std::strerror(spawned);
        return result;
    }
    if (!ReadAll(out.Get(), error.Get(), &result)) {
        ADD_FAILURE() << arguments[0] << " did not end";
        (void)kill(child, SIGKILL);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) {
        result.status = WEXITSTATUS(status);
    }
    return result;
}

} // namespace TTMLTest

#include "ChildProcess.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TTMLBench {

namespace {

constexpr char kNowhere[] = "/dev/null";

double SecondsOf(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

std::string TextOf(const std::vector<std::string>& command)
{
    std::string text;
    for (const std::string& word : command) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

} // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, int output)
    : m_command(std::move(command))
    , m_begin(std::chrono::steady_clock::now())
{
    std::vector<char*> arguments;
    arguments.reserve(m_command.size() + 1);
    for (const std::string& word : m_command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, kNowhere, O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, kNowhere, O_WRONLY, 0);
    if (output >= 0) {
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, kNowhere, O_WRONLY, 0);
    }
    const int failure = posix_spawnp(&m_id, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        throw std::runtime_error("cannot run '" + TextOf(m_command) +
                                 "': " + std::generic_category().message(failure));
    }
}

ChildProcess::~ChildProcess()
{
    m_Collect(0);
}

bool ChildProcess::HasEnded()
{
    m_Collect(WNOHANG);
    return m_ended;
}

void ChildProcess::Wait()
{
    m_Collect(0);
    if (m_status != 0) {
        throw std::runtime_error("'" + TextOf(m_command) + "' failed; its messages are not shown here");
    }
}

void ChildProcess::m_Collect(int options)
{
    rusage usage{};
    pid_t id = -1;
    while (!m_ended && (id = wait4(m_id, &m_status, options, &usage)) < 0) {
        if (errno != EINTR) {
            // Nobody else waits for it.
            m_ended = true;
            m_status = -1;
        }
    }
    if (id == m_id) {
        m_ended = true;
        const std::chrono::duration<double> run = std::chrono::steady_clock::now() - m_begin;
        m_seconds = run.count();
        m_processorSeconds = SecondsOf(usage.ru_utime) + SecondsOf(usage.ru_stime);
    }
}

} // namespace TTMLBench

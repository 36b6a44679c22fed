#include "HttpServer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace TTMLTest {

namespace {

constexpr auto kStartTimeout = std::chrono::seconds(60);
constexpr auto kStopTimeout = std::chrono::seconds(20);

void Close(int* descriptor)
{
    if (*descriptor >= 0) {
        (void)close(*descriptor);
        *descriptor = -1;
    }
}

} // namespace

HttpServer::HttpServer(const Options& options)
    : m_scheme(options.certificate.empty() ? "http" : "https")
{
    // A proxy of this machine's has no way to this server.
    (void)setenv("no_proxy", "127.0.0.1,localhost", 1);

    std::vector<std::string> arguments = {TTML_TEST_PYTHON, TTML_TEST_HTTP_SERVER, "--trace",
                                          "--until-stdin-closes"};
    if (!options.certificate.empty()) {
        arguments.insert(arguments.end(), {"--tls", options.certificate, options.key});
    }
    if (!options.root.empty()) {
        arguments.insert(arguments.end(), {"--root", options.root});
    }
    m_Spawn(arguments);
    if (m_child < 0) {
        return;
    }
    m_reader = std::thread([this] { m_Read(); });

    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_changed.wait_for(lock, kStartTimeout, [this] { return !m_lines.empty() || m_ended; }) ||
        m_lines.empty()) {
        ADD_FAILURE() << "The HTTP server did not say its port: " << TTML_TEST_PYTHON << ' '
                      << TTML_TEST_HTTP_SERVER;
        return;
    }
    m_port = std::atoi(m_lines.front().c_str());
    EXPECT_GT(m_port, 0) << "The HTTP server's first line is '" << m_lines.front() << "'";
}

HttpServer::~HttpServer()
{
    Close(&m_toChild); // which the server ends on
    if (m_child > 0) {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (!m_changed.wait_for(lock, kStopTimeout, [this] { return m_ended; })) {
                ADD_FAILURE() << "The HTTP server did not end";
                (void)kill(m_child, SIGKILL);
            }
        }
        int status = 0;
        while (waitpid(m_child, &status, 0) < 0 && errno == EINTR) {
        }
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "wait status " << status;
    }
    if (m_reader.joinable()) {
        m_reader.join();
    }
    Close(&m_fromChild);
}

std::string HttpServer::Url(const std::string& path) const
{
    return m_port == 0 ? std::string() : m_scheme + "://127.0.0.1:" + std::to_string(m_port) + path;
}

bool HttpServer::WaitForLine(const std::string& line, std::chrono::seconds timeout)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto said = [&] { return std::find(m_lines.begin(), m_lines.end(), line) != m_lines.end(); };
    (void)m_changed.wait_for(lock, timeout, [&] { return said() || m_ended; });
    if (!said()) {
        ADD_FAILURE() << "The HTTP server did not say '" << line << "'";
        return false;
    }
    return true;
}

std::size_t HttpServer::CountLines(const std::string& line)
{
    // What the server has said is still on its way, until it has repeated a line of ours.
    const std::string question = "question " + std::to_string(++m_questions);
    const std::string text = question + "\n";
    if (send(m_toChild, text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()) ||
        !WaitForLine(question)) {
        ADD_FAILURE() << "The HTTP server does not listen";
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<std::size_t>(std::count(m_lines.begin(), m_lines.end(), line));
}

void HttpServer::m_Spawn(const std::vector<std::string>& arguments)
{
    int in[2];  // to the child: a socket, since a write to it must not end this process with the child
    int out[2]; // from the child
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, in) != 0) {
        ADD_FAILURE() << "socketpair: " << std::strerror(errno);
        return;
    }
    if (pipe2(out, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "pipe: " << std::strerror(errno);
        Close(&in[0]);
        Close(&in[1]);
        return;
    }
    std::vector<char*> argv;
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    (void)posix_spawn_file_actions_init(&actions);
    (void)posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    (void)posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    const int result = posix_spawnp(&m_child, argv[0], &actions, nullptr, argv.data(), environ);
    (void)posix_spawn_file_actions_destroy(&actions);
    Close(&in[0]);
    Close(&out[1]);
    m_toChild = in[1];
    m_fromChild = out[0];
    if (result != 0) {
        m_child = -1;
        ADD_FAILURE() << "Could not start " << arguments[0] << ": " << std::strerror(result);
    }
}

void HttpServer::m_Read()
{
    std::string text;
    char block[4096];
    for (;;) {
        const ssize_t n = read(m_fromChild, block, sizeof block);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            break;
        }
        text.append(block, static_cast<std::size_t>(n));
        std::size_t end = 0;
        while ((end = text.find('\n')) != std::string::npos) {
            m_OnLine(text.substr(0, end));
            text.erase(0, end + 1);
        }
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ended = true;
    m_changed.notify_all();
}

void HttpServer::m_OnLine(const std::string& line)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.push_back(line);
    m_changed.notify_all();
}

} // namespace TTMLTest

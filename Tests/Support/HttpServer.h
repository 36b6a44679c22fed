#ifndef TTML_TESTS_HTTP_SERVER_H
#define TTML_TESTS_HTTP_SERVER_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace TTMLTest {

// The HTTP server of http_server.py as a child process, from the constructor to the destructor. Its paths
// are described there. A server that does not come up fails the test and has an empty base URL.
class HttpServer
{
public:
    struct Options
    {
        std::string certificate; // PEM files of a certificate and its key: speaks https
        std::string key;
        std::string root; // folder served below /files/
    };

    HttpServer()
        : HttpServer(Options())
    {}
    explicit HttpServer(const Options& options);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    int Port() const { return m_port; }

    // The URL of `path`, which begins with a slash: "http://127.0.0.1:40123/document".
    std::string Url(const std::string& path) const;

    // Waits until the server has said `line` since it started: "GET /document" for a request that it has
    // read, "stalled /stall/before" for an answer that waits. False, and a failure of the test, when it has
    // not within the time.
    bool WaitForLine(const std::string& line, std::chrono::seconds timeout = std::chrono::seconds(30));

    // How often the server has said `line`. A request that has been answered is counted.
    std::size_t CountLines(const std::string& line);

private:
    void m_Spawn(const std::vector<std::string>& arguments);
    void m_Read();
    void m_OnLine(const std::string& line);

    std::string m_scheme;
    int m_port = 0;
    pid_t m_child = -1;
    int m_toChild = -1;
    int m_fromChild = -1;
    std::thread m_reader;

    unsigned int m_questions = 0;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_lines; // guarded by m_mutex; the first one is the port
    bool m_ended = false;             // guarded by m_mutex; the child has closed its output
};

} // namespace TTMLTest

#endif

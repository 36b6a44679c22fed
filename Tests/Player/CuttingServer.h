#ifndef CUTTING_SERVER_H
#define CUTTING_SERVER_H

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Gate.h"

namespace TTMLTest {

// An HTTP server in the test's own process that serves given bytes and can stop in the middle of them:
// it announces all, sends the first ones, and then closes the connection or says nothing more.
class CuttingServer
{
public:
    enum class Then
    {
        Close,
        Stall
    };

    CuttingServer();
    ~CuttingServer();
    CuttingServer(const CuttingServer&) = delete;
    CuttingServer& operator=(const CuttingServer&) = delete;

    std::string Url(const std::string& path) const;

    void Serve(const std::string& path, const std::string& body);
    void ServeUpTo(const std::string& path, const std::string& body, std::size_t bytes, Then then);

    // Opens once the server has sent what it sends before it stalls.
    const Gate& Stalled() const { return m_stalled; }
    std::size_t Requests(const std::string& path);
    // Waits for the `count`-th request; one that does not come in time fails the test.
    bool WaitForRequests(const std::string& path, std::size_t count);
    // The request with its headers.
    std::string LastRequest(const std::string& path);

private:
    struct Answer
    {
        std::string body;
        std::size_t bytes;
        Then then;
    };

    void m_Accept();
    void m_Handle(int connection);

    int m_listening = -1;
    int m_port = 0;
    Gate m_stalled{"the server stalls"};
    std::mutex m_mutex;
    std::condition_variable m_requested;
    // Guarded by m_mutex.
    std::map<std::string, Answer> m_answers;
    std::map<std::string, std::vector<std::string>> m_requests;
    std::vector<int> m_connections;
    bool m_ending = false;

    std::vector<std::thread> m_handlers; // the accepting thread's, until it is joined
    std::thread m_acceptor;
};

} // namespace TTMLTest

#endif

#include "CuttingServer.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace TTMLTest {

namespace {

bool SendAll(int connection, const std::string& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

// The request up to its empty line; empty when the client went away before.
std::string ReadRequest(int connection)
{
    std::string request;
    char byte = 0;
    while (request.size() < 4 || request.compare(request.size() - 4, 4, "\r\n\r\n") != 0) {
        if (recv(connection, &byte, 1, 0) != 1) {
            return {};
        }
        request += byte;
    }
    return request;
}

} // namespace

CuttingServer::CuttingServer()
{
    m_listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    EXPECT_EQ(bind(m_listening, reinterpret_cast<sockaddr*>(&address), length), 0);
    EXPECT_EQ(listen(m_listening, 64), 0);
    EXPECT_EQ(getsockname(m_listening, reinterpret_cast<sockaddr*>(&address), &length), 0);
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { m_Accept(); });
}

CuttingServer::~CuttingServer()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
        for (const int connection : m_connections) {
            shutdown(connection, SHUT_RDWR);
        }
    }
    shutdown(m_listening, SHUT_RDWR);
    m_acceptor.join();
    close(m_listening);
    for (std::thread& handler : m_handlers) {
        handler.join();
    }
    for (const int connection : m_connections) {
        close(connection);
    }
}

std::string CuttingServer::Url(const std::string& path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

void CuttingServer::Serve(const std::string& path, const std::string& body)
{
    ServeUpTo(path, body, body.size(), Then::Close);
}

void CuttingServer::ServeUpTo(const std::string& path, const std::string& body, std::size_t bytes, Then then)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[path] = {body, bytes, then};
}

std::size_t CuttingServer::Requests(const std::string& path)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests[path].size();
}

bool CuttingServer::WaitForRequests(const std::string& path, std::size_t count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_requested.wait_for(lock, kPatience, [&] { return m_requests[path].size() >= count; })) {
        return true;
    }
    ADD_FAILURE() << m_requests[path].size() << " of " << count << " requests for " << path << " within "
                  << kPatience.count() << " s";
    return false;
}

std::string CuttingServer::LastRequest(const std::string& path)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests[path].empty() ? std::string() : m_requests[path].back();
}

void CuttingServer::m_Accept()
{
    for (;;) {
        const int connection = accept4(m_listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            return;
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_connections.push_back(connection);
            if (m_ending) {
                return;
            }
        }
        m_handlers.emplace_back([this, connection] { m_Handle(connection); });
    }
}

void CuttingServer::m_Handle(int connection)
{
    const std::string request = ReadRequest(connection);
    const std::size_t start = request.find(' ') + 1;
    const std::string path = request.substr(start, request.find(' ', start) - start);
    Answer answer = {"no such path\n", std::string::npos, Then::Close};
    bool found = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests[path].push_back(request);
        m_requested.notify_all();
        const auto place = m_answers.find(path);
        if (place != m_answers.end()) {
            answer = place->second;
            found = true;
        }
    }
    SendAll(connection, std::string(found ? "HTTP/1.1 200 OK" : "HTTP/1.1 404 Not Found") +
                            "\r\nContent-Type: application/octet-stream\r\nConnection: close\r\n"
                            "Content-Length: " +
                            std::to_string(answer.body.size()) + "\r\n\r\n");
    SendAll(connection, answer.body.substr(0, answer.bytes));
    if (answer.then == Then::Stall && answer.bytes < answer.body.size()) {
        m_stalled.Open();
        // Until the client or the server ends the connection.
        char byte = 0;
        while (recv(connection, &byte, 1, 0) > 0) {
        }
    }
    shutdown(connection, SHUT_RDWR);
}

} // namespace TTMLTest

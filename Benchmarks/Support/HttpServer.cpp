#include "HttpServer.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace TTMLBench {

namespace {

[[noreturn]] void Fail(const char* what)
{
    throw std::runtime_error(std::string("cannot serve on 127.0.0.1: ") + what + ": " + std::strerror(errno));
}

} // namespace

HttpServer::HttpServer(const std::string& document)
    : m_response("HTTP/1.1 200 OK\r\nContent-Type: application/ttml+xml\r\nContent-Length: " +
                 std::to_string(document.size()) + "\r\n\r\n" + document)
{
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_listener < 0) {
        Fail("socket");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(m_listener, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
        Fail("bind");
    }
    if (listen(m_listener, SOMAXCONN) != 0) {
        Fail("listen");
    }
    if (getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        Fail("getsockname");
    }
    m_port = ntohs(address.sin_port);
    if (pipe2(m_stop, O_CLOEXEC) != 0) {
        Fail("pipe2");
    }
    m_thread = std::thread([this] { m_Run(); });
}

HttpServer::~HttpServer()
{
    close(m_stop[1]);
    m_thread.join();
    for (const Connection& connection : m_connections) {
        close(connection.socket);
    }
    close(m_stop[0]);
    close(m_listener);
}

std::string HttpServer::Url() const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + "/captions.ttml";
}

void HttpServer::m_Run()
{
    for (;;) {
        std::vector<pollfd> watched = {{m_stop[0], POLLIN, 0}, {m_listener, POLLIN, 0}};
        for (const Connection& connection : m_connections) {
            watched.push_back({connection.socket, POLLIN, 0});
        }
        if (poll(watched.data(), watched.size(), -1) < 0) {
            continue;
        }
        if (watched[0].revents != 0) {
            return;
        }
        std::size_t i = 2;
        const auto isOver = [&](Connection& connection) {
            if (watched[i++].revents == 0 || m_Serve(connection)) {
                return false;
            }
            close(connection.socket);
            return true;
        };
        std::vector<Connection> open;
        for (Connection& connection : m_connections) {
            if (!isOver(connection)) {
                open.push_back(std::move(connection));
            }
        }
        m_connections.swap(open);
        if (watched[1].revents != 0) {
            m_Accept();
        }
    }
}

void HttpServer::m_Accept()
{
    const int client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client >= 0) {
        const int on = 1;
        (void)setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_connections.push_back({client, ""});
    }
}

// Reads what has come and answers complete requests. False once the connection is over.
bool HttpServer::m_Serve(Connection& connection)
{
    constexpr char kEndOfRequest[] = "\r\n\r\n";
    char buffer[4096];
    const ssize_t size = recv(connection.socket, buffer, sizeof buffer, 0);
    if (size <= 0) {
        return size < 0 && errno == EINTR;
    }
    connection.request.append(buffer, static_cast<std::size_t>(size));
    for (;;) {
        const std::size_t end = connection.request.find(kEndOfRequest);
        if (end == std::string::npos) {
            return true;
        }
        connection.request.erase(0, end + sizeof kEndOfRequest - 1);
        std::size_t sent = 0;
        while (sent < m_response.size()) {
            const ssize_t n =
                send(connection.socket, m_response.data() + sent, m_response.size() - sent, MSG_NOSIGNAL);
            if (n < 0 && errno != EINTR) {
                return false;
            }
            sent += n > 0 ? static_cast<std::size_t>(n) : 0;
        }
    }
}

} // namespace TTMLBench

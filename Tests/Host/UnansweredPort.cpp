#include "UnansweredPort.h"

#include <chrono>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Gate.h"

namespace TTMLTest {

namespace {

bool WaitForInput(int descriptor)
{
    pollfd input = {descriptor, POLLIN, 0};
    return poll(&input, 1, static_cast<int>(std::chrono::milliseconds(kPatience).count())) == 1;
}

} // namespace

UnansweredPort::UnansweredPort()
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(m_socket, generic, size), 0);
    EXPECT_EQ(listen(m_socket, 16), 0);
    EXPECT_EQ(getsockname(m_socket, generic, &size), 0);
    m_port = ntohs(address.sin_port);
}

UnansweredPort::~UnansweredPort()
{
    Close();
    if (m_client >= 0) {
        (void)close(m_client);
    }
}

void UnansweredPort::Close()
{
    if (m_socket >= 0) {
        (void)close(m_socket);
        m_socket = -1;
    }
}

bool UnansweredPort::WaitForClient()
{
    if (WaitForInput(m_socket)) {
        m_client = accept(m_socket, nullptr, nullptr);
        if (m_client >= 0 && WaitForInput(m_client)) {
            return true;
        }
    }
    ADD_FAILURE() << "no client came";
    return false;
}

} // namespace TTMLTest

#include "DatagramSource.h"

#include <cerrno>
#include <utility>

#include <unistd.h>

#include "InputError.h"

namespace TTMLHost {

namespace {

constexpr std::size_t kLargestDatagram = 65535;
// A batch ends here at the latest, so that a fast sender cannot keep a read from returning.
constexpr std::size_t kLargestBatch = std::size_t{256} * 1024;
// The kernel's buffer bridges what the reader does between two reads: half a second of 32 Mbit/s.
constexpr int kKernelBuffer = 2 * 1024 * 1024;

const sockaddr* Generic(const StreamAddress& address, socklen_t* size)
{
    if (address.family == AF_INET6) {
        *size = sizeof(address.v6);
        return reinterpret_cast<const sockaddr*>(&address.v6);
    }
    *size = sizeof(address.v4);
    return reinterpret_cast<const sockaddr*>(&address.v4);
}

template <typename T>
bool SetOption(int descriptor, int level, int name, const T& value)
{
    return setsockopt(descriptor, level, name, &value, sizeof(value)) == 0;
}

} // namespace

DatagramSource::DatagramSource(std::string input, Wrapping wrapping, int descriptor)
    : m_input(std::move(input))
    , m_wrapping(wrapping)
    , m_descriptor(descriptor)
    , m_datagram(kLargestDatagram)
{
    m_batch.reserve(kLargestBatch + kLargestDatagram);
}

DatagramSource::~DatagramSource()
{
    close(m_descriptor);
}

std::unique_ptr<DatagramSource> DatagramSource::Open(const std::string& input, const std::string& address,
                                                     Wrapping wrapping, std::string* error)
{
    std::string why;
    const std::optional<StreamAddress> parsed = ParseStreamAddress(address, &why);
    if (!parsed) {
        *error = DescribeInputFailure("open", input, why, "write it as udp://239.1.1.1:1234 or rtp://...");
        return nullptr;
    }
    const int descriptor = socket(parsed->family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        *error = DescribeInputErrno("open", input, errno);
        return nullptr;
    }
    std::unique_ptr<DatagramSource> source(new DatagramSource(input, wrapping, descriptor));
    if (!source->Bind(*parsed) || (parsed->multicast && !source->Join(*parsed))) {
        *error = DescribeInputErrno("open", input, errno);
        return nullptr;
    }
    return source;
}

bool DatagramSource::Bind(const StreamAddress& address)
{
    const int on = 1;
    // Several receivers of a group may share its port; of an address only one gets what comes.
    if (address.multicast && !SetOption(m_descriptor, SOL_SOCKET, SO_REUSEADDR, on)) {
        return false;
    }
    // The system may grant less.
    SetOption(m_descriptor, SOL_SOCKET, SO_RCVBUF, kKernelBuffer);
    socklen_t size = 0;
    const sockaddr* const generic = Generic(address, &size);
    // Bound to a group's own address, the socket does not get other groups' datagrams on the same port.
    if (bind(m_descriptor, generic, size) != 0) {
        return false;
    }
    StreamAddress bound = address;
    size = address.family == AF_INET6 ? sizeof(bound.v6) : sizeof(bound.v4);
    auto* const name = address.family == AF_INET6 ? reinterpret_cast<sockaddr*>(&bound.v6)
                                                  : reinterpret_cast<sockaddr*>(&bound.v4);
    if (getsockname(m_descriptor, name, &size) != 0) {
        return false;
    }
    m_port = bound.Port();
    return true;
}

bool DatagramSource::Join(const StreamAddress& address) const
{
    if (address.family == AF_INET6) {
        ipv6_mreq request = {};
        request.ipv6mr_multiaddr = address.v6.sin6_addr;
        request.ipv6mr_interface = address.interfaceIndex;
        return SetOption(m_descriptor, IPPROTO_IPV6, IPV6_JOIN_GROUP, request);
    }
    ip_mreqn request = {};
    request.imr_multiaddr = address.v4.sin_addr;
    request.imr_address = address.interfaceAddress;
    request.imr_ifindex = static_cast<int>(address.interfaceIndex);
    return SetOption(m_descriptor, IPPROTO_IP, IP_ADD_MEMBERSHIP, request);
}

void DatagramSource::Take(std::size_t size)
{
    ++m_received;
    if (m_wrapping == Wrapping::Rtp) {
        m_reorder.Push({m_datagram.data(), size}, &m_batch);
    } else {
        m_batch.insert(m_batch.end(), m_datagram.data(), m_datagram.data() + size);
    }
}

bool DatagramSource::Receive()
{
    while (m_batch.size() < kLargestBatch) {
        const ssize_t got = recv(m_descriptor, m_datagram.data(), m_datagram.size(), 0);
        if (got >= 0) {
            Take(static_cast<std::size_t>(got));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return true;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool DatagramSource::Read(ByteSpan* batch, std::string* error)
{
    *batch = {};
    error->clear();
    m_batch.clear();
    bool whole = true;
    switch (m_wake.WaitForInput(m_descriptor, kPatienceMs)) {
    case WakeEvent::Outcome::Ready:
        whole = Receive();
        break;
    case WakeEvent::Outcome::Nothing:
        // What has not come by now will not.
        m_reorder.Flush(&m_batch);
        break;
    case WakeEvent::Outcome::Raised:
        return false;
    case WakeEvent::Outcome::Failed:
        whole = false;
        break;
    }
    if (!whole && m_batch.empty()) {
        *error = DescribeInputErrno("receive", m_input, errno);
        return false;
    }
    *batch = {m_batch.data(), m_batch.size()};
    return true;
}

DatagramCounters DatagramSource::Datagrams() const
{
    DatagramCounters counters = m_reorder.Counters();
    counters.received = m_received;
    return counters;
}

} // namespace TTMLHost

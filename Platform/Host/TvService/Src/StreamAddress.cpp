#include "StreamAddress.h"

#include <cstddef>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

namespace TTMLHost {

namespace {

constexpr unsigned int kLargestPort = 65535;

std::optional<in_port_t> ParsePort(const std::string& text)
{
    unsigned int port = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        port = port * 10 + static_cast<unsigned int>(c - '0');
        if (port > kLargestPort) {
            return std::nullopt;
        }
    }
    return text.empty() ? std::nullopt : std::make_optional(htons(static_cast<in_port_t>(port)));
}

// The index of the interface that has this address, 0 when none has.
unsigned int InterfaceWith(const in6_addr& address)
{
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) {
        return 0;
    }
    unsigned int index = 0;
    for (const ifaddrs* one = all; one != nullptr && index == 0; one = one->ifa_next) {
        if (one->ifa_addr != nullptr && one->ifa_addr->sa_family == AF_INET6 &&
            IN6_ARE_ADDR_EQUAL(&reinterpret_cast<const sockaddr_in6*>(one->ifa_addr)->sin6_addr, &address)) {
            index = if_nametoindex(one->ifa_name);
        }
    }
    freeifaddrs(all);
    return index;
}

bool ReadLocal(const std::string& text, StreamAddress* address)
{
    if (text.empty()) {
        return true;
    }
    if (inet_pton(AF_INET, text.c_str(), &address->interfaceAddress) == 1) {
        return address->family == AF_INET;
    }
    in6_addr v6 = {};
    const bool bracketed = text.size() > 2 && text.front() == '[' && text.back() == ']';
    if (bracketed && inet_pton(AF_INET6, text.substr(1, text.size() - 2).c_str(), &v6) == 1) {
        address->interfaceIndex = InterfaceWith(v6);
    } else {
        address->interfaceIndex = if_nametoindex(text.c_str());
    }
    return address->interfaceIndex != 0;
}

bool ReadHost(const std::string& text, in_port_t port, StreamAddress* address)
{
    if (text.size() > 2 && text.front() == '[' && text.back() == ']') {
        address->family = AF_INET6;
        address->v6.sin6_family = AF_INET6;
        address->v6.sin6_port = port;
        if (inet_pton(AF_INET6, text.substr(1, text.size() - 2).c_str(), &address->v6.sin6_addr) != 1) {
            return false;
        }
        address->multicast = IN6_IS_ADDR_MULTICAST(&address->v6.sin6_addr) != 0;
        return true;
    }
    address->v4.sin_family = AF_INET;
    address->v4.sin_port = port;
    address->v4.sin_addr.s_addr = htonl(INADDR_ANY);
    if (!text.empty() && inet_pton(AF_INET, text.c_str(), &address->v4.sin_addr) != 1) {
        return false;
    }
    address->multicast = IN_MULTICAST(ntohl(address->v4.sin_addr.s_addr));
    return true;
}

} // namespace

std::optional<StreamAddress> ParseStreamAddress(const std::string& text, std::string* why)
{
    const std::size_t at = text.find('@');
    const std::string local = at == std::string::npos ? std::string() : text.substr(0, at);
    const std::string rest = at == std::string::npos ? text : text.substr(at + 1);
    const std::size_t colon = rest.rfind(':');
    const std::optional<in_port_t> port =
        colon == std::string::npos ? std::nullopt : ParsePort(rest.substr(colon + 1));
    if (!port) {
        *why = "it has no port from 1 to 65535 at its end";
        return std::nullopt;
    }
    StreamAddress address;
    if (!ReadHost(rest.substr(0, colon), *port, &address)) {
        *why = "'" + rest.substr(0, colon) + "' is no IP address";
        return std::nullopt;
    }
    if (!ReadLocal(local, &address)) {
        *why = "this machine has no network interface '" + local + "'";
        return std::nullopt;
    }
    return address;
}

} // namespace TTMLHost

#ifndef STREAM_ADDRESS_H
#define STREAM_ADDRESS_H

#include <optional>
#include <string>

#include <netinet/in.h>
#include <sys/socket.h>

namespace TTMLHost {

// Where datagrams are received, as "[LOCAL@]ADDRESS:PORT" says it.
struct StreamAddress
{
    int family = AF_INET;
    sockaddr_in v4 = {};  // with AF_INET
    sockaddr_in6 v6 = {}; // with AF_INET6
    bool multicast = false;
    // Of the interface on which a group is joined; both unset: the one that the system's routes choose.
    unsigned int interfaceIndex = 0;
    in_addr interfaceAddress = {};

    int Port() const { return ntohs(family == AF_INET6 ? v6.sin6_port : v4.sin_port); }
};

// Reads an address. Port 0 stands for one that is free. Nothing on failure, with a clause in `why`.
std::optional<StreamAddress> ParseStreamAddress(const std::string& text, std::string* why);

} // namespace TTMLHost

#endif

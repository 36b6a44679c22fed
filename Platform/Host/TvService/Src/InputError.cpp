#include "InputError.h"

#include <cerrno>
#include <system_error>

#include "OneLine.h"
#include "PacketSource.h"

namespace TTMLHost {

namespace {

const char* AdviceFor(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
        return "check the path";
    case EACCES:
    case EPERM:
        return "check the permissions";
    case EISDIR:
        return "give the path of a file";
    case EADDRINUSE:
        return "end the program that uses this port";
    case EADDRNOTAVAIL:
    case ENODEV:
    case ENXIO:
        return "give an address of this machine or a multicast group";
    case ENOMEM:
    case ENOBUFS:
    case EMFILE:
    case ENFILE:
        return "end programs that are not needed";
    default:
        return "check the disk or the network, and try again";
    }
}

} // namespace

std::string DescribeInputFailure(const std::string& doing, const std::string& input, const std::string& why,
                                 const std::string& advice)
{
    return OneLine("Cannot " + doing + " " + NameOfInput(input) + ": " + why + "; " + advice);
}

std::string DescribeInputErrno(const std::string& doing, const std::string& input, int error)
{
    return DescribeInputFailure(doing, input, std::generic_category().message(error), AdviceFor(error));
}

} // namespace TTMLHost

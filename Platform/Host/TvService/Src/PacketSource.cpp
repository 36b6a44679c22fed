#include "PacketSource.h"

#include "DatagramSource.h"
#include "FileSource.h"
#include "InputError.h"

namespace TTMLHost {

namespace {

const std::string kUdp = "udp://";
const std::string kRtp = "rtp://";

bool BeginsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

std::unique_ptr<PacketSource> OpenDatagrams(const std::string& input, const std::string& address,
                                            DatagramSource::Wrapping wrapping, std::string* error)
{
    auto source = DatagramSource::Open(input, address, wrapping, error);
    const std::string freePort = ":0";
    if (source != nullptr && address.size() >= freePort.size() &&
        address.compare(address.size() - freePort.size(), freePort.size(), freePort) == 0) {
        // Nobody would know where to send.
        *error = DescribeInputFailure("open", input, "it has no port from 1 to 65535 at its end",
                                      "write it as udp://239.1.1.1:1234 or rtp://...");
        return nullptr;
    }
    return source;
}

} // namespace

std::unique_ptr<PacketSource> PacketSource::Open(const std::string& input, std::string* error)
{
    if (BeginsWith(input, kUdp)) {
        return OpenDatagrams(input, input.substr(kUdp.size()), DatagramSource::Wrapping::None, error);
    }
    if (BeginsWith(input, kRtp)) {
        return OpenDatagrams(input, input.substr(kRtp.size()), DatagramSource::Wrapping::Rtp, error);
    }
    return FileSource::Open(input, error);
}

std::string NameOfInput(const std::string& input)
{
    return input == "-" ? "standard input" : "'" + input + "'";
}

} // namespace TTMLHost

#ifndef DATAGRAM_SOURCE_H
#define DATAGRAM_SOURCE_H

#include <memory>
#include <vector>

#include "PacketSource.h"
#include "RtpReorder.h"
#include "StreamAddress.h"
#include "WakeEvent.h"

namespace TTMLHost {

// A transport stream that comes in UDP datagrams, with or without RTP.
class DatagramSource : public PacketSource
{
public:
    enum class Wrapping
    {
        None,
        Rtp
    };

    // `input` is the name for error lines, `address` what it says behind "//".
    static std::unique_ptr<DatagramSource> Open(const std::string& input, const std::string& address,
                                                Wrapping wrapping, std::string* error);
    ~DatagramSource() override;

    bool Read(ByteSpan* batch, std::string* error) override;
    void Interrupt() override { m_wake.Raise(); }
    bool IsLive() const override { return true; }
    DatagramCounters Datagrams() const override;

    // Where it receives.
    int Port() const { return m_port; }

private:
    DatagramSource(std::string input, Wrapping wrapping, int descriptor);
    bool Bind(const StreamAddress& address);
    bool Join(const StreamAddress& address) const;
    // Takes what is there without waiting; false when the socket failed.
    bool Receive();
    void Take(std::size_t size);

    const std::string m_input;
    const Wrapping m_wrapping;
    const int m_descriptor;
    int m_port = 0;
    std::vector<unsigned char> m_datagram; // one as received
    std::vector<unsigned char> m_batch;
    RtpReorder m_reorder;
    std::uint64_t m_received = 0;
    WakeEvent m_wake;
};

} // namespace TTMLHost

#endif

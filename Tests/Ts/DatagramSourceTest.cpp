#include <memory>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "DatagramSource.h"
#include "Gate.h"
#include "PacketFramer.h"
#include "StreamRecorder.h"
#include "TestThread.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::ByteSpan;
using TTMLHost::DatagramSource;
using TTMLHost::PacketSource;
using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::Number;
using TTMLTest::operator+;
using Wrapping = DatagramSource::Wrapping;

std::unique_ptr<DatagramSource> Open(const std::string& address, Wrapping wrapping = Wrapping::None)
{
    std::string error;
    auto source = DatagramSource::Open("udp://" + address, address, wrapping, &error);
    EXPECT_NE(source, nullptr) << error;
    return source;
}

// Sends to a port of this machine, or to a group over its loopback interface.
class Sender
{
public:
    Sender(const std::string& address, int port)
        : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        m_to.sin_family = AF_INET;
        m_to.sin_port = htons(static_cast<in_port_t>(port));
        m_to.sin_addr.s_addr = inet_addr(address.c_str());
        in_addr loopback = {};
        loopback.s_addr = htonl(INADDR_LOOPBACK);
        setsockopt(m_socket, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof(loopback));
    }
    ~Sender() { close(m_socket); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    void Send(const Bytes& datagram) const
    {
        EXPECT_EQ(sendto(m_socket, datagram.data(), datagram.size(), 0,
                         reinterpret_cast<const sockaddr*>(&m_to), sizeof(m_to)),
                  static_cast<ssize_t>(datagram.size()));
    }

private:
    const int m_socket;
    sockaddr_in m_to = {};
};

// Reads until so many bytes are there; a wait of many empty batches is a failure.
Bytes ReadBytes(PacketSource* source, std::size_t size)
{
    Bytes all;
    int patience = 200;
    while (all.size() < size && patience-- > 0) {
        ByteSpan batch;
        std::string error;
        if (!source->Read(&batch, &error)) {
            ADD_FAILURE() << "the source ended: " << error;
            break;
        }
        all.insert(all.end(), batch.data, batch.data + batch.size);
    }
    EXPECT_EQ(all.size(), size);
    return all;
}

Bytes RtpPacket(unsigned int sequence, const Bytes& payload)
{
    return Bytes{0x80, 33} + Number(sequence, 2) + Number(0, 4) + Number(5, 4) + payload;
}

TEST(DatagramSource, ReceivesDatagramsInOrder)
{
    const auto source = Open("127.0.0.1:0");
    EXPECT_TRUE(source->IsLive());
    const Sender sender("127.0.0.1", source->Port());
    Bytes sent;
    for (unsigned int i = 0; i < 20; ++i) {
        const Bytes datagram = Filling(1316, i);
        sender.Send(datagram);
        sent = sent + datagram;
    }
    EXPECT_EQ(ReadBytes(source.get(), sent.size()), sent);
    EXPECT_EQ(source->Datagrams().received, 20U);
}

TEST(DatagramSource, ReceivesDatagramsOfAnySize)
{
    const auto source = Open("127.0.0.1:0");
    const Sender sender("127.0.0.1", source->Port());
    Bytes sent;
    for (const std::size_t size : {1U, 187U, 188U, 9000U, 65507U, 0U, 5U}) {
        const Bytes datagram = Filling(size, static_cast<unsigned int>(size));
        sender.Send(datagram);
        sent = sent + datagram;
    }
    EXPECT_EQ(ReadBytes(source.get(), sent.size()), sent);
}

TEST(DatagramSource, GivesAnEmptyBatchWhenNothingComes)
{
    const auto source = Open("127.0.0.1:0");
    ByteSpan batch;
    std::string error = "before";
    EXPECT_TRUE(source->Read(&batch, &error));
    EXPECT_EQ(batch.size, 0U);
    EXPECT_EQ(error, "");
}

TEST(DatagramSource, EndsWhenItIsInterrupted)
{
    const auto source = Open("127.0.0.1:0");
    std::string error = "before";
    TTMLTest::Gate begun("the first read is over");
    {
        const TTMLTest::TestThread reader([&] {
            ByteSpan batch;
            while (source->Read(&batch, &error)) {
                begun.Open();
            }
        });
        ASSERT_TRUE(begun.Wait());
        source->Interrupt();
        EXPECT_TRUE(reader.WaitUntilDone());
    }
    EXPECT_EQ(error, "");
    // From then on, even with something to read.
    Sender("127.0.0.1", source->Port()).Send(Filling(10));
    ByteSpan batch;
    EXPECT_FALSE(source->Read(&batch, &error));
    EXPECT_EQ(batch.size, 0U);
}

TEST(DatagramSource, ReceivesAGroup)
{
    const auto source = Open("127.0.0.1@239.255.77.7:0");
    const auto second = Open("lo@239.255.77.7:" + std::to_string(source->Port()));
    const auto other = Open("lo@239.255.77.8:" + std::to_string(source->Port()));
    ASSERT_NE(other, nullptr);
    Sender("239.255.77.8", source->Port()).Send(Filling(50, 2));
    Sender("239.255.77.7", source->Port()).Send(Filling(100));
    EXPECT_EQ(ReadBytes(source.get(), 100), Filling(100));
    EXPECT_EQ(ReadBytes(second.get(), 100), Filling(100));
    EXPECT_EQ(ReadBytes(other.get(), 50), Filling(50, 2));
}

TEST(DatagramSource, PutsRtpInOrderAndCountsItsLosses)
{
    const auto source = Open("127.0.0.1:0", Wrapping::Rtp);
    const Sender sender("127.0.0.1", source->Port());
    // 4 is lost, 6 and 7 change places, 9 comes twice.
    for (const unsigned int i : {1U, 2U, 3U, 5U, 7U, 6U, 8U, 9U, 9U, 10U}) {
        sender.Send(RtpPacket(i, Filling(188, i)));
    }
    sender.Send(Filling(5));
    Bytes expected;
    for (const unsigned int i : {1U, 2U, 3U, 5U, 6U, 7U, 8U, 9U, 10U}) {
        expected = expected + Filling(188, i);
    }
    // What is missing is given up when nothing comes any more.
    EXPECT_EQ(ReadBytes(source.get(), expected.size()), expected);
    const TTMLHost::DatagramCounters counters = source->Datagrams();
    EXPECT_EQ(counters.received, 11U);
    EXPECT_EQ(counters.lost, 1U);
    EXPECT_EQ(counters.duplicated, 1U);
    EXPECT_EQ(counters.malformed, 1U);
}

TEST(DatagramSource, CarriesSubtitlesThroughLossAndDisorder)
{
    const auto source = Open("127.0.0.1:0", Wrapping::Rtp);
    const Sender sender("127.0.0.1", source->Port());
    TTMLTest::PidWriter writer(300);
    std::vector<Bytes> datagrams;
    std::vector<Bytes> expected;
    for (unsigned int i = 0; i < 30; ++i) {
        const Bytes pes = TTMLTest::TsPes().Pts(i).Data(Filling(1000, i)).Get();
        datagrams.push_back(RtpPacket((65520 + i) & 0xffffU, TTMLTest::Joined(writer.Unit(pes))));
        if (i != 11 && i != 20) {
            expected.push_back(pes);
        }
    }
    for (std::size_t i = 0; i < 30; i += 3) {
        for (const std::size_t index : {i, i + 2, i + 1}) {
            if (index != 11 && index != 20) {
                sender.Send(datagrams[index]);
            }
        }
    }
    TTMLTest::StreamRecorder recorder;
    recorder.stream.WatchPes(300, true);
    TTMLHost::PacketFramer framer(TTMLHost::PacketFramer::Pieces::AfterPackets);
    for (int reads = 0; recorder.pes.size() < 28 && reads < 200; ++reads) {
        ByteSpan batch;
        std::string error;
        ASSERT_TRUE(source->Read(&batch, &error)) << error;
        framer.Push(batch);
        TTMLHost::PacketBatch packets;
        while (framer.Next(&packets)) {
            recorder.stream.Push(packets);
        }
    }
    EXPECT_EQ(recorder.PesPackets(), expected);
    EXPECT_EQ(source->Datagrams().lost, 2U);
    EXPECT_EQ(recorder.stream.Counters().continuityErrors, 2U);
}

TEST(DatagramSource, IsOpenedByItsAddress)
{
    const auto probe = Open("127.0.0.1:0");
    const std::string port = std::to_string(probe->Port());
    std::string error;
    // The probe has the port.
    EXPECT_EQ(PacketSource::Open("udp://127.0.0.1:" + port, &error), nullptr);
    EXPECT_EQ(error, "Cannot open 'udp://127.0.0.1:" + port +
                         "': Address already in use; end the program that uses this port");
    EXPECT_NE(PacketSource::Open("udp://127.0.0.2:" + port, &error), nullptr);
    EXPECT_NE(PacketSource::Open("rtp://127.0.0.3:" + port, &error), nullptr);
}

TEST(DatagramSource, SaysWhyItCannotBeOpened)
{
    std::string error;
    EXPECT_EQ(PacketSource::Open("udp://239.1.1.1", &error), nullptr);
    EXPECT_EQ(error, "Cannot open 'udp://239.1.1.1': it has no port from 1 to 65535 at its end; write it as "
                     "udp://239.1.1.1:1234 or rtp://...");
    EXPECT_EQ(PacketSource::Open("rtp://127.0.0.1:0", &error), nullptr);
    EXPECT_EQ(error,
              "Cannot open 'rtp://127.0.0.1:0': it has no port from 1 to 65535 at its end; write it as "
              "udp://239.1.1.1:1234 or rtp://...");
    EXPECT_EQ(PacketSource::Open("udp://192.0.2.1:5000", &error), nullptr);
    EXPECT_EQ(error,
              "Cannot open 'udp://192.0.2.1:5000': Cannot assign requested address; give an address of "
              "this machine or a multicast group");
}

} // namespace

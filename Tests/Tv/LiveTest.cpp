#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

// Sends datagrams to a port of this machine that nobody else uses.
class Sender
{
public:
    Sender()
        : m_socket(socket(AF_INET, SOCK_DGRAM, 0))
    {
        EXPECT_GE(m_socket, 0);
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int probe = socket(AF_INET, SOCK_DGRAM, 0);
        EXPECT_EQ(bind(probe, Address(), sizeof(m_address)), 0) << std::strerror(errno);
        socklen_t length = sizeof(m_address);
        EXPECT_EQ(getsockname(probe, reinterpret_cast<sockaddr*>(&m_address), &length), 0);
        close(probe);
    }
    ~Sender() { close(m_socket); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    std::string Input(const std::string& scheme = "udp") const
    {
        return scheme + "://127.0.0.1:" + std::to_string(ntohs(m_address.sin_port));
    }

    // Seven packets a datagram.
    void Send(const TestStream& stream) { SendFrom(stream, 0); }

    // Only what comes after the first so many packets.
    void SendFrom(const TestStream& stream, std::size_t first)
    {
        constexpr std::size_t kDatagram = std::size_t{7} * 188;
        const std::string bytes = stream.Bytes();
        for (std::size_t done = first * 188; done < bytes.size(); done += kDatagram) {
            const std::string datagram = bytes.substr(done, kDatagram);
            EXPECT_EQ(sendto(m_socket, datagram.data(), datagram.size(), 0, Address(), sizeof(m_address)),
                      static_cast<ssize_t>(datagram.size()));
        }
    }

private:
    const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&m_address); }

    const int m_socket;
    sockaddr_in m_address = {};
};

// Inputs whose sender sets the pace.
class Live : public TvTest
{
protected:
    TTMLHost::TvOptions Options(const std::string& service = "") const
    {
        TTMLHost::TvOptions options;
        options.input = m_sender.Input();
        options.service = service;
        return options;
    }

    Sender m_sender;
};

TEST_F(Live, PacketsAreHandedOutAsTheyArrive)
{
    const OpenTv tv(Options(), &m_recorder);
    const TvViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, 10 * kSecond);
    m_sender.Send(stream);
    ASSERT_TRUE(m_recorder.WaitFor("told 60"));
    // What is an hour of the stream is but a moment here.
    std::size_t sent = stream.Packets();
    stream.Pcr(kVideo1, 3600 * kSecond).Pes(kDeu, Subtitle(1));
    m_sender.SendFrom(stream, sent);
    ASSERT_TRUE(m_recorder.WaitFor("delivered"));
    EXPECT_GE(std::stoull(StcText()), 3600 * kSecond);
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 1"});
    EXPECT_EQ(m_recorder.EventsLike("end"), Texts());
}

TEST_F(Live, DoesNotWaitForTheListener)
{
    const OpenTv tv(Options(), &m_recorder);
    // A subscriber from the start, who is given packets while the tune's success is still being told.
    const auto note = [](TSPESData& packet, void* recorder) {
        static_cast<TvRecorder*>(recorder)->Note("pes " + std::to_string(packet.pesData.pts));
    };
    ASSERT_TRUE(CTVServiceSubscriber("early").SubscribePES(note, &m_recorder));
    const TvViewer viewer(&m_recorder);
    m_recorder.Hold("signal 60");
    TTMLHost::TvStart();
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, 0);
    m_sender.Send(stream);
    ASSERT_TRUE(m_recorder.WaitHeld("signal 60"));
    const std::size_t sent = stream.Packets();
    stream.Pes(kDeu, Subtitle(1)).Pcr(kVideo1, kSecond);
    m_sender.SendFrom(stream, sent);
    EXPECT_TRUE(m_recorder.WaitFor("pes 1"));
    EXPECT_EQ(m_recorder.Count("told 60"), 0U);
    m_recorder.Release("signal 60");
    EXPECT_TRUE(CTVServiceSubscriber("early").UnsubscribePES());
}

TEST_F(Live, WaitsForAServiceToGetTtml)
{
    const OpenTv tv(Options("1"), &m_recorder);
    const TvViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    TestStream stream;
    stream.Pat({{1, kMap1}}).Pmt(Map(1).Pid(kMap1).Pcr(kVideo1).Video(kVideo1)).Pcr(kVideo1, 0);
    m_sender.Send(stream);
    const std::string warning =
        "warning: Service 1 of '" + m_sender.Input() +
        "' has no TTML, only video (H.264); waiting for its program map to change, or give "
        "a stream with TTML subtitles";
    ASSERT_TRUE(m_recorder.WaitFor(warning));
    ASSERT_TRUE(m_recorder.WaitFor("told 60"));
    const std::size_t sent = stream.Packets();
    stream.Pmt(Map1().Version(1)).Pes(kDeu, Subtitle(1));
    m_sender.SendFrom(stream, sent);
    ASSERT_TRUE(m_recorder.WaitFor("delivered"));
    ASSERT_TRUE(m_recorder.WaitFor("told 85"));
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60", "signal 85"}));
}

TEST_F(Live, SaysThatNothingComesAndGoesOnWaiting)
{
    const OpenTv tv(Options(), &m_recorder);
    const TvViewer viewer(&m_recorder);
    const auto start = std::chrono::steady_clock::now();
    TTMLHost::TvStart();
    const std::string warning =
        "warning: Cannot tune in '" + m_sender.Input() +
        "': no program association table (PAT) came within 5 s; give a transport stream "
        "with its tables";
    ASSERT_TRUE(m_recorder.WaitFor(warning));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, 0);
    m_sender.Send(stream);
    ASSERT_TRUE(m_recorder.WaitFor("told 60"));
    EXPECT_EQ(m_recorder.EventsLike("warning").size(), 1U);
}

TEST_F(Live, ClosesWhileItWaitsForTheNetwork)
{
    {
        const OpenTv tv(Options(), &m_recorder);
        TTMLHost::TvStart();
        ASSERT_TRUE(m_recorder.WaitFor("told 59"));
    }
    EXPECT_EQ(m_recorder.Events(), Texts{"told 59"});
}

} // namespace
